#include "records/SimdjsonConversion.h"

namespace corvale {

JSONValue toJSONValue(simdjson::dom::element element) {
    using simdjson::dom::element_type;
    switch (element.type()) {
        case element_type::ARRAY: {
            const simdjson::dom::array source = element.get_array().value_unsafe();
            JSONValue::Array array;
            array.reserve(source.size());
            for (auto child : source) array.push_back(toJSONValue(child));
            return array;
        }
        case element_type::OBJECT: {
            const simdjson::dom::object source = element.get_object().value_unsafe();
            JSONValue::Object object;
            for (auto field : source) {
                // Later duplicates win, as they would for any reader that fills a map.
                object.insert_or_assign(std::string(field.key), toJSONValue(field.value));
            }
            return object;
        }
        case element_type::INT64: return static_cast<double>(element.get_int64().value_unsafe());
        case element_type::UINT64: return static_cast<double>(element.get_uint64().value_unsafe());
        case element_type::DOUBLE: return element.get_double().value_unsafe();
        case element_type::STRING: return std::string(element.get_string().value_unsafe());
        case element_type::BOOL: return element.get_bool().value_unsafe();
        case element_type::NULL_VALUE: return nullptr;
    }
    return nullptr;
}

}  // namespace corvale

#include "records/JSONValue.h"

namespace corvale {

const JSONValue* JSONValue::find(std::string_view key) const {
    if (!isObject()) return nullptr;
    const auto& object = asObject();
    const auto it = object.find(key);
    return it == object.end() ? nullptr : &it->second;
}

}  // namespace corvale

#include "records/JSONReader.h"

#include "records/SimdjsonConversion.h"

namespace corvale {

Result<JSONValue, RecordError> parseJSON(std::string_view text) {
    simdjson::dom::parser parser;
    simdjson::dom::element root;
    if (parser.parse(text.data(), text.size(), true).get(root) != simdjson::SUCCESS) return fail(RecordError::invalidJSON);
    return toJSONValue(root);
}

}  // namespace corvale

#include "records/JSONReader.h"

#include "records/SimdjsonConversion.h"

namespace corvale {

Result<JSONValue, RecordError> parseJSON(std::string_view text) {
    // Nothing is no JSON, and simdjson would copy from the null pointer an empty view may hold.
    if (text.empty()) return fail(RecordError::invalidJSON);
    // The tree is converted recursively, so the parser refuses deep nesting first.
    simdjson::dom::parser parser;
    if (parser.allocate(text.size(), kJSONMaxDepth) != simdjson::SUCCESS) return fail(RecordError::invalidJSON);
    simdjson::dom::element root;
    const auto parsed = parser.parse(text.data(), text.size(), true);
    if (parsed.error() == simdjson::DEPTH_ERROR) return fail(RecordError::tooDeep);
    if (parsed.get(root) != simdjson::SUCCESS) return fail(RecordError::invalidJSON);
    return toJSONValue(root);
}

}  // namespace corvale

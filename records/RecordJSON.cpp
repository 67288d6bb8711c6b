#include "records/RecordJSON.h"

#include "records/JSONReader.h"
#include "records/RecordCodec.h"

namespace corvale {
namespace {

template <class T>
JSONValue through(const T& record) {
    std::string text;
    JSONWriter writer(text);
    codec::encode(writer, record);
    // The encoder writes valid JSON by construction; an object is all it can produce.
    auto parsed = parseJSON(text);
    return parsed ? std::move(*parsed) : JSONValue(JSONObject{});
}

}  // namespace

JSONValue recordJSON(const Person& record) { return through(record); }
JSONValue recordJSON(const Credential& record) { return through(record); }
JSONValue recordJSON(const CMEActivity& record) { return through(record); }
JSONValue recordJSON(const DocumentRecord& record) { return through(record); }
JSONValue recordJSON(const Packet& record) { return through(record); }
JSONValue recordJSON(const HealthRecord& record) { return through(record); }

}  // namespace corvale

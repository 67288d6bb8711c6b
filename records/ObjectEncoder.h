#pragma once
// Internal to records: writes one JSON object whose own keys come in sorted
// order, merging in the record's unknown keys at their sorted places. An
// unknown key that equals an own key is never written: the field wins.

#include "records/JSONValue.h"
#include "records/JSONWriter.h"

#include <string_view>

namespace corvale {

class ObjectEncoder {
public:
    ObjectEncoder(JSONWriter& writer, const JSONObject* extra);
    ObjectEncoder(const ObjectEncoder&) = delete;
    ObjectEncoder& operator=(const ObjectEncoder&) = delete;

    // Starts the member `key`; the caller then writes its value.
    JSONWriter& member(std::string_view key);
    // An own key whose value is absent: only keeps unknown keys of that name out.
    void absent(std::string_view key);
    void finish();

private:
    void flushExtrasBefore(std::string_view key);
    void writeKey(std::string_view key);

    JSONWriter& m_writer;
    JSONObject::const_iterator m_next{};
    JSONObject::const_iterator m_end{};
    bool m_first = true;
#ifndef NDEBUG
    std::string_view m_lastKey;
#endif
};

}  // namespace corvale

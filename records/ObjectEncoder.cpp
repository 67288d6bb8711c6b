#include "records/ObjectEncoder.h"

#include <cassert>

namespace corvale {

ObjectEncoder::ObjectEncoder(JSONWriter& writer, const JSONObject* extra) : m_writer(writer) {
    if (extra) {
        m_next = extra->begin();
        m_end = extra->end();
    }
    m_writer.out() += '{';
}

void ObjectEncoder::flushExtrasBefore(std::string_view key) {
#ifndef NDEBUG
    assert(m_lastKey.empty() || m_lastKey < key);  // own keys must be listed in sorted order
    m_lastKey = key;
#endif
    while (m_next != m_end && std::string_view(m_next->first) < key) {
        if (m_next->first != "extra") {
            writeKey(m_next->first);
            m_writer.value(m_next->second);
        }
        ++m_next;
    }
    if (m_next != m_end && m_next->first == key) ++m_next;
}

void ObjectEncoder::writeKey(std::string_view key) {
    if (!m_first) m_writer.out() += ',';
    m_first = false;
    m_writer.string(key);
    m_writer.out() += ':';
}

JSONWriter& ObjectEncoder::member(std::string_view key) {
    flushExtrasBefore(key);
    writeKey(key);
    return m_writer;
}

void ObjectEncoder::absent(std::string_view key) { flushExtrasBefore(key); }

void ObjectEncoder::finish() {
    for (; m_next != m_end; ++m_next) {
        if (m_next->first == "extra") continue;
        writeKey(m_next->first);
        m_writer.value(m_next->second);
    }
    m_writer.out() += '}';
}

}  // namespace corvale

#include "records/JSONWriter.h"

#include <charconv>
#include <cmath>

namespace corvale {
namespace {

constexpr char kHex[] = "0123456789abcdef";

bool needsEscape(unsigned char c) { return c < 0x20 || c == '"' || c == '\\'; }

}  // namespace

void JSONWriter::number(double value) {
    if (!std::isfinite(value)) {
        null();  // JSON has no NaN or infinity
        return;
    }
    constexpr double kExactIntegerLimit = 9007199254740992.0;  // 2^53
    if (std::trunc(value) == value && std::fabs(value) < kExactIntegerLimit) {
        integer(static_cast<long long>(value));
        return;
    }
    char buffer[32];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    m_out.append(buffer, result.ptr);
}

void JSONWriter::integer(long long value) {
    char buffer[24];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    m_out.append(buffer, result.ptr);
}

void JSONWriter::string(std::string_view value) {
    m_out.reserve(m_out.size() + value.size() + 2);
    m_out += '"';
    std::size_t runStart = 0;
    for (std::size_t i = 0; i < value.size(); ++i) {
        const auto c = static_cast<unsigned char>(value[i]);
        if (!needsEscape(c)) continue;
        m_out.append(value.data() + runStart, i - runStart);
        runStart = i + 1;
        switch (c) {
            case '"': m_out += "\\\""; break;
            case '\\': m_out += "\\\\"; break;
            case '\n': m_out += "\\n"; break;
            case '\r': m_out += "\\r"; break;
            case '\t': m_out += "\\t"; break;
            case '\b': m_out += "\\b"; break;
            case '\f': m_out += "\\f"; break;
            default: {
                const char escaped[] = {'\\', 'u', '0', '0', kHex[c >> 4], kHex[c & 0xF]};
                m_out.append(escaped, sizeof escaped);
            }
        }
    }
    m_out.append(value.data() + runStart, value.size() - runStart);
    m_out += '"';
}

void JSONWriter::value(const JSONValue& value) {
    switch (value.type()) {
        case JSONValue::Type::null: null(); break;
        case JSONValue::Type::boolean: boolean(value.asBool()); break;
        case JSONValue::Type::number: number(value.asNumber()); break;
        case JSONValue::Type::string: string(value.asString()); break;
        case JSONValue::Type::array: {
            m_out += '[';
            bool first = true;
            for (const auto& element : value.asArray()) {
                if (!first) m_out += ',';
                first = false;
                this->value(element);
            }
            m_out += ']';
            break;
        }
        case JSONValue::Type::object: {
            // std::map keeps keys in byte order, which is the sorted order we promise.
            m_out += '{';
            bool first = true;
            for (const auto& [key, member] : value.asObject()) {
                if (!first) m_out += ',';
                first = false;
                string(key);
                m_out += ':';
                this->value(member);
            }
            m_out += '}';
            break;
        }
    }
}

std::string writeJSON(const JSONValue& value) {
    std::string out;
    JSONWriter(out).value(value);
    return out;
}

}  // namespace corvale

#include "cli/SafeOutput.h"

#include <array>
#include <sstream>

namespace corvale::cli {
namespace {

void hexEscape(std::ostream& out, std::string_view prefix, unsigned char byte) {
    constexpr std::array<char, 16> kDigits = {'0', '1', '2', '3', '4', '5', '6', '7',
                                              '8', '9', 'a', 'b', 'c', 'd', 'e', 'f'};
    out << prefix << kDigits[byte >> 4U] << kDigits[byte & 0xFU];
}

// How many continuation bytes follow a lead byte; 0 for one that cannot lead.
std::size_t continuationsAfter(unsigned char lead) {
    if (lead >= 0xC2 && lead <= 0xDF) return 1;
    if (lead >= 0xE0 && lead <= 0xEF) return 2;
    if (lead >= 0xF0 && lead <= 0xF4) return 3;
    return 0;
}

bool isContinuation(unsigned char byte) { return (byte & 0xC0U) == 0x80U; }

}  // namespace

std::string escapeControls(std::string_view text) {
    std::ostringstream escaped;
    {
        EscapingBuffer buffer(escaped);
        buffer.sputn(text.data(), static_cast<std::streamsize>(text.size()));
    }
    return escaped.str();
}

void EscapingBuffer::put(unsigned char byte) {
    if (m_needed > 0) {
        if (isContinuation(byte)) {
            m_pending.push_back(static_cast<char>(byte));
            if (--m_needed == 0) {
                const auto second = static_cast<unsigned char>(m_pending[1]);
                if (m_pending.size() == 2 && static_cast<unsigned char>(m_pending[0]) == 0xC2 && second <= 0x9F) {
                    hexEscape(m_target, "\\u00", second);  // a C1 control: 0xC2 then 0x80..0x9F
                } else {
                    m_target << m_pending;
                }
                m_pending.clear();
            }
            return;
        }
        flushPending();  // a broken sequence: its bytes are shown, not sent
    }
    if (byte == '\n' || byte == '\t' || (byte >= 0x20 && byte < 0x7F)) {
        m_target.put(static_cast<char>(byte));
    } else if (byte == 0x7F) {
        hexEscape(m_target, "\\u00", byte);
    } else if (byte < 0x20) {
        hexEscape(m_target, "\\x", byte);
    } else if (const std::size_t needed = continuationsAfter(byte); needed > 0) {
        m_pending.assign(1, static_cast<char>(byte));
        m_needed = needed;
    } else {
        hexEscape(m_target, "\\x", byte);  // a stray continuation or a byte UTF-8 never uses
    }
}

void EscapingBuffer::flushPending() {
    for (const char c : m_pending) hexEscape(m_target, "\\x", static_cast<unsigned char>(c));
    m_pending.clear();
    m_needed = 0;
}

EscapingBuffer::int_type EscapingBuffer::overflow(int_type c) {
    if (!traits_type::eq_int_type(c, traits_type::eof())) put(static_cast<unsigned char>(traits_type::to_char_type(c)));
    return m_target ? traits_type::not_eof(c) : traits_type::eof();
}

std::streamsize EscapingBuffer::xsputn(const char* text, std::streamsize count) {
    for (std::streamsize i = 0; i < count; ++i) put(static_cast<unsigned char>(text[i]));
    return m_target ? count : 0;
}

int EscapingBuffer::sync() {
    m_target.flush();
    return m_target ? 0 : -1;
}

}  // namespace corvale::cli

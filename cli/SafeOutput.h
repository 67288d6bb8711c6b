#pragma once
// Record text comes from the user, from imports and from other devices, so it
// may hold terminal control sequences. Everything the command line prints goes
// through here, so no name can retitle a window, move the cursor or hide text.

#include <ostream>
#include <streambuf>
#include <string>
#include <string_view>

namespace corvale::cli {

// Escapes controls and keeps the rest: newline and tab pass (the command line's
// own separators); other C0 controls become \xNN; DEL and C1 controls (U+0080
// to U+009F) become \u00NN, which is also a valid escape inside a JSON string;
// a byte that is not part of well-formed UTF-8 becomes \xNN. Ordinary UTF-8
// text, any script, passes unchanged.
std::string escapeControls(std::string_view text);

// A stream buffer that writes through `target`, escaping as escapeControls
// does, even when a character's bytes arrive in separate writes.
class EscapingBuffer final : public std::streambuf {
public:
    explicit EscapingBuffer(std::ostream& target) : m_target(target) {}
    ~EscapingBuffer() override { flushPending(); }
    EscapingBuffer(const EscapingBuffer&) = delete;
    EscapingBuffer& operator=(const EscapingBuffer&) = delete;

protected:
    int_type overflow(int_type c) override;
    std::streamsize xsputn(const char* text, std::streamsize count) override;
    int sync() override;

private:
    void put(unsigned char byte);
    void flushPending();

    std::ostream& m_target;
    std::string m_pending;  // the bytes of a UTF-8 sequence begun but not finished
    std::size_t m_needed = 0;
};

}  // namespace corvale::cli

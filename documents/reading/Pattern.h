#pragma once
// A regular expression compiled once with PCRE2 and shared by every thread.
// Text is matched as bytes, so recognised text that is not valid UTF-8 is read, not refused.

#include <cstddef>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

namespace corvale {

class Pattern {
public:
    struct Match {
        std::size_t begin = 0;
        std::size_t end = 0;
        // Whole match first, then each group; an unset group is empty with `set` false.
        std::vector<std::string_view> groups;
        std::vector<bool> set;

        std::string_view text() const { return groups[0]; }
        std::string_view group(std::size_t index) const { return index < groups.size() ? groups[index] : std::string_view(); }
        bool has(std::size_t index) const { return index < set.size() && set[index]; }
    };

    // The patterns are the program's own literals: one that does not compile is a bug and aborts.
    explicit Pattern(std::string_view pattern);
    ~Pattern();
    Pattern(const Pattern&) = delete;
    Pattern& operator=(const Pattern&) = delete;

    std::optional<Match> search(std::string_view text, std::size_t from = 0) const;
    std::vector<Match> all(std::string_view text) const;
    bool test(std::string_view text) const { return search(text).has_value(); }

private:
    struct Code;
    std::unique_ptr<Code> m_code;
};

}  // namespace corvale

#define PCRE2_CODE_UNIT_WIDTH 8
#include "documents/reading/Pattern.h"

#include <pcre2.h>

#include <cstdio>
#include <cstdlib>

namespace corvale {

struct Pattern::Code {
    pcre2_code* code = nullptr;
    ~Code() { pcre2_code_free(code); }
};

Pattern::Pattern(std::string_view pattern) : m_code(std::make_unique<Code>()) {
    int error = 0;
    PCRE2_SIZE offset = 0;
    m_code->code = pcre2_compile(reinterpret_cast<PCRE2_SPTR>(pattern.data()), pattern.size(), 0, &error, &offset,
                                 nullptr);
    if (!m_code->code) {
        std::fprintf(stderr, "pattern %.*s does not compile at %zu\n", static_cast<int>(pattern.size()),
                     pattern.data(), static_cast<std::size_t>(offset));
        std::abort();
    }
    // Without JIT (some sanitizer builds refuse executable memory) matching still works, only slower.
    pcre2_jit_compile(m_code->code, PCRE2_JIT_COMPLETE);
}

Pattern::~Pattern() = default;

std::optional<Pattern::Match> Pattern::search(std::string_view text, std::size_t from) const {
    if (from > text.size()) return std::nullopt;
    pcre2_match_data* data = pcre2_match_data_create_from_pattern(m_code->code, nullptr);
    if (!data) throw std::bad_alloc();
    const int count = pcre2_match(m_code->code, reinterpret_cast<PCRE2_SPTR>(text.data()), text.size(), from, 0,
                                  data, nullptr);
    std::optional<Match> found;
    if (count > 0) {
        const PCRE2_SIZE* ovector = pcre2_get_ovector_pointer(data);
        const auto pairs = pcre2_get_ovector_count(data);
        Match match;
        for (std::uint32_t i = 0; i < pairs; ++i) {
            const bool isSet = ovector[2 * i] != PCRE2_UNSET;
            match.set.push_back(isSet);
            match.groups.push_back(isSet ? text.substr(ovector[2 * i], ovector[2 * i + 1] - ovector[2 * i])
                                         : std::string_view());
        }
        match.begin = ovector[0];
        match.end = ovector[1];
        found = std::move(match);
    }
    pcre2_match_data_free(data);
    return found;
}

std::vector<Pattern::Match> Pattern::all(std::string_view text) const {
    std::vector<Match> matches;
    std::size_t from = 0;
    while (auto match = search(text, from)) {
        // An empty match moves on one byte so the scan always ends.
        from = match->end > match->begin ? match->end : match->end + 1;
        matches.push_back(std::move(*match));
        if (from > text.size()) break;
    }
    return matches;
}

}  // namespace corvale

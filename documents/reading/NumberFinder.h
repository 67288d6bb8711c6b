#pragma once
// Picks the licence, registration or certificate number out of noisy recognised text.
// Stateless; the patterns are compiled once and shared, so any thread may call it.

#include <optional>
#include <string>
#include <string_view>

namespace corvale {

struct NumberFinder {
    // The number after a label ("License No.", "Registration #"), strong labels before weak ones; with
    // `unlabelled`, when no label names one, a DEA registration or the likeliest bare number.
    static std::optional<std::string> find(std::string_view text, bool unlabelled);
    // One candidate tidied: outer spaces and punctuation gone, "RN-12345" as RN12345 and "12345-A" as
    // 12345A; absent unless 3 to 20 characters remain.
    static std::optional<std::string> clean(std::string_view candidate);
    // A DEA registration's form, two letters and seven digits, anywhere outside noise lines.
    static std::optional<std::string> deaForm(std::string_view text);
};

}  // namespace corvale

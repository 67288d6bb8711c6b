#pragma once
// Case changes for the ASCII codes records carry (state codes, file
// extensions, degrees); other bytes pass through untouched.

#include <string>
#include <string_view>

namespace corvale {

inline std::string asciiUpper(std::string_view text) {
    std::string out(text);
    for (char& c : out)
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    return out;
}

inline std::string asciiLower(std::string_view text) {
    std::string out(text);
    for (char& c : out)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return out;
}

}  // namespace corvale

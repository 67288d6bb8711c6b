#pragma once
// What the gtest suites read off results and byte strings: a failure's code or
// words, safe on an unexpected success where error() would abort the run.

#include "platform/Bytes.h"

#include <optional>
#include <string>
#include <string_view>

namespace corvale::test_support {

template <class R>
auto failedWith(const R& result) -> std::optional<decltype(result.error().code)> {
    return result ? std::nullopt : std::optional(result.error().code);
}

template <class R>
std::string messageOf(const R& result) {
    return result ? std::string("(succeeded)") : result.error().message();
}

inline Bytes fromHex(std::string_view hex) {
    Bytes bytes;
    for (std::size_t i = 0; i + 1 < hex.size(); i += 2)
        bytes.push_back(static_cast<std::uint8_t>(std::stoi(std::string(hex.substr(i, 2)), nullptr, 16)));
    return bytes;
}

}  // namespace corvale::test_support

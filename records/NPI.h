#pragma once
// The National Provider Identifier's own check: ten digits whose last is the
// Luhn check digit over the prefix 80840 and the first nine.

#include <string_view>

namespace corvale {

bool isValidNPI(std::string_view npi);

inline constexpr std::string_view kInvalidNPIMessage =
    "That NPI doesn't pass the NPI check digit, so please check the number.";

}  // namespace corvale

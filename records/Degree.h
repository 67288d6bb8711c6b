#pragma once

#include <optional>
#include <span>
#include <string_view>

namespace corvale {

enum class Degree { md, doctor, np, pa, crna, caa, rn, lpn, cnm, cns, other };

std::span<const Degree> allDegrees();
std::string_view rawValue(Degree degree);  // "MD", "DO", ...
std::optional<Degree> degreeFromRaw(std::string_view raw);
std::string_view displayName(Degree degree);  // "LPN/LVN" for lpn
// The lower-case code that keys the state rule blocks; absent for `other`.
std::optional<std::string_view> professionCode(Degree degree);

}  // namespace corvale

#pragma once
// Hours of education: the tolerance every comparison allows, and how hours
// are written so the words never claim more (or less) than the numbers do.

#include <string>

namespace corvale {

// Hour totals are sums of user-typed decimals; this much short still counts as met.
inline constexpr double kHourTolerance = 0.001;

enum class HoursRounding {
    down,  // hours done: never shows a requirement met that isn't
    up,    // hours left: never shows nothing left while something is
};

// At most two decimals, trailing zeros dropped: "12", "7.5", "0.25".
std::string hoursText(double hours, HoursRounding rounding);

}  // namespace corvale

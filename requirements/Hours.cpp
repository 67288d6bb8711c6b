#include "requirements/Hours.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace corvale {

std::string hoursText(double hours, HoursRounding rounding) {
    // The tolerance, in hundredths, decides the last digit, so the text agrees with isComplete.
    constexpr double slack = kHourTolerance * 100;
    const double hundredths = rounding == HoursRounding::down ? std::floor(hours * 100 + slack)
                                                              : std::ceil(hours * 100 - slack);
    const double rounded = std::max(hundredths, 0.0) / 100;
    char text[32];
    std::snprintf(text, sizeof text, "%.2f", rounded);
    std::string result = text;
    while (result.back() == '0') result.pop_back();
    if (result.back() == '.') result.pop_back();
    return result;
}

}  // namespace corvale

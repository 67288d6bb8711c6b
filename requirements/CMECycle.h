#pragma once
// A licence's education cycle pinned to a start month ("2019-03") and rolled
// forward in whole windows until it covers today.

#include "records/Day.h"

#include <optional>
#include <string>
#include <string_view>

namespace corvale {

struct CMECycle {
    struct Window {
        Day start;
        Day end;  // inclusive
        friend bool operator==(const Window&, const Window&) = default;
    };

    // The first day of the month `text` names ("YYYY-MM", years 1900-2200), or absent.
    static std::optional<Day> start(std::string_view text);
    // The window of `months` months, counted from the start month, that holds
    // `today`; after 200 moves the window reached is returned, so a start far
    // in the past cannot run away.
    static std::optional<Window> window(std::string_view start, int months, const Day& today);
    // "March 2026", or the text unchanged when it names no month.
    static std::string label(std::string_view text);
};

}  // namespace corvale

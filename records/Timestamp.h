#pragma once
// An instant in UTC with millisecond precision, written as
// "2025-03-01T14:05:09.120Z".

#include <chrono>
#include <compare>
#include <optional>
#include <string>
#include <string_view>

namespace corvale {

class Clock;

struct Timestamp {
    std::chrono::sys_time<std::chrono::milliseconds> time{};

    static Timestamp epoch() { return {}; }
    static Timestamp now(const Clock& clock);
    static Timestamp fromTimePoint(std::chrono::system_clock::time_point point);

    // Tries fractional seconds, then whole seconds (both with "Z" or a
    // numeric offset), then a plain day; absent otherwise.
    static std::optional<Timestamp> parse(std::string_view text);

    std::string toString() const;

    friend auto operator<=>(const Timestamp&, const Timestamp&) = default;
};

}  // namespace corvale

#pragma once
// A calendar date without time or zone, the way licences and cards print them.

#include <chrono>
#include <compare>
#include <optional>
#include <string>
#include <string_view>

namespace corvale {

struct Timestamp;

struct Day {
    int year = 1970;
    int month = 1;  // 1-12
    int day = 1;    // 1-31

    // Takes at most the first 10 characters, splits them at '-' (dropping
    // empty pieces) and keeps the pieces that are base-10 integers; exactly
    // three must remain, within year 0-9999, month 1-12 and day 1-31. So
    // "2026-7-4" parses and "2026/07/04" does not.
    static std::optional<Day> parse(std::string_view text);
    // What a person types: like parse, but only a day the calendar has, so
    // 2027-02-30 and 2026-02-29 are refused. Stored text keeps using parse,
    // so a vault holding such a day still opens.
    static std::optional<Day> parseExisting(std::string_view text);
    static Day today();                                            // in the local time zone
    static Day local(std::chrono::system_clock::time_point time);  // that instant's date here
    static Day endOfMonth(int year, int month);

    bool exists() const;                 // 2028-02-29 does, 2027-04-31 does not
    std::string toString() const;        // "%04d-%02d-%02d"
    std::string formatted() const;       // "July 4, 2026"
    std::string shortFormatted() const;  // "Jul 4, 2026"
    std::string monthAndYear() const;    // "July 2026"

    // Month and year steps clamp to the end of a shorter month (Jan 31 + 1 month is Feb 28/29).
    Day addingDays(int days) const;
    Day addingMonths(int months) const;
    Day addingYears(int years) const;
    // Signed whole days from this day to `other`.
    int daysTo(const Day& other) const;
    int daysFromToday() const { return today().daysTo(*this); }

    friend auto operator<=>(const Day&, const Day&) = default;
};

namespace UTCDay {
// Midnight UTC of the day.
Timestamp toTimestamp(const Day& day);
// The UTC calendar day of the instant.
Day fromTimestamp(const Timestamp& timestamp);
}  // namespace UTCDay

}  // namespace corvale

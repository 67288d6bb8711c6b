#include "records/Day.h"

#include "records/Timestamp.h"

#include <array>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <ctime>

namespace corvale {
namespace {

using namespace std::chrono;

constexpr std::array<const char*, 12> kMonthNames{"January", "February", "March",     "April",   "May",      "June",
                                                  "July",    "August",   "September", "October", "November", "December"};

std::optional<int> parseInteger(std::string_view piece) {
    if (!piece.empty() && piece.front() == '+') {
        piece.remove_prefix(1);
        if (piece.empty() || piece.front() == '-' || piece.front() == '+') return std::nullopt;
    }
    int value = 0;
    auto [end, error] = std::from_chars(piece.data(), piece.data() + piece.size(), value);
    if (error != std::errc() || end != piece.data() + piece.size()) return std::nullopt;
    return value;
}

// Days are kept as given (a hand-typed 2026-02-30 survives a round trip);
// arithmetic counts an out-of-range day or month forward from a valid anchor.
sys_days toSysDays(const Day& d) {
    const int monthIndex = d.month - 1;
    const int yearShift = monthIndex >= 0 ? monthIndex / 12 : -((11 - monthIndex) / 12);
    const int month = monthIndex - yearShift * 12 + 1;
    const year_month_day first{year{d.year + yearShift}, std::chrono::month{static_cast<unsigned>(month)}, std::chrono::day{1}};
    return sys_days{first} + days{d.day - 1};
}

Day fromSysDays(sys_days value) {
    const year_month_day ymd{value};
    return {static_cast<int>(ymd.year()), static_cast<int>(static_cast<unsigned>(ymd.month())),
            static_cast<int>(static_cast<unsigned>(ymd.day()))};
}

std::string monthName(int month, bool abbreviated) {
    if (month < 1 || month > 12) return std::to_string(month);
    std::string name = kMonthNames[static_cast<std::size_t>(month - 1)];
    return abbreviated ? name.substr(0, 3) : name;
}

}  // namespace

std::optional<Day> Day::parse(std::string_view text) {
    text = text.substr(0, 10);
    std::array<int, 3> parts{};
    std::size_t count = 0;
    std::size_t start = 0;
    while (start <= text.size()) {
        std::size_t dash = text.find('-', start);
        if (dash == std::string_view::npos) dash = text.size();
        const std::string_view piece = text.substr(start, dash - start);
        if (!piece.empty()) {
            if (auto value = parseInteger(piece)) {
                if (count == 3) return std::nullopt;
                parts[count++] = *value;
            }
        }
        start = dash + 1;
    }
    if (count != 3) return std::nullopt;
    // Beyond these the written form would not read back as the same day.
    if (parts[0] > 9999 || parts[1] < 1 || parts[1] > 12 || parts[2] < 1 || parts[2] > 31) return std::nullopt;
    return Day{parts[0], parts[1], parts[2]};
}

std::optional<Day> Day::parseExisting(std::string_view text) {
    const auto day = parse(text);
    if (!day || !day->exists()) return std::nullopt;
    return day;
}

bool Day::exists() const {
    if (year < 0 || month < 1 || month > 12 || day < 1) return false;
    return year_month_day{std::chrono::year{year}, std::chrono::month{static_cast<unsigned>(month)},
                          std::chrono::day{static_cast<unsigned>(day)}}
        .ok();
}

Day Day::today() { return local(system_clock::now()); }

Day Day::local(system_clock::time_point time) {
    const std::time_t seconds = system_clock::to_time_t(time);
    std::tm parts{};
    localtime_r(&seconds, &parts);
    return {parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday};
}

Day Day::endOfMonth(int year, int month) {
    const Day first = fromSysDays(toSysDays({year, month, 1}));
    const year_month_day_last last{std::chrono::year{first.year},
                                   month_day_last{std::chrono::month{static_cast<unsigned>(first.month)}}};
    return fromSysDays(sys_days{last});
}

std::string Day::toString() const {
    char buffer[48];
    std::snprintf(buffer, sizeof buffer, "%04d-%02d-%02d", year, month, day);
    return buffer;
}

std::string Day::formatted() const {
    return monthName(month, false) + " " + std::to_string(day) + ", " + std::to_string(year);
}

std::string Day::monthAndYear() const { return monthName(month, false) + " " + std::to_string(year); }

std::string Day::shortFormatted() const {
    return monthName(month, true) + " " + std::to_string(day) + ", " + std::to_string(year);
}

Day Day::addingDays(int count) const { return fromSysDays(toSysDays(*this) + days{count}); }

Day Day::addingMonths(int count) const {
    const Day anchor = fromSysDays(toSysDays({year, month, 1}));
    const int total = anchor.year * 12 + (anchor.month - 1) + count;
    const int newYear = total >= 0 ? total / 12 : -((11 - total) / 12);
    const int newMonth = total - newYear * 12 + 1;
    const int lastDay = endOfMonth(newYear, newMonth).day;
    const int offset = day - 1;  // keeps an overflowing day's offset past the clamp point
    if (offset < lastDay) return {newYear, newMonth, offset + 1 > 0 ? offset + 1 : 1};
    return {newYear, newMonth, lastDay};
}

Day Day::addingYears(int count) const { return addingMonths(count * 12); }

int Day::daysTo(const Day& other) const { return static_cast<int>((toSysDays(other) - toSysDays(*this)).count()); }

namespace UTCDay {

Timestamp toTimestamp(const Day& day) {
    return Timestamp{time_point_cast<milliseconds>(sys_time<milliseconds>{toSysDays(day)})};
}

Day fromTimestamp(const Timestamp& timestamp) { return fromSysDays(floor<days>(timestamp.time)); }

}  // namespace UTCDay
}  // namespace corvale

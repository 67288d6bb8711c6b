#include "records/Timestamp.h"

#include "platform/Clock.h"
#include "records/Day.h"

#include <cstdio>

namespace corvale {
namespace {

using namespace std::chrono;

bool isDigit(char c) { return c >= '0' && c <= '9'; }

// Reads exactly `count` digits at `pos`.
bool readDigits(std::string_view text, std::size_t& pos, std::size_t count, int& out) {
    if (pos + count > text.size()) return false;
    int value = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const char c = text[pos + i];
        if (!isDigit(c)) return false;
        value = value * 10 + (c - '0');
    }
    pos += count;
    out = value;
    return true;
}

bool expect(std::string_view text, std::size_t& pos, char c) {
    if (pos >= text.size() || text[pos] != c) return false;
    ++pos;
    return true;
}

// yyyy-mm-ddThh:mm:ss[.fff…](Z|±hh:mm)
std::optional<Timestamp> parseInternetDateTime(std::string_view text, bool wantFraction) {
    std::size_t pos = 0;
    int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
    if (!readDigits(text, pos, 4, year) || !expect(text, pos, '-') || !readDigits(text, pos, 2, month) ||
        !expect(text, pos, '-') || !readDigits(text, pos, 2, day))
        return std::nullopt;
    if (pos >= text.size() || (text[pos] != 'T' && text[pos] != 't')) return std::nullopt;
    ++pos;
    if (!readDigits(text, pos, 2, hour) || !expect(text, pos, ':') || !readDigits(text, pos, 2, minute) ||
        !expect(text, pos, ':') || !readDigits(text, pos, 2, second))
        return std::nullopt;
    int millis = 0;
    const bool hasFraction = pos < text.size() && text[pos] == '.';
    if (hasFraction != wantFraction) return std::nullopt;
    if (hasFraction) {
        ++pos;
        std::size_t digits = 0;
        while (pos < text.size() && isDigit(text[pos])) {
            if (digits < 3) millis = millis * 10 + (text[pos] - '0');
            ++digits;
            ++pos;
        }
        if (digits == 0) return std::nullopt;
        for (std::size_t i = digits; i < 3; ++i) millis *= 10;
    }
    int offsetMinutes = 0;
    if (pos < text.size() && (text[pos] == 'Z' || text[pos] == 'z')) {
        ++pos;
    } else if (pos < text.size() && (text[pos] == '+' || text[pos] == '-')) {
        const int sign = text[pos] == '-' ? -1 : 1;
        ++pos;
        int offsetHours = 0, offsetMins = 0;
        if (!readDigits(text, pos, 2, offsetHours) || !expect(text, pos, ':') || !readDigits(text, pos, 2, offsetMins))
            return std::nullopt;
        if (offsetHours > 23 || offsetMins > 59) return std::nullopt;
        offsetMinutes = sign * (offsetHours * 60 + offsetMins);
    } else {
        return std::nullopt;
    }
    if (pos != text.size()) return std::nullopt;
    if (month < 1 || month > 12 || hour > 23 || minute > 59 || second > 60) return std::nullopt;
    const year_month_day date{std::chrono::year{year}, std::chrono::month{static_cast<unsigned>(month)},
                              std::chrono::day{static_cast<unsigned>(day)}};
    if (!date.ok()) return std::nullopt;
    const auto time = sys_days{date} + hours{hour} + minutes{minute} + seconds{second} + milliseconds{millis} -
                      minutes{offsetMinutes};
    const int utcYear = static_cast<int>(year_month_day{floor<days>(time)}.year());
    if (utcYear < 0 || utcYear > 9999) return std::nullopt;  // could not be written back in four digits
    return Timestamp{time_point_cast<milliseconds>(time)};
}

}  // namespace

Timestamp Timestamp::now(const Clock& clock) { return fromTimePoint(clock.now()); }

Timestamp Timestamp::fromTimePoint(system_clock::time_point point) { return {floor<milliseconds>(point)}; }

std::optional<Timestamp> Timestamp::parse(std::string_view text) {
    if (auto value = parseInternetDateTime(text, true)) return value;
    if (auto value = parseInternetDateTime(text, false)) return value;
    if (auto day = Day::parse(text)) return UTCDay::toTimestamp(*day);
    return std::nullopt;
}

std::string Timestamp::toString() const {
    const auto dayPoint = floor<days>(time);
    const year_month_day date{dayPoint};
    const hh_mm_ss clock{time - dayPoint};
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%04d-%02u-%02uT%02d:%02d:%02d.%03dZ", static_cast<int>(date.year()),
                  static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                  static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
                  static_cast<int>(clock.seconds().count()), static_cast<int>(clock.subseconds().count()));
    return buffer;
}

}  // namespace corvale

#include "records/RecordCodec.h"

#include <chrono>
#include <cmath>

namespace corvale::codec {
namespace {

// Writes `value` as exactly `width` digits (zero-padded) into `out`.
char* putDigits(char* out, long long value, int width) {
    for (int i = width - 1; i >= 0; --i) {
        out[i] = static_cast<char>('0' + value % 10);
        value /= 10;
    }
    return out + width;
}

bool fitsFixedWidth(long long value, long long limit) { return value >= 0 && value < limit; }

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
    while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.remove_suffix(1);
    return text;
}

std::optional<double> numberFromText(std::string_view text) {
    text = trimmed(text);
    if (!text.empty() && text.front() == '+') text.remove_prefix(1);
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || error != std::errc() || end != text.data() + text.size() || !std::isfinite(value))
        return std::nullopt;
    return value;
}

std::optional<std::int64_t> integerFromDouble(double value) {
    // Exclusive upper bound: 2^63 is representable as a double but not as int64.
    constexpr double kLimit = 9223372036854775808.0;
    if (std::trunc(value) != value || value < -kLimit || value >= kLimit) return std::nullopt;
    return static_cast<std::int64_t>(value);
}

}  // namespace

void writeDay(JSONWriter& writer, const Day& day) {
    if (!fitsFixedWidth(day.year, 10000) || !fitsFixedWidth(day.month, 100) || !fitsFixedWidth(day.day, 100)) {
        writer.string(day.toString());
        return;
    }
    char buffer[12];
    char* p = buffer;
    *p++ = '"';
    p = putDigits(p, day.year, 4);
    *p++ = '-';
    p = putDigits(p, day.month, 2);
    *p++ = '-';
    p = putDigits(p, day.day, 2);
    *p++ = '"';
    writer.out().append(buffer, p);
}

void writeTimestamp(JSONWriter& writer, const Timestamp& timestamp) {
    using namespace std::chrono;
    const auto dayPoint = floor<days>(timestamp.time);
    const year_month_day date{dayPoint};
    const int year = static_cast<int>(date.year());
    if (year < 0 || year > 9999) {
        writer.string(timestamp.toString());
        return;
    }
    const auto sinceMidnight = (timestamp.time - dayPoint).count();  // milliseconds
    char buffer[28];
    char* p = buffer;
    *p++ = '"';
    p = putDigits(p, year, 4);
    *p++ = '-';
    p = putDigits(p, static_cast<unsigned>(date.month()), 2);
    *p++ = '-';
    p = putDigits(p, static_cast<unsigned>(date.day()), 2);
    *p++ = 'T';
    p = putDigits(p, sinceMidnight / 3'600'000, 2);
    *p++ = ':';
    p = putDigits(p, sinceMidnight / 60'000 % 60, 2);
    *p++ = ':';
    p = putDigits(p, sinceMidnight / 1000 % 60, 2);
    *p++ = '.';
    p = putDigits(p, sinceMidnight % 1000, 3);
    *p++ = 'Z';
    *p++ = '"';
    writer.out().append(buffer, p);
}

Read read(Element e, std::string& out) {
    std::string_view text;
    if (e.get_string().get(text) != simdjson::SUCCESS) return Read::absent;
    out.assign(text);
    return Read::ok;
}

Read read(Element e, bool& out) {
    bool value = false;
    if (e.get_bool().get(value) != simdjson::SUCCESS) return Read::absent;
    out = value;
    return Read::ok;
}

Read read(Element e, double& out) {
    if (e.is_number()) {
        out = e.get_double().value_unsafe();
        return Read::ok;
    }
    std::string_view text;
    if (e.get_string().get(text) != simdjson::SUCCESS) return Read::absent;
    const auto value = numberFromText(text);
    if (!value) return Read::absent;
    out = *value;
    return Read::ok;
}

Read read(Element e, std::int64_t& out) {
    std::int64_t integer = 0;
    if (e.get_int64().get(integer) == simdjson::SUCCESS) {
        out = integer;
        return Read::ok;
    }
    double number = 0;
    if (read(e, number) != Read::ok) return Read::absent;
    const auto value = integerFromDouble(number);
    if (!value) return Read::absent;
    out = *value;
    return Read::ok;
}

Read read(Element e, int& out) {
    std::int64_t value = 0;
    if (read(e, value) != Read::ok) return Read::absent;
    if (value < std::numeric_limits<int>::min() || value > std::numeric_limits<int>::max()) return Read::absent;
    out = static_cast<int>(value);
    return Read::ok;
}

Read read(Element e, Day& out) {
    std::string_view text;
    if (e.get_string().get(text) != simdjson::SUCCESS) return Read::absent;
    const auto day = Day::parse(text);
    if (!day) return Read::absent;
    out = *day;
    return Read::ok;
}

Read read(Element e, Timestamp& out) {
    std::string_view text;
    if (e.get_string().get(text) != simdjson::SUCCESS) return Read::absent;
    const auto timestamp = Timestamp::parse(text);
    if (!timestamp) return Read::invalid;
    out = *timestamp;
    return Read::ok;
}

Read read(Element e, JSONValue& out) {
    out = toJSONValue(e);
    return Read::ok;
}

}  // namespace corvale::codec

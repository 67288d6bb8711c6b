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

namespace {

using simdjson::ondemand::json_type;

std::optional<json_type> typeOf(Value& value) {
    json_type type;
    if (value.type().get(type) != simdjson::SUCCESS) return std::nullopt;
    return type;
}

bool isSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

}  // namespace

std::optional<std::string_view> Reader::text(Value& value) {
    if (typeOf(value) != json_type::string) return std::nullopt;
    // Most strings have no escapes: take them straight from the input rather
    // than copying every one through the parser's buffer.
    std::string_view token = value.raw_json_token();
    while (!token.empty() && isSpace(token.back())) token.remove_suffix(1);
    if (token.size() >= 2 && token.back() == '"') {
        const std::string_view body = token.substr(1, token.size() - 2);
        if (body.find('\\') == std::string_view::npos) return body;
    }
    std::string_view unescaped;
    if (value.get_string().get(unescaped) != simdjson::SUCCESS) {
        markBroken();
        return std::nullopt;
    }
    return unescaped;
}

Read Reader::read(Value& v, std::string& out) {
    const auto value = text(v);
    if (!value) return Read::absent;
    out.assign(*value);
    return Read::ok;
}

Read Reader::read(Value& v, bool& out) {
    if (typeOf(v) != json_type::boolean) return Read::absent;
    bool value = false;
    if (v.get_bool().get(value) != simdjson::SUCCESS) {
        markBroken();
        return Read::absent;
    }
    out = value;
    return Read::ok;
}

Read Reader::read(Value& v, double& out) {
    const auto type = typeOf(v);
    if (type == json_type::number) {
        double value = 0;
        if (v.get_double().get(value) != simdjson::SUCCESS) {
            markBroken();
            return Read::absent;
        }
        out = value;
        return Read::ok;
    }
    if (type != json_type::string) return Read::absent;
    const auto digits = text(v);
    if (!digits) return Read::absent;
    const auto value = numberFromText(*digits);
    if (!value) return Read::absent;
    out = *value;
    return Read::ok;
}

Read Reader::read(Value& v, std::int64_t& out) {
    double number = 0;
    if (read(v, number) != Read::ok) return Read::absent;
    const auto value = integerFromDouble(number);
    if (!value) return Read::absent;
    out = *value;
    return Read::ok;
}

Read Reader::read(Value& v, int& out) {
    std::int64_t value = 0;
    if (read(v, value) != Read::ok) return Read::absent;
    if (value < std::numeric_limits<int>::min() || value > std::numeric_limits<int>::max()) return Read::absent;
    out = static_cast<int>(value);
    return Read::ok;
}

Read Reader::read(Value& v, Day& out) {
    const auto value = text(v);
    if (!value) return Read::absent;
    const auto day = Day::parse(*value);
    if (!day) return Read::absent;
    out = *day;
    return Read::ok;
}

Read Reader::read(Value& v, Timestamp& out) {
    const auto value = text(v);
    if (!value) return Read::absent;
    const auto timestamp = Timestamp::parse(*value);
    if (!timestamp) return Read::invalid;
    out = *timestamp;
    return Read::ok;
}

Read Reader::read(Value& v, JSONValue& out) {
    out = toJSON(v);
    return m_broken ? Read::invalid : Read::ok;
}

JSONValue Reader::toJSON(Value& v, std::size_t depth) {
    const auto type = typeOf(v);
    if (!type) {
        markBroken();
        return nullptr;
    }
    if ((*type == json_type::array || *type == json_type::object) && depth > kJSONMaxDepth) {
        m_tooDeep = true;
        markBroken();
        return nullptr;
    }
    switch (*type) {
    case json_type::array: {
        JSONValue::Array values;
        simdjson::ondemand::array array;
        if (v.get_array().get(array) != simdjson::SUCCESS) break;
        for (auto element : array) {
            Value child;
            if (element.get(child) != simdjson::SUCCESS) markBroken();
            if (m_broken) return nullptr;
            values.push_back(toJSON(child, depth + 1));
            if (m_broken) return nullptr;
        }
        return values;
    }
    case json_type::object: {
        JSONValue::Object values;
        simdjson::ondemand::object object;
        if (v.get_object().get(object) != simdjson::SUCCESS) break;
        for (auto field : object) {
            const auto key = this->key(field);
            Value child;
            if (!key || field.value().get(child) != simdjson::SUCCESS) markBroken();
            if (m_broken) return nullptr;
            std::string name(*key);
            // Later duplicates win, as they would for any reader that fills a map.
            values.insert_or_assign(std::move(name), toJSON(child, depth + 1));
            if (m_broken) return nullptr;
        }
        return values;
    }
    case json_type::number: {
        double value = 0;
        if (v.get_double().get(value) != simdjson::SUCCESS) break;
        return value;
    }
    case json_type::string: {
        const auto value = text(v);
        if (!value) break;
        return std::string(*value);
    }
    case json_type::boolean: {
        bool value = false;
        if (v.get_bool().get(value) != simdjson::SUCCESS) break;
        return value;
    }
    case json_type::null: {
        bool isNull = false;
        if (v.is_null().get(isNull) != simdjson::SUCCESS || !isNull) break;
        return nullptr;
    }
    }
    markBroken();
    return nullptr;
}

}  // namespace corvale::codec

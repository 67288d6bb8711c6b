#pragma once
// Internal to records; included by RecordCodec.h only.

#include "records/Day.h"
#include "records/ObjectEncoder.h"
#include "records/SimdjsonConversion.h"
#include "records/Timestamp.h"

#include <charconv>
#include <cstdint>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

namespace corvale::codec {

using Element = simdjson::dom::element;

struct NullVisitor {
    template <class T>
    void req(std::string_view, T&) {}
    template <class T>
    void opt(std::string_view, T&) {}
    template <class T>
    void strict(std::string_view, T&) {}
};

template <class T>
concept Record = requires(T& record, NullVisitor& visitor) { fields::visit(visitor, record); };

template <class T>
concept HasExtra = requires(T& record) { record.extra; };

template <class T>
struct IsOptional : std::false_type {};
template <class T>
struct IsOptional<std::optional<T>> : std::true_type {};

// ---------------------------------------------------------------- writing

void writeDay(JSONWriter& writer, const Day& day);
void writeTimestamp(JSONWriter& writer, const Timestamp& timestamp);

inline void write(JSONWriter& w, const std::string& value) { w.string(value); }
inline void write(JSONWriter& w, bool value) { w.boolean(value); }
inline void write(JSONWriter& w, double value) { w.number(value); }
inline void write(JSONWriter& w, int value) { w.integer(value); }
inline void write(JSONWriter& w, std::int64_t value) { w.integer(value); }
inline void write(JSONWriter& w, const Day& value) { writeDay(w, value); }
inline void write(JSONWriter& w, const Timestamp& value) { writeTimestamp(w, value); }
inline void write(JSONWriter& w, const JSONValue& value) { w.value(value); }
template <Record T>
void write(JSONWriter& w, const T& record) {
    encode(w, record);
}
template <class T>
void write(JSONWriter& w, const std::vector<T>& values) {
    w.out() += '[';
    bool first = true;
    for (const auto& value : values) {
        if (!first) w.out() += ',';
        first = false;
        write(w, value);
    }
    w.out() += ']';
}
template <class T>
void write(JSONWriter& w, const std::map<std::string, T>& values) {
    w.out() += '{';
    bool first = true;
    for (const auto& [key, value] : values) {
        if (!first) w.out() += ',';
        first = false;
        w.string(key);
        w.out() += ':';
        write(w, value);
    }
    w.out() += '}';
}

class FieldEncoder {
public:
    explicit FieldEncoder(ObjectEncoder& object) : m_object(object) {}

    template <class T>
    void req(std::string_view key, const T& value) {
        write(m_object.member(key), value);
    }
    template <class T>
    void opt(std::string_view key, const T& value) {
        if constexpr (IsOptional<T>::value) {
            if (value)
                write(m_object.member(key), *value);
            else
                m_object.absent(key);
        } else {
            write(m_object.member(key), value);
        }
    }
    template <class T>
    void strict(std::string_view key, const T& value) {
        opt(key, value);
    }

private:
    ObjectEncoder& m_object;
};

template <class T>
void encode(JSONWriter& writer, const T& record) {
    const JSONObject* extra = nullptr;
    if constexpr (HasExtra<T>) extra = &record.extra;
    ObjectEncoder object(writer, extra);
    FieldEncoder visitor(object);
    // The field lists take mutable records so one list serves both directions; encoding only reads.
    fields::visit(visitor, const_cast<T&>(record));
    object.finish();
}

// ---------------------------------------------------------------- reading

// `absent` covers missing and wrongly typed values; `invalid` is a value
// that must fail its record (a timestamp that is text but not a time).
enum class Read { ok, absent, invalid };

Read read(Element e, std::string& out);
Read read(Element e, bool& out);
Read read(Element e, double& out);
Read read(Element e, std::int64_t& out);
Read read(Element e, int& out);
Read read(Element e, Day& out);
Read read(Element e, Timestamp& out);
Read read(Element e, JSONValue& out);
template <Record T>
Read read(Element e, T& out);
template <class T>
Read read(Element e, std::optional<T>& out);
template <class T>
Read read(Element e, std::vector<T>& out);
template <class T>
Read read(Element e, std::map<std::string, T>& out);

template <Record T>
Read read(Element e, T& out) {
    T fresh{};
    if (!decode(e, fresh)) return Read::absent;
    out = std::move(fresh);
    return Read::ok;
}

template <class T>
Read read(Element e, std::optional<T>& out) {
    T value{};
    const Read result = read(e, value);
    if (result == Read::ok)
        out = std::move(value);
    else
        out.reset();
    return result == Read::invalid ? Read::invalid : Read::ok;
}

// Lenient: an element that does not read is dropped, the rest kept. JSON
// values kept for later types must at least be objects.
template <class T>
Read read(Element e, std::vector<T>& out) {
    simdjson::dom::array array;
    if (e.get_array().get(array) != simdjson::SUCCESS) return Read::absent;
    std::vector<T> values;
    values.reserve(array.size());
    for (Element child : array) {
        if constexpr (std::is_same_v<T, JSONValue>) {
            if (!child.is_object()) continue;
        }
        T value{};
        if (read(child, value) == Read::ok) values.push_back(std::move(value));
    }
    out = std::move(values);
    return Read::ok;
}

template <class T>
Read read(Element e, std::map<std::string, T>& out) {
    simdjson::dom::object object;
    if (e.get_object().get(object) != simdjson::SUCCESS) return Read::absent;
    std::map<std::string, T> values;
    for (auto field : object) {
        T value{};
        if (read(field.value, value) == Read::ok) values.insert_or_assign(std::string(field.key), std::move(value));
    }
    out = std::move(values);
    return Read::ok;
}

template <Record T>
Read readStrict(Element e, std::vector<T>& out) {
    simdjson::dom::array array;
    if (e.get_array().get(array) != simdjson::SUCCESS) return Read::absent;
    std::vector<T> values;
    values.reserve(array.size());
    for (Element child : array) {
        T value{};
        if (!decode(child, value)) return Read::invalid;
        values.push_back(std::move(value));
    }
    out = std::move(values);
    return Read::ok;
}

class FieldMatcher {
public:
    FieldMatcher(std::string_view key, Element value, std::uint64_t& seen) : m_key(key), m_value(value), m_seen(seen) {}

    template <class T>
    void req(std::string_view name, T& member) {
        field(name, member, true, false);
    }
    template <class T>
    void opt(std::string_view name, T& member) {
        field(name, member, false, false);
    }
    template <class T>
    void strict(std::string_view name, T& member) {
        field(name, member, false, true);
    }

    bool matched() const { return m_matched; }
    bool failed() const { return m_failed; }

private:
    template <class T>
    void field(std::string_view name, T& member, bool required, bool strictList) {
        const unsigned index = m_index++;
        if (m_matched || name != m_key) return;
        m_matched = true;
        Read result;
        if constexpr (requires { readStrict(m_value, member); }) {
            result = strictList ? readStrict(m_value, member) : read(m_value, member);
        } else {
            result = read(m_value, member);
        }
        if (result == Read::invalid || (required && result != Read::ok)) {
            m_failed = true;
            return;
        }
        if (result == Read::ok) m_seen |= std::uint64_t{1} << index;
    }

    std::string_view m_key;
    Element m_value;
    std::uint64_t& m_seen;
    unsigned m_index = 0;
    bool m_matched = false;
    bool m_failed = false;
};

class RequiredCheck {
public:
    explicit RequiredCheck(std::uint64_t seen) : m_seen(seen) {}
    template <class T>
    void req(std::string_view, T&) {
        if (!((m_seen >> m_index) & 1)) m_missing = true;
        ++m_index;
    }
    template <class T>
    void opt(std::string_view, T&) {
        ++m_index;
    }
    template <class T>
    void strict(std::string_view, T&) {
        ++m_index;
    }
    bool missing() const { return m_missing; }

private:
    std::uint64_t m_seen;
    unsigned m_index = 0;
    bool m_missing = false;
};

template <class T>
bool decode(Element element, T& record) {
    simdjson::dom::object object;
    if (element.get_object().get(object) != simdjson::SUCCESS) return false;
    std::uint64_t seen = 0;
    for (auto field : object) {
        FieldMatcher matcher(field.key, field.value, seen);
        fields::visit(matcher, record);
        if (matcher.failed()) return false;
        if (!matcher.matched()) {
            if constexpr (HasExtra<T>) record.extra.insert_or_assign(std::string(field.key), toJSONValue(field.value));
        }
    }
    RequiredCheck check(seen);
    fields::visit(check, record);
    return !check.missing();
}

}  // namespace corvale::codec

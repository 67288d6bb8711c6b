#pragma once
// Internal to records; included by RecordCodec.h only.

#include "records/Day.h"
#include "records/ObjectEncoder.h"
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

using Value = simdjson::ondemand::value;

struct NullVisitor {
    template <class T>
    void req(std::string_view, T&) {}
    template <class T>
    void opt(std::string_view, T&) {}
    template <class T>
    void strict(std::string_view, T&) {}
};

template <class T>
concept Record = requires(T& record, NullVisitor& visitor) {
    fields::visit(visitor, record);
};

template <class T>
concept HasExtra = requires(T& record) {
    record.extra;
};

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
// Records are read straight off the text with simdjson's On-Demand API: no
// intermediate tree, so a large vault needs little more than its records.

// `absent` covers missing and wrongly typed values; `invalid` is a value
// that must fail its record (a timestamp that is text but not a time).
enum class Read { ok, absent, invalid };

// Carries what one decoding run learned: whether the text itself turned out
// not to be JSON, which fails the whole document however lenient the field.
class Reader {
public:
    bool broken() const { return m_broken; }
    void markBroken() { m_broken = true; }
    // Broken because a kept value nested past kJSONMaxDepth.
    bool tooDeep() const { return m_tooDeep; }

    // The string's text; points into the input when it has no escapes.
    std::optional<std::string_view> text(Value& value);

    // A member's key, taken from the input where it has no escapes (as keys
    // almost never do) instead of being copied out one by one.
    template <class Field>
    std::optional<std::string_view> key(Field& field) {
        simdjson::ondemand::raw_json_string raw;
        if (field.key().get(raw) == simdjson::SUCCESS) {
            // The opening scan already proved every string closed, so this stops at its quote.
            const char* start = raw.raw();
            const char* end = start;
            while (*end != '"' && *end != '\\') ++end;
            if (*end == '"') return std::string_view(start, static_cast<std::size_t>(end - start));
            std::string_view unescaped;
            if (field.unescaped_key().get(unescaped) == simdjson::SUCCESS) return unescaped;
        }
        markBroken();
        return std::nullopt;
    }

    Read read(Value& v, std::string& out);
    Read read(Value& v, bool& out);
    Read read(Value& v, double& out);
    Read read(Value& v, std::int64_t& out);
    Read read(Value& v, int& out);
    Read read(Value& v, Day& out);
    Read read(Value& v, Timestamp& out);
    Read read(Value& v, JSONValue& out);
    // Recursive, so the depth is capped: hostile nesting fails the document
    // instead of exhausting the stack.
    JSONValue toJSON(Value& v, std::size_t depth = 1);

    template <Record T>
    Read read(Value& v, T& out) {
        T fresh{};
        if (!decode(v, fresh)) return Read::absent;
        out = std::move(fresh);
        return Read::ok;
    }

    template <class T>
    Read read(Value& v, std::optional<T>& out) {
        T value{};
        const Read result = read(v, value);
        if (result == Read::ok)
            out = std::move(value);
        else
            out.reset();
        return result == Read::invalid ? Read::invalid : Read::ok;
    }

    // Lenient: an element that does not read is dropped, the rest kept. JSON
    // values kept for later types must at least be objects.
    template <class T>
    Read read(Value& v, std::vector<T>& out) {
        return readList(v, out, false);
    }

    template <class T>
    Read read(Value& v, std::map<std::string, T>& out) {
        simdjson::ondemand::object object;
        if (v.get_object().get(object) != simdjson::SUCCESS) return Read::absent;
        std::map<std::string, T> values;
        for (auto field : object) {
            const auto name = key(field);
            Value child;
            if (!name || field.value().get(child) != simdjson::SUCCESS) {
                markBroken();
                return Read::invalid;
            }
            T value{};
            if (read(child, value) == Read::ok) values.insert_or_assign(std::string(*name), std::move(value));
            if (m_broken) return Read::invalid;
        }
        out = std::move(values);
        return Read::ok;
    }

    // Every element must read, or the list fails.
    template <Record T>
    Read readStrict(Value& v, std::vector<T>& out) {
        return readList(v, out, true);
    }

    template <class T>
    Read readList(Value& v, std::vector<T>& out, bool strict) {
        simdjson::ondemand::array array;
        if (v.get_array().get(array) != simdjson::SUCCESS) return Read::absent;
        std::vector<T> values;
        if (strict) {
            // The vault's own lists can hold tens of thousands of records: sizing them
            // once spares the copies (and the doubled memory) of growing them.
            std::size_t count = 0;
            if (array.count_elements().get(count) != simdjson::SUCCESS) {
                markBroken();
                return Read::invalid;
            }
            values.reserve(count);
        }
        for (auto element : array) {
            Value child;
            if (element.get(child) != simdjson::SUCCESS) {
                markBroken();
                return Read::invalid;
            }
            if constexpr (std::is_same_v<T, JSONValue>) {
                simdjson::ondemand::json_type type;
                if (child.type().get(type) != simdjson::SUCCESS || type != simdjson::ondemand::json_type::object)
                    continue;
            }
            T value{};
            if (read(child, value) == Read::ok)
                values.push_back(std::move(value));
            else if (strict)
                return Read::invalid;
            if (m_broken) return Read::invalid;
        }
        out = std::move(values);
        return Read::ok;
    }

    // False when the value is not an object or lacks what the record needs.
    template <class T>
    bool decode(Value& value, T& record);

private:
    bool m_broken = false;
    bool m_tooDeep = false;
};

class FieldMatcher {
public:
    FieldMatcher(Reader& reader, std::string_view key, Value& value, std::uint64_t& seen)
        : m_reader(reader), m_key(key), m_value(value), m_seen(seen) {}

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
        if constexpr (requires { m_reader.readStrict(m_value, member); }) {
            result = strictList ? m_reader.readStrict(m_value, member) : m_reader.read(m_value, member);
        } else {
            result = m_reader.read(m_value, member);
        }
        if (result == Read::invalid || (required && result != Read::ok)) {
            m_failed = true;
            return;
        }
        if (result == Read::ok) m_seen |= std::uint64_t{1} << index;
    }

    Reader& m_reader;
    std::string_view m_key;
    Value& m_value;
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
bool Reader::decode(Value& value, T& record) {
    simdjson::ondemand::object object;
    if (value.get_object().get(object) != simdjson::SUCCESS) return false;
    std::uint64_t seen = 0;
    for (auto field : object) {
        const auto name = key(field);
        Value member;
        if (!name || field.value().get(member) != simdjson::SUCCESS) {
            markBroken();
            return false;
        }
        FieldMatcher matcher(*this, *name, member, seen);
        fields::visit(matcher, record);
        if (matcher.failed() || m_broken) return false;
        if (!matcher.matched()) {
            if constexpr (HasExtra<T>) {
                JSONValue unknown = toJSON(member);
                if (m_broken) return false;
                record.extra.insert_or_assign(std::string(*name), std::move(unknown));
            }
        }
    }
    RequiredCheck check(seen);
    fields::visit(check, record);
    return !check.missing();
}

}  // namespace corvale::codec

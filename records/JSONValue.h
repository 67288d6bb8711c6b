#pragma once
// Any JSON value. Objects keep their keys sorted, which is also the order the
// writer emits. A value type; not thread-safe for concurrent mutation.

#include <cstddef>
#include <initializer_list>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace corvale {

// How deep arrays and objects may nest in JSON we read. Far beyond anything
// we write; deeper text is refused rather than recursed into.
inline constexpr std::size_t kJSONMaxDepth = 128;

class JSONValue {
public:
    using Array = std::vector<JSONValue>;
    using Object = std::map<std::string, JSONValue, std::less<>>;
    enum class Type { null, boolean, number, string, array, object };

    JSONValue() = default;
    JSONValue(std::nullptr_t) {}
    JSONValue(bool value) : m_value(value) {}
    JSONValue(double value) : m_value(value) {}
    JSONValue(int value) : m_value(static_cast<double>(value)) {}
    JSONValue(long long value) : m_value(static_cast<double>(value)) {}
    JSONValue(std::string value) : m_value(std::move(value)) {}
    JSONValue(const char* value) : m_value(std::string(value)) {}
    JSONValue(Array value) : m_value(std::move(value)) {}
    JSONValue(Object value) : m_value(std::move(value)) {}

    Type type() const { return static_cast<Type>(m_value.index()); }
    bool isNull() const { return type() == Type::null; }
    bool isBool() const { return type() == Type::boolean; }
    bool isNumber() const { return type() == Type::number; }
    bool isString() const { return type() == Type::string; }
    bool isArray() const { return type() == Type::array; }
    bool isObject() const { return type() == Type::object; }

    // Accessors assume the matching type; check first.
    bool asBool() const { return std::get<bool>(m_value); }
    double asNumber() const { return std::get<double>(m_value); }
    const std::string& asString() const { return std::get<std::string>(m_value); }
    const Array& asArray() const { return std::get<Array>(m_value); }
    Array& asArray() { return std::get<Array>(m_value); }
    const Object& asObject() const { return std::get<Object>(m_value); }
    Object& asObject() { return std::get<Object>(m_value); }

    // Member lookup; null when this is not an object or has no such key.
    const JSONValue* find(std::string_view key) const;

    friend bool operator==(const JSONValue&, const JSONValue&) = default;

private:
    std::variant<std::nullptr_t, bool, double, std::string, Array, Object> m_value;
};

using JSONObject = JSONValue::Object;

// Writes `value` under `key` when it is there; absent optionals are left out of JSON.
template <class T>
void putIfPresent(JSONObject& object, std::string_view key, const std::optional<T>& value) {
    if (value) object.emplace(std::string(key), JSONValue(*value));
}

}  // namespace corvale

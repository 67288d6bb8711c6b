#pragma once
// Compact JSON text with sorted object keys. The record encoders write
// through it directly so large vaults never become a JSONValue tree first.

#include "records/JSONValue.h"

#include <string>
#include <string_view>

namespace corvale {

class JSONWriter {
public:
    explicit JSONWriter(std::string& out) : m_out(out) {}

    void null() { m_out += "null"; }
    void boolean(bool value) { m_out += value ? "true" : "false"; }
    // Integral values are written without a fraction; others in the shortest
    // form that reads back to the same double.
    void number(double value);
    void integer(long long value);
    void string(std::string_view value);
    void value(const JSONValue& value);

    std::string& out() { return m_out; }

private:
    std::string& m_out;
};

std::string writeJSON(const JSONValue& value);

}  // namespace corvale

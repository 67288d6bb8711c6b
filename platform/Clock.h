#pragma once
// Time comes from an injectable clock so tests never depend on the real one.

#include <chrono>

namespace corvale {

class Clock {
public:
    virtual ~Clock() = default;
    virtual std::chrono::system_clock::time_point now() const = 0;
};

class SystemClock final : public Clock {
public:
    std::chrono::system_clock::time_point now() const override { return std::chrono::system_clock::now(); }
};

class FixedClock final : public Clock {
public:
    explicit FixedClock(std::chrono::system_clock::time_point time) : m_time(time) {}
    std::chrono::system_clock::time_point now() const override { return m_time; }
    void set(std::chrono::system_clock::time_point time) { m_time = time; }
    void advance(std::chrono::system_clock::duration by) { m_time += by; }

private:
    std::chrono::system_clock::time_point m_time;
};

}  // namespace corvale

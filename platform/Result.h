#pragma once
// A value or a typed, expected failure. Exceptions stay for bugs and exhaustion.

#include <cassert>
#include <type_traits>
#include <utility>
#include <variant>

namespace corvale {

template <class E>
struct Failure {
    E error;
};

template <class E>
Failure<std::decay_t<E>> fail(E&& error) {
    return {std::forward<E>(error)};
}

template <class T, class E>
class [[nodiscard]] Result {
public:
    Result(T value) : m_state(std::in_place_index<0>, std::move(value)) {}
    template <class F>
    Result(Failure<F> failure) : m_state(std::in_place_index<1>, E(std::move(failure.error))) {}

    bool ok() const { return m_state.index() == 0; }
    explicit operator bool() const { return ok(); }

    T& value() & { assert(ok()); return std::get<0>(m_state); }
    const T& value() const& { assert(ok()); return std::get<0>(m_state); }
    T&& value() && { assert(ok()); return std::get<0>(std::move(m_state)); }
    T* operator->() { return &value(); }
    const T* operator->() const { return &value(); }
    T& operator*() & { return value(); }
    const T& operator*() const& { return value(); }

    const E& error() const { assert(!ok()); return std::get<1>(m_state); }

private:
    std::variant<T, E> m_state;
};

template <class E>
class [[nodiscard]] Result<void, E> {
public:
    Result() = default;
    template <class F>
    Result(Failure<F> failure) : m_error(E(std::move(failure.error))), m_failed(true) {}

    bool ok() const { return !m_failed; }
    explicit operator bool() const { return ok(); }
    const E& error() const { assert(m_failed); return m_error; }

private:
    E m_error{};
    bool m_failed = false;
};

}  // namespace corvale

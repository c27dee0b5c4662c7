#pragma once

#include "app/records/Failure.h"

#include <utility>
#include <variant>

// A value or the Failure that prevented it. The core reports errors this way instead of
// throwing, so coroutines and completions hand them on as plain values.
template <typename T> class Result {
public:
    Result(T value) : m_state(std::in_place_index<0>, std::move(value)) {} // NOLINT: implicit by design
    Result(Failure failure) : m_state(std::in_place_index<1>, std::move(failure)) {} // NOLINT
    Result(const StudioError &error) : Result(Failure(error)) {}                     // NOLINT

    bool ok() const { return m_state.index() == 0; }
    explicit operator bool() const { return ok(); }

    const T &value() const & { return std::get<0>(m_state); }
    T &value() & { return std::get<0>(m_state); }
    T &&value() && { return std::get<0>(std::move(m_state)); }
    const Failure &failure() const { return std::get<1>(m_state); }

private:
    std::variant<T, Failure> m_state;
};

// A value, or the finding that says why there is none.
#pragma once

#include <qlx/base/finding.h>

#include <utility>
#include <variant>

namespace qlx {

/// Holds a `T` or a Finding. Asking for what it does not hold is a mistake of the caller, as with std::optional.
template <class T>
class [[nodiscard]] Result {
public:
    Result(T value) : _state(std::in_place_index<0>, std::move(value)) {}
    Result(const Finding& error) : _state(std::in_place_index<1>, error) {}

    [[nodiscard]] explicit operator bool() const noexcept { return _state.index() == 0; }
    [[nodiscard]] bool hasValue() const noexcept { return _state.index() == 0; }

    [[nodiscard]] const T& value() const& noexcept { return *std::get_if<0>(&_state); }
    [[nodiscard]] T& value() & noexcept { return *std::get_if<0>(&_state); }
    [[nodiscard]] T&& value() && noexcept { return std::move(*std::get_if<0>(&_state)); }
    [[nodiscard]] const T& operator*() const& noexcept { return value(); }
    [[nodiscard]] T& operator*() & noexcept { return value(); }
    [[nodiscard]] T&& operator*() && noexcept { return std::move(*this).value(); }
    [[nodiscard]] const T* operator->() const noexcept { return std::get_if<0>(&_state); }
    [[nodiscard]] T* operator->() noexcept { return std::get_if<0>(&_state); }

    [[nodiscard]] const Finding& error() const noexcept { return *std::get_if<1>(&_state); }

private:
    std::variant<T, Finding> _state;
};

}  // namespace qlx

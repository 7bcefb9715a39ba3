// A value, or the finding that says why there is none.
//
//     const qlx::Result<qlx::cc::Cdp> cdp = qlx::cc::parseCdp(userData);
//     if (!cdp) { report(cdp.error().offset, cdp.error().text()); }
//     else { use(cdp->sequenceCounter()); }
#pragma once

#include <qlx/base/finding.h>

#include <utility>
#include <variant>

namespace qlx {

/// Holds a `T` or a Finding. Asking for what it does not hold is a mistake of the caller, as with std::optional.
template <class T>
class [[nodiscard]] Result {
public:
    /// Holds the value.
    Result(T value) : _state(std::in_place_index<0>, std::move(value)) {}
    /// Holds a value made in its place, where copying one would cost more than making it.
    template <class... Arguments>
    explicit Result(std::in_place_t, Arguments&&... arguments)
        : _state(std::in_place_index<0>, std::forward<Arguments>(arguments)...) {}
    /// Holds why there is no value.
    Result(const Finding& error) : _state(std::in_place_index<1>, error) {}

    /// Whether there is a value.
    [[nodiscard]] bool hasValue() const noexcept { return _state.index() == 0; }
    /// The same.
    [[nodiscard]] explicit operator bool() const noexcept { return hasValue(); }

    /// The value, which must be there.
    [[nodiscard]] const T& operator*() const& noexcept { return *std::get_if<0>(&_state); }
    /// The same.
    [[nodiscard]] T& operator*() & noexcept { return *std::get_if<0>(&_state); }
    /// The same, to be moved out.
    [[nodiscard]] T&& operator*() && noexcept { return std::move(*std::get_if<0>(&_state)); }
    /// A part of the value, which must be there.
    [[nodiscard]] const T* operator->() const noexcept { return std::get_if<0>(&_state); }
    /// The same.
    [[nodiscard]] T* operator->() noexcept { return std::get_if<0>(&_state); }

    /// Why there is no value; there must be none.
    [[nodiscard]] const Finding& error() const noexcept { return *std::get_if<1>(&_state); }

private:
    std::variant<T, Finding> _state;
};

}  // namespace qlx

// Walking through what a reader gives one by one.
//
//     struct Countdown {
//         using Value = int;
//         int left = 0;
//         bool next(int& value) { value = left; return left-- > 0; }
//     };
//     for (const int value : qlx::Walk<Countdown>(Countdown{3})) { use(value); }   // 3, 2, 1
#pragma once

#include <concepts>
#include <cstddef>
#include <iterator>
#include <utility>

namespace qlx {

/// What a walker gives, one by one: an input iterator. A `Walker` names what it gives `Value`, and its `next(Value&)`
/// sets the next one, or says that there is none.
template <class Walker>
class WalkIterator {
public:
    /// There is one place at a time.
    using iterator_category = std::input_iterator_tag;
    /// What is given.
    using value_type = typename Walker::Value;
    /// As every iterator has it.
    using difference_type = std::ptrdiff_t;
    /// What is given is the iterator's own.
    using pointer = const value_type*;
    /// The same.
    using reference = const value_type&;

    WalkIterator() = default;
    /// Goes to the first one.
    explicit WalkIterator(Walker walker) : _walker(std::move(walker)) { ++*this; }

    /// What is given; valid until the next step.
    [[nodiscard]] reference operator*() const noexcept { return _value; }
    /// The same.
    [[nodiscard]] pointer operator->() const noexcept { return &_value; }
    /// Goes to the next one.
    WalkIterator& operator++() {
        _isAtEnd = !_walker.next(_value);
        return *this;
    }
    /// The same.
    void operator++(int) { ++*this; }

    /// Whether there are no more.
    [[nodiscard]] friend bool operator==(const WalkIterator& iterator, std::default_sentinel_t /*end*/) noexcept {
        return iterator._isAtEnd;
    }

private:
    Walker _walker;
    value_type _value{};
    bool _isAtEnd = true;
};

/// All that a walker gives, from the beginning, each time that it is gone through.
template <class Walker>
class Walk {
public:
    /// Goes through what a walker made of these gives.
    template <class... Arguments>
    requires std::constructible_from<Walker, Arguments...>
    explicit Walk(Arguments&&... arguments) : _first(std::forward<Arguments>(arguments)...) {}

    /// The first one.
    [[nodiscard]] WalkIterator<Walker> begin() const { return WalkIterator<Walker>(_first); }
    /// The end.
    [[nodiscard]] static std::default_sentinel_t end() noexcept { return std::default_sentinel; }

private:
    Walker _first;
};

}  // namespace qlx

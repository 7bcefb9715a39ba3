// A queue in one piece of memory.
//
//     qlx::Ring<qlx::cc::Triplet> queue;
//     queue.push(qlx::cc::Triplet::make(qlx::cc::CcType::Field1, 0x94, 0x2C));
//     while (!queue.empty()) { use(queue.pop()); }
#pragma once

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

namespace qlx {

/// First in, first out. Its room grows when it is full, by doubling, and is used again and again: what puts in as much
/// as it takes out allocates nothing. A large room is given back when the queue has become empty.
template <class T>
class Ring {
public:
    /// Items of a room that is kept for good.
    static constexpr std::size_t kKeptRoom = 1024;

    /// Items that it holds.
    [[nodiscard]] std::size_t size() const noexcept { return _size; }
    /// Whether it holds none.
    [[nodiscard]] bool empty() const noexcept { return _size == 0; }

    /// One item, 0 being the oldest; `index` is below size().
    [[nodiscard]] T& operator[](std::size_t index) noexcept { return _room[place(index)]; }
    /// The same.
    [[nodiscard]] const T& operator[](std::size_t index) const noexcept { return _room[place(index)]; }
    /// The oldest item; there must be one.
    [[nodiscard]] T& front() noexcept { return _room[_first]; }
    /// The same.
    [[nodiscard]] const T& front() const noexcept { return _room[_first]; }
    /// The newest item; there must be one.
    [[nodiscard]] T& back() noexcept { return (*this)[_size - 1]; }
    /// The same.
    [[nodiscard]] const T& back() const noexcept { return (*this)[_size - 1]; }

    /// Puts an item behind all others.
    void push(T item) {
        if (_size == _room.size()) {
            grow();
        }
        _room[place(_size)] = std::move(item);
        ++_size;
    }

    /// Takes the oldest item out; there must be one.
    [[nodiscard]] T pop() {
        T item = std::move(_room[_first]);
        _first = place(1);
        --_size;
        if (_size == 0 && _room.size() > kKeptRoom) {
            _room = {};
            _first = 0;
        }
        return item;
    }

private:
    // A room has a power of two of items.
    [[nodiscard]] std::size_t place(std::size_t index) const noexcept { return (_first + index) & (_room.size() - 1); }

    void grow() {
        constexpr std::size_t kFirstRoom = 16;
        std::vector<T> room(std::max(kFirstRoom, 2 * _room.size()));
        for (std::size_t index = 0; index < _size; ++index) {
            room[index] = std::move((*this)[index]);
        }
        _room = std::move(room);
        _first = 0;
    }

    std::vector<T> _room;
    std::size_t _first = 0;
    std::size_t _size = 0;
};

}  // namespace qlx

// A list with a fixed room: a value that never allocates.
//
//     qlx::BoundedList<std::uint8_t, 4> list;
//     if (!list.append(bytes)) { report("more than four bytes"); }
//     for (const std::uint8_t byte : list) { use(byte); }
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <span>
#include <type_traits>

namespace qlx {

/// At most `Capacity` items of a plain type, stored in the list itself. Copied like any plain value, compared by what it
/// holds. The room behind its items is left as it is: making an empty list costs nothing, however large its room.
template <class T, std::size_t Capacity>
class BoundedList {
    static_assert(std::is_trivially_copyable_v<T>, "items are moved as bytes");

public:
    BoundedList() noexcept {}

    /// Most items.
    [[nodiscard]] static constexpr std::size_t capacity() noexcept { return Capacity; }

    /// Items that it holds.
    [[nodiscard]] std::size_t size() const noexcept { return _size; }
    /// Whether it holds none.
    [[nodiscard]] bool empty() const noexcept { return _size == 0; }
    /// The items; valid until the next change.
    [[nodiscard]] std::span<const T> items() const noexcept {
        return {std::launder(reinterpret_cast<const T*>(_room)), _size};
    }
    /// The first item.
    [[nodiscard]] auto begin() const noexcept { return items().begin(); }
    /// Behind the last item.
    [[nodiscard]] auto end() const noexcept { return items().end(); }
    /// One item; `index` is below size().
    [[nodiscard]] const T& operator[](std::size_t index) const noexcept { return items()[index]; }

    /// The items as they stand in memory.
    [[nodiscard]] std::span<const std::uint8_t> bytes() const noexcept { return {_room, _size * sizeof(T)}; }

    /// Takes these items in place of its own; false, and nothing is changed, when there are too many.
    [[nodiscard]] bool assign(std::span<const T> items) noexcept {
        _size = items.size() > Capacity ? _size : 0;
        return append(items);
    }

    /// Takes these items behind its own; false, and nothing is changed, when there are too many.
    [[nodiscard]] bool append(std::span<const T> items) noexcept {
        return appendBytes({reinterpret_cast<const std::uint8_t*>(items.data()), items.size_bytes()});
    }

    /// The same with items as they stand in memory; false also for a part of an item.
    [[nodiscard]] bool appendBytes(std::span<const std::uint8_t> bytes) noexcept {
        if (bytes.size() > (Capacity - _size) * sizeof(T) || bytes.size() % sizeof(T) != 0) {
            return false;
        }
        // An empty span may have no address at all.
        if (!bytes.empty()) {
            std::memmove(_room + _size * sizeof(T), bytes.data(), bytes.size());
            _size += bytes.size() / sizeof(T);
        }
        return true;
    }

    /// Holds none from now on.
    void clear() noexcept { _size = 0; }

    /// Whether both hold equal items.
    [[nodiscard]] friend bool operator==(const BoundedList& left, const BoundedList& right) noexcept {
        if (left._size != right._size) {
            return false;
        }
        for (std::size_t index = 0; index < left._size; ++index) {
            if (!(left[index] == right[index])) {
                return false;
            }
        }
        return true;
    }

private:
    alignas(T) std::uint8_t _room[Capacity * sizeof(T)];
    std::size_t _size = 0;
};

}  // namespace qlx

// An immutable, reference-counted byte buffer.
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace qlx {

/// An immutable byte buffer that is cheap to copy and safe to share between threads.
///
/// A default-made buffer is *none* (`!data`), which differs from an empty one (`data && data.empty()`). Copies share
/// the bytes, and a buffer converts to `std::span<const std::uint8_t>` like any contiguous range. One object is not
/// to be assigned to from two threads at once, as with any value type.
class QLX_EXPORT Data {
public:
    /// None: no buffer at all.
    constexpr Data() noexcept = default;

    /// A copy of the listed bytes.
    Data(std::initializer_list<std::uint8_t> bytes)
        : Data(std::span<const std::uint8_t>(bytes.begin(), bytes.size())) {}

    /// A copy of `bytes`; an empty span gives an empty buffer (not none).
    Data(std::span<const std::uint8_t> bytes);

    /// A copy of `bytes`; an empty vector gives an empty buffer (not none).
    Data(const std::vector<std::uint8_t>& bytes) : Data(std::span<const std::uint8_t>(bytes)) {}

    /// A copy of `size` bytes from `bytes`; a null pointer is allowed when `size` is 0.
    Data(const std::uint8_t* bytes, std::size_t size) : Data(std::span<const std::uint8_t>(bytes, size)) {}

    /// Shares the bytes.
    Data(const Data& other) noexcept : _storage(other._storage) { retain(); }
    /// Takes the bytes over; `other` is none afterwards.
    Data(Data&& other) noexcept : _storage(std::exchange(other._storage, nullptr)) {}
    /// Shares the bytes, or takes them over.
    Data& operator=(Data other) noexcept {
        std::swap(_storage, other._storage);
        return *this;
    }
    ~Data() { release(); }

    /// A buffer of `size` bytes written in place: `fill(std::uint8_t*)` must write all of them.
    template <class Fill>
    [[nodiscard]] static Data make(std::size_t size, Fill&& fill) {
        Data result;
        result._storage = allocate(size);
        std::forward<Fill>(fill)(bytesOf(result._storage));
        return result;
    }

    /// A buffer of `size` zero bytes.
    [[nodiscard]] static Data zeros(std::size_t size);

    /// True unless this is none.
    explicit operator bool() const noexcept { return _storage != nullptr; }

    /// Number of bytes; 0 for none.
    [[nodiscard]] std::size_t size() const noexcept { return _storage ? _storage->size : 0; }

    /// True when there is no byte (none included).
    [[nodiscard]] bool empty() const noexcept { return size() == 0; }

    /// The first byte, valid while any copy of this buffer lives; null for none.
    [[nodiscard]] const std::uint8_t* data() const noexcept { return _storage ? bytesOf(_storage) : nullptr; }

    /// The first byte, where an iteration begins.
    [[nodiscard]] const std::uint8_t* begin() const noexcept { return data(); }
    /// Behind the last byte.
    [[nodiscard]] const std::uint8_t* end() const noexcept {
        return _storage ? bytesOf(_storage) + _storage->size : nullptr;
    }

    /// The byte at `index`, which must be below size().
    [[nodiscard]] std::uint8_t operator[](std::size_t index) const noexcept { return data()[index]; }

    /// Equal bytes; none equals only none.
    friend QLX_EXPORT bool operator==(const Data& left, const Data& right) noexcept;

    /// The bytes as lower-case hexadecimal digits in groups of four bytes, `<fc942cfa 0000>`; none gives "(null)".
    [[nodiscard]] std::string description() const;

private:
    struct Storage {
        std::atomic<std::size_t> references;
        std::size_t size;
    };

    static Storage* allocate(std::size_t size);
    static void destroy(Storage* storage) noexcept;
    static std::uint8_t* bytesOf(Storage* storage) noexcept { return reinterpret_cast<std::uint8_t*>(storage + 1); }

    void retain() const noexcept {
        if (_storage) {
            _storage->references.fetch_add(1, std::memory_order_relaxed);
        }
    }
    void release() noexcept {
        if (_storage && _storage->references.fetch_sub(1, std::memory_order_acq_rel) == 1) {
            destroy(_storage);
        }
    }

    Storage* _storage = nullptr;
};

}  // namespace qlx

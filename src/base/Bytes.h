// Reading and writing fields of more than one byte, and a reader that never leaves its buffer.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <span>

namespace qlx {

/// The big-endian number in the first sizeof(Integer) bytes.
template <std::unsigned_integral Integer>
[[nodiscard]] constexpr Integer loadBig(const std::uint8_t* bytes) noexcept {
    Integer value = 0;
    for (std::size_t index = 0; index < sizeof(Integer); ++index) {
        value = static_cast<Integer>(static_cast<std::uint64_t>(value) << 8U | bytes[index]);
    }
    return value;
}

/// Writes `value` big-endian into the first sizeof(Integer) bytes.
template <std::unsigned_integral Integer>
constexpr void storeBig(std::uint8_t* bytes, Integer value) noexcept {
    for (std::size_t index = 0; index < sizeof(Integer); ++index) {
        bytes[index] =
            static_cast<std::uint8_t>(static_cast<std::uint64_t>(value) >> 8U * (sizeof(Integer) - 1 - index));
    }
}

/// The little-endian 32-bit word in the first four bytes.
[[nodiscard]] constexpr std::uint32_t loadLittle32(const std::uint8_t* bytes) noexcept {
    return std::uint32_t{bytes[0]} | std::uint32_t{bytes[1]} << 8U | std::uint32_t{bytes[2]} << 16U |
           std::uint32_t{bytes[3]} << 24U;
}

/// Writes `value` little-endian into the first four bytes.
constexpr void storeLittle32(std::uint8_t* bytes, std::uint32_t value) noexcept {
    bytes[0] = static_cast<std::uint8_t>(value);
    bytes[1] = static_cast<std::uint8_t>(value >> 8U);
    bytes[2] = static_cast<std::uint8_t>(value >> 16U);
    bytes[3] = static_cast<std::uint8_t>(value >> 24U);
}

/// True when one of the word's eight bytes is 0, whichever it is.
[[nodiscard]] constexpr bool hasZeroByte(std::uint64_t word) noexcept {
    constexpr std::uint64_t kOnes = 0x0101010101010101U;
    return ((word - kOnes) & ~word & kOnes << 7U) != 0;
}

/// Reads big-endian fields one after the other. Reading past the end gives zeros (or an empty span) and sets a flag
/// that stays set, so that a parser is a straight line with one check at its end.
class ByteReader {
public:
    explicit constexpr ByteReader(std::span<const std::uint8_t> bytes) noexcept : _rest(bytes) {}

    template <std::unsigned_integral Integer>
    constexpr Integer take() noexcept {
        const auto field = takeBytes(sizeof(Integer));
        return field.size() == sizeof(Integer) ? loadBig<Integer>(field.data()) : Integer{0};
    }

    constexpr std::span<const std::uint8_t> takeBytes(std::uint64_t count) noexcept {
        if (count > _rest.size()) {
            _failed = true;
            _rest = {};
            return {};
        }
        const auto field = _rest.first(static_cast<std::size_t>(count));
        _rest = _rest.subspan(static_cast<std::size_t>(count));
        return field;
    }

    constexpr void skip(std::uint64_t count) noexcept { takeBytes(count); }

    [[nodiscard]] constexpr std::size_t remaining() const noexcept { return _rest.size(); }
    [[nodiscard]] constexpr bool failed() const noexcept { return _failed; }

private:
    std::span<const std::uint8_t> _rest;
    bool _failed = false;
};

}  // namespace qlx

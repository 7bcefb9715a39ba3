// The bytes of a packet as the characters of an MCC file.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace qlx::streams::detail {

/// As many bytes of a line are kept; a packet has at most 259 with its checksum.
inline constexpr std::size_t kMostMccBytes = 512;

/// The bytes of a line.
struct MccBytes {
    std::array<std::uint8_t, kMostMccBytes> bytes;
    std::size_t size = 0;   ///< Of all, also of those that are not kept.
    std::size_t wrong = 0;  ///< The first character that is none of a byte, counted from 1; 0: all are right.

    /// Those that are kept.
    [[nodiscard]] std::span<const std::uint8_t> kept() const noexcept {
        return std::span(bytes).first(size < kMostMccBytes ? size : kMostMccBytes);
    }
};

/// Reads characters up to their end or a wrong one: two hexadecimal digits a byte, and letters that stand for several.
void readMccBytes(std::string_view text, MccBytes& to) noexcept;

/// Appends the characters of bytes, as few as there can be from each place on.
void appendMccBytes(std::string& text, std::span<const std::uint8_t> bytes);

}  // namespace qlx::streams::detail

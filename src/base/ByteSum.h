// The sum of bytes that several packets end with.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <type_traits>

namespace qlx {

/// All bytes added up, modulo 256.
[[nodiscard]] constexpr std::uint8_t byteSum(std::span<const std::uint8_t> bytes) noexcept {
    // Eight bytes at a time, two into each of four lanes of 16 bits. The lanes are added by a multiplication, in which
    // three of them must have room where one is: 3 x 32 words of 2 x 255 do.
    constexpr std::uint64_t kLanes = 0x00FF00FF00FF00FFU;
    constexpr std::size_t kWordsBetween = 32;
    const std::uint8_t* next = bytes.data();
    std::size_t left = bytes.size();
    std::uint64_t total = 0;
    while (!std::is_constant_evaluated() && left >= sizeof(std::uint64_t)) {
        std::uint64_t lanes = 0;
        for (std::size_t words = 0; words < kWordsBetween && left >= sizeof(std::uint64_t); ++words) {
            std::uint64_t word = 0;
            std::memcpy(&word, next, sizeof word);
            lanes += (word & kLanes) + (word >> 8U & kLanes);
            next += sizeof word;
            left -= sizeof word;
        }
        total += lanes * 0x0001000100010001U >> 48U;
    }
    for (; left > 0; --left) {
        total += *next++;
    }
    return static_cast<std::uint8_t>(total);
}

}  // namespace qlx

// The bytes of a NAL unit without those that prevent the emulation of start codes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace qlx::video {

/// Gives the bytes one by one to `take`, until it says no.
template <class Take>
void forEachWithoutPrevention(std::span<const std::uint8_t> unit, const Take& take) {
    constexpr std::uint8_t kPrevention = 3;
    unsigned zeros = 0;
    for (const std::uint8_t byte : unit) {
        if (zeros >= 2 && byte == kPrevention) {
            zeros = 0;
            continue;
        }
        if (!take(byte)) {
            return;
        }
        zeros = byte == 0 ? zeros + 1 : 0;
    }
}

/// How many there are.
[[nodiscard]] inline std::size_t sizeWithoutEmulationPrevention(std::span<const std::uint8_t> unit) {
    std::size_t size = 0;
    forEachWithoutPrevention(unit, [&size](std::uint8_t) {
        ++size;
        return true;
    });
    return size;
}

}  // namespace qlx::video

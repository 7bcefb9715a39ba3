// Rows of pixels made sample by sample, independently of the library's own writers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace qlxtest {

/// The 10-bit word of a byte: even parity in bit 8, its inverse in bit 9, counted bit by bit.
inline std::uint16_t parityWord(std::uint8_t byte) {
    unsigned ones = 0;
    for (unsigned bit = 0; bit < 8; ++bit) {
        ones += byte >> bit & 1U;
    }
    return static_cast<std::uint16_t>(byte | (ones % 2 == 1 ? 0x100U : 0x200U));
}

/// Samples of a whole packet: flag, DID, SDID, DC, data and checksum.
inline std::vector<std::uint16_t> packetSamples(std::uint8_t did, std::uint8_t sdid,
                                                std::span<const std::uint8_t> data) {
    std::vector<std::uint16_t> samples{
        0x000, 0x3FF, 0x3FF, parityWord(did), parityWord(sdid), parityWord(static_cast<std::uint8_t>(data.size()))};
    for (const std::uint8_t byte : data) {
        samples.push_back(parityWord(byte));
    }
    unsigned sum = 0;
    for (std::size_t index = 3; index < samples.size(); ++index) {
        sum += samples[index];
    }
    sum &= 0x1FFU;
    samples.push_back(static_cast<std::uint16_t>(sum | ((sum & 0x100U) != 0 ? 0U : 0x200U)));
    return samples;
}

/// A v210 row of `groups` groups whose luma begins with `luma` at sample `at`; other luma 0x040, chroma 0x200.
inline std::vector<std::uint8_t> v210Row(std::size_t groups, std::span<const std::uint16_t> luma, std::size_t at = 0) {
    std::vector<std::uint16_t> samples(groups * 12, 0x200);  // Cb Y Cr Y ...
    for (std::size_t index = 0; index < groups * 6; ++index) {
        samples[2 * index + 1] = index >= at && index - at < luma.size() ? luma[index - at] : std::uint16_t{0x040};
    }
    std::vector<std::uint8_t> row;
    for (std::size_t word = 0; word < groups * 4; ++word) {
        const std::uint32_t value = samples[3 * word] | static_cast<std::uint32_t>(samples[3 * word + 1]) << 10U |
                                    static_cast<std::uint32_t>(samples[3 * word + 2]) << 20U;
        for (unsigned byte = 0; byte < 4; ++byte) {
            row.push_back(static_cast<std::uint8_t>(value >> 8U * byte));
        }
    }
    return row;
}

}  // namespace qlxtest

// Where the fields of an ANC frame element stand (SMPTE ST 436-1): a 16-bit count, then for each packet
//
//   line 2 | wrapping 1 | sample coding 1 | sample count 2 | array count 4 | array element length 4 | array
#pragma once

#include "base/Bytes.h"

#include <cstddef>
#include <cstdint>

namespace qlx::anc::elementlayout {

inline constexpr std::size_t kCountBytes = 2;

// Offsets within a packet.
inline constexpr std::size_t kLine = 0;
inline constexpr std::size_t kWrapping = 2;
inline constexpr std::size_t kSampleCoding = 3;
inline constexpr std::size_t kSampleCount = 4;
inline constexpr std::size_t kArrayCount = 6;
inline constexpr std::size_t kArrayElementLength = 10;
inline constexpr std::size_t kArray = 14;

/// Samples in front of the user data: DID, SDID (or DBN), data count.
inline constexpr std::size_t kSamplesInFront = 3;

/// The arrays of packets are filled up to a multiple of this.
inline constexpr std::size_t kAlignment = 4;

// Three samples of ten bits stand in the high bits of each big-endian word; its two low bits are 0.
inline constexpr std::size_t kTenBitWordBytes = 4;
inline constexpr std::size_t kTenBitWordSamples = 3;

/// Bytes of so many samples of ten bits.
[[nodiscard]] constexpr std::size_t tenBitBytes(std::size_t samples) noexcept {
    return (samples + kTenBitWordSamples - 1) / kTenBitWordSamples * kTenBitWordBytes;
}

/// Where the lowest bit of a sample of ten bits is in its word.
[[nodiscard]] constexpr std::size_t tenBitShift(std::size_t index) noexcept {
    return 22 - index % kTenBitWordSamples * 10;
}

/// What stands in front of a packet's array.
struct Header {
    std::uint16_t line = 0;
    std::uint8_t wrapping = 0;
    std::uint8_t coding = 0;
    std::uint16_t sampleCount = 0;
    std::uint32_t arrayCount = 0;
    std::uint32_t arrayElementLength = 1;
};

/// Reads the kArray bytes in front of an array.
[[nodiscard]] constexpr Header loadHeader(const std::uint8_t* bytes) noexcept {
    return {loadBig<std::uint16_t>(bytes + kLine),
            bytes[kWrapping],
            bytes[kSampleCoding],
            loadBig<std::uint16_t>(bytes + kSampleCount),
            loadBig<std::uint32_t>(bytes + kArrayCount),
            loadBig<std::uint32_t>(bytes + kArrayElementLength)};
}

/// Writes the kArray bytes in front of an array.
constexpr void storeHeader(std::uint8_t* bytes, const Header& header) noexcept {
    storeBig(bytes + kLine, header.line);
    bytes[kWrapping] = header.wrapping;
    bytes[kSampleCoding] = header.coding;
    storeBig(bytes + kSampleCount, header.sampleCount);
    storeBig(bytes + kArrayCount, header.arrayCount);
    storeBig(bytes + kArrayElementLength, header.arrayElementLength);
}

}  // namespace qlx::anc::elementlayout

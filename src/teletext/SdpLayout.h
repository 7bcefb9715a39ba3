// What stands around the packets of a subtitling distribution packet.
//
//   0  51 15      identifier
//   2  length     of the whole packet
//   3  02         format: teletext
//   4  5 descriptors, 0 for those that are not used
//   9  a packet of 45 bytes for each that is
//      74         footer: counter (2 bytes), checksum (all bytes add up to 0 modulo 256)
#pragma once

#include "base/ByteSum.h"

#include <qlx/teletext/sdp.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace qlx::teletext {

inline constexpr std::size_t kSdpLengthOffset = 2;
inline constexpr std::size_t kSdpFormatOffset = 3;
inline constexpr std::size_t kSdpDescriptorsOffset = 4;

using SdpDescriptors = std::array<std::uint8_t, kGreatestSdpLines>;

/// @param size Of the whole packet.
[[nodiscard]] constexpr std::array<std::uint8_t, kSdpHeaderBytes> sdpHeader(std::size_t size,
                                                                            const SdpDescriptors& all) noexcept {
    return {kSdpIdentifier >> 8U,
            kSdpIdentifier & 0xFFU,
            static_cast<std::uint8_t>(size),
            kSdpTeletextFormat,
            all[0],
            all[1],
            all[2],
            all[3],
            all[4]};
}

/// The footer up to its checksum.
[[nodiscard]] constexpr std::array<std::uint8_t, kSdpFooterBytes - 1> sdpFooter(std::uint16_t counter) noexcept {
    return {kSdpFooterIdentifier, static_cast<std::uint8_t>(counter >> 8U), static_cast<std::uint8_t>(counter & 0xFFU)};
}

/// @param bytes All in front of it.
[[nodiscard]] constexpr std::uint8_t sdpChecksum(std::span<const std::uint8_t> bytes) noexcept {
    return static_cast<std::uint8_t>(0U - byteSum(bytes));
}

}  // namespace qlx::teletext

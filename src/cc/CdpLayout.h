// The bytes of a caption distribution packet (SMPTE ST 334-2).
//
//   0  96 69      identifier
//   2  length     of the whole packet
//   3  rate       cdp_frame_rate (4 bits), reserved 1111
//   4  flags      see CdpFlags
//   5  counter    2 bytes
//   7  sections   71 time code, 72 triplets, 73 service information, 75 to EF future ones, in this order
//      74         footer: counter (2 bytes), checksum (all bytes add up to 0 modulo 256)
#pragma once

#include <qlx/cc/cdp.h>

#include <cstddef>
#include <cstdint>

namespace qlx::cc::detail {

inline constexpr std::size_t kLengthOffset = 2;
inline constexpr std::size_t kRateOffset = 3;
inline constexpr std::size_t kFlagsOffset = 4;
inline constexpr std::size_t kCounterOffset = 5;
inline constexpr std::size_t kHeaderBytes = 7;
inline constexpr std::size_t kFooterBytes = 4;
inline constexpr std::size_t kTimeCodeSectionBytes = 1 + CdpTimeCode::kBytes;
/// Identifier and count, in front of triplets and of services; identifier and length of a future section.
inline constexpr std::size_t kSectionHeadBytes = 2;

inline constexpr std::uint8_t kRateReserved = 0x0F;

/// Bits of the flags byte.
namespace cdpflags {
inline constexpr std::uint8_t kTimeCode = 0x80;
inline constexpr std::uint8_t kCcData = 0x40;
inline constexpr std::uint8_t kServiceInformation = 0x20;
inline constexpr std::uint8_t kServiceStart = 0x10;
inline constexpr std::uint8_t kServiceChange = 0x08;
inline constexpr std::uint8_t kServiceComplete = 0x04;
inline constexpr std::uint8_t kServiceActive = 0x02;
inline constexpr std::uint8_t kReserved = 0x01;
}  // namespace cdpflags

// cc_count's byte.
inline constexpr std::uint8_t kCcCountBits = 0x1F;
inline constexpr std::uint8_t kCcDataReservedBits = 0xE0;

// svc_count's byte.
inline constexpr std::uint8_t kServiceCountBits = 0x0F;
inline constexpr std::uint8_t kServiceFlagBits = 0x70;
inline constexpr std::uint8_t kServiceReservedBit = 0x80;
/// The flags of the section stand two bits higher than the same ones of the header.
inline constexpr unsigned kServiceFlagShift = 2;

/// tc_10fr's byte: the bit that is 0; the bits that are 1 in those of the hours and minutes.
inline constexpr std::uint8_t kTimeCodeZeroBit = 0x40;
inline constexpr std::uint8_t kHoursReserved = 0xC0;
inline constexpr std::uint8_t kMinutesReserved = 0x80;

[[nodiscard]] constexpr bool isSection(std::uint8_t id, CdpSection section) noexcept {
    return id == static_cast<std::uint8_t>(section);
}

[[nodiscard]] constexpr bool isFutureSection(std::uint8_t id) noexcept {
    return id >= static_cast<std::uint8_t>(CdpSection::FirstFuture) &&
           id <= static_cast<std::uint8_t>(CdpSection::LastFuture);
}

}  // namespace qlx::cc::detail

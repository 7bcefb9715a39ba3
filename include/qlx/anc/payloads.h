// What small packets that describe a frame say: AFD and bars, time code, payload identifier, CEA-608 pairs. Each reader
// takes the user data of a packet; what is reserved is passed over.
//
//     if (packet.id() == qlx::anc::ids::kAfdBarData) {
//         if (const auto afd = qlx::anc::parseAfdBarData(packet.userData)) { use(afd->code, afd->isWide); }
//     }
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <qlx/base/result.h>

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace qlx::anc {

/// Active format description and bar data (SMPTE ST 2016-3): eight bytes.
struct AfdBarData {
    std::uint8_t code = 0;        ///< AFD, 0 to 15 (SMPTE ST 2016-1); 0 where it is not known.
    bool isWide = false;          ///< The coded frame is 16:9, otherwise 4:3.
    bool hasTopBar = false;       ///< firstBar is a line.
    bool hasBottomBar = false;    ///< secondBar is a line.
    bool hasLeftBar = false;      ///< firstBar is a pixel.
    bool hasRightBar = false;     ///< secondBar is a pixel.
    std::uint16_t firstBar = 0;   ///< The last line of the top bar, or pixel of the left one.
    std::uint16_t secondBar = 0;  ///< The first line of the bottom bar, or pixel of the right one.

    /// Whether all fields are equal.
    friend bool operator==(const AfdBarData&, const AfdBarData&) = default;
};

/// Reads the user data of such a packet. AncPayloadCut for fewer than eight bytes.
[[nodiscard]] QLX_EXPORT Result<AfdBarData> parseAfdBarData(std::span<const std::uint8_t> userData);

/// What an AFD code says, in a few words; empty for a code that is reserved.
[[nodiscard]] QLX_EXPORT std::string_view afdText(std::uint8_t code) noexcept;

/// What an ancillary time code comes from: the distributed binary bits of the first group (SMPTE ST 12-2).
enum class TimeCodeSource : std::uint8_t {
    Linear = 0x00,     ///< LTC.
    Interval1 = 0x01,  ///< VITC of the first field, or of a progressive frame.
    Interval2 = 0x02,  ///< VITC of the second field.
};

/// Ancillary time code (SMPTE ST 12-2): sixteen bytes. Digits are as they stand there, also where they are none.
struct AncillaryTimeCode {
    std::uint8_t hours = 0;                      ///< 0 to 45.
    std::uint8_t minutes = 0;                    ///< 0 to 85.
    std::uint8_t seconds = 0;                    ///< 0 to 85.
    std::uint8_t frames = 0;                     ///< 0 to 45; above 30 frames a second the number of the pair.
    bool dropFrame = false;                      ///< Bit 10.
    bool colourFrame = false;                    ///< Bit 11.
    std::array<bool, 4> flags{};                 ///< Bits 27, 43, 58 and 59, whose meaning depends on the rate.
    std::array<std::uint8_t, 8> binaryGroups{};  ///< 4 bits each.
    std::uint8_t source = 0;                     ///< DBB1; see TimeCodeSource.
    std::uint8_t validity = 0;                   ///< DBB2: line, duplication, validity and process bits.

    /// Whether all fields are equal.
    friend bool operator==(const AncillaryTimeCode&, const AncillaryTimeCode&) = default;
};

/// Reads the user data of such a packet. AncPayloadCut for fewer than sixteen bytes.
[[nodiscard]] QLX_EXPORT Result<AncillaryTimeCode> parseAncillaryTimeCode(std::span<const std::uint8_t> userData);

/// Payload identifier (SMPTE ST 352): four bytes.
struct PayloadIdentifier {
    std::uint8_t format = 0;              ///< Byte 1: the interface and what it carries; bit 7 for version 1.
    bool isProgressiveTransport = false;  ///< Byte 2, bit 7.
    bool isProgressivePicture = false;    ///< Byte 2, bit 6.
    std::uint8_t rateCode = 0;            ///< Byte 2, 4 bits: picture rate.
    std::uint8_t sampling = 0;            ///< Byte 3, 4 bits: sampling structure.
    std::array<std::uint8_t, 4> bytes{};  ///< All of it.

    /// Whether all fields are equal.
    friend bool operator==(const PayloadIdentifier&, const PayloadIdentifier&) = default;
};

/// Reads the user data of such a packet. AncPayloadCut for fewer than four bytes.
[[nodiscard]] QLX_EXPORT Result<PayloadIdentifier> parsePayloadIdentifier(std::span<const std::uint8_t> userData);

/// The pictures a second of a rateCode: `25`, `30/1.001`; empty for a code that is reserved.
[[nodiscard]] QLX_EXPORT std::string_view payloadRateText(std::uint8_t rateCode) noexcept;

/// A CEA-608 packet (SMPTE ST 334-1): three bytes.
struct Cea608Payload {
    bool isFirstField = false;           ///< Bit 7 of the first byte.
    std::uint8_t lineOffset = 0;         ///< 5 bits.
    std::array<std::uint8_t, 2> pair{};  ///< With its parity bits.

    /// Whether all fields are equal.
    friend bool operator==(const Cea608Payload&, const Cea608Payload&) = default;
};

/// Reads the user data of such a packet. AncPayloadCut for fewer than three bytes.
[[nodiscard]] QLX_EXPORT Result<Cea608Payload> parseCea608Payload(std::span<const std::uint8_t> userData);

/// Whether a camera start/stop packet (DID 52h, SDID 4Dh) starts: eleven bytes, of which the last has bit 1 set.
/// AncPayloadCut for fewer.
[[nodiscard]] QLX_EXPORT Result<bool> parseCameraStartStop(std::span<const std::uint8_t> userData);

}  // namespace qlx::anc

// The subtitling distribution packet (SDP) of SMPTE RDD 8 and Free TV OP-47: up to five teletext packets with the lines
// that they belong to, read from what is seen in the field and written as the document says.
//
//     qlx::Findings findings;
//     const qlx::Result<qlx::teletext::Sdp> sdp = qlx::teletext::parseSdp(userData, &findings);
//     if (sdp) {
//         for (const qlx::teletext::SdpLine& line : sdp->lines) {
//             const auto packet = qlx::teletext::parsePacket(line.bytes, &findings);
//             if (packet) { use(packet->number); }
//         }
//     }
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <QLXClosedCaptionsUtilities/platform/Data.h>
#include <qlx/base/bounded_list.h>
#include <qlx/base/result.h>
#include <qlx/teletext/packet.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace qlx::teletext {

inline constexpr std::uint16_t kSdpIdentifier = 0x5115;
inline constexpr std::uint8_t kSdpTeletextFormat = 0x02;  ///< Format code of teletext subtitles.
inline constexpr std::uint8_t kSdpFooterIdentifier = 0x74;
inline constexpr std::size_t kGreatestSdpLines = 5;  ///< As many descriptors as there are.
inline constexpr std::size_t kSdpHeaderBytes = 4 + kGreatestSdpLines;
inline constexpr std::size_t kSdpFooterBytes = 4;  ///< Identifier, counter, checksum.

/// Bytes of a packet with so many lines.
[[nodiscard]] constexpr std::size_t sdpSize(std::size_t lines) noexcept {
    return kSdpHeaderBytes + lines * kLineBytes + kSdpFooterBytes;
}
inline constexpr std::size_t kGreatestSdpBytes = sdpSize(kGreatestSdpLines);

/// A descriptor: bit 7 is set for the odd (first) field, the low five bits are the line of the vertical blanking
/// interval. 0 stands where there is no packet.
[[nodiscard]] constexpr std::uint8_t sdpDescriptor(unsigned line, bool isOddField) noexcept {
    return static_cast<std::uint8_t>((isOddField ? 0x80U : 0U) | (line & 0x1FU));
}

/// A teletext packet and the line that it belongs to.
struct SdpLine {
    std::uint8_t descriptor = 0;                   ///< As it stands in the packet; not 0.
    std::array<std::uint8_t, kLineBytes> bytes{};  ///< Run-in, framing code, address and data, as they stand there.

    /// The line of the vertical blanking interval, 0 to 31.
    [[nodiscard]] constexpr std::uint8_t line() const noexcept { return descriptor & 0x1FU; }
    /// Whether it is of the odd (first) field.
    [[nodiscard]] constexpr bool isOddField() const noexcept { return (descriptor & 0x80U) != 0; }
    /// Whether all fields are equal.
    [[nodiscard]] friend constexpr bool operator==(const SdpLine&, const SdpLine&) noexcept = default;
};

/// A subtitling distribution packet as a value. What follows from the content (length, checksum) is checked when one is
/// read, and made when one is written.
struct Sdp {
    std::uint16_t counter = 0;                      ///< Footer sequence counter.
    BoundedList<SdpLine, kGreatestSdpLines> lines;  ///< In their order.

    /// Adds a packet; false, and nothing is changed, when there are five, or it cannot be written, or the line
    /// is above 31 (a field counts its own lines), or the descriptor would be 0 (line 0 of the even field).
    [[nodiscard]] QLX_EXPORT bool add(const Packet& packet, unsigned line, bool isOddField);

    /// Whether all fields are equal.
    [[nodiscard]] friend bool operator==(const Sdp&, const Sdp&) noexcept = default;
};

/// Reads an SDP that begins with the first byte. Fails with SdpTooShort, SdpIdentifierWrong or SdpFormatUnknown when the
/// bytes are none with teletext. What contradicts itself or the document (length, unused descriptors in front of used
/// ones, packets that are announced and not there, footer, checksum) is given to `findings` in the order of the bytes,
/// and is used as far as it can be. The teletext packets themselves are not looked into: parsePacket() does. What is
/// read without a finding is written as the same bytes by writeSdp().
[[nodiscard]] QLX_EXPORT Result<Sdp> parseSdp(std::span<const std::uint8_t> bytes, FindingSink* findings = nullptr);

/// Writes the packet into `room` and gives its bytes. Allocates nothing. SdpDescriptorUnused for a line whose descriptor
/// is 0, OutputTooSmall for a room that is smaller than the packet; nothing is written then.
[[nodiscard]] QLX_EXPORT Result<std::size_t> writeSdp(const Sdp& sdp, std::span<std::uint8_t> room);

/// The packet as a buffer of its own.
[[nodiscard]] QLX_EXPORT Result<Data> writeSdp(const Sdp& sdp);

/// Follows the footer counters of the packets of a stream: each is one more than the one before, and 0 follows 65535.
class SdpCounterCheck {
public:
    /// Takes the counter of the next packet. A jump is given to `findings` (SdpCounterJumped, a Warning, at `offset`),
    /// and the next counter is expected behind the new one. The first counter may be any. True unless it jumped.
    QLX_EXPORT bool receive(std::uint16_t counter, FindingSink* findings = nullptr, std::uint64_t offset = 0);

    /// What the next counter should be; none before the first.
    [[nodiscard]] std::optional<std::uint16_t> expected() const noexcept { return _expected; }

    /// Takes any counter next.
    void reset() noexcept { _expected.reset(); }

    /// Whether all fields are equal.
    friend bool operator==(const SdpCounterCheck&, const SdpCounterCheck&) noexcept = default;

private:
    std::optional<std::uint16_t> _expected;
};

}  // namespace qlx::teletext

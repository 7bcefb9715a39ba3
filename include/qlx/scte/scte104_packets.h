// Messages of ANSI/SCTE 104 in ancillary data packets (SMPTE ST 2010): a payload descriptor and, behind it, the message
// or a piece of it.
//
//     qlx::scte::MessageJoiner joiner;
//     for (const qlx::anc::Packet& packet : frame.packets) {
//         if (packet.id() != qlx::anc::ids::kScte104) { continue; }
//         if (const auto joined = joiner.push(packet.userData, &findings)) {
//             use(qlx::scte::parseMessage(joined->bytes, &findings));
//         }
//     }
//     joiner.endFrame(&findings);
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <qlx/base/result.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace qlx::scte {

/// The first user data word of a packet (SMPTE ST 2010).
class PayloadDescriptor {
public:
    static constexpr std::uint8_t kVersionBits = 0x18;   ///< The version of the mapping.
    static constexpr std::uint8_t kKnownVersion = 0x08;  ///< The version that is known.
    static constexpr std::uint8_t kContinuedBit = 0x04;  ///< The message goes on in the next packet.
    static constexpr std::uint8_t kFollowingBit = 0x02;  ///< The message began in a packet before.
    static constexpr std::uint8_t kDuplicateBit = 0x01;  ///< The message was sent before.
    static constexpr std::uint8_t kReservedBits = 0xE0;  ///< 0 as long as no standard uses them.

    /// A packet with a whole message.
    constexpr PayloadDescriptor() noexcept = default;
    /// As it stands in a packet.
    constexpr explicit PayloadDescriptor(std::uint8_t byte) noexcept : _byte(byte) {}

    /// The byte.
    [[nodiscard]] constexpr std::uint8_t byte() const noexcept { return _byte; }
    /// Whether the version is the one that is known.
    [[nodiscard]] constexpr bool hasKnownVersion() const noexcept { return (_byte & kVersionBits) == kKnownVersion; }
    /// continued_pkt: the message goes on in the next packet.
    [[nodiscard]] constexpr bool isContinued() const noexcept { return (_byte & kContinuedBit) != 0; }
    /// following_pkt: the message began in a packet before.
    [[nodiscard]] constexpr bool isFollowing() const noexcept { return (_byte & kFollowingBit) != 0; }
    /// duplicate_msg: the message was sent before.
    [[nodiscard]] constexpr bool isDuplicate() const noexcept { return (_byte & kDuplicateBit) != 0; }

    /// Whether all fields are equal.
    friend constexpr bool operator==(const PayloadDescriptor&, const PayloadDescriptor&) noexcept = default;

private:
    std::uint8_t _byte = kKnownVersion;
};

inline constexpr std::size_t kGreatestPieceBytes = 254;  ///< Bytes of message in a packet.

/// A message cut into packets, walked without an allocation: 08 and a whole message, or 0C first, 0E in the middle and
/// 0A last, each with kGreatestPieceBytes bytes but the last.
///
///     const qlx::scte::MessagePieces pieces(message);
///     for (std::size_t index = 0; index < pieces.count(); ++index) {
///         const qlx::Result<std::size_t> size = pieces.write(index, room);
///     }
class MessagePieces {
public:
    /// `message` must outlive it. `isDuplicate` marks a message that was sent before.
    explicit MessagePieces(std::span<const std::uint8_t> message, bool isDuplicate = false) noexcept
        : _message(message), _isDuplicate(isDuplicate) {}

    /// Packets, 1 at least.
    [[nodiscard]] std::size_t count() const noexcept {
        return _message.empty() ? 1 : (_message.size() + kGreatestPieceBytes - 1) / kGreatestPieceBytes;
    }
    /// What packet `index` (0 to count() - 1) begins with.
    [[nodiscard]] QLX_EXPORT PayloadDescriptor descriptor(std::size_t index) const noexcept;
    /// The piece of packet `index`.
    [[nodiscard]] QLX_EXPORT std::span<const std::uint8_t> piece(std::size_t index) const noexcept;

    /// Writes the user data of packet `index` and gives their bytes, 255 at most. OutputTooSmall for a room that is
    /// smaller, and nothing is written then.
    [[nodiscard]] QLX_EXPORT Result<std::size_t> write(std::size_t index, std::span<std::uint8_t> room) const;

private:
    std::span<const std::uint8_t> _message;
    bool _isDuplicate;
};

/// A message that came in packets.
struct JoinedMessage {
    std::span<const std::uint8_t> bytes;  ///< Valid until the next call of the joiner.
    bool isDuplicate = false;             ///< Whether its first packet says that it was sent before.
    std::size_t packets = 0;              ///< In how many packets it came.
};

/// Joins the messages of packets, which come in their order. A message ends in the frame in which it begins.
class MessageJoiner {
public:
    /// Takes the user data of the next packet, and gives the message that ends with it. A piece without the one before
    /// it is left out, and so is what an unfinished message has so far (SctePieceMissing), a packet of another version
    /// (SctePacketVersionUnknown), and a message that is longer than any can be (ScteTooLong). A message whose
    /// messageSize is not its size is given all the same (ScteMessageSizeWrong). `offset` is what findings have as
    /// their place: of the packet, as the caller counts.
    QLX_EXPORT std::optional<JoinedMessage> push(std::span<const std::uint8_t> userData,
                                                 FindingSink* findings = nullptr, std::uint64_t offset = 0);

    /// The frame has no more packets: an unfinished message is left out (SctePieceMissing).
    QLX_EXPORT void endFrame(FindingSink* findings = nullptr, std::uint64_t offset = 0);

    /// Messages so far that say that they were sent before.
    [[nodiscard]] std::uint64_t duplicates() const noexcept { return _duplicates; }

private:
    void leaveOut(FindingSink* findings, std::uint64_t offset, std::uint8_t descriptor);

    std::vector<std::uint8_t> _bytes;
    std::size_t _packets = 0;  ///< Of the message that is unfinished; 0 for none.
    bool _isDuplicate = false;
    std::uint64_t _duplicates = 0;
};

}  // namespace qlx::scte

// The subtitling distribution packets of each field (SMPTE RDD 8) that carry a stream of teletext packets.
//
//     qlx::teletext::SdpStream stream;
//     const qlx::teletext::FieldPackets field = writer.next(&findings);
//     for (const qlx::teletext::Sdp& sdp : stream.next(field.packets.items(), field.isOdd)) {
//         const auto size = qlx::teletext::writeSdp(sdp, room);
//         if (size) { send(std::span(room).first(*size)); }
//     }
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <qlx/base/bounded_list.h>
#include <qlx/teletext/packet.h>
#include <qlx/teletext/sdp.h>

#include <cstddef>
#include <cstdint>
#include <span>

namespace qlx::teletext {

/// The lines of a field that teletext packets say that they belong to.
inline constexpr std::uint8_t kFirstVbiLine = 7;
inline constexpr std::uint8_t kLastVbiLine = 22;

/// The lines of the picture whose ancillary data the packets are in where nobody says others: those of the first field, and
/// of all of progressive frames, and those of the second field. They are usual in 1125 lines, interlaced; in 625 lines 21
/// and 334 are. No public text names the line of progressive pictures, where equipment takes 9 to 20.
inline constexpr std::uint32_t kFirstSdpLine = 12;
inline constexpr std::uint32_t kSecondSdpLine = 575;

/// Subtitling distribution packets that a field has at most.
inline constexpr std::size_t kGreatestFieldSdps = 3;

/// Those of a field.
using FieldSdps = BoundedList<Sdp, kGreatestFieldSdps>;

/// Puts teletext packets into subtitling distribution packets, five into each, and counts these.
class SdpStream {
public:
    /// @param fillsFields Whether a field without packets has a packet of three filling ones (magazine 8, packet 31).
    explicit SdpStream(bool fillsFields = false) noexcept : _fillsFields(fillsFields) {}

    /// The packets of the next field. Each teletext packet has a line of its own, ascending from 10 on, or so many before
    /// it that the last one is 22.
    /// @param packets Those that can be written, at most 15; others, and what is more, are left out.
    /// @param isOddField What the descriptors say.
    [[nodiscard]] QLX_EXPORT FieldSdps next(std::span<const Packet> packets, bool isOddField);

    /// The counter of the next packet.
    [[nodiscard]] std::uint16_t counter() const noexcept { return _counter; }

private:
    bool _fillsFields;
    std::uint16_t _counter = 0;
};

}  // namespace qlx::teletext

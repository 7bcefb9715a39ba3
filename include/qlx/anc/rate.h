// Ancillary packets of one frame rate as those of another; for captions there is qlx/cc/rate.h.
//
//     qlx::anc::PacketRateChange change(qlx::FrameRate::Fps25, qlx::FrameRate::Fps50);
//     change.feed(frame, packet, &findings);          // every packet but the caption distribution packets
//     std::vector<qlx::anc::Packet> packets = change.packetsOf(outputFrame);
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <qlx/anc/packet.h>
#include <qlx/base/finding.h>
#include <qlx/base/frame_rate.h>
#include <qlx/base/ring.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace qlx::anc {

/// What becomes of a packet when the frame rate changes.
enum class RateUse : std::uint8_t {
    /// It happens once: it goes out once, with the first frame that begins at its time or later.
    Once,
    /// It describes its frame: each frame has that of the frame which is on when it begins. So it is repeated when there
    /// are more frames, and of several that come between two frames the last one is taken.
    EachFrame,
    /// The same, and it counts frames: it is dropped where the new rate counts them otherwise (24 to 30, for instance).
    /// Two rates count alike when one is the other, or the double of the other, whose time code counts pairs of frames.
    EachCountedFrame,
    /// As EachFrame, and it is right for frames of its rate alone, which it names or checks: it is dropped where that is
    /// another one.
    EachFrameOfItsRate,
};

/// A row of the table.
struct RateUseOfPacket {
    PacketId id;                  ///< DID and SDID; 0 for the DBN of type 1.
    RateUse use = RateUse::Once;  ///< What becomes of it.

    /// Whether it is that of a packet.
    [[nodiscard]] constexpr bool isOf(PacketId packet) const noexcept {
        return id == packet || (id.did == packet.did && isType1(id.did));
    }
};

/// The packets that do not go out once, as the register of SMPTE ST 291-1 names them.
inline constexpr std::array<RateUseOfPacket, 13> kRateUses{{
    {ids::kAfdBarData, RateUse::EachFrame},
    {ids::kPanScan, RateUse::EachFrame},
    {ids::kStereoscopic, RateUse::EachFrame},
    {ids::kHdrMetadata, RateUse::EachFrame},
    {ids::kHdrMetadataKlv, RateUse::EachFrame},
    {ids::kWideScreenSignalling, RateUse::EachFrame},
    {ids::kAtc, RateUse::EachCountedFrame},
    {ids::kTimeCodeOfHanc, RateUse::EachCountedFrame},
    {ids::kVitcOfHanc, RateUse::EachCountedFrame},
    {ids::kPayloadIdentifier, RateUse::EachFrameOfItsRate},
    {ids::kTwoFrameMarker, RateUse::EachFrameOfItsRate},
    {ids::kHighFrameRateTimeCode, RateUse::EachFrameOfItsRate},
    {ids::kErrorDetection, RateUse::EachFrameOfItsRate},
}};

/// What becomes of a packet.
[[nodiscard]] constexpr RateUse rateUseOf(PacketId id) noexcept {
    for (const RateUseOfPacket& row : kRateUses) {
        if (row.isOf(id)) {
            return row.use;
        }
    }
    return RateUse::Once;
}

/// Whether the time codes of two rates count the same frames: the rates are the same, or one is the double of the other.
[[nodiscard]] constexpr bool countAlike(FrameRate one, FrameRate other) noexcept {
    const std::uint32_t first = nominalFramesPerSecond(one);
    const std::uint32_t second = nominalFramesPerSecond(other);
    return isFractional(one) == isFractional(other) && (first == second || first == 2 * second || second == 2 * first);
}

/// Gives the packets of one frame rate to the frames of another, by the table above. Packets of a frame stay in their
/// order, those that go out once in front of the others. Nothing that goes out once is lost or doubled.
///
/// For one thread at a time.
class PacketRateChange {
public:
    /// From what to what.
    QLX_EXPORT PacketRateChange(FrameRate from, FrameRate to);

    /// Takes a packet of a frame, counted from 0. Frames come in their order; a packet of a frame behind a later one is
    /// taken as one of that. AncPacketDropped, with the frame as the offset, for one that counts frames otherwise or
    /// names another rate.
    QLX_EXPORT void feed(std::uint64_t frame, Packet packet, FindingSink* findings = nullptr);

    /// The packets of a frame of the new rate. Frames are asked for in their order, each when all frames of the input
    /// have come that begin with it or earlier; behind the input's end as long as packets wait.
    [[nodiscard]] QLX_EXPORT std::vector<Packet> packetsOf(std::uint64_t frame);

    /// Packets that wait for their frame, and go out once.
    [[nodiscard]] std::size_t waiting() const noexcept { return _once.size(); }

private:
    void takeDescribing(std::uint64_t frame);

    struct Waiting {
        std::uint64_t inputFrame = 0;
        std::uint64_t firstFrame = 0;  ///< The first frame of the new rate that begins with it or later.
        Packet packet;
    };

    FrameRate _from;
    FrameRate _to;
    std::uint64_t _lastInput = 0;
    Ring<Waiting> _once;
    Ring<Waiting> _describing;
    std::vector<Waiting> _current;  ///< What describes the last frame.
};

}  // namespace qlx::anc

// The captions of a frame, wherever they are.
//
//     qlx::Findings findings;
//     const qlx::Data triplets = qlx::streams::captionTriplets(frame, &findings);
//     for (const qlx::Finding& finding : findings) {
//         report(frame.number, finding.offset, finding.text());  // The offset is the line of the packet.
//     }
#pragma once

#include <QLXClosedCaptionsUtilities/platform/Data.h>

#include <qlx/anc/packet.h>
#include <qlx/base/finding.h>
#include <qlx/cc/cdp.h>
#include <qlx/streams/export.h>
#include <qlx/streams/frame.h>

#include <cstdint>
#include <map>
#include <utility>

namespace qlx::streams {

/// The cc_data triplets of a frame: those that came with the picture, else those of its first CDP (SMPTE ST 334-2) with
/// caption data, else the pairs of its CEA-608 packets (SMPTE ST 334-1) as triplets. None without any.
/// @param findings Gets what is wrong with the CDPs that are looked into, and packets too short for a pair
///   (StreamPairPacketCut), with the line of the packet as the offset; and where the last triplet that came with the picture
///   is cut (UserDataCut, at 0), which is given as it is; may be null.
[[nodiscard]] QLX_STREAMS_EXPORT Data captionTriplets(const Frame& frame, FindingSink* findings = nullptr);

/// Follows the counters of a stream's CDPs (cc::CounterCheck), those of each line and channel by themselves. Where frames
/// are left out the counter may have gone on by one for each.
class CdpCounters {
public:
    /// Takes the next frame of the stream.
    /// @param frame In the order of presentation.
    /// @param findings Gets jumps (CdpCounterJumped), and once for each line and channel that a counter stands still
    ///   (CdpCounterStandsStill), with the line of the packet as the offset; may be null. Packets that are no CDP are
    ///   passed over.
    QLX_STREAMS_EXPORT void receive(const Frame& frame, FindingSink* findings);

private:
    struct Stream {
        cc::CounterCheck check;
        std::uint64_t frame = 0;  ///< Of the last packet.
    };

    std::map<std::pair<std::uint32_t, anc::Channel>, Stream> _streams;
};

}  // namespace qlx::streams

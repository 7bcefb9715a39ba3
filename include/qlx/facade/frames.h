// The frames of the fixed operations' playout as values.
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <QLXClosedCaptionsUtilities/platform/MediaTime.h>
#include <qlx/anc/packet.h>

#include <vector>

class QLXSubtitlesPacketizer;

namespace qlx::facade {

/// The line that nextPackets() puts caption packets on.
inline constexpr std::uint32_t kCaptionPacketLine = 9;

/// The packets of the next frame: what QLXSubtitlesPacketizer::copyNextSubtitleSampleBufferAtPTS_frameDuration() gives
/// a sample of, byte by byte. A caption distribution packet on kCaptionPacketLine, or none, in mode 1; the OP-47 packets
/// of both fields, field 1 first, in mode 2; none in any other mode. It is a frame of the packetizer like any other.
///
///     for (const qlx::anc::Packet& packet : qlx::facade::nextPackets(*packetizer, pts, frameDuration)) {
///         send(packet);
///     }
/// @param pts Presentation time.
/// @param frameDuration Says the rate of a caption distribution packet.
[[nodiscard]] QLX_EXPORT std::vector<anc::Packet> nextPackets(QLXSubtitlesPacketizer& packetizer, const MediaTime& pts,
                                                              const MediaTime& frameDuration);

}  // namespace qlx::facade

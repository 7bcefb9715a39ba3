#include <qlx/facade/frames.h>

#include "facade/CaptionSample.h"
#include "subtitles/SubtitleMode.h"

#include <QLXClosedCaptionsUtilities/QLXSubtitlesPacketizer.h>
#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>
#include <qlx/facade/packet.h>

#include <cstdint>

namespace qlx::facade {

/// Sees what frames are made of.
class PacketizerFrames {
public:
    static std::vector<anc::Packet> next(QLXSubtitlesPacketizer& packetizer, const MediaTime& pts,
                                         const MediaTime& frameDuration) {
        switch (packetizer.subtitleMode()) {
        case subtitles::kCEA608Mode:
            return captionPackets(packetizer.nextCaptionPair(pts), frameDuration);
        case subtitles::kTeletextMode:
            return toAncPackets(packetizer.nextTeletextPackets(pts));
        default:
            return {};
        }
    }

private:
    static std::vector<anc::Packet> captionPackets(const Data& pair, const MediaTime& frameDuration) {
        if (!pair) {
            return {};
        }
        const Data cdp = captionsample::packetOfPayload(frameDuration, 0, pair);
        anc::Packet packet;
        packet.did = anc::ids::kCdp.did;
        packet.sdid = anc::ids::kCdp.sdid;
        packet.line = kCaptionPacketLine;
        packet.userData.assign(cdp.begin(), cdp.end());
        return {packet};
    }
};

std::vector<anc::Packet> nextPackets(QLXSubtitlesPacketizer& packetizer, const MediaTime& pts,
                                     const MediaTime& frameDuration) {
    return PacketizerFrames::next(packetizer, pts, frameDuration);
}

}  // namespace qlx::facade

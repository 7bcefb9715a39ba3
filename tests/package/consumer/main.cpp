// What a program that consumes the package does at least: one operation, the version, one object.
#include <QLXClosedCaptionsUtilities/QLXClosedCaptionsUtilities.h>

#include <cstdio>
#include <memory>

int main() {
    if (QLXClosedCaptionsUtilitiesVersionString.empty() || QLXClosedCaptionsUtilitiesVersionNumber <= 0.0) {
        std::puts("no version");
        return 1;
    }
    if (QLXVANCPacket::packetTypeWithDID_SDID(0x61, 0x01) != QLXVANCPacketTypeCEA708) {
        std::puts("DID 0x61, SDID 0x01 is not a CEA-708 packet");
        return 1;
    }
    const auto packetizer = QLXSubtitlesPacketizer::initWithSubtitleMode_isHD(2, true);
    if (!packetizer || packetizer->subtitleMode() != 2) {
        std::puts("no packetizer");
        return 1;
    }
    return 0;
}

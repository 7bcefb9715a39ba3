#include <QLXClosedCaptionsUtilities/QLXCCUtilities.h>

#include "cc/A53CaptionData.h"
#include "facade/CaptionDistributionPacket.h"
#include "video/H264CaptionExtractor.h"
#include "video/MPEG2CaptionExtractor.h"

qlx::Data QLXCCUtilities::extractCCDataFromH264Packet(const qlx::Data& packet) {
    return qlx::h264::beginsWithLongStartCode(packet) ? qlx::h264::tripletsInAnnexB(packet)
                                                      : qlx::h264::tripletsInLengthPrefixed(packet);
}

qlx::Data QLXCCUtilities::extractCCDataFromAnnexBH264Packet(const qlx::Data& packet) {
    return qlx::h264::tripletsInAnnexB(packet);
}

qlx::Data QLXCCUtilities::extractCCDataFromAVCCH264Packet(const qlx::Data& packet) {
    return qlx::h264::tripletsInLengthPrefixed(packet);
}

qlx::Data QLXCCUtilities::extractCCDataFromMPEG2Packet_pts(const qlx::Data& packet, const qlx::MediaTime& /*pts*/) {
    return qlx::mpeg2::captionTriplets(packet);
}

qlx::Data QLXCCUtilities::a53CCDataFromCCData(const qlx::Data& ccData) {
    const auto triplets = qlx::cdp::triplets(ccData);
    return triplets.empty() ? qlx::Data() : qlx::a53::ccData(triplets);
}

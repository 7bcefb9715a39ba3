#include <QLXClosedCaptionsUtilities/QLXCCUtilities.h>
#include <qlx/cc/a53.h>

#include "facade/CaptionDistributionPacket.h"
#include "facade/H264CaptionExtractor.h"
#include "facade/MPEG2CaptionExtractor.h"

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
    qlx::cc::CaptionUserData captions;
    // They come out of a packet, which has no more of them than there is room for.
    if (triplets.empty() || !captions.triplets.appendBytes(triplets)) {
        return {};
    }
    return writeCaptionUserData(captions, qlx::cc::UserDataForm::TypeCode);
}

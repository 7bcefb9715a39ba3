// QLXCCUtilities: caption distribution packets.
#include <QLXClosedCaptionsUtilities/QLXCCUtilities.h>

#include "facade/CaptionDistributionPacket.h"
#include "facade/CaptionRate.h"
#include "facade/CaptionSample.h"

#include <utility>

std::uint32_t gSequenceCounter = 0;
std::uint32_t gCEA708PacketCounter = 0;

std::uint8_t QLXCCUtilities::cdpFrameRateForFrameDuration(const qlx::MediaTime& frameDuration) noexcept {
    return qlx::captionrate::frameRateCode(frameDuration);
}

std::uint8_t QLXCCUtilities::ccCountForFrameDuration(const qlx::MediaTime& frameDuration) noexcept {
    return qlx::captionrate::ccCount(frameDuration);
}

std::uint8_t QLXCCUtilities::cdpFrameRateForCCCount(std::uint8_t ccCount) noexcept {
    return qlx::captionrate::frameRateCodeOfCount(ccCount);
}

std::int32_t QLXCCUtilities::closedCaptionMaxSampleSizeForFrameDuration(const qlx::MediaTime& frameDuration) noexcept {
    return static_cast<std::int32_t>(qlx::anc::kAtomHeaderBytes +
                                     qlx::cdp::payloadPacketSize(qlx::captionrate::ccCount(frameDuration)));
}

std::shared_ptr<qlx::SampleBuffer>
QLXCCUtilities::createCEA708SampleBufferWithSampleTimingInfo_frameDuration_sequenceCounter_cea608Data(
    const qlx::SampleTimingInfo& timingInfo, const qlx::MediaTime& frameDuration, std::uint16_t sequenceCounter,
    const qlx::Data& cea608Data) {
    return qlx::captionsample::fromPayload(timingInfo, frameDuration, sequenceCounter, cea608Data);
}

qlx::Data QLXCCUtilities::extractCEA708TripletDataFromCCData(const qlx::Data& ccData) {
    return qlx::cdp::triplets(ccData);
}

qlx::Data QLXCCUtilities::extractCaptionTripletsFromData_fromOffset_CC1Data_CC2Data(const qlx::Data& data,
                                                                                    std::uint64_t offset,
                                                                                    qlx::Data* cc1Data,
                                                                                    qlx::Data* cc2Data) {
    qlx::cdp::SortedTriplets sorted = qlx::cdp::sortedTriplets(data, offset);
    if (cc1Data) {
        *cc1Data = std::move(sorted.field1);
    }
    if (cc2Data) {
        *cc2Data = std::move(sorted.field2);
    }
    return std::move(sorted.dtvcc);
}

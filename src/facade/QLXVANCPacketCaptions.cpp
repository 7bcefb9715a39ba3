// QLXVANCPacket: caption packets and their samples.
#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>

#include "facade/CaptionDistributionPacket.h"
#include "facade/CaptionRate.h"
#include "facade/CaptionSample.h"
#include "facade/CaptionTriplet.h"

std::uint8_t QLXVANCPacket::cdpFrameRateForFrameDuration(const qlx::MediaTime& frameDuration) noexcept {
    return qlx::captionrate::frameRateCode(frameDuration);
}

std::uint8_t QLXVANCPacket::ccCountForFrameDuration(const qlx::MediaTime& frameDuration) noexcept {
    return qlx::captionrate::ccCount(frameDuration);
}

std::shared_ptr<QLXVANCPacket>
QLXVANCPacket::emptyCEA708VANCPacketWithFrameDuration_sequenceCounter_lineNumber_cea608Bytes(
    const qlx::MediaTime& frameDuration, std::uint16_t sequenceCounter, std::int32_t lineNumber,
    const std::uint8_t* cea608Bytes) {
    const qlx::cdp::Header header{qlx::captionrate::frameRateCode(frameDuration), sequenceCounter};
    return CEA708VANCPacketWithData_lineNumber(
        qlx::cdp::onePairPacket(header, qlx::captionrate::ccCount(frameDuration), cea608Bytes),
        static_cast<std::uint64_t>(std::int64_t{lineNumber}));
}

qlx::Data QLXVANCPacket::CEA708PacketDataWithFrameDuration_sequenceCounter_lineNumber_CEA708Bytes(
    const qlx::MediaTime& frameDuration, std::uint16_t sequenceCounter, std::int32_t /*lineNumber*/,
    const qlx::Data& cea708Bytes) {
    if (cea708Bytes.size() != std::size_t{qlx::captionrate::ccCount(frameDuration)} * qlx::triplet::kBytes) {
        return {};
    }
    return qlx::cdp::barePacket({qlx::captionrate::frameRateCode(frameDuration), sequenceCounter}, cea708Bytes);
}

std::shared_ptr<qlx::SampleBuffer> QLXVANCPacket::createClosedCaptionsSampleBufferWithTimingInfo(
    const qlx::SampleTimingInfo& timingInfo) const {
    switch (packetType()) {
    case QLXVANCPacketTypeCEA608:
        return qlx::captionsample::atom(qlx::anc::kFieldOneAtom, packetData(), timingInfo);
    case QLXVANCPacketTypeCEA708:
        return qlx::captionsample::atom(qlx::anc::kCdpAtom, packetData(), timingInfo);
    default:
        return nullptr;
    }
}

void QLXVANCPacket::transformCEA708To608() {
    constexpr std::size_t kFirstPair = qlx::cdp::kTripletsOffset + 1;
    constexpr std::uint64_t kCEA608SDID = 2;
    constexpr std::uint64_t kCEA608Line = 2;
    const qlx::Data data = packetData();
    const bool hasPair = data.size() >= kFirstPair + qlx::triplet::kPairBytes;
    setPacketData(hasPair ? qlx::Data{data[kFirstPair], data[kFirstPair + 1]}
                          : qlx::Data{qlx::triplet::kNull608, qlx::triplet::kNull608});
    setPacketType(QLXVANCPacketTypeCEA608);
    setPacketSDID(kCEA608SDID);
    setLineNumber(kCEA608Line);
}

std::shared_ptr<qlx::SampleBuffer> QLXVANCPacket::createCEA608ClosedCaptionsSampleBufferWithTimingInfo(
    const qlx::SampleTimingInfo& timingInfo) {
    transformCEA708To608();
    return createClosedCaptionsSampleBufferWithTimingInfo(timingInfo);
}

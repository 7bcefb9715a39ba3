// QLXCCUtilities: caption samples.
#include <QLXClosedCaptionsUtilities/QLXCCUtilities.h>

#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>
#include <QLXClosedCaptionsUtilities/platform/Format.h>
#include <QLXClosedCaptionsUtilities/platform/FourCC.h>
#include <QLXClosedCaptionsUtilities/platform/Services.h>

#include "base/Bytes.h"
#include "facade/CaptionLines.h"
#include "facade/CaptionRate.h"
#include "facade/CaptionSample.h"
#include "facade/CaptionTriplet.h"
#include "facade/OneSample.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <vector>

namespace {

using Sample = std::shared_ptr<qlx::SampleBuffer>;

qlx::SampleTimingInfo timingAt(const qlx::MediaTime& pts, const qlx::MediaTime& frameDuration) {
    return {frameDuration, pts, qlx::MediaTime{}};
}

/// The byte pairs of a `c608` sample, without an atom header; none when its data cannot be reached.
qlx::Data pairsOf(const qlx::SampleBuffer& sample) {
    constexpr std::size_t kMinWithHeader = 9;
    constexpr std::size_t kTypeOffset = 4;
    const auto bytes = qlx::dataOfSample(sample);
    if (!bytes) {
        return {};
    }
    const bool hasHeader = bytes->size() >= kMinWithHeader &&
                           qlx::loadBig<std::uint32_t>(bytes->data() + kTypeOffset) == qlx::anc::kFieldOneAtom;
    return bytes->subspan(hasHeader ? qlx::anc::kAtomHeaderBytes : 0);
}

/// A sample of what was found in SDI lines; the last step's failure is printed with `message`.
Sample sampleOfPayload(const qlx::captionlines::Payload& payload, const qlx::SampleTimingInfo& timingInfo,
                       std::string_view message) {
    const bool cdp = payload.kind == qlx::captionlines::Kind::CDP;
    qlx::OneSample result = qlx::makeOneSample(cdp ? qlx::anc::kCaptionMedia : qlx::captionsample::kSubtitleMediaType,
                                               cdp ? qlx::anc::kCea708Samples : qlx::captionsample::kSubTypeOP47,
                                               payload.bytes, timingInfo);
    if (result.failedStage == qlx::SampleStage::SampleBuffer) {
        qlx::services().get<qlx::Console>().print(qlx::formatted(message, result.status));
    }
    return std::move(result.sample);
}

constexpr std::string_view kCEA708Message = "Invalid could not create CEA708 sample buffer description (Error = %i\n";
constexpr std::string_view kOP47Message8Bit = "Invalid could not create OP47 sample buffer description (Error = %i\n";
constexpr std::string_view kOP47Message10Bit = "Invalid could not create OP-47 sample buffer description (Error = %i\n";

}  // namespace

Sample QLXCCUtilities::createEmptyCEA608SampleBufferWithPTS_frameDuration_sequenceCounter(
    const qlx::MediaTime& pts, const qlx::MediaTime& frameDuration, std::uint16_t /*sequenceCounter*/) {
    constexpr std::array<std::uint8_t, 2> kNullPair{qlx::triplet::kNull608, qlx::triplet::kNull608};
    return qlx::captionsample::ofBytes(qlx::anc::kCea608Samples, kNullPair, timingAt(pts, frameDuration));
}

Sample QLXCCUtilities::createEmptyCEA708SampleBufferWithPTS_frameDuration_sequenceCounter(
    const qlx::MediaTime& pts, const qlx::MediaTime& frameDuration, std::uint16_t sequenceCounter) {
    return qlx::captionsample::fromPayload(timingAt(pts, frameDuration), frameDuration, sequenceCounter, {});
}

Sample QLXCCUtilities::createCEA708SampleBufferWithSampleTimingInfo_frameDuration_sequenceCounter_VANCPacket(
    const qlx::SampleTimingInfo& timingInfo, const qlx::MediaTime& frameDuration, std::uint16_t /*sequenceCounter*/,
    const std::shared_ptr<QLXVANCPacket>& packet) {
    if (!packet || timingInfo.duration.value == 0 || qlx::captionrate::ccCount(frameDuration) == 0) {
        return nullptr;
    }
    const qlx::Data data = packet->packetData();
    std::vector<std::uint8_t> bytes((data.size() & 0xFFU) + qlx::anc::kAtomHeaderBytes);
    // The data overwrite the header, and eight zero bytes follow: hosts read these samples so.
    qlx::captionsample::writeAtomHeader(bytes.data(), static_cast<std::uint8_t>(bytes.size()), qlx::anc::kCdpAtom);
    std::copy_n(data.begin(), std::min(data.size(), bytes.size()), bytes.begin());
    return qlx::captionsample::ofBytes(qlx::anc::kCea708Samples, bytes, timingInfo);
}

Sample QLXCCUtilities::conformSampleBufferToCEA608_frameDuration(const Sample& sampleBuffer,
                                                                 const qlx::MediaTime& /*frameDuration*/) {
    return sampleBuffer;
}

Sample QLXCCUtilities::conformSampleBufferToCEA708_frameDuration(const Sample& sampleBuffer,
                                                                 const qlx::MediaTime& frameDuration) {
    if (!sampleBuffer || !sampleBuffer->formatDescription ||
        sampleBuffer->formatDescription->mediaSubType != qlx::anc::kCea608Samples) {
        return sampleBuffer;
    }
    qlx::SampleTimingInfo timingInfo;
    const qlx::Data pairs = pairsOf(*sampleBuffer);
    if (!pairs || qlx::services().get<qlx::MediaFactory>().sampleTimingInfo(*sampleBuffer, 0, &timingInfo) != 0) {
        return nullptr;
    }
    return qlx::captionsample::fromPayload(timingInfo, frameDuration, 0, pairs);
}

Sample QLXCCUtilities::createCEA708SampleBufferFromDataBuffer_size_bytesPerRow_bufferFormat_timingInfo(
    const std::uint8_t* data, std::uint64_t size, std::uint64_t bytesPerRow, std::uint32_t bufferFormat,
    const qlx::SampleTimingInfo& timingInfo) {
    const std::span<const std::uint8_t> lines(data, static_cast<std::size_t>(size));
    const bool is8Bit = bufferFormat == qlx::kPixelFormat2vuy;
    if (!is8Bit && bufferFormat != qlx::kPixelFormatV210) {
        return nullptr;
    }
    const auto payload =
        is8Bit ? qlx::captionlines::find8Bit(lines, bytesPerRow) : qlx::captionlines::find10Bit(lines, bytesPerRow);
    if (!payload) {
        return nullptr;
    }
    const bool cdp = payload->kind == qlx::captionlines::Kind::CDP;
    return sampleOfPayload(*payload, timingInfo, cdp ? kCEA708Message : is8Bit ? kOP47Message8Bit : kOP47Message10Bit);
}

Sample QLXCCUtilities::createCEA708SampleBufferFromData_bytesPerRow_bufferFormat_timingInfo(
    const qlx::Data& data, std::uint64_t bytesPerRow, std::uint32_t bufferFormat,
    const qlx::SampleTimingInfo& timingInfo) {
    return createCEA708SampleBufferFromDataBuffer_size_bytesPerRow_bufferFormat_timingInfo(
        data.data(), data.size(), bytesPerRow, bufferFormat, timingInfo);
}

Sample QLXCCUtilities::createCCSampleBufferFromVANCPacket_timingInfo(const std::shared_ptr<QLXVANCPacket>& /*packet*/,
                                                                     const qlx::SampleTimingInfo& /*timingInfo*/) {
    return nullptr;
}

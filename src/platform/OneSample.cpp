#include "platform/OneSample.h"

#include <QLXClosedCaptionsUtilities/platform/Services.h>

#include <algorithm>

namespace qlx {

OneSample makeOneSample(std::uint32_t mediaType, std::uint32_t mediaSubType, std::span<const std::uint8_t> bytes,
                        const SampleTimingInfo& timingInfo) {
    MediaFactory& factory = services().get<MediaFactory>();
    OneSample result;
    const auto failedAt = [&result](SampleStage stage, bool failed) {
        if (failed) {
            result.failedStage = stage;
        }
        return failed;
    };

    SampleBuffer parts;
    result.status = factory.createBlockBuffer(bytes.size(), &parts.dataBuffer);
    if (failedAt(SampleStage::BlockBuffer, result.status != 0 || !parts.dataBuffer)) {
        return result;
    }
    std::size_t totalLength = 0;
    std::uint8_t* pointer = nullptr;
    result.status = factory.blockBufferDataPointer(*parts.dataBuffer, 0, &totalLength, &pointer);
    if (failedAt(SampleStage::DataPointer, result.status != 0 || (!pointer && totalLength != 0))) {
        return result;
    }
    std::copy_n(bytes.begin(), std::min(bytes.size(), totalLength), pointer);

    result.status = factory.createFormatDescription(mediaType, mediaSubType, {}, &parts.formatDescription);
    if (failedAt(SampleStage::FormatDescription, result.status != 0 || !parts.formatDescription)) {
        return result;
    }
    parts.timingInfo = timingInfo;
    parts.sampleSize = totalLength;
    result.status = factory.createSampleBuffer(std::move(parts), &result.sample);
    failedAt(SampleStage::SampleBuffer, result.status != 0);
    return result;
}

std::optional<std::span<const std::uint8_t>> dataOfSample(const SampleBuffer& sample) {
    if (!sample.dataBuffer) {
        return std::nullopt;
    }
    std::size_t totalLength = 0;
    std::uint8_t* pointer = nullptr;
    const MediaStatus status =
        services().get<MediaFactory>().blockBufferDataPointer(*sample.dataBuffer, 0, &totalLength, &pointer);
    if (status != 0 || (!pointer && totalLength != 0)) {
        return std::nullopt;
    }
    return std::span<const std::uint8_t>(pointer, totalLength);
}

}  // namespace qlx

#include "facade/OneSample.h"

#include <QLXClosedCaptionsUtilities/platform/Services.h>

#include <algorithm>
#include <utility>

namespace qlx {

namespace {

/// The parts of a sample, or the step that failed.
struct Making {
    SampleBuffer parts;
    OneSample result;

    /// Notes the step and its status when it failed.
    bool failedAt(SampleStage stage, MediaStatus status, bool missing) {
        result.status = status;
        if (status == 0 && !missing) {
            return false;
        }
        result.failedStage = stage;
        return true;
    }

    /// Copies `bytes` into a new block; false when that failed.
    bool takeBytes(MediaFactory& factory, std::span<const std::uint8_t> bytes) {
        MediaStatus status = factory.createBlockBuffer(bytes.size(), &parts.dataBuffer);
        if (failedAt(SampleStage::BlockBuffer, status, !parts.dataBuffer)) {
            return false;
        }
        std::size_t totalLength = 0;
        std::uint8_t* pointer = nullptr;
        status = factory.blockBufferDataPointer(*parts.dataBuffer, 0, &totalLength, &pointer);
        if (failedAt(SampleStage::DataPointer, status, !pointer && totalLength != 0)) {
            return false;
        }
        std::copy_n(bytes.begin(), std::min(bytes.size(), totalLength), pointer);
        parts.sampleSize = totalLength;
        return true;
    }

    /// Makes the sample of the parts.
    OneSample finish(MediaFactory& factory, const SampleTimingInfo& timingInfo) {
        parts.timingInfo = timingInfo;
        const MediaStatus status = factory.createSampleBuffer(std::move(parts), &result.sample);
        failedAt(SampleStage::SampleBuffer, status, false);
        return std::move(result);
    }
};

}  // namespace

OneSample makeOneSample(std::uint32_t mediaType, std::uint32_t mediaSubType, std::span<const std::uint8_t> bytes,
                        const SampleTimingInfo& timingInfo) {
    MediaFactory& factory = services().get<MediaFactory>();
    Making making;
    if (!making.takeBytes(factory, bytes)) {
        return std::move(making.result);
    }
    const MediaStatus status =
        factory.createFormatDescription(mediaType, mediaSubType, {}, &making.parts.formatDescription);
    if (making.failedAt(SampleStage::FormatDescription, status, !making.parts.formatDescription)) {
        return std::move(making.result);
    }
    return making.finish(factory, timingInfo);
}

OneSample makeOneSample(std::shared_ptr<const FormatDescription> format, std::span<const std::uint8_t> bytes,
                        const SampleTimingInfo& timingInfo) {
    MediaFactory& factory = services().get<MediaFactory>();
    Making making;
    making.parts.formatDescription = std::move(format);
    if (!making.takeBytes(factory, bytes)) {
        return std::move(making.result);
    }
    return making.finish(factory, timingInfo);
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

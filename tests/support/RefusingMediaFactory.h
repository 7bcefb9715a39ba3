// A media factory that fails where a test wants it to.
#pragma once

#include <QLXClosedCaptionsUtilities/platform/MediaObjects.h>

#include "facade/OneSample.h"

#include <optional>

namespace qlxtest {

/// Refuses one stage of making a sample with a status; everything else works as usual.
class RefusingMediaFactory : public qlx::MediaFactory {
public:
    RefusingMediaFactory(qlx::SampleStage stage, qlx::MediaStatus status) : _stage(stage), _status(status) {}

    /// Hands out a sample although the last stage fails.
    bool givesSampleAnyway = false;
    /// The size of every block, whatever was asked for.
    std::optional<std::size_t> blockSize;

    qlx::MediaStatus createBlockBuffer(std::size_t size, std::shared_ptr<qlx::BlockBuffer>* block) override {
        return refuses(qlx::SampleStage::BlockBuffer)
                   ? _status
                   : MediaFactory::createBlockBuffer(blockSize.value_or(size), block);
    }
    qlx::MediaStatus blockBufferDataPointer(qlx::BlockBuffer& block, std::size_t offset, std::size_t* totalLength,
                                            std::uint8_t** pointer) override {
        return refuses(qlx::SampleStage::DataPointer)
                   ? _status
                   : MediaFactory::blockBufferDataPointer(block, offset, totalLength, pointer);
    }
    qlx::MediaStatus createFormatDescription(std::uint32_t mediaType, std::uint32_t mediaSubType,
                                             qlx::Dictionary extensions,
                                             std::shared_ptr<const qlx::FormatDescription>* format) override {
        return refuses(qlx::SampleStage::FormatDescription)
                   ? _status
                   : MediaFactory::createFormatDescription(mediaType, mediaSubType, std::move(extensions), format);
    }
    qlx::MediaStatus createSampleBuffer(qlx::SampleBuffer parts, std::shared_ptr<qlx::SampleBuffer>* sample) override {
        if (!refuses(qlx::SampleStage::SampleBuffer) || givesSampleAnyway) {
            MediaFactory::createSampleBuffer(std::move(parts), sample);
        }
        return refuses(qlx::SampleStage::SampleBuffer) ? _status : 0;
    }

private:
    [[nodiscard]] bool refuses(qlx::SampleStage stage) const { return _stage == stage; }

    qlx::SampleStage _stage;
    qlx::MediaStatus _status;
};

}  // namespace qlxtest

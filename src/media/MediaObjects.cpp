#include <QLXClosedCaptionsUtilities/platform/MediaObjects.h>

namespace qlx {

namespace {

constexpr MediaStatus kSuccess = 0;
constexpr MediaStatus kBadParameter = -1;

}  // namespace

MediaFactory::~MediaFactory() = default;

MediaFactory& MediaFactory::defaultInstance() {
    static auto* const instance = new MediaFactory;
    return *instance;
}

MediaStatus MediaFactory::createBlockBuffer(std::size_t size, std::shared_ptr<BlockBuffer>* block) {
    *block = std::make_shared<BlockBuffer>(size);
    return kSuccess;
}

MediaStatus MediaFactory::blockBufferDataPointer(BlockBuffer& block, std::size_t offset, std::size_t* totalLength,
                                                 std::uint8_t** pointer) {
    if (offset > block.size()) {
        return kBadParameter;
    }
    *totalLength = block.size();
    *pointer = block.data() + offset;
    return kSuccess;
}

MediaStatus MediaFactory::createFormatDescription(std::uint32_t mediaType, std::uint32_t mediaSubType,
                                                  Dictionary extensions,
                                                  std::shared_ptr<const FormatDescription>* format) {
    *format = std::make_shared<FormatDescription>(FormatDescription{mediaType, mediaSubType, std::move(extensions)});
    return kSuccess;
}

MediaStatus MediaFactory::createSampleBuffer(SampleBuffer parts, std::shared_ptr<SampleBuffer>* sample) {
    *sample = std::make_shared<SampleBuffer>(std::move(parts));
    return kSuccess;
}

MediaStatus MediaFactory::sampleTimingInfo(const SampleBuffer& sample, std::size_t index,
                                           SampleTimingInfo* timingInfo) {
    if (index != 0 || !sample.timingInfo) {
        return kBadParameter;
    }
    *timingInfo = *sample.timingInfo;
    return kSuccess;
}

}  // namespace qlx

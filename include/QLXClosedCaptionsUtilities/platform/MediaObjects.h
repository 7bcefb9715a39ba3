// Timed media samples: blocks of bytes, format descriptions, sample buffers, and the service that makes them.
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <QLXClosedCaptionsUtilities/platform/MediaTime.h>
#include <QLXClosedCaptionsUtilities/platform/Value.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace qlx {

class PixelBuffer;

/// Result of a media operation: 0 is success, anything else the platform's status code.
using MediaStatus = std::int32_t;

/// A contiguous block of bytes, zero-filled when made.
class BlockBuffer {
public:
    /// A block of `size` bytes.
    explicit BlockBuffer(std::size_t size) : _bytes(size) {}

    /// Bytes of the block.
    [[nodiscard]] std::size_t size() const noexcept { return _bytes.size(); }

    /// The first byte, valid while the block lives.
    [[nodiscard]] std::uint8_t* data() noexcept { return _bytes.data(); }
    /// The first byte, to be read only.
    [[nodiscard]] const std::uint8_t* data() const noexcept { return _bytes.data(); }

private:
    std::vector<std::uint8_t> _bytes;
};

/// What kind of media a sample holds.
struct FormatDescription {
    std::uint32_t mediaType = 0;     ///< Four-character code, such as `meta`.
    std::uint32_t mediaSubType = 0;  ///< Four-character code, such as `VANC`.
    Dictionary extensions;           ///< Further properties by key.
};

/// One timed media sample. Any part may be missing. A sample is not locked: one thread at a time changes it.
class SampleBuffer {
public:
    std::shared_ptr<BlockBuffer> dataBuffer;                     ///< The sample's bytes.
    std::shared_ptr<const FormatDescription> formatDescription;  ///< What they are.
    std::shared_ptr<PixelBuffer> imageBuffer;                    ///< The picture of a video sample.
    std::optional<SampleTimingInfo> timingInfo;                  ///< Its one timing entry.
    std::optional<std::uint64_t> sampleSize;                     ///< Bytes of the sample's data.
    Dictionary attachments;                                      ///< The sample's own attachment dictionary.
};

/// Makes and opens media objects; every step can refuse with a status. This class is the portable default; a host
/// or a test derives from it. The operations may be called from any thread.
class QLX_EXPORT MediaFactory {
public:
    MediaFactory() = default;
    MediaFactory(const MediaFactory&) = delete;
    MediaFactory& operator=(const MediaFactory&) = delete;
    virtual ~MediaFactory();

    /// The portable default.
    [[nodiscard]] static MediaFactory& defaultInstance();

    /// A block of `size` bytes whose memory is there at once.
    virtual MediaStatus createBlockBuffer(std::size_t size, std::shared_ptr<BlockBuffer>* block);

    /// The bytes of `block` from `offset` on and the block's total length; an offset behind the end is refused.
    virtual MediaStatus blockBufferDataPointer(BlockBuffer& block, std::size_t offset, std::size_t* totalLength,
                                               std::uint8_t** pointer);

    /// A description of the given four-character codes.
    virtual MediaStatus createFormatDescription(std::uint32_t mediaType, std::uint32_t mediaSubType,
                                                Dictionary extensions,
                                                std::shared_ptr<const FormatDescription>* format);

    /// A ready sample of the given parts. A platform may hand out a sample beside an error status.
    virtual MediaStatus createSampleBuffer(SampleBuffer parts, std::shared_ptr<SampleBuffer>* sample);

    /// Timing entry `index` of `sample`; refused when there is none.
    virtual MediaStatus sampleTimingInfo(const SampleBuffer& sample, std::size_t index, SampleTimingInfo* timingInfo);
};

}  // namespace qlx

// The order in which coded pictures are presented, told by their own headers: for streams without times, or with times
// that nobody can rely on.
#pragma once

#include "streams/Frame.h"
#include "streams/VideoStream.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <span>

namespace qlx::tool {

/// What of an H.264 sequence parameter set (ITU-T H.264, 7.3.2.1.1) is needed to read a slice's place in the order.
struct H264Sequence {
    bool hasColourPlanes = false;
    unsigned frameNumberBits = 0;
    unsigned orderType = 0;
    unsigned orderBits = 0;
    bool hasFramesOnly = false;
};

/// Reads a sequence parameter set behind its NAL unit header; none when it ends too early or makes no sense.
[[nodiscard]] std::optional<H264Sequence> readH264Sequence(std::span<const std::uint8_t> unit, std::uint32_t& number);

/// Takes the frames of coded pictures in the order of the stream, and gives them in the order of presentation.
class PictureOrder {
public:
    /// As many pictures wait at most: H.264 lets 16 frames overtake another, which may be 32 fields.
    static constexpr std::size_t kLongestWait = 33;

    explicit PictureOrder(VideoCodec codec) : _codec(codec) {}

    /// @param unit The picture's access unit, with start codes.
    void add(std::span<const std::uint8_t> unit, Frame frame);

    /// No picture follows.
    void finish() noexcept { _isAtEnd = true; }

    /// The next frame; its number is counted anew. None as long as it is not known.
    [[nodiscard]] std::optional<Frame> take();

private:
    [[nodiscard]] std::int64_t mpeg2Order(std::span<const std::uint8_t> unit);
    [[nodiscard]] std::int64_t h264Order(std::span<const std::uint8_t> unit);
    [[nodiscard]] std::optional<std::int64_t> sliceOrder(std::span<const std::uint8_t> slice);
    void readParameters(std::span<const std::uint8_t> unit, unsigned type);
    void beginAnew() noexcept { _base = _greatest + 1; }

    VideoCodec _codec;
    std::int64_t _base = 0;       ///< Where the pictures of this sequence or group begin.
    std::int64_t _greatest = -1;  ///< The last one so far.
    std::int64_t _high = 0;       ///< What the counter in the headers has passed, in whole turns.
    std::int64_t _low = 0;        ///< Its last value.
    std::map<std::uint32_t, H264Sequence> _sequences;
    std::map<std::uint32_t, std::uint32_t> _sequenceOfPicture;  ///< By number of the picture parameter set.
    std::multimap<std::int64_t, Frame> _waiting;
    bool _isAtEnd = false;
    std::uint64_t _frames = 0;
};

}  // namespace qlx::tool

// The captions of coded pictures (ATSC A/53 Part 4), access unit by access unit.
#pragma once

#include "streams/Frame.h"
#include "streams/PictureOrder.h"
#include "streams/VideoStream.h"

#include <QLXClosedCaptionsUtilities/platform/Data.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace qlx::tool {

/// The triplets of an access unit that begins with a start code, as the library finds them, or none.
[[nodiscard]] Data captionTriplets(std::span<const std::uint8_t> unit, VideoCodec codec);

/// The same of an H.264 access unit whose NAL units stand behind lengths (ISO/IEC 14496-15) of `lengthBytes` bytes.
[[nodiscard]] Data captionTripletsOfLengths(std::span<const std::uint8_t> unit, std::size_t lengthBytes);

/// Whether such an access unit begins with a NAL unit, and the lengths lead to its end.
[[nodiscard]] bool hasWholeUnits(std::span<const std::uint8_t> unit, std::size_t lengthBytes) noexcept;

/// The bytes of a length in front of the NAL units of an H.264 stream, as its parameter record (ISO/IEC 14496-15) says; 0
/// for other bytes, which are those of a stream with start codes.
[[nodiscard]] std::size_t lengthBytesOf(std::span<const std::uint8_t> parameters) noexcept;

/// The pictures of an elementary stream as frames, in the order of presentation, with the captions that they carry.
class VideoFrameReader final : public FrameReader {
public:
    /// @param source Read from where it stands; must outlive the reader.
    VideoFrameReader(ByteSource& source, std::optional<VideoCodec> codec) : _reader(source, codec) {}

    bool next(Frame& frame, std::vector<std::string>& problems) override;

private:
    AccessUnitReader _reader;
    AccessUnit _unit;
    std::optional<PictureOrder> _order;
    bool _isAtEnd = false;
};

}  // namespace qlx::tool

// The captions of coded pictures (ATSC A/53 Part 4): of one picture, and of an elementary stream as frames.
//
//     qlx::streams::VideoReader reader(source, qlx::video::Codec::H264);
//     qlx::Findings findings;
//     qlx::streams::Frame frame;
//     for (auto more = reader.next(frame, &findings); more && *more; more = reader.next(frame, &findings)) {
//         show(frame.number, frame.triplets);
//     }
#pragma once

#include <QLXClosedCaptionsUtilities/platform/Data.h>

#include <qlx/base/finding.h>
#include <qlx/base/result.h>
#include <qlx/streams/byte_source.h>
#include <qlx/streams/export.h>
#include <qlx/streams/frame.h>
#include <qlx/streams/frame_reader.h>
#include <qlx/video/access_unit.h>
#include <qlx/video/nal.h>
#include <qlx/video/order.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace qlx::streams {

/// `H.264`, `MPEG-2`, `H.265`.
[[nodiscard]] QLX_STREAMS_EXPORT std::string_view nameOf(video::Codec codec) noexcept;

/// The cc_data triplets of a coded picture: those of all its messages that are meant to be used (process_cc_data_flag), as
/// video::CaptionMessages finds them; those by SCTE 20 where it has none by ATSC A/53. None when there is no such message.
/// @param offset Of the picture in its stream, for the findings.
/// @param findings Gets the errors and warnings of video::CaptionMessages, but for those of lengths of units, its
///   remarks VideoSeiReferenced and VideoScte20OtherLine, each once, and StreamCaptionsUnused; may be null.
[[nodiscard]] QLX_STREAMS_EXPORT Data captionTriplets(std::span<const std::uint8_t> picture,
                                                      const video::StreamForm& form, std::uint64_t offset = 0,
                                                      FindingSink* findings = nullptr);

/// The captions of the pictures of one stream: where ATSC A/53 and SCTE 20 both carry them, those by A/53 alone are used
/// from the first picture on that has them.
class QLX_STREAMS_EXPORT PictureCaptions {
public:
    /// The triplets of the next picture of the stream, as captionTriplets() gives them.
    /// @param picture A coded picture.
    /// @param form What the stream is.
    /// @param offset Of the picture in its stream, for the findings.
    /// @param findings Gets, once a stream, the remarks StreamScte20Unused, VideoSeiReferenced and
    ///   VideoScte20OtherLine, beside those of captionTriplets(); may be null.
    [[nodiscard]] Data take(std::span<const std::uint8_t> picture, const video::StreamForm& form,
                            std::uint64_t offset = 0, FindingSink* findings = nullptr);

    /// What is told once a stream: whether it has been.
    struct Told {
        bool unused = false;      ///< StreamScte20Unused
        bool references = false;  ///< VideoSeiReferenced
        bool lines = false;       ///< VideoScte20OtherLine
    };

private:
    bool _hasA53 = false;
    Told _told;
};

/// Cuts the elementary video stream of a source into access units.
class QLX_STREAMS_EXPORT VideoUnits {
public:
    /// @param source Read from where it stands; must outlive this.
    /// @param codec None: the first start code tells H.264 from MPEG-2 video.
    VideoUnits(ByteSource& source, std::optional<video::Codec> codec);

    /// The next access unit, whose offset counts the bytes of the source; valid until the next call. None at the end.
    /// Fails as video::AccessUnitReader does, with StreamEmpty where there are no bytes, and where reading fails.
    [[nodiscard]] Result<std::optional<video::AccessUnitView>> next();

    /// What the stream is, known once next() has given a unit.
    [[nodiscard]] video::Codec codec() const noexcept { return _reader.codec().value_or(video::Codec::H264); }

private:
    ByteSource& _source;
    std::uint64_t _begin;  ///< Where the stream begins in it.
    video::AccessUnitReader _reader;
    std::vector<std::uint8_t> _piece;
    std::optional<Finding> _readError;  ///< What the source failed with: it ends what is there.
    bool _isAtEnd = false;
};

/// The pictures of an elementary stream as frames, in the order of presentation, with the captions that they carry. Two
/// field pictures of H.264 or MPEG-2 video that make a frame are one, with the captions of both; of H.265 each is one.
/// Pictures in front of their parameter sets stand as in the stream, which is said (VideoParametersNotYetThere).
class QLX_STREAMS_EXPORT VideoReader final : public FrameReader {
public:
    /// The same as of VideoUnits.
    VideoReader(ByteSource& source, std::optional<video::Codec> codec);
    ~VideoReader() override;

    [[nodiscard]] Result<bool> next(Frame& frame, FindingSink* findings) override;
    [[nodiscard]] PlaceUnit placeUnit() const noexcept override { return PlaceUnit::Byte; }

private:
    class Order;

    VideoUnits _units;
    PictureCaptions _captions;
    std::unique_ptr<Order> _order;
    video::PicturesWithoutParameters _early;
    std::optional<Finding> _error;  ///< That ended the units; told behind the frames in front of it.
    bool _isAtEnd = false;
};

}  // namespace qlx::streams

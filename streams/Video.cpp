#include <qlx/streams/video.h>

#include "PictureTimes.h"
#include "TripletBytes.h"

#include <qlx/video/captions.h>

#include <utility>

namespace qlx::streams {

namespace {

constexpr std::size_t kReadChunk = std::size_t{256} * 1024;

/// Passes on what was wrong in a picture, with its place in the stream.
class PictureSink final : public FindingSink {
public:
    /// @param told What of a stream is told once, and has been.
    PictureSink(FindingSink* sink, std::uint64_t begin, PictureCaptions::Told& told) noexcept
        : _sink(sink), _begin(begin), _told(told) {}

    void add(const Finding& finding) override {
        // How units lie in their lengths is no matter of captions, nor is what is only remarkable.
        const bool isOfLengths = finding.code == FindingCode::VideoLengthCut ||
                                 finding.code == FindingCode::VideoUnitCut ||
                                 finding.code == FindingCode::VideoUnitEmpty;
        const bool isUnitTold =
            finding.code == FindingCode::VideoSeiReferenced && !std::exchange(_told.references, true);
        const bool isLineTold = finding.code == FindingCode::VideoScte20OtherLine && !std::exchange(_told.lines, true);
        if (isOfLengths || (finding.severity == Severity::Remark && !isUnitTold && !isLineTold)) {
            return;
        }
        Finding placed = finding;
        placed.offset += _begin;
        _sink->add(placed);
    }

private:
    FindingSink* _sink;
    std::uint64_t _begin;
    PictureCaptions::Told& _told;
};

}  // namespace

std::string_view nameOf(video::Codec codec) noexcept {
    return codec == video::Codec::H264 ? "H.264" : codec == video::Codec::H265 ? "H.265" : "MPEG-2";
}

Data captionTriplets(std::span<const std::uint8_t> picture, const video::StreamForm& form, std::uint64_t offset,
                     FindingSink* findings) {
    return PictureCaptions().take(picture, form, offset, findings);
}

Data PictureCaptions::take(std::span<const std::uint8_t> picture, const video::StreamForm& form, std::uint64_t offset,
                           FindingSink* findings) {
    PictureSink sink(findings, offset, _told);
    video::CaptionMessages messages(picture, form, findings == nullptr ? nullptr : &sink);
    std::vector<std::uint8_t> bytes;
    std::vector<std::uint8_t> bytesByScte20;
    std::optional<std::uint64_t> scte20;  // Where the first of them stands.
    bool isCarried = false;
    while (const std::optional<video::CaptionMessage> message = messages.next()) {
        const auto& triplets = message->captions.triplets;
        const bool isScte20 = message->carriage == video::CaptionCarriage::Scte20;
        if (!message->captions.processCcData) {
            if (findings != nullptr && !triplets.empty()) {
                findings->add({FindingCode::StreamCaptionsUnused, Severity::Remark, offset + message->offset,
                               static_cast<std::int64_t>(triplets.size()), 0});
            }
            continue;
        }
        isCarried = isCarried || !isScte20;
        scte20 = isScte20 && !triplets.empty() && !scte20 ? offset + message->offset : scte20;
        for (const cc::Triplet& triplet : triplets) {
            detail::append(isScte20 ? bytesByScte20 : bytes, triplet);
        }
    }
    _hasA53 = _hasA53 || isCarried;
    if (_hasA53 && scte20 && !_told.unused) {
        _told.unused = true;
        if (findings != nullptr) {
            findings->add({FindingCode::StreamScte20Unused, Severity::Remark, *scte20,
                           static_cast<std::int64_t>(bytesByScte20.size() / sizeof(cc::Triplet)), 0});
        }
    }
    if (!_hasA53 && scte20) {
        return Data(bytesByScte20);
    }
    return isCarried ? Data(bytes) : Data();
}

VideoUnits::VideoUnits(ByteSource& source, std::optional<video::Codec> codec)
    : _source(source), _begin(source.offset()), _reader({.codec = codec}) {}

Result<std::optional<video::AccessUnitView>> VideoUnits::next() {
    for (;;) {
        if (std::optional<video::AccessUnitView> found = _reader.next()) {
            found->offset += _begin;
            return found;
        }
        if (_reader.error() && !_readError) {
            Finding error = *_reader.error();
            error.offset += _begin;
            return error;
        }
        if (_isAtEnd) {
            if (_readError) {
                return *_readError;
            }
            if (_source.offset() == _begin) {
                return Finding{FindingCode::StreamEmpty, Severity::Error, _begin, 0, 0};
            }
            return std::optional<video::AccessUnitView>();
        }
        _piece.resize(kReadChunk);
        const std::size_t got = _source.read(_piece);
        // What was read in front of a failure is read to its end.
        _readError = _source.error();
        _reader.push(std::span<const std::uint8_t>(_piece).first(got));
        if (got < kReadChunk || _readError) {
            _isAtEnd = true;
            _reader.finish();
        }
    }
}

/// Waiting for the order of presentation.
class VideoReader::Order final : public detail::PictureOrder {
public:
    using PictureOrder::PictureOrder;
};

VideoReader::VideoReader(ByteSource& source, std::optional<video::Codec> codec) : _units(source, codec) {}
VideoReader::~VideoReader() = default;

Result<bool> VideoReader::next(Frame& frame, FindingSink* findings) {
    for (;;) {
        if (std::optional<Frame> ready = _order ? _order->take() : std::nullopt) {
            frame = std::move(*ready);
            return true;
        }
        if (_isAtEnd) {
            if (_error) {
                return *_error;
            }
            return false;
        }
        const Result<std::optional<video::AccessUnitView>> unit = _units.next();
        if (unit && *unit) {
            const video::StreamForm form{_units.codec(), 0};
            if (!_order) {
                _order = std::make_unique<Order>(form);
            }
            Frame picture;
            picture.triplets = _captions.take((*unit)->bytes, form, (*unit)->offset, findings);
            (void)_order->add((*unit)->bytes, std::move(picture));
            _early.take(_order->lacksParameters(), (*unit)->offset, findings);
            continue;
        }
        _isAtEnd = true;
        _early.finish(findings);
        if (!unit) {
            _error = unit.error();
        }
        if (_order) {
            _order->finish();
        }
    }
}

}  // namespace qlx::streams

#include <qlx/streams/open.h>

#include <qlx/streams/jsonl.h>
#include <qlx/streams/klv.h>
#include <qlx/streams/mcc.h>
#include <qlx/streams/scc.h>
#include <qlx/streams/transport.h>
#include <qlx/streams/video.h>

#include <utility>

namespace qlx::streams {

namespace {

/// Gives the frames of a reader that knows no times those of a rate.
class TimedReader final : public FrameReader {
public:
    TimedReader(std::unique_ptr<FrameReader> reader, FrameRate rate)
        : _reader(std::move(reader)), _duration(frameDuration(rate)) {}

    Result<bool> next(Frame& frame, FindingSink* findings) override {
        const Result<bool> hasFrame = _reader->next(frame, findings);
        if (hasFrame && *hasFrame && !frame.pts) {
            frame.pts = MediaTime::make(static_cast<std::int64_t>(frame.number) * _duration.value, _duration.timescale);
        }
        return hasFrame;
    }

    [[nodiscard]] PlaceUnit placeUnit() const noexcept override { return _reader->placeUnit(); }
    [[nodiscard]] Place placeOf(const Finding& finding) const override { return _reader->placeOf(finding); }
    [[nodiscard]] std::optional<cc::TimeCodeCounting> counting() const override { return _reader->counting(); }
    [[nodiscard]] std::vector<std::string> takeLibraryTexts() override { return _reader->takeLibraryTexts(); }

private:
    std::unique_ptr<FrameReader> _reader;
    MediaTime _duration;
};

RowLayout layoutOf(InputKind kind, const OpenOptions& options) {
    return {.format = kind == InputKind::V210 ? anc::RowFormat::V210 : anc::RowFormat::TwoVuy,
            .width = options.width,
            .lines = options.lines};
}

/// Null for kinds without frames.
std::unique_ptr<FrameReader> readerOf(ByteSource& source, InputKind kind, const OpenOptions& options) {
    switch (kind) {
    case InputKind::V210:
    case InputKind::Yuv8:
        return std::make_unique<RowReader>(source, layoutOf(kind, options));
    case InputKind::Klv:
        return std::make_unique<KlvReader>(source);
    case InputKind::Jsonl:
        return std::make_unique<JsonlReader>(source);
    case InputKind::Mcc:
        return std::make_unique<MccReader>(source, options.rate);
    case InputKind::Scc:
        return std::make_unique<SccReader>(
            source, SccOptions{.rate = options.rate.value_or(FrameRate::Fps2997), .field = options.field});
    case InputKind::H264:
        return std::make_unique<VideoReader>(source, video::Codec::H264);
    case InputKind::Mpeg2:
        return std::make_unique<VideoReader>(source, video::Codec::Mpeg2);
    case InputKind::H265:
        return std::make_unique<VideoReader>(source, video::Codec::H265);
    case InputKind::Mxf:
    case InputKind::Mov:
    case InputKind::Mkv:
    case InputKind::ProgramStream:
    case InputKind::Flv:
        return std::make_unique<ContainerReader>(source, kind, options.container);
    case InputKind::TransportStream:
        return std::make_unique<TransportReader>(source, TransportOptions{options.container, options.teletextPid});
    default:
        return nullptr;
    }
}

}  // namespace

Result<std::unique_ptr<FrameReader>> openFrames(ByteSource& source, InputKind kind, const OpenOptions& options) {
    if (hasRows(kind)) {
        if (std::optional<Finding> wrong = layoutOf(kind, options).check()) {
            wrong->offset = source.offset();
            return *wrong;
        }
    }
    std::unique_ptr<FrameReader> reader = readerOf(source, kind, options);
    if (!reader) {
        return Finding{FindingCode::StreamKindWithoutFrames, Severity::Error, source.offset(),
                       static_cast<std::int64_t>(kind), 0};
    }
    if (options.rate) {
        reader = withTimes(std::move(reader), *options.rate);
    }
    return reader;
}

std::unique_ptr<FrameReader> withTimes(std::unique_ptr<FrameReader> reader, FrameRate rate) {
    return std::make_unique<TimedReader>(std::move(reader), rate);
}

}  // namespace qlx::streams

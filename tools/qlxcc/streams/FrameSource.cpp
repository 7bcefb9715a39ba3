#include "streams/FrameSource.h"

#include "io/Errors.h"
#include "io/Text.h"
#include "streams/Container.h"
#include "streams/JsonlReader.h"
#include "streams/Klv.h"
#include "streams/RowFile.h"
#include "streams/SccReader.h"
#include "streams/VideoCaptions.h"

#include <QLXClosedCaptionsUtilities/platform/FourCC.h>

#include <string>
#include <utility>

namespace qlx::tool {

namespace {

/// Gives the frames of a reader that knows no times those of a rate.
class TimedReader final : public FrameReader {
public:
    TimedReader(std::unique_ptr<FrameReader> reader, const Rate& rate) : _reader(std::move(reader)), _rate(rate) {}

    bool next(Frame& frame, std::vector<std::string>& problems) override {
        if (!_reader->next(frame, problems)) {
            return false;
        }
        if (!frame.pts) {
            frame.pts = _rate.timeOfFrame(frame.number);
        }
        return true;
    }

    [[nodiscard]] std::vector<std::string> takeRemarks() override { return _reader->takeRemarks(); }

private:
    std::unique_ptr<FrameReader> _reader;
    Rate _rate;
};

std::unique_ptr<FrameReader> openRows(InputFile& source, InputKind kind, const FrameSourceOptions& options) {
    RowLayout layout;
    layout.pixelFormat = kind == InputKind::V210 ? kPixelFormatV210 : kPixelFormat2vuy;
    layout.width = options.width.value_or(kUsualRowWidth);
    layout.lines = options.lines.value_or(std::vector<std::uint64_t>{0});
    return std::make_unique<RowReader>(source, std::move(layout),
                                       options.nearStart ? RowSearch::NearStart : RowSearch::WholeRow);
}

/// Looks at the beginning first, so that a long file of something else is refused before all of it is searched.
std::unique_ptr<FrameReader> openCheckedContainer(InputFile& source, InputKind kind) {
    const auto first = source.peek(kLongestPeek);
    if (first.empty()) {
        throw failureAtByte(source.name(), 0, "the file is empty");
    }
    if (!hasBeginningOf(kind, first)) {
        throw failureAtByte(source.name(), 0,
                            "nothing of " + std::string(containerName(kind)) + " in the first " +
                                counted(first.size(), "byte"));
    }
    return openContainer(source, kind);
}

std::unique_ptr<FrameReader> openKind(InputFile& source, InputKind kind, const FrameSourceOptions& options) {
    switch (kind) {
    case InputKind::V210:
    case InputKind::Yuv8:
        return openRows(source, kind, options);
    case InputKind::Klv:
        return std::make_unique<KlvReader>(source);
    case InputKind::H264:
        return std::make_unique<VideoFrameReader>(source, VideoCodec::H264);
    case InputKind::Mpeg2:
        return std::make_unique<VideoFrameReader>(source, VideoCodec::Mpeg2);
    case InputKind::Mxf:
    case InputKind::Mov:
    case InputKind::TransportStream:
    case InputKind::ProgramStream:
        return openCheckedContainer(source, kind);
    case InputKind::Jsonl:
        return std::make_unique<JsonlReader>(source);
    case InputKind::Scc:
        return std::make_unique<SccReader>(source);
    case InputKind::Srt:
    case InputKind::Stl:
    case InputKind::Json:
    case InputKind::Png:
    case InputKind::Ppm:
        break;
    }
    throw otherKind(source.name(), kind, "which has no frames with packets or captions");
}

}  // namespace

InputKind kindOf(InputFile& source, std::optional<InputKind> given) {
    if (given) {
        return *given;
    }
    const auto first = source.peek(kBytesThatTellKind);
    const std::optional<InputKind> kind = inputKind(first, source.name());
    if (kind) {
        return *kind;
    }
    if (first.empty()) {
        throw failureAtByte(source.name(), 0, "the file is empty");
    }
    throw UsageError("--format is needed: neither the content nor the name of " + source.name() + " tells the format");
}

void checkRowOptions(InputKind kind, const FrameSourceOptions& options) {
    if (!hasRows(kind) && (options.width || options.lines)) {
        throw UsageError("--width, --lines and --rows are for the formats v210 and 2vuy: a " +
                         std::string(nameOf(kind)) + " file says its lines");
    }
    if (!hasRows(kind) && options.nearStart) {
        throw UsageError("--near-start is for the formats v210 and 2vuy: a " + std::string(nameOf(kind)) +
                         " file has no rows to search");
    }
}

std::unique_ptr<FrameReader> openFrames(InputFile& source, const FrameSourceOptions& options) {
    const InputKind kind = kindOf(source, options.kind);
    checkRowOptions(kind, options);
    auto reader = openKind(source, kind, options);
    return options.rate ? std::make_unique<TimedReader>(std::move(reader), *options.rate) : std::move(reader);
}

}  // namespace qlx::tool

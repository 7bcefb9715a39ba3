// Opens whatever has frames. Containers and elementary streams still come from readers of the tool's own.
#include "io/AsDeployed.h"
#include "io/Errors.h"
#include "io/FrameSource.h"
#include "io/Text.h"
#include "streams/Container.h"
#include "streams/InputKind.h"
#include "streams/VideoCaptions.h"

#include <qlx/streams/open.h>

#include <string>
#include <utility>

namespace qlx::tool {

namespace {

/// A reader of the tool's own as one of the library: its lines are the words of a library. What it throws goes through.
class FormerReader final : public streams::FrameReader {
public:
    explicit FormerReader(std::unique_ptr<tool::FrameReader> reader) : _reader(std::move(reader)) {}

    Result<bool> next(streams::Frame& frame, FindingSink* findings) override {
        std::vector<std::string> problems;
        Frame former;
        const auto say = [&](std::vector<std::string> lines, Severity severity) {
            for (std::string& line : lines) {
                _texts.push_back(std::move(line));
                findings->add({FindingCode::StreamLibraryRemark, severity, 0, 0, 0});
            }
        };
        try {
            const bool hasFrame = _reader->next(former, problems);
            say(std::move(problems), Severity::Error);
            say(_reader->takeRemarks(), Severity::Remark);
            frame = std::move(former);
            return hasFrame;
        } catch (...) {
            say(std::move(problems), Severity::Error);
            say(_reader->takeRemarks(), Severity::Remark);
            throw;
        }
    }

    [[nodiscard]] streams::PlaceUnit placeUnit() const noexcept override { return streams::PlaceUnit::Byte; }

    [[nodiscard]] std::vector<std::string> takeLibraryTexts() override { return std::exchange(_texts, {}); }

private:
    std::unique_ptr<tool::FrameReader> _reader;
    std::vector<std::string> _texts;
};

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

/// Null for kinds that the library opens.
std::unique_ptr<FrameReader> openFormer(InputFile& source, InputKind kind) {
    if (kind == InputKind::H264 || kind == InputKind::Mpeg2) {
        return std::make_unique<VideoFrameReader>(source,
                                                  kind == InputKind::H264 ? VideoCodec::H264 : VideoCodec::Mpeg2);
    }
    return isContainer(kind) ? openCheckedContainer(source, kind) : nullptr;
}

std::unique_ptr<streams::FrameReader> openKind(InputFile& source, streams::ByteSource& bytes, InputKind kind,
                                               const FrameSourceOptions& options) {
    if (auto former = openFormer(source, kind)) {
        return std::make_unique<FormerReader>(std::move(former));
    }
    RowLayout layout = rowLayoutOf(kind, options);
    if (options.nearStart) {
        return std::make_unique<NearStartReader>(bytes, std::move(layout));
    }
    auto reader = streams::openFrames(bytes, kind, {.width = layout.width, .lines = layout.lines, .rate = {}});
    if (!reader) {
        throw otherKind(source.name(), kind, "which has no frames with packets or captions");
    }
    return std::move(*reader);
}

}  // namespace

std::unique_ptr<FrameInput> openFrames(InputFile& source, const FrameSourceOptions& options) {
    const InputKind kind = kindOf(source, options.kind);
    checkRowOptions(kind, options);
    auto input = std::make_unique<FrameInput>(source);
    auto reader = openKind(source, input->bytes(), kind, options);
    const auto rate = options.rate ? frameRateOfDuration(options.rate->frameDuration()) : std::nullopt;
    input->setReader(rate ? streams::withTimes(std::move(reader), *rate) : std::move(reader));
    return input;
}

}  // namespace qlx::tool

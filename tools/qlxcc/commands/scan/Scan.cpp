#include "commands/scan/Scan.h"

#include "commands/scan/ContentList.h"
#include "commands/scan/ScanList.h"
#include "commands/scan/SpliceList.h"
#include "cues/WideEncoding.h"
#include "io/Errors.h"
#include "io/Frame.h"
#include "io/FrameLoop.h"
#include "io/FrameSource.h"
#include "io/InputFile.h"
#include "io/OutputFile.h"
#include "io/Terminal.h"
#include "streams/Json.h"
#include "streams/OpenFrames.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace qlx::tool {

namespace {

/// What is written in place of frames or JSON.
class Listing {
public:
    Listing(const ScanOptions& options, const InputFile& source, InputKind kind, OutputFile& output) : _output(output) {
        if (kind == InputKind::TransportStream) {
            std::vector<std::uint16_t> pids;
            if (options.splicePid) {
                pids.push_back(*options.splicePid);
            }
            _splices.emplace(options.file, pids);
        }
        if (options.isOfChanges) {
            _changes = std::make_unique<ChangeWriter>(output, source.name());
        } else {
            _list = std::make_unique<ListWriter>(output,
                                                 ListOptions{.inColours = output.isStandardOutput() && useColors(),
                                                             .ignoresParity = options.ignoresParity,
                                                             .wideCharacters = wideCharactersOf(options.wideEncoding),
                                                             .region = options.region});
        }
    }

    [[nodiscard]] FrameWriter& frames() noexcept {
        return _changes ? static_cast<FrameWriter&>(*_changes) : static_cast<FrameWriter&>(*_list);
    }

    /// Whether there is something to list even without a frame.
    [[nodiscard]] bool hasSplices() const noexcept { return _splices && !_splices->isEmpty(); }

    /// Writes what stands behind the frames, and gives the number of problems.
    std::uint64_t finish() {
        if (_changes) {
            if (_splices) {
                _splices->takePoints(_changes->points());
            }
            _changes->writePoints();
        } else {
            _list->writeSummary();
            if (_splices) {
                _splices->write(_output);
            }
        }
        return (_changes ? _changes->problems() : 0) + (_splices ? _splices->problems() : 0);
    }

private:
    OutputFile& _output;
    std::optional<SpliceList> _splices;
    std::unique_ptr<ChangeWriter> _changes;
    std::unique_ptr<ListWriter> _list;
};

/// Lists a stream with splice information and nothing that has frames.
int listSplicesAlone(Listing& listing, OutputFile& output) {
    const std::uint64_t problems = listing.finish();
    output.commit();
    return problems > 0 ? kExitFailure : kExitSuccess;
}

}  // namespace

int scan(const ScanOptions& options) {
    refuseInputAsOutput(options.file, options.output);
    InputFile source(options.file);
    FrameSourceOptions sourceOptions = options.source;
    std::optional<FrameOutputOptions> frames = options.frames;
    sourceOptions.kind = kindOf(source, sourceOptions.kind);
    if (frames) {
        settleRows(*sourceOptions.kind, sourceOptions, *frames);
    }
    if (options.splicePid && *sourceOptions.kind != InputKind::TransportStream) {
        throw UsageError("--pid is for the format ts");
    }
    OutputFile output(options.output);
    const CaptionMembers members;
    std::unique_ptr<FrameWriter> writer;
    ContentListWriter* contents = nullptr;
    std::optional<Listing> listing;
    if (frames) {
        writer = makeFrameWriter(output, *frames);
    } else if (options.listsContents) {
        auto list = std::make_unique<ContentListWriter>(output, options.asJson, options.ignoresParity);
        contents = list.get();
        writer = std::move(list);
    } else if (options.asJson) {
        writer = std::make_unique<FrameFile>(output, [&members](streams::ByteSink& sink) {
            return std::make_unique<streams::JsonlWriter>(sink, &members);
        });
    } else {
        listing.emplace(options, source, *sourceOptions.kind, output);
    }
    FrameWriter& to = listing ? listing->frames() : *writer;
    std::unique_ptr<FrameInput> reader;
    std::uint64_t problems = 0;
    const auto hasFrames = std::make_shared<bool>(false);
    try {
        reader = openFrames(source, sourceOptions);
        problems = readFrames(source, *reader, output, [&](const Frame& frame) {
            *hasFrames = true;
            to.write(frame);
            return true;
        });
    } catch (const Failure&) {
        if (*hasFrames || !listing || !listing->hasSplices()) {
            throw;
        }
        return listSplicesAlone(*listing, output);
    }
    if (contents != nullptr) {
        contents->name(reader->teletextPages());
    }
    to.finish();
    problems += listing ? listing->finish() : 0;
    // A file of frames has all packets in spite of what is wrong with some: the exit code says so.
    const int code =
        finishFrames(source, output, frames ? reader->losses() : problems, "not every packet could be read");
    return problems > 0 ? kExitFailure : code;
}

}  // namespace qlx::tool

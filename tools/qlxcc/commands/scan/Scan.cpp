#include "commands/scan/Scan.h"

#include "commands/scan/ContentList.h"
#include "commands/scan/ScanList.h"
#include "commands/scan/SpliceList.h"
#include "cues/TrackCues.h"
#include "cues/WideEncoding.h"
#include "io/Errors.h"
#include "io/Frame.h"
#include "io/FrameLoop.h"
#include "io/FrameSource.h"
#include "io/InputFile.h"
#include "io/OutputFile.h"
#include "io/Terminal.h"
#include "io/Text.h"
#include "streams/CounterNotes.h"
#include "streams/Json.h"
#include "streams/OpenFrames.h"
#include "streams/TransportPackets.h"

#include <qlx/streams/captions.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <utility>
#include <vector>

namespace qlx::tool {

namespace {

/// What is written in place of frames or JSON.
class Listing {
public:
    /// @param splices Of a transport stream; null for others, else it must outlive this.
    Listing(const ScanOptions& options, const InputFile& source, const SpliceList* splices, OutputFile& output)
        : _output(output), _splices(splices) {
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

    /// Who gets what is wrong with what captions hold. It must outlive this.
    void setFindings(FindingSink* findings) noexcept {
        if (_list) {
            _list->setFindings(findings);
        }
    }

    [[nodiscard]] FrameWriter& frames() noexcept {
        return _changes ? static_cast<FrameWriter&>(*_changes) : static_cast<FrameWriter&>(*_list);
    }

    /// Writes what stands behind the frames, and gives the number of problems with them.
    std::uint64_t finish() {
        if (_changes) {
            if (_splices != nullptr) {
                _splices->takePoints(_changes->points());
            }
            _changes->writePoints();
        } else {
            _list->writeSummary();
            if (_splices != nullptr) {
                _splices->write(_output);
            }
        }
        return _changes ? _changes->problems() : 0;
    }

private:
    OutputFile& _output;
    const SpliceList* _splices;
    std::unique_ptr<ChangeWriter> _changes;
    std::unique_ptr<ListWriter> _list;
};

/// Splice information, read beside the frames. It is in a transport stream; a file is read once more for it, a pipe, which
/// may have a name too, only once.
std::unique_ptr<SpliceList> spliceListOf(const ScanOptions& options, InputFile& source) {
    std::vector<std::uint16_t> pids;
    if (options.splicePid) {
        pids.push_back(*options.splicePid);
    }
    auto list = std::make_unique<SpliceList>(source, pids);
    if (!source.size()) {
        source.observe([splices = list.get()](std::span<const std::uint8_t> bytes) { splices->push(bytes); });
    } else {
        list->readFile(options.file);
    }
    return list;
}

/// Reads what the frames' reader has left of a pipe, and ends the list.
void finishSplices(SpliceList* splices, InputFile& source) {
    if (splices == nullptr || splices->hasEnded()) {
        return;
    }
    std::vector<std::uint8_t> piece(std::size_t{1} << 18U);
    while (source.read(piece) > 0) {
    }
    splices->finish();
}

/// Writes what stands behind the frames, and gives the number of problems.
std::uint64_t finishLists(Listing* listing, const SpliceList* splices, OutputFile& output) {
    const std::uint64_t problems = listing != nullptr ? listing->finish() : 0;
    if (splices != nullptr && listing == nullptr && !splices->isEmpty()) {
        splices->writeJson(output);
    }
    return problems + (splices != nullptr ? splices->problems() : 0);
}

/// What takes the frames; null for a list.
std::unique_ptr<FrameWriter> makeWriter(const ScanOptions& options, const std::optional<FrameOutputOptions>& frames,
                                        const CaptionMembers& members, OutputFile& output,
                                        std::shared_ptr<LeftOut> leftOut) {
    if (frames) {
        return makeFrameWriter(output, *frames, std::move(leftOut));
    }
    if (options.listsContents) {
        return std::make_unique<ContentListWriter>(output, options.asJson, options.ignoresParity);
    }
    if (!options.asJson) {
        return nullptr;
    }
    const auto make = [&members](streams::ByteSink& sink) {
        return std::make_unique<streams::JsonlWriter>(sink, &members);
    };
    return std::make_unique<FrameFile>(output, make, 0, std::move(leftOut));
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
    const bool hasSplices = *sourceOptions.kind == InputKind::TransportStream && !frames && !options.listsContents;
    const std::unique_ptr<SpliceList> splices = hasSplices ? spliceListOf(options, source) : nullptr;
    const auto leftOut = std::make_shared<LeftOut>(output.name());
    const std::unique_ptr<FrameWriter> writer = makeWriter(options, frames, members, output, leftOut);
    const std::unique_ptr<Listing> listing =
        writer ? nullptr : std::make_unique<Listing>(options, source, splices.get(), output);
    FrameWriter& to = listing ? listing->frames() : *writer;
    std::optional<TransportPackets> packets;
    if (!listing && !options.listsContents && *sourceOptions.kind == InputKind::TransportStream) {
        packets.emplace(leftOut, [&to](const Frame& frame) { to.write(frame); });
    }
    const auto withTeletext = std::make_shared<std::uint64_t>(0);
    auto* const contents = dynamic_cast<ContentListWriter*>(writer.get());
    if (contents != nullptr && mayHaveTextTracks(*sourceOptions.kind)) {
        if (source.size()) {
            contents->name(textTracksOf(source, *sourceOptions.kind));
        } else {
            printNote("warning: " + source.name() + ": " + std::string(kTracksNotLookedFor));
        }
    }
    std::unique_ptr<FrameInput> reader;
    FrameProblems problems;
    const auto hasFrames = std::make_shared<bool>(false);
    const auto counters = std::make_shared<CounterNotes>(source, output);
    if (contents != nullptr) {
        contents->setFindings(counters.get());
    }
    if (listing) {
        listing->setFindings(counters.get());
    }
    try {
        reader = openFrames(source, sourceOptions);
        problems = readFrames(source, *reader, output, [&](const Frame& frame) {
            *hasFrames = true;
            counters->take(frame);
            if (contents != nullptr) {
                // What is left of damaged packets is all that the list has; it says nothing of them itself.
                (void)streams::captionTriplets(frame, counters.get());
            }
            *withTeletext += frame.teletext.empty() ? 0 : 1;
            if (packets) {
                packets->take(frame);
            } else {
                to.write(frame);
            }
            return true;
        });
        if (packets) {
            packets->finish();
        }
    } catch (const Failure& failure) {
        if (packets) {
            packets->finish();
        }
        if (contents != nullptr && contents->hasTracks() && dynamic_cast<const WithoutFrames*>(&failure) != nullptr) {
            contents->finish();
            output.commit();
            return kExitSuccess;
        }
        if (*hasFrames || !splices) {
            throw;
        }
        finishSplices(splices.get(), source);
        splices->close(true);
        if (splices->isEmpty()) {
            throw;
        }
        // A stream with splice information and nothing that has frames.
        const std::uint64_t inLists = finishLists(listing.get(), splices.get(), output);
        output.commit();
        return inLists > 0 ? kExitFailure : kExitSuccess;
    }
    if (contents != nullptr) {
        contents->name(reader->teletextPages());
    }
    to.finish();
    if (frames && *withTeletext > 0 && frames->format != FrameFormat::Jsonl) {
        printNote("warning: " + source.name() + ": the teletext of " + counted(*withTeletext, "frame") +
                  " follows the others without their times: qlxcc convert keeps them");
    }
    finishSplices(splices.get(), source);
    if (splices) {
        // Who has found teletext has said what is wrong with the tables.
        splices->close(*withTeletext == 0);
    }
    const std::uint64_t inLists = finishLists(listing.get(), splices.get(), output);
    counters->finish();
    // A file of frames has what could be read, and the exit code says that it is not all.
    problems = {problems.all + inLists, frames ? 0 : problems.lost + inLists};
    return finishFrames(source, output, problems, "not every packet could be read");
}

}  // namespace qlx::tool

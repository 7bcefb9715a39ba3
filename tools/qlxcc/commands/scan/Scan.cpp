#include "commands/scan/Scan.h"

#include "commands/scan/ScanList.h"
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
#include <utility>

namespace qlx::tool {

int scan(const ScanOptions& options) {
    refuseInputAsOutput(options.file, options.output);
    InputFile source(options.file);
    FrameSourceOptions sourceOptions = options.source;
    std::optional<FrameOutputOptions> frames = options.frames;
    if (frames) {
        sourceOptions.kind = kindOf(source, sourceOptions.kind);
        settleRows(*sourceOptions.kind, sourceOptions, *frames);
    }
    const auto reader = openFrames(source, sourceOptions);
    OutputFile output(options.output);
    const CaptionMembers members;
    std::unique_ptr<FrameWriter> writer;
    ListWriter* list = nullptr;
    ChangeWriter* changes = nullptr;
    if (frames) {
        writer = makeFrameWriter(output, *frames);
    } else if (options.isOfChanges) {
        auto changeWriter = std::make_unique<ChangeWriter>(output, source.name());
        changes = changeWriter.get();
        writer = std::move(changeWriter);
    } else if (options.asJson) {
        writer = std::make_unique<FrameFile>(output, [&members](streams::ByteSink& sink) {
            return std::make_unique<streams::JsonlWriter>(sink, &members);
        });
    } else {
        auto listWriter = std::make_unique<ListWriter>(output, output.isStandardOutput() && useColors());
        list = listWriter.get();
        writer = std::move(listWriter);
    }
    std::uint64_t problems = readFrames(source, *reader, output, [&](const Frame& frame) {
        writer->write(frame);
        return true;
    });
    writer->finish();
    if (list != nullptr) {
        list->writeSummary();
    } else if (changes != nullptr) {
        changes->writePoints();
        problems += changes->problems();
    }
    // A file of frames has all packets in spite of what is wrong with some: the exit code says so.
    const int code =
        finishFrames(source, output, frames ? reader->losses() : problems, "not every packet could be read");
    return problems > 0 ? kExitFailure : code;
}

}  // namespace qlx::tool

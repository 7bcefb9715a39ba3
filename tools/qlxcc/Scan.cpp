#include "Scan.h"

#include "Errors.h"
#include "Frame.h"
#include "FrameSource.h"
#include "InputFile.h"
#include "Json.h"
#include "OutputFile.h"
#include "Progress.h"
#include "ScanList.h"
#include "Terminal.h"
#include "Text.h"

#include <memory>
#include <optional>

namespace qlx::tool {

namespace {

/// Writes every frame of the file.
/// @return The number of problems that were reported.
std::uint64_t copyFrames(ByteSource& source, FrameReader& reader, FrameWriter& writer, OutputFile& output) {
    const bool isTerminal = standardOutputIsTerminal();
    Progress progress(source.size(), true);
    std::uint64_t problemCount = 0;
    Frame frame;
    std::vector<std::string> problems;
    const auto report = [&] {
        if (problems.empty()) {
            return;
        }
        // The list so far comes first, so that both are in order where they go to one place.
        output.flush();
        progress.clear();
        for (const std::string& problem : problems) {
            printMessage(source.name() + ": " + problem);
        }
        problemCount += problems.size();
        problems.clear();
    };
    for (std::uint64_t frames = 1; reader.next(frame, problems); ++frames) {
        writer.write(frame);
        report();
        if (isTerminal) {
            output.flush();
        }
        progress.update(frames, source.offset());
    }
    // What only the end shows.
    report();
    return problemCount;
}

}  // namespace

int scan(const ScanOptions& options) {
    InputFile source(options.file);
    const auto reader = openFrames(source, options.source);
    OutputFile output(std::nullopt);
    std::unique_ptr<FrameWriter> writer;
    ListWriter* list = nullptr;
    if (options.asJson) {
        writer = std::make_unique<JsonlWriter>(output, true);
    } else {
        auto listWriter = std::make_unique<ListWriter>(output, useColors());
        list = listWriter.get();
        writer = std::move(listWriter);
    }
    std::uint64_t problemCount = 0;
    try {
        problemCount = copyFrames(source, *reader, *writer, output);
    } catch (const Failure&) {
        // What came before the broken place has been found all the same.
        output.flush();
        throw;
    }
    if (list != nullptr) {
        list->writeSummary();
    }
    output.commit();
    if (problemCount > 1) {
        throw failureIn(source.name(), counted(problemCount, "problem") + ": not every packet could be read");
    }
    return problemCount == 0 ? kExitSuccess : kExitFailure;
}

}  // namespace qlx::tool

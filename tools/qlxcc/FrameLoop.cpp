#include "FrameLoop.h"

#include "Errors.h"
#include "Progress.h"
#include "Text.h"

#include <string>
#include <vector>

namespace qlx::tool {

std::uint64_t readFrames(ByteSource& source, FrameReader& reader, OutputFile& output,
                         const std::function<bool(const Frame&)>& take) {
    const bool isTerminal = output.isStandardOutput() && standardOutputIsTerminal();
    Progress progress(source.size(), output.isStandardOutput());
    std::uint64_t problemCount = 0;
    Frame frame;
    std::vector<std::string> problems;
    const auto report = [&] {
        if (problems.empty()) {
            return;
        }
        // The list so far comes first, so that both are in order where they go to one place.
        if (output.isStandardOutput()) {
            output.flush();
        }
        progress.clear();
        for (const std::string& problem : problems) {
            printMessage(source.name() + ": " + problem);
        }
        problemCount += problems.size();
        problems.clear();
    };
    try {
        for (std::uint64_t frames = 1; reader.next(frame, problems); ++frames) {
            const bool wantsMore = take(frame);
            report();
            if (!wantsMore) {
                return problemCount;
            }
            if (isTerminal) {
                output.flush();
            }
            progress.update(frames, source.offset());
        }
    } catch (const Failure&) {
        report();
        if (output.isStandardOutput()) {
            // What came before the broken place has been found all the same.
            output.flush();
        }
        throw;
    }
    // What only the end shows.
    report();
    return problemCount;
}

int finishFrames(const ByteSource& source, OutputFile& output, std::uint64_t problems, std::string_view what) {
    if (problems == 0 || output.isStandardOutput()) {
        output.commit();
    }
    const std::string notWritten = output.isStandardOutput() ? "" : "; " + output.name() + " is not written";
    if (problems > 1 || (problems == 1 && !notWritten.empty())) {
        throw failureIn(source.name(), counted(problems, "problem") + ": " + std::string(what) + notWritten);
    }
    return problems == 0 ? kExitSuccess : kExitFailure;
}

}  // namespace qlx::tool

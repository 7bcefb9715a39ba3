#include "io/FrameLoop.h"

#include "io/Errors.h"
#include "io/LimitedMessages.h"
#include "io/Progress.h"
#include "io/Text.h"

#include <string>
#include <vector>

namespace qlx::tool {

namespace {

/// Says what a reader finds beside its frames: the first problems of each kind, and the first of its remarks.
class FindingLines {
public:
    FindingLines(const NamedSource& source, FrameInput& reader, OutputFile& output, Progress& progress)
        : _source(source), _reader(reader), _output(output), _progress(progress), _remarks(source) {}

    /// Says what is new.
    void report() {
        const std::vector<std::string> remarks = _reader.takeRemarks();
        if (problems.empty() && remarks.empty()) {
            return;
        }
        makeRoom();
        for (const FrameProblem& problem : problems) {
            _messages.say(std::to_string(static_cast<std::uint32_t>(problem.kind)),
                          _source.name() + ": " + problem.text);
        }
        _problemCount += problems.size();
        problems.clear();
        _remarks.say(remarks);
    }

    /// Says what is new, and how many problems and remarks have not been shown.
    /// @return The number of problems.
    std::uint64_t finish() {
        report();
        if (_messages.hasMore() || _remarks.hasMore()) {
            makeRoom();
            _messages.finish();
            _remarks.sayHowManyMore();
        }
        return _problemCount;
    }

    std::vector<FrameProblem> problems;  ///< Those that have not been reported.

private:
    /// The list so far comes first, so that both are in order where they go to one place.
    void makeRoom() {
        if (_output.isStandardOutput()) {
            _output.flush();
        }
        _progress.clear();
    }

    const NamedSource& _source;
    FrameInput& _reader;
    OutputFile& _output;
    Progress& _progress;
    std::uint64_t _problemCount = 0;
    LimitedMessages _messages;
    RemarkNotes _remarks;
};

}  // namespace

void RemarkNotes::say(const std::vector<std::string>& remarks) {
    for (const std::string& remark : remarks) {
        if (++_count <= _shown) {
            printNote("warning: " + _source.name() + ": " + remark);
        }
    }
}

void RemarkNotes::sayProblems(const std::vector<FrameProblem>& problems) {
    for (const FrameProblem& problem : problems) {
        if (++_problemCount <= _shown) {
            printMessage(_source.name() + ": " + problem.text);
        }
    }
}

void RemarkNotes::sayHowManyMore() const {
    if (_problemCount > _shown) {
        printMessage(_source.name() + ": " + counted(_problemCount - _shown, "more problem"));
    }
    if (_count > _shown) {
        printNote("warning: " + _source.name() + ": " + counted(_count - _shown, "more warning"));
    }
}

FrameProblems readFrames(NamedSource& source, FrameInput& reader, OutputFile& output,
                         const std::function<bool(const Frame&)>& take) {
    const bool isTerminal = output.isStandardOutput() && standardOutputIsTerminal();
    Progress progress(source.size(), output.isStandardOutput());
    FindingLines findings(source, reader, output, progress);
    Frame frame;
    try {
        for (std::uint64_t frames = 1; reader.next(frame, findings.problems); ++frames) {
            const bool wantsMore = take(frame);
            findings.report();
            if (!wantsMore) {
                break;
            }
            if (isTerminal) {
                output.flush();
            }
            progress.update(frames, source.offset());
        }
    } catch (const Failure&) {
        (void)findings.finish();
        output.flushWhatCame();
        throw;
    }
    // What only the end shows comes here.
    return {findings.finish(), reader.losses()};
}

bool readNext(const NamedSource& source, FrameInput& reader, RemarkNotes& remarks, Progress& progress, Frame& frame) {
    std::vector<FrameProblem> problems;
    const bool hasFrame = reader.next(frame, problems);
    if (const std::vector<std::string> news = reader.takeRemarks(); !news.empty()) {
        progress.clear();
        remarks.say(news);
    }
    if (!problems.empty()) {
        progress.clear();
        remarks.sayProblems(problems);
    }
    if (hasFrame) {
        progress.update(frame.number + 1, source.offset());
    }
    return hasFrame;
}

int finishFrames(const NamedSource& source, OutputFile& output, FrameProblems problems, std::string_view what,
                 const std::function<void()>& writeMore) {
    const bool isWritten = problems.lost == 0 || output.isStandardOutput();
    if (isWritten) {
        output.commit();
        if (writeMore) {
            writeMore();
        }
    }
    if (problems.lost > 1 || !isWritten) {
        const std::string notWritten = isWritten ? "" : "; " + output.name() + " is not written";
        throw failureIn(source.name(), counted(problems.lost, "problem") + ": " + std::string(what) + notWritten);
    }
    return problems.all == 0 ? kExitSuccess : kExitFailure;
}

}  // namespace qlx::tool

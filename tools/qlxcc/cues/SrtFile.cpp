// SRT files, piece by piece.
#include "cues/SubtitleReaders.h"
#include "cues/SubtitleTimes.h"
#include "io/Errors.h"

#include <QLXClosedCaptionsUtilities/QLXSubtitleRecord.h>
#include <qlx/facade/cue.h>
#include <qlx/subtitles/srt.h>

#include <algorithm>
#include <utility>
#include <vector>

namespace qlx::tool {

namespace {

using Effect = SubtitleProblem::Effect;

// What the reader gets at once, so that the file is in memory only once.
constexpr std::size_t kPiece = std::size_t{256} * 1024;

/// Gives the lines of a text that are asked for, in their order.
class Lines {
public:
    explicit Lines(std::string_view text) : _rest(text) {}

    /// A line without carriage returns; valid until the next call.
    /// @param number Counted from 1, never below that of the call before.
    std::string_view at(std::uint64_t number) {
        for (; _number < number; ++_number) {
            const std::size_t end = std::min(_rest.find('\n'), _rest.size());
            _line = _rest.substr(0, end);
            _rest.remove_prefix(std::min(end + 1, _rest.size()));
        }
        std::erase(_line, '\r');
        return _line;
    }

private:
    std::string_view _rest;
    std::uint64_t _number = 0;
    std::string _line;
};

/// Puts what the reader finds into words.
class CueFindings final : public FindingSink {
public:
    explicit CueFindings(std::string_view text) : _lines(text) {}

    void add(const Finding& finding) override {
        const std::uint64_t line = finding.offset;
        switch (finding.code) {
        case FindingCode::SrtTimingMissing:
            _problems.push_back({line, "cue without a timing line", Effect::CueLeftOut});
            break;
        case FindingCode::SrtTimingInsideCue:
            _problems.push_back({line, "a timing line inside a cue: is a blank line missing?", Effect::None});
            break;
        case FindingCode::SrtTimingWrong:
        case FindingCode::SrtTimeWrong:
        case FindingCode::SrtTimeUnusual:
        case FindingCode::SrtEndNotLater:
            addTiming(line);
            break;
        case FindingCode::SrtCueTooLong:
            _longCue = _longCue == 0 ? line : _longCue;
            break;
        case FindingCode::SrtRowWrong:
        case FindingCode::SrtColorUnknown:
            _problems.push_back({line, finding.text(), Effect::None});
            break;
        default:
            // Numbers that are none, and coordinates behind the times, make no difference here.
            break;
        }
    }

    /// What has been found since the last call.
    [[nodiscard]] std::vector<SubtitleProblem> take() { return std::exchange(_problems, {}); }

    /// The first line of a cue that is too long; 0 when there is none.
    [[nodiscard]] std::uint64_t longCue() const { return _longCue; }

private:
    /// All that is wrong with a timing line is said at once.
    void addTiming(std::uint64_t line) {
        if (std::exchange(_timingLine, line) == line) {
            return;
        }
        for (SubtitleProblem& problem : timingLineProblems(line, _lines.at(line))) {
            _problems.push_back(std::move(problem));
        }
    }

    Lines _lines;
    std::uint64_t _timingLine = 0;
    std::uint64_t _longCue = 0;
    std::vector<SubtitleProblem> _problems;
};

/// Reads a text, and hands on its cues and, behind each piece, what was found.
template <class TakeCue, class TakeFound>
void walk(std::string_view text, CueFindings& findings, const TakeCue& takeCue, const TakeFound& takeFound) {
    subtitles::SrtReader reader({}, &findings);
    const auto read = [&] {
        while (const subtitles::Cue* const cue = reader.next()) {
            takeCue(*cue);
        }
        takeFound();
    };
    while (!text.empty()) {
        const std::string_view piece = text.substr(0, kPiece);
        text.remove_prefix(piece.size());
        reader.push({reinterpret_cast<const std::uint8_t*>(piece.data()), piece.size()});
        read();
    }
    reader.finish();
    read();
}

}  // namespace

void throwNoCue(const Subtitles& subtitles) {
    const auto& problems = subtitles.problems.first();
    const auto first = std::find_if(problems.begin(), problems.end(),
                                    [](const SubtitleProblem& problem) { return problem.place != 0; });
    if (first != problems.end()) {
        throw failureAtLine(subtitles.name, first->place, "no valid cue in the file: " + first->what);
    }
    if (problems.empty()) {
        throw failureAtLine(subtitles.name, 1, "no cue: the file has no text");
    }
    throw failureIn(subtitles.name, "no cue in the file: " + problems.back().what);
}

void readSRT(Subtitles& subtitles, std::string_view text, const SubtitleRequest& request, const CueTakers& take) {
    subtitles.format = "SRT";
    CueFindings findings(text);
    const auto takeCue = [&](const subtitles::Cue& cue) {
        ++subtitles.cues;
        auto record = facade::toRecord(cue);
        record->updatePositioningForSubtitleMode(request.mode);
        if (request.mode == kCea608Mode) {
            moveAsCaption(*record, request.frameDuration);
        }
        take.record(std::move(record));
    };
    const auto takeFound = [&] {
        if (findings.longCue() != 0) {
            throw failureAtLine(subtitles.name, findings.longCue(), "a cue of more than 1 MiB or 10000 lines");
        }
        for (SubtitleProblem& problem : findings.take()) {
            subtitles.problems.add(std::move(problem));
        }
    };
    walk(text, findings, takeCue, takeFound);
    if (subtitles.cues > 0) {
        return;
    }
    if (text.empty()) {
        throw failureAtByte(subtitles.name, 0, "the file is empty");
    }
    if (text.find('\n') == std::string_view::npos && text.find('\r') != std::string_view::npos) {
        throw failureAtLine(subtitles.name, 1, "no cue: lines must end in line feeds, these end in carriage returns");
    }
    throwNoCue(subtitles);
}

}  // namespace qlx::tool

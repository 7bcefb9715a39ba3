// SRT files, piece by piece.
#include "cues/SubtitleReaders.h"
#include "cues/SubtitleTimes.h"
#include "io/Errors.h"

#include <QLXClosedCaptionsUtilities/QLXSRTFileReader.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitleRecord.h>

#include <algorithm>
#include <utility>
#include <vector>

namespace qlx::tool {

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

// A piece is what the library gets at once. Cues beyond any use would need much more memory than their text.
constexpr std::size_t kPiece = std::size_t{256} * 1024;
constexpr std::size_t kLongestCue = std::size_t{1024} * 1024;
constexpr std::uint64_t kMostLinesOfCue = 10'000;

/// Whether a line begins with `HH:MM:SS,mmm --> HH:MM:SS,mmm` and the end is later than the start.
bool isTimingLine(std::string_view line) {
    constexpr std::string_view kForm = "00:00:00,000 --> 00:00:00,000";
    if (line.size() < kForm.size()) {
        return false;
    }
    const bool hasForm = std::equal(kForm.begin(), kForm.end(), line.begin(), [](char form, char character) {
        return form == '0' ? character >= '0' && character <= '9' : character == form;
    });
    return hasForm && !leaveCueOut(timingLineProblems(0, line));
}

/// Walks the lines of a text, block by block.
class SRTWalk {
public:
    explicit SRTWalk(std::string_view text) : _text(text) {
        if (_text.starts_with(kByteOrderMark)) {
            _text.remove_prefix(kByteOrderMark.size());
        }
    }

    /// Takes the lines up to an empty one, with that.
    /// @return False at the end of the text.
    template <class Report>
    bool takeBlock(const Report& report) {
        if (_text.empty() && _lineInBlock == 0) {
            return false;
        }
        do {
            // Behind the last line stands an empty one, which closes the last block.
            const std::size_t end = std::min(_text.find('\n'), _text.size());
            _line = _text.substr(0, end);
            _text.remove_prefix(std::min(end + 1, _text.size()));
            ++_lineNumber;
            std::erase(_line, '\r');
            takeLine(report);
        } while (_lineInBlock > 0);
        return true;
    }

    [[nodiscard]] std::string_view rest() const { return _text; }
    [[nodiscard]] std::uint64_t lines() const { return _lineNumber; }

private:
    template <class Report>
    void takeLine(const Report& report) {
        using Effect = SubtitleProblem::Effect;
        if (_line.empty()) {
            if (_lineInBlock == 1) {
                report({_lineNumber - 1, "cue without a timing line", Effect::CueLeftOut});
            }
            _lineInBlock = 0;
            return;
        }
        if (++_lineInBlock == 2) {
            for (SubtitleProblem& problem : timingLineProblems(_lineNumber, _line)) {
                report(std::move(problem));
            }
        } else if (_lineInBlock > 2 && isTimingLine(_line)) {
            report({_lineNumber, "a timing line inside a cue: is a blank line missing?", Effect::None});
        }
    }

    std::string_view _text;
    std::uint64_t _lineNumber = 0;
    std::uint64_t _lineInBlock = 0;
    std::string _line;
};

[[noreturn]] void throwNoCue(const Subtitles& subtitles, std::string_view text) {
    if (text.empty()) {
        throw failureAtByte(subtitles.name, 0, "the file is empty");
    }
    if (text.find('\n') == std::string_view::npos && text.find('\r') != std::string_view::npos) {
        throw failureAtLine(subtitles.name, 1, "no cue: lines must end in line feeds, these end in carriage returns");
    }
    if (subtitles.problems.count() == 0) {
        throw failureAtLine(subtitles.name, 1, "no cue: the file has no text");
    }
    const SubtitleProblem& first = subtitles.problems.first().front();
    throw failureAtLine(subtitles.name, first.place, "no valid cue in the file: " + first.what);
}

}  // namespace

std::vector<SubtitleProblem> findSRTProblems(std::string_view text) {
    std::vector<SubtitleProblem> problems;
    SRTWalk walk(text);
    while (walk.takeBlock([&](SubtitleProblem problem) { problems.push_back(std::move(problem)); })) {
    }
    return problems;
}

void readSRT(Subtitles& subtitles, std::string_view text, const SubtitleRequest& request, const CueTaker& take) {
    subtitles.format = "SRT";
    SRTWalk walk(text);
    std::string_view rest = text;  // what the library has not had
    // Gives the library everything up to `behind` bytes before the text's end.
    const auto handOn = [&](std::size_t behind) {
        const std::string_view piece = rest.substr(0, rest.size() - behind);
        rest.remove_prefix(piece.size());
        if (piece.empty()) {
            return;
        }
        const LoadedFile file(Data(reinterpret_cast<const std::uint8_t*>(piece.data()), piece.size()));
        for (auto& record : QLXSRTFileReader::subtitleRecordsFromSRTFileAtPath_subtitleMode_frameDuration(
                 request.path, request.mode, request.frameDuration)) {
            ++subtitles.cues;
            take(std::move(record));
        }
    };
    std::size_t before = walk.rest().size();
    std::uint64_t linesBefore = 0;
    bool isLeftOut = false;
    const auto report = [&](SubtitleProblem problem) {
        isLeftOut = isLeftOut || problem.effect == SubtitleProblem::Effect::CueLeftOut;
        subtitles.problems.add(std::move(problem));
    };
    while (walk.takeBlock(report)) {
        if (before - walk.rest().size() > kLongestCue || walk.lines() - linesBefore > kMostLinesOfCue) {
            throw failureAtLine(subtitles.name, linesBefore + 1, "a cue of more than 1 MiB or 10000 lines");
        }
        if (isLeftOut) {
            // The library would take a time that it cannot read for 0.
            handOn(before);
            rest = walk.rest();
            isLeftOut = false;
        }
        before = walk.rest().size();
        linesBefore = walk.lines();
        if (rest.size() - before >= kPiece) {
            handOn(before);
        }
    }
    handOn(0);
    if (subtitles.cues == 0) {
        throwNoCue(subtitles, text);
    }
}

}  // namespace qlx::tool

#include "commands/subs/Subs.h"

#include "cues/CaptionFrames.h"
#include "cues/CueLosses.h"
#include "cues/CueTimes.h"
#include "cues/SubtitleTimes.h"
#include "cues/Subtitles.h"
#include "io/Errors.h"
#include "io/OutputFile.h"
#include "io/Terminal.h"
#include "io/Text.h"
#include "io/Times.h"
#include "streams/Json.h"

#include <QLXClosedCaptionsUtilities/QLXSubtitleRecord.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitleTextLine.h>
#include <qlx/base/frame_rate.h>
#include <qlx/facade/cue.h>
#include <qlx/subtitles/value.h>

#include <array>
#include <cmath>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>

namespace qlx::tool {

namespace {

constexpr std::size_t kNumberWidth = 6;
constexpr std::size_t kTimeWidth = 12;
constexpr std::size_t kRowWidth = 3;
constexpr std::size_t kColorWidth = 7;
constexpr std::size_t kAlignmentWidth = 9;

constexpr std::size_t kWhite = 7;

/// By the library's constants.
constexpr std::array<std::string_view, 8> kColors{"white", "red",     "green", "yellow",
                                                  "blue",  "magenta", "cyan",  "white"};

/// The constant of a line's colour; white for a number that is none, as it is shown.
std::size_t colorOf(const QLXSubtitleTextLine& line) {
    const std::int32_t color = line.textColor();
    return color > 0 && static_cast<std::size_t>(color) < kColors.size() ? static_cast<std::size_t>(color) : kWhite;
}

std::string_view alignmentOf(const QLXSubtitleTextLine& line) {
    const std::int32_t alignment = line.alignment();
    const bool isKnown = alignment >= 0 && static_cast<std::size_t>(alignment) < subtitles::kAlignmentNames.size();
    return subtitles::kAlignmentNames[isKnown ? static_cast<std::size_t>(alignment) : 0];
}

std::string effectName(SubtitleProblem::Effect effect) {
    using Effect = SubtitleProblem::Effect;
    return effect == Effect::CueLeftOut ? "cue left out" : effect == Effect::NotASubtitle ? "left out" : "remark";
}

/// The timecode of the frame with which a time is on air.
std::string frameTimecode(double seconds, const Rate& rate) {
    if (!(seconds >= 0.0) || seconds > kLongestTimeInSeconds) {
        return "-";
    }
    // Of such units a frame of each rate has a whole number.
    constexpr std::int32_t kUnits = 120'000;
    const auto frame = frameOnAir(MediaTime::make(std::llround(seconds * kUnits), kUnits), frameRateOf(rate));
    return timecodeOfFrame(frame.value_or(0), rate, hasDropFrame(rate));
}

/// Prints cues as they come, and then what was left out.
class CueList {
public:
    CueList(const SubsOptions& options, OutputFile& output)
        : _options(options), _output(output), _isColored(output.isStandardOutput() && useColors()) {
        if (options.namesLosses) {
            _losses.emplace(options.mode);
        }
    }

    void take(const std::shared_ptr<QLXSubtitleRecord>& record) {
        write(*record);
        std::string lost = _losses ? _losses->of(record) : std::string();
        if (!lost.empty()) {
            _remarks.add({record->index(), std::move(lost), SubtitleProblem::Effect::None});
        }
    }

    void finish(const Subtitles& subtitles) {
        if (_options.asJson) {
            writeJsonEnd(subtitles);
            return;
        }
        const SubtitleProblems& problems = subtitles.problems;
        for (const SubtitleProblem& problem : problems.first()) {
            writeProblem(placeInWords(subtitles, problem), problem);
        }
        writeNumberOfOthers(problems, "problem");
        for (const SubtitleProblem& remark : _remarks.first()) {
            writeProblem("cue " + std::to_string(remark.place) + ": ", remark);
        }
        writeNumberOfOthers(_remarks, "remark");
        _output.write(printable(subtitles.name) + " (" + subtitles.format + "): " + counted(subtitles.cues, "cue") +
                      ", " + std::to_string(problems.leftOut()) + " left out" +
                      (_losses ? ", " + std::to_string(_remarks.count()) + " not shown as written" : "") + "\n");
    }

private:
    void write(const QLXSubtitleRecord& record) {
        if (_options.asJson) {
            _output.write(_isEmpty ? "{\"schema\":\"qlxcc/subs/1\",\n\"cues\":[\n" : ",\n");
            _output.write(jsonText(cueObject(record)));
        } else {
            if (_isEmpty) {
                _output.write(padded("   cue", kNumberWidth) + "  " + padded("start", kTimeWidth) + "  " +
                              padded("end", kTimeWidth) + "  row  " + padded("color", kColorWidth) + "  " +
                              padded("alignment", kAlignmentWidth) + "  text\n");
            }
            writeRows(record);
        }
        _isEmpty = false;
    }

    void writeProblem(const std::string& place, const SubtitleProblem& problem) {
        _output.write(place + effectName(problem.effect) + ": " + printable(problem.what) + "\n");
    }

    /// Of those that are counted only.
    void writeNumberOfOthers(const SubtitleProblems& problems, std::string_view noun) {
        if (problems.count() > problems.first().size()) {
            _output.write("and " + counted(problems.count() - problems.first().size(), "more " + std::string(noun)) +
                          "\n");
        }
    }

    [[nodiscard]] std::string timeText(double seconds) const {
        return _options.rate ? frameTimecode(seconds, *_options.rate) : timeInWords(seconds);
    }

    /// The row that `play` sends the line with this index to; 0 for none.
    [[nodiscard]] std::uint64_t rowOf(const QLXSubtitleTextLine& line, std::size_t index) const {
        if (_options.mode != kCea608Mode) {
            return line.verticalPosition();
        }
        return index < kSentCaptionRows ? kFirstSentCaptionRow + index : 0;
    }

    void writeRows(const QLXSubtitleRecord& record) {
        std::string head = rightAligned(record.index(), kNumberWidth) + "  " +
                           padded(timeText(record.startTimeInSeconds()), kTimeWidth) + "  " +
                           padded(timeText(record.endTimeInSeconds()), kTimeWidth) + "  ";
        const auto lines = record.subtitleLines();
        if (lines.empty()) {
            _output.write(head + padded("  -", kRowWidth) + "  " + padded("-", kColorWidth) + "  " +
                          padded("-", kAlignmentWidth) + "  (no text)\n");
        }
        std::size_t index = 0;
        for (const auto& line : lines) {
            const std::size_t color = colorOf(*line);
            const std::uint64_t row = rowOf(*line, index++);
            const std::string text = printable(line->textString().value_or(std::string()));
            _output.write(head + (row == 0 ? padded("  -", kRowWidth) : rightAligned(row, kRowWidth)) + "  " +
                          padded(std::string(kColors[color]), kColorWidth) + "  " +
                          padded(std::string(alignmentOf(*line)), kAlignmentWidth) + "  " +
                          (_isColored ? "\033[3" + std::to_string(color) + "m" + text + "\033[0m" : text) + "\n");
            head.assign(head.size(), ' ');
        }
    }

    /// In the form that play reads. The rows of captions are not the cue's own.
    [[nodiscard]] Dictionary cueObject(const QLXSubtitleRecord& record) const {
        Dictionary cue = subtitles::dictionaryOf(facade::toCue(record), {.placesRows = _options.mode != kCea608Mode});
        if (_options.rate) {
            cue.set("start_frame_timecode", timeText(record.startTimeInSeconds()));
            cue.set("end_frame_timecode", timeText(record.endTimeInSeconds()));
        }
        return cue;
    }

    void writeJsonEnd(const Subtitles& subtitles) {
        const SubtitleProblems& problems = subtitles.problems;
        _output.write("\n],\n\"file\":" + jsonText(subtitles.name) + ",\n\"format\":" + jsonText(subtitles.format) +
                      ",\n\"cueCount\":" + std::to_string(subtitles.cues) +
                      ",\n\"leftOut\":" + std::to_string(problems.leftOut()) + ",\n\"problemCount\":" +
                      std::to_string(problems.count() + _remarks.count()) + ",\n\"problems\":[");
        std::string_view separator = "\n";
        writeJsonProblems(subtitles.place == "TTI block" ? "block" : subtitles.place, problems, separator);
        writeJsonProblems("cue", _remarks, separator);
        _output.write("]}\n");
    }

    /// @param separator What stands in front of the next entry.
    void writeJsonProblems(std::string_view place, const SubtitleProblems& problems, std::string_view& separator) {
        for (const SubtitleProblem& problem : problems.first()) {
            Dictionary entry{{"effect", effectName(problem.effect)}, {"what", problem.what}};
            if (problem.place != 0) {
                entry.set(place, problem.place);
            }
            _output.write(separator);
            _output.write(jsonText(entry));
            separator = ",\n";
        }
    }

    const SubsOptions& _options;
    OutputFile& _output;
    bool _isColored;
    bool _isEmpty = true;
    std::optional<CueLosses> _losses;
    SubtitleProblems _remarks;  ///< Of the cues, by their numbers.
};

}  // namespace

int listSubtitles(const SubsOptions& options) {
    refuseInputAsOutput(options.file, options.output);
    const double frameDuration = options.rate ? secondsFrom(options.rate->frameDuration()) : 0.0;
    OutputFile output(options.output);
    CueList list(options, output);
    try {
        list.finish(readSubtitles({options.file, options.mode, frameDuration, options.encoding, options.asDeployed,
                                   options.track, options.fromStart, options.onAir},
                                  [&](const std::shared_ptr<QLXSubtitleRecord>& record) { list.take(record); }));
    } catch (const Failure&) {
        output.flushWhatCame();
        throw;
    }
    output.commit();
    return kExitSuccess;
}

}  // namespace qlx::tool

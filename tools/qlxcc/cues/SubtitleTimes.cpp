#include "cues/SubtitleTimes.h"

#include "io/Times.h"
#include "streams/Json.h"

#include <QLXClosedCaptionsUtilities/QLXSubtitleRecord.h>
#include <QLXClosedCaptionsUtilities/platform/Text.h>
#include <qlx/subtitles/srt.h>
#include <qlx/subtitles/value.h>

#include <array>
#include <optional>
#include <utility>

namespace qlx::tool {

namespace {

using Effect = SubtitleProblem::Effect;

constexpr std::string_view kForm = "(HH:MM:SS,mmm)";
constexpr std::size_t kShownCharacters = 40;

/// The start of a text, with three points behind it where it goes on.
std::string shortened(std::string_view text) {
    std::string result;
    for (std::size_t count = 0; !text.empty(); ++count) {
        if (count == kShownCharacters) {
            return result + "...";
        }
        const std::string_view rest = text;
        (void)takeCodePoint(text);
        result += rest.substr(0, rest.size() - text.size());
    }
    return result;
}

std::string inQuotes(std::string_view text) {
    return "\"" + shortened(text) + "\"";
}

std::string readAs(std::string_view timecode) {
    return " is read as " + timeInWords(QLXSubtitleRecord::secondsFromSRTTimecode(timecode));
}

/// A cue whose end is not later than its start.
/// @param remarks How the times are read, where that is not plain.
SubtitleProblem notLater(std::uint64_t place, std::string what, const std::vector<SubtitleProblem>& remarks) {
    for (const SubtitleProblem& remark : remarks) {
        what += "; " + remark.what;
    }
    return {place, std::move(what)};
}

/// A time of a JSON file: the timecode is read where there are no seconds.
struct TimeKeys {
    std::string_view what;
    std::string_view seconds;
    std::string_view timecode;
};

/// By what findings call it, 1 for the start and 2 for the end.
TimeKeys timeKeys(std::int64_t which) {
    return which == 1 ? TimeKeys{"start", subtitles::keys::kStartSeconds, subtitles::keys::kStartTimecode}
                      : TimeKeys{"end", subtitles::keys::kEndSeconds, subtitles::keys::kEndTimecode};
}

std::string key(std::string_view name) {
    return "\"" + std::string(name) + "\"";
}

/// The value under a key that a finding is about, as JSON.
std::string valueText(const Value& element, std::string_view name) {
    return shortened(jsonText(*element.dictionary()->find(name)));
}

/// Why there is no cue.
std::string refusalInWords(const Value& element, const Finding& refusal) {
    const TimeKeys keys = timeKeys(refusal.first);
    switch (refusal.code) {
    case FindingCode::SubtitleValueNotDictionary:
        return "no object";
    case FindingCode::SubtitleValueNoLines:
        return "no " + key(subtitles::keys::kLines);
    case FindingCode::SubtitleValueTimeMissing:
        return "no " + std::string(keys.what) + ": neither " + key(keys.seconds) + " nor " + key(keys.timecode);
    case FindingCode::SubtitleValueTimeWrong:
        return refusal.second == 1 ? key(keys.seconds) + " is no time in seconds: " + valueText(element, keys.seconds)
                                   : key(keys.timecode) + " is no time " + std::string(kForm) + ": " +
                                         valueText(element, keys.timecode);
    case FindingCode::SubtitleValueEndNotLater:
        return "the end is not later than the start";
    default:
        return refusal.text();
    }
}

/// What is remarkable about an element all the same; empty for what makes no difference.
std::string remarkInWords(const Value& element, const Finding& finding) {
    if (finding.code == FindingCode::SubtitleValueTimeRounded ||
        finding.code == FindingCode::SubtitleValueNumberWrong) {
        return {};
    }
    if (finding.code != FindingCode::SubtitleValueTimeUnusual) {
        return finding.text();
    }
    const TimeKeys keys = timeKeys(finding.first);
    const std::string text = element.dictionary()->find(keys.timecode)->stringValue().value_or(std::string());
    return key(keys.timecode) + " " + inQuotes(text) + readAs(text);
}

}  // namespace

std::string timeInWords(double seconds) {
    return timecode(millisecondsFrom(seconds));
}

std::vector<SubtitleProblem> timingLineProblems(std::uint64_t line, std::string_view timing) {
    const auto parts = subtitles::splitSrtTiming(timing);
    if (!parts) {
        return {{line, inQuotes(timing) + " is not a timing line (HH:MM:SS,mmm --> HH:MM:SS,mmm)"}};
    }
    std::vector<SubtitleProblem> remarks;
    std::array<std::int64_t, 2> milliseconds{};
    std::size_t index = 0;
    for (const auto& [what, text] : {std::pair("start ", parts->start), std::pair("end ", parts->end)}) {
        const std::string named = std::string("the ") + what + inQuotes(text);
        const auto time = subtitles::parseSrtTime(text);
        if (!time) {
            return {{line, named + " is no time " + std::string(kForm)}};
        }
        if (!time->isUsual) {
            remarks.push_back({line, named + readAs(text), Effect::None});
        }
        milliseconds[index++] = time->time.value;
    }
    if (milliseconds[1] > milliseconds[0]) {
        return remarks;
    }
    return {notLater(line,
                     "the end " + inQuotes(parts->end) + " is not later than the start " + inQuotes(parts->start) +
                         " " + std::string(kForm),
                     remarks)};
}

std::vector<SubtitleProblem> elementProblems(std::uint64_t element, const Value& value, const Findings& findings,
                                             const Result<subtitles::Cue>& cue) {
    std::vector<SubtitleProblem> remarks;
    for (const Finding& finding : findings) {
        if (std::string remark = remarkInWords(value, finding); !remark.empty()) {
            remarks.push_back({element, std::move(remark), Effect::None});
        }
    }
    if (cue) {
        return remarks;
    }
    std::string refusal = refusalInWords(value, cue.error());
    if (cue.error().code == FindingCode::SubtitleValueEndNotLater) {
        return {notLater(element, std::move(refusal), remarks)};
    }
    return {{element, std::move(refusal)}};
}

}  // namespace qlx::tool

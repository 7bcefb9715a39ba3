#include "cues/SubtitleTimes.h"

#include "io/Times.h"
#include "streams/Json.h"

#include <QLXClosedCaptionsUtilities/QLXSubtitleRecord.h>
#include <QLXClosedCaptionsUtilities/platform/Text.h>
#include <qlx/subtitles/srt.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <optional>
#include <utility>

namespace qlx::tool {

namespace {

using Effect = SubtitleProblem::Effect;

constexpr std::string_view kBlanks = " \t";
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

std::string quoted(std::string_view text) {
    return "\"" + shortened(text) + "\"";
}

std::string_view trimmed(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
    return text.substr(0, text.find_last_not_of(kBlanks) + 1);
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

// The keys of a time in a JSON file; the library reads the timecode where there are no seconds.
struct TimeKeys {
    std::string_view what;
    std::string_view seconds;
    std::string_view timecode;
};

constexpr std::array kTimeKeys{
    TimeKeys{"start", QLXSubtitleRecordStartTimeInSecondsKey, QLXSubtitleRecordStartTimecodeKey},
    TimeKeys{"end", QLXSubtitleRecordEndTimeInSecondsKey, QLXSubtitleRecordEndTimecodeKey}};

/// The value under a key; null for a JSON null as well.
const Value* valueIn(const Dictionary& values, std::string_view key) {
    const Value* const value = values.find(key);
    return value != nullptr && !value->isNull() ? value : nullptr;
}

/// Whether a value is a number that can be a time, or a text of such a number and nothing else.
bool isSeconds(const Value& value) {
    double seconds = value.isNumber() ? value.doubleValue() : -1.0;
    if (const std::string* const text = value.text()) {
        std::string_view number = trimmed(*text);
        number.remove_prefix(number.starts_with('+') ? 1 : 0);
        const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), seconds);
        if (error != std::errc{} || end != number.data() + number.size()) {
            return false;
        }
    }
    return seconds >= 0.0 && std::isfinite(seconds);
}

std::optional<SubtitleProblem> timeProblem(std::uint64_t element, const Dictionary& values, const TimeKeys& keys) {
    const auto key = [](std::string_view name) { return "\"" + std::string(name) + "\""; };
    if (const Value* const seconds = valueIn(values, keys.seconds)) {
        return isSeconds(*seconds)
                   ? std::nullopt
                   : std::optional(SubtitleProblem{
                         element, key(keys.seconds) + " is no time in seconds: " + shortened(jsonText(*seconds))});
    }
    const Value* const timecode = valueIn(values, keys.timecode);
    if (timecode == nullptr) {
        return SubtitleProblem{element, "no " + std::string(keys.what) + ": neither " + key(keys.seconds) + " nor " +
                                            key(keys.timecode)};
    }
    const std::string* const text = timecode->text();
    const auto time = text != nullptr ? subtitles::parseSrtTime(*text) : std::nullopt;
    if (!time) {
        return SubtitleProblem{element, key(keys.timecode) + " is no time " + std::string(kForm) + ": " +
                                            shortened(jsonText(*timecode))};
    }
    return time->isUsual ? std::nullopt
                         : std::optional(SubtitleProblem{
                               element, key(keys.timecode) + " " + quoted(*text) + readAs(*text), Effect::None});
}

}  // namespace

std::string timeInWords(double seconds) {
    constexpr double kMost = 1e12;  // far beyond every programme, and exact in milliseconds
    constexpr std::int32_t kMilliseconds = 1000;
    return timecode(MediaTime::make(std::llround(std::min(seconds, kMost) * kMilliseconds), kMilliseconds));
}

std::vector<SubtitleProblem> timingLineProblems(std::uint64_t line, std::string_view timing) {
    const auto parts = subtitles::splitSrtTiming(timing);
    if (!parts) {
        return {{line, quoted(timing) + " is not a timing line (HH:MM:SS,mmm --> HH:MM:SS,mmm)"}};
    }
    std::vector<SubtitleProblem> remarks;
    std::array<std::int64_t, 2> milliseconds{};
    std::size_t index = 0;
    for (const auto& [what, text] : {std::pair("start ", parts->start), std::pair("end ", parts->end)}) {
        const std::string named = std::string("the ") + what + quoted(text);
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
                     "the end " + quoted(parts->end) + " is not later than the start " + quoted(parts->start) + " " +
                         std::string(kForm),
                     remarks)};
}

std::vector<SubtitleProblem> elementTimeProblems(std::uint64_t element, const Dictionary& values,
                                                 const QLXSubtitleRecord& record) {
    std::vector<SubtitleProblem> remarks;
    for (const TimeKeys& keys : kTimeKeys) {
        if (auto problem = timeProblem(element, values, keys)) {
            if (problem->effect == Effect::CueLeftOut) {
                return {std::move(*problem)};
            }
            remarks.push_back(std::move(*problem));
        }
    }
    if (record.endTimeInSeconds() > record.startTimeInSeconds()) {
        return remarks;
    }
    return {notLater(element, "the end is not later than the start", remarks)};
}

}  // namespace qlx::tool

#include "cues/StartTimes.h"

#include "io/Errors.h"
#include "io/Text.h"
#include "io/Times.h"

#include <algorithm>
#include <cstdint>

namespace qlx::tool {

namespace {

const Rate& rateOf(FrameRate rate) {
    return *std::find_if(kRates.begin(), kRates.end(), [rate](const Rate& each) { return frameRateOf(each) == rate; });
}

}  // namespace

MediaTime timeOf(const StartTime& start, const std::optional<LabelCounting>& own, const std::string& file) {
    if (start.time) {
        return *start.time;
    }
    if (!own && !start.rate) {
        throw UsageError(start.option + ": " + std::string(start.rateOption) +
                         " is needed, which says how many frames of " + start.text + " a second has");
    }
    const Rate& rate = own ? rateOf(own->rate) : *start.rate;
    // What is no label has a time.
    FrameTimecode label = parseFrameTimecode(start.text).value();
    const bool isWrittenAsDrop = label.isDropFrame;
    const bool isOfFile = own && own->dropsFrames;
    label.isDropFrame = isOfFile ? *own->dropsFrames : start.dropsFrames.value_or(isWrittenAsDrop);
    if (isOfFile && isWrittenAsDrop && !label.isDropFrame) {
        printNote("remark: " + start.option + ": " + start.text +
                  " is taken as a non-drop-frame timecode, as those of " + printable(file) + " are");
    }
    try {
        return rate.timeOfFrame(frameOf(start.text, label, rate));
    } catch (const UsageError& error) {
        throw UsageError(start.option + ": " + error.what());
    }
}

std::string unsaidStartInWords(const StartTime& start) {
    return "such a file says no times: its first frame is that of " + start.option + " " + start.text;
}

MediaTime programmeStart(const std::optional<MediaTime>& told, const std::optional<LabelCounting>& own,
                         const subtitles::Cue& first) noexcept {
    constexpr std::uint32_t kHour = 3600;
    if (told) {
        return *told;
    }
    const auto number = own ? nearestFrame(first.start, own->rate) : std::nullopt;
    if (!number) {
        const std::int64_t hours = first.start.isValid() ? first.start.value / first.start.timescale / kHour : 0;
        return MediaTime::make(hours * kHour, 1);
    }
    const cc::FrameCount count(own->rate, own->dropsFrames.value_or(false));
    const std::uint64_t ofDay = *number % count.ofDay();
    const cc::FrameLabel label = cc::labelOf(count.timeCodeOf(ofDay), own->rate);
    const std::uint64_t hour = count.ofLabel({label.seconds / kHour * kHour, 0});
    return rateOf(own->rate).timeOfFrame(*number - ofDay + hour);
}

std::optional<MediaTime> subtractedStart(const FromStart& from, const std::string& file,
                                         const std::optional<MediaTime>& told, const std::optional<LabelCounting>& own,
                                         const subtitles::Cue* first) {
    return from.time                          ? std::optional(timeOf(*from.time, own, file))
           : from.isTaken && first != nullptr ? std::optional(programmeStart(told, own, *first))
                                              : std::nullopt;
}

std::string lateStartInWords(const FromStart& from, const subtitles::Cue* first) {
    constexpr double kMinute = 60.0;
    constexpr double kLate = 59.0 * kMinute;
    return !from.isGiven && first != nullptr && secondsFrom(first->start) >= kLate
               ? "the first cue begins at " + timecode(first->start) +
                     ": --from-start 10:00:00:00 (or auto, or 0) says where the programme does"
               : std::string();
}

}  // namespace qlx::tool

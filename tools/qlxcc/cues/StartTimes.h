// Where programmes begin in the files that are read and written: times, and labels in a file's own counting.
#pragma once

#include "io/Rates.h"

#include <qlx/base/frame_rate.h>
#include <qlx/cc/time_code.h>
#include <qlx/subtitles/cue.h>

#include <optional>
#include <string>
#include <string_view>

namespace qlx::tool {

/// How labels count: `HH:MM:SS:FF`, frames of a rate by SMPTE ST 12-1.
struct LabelCounting {
    FrameRate rate = FrameRate::Fps25;
    std::optional<bool> dropsFrames{};  ///< None: as --drop or --non-drop says, or else the label itself.
};

/// The same as a file says it; none where it does not.
[[nodiscard]] constexpr std::optional<LabelCounting> countingOf(
    const std::optional<cc::TimeCodeCounting>& own) noexcept {
    return own ? std::optional(LabelCounting{own->rate, own->dropsFrames}) : std::nullopt;
}

/// How labels of a file count that has none itself; none where its rate is not known.
[[nodiscard]] constexpr std::optional<LabelCounting> countingOf(std::optional<FrameRate> rate) noexcept {
    return rate ? std::optional(LabelCounting{*rate}) : std::nullopt;
}

/// Where a programme begins, as an option says it.
struct StartTime {
    std::string option;                 ///< `--from-start`
    std::string text;                   ///< Its value.
    std::optional<MediaTime> time{};    ///< The same, where it is no label.
    std::optional<Rate> rate{};         ///< Of labels, where the file does not say it.
    std::optional<bool> dropsFrames{};  ///< The same.
    std::string_view rateOption{};      ///< What says it.
};

/// The time of a start: of a label that which the file gives it, else by the options. A remark is printed where the
/// label is written in the other way of counting.
/// @param own How the file counts, as far as that is known.
/// @param file What to call it.
/// @throws UsageError where nothing says how the label counts, or it names no frame.
[[nodiscard]] MediaTime timeOf(const StartTime& start, const std::optional<LabelCounting>& own,
                               const std::string& file);

/// What to say of a file that begins there, and has no times to say it.
[[nodiscard]] std::string unsaidStartInWords(const StartTime& start);

/// Where the programme begins in a file, which is subtracted from its times.
struct FromStart {
    bool isGiven = false;             ///< Something is said of it.
    bool isTaken = false;             ///< It is where the file says, as programmeStart() has it.
    std::optional<StartTime> time{};  ///< It is this; none: nothing is subtracted, or what is taken.
};

/// Where the programme begins in a file of cues.
/// @param told What the file says, such as the start of the programme of EBU STL; else it is the whole hour in which the
/// first cue begins.
/// @param own How labels count in the file: the hour is one of theirs. None: an hour of 3,600 seconds.
[[nodiscard]] MediaTime programmeStart(const std::optional<MediaTime>& told, const std::optional<LabelCounting>& own,
                                       const subtitles::Cue& first) noexcept;

/// What is subtracted from the times of a file of cues; none: nothing is.
/// @param file What to call it.
/// @param told As programmeStart() takes it.
/// @param own As timeOf() and programmeStart() take it.
/// @param first Null: the file has no cue.
/// @throws UsageError as timeOf() does.
[[nodiscard]] std::optional<MediaTime> subtractedStart(const FromStart& from, const std::string& file,
                                                       const std::optional<MediaTime>& told,
                                                       const std::optional<LabelCounting>& own,
                                                       const subtitles::Cue* first);

/// What to say where the first cue begins as late as where programmes are given the time of day, and nothing is said of
/// where this one begins; else empty.
[[nodiscard]] std::string lateStartInWords(const FromStart& from, const subtitles::Cue* first);

}  // namespace qlx::tool

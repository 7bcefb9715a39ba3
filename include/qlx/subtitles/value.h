// A cue as a dictionary, in the form that JSON subtitle files and the subtitle classes of the fixed operations have.
//
//     const qlx::Dictionary dictionary = qlx::subtitles::dictionaryOf(cue, {}, &findings);
//     const qlx::Result<qlx::subtitles::Cue> again = qlx::subtitles::cueOf(dictionary, &findings);
//
//   { "index": 1, "start_time_seconds": 1.0, "start_timecode": "00:00:01,000", "end_time_seconds": 2.5,
//    "end_timecode": "00:00:02,500", "text_lines": [
//    { "text": "Hello", "color": "#ffff00", "alignment": "center", "vertical_position": 11 } ] }
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <QLXClosedCaptionsUtilities/platform/Value.h>
#include <qlx/base/result.h>
#include <qlx/subtitles/cue.h>

#include <array>
#include <cstdint>
#include <string_view>

namespace qlx::subtitles {

/// The keys of the dictionaries.
namespace keys {
inline constexpr std::string_view kIndex = "index";                      ///< Cue::number.
inline constexpr std::string_view kStartSeconds = "start_time_seconds";  ///< A number of seconds.
inline constexpr std::string_view kStartTimecode = "start_timecode";     ///< `HH:MM:SS,mmm`, where there are none.
inline constexpr std::string_view kEndSeconds = "end_time_seconds";      ///< A number of seconds.
inline constexpr std::string_view kEndTimecode = "end_timecode";         ///< `HH:MM:SS,mmm`, where there are none.
inline constexpr std::string_view kLines = "text_lines";                 ///< An array of dictionaries, one a row.
inline constexpr std::string_view kText = "text";                        ///< Of a row.
inline constexpr std::string_view kColor = "color";                      ///< Of a row; white without one.
inline constexpr std::string_view kAlignment = "alignment";              ///< One of kAlignmentNames; else center.
inline constexpr std::string_view kRow = "vertical_position";            ///< Row::number, 0 for none.
}  // namespace keys

/// By Alignment.
inline constexpr std::array<std::string_view, 4> kAlignmentNames{"unchanged", "left", "center", "right"};

/// The rows that a dictionary places lines on: 1 to this one.
inline constexpr std::uint64_t kLastValueRow = kTallTeletextRows;

/// What of a cue is written.
struct ValueOptions {
    bool placesRows = true;            ///< Row::number; without it a reader has the last row on row 11.
    std::uint64_t findingsOffset = 0;  ///< What findings have as their offset.
};

/// The dictionary of a cue: times in seconds and as time codes to the nearest millisecond. A row has one colour, that of
/// its first run, and no other style: `findings` is told what is lost (SubtitleValueStylesLost,
/// SubtitleValueAnchorLost, SubtitleValueColorWrong, SubtitleValueAlignmentWrong, SubtitleValueRowWrong,
/// SubtitleValueTimeRounded) and what cueOf() would refuse (SubtitleValueTimeWrong, SubtitleValueEndNotLater,
/// SubtitleValueNoLines). A time that is none is not written. What has no finding is read back by cueOf() as an equal
/// cue, but for the terms of its times and for runs that look alike, which become one.
[[nodiscard]] QLX_EXPORT Dictionary dictionaryOf(const Cue& cue, const ValueOptions& options = {},
                                                 FindingSink* findings = nullptr);

/// The cue of a dictionary.
///
/// Times are a number of seconds from 0 on, or a text that is such a number; where there are none, a time code as
/// parseSrtTime() reads it. They come in milliseconds, else in the first of 1/120000, 1/90000, 1/1000000 and
/// 1/1000000000 of a second that has them, or else rounded to the last one. A colour is one of the forms that the tag
/// `<font>` of SubRip files has, and a row without one is white; a row without a place stands on row 11 when it is the
/// last one, and else above the one that follows it. Other keys are passed over.
///
/// Fails with SubtitleValueNotDictionary; SubtitleValueNoLines when there is no array of lines, or an empty one;
/// SubtitleValueTimeMissing, SubtitleValueTimeWrong or SubtitleValueEndNotLater. Lines that are none are left out with a
/// finding (SubtitleValueLineWrong, SubtitleValueTextMissing), and other values that are none are findings.
/// @param offset What findings have as their offset: the place of the value among others.
[[nodiscard]] QLX_EXPORT Result<Cue> cueOf(const Value& value, FindingSink* findings = nullptr,
                                           std::uint64_t offset = 0);

/// The name of the form that modelOf() gives, which documents of such cues say under `schema`.
inline constexpr std::string_view kCueSchema = "qlxcc/subtitles/1";

/// All of a cue, so that cueOfModel() gives an equal one:
///
///     const qlx::Dictionary model = qlx::subtitles::modelOf(cue);
///     const qlx::Result<qlx::subtitles::Cue> again = qlx::subtitles::cueOfModel(model);
///
/// `{ "number": 1, "id": "intro", "language": "en", "region": "r1", "screenRows": 15, "screenColumns": 32,
/// "start": { "value": 1000, "timescale": 1000, "seconds": 1.0 }, "end": {..},
/// "box": { "left": 10, "top": 10, "width": 80, "height": 80, "edge": "bottom" },
/// "properties": [ { "name": "vtt.size", "value": "50%" } ],
/// "rows": [ { "number": 14, "column": 5, "anchor": 2, "alignment": "center",
/// "runs": [ { "text": "Hello", "color": "#ffff00", "background": "#0000ff", "bold": true, "italic": true,
/// "underline": true, "flash": true, "from": {..}, "properties": [..] } ] } ] }`
///
/// What is 0, empty, false or none is not written. Times that are not valid are not written either, and cueOfModel()
/// refuses a cue without them.
[[nodiscard]] QLX_EXPORT Dictionary modelOf(const Cue& cue);

/// Whether a value is of the form that modelOf() gives, and not of that of dictionaryOf(): it has rows or a start, and no
/// `text_lines`.
[[nodiscard]] QLX_EXPORT bool isModel(const Value& value) noexcept;

/// The cue of such a dictionary. What is missing is as in a new cue, row or run. A time is `value` and `timescale`, or
/// else `seconds`; a colour is a text that colorNamed() takes, and one that screens do not have becomes the nearest with
/// the property properties::kColor beside it.
///
/// Fails with SubtitleValueNotDictionary, SubtitleValueTimeMissing, or SubtitleValueEndNotLater where the end is before the
/// start. Values that are none are findings (SubtitleValueFieldWrong), and so are keys that mean nothing
/// (SubtitleValueKeyUnknown).
/// @param offset What findings have as their offset: the place of the value among others.
[[nodiscard]] QLX_EXPORT Result<Cue> cueOfModel(const Value& value, FindingSink* findings = nullptr,
                                                std::uint64_t offset = 0);

}  // namespace qlx::subtitles

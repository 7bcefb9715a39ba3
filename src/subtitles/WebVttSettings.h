// The settings of WebVTT cues (W3C WebVTT, 6.3), and the places that they give.
#pragma once

#include <qlx/base/finding.h>
#include <qlx/subtitles/cue.h>

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qlx::subtitles {

/// White space within a line.
inline constexpr std::string_view kWebVttBlanks = " \t\f";

/// Regions by their names.
using WebVttRegions = std::map<std::string, Box, std::less<>>;

/// Where settings put the rows of a cue.
struct PlaceOfSettings {
    std::uint8_t anchor = 0;
    Alignment alignment = Alignment::Center;
};

/// Takes the settings behind the times of a cue into its properties and region.
/// @param regions Those that there are.
/// @param report Gets a code and the size of a setting or name.
PlaceOfSettings takeSettings(std::string_view settings, const WebVttRegions& regions, Cue& cue,
                             const std::function<void(FindingCode, std::int64_t)>& report);

/// A number from 0 to 100 and `%`; none for any other text.
[[nodiscard]] std::optional<double> percentIn(std::string_view text) noexcept;

/// The language that a line of a file's head says, `Language: en`; empty for any other line. Browsers pass over all of
/// them; players of streams take it.
[[nodiscard]] std::string_view languageOfHead(std::string_view line) noexcept;

/// Adds the region of a block (W3C WebVTT, 6.2), with the names that it says, `id:fred`. A setting that is none counts for
/// nothing.
void takeRegion(std::string_view block, WebVttRegions& regions);

/// The box of a cue whose settings are its properties; none where they say nothing of one, or where it is vertical.
[[nodiscard]] std::optional<Box> boxOfSettings(const Cue& cue, Alignment alignment, const WebVttRegions& regions);

/// A line that is counted from below is that of the first row: the box goes down to the last one, whose rows are known.
void takeRowsBelow(Cue& cue) noexcept;

/// Appends settings that put a cue where a box is, each with a space in front of it.
void appendBox(const Box& box, Alignment alignment, std::string& text);

/// Whether a text may be the value of a setting: what white space cuts or a line of times has may not.
[[nodiscard]] bool isSettingValue(std::string_view text) noexcept;

/// Appends the settings of a cue whose values may be some, each with a space in front of it: those that are its
/// properties, or else what the place of its first row is.
void appendSettings(const Cue& cue, std::string& text);

}  // namespace qlx::subtitles

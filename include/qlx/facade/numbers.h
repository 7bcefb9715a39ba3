// The numbers that the fixed operations take and give, by name: subtitle modes, colours, alignments, places of a block
// of lines, and splice types. Their signatures keep integers.
//
//     line.setTextColor(qlx::facade::numberOf(qlx::facade::TextColor::Yellow));
//     line.setAlignment(qlx::facade::numberOf(qlx::subtitles::Alignment::Center));
#pragma once

#include <qlx/scte/scte104_operations.h>
#include <qlx/subtitles/cue.h>

#include <cstdint>
#include <type_traits>

namespace qlx::facade {

/// What subtitles are played out as: `subtitleMode` of QLXSubtitlesPacketizer, QLXSubtitleRecord and QLXSRTFileReader.
enum class SubtitleMode : std::int32_t {
    None = 0,      ///< A record of no mode; a packetizer gives nothing.
    Cea608 = 1,    ///< CEA-608 captions.
    Teletext = 2,  ///< OP-47 teletext.
};

/// `textColor` of QLXSubtitleTextLine: teletext's codes for letters of a colour (ETSI EN 300 706, clause 12.2), which
/// have no black.
enum class TextColor : std::int32_t {
    Red = 1,
    Green = 2,
    Yellow = 3,
    Blue = 4,
    Magenta = 5,
    Cyan = 6,
    White = 7,
};

/// `positioningType` of QLXSubtitleTextLine: the digit of an `{\anN}` tag, laid out as a numeric keypad.
enum class PositioningType : std::int32_t {
    None = 0,  ///< There was no tag: centred at the bottom.
    BottomLeft = 1,
    Bottom = 2,
    BottomRight = 3,
    MiddleLeft = 4,
    Middle = 5,
    MiddleRight = 6,
    TopLeft = 7,
    Top = 8,
    TopRight = 9,
};

// `alignment` of QLXSubtitleTextLine has the numbers of qlx::subtitles::Alignment, and `spliceType` of QLXSCTEUtilities
// and QLXSCTEOperation those of qlx::scte::SpliceInsertType.

/// Whether the fixed operations have numbers of such an enumeration.
template <class Enumeration>
inline constexpr bool kHasFixedNumbers =
    std::is_same_v<Enumeration, SubtitleMode> || std::is_same_v<Enumeration, TextColor> ||
    std::is_same_v<Enumeration, PositioningType> || std::is_same_v<Enumeration, subtitles::Alignment> ||
    std::is_same_v<Enumeration, scte::SpliceInsertType>;

/// The number of a name, as the fixed operations take it.
template <class Enumeration>
requires kHasFixedNumbers<Enumeration>
[[nodiscard]] constexpr std::int32_t numberOf(Enumeration name) noexcept {
    return static_cast<std::int32_t>(name);
}

}  // namespace qlx::facade

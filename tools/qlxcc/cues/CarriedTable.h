// What each format of cues can say, by hand from the standards: what `convert --report` says that a format does not
// carry, and what the manual prints.
//
// SubRip has no standard: what its receivers read. WebVTT: W3C WebVTT, 4.2.2 (spans), 4.3 (regions), 4.4 (settings), 5
// (colours of classes). EBU STL: EBU Tech 3264, 5.3 (the codes of a text field, VP, JC). CEA-608: CTA-608-E, 6.2
// (background, black letters), and 47 CFR 79.101 (h) (mid-row codes, flash). CEA-708: CTA-708-E (pens and windows), and
// 47 CFR 79.102. Teletext: ETSI EN 300 706, 12.2 (spacing attributes of level 1). TTML: W3C IMSC 1.1, 6 (what the text
// profile has) and 8.4; EBU Tech 3380, whose text decoration is underline alone, and which has no ruby. JSON says all that
// a cue has.
//
// A format may be able to say more than what is written of it: style sheets of WebVTT have fonts and strike-out too, and
// colours, which `--style-sheet` writes; EBU STL has columns where nothing aligns its rows (justification code 0), and
// cumulative sets for rows that appear later; CEA-708 has windows, whose size is that of their text here, eight fonts, and
// marks what names a speaker; TTML has agents, which nobody shows; teletext has looks at higher levels. There is no +
// where `convert` does not write it unasked. A box of WebVTT has an edge and a width, and goes on to the other edge.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace qlx::tool {

/// What cues may have besides text and times.
enum class CueFeature : std::uint8_t {
    Bold,
    Italic,
    Underline,
    StrikeOut,
    Flash,
    Colors,
    MoreColors,
    Transparency,
    Background,
    Font,
    Rows,
    Sides,
    Columns,
    Box,
    Region,
    Name,
    Language,
    InnerTimes,
    Voices,
    Ruby,
    Others,
};

/// What cues are written as.
enum class CueTarget : std::uint8_t { SubRip, WebVtt, Stl, Cea608, Cea708, Teletext, Imsc, EbuTtD, Json };

inline constexpr std::array<std::string_view, 9> kTargetNames{"SRT",      "WebVTT", "EBU STL",  "CEA-608", "CEA-708",
                                                              "teletext", "IMSC",   "EBU-TT-D", "JSON"};

struct CarriedRow {
    CueFeature feature;
    std::string_view name;     ///< `background`
    std::string_view targets;  ///< A character for each of CueTarget: `+` where it is carried.
};

// clang-format off
inline constexpr CarriedRow kCarriedTable[] = {
    //                                               SRT, WebVTT, STL, 608, 708, teletext, IMSC, EBU-TT-D, JSON
    {CueFeature::Bold,       "bold",                         "++----+++"},
    {CueFeature::Italic,     "italics",                      "+++++-+++"},
    {CueFeature::Underline,  "underline",                    "+++++-+++"},
    {CueFeature::StrikeOut,  "strike-out",                   "+-----+-+"},
    {CueFeature::Flash,      "flash",                        "--++++--+"},
    {CueFeature::Colors,     "eight colours",                "+++++++++"},
    {CueFeature::MoreColors, "more colours",                 "+---+-+++"},
    {CueFeature::Transparency, "transparency",               "------+++"},
    {CueFeature::Background, "background",                   "-++++++++"},
    {CueFeature::Font,       "font",                         "+-----+++"},
    {CueFeature::Rows,       "upper, middle or lower rows",  "+++++++++"},
    {CueFeature::Sides,      "left, centre or right",        "+++++++++"},
    {CueFeature::Columns,    "columns",                      "-+-++++++"},
    {CueFeature::Box,        "box",                          "-+----+++"},
    {CueFeature::Region,     "region",                       "-+----+++"},
    {CueFeature::Name,       "name of the cue",              "-+----+++"},
    {CueFeature::Language,   "language of the cue",          "-+----+++"},
    {CueFeature::InnerTimes, "times inside the cue",         "-+----+++"},
    {CueFeature::Voices,     "voices",                       "-+------+"},
    {CueFeature::Ruby,       "ruby",                         "-+----+-+"},
    {CueFeature::Others,     "what another format adds",     "--------+"},
};
// clang-format on

/// Whether a format carries a feature.
[[nodiscard]] constexpr bool isCarried(const CarriedRow& row, CueTarget target) noexcept {
    return row.targets[static_cast<std::size_t>(target)] == '+';
}

}  // namespace qlx::tool

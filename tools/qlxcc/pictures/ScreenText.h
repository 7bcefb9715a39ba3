// Screens as text: for the terminal, with colours where it has them, and as runs of text for other programs.
#pragma once

#include <QLXClosedCaptionsUtilities/platform/Value.h>
#include <qlx/screen/screen.h>
#include <qlx/teletext/sets.h>

#include <cstddef>
#include <span>
#include <string>
#include <vector>

namespace qlx::tool {

/// The visible text of a row, without the spaces at its end.
/// @param keepsPlace Spaces stand for what is in front of the text, so that rows stand below each other as on a screen.
/// @param inColours With the codes of ECMA-48 for colours, italics and underlines, and reset at the end.
[[nodiscard]] std::string rowText(std::span<const screen::Cell> row, bool keepsPlace, bool inColours);

/// A line for each row with text: its number and its text in its place, in the order in which it is read.
[[nodiscard]] std::vector<std::string> screenLines(const screen::Screen& screen, bool inColours,
                                                   const teletext::CharacterSet& set = {});

/// For each row with text `{"row":22,"column":13,"doubleHeight":true,"text":"..","runs":[{"text":"..","color":"white",
/// "background":"black"}]}`, with `italic`, `underline` and `flash` in the runs that have them, and `colorOpacity`
/// (`translucent`, `transparent`) and `backgroundOpacity` (these, or `flash`) in those that are not solid. Texts are in the
/// order in which they are read.
[[nodiscard]] Array screenRows(const screen::Screen& screen, const teletext::CharacterSet& set = {});

}  // namespace qlx::tool

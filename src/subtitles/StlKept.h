// Blocks of an EBU STL file (EBU Tech 3264) that are no subtitles, and the groups of subtitles, as properties of cues.
#pragma once

#include <qlx/subtitles/cue.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace qlx::subtitles {

/// A comment, or a block of user data.
struct StlKept {
    bool isComment = false;
    bool isBehind = false;            ///< It stands behind the blocks of its cue, not in front of them.
    std::uint8_t table = 0;           ///< Comments: the character code table of their text.
    std::int64_t in = 0;              ///< Comments: milliseconds from the cue's start to the time code in.
    std::int64_t out = 0;             ///< The same of the time code out.
    std::vector<std::uint8_t> bytes;  ///< Whole blocks.
};

/// `stl.comment` with the value `before 0 -1200 800 00...`: place, table, in, out, bytes; `stl.userdata` with the value
/// `behind 00...`.
[[nodiscard]] Property propertyOf(const StlKept& kept);

/// The same of a property; none for any other one.
[[nodiscard]] std::optional<StlKept> stlKeptOf(const Property& property);

/// `stl.group` with its number.
[[nodiscard]] Property propertyOfGroup(std::uint8_t group);

/// The same of a property; none for any other one.
[[nodiscard]] std::optional<std::uint8_t> stlGroupOf(const Property& property) noexcept;

}  // namespace qlx::subtitles

// The JSON text of a frame, read. The JSON library is included by this module's source alone.
#pragma once

#include <qlx/base/finding.h>
#include <qlx/streams/frame.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string_view>

namespace qlx::streams::detail {

/// Arrays and objects may stand in each other this deep, far more than a frame needs.
inline constexpr std::size_t kDeepestJson = 64;

/// The greatest numbers of a frame in such a text; times may be as far in front of 0 as behind it.
inline constexpr std::uint64_t kGreatestJsonFrame = std::numeric_limits<std::uint32_t>::max();
inline constexpr std::int64_t kGreatestJsonTime = std::numeric_limits<std::int64_t>::max() / 2;
inline constexpr std::uint64_t kGreatestJsonTimescale = 1'000'000'000;
inline constexpr std::uint64_t kGreatestJsonWord = 65'535;  ///< Of a line, and of a place on it.

/// Reads a frame as appendJsonLine() writes it. A JsonlNoFrame that is a Remark is of a list of splices.
/// @return What is wrong with the text, without its place; none when all is well.
[[nodiscard]] std::optional<Finding> readJsonFrame(std::string_view text, Frame& frame);

}  // namespace qlx::streams::detail

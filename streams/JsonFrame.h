// The JSON text of a frame, read. The JSON library is included by this module's source alone.
#pragma once

#include <qlx/base/finding.h>
#include <qlx/streams/frame.h>

#include <optional>
#include <string_view>

namespace qlx::streams::detail {

/// Arrays and objects may stand in each other this deep, far more than a frame needs.
inline constexpr std::size_t kDeepestJson = 64;

/// Reads a frame as appendJsonLine() writes it.
/// @return What is wrong with the text, without its place; none when all is well.
[[nodiscard]] std::optional<Finding> readJsonFrame(std::string_view text, Frame& frame);

}  // namespace qlx::streams::detail

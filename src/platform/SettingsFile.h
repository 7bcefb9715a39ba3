// The file in which settings are kept: a line a setting, and whatever else its owner has written into it.
#pragma once

#include <QLXClosedCaptionsUtilities/platform/Value.h>

#include <optional>
#include <set>
#include <string>
#include <string_view>

namespace qlx {

/// The settings in the text of a file; lines without an equals sign are passed over.
[[nodiscard]] Dictionary settingsIn(std::string_view text);

/// `text` with the lines of `settings` brought up to date, and without those of `erased`. A line whose setting holds
/// already stays as it is, and so does every other line; new ones come behind the one of the nearest smaller key where
/// the settings stand in order, else at the end.
[[nodiscard]] std::string textWithSettings(std::string_view text, const Dictionary& settings,
                                           const std::set<std::string, std::less<>>& erased);

/// The bytes of the regular file at `path`, those of an empty one where there is none; none when it cannot be read.
[[nodiscard]] std::optional<std::string> textOfFile(const std::string& path);

/// Replaces the file at `path`, or the one that a link there leads to, by one with this text and the same permissions,
/// once that has reached the disk. Gives 0, or the number of the system's error.
[[nodiscard]] int replaceFile(const std::string& path, std::string_view text);

}  // namespace qlx

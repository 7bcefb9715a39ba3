// Text files: how much of one is read, and the character encoding that it is in.
#pragma once

#include "io/InputFile.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace qlx::tool {

/// No subtitle file is longer than this; something else was named by mistake.
inline constexpr std::size_t kLongestSubtitleFile = std::size_t{64} * 1024 * 1024;

/// Whether texts can be read in the encoding called `name` (as iconv -l lists them).
[[nodiscard]] bool isKnownEncoding(const std::string& name);

/// Reads a whole file.
/// @throws Failure when it is longer than kLongestSubtitleFile: before anything is read where the size is known.
[[nodiscard]] std::string readWholeFile(InputFile& file);

/// The same in UTF-8, out of the encoding called `encoding`; the text must not be longer than kLongestSubtitleFile
/// either.
/// @throws Failure that names the first byte that `encoding` does not have, with its line and offset.
[[nodiscard]] std::string readEncodedFile(InputFile& file, const std::string& encoding);

/// @throws Failure that names the first byte that is not UTF-8, with its line and offset, and suggests an encoding.
void checkUTF8(const std::string& name, std::string_view text);

}  // namespace qlx::tool

// EBU STL files read whole.
#pragma once

#include <qlx/base/finding.h>
#include <qlx/subtitles/stl_reader.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace qlx::tool {

/// @throws Failure when it is not EBU STL with a frame rate that is known, or ends inside of its header.
[[nodiscard]] subtitles::StlReader openStl(const std::string& name, std::string_view bytes, FindingSink* findings,
                                           const subtitles::StlReadOptions& options = {});

/// The block of an offset in the file, counted from 1; 0 for the header.
[[nodiscard]] std::uint64_t stlBlockAt(std::uint64_t offset) noexcept;

/// What a finding of the reader is called, in the words of the tool.
[[nodiscard]] std::string stlFindingInWords(const Finding& finding);

/// Whether a finding is about a field of the header that nobody filled in.
[[nodiscard]] bool isOfBlankField(const Finding& finding) noexcept;

}  // namespace qlx::tool

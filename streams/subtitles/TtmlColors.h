// The colours of a TTML document that is written.
#pragma once

#include <qlx/subtitles/cue.h>

#include <string>

namespace qlx::streams::detail {

/// The colour of the characters of a run, with an alpha where they are seen through; empty: white, as what says nothing is.
[[nodiscard]] std::string colorOf(const subtitles::Run& run);

/// The colour behind a run as it was read, where it is another one than the plain ones, or seen through; null: it is not
/// that of the run.
[[nodiscard]] const std::string* ownBackground(const subtitles::Run& run) noexcept;

/// The colour behind a run that has one.
/// @param own That was read; null: there is none.
[[nodiscard]] std::string backgroundOf(const subtitles::Run& run, const std::string* own, bool isEbu);

/// Whether these colours say a property.
/// @param background That was read, and is written.
[[nodiscard]] bool isOfColors(const subtitles::Run& run, const subtitles::Property& property,
                              const std::string* background) noexcept;

}  // namespace qlx::streams::detail

// The spans in which runs are written as WebVTT (W3C WebVTT, 4.2.2).
#pragma once

#include <qlx/subtitles/cue.h>

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace qlx::subtitles {

class WebVttStyles;

/// A span that is open: its tag's name and all of the tag.
struct OpenSpan {
    std::string_view name;
    std::string tag;

    friend bool operator==(const OpenSpan&, const OpenSpan&) = default;
};

/// What the text of a cue stands in.
struct Surroundings {
    std::string_view language;              ///< Of the cue, unless it is that of the file.
    std::span<const std::uint32_t> colors;  ///< That the file defines.
    const WebVttStyles* styles = nullptr;   ///< Of the file; null: it has none.
    std::string_view name;                  ///< Of the cue, as it is written.
};

/// The spans in which a run stands, from the outermost on, and what of its look they do not have.
struct RunSpans {
    std::vector<OpenSpan> spans;
    bool isStyleLost = false;
    bool isColorLost = false;
};

/// The spans of a run.
[[nodiscard]] RunSpans spansOf(const Run& run, const Surroundings& around);

/// Whether a property of a run is written as it is.
[[nodiscard]] bool isWrittenAsSpan(const Property& property) noexcept;

/// Appends text with its entities.
void appendEscaped(std::string& text, std::string_view more);

}  // namespace qlx::subtitles

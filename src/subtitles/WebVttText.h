// The text of WebVTT cues: spans, times, entities (W3C WebVTT, 6.4).
#pragma once

#include "subtitles/WebVttColors.h"
#include "subtitles/WebVttStyles.h"

#include <qlx/base/finding.h>
#include <qlx/subtitles/cue.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qlx::subtitles {

/// Makes the runs of a cue's rows. Findings have the row's line.
class WebVttText {
public:
    explicit WebVttText(FindingSink* findings) noexcept : _findings(findings) {}

    /// Takes a style sheet in front of the first cue.
    /// @return What of it is not applied.
    WebVttStyles::Rest takeSheet(std::string_view block);

    /// Begins a cue.
    /// @param name As the file gives it.
    void begin(std::string_view name);

    /// Appends the row of a line to a cue. Spans go on in the next one; so does a tag that the line does not end, and the
    /// row with it: what ends a line is a blank within a tag.
    void takeRow(std::string_view text, std::uint64_t line, Cue& cue);

    /// Bytes of the names of classes, voices and languages that the runs of the cue have.
    [[nodiscard]] std::size_t bytesOfNames() const noexcept { return _bytesOfNames; }

    /// Ends the cue.
    void end(std::uint64_t line, const Cue& cue);

private:
    enum class Kind : std::uint8_t { Class, Italic, Bold, Underline, Voice, Language, Ruby, RubyText };

    struct Span {
        Kind kind = Kind::Class;
        std::string classes;     ///< Without the colours.
        std::string annotation;  ///< Of a voice or language.
        std::optional<std::uint32_t> foreground;
        std::optional<std::uint32_t> background;
        WebVttLook look;  ///< Of style sheets.
    };

    [[nodiscard]] std::size_t takeTag(std::string_view text, const Cue& cue);
    [[nodiscard]] bool takeTime(std::string_view inside, const Cue& cue);
    [[nodiscard]] bool openSpan(std::string_view inside);
    [[nodiscard]] bool closeSpan(std::string_view name);
    void takeClasses(std::string_view classes, Span& span) const;
    [[nodiscard]] WebVttLook lookOf(const Span& span, std::string_view classes) const;
    void append(std::string_view text, Cue& cue);
    void beginRun(Row& row);
    void report(FindingCode code, Severity severity, std::int64_t first);

    FindingSink* _findings;
    std::uint64_t _line = 0;
    std::vector<Span> _open;
    std::string _tag;  ///< That no line has ended.
    MediaTime _from;
    std::int64_t _lastTime = -1;
    bool _isChanged = false;
    std::size_t _bytesOfNames = 0;
    std::vector<std::uint32_t> _colors;  ///< That the file defines, ascending.
    WebVttStyles _styles;
    WebVttLook _lookOfCue;
};

}  // namespace qlx::subtitles

// The markup of the rows of a SubRip cue, over all of them.
#pragma once

#include "subtitles/BraceCodes.h"

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
class SubRipMarkup {
public:
    explicit SubRipMarkup(FindingSink* findings) noexcept : _findings(findings) {}

    /// Begins a cue.
    void begin();

    /// Appends the row of a line to a cue, or several where the line has ends of rows in it.
    void takeRow(std::string_view text, std::uint64_t line, Cue& cue);

    /// Ends the cue: places its rows.
    void end(std::uint64_t line, Cue& cue);

private:
    enum class Kind : std::uint8_t { Bold, Italic, Underline, StrikeOut, Font };

    /// A tag that is open.
    struct Tag {
        Kind kind = Kind::Bold;
        std::optional<std::uint32_t> color;
        std::string face;
        std::string size;
    };

    /// What codes in braces say; none: what the tags say.
    struct Codes {
        std::optional<bool> isBold;
        std::optional<bool> isItalic;
        std::optional<bool> isUnderlined;
        std::optional<bool> isStruckOut;
        std::optional<std::uint32_t> color;
    };

    [[nodiscard]] std::size_t takeTag(std::string_view text, Cue& cue);
    [[nodiscard]] bool openTag(std::string_view name, std::string_view attributes, std::size_t size);
    void closeTag(Kind kind, std::size_t size);
    void takeFont(std::string_view attributes, Tag& tag);
    [[nodiscard]] std::size_t takeCodes(std::string_view text);
    void takeCode(std::string_view code);
    [[nodiscard]] bool takeAnchor(std::string_view digits, bool isOld);
    [[nodiscard]] std::size_t takeEntity(std::string_view text, Cue& cue);
    void keep(std::string_view code);
    void append(std::string_view text, Cue& cue);
    void beginRun(Row& row);
    void finishRow(Cue& cue);
    void report(FindingCode code, Severity severity, std::int64_t first, std::int64_t second = 0);

    FindingSink* _findings;
    std::uint64_t _line = 0;
    std::int64_t _entities = 0;
    std::vector<Tag> _open;
    Codes _codes;
    std::string _kept;  ///< Codes that stand in front of the next run, as one or several pairs of braces hold them.
    bool _isKeptOpen = false;  ///< The last one would take in what follows it.
    bool _isChanged = false;   ///< The next text may look otherwise than the text in front of it.
    std::uint8_t _anchor = 0;
    std::optional<CodePosition> _position;
};

/// Whether text of a row, written as it stands, is read as something else, but for that it has an arrow as times have.
/// @param hasTags Whether tags stand around it, or other text.
[[nodiscard]] bool looksLikeSubRipMarkup(std::string_view text, bool hasTags) noexcept;

}  // namespace qlx::subtitles

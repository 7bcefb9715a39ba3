// The text of an event of a SubStation Alpha file.
#pragma once

#include "subtitles/SsaStyles.h"

#include <qlx/base/finding.h>
#include <qlx/subtitles/cue.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace qlx::subtitles {

/// The size of the screen that coordinates are on.
struct SsaScreen {
    std::uint32_t width = 384;
    std::uint32_t height = 288;
};

/// Makes the rows of a cue.
class SsaText {
public:
    /// The style of a name; null when there is none.
    using StyleNamed = std::function<const SsaStyle*(std::string_view name)>;

    SsaText(FindingSink* findings, StyleNamed styleNamed) : _findings(findings), _styleNamed(std::move(styleNamed)) {}

    /// Fills a cue.
    /// @param line Of findings.
    /// @param endsSoftly `\n` ends a row, where no code says otherwise.
    /// @param mostRows No more are made.
    /// @return False when it has more rows.
    [[nodiscard]] bool take(std::string_view text, const SsaStyle& style, const SsaScreen& screen, bool endsSoftly,
                            std::uint64_t mostRows, std::uint64_t line, Cue& cue);

    /// Whether the cue has any text.
    [[nodiscard]] bool hasText() const noexcept { return _hasText; }

private:
    struct Position {
        double x = 0;
        double y = 0;
    };

    void takeMarkup(std::string_view& text, Cue& cue);
    void takeBraces(std::string_view inside);
    void takeCode(std::string_view code);
    [[nodiscard]] bool takeStyleCode(std::string_view code);
    [[nodiscard]] bool takeColorCode(std::string_view code);
    [[nodiscard]] bool takePlaceCode(std::string_view code);
    void takePosition(std::string_view code);
    void append(std::string_view text, Cue& cue);
    void beginRun(Row& row);
    void finishRow(Cue& cue);
    void place(const SsaScreen& screen, Cue& cue) const;
    void report(FindingCode code, Severity severity, std::int64_t first) const;

    FindingSink* _findings;
    StyleNamed _styleNamed;
    SsaStyle _own;      ///< Of the event.
    SsaStyle _current;  ///< As codes have changed it.
    std::string _kept;  ///< Codes that stand in front of the next run.
    std::string _room;
    std::uint64_t _line = 0;
    std::uint8_t _anchor = 0;
    std::optional<Position> _position;
    std::string _positionText;  ///< Its two numbers, with a comma.
    bool _endsSoftly = false;
    bool _isDrawing = false;
    bool _isChanged = false;
    bool _hasText = false;
    bool _hasBraces = false;  ///< A closing one may be in what is left of the text.
    std::int64_t _drawn = 0;
    std::int64_t _syllables = 0;
    std::int64_t _comments = 0;
};

}  // namespace qlx::subtitles

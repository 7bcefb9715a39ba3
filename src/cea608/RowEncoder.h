// The pairs of the rows of a caption.
#pragma once

#include <qlx/cea608/caption.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace qlx::cea608 {

/// A part of a caption's row that becomes a row on the screen.
struct Piece {
    std::span<const screen::Cell> cells;  ///< At most kColumns; the first one is visible.
    std::uint8_t row = kRows;             ///< 1 to 15.
    std::uint8_t column = 0;              ///< All cells fit behind it.
    std::size_t namedRow = kRows;         ///< Where findings say that it stands.
    std::size_t namedColumn = 0;          ///< The same, not in front of `column`.
};

/// Puts codes and characters into pairs.
class PairBuilder {
public:
    PairBuilder(std::vector<CodePair>& pairs, Channel channel, bool doublesCodes)
        : _pairs(pairs), _channel(channel), _doublesCodes(doublesCodes) {}

    /// A code of the builder's channel; its meaning has a pair. `isJoined`: behind the character that it replaces.
    void code(Code code, bool isJoined = false);
    /// One of the miscellaneous ones.
    void control(Control control) { code(controlCode(control, _channel.channel, _channel.field == 2)); }
    /// A code of the basic set.
    void basic(std::uint8_t code);
    /// Any character that one of the sets has.
    void character(const CharacterCode& character);
    /// What follows begins a pair.
    void finishPair();

private:
    std::vector<CodePair>& _pairs;
    Channel _channel;
    bool _doublesCodes;
    bool _isHalf = false;  ///< The last pair has room for another character.
};

/// Most codes from one foreground to another: a colour, italics, flash.
inline constexpr std::size_t kForegroundCodes = 3;

/// Colours and the like of a character.
struct Look {
    screen::Color foreground = screen::Color::White;
    screen::Color background = screen::Color::Black;
    screen::Opacity opacity = screen::Opacity::Solid;
    bool isItalic = false;
    bool isUnderlined = false;
    bool isFlashing = false;

    [[nodiscard]] bool hasBackgroundOf(const Look& other) const noexcept {
        return background == other.background && opacity == other.opacity;
    }
    /// Whether the codes of colours, italics and underline say the same.
    [[nodiscard]] bool hasLettersOf(const Look& other) const noexcept {
        return foreground == other.foreground && isItalic == other.isItalic && isUnderlined == other.isUnderlined;
    }
};

/// Writes pieces, and says what of them is shown in another way than asked for.
class RowEncoder {
public:
    RowEncoder(PairBuilder& out, FindingSink* findings, std::uint64_t offset)
        : _out(out), _findings(findings), _offset(offset) {}

    void encode(const Piece& piece);

private:
    /// How the spaces in front of a letter become its look.
    struct Plan {
        Look look;                                   ///< What comes of it.
        std::array<Code, kForegroundCodes> codes{};  ///< Those of the foreground.
        std::size_t codeCount = 0;                   ///< How many there are.
        std::uint32_t backgrounds = 0;               ///< Bits of the columns whose space is a background code.
        std::size_t start = 0;                       ///< Column of the first space.
        bool isExact = true;                         ///< Each space has its own background, except for the last one.
    };

    /// Spaces, and the letter behind them.
    struct Word {
        std::size_t first = 0;   ///< Column of the first space.
        std::size_t letter = 0;  ///< Column of the letter.
        std::size_t free = 0;    ///< Columns in front of the first space that may be taken.
        bool hasLetter = false;  ///< Otherwise the text ends in front of `letter`.
    };

    /// Columns that are not as asked for.
    struct Run {
        FindingCode code = FindingCode::None;
        std::size_t begin = 0;
        std::size_t end = 0;
    };

    void encodeText(std::size_t begin, std::size_t end, std::size_t free);
    void putPreamble(std::size_t begin, std::size_t start);
    void putSpaces(const Word& word, const Plan& plan);
    void putLetter(std::size_t column);
    [[nodiscard]] Plan planOf(const Word& word) const;
    [[nodiscard]] std::optional<Plan> tryPlan(const Word& word, const Look& wanted, bool isExact) const;
    [[nodiscard]] const screen::Cell& cell(std::size_t column) const noexcept {
        return _piece.cells[column - _piece.column];
    }
    [[nodiscard]] Look lookAt(std::size_t column) const noexcept;
    void reportColors(std::size_t column);
    void reportSpace(std::size_t column, const Look& wanted, const Look& before);
    void reportLetter(std::size_t column, const Look& wanted);
    void report(std::size_t run, FindingCode code, std::size_t column);
    void flush(Run& run);
    void add(FindingCode code, std::int64_t first, std::int64_t second) const;

    PairBuilder& _out;
    FindingSink* _findings;
    std::uint64_t _offset;
    Piece _piece;
    Look _look;
    std::array<Run, 8> _runs{};
};

/// Whether a cell is more than a place through which the picture shows.
[[nodiscard]] constexpr bool isShown(const screen::Cell& cell) noexcept {
    return cell.isVisible && cell.character != kTransparentSpace;
}

/// How many rows a roll-up caption has.
[[nodiscard]] constexpr std::size_t rollUpRowsOf(std::uint8_t rows) noexcept {
    return std::clamp<std::size_t>(rows, 2, kGreatestCaptionRows);
}

/// The colour of the eight that is nearest.
[[nodiscard]] constexpr screen::Color basicColor(screen::Color color) noexcept {
    return screen::kBasicColors[screen::basicIndex(color)];
}

}  // namespace qlx::cea608

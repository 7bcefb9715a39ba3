// A window of a caption service (CTA-708): its text, its pen, and where it stands on the screen.
//
//     qlx::cea708::Window window;
//     window.define({.isVisible = true, .rows = 2, .columns = 32}, qlx::cea708::AspectRatio::Wide, &findings);
//     for (const char32_t character : U"Hello") { window.put(character, &findings); }
//     qlx::screen::Screen screen = receiver.screen();   // of a receiver at 16:9
//     window.draw(screen);
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <qlx/base/finding.h>
#include <qlx/cea708/commands.h>
#include <qlx/screen/screen.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace qlx::cea708 {

inline constexpr std::size_t kRows = 15;             ///< Rows of the screen, and the most that a window has.
inline constexpr std::size_t kWideColumns = 42;      ///< The same for columns, at 16:9.
inline constexpr std::size_t kStandardColumns = 32;  ///< The same at 4:3.

/// The shape of the picture, which says how many columns there are.
enum class AspectRatio : std::uint8_t { Wide, Standard };

/// Columns of the screen.
[[nodiscard]] constexpr std::size_t columnsOf(AspectRatio ratio) noexcept {
    return ratio == AspectRatio::Wide ? kWideColumns : kStandardColumns;
}

/// The row and column of the screen at which a window begins, counted from 0.
struct WindowPlace {
    std::size_t row = 0;     ///< Below kRows.
    std::size_t column = 0;  ///< Below columnsOf().

    /// Whether all fields are equal.
    friend bool operator==(const WindowPlace&, const WindowPlace&) noexcept = default;
};

/// Where a window stands by its anchor. The grid of anchors has 75 lines, and 210 columns at 16:9 or 160 at 4:3; each
/// row and each column of the screen is five of them high or wide. A window that would reach beyond the screen is moved
/// into it.
/// @param findings Gets anchors that are too great and windows that are moved; may be null.
/// @param offset Of these findings.
[[nodiscard]] QLX_EXPORT WindowPlace placeOf(const DefineWindow& definition, AspectRatio ratio,
                                             FindingSink* findings = nullptr, std::uint64_t offset = 0);

/// A window, as the commands change it. A default-made one is not defined, and takes nothing. Its room is allocated
/// when it is defined, and kept.
///
/// Rows and columns are places of the window, whatever the direction of printing. A character stands at the pen, which
/// then goes on in that direction.
class Window {
public:
    /// Whether it has been defined, and not been deleted since.
    [[nodiscard]] bool isDefined() const noexcept { return _isDefined; }
    /// Whether it is shown.
    [[nodiscard]] bool isVisible() const noexcept { return _isDefined && _definition.isVisible; }
    /// Its definition, with its size as it is and its visibility as it is now.
    [[nodiscard]] const DefineWindow& definition() const noexcept { return _definition; }
    /// Its attributes.
    [[nodiscard]] const WindowAttributes& attributes() const noexcept { return _attributes; }
    /// Its pen.
    [[nodiscard]] const Pen& pen() const noexcept { return _pen; }
    /// Where the next character stands; behind the last place (or before the first) of a row that is full.
    [[nodiscard]] int penRow() const noexcept { return _row; }
    /// The same.
    [[nodiscard]] int penColumn() const noexcept { return _column; }
    /// Its place on the screen.
    [[nodiscard]] WindowPlace place() const noexcept { return _place; }
    /// Rows of the window; 0 where it is not defined.
    [[nodiscard]] std::size_t rows() const noexcept { return _isDefined ? _definition.rows : 0; }
    /// Columns of the window; the same.
    [[nodiscard]] std::size_t columns() const noexcept { return _isDefined ? _definition.columns : 0; }
    /// A row as it was written, justified to the left; `index` counts from 0 and is below rows(). Where there is no
    /// text a cell is not visible.
    [[nodiscard]] std::span<const screen::Cell> row(std::size_t index) const noexcept {
        return std::span(_cells).subspan(index * columns(), columns());
    }

    /// DFx. A window that is there already keeps its text, its pen and its attributes, unless a style is named; one
    /// that is new has the styles 1 where none is named. The size is made to fit the screen. The same definition once
    /// more, as it is sent for receivers that come later, changes nothing but the visibility.
    QLX_EXPORT void define(const DefineWindow& definition, AspectRatio ratio, FindingSink* findings = nullptr,
                           std::uint64_t offset = 0);
    /// DLW
    void remove() noexcept { _isDefined = false; }
    /// DSW, HDW, TGW
    void setVisible(bool isVisible) noexcept { _definition.isVisible = isVisible; }
    /// SWA. Another justification erases the text.
    QLX_EXPORT void setAttributes(const WindowAttributes& attributes);
    /// SPA and SPC.
    QLX_EXPORT void setPen(const Pen& pen) noexcept;
    /// SPL. A place outside of the window is the last one in it, with a finding.
    QLX_EXPORT void setPenLocation(PenLocation location, FindingSink* findings = nullptr, std::uint64_t offset = 0);
    /// A character. Where the row has no place left it goes to the next row with its word, if the window wraps words,
    /// or is left out with a finding.
    QLX_EXPORT void put(char32_t character, FindingSink* findings = nullptr, std::uint64_t offset = 0);
    /// CLW: takes the text away; the pen stays.
    QLX_EXPORT void erase() noexcept;
    /// BS
    QLX_EXPORT void backspace() noexcept;
    /// CR: to the beginning of the next row; where there is none, the rows are scrolled. Gives whether they were.
    QLX_EXPORT bool carriageReturn() noexcept;
    /// HCR
    QLX_EXPORT void horizontalCarriageReturn() noexcept;
    /// FF
    QLX_EXPORT void formFeed() noexcept;
    /// Something has come that ends a row of text: ETX, CR, any command but SPA, SPC, and SPL in the same row. A
    /// further character in a row of a visible window that is not justified to the left begins that row anew.
    void completeRow() noexcept {
        if (_row >= 0 && _row < static_cast<int>(kRows)) {
            _completeRows = static_cast<std::uint16_t>(_completeRows | 1U << static_cast<unsigned>(_row));
        }
    }

    /// Draws the window over what is on a screen of kRows rows and the columns of its ratio.
    QLX_EXPORT void draw(screen::Screen& screen) const;

private:
    [[nodiscard]] bool printsRows() const noexcept;
    [[nodiscard]] bool isInside(int row, int column) const noexcept;
    [[nodiscard]] screen::Cell& cell(int row, int column) noexcept;
    [[nodiscard]] std::span<screen::Cell> cellsOf(std::size_t row) noexcept;
    [[nodiscard]] std::vector<screen::Cell> resized(std::size_t rows, std::size_t columns) const;
    void goToStartOfRow() noexcept;
    void goToStart() noexcept;
    void eraseRow() noexcept;
    void beginCompleteRowAnew() noexcept;
    void wrapWord() noexcept;
    void scrollRows(bool isUp) noexcept;
    void scrollColumns(bool isLeft) noexcept;

    bool _isDefined = false;
    DefineWindow _definition;
    DefineWindow _received;  ///< The same as it was sent.
    WindowAttributes _attributes;
    Pen _pen;
    screen::Cell _penCell;  ///< What the pen writes, but for the character.
    WindowPlace _place;
    int _row = 0;
    int _column = 0;
    std::uint16_t _completeRows = 0;
    std::vector<screen::Cell> _cells;  ///< Row by row.
};

}  // namespace qlx::cea708

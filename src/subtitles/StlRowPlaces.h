// Where the rows of cues stand on the screen of an EBU STL file.
#pragma once

#include <qlx/subtitles/cue.h>
#include <qlx/subtitles/stl_writer.h>

#include <cstdint>
#include <span>
#include <vector>

namespace qlx::subtitles {

/// The places of the rows of a cue.
class StlRowPlaces {
public:
    /// As their numbers say, or where they have none of their own their anchor: that of the first one for all, unless each
    /// is as low as the one in front or lower. They go up as far as they must.
    /// @param cue Must outlive this.
    /// @param screenRows Of the screen.
    /// @param height Rows of the screen that one of text takes.
    StlRowPlaces(const Cue& cue, std::uint64_t screenRows, std::uint64_t height);

    /// The rows of the screen of those that have text, ascending; 0 for the others.
    [[nodiscard]] std::span<const std::uint64_t> rows() const noexcept { return _places; }

    /// Whether the rows of the screen are those that the cue itself names: they stay.
    [[nodiscard]] bool isFixed() const noexcept { return _isFixed; }

    /// Rows that are not fixed go to the next ones that are free while the cue is shown, if there are such:
    /// down from the top of the screen, else up.
    /// @param taken By the row of the screen; at 0 is none.
    void makeRoom(std::span<const StlRowTaken> taken, const StlRowTaken& shown) noexcept;

    /// The first row on which another cue stands while this one is shown; 0 for none.
    [[nodiscard]] std::uint64_t coveredRow(std::span<const StlRowTaken> taken, const StlRowTaken& shown) const noexcept;

    /// Takes the rows.
    void take(std::span<StlRowTaken> taken, const StlRowTaken& shown) const noexcept;

    /// Whether a number of the cue's own, or an anchor, is not the place of its row. What is as high on another screen is so
    /// within the height of a row.
    [[nodiscard]] bool areMoved() const noexcept;

    /// Rows that have no room on the screen.
    [[nodiscard]] std::int64_t offScreen() const noexcept;

private:
    /// Rows of the screen, from and to; 0 where there is no text.
    struct Extent {
        std::uint64_t first = 0;
        std::uint64_t last = 0;
    };

    [[nodiscard]] Extent extent() const noexcept;
    [[nodiscard]] std::uint64_t placeOf(std::uint64_t number) const noexcept;
    [[nodiscard]] std::uint64_t endOf(std::uint64_t place) const noexcept;
    [[nodiscard]] std::uint64_t rowsAbove(std::uint64_t size, std::uint8_t anchor) const noexcept;
    void moveUp() noexcept;
    void moveDown(std::uint64_t lowest) noexcept;
    void placeAtEdges() noexcept;

    const Cue& _cue;
    std::uint64_t _screen;
    std::uint64_t _height;
    bool _areNumbered;  ///< All rows that have text.
    bool _areAtEdges;  ///< None has a number, and they stand at several edges of the screen, those at the top in front.
    bool _isFixed;
    std::vector<std::uint64_t> _places;
};

}  // namespace qlx::subtitles

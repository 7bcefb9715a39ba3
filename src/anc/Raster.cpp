#include <qlx/anc/raster.h>

#include <array>
#include <cstddef>

namespace qlx::anc {

namespace {

struct Field {
    std::uint16_t firstBlanked;  ///< Where V becomes 1 in the timing references.
    std::uint16_t firstActive;   ///< Where it becomes 0.
    std::uint16_t lastActive;
};

struct Lines {
    std::uint16_t total;
    std::uint8_t fields;
    std::array<Field, 2> field;
};

constexpr std::array<Lines, 5> kLines{{
    {525, 2, {{{1, 20, 263}, {264, 283, 525}}}},
    {625, 2, {{{624, 23, 310}, {311, 336, 623}}}},
    {750, 1, {{{746, 26, 745}, {}}}},
    {1125, 2, {{{1124, 21, 560}, {561, 584, 1123}}}},
    {1125, 1, {{{1122, 42, 1121}, {}}}},
}};

const Lines& linesOf(Raster raster) noexcept {
    return kLines[static_cast<std::size_t>(raster)];
}

const Field* fieldOf(const Lines& lines, std::uint8_t field) noexcept {
    return field >= 1 && field <= lines.fields ? &lines.field[field - 1U] : nullptr;
}

/// Lines from `first` on up to `line`, which may be in the next frame.
std::uint32_t distance(const Lines& lines, std::uint32_t first, std::uint32_t line) noexcept {
    return line >= first ? line - first : line + lines.total - first;
}

}  // namespace

std::uint16_t totalLines(Raster raster) noexcept {
    return linesOf(raster).total;
}

std::uint8_t fieldCount(Raster raster) noexcept {
    return linesOf(raster).fields;
}

std::optional<LineRange> activeLines(Raster raster, std::uint8_t field) noexcept {
    const Field* const found = fieldOf(linesOf(raster), field);
    return found ? std::optional(LineRange{found->firstActive, found->lastActive}) : std::nullopt;
}

std::uint16_t blankingLines(Raster raster, std::uint8_t field) noexcept {
    const Lines& lines = linesOf(raster);
    const Field* const found = fieldOf(lines, field);
    return found ? static_cast<std::uint16_t>(distance(lines, found->firstBlanked, found->firstActive)) : 0;
}

std::optional<BlankingPlace> blankingPlace(Raster raster, std::uint32_t line) noexcept {
    const Lines& lines = linesOf(raster);
    if (line < 1 || line > lines.total) {
        return std::nullopt;
    }
    for (std::uint8_t field = 1; field <= lines.fields; ++field) {
        const std::uint32_t index = distance(lines, lines.field[field - 1U].firstBlanked, line);
        if (index < blankingLines(raster, field)) {
            return BlankingPlace{field, static_cast<std::uint16_t>(index)};
        }
    }
    return std::nullopt;
}

std::optional<std::uint16_t> blankingLine(Raster raster, BlankingPlace place) noexcept {
    if (place.index >= blankingLines(raster, place.field)) {
        return std::nullopt;
    }
    const Lines& lines = linesOf(raster);
    const std::uint32_t line = std::uint32_t{lines.field[place.field - 1U].firstBlanked} + place.index;
    return static_cast<std::uint16_t>(line > lines.total ? line - lines.total : line);
}

}  // namespace qlx::anc

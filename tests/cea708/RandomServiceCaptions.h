// Random captions of a service.
#pragma once

#include <qlx/cea708/caption.h>

#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qlxtest::service {

using namespace qlx::cea708;
using qlx::screen::Cell;

using Random = std::mt19937;

inline std::size_t below(Random& random, std::size_t count) {
    return random() % count;
}

inline bool isTrue(Random& random, unsigned percent) {
    return random() % 100 < percent;
}

/// All that G0 to G3 have but the spaces of the window.
inline const std::u32string& serviceCharacters() {
    static const std::u32string kAll = []() {
        std::u32string all;
        for (const CharacterSet set : {CharacterSet::G0, CharacterSet::G1, CharacterSet::G2, CharacterSet::G3}) {
            for (unsigned code = 0x20; code <= 0xFF; ++code) {
                const auto one = characterOf({set, static_cast<std::uint8_t>(code)});
                if (one && *one != kTransparentSpace && *one != kNonBreakingTransparentSpace) {
                    all += *one;
                }
            }
        }
        return all;
    }();
    return kAll;
}

inline void changeLook(Random& random, Cell& look, bool fits) {
    look.foreground = static_cast<qlx::screen::Color>(below(random, 64));
    look.foregroundOpacity = static_cast<qlx::screen::Opacity>(below(random, 4));
    look.isFlashing = look.foregroundOpacity == qlx::screen::Opacity::Flash;
    look.background = static_cast<qlx::screen::Color>(below(random, 64));
    look.backgroundOpacity = static_cast<qlx::screen::Opacity>(below(random, 4));
    look.isItalic = isTrue(random, 30);
    look.isUnderlined = isTrue(random, 30);
    look.font = static_cast<qlx::screen::Font>(below(random, 8));
    look.size = static_cast<qlx::screen::FontSize>(below(random, 3));
    look.offset = static_cast<qlx::screen::Offset>(below(random, 3));
    look.edge = static_cast<qlx::screen::Edge>(below(random, fits ? 6 : 8));
    look.edgeColor = static_cast<qlx::screen::Color>(below(random, 64));
    if (!fits) {
        look.isFlashing = isTrue(random, 20);
        look.isConcealed = isTrue(random, 10);
        look.part = static_cast<qlx::screen::CellPart>(isTrue(random, 90) ? 0 : below(random, 3));
    }
}

inline std::vector<Cell> someText(Random& random, std::size_t count, bool fits) {
    constexpr std::u32string_view kOthers = U"\u2014\u0142\u0416\U0001F3B5\uFEFF\u0003";
    std::vector<Cell> cells;
    Cell look{.isVisible = true};
    while (cells.size() < count) {
        if (isTrue(random, 10)) {
            changeLook(random, look, fits);
        }
        Cell cell = look;
        cell.isVisible = !isTrue(random, 5);
        cell.character = isTrue(random, 15) ? U' ' : serviceCharacters()[below(random, serviceCharacters().size())];
        if (!fits && isTrue(random, 5)) {
            cell.character = kOthers[below(random, kOthers.size())];
        }
        cells.push_back(cell);
    }
    return cells;
}

inline Caption someCaption(Random& random, CaptionStyle style, bool fits, AspectRatio ratio) {
    Caption caption;
    caption.style = style;
    caption.anchor = static_cast<AnchorPoint>(below(random, 9));
    caption.rollUpRows = static_cast<std::uint8_t>(2 + below(random, 3));
    const std::size_t columns = columnsOf(ratio);
    std::size_t row = style == CaptionStyle::RollUp ? 4 + below(random, 12) : (fits ? 1 : 0) + below(random, 12);
    // The screen has 15 rows.
    for (std::size_t count = 1 + below(random, fits || isTrue(random, 95) ? 4 : 18); count > 0; --count) {
        const auto column = static_cast<std::uint8_t>(below(random, fits ? columns : columns + 5));
        const std::size_t room = fits ? columns - column : isTrue(random, 95) ? columns + 3 : 3 * columns;
        CaptionRow one{static_cast<std::uint8_t>(row), column, someText(random, 1 + below(random, room), fits)};
        one.cells.front().isVisible = one.cells.front().isVisible || fits;
        caption.rows.push_back(std::move(one));
        // Rows are named by their numbers: no two have the same.
        // Rows far from one another have two windows.
        const std::size_t rest = row + count < kRows ? kRows - row - count : 0;
        const std::size_t apart = isTrue(random, 20) ? below(random, rest + 1) : 0;
        row += fits ? (style == CaptionStyle::RollUp ? 0 : 1 + apart) : 1 + below(random, isTrue(random, 20) ? 9 : 3);
    }
    return caption;
}

}  // namespace qlxtest::service

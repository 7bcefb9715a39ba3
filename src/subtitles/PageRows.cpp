#include <qlx/subtitles/cue.h>
#include <qlx/teletext/page_text.h>

#include <algorithm>
#include <utility>

namespace qlx::subtitles {

static_assert(kTeletextRows == teletext::kLastTextRow && kTeletextScreenRows == teletext::kLastRow + 1 &&
              kTallTeletextRows == teletext::kLastTallRow / 2);

Cue withPageRows(Cue cue) {
    constexpr std::uint64_t kPageRows = kTallTeletextRows;
    if (cue.screenRows == 0 || cue.screenRows == kPageRows) {
        return cue;
    }
    // Neither the header of a page nor its last row is one of text.
    const std::uint64_t screen = cue.screenRows == kTeletextScreenRows ? kTeletextRows : cue.screenRows;
    const std::uint64_t steps = std::max<std::uint64_t>(screen, 2) - 1;
    std::uint64_t last = 0;
    for (Row& row : cue.rows) {
        if (row.number != 0) {
            const std::uint64_t number = teletextRowOf(cue.screenRows, row.number).value_or(row.number);
            const std::uint64_t place = std::clamp<std::uint64_t>(number, 1, screen) - 1;
            row.number = std::max((place * (kPageRows - 1) + steps / 2) / steps + 1, last + 1);
            // A row without text pushes none down.
            last = row.runs.empty() ? last : row.number;
        }
    }
    // What has been pushed down too far goes up again.
    std::uint64_t lowest = kPageRows;
    for (auto row = cue.rows.rbegin(); row != cue.rows.rend(); ++row) {
        if (row->number != 0) {
            row->number = std::min(row->number, lowest);
            lowest = row->runs.empty() || row->number == 0 ? lowest : row->number - 1;
        }
    }
    cue.screenRows = 0;
    return cue;
}

}  // namespace qlx::subtitles

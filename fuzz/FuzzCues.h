// Cues of all kinds, out of the bytes of an input.
#pragma once

#include "FuzzSupport.h"

#include <qlx/subtitles/cue.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace qlxfuzz {

inline qlx::subtitles::Row takeRow(Input& input) {
    constexpr std::array<std::string_view, 8> kTexts{" ",        "abc",       "\xC3\x89",     "\xD0\x96",
                                                     "\xD9\x84", "e\xCC\x81", "\xE6\x97\xA5", "\xC2\xA0"};
    qlx::subtitles::Row row;
    const std::uint8_t kind = input.takeByte();
    row.number = kind % 14U;
    row.anchor = kind % 10U;
    row.alignment = static_cast<qlx::subtitles::Alignment>(kind >> 6U);
    for (std::size_t runs = input.takeByte() % 4; runs > 0; --runs) {
        qlx::subtitles::Run run;
        const std::uint8_t style = input.takeByte();
        run.style.foreground = static_cast<qlx::screen::Color>(style & 0x3FU);
        run.style.isItalic = (style & 0x40U) != 0;
        for (std::size_t letters = input.takeByte() % 50; letters > 0; --letters) {
            const std::uint8_t letter = input.takeByte();
            run.text += letter < 8 ? std::string(kTexts[letter]) : std::string(1, static_cast<char>(letter & 0x7FU));
        }
        row.runs.push_back(std::move(run));
    }
    return row;
}

/// A cue of up to 13 rows and 255 fiftieths of a second.
/// @param start Of the cue before it, in fiftieths of a second; becomes that of this one.
inline qlx::subtitles::Cue takeCue(Input& input, std::int64_t& start) {
    qlx::subtitles::Cue cue;
    start += input.takeByte();
    cue.start = qlx::MediaTime::make(start, 50);
    cue.end = qlx::MediaTime::make(start + input.takeByte(), 50);
    for (std::size_t rows = input.takeByte() % 14; rows > 0; --rows) {
        cue.rows.push_back(takeRow(input));
    }
    return cue;
}

}  // namespace qlxfuzz

// EBU STL files for the tests of the tool, their cues written as text.
#pragma once

#include "STLFile.h"

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qlxtest {

/// A Text and Timing Information block.
struct STLCue {
    std::uint8_t number = 0;
    std::array<std::uint8_t, 4> start{};  ///< Hours, minutes, seconds, frames.
    std::array<std::uint8_t, 4> end{};
    char verticalPosition = 20;
    char justification = 2;
    std::string_view text;  ///< Unused space (8F) is added behind it, up to 112 bytes.
    char comment = 0;
    char extension = '\xFF';
};

inline std::string stlCueBlock(const STLCue& cue) {
    STLBlock block{.text = {cue.text.begin(), cue.text.end()}, .number = cue.number};
    block.extension = static_cast<std::uint8_t>(cue.extension);
    block.in = cue.start;
    block.out = cue.end;
    block.row = static_cast<std::uint8_t>(cue.verticalPosition);
    block.justification = static_cast<std::uint8_t>(cue.justification);
    block.comment = static_cast<std::uint8_t>(cue.comment);
    return block.bytes();
}

/// A file of 25 frames a second.
/// @param announced The number of blocks in the header; -1 for as many as there are.
inline std::string stl(const std::vector<STLCue>& cues, int announced = -1) {
    std::string file =
        stlInformation("STL25.01", stlCount(announced < 0 ? cues.size() : static_cast<std::size_t>(announced)));
    for (const STLCue& cue : cues) {
        file += stlCueBlock(cue);
    }
    return file;
}

}  // namespace qlxtest

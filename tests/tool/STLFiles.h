// EBU STL files (EBU Tech 3264) for the tests of the tool.
#pragma once

#include <array>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace qlxtest {

/// A Text and Timing Information block.
struct STLCue {
    std::uint8_t number = 0;
    std::array<char, 4> start{};  ///< Hours, minutes, seconds, frames.
    std::array<char, 4> end{};
    char verticalPosition = 20;
    char justification = 2;
    std::string_view text;  ///< Unused space (8F) is added behind it, up to 112 bytes.
    char comment = 0;
    char extension = '\xFF';
};

inline std::string stlCueBlock(const STLCue& block) {
    std::string bytes(128, '\0');
    bytes[1] = static_cast<char>(block.number);
    bytes[3] = block.extension;
    for (std::size_t index = 0; index < 4; ++index) {
        bytes[5 + index] = block.start[index];
        bytes[9 + index] = block.end[index];
    }
    bytes[13] = block.verticalPosition;
    bytes[14] = block.justification;
    bytes[15] = block.comment;
    bytes.replace(16, 112, std::string(block.text) + std::string(112 - block.text.size(), '\x8F'));
    return bytes;
}

/// A file of 25 frames a second.
/// @param announced The number of blocks in the header; -1 for as many as there are.
inline std::string stl(const std::vector<STLCue>& blocks, int announced = -1) {
    std::string file(1024, ' ');
    file.replace(0, 11, "850STL25.01");
    std::array<char, 16> count{};
    std::snprintf(count.data(), count.size(), "%05d", announced < 0 ? static_cast<int>(blocks.size()) : announced);
    file.replace(238, 5, count.data());
    for (const STLCue& block : blocks) {
        file += stlCueBlock(block);
    }
    return file;
}

}  // namespace qlxtest

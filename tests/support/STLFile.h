// EBU STL files, byte by byte as EBU Tech 3264 lays them out.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

namespace qlxtest {

/// A text and timing block with its text, filled up with unused space.
struct STLBlock {
    std::vector<std::uint8_t> text = {};
    std::uint16_t number = 0;
    std::uint8_t extension = 0xFF;
    std::array<std::uint8_t, 4> in = {};
    std::array<std::uint8_t, 4> out = {};
    std::uint8_t row = 20;
    std::uint8_t justification = 2;
    std::uint8_t comment = 0;
    std::uint8_t filler = 0x8F;
    std::uint8_t group = 0;

    [[nodiscard]] std::string bytes() const {
        std::vector<std::uint8_t> block(128, filler);
        block[0] = group;
        block[1] = static_cast<std::uint8_t>(number % 256);
        block[2] = static_cast<std::uint8_t>(number / 256);
        block[3] = extension;
        block[4] = 0;  // cumulative status
        std::copy(in.begin(), in.end(), block.begin() + 5);
        std::copy(out.begin(), out.end(), block.begin() + 9);
        block[13] = row;
        block[14] = justification;
        block[15] = comment;
        std::copy_n(text.begin(), std::min<std::size_t>(text.size(), 112), block.begin() + 16);
        return {block.begin(), block.end()};
    }
};

/// A general subtitle information block: code page, disk format code, Latin table, block count.
inline std::string stlInformation(std::string_view diskFormatCode, std::string_view blockCount) {
    std::string block(1024, ' ');
    block.replace(0, 3, "850");
    block.replace(3, 8, diskFormatCode);
    block.replace(12, 2, "00");
    block.replace(238, 5, blockCount);
    return block;
}

inline std::string stlCount(std::size_t count) {
    const std::string digits = std::to_string(count);
    return std::string(5 - digits.size(), '0') + digits;
}

/// A whole file.
inline std::string stlFile(const std::vector<STLBlock>& blocks, std::string_view diskFormatCode = "STL25.01") {
    std::string file = stlInformation(diskFormatCode, stlCount(blocks.size()));
    for (const STLBlock& block : blocks) {
        file += block.bytes();
    }
    return file;
}

/// The bytes of characters and codes in a row: `stlText({0x07, 'H', 'i', 0x8A})`.
inline std::vector<std::uint8_t> stlText(std::initializer_list<int> values) {
    std::vector<std::uint8_t> text;
    for (const int value : values) {
        text.push_back(static_cast<std::uint8_t>(value));
    }
    return text;
}

}  // namespace qlxtest

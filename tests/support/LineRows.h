// Line 21 put together for tests, pixel by pixel from the rule.
#pragma once

#include <QLXClosedCaptionsUtilities/platform/FourCC.h>

#include "RowBuilder.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace qlxtest {

/// One cycle of the clock: trunc((sin(2 pi k / 27) + 1) x 63.5) for k = 0 to 26.
inline constexpr std::array<std::uint8_t, 27> kClock{63, 78, 91, 104, 114, 121, 126, 126, 124, 118, 109, 98, 85, 70,
                                                     56, 41, 28, 17,  8,   2,   0,   0,   5,   12,  22,  35, 48};

/// The grey of each of the 274 pixels before the data bits.
inline std::vector<std::uint8_t> runInLevels() {
    std::vector<std::uint8_t> levels(13, 0);
    for (int cycle = 0; cycle < 7; ++cycle) {
        levels.insert(levels.end(), kClock.begin(), kClock.end());
    }
    levels.resize(248, 0);
    levels.resize(274, 127);
    return levels;
}

/// The greys of a row with two bytes, least significant bit first, cut or padded with black to `width` pixels.
inline std::vector<std::uint8_t> pairLevels(std::size_t width, std::uint8_t first, std::uint8_t second) {
    std::vector<std::uint8_t> levels = runInLevels();
    for (unsigned bit = 0; bit < 16; ++bit) {
        const unsigned byte = bit < 8 ? first : second;
        levels.resize(levels.size() + 27, (byte >> bit % 8 & 1U) != 0 ? 127 : 0);
    }
    levels.resize(width, 0);
    return levels;
}

/// Y' of a grey in video range, rounded: in eight bits black is 16 and white 219 above it; each bit more doubles that.
inline unsigned lumaOf(std::uint8_t level, unsigned bits) {
    return (((16U * 255 + 219U * level) << (bits - 8)) + 127) / 255;
}

/// Greys in one of the formats; those of `420v` are followed by their chroma row.
inline std::vector<std::uint8_t> greysAs(std::uint32_t format, const std::vector<std::uint8_t>& levels) {
    std::vector<std::uint8_t> bytes;
    if (format == qlx::kPixelFormatV210) {
        std::vector<std::uint16_t> luma;
        for (const std::uint8_t level : levels) {
            luma.push_back(static_cast<std::uint16_t>(lumaOf(level, 10)));
        }
        return v210Row(levels.size() / 6, luma);
    }
    for (const std::uint8_t level : levels) {
        const auto luma = static_cast<std::uint8_t>(lumaOf(level, 8));
        switch (format) {
        case qlx::kPixelFormatBGRA:
            bytes.insert(bytes.end(), {level, level, level, 255});
            break;
        case qlx::kPixelFormatARGB:
            bytes.insert(bytes.end(), {255, level, level, level});
            break;
        case qlx::kPixelFormat2vuy:
            bytes.insert(bytes.end(), {128, luma});
            break;
        case qlx::kPixelFormatYuvs:
            bytes.insert(bytes.end(), {luma, 128});
            break;
        default:
            bytes.push_back(luma);
        }
    }
    if (format == qlx::kPixelFormat420v) {
        bytes.insert(bytes.end(), levels.size(), 128);
    }
    return bytes;
}

/// Opaque greys as BGRA.
inline std::vector<std::uint8_t> greysAsBGRA(const std::vector<std::uint8_t>& levels) {
    return greysAs(qlx::kPixelFormatBGRA, levels);
}

/// The three BGRA rows that a pair is drawn as.
inline std::vector<std::uint8_t> lines(std::size_t width, std::uint8_t first, std::uint8_t second) {
    std::vector<std::uint8_t> bytes = greysAsBGRA(std::vector<std::uint8_t>(width, 0));
    for (const auto& row : {pairLevels(width, first, second), pairLevels(width, 0x80, 0x80)}) {
        const std::vector<std::uint8_t> pixels = greysAsBGRA(row);
        bytes.insert(bytes.end(), pixels.begin(), pixels.end());
    }
    return bytes;
}

}  // namespace qlxtest

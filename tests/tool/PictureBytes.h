// PNG files put together by hand (ISO/IEC 15948), so that what the tool reads was not written by the tool.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace qlxtest {

using PictureBytes = std::vector<std::uint8_t>;

inline void appendWord(PictureBytes& to, std::uint32_t value) {
    for (int shift = 24; shift >= 0; shift -= 8) {
        to.push_back(static_cast<std::uint8_t>(value >> shift));
    }
}

/// The CRC-32 of a chunk: polynomial EDB88320 (reflected), all ones in and out.
inline std::uint32_t pngCrc(std::span<const std::uint8_t> bytes) {
    std::uint32_t crc = 0xFFFFFFFFU;
    for (const std::uint8_t byte : bytes) {
        crc ^= byte;
        for (int bit = 0; bit < 8; ++bit) {
            crc = crc >> 1U ^ ((crc & 1U) != 0 ? 0xEDB88320U : 0U);
        }
    }
    return ~crc;
}

/// Length, type, data, CRC of type and data.
inline void appendChunk(PictureBytes& to, std::string_view type, std::span<const std::uint8_t> data) {
    appendWord(to, static_cast<std::uint32_t>(data.size()));
    PictureBytes body(type.begin(), type.end());
    body.insert(body.end(), data.begin(), data.end());
    to.insert(to.end(), body.begin(), body.end());
    appendWord(to, pngCrc(body));
}

/// A zlib stream of one stored block (RFC 1950, RFC 1951), for at most 65535 bytes.
inline PictureBytes stored(std::span<const std::uint8_t> data) {
    const auto size = static_cast<std::uint16_t>(data.size());
    const auto inverse = static_cast<std::uint16_t>(~size);
    const std::array<std::uint8_t, 7> head{0x78,
                                           0x01,
                                           0x01,
                                           static_cast<std::uint8_t>(size),
                                           static_cast<std::uint8_t>(size >> 8U),
                                           static_cast<std::uint8_t>(inverse),
                                           static_cast<std::uint8_t>(inverse >> 8U)};
    PictureBytes stream(head.size() + data.size());
    std::copy(data.begin(), data.end(), std::copy(head.begin(), head.end(), stream.begin()));
    std::uint32_t low = 1;
    std::uint32_t high = 0;
    for (const std::uint8_t byte : data) {
        low = (low + byte) % 65521;
        high = (high + low) % 65521;
    }
    appendWord(stream, high << 16U | low);
    return stream;
}

/// What the header chunk of a PNG file says.
struct PngHeader {
    std::uint32_t width = 1;
    std::uint32_t height = 1;
    std::uint8_t depth = 8;
    std::uint8_t colourType = 2;  ///< 0 grey, 2 RGB, 3 palette, 4 grey and alpha, 6 RGBA.
    std::uint8_t interlace = 0;
};

inline PictureBytes pngStart(const PngHeader& header) {
    PictureBytes file{0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0A};
    PictureBytes data;
    appendWord(data, header.width);
    appendWord(data, header.height);
    data.insert(data.end(), {header.depth, header.colourType, 0, 0, header.interlace});
    appendChunk(file, "IHDR", data);
    return file;
}

/// @param rows The rows, each with a filter byte in front (0: none).
/// @param palette The entries of a palette, three bytes each.
inline PictureBytes pngFile(const PngHeader& header, std::span<const std::uint8_t> rows,
                            std::span<const std::uint8_t> palette = {}) {
    PictureBytes file = pngStart(header);
    if (!palette.empty()) {
        appendChunk(file, "PLTE", palette);
    }
    appendChunk(file, "IDAT", stored(rows));
    appendChunk(file, "IEND", {});
    return file;
}

}  // namespace qlxtest

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

/// A zlib stream (RFC 1950, RFC 1951) of `a`s: one, and as often as said 258 more; some 160 times smaller than they are.
inline PictureBytes packed(std::size_t repetitions) {
    PictureBytes stream{0x78, 0x01};
    std::uint32_t bits = 0;
    int count = 0;
    const auto put = [&](std::uint32_t value, int size) {
        bits |= value << static_cast<unsigned>(count);
        for (count += size; count >= 8; count -= 8) {
            stream.push_back(static_cast<std::uint8_t>(bits));
            bits >>= 8U;
        }
    };
    // The codes of a Huffman tree begin with their highest bit.
    const auto putCode = [&put](std::uint32_t code, int size) {
        for (int bit = size - 1; bit >= 0; --bit) {
            put(code >> static_cast<unsigned>(bit) & 1U, 1);
        }
    };
    put(1, 1);               // The last block,
    put(1, 2);               // with the fixed codes.
    putCode(0x30 + 'a', 8);  // Literals 0 to 143.
    for (std::size_t index = 0; index < repetitions; ++index) {
        putCode(0xC0 + 285 - 280, 8);  // 258 bytes
        putCode(0, 5);                 // from one byte before.
    }
    putCode(0, 7);
    put(0, 7);
    std::uint32_t low = 1;
    std::uint32_t high = 0;
    for (std::size_t index = 0; index < 1 + 258 * repetitions; ++index) {
        low = (low + 'a') % 65521;
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

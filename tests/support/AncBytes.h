// ANC frame elements and SDI rows, put together by hand.
#pragma once

#include "ExactBuffer.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace qlxtest {

/// The ANC frame element key of SMPTE ST 436-1.
inline constexpr std::string_view kAncKeyHex = "060e2b34 01020101 0d010301 17010201";
/// Some other key: the system item of an MXF file.
inline constexpr std::string_view kOtherKeyHex = "060e2b34 02050101 0d010301 04010100";

/// One CEA-608 packet of 3 bytes on line 21: the count, then line, wrapping type, sample coding, sample count, array
/// count and size, DID, SDID, DC, data and two bytes of padding. 24 bytes.
inline constexpr std::string_view kCaptionElementHex = "0001 0015 01 04 0006 00000008 00000001 61 02 03 8094ae 0000";

/// Hexadecimal digits one after the other as bytes.
inline std::vector<std::uint8_t> joined(const std::vector<std::string_view>& parts) {
    std::string text;
    for (const std::string_view part : parts) {
        text += part;
    }
    return fromHex(text);
}

/// The 10-bit ANC word of a byte (SMPTE ST 291-1): bit 8 makes the parity even, bit 9 is its inverse.
inline std::uint16_t ancWord(std::uint8_t byte) {
    unsigned ones = 0;
    for (unsigned bit = 0; bit < 8; ++bit) {
        ones += byte >> bit & 1U;
    }
    return static_cast<std::uint16_t>(byte | (ones % 2 == 1 ? 0x100U : 0x200U));
}

/// The luma samples of an ANC packet: flag, DID, SDID, DC, data, checksum.
inline std::vector<std::uint16_t> ancSamples(std::uint8_t did, std::uint8_t sdid, std::span<const std::uint8_t> data) {
    std::vector<std::uint16_t> samples{0x000,        0x3FF,         0x3FF,
                                       ancWord(did), ancWord(sdid), ancWord(static_cast<std::uint8_t>(data.size()))};
    for (const std::uint8_t byte : data) {
        samples.push_back(ancWord(byte));
    }
    unsigned sum = 0;
    for (std::size_t index = 3; index < samples.size(); ++index) {
        sum += samples[index];
    }
    sum %= 512;
    samples.push_back(static_cast<std::uint16_t>(sum | (sum < 256 ? 0x200U : 0U)));
    return samples;
}

/// Blank samples in the order of a row: Cb Y Cr Y.
inline std::vector<std::uint16_t> blankSamples(std::size_t pixels) {
    std::vector<std::uint16_t> samples;
    for (std::size_t sample = 0; sample < pixels * 2; ++sample) {
        samples.push_back(sample % 2 == 0 ? 0x200 : 0x040);
    }
    return samples;
}

/// Puts words on samples: the first one at `first`, each of the others `step` samples behind the one before it.
inline void place(std::vector<std::uint16_t>& samples, std::size_t first, std::size_t step,
                  std::span<const std::uint16_t> words) {
    for (const std::uint16_t word : words) {
        samples.at(first) = word;
        first += step;
    }
}

/// A v210 row: three samples make a word.
inline std::vector<std::uint8_t> v210Bytes(std::span<const std::uint16_t> samples) {
    std::vector<std::uint8_t> row;
    for (std::size_t first = 0; first + 2 < samples.size(); first += 3) {
        const std::uint32_t bits = samples[first] | static_cast<std::uint32_t>(samples[first + 1]) << 10U |
                                   static_cast<std::uint32_t>(samples[first + 2]) << 20U;
        for (unsigned byte = 0; byte < 4; ++byte) {
            row.push_back(static_cast<std::uint8_t>(bits >> (8 * byte)));
        }
    }
    return row;
}

/// A 2vuy row: the low eight bits of what belongs to a packet, the high ones of what is blank.
inline std::vector<std::uint8_t> yuv8Bytes(std::span<const std::uint16_t> samples) {
    std::vector<std::uint8_t> row;
    for (std::size_t sample = 0; sample < samples.size(); ++sample) {
        const bool isBlank = samples[sample] == (sample % 2 == 0 ? 0x200 : 0x040);
        row.push_back(static_cast<std::uint8_t>(isBlank ? samples[sample] >> 2U : samples[sample]));
    }
    return row;
}

/// A v210 row of `groups` groups of six pixels: the luma samples, then blanking; chroma is blanking.
inline std::vector<std::uint8_t> v210Row(std::size_t groups, std::span<const std::uint16_t> luma) {
    std::vector<std::uint16_t> samples = blankSamples(groups * 6);
    place(samples, 1, 2, luma);
    return v210Bytes(samples);
}

}  // namespace qlxtest

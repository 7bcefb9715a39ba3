// Sections of ANSI/SCTE 35 from digits, and what is read from them.
#pragma once

#include "Scte104Bytes.h"

#include <qlx/scte/scte35.h>
#include <qlx/scte/scte35_text.h>

namespace qlxtest {

/// Bit by bit, as ISO/IEC 13818-1 annex A has it.
inline std::uint32_t plainCrc(const Bytes& bytes) {
    std::uint32_t crc = 0xFFFFFFFF;
    for (const std::uint8_t byte : bytes) {
        for (int bit = 7; bit >= 0; --bit) {
            const bool isSet = ((crc >> 31U) ^ (byte >> bit & 1U)) != 0;
            crc = crc << 1U ^ (isSet ? 0x04C11DB7U : 0U);
        }
    }
    return crc;
}

/// Makes section_length right, and CRC_32, whose bytes are the last four.
inline void close(Bytes& section) {
    const std::size_t length = section.size() - 3;
    section[1] = static_cast<std::uint8_t>((section[1] & 0xF0U) | length >> 8U);
    section[2] = static_cast<std::uint8_t>(length);
    section.resize(section.size() - 4);
    const std::uint32_t crc = plainCrc(section);
    append16(section, crc >> 16U);
    append16(section, crc & 0xFFFFU);
}

/// A section with this command (its type first) and these descriptors; pts_adjustment 0, every tier. The command's type
/// stands at byte 13.
inline Bytes sectionOf(std::string_view commandDigits, std::string_view descriptorDigits = "") {
    const Bytes command = fromHex(commandDigits);
    const Bytes descriptors = fromHex(descriptorDigits);
    Bytes section = fromHex("fc 3000 00 0000000000 00 ff");
    append16(section, 0xF000U | (command.size() - 1));
    append(section, command);
    append16(section, descriptors.size());
    append(section, descriptors);
    section.resize(section.size() + 4);
    close(section);
    return section;
}

/// What a section gives.
struct ReadSection {
    qlx::Result<qlx::scte::SpliceInfoSection> section;
    FindingList findings;
};

inline ReadSection readSection(const Bytes& bytes) {
    const ExactBuffer exact(bytes);
    qlx::Findings findings;
    auto section = qlx::scte::parseSpliceInfoSection(exact.span(), &findings);
    return {std::move(section), listOf(findings)};
}

inline Bytes writtenSection(const qlx::scte::SpliceInfoSection& section) {
    const auto data = writeSpliceInfoSection(section);
    EXPECT_TRUE(data) << data.error().text();
    return data ? bytesOf(*data) : Bytes{};
}

}  // namespace qlxtest

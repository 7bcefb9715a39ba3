// Sections in transport stream packets (ISO/IEC 13818-1), and what tshark decodes of them.
#pragma once

#include "ExactBuffer.h"
#include "ToolRunner.h"

#include <QLXClosedCaptionsUtilities/QLXSCTEUtilities.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

namespace qlxtest {

using Bytes = std::vector<std::uint8_t>;

inline constexpr std::size_t kPacketSize = 188;
inline constexpr std::uint16_t kTablePID = 0x0100;
inline constexpr std::uint16_t kSectionPID = 0x0102;

/// The table with its CRC.
inline Bytes closed(const std::string& hex) {
    Bytes table = fromHex(hex);
    const std::uint32_t crc = mpegCRC32(table.data(), table.size());
    for (unsigned shift = 32; shift > 0; shift -= 8) {
        table.push_back(static_cast<std::uint8_t>(crc >> (shift - 8)));
    }
    return table;
}

inline void addPacket(Bytes& stream, std::uint16_t pid, unsigned counter, const Bytes& section) {
    const std::size_t end = stream.size() + kPacketSize;
    // Sync byte, start of a section, payload only, pointer field.
    const Bytes header{0x47, static_cast<std::uint8_t>(0x40 | pid >> 8), static_cast<std::uint8_t>(pid),
                       static_cast<std::uint8_t>(0x10 | (counter & 15U)), 0x00};
    stream.insert(stream.end(), header.begin(), header.end());
    stream.insert(stream.end(), section.begin(), section.end());
    ASSERT_LE(stream.size(), end);
    stream.resize(end, 0xFF);
}

/// A stream with the tables and a packet for each section.
inline Bytes streamOf(const std::vector<Bytes>& sections) {
    Bytes stream;
    // Program 1 has its map on PID 0x100; the map has the registration "CUEI" and one stream of type 0x86.
    addPacket(stream, 0, 0, closed("00 b00d 0001 c1 00 00 0001 e100"));
    addPacket(stream, kTablePID, 0, closed("02 b018 0001 c1 00 00 e101 f006 05 04 43554549 86 e102 f000"));
    for (unsigned counter = 0; counter < sections.size(); ++counter) {
        addPacket(stream, kSectionPID, counter, sections[counter]);
    }
    return stream;
}

/// The fields of each packet.
inline std::vector<std::vector<std::string>> decoded(const Bytes& stream, const std::vector<std::string>& fields) {
    const TemporaryFolder folder;
    const std::string file = folder.write("a.ts", stream);
    std::string command = "HOME='" + folder.path() + "' tshark -r '" + file +
                          "' -o mpeg_sect.verify_crc:TRUE -T fields -E separator=, -E aggregator=:";
    for (const std::string& field : fields) {
        command += " -e " + field;
    }
    command += " >'" + folder.path("out") + "' 2>'" + folder.path("err") + "'";
    EXPECT_EQ(std::system(command.c_str()), 0) << folder.read("err");
    std::vector<std::vector<std::string>> packets;
    for (const std::string& line : linesOf(folder.read("out"))) {
        std::vector<std::string> values(1);
        for (const char character : line) {
            if (character == ',') {
                values.emplace_back();
            } else {
                values.back() += character;
            }
        }
        packets.push_back(std::move(values));
    }
    return packets;
}

inline std::string hexNumber(std::uint64_t number, int digits) {
    constexpr const char* kDigits = "0123456789abcdef";
    std::string text = "0x";
    for (int digit = digits; digit-- > 0;) {
        text += kDigits[number >> (4 * digit) & 15U];
    }
    return text;
}

class SectionDecoder : public ::testing::Test {
protected:
    void SetUp() override {
        if (std::system("command -v tshark >/dev/null 2>&1") != 0) {
            GTEST_SKIP() << "tshark is not installed: nothing decodes the sections here";
        }
    }
};

}  // namespace qlxtest

// SCTE-35 sections of splice requests, in transport stream packets (ISO/IEC 13818-1), as tshark decodes them.
//
// It gives the section's CRC and does not check it; it does check that of the program tables, which are closed by
// mpegCRC32() here.
#include "ExactBuffer.h"
#include "ToolRunner.h"

#include <QLXClosedCaptionsUtilities/QLXSCTEUtilities.h>
#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

using qlxtest::fromHex;
using qlxtest::linesOf;
using qlxtest::TemporaryFolder;

using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kPacketSize = 188;
constexpr std::uint16_t kTablePID = 0x0100;
constexpr std::uint16_t kSectionPID = 0x0102;

/// What a splice request asks for.
struct Splice {
    std::int32_t type;
    std::uint32_t event;
    std::uint16_t program;
    std::uint16_t duration;
    std::uint64_t pts;
};

const std::vector<Splice> kSplices{{1, 16909060, 0x0506, 300, 0x100000000},
                                   {1, 0, 0, 0, 0},
                                   {2, 0xFFFFFFFF, 0xFFFF, 0xFFFF, 1},
                                   {2, 7, 8, 0, 90000},
                                   {3, 9, 10, 0, 0x1FFFFFFFF},
                                   {3, 11, 12, 13, 0xFFFFFFFF},
                                   {4, 14, 15, 0, 0},
                                   {4, 17, 18, 19, 20},
                                   {5, 0x80000000, 21, 22, 23}};

Bytes sectionOf(const Splice& splice) {
    const auto packet = QLXVANCPacket::
        SCTE104VANCPacketWithSpliceType_asIndex_dpiPID_spliceEventID_programUniqueID_duration_autoReturn_preRoll_lineNumber(
            splice.type, 0, 0, splice.event, splice.program, splice.duration, true, 4000, 13);
    const qlx::Data section = QLXVANCPacket::SCTE35PacketDataWithSCTE104VANCPacket_intendedPTS(packet, splice.pts);
    return {section.begin(), section.end()};
}

/// The table with its CRC.
Bytes closed(const std::string& hex) {
    Bytes table = fromHex(hex);
    const std::uint32_t crc = mpegCRC32(table.data(), table.size());
    for (unsigned shift = 32; shift > 0; shift -= 8) {
        table.push_back(static_cast<std::uint8_t>(crc >> (shift - 8)));
    }
    return table;
}

void addPacket(Bytes& stream, std::uint16_t pid, unsigned counter, const Bytes& section) {
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
Bytes streamOf(const std::vector<Bytes>& sections) {
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
std::vector<std::vector<std::string>> decoded(const Bytes& stream, const std::vector<std::string>& fields) {
    const TemporaryFolder folder;
    const std::string file = folder.write("a.ts", stream);
    std::string command =
        "HOME='" + folder.path() + "' tshark -r '" + file + "' -o mpeg_sect.verify_crc:TRUE -T fields -E separator=,";
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

std::string hexNumber(std::uint64_t number, int digits) {
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

TEST_F(SectionDecoder, ReadsWhatWasAskedFor) {
    std::vector<Bytes> sections(kSplices.size());
    std::transform(kSplices.begin(), kSplices.end(), sections.begin(), sectionOf);
    const auto packets =
        decoded(streamOf(sections),
                {"scte35.tid", "scte35.len", "scte35.splice_command_type", "scte35.splice_command_length",
                 "scte35_si.event_id", "scte35_si.cancelled", "scte35_si.out_of_net", "scte35_si.splice_immediate",
                 "scte35_si.duration_flag", "scte35_si.splice_time.pts", "scte35_si.break.duration", "scte35_si.upid",
                 "scte35.splice_descriptor.identifier", "scte35.crc"});
    ASSERT_EQ(packets.size(), kSplices.size() + 2);
    for (std::size_t index = 0; index < kSplices.size(); ++index) {
        const Splice& splice = kSplices[index];
        const Bytes& section = sections[index];
        const bool isCancel = splice.type == 5;
        const bool isImmediate = splice.type == 2 || splice.type == 4;
        const bool hasDuration = splice.duration != 0;
        const auto unlessCancel = [&](const std::string& text) { return isCancel ? "" : text; };
        const std::size_t commandSize = isCancel ? 5 : 10U + (isImmediate ? 0U : 5U) + (hasDuration ? 5U : 0U);
        const std::vector<std::string> expected{"0xfc",
                                                std::to_string(17 + commandSize + 17),
                                                "0x05",
                                                std::to_string(commandSize),
                                                hexNumber(splice.event, 8),
                                                isCancel ? "1" : "0",
                                                unlessCancel(splice.type <= 2 ? "1" : "0"),
                                                unlessCancel(isImmediate ? "1" : "0"),
                                                unlessCancel(hasDuration ? "1" : "0"),
                                                isCancel || isImmediate ? "" : hexNumber(splice.pts, 16),
                                                isCancel || !hasDuration ? "" : hexNumber(splice.duration, 16),
                                                unlessCancel(hexNumber(splice.program, 4)),
                                                "0x43554549",
                                                hexNumber(mpegCRC32(section.data(), section.size() - 4), 8)};
        EXPECT_EQ(packets[index + 2], expected) << index;
    }
}

TEST_F(SectionDecoder, FindsTheCRCRight) {
    // 1 is good. The tables differ by one bit in the second stream, and 0 is bad.
    const auto good = decoded(streamOf({}), {"mpeg_sect.crc.status"});
    EXPECT_EQ(good, (std::vector<std::vector<std::string>>{{"1"}, {"1"}}));
    Bytes stream = streamOf({});
    stream[10] ^= 1U;
    EXPECT_EQ(decoded(stream, {"mpeg_sect.crc.status"}).at(0), std::vector<std::string>{"0"});
}

TEST_F(SectionDecoder, ReadsTheSectionThatTheToolWrites) {
    const qlxtest::ToolResult message =
        qlxtest::runTool({"scte104", "build", "splice-end", "--event-id", "77", "--program-id", "5"});
    ASSERT_EQ(message.exitCode, 0) << message.err;
    const qlxtest::ToolResult section =
        qlxtest::runTool({"scte35", "-", "--pts", "8589934591", "--format", "raw"}, {.input = message.out});
    ASSERT_EQ(section.exitCode, 0) << section.err;
    const auto packets = decoded(streamOf({Bytes(section.out.begin(), section.out.end())}),
                                 {"scte35_si.event_id", "scte35_si.splice_time.pts", "scte35_si.upid"});
    ASSERT_EQ(packets.size(), 3U);
    EXPECT_EQ(packets[2], (std::vector<std::string>{"0x0000004d", "0x00000001ffffffff", "0x0005"}));
}

}  // namespace

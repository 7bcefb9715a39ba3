// SCTE-35 sections of splice requests, in transport stream packets (ISO/IEC 13818-1), as tshark decodes them.
//
// It gives the section's CRC and does not check it; it does check that of the program tables, which are closed by
// mpegCRC32() here.
#include "TransportSections.h"

#include <QLXClosedCaptionsUtilities/QLXSCTEUtilities.h>
#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <string>
#include <vector>

namespace {

using qlxtest::decoded;
using qlxtest::hexNumber;
using qlxtest::SectionDecoder;
using qlxtest::streamOf;

using Bytes = std::vector<std::uint8_t>;

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
        qlxtest::runTool({"scte104", "build", "splice-start", "--event-id", "77", "--program-id", "5", "--pre-roll",
                          "4000", "--duration", "30", "--auto-return"});
    ASSERT_EQ(message.exitCode, 0) << message.err;
    const qlxtest::ToolResult section =
        qlxtest::runTool({"scte35", "-", "--pts", "8589934591", "--format", "raw"}, {.input = message.out});
    ASSERT_EQ(section.exitCode, 0) << section.err;
    const auto packets =
        decoded(streamOf({Bytes(section.out.begin(), section.out.end())}),
                {"scte35_si.event_id", "scte35_si.splice_time.pts", "scte35_si.break.duration", "scte35_si.upid"});
    ASSERT_EQ(packets.size(), 3U);
    // 4 s behind the greatest time, modulo 2^33, and 30 s in 90 kHz ticks.
    EXPECT_EQ(packets[2],
              (std::vector<std::string>{"0x0000004d", hexNumber(359999, 16), hexNumber(2700000, 16), "0x0005"}));
}

TEST_F(SectionDecoder, ReadsTheTransportStreamThatTheToolWrites) {
    const qlxtest::ToolResult message =
        qlxtest::runTool({"scte104", "build", "splice-start", "--event-id", "77", "--pre-roll", "1000"});
    const qlxtest::ToolResult stream = qlxtest::runTool(
        {"scte35", "-", "--pts", "900000", "--heartbeat", "1", "--to-format", "ts"}, {.input = message.out});
    ASSERT_EQ(stream.exitCode, 0) << stream.err;
    const auto packets = decoded(Bytes(stream.out.begin(), stream.out.end()),
                                 {"scte35.splice_command_type", "scte35_si.event_id", "scte35_si.splice_time.pts"});
    std::vector<std::vector<std::string>> sections;
    std::copy_if(packets.begin(), packets.end(), std::back_inserter(sections),
                 [](const auto& packet) { return !packet.at(0).empty(); });
    // Nulls every second of the 0.4 s in front of the message and the one up to the splice.
    EXPECT_EQ(sections, (std::vector<std::vector<std::string>>{
                            {"0x00", "", ""}, {"0x05", "0x0000004d", hexNumber(990000, 16)}, {"0x00", "", ""}}));
}

}  // namespace

#include <QLXClosedCaptionsUtilities/QLXLogController.h>
#include <QLXClosedCaptionsUtilities/QLXLogControllerDelegate.h>
#include <QLXClosedCaptionsUtilities/QLXSCTEUtilities.h>
#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>

#include "RecordingConsole.h"
#include "SCTEBytes.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <string>
#include <vector>

using Utilities = QLXSCTEUtilities;
using qlxtest::dataFromHex;
using qlxtest::ExactBuffer;
using qlxtest::hex;
using qlxtest::hexOf;

namespace {

constexpr auto kSpliceInsert = Utilities::SCTE35SpliceInsertDataWithSpliceType_eventID_programUID_duration_pts;
constexpr auto kConvert = QLXVANCPacket::SCTE35PacketDataWithSCTE104VANCPacket_intendedPTS;

const std::string kSpliceMessage =
    "08 FF FF 00 1E 00 00 01 12 34 00 00 01 01 01 00 0E 01 01 02 03 04 05 06 0F A0 01 2C 00 00 01";

/// Loop length and descriptor, as every section has them.
const std::string kDescriptors = "0011 02 0F 43554549 00000000 7F 9F 00 00 01 00 00";

/// A message of one splice request; the pre-roll and flags do not reach the section.
std::shared_ptr<QLXVANCPacket> packetWith(const std::string& type, const std::string& eventID,
                                          const std::string& programID, const std::string& duration) {
    return QLXVANCPacket::SCTE104PacketDataWithData_lineNumber(
        dataFromHex("08 FFFF 001E 00 00 01 1234 00 00 01 0101 000E" + type + eventID + programID + "0FA0" + duration +
                    "01 02 01"),
        13);
}

/// Takes the log's messages while it lives.
class LogListener {
public:
    LogListener() {
        // The first delegate also gets what other tests have logged before.
        QLXLogController::sharedLogController()->setLogDelegate(_delegate);
        _delegate->displayLogWithInfoDict = [this](const qlx::Dictionary& info) { _messages.push_back(info); };
    }
    ~LogListener() { QLXLogController::sharedLogController()->setLogDelegate(nullptr); }
    LogListener(const LogListener&) = delete;
    LogListener& operator=(const LogListener&) = delete;

    [[nodiscard]] const std::vector<qlx::Dictionary>& messages() const { return _messages; }

private:
    std::shared_ptr<QLXLogControllerDelegate> _delegate = std::make_shared<QLXLogControllerDelegate>();
    std::vector<qlx::Dictionary> _messages;
};

/// Keeps what is logged without a delegate off the standard output.
class SCTE35Section : public testing::Test {
private:
    qlxtest::RecordingConsole _console;
    qlx::ScopedService<qlx::Console> _scope{_console};
};

std::uint32_t crcOf(std::string_view text) {
    const ExactBuffer bytes(std::span(reinterpret_cast<const std::uint8_t*>(text.data()), text.size()));
    return mpegCRC32(bytes.data(), bytes.size());
}

}  // namespace

TEST(MPEGCRC32, GivesThePublishedCheckValue) {
    EXPECT_EQ(crcOf("123456789"), 0x0376E6E7U);
}

TEST(MPEGCRC32, OfNothingIsItsInitialValue) {
    EXPECT_EQ(mpegCRC32(nullptr, 0), 0xFFFFFFFFU);
    EXPECT_EQ(crcOf(""), 0xFFFFFFFFU);
}

TEST(MPEGCRC32, DividesByThePolynomial) {
    // FFFFFFFF behind the initial value leaves nothing.
    EXPECT_EQ(crcOf("\xFF\xFF\xFF\xFF"), 0U);
    // A single one bit behind that is shifted out once: the polynomial.
    EXPECT_EQ(crcOf(std::string_view("\xFF\xFF\xFF\xFF\x01", 5)), 0x04C11DB7U);
    EXPECT_EQ(crcOf(std::string_view("\0", 1)), 0x4E08BFB4U);
}

TEST_F(SCTE35Section, LeavesNoRemainderWithItsCRC) {
    const qlx::Data section = kConvert(packetWith("02", "01020304", "0506", "012C"), 0);
    ASSERT_EQ(section.size(), 52U);
    EXPECT_EQ(mpegCRC32(section.data(), section.size()), 0U);
}

TEST(SCTE35SpliceTime, Holds33BitsOfTime) {
    const auto build = [](std::uint64_t pts) {
        return hexOf(Utilities::SCTE35SpliceTimeDataWithPTS_timeSpecified(pts, true));
    };
    EXPECT_EQ(build(0), hex("FE 00000000"));
    EXPECT_EQ(build(0xFFFFFFFF), hex("FE FFFFFFFF"));
    EXPECT_EQ(build(0x1'0000'0000), hex("FF 00000000"));
    EXPECT_EQ(build(0x1'2345'6789), hex("FF 23456789"));
    EXPECT_EQ(build(0x2'0000'0001), hex("FE 00000001"));
    EXPECT_EQ(build(std::numeric_limits<std::uint64_t>::max()), hex("FF FFFFFFFF"));
}

TEST(SCTE35SpliceTime, IsOneByteWithoutATime) {
    for (const std::uint64_t pts : {std::uint64_t{0}, std::uint64_t{1} << 32U, std::uint64_t{0} - 1}) {
        EXPECT_EQ(hexOf(Utilities::SCTE35SpliceTimeDataWithPTS_timeSpecified(pts, false)), hex("7F"));
    }
}

TEST(SCTE35BreakDuration, Holds33BitsOfDuration) {
    const auto build = [](std::uint64_t duration, bool autoReturn) {
        return hexOf(Utilities::SCTE35BreakDurationDataWithDuration_autoReturn(duration, autoReturn));
    };
    EXPECT_EQ(build(0, false), hex("7E 00000000"));
    EXPECT_EQ(build(0, true), hex("FE 00000000"));
    EXPECT_EQ(build(0x1'2345'6789, false), hex("7F 23456789"));
    EXPECT_EQ(build(0x1'2345'6789, true), hex("FF 23456789"));
    EXPECT_EQ(build(0xFFFF'FFFE'89AB'CDEF, false), hex("7E 89ABCDEF"));
}

TEST(SCTE35SpliceInsert, SetsItsFlagsBySpliceType) {
    const std::string time = "FF 23456789";
    const std::string duration = "7E 0000ABCD";
    const std::string rest = "0506 00 00";
    const struct {
        std::int32_t type;
        std::string bare;
        std::string withDuration;
    } rows[] = {
        {1, "CF" + time, "EF" + time + duration},   {2, "DF", "FF" + duration},
        {3, "4F" + time, "6F" + time + duration},   {4, "5F", "7F" + duration},
        {0, "4F" + time, "6F" + time + duration},   {6, "4F" + time, "6F" + time + duration},
        {255, "4F" + time, "6F" + time + duration}, {257, "4F" + time, "6F" + time + duration},
        {-1, "4F" + time, "6F" + time + duration},
    };
    for (const auto& row : rows) {
        const std::string start = "01020304 7F";
        EXPECT_EQ(hexOf(kSpliceInsert(row.type, 0x01020304, 0x0506, 0, 0x1'2345'6789)), hex(start + row.bare + rest))
            << row.type;
        EXPECT_EQ(hexOf(kSpliceInsert(row.type, 0x01020304, 0x0506, 0xABCD, 0x1'2345'6789)),
                  hex(start + row.withDuration + rest))
            << row.type;
    }
}

TEST(SCTE35SpliceInsert, EndsBehindACancelIndicator) {
    EXPECT_EQ(hexOf(kSpliceInsert(5, 0xAABBCCDD, 0x0506, 0, 1)), hex("AABBCCDD FF"));
    EXPECT_EQ(hexOf(kSpliceInsert(5, 0xAABBCCDD, 0x0506, 300, 1)), hex("AABBCCDD FF"));
    // Compared whole: 261 has the low byte 5.
    EXPECT_EQ(kSpliceInsert(261, 0xAABBCCDD, 0x0506, 300, 1).size(), 20U);
}

TEST(SCTE35SpliceInsert, HasOneOfFourLengths) {
    EXPECT_EQ(kSpliceInsert(5, 1, 2, 3, 4).size(), 5U);
    EXPECT_EQ(kSpliceInsert(2, 1, 2, 0, 4).size(), 10U);
    EXPECT_EQ(kSpliceInsert(4, 1, 2, 3, 4).size(), 15U);
    EXPECT_EQ(kSpliceInsert(1, 1, 2, 0, 4).size(), 15U);
    EXPECT_EQ(kSpliceInsert(3, 1, 2, 3, 4).size(), 20U);
}

TEST(SCTE35SegmentationDescriptor, HasANarrowEventID) {
    EXPECT_EQ(hexOf(Utilities::SCTE35SegmentationDescriptorWithEventID_cancel(0x34, true)),
              hex("02 09 43 55 45 49 00 00 00 34 FF"));
    EXPECT_EQ(hexOf(Utilities::SCTE35SegmentationDescriptorWithEventID_cancel(0x34, false)),
              hex("02 0F 43 55 45 49 00 00 00 34 7F 9F 00 00 01 00 00"));
    EXPECT_EQ(hexOf(Utilities::SCTE35SegmentationDescriptorWithEventID_cancel(255, false)),
              hex("02 0F 43 55 45 49 00 00 00 FF 7F 9F 00 00 01 00 00"));
    EXPECT_EQ(hexOf(Utilities::SCTE35SegmentationDescriptorWithEventID_cancel(0, true)),
              hex("02 09 43 55 45 49 00 00 00 00 FF"));
}

// The CRCs of these sections were worked out apart from the library, by division with a table.

TEST_F(SCTE35Section, IsMadeFromASpliceInsert) {
    const auto packet = QLXVANCPacket::SCTE104PacketDataWithData_lineNumber(dataFromHex(kSpliceMessage), 13);
    EXPECT_EQ(hexOf(kConvert(packet, 0x1'0000'0000)),
              hex("FC 30 36 00 00 00 00 00 00 00 FF F0 14 05"
                  "01 02 03 04 7F EF FF 00 00 00 00 7E 00 00 01 2C 05 06 00 00 00 11"
                  "02 0F 43 55 45 49 00 00 00 00 7F 9F 00 00 01 00 00 D0 BB E4 3C"));
}

TEST_F(SCTE35Section, IsMadeFromEveryKindOfRequest) {
    EXPECT_EQ(hexOf(kConvert(packetWith("05", "AABBCCDD", "0102", "012C"), 90000)),
              hex("FC 3027 00 00 00000000 00 FFF005 05 AABBCCDD FF" + kDescriptors + "41B95F8B"));
    EXPECT_EQ(hexOf(kConvert(packetWith("02", "00000007", "0102", "0000"), 90000)),
              hex("FC 302C 00 00 00000000 00 FFF00A 05 00000007 7F DF 0102 00 00" + kDescriptors + "9240B53C"));
    EXPECT_EQ(
        hexOf(kConvert(packetWith("03", "FFFFFFFF", "FFFF", "0000"), std::numeric_limits<std::uint64_t>::max())),
        hex("FC 3031 00 00 00000000 00 FFF00F 05 FFFFFFFF 7F 4F FF FFFFFFFF FFFF 00 00" + kDescriptors + "61AB4C2F"));
    EXPECT_EQ(
        hexOf(kConvert(packetWith("04", "00000000", "0000", "FFFF"), 0)),
        hex("FC 3031 00 00 00000000 00 FFF00F 05 00000000 7F 7F 7E 0000FFFF 0000 00 00" + kDescriptors + "81730FD9"));
}

TEST_F(SCTE35Section, IsReadAtFixedOffsetsOfAnyMessage) {
    // The same 14 bytes at offset 17; everything in front of them is something else, and more follows.
    const auto packet = QLXVANCPacket::SCTE104PacketDataWithData_lineNumber(
        dataFromHex("AA BBBB CCCC DD EE 11 2222 33 01 77 FFFF FFFF 01 01020304 0506 0000 012C FF FF 00 9999"), 13);
    const auto plain = QLXVANCPacket::SCTE104PacketDataWithData_lineNumber(dataFromHex(kSpliceMessage), 13);
    ASSERT_EQ(kConvert(plain, 0x1'0000'0000).size(), 57U);
    EXPECT_EQ(hexOf(kConvert(packet, 0x1'0000'0000)), hexOf(kConvert(plain, 0x1'0000'0000)));
}

TEST_F(SCTE35Section, NeedsAPacketOfItsType) {
    for (const QLXVANCPacketType type : {QLXVANCPacketType{0}, QLXVANCPacketType{3}, QLXVANCPacketType{5},
                                         QLXVANCPacketType{260}, QLXVANCPacketType{0x1'0000'0004}}) {
        const auto packet = QLXVANCPacket::SCTE104PacketDataWithData_lineNumber(dataFromHex(kSpliceMessage), 13);
        packet->setPacketType(type);
        EXPECT_EQ(hexOf(kConvert(packet, 0)), "none") << type;
    }
    EXPECT_EQ(hexOf(kConvert(nullptr, 0)), "none");
    // DID and SDID do not count.
    const auto packet = QLXVANCPacket::SCTE104PacketDataWithData_lineNumber(dataFromHex(kSpliceMessage), 13);
    packet->setPacketDID(0x61);
    EXPECT_EQ(kConvert(packet, 0).size(), 57U);
}

TEST_F(SCTE35Section, Needs31Bytes) {
    qlxtest::forEachTruncation(qlxtest::fromHex(kSpliceMessage), [](const ExactBuffer& shorter) {
        const auto packet = QLXVANCPacket::SCTE104PacketDataWithData_lineNumber(shorter.vector(), 13);
        EXPECT_EQ(hexOf(kConvert(packet, 0)), "none") << shorter.size();
    });
    EXPECT_EQ(hexOf(kConvert(QLXVANCPacket::SCTE104PacketDataWithData_lineNumber(qlx::Data(), 13), 0)), "none");
}

TEST_F(SCTE35Section, IsAnnouncedInTheLog) {
    const LogListener listener;
    EXPECT_EQ(kConvert(packetWith("01", "FFFFFFFF", "FFFE", "FFFD"), 0).size(), 57U);
    EXPECT_EQ(kConvert(packetWith("05", "00000001", "0002", "0003"), 0).size(), 42U);
    EXPECT_EQ(kConvert(packetWith("06", "00000000", "0000", "0000"), 0).size(), 52U);
    const char* const expected[] = {
        "SCTE Packet read: type: Start Normal, eventID: 4294967295 programUID: 65534 duration: 65533",
        "SCTE Packet read: type: Cancel, eventID: 1 programUID: 2 duration: 3",
        "SCTE Packet read: type: Unknown, eventID: 0 programUID: 0 duration: 0",
    };
    ASSERT_EQ(listener.messages().size(), std::size(expected));
    for (std::size_t index = 0; index < std::size(expected); ++index) {
        const qlx::Dictionary& message = listener.messages()[index];
        ASSERT_TRUE(message.contains("message") && message.contains("level") && message.contains("show"));
        EXPECT_EQ(*message.find("message"), qlx::Value(expected[index]));
        EXPECT_EQ(*message.find("level"), qlx::Value(2));
        EXPECT_EQ(*message.find("show"), qlx::Value(true));
    }
}

TEST_F(SCTE35Section, IsNotAnnouncedWhenRefused) {
    const LogListener listener;
    const auto packet = QLXVANCPacket::SCTE104PacketDataWithData_lineNumber(qlx::Data::zeros(30), 13);
    EXPECT_FALSE(kConvert(packet, 0));
    packet->setPacketData(qlx::Data::zeros(31));
    packet->setPacketType(QLXVANCPacketTypeOP47);
    EXPECT_FALSE(kConvert(packet, 0));
    EXPECT_TRUE(listener.messages().empty());
}

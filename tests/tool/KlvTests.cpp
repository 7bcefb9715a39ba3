// Reading triplets.
#include "AncBytes.h"
#include "Errors.h"
#include "Klv.h"
#include "MemorySource.h"

#include <gtest/gtest.h>

namespace {

using qlx::tool::Failure;
using qlx::tool::Frame;
using qlx::tool::KlvReader;
using qlxtest::ExactBuffer;
using qlxtest::fromHex;
using qlxtest::joined;
using qlxtest::kAncKeyHex;
using qlxtest::kCaptionElementHex;
using qlxtest::kOtherKeyHex;

/// Everything that a reader gives.
struct Reading {
    std::vector<Frame> frames;
    std::vector<std::string> problems;
    std::string failure;
};

Reading readAll(std::span<const std::uint8_t> bytes) {
    const ExactBuffer buffer(bytes);
    qlxtest::MemorySource source(buffer.span());
    KlvReader reader(source);
    Reading reading;
    try {
        for (Frame frame; reader.next(frame, reading.problems);) {
            reading.frames.push_back(frame);
        }
    } catch (const Failure& failure) {
        reading.failure = failure.what();
    }
    return reading;
}

void expectCaption(const Frame& frame, std::uint64_t number) {
    EXPECT_EQ(frame.number, number);
    EXPECT_FALSE(frame.pts);
    ASSERT_EQ(frame.packets.size(), 1U);
    const qlx::anc::Packet& packet = frame.packets.front();
    EXPECT_EQ(packet.line, 21U);
    EXPECT_EQ(packet.did, 0x61U);
    EXPECT_EQ(packet.sdid, 0x02U);
    EXPECT_EQ(packet.userData, (std::vector<std::uint8_t>{0x80, 0x94, 0xAE}));
}

TEST(Klv, ReadsEveryFormOfLength) {
    for (const std::string_view length : {"18", "8118", "820018", "83000018", "8400000018", "850000000018",
                                          "86000000000018", "8700000000000018", "880000000000000018"}) {
        const Reading reading = readAll(joined({kAncKeyHex, length, kCaptionElementHex}));
        EXPECT_EQ(reading.failure, "") << length;
        EXPECT_TRUE(reading.problems.empty()) << length;
        ASSERT_EQ(reading.frames.size(), 1U) << length;
        expectCaption(reading.frames.front(), 0);
    }
}

TEST(Klv, RefusesLengthsThatAreNone) {
    EXPECT_EQ(readAll(joined({kAncKeyHex, "80", kCaptionElementHex, "0000"})).failure,
              "memory: byte 16: KLV triplet of indefinite length (80), which has no end");
    EXPECT_EQ(readAll(joined({kAncKeyHex, "89000000000000000018", kCaptionElementHex})).failure,
              "memory: byte 16: KLV length of 9 bytes (at most 8 are possible)");
    EXPECT_EQ(readAll(joined({kAncKeyHex, "ff", kCaptionElementHex})).failure,
              "memory: byte 16: KLV length of 127 bytes (at most 8 are possible)");
    EXPECT_EQ(readAll(joined({kOtherKeyHex, "00", "11111111111111111111111111111111", "ff"})).failure,
              "memory: byte 33: KLV length of 127 bytes (at most 8 are possible) "
              "(no SMPTE key here: is this a KLV file?)");
}

TEST(Klv, NeitherTakesMemoryForALengthNorRunsPastTheEnd) {
    EXPECT_EQ(readAll(joined({kAncKeyHex, "88ffffffffffffffff", kCaptionElementHex})).failure,
              "memory: byte 0: ANC frame element of 18446744073709551615 bytes: no frame has that much");
    EXPECT_EQ(readAll(joined({kAncKeyHex, "8402000001", kCaptionElementHex})).failure,
              "memory: byte 0: ANC frame element of 33554433 bytes: no frame has that much");
    EXPECT_EQ(readAll(joined({kAncKeyHex, "8402000000", kCaptionElementHex})).failure,
              "memory: byte 0: KLV triplet cut short: 24 of 33554432 bytes of the value");
    EXPECT_EQ(readAll(joined({kOtherKeyHex, "88ffffffffffffffff", kCaptionElementHex})).failure,
              "memory: byte 0: KLV triplet cut short: 24 of 18446744073709551615 bytes of the value");
}

TEST(Klv, PassesOverOtherKeys) {
    // A filler key before, a key that is no universal label between, an empty value behind.
    const auto bytes =
        joined({kOtherKeyHex, "03", "aabbcc", kAncKeyHex, "18", kCaptionElementHex, "11111111111111111111111111111111",
                "8102", "0001", kAncKeyHex, "820018", kCaptionElementHex, kOtherKeyHex, "00"});
    const Reading reading = readAll(bytes);
    EXPECT_EQ(reading.failure, "");
    ASSERT_EQ(reading.frames.size(), 2U);
    expectCaption(reading.frames[0], 0);
    expectCaption(reading.frames[1], 1);
}

TEST(Klv, KeepsAFrameWithoutPackets) {
    const Reading reading = readAll(joined({kAncKeyHex, "02", "0000", kAncKeyHex, "18", kCaptionElementHex}));
    EXPECT_EQ(reading.failure, "");
    EXPECT_TRUE(reading.problems.empty());
    ASSERT_EQ(reading.frames.size(), 2U);
    EXPECT_TRUE(reading.frames[0].packets.empty());
    expectCaption(reading.frames[1], 1);
}

TEST(Klv, SaysWhereATripletIsCutShort) {
    const auto bytes = joined({kOtherKeyHex, "03", "aabbcc", kAncKeyHex, "83000018", kCaptionElementHex, kAncKeyHex,
                               "83000018", kCaptionElementHex});
    ASSERT_EQ(bytes.size(), 20U + 44 + 44);
    for (std::size_t length = 0; length <= bytes.size(); ++length) {
        const Reading reading = readAll(std::span(bytes).first(length));
        EXPECT_TRUE(reading.problems.empty()) << length;
        const std::size_t frames = length < 64 ? 0 : length < 108 ? 1 : 2;
        EXPECT_EQ(reading.frames.size(), frames) << length;
        if (length == 0) {
            EXPECT_EQ(reading.failure, "memory: byte 0: the file is empty");
        } else if (length == 20) {
            EXPECT_EQ(reading.failure, "memory: byte 20: the file ends without an ANC frame element");
        } else if (length == 64 || length == 108) {
            EXPECT_EQ(reading.failure, "") << length;
        } else {
            const std::string start = length < 20 ? "0" : length < 64 ? "20" : "64";
            EXPECT_TRUE(reading.failure.starts_with("memory: byte " + start + ": KLV triplet cut short: "))
                << length << " " << reading.failure;
        }
    }
}

TEST(Klv, SaysHowMuchOfACutTripletIsThere) {
    const auto bytes = joined({kAncKeyHex, "83000018", kCaptionElementHex});
    const auto failure = [&](std::size_t length) { return readAll(std::span(bytes).first(length)).failure; };
    EXPECT_EQ(failure(1), "memory: byte 0: KLV triplet cut short: 1 of 16 bytes of the key");
    EXPECT_EQ(failure(15), "memory: byte 0: KLV triplet cut short: 15 of 16 bytes of the key");
    EXPECT_EQ(failure(16), "memory: byte 0: KLV triplet cut short: no length behind the key");
    EXPECT_EQ(failure(18), "memory: byte 0: KLV triplet cut short: 1 of 3 bytes of the length");
    EXPECT_EQ(failure(20), "memory: byte 0: KLV triplet cut short: 0 of 24 bytes of the value");
    EXPECT_EQ(failure(43), "memory: byte 0: KLV triplet cut short: 23 of 24 bytes of the value");
    EXPECT_EQ(readAll(joined({kOtherKeyHex, "00", "aa"})).failure,
              "memory: byte 17: KLV triplet cut short: 1 of 16 bytes of the key "
              "(no SMPTE key here: is this a KLV file?)");
}

TEST(Klv, RefusesAFileThatBeginsWithNoLabelAtOnce) {
    const std::string message = "memory: byte 0: no SMPTE key (06 0E 2B 34 ...): this is no KLV file";
    EXPECT_EQ(readAll(fromHex("aa")).failure, message);
    EXPECT_EQ(readAll(std::vector<std::uint8_t>(1000, 0)).failure, message);
    EXPECT_EQ(
        readAll(joined({"11111111111111111111111111111111", "01", "00", kAncKeyHex, "18", kCaptionElementHex})).failure,
        message);
}

TEST(Klv, WalksOnlyAWhileWithoutLabels) {
    // Zeros are triplets of 17 bytes without a value. Behind the first one (17 bytes) 1000 of them are passed over.
    std::vector<std::uint8_t> bytes = joined({kOtherKeyHex, "00"});
    bytes.resize(17 + 1000 * 17);
    const auto element = joined({kAncKeyHex, "18", kCaptionElementHex});
    bytes.insert(bytes.end(), element.begin(), element.end());
    const Reading reading = readAll(bytes);
    EXPECT_EQ(reading.failure, "");
    ASSERT_EQ(reading.frames.size(), 1U);
    expectCaption(reading.frames.front(), 0);
    bytes.resize(17 + 1000 * 17);
    bytes.resize(100000);
    EXPECT_EQ(readAll(bytes).failure, "memory: byte 17017: no SMPTE key (06 0E 2B 34 ...) in 1000 triplets");
}

TEST(Klv, SaysWhenAnElementGivesFewerPacketsThanItAnnounces) {
    // The second packet has 10-bit samples (coding 5), which end the list.
    const auto bytes = joined({kAncKeyHex, "2a", "0002 0015 01 04 0006 00000008 00000001 61 02 03 8094ae 0000",
                               "0015 01 05 0001 00000004 00000001 61 02 00 00", kAncKeyHex, "00", kAncKeyHex, "01",
                               "00", kAncKeyHex, "18", kCaptionElementHex});
    const Reading reading = readAll(bytes);
    EXPECT_EQ(reading.failure, "");
    ASSERT_EQ(reading.frames.size(), 4U);
    expectCaption(reading.frames[0], 0);
    expectCaption(reading.frames[3], 3);
    EXPECT_EQ(
        reading.problems,
        (std::vector<std::string>{
            "frame 0, byte 17: 1 of 2 announced packets read; the next one is damaged, empty or not in 8-bit luma "
            "samples",
            "frame 1, byte 76: element of 0 bytes without a packet count",
            "frame 2, byte 93: element of 1 byte without a packet count"}));
}

}  // namespace

// Reading triplets.
#include "AncBytes.h"
#include "MemorySource.h"
#include "ToolRunner.h"
#include "io/Errors.h"
#include "io/OutputFile.h"
#include "streams/Klv.h"

#include <gtest/gtest.h>

namespace {

using qlx::tool::Failure;
using qlx::tool::Frame;
using qlx::tool::KlvReader;
using qlx::tool::KlvWriter;
using qlx::tool::OutputFile;
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

TEST(Klv, SkipsLengthsThatAreNone) {
    using Lines = std::vector<std::string>;
    const std::string atEnd = ": the file ends without an ANC frame element";
    const Reading indefinite = readAll(joined({kAncKeyHex, "80", kCaptionElementHex, "0000"}));
    EXPECT_EQ(indefinite.problems,
              (Lines{"byte 16: triplet of indefinite length (80), which has no end", "byte 0: 43 bytes skipped"}));
    EXPECT_EQ(indefinite.failure, "memory: byte 43" + atEnd);
    const Reading nine = readAll(joined({kAncKeyHex, "89000000000000000018", kCaptionElementHex}));
    EXPECT_EQ(nine.problems,
              (Lines{"byte 16: length of 9 bytes (at most 8 are possible)", "byte 0: 50 bytes skipped"}));
    EXPECT_EQ(nine.failure, "memory: byte 50" + atEnd);
    const Reading many = readAll(joined({kAncKeyHex, "ff", kCaptionElementHex, kAncKeyHex, "18", kCaptionElementHex}));
    EXPECT_EQ(many.problems,
              (Lines{"byte 16: length of 127 bytes (at most 8 are possible)", "byte 0: 41 bytes skipped"}));
    EXPECT_EQ(many.failure, "");
    ASSERT_EQ(many.frames.size(), 1U);
    expectCaption(many.frames.front(), 0);
    const Reading noKey = readAll(joined({kOtherKeyHex, "00", "11111111111111111111111111111111", "ff"}));
    EXPECT_EQ(noKey.problems, (Lines{"byte 17: no key begins with 11111111", "byte 17: 17 bytes skipped"}));
    EXPECT_EQ(noKey.failure, "memory: byte 34" + atEnd);
}

TEST(Klv, NeitherTakesMemoryForALengthNorRunsPastTheEnd) {
    EXPECT_EQ(readAll(joined({kAncKeyHex, "88ffffffffffffffff", kCaptionElementHex})).problems,
              (std::vector<std::string>{"byte 16: length 18446744073709551615, the greatest for this key is 33554432",
                                        "byte 0: 49 bytes skipped"}));
    EXPECT_EQ(readAll(joined({kAncKeyHex, "8402000001", kCaptionElementHex})).problems,
              (std::vector<std::string>{"byte 16: length 33554433, the greatest for this key is 33554432",
                                        "byte 0: 45 bytes skipped"}));
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
    EXPECT_EQ(reading.problems,
              (std::vector<std::string>{"byte 61: no key begins with 11111111", "byte 61: 20 bytes skipped"}));
    ASSERT_EQ(reading.frames.size(), 2U);
    expectCaption(reading.frames[0], 0);
    expectCaption(reading.frames[1], 1);
}

TEST(Klv, TakesElementsOfEveryTrackCountAndNumber) {
    std::vector<std::uint8_t> bytes = joined({kAncKeyHex, "18", kCaptionElementHex});
    bytes[13] = 3;
    bytes[15] = 2;
    const Reading reading = readAll(bytes);
    EXPECT_EQ(reading.failure, "");
    ASSERT_EQ(reading.frames.size(), 1U);
    expectCaption(reading.frames.front(), 0);
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
    EXPECT_EQ(readAll(joined({kOtherKeyHex, "00", "06"})).failure,
              "memory: byte 17: KLV triplet cut short: 1 of 16 bytes of the key");
}

TEST(Klv, RefusesAFileThatBeginsWithNoLabelAtOnce) {
    const std::string message = "memory: byte 0: no SMPTE key (06 0E 2B 34 ...): this is no KLV file";
    EXPECT_EQ(readAll(fromHex("aa")).failure, message);
    EXPECT_EQ(readAll(std::vector<std::uint8_t>(1000, 0)).failure, message);
    EXPECT_EQ(
        readAll(joined({"11111111111111111111111111111111", "01", "00", kAncKeyHex, "18", kCaptionElementHex})).failure,
        message);
}

TEST(Klv, GoesOnBehindWhatIsNoTriplet) {
    std::vector<std::uint8_t> bytes = joined({kOtherKeyHex, "00"});
    bytes.resize(17 + 100'000);
    const auto element = joined({kAncKeyHex, "18", kCaptionElementHex});
    bytes.insert(bytes.end(), element.begin(), element.end());
    const Reading reading = readAll(bytes);
    const std::vector<std::string> problems{"byte 17: no key begins with 00", "byte 17: 100000 bytes skipped"};
    EXPECT_EQ(reading.failure, "");
    EXPECT_EQ(reading.problems, problems);
    ASSERT_EQ(reading.frames.size(), 1U);
    expectCaption(reading.frames.front(), 0);
    bytes.resize(17 + 100'000);
    const Reading none = readAll(bytes);
    EXPECT_EQ(none.problems, problems);
    EXPECT_EQ(none.failure, "memory: byte 100017: the file ends without an ANC frame element");
}

TEST(Klv, GoesOnInsideATripletWhoseLengthLeadsNowhere) {
    // The first length is 19, not 18: it leads to the second byte of the next key.
    const Reading reading =
        readAll(joined({kAncKeyHex, "19", kCaptionElementHex, kAncKeyHex, "18", kCaptionElementHex}));
    EXPECT_EQ(reading.failure, "");
    EXPECT_EQ(reading.problems,
              (std::vector<std::string>{"byte 0: length 25 leads to no other triplet", "byte 0: 41 bytes skipped"}));
    ASSERT_EQ(reading.frames.size(), 1U);
    expectCaption(reading.frames.front(), 0);
}

TEST(Klv, PassesOverPacketsThatCannotBeUsed) {
    // The second packet has samples of one bit, which lines have; the third one is read.
    const std::string caption = "0015 01 04 0006 00000008 00000001 61 02 03 8094ae 0000";
    const auto bytes =
        joined({kAncKeyHex, "40", "0003" + caption + "0015 01 01 0001 00000004 00000001 61 02 00 00" + caption,
                kAncKeyHex, "00", kAncKeyHex, "01", "00", kAncKeyHex, "18", kCaptionElementHex});
    const Reading reading = readAll(bytes);
    EXPECT_EQ(reading.failure, "");
    ASSERT_EQ(reading.frames.size(), 4U);
    ASSERT_EQ(reading.frames[0].packets.size(), 2U);
    EXPECT_EQ(reading.frames[0].packets[0], reading.frames[0].packets[1]);
    expectCaption(reading.frames[3], 3);
    EXPECT_EQ(reading.problems,
              (std::vector<std::string>{"frame 0, byte 17: byte 27 of the element: sample coding 1 is none of packets",
                                        "frame 1, byte 98: element of 0 bytes without a packet count",
                                        "frame 2, byte 115: element of 1 byte without a packet count"}));
}

TEST(Klv, WritesAsManyPacketsAsAnElementCounts) {
    const qlxtest::TemporaryFolder folder;
    Frame frame;
    frame.number = 7;
    frame.packets.resize(65'535);
    for (const bool asDeployed : {false, true}) {
        OutputFile output(folder.path("a.klv"));
        KlvWriter(output, asDeployed).write(frame);
        output.commit();
        // The count, and of each packet 14 bytes and DID, SDID, data count and padding.
        EXPECT_EQ(folder.read("a.klv").size(), 16U + 4 + 2 + 65'535U * (14 + 4));
    }
    frame.packets.emplace_back();
    for (const bool asDeployed : {false, true}) {
        OutputFile output(folder.path("b.klv"));
        try {
            KlvWriter(output, asDeployed).write(frame);
            ADD_FAILURE() << asDeployed;
        } catch (const Failure& failure) {
            EXPECT_EQ(std::string(failure.what()), "frame 7: 65536 packets, an element has at most 65535");
        }
    }
}

}  // namespace

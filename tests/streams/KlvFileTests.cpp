// Files of KLV triplets: a frame for each ANC frame element, and what is wrong with them.
#include <qlx/streams/jsonl.h>
#include <qlx/streams/klv.h>

#include "AncBytes.h"
#include "FrameFiles.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <string_view>
#include <vector>

namespace {

using qlx::FindingCode;
using qlx::streams::Frame;
using qlx::streams::KlvReader;
using qlx::streams::KlvWriter;
using qlxtest::ExactBuffer;
using qlxtest::fromHex;
using qlxtest::joined;
using qlxtest::kAncKeyHex;
using qlxtest::kCaptionElementHex;
using qlxtest::kOtherKeyHex;
using Reading = qlxtest::FrameReading;

Reading readAll(std::span<const std::uint8_t> bytes) {
    const ExactBuffer buffer(bytes);
    qlx::streams::MemorySource source(buffer.span());
    KlvReader reader(source);
    return qlxtest::readAll(reader);
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

TEST(KlvFile, ReadsEveryFormOfLength) {
    for (const std::string_view length : {"18", "8118", "820018", "83000018", "8400000018", "850000000018",
                                          "86000000000018", "8700000000000018", "880000000000000018"}) {
        const Reading reading = readAll(joined({kAncKeyHex, length, kCaptionElementHex}));
        EXPECT_EQ(reading.failure, "") << length;
        EXPECT_TRUE(reading.problems.empty()) << length;
        ASSERT_EQ(reading.frames.size(), 1U) << length;
        expectCaption(reading.frames.front(), 0);
    }
}

TEST(KlvFile, SkipsLengthsThatAreNone) {
    using Lines = std::vector<std::string>;
    const std::string atEnd = ": the file ends without an ANC frame element";
    const Reading indefinite = readAll(joined({kAncKeyHex, "80", kCaptionElementHex, "0000"}));
    EXPECT_EQ(indefinite.problems,
              (Lines{"byte 16: triplet of indefinite length (80), which has no end", "byte 0: 43 bytes skipped"}));
    EXPECT_EQ(indefinite.failure, "byte 43" + atEnd);
    const Reading nine = readAll(joined({kAncKeyHex, "89000000000000000018", kCaptionElementHex}));
    EXPECT_EQ(nine.problems,
              (Lines{"byte 16: length of 9 bytes (at most 8 are possible)", "byte 0: 50 bytes skipped"}));
    EXPECT_EQ(nine.failure, "byte 50" + atEnd);
    const Reading many = readAll(joined({kAncKeyHex, "ff", kCaptionElementHex, kAncKeyHex, "18", kCaptionElementHex}));
    EXPECT_EQ(many.problems,
              (Lines{"byte 16: length of 127 bytes (at most 8 are possible)", "byte 0: 41 bytes skipped"}));
    EXPECT_EQ(many.failure, "");
    ASSERT_EQ(many.frames.size(), 1U);
    expectCaption(many.frames.front(), 0);
    const Reading noKey = readAll(joined({kOtherKeyHex, "00", "11111111111111111111111111111111", "ff"}));
    EXPECT_EQ(noKey.problems, (Lines{"byte 17: no key begins with 11111111", "byte 17: 17 bytes skipped"}));
    EXPECT_EQ(noKey.failure, "byte 34" + atEnd);
}

TEST(KlvFile, NeitherTakesMemoryForALengthNorRunsPastTheEnd) {
    EXPECT_EQ(readAll(joined({kAncKeyHex, "88ffffffffffffffff", kCaptionElementHex})).problems,
              (std::vector<std::string>{"byte 16: length 18446744073709551615, the greatest for this key is 33554432",
                                        "byte 0: 49 bytes skipped"}));
    EXPECT_EQ(readAll(joined({kAncKeyHex, "8402000001", kCaptionElementHex})).problems,
              (std::vector<std::string>{"byte 16: length 33554433, the greatest for this key is 33554432",
                                        "byte 0: 45 bytes skipped"}));
    EXPECT_EQ(readAll(joined({kAncKeyHex, "8402000000", kCaptionElementHex})).failure,
              "byte 0: KLV triplet cut short: 24 of 33554432 bytes of the value");
    EXPECT_EQ(readAll(joined({kOtherKeyHex, "88ffffffffffffffff", kCaptionElementHex})).failure,
              "byte 0: KLV triplet cut short: 24 of 18446744073709551615 bytes of the value");
}

TEST(KlvFile, PassesOverOtherKeys) {
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

TEST(KlvFile, TakesElementsOfEveryTrackCountAndNumber) {
    std::vector<std::uint8_t> bytes = joined({kAncKeyHex, "18", kCaptionElementHex});
    bytes[13] = 3;
    bytes[15] = 2;
    const Reading reading = readAll(bytes);
    EXPECT_EQ(reading.failure, "");
    ASSERT_EQ(reading.frames.size(), 1U);
    expectCaption(reading.frames.front(), 0);
}

/// An element with a packet of a line, the `number`-th of `count` data elements in its content package.
std::string dataElement(int count, int number, int line) {
    const std::string digits = std::to_string(line);
    return "060e2b34 01020101 0d010301 170" + std::to_string(count) + "020" + std::to_string(number) + "18 0001 00" +
           digits + " 01 04 0006 00000008 00000001 61 02 03 8094ae 0000";
}

/// The lines of the packets of each frame, as hexadecimal digits.
std::string linesOf(const Reading& reading) {
    std::string text;
    for (const Frame& frame : reading.frames) {
        EXPECT_EQ(frame.number, static_cast<std::uint64_t>(&frame - reading.frames.data()));
        text += text.empty() ? "" : ", ";
        for (const qlx::anc::Packet& packet : frame.packets) {
            text += &packet == frame.packets.data() ? "" : " ";
            text += qlxtest::toHex(std::array{static_cast<std::uint8_t>(packet.line)});
        }
        text += frame.packets.empty() ? "-" : "";
    }
    return text;
}

TEST(KlvFile, JoinsTheElementsOfAContentPackage) {
    const auto lines = [](const std::string& digits) {
        const std::vector<std::uint8_t> bytes = fromHex(digits);
        const Reading reading = readAll(bytes);
        EXPECT_EQ(reading.failure, "");
        EXPECT_TRUE(reading.problems.empty());
        qlxtest::Pipe pipe(bytes);
        KlvReader piped(pipe);
        EXPECT_EQ(qlxtest::readAll(piped).frames, reading.frames);
        return linesOf(reading);
    };
    const auto package = [](int line) { return dataElement(2, 1, line) + dataElement(2, 2, line + 1); };
    EXPECT_EQ(lines(package(10) + package(12) + package(14)), "10 11, 12 13, 14 15");
    // One of the two is that of a package each time.
    EXPECT_EQ(lines(dataElement(2, 1, 10) + dataElement(2, 1, 11) + dataElement(2, 2, 12) + dataElement(2, 2, 13)),
              "10, 11 12, 13");
    EXPECT_EQ(lines(dataElement(3, 2, 10) + dataElement(3, 1, 11)), "10, 11");
    EXPECT_EQ(lines(dataElement(3, 2, 10) + dataElement(3, 2, 11) + dataElement(3, 3, 12)), "10, 11 12");
    // A data element of another kind between them, and one that ends the item; fill items are of no package.
    const std::string vbi = "060e2b34 01020101 0d010301 17";
    EXPECT_EQ(lines(dataElement(3, 1, 10) + vbi + "030102 020000" + dataElement(3, 3, 11) + dataElement(3, 1, 12)),
              "10 11, 12");
    EXPECT_EQ(lines(dataElement(3, 1, 10) + vbi + "030103 020000" + dataElement(3, 3, 11)), "10, 11");
    EXPECT_EQ(lines(dataElement(2, 1, 10) + "060e2b34 01010102 03010210 01000000 00" + dataElement(2, 2, 11)), "10 11");
    // A picture element, a system metadata pack, a partition pack: what is behind them is of another package.
    for (const std::string_view other :
         {"060e2b34 01020101 0d010301 15010501 00", "060e2b34 02050101 0d010301 14020000 00",
          "060e2b34 02050101 0d010201 01030400 00"}) {
        EXPECT_EQ(lines(dataElement(2, 1, 10) + std::string(other) + dataElement(2, 2, 11)), "10, 11") << other;
    }
}

TEST(KlvFile, GivesAContentPackageInFrontOfWhatEndsTheFile) {
    const std::string first = dataElement(2, 1, 10);
    Reading reading = readAll(fromHex(first + "060e2b34"));
    EXPECT_EQ(linesOf(reading), "10");
    EXPECT_TRUE(reading.failure.starts_with("byte 41: KLV triplet cut short: ")) << reading.failure;
    const auto bytes = fromHex(first);
    qlxtest::FailingSource source{bytes};
    KlvReader reader(source);
    reading = qlxtest::readAll(reader);
    EXPECT_EQ(linesOf(reading), "10");
    EXPECT_EQ(reading.failure, "byte 41: cannot be read (error 5)");
    // Findings of both elements have the frame.
    reading = readAll(
        fromHex(first + dataElement(2, 1, 11).substr(0, 35) + "01 00" + dataElement(2, 2, 12).substr(0, 35) + "01 00"));
    EXPECT_EQ(linesOf(reading), "10, -");
    EXPECT_EQ(reading.problems, (std::vector<std::string>{"frame 1, byte 58: element cut short: 1 of 2 bytes",
                                                          "frame 1, byte 76: element cut short: 1 of 2 bytes"}));
}

// The elements of one content package have 65,535 packets and twice as many less one behind them: a frame has as many as an
// element can count. What is behind the package is of another one.
TEST(KlvFile, EndsAFrameThatAnElementCouldNotCount) {
    Frame frame;
    qlxtest::MemorySink sink;
    std::uint8_t number = 1;
    std::vector<std::size_t> places;
    for (const std::size_t count : {30'000U, 30'000U, 5'535U, 1U, 65'534U, 65'535U, 0U}) {
        frame.packets.resize(count);
        places.push_back(sink.bytes.size());
        ASSERT_FALSE(KlvWriter(sink).write(frame, nullptr));
        sink.bytes[places.back() + 13] = 7;
        sink.bytes[places.back() + 15] = number++;
    }
    frame.packets.resize(2);
    ASSERT_FALSE(KlvWriter(sink).write(frame, nullptr));
    const Reading reading = readAll(sink.bytes);
    EXPECT_EQ(reading.failure, "");
    std::vector<std::size_t> counts;
    for (const Frame& each : reading.frames) {
        EXPECT_EQ(each.number, counts.size());
        counts.push_back(each.packets.size());
    }
    EXPECT_EQ(counts, (std::vector<std::size_t>{65'535, 65'535, 65'535, 2}));
    const auto said = [&places](int frameNumber, std::size_t place, const std::string& packets) {
        return "frame " + std::to_string(frameNumber) + ", byte " + std::to_string(places[place]) + ": " + packets +
               " behind 65535 of the content package: too many for a frame, another one begins";
    };
    EXPECT_EQ(reading.problems,
              (std::vector<std::string>{said(0, 3, "1 more packet"), said(1, 5, "65535 more packets")}));
    qlxtest::MemorySink again;
    EXPECT_FALSE(KlvWriter(again).write(reading.frames[0], nullptr));
}

TEST(KlvFile, KeepsAFrameWithoutPackets) {
    const Reading reading = readAll(joined({kAncKeyHex, "02", "0000", kAncKeyHex, "18", kCaptionElementHex}));
    EXPECT_EQ(reading.failure, "");
    EXPECT_TRUE(reading.problems.empty());
    ASSERT_EQ(reading.frames.size(), 2U);
    EXPECT_TRUE(reading.frames[0].packets.empty());
    expectCaption(reading.frames[1], 1);
}

TEST(KlvFile, SaysWhereATripletIsCutShort) {
    const auto bytes = joined({kOtherKeyHex, "03", "aabbcc", kAncKeyHex, "83000018", kCaptionElementHex, kAncKeyHex,
                               "83000018", kCaptionElementHex});
    ASSERT_EQ(bytes.size(), 20U + 44 + 44);
    for (std::size_t length = 0; length <= bytes.size(); ++length) {
        const Reading reading = readAll(std::span(bytes).first(length));
        EXPECT_TRUE(reading.problems.empty()) << length;
        const std::size_t frames = length < 64 ? 0 : length < 108 ? 1 : 2;
        EXPECT_EQ(reading.frames.size(), frames) << length;
        if (length == 0) {
            EXPECT_EQ(reading.failure, "byte 0: the file is empty");
        } else if (length == 20) {
            EXPECT_EQ(reading.failure, "byte 20: the file ends without an ANC frame element");
        } else if (length == 64 || length == 108) {
            EXPECT_EQ(reading.failure, "") << length;
        } else {
            const std::string start = length < 20 ? "0" : length < 64 ? "20" : "64";
            EXPECT_TRUE(reading.failure.starts_with("byte " + start + ": KLV triplet cut short: "))
                << length << " " << reading.failure;
        }
    }
}

TEST(KlvFile, SaysHowMuchOfACutTripletIsThere) {
    const auto bytes = joined({kAncKeyHex, "83000018", kCaptionElementHex});
    const auto failure = [&](std::size_t length) { return readAll(std::span(bytes).first(length)).failure; };
    EXPECT_EQ(failure(1), "byte 0: KLV triplet cut short: 1 of 17 bytes of key and length");
    EXPECT_EQ(failure(15), "byte 0: KLV triplet cut short: 15 of 17 bytes of key and length");
    EXPECT_EQ(failure(16), "byte 0: KLV triplet cut short: 16 of 17 bytes of key and length");
    EXPECT_EQ(failure(18), "byte 0: KLV triplet cut short: 18 of 20 bytes of key and length");
    EXPECT_EQ(failure(20), "byte 0: KLV triplet cut short: 0 of 24 bytes of the value");
    EXPECT_EQ(failure(43), "byte 0: KLV triplet cut short: 23 of 24 bytes of the value");
    EXPECT_EQ(readAll(joined({kOtherKeyHex, "00", "06"})).failure,
              "byte 17: KLV triplet cut short: 1 of 17 bytes of key and length");
}

TEST(KlvFile, RefusesAFileWithoutAnyLabel) {
    const std::string message = "byte 0: no SMPTE key (06 0E 2B 34 ...): this is no KLV file";
    EXPECT_EQ(readAll(fromHex("aa")).failure, message);
    const Reading zeros = readAll(std::vector<std::uint8_t>(1000, 0));
    EXPECT_EQ(zeros.failure, message);
    EXPECT_EQ(zeros.problems, std::vector<std::string>());
    // A long one is not searched to its end for a key.
    std::vector<std::uint8_t> bytes(34 * 1024 * 1024);
    const auto element = joined({kAncKeyHex, "18", kCaptionElementHex});
    bytes.insert(bytes.end(), element.begin(), element.end());
    qlx::streams::MemorySource source(bytes);
    KlvReader reader(source);
    Frame frame;
    const auto refused = reader.next(frame, nullptr);
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error().code, FindingCode::KlvFileKeyMissing);
    EXPECT_LT(source.offset(), 33U * 1024 * 1024);
}

TEST(KlvFile, GoesOnBehindADamagedFirstKey) {
    const auto bytes = joined({"11111111111111111111111111111111", "01", "00", kAncKeyHex, "18", kCaptionElementHex});
    const std::vector<std::string> problems{"byte 0: no key begins with 11111111", "byte 0: 18 bytes skipped"};
    const Reading reading = readAll(bytes);
    EXPECT_EQ(reading.failure, "");
    EXPECT_EQ(reading.problems, problems);
    ASSERT_EQ(reading.frames.size(), 1U);
    expectCaption(reading.frames.front(), 0);
    // The same of a pipe.
    qlxtest::Pipe pipe(bytes);
    KlvReader reader(pipe);
    const Reading piped = qlxtest::readAll(reader);
    EXPECT_EQ(piped.failure, "");
    EXPECT_EQ(piped.problems, problems);
    EXPECT_EQ(piped.frames, reading.frames);
}

TEST(KlvFile, KeepsWhereThePacketsOfAnElementBelong) {
    using qlx::anc::Wrapping;
    // Vertical data of the whole frame, horizontal data of field 2 in luma, and of a progressive frame in chroma.
    const auto bytes = joined({kAncKeyHex, "83000038",
                               "0003 0009 01 04 0004 00000004 00000001 610201 80"
                               "0009 13 04 0004 00000004 00000001 610201 80"
                               "000a 14 05 0004 00000004 00000001 610201 80"});
    const Reading reading = readAll(bytes);
    ASSERT_EQ(reading.frames.size(), 1U);
    const Frame& frame = reading.frames.front();
    EXPECT_EQ(frame.wrappings,
              (std::vector<Wrapping>{Wrapping::VancFrame, Wrapping::HancField2, Wrapping::HancProgressiveFrame}));
    qlxtest::MemorySink sink;
    qlx::Findings findings;
    EXPECT_FALSE(KlvWriter(sink).write(frame, &findings));
    EXPECT_EQ(sink.bytes, bytes);
    EXPECT_EQ(findings.size(), 0U);
    // Other forms have no place for them.
    EXPECT_FALSE(qlx::streams::JsonlWriter(sink).write(frame, &findings));
    ASSERT_EQ(findings.size(), 2U);
    EXPECT_EQ(findings[0], (qlx::Finding{FindingCode::StreamWrappingLeftOut, qlx::Severity::Warning, 1, 0x13, 0}));
    EXPECT_EQ(findings[1], (qlx::Finding{FindingCode::StreamWrappingLeftOut, qlx::Severity::Warning, 2, 0x14, 0}));
}

TEST(KlvFile, SaysWhatAnElementHasNoPlaceFor) {
    Frame frame;
    frame.packets.resize(3);
    frame.packets[0].userData.resize(2);
    frame.packets[1].horizontalOffset = 9;  // right behind the first, which takes nine words
    frame.packets[2].horizontalOffset = 20;
    frame.triplets = qlx::Data{0xFC, 0x94, 0x2C, 0xFD, 0x80, 0x80};
    qlxtest::MemorySink sink;
    qlx::Findings findings;
    EXPECT_FALSE(KlvWriter(sink).write(frame, &findings));
    ASSERT_EQ(findings.size(), 2U);
    EXPECT_EQ(findings[0],
              (qlx::Finding{FindingCode::StreamHorizontalOffsetLeftOut, qlx::Severity::Warning, 2, 20, 16}));
    EXPECT_EQ(findings[1], (qlx::Finding{FindingCode::StreamCaptionsLeftOut, qlx::Severity::Warning, 3, 2, 0}));
    EXPECT_FALSE(KlvWriter(sink).write(frame, nullptr));
}

TEST(KlvFile, SaysWhichPacketsHaveWordsOfTenBits) {
    // DID 241h, SDID 205h, DBN or data count 203h, then three words; the middle one has 2 in its upper bits, and 1 would
    // be right. 241 + 205 + 203 + 101 + 207 + 203 in nine bits is 154h, and bit 9 is not bit 8.
    const std::string element = "0001 0009 01 07 0007 0000000c 00000001";
    const auto packed = [](std::initializer_list<unsigned> words) {
        // Three words in 32 bits, the first one highest.
        std::vector<std::uint8_t> bytes;
        std::vector<unsigned> all(words);
        all.resize((all.size() + 2) / 3 * 3);
        for (std::size_t at = 0; at < all.size(); at += 3) {
            const unsigned group = all[at] << 22U | all[at + 1] << 12U | all[at + 2] << 2U;
            for (const unsigned shift : {24U, 16U, 8U, 0U}) {
                bytes.push_back(static_cast<std::uint8_t>(group >> shift));
            }
        }
        return qlxtest::toHex(bytes);
    };
    const std::string usual = packed({0x241, 0x205, 0x203, 0x101, 0x107, 0x203, 0x254});
    const std::string tenBits = packed({0x241, 0x205, 0x203, 0x101, 0x207, 0x203, 0x154});
    EXPECT_EQ(readAll(joined({kAncKeyHex, "1c", element, usual})).remarks, std::vector<std::string>());
    const Reading reading = readAll(joined({kAncKeyHex, "1c", element, tenBits}));
    EXPECT_EQ(reading.problems, std::vector<std::string>());
    EXPECT_EQ(reading.remarks,
              std::vector<std::string>{"frame 0, byte 33: 1 user data word of ten bits: the upper two left out"});
    ASSERT_EQ(reading.frames.size(), 1U);
    EXPECT_EQ(reading.frames[0].packets.at(0).userData, (std::vector<std::uint8_t>{1, 7, 3}));
}

TEST(KlvFile, LooksBehindALongValueWhereItCan) {
    // A value of more than is kept, in which an element stands that leads on: what is behind it decides.
    const auto inner = joined({kAncKeyHex, "18", kCaptionElementHex, kAncKeyHex, "02", "0000"});
    std::vector<std::uint8_t> bytes = joined({kOtherKeyHex, "8402000001"});
    const std::size_t begin = bytes.size();
    bytes.insert(bytes.end(), inner.begin(), inner.end());
    bytes.resize(begin + 0x2000001);
    const auto element = joined({kAncKeyHex, "18", kCaptionElementHex});
    bytes.insert(bytes.end(), element.begin(), element.end());
    qlx::streams::MemorySource source(bytes);
    KlvReader reader(source);
    const Reading reading = qlxtest::readAll(reader);
    EXPECT_EQ(reading.failure, "");
    EXPECT_EQ(reading.problems, std::vector<std::string>());
    ASSERT_EQ(reading.frames.size(), 1U);
    expectCaption(reading.frames.front(), 0);
}

TEST(KlvFile, GoesOnBehindWhatIsNoTriplet) {
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
    EXPECT_EQ(none.failure, "byte 100017: the file ends without an ANC frame element");
}

TEST(KlvFile, GoesOnInsideATripletWhoseLengthLeadsNowhere) {
    // The first length is 19, not 18: it leads to the second byte of the next key.
    const Reading reading =
        readAll(joined({kAncKeyHex, "19", kCaptionElementHex, kAncKeyHex, "18", kCaptionElementHex}));
    EXPECT_EQ(reading.failure, "");
    EXPECT_EQ(reading.problems,
              (std::vector<std::string>{"byte 0: length 25 leads to no other triplet", "byte 0: 41 bytes skipped"}));
    ASSERT_EQ(reading.frames.size(), 1U);
    expectCaption(reading.frames.front(), 0);
}

TEST(KlvFile, PassesOverPacketsThatCannotBeUsed) {
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
    EXPECT_EQ(reading.problems, (std::vector<std::string>{"frame 0, byte 44: sample coding 1 is none of packets",
                                                          "frame 1, byte 98: element cut short: 0 of 2 bytes",
                                                          "frame 2, byte 115: element cut short: 1 of 2 bytes"}));
}

TEST(KlvFile, GivesTenFindingsOfAnElementAndCountsTheRest) {
    // Twelve packets of a coding that is none of packets.
    std::string element = "000c";
    for (int packet = 0; packet < 12; ++packet) {
        element += "0015 01 01 0001 00000004 00000001 61 02 00 00";
    }
    const Reading reading = readAll(joined({kAncKeyHex, "8200da", element}));
    ASSERT_EQ(reading.problems.size(), 11U);
    EXPECT_EQ(reading.problems[9],
              "frame 0, byte " + std::to_string(19 + 2 + 9 * 18 + 3) + ": sample coding 1 is none of packets");
    EXPECT_EQ(reading.problems[10], "frame 0, byte 19: 2 more findings in the frame");
}

TEST(KlvFile, BeginsWhereTheSourceStands) {
    const auto bytes = joined({"ffff", kAncKeyHex, "18", kCaptionElementHex, kAncKeyHex, "01", "00"});
    qlx::streams::MemorySource source(bytes);
    EXPECT_EQ(source.skip(2), 2U);
    KlvReader reader(source);
    const Reading reading = qlxtest::readAll(reader);
    ASSERT_EQ(reading.frames.size(), 2U);
    expectCaption(reading.frames[0], 0);
    ASSERT_EQ(reading.problems.size(), 1U);
    EXPECT_TRUE(reading.problems[0].starts_with("frame 1, byte 60: ")) << reading.problems[0];
}

TEST(KlvFile, EndsWhereItsSourceFails) {
    const auto bytes = joined({kAncKeyHex, "18", kCaptionElementHex, kAncKeyHex, "18", kCaptionElementHex});
    for (std::size_t length = 0; length <= bytes.size(); ++length) {
        qlxtest::FailingSource source{std::span(bytes).first(length)};
        KlvReader reader(source);
        const Reading reading = qlxtest::readAll(reader);
        EXPECT_EQ(reading.failure, "byte " + std::to_string(length) + ": cannot be read (error 5)");
        EXPECT_EQ(reading.problems, std::vector<std::string>()) << length;
        // What was read in front of it is given.
        EXPECT_EQ(reading.frames.size(), length / 41);
        Frame frame;
        const auto again = reader.next(frame, nullptr);
        ASSERT_FALSE(again);
        EXPECT_EQ(again.error().code, FindingCode::StreamReadFailed);
    }
}

TEST(KlvFile, WritesAsManyPacketsAsAnElementCounts) {
    Frame frame;
    frame.packets.resize(65'535);
    qlxtest::MemorySink sink;
    KlvWriter writer(sink);
    EXPECT_FALSE(writer.write(frame, nullptr));
    // The count, and of each packet 14 bytes and DID, SDID, data count and padding.
    EXPECT_EQ(sink.bytes.size(), 16U + 4 + 2 + 65'535U * (14 + 4));
    const Reading reading = readAll(sink.bytes);
    ASSERT_EQ(reading.frames.size(), 1U);
    EXPECT_EQ(reading.frames[0], frame);
    frame.packets.emplace_back();
    const auto tooMany = writer.write(frame, nullptr);
    ASSERT_TRUE(tooMany);
    EXPECT_EQ(tooMany->text(), "65536 packets, an element has at most 65535");
    EXPECT_EQ(tooMany->offset, 65'536U);  // about none of them
    // More than a length of three bytes says.
    frame.packets.resize(65'535);
    for (qlx::anc::Packet& packet : frame.packets) {
        packet.userData.resize(255);
    }
    const auto tooLong = writer.write(frame, nullptr);
    ASSERT_TRUE(tooLong);
    EXPECT_EQ(tooLong->code, FindingCode::KlvLengthDoesNotFit);
    EXPECT_EQ(tooLong->offset, 65'535U);
}

TEST(KlvFile, SaysWhichPacketAnElementHasNoPlaceFor) {
    Frame frame;
    frame.packets.resize(2);
    frame.packets[1].userData.resize(256);
    qlxtest::MemorySink sink;
    const auto failure = KlvWriter(sink).write(frame, nullptr);
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->code, FindingCode::AncTooManyUserDataWords);
    EXPECT_EQ(failure->offset, 1U);
    EXPECT_TRUE(sink.bytes.empty());
    frame.packets.pop_back();
    qlxtest::MemorySink full(39);
    const auto unwritten = KlvWriter(full).write(frame, nullptr);
    ASSERT_TRUE(unwritten);
    EXPECT_EQ(unwritten->code, FindingCode::StreamWriteFailed);
}

}  // namespace

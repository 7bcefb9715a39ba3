// Files of SDI rows: what is read of them and written to them.
#include <qlx/streams/rows.h>

#include "AncBytes.h"
#include "FrameFiles.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace {

using qlx::FindingCode;
using qlx::anc::Channel;
using qlx::anc::RowFormat;
using qlx::streams::Frame;
using qlx::streams::RowLayout;
using qlx::streams::RowReader;
using qlx::streams::RowWriter;
using qlxtest::ancSamples;
using qlxtest::ExactBuffer;
using Bytes = std::vector<std::uint8_t>;
using Lines = std::vector<std::string>;

qlxtest::FrameReading readRows(std::span<const std::uint8_t> bytes, const RowLayout& layout) {
    const ExactBuffer buffer(bytes);
    qlx::streams::MemorySource source(buffer.span());
    RowReader reader(source, layout);
    return qlxtest::readAll(reader);
}

qlx::anc::Packet packetOn(std::uint32_t line, Channel channel, std::size_t size) {
    qlx::anc::Packet packet{0x61, 0x01, Bytes(size, 0x5A), line, 0, channel};
    return packet;
}

TEST(RowFile, IsReadAtEveryLength) {
    const Bytes data{1, 2, 3};
    auto bytes = qlxtest::v210Row(8, ancSamples(0x61, 0x01, data));
    const auto blank = qlxtest::v210Row(8, {});
    bytes.insert(bytes.end(), blank.begin(), blank.end());
    const auto again = bytes;
    bytes.insert(bytes.end(), again.begin(), again.end());
    ASSERT_EQ(bytes.size(), 512U);
    const RowLayout layout{.format = RowFormat::V210, .width = 48, .lines = {9, 10}};
    for (std::size_t length = 0; length <= bytes.size(); ++length) {
        const qlxtest::FrameReading reading = readRows(std::span(bytes).first(length), layout);
        const std::size_t rows = length / 128;
        ASSERT_EQ(reading.frames.size(), (rows + 1) / 2) << length;
        for (std::size_t number = 0; number < reading.frames.size(); ++number) {
            EXPECT_EQ(reading.frames[number].number, number);
            ASSERT_EQ(reading.frames[number].packets.size(), 1U);
            EXPECT_EQ(reading.frames[number].packets[0].line, 9U);
            EXPECT_EQ(reading.frames[number].packets[0].userData, data);
        }
        std::string failure;
        const std::size_t rest = length % 128;
        if (length == 0) {
            failure = "byte 0: the file is empty";
        } else if (rest != 0) {
            failure = "byte " + std::to_string(rows * 128) + ": the last row is cut short: " + std::to_string(rest) +
                      " of 128 bytes";
        } else if (rows % 2 == 1) {
            failure = "byte " + std::to_string(rows * 128) + ": the last frame is cut short: 1 of 2 rows";
        }
        EXPECT_EQ(reading.failure, failure) << length;
        EXPECT_EQ(reading.problems, Lines()) << length;
    }
}

TEST(RowFile, SaysOnWhichRowAFindingIs) {
    // In the third row, which is line 9 of frame 1: the packet begins at luma word 3, sample 7, in the third 32-bit word.
    std::vector<std::uint16_t> samples = qlxtest::blankSamples(48);
    qlxtest::place(samples, 7, 2, ancSamples(0x61, 0x01, Bytes{1}));
    std::vector<std::uint16_t> wrong = ancSamples(0x61, 0x01, Bytes{1});
    wrong.back() ^= 0x001U;
    std::vector<std::uint16_t> damaged = qlxtest::blankSamples(48);
    qlxtest::place(damaged, 1, 2, wrong);  // its checksum is luma word 7, sample 15, in the sixth 32-bit word
    Bytes bytes = qlxtest::v210Row(8, {});
    for (const Bytes& row : {qlxtest::v210Row(8, {}), qlxtest::v210Bytes(samples), qlxtest::v210Bytes(damaged)}) {
        bytes.insert(bytes.end(), row.begin(), row.end());
    }
    Bytes behind{1, 2, 3};
    behind.insert(behind.end(), bytes.begin(), bytes.end());
    qlx::streams::MemorySource source(behind);
    EXPECT_EQ(source.skip(3), 3U);
    RowReader reader(source, {.format = RowFormat::V210, .width = 48, .lines = {9, 572}});
    const qlxtest::FrameReading reading = qlxtest::readAll(reader);
    EXPECT_EQ(reading.remarks, Lines{"frame 1, line 9, byte 8: packet at sample 3, 0 would be right"});
    ASSERT_EQ(reading.problems.size(), 1U);
    EXPECT_TRUE(reading.problems[0].starts_with("frame 1, line 572, byte 20: checksum ")) << reading.problems[0];
    EXPECT_EQ(reading.frames.size(), 2U);
}

TEST(RowFile, RefusesRowsThatNoFileHas) {
    for (const RowLayout& layout : {RowLayout{.format = RowFormat::V210, .width = 0, .lines = {9}},
                                    RowLayout{.format = RowFormat::TwoVuy, .width = 48, .lines = {}},
                                    RowLayout{.format = RowFormat::V210, .width = 1'000'001, .lines = {9}}}) {
        qlx::streams::MemorySource source(std::span<const std::uint8_t>{});
        RowReader reader(source, layout);
        Frame frame;
        for (int time = 0; time < 2; ++time) {
            const auto refused = reader.next(frame, nullptr);
            ASSERT_FALSE(refused);
            EXPECT_EQ(refused.error(), (qlx::Finding{FindingCode::RowLayoutWrong, qlx::Severity::Error, 0, layout.width,
                                                     static_cast<std::int64_t>(layout.lines.size())}));
        }
        qlxtest::MemorySink sink;
        const auto unwritten = RowWriter(sink, layout).write({}, nullptr);
        ASSERT_TRUE(unwritten);
        EXPECT_EQ(unwritten->code, FindingCode::RowLayoutWrong);
        EXPECT_TRUE(sink.bytes.empty());
    }
}

TEST(RowFile, SaysWhichPacketsHaveWordsOfTenBits) {
    std::vector<std::uint16_t> words = ancSamples(0x61, 0x01, Bytes{1, 2, 3});
    words[7] ^= 0x300U;  // of the second user data word; nine bits of it are in the sum
    words.back() ^= 0x100U;
    words.back() = static_cast<std::uint16_t>((words.back() & 0x1FFU) | ((words.back() & 0x100U) != 0 ? 0U : 0x200U));
    std::vector<std::uint16_t> samples = qlxtest::blankSamples(48);
    qlxtest::place(samples, 1, 2, words);
    const Bytes row = qlxtest::v210Bytes(samples);
    const qlxtest::FrameReading reading = readRows(row, {.format = RowFormat::V210, .width = 48, .lines = {9}});
    EXPECT_EQ(reading.problems, Lines());
    EXPECT_EQ(reading.remarks, Lines{"frame 0, line 9, byte 0: 1 user data word of ten bits: the upper two left out"});
    ASSERT_EQ(reading.frames.size(), 1U);
    EXPECT_EQ(reading.frames[0].packets.at(0).userData, (Bytes{1, 2, 3}));
}

TEST(RowFile, WritesNothingOfAFrameThatItRefuses) {
    Frame frame;
    frame.packets = {packetOn(9, Channel::Luma, 3), packetOn(572, Channel::Luma, 200)};
    qlxtest::MemorySink sink;
    RowWriter writer(sink, {.format = RowFormat::V210, .width = 48, .lines = {9, 572}});
    const auto refused = writer.write(frame, nullptr);
    ASSERT_TRUE(refused);
    EXPECT_EQ(refused->code, FindingCode::AncPacketDoesNotFit);
    EXPECT_EQ(refused->offset, 1U);
    EXPECT_EQ(sink.bytes.size(), 0U);
    frame.packets.pop_back();
    EXPECT_FALSE(writer.write(frame, nullptr));
    EXPECT_EQ(sink.bytes.size(), 256U);
}

TEST(RowFile, SaysWhatRowsHaveNoPlaceFor) {
    Frame frame;
    frame.packets = {packetOn(9, Channel::Luma, 3), packetOn(9, Channel::Luma, 0), packetOn(9, Channel::Chroma, 1)};
    frame.packets[1].horizontalOffset = 10;  // right behind the first
    frame.packets[2].horizontalOffset = 2;
    frame.wrappings = {qlx::anc::Wrapping::VancField2};
    frame.triplets = qlx::Data{0xFC, 0x94, 0x2C};
    qlxtest::MemorySink sink;
    qlx::Findings findings;
    RowWriter writer(sink, {.format = RowFormat::V210, .width = 48, .lines = {9}});
    EXPECT_FALSE(writer.write(frame, &findings));
    using qlx::Finding;
    using qlx::Severity;
    ASSERT_EQ(findings.size(), 3U);
    EXPECT_EQ(findings[0], (Finding{FindingCode::StreamWrappingLeftOut, Severity::Warning, 0, 3, 0}));
    EXPECT_EQ(findings[1], (Finding{FindingCode::StreamHorizontalOffsetLeftOut, Severity::Warning, 2, 2, 0}));
    EXPECT_EQ(findings[2], (Finding{FindingCode::StreamCaptionsLeftOut, Severity::Warning, 3, 1, 0}));
}

TEST(RowFile, EndsWhereItsSourceFails) {
    const Bytes bytes = qlxtest::v210Row(8, ancSamples(0x61, 0x01, Bytes{1}));
    for (const std::size_t length : {std::size_t{0}, std::size_t{5}, bytes.size()}) {
        qlxtest::FailingSource source{std::span(bytes).first(length)};
        RowReader reader(source, {.format = RowFormat::V210, .width = 48, .lines = {9}});
        const qlxtest::FrameReading reading = qlxtest::readAll(reader);
        EXPECT_EQ(reading.frames.size(), length == bytes.size() ? 1U : 0U);
        EXPECT_EQ(reading.failure, "byte " + std::to_string(length) + ": cannot be read (error 5)");
    }
}

/// Frames of packets that fit, in the order in which a reader gives them.
std::vector<Frame> randomFrames(std::mt19937& random, RowFormat format, bool isMultiplex) {
    std::vector<Frame> frames(4);
    for (std::size_t number = 0; number < frames.size(); ++number) {
        frames[number].number = number;
        for (const std::uint32_t line : {9U, 572U}) {
            for (const Channel channel : {Channel::Chroma, Channel::Luma}) {
                std::uint32_t offset = 0;
                for (std::size_t count = random() % 4; count > 0 && (!isMultiplex || channel == Channel::Luma);
                     --count) {
                    qlx::anc::Packet packet =
                        packetOn(line, isMultiplex ? Channel::SdMultiplex : channel, random() % 40);
                    for (std::uint8_t& byte : packet.userData) {
                        // Neither the words of a flag nor, in eight bits, their lower halves.
                        byte = static_cast<std::uint8_t>(1 + random() % (format == RowFormat::V210 ? 250 : 200));
                    }
                    packet.horizontalOffset = offset;
                    offset += static_cast<std::uint32_t>(qlx::anc::packetWords(packet.userData.size()));
                    frames[number].packets.push_back(packet);
                }
            }
        }
    }
    return frames;
}

void sortPackets(std::vector<Frame>& frames) {
    for (Frame& frame : frames) {
        std::stable_sort(frame.packets.begin(), frame.packets.end(), [](const auto& one, const auto& other) {
            return std::tuple(one.line, one.channel, one.horizontalOffset) <
                   std::tuple(other.line, other.channel, other.horizontalOffset);
        });
    }
}

TEST(RowFile, IsReadBackAsItIsWritten) {
    std::mt19937 random(11);
    for (int round = 0; round < 40; ++round) {
        const RowFormat format = round % 2 == 0 ? RowFormat::V210 : RowFormat::TwoVuy;
        const bool isMultiplex = round % 4 >= 2;
        const RowLayout layout{.format = format, .width = isMultiplex ? 720U : 1280U, .lines = {9, 572}};
        std::vector<Frame> frames = randomFrames(random, format, isMultiplex);
        qlxtest::MemorySink sink;
        RowWriter writer(sink, layout);
        for (const Frame& frame : frames) {
            ASSERT_FALSE(writer.write(frame, nullptr));
        }
        EXPECT_EQ(sink.bytes.size(), qlx::anc::rowBytes(format, layout.width) * 2 * frames.size());
        qlxtest::FrameReading reading = readRows(sink.bytes, layout);
        EXPECT_EQ(reading.failure, "");
        EXPECT_EQ(reading.problems, Lines());
        sortPackets(frames);
        sortPackets(reading.frames);
        EXPECT_EQ(reading.frames, frames) << round;
    }
}

TEST(RowFile, IsPaddedWithBlankSamples) {
    // 46 pixels make eight groups of six, the last one with two pixels of padding: as wide as 48 pixels.
    qlxtest::MemorySink sink;
    RowWriter writer(sink, {.format = RowFormat::V210, .width = 46, .lines = {9}});
    EXPECT_FALSE(writer.write(Frame(), nullptr));
    EXPECT_EQ(sink.bytes, qlxtest::v210Row(8, {}));
    qlxtest::MemorySink narrow;
    EXPECT_FALSE(RowWriter(narrow, {.format = RowFormat::TwoVuy, .width = 3, .lines = {9}}).write(Frame(), nullptr));
    EXPECT_EQ(narrow.bytes, (Bytes{0x80, 0x10, 0x80, 0x10, 0x80, 0x10, 0x80, 0x10}));
}

/// Why a frame cannot be written: the code, the number of the packet and the first number.
std::string refusal(const Frame& frame, FindingCode code) {
    qlxtest::MemorySink sink;
    const auto failure =
        RowWriter(sink, {.format = RowFormat::V210, .width = 48, .lines = {9, 10}}).write(frame, nullptr);
    if (!failure) {
        return "none";
    }
    EXPECT_EQ(failure->code, code) << failure->text();
    return std::to_string(failure->offset) + ": " + std::to_string(failure->first);
}

TEST(RowFile, RefusesWhatHasNoPlace) {
    Frame frame;
    frame.packets = {packetOn(9, Channel::Luma, 10), packetOn(10, Channel::Luma, 10), packetOn(9, Channel::Chroma, 10)};
    EXPECT_EQ(refusal(frame, FindingCode::None), "none");
    frame.packets.push_back(packetOn(11, Channel::Luma, 1));
    EXPECT_EQ(refusal(frame, FindingCode::RowFileLineMissing), "3: 11");
    frame.packets[3] = packetOn(10, Channel::SdMultiplex, 1);
    EXPECT_EQ(refusal(frame, FindingCode::RowFileChannelsMixed), "3: 10");
    // 17 words are taken, 31 are free: 24 of user data and 7 around them.
    frame.packets[3] = packetOn(9, Channel::Luma, 24);
    EXPECT_EQ(refusal(frame, FindingCode::None), "none");
    frame.packets[3] = packetOn(9, Channel::Luma, 25);
    EXPECT_EQ(refusal(frame, FindingCode::AncPacketDoesNotFit), "3: 32");
    frame.packets[3] = packetOn(10, Channel::Chroma, 256);
    EXPECT_EQ(refusal(frame, FindingCode::AncTooManyUserDataWords), "3: 256");
    qlxtest::MemorySink full(127);
    const auto failure =
        RowWriter(full, {.format = RowFormat::V210, .width = 48, .lines = {9}}).write(Frame(), nullptr);
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->code, FindingCode::StreamWriteFailed);
}

}  // namespace

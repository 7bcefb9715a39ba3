// Scenarist caption files: fields, rates, parity, and what is written.
#include <qlx/base/parity.h>
#include <qlx/streams/scc.h>

#include "FrameFiles.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace scc_file {

using qlx::FindingCode;
using qlx::FrameRate;
using qlx::MediaTime;
using qlx::cc::CcType;
using qlx::cc::Triplet;
using qlx::streams::Frame;
using qlx::streams::SccOptions;
using qlx::streams::SccReader;
using qlx::streams::SccWriter;

qlxtest::FrameReading readScc(std::string_view text, const SccOptions& options = {}) {
    qlx::streams::MemorySource source({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
    SccReader reader(source, options);
    return qlxtest::readAll(reader);
}

/// A frame with triplets, without a time.
Frame frameOf(std::uint64_t number, const std::vector<Triplet>& triplets) {
    std::vector<std::uint8_t> bytes;
    for (const Triplet& triplet : triplets) {
        bytes.insert(bytes.end(), {triplet.header, triplet.first, triplet.second});
    }
    Frame frame;
    frame.number = number;
    frame.triplets = qlx::Data(bytes);
    return frame;
}

constexpr Triplet kResume = Triplet::make(CcType::Field1, 0x94, 0x20);
constexpr Triplet kErase = Triplet::make(CcType::Field1, 0x94, 0x2C);
constexpr Triplet kOfField2 = Triplet::make(CcType::Field2, 0x15, 0x20);
constexpr Triplet kOfService = Triplet::make(CcType::DtvccStart, 0x02, 0x21);

/// What is written of frames, behind it the findings: `@PLACE TEXT`, and `!` in front of the one that ends it.
std::string written(const std::vector<Frame>& frames, const SccOptions& options = {}) {
    qlxtest::MemorySink sink;
    SccWriter writer(sink, options);
    qlx::Findings findings(100);
    std::string said;
    for (const Frame& frame : frames) {
        if (const auto failure = writer.write(frame, &findings)) {
            said = "!" + std::to_string(failure->offset) + " " + failure->text() + "\n";
            break;
        }
    }
    EXPECT_TRUE(!said.empty() || !writer.finish());
    std::string text(sink.bytes.begin(), sink.bytes.end());
    for (const qlx::Finding& finding : findings) {
        text += "@" + std::to_string(finding.offset) + " " + finding.text() + "\n";
    }
    return text + said;
}

const std::string kTitle = "Scenarist_SCC V1.0\n";

TEST(SccReading, TakesFieldAndRateOfTheCaller) {
    const auto field2 = readScc(kTitle + "\n00:00:00:00\t1520\n", {.field = CcType::Field2});
    ASSERT_EQ(field2.frames.size(), 1U);
    EXPECT_EQ(
        qlxtest::jsonLine(field2.frames[0]),
        R"({"frame":0,"pts":{"value":0,"timescale":30000,"seconds":0},"packets":[],"captions":{"data":"fd1520"}})");
    struct Case {
        FrameRate rate;
        const char* time;
        std::uint64_t frame;
    };
    for (const Case& one : {Case{FrameRate::Fps25, "00:00:01:24", 49}, Case{FrameRate::Fps24, "00:00:01:23", 47},
                            Case{FrameRate::Fps5994, "00:01:00;04", 3600}, Case{FrameRate::Fps60, "00:00:01:59", 119},
                            Case{FrameRate::Fps2997, "01:00:00;00", 107'892}}) {
        const auto reading = readScc(kTitle + one.time + "\t9420\n", {.rate = one.rate});
        ASSERT_EQ(reading.frames.size(), 1U) << one.time << reading.failure;
        EXPECT_EQ(reading.frames[0].number, one.frame);
        const MediaTime duration = qlx::frameDuration(one.rate);
        EXPECT_EQ(reading.frames[0].pts,
                  MediaTime::make(static_cast<std::int64_t>(one.frame) * duration.value, duration.timescale));
    }
    // Numbers that the rate does not have, or leaves out; a rate that leaves none out.
    EXPECT_EQ(readScc(kTitle + "00:00:00:25\t9420\n", {.rate = FrameRate::Fps25}).problems,
              std::vector<std::string>{"line 2: no timecode of 25 frames a second at the line's beginning"});
    EXPECT_EQ(readScc(kTitle + "00:01:00;03\t9420\n", {.rate = FrameRate::Fps5994}).problems,
              std::vector<std::string>{"line 2: no timecode of 60 frames a second at the line's beginning"});
    EXPECT_EQ(readScc(kTitle + "00:00:01;00\t9420\n", {.rate = FrameRate::Fps25}).problems,
              std::vector<std::string>{"line 2: no timecode of 25 frames a second at the line's beginning"});
}

TEST(SccReading, SaysHowTheFirstTimecodeCounts) {
    using qlx::cc::TimeCodeCounting;
    const auto countingOf = [](std::string_view text, FrameRate rate) {
        qlx::streams::MemorySource source({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
        SccReader reader(source, {.rate = rate});
        EXPECT_EQ(reader.counting(), std::nullopt);
        Frame frame;
        EXPECT_TRUE(reader.next(frame, nullptr));
        return reader.counting();
    };
    EXPECT_EQ(countingOf(kTitle + "\n01:00:00;00\t9420\n01:00:01:00\t9420\n", FrameRate::Fps2997),
              (TimeCodeCounting{FrameRate::Fps2997, true}));
    EXPECT_EQ(countingOf(kTitle + "\n01:00:00:00\t9420\n", FrameRate::Fps2997),
              (TimeCodeCounting{FrameRate::Fps2997, false}));
    EXPECT_EQ(countingOf(kTitle + "\n01:00:00:00\t9420\n", FrameRate::Fps25),
              (TimeCodeCounting{FrameRate::Fps25, false}));
    EXPECT_EQ(countingOf(kTitle, FrameRate::Fps25), std::nullopt);
}

TEST(SccReading, SaysWhereALinesFirstByteWithWrongParityIs) {
    const auto reading = readScc(kTitle + "00:00:00:00\t9420 1420 94ae 142e\n00:00:01:00\t9420\n00:00:02:00\t942e\n");
    EXPECT_EQ(reading.remarks,
              (std::vector<std::string>{"line 2: a byte without odd parity, in the pair at character 18",
                                        "line 4: a byte without odd parity, in the pair at character 13"}));
    EXPECT_EQ(reading.frames.size(), 6U);
    EXPECT_TRUE(reading.problems.empty() && reading.failure.empty());
}

TEST(SccWriting, HasALineForEachRunOfFrames) {
    EXPECT_EQ(written({}), kTitle);
    EXPECT_EQ(written({frameOf(1798, {kResume}), frameOf(1799, {kResume}), frameOf(1800, {kErase}), frameOf(1801, {}),
                       frameOf(1802, {kErase})}),
              kTitle + "\n00:00:59;28\t9420 9420 942c\n\n00:01:00;04\t942c\n");
    EXPECT_EQ(written({frameOf(1800, {kResume})}, {.dropsFrames = false}), kTitle + "\n00:01:00:00\t9420\n");
    // Only some rates drop numbers.
    EXPECT_EQ(written({frameOf(1500, {kResume})}, {.rate = FrameRate::Fps25}), kTitle + "\n00:01:00:00\t9420\n");
    // The frame nearest to a time, and not its number: 67 ms are frame 2 (66.7 ms).
    Frame timed = frameOf(77, {kErase});
    timed.pts = MediaTime::make(67, 1000);
    EXPECT_EQ(written({timed}), kTitle + "\n00:00:00;02\t942c\n");
}

TEST(SccWriting, SendsLaterWhatAFrameHasNoPlaceFor) {
    EXPECT_EQ(written({frameOf(0, {kResume, kErase, kResume}), frameOf(1, {kErase}), frameOf(5, {kErase})}),
              kTitle + "\n00:00:00;00\t9420 942c 9420 942c\n\n00:00:00;05\t942c\n"
                       "@0 2 pairs more than a frame carries, sent with the next ones\n"
                       "@0 1 pair more than a frame carries, sent with the next ones\n");
    const std::string full = written({frameOf(0, std::vector<Triplet>(302, kResume))});
    EXPECT_TRUE(full.ends_with("!0 more than 300 pairs wait for a frame to be sent with\n")) << full;
}

// RCL is 14 20 (9420) in field 1 and 15 20 (1520) in field 2, 1C and 1D for the second channel; extended data (01 to 0F) are
// in field 2 alone. Preambles, tab offsets and letters may be in either.
TEST(SccReading, TellsTheFieldByItsCodes) {
    const auto fieldOf = [](const std::string& lines, std::optional<CcType> asked = std::nullopt) {
        const auto reading = readScc(kTitle + "\n" + lines, {.field = asked});
        std::string types;
        for (const Frame& frame : reading.frames) {
            types += std::to_string(frame.triplets[0] & 3U);
        }
        return types;
    };
    EXPECT_EQ(fieldOf("00:00:00;00\t9420 c1c2\n"), "00");
    EXPECT_EQ(fieldOf("00:00:00;00\t1520 c1c2\n"), "11");
    EXPECT_EQ(fieldOf("00:00:00;00\t9d20 c1c2\n00:00:02;00\t9420\n"), "111");
    EXPECT_EQ(fieldOf("00:00:00;00\t1c20\n"), "0");
    EXPECT_EQ(fieldOf("00:00:00;00\t9470 97a2 c1c2 152f\n"), "1111");
    EXPECT_EQ(fieldOf("00:00:00;00\t8080 0180 c1c2\n"), "111");
    EXPECT_EQ(fieldOf("00:00:00;00\t9470 c1c2\n00:00:02;00\t1520\n"), "001");
    EXPECT_EQ(fieldOf("00:00:00;00\t1520\n", CcType::Field1), "0");
    EXPECT_EQ(fieldOf("00:00:00;00\t9420\n", CcType::Field2), "1");
}

TEST(SccWriting, SaysWhatItLeavesOut) {
    Frame frame = frameOf(0, {kOfField2, kResume, kOfService, Triplet::make(CcType::Field1, 0x80, 0x80), Triplet{}});
    frame.packets.push_back({.did = 0x43, .sdid = 0x02, .userData = {0x51}, .line = 12});
    EXPECT_EQ(written({frame}), kTitle + "\n00:00:00;00\t9420\n"
                                         "@0 packet with DID 43 and SDID 02 left out\n"
                                         "@1 2 triplets of another field or of a caption service left out\n");
    EXPECT_EQ(written({frameOf(0, {kOfField2})}, {.field = CcType::Field2}), kTitle + "\n00:00:00;00\t1520\n");
    const std::uint64_t day = std::uint64_t{24} * 107'892;
    EXPECT_EQ(written({frameOf(day - 1, {kResume}), frameOf(day, {kResume})}),
              kTitle + "\n23:59:59;29\t9420!0 a Scenarist caption file holds 24 hours only\n");
}

TEST(SccWriting, IsReadAgain) {
    std::mt19937 random(15);
    for (const SccOptions& options :
         {SccOptions{.field = CcType::Field1}, SccOptions{.field = CcType::Field2, .dropsFrames = false},
          SccOptions{.rate = FrameRate::Fps5994, .field = CcType::Field1},
          SccOptions{.rate = FrameRate::Fps24, .field = CcType::Field1}}) {
        std::vector<Frame> frames;
        std::uint64_t number = 0;
        for (int count = 0; count < 5000; ++count) {
            number += random() % 4 == 0 ? 1 + random() % 300 : 1;
            const auto byte = [&random] { return qlx::withOddParity(static_cast<std::uint8_t>(1 + random() % 127)); };
            frames.push_back(frameOf(number, {Triplet::make(*options.field, byte(), byte())}));
        }
        qlxtest::MemorySink sink;
        SccWriter writer(sink, options);
        for (const Frame& frame : frames) {
            ASSERT_FALSE(writer.write(frame, nullptr));
        }
        ASSERT_FALSE(writer.finish());
        const auto reading = readScc({reinterpret_cast<const char*>(sink.bytes.data()), sink.bytes.size()}, options);
        EXPECT_EQ(reading.failure, "");
        EXPECT_TRUE(reading.remarks.empty() && reading.problems.empty());
        ASSERT_EQ(reading.frames.size(), frames.size());
        for (std::size_t index = 0; index < frames.size(); ++index) {
            ASSERT_EQ(reading.frames[index].number, frames[index].number);
            ASSERT_EQ(reading.frames[index].triplets, frames[index].triplets);
        }
    }
}

TEST(SccWriting, SaysThatItsSinkFails) {
    for (std::size_t room = 0; room <= 37; ++room) {
        qlxtest::MemorySink sink(room);
        SccWriter writer(sink);
        auto failure = writer.write(frameOf(0, {kResume}), nullptr);
        failure = failure ? failure : writer.finish();
        ASSERT_EQ(failure.has_value(), room < 37) << room;
        EXPECT_TRUE(!failure || failure->code == FindingCode::StreamWriteFailed);
    }
}

}  // namespace scc_file

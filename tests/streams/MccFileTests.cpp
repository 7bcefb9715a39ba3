// MCC files: letters, places, rates, what is wrong with lines, and what is written.
#include <qlx/anc/packet.h>
#include <qlx/streams/mcc.h>

#include "AncBytes.h"
#include "FrameFiles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

namespace mcc_file {

using qlx::FrameRate;
using qlx::MediaTime;
using qlx::anc::Packet;
using qlx::anc::Wrapping;
using qlx::streams::Frame;
using qlx::streams::MccHeader;
using qlx::streams::MccReader;
using qlx::streams::MccWriter;
using qlxtest::fromHex;
using Texts = std::vector<std::string>;

struct Reading : qlxtest::FrameReading {
    MccHeader header;
};

Reading readMcc(std::string_view text, std::optional<FrameRate> rate = std::nullopt) {
    qlx::streams::MemorySource source({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
    MccReader reader(source, rate);
    Reading reading{qlxtest::readAll(reader), {}};
    reading.header = reader.header();
    return reading;
}

/// The header of a file whose timecodes count this; lines begin with the fifth.
std::string head(std::string_view rate, std::string_view version = "2.0") {
    return "File Format=MacCaption_MCC V" + std::string(version) + "\n\n// note\nTime Code Rate=" + std::string(rate) +
           "\n";
}

/// The user data of the only packet of the only frame, or what was said.
std::string dataOf(const std::string& characters) {
    const Reading reading = readMcc(head("25") + "00:00:00:00.0,9\t" + characters + "\n");
    std::string text = reading.failure;
    for (const std::string& problem : reading.problems) {
        text += problem;
    }
    if (reading.frames.size() == 1 && reading.frames[0].packets.size() == 1) {
        const Packet& packet = reading.frames[0].packets[0];
        text +=
            qlxtest::toHex(std::vector<std::uint8_t>{packet.did, packet.sdid}) + ":" + qlxtest::toHex(packet.userData);
    }
    return text;
}

TEST(MccReading, KnowsEveryLetterInEitherCase) {
    const std::string padding = "fa0000";
    std::string paddings;
    for (char letter = 'G'; letter <= 'O'; ++letter) {
        paddings += padding;
        const std::string start = "4302" + qlxtest::toHex(std::vector{static_cast<std::uint8_t>(paddings.size() / 2)});
        EXPECT_EQ(dataOf(start + letter), "4302:" + paddings) << letter;
        EXPECT_EQ(dataOf(start + static_cast<char>(letter + 0x20)), "4302:" + paddings);
    }
    for (const auto& [letters, data] : {std::pair{"03P", "fb8080"},
                                        {"03q", "fc8080"},
                                        {"03R", "fd8080"},
                                        {"02s", "9669"},
                                        {"02T", "6101"},
                                        {"04U", "e1000000"},
                                        {"04u", "e1000000"},
                                        {"02Zz", "0000"},
                                        {"03aBz", "ab00"}}) {
        const std::string expected =
            std::string(data) == "ab00" ? "line 5: the packet is cut short: 5 of 6 bytes" : "4302:" + std::string(data);
        EXPECT_EQ(dataOf("4302" + std::string(letters)), expected) << letters;
    }
    // The identification in a letter, and a data block number in place of the SDID.
    EXPECT_EQ(dataOf("T02S"), "6101:9669");
    EXPECT_EQ(dataOf("8005011f"), "8005:1f");
    EXPECT_EQ(dataOf("ZZZ"), "0000:");
}

TEST(MccReading, SaysWhatIsWrongWithALineAndGoesOn) {
    struct Case {
        const char* line;
        const char* said;
    };
    for (const Case& one :
         {Case{"00:00:00:00\t4302015",
               "line 5: no hexadecimal digits of a byte, and no letter for several, at character 19"},
          Case{"00:00:00:00\t43V2",
               "line 5: no hexadecimal digits of a byte, and no letter for several, at character 15"},
          Case{"00:00:00:00\t430201", "line 5: the packet is cut short: 3 of 4 bytes"},
          Case{"00:00:00:00\t43", "line 5: the packet is cut short: 1 of 3 bytes"},
          Case{"00:00:00:00\t", "line 5: the packet is cut short: 0 of 3 bytes"},
          Case{"00:00:00:30\t4302Z", "line 5: no timecode of 30 frames a second with a packet behind it"},
          Case{"00:01:00:01\t4302Z", "line 5: no timecode of 30 frames a second with a packet behind it"},
          Case{"00:00:00:00.2,9\t4302Z", "line 5: no timecode of 30 frames a second with a packet behind it"},
          Case{"00:00:00:00,\t4302Z", "line 5: no timecode of 30 frames a second with a packet behind it"},
          Case{"nothing", "line 5: no timecode of 30 frames a second with a packet behind it"}}) {
        const Reading reading = readMcc(head("30DF") + one.line + "\n00:00:00:01\t4302Z45\n");
        EXPECT_EQ(reading.problems.empty() ? std::string() : reading.problems[0], one.said) << one.line;
        EXPECT_EQ(reading.frames.size(), 1U) << one.line;
    }
    // What is used all the same.
    EXPECT_EQ(dataOf("4302015197"), "4302:51");
    EXPECT_EQ(dataOf("4302015198"), "line 5: the packet's checksum is 98, that of its bytes 974302:51");
    EXPECT_EQ(dataOf("43020151970203"), "line 5: 2 bytes behind the packet left out4302:51");
    EXPECT_EQ(dataOf("430201" + std::string(9000, 'O')),
              "line 5: the packet's checksum is 00, that of its bytes 40line 5: 242998 bytes behind the packet left "
              "out4302:fa");
}

TEST(MccReading, TakesLinesOfATimecodeAsAFrame) {
    const Reading reading = readMcc(head("25") + "00:00:01:00.0,9\t4302Z\n00:00:01:00.1,572\t4105Z\n\n"
                                                 "00:00:01:02,11\t4107Z\n00:00:01:02\t4108Z\n");
    ASSERT_EQ(reading.frames.size(), 2U);
    Frame first;
    first.number = 25;
    first.pts = MediaTime::make(25, 25);
    first.packets = {{.did = 0x43, .sdid = 2, .userData = {}, .line = 9},
                     {.did = 0x41, .sdid = 5, .userData = {}, .line = 572}};
    first.wrappings = {Wrapping::VancFrame, Wrapping::VancField2};
    EXPECT_EQ(reading.frames[0], first);
    EXPECT_EQ(reading.frames[1].packets[0].line, 11U);
    EXPECT_EQ(reading.frames[1].packets[1].line, qlx::streams::kUsualMccLine);
    // Line ends of other systems.
    for (const char* const end : {"\r", "\r\n"}) {
        std::string text = head("25") + "00:00:01:00.0,9\t4302Z\n00:00:01:00.1,572\t4105Z\n";
        for (std::size_t place = 0; (place = text.find('\n', place)) != std::string::npos; place += 2) {
            text.replace(place, 1, end);
        }
        EXPECT_EQ(readMcc(text).frames, std::vector<Frame>{first});
    }
    // No picture has more.
    std::string many = head("25");
    for (int count = 0; count < 1025; ++count) {
        many += "00:00:00:00\t4302Z\n";
    }
    EXPECT_EQ(readMcc(many).frames.size(), 2U);
}

TEST(MccReading, CountsTimecodesByTheHeaderAndTheFirstCdp) {
    const auto timeOf = [](std::string_view rate, const std::string& line, std::optional<FrameRate> given = {}) {
        const Reading reading = readMcc(head(rate) + line, given);
        std::string text = reading.failure;
        for (const Texts& lines : {reading.problems, reading.remarks}) {
            for (const std::string& said : lines) {
                text += said + "\n";
            }
        }
        for (const Frame& frame : reading.frames) {
            text += std::to_string(frame.number) + " " + std::to_string(frame.pts->value) + "/" +
                    std::to_string(frame.pts->timescale);
        }
        return text;
    };
    const std::string taken =
        "line 5: neither the header nor the first packets say whether 30 frames a second are 1000/1001 of that: "
        "30 are taken\n";
    EXPECT_EQ(timeOf("30", "00:01:00:00\t4302Z\n"), taken + "1800 1800/30");
    EXPECT_EQ(timeOf("30", "00:01:00:00\t4302Z\n", FrameRate::Fps2997), "1800 1801800/30000");
    EXPECT_EQ(timeOf("30", "00:01:00:00\t4302Z\n", FrameRate::Fps30), "1800 1800/30");
    // A CDP of 29.97 (4) or 30 (5) frames a second says it, whatever the caller does.
    EXPECT_EQ(timeOf("30", "00:01:00:00\tT04S074F\n"), "1800 1801800/30000");
    EXPECT_EQ(
        timeOf("30", "00:01:00:00\tT04S075F\n", FrameRate::Fps2997),
        "line 5: the file says its frame rate: the given one of 29.97 frames a second is not taken\n1800 1800/30");
    EXPECT_EQ(timeOf("24", "00:00:01:00\tT04S071F\n"), "24 24024/24000");
    EXPECT_EQ(timeOf("60", "00:00:01:00\tT04S077F\n"), "60 60060/60000");
    EXPECT_EQ(timeOf("60", "00:00:01:00\tT04S078F\n"), "60 60/60");
    EXPECT_EQ(timeOf("30DF", "00:01:00:02\t4302Z\n"), "1800 1801800/30000");
    EXPECT_EQ(timeOf("60DF", "00:01:00:04\t4302Z\n"), "3600 3603600/60000");
    EXPECT_EQ(timeOf("50", "00:00:01:49\t4302Z\n"), "99 99/50");
    EXPECT_EQ(timeOf("30DF", "00:00:01:00\tT04S077F\n"),
              "line 5: a caption packet is of 59.94 frames a second, the timecodes are taken to count 29.97\n"
              "30 30030/30000");
    EXPECT_EQ(timeOf("30DF", "00:00:01:00\tT04S075F\n"),
              "line 5: a caption packet is of 30 frames a second, the timecodes are taken to count 29.97\n"
              "30 30030/30000");
    // One that is none of those which the header may mean: nothing else is said of it.
    EXPECT_EQ(timeOf("24", "00:00:01:00\tT04S074F\n"),
              "line 5: a caption packet is of 29.97 frames a second, the timecodes are taken to count 24\n24 24/24");
    EXPECT_EQ(timeOf("25", "00:00:01:00\tT04S071F\n"),
              "line 5: a caption packet is of 23.976 frames a second, the timecodes are taken to count 25\n25 25/25");
}

TEST(MccReading, FindsTheFirstCdpBehindABlankAndFarFromTheBeginning) {
    const auto timeOf = [](const std::string& lines) {
        const Reading reading = readMcc(head("30") + lines);
        EXPECT_EQ(reading.remarks, Texts{});
        EXPECT_EQ(reading.problems, Texts{});
        std::string text = std::to_string(reading.frames.size());
        for (const Frame* const frame : {&reading.frames.front(), &reading.frames.back()}) {
            text += " " + std::to_string(frame->pts->value) + "/" + std::to_string(frame->pts->timescale);
        }
        return text;
    };
    EXPECT_EQ(timeOf("00:01:00:00 T04S074F\n"), "1 1801800/30000 1801800/30000");
    EXPECT_EQ(timeOf("00:01:00:00.0,9 T04S074F\n"), "1 1801800/30000 1801800/30000");
    // Three times as much as a source is looked at in advance, with empty lines and notes.
    std::string late = "00:01:00:00\t4302Z\n\n// a note\r\n";
    while (late.size() < 3 * qlx::streams::kLongestPeek) {
        late += "00:01:00:01\t4302050000000000\n";
    }
    const std::string cdp = "00:01:00:02\tT04S074F\n";
    EXPECT_TRUE(timeOf(late + cdp).ends_with(" 1801800/30000 1803802/30000")) << timeOf(late + cdp);
    // So does a pipe say it, and one that breaks off says where.
    const std::string text = head("30") + late + cdp;
    qlxtest::FailingSource failing({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
    MccReader reader(failing);
    const qlxtest::FrameReading reading = qlxtest::readAll(reader);
    EXPECT_EQ(reading.frames.front().pts, MediaTime::make(1801800, 30000));
    EXPECT_TRUE(reading.failure.ends_with("cannot be read (error 5)")) << reading.failure;
    // Lines keep their numbers.
    const Reading wrong = readMcc(head("30") + late + "nothing\n" + cdp);
    const auto line = std::to_string(5 + std::count(late.begin(), late.end(), '\n'));
    EXPECT_EQ(wrong.problems, Texts{"line " + line + ": no timecode of 30 frames a second with a packet behind it"});
}

TEST(MccReading, SaysOnceWhereACdpHasAnotherRate) {
    const Reading reading = readMcc(head("30") + "00:00:01:00\tT04S074F\n00:00:02:00\tT04S075F\n"
                                                 "00:00:03:00\tT04S074F\n00:00:04:00\tT04S078F\n");
    EXPECT_EQ(reading.frames.back().pts, MediaTime::make(120120, 30000));
    EXPECT_EQ(reading.problems, Texts{"line 6: a caption packet is of 30 frames a second, the timecodes are taken to "
                                      "count 29.97"});
    // One that comes too late to be taken.
    std::string late = head("30");
    std::size_t lines = 4;
    for (; late.size() < (1U << 20U) + 1000; ++lines) {
        late += "00:01:00:01\t430270" + std::string(112, '0') + "\n";
    }
    late += "00:01:00:02\tT04S074F\n";
    const Reading behind = readMcc(late);
    EXPECT_EQ(behind.frames.back().pts, MediaTime::make(1802, 30));
    EXPECT_EQ(behind.remarks, Texts{"line 5: neither the header nor the first packets say whether 30 frames a second "
                                    "are 1000/1001 of that: 30 are taken"});
    EXPECT_EQ(behind.problems.back(), "line " + std::to_string(lines + 1) +
                                          ": a caption packet is of 29.97 frames a second, the timecodes are taken to "
                                          "count 30");
}

TEST(MccReading, GoesOnBehindMidnightAndNotBack) {
    const Reading reading =
        readMcc(head("25") + "23:59:59:24\t4302Z\n00:00:00:00\t4302Z\n00:00:02:00\t4302Z\n00:00:01:24\t4302Z\n");
    Texts numbers;
    for (const Frame& frame : reading.frames) {
        numbers.push_back(std::to_string(frame.number) + ":" + std::to_string(frame.packets.size()));
    }
    EXPECT_EQ(numbers, (Texts{"2159999:1", "2160000:1", "2160050:2"}));
    EXPECT_EQ(reading.problems, Texts{"line 8: the timecode is earlier than the one before: its packet is taken as one "
                                      "of 00:00:02:00"});
}

TEST(MccReading, NeedsItsHeader) {
    EXPECT_EQ(readMcc("").failure, "line 0: the file is empty");
    EXPECT_EQ(readMcc("File Format=MacCaption_MCC V3.0\n").failure,
              "line 1: no MCC file: \"File Format=MacCaption_MCC V1.0\" or V2.0 is expected");
    EXPECT_EQ(readMcc("File Format=MacCaption_MCC V1.0\n\n00:00:00:00\tT\n").failure,
              "line 3: a packet without \"Time Code Rate=\" in front of it");
    EXPECT_EQ(readMcc("File Format=MacCaption_MCC V1.0\nTime Code Rate=29\n").failure,
              "line 2: \"Time Code Rate=\" must be 24, 25, 30, 30DF, 50, 60 or 60DF");
    const Reading reading = readMcc("\xEF\xBB\xBF"
                                    "File Format=MacCaption_MCC V1.0\r\nUUID=a b\r\nCreation Program=c = d\r\n"
                                    "Other=e\r\nCreation Date=f\r\nCreation Time=g\r\nTime Code Rate=25\r\n"
                                    "00:00:00:00\tT00\r\n");
    EXPECT_EQ(reading.failure, "");
    EXPECT_EQ(reading.header, (MccHeader{.version = 1,
                                         .rate = FrameRate::Fps25,
                                         .dropsFrames = false,
                                         .uuid = "a b",
                                         .creationProgram = "c = d",
                                         .creationDate = "f",
                                         .creationTime = "g"}));
    EXPECT_EQ(reading.frames.size(), 1U);
}

/// What is written of frames, or why not.
std::string writtenMcc(const std::vector<Frame>& frames, const MccHeader& header, Texts* said = nullptr) {
    qlxtest::MemorySink sink;
    MccWriter writer(sink, header);
    for (const Frame& frame : frames) {
        qlx::Findings findings(100);
        if (const auto failure = writer.write(frame, &findings)) {
            return "!" + std::to_string(failure->offset) + " " + failure->text();
        }
        for (const qlx::Finding& finding : findings) {
            if (said != nullptr) {
                said->push_back("@" + std::to_string(finding.offset) + " " + finding.text());
            }
        }
    }
    EXPECT_FALSE(writer.finish());
    return sink.text();
}

/// The lines behind the header.
std::string linesOf(const std::string& text) {
    return text.substr(text.rfind("\n\n") + 2);
}

TEST(MccWriting, HasALineForEachPacket) {
    Frame frame;
    frame.number = 1800;
    // By hand: the sum of 61 01 07 96 69 00 4f fa 00 00 is 2B1h; that of 43 02 02 ab cd is 1BFh.
    frame.packets = {{.did = 0x61, .sdid = 1, .userData = fromHex("9669004ffa0000"), .line = 9},
                     {.did = 0x43, .sdid = 2, .userData = fromHex("abcd"), .line = 12}};
    frame.wrappings = {Wrapping::VancFrame, Wrapping::VancField2};
    const MccHeader header{.version = 2,
                           .rate = FrameRate::Fps2997,
                           .dropsFrames = true,
                           .uuid = "u",
                           .creationProgram = "p\nq",
                           .creationDate = "d",
                           .creationTime = "t"};
    Texts said;
    const std::string text = writtenMcc({frame}, header, &said);
    EXPECT_TRUE(text.starts_with("File Format=MacCaption_MCC V2.0\n\n///")) << text;
    EXPECT_NE(text.find("\n\nUUID=u\nCreation Program=p q\nCreation Date=d\nCreation Time=t\nTime Code Rate=30DF\n\n"),
              std::string::npos)
        << text;
    EXPECT_EQ(linesOf(text), "00:01:00:02.0,9\tT07SZ4FGB1\n00:01:00:02.1,12\t430202ABCDBF\n");
    EXPECT_EQ(said, Texts{});
    EXPECT_EQ(linesOf(writtenMcc({frame}, {.version = 1, .rate = FrameRate::Fps2997}, &said)),
              "00:01:00:00\tT07SZ4FGB1\n00:01:00:00\t430202ABCDBF\n");
    EXPECT_EQ(said, (Texts{"@1 line number 12 left out", "@1 wrapping type 03 left out"}));
}

TEST(MccWriting, SaysWhatItLeavesOut) {
    Frame frame;
    frame.packets = {{.did = 0x43,
                      .sdid = 2,
                      .userData = {},
                      .line = 12,
                      .horizontalOffset = 20,
                      .channel = qlx::anc::Channel::Chroma}};
    frame.wrapLast(Wrapping::HancFrame);
    frame.triplets = qlx::Data(fromHex("fc9420"));
    Texts said;
    static_cast<void>(writtenMcc({frame}, {.version = 2}, &said));
    EXPECT_EQ(said, (Texts{"@0 packet of another channel written as luma", "@0 wrapping type 11 left out",
                           "@0 horizontal offset 20 left out, the packets in front of it end at 0",
                           "@1 1 triplet in no packet left out"}));
    frame.packets[0].userData.resize(256);
    EXPECT_TRUE(writtenMcc({frame}, {}).starts_with("!0 ")) << writtenMcc({frame}, {});
}

TEST(MccWriting, NamesEveryRate) {
    for (const auto& [rate, drops, name] : {std::tuple{FrameRate::Fps23976, false, "24"},
                                            {FrameRate::Fps24, true, "24"},
                                            {FrameRate::Fps25, true, "25"},
                                            {FrameRate::Fps2997, false, "30"},
                                            {FrameRate::Fps2997, true, "30DF"},
                                            {FrameRate::Fps30, true, "30"},
                                            {FrameRate::Fps50, false, "50"},
                                            {FrameRate::Fps5994, true, "60DF"},
                                            {FrameRate::Fps60, false, "60"}}) {
        const std::string text = writtenMcc({}, {.version = 1, .rate = rate, .dropsFrames = drops});
        EXPECT_TRUE(text.ends_with("\nTime Code Rate=" + std::string(name) + "\n\n")) << text;
    }
}

TEST(MccWriting, IsReadAgainInBothVersions) {
    std::mt19937 random(16);
    const std::vector<std::string> pieces{"fa0000", "fb8080",   "fc8080", "fd8080", "9669",
                                          "6101",   "e1000000", "00",     "e1",     "fa00"};
    for (const MccHeader& header :
         {MccHeader{.version = 1, .rate = FrameRate::Fps2997, .dropsFrames = true},
          MccHeader{.version = 2, .rate = FrameRate::Fps5994, .dropsFrames = true},
          MccHeader{
              .version = 2, .rate = FrameRate::Fps25, .dropsFrames = false, .uuid = "1", .creationProgram = "2"}}) {
        std::vector<Frame> frames;
        std::uint64_t number = 0;
        const MediaTime duration = qlx::frameDuration(header.rate);
        for (int count = 0; count < 400; ++count) {
            Frame& frame = frames.emplace_back();
            frame.number = number;
            frame.pts = MediaTime::make(static_cast<std::int64_t>(number) * duration.value, duration.timescale);
            number += 1 + random() % 2000;
            for (std::size_t packets = 1 + random() % 3; packets > 0; --packets) {
                std::string data;
                const std::size_t size = 2 * (random() % 256);
                while (data.size() < size) {
                    static constexpr char kDigits[] = "0123456789abcdef";
                    data += random() % 2 == 0 ? pieces[random() % pieces.size()]
                                              : std::string{kDigits[random() % 16], kDigits[random() % 16]};
                }
                frame.packets.push_back(
                    {.did = static_cast<std::uint8_t>(random()),
                     .sdid = static_cast<std::uint8_t>(random()),
                     .userData = fromHex(data.substr(0, size)),
                     .line = header.version == 1 ? 9 : static_cast<std::uint32_t>(random() % 1126)});
                if (header.version == 2 && random() % 2 == 0) {
                    frame.wrapLast(Wrapping::VancField2);
                }
            }
            frame.wrappings.resize(frame.wrappings.empty() ? 0 : frame.packets.size(), Wrapping::VancFrame);
        }
        Texts said;
        const Reading reading = readMcc(writtenMcc(frames, header, &said), header.rate);
        EXPECT_EQ(said, Texts{});
        EXPECT_EQ(reading.failure, "");
        EXPECT_EQ(reading.problems, Texts{});
        EXPECT_EQ(reading.header, header);
        ASSERT_EQ(reading.frames.size(), frames.size());
        for (std::size_t index = 0; index < frames.size(); ++index) {
            Frame read = reading.frames[index];
            read.wrappings.resize(read.wrappings.empty() ? 0 : read.packets.size(), Wrapping::VancFrame);
            ASSERT_EQ(read, frames[index]) << index;
        }
    }
}

TEST(MccReading, GivesWhatIsWholeOfEveryShorterFile) {
    const std::string text = head("25") + "00:00:00:00\t43020151\n00:00:00:01\t43020152\n";
    const std::size_t first = head("25").size() + 20;
    const std::size_t second = first + 21;
    for (std::size_t length = 1; length < text.size(); ++length) {
        const std::size_t frames = (length >= first ? 1U : 0U) + (length >= second ? 1U : 0U);
        EXPECT_EQ(readMcc(text.substr(0, length)).frames.size(), frames) << length;
        qlxtest::FailingSource failing({reinterpret_cast<const std::uint8_t*>(text.data()), length});
        MccReader reader(failing);
        // A line that reading has cut is none.
        const qlxtest::FrameReading reading = qlxtest::readAll(reader);
        EXPECT_EQ(reading.frames.size(), (length > first ? 1U : 0U) + (length > second ? 1U : 0U)) << length;
        EXPECT_TRUE(reading.failure.ends_with("cannot be read (error 5)")) << reading.failure;
    }
}

}  // namespace mcc_file

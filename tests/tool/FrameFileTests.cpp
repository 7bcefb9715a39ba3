// Files of frames that are texts: JSON lines and Scenarist captions.
#include "MemorySource.h"
#include "ToolRunner.h"
#include "io/Errors.h"
#include "streams/Json.h"
#include "streams/JsonlReader.h"
#include "streams/SccReader.h"

#include "ExactBuffer.h"

#include <gtest/gtest.h>

namespace {

using namespace qlx::tool;
using qlxtest::toHex;

std::vector<std::uint8_t> bytesOf(std::string_view text) {
    return {text.begin(), text.end()};
}

/// What a reader gives: a JSON line a frame, or the failure that ended it.
template <typename Reader>
std::vector<std::string> framesOf(std::string_view text) {
    const auto bytes = bytesOf(text);
    qlxtest::MemorySource source(bytes);
    Reader reader(source);
    std::vector<std::string> lines;
    std::vector<std::string> problems;
    try {
        for (Frame frame; reader.next(frame, problems);) {
            lines.push_back(jsonLine(frame));
        }
        Frame frame;
        EXPECT_FALSE(reader.next(frame, problems));
    } catch (const Failure& failure) {
        lines.emplace_back(failure.what());
    }
    EXPECT_TRUE(problems.empty());
    return lines;
}

using Lines = std::vector<std::string>;

TEST(LineReader, TakesEveryLineEnd) {
    // Two chunks of 64 KiB and a bit.
    const std::string longLine(140'000, 'x');
    const auto bytes = bytesOf("one\r\n\ntwo\n" + longLine + "\nlast\r");
    qlxtest::MemorySource source(bytes);
    LineReader reader(source);
    std::string line;
    Lines lines;
    while (reader.next(line)) {
        lines.push_back(line);
        EXPECT_EQ(reader.number(), lines.size());
    }
    EXPECT_EQ(lines, (Lines{"one", "", "two", longLine, "last"}));
    const auto endless = bytesOf("a\n" + std::string(kLongestLine + 1, 'x'));
    qlxtest::MemorySource endlessSource(endless);
    LineReader endlessReader(endlessSource);
    EXPECT_TRUE(endlessReader.next(line));
    EXPECT_THROW((void)endlessReader.next(line), Failure);
}

TEST(JsonlFile, GivesBackWhatIsWritten) {
    const std::string timed = R"({"frame":7,"pts":{"value":7007,"timescale":30000},"packets":[)"
                              R"({"line":12,"did":67,"sdid":2,"type":"OP-47","data":"5115"},)"
                              R"({"line":575,"did":1,"sdid":2,"type":"Unknown","data":""}]})";
    const std::string empty = R"({"frame":8,"packets":[]})";
    EXPECT_EQ(framesOf<JsonlReader>(timed + "\r\n\n" + empty), (Lines{timed, empty}));
    // Captions that came with the picture.
    const std::string captions = R"({"frame":9,"packets":[],"captions":{"data":"fc9420fd8080"}})";
    EXPECT_EQ(framesOf<JsonlReader>(captions), Lines{captions});
    // Capital digits, and what is not known.
    EXPECT_EQ(framesOf<JsonlReader>(R"({"packets":[{"data":"AbC0","sdid":2,"did":67,"line":9,"x":[1]}],"frame":0})"),
              Lines{R"({"frame":0,"packets":[{"line":9,"did":67,"sdid":2,"type":"OP-47","data":"abc0"}]})"});
}

TEST(JsonlFile, SaysWhatIsWrongInWhichLine) {
    const auto wrong = [](const std::string& line) {
        const Lines lines = framesOf<JsonlReader>("{\"frame\":0,\"packets\":[]}\n" + line + "\n");
        return lines.size() == 2 ? lines[1] : "no failure";
    };
    const std::string start = "memory: line 2: ";
    EXPECT_EQ(wrong("{"), start + "not JSON: the text ends too early");
    EXPECT_EQ(wrong("[]"), start + "no frame: an object with \"frame\" and \"packets\" is expected");
    EXPECT_EQ(wrong("{\"frame\":1}"), start + "no frame: an object with \"frame\" and \"packets\" is expected");
    EXPECT_EQ(wrong("{\"packets\":[]}"), start + "\"frame\" must be a whole number, at most 4294967295");
    EXPECT_EQ(wrong("{\"frame\":-1,\"packets\":[]}"), start + "\"frame\" must be a whole number, at most 4294967295");
    EXPECT_EQ(wrong("{\"frame\":1,\"packets\":[1]}"), start + "a packet must be an object");
    const auto packet = [&wrong](const std::string& content) {
        return wrong("{\"frame\":1,\"packets\":[{" + content + "}]}");
    };
    EXPECT_EQ(packet("\"did\":256,\"sdid\":2,\"line\":9,\"data\":\"\""),
              start + "\"did\" must be a whole number, at most 255");
    EXPECT_EQ(packet("\"did\":67,\"sdid\":2,\"line\":65536,\"data\":\"\""),
              start + "\"line\" must be a whole number, at most 65535");
    for (const char* const data : {"\"abc\"", "\"0g\"", "12"}) {
        EXPECT_EQ(packet("\"did\":67,\"sdid\":2,\"line\":9,\"data\":" + std::string(data)),
                  start + "\"data\" must be pairs of hexadecimal digits");
    }
    EXPECT_EQ(wrong("{\"frame\":1,\"captions\":1,\"packets\":[]}"), start + "\"captions\" must be an object");
    EXPECT_EQ(wrong("{\"frame\":1,\"pts\":0,\"packets\":[]}"), start + "\"pts\" must be an object");
    EXPECT_EQ(wrong("{\"frame\":1,\"pts\":{\"value\":1,\"timescale\":0},\"packets\":[]}"),
              start + "\"timescale\" must be above 0");
    EXPECT_EQ(framesOf<JsonlReader>(""), Lines{"memory: byte 0: the file is empty"});
}

/// `frame:pair` of each frame, or the failure.
Lines pairsOf(std::string_view text) {
    const auto bytes = bytesOf(text);
    qlxtest::MemorySource source(bytes);
    SccReader reader(source);
    Lines lines;
    std::vector<std::string> problems;
    try {
        for (Frame frame; reader.next(frame, problems);) {
            EXPECT_EQ(frame.pts->value, static_cast<std::int64_t>(frame.number) * 1001);
            EXPECT_EQ(frame.pts->timescale, 30000);
            lines.push_back(std::to_string(frame.number) + ":" + toHex(frame.triplets));
        }
    } catch (const Failure& failure) {
        lines.emplace_back(failure.what());
    }
    return lines;
}

TEST(SccFile, GivesAPairAFrame) {
    EXPECT_EQ(pairsOf("Scenarist_SCC V1.0\r\n\r\n00:00:01:00\t9420 94AE\r\n\r\n00:00:02;00 \t942f\r\n"),
              (Lines{"30:fc9420", "31:fc94ae", "60:fc942f"}));
    // Drop-frame counting leaves out 00 and 01 of the first minute; non-drop-frame counting does not.
    EXPECT_EQ(pairsOf("Scenarist_SCC V1.0\n00:01:00;02\t9420\n"), Lines{"1800:fc9420"});
    EXPECT_EQ(pairsOf("Scenarist_SCC V1.0\n00:01:00:02\t9420\n"), Lines{"1802:fc9420"});
    EXPECT_EQ(pairsOf("\xEF\xBB\xBFScenarist_SCC V1.0\n01:00:00;00\t9420"), Lines{"107892:fc9420"});
    // A line that comes too early waits until the one before is sent.
    EXPECT_EQ(pairsOf("Scenarist_SCC V1.0\n00:00:00:00\t9420 9420 9420\n00:00:00:01\t942f\n"),
              (Lines{"0:fc9420", "1:fc9420", "2:fc9420", "3:fc942f"}));
    EXPECT_EQ(pairsOf("Scenarist_SCC V1.0\n\n"), Lines());
    EXPECT_EQ(pairsOf("Scenarist_SCC V1.0\n00:00:00:00\n"), Lines());
}

/// What is said of the lines of a file, without `line `.
Lines remarksOn(std::string_view text) {
    const auto bytes = bytesOf("Scenarist_SCC V1.0\n\n" + std::string(text));
    qlxtest::MemorySource source(bytes);
    SccReader reader(source);
    Lines remarks;
    std::vector<std::string> problems;
    for (Frame frame; reader.next(frame, problems);) {
        for (const std::string& remark : reader.takeRemarks()) {
            remarks.push_back(remark.substr(remark.find(' ') + 1));
        }
    }
    EXPECT_EQ(problems, Lines());
    return remarks;
}

TEST(SccFile, SaysWhichLinesAreLate) {
    const std::string three = "9420 9420 9420\n";
    EXPECT_EQ(remarksOn("00:00:00:00 " + three + "00:00:00:03 " + three + "00:00:00:06 942f"), Lines());
    EXPECT_EQ(remarksOn("00:00:00:00 " + three + "00:00:00:02 " + three),
              Lines{"4: the timecode 00:00:00:02 comes before the pairs of line 3 are through: the line's pairs follow "
                    "those, from 00:00:00:03 on"});
    // Pairs 0 to 2, 60 to 62, and then 63 to 65 in place of 30 to 32; the line behind is not hurt by that.
    const std::string text = "00:00:00;00 " + three + "\n00:00:02;00 " + three + "00:00:01;00 " + three;
    EXPECT_EQ(remarksOn(text + "00:00:02;06 " + three),
              Lines{"6: the timecode 00:00:01;00 is earlier than that of line 5: the line's pairs follow those, from "
                    "00:00:02;03 on"});
    EXPECT_EQ(pairsOf("Scenarist_SCC V1.0\n\n" + text).back(), "65:fc9420");
    // Behind a line that is late itself: 63 to 65 are taken, 64 is wanted.
    EXPECT_EQ(
        remarksOn(text + "00:00:02;04 " + three).back(),
        "7: the timecode 00:00:02;04 comes before the pairs of line 6 are through: the line's pairs follow those, "
        "from 00:00:02;06 on");
    // A line without pairs moves nothing.
    EXPECT_EQ(remarksOn("00:00:00:00 " + three + "00:00:00:01\n00:00:00:03 " + three), Lines());
}

TEST(SccFile, IsWarnedOfWhereItIsRead) {
    const qlxtest::TemporaryFolder folder;
    std::string text = "Scenarist_SCC V1.0\n\n00:00:10:00\t9420\n";
    for (int line = 0; line < 13; ++line) {
        text += "00:00:09:00\t9420\n";
    }
    const std::string file = folder.write("a.scc", text);
    const std::string start = "qlxcc: warning: " + file + ": ";
    for (const Lines& arguments : {Lines{"scan", file}, Lines{"show", file, "--all"}, Lines{"scan", file, "--json"}}) {
        const qlxtest::ToolResult result = qlxtest::runTool(arguments);
        EXPECT_EQ(result.exitCode, 0);
        const Lines lines = qlxtest::linesOf(result.err);
        ASSERT_EQ(lines.size(), 11U);
        EXPECT_EQ(lines[0], start + "line 4: the timecode 00:00:09:00 is earlier than that of line 3: the line's pairs "
                                    "follow those, from 00:00:10:01 on");
        EXPECT_EQ(lines[1], start + "line 5: the timecode 00:00:09:00 comes before the pairs of line 4 are through: "
                                    "the line's pairs follow those, from 00:00:10:02 on");
        EXPECT_EQ(lines[10], start + "3 more warnings");
        Lines quiet = arguments;
        quiet.emplace_back("--quiet");
        EXPECT_EQ(qlxtest::runTool(quiet).err, "");
    }
}

TEST(SccFile, SaysWhatIsWrong) {
    EXPECT_EQ(pairsOf(""), Lines{"memory: byte 0: the file is empty"});
    EXPECT_EQ(pairsOf("1\n00:00:01,000 --> 00:00:02,000\n"),
              Lines{"memory: line 1: no Scenarist caption file: \"Scenarist_SCC V1.0\" is expected"});
    for (const char* const time : {"x", "00:00:01", "00:00:01:30", "00:01:00;00", "24:00:00:00"}) {
        EXPECT_EQ(pairsOf("Scenarist_SCC V1.0\n\n" + std::string(time) + "\t9420\n"),
                  Lines{"memory: line 3: no timecode of 29.97 frames a second at the line's beginning"})
            << time;
    }
    for (const char* const pair : {"942", "94200", "94g0", "+942"}) {
        EXPECT_EQ(pairsOf("Scenarist_SCC V1.0\n00:00:00:00\t9420 " + std::string(pair) + "\n"),
                  (Lines{"0:fc9420", "memory: line 2: a byte pair must be four hexadecimal digits, at character 18"}))
            << pair;
    }
}

}  // namespace

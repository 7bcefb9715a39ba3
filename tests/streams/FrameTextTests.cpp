// Files of frames that are texts: JSON lines and Scenarist captions.
#include <qlx/streams/jsonl.h>
#include <qlx/streams/scc.h>

#include "ExactBuffer.h"
#include "FrameFiles.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace {

using qlx::FindingCode;
using qlx::streams::Frame;
using qlx::streams::JsonlReader;
using qlx::streams::JsonlWriter;
using qlx::streams::MemorySource;
using qlx::streams::SccReader;
using qlxtest::toHex;

std::vector<std::uint8_t> bytesOf(std::string_view text) {
    return {text.begin(), text.end()};
}

template <class Reader>
qlxtest::FrameReading readText(std::string_view text) {
    const qlxtest::ExactBuffer buffer(bytesOf(text));
    MemorySource source(buffer.span());
    Reader reader(source);
    return qlxtest::readAll(reader);
}

/// What a reader gives: a JSON line a frame, or the failure that ended it.
std::vector<std::string> framesOf(std::string_view text) {
    const qlxtest::FrameReading reading = readText<JsonlReader>(text);
    std::vector<std::string> lines;
    for (const Frame& frame : reading.frames) {
        lines.push_back(qlxtest::jsonLine(frame));
    }
    if (!reading.failure.empty()) {
        lines.push_back(reading.failure);
    }
    EXPECT_TRUE(reading.problems.empty() && reading.remarks.empty());
    return lines;
}

using Lines = std::vector<std::string>;

TEST(JsonlFile, HasEveryLineEndAndNoLineWithoutEnd) {
    const std::string frame = "{\"frame\":1,\"packets\":[]}";
    // Two chunks of 64 KiB and a bit.
    const std::string longLine = frame + std::string(140'000, ' ');
    EXPECT_EQ(framesOf(frame + "\r\n\n\t\r\n" + frame + "\n" + longLine + "\n" + frame + "\r"), Lines(4, frame));
    EXPECT_EQ(framesOf(frame + "\n" + frame + std::string(2 * 1024 * 1024 - frame.size(), ' ')), Lines(2, frame));
    EXPECT_EQ(framesOf(frame + "\n" + frame + std::string(2 * 1024 * 1024 - frame.size() + 1, ' ')),
              (Lines{frame, "line 2: the line is longer than 2 MiB"}));
}

TEST(JsonlFile, EndsWhereItsSourceFails) {
    const auto bytes = bytesOf("{\"frame\":1,\"packets\":[]}\n{\"frame\":2,\"packets\":[]}\n");
    for (std::size_t length = 0; length <= bytes.size(); ++length) {
        qlxtest::FailingSource source{std::span(bytes).first(length)};
        JsonlReader reader(source);
        const qlxtest::FrameReading reading = qlxtest::readAll(reader);
        // What is read in one go with the failure is good.
        const std::size_t lines = static_cast<std::size_t>(
            std::count(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(length), '\n'));
        EXPECT_EQ(reading.frames.size(), lines) << length;
        EXPECT_EQ(reading.failure, "line " + std::to_string(lines) + ": cannot be read (error 5)") << length;
    }
}

TEST(JsonlFile, GivesBackWhatIsWritten) {
    const std::string timed =
        R"({"frame":7,"pts":{"value":7007,"timescale":30000,"seconds":0.23356666666666667},"packets":[)"
        R"({"line":12,"did":67,"sdid":2,"type":"OP-47","data":"5115"},)"
        R"({"line":575,"did":1,"sdid":2,"type":"Unknown","data":""}]})";
    const std::string empty = R"({"frame":8,"packets":[]})";
    EXPECT_EQ(framesOf(timed + "\r\n\n" + empty), (Lines{timed, empty}));
    // Captions that came with the picture.
    const std::string captions = R"({"frame":9,"packets":[],"captions":{"data":"fc9420fd8080"}})";
    EXPECT_EQ(framesOf(captions), Lines{captions});
    // Capital digits, and what is not known.
    EXPECT_EQ(framesOf(R"({"packets":[{"data":"AbC0","sdid":2,"did":67,"line":9,"x":[1]}],"frame":0})"),
              Lines{R"({"frame":0,"packets":[{"line":9,"did":67,"sdid":2,"type":"OP-47","data":"abc0"}]})"});
}

TEST(JsonlFile, IsWrittenWithWhatAHostHasToSay) {
    class Sizes final : public qlx::streams::JsonlMembers {
    public:
        void appendOfPacket(std::string& text, const qlx::anc::Packet& packet) const override {
            text += ",\"size\":" + std::to_string(packet.userData.size());
        }
        void appendOfCaptions(std::string& text, const qlx::Data& triplets) const override {
            text += ",\"size\":" + std::to_string(triplets.size());
        }
    };
    Frame frame;
    frame.number = 3;
    frame.packets = {{0x61, 0x01, {0x96, 0x69}, 9, 0, qlx::anc::Channel::Luma},
                     {0x43, 0x02, {}, 12, 30, qlx::anc::Channel::Chroma}};
    frame.triplets = qlx::Data({0xFC, 0x94, 0x20});
    const std::string line =
        R"({"frame":3,"packets":[{"line":9,"did":97,"sdid":1,"type":"CEA708","data":"9669"},)"
        R"({"line":12,"did":67,"sdid":2,"channel":"chroma","horizontalOffset":30,"type":"OP-47","data":""}],)"
        R"("captions":{"data":"fc9420"}})";
    qlxtest::MemorySink sink;
    JsonlWriter writer(sink);
    EXPECT_FALSE(writer.write(frame, nullptr));
    EXPECT_FALSE(writer.write(frame, nullptr));
    EXPECT_FALSE(writer.finish());
    const std::string marked = line.substr(0, line.size() - 1) + R"(,"schema":"qlxcc/frames/1"})";
    EXPECT_EQ(sink.text(), marked + "\n" + line + "\n");
    EXPECT_EQ(readText<JsonlReader>(sink.text()).frames, (std::vector<Frame>{frame, frame}));
    const Sizes sizes;
    EXPECT_EQ(
        qlxtest::jsonLine(frame, &sizes),
        R"({"frame":3,"packets":[{"line":9,"did":97,"sdid":1,"type":"CEA708","data":"9669","size":2},)"
        R"({"line":12,"did":67,"sdid":2,"channel":"chroma","horizontalOffset":30,"type":"OP-47","data":"","size":0}],)"
        R"("captions":{"data":"fc9420","size":3}})");
    qlxtest::MemorySink full(line.size());
    const auto failure = JsonlWriter(full).write(frame, nullptr);
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->code, FindingCode::StreamWriteFailed);
}

TEST(JsonlFile, IsNotWrittenWithNumbersThatNoReaderTakes) {
    Frame good;
    good.number = 4'294'967'295U;
    good.pts = qlx::MediaTime::make(std::numeric_limits<std::int64_t>::max() / 2, 1'000'000'000);
    good.packets.resize(2);
    good.packets[1].line = 65'535;
    good.packets[1].horizontalOffset = 65'535;
    const auto refused = [&good](const std::function<void(Frame&)>& change) {
        Frame frame = good;
        change(frame);
        qlxtest::MemorySink sink;
        const auto failure = JsonlWriter(sink).write(frame, nullptr);
        EXPECT_TRUE(failure.has_value() == sink.bytes.empty());
        // The reader says the same of such a line.
        const auto again = readText<JsonlReader>(qlxtest::jsonLine(frame));
        EXPECT_EQ(again.failure, failure ? "line 1: " + failure->text() : "");
        return failure ? std::optional(failure->code) : std::nullopt;
    };
    EXPECT_EQ(refused([](Frame&) {}), std::nullopt);
    EXPECT_EQ(refused([](Frame& frame) { frame.pts->value = -frame.pts->value; }), std::nullopt);
    EXPECT_EQ(refused([](Frame& frame) { ++frame.number; }), FindingCode::JsonlFrameWrong);
    EXPECT_EQ(refused([](Frame& frame) { ++frame.pts->value; }), FindingCode::JsonlValueWrong);
    EXPECT_EQ(refused([](Frame& frame) { frame.pts->value = -frame.pts->value - 1; }), FindingCode::JsonlValueWrong);
    EXPECT_EQ(refused([](Frame& frame) { ++frame.pts->timescale; }), FindingCode::JsonlTimescaleWrong);
    EXPECT_EQ(refused([](Frame& frame) { frame.pts->timescale = -1; }), FindingCode::JsonlTimescaleWrong);
    EXPECT_EQ(refused([](Frame& frame) { frame.pts->timescale = 0; }), FindingCode::JsonlTimescaleZero);
    EXPECT_EQ(refused([](Frame& frame) { ++frame.packets[1].line; }), FindingCode::JsonlLineWrong);
    EXPECT_EQ(refused([](Frame& frame) { ++frame.packets[1].horizontalOffset; }),
              FindingCode::JsonlHorizontalOffsetWrong);
}

TEST(JsonlFile, SaysWhatIsWrongInWhichLine) {
    const auto wrong = [](const std::string& line) {
        const Lines lines = framesOf("{\"frame\":0,\"packets\":[]}\n" + line + "\n");
        return lines.size() == 2 ? lines[1] : "no failure";
    };
    const std::string start = "line 2: ";
    EXPECT_EQ(wrong("{"), start + "not JSON: the text ends too early");
    EXPECT_EQ(wrong("{\"frame\":1x}"), start + "not JSON at character 11");
    EXPECT_EQ(wrong("{\"frame\":1,\"packets\":[],\"x\":" + std::string(64, '[') + std::string(64, ']') + "}"),
              start + "JSON nested deeper than 64 levels");
    EXPECT_EQ(wrong("{\"frame\":1,\"packets\":[],\"x\":" + std::string(63, '[') + std::string(63, ']') + "}"),
              "{\"frame\":1,\"packets\":[]}");
    // Text that is no JSON is told before what is wrong with the frame.
    EXPECT_EQ(wrong("{\"frame\":-1,\"packets\":[1]"), start + "not JSON: the text ends too early");
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
    for (const char* const number : {"null", "[1]", "{}", "1.5", "\"1\"", "true", "18446744073709551616"}) {
        const std::string text(number);
        EXPECT_EQ(wrong("{\"packets\":[],\"frame\":" + text + "}"),
                  start + "\"frame\" must be a whole number, at most 4294967295")
            << text;
        EXPECT_EQ(packet("\"did\":67,\"sdid\":" + text + ",\"line\":9,\"data\":\"\""),
                  start + "\"sdid\" must be a whole number, at most 255")
            << text;
        EXPECT_EQ(packet("\"did\":67,\"sdid\":2,\"line\":9,\"data\":\"\",\"horizontalOffset\":" + text),
                  start + "\"horizontalOffset\" must be a whole number, at most 65535")
            << text;
        EXPECT_EQ(packet("\"did\":67,\"sdid\":2,\"line\":9,\"data\":\"\",\"channel\":" + text),
                  start + "\"channel\" must be \"luma\", \"chroma\" or \"multiplex\"")
            << text;
        EXPECT_EQ(wrong("{\"frame\":1,\"pts\":{\"timescale\":25,\"value\":" + text + "},\"packets\":[]}"),
                  start + "\"value\" must be a whole number, at most 4611686018427387903")
            << text;
    }
    EXPECT_EQ(wrong("{\"frame\":1,\"captions\":{\"data\":[\"00\"]},\"packets\":[]}"),
              start + "\"data\" must be pairs of hexadecimal digits");
    EXPECT_EQ(wrong("{\"frame\":1,\"captions\":[],\"packets\":[]}"), start + "\"captions\" must be an object");
    EXPECT_EQ(wrong("{\"frame\":1,\"captions\":1,\"packets\":[]}"), start + "\"captions\" must be an object");
    EXPECT_EQ(wrong("{\"frame\":1,\"pts\":0,\"packets\":[]}"), start + "\"pts\" must be an object");
    EXPECT_EQ(wrong("{\"frame\":1,\"pts\":{\"value\":1,\"timescale\":0},\"packets\":[]}"),
              start + "\"timescale\" must be above 0");
    EXPECT_EQ(framesOf(""), Lines{"line 0: the file is empty"});
}

TEST(JsonlFile, TakesTheLastOfMembersThatStandTwice) {
    EXPECT_EQ(
        framesOf(R"({"packets":[1],"frame":{},"pts":1,"captions":[],"frame":5,"pts":{"value":-3,"timescale":25},)"
                 R"("captions":{"data":"fc"},"packets":[{"did":1,"data":"00","did":2,"sdid":3,"line":4,"data":"ff",)"
                 R"("channel":7,"channel":"chroma"}]})"),
        Lines{R"({"frame":5,"pts":{"value":-3,"timescale":25,"seconds":-0.12},"packets":[{"line":4,"did":2,"sdid":3,)"
              R"("channel":"chroma","type":"Unknown","data":"ff"}],"captions":{"data":"fc"}})"});
}

TEST(JsonlFile, GivesWhatIsWholeOfEveryShorterFile) {
    const std::string line =
        R"({"frame":7,"pts":{"value":7,"timescale":25,"seconds":0.28},"packets":[{"line":9,"did":67,"sdid":2,)"
        R"("type":"OP-47","data":"51"}],"captions":{"data":"fc"}})";
    const std::string text = line + "\n" + line + "\n";
    for (std::size_t length = 1; length <= text.size(); ++length) {
        const Lines lines = framesOf(std::string_view(text).substr(0, length));
        const std::size_t rest = length % (line.size() + 1);
        Lines expected(length / (line.size() + 1) + (rest == line.size() ? 1 : 0), line);
        if (rest != 0 && rest != line.size()) {
            expected.push_back("line " + std::to_string(expected.size() + 1) + ": not JSON: the text ends too early");
        }
        EXPECT_EQ(lines, expected) << length;
    }
}

/// `frame:pair` of each frame, or the failure.
Lines pairsOf(std::string_view text) {
    const qlxtest::FrameReading reading = readText<SccReader>(text);
    Lines lines;
    for (const Frame& frame : reading.frames) {
        EXPECT_EQ(frame.pts, qlx::MediaTime::make(static_cast<std::int64_t>(frame.number) * 1001, 30000));
        EXPECT_EQ(frame.captionPlace, qlx::streams::CaptionPlace::Track);
        lines.push_back(std::to_string(frame.number) + ":" + toHex(frame.triplets));
    }
    lines.insert(lines.end(), reading.problems.begin(), reading.problems.end());
    if (!reading.failure.empty()) {
        lines.push_back(reading.failure);
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
    const qlxtest::FrameReading reading = readText<SccReader>("Scenarist_SCC V1.0\n\n" + std::string(text));
    EXPECT_EQ(reading.problems, Lines());
    Lines remarks;
    for (const std::string& remark : reading.remarks) {
        remarks.push_back(remark.substr(remark.find(' ') + 1));
    }
    return remarks;
}

TEST(SccFile, SaysWhichLinesAreLate) {
    const std::string three = "9420 9420 9420\n";
    EXPECT_EQ(remarksOn("00:00:00:00 " + three + "00:00:00:03 " + three + "00:00:00:06 942f"), Lines());
    EXPECT_EQ(remarksOn("00:00:00:00 " + three + "00:00:00:02 " + three),
              Lines{"4: the timecode comes before the pairs of line 3 are through: the line's pairs follow "
                    "those, from 00:00:00:03 on"});
    // Pairs 0 to 2, 60 to 62, and then 63 to 65 in place of 30 to 32; the line behind is not hurt by that.
    const std::string text = "00:00:00;00 " + three + "\n00:00:02;00 " + three + "00:00:01;00 " + three;
    EXPECT_EQ(remarksOn(text + "00:00:02;06 " + three),
              Lines{"6: the timecode is earlier than that of line 5: the line's pairs follow those, from "
                    "00:00:02;03 on"});
    EXPECT_EQ(pairsOf("Scenarist_SCC V1.0\n\n" + text).back(), "65:fc9420");
    // Behind a line that is late itself: 63 to 65 are taken, 64 is wanted.
    EXPECT_EQ(remarksOn(text + "00:00:02;04 " + three).back(),
              "7: the timecode comes before the pairs of line 6 are through: the line's pairs follow those, "
              "from 00:00:02;06 on");
    // A line without pairs moves nothing.
    EXPECT_EQ(remarksOn("00:00:00:00 " + three + "00:00:00:01\n00:00:00:03 " + three), Lines());
}

TEST(SccFile, SaysWhatIsWrong) {
    EXPECT_EQ(pairsOf(""), Lines{"line 0: the file is empty"});
    EXPECT_EQ(pairsOf("1\n00:00:01,000 --> 00:00:02,000\n"),
              Lines{"line 1: no Scenarist caption file: \"Scenarist_SCC V1.0\" is expected"});
    for (const char* const time : {"x", "00:00:01", "00:00:01:30", "00:01:00;00", "24:00:00:00"}) {
        EXPECT_EQ(pairsOf("Scenarist_SCC V1.0\n\n" + std::string(time) + "\t9420\n"),
                  Lines{"line 3: no timecode of 29.97 frames a second at the line's beginning"})
            << time;
    }
    for (const char* const pair : {"942", "94200", "94g0", "+942"}) {
        EXPECT_EQ(pairsOf("Scenarist_SCC V1.0\n00:00:00:00\t9420 " + std::string(pair) + "\n"),
                  (Lines{"0:fc9420", "line 2: a byte pair must be four hexadecimal digits, at character 18"}))
            << pair;
    }
}

TEST(SccFile, GivesWhatIsWholeOfEveryShorterFile) {
    const std::string text = "Scenarist_SCC V1.0\n00:00:01:00\t9420 94ae\n";
    for (std::size_t length = 1; length <= text.size(); ++length) {
        const Lines lines = pairsOf(std::string_view(text).substr(0, length));
        // 18 characters of the title, 11 of the timecode behind 19, pairs behind 31 and 36.
        Lines expected;
        if (length < 18) {
            expected = {"line 1: no Scenarist caption file: \"Scenarist_SCC V1.0\" is expected"};
        } else if (length > 19 && length < 30) {
            expected = {"line 2: no timecode of 29.97 frames a second at the line's beginning"};
        } else if (length > 31) {
            expected = {length < 35 ? "line 2: a byte pair must be four hexadecimal digits, at character 13"
                                    : "30:fc9420"};
            if (length > 36) {
                expected.push_back(length < 40 ? "line 2: a byte pair must be four hexadecimal digits, at character 18"
                                               : "31:fc94ae");
            }
        }
        EXPECT_EQ(lines, expected) << length;
    }
}

TEST(SccFile, GoesOnFailing) {
    const auto bytes = bytesOf("rubbish\n00:00:01:00\t9420\n");
    MemorySource source(bytes);
    SccReader reader(source);
    for (int call = 0; call < 3; ++call) {
        Frame frame;
        const auto more = reader.next(frame, nullptr);
        ASSERT_FALSE(more);
        EXPECT_EQ(more.error().code, FindingCode::SccTitleMissing);
        EXPECT_EQ(more.error().offset, 1U);
    }
}

TEST(SccFile, GoesOnBehindWhatIsWrong) {
    // A second that drop-frame counting leaves out, a line that is none, and a pair that is none, whose frame is kept.
    EXPECT_EQ(pairsOf("Scenarist_SCC V1.0\n00:00:01:00\t9420\n00:01:00;00\t94ae\ngarbage line\n"
                      "00:00:03:00\t9420 94zz 942f\n"),
              (Lines{"30:fc9420", "90:fc9420", "92:fc942f",
                     "line 3: no timecode of 29.97 frames a second at the line's beginning",
                     "line 4: no timecode of 29.97 frames a second at the line's beginning",
                     "line 5: a byte pair must be four hexadecimal digits, at character 18"}));
}

TEST(SccFile, HasLinesThatEndWithCarriageReturns) {
    EXPECT_EQ(pairsOf("Scenarist_SCC V1.0\r\r00:00:01:00\t9420 94ae\r00:00:02:00\t942f\rx"),
              (Lines{"30:fc9420", "31:fc94ae", "60:fc942f",
                     "line 5: no timecode of 29.97 frames a second at the line's beginning"}));
    // A return and a feed are one end, also where a piece that is read ends between them.
    for (const std::size_t blanks : {65'515U, 65'516U, 65'517U}) {
        EXPECT_EQ(pairsOf("Scenarist_SCC V1.0\r\n" + std::string(blanks, ' ') + "\r\n\r\nx"),
                  Lines{"line 4: no timecode of 29.97 frames a second at the line's beginning"})
            << blanks;
    }
}

}  // namespace

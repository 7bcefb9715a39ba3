// Files of a kind that a command does not read: what is said of them, and that nothing else is taken for one.
#include "AncBytes.h"
#include "ExactBuffer.h"
#include "SCTESupport.h"
#include "STLFiles.h"
#include "Sanitized.h"
#include "SubtitleFiles.h"
#include "ToolRunner.h"
#include "streams/InputKind.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

using namespace std::string_view_literals;
using qlxtest::Arguments;
using qlxtest::build;
using qlxtest::fromHex;
using qlxtest::outputOf;
using qlxtest::playArguments;
using qlxtest::runTool;
using qlxtest::srt;
using qlxtest::TemporaryFolder;
using qlxtest::ToolResult;

/// A file that something begins with, and what it is in words.
struct Beginning {
    std::string name;
    std::string content;
    std::string words;  ///< What it is, and behind a colon the commands that read it.
};

std::string bytes(std::string_view hex) {
    const auto read = fromHex(hex);
    return {read.begin(), read.end()};
}

std::string transportPackets() {
    std::string packets;
    for (int packet = 0; packet < 5; ++packet) {
        packets += "\x47\x10\x20\x10" + std::string(184, '\xFF');
    }
    return packets;
}

const std::vector<Beginning> kBeginnings{
    {"a.ts", transportPackets(), "an MPEG-TS file:scan, show, extract, rate and convert"},
    {"noname", transportPackets(), "an MPEG-TS file:scan, show, extract, rate and convert"},
    {"a.srt", transportPackets(), "an MPEG-TS file:scan, show, extract, rate and convert"},
    {"a.ps", bytes("000001ba 44ff"), "an MPEG-PS file:scan, show, extract, rate and convert"},
    {"a.mxf", bytes("060e2b34 02050101 0d010201 01020400 83000068"),
     "an MXF file:scan, show, extract, rate and convert"},
    {"a.mov", bytes("00000014 66747970 71742020 ff"), "a MOV or MP4 file:scan, show, extract, rate and convert"},
    {"a.mkv", bytes("1a45dfa3 9f428681 01"), "a Matroska file:scan, show, extract, rate and convert"},
    {"a.flv", bytes("464c5601 05 00000009"), "an FLV file:scan, show, extract, rate and convert"},
    {"a.264", bytes("00000001 09f0"), "an H.264 stream:scan, show, extract, rate and convert"},
    {"a.m2v", bytes("000001b3 14f0"), "an MPEG-2 stream:scan, show, extract, rate and convert"},
    {"a.klv", bytes("060e2b34 01020101 ff"), "a KLV file:scan, show, extract, rate, convert and scte104 parse"},
    {"a.png", bytes("89504e47 0d0a1a0a"), "a PNG picture:line21"},
    {"a.ppm", "P6\n2 1\n255\n\xFF\xFF\xFF\xFF\xFF\xFF", "a PPM picture:line21"},
    {"a.jsonl", "{\"frame\":0,\"packets\":[]}\n{\"frame\":1,\"packets\":[]}\n",
     "a file of a JSON line a frame:scan, show, extract, rate and convert"},
    {"a.v210", std::string(640, '\xF0'),
     "a v210 file by its name:scan, show, extract, rate, convert and scte104 parse"},
    {"a.2vuy", std::string(96, '\x80'), "a 2vuy file by its name:scan, show, extract, rate, convert and scte104 parse"},
    {"a.m2ts", std::string(96, '\x80'), "an MPEG-TS file by its name:scan, show, extract, rate and convert"}};

/// `NAME is an MPEG-TS file, WHAT: such files are for qlxcc scan, show, extract, rate and convert`
std::string refusal(const std::string& file, const std::string& words, const std::string& what) {
    const std::size_t colon = words.find(':');
    return "qlxcc: " + file + " is " + words.substr(0, colon) + ", " + what + ": such files are for qlxcc " +
           words.substr(colon + 1) + " (see qlxcc";
}

/// What is said of a file that is no subtitle file; where subtitles may be on air in it, also what asks for them.
std::string noSubtitles(const std::string& words, const std::string& options) {
    const bool mayHaveThem = words.find("convert") != std::string::npos && words.find("v210") == std::string::npos &&
                             words.find("2vuy") == std::string::npos;
    return "which is no subtitle file" + (mayHaveThem ? " unless " + options + " says what is on air" : std::string());
}

constexpr char kOfSubs[] = "--channel, --service or --page";
constexpr char kOfPlay[] = "--from-channel, --from-service or --from-page";

TEST(OtherKinds, AreNamedWhereSubtitlesAreRead) {
    for (const Beginning& beginning : kBeginnings) {
        const TemporaryFolder folder;
        const std::string file = folder.write(beginning.name, beginning.content);
        for (const auto& [arguments, options] :
             {std::pair(Arguments{"subs", file}, kOfSubs),
              std::pair(playArguments(file, "25", {"-o", folder.path("out.klv")}), kOfPlay)}) {
            const ToolResult result = runTool(arguments);
            EXPECT_EQ(result.exitCode, 2) << file;
            EXPECT_EQ(result.out, "");
            EXPECT_TRUE(result.err.starts_with(refusal(file, beginning.words, noSubtitles(beginning.words, options))))
                << result.err;
            EXPECT_TRUE(qlxtest::isOneMessage(result.err));
            EXPECT_EQ(folder.names(), Arguments{beginning.name});
        }
    }
    const ToolResult piped = runTool({"subs", "-"}, {.input = transportPackets()});
    const std::string words = "an MPEG-TS file:scan, show, extract, rate and convert";
    EXPECT_TRUE(piped.err.starts_with(refusal("standard input", words, noSubtitles(words, kOfSubs)))) << piped.err;
}

TEST(OtherKinds, AllHaveACommandThatReadsThem) {
    for (const char* const name : {"v210", "2vuy", "klv", "jsonl", "scc", "srt", "stl",  "json", "h264", "mpeg2", "mxf",
                                   "mov",  "ts",   "ps",  "png",   "ppm", "vtt", "h265", "mcc",  "mkv",  "flv"}) {
        const std::string text = qlx::tool::otherKind("a", qlx::tool::inputKindNamed(name).value(), "WHAT").what();
        const std::string end = ": such files are for qlxcc ";
        EXPECT_TRUE(text.starts_with("a is a")) << text;
        EXPECT_LT(text.find(end), text.size() - end.size()) << text;
    }
}

TEST(OtherKinds, AreNoSubtitlesWithAnEncodingOfTheCallersChoice) {
    const TemporaryFolder folder;
    const std::string file = folder.write("a.srt", transportPackets());
    const ToolResult result = runTool({"subs", file, "--encoding", "ISO-8859-1"});
    EXPECT_TRUE(result.err.starts_with(
        refusal(file, "an MPEG-TS file:scan, show, extract, rate and convert", noSubtitles("convert", kOfSubs))))
        << result.err;
}

TEST(OtherKinds, AreNotSeenInSubtitlesOfAnyName) {
    const std::string text = srt({{"00:00:01,000", "00:00:02,000", "Bonjour"}});
    std::string wide = "\xFF\xFE";
    for (const char character : text) {
        wide += character;
        wide += '\0';
    }
    const std::string json = R"([{"start_time_seconds":1,"end_time_seconds":2,"text_lines":[{"text":"Bonjour"}]}])";
    const std::string block = qlxtest::stl({{.start = {0, 0, 1, 0}, .end = {0, 0, 2, 0}, .text = "Bonjour"}});
    std::vector<std::string> names{"a.v210", "a.scc", "a.mov", "a.2vuy", "a.ts", "a.klv", "a.jsonl", "a.png"};
    // Under the sanitizers a format of rows, one of lines and a container.
    names.resize(qlxtest::countFor(names.size(), std::size_t{3}));
    for (const std::string& name : names) {
        const TemporaryFolder folder;
        for (const std::string& content :
             {text, "\xEF\xBB\xBF" + text, "a line too many\n\n" + text, "P6\n\n" + text, json,
              R"({"cues":)" + json + "}", R"({"frame":25,"cues":)" + json + "}", block}) {
            const ToolResult result = runTool({"subs", folder.write(name, content)});
            EXPECT_EQ(result.exitCode, 0) << name << ": " << result.err;
            EXPECT_NE(result.out.find("Bonjour"), std::string::npos);
        }
        const ToolResult result = runTool({"subs", folder.write(name, wide), "--encoding", "UTF-16"});
        EXPECT_EQ(result.exitCode, 0) << name << ": " << result.err;
        EXPECT_NE(result.out.find("Bonjour"), std::string::npos);
        EXPECT_EQ(runTool({"subs", folder.path(name)}).out.substr(0, 100), result.out.substr(0, 100));
        const ToolResult unnamed = runTool({"subs", folder.path(name), "--as-deployed"});
        EXPECT_NE(unnamed.err.find("(try --encoding UTF-16)"), std::string::npos) << unnamed.err;
        const ToolResult empty = runTool({"subs", folder.write(name, "")});
        EXPECT_EQ(empty.err, "qlxcc: " + folder.path(name) + ": byte 0: the file is empty\n");
    }
}

TEST(OtherKinds, AreNamedWhereMessagesAreRead) {
    const TemporaryFolder folder;
    EXPECT_EQ(outputOf(build({"splice-start", "--event-id", "1", "-o", folder.path("s.v210")})), "");
    for (const auto& [file, words] : std::vector<std::pair<std::string, std::string>>{
             {folder.write("a.srt", srt({{"00:00:01,000", "00:00:02,000", "Bonjour"}})),
              "an SRT file:subs, play and convert"},
             {folder.write("a.stl", qlxtest::stl({})), "an EBU STL file:subs, play and convert"},
             {folder.write("a.json", "[{\"operationID\":258}]"),
              "a JSON file:subs, play and convert, or scte104 build"},
             {folder.write("a.ts", transportPackets()), "an MPEG-TS file:scan, show, extract, rate and convert"}}) {
        for (const Arguments& arguments :
             {Arguments{"scte104", "parse", file}, Arguments{"scte35", file, "--pts", "0"}}) {
            const ToolResult result = runTool(arguments);
            EXPECT_EQ(result.exitCode, 2) << file;
            EXPECT_TRUE(result.err.starts_with(refusal(file, words, "in which no SCTE-104 message is looked for")))
                << result.err;
        }
    }
    // Digits and messages are what they are under every name, and a format that is given holds.
    EXPECT_EQ(runTool({"scte104", "parse", folder.write("b.v210", qlxtest::kSpliceNull)}).exitCode, 0);
    EXPECT_EQ(runTool({"scte104", "parse", folder.write("c.ts", fromHex(qlxtest::kSpliceNull))}).exitCode, 0);
    EXPECT_EQ(runTool({"scte104", "parse", folder.path("s.v210"), "--format", "hex"}).err,
              "qlxcc: " + folder.path("s.v210") + ": byte 0: byte value 00 is no hexadecimal digit\n");
}

TEST(OtherKinds, AreNamedByTheOtherCommands) {
    const TemporaryFolder folder;
    const std::string text = folder.write("a.srt", srt({{"00:00:01,000", "00:00:02,000", "Bonjour"}}));
    const std::string rows = folder.write("a.v210", std::string(640, '\xF0'));
    const std::string klv = folder.write("a.klv", qlxtest::joined({qlxtest::kAncKeyHex, "02 0000"}));
    const auto message = [](const Arguments& arguments) {
        const ToolResult result = runTool(arguments);
        EXPECT_EQ(result.exitCode, 2);
        return result.err.substr(0, result.err.find("(see"));
    };
    const auto expected = [](const std::string& file, const std::string& words, const std::string& what) {
        const std::string all = refusal(file, words, what);
        return all.substr(0, all.find("(see"));
    };
    const std::string srtWords = "an SRT file:subs, play and convert";
    const std::string rowWords = "a v210 file by its name:scan, show, extract, rate, convert and scte104 parse";
    const std::string noFrames = "which has no frames with packets or captions";
    EXPECT_EQ(message({"scan", text}), expected(text, srtWords, noFrames));
    EXPECT_EQ(message({"show", text, "--all"}), expected(text, srtWords, noFrames));
    EXPECT_EQ(message({"extract", text}), expected(text, srtWords, "which holds no video"));
    EXPECT_EQ(message({"rate", text, "--from", "25", "--to", "50", "-o", folder.path("out.klv")}),
              expected(text, srtWords, noFrames));
    EXPECT_EQ(message({"rate", text, "--from", "25", "--to", "50", "-o", folder.path("out.klv"), "--as-deployed"}),
              expected(text, srtWords, "which has no frames with packets"));
    for (const auto& [file, words] : {std::pair(text, srtWords), std::pair(rows, rowWords)}) {
        EXPECT_EQ(message({"scte104", "build", "--json-file", file}), expected(file, words, "which holds no messages"));
    }
    EXPECT_EQ(
        message({"scte104", "build", "--json-file", klv}),
        expected(klv, "a KLV file:scan, show, extract, rate, convert and scte104 parse", "which holds no messages"));
    EXPECT_EQ(folder.names(), (Arguments{"a.klv", "a.srt", "a.v210"}));
}

}  // namespace

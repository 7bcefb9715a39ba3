// Every command against files that are not what it expects: it ends, says what is wrong in one line, leaves nothing
// behind and stays small.
#include "ExactBuffer.h"
#include "PictureBytes.h"
#include "Sanitized.h"
#include "SubtitleFiles.h"
#include "ToolRunner.h"
#include "io/Errors.h"
#include "pictures/PngFile.h"

#include "STLFile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <ostream>
#include <random>

namespace {

using qlxtest::fromHex;
using qlxtest::isOneMessage;
using qlxtest::linesOf;
using qlxtest::runTool;
using qlxtest::TemporaryFolder;
using qlxtest::ToolConditions;
using qlxtest::ToolResult;

constexpr std::uint64_t kMegabyte = 1'000'000;
/// Of a run; the sanitizers' own memory is not what is measured here.
constexpr std::uint64_t kGreatestMemory = 200 * kMegabyte;

// What a good file consists of.

std::string text(std::span<const std::uint8_t> bytes) {
    return {bytes.begin(), bytes.end()};
}

std::string srtFile() {
    return qlxtest::srt({{"00:00:00,040", "00:00:00,120", "Bonjour"}, {"00:00:00,200", "00:00:00,320", "Salut"}});
}

std::string jsonSubtitles() {
    return R"([{"start_time_seconds":0.04,"end_time_seconds":0.12,"text_lines":[{"text":"Bonjour"}]}])";
}

/// What `play` writes in a format.
std::string played(const std::string& format) {
    const TemporaryFolder folder;
    return runTool(qlxtest::playArguments(folder.write("a.srt", srtFile()), "25", {"--format", format})).out;
}

std::string v210File() {
    return played("v210");
}

std::string klvFile() {
    return played("klv");
}

/// Rows of blanking in `2vuy`.
std::string yuvFile() {
    std::string file;
    for (int pixel = 0; pixel < 1920; ++pixel) {
        file += "\x80\x10";
    }
    return file + file;
}

std::string h264File() {
    const std::string sei = "06 04 11 b5 0031 47413934 03 c2 ff fc942c fd8080 ff 80";
    return text(fromHex("00000001 09f0 00000001 6742001ef4f0 00000001 68ce3880 000001" + sei + "000001 65 88 80 aa" +
                        "000001" + sei + "000001 41 9a 22 bb"));
}

std::string mpeg2File() {
    return text(fromHex("000001b3 2d0240 33 ffffe0 18 000001b5 148a 0001 0000 000001b8 00080040 00000100 000fff f8"
                        "000001b2 47413934 03 c2 ff fc942c fd8080 ff 00000101 12 34 56 78 000001b7"));
}

std::string scte104Message() {
    return "08ffff001e00000100000000010101000e010000000100070fa0012c000000\n";
}

std::string operations() {
    return R"([{"operationID":257,"spliceType":1,"eventID":1,"programUniqueID":1}])";
}

std::string rawPictures() {
    return std::string(std::size_t{2} * 720 * 3 * 4, '\x40');
}

std::string pngPicture() {
    return text(qlxtest::pngFile({720, 3, 8, 2, 0}, qlxtest::PictureBytes(std::size_t{3} * (720 * 3 + 1))));
}

std::string ppmPicture() {
    return "P6\n720 3\n255\n" + std::string(std::size_t{720} * 3 * 3, '\0');
}

std::string stlFile() {
    return qlxtest::stlFile(
        {{.text = {'B', 'o', 'n'}, .in = {0, 0, 0, 1}, .out = {0, 0, 0, 3}},
         {.text = {'S', 'a', 'l', 'u', 't'}, .number = 1, .in = {0, 0, 0, 5}, .out = {0, 0, 0, 8}}});
}

std::string sccFile() {
    const TemporaryFolder folder;
    return runTool(qlxtest::deployedCaptionArguments(folder.write("a.srt", srtFile()), "29.97", {"--format", "scc"}))
        .out;
}

std::string jsonlFile() {
    return played("jsonl");
}

std::string mccFile() {
    return played("mcc");
}

std::string vttFile() {
    return "WEBVTT\n\n00:00.040 --> 00:00.120\nBonjour\n\n00:00.200 --> 00:00.320\nSalut\n";
}

std::string assFile() {
    return "[Script Info]\nScriptType: v4.00+\n\n[Events]\nFormat: Start, End, Text\n"
           "Dialogue: 0:00:00.04,0:00:00.12,Bonjour\nDialogue: 0:00:00.20,0:00:00.32,Salut\n";
}

std::string ttmlFile() {
    return "<tt xmlns=\"http://www.w3.org/ns/ttml\" xml:lang=\"fr\"><body><div>\n"
           "<p begin=\"0.04s\" end=\"0.12s\">Bonjour</p>\n<p begin=\"0.2s\" end=\"0.32s\">Salut</p>\n"
           "</div></body></tt>\n";
}

/// Ten pictures of MPEG-2 video, or nothing where FFmpeg is not there to make them.
std::string container(const std::string& format) {
    const TemporaryFolder folder;
    const std::string command = "ffmpeg -v quiet -f lavfi -i color=c=black:s=64x64:r=25 -t 0.4 -c:v mpeg2video -f " +
                                format + " " + folder.path("a") + " > " + folder.path("log") + " 2>&1";
    return std::system(command.c_str()) == 0 ? folder.read("a") : "";
}

std::string tsFile() {
    return container("mpegts");
}

std::string psFile() {
    return container("vob");
}

std::string mxfFile() {
    return container("mxf");
}

std::string movFile() {
    return container("mov");
}

constexpr const char* kNoFfmpeg = "no FFmpeg to make a file with";
#ifdef QLX_STREAMS_FFMPEG
constexpr bool kOpensContainers = true;
#else
constexpr bool kOpensContainers = false;
#endif

/// Commands that stream take time for every byte: their files of zeros are just larger than the memory they may take,
/// or smaller where that is not measured.
constexpr std::uint64_t kZerosToStream = qlxtest::countFor(256, 32) * kMegabyte;
constexpr std::uint64_t kZerosToRefuse = std::uint64_t{4} << 30U;

struct Command {
    std::string name;
    std::vector<std::string> arguments;  ///< IN and OUT stand for the files; without OUT it prints.
    std::string (*goodFile)();
    std::uint64_t zeros = kZerosToRefuse;
    bool printsAllProblems = false;  ///< A line for each, where the others stop at the first.
    bool isPartial = false;          ///< What can be read is written, also where something cannot (exit code 1).
};

/// A command that writes what can be read.
Command partial(Command command) {
    command.printsAllProblems = true;
    command.isPartial = true;
    return command;
}

/// `convert` of a kind into another one, and what that needs besides.
Command conversion(const std::string& name, const std::string& from, const std::string& to,
                   const std::vector<std::string>& more, std::string (*goodFile)()) {
    Command command{name, {"convert", "IN", "--from-format", from, "--to-format", to}, goodFile};
    command.arguments.insert(command.arguments.end(), more.begin(), more.end());
    command.arguments.insert(command.arguments.end(), {"-o", "OUT", "--quiet"});
    command.zeros = kZerosToStream;
    return partial(std::move(command));
}

void PrintTo(const Command& command, std::ostream* stream) {
    *stream << command.name;
}

// A line for each kind of input of each command.
const std::vector<Command> kCommands{
    {"PlaySrt", {"play", "IN", "--mode", "teletext", "--rate", "25", "--format", "v210", "-o", "OUT", "-q"}, srtFile},
    {"PlayCaptions",
     {"play", "IN", "--mode", "cea608", "--rate", "25", "--format", "klv", "-o", "OUT", "--as-deployed"},
     srtFile},
    // It says how late its cues are, which have little time.
    {"PlayCaptionsOnAir",
     {"play", "IN", "--mode", "cea608", "--rate", "25", "--format", "klv", "-o", "OUT", "--quiet"},
     srtFile},
    {"PlayJson", {"play", "IN", "--mode", "teletext", "--rate", "25"}, jsonSubtitles},
    // It plays what there is of a file that is cut, and says so.
    partial({"PlayStl",
             {"play", "IN", "--mode", "teletext", "--rate", "25", "--format", "jsonl", "-o", "OUT", "--quiet"},
             stlFile}),
    {"SubsSrt", {"subs", "IN"}, srtFile},
    {"SubsJson", {"subs", "IN", "--json", "-o", "OUT"}, jsonSubtitles},
    {"SubsStl", {"subs", "IN"}, stlFile},
    {"ScanV210", {"scan", "IN", "--format", "v210", "--rows", "2"}, v210File, kZerosToStream, true},
    {"Scan2vuy", {"scan", "IN", "--format", "2vuy", "--json"}, yuvFile, kZerosToStream, true},
    {"ScanKlv", {"scan", "IN", "--format", "klv"}, klvFile, kZerosToRefuse, true},
    {"ScanKlvToFile", {"scan", "IN", "--format", "klv", "--json", "-o", "OUT"}, klvFile, kZerosToRefuse, true},
    {"ScanTs", {"scan", "IN", "--format", "ts"}, tsFile, kZerosToRefuse, true},
    {"ScanPs", {"scan", "IN", "--format", "ps"}, psFile, kZerosToRefuse, true},
    {"ScanMxf", {"scan", "IN", "--format", "mxf"}, mxfFile, kZerosToRefuse, true},
    {"ScanMov", {"scan", "IN", "--format", "mov"}, movFile, kZerosToRefuse, true},
    {"ShowKlv", {"show", "IN", "--format", "klv", "--rate", "25", "--all"}, klvFile, kZerosToRefuse, true},
    {"ShowJsonl", {"show", "IN", "--format", "jsonl", "--all"}, jsonlFile, kZerosToRefuse, true},
    {"ShowScc", {"show", "IN", "--format", "scc", "--all", "--json"}, sccFile, kZerosToRefuse, true},
    {"ExtractH264", {"extract", "IN", "--codec", "h264", "-o", "OUT"}, h264File},
    {"ExtractMpeg2", {"extract", "IN", "--codec", "mpeg2", "--json"}, mpeg2File},
    {"Extract", {"extract", "IN"}, h264File},
    partial({"Rate", {"rate", "IN", "--from", "25", "--to", "50", "-o", "OUT"}, klvFile}),
    {"Scte104Build", {"scte104", "build", "--json-file", "IN", "--format", "raw", "-o", "OUT"}, operations},
    {"Scte104Parse", {"scte104", "parse", "IN"}, scte104Message, kZerosToRefuse, true},
    {"Scte35", {"scte35", "IN", "--pts", "0", "--format", "raw", "-o", "OUT"}, scte104Message},
    {"Line21ReadRaw",
     {"line21", "read", "IN", "--format", "bgra", "--width", "720", "--height", "3"},
     rawPictures,
     kZerosToStream},
    {"Line21ReadPng", {"line21", "read", "IN", "--format", "png"}, pngPicture},
    {"Line21ReadPpm", {"line21", "read", "IN", "--format", "ppm", "--json"}, ppmPicture},
    {"Line21WriteRaw",
     {"line21", "write", "IN", "--format", "bgra", "--width", "720", "--height", "3", "--bytes", "942c", "-o", "OUT"},
     rawPictures,
     kZerosToStream},
    {"Line21WritePpm", {"line21", "write", "IN", "--format", "ppm", "--bytes", "942c", "-o", "OUT"}, ppmPicture},
    conversion("ConvertSrt", "srt", "vtt", {}, srtFile),
    conversion("ConvertVtt", "vtt", "stl", {"--to-rate", "25"}, vttFile),
    conversion("ConvertAss", "ass", "ttml", {}, assFile),
    conversion("ConvertTtml", "ttml", "json", {}, ttmlFile),
    conversion("ConvertStl", "stl", "ebu-tt-d", {}, stlFile),
    conversion("ConvertJson", "json", "srt", {}, jsonSubtitles),
    conversion("ConvertScc", "scc", "mcc", {}, sccFile),
    conversion("ConvertMcc", "mcc", "v210", {"--lines", "9"}, mccFile),
    conversion("ConvertJsonl", "jsonl", "klv", {}, jsonlFile),
    conversion("ConvertKlv", "klv", "srt", {"--from-rate", "25", "--page", "888"}, klvFile),
    conversion("ConvertSrtToScc", "srt", "scc", {}, srtFile),
};

class BadInput : public ::testing::TestWithParam<Command> {
protected:
    void SetUp() override {
        constexpr std::array kContainers{tsFile, psFile, mxfFile, movFile};
        if (!kOpensContainers &&
            std::find(kContainers.begin(), kContainers.end(), GetParam().goodFile) != kContainers.end()) {
            GTEST_SKIP() << "qlxcc was built without FFmpeg";
        }
        if (GetParam().goodFile == pngPicture) {
            try {
                qlx::tool::requirePng("test");
            } catch (const qlx::tool::Failure&) {
                GTEST_SKIP() << "built without PNG files";
            }
        }
    }

    /// A good file, or nothing where it cannot be made here. Each is made once, for those that need one.
    [[nodiscard]] static const std::string& good() {
        static std::map<std::string (*)(), std::string> made;
        const auto [file, isNew] = made.try_emplace(GetParam().goodFile);
        if (isNew) {
            file->second = GetParam().goodFile();
        }
        return file->second;
    }

    [[nodiscard]] bool writesFile() const {
        const auto& arguments = GetParam().arguments;
        return std::find(arguments.begin(), arguments.end(), "OUT") != arguments.end();
    }

    [[nodiscard]] ToolResult run(const std::string& input, const std::string& output,
                                 const ToolConditions& conditions = {}) const {
        std::vector<std::string> arguments = GetParam().arguments;
        std::replace(arguments.begin(), arguments.end(), std::string("IN"), input);
        std::replace(arguments.begin(), arguments.end(), std::string("OUT"), output);
        return runTool(arguments, conditions);
    }

    /// Runs with a file that may be broken and checks that whatever came of it is one thing or the other: the whole
    /// result, or nothing and a line that says why.
    void expectCleanEnd(std::string_view content) const {
        const TemporaryFolder inputs;
        const TemporaryFolder outputs;
        const ToolResult result = run(inputs.write("in", content), outputs.path("out"));
        expectCleanEnd(result, outputs);
        EXPECT_EQ(inputs.names(), std::vector<std::string>{"in"});
    }

    void expectCleanEnd(const ToolResult& result, const TemporaryFolder& outputs) const {
        EXPECT_EQ(result.signal, 0);
        const bool isDone = result.exitCode == 0;
        EXPECT_TRUE(isDone || result.exitCode == 1) << result.exitCode;
        if (const auto names = outputs.names(); isDone || !GetParam().isPartial) {
            EXPECT_EQ(names, isDone && writesFile() ? std::vector<std::string>{"out"} : std::vector<std::string>{});
        } else {
            EXPECT_TRUE(names.empty() || names == std::vector<std::string>{"out"});
        }
        for (const std::string& line : linesOf(result.err)) {
            EXPECT_TRUE(line.starts_with("qlxcc: ")) << line;
        }
        if (isDone) {
            // What is used in spite of what is wrong with it is a warning.
            for (const std::string& line : linesOf(result.err)) {
                EXPECT_TRUE(line.starts_with("qlxcc: warning: ")) << line;
            }
        } else if (GetParam().printsAllProblems) {
            EXPECT_NE(result.err, "");
        } else {
            EXPECT_TRUE(isOneMessage(result.err)) << result.err;
        }
    }
};

TEST_P(BadInput, TakesTheGoodFile) {
    if (good().empty()) {
        GTEST_SKIP() << kNoFfmpeg;
    }
    const TemporaryFolder folder;
    const ToolResult result = run(folder.write("in", good()), folder.path("out"));
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.err, "");
    EXPECT_NE(writesFile() ? folder.read("out") : result.out, "");
}

TEST_P(BadInput, EmptyFile) {
    const TemporaryFolder inputs;
    const TemporaryFolder folder;
    const std::string file = inputs.write("in", "");
    const ToolResult result = run(file, folder.path("out"));
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, "qlxcc: " + file + ": byte 0: the file is empty\n");
    EXPECT_EQ(folder.names(), std::vector<std::string>{});
}

TEST_P(BadInput, MissingFile) {
    const TemporaryFolder folder;
    const ToolResult result = run(folder.path("none"), folder.path("out"));
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, "qlxcc: " + folder.path("none") + ": No such file or directory\n");
    EXPECT_EQ(folder.names(), std::vector<std::string>{});
}

TEST_P(BadInput, Directory) {
    const TemporaryFolder folder;
    const ToolResult result = run(folder.path(), folder.path("out"));
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, "qlxcc: " + folder.path() + ": Is a directory\n");
    EXPECT_EQ(folder.names(), std::vector<std::string>{});
}

TEST_P(BadInput, RandomBytes) {
    std::minstd_rand random(608);
    for (const std::size_t size : {1U, 100U, 4096U, 100000U}) {
        std::string bytes(size, '\0');
        std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<char>(random() >> 8U); });
        SCOPED_TRACE(size);
        expectCleanEnd(bytes);
    }
}

TEST_P(BadInput, TruncatedFile) {
    if (good().empty()) {
        GTEST_SKIP() << kNoFfmpeg;
    }
    ASSERT_GT(good().size(), 8U);
    const std::size_t size = good().size();
    for (const std::size_t length :
         {std::size_t{1}, std::size_t{2}, std::size_t{7}, size / 3, size / 2, size - 7, size - 2, size - 1}) {
        SCOPED_TRACE(length);
        expectCleanEnd(std::string_view(good()).substr(0, length));
    }
}

TEST_P(BadInput, ZerosNeedLittleMemory) {
    const TemporaryFolder folder;
    const TemporaryFolder outputs;
    const std::string file = folder.write("in", "");
    std::filesystem::resize_file(file, GetParam().zeros);
    // What is read as pictures or packets is a result of the same size, which need not go to a disk.
    const ToolResult result = run(file, "/dev/null", {.outputFile = "/dev/null"});
    EXPECT_EQ(result.signal, 0);
    EXPECT_TRUE(result.exitCode == 0 || isOneMessage(result.err)) << result.err.substr(0, 1000);
    EXPECT_EQ(folder.names(), std::vector<std::string>{"in"});
    if (!qlxtest::kIsSanitized) {
        EXPECT_LT(result.peakMemory, kGreatestMemory);
    }
}

TEST_P(BadInput, NoSpaceLeft) {
    if (good().empty()) {
        GTEST_SKIP() << kNoFfmpeg;
    }
    const TemporaryFolder folder;
    const std::string file = folder.write("in", good());
    const ToolResult result = writesFile() ? run(file, "/dev/full") : run(file, "", {.outputFile = "/dev/full"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, writesFile() ? "qlxcc: /dev/full: No space left on device\n"
                                       : "qlxcc: standard output: No space left on device\n");
    EXPECT_EQ(folder.names(), std::vector<std::string>{"in"});
}

TEST_P(BadInput, ClosedPipe) {
    if (good().empty()) {
        GTEST_SKIP() << kNoFfmpeg;
    }
    const TemporaryFolder folder;
    const std::string file = folder.write("in", good());
    const ToolResult result = run(file, "-", {.outputIsClosed = true});
    EXPECT_EQ(result.signal, 0);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(folder.names(), std::vector<std::string>{"in"});
}

TEST(GreatestPicture, NeedsLittleMemory) {
    for (const std::string& format : std::vector<std::string>{"bgra", "ppm"}) {
        const ToolResult result = runTool({"line21", "write", "--bytes", "942c", "--format", format, "--width", "7680",
                                           "--height", "4320", "-o", "/dev/null"});
        EXPECT_EQ(result.exitCode, 0) << result.err;
        if (!qlxtest::kIsSanitized) {
            EXPECT_LT(result.peakMemory, kGreatestMemory) << format;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Commands, BadInput, ::testing::ValuesIn(kCommands),
                         [](const ::testing::TestParamInfo<Command>& tested) { return tested.param.name; });

}  // namespace

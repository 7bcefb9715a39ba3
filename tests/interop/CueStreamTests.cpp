// Captions that are on air in files that FFmpeg writes, as cues: convert gives the text, the looks and the times of what was
// played, whatever the codec and the container; what FFmpeg itself reads of one of them is the same.
#include "Sanitized.h"
#include "ToolRunner.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace cue_stream_tests {
namespace {

using namespace std::literals;
using qlxtest::linesOf;
using qlxtest::runTool;
using qlxtest::TemporaryFolder;
using qlxtest::ToolResult;

/// Times on frames of 1001/30000 s.
constexpr std::string_view kPlayed = "1\n00:00:01,001 --> 00:00:02,002\nHello\n\n"
                                     "2\n00:00:02,002 --> 00:00:03,003\n<i>Two</i> rows\nhere\n\n"
                                     "3\n00:00:03,003 --> 00:00:03,470\n<font color=\"#ffff00\">Yellow</font>\n\n";

/// The code that ends the italics takes the place of the space; captions have places.
constexpr std::string_view kExpected = "1\n00:00:01,001 --> 00:00:02,002\n{\\an1}Hello\n\n"
                                       "2\n00:00:02,002 --> 00:00:03,003\n{\\an1}<i>Two </i>rows\nhere\n\n"
                                       "3\n00:00:03,003 --> 00:00:03,470\n{\\an1}<font color=\"#ffff00\">Yellow</font>"
                                       "\n\n";

bool succeeds(const std::string& command) {
    return std::system((command + " 2>/dev/null >/dev/null").c_str()) == 0;
}

std::string hexBytes(std::string_view hex) {
    std::string bytes;
    for (std::size_t place = 0; place + 1 < hex.size(); place += 2) {
        bytes += static_cast<char>(std::stoul(std::string(hex.substr(place, 2)), nullptr, 16));
    }
    return bytes;
}

/// The places of the start codes of a byte stream.
std::vector<std::size_t> startCodes(std::string_view stream) {
    std::vector<std::size_t> places;
    for (std::size_t place = stream.find("\0\0\1"sv); place != std::string_view::npos;
         place = stream.find("\0\0\1"sv, place + 3)) {
        places.push_back(place);
    }
    return places;
}

/// Pictures of MPEG-2 with what `play` gives for the user data of each (ATSC A/53), in front of its first slice.
std::string mpeg2With(std::string_view stream, const std::vector<std::string>& data) {
    std::string result;
    std::size_t copied = 0;
    std::size_t picture = 0;
    bool isInHeader = false;
    for (const std::size_t place : startCodes(stream)) {
        const auto code = static_cast<unsigned char>(stream[place + 3]);
        isInHeader = isInHeader || code == 0;
        if (isInHeader && code >= 0x01 && code <= 0xAF && picture < data.size()) {
            result += stream.substr(copied, place - copied);
            result += "\0\0\1\xB2GA94"sv;
            result += data[picture++];
            copied = place;
            isInHeader = false;
        }
    }
    return result += stream.substr(copied);
}

/// Pictures of H.265, in the order in which they are shown, with the same as SEI messages (Rec. ITU-T H.265, D.2.6).
std::string h265With(std::string_view stream, const std::vector<std::string>& data) {
    std::string result;
    std::size_t copied = 0;
    std::size_t picture = 0;
    for (const std::size_t place : startCodes(stream)) {
        const unsigned type = static_cast<unsigned char>(stream[place + 3]) >> 1U & 0x3FU;
        const bool isFirst = type < 32 && (static_cast<unsigned char>(stream[place + 5]) & 0x80U) != 0;
        if (isFirst && picture < data.size()) {
            result += stream.substr(copied, place - copied);
            const std::string payload = "\xB5\0\x31GA94"s + data[picture++];
            result += "\0\0\1\x4E\x01\x04"sv;
            result += static_cast<char>(payload.size());
            result += payload + "\x80";
            copied = place;
        }
    }
    return result += stream.substr(copied);
}

class CueFiles : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
#ifdef QLX_STREAMS_FFMPEG
        hasTools = succeeds("ffmpeg -v quiet -nostdin -h encoder=libx264 | grep -q '^Encoder libx264'") &&
                   succeeds("ffmpeg -v quiet -nostdin -h encoder=libx265 | grep -q '^Encoder libx265'") &&
                   succeeds("ffmpeg -v quiet -nostdin -h encoder=mpeg2video | grep -q '^Encoder mpeg2video'");
#endif
        if (!hasTools) {
            return;
        }
        data.clear();
        folder = std::make_unique<TemporaryFolder>();
        const ToolResult played = runTool({"play", folder->write("in.srt", kPlayed), "--mode", "cea608", "--rate",
                                           "29.97", "--duration", "4", "--to-format", "a53"});
        ASSERT_EQ(played.exitCode, 0) << played.err;
        for (const std::string& line : linesOf(played.out)) {
            data.push_back(hexBytes(line));
        }
        const std::string source = "ffmpeg -nostdin -v error -f lavfi -i testsrc=s=64x64:r=30000/1001:d=4.2 -c:v ";
        run(source + "mpeg2video -g 1 -f mpeg2video -y 'plain.m2v'");
        std::ofstream(folder->path("a.m2v"), std::ios::binary) << mpeg2With(folder->read("plain.m2v"), data);
    }
    static void TearDownTestSuite() {
        folder.reset();
    }

    /// Runs a command in the folder.
    static void run(const std::string& command) {
        ASSERT_EQ(std::system(("cd '" + folder->path() + "' && " + command + " >log 2>&1").c_str()), 0)
            << command << "\n"
            << folder->read("log");
    }

    static ToolResult converted(const std::string& name, const std::vector<std::string>& more = {}) {
        std::vector<std::string> arguments{"convert", folder->path(name), "-o",  "-", "--to-format",
                                           "srt",     "--from-start",     "auto"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return runTool(arguments);
    }

    static inline bool hasTools = false;
    static inline std::unique_ptr<TemporaryFolder> folder;
    static inline std::vector<std::string> data;
};

constexpr const char* kNoTools = "ffmpeg with libx264 and libx265 is not installed, or qlxcc was built without FFmpeg";

class CueStream : public CueFiles, public ::testing::WithParamInterface<const char*> {};

TEST_P(CueStream, GivesTheCuesThatWerePlayed) {
    if (!hasTools) {
        GTEST_SKIP() << kNoTools;
    }
    const std::string name = GetParam();
    const std::string codec = name.substr(0, name.find('.'));
    const std::string source = "ffmpeg -nostdin -v error -f mpegvideo -framerate 30000/1001 -i a.m2v -a53cc 1 -c:v ";
    const bool isOfFrames = name.ends_with(".h264") || name.ends_with(".m2v") || name.ends_with(".h265");
    if (codec == "h265") {
        run("ffmpeg -nostdin -v error -f mpegvideo -framerate 30000/1001 -i a.m2v -c:v libx265 -preset ultrafast "
            "-x265-params bframes=0:log-level=none -f hevc -y plain.265");
        std::ofstream(folder->path("h265.h265"), std::ios::binary) << h265With(folder->read("plain.265"), data);
        if (!isOfFrames) {
            run("ffmpeg -nostdin -v error -f hevc -framerate 30000/1001 -i h265.h265 -c copy -y " + name);
        }
    } else if (name != "a.m2v") {
        const std::string form = name.ends_with(".mpg") ? " -f vob" : name.ends_with(".h264") ? " -f h264" : "";
        run(source + (codec == "h264" ? "libx264 -preset ultrafast -x264-params bframes=2" : "mpeg2video -bf 2 -g 12") +
            form + " -y " + name);
    }
    const ToolResult result =
        converted(name, isOfFrames ? std::vector<std::string>{"--from-rate", "29.97"} : std::vector<std::string>());
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.out, kExpected) << result.err;
}

INSTANTIATE_TEST_SUITE_P(Files, CueStream,
                         ::testing::Values("a.m2v", "h264.h264", "h265.h265", "h264.mp4", "mpeg2.mov", "h264.ts",
                                           "mpeg2.ts", "mpeg2.mkv", "h264.mkv", "mpeg2.mxf", "h264.mxf", "mpeg2.mpg",
                                           "h264.flv", "h265.mp4", "h265.ts", "h265.mkv"),
                         [](const auto& file) {
                             std::string name = file.param;
                             name[name.find('.')] = '_';
                             return name;
                         });

// FFmpeg puts the lines of a Scenarist file into samples whose times are milliseconds, and leaves out the last line.
TEST_F(CueFiles, OfACaptionTrackGiveTheCuesThatWerePlayed) {
    if (!hasTools) {
        GTEST_SKIP() << kNoTools;
    }
    folder->write("a.scc", "Scenarist_SCC V1.0\n\n"
                           "00:00:01:00\t9420 9420 94ad 94ad c8e5 ecec ef80 942f 942f\n\n"
                           "00:00:02:00\t9420 9420 9470 9470 91ae 91ae 54f7 ef80 942f 942f\n\n"
                           "00:00:03:00\t942c 942c\n\n00:00:04:00\t942c 942c\n\n");
    run("ffmpeg -nostdin -v error -i a.scc -map 0 -c:s copy -y c608.mov");
    const ToolResult result = converted("c608.mov", {"--from-start", "0"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    // A sample is shown as a whole, at its time.
    EXPECT_EQ(result.out, "1\n00:00:01,000 --> 00:00:02,000\n{\\an1}Hello\n\n"
                          "2\n00:00:02,000 --> 00:00:03,000\n{\\an1}<i>Two</i>\n\n");
}

TEST_F(CueFiles, AreReadAlikeByFfmpeg) {
    if (!hasTools) {
        GTEST_SKIP() << kNoTools;
    }
    run("ffmpeg -nostdin -v error -f mpegvideo -framerate 30000/1001 -i a.m2v -a53cc 1 -c:v mpeg2video -bf 2 -y b.ts");
    run("ffmpeg -nostdin -v error -f lavfi -i 'movie=b.ts[out0+subcc]' -map 0:s -f srt -y judged.srt");
    std::string judged;
    bool isInTag = false;
    for (const char character : folder->read("judged.srt")) {
        isInTag = isInTag || character == '<' || character == '{';
        judged += isInTag ? "" : std::string(1, character);
        isInTag = isInTag && character != '>' && character != '}';
    }
    // Spaces that place a row.
    for (std::size_t space = judged.find("\\h"); space != std::string::npos; space = judged.find("\\h")) {
        judged.erase(space, 2);
    }
    EXPECT_EQ(judged, "1\n00:00:01,001 --> 00:00:02,002\nHello\n\n2\n00:00:02,002 --> 00:00:03,003\nTwo rows\nhere\n\n"
                      "3\n00:00:03,003 --> 00:00:03,470\nYellow\n\n");
}

}  // namespace
}  // namespace cue_stream_tests

// Captions that are on air in files that FFmpeg writes, as cues: convert gives the text, the looks and the times of what was
// played, whatever the codec and the container; what FFmpeg itself reads of one of them is the same.
#include "CarriedCues.h"
#include "Encoders.h"
#include "Sanitized.h"
#include "ToolRunner.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace cue_stream_tests {
namespace {

using namespace std::literals;
using qlxtest::kLibx265;
using qlxtest::linesOf;
using qlxtest::runTool;
using qlxtest::TemporaryFolder;
using qlxtest::ToolResult;

/// Times on frames of 1001/30000 s.
constexpr std::string_view kPlayed = "1\n00:00:01,001 --> 00:00:02,002\nHello\n\n"
                                     "2\n00:00:02,002 --> 00:00:03,003\n<i>Two</i> rows\nhere\n\n"
                                     "3\n00:00:03,003 --> 00:00:04,004\n<font color=\"#ffff00\">Yellow</font>\n\n";

/// The code that ends the italics takes the place of the space; captions have places.
constexpr std::string_view kExpected = "1\n00:00:01,001 --> 00:00:02,002\nHello\n\n"
                                       "2\n00:00:02,002 --> 00:00:03,003\n<i>Two </i>rows\nhere\n\n"
                                       "3\n00:00:03,003 --> 00:00:04,004\n<font color=\"#ffff00\">Yellow</font>"
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

/// Pictures of H.265, in the order in which they are shown, with the same as SEI messages (Rec. ITU-T H.265, annex D).
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
                                           "29.97", "--duration", "4.5", "--to-format", "a53"});
        ASSERT_EQ(played.exitCode, 0) << played.err;
        for (const std::string& line : linesOf(played.out)) {
            data.push_back(hexBytes(line));
        }
        const std::string source = "ffmpeg -nostdin -v error -f lavfi -i testsrc=s=64x64:r=30000/1001:d=4.5 -c:v ";
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

    static ToolResult converted(const std::string& name, const std::string& start,
                                const std::vector<std::string>& more = {}) {
        std::vector<std::string> arguments{"convert", folder->path(name), "-o", "-", "--to-format",
                                           "srt",     "--from-start",     start};
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
        run("ffmpeg -nostdin -v error -f mpegvideo -framerate 30000/1001 -i a.m2v -c:v "s + kLibx265 +
            ":bframes=0 -preset ultrafast -f hevc -y plain.265");
        std::ofstream(folder->path("h265.h265"), std::ios::binary) << h265With(folder->read("plain.265"), data);
        if (!isOfFrames) {
            run("ffmpeg -nostdin -v error -f hevc -framerate 30000/1001 -i h265.h265 -c copy -y " + name);
        }
    } else if (name != "a.m2v") {
        const std::string form = name.ends_with(".mpg") ? " -f vob" : name.ends_with(".h264") ? " -f h264" : "";
        run(source + (codec == "h264" ? "libx264 -preset ultrafast -x264-params bframes=2" : "mpeg2video -bf 2 -g 12") +
            form + " -y " + name);
    }
    const ToolResult result = converted(
        name, "auto", isOfFrames ? std::vector<std::string>{"--from-rate", "29.97"} : std::vector<std::string>());
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.out, kExpected) << result.err;
}

INSTANTIATE_TEST_SUITE_P(Files, CueStream,
                         ::testing::Values("a.m2v", "h264.h264", "h265.h265", "h264.mp4", "mpeg2.mov", "h264.ts",
                                           "mpeg2.ts", "h264.mkv", "mpeg2.mxf", "mpeg2.mpg", "h264.flv", "h265.mp4",
                                           "h265.mkv"),
                         [](const auto& file) {
                             std::string name = file.param;
                             name[name.find('.')] = '_';
                             return name;
                         });

/// 200 cues of every style, as captions of files of all kinds: what is read of each is what is read of the packets that
/// were played, from which the tests of the tool go on to every format.
class EveryStyle : public CueFiles {
protected:
    static void SetUpTestSuite() {
        CueFiles::SetUpTestSuite();
        if (!hasTools) {
            return;
        }
        const std::string vtt =
            folder->write("all.vtt", qlxtest::carried::webVttOf(qlxtest::carried::cuesOfEveryStyle()));
        data.clear();
        for (const std::string& line :
             linesOf(runTool({"play", vtt, "--mode", "cea608", "--rate", "29.97", "--to-format", "a53"}).out)) {
            data.push_back(hexBytes(line));
        }
        const std::string source = "ffmpeg -nostdin -v error -f lavfi -i color=s=32x32:r=30000/1001:d=" +
                                   std::to_string(static_cast<double>(data.size()) * 1.001 / 30) + " -c:v ";
        run(source + "mpeg2video -g 1 -f mpeg2video -y plain.m2v");
        std::ofstream(folder->path("mpeg2.m2v"), std::ios::binary) << mpeg2With(folder->read("plain.m2v"), data);
        run("ffmpeg -nostdin -v error -f mpegvideo -framerate 30000/1001 -i mpeg2.m2v -a53cc 1 -c:v libx264 -preset "
            "ultrafast -x264-params bframes=0 -f h264 -y h264.h264");
        run(source + kLibx265 + ":bframes=0 -preset ultrafast -f hevc -y plain.265");
        std::ofstream(folder->path("h265.h265"), std::ios::binary) << h265With(folder->read("plain.265"), data);
        const ToolResult packets = runTool(
            {"play", vtt, "--mode", "cea608", "--rate", "29.97", "--to-format", "klv", "-o", folder->path("all.klv")});
        ASSERT_EQ(packets.exitCode, 0) << packets.err;
        played = cuesOf("all.klv", {"--from-rate", "29.97", "--from-start", "0"});
        ASSERT_EQ(played.size(), qlxtest::carried::kCues);
    }

    /// Its cues with all that is known of them.
    static std::vector<qlx::subtitles::Cue> cuesOf(const std::string& name, const std::vector<std::string>& more) {
        const std::string json = folder->path("read.json");
        std::vector<std::string> arguments{"convert", folder->path(name), "-o", json};
        arguments.insert(arguments.end(), more.begin(), more.end());
        const ToolResult result = runTool(arguments);
        EXPECT_EQ(result.exitCode, 0) << result.err;
        return qlxtest::carried::readWritten(json);
    }

    static inline std::vector<qlx::subtitles::Cue> played;
};

TEST_F(EveryStyle, IsReadAlikeFromEveryFile) {
    if (!hasTools) {
        GTEST_SKIP() << kNoTools;
    }
    const auto inMilliseconds = [](const qlx::MediaTime& time) {
        return 1000.0 * static_cast<double>(time.value) / time.timescale;
    };
    for (const std::string name :
         {"mpeg2.m2v", "mpeg2.mov", "mpeg2.ts", "mpeg2.mkv", "mpeg2.mxf", "mpeg2.mpg", "h264.h264", "h264.mp4",
          "h264.ts", "h264.mkv", "h264.flv", "h265.h265", "h265.mp4", "h265.mkv", "h265.ts"}) {
        SCOPED_TRACE(name);
        const bool isOfFrames = name.ends_with(".h264") || name.ends_with(".m2v") || name.ends_with(".h265");
        const std::string codec = name.substr(0, name.find('.'));
        const std::string stream = codec == "mpeg2" ? "mpegvideo" : codec == "h264" ? "h264" : "hevc";
        const std::string file = codec == "mpeg2" ? "mpeg2.m2v" : codec + "." + codec;
        if (!isOfFrames) {
            run("ffmpeg -nostdin -v error -fflags +genpts -r 30000/1001 -f " + stream + " -i " + file + " -c copy" +
                (name.ends_with(".mpg") ? " -f vob" : "") + " -y " + name);
        }
        const std::vector<qlx::subtitles::Cue> cues = isOfFrames
                                                          ? cuesOf(name, {"--from-rate", "29.97", "--from-start", "0"})
                                                          : cuesOf(name, {"--from-start", "auto"});
        ASSERT_EQ(cues.size(), played.size());
        for (std::size_t index = 0; index < cues.size(); ++index) {
            qlx::subtitles::Cue cue = cues[index];
            EXPECT_NEAR(inMilliseconds(cue.start), inMilliseconds(played[index].start), 2) << index;
            EXPECT_NEAR(inMilliseconds(cue.end), inMilliseconds(played[index].end), 2) << index;
            cue.start = played[index].start;
            cue.end = played[index].end;
            EXPECT_EQ(cue, played[index]) << index;
        }
    }
}

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
    const ToolResult result = converted("c608.mov", "0");
    EXPECT_EQ(result.exitCode, 0) << result.err;
    // A sample is shown as a whole, at its time.
    EXPECT_EQ(result.out, "1\n00:00:01,000 --> 00:00:02,000\n{\\an1}Hello\n\n"
                          "2\n00:00:02,000 --> 00:00:03,000\n{\\an1}<i>Two</i>\n\n");
}

/// A text of FFmpeg's without tags, codes in braces, spaces that place a row, and carriage returns.
std::string withoutLooks(const std::string& text) {
    std::string plain;
    bool isInTag = false;
    for (const char character : text) {
        isInTag = isInTag || character == '<' || character == '{';
        plain += isInTag || character == '\r' ? "" : std::string(1, character);
        isInTag = isInTag && character != '>' && character != '}';
    }
    for (std::size_t space = plain.find("\\h"); space != std::string::npos; space = plain.find("\\h")) {
        plain.erase(space, 2);
    }
    return plain;
}

TEST_F(CueFiles, AreReadAlikeByFfmpeg) {
    if (!hasTools) {
        GTEST_SKIP() << kNoTools;
    }
    run("ffmpeg -nostdin -v error -f mpegvideo -framerate 30000/1001 -i a.m2v -a53cc 1 -c:v mpeg2video -bf 2 -y b.ts");
    run("ffmpeg -nostdin -v error -f lavfi -i 'movie=b.ts[out0+subcc]' -map 0:s -f srt -y judged.srt");
    const std::string judged = withoutLooks(folder->read("judged.srt"));
    EXPECT_EQ(judged, "1\n00:00:01,001 --> 00:00:02,002\nHello\n\n2\n00:00:02,002 --> 00:00:03,003\nTwo rows\nhere\n\n"
                      "3\n00:00:03,003 --> 00:00:04,004\nYellow\n\n");
}

// It takes the timecode of a line for the time of its frame, counted as 33 ms each.
TEST_F(CueFiles, OfAScenaristFileAreReadByFfmpeg) {
    if (!hasTools) {
        GTEST_SKIP() << kNoTools;
    }
    const std::string srt = folder->write("whole.srt", "1\n00:00:02,000 --> 00:00:04,000\nHello\n\n"
                                                       "2\n00:00:05,000 --> 00:00:07,000\nTwo\nrows\n\n");
    ASSERT_EQ(runTool({"convert", srt, "-o", folder->path("whole.scc")}).exitCode, 0);
    run("ffmpeg -nostdin -v error -i whole.scc -f srt -y whole.judged.srt");
    const std::string judged = withoutLooks(folder->read("whole.judged.srt"));
    EXPECT_TRUE(judged.starts_with("1\n00:00:02,000 --> 00:00:04,000\nHello\n\n2\n00:00:05,000 --> ")) << judged;
    EXPECT_NE(judged.find("\nTwo\nrows\n"), std::string::npos) << judged;
}

// Files that convert writes, read by programs that are not ours.

constexpr std::string_view kWritten = "1\n00:00:02,000 --> 00:00:04,000\nHello\n\n"
                                      "2\n00:00:05,000 --> 00:00:06,520\n<i>Two</i>\nrows\n\n"
                                      "3\n00:00:08,000 --> 00:00:09,520\n<font color=\"#ffff00\">Yellow</font>\n\n";

/// The times of a SubRip text in milliseconds, and its rows.
struct ReadCues {
    std::vector<int> times;
    std::vector<std::string> rows;
};

ReadCues readCues(const std::string& text) {
    ReadCues read;
    for (const std::string& line : linesOf(text)) {
        int part[8]{};
        if (std::sscanf(line.c_str(), "%d:%d:%d,%d --> %d:%d:%d,%d", part, part + 1, part + 2, part + 3, part + 4,
                        part + 5, part + 6, part + 7) == 8) {
            for (const int* time : {part, part + 4}) {
                read.times.push_back(((time[0] * 60 + time[1]) * 60 + time[2]) * 1000 + time[3]);
            }
        } else if (line.find_first_not_of("0123456789") != std::string::npos) {
            read.rows.push_back(line);
        }
    }
    return read;
}

class CueJudges : public ::testing::TestWithParam<std::string> {};

TEST_P(CueJudges, OfTtconvReadWhatIsWritten) {
    const TemporaryFolder folder;
    if (!succeeds("/usr/bin/python3 -c 'import ttconv.tt'")) {
        GTEST_SKIP() << "python3-ttconv is not installed";
    }
    const std::string file = folder.path("a." + GetParam());
    ASSERT_EQ(runTool({"convert", folder.write("in.srt", kWritten), "-o", file, "--to-rate",
                       GetParam() == "scc" ? "29.97" : "25"})
                  .exitCode,
              0);
    ASSERT_TRUE(succeeds("/usr/bin/python3 -m ttconv.tt convert -i '" + file + "' -o '" + folder.path("b.srt") + "'"));
    const ReadCues read = readCues(folder.read("b.srt"));
    const ReadCues written = readCues(std::string(kWritten));
    ASSERT_EQ(read.times.size(), written.times.size()) << folder.read("b.srt");
    // It takes a caption for shown behind the second one of a doubled code, and rounds to milliseconds: two frames behind
    // the first frame of 1001/30 ms that begins at the time or later. The frames of EBU STL are those of the times here.
    constexpr int kTwoFrames = 67;
    for (std::size_t index = 0; index < read.times.size(); ++index) {
        const int frame = (written.times[index] * 30 + 1000) / 1001;
        const bool isOfFrames = GetParam() == "scc";
        EXPECT_NEAR(read.times[index], isOfFrames ? (frame * 1001 + 15) / 30 : written.times[index],
                    isOfFrames ? kTwoFrames : 0);
    }
    EXPECT_EQ(read.rows,
              (std::vector<std::string>{"Hello", "<i>Two</i>", "rows", "<font color=\"#ffff00ff\">Yellow</font>"}))
        << folder.read("b.srt");
}

INSTANTIATE_TEST_SUITE_P(Formats, CueJudges, ::testing::Values("scc", "stl"),
                         [](const auto& format) { return format.param; });

TEST(TtmlJudge, OfGStreamerReadTtmlThatIsWritten) {
    if (!succeeds("gst-inspect-1.0 --exists ttmlparse")) {
        GTEST_SKIP() << "GStreamer's ttmlparse is not installed";
    }
    const TemporaryFolder folder;
    const std::string source = folder.write("in.srt", kWritten);
    for (const std::string profile : {"ttml", "ebu-tt-d"}) {
        const std::string file = folder.path(profile + ".ttml");
        ASSERT_EQ(runTool({"convert", source, "-o", file, "--to-format", profile}).exitCode, 0);
        ASSERT_TRUE(succeeds("sh -c \"gst-launch-1.0 -v filesrc location='" + file +
                             "' ! ttmlparse ! fakesink dump=true silent=false sync=false > '" + folder.path("log") +
                             "'\""));
        // `pts: 0:00:02.000000000, duration: 0:00:02.000000000`, and the text as bytes.
        std::vector<std::string> times;
        std::string texts;
        for (const std::string& line : linesOf(folder.read("log"))) {
            const std::size_t time = line.find("pts: ");
            if (time != std::string::npos && line.find("chain") != std::string::npos) {
                times.push_back(line.substr(time + 5, 11) + line.substr(line.find("duration: ") + 9, 12));
            }
            const std::size_t dump = line.find("): ");
            if (line.starts_with("0000") && dump != std::string::npos) {
                texts += hexBytes([&] {
                    std::string digits = line.substr(dump + 3, 48);
                    std::erase(digits, ' ');
                    return digits;
                }());
            }
        }
        EXPECT_EQ(times, (std::vector<std::string>{"0:00:02.000 0:00:02.000", "0:00:05.000 0:00:01.520",
                                                   "0:00:08.000 0:00:01.520"}))
            << profile;
        std::erase(texts, '\0');
        EXPECT_EQ(texts, "HelloTwo\nrowsYellow") << profile;
    }
}

}  // namespace
}  // namespace cue_stream_tests

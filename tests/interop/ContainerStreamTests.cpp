// Containers that FFmpeg writes: the captions that were put into numbered pictures come out with the same numbers, in
// the order of presentation, whatever the codec and the container.
#include "Encoders.h"
#include "Sanitized.h"
#include "ToolRunner.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <utility>

namespace {

using qlxtest::kLibx265;
using qlxtest::linesOf;
using qlxtest::runTool;
using qlxtest::TemporaryFolder;
using qlxtest::ToolResult;
using Bytes = std::vector<std::uint8_t>;

constexpr int kPictures = 50;

bool succeeds(const std::string& command) {
    return std::system((command + " 2>/dev/null >/dev/null").c_str()) == 0;
}

bool hasTools() {
#ifdef QLX_STREAMS_FFMPEG
    return succeeds("ffmpeg -v quiet -nostdin -h encoder=libx264 | grep -q '^Encoder libx264'") &&
           succeeds("ffmpeg -v quiet -nostdin -h encoder=mpeg2video | grep -q '^Encoder mpeg2video'");
#else
    return false;
#endif
}

constexpr const char* kNoTools = "ffmpeg with libx264 is not installed, or qlxcc was built without FFmpeg: not tested";

void run(const TemporaryFolder& folder, const std::string& command) {
    ASSERT_EQ(std::system((command + " >'" + folder.path("log") + "' 2>&1").c_str()), 0) << command << "\n"
                                                                                         << folder.read("log");
}

/// The triplets of picture `number`: a field 1 pair with the number in it, and a null pair.
std::string tripletsOf(int number) {
    char text[13];
    std::snprintf(text, sizeof text, "fc80%02xfd8080", static_cast<unsigned>(number));
    return text;
}

/// An MPEG-2 stream of I pictures with user data (ATSC A/53) in front of each picture's first slice.
void writeNumberedPictures(const TemporaryFolder& folder) {
    run(folder, "ffmpeg -nostdin -v error -f lavfi -i testsrc=s=160x120:r=25:d=2 -c:v mpeg2video -g 1 -f mpeg2video -y "
                "'" +
                    folder.path("plain.m2v") + "'");
    const std::string plain = folder.read("plain.m2v");
    std::string stream;
    bool isInHeader = false;
    int number = 0;
    for (std::size_t place = 0; place < plain.size(); ++place) {
        if (plain.compare(place, 3, std::string("\0\0\1", 3)) == 0 && place + 3 < plain.size()) {
            const auto code = static_cast<unsigned char>(plain[place + 3]);
            isInHeader = isInHeader || code == 0;
            if (isInHeader && code >= 0x01 && code <= 0xAF) {
                const char data[] = "\0\0\1\xB2GA94\x03\xC2\xFF\xFC\x80?\xFD\x80\x80\xFF";
                std::string userData(data, sizeof data - 1);
                userData[13] = static_cast<char>(number++);
                stream += userData;
                isInHeader = false;
            }
        }
        stream += plain[place];
    }
    ASSERT_EQ(number, kPictures);
    std::ofstream(folder.path("numbered.m2v"), std::ios::binary) << stream;
}

/// Expects every picture once, in order, with times that are as far apart as pictures are.
void expectNumbers(const std::string& file) {
    const ToolResult result = runTool({"scan", file});
    EXPECT_EQ(result.exitCode, 0) << file;
    EXPECT_EQ(result.err, "") << file;
    const auto lines = linesOf(result.out);
    ASSERT_EQ(lines.size(), 2U + 2 * kPictures) << file << "\n" << result.out;
    EXPECT_EQ(lines.back(), "0 packets in 50 frames, 50 frames with captions in the picture");
    for (int number = 0; number < kPictures; ++number) {
        const std::string& line = lines[1 + 2 * static_cast<std::size_t>(number)];
        EXPECT_TRUE(line.ends_with("  in the picture         6  " + tripletsOf(number))) << file << ": " << line;
    }
    const auto units = linesOf(runTool({"extract", file}).out);
    ASSERT_EQ(units.size(), 2U + kPictures) << file;
    EXPECT_EQ(units.back(), "50 frames, 50 with caption data");
    int first = -1;
    for (int number = 0; number < kPictures; ++number) {
        const std::string& line = units[1 + static_cast<std::size_t>(number)];
        EXPECT_TRUE(line.ends_with("      6  " + tripletsOf(number))) << file << ": " << line;
        // "       0  00:00:01,480": 40 ms a picture, from the first on.
        const int milliseconds = std::stoi(line.substr(16, 2)) * 1000 + std::stoi(line.substr(19, 3));
        first = number == 0 ? milliseconds : first;
        EXPECT_EQ(milliseconds - first, number * 40) << file << ": " << line;
    }
}

class ContainerStream : public ::testing::TestWithParam<const char*> {};

TEST_P(ContainerStream, GivesBackTheCaptionsOfEveryPictureInOrder) {
    if (!hasTools()) {
        GTEST_SKIP() << kNoTools;
    }
    const TemporaryFolder folder;
    writeNumberedPictures(folder);
    const std::string source =
        "ffmpeg -nostdin -v error -f mpegvideo -framerate 25 -i '" + folder.path("numbered.m2v") + "' -a53cc 1 ";
    const std::string extension = GetParam();
    const std::string h264 = folder.path("h264." + extension);
    run(folder, source + "-c:v libx264 -x264-params b-adapt=0:bframes=3:keyint=20 " +
                    (extension == "mpg" ? "-f vob " : "") + "-y '" + h264 + "'");
    expectNumbers(h264);
    if (extension == "flv") {
        // It has no MPEG-2 pictures.
        return;
    }
    const std::string mpeg2 = folder.path("mpeg2." + extension);
    run(folder, source + "-c:v mpeg2video -bf 2 -g 12 -y '" + mpeg2 + "'");
    expectNumbers(mpeg2);
}

INSTANTIATE_TEST_SUITE_P(Formats, ContainerStream, ::testing::Values("mp4", "mov", "ts", "mpg", "mxf", "mkv", "flv"));

/// A transport stream in which two of three packets of pictures have no times (ISO/IEC 13818-1, 2.4.3.6): their fields are
/// stuffing.
std::string withFewTimes(std::string stream) {
    constexpr std::size_t kPacket = 188;
    const auto byteAt = [&stream](std::size_t place) { return static_cast<unsigned char>(stream[place]); };
    std::size_t pictures = 0;
    for (std::size_t packet = 0; packet + kPacket <= stream.size(); packet += kPacket) {
        const bool hasAdaptation = (byteAt(packet + 3) & 0x20U) != 0;
        const std::size_t pes = packet + 4 + (hasAdaptation ? byteAt(packet + 4) + std::size_t{1} : 0);
        const bool isStart = (byteAt(packet + 1) & 0x40U) != 0 && pes + 14 <= packet + kPacket;
        if (!isStart || stream.compare(pes, 3, std::string("\0\0\1", 3)) != 0 || (byteAt(pes + 3) & 0xF0U) != 0xE0) {
            continue;
        }
        if (pictures++ % 3 != 0) {
            const std::size_t size = (byteAt(pes + 7) & 0x40U) != 0 ? 10 : (byteAt(pes + 7) & 0x80U) != 0 ? 5 : 0;
            stream[pes + 7] = static_cast<char>(byteAt(pes + 7) & 0x3FU);
            std::fill_n(stream.begin() + static_cast<std::ptrdiff_t>(pes) + 9, size, '\xFF');
        }
    }
    EXPECT_EQ(pictures, std::size_t{kPictures});
    return stream;
}

TEST(TransportStream, MayHaveTimesOfSomePicturesOnly) {
    if (!hasTools()) {
        GTEST_SKIP() << kNoTools;
    }
    const TemporaryFolder folder;
    writeNumberedPictures(folder);
    for (const char* const codec : {"libx264 -x264-params b-adapt=0:bframes=3:keyint=20", "mpeg2video -bf 2 -g 12"}) {
        run(folder, "ffmpeg -nostdin -v error -f mpegvideo -framerate 25 -i '" + folder.path("numbered.m2v") +
                        "' -a53cc 1 -c:v " + codec + " -y '" + folder.path("all.ts") + "'");
        expectNumbers(folder.write("few.ts", withFewTimes(folder.read("all.ts"))));
    }
}

TEST(ElementaryStream, GivesBackTheCaptionsOfEveryPicture) {
    if (!hasTools()) {
        GTEST_SKIP() << kNoTools;
    }
    const TemporaryFolder folder;
    writeNumberedPictures(folder);
    const std::string source =
        "ffmpeg -nostdin -v error -f mpegvideo -framerate 25 -i '" + folder.path("numbered.m2v") + "' -a53cc 1 ";
    run(folder, source + "-c:v libx264 -x264-params b-adapt=0:bframes=3:keyint=20:open-gop=0 -f h264 -y '" +
                    folder.path("a.264") + "'");
    run(folder, source + "-c:v mpeg2video -bf 2 -g 12 -f mpeg2video -y '" + folder.path("a.m2v") + "'");
    for (const std::string& name : std::vector<std::string>{"a.264", "a.m2v"}) {
        // In the order of presentation.
        const auto lines = linesOf(runTool({"scan", folder.path(name)}).out);
        ASSERT_EQ(lines.size(), 2U + 2 * kPictures) << name;
        for (int number = 0; number < kPictures; ++number) {
            const std::string& line = lines[1 + 2 * static_cast<std::size_t>(number)];
            EXPECT_TRUE(line.ends_with("  in the picture         6  " + tripletsOf(number))) << name << ": " << line;
        }
        // The pairs of a field as well.
        const auto pairs = linesOf(runTool({"extract", folder.path(name), "--to-format", "cc1"}).out);
        ASSERT_EQ(pairs.size(), 2U + kPictures) << name;
        for (int number = 0; number < kPictures; ++number) {
            const std::string& line = pairs[1 + static_cast<std::size_t>(number)];
            EXPECT_TRUE(line.ends_with("      2  " + tripletsOf(number).substr(2, 4))) << name << ": " << line;
        }
        // In the order of the stream: the first P picture comes before the three or two B pictures in front of it.
        auto units = linesOf(runTool({"extract", folder.path(name)}).out);
        ASSERT_EQ(units.size(), 2U + kPictures) << name;
        EXPECT_TRUE(units.back().ends_with(", 50 with caption data")) << units.back();
        EXPECT_TRUE(units[1].ends_with("      6  " + tripletsOf(0))) << units[1];
        EXPECT_TRUE(units[2].ends_with("      6  " + tripletsOf(name == "a.264" ? 4 : 3))) << units[2];
        std::vector<std::string> found;
        std::vector<std::string> expected;
        for (int number = 0; number < kPictures; ++number) {
            const std::string& unit = units[1 + static_cast<std::size_t>(number)];
            found.push_back(unit.substr(unit.rfind(' ') + 1));
            expected.push_back(tripletsOf(number));
        }
        std::sort(found.begin(), found.end());
        EXPECT_EQ(found, expected) << name;
    }
}

// Samples of HEVC whose units have their lengths in front of them (ISO/IEC 14496-15): a message with captions before
// each picture.
TEST(ContainerStream, GivesBackTheCaptionsOfHevcSamples) {
    if (!hasTools() || !succeeds("ffmpeg -v quiet -nostdin -h encoder=libx265 | grep -q '^Encoder libx265'")) {
        GTEST_SKIP() << kNoTools;
    }
    const TemporaryFolder folder;
    run(folder, "ffmpeg -nostdin -v error -f lavfi -i testsrc=s=160x120:r=25:d=2 -c:v " + std::string(kLibx265) +
                    ":bframes=0:keyint=12:repeat-headers=1:info=0 -f hevc -y '" + folder.path("plain.265") + "'");
    const std::string plain = folder.read("plain.265");
    std::string stream;
    int number = 0;
    for (std::size_t place = 0; place < plain.size(); ++place) {
        // nal_unit_type below 32, and first_slice_segment_in_pic_flag.
        const bool isPicture = plain.compare(place, 3, std::string("\0\0\1", 3)) == 0 && place + 5 < plain.size() &&
                               (static_cast<unsigned char>(plain[place + 3]) >> 1U & 0x3FU) < 32 &&
                               (static_cast<unsigned char>(plain[place + 5]) & 0x80U) != 0;
        if (isPicture) {
            const char message[] = "\0\0\1\x4E\1\4\x11\xB5\0\x31GA94\3\xC2\xFF\xFC\x80?\xFD\x80\x80\xFF\x80";
            std::string unit(message, sizeof message - 1);
            unit[unit.find('?')] = static_cast<char>(number++);
            stream += unit;
        }
        stream += plain[place];
    }
    ASSERT_EQ(number, kPictures);
    std::ofstream(folder.path("numbered.265"), std::ios::binary) << stream;
    for (const char* const name : {"a.mp4", "a.mov", "a.mkv"}) {
        const std::string tag = std::string(name) == "a.mkv" ? "" : "-tag:v hvc1 ";
        run(folder, "ffmpeg -nostdin -v error -f hevc -framerate 25 -i '" + folder.path("numbered.265") + "' -c copy " +
                        tag + "-y '" + folder.path(name) + "'");
        expectNumbers(folder.path(name));
    }
}

/// When the frames of a file are shown.
std::vector<double> secondsOf(const std::string& file) {
    std::vector<double> seconds;
    for (const std::string& line : linesOf(runTool({"extract", file, "--json"}).out)) {
        long long value = 0;
        long long timescale = 0;
        const std::string time = line.substr(line.find(R"("pts":)"));
        EXPECT_EQ(std::sscanf(time.c_str(), R"("pts":{"value":%lld,"timescale":%lld})", &value, &timescale), 2);
        seconds.push_back(static_cast<double>(value) / static_cast<double>(timescale));
    }
    return seconds;
}

// At 30000/1001 pictures a second picture n is at n durations, whatever the container counts in.
TEST(ContainerStream, DoesNotDrift) {
    if (!hasTools()) {
        GTEST_SKIP() << kNoTools;
    }
    const TemporaryFolder folder;
    writeNumberedPictures(folder);
    for (const char* const name : {"a.ts", "a.mxf", "a.mpg", "a.mp4"}) {
        run(folder, "ffmpeg -nostdin -v error -f mpegvideo -r 30000/1001 -i '" + folder.path("numbered.m2v") +
                        "' -c:v mpeg2video -bf 2 -g 12 -y '" + folder.path(name) + "'");
        const std::vector<double> seconds = secondsOf(folder.path(name));
        ASSERT_EQ(seconds.size(), static_cast<std::size_t>(kPictures)) << name;
        for (int number = 0; number < kPictures; ++number) {
            // A tick of 90 kHz on either side.
            EXPECT_NEAR(seconds[static_cast<std::size_t>(number)] - seconds[0], number * 1001 / 30000.0, 2 / 90000.0)
                << name << " " << number;
        }
    }
}

// A clock of 33 bits begins again after 95443.7 s (ISO/IEC 13818-1, 2.4.3.7): times go on.
TEST(ContainerStream, CountsOnWhereTheClockBeginsAgain) {
    if (!hasTools()) {
        GTEST_SKIP() << kNoTools;
    }
    const TemporaryFolder folder;
    writeNumberedPictures(folder);
    const auto secondsFrom = [&folder](const std::string& offset) {
        run(folder, "ffmpeg -nostdin -v error -f mpegvideo -framerate 25 -i '" + folder.path("numbered.m2v") +
                        "' -c:v mpeg2video -bf 2 -output_ts_offset " + offset + " -y '" + folder.path("a.ts") + "'");
        return secondsOf(folder.path("a.ts"));
    };
    const std::vector<double> usual = secondsFrom("10");
    const std::vector<double> late = secondsFrom("95442");
    ASSERT_EQ(usual.size(), static_cast<std::size_t>(kPictures));
    ASSERT_EQ(late.size(), usual.size());
    EXPECT_LT(late.front(), 95443.7);
    EXPECT_GT(late.back(), 95443.8);
    for (std::size_t number = 0; number < usual.size(); ++number) {
        EXPECT_NEAR(late[number] - usual[number], 95432, 2 / 90000.0) << number;
    }
}

// What is shown from 0 on is decoded before, by times that a file has or FFmpeg thinks up: nothing begins again.
TEST(ContainerStream, BeginsAtZeroWhereItsPicturesDo) {
    if (!hasTools()) {
        GTEST_SKIP() << kNoTools;
    }
    const TemporaryFolder folder;
    writeNumberedPictures(folder);
    for (const auto& [name, format] : {std::pair("a.ts", "mpegts"), std::pair("a.mpg", "vob")}) {
        run(folder, "ffmpeg -nostdin -v error -f mpegvideo -framerate 25 -i '" + folder.path("numbered.m2v") +
                        "' -c:v mpeg2video -bf 2 -f " + format + " -y '" + folder.path(name) + "'");
        std::string bytes = folder.read(name);
        const auto at = [&bytes](std::size_t place) {
            return static_cast<std::uint64_t>(static_cast<std::uint8_t>(bytes[place]));
        };
        // The times in the headers of the pictures' packets, in the five bytes of 2.4.3.6, less the first one.
        std::optional<std::uint64_t> first;
        const auto move = [&](std::size_t place) {
            const std::uint64_t time = (at(place) >> 1U & 7U) << 30U | at(place + 1) << 22U |
                                       at(place + 2) >> 1U << 15U | at(place + 3) << 7U | at(place + 4) >> 1U;
            first = first.value_or(time);
            const std::uint64_t moved = (time - *first) & ((std::uint64_t{1} << 33U) - 1);
            bytes[place] = static_cast<char>((at(place) & 0xF1U) | (moved >> 30U) << 1U);
            bytes[place + 1] = static_cast<char>(moved >> 22U);
            bytes[place + 2] = static_cast<char>((moved >> 14U & 0xFEU) | 1U);
            bytes[place + 3] = static_cast<char>(moved >> 7U);
            bytes[place + 4] = static_cast<char>((moved << 1U & 0xFEU) | 1U);
        };
        for (std::size_t place = bytes.find(std::string("\0\0\1\xE0", 4)); place != std::string::npos;
             place = bytes.find(std::string("\0\0\1\xE0", 4), place + 1)) {
            const std::uint64_t times = at(place + 7) >> 6U;
            if (times >= 2) {
                move(place + 9);
            }
            if (times == 3) {
                move(place + 14);
            }
        }
        const std::vector<double> seconds = secondsOf(folder.write("zero." + std::string(name).substr(2), bytes));
        ASSERT_EQ(seconds.size(), static_cast<std::size_t>(kPictures)) << name;
        EXPECT_NEAR(seconds.front(), 0, 0.05) << name;
        EXPECT_NEAR(seconds.back() - seconds.front(), (kPictures - 1) / 25.0, 2 / 90000.0) << name;
    }
}

TEST(ContainerStream, IsReadFromAPipe) {
    if (!hasTools()) {
        GTEST_SKIP() << kNoTools;
    }
    const TemporaryFolder folder;
    writeNumberedPictures(folder);
    for (const char* const name : {"a.ts", "a.mxf", "a.mpg"}) {
        run(folder, "ffmpeg -nostdin -v error -f mpegvideo -framerate 25 -i '" + folder.path("numbered.m2v") +
                        "' -c:v mpeg2video -bf 2 -y '" + folder.path(name) + "'");
        EXPECT_EQ(runTool({"scan", "-"}, {.input = folder.read(name)}).out, runTool({"scan", folder.path(name)}).out)
            << name;
    }
}

TEST(ContainerStream, DoesNotPassOverALongGapSilently) {
    if (!hasTools()) {
        GTEST_SKIP() << kNoTools;
    }
    const TemporaryFolder folder;
    writeNumberedPictures(folder);
    const std::map<std::string, std::string> files{{"a.mpg", ": not part of any packet: "},
                                                   {"a.ts", ": no picture that can be read in "}};
    for (const auto& [name, what] : files) {
        const std::string file = folder.path(name);
        run(folder, "ffmpeg -nostdin -v error -f mpegvideo -framerate 25 -i '" + folder.path("numbered.m2v") +
                        "' -c:v mpeg2video -y '" + file + "'");
        // More than the 64 MiB that pictures may be apart without a word.
        std::filesystem::resize_file(file, qlxtest::countFor(100'000'000U, 70'000'000U));
        const ToolResult result = runTool({"extract", file});
        EXPECT_EQ(result.exitCode, 1);
        // Of a transport stream FFmpeg says as well where it has given up looking for a sync byte.
        EXPECT_TRUE(name == "a.ts" || qlxtest::isOneMessage(result.err)) << result.err;
        EXPECT_NE(result.err.find(what), std::string::npos) << result.err;
        EXPECT_EQ(linesOf(result.out).back(), "50 frames, 50 with caption data");
    }
}

TEST(ContainerStream, TakesLittleMemoryForGreatPictures) {
    if (!hasTools()) {
        GTEST_SKIP() << kNoTools;
    }
    const TemporaryFolder folder;
    const std::string file = folder.path("a.ts");
    run(folder,
        "ffmpeg -nostdin -v error -f lavfi -i color=s=7680x4320:r=25:d=0.12 -c:v libx264 -preset ultrafast -y '" +
            file + "'");
    const ToolResult result = runTool({"extract", file});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(linesOf(result.out).back(), "3 frames, 0 with caption data");
    // One decoded picture of three would take half of it. The sanitizers' own memory is not what is measured here.
    if (!qlxtest::kIsSanitized) {
        EXPECT_LT(result.peakMemory, 100'000'000U);
    }
}

TEST(ContainerStream, IsListedUpToWhereItIsCut) {
    if (!hasTools()) {
        GTEST_SKIP() << kNoTools;
    }
    const TemporaryFolder folder;
    writeNumberedPictures(folder);
    for (const char* const name : {"a.ts", "a.mxf", "a.mpg", "a.mp4"}) {
        const std::string whole = folder.path(name);
        run(folder, "ffmpeg -nostdin -v error -f mpegvideo -framerate 25 -i '" + folder.path("numbered.m2v") +
                        "' -c:v mpeg2video -bf 2 -g 12 -movflags faststart -y '" + whole + "'");
        const std::string bytes = folder.read(name);
        // In the middle of a packet of the transport stream and of a sector of the program stream.
        const std::size_t size = bytes.size() / 2 / 2048 * 2048 + 1001;
        const std::string cut = folder.write(std::string("cut-") + name, std::string_view(bytes).substr(0, size));
        const ToolResult result = runTool({"extract", cut});
        EXPECT_EQ(result.exitCode, 1) << name;
        EXPECT_TRUE(result.err.starts_with("qlxcc: " + cut + ": ")) << result.err;
        const auto lines = linesOf(result.out);
        ASSERT_GT(lines.size(), 10U) << name;
        for (int number = 0; number < 8; ++number) {
            EXPECT_TRUE(lines[1 + static_cast<std::size_t>(number)].ends_with(tripletsOf(number)))
                << name << " " << lines[1 + static_cast<std::size_t>(number)];
        }
    }
}

TEST(ContainerStream, GivesThePairsOfACaptionTrack) {
    if (!hasTools()) {
        GTEST_SKIP() << kNoTools;
    }
    const TemporaryFolder folder;
    const std::string captions = folder.write("a.scc", "Scenarist_SCC V1.0\n\n"
                                                       "00:00:01:00\t9420 9420 94ad 94ad c8e5 ecec ef80 942f 942f\n\n"
                                                       "00:00:03:00\t942c 942c\n\n");
    run(folder, "ffmpeg -nostdin -v error -i '" + captions + "' -map 0 -c:s copy -y '" + folder.path("a.mov") + "'");
    const ToolResult result = runTool({"extract", folder.path("a.mov"), "--format", "cc1"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    const auto lines = linesOf(result.out);
    ASSERT_GE(lines.size(), 2U) << result.out;
    EXPECT_EQ(lines[1], "       0  00:00:01,000     18  9420942094ad94adc8e5ececef80942f942f");
}

}  // namespace

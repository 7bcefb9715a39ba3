// The access units that `qlxcc extract` finds in streams of FFmpeg's encoders: one for each picture that was encoded.
#include "ToolRunner.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

using qlxtest::linesOf;
using qlxtest::runTool;
using qlxtest::TemporaryFolder;

bool hasEncoder(const std::string& name) {
    return std::system(
               ("ffmpeg -v quiet -nostdin -h encoder=" + name + " 2>/dev/null | grep -q '^Encoder " + name + "'")
                   .c_str()) == 0;
}

/// What `qlxcc extract` says of 50 encoded pictures.
std::string summaryOf(const std::string& encoder, const std::string& format) {
    const TemporaryFolder folder;
    const std::string command = "ffmpeg -nostdin -v error -f lavfi -i testsrc=s=320x240:r=25:d=2 -c:v " + encoder +
                                " -f " + format + " -y '" + folder.path("a") + "' >'" + folder.path("log") + "' 2>&1";
    EXPECT_EQ(std::system(command.c_str()), 0) << folder.read("log");
    const auto result = runTool({"extract", folder.path("a")});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    const auto lines = linesOf(result.out);
    return lines.empty() ? "" : lines.back();
}

TEST(VideoStream, HasAnAccessUnitForEveryMPEG2Picture) {
    if (!hasEncoder("mpeg2video")) {
        GTEST_SKIP() << "ffmpeg is not installed: nothing was encoded";
    }
    EXPECT_EQ(summaryOf("mpeg2video", "mpeg2video"), "50 access units of MPEG-2, 0 with caption data");
    EXPECT_EQ(summaryOf("mpeg2video -bf 2 -g 12", "mpeg2video"), "50 access units of MPEG-2, 0 with caption data");
}

TEST(VideoStream, HasAnAccessUnitForEveryH264Picture) {
    if (!hasEncoder("libx264")) {
        GTEST_SKIP() << "ffmpeg with libx264 is not installed: nothing was encoded";
    }
    const std::string expected = "50 access units of H.264, 0 with caption data";
    EXPECT_EQ(summaryOf("libx264", "h264"), expected);
    // Several slices a picture, pictures out of order, delimiters.
    EXPECT_EQ(summaryOf("libx264 -x264-params slices=4:bframes=3", "h264"), expected);
    EXPECT_EQ(summaryOf("libx264 -x264-params slices=3:aud=1:keyint=10", "h264"), expected);
}

}  // namespace

// qlxcc scan and extract: tracks of containers, put together by hand.
#include "AncBytes.h"
#include "CaptionBytes.h"
#include "ExactBuffer.h"
#include "MovBytes.h"
#include "MxfBytes.h"
#include "Sanitized.h"
#include "ToolRunner.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using qlxtest::cdpHex;
using qlxtest::isOneMessage;
using qlxtest::kCaptionElementHex;
using qlxtest::linesOf;
using qlxtest::MovFile;
using qlxtest::MxfFile;
using qlxtest::runTool;
using qlxtest::TemporaryFolder;
using qlxtest::ToolResult;
using Bytes = std::vector<std::uint8_t>;

const std::string kTitles = "   frame  time           line  DID/SDID  name               bytes  data\n";

Bytes ancFile() {
    return MxfFile::withAncFrames({std::string(kCaptionElementHex), "0000", std::string(kCaptionElementHex)});
}

#ifdef QLX_STREAMS_FFMPEG

TEST(Container, ReadsTheAncTrackOfAnMXFFile) {
    const TemporaryFolder folder;
    const std::string file = folder.write("a.mxf", ancFile());
    const std::string kPair = "                 line offset 0: 1 triplet: field 1 94ae\n";
    const std::string expected = kTitles +
                                 "       0  00:00:00,000     21  61/02     CEA608                 3  8094ae\n" + kPair +
                                 "       2  00:00:00,080     21  61/02     CEA608                 3  8094ae\n" + kPair +
                                 "2 packets in 3 frames\n";
    const ToolResult result = runTool({"scan", file});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out, expected);
    EXPECT_EQ(runTool({"scan", "-"}, {.input = folder.read("a.mxf")}).out, expected);
    EXPECT_EQ(runTool({"scan", folder.write("noname", ancFile())}).out, expected);
    EXPECT_EQ(qlxtest::withoutSchema(runTool({"extract", file, "--json"}).out, "captions"),
              R"({"unit":0,"pts":{"value":0,"timescale":25,"seconds":0.0},"data":"fc94ae"})"
              "\n"
              R"({"unit":1,"pts":{"value":1,"timescale":25,"seconds":0.04},"data":null})"
              "\n"
              R"({"unit":2,"pts":{"value":2,"timescale":25,"seconds":0.08},"data":"fc94ae"})"
              "\n");
    EXPECT_EQ(runTool({"extract", file, "--format", "cc1"}).out, "    unit          time  bytes  data\n"
                                                                 "       0  00:00:00,000      2  94ae\n"
                                                                 "       1  00:00:00,040      -  -\n"
                                                                 "       2  00:00:00,080      2  94ae\n"
                                                                 "3 frames, 2 with caption data\n");
}

TEST(Container, ReadsACaptionTrackOfAQuickTimeFile) {
    const std::string first = cdpHex(3, "fc942cfd8080");
    const std::string second = cdpHex(3, "fc9420f98080");
    const TemporaryFolder folder;
    const std::string file =
        folder.write("a.mov", MovFile::withCaptionTrack({MovFile::atom("ccdp", first), MovFile::atom("ccdp", second)}));
    const ToolResult result = runTool({"scan", file});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err,
              "qlxcc: warning: " + file + ": frame 1: counter 0 once more where 1 was expected (told once)\n");
    const std::string words = "; length and checksum as in the standard\n";
    EXPECT_EQ(result.out, kTitles + "       0  00:00:00,000      0  61/01     CEA708                35  " + first +
                              "\n                 CDP: 25 frames/s, counter 0, 2 triplets: field 1 942c, field 2 8080" +
                              words + "       1  00:00:00,040      0  61/01     CEA708                35  " + second +
                              "\n                 CDP: 25 frames/s, counter 0, 2 triplets: field 1 9420, 1 padding" +
                              words + "2 packets in 2 frames\n");
    EXPECT_EQ(runTool({"extract", file}).out, "    unit          time  bytes  data\n"
                                              "       0  00:00:00,000      6  fc942cfd8080\n"
                                              "       1  00:00:00,040      6  fc9420f98080\n"
                                              "2 frames, 2 with caption data\n");
}

TEST(Container, SaysWhichSampleIsDamaged) {
    const TemporaryFolder folder;
    const std::string file =
        folder.write("a.mov", MovFile::withCaptionTrack({MovFile::atom("ccdq", "0102030405"),
                                                         MovFile::atom("ccdp", cdpHex(3, "fc942cfd8080"))}));
    const ToolResult result = runTool({"scan", file, "--json"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(linesOf(result.out).size(), 2U);
    // Behind the first atom (20 bytes) and the header of the one with the samples.
    EXPECT_EQ(result.err,
              "qlxcc: " + file + ": byte 28: caption sample of 13 bytes without a caption atom (ccdp, cdat, cdt2)\n");
}

TEST(Container, ListsWhatComesBeforeTheCut) {
    const TemporaryFolder folder;
    Bytes bytes = ancFile();
    bytes.resize(bytes.size() - 5);
    const std::string file = folder.write("a.mxf", bytes);
    const ToolResult result = runTool({"scan", file, "--json"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(linesOf(result.out).size(), 3U);
    EXPECT_EQ(linesOf(qlxtest::withoutSchema(result.out))[0],
              R"({"frame":0,"pts":{"value":0,"timescale":25,"seconds":0},"packets":[{"line":21,"did":97,"sdid":2,)"
              R"("type":"CEA608","data":"8094ae"}]})");
    // Behind what is wrong in the part of the element that is there: of 24 bytes behind a key and a length of 4 bytes.
    ASSERT_EQ(linesOf(result.err).size(), 3U);
    EXPECT_EQ(linesOf(result.err)[1], "qlxcc: " + file + ": byte " + std::to_string(bytes.size() - 39) +
                                          ": the last triplet is cut short: 39 of 44 bytes");
}

TEST(Container, TakesEveryTruncationCalmly) {
    const TemporaryFolder folder;
    const Bytes mxf = ancFile();
    const Bytes mov = MovFile::withCaptionTrack({MovFile::atom("ccdp", cdpHex(3, "fc942cfd8080"))});
    for (const auto& [name, whole] : std::vector<std::pair<std::string, Bytes>>{{"a.mxf", mxf}, {"a.mov", mov}}) {
        for (std::size_t size = 0; size < whole.size(); size += size < 60 ? 5U : qlxtest::countFor(97U, 293U)) {
            const std::string file = folder.write(name, std::span(whole).first(size));
            const ToolResult result = runTool({"scan", file});
            EXPECT_EQ(result.signal, 0) << name << " " << size;
            EXPECT_EQ(result.exitCode, 1) << name << " " << size << " " << result.out;
            EXPECT_TRUE(result.err.starts_with("qlxcc: " + file + ": ")) << result.err;
        }
    }
}

TEST(Container, RefusesWhatIsNone) {
    const TemporaryFolder folder;
    for (const auto& [name, format] : std::vector<std::pair<std::string, std::string>>{{"a.mxf", "MXF"},
                                                                                       {"a.mov", "MOV or MP4"},
                                                                                       {"a.mp4", "MOV or MP4"},
                                                                                       {"a.ts", "MPEG-TS"},
                                                                                       {"a.mpg", "MPEG-PS"},
                                                                                       {"a.mkv", "Matroska"},
                                                                                       {"a.flv", "FLV"}}) {
        const std::string zeros = folder.write(name, Bytes(70000, 0));
        const ToolResult result = runTool({"scan", zeros});
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.err, "qlxcc: " + zeros + ": byte 0: nothing of " + format + " in the first 65536 bytes\n");
        const std::string empty = folder.write(name, Bytes());
        EXPECT_EQ(runTool({"extract", empty}).err, "qlxcc: " + empty + ": byte 0: the file is empty\n");
    }
    // A file of the right kind without anything to read.
    const std::string silent = folder.write("b.mov", qlxtest::fromHex(MovFile::atom("moov", "") + "0000000877696465"));
    const ToolResult result = runTool({"scan", silent});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(isOneMessage(result.err)) << result.err;
}

#else

TEST(Container, SaysWhatIsMissing) {
    const TemporaryFolder folder;
    const std::string file = folder.write("a.mxf", ancFile());
    const ToolResult result = runTool({"scan", file});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.err.starts_with("qlxcc: " + file + ": MXF files need FFmpeg's libraries, which are not there: " +
                                       "QLXClosedCaptionsUtilitiesStreams-containers-"))
        << result.err;
    EXPECT_TRUE(
        result.err.ends_with(".so: cannot open shared object file: No such file or directory; --from-format klv "
                             "finds the ANC packets in it\n"))
        << result.err;
}

#endif

TEST(Container, OfTheKindMXFCanBeReadAsTripletsOnly) {
    const TemporaryFolder folder;
    const ToolResult result = runTool({"scan", folder.write("a.mxf", ancFile()), "--format", "klv"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(linesOf(result.out).back(), "2 packets in 3 frames");
}

}  // namespace

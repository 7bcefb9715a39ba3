// qlxcc scan and extract: containers that are cut short, damaged or not finished.
#include "AncBytes.h"
#include "CaptionBytes.h"
#include "ExactBuffer.h"
#include "MovBytes.h"
#include "MxfBytes.h"
#include "ToolRunner.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace {

using qlxtest::cdpHex;
using qlxtest::kCaptionElementHex;
using qlxtest::linesOf;
using qlxtest::MovFile;
using qlxtest::MxfFile;
using qlxtest::runTool;
using qlxtest::TemporaryFolder;
using qlxtest::ToolResult;
using Bytes = std::vector<std::uint8_t>;

const std::vector<std::string> kElements{std::string(kCaptionElementHex), "0000", std::string(kCaptionElementHex)};

Bytes joined(Bytes first, const Bytes& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

Bytes withFooterAt(std::uint64_t footer) {
    return MxfFile::withAncFrames(kElements, {.footer = footer});
}

/// The lines of `extract --json` of three frames at 25 frames a second.
const std::vector<std::string> kThreeFrames{
    R"({"unit":0,"pts":{"value":0,"timescale":25,"seconds":0.0},"data":"fc94ae","schema":"qlxcc/captions/1"})",
    R"({"unit":1,"pts":{"value":1,"timescale":25,"seconds":0.04},"data":null})",
    R"({"unit":2,"pts":{"value":2,"timescale":25,"seconds":0.08},"data":"fc94ae"})"};

TEST(CutContainer, NamesTheMissingFooterOfAnMXFFile) {
    const TemporaryFolder folder;
    const Bytes bytes = withFooterAt(1'000'000);
    const std::string file = folder.write("a.mxf", bytes);
    const std::string what = ": byte " + std::to_string(bytes.size()) +
                             ": the file is cut short: its footer with the index, at byte 1000000, is missing";
    const ToolResult result = runTool({"extract", file, "--json"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(linesOf(result.out), kThreeFrames);
    EXPECT_EQ(result.err, "qlxcc: " + file + what + "; times are counted from 0 at the file's edit rate\n");
    // The end of a pipe is known when it comes.
    const ToolResult piped = runTool({"extract", "-", "--json"}, {.input = folder.read("a.mxf")});
    EXPECT_EQ(piped.exitCode, 1);
    EXPECT_EQ(linesOf(piped.out), kThreeFrames);
    EXPECT_EQ(piped.err, "qlxcc: standard input" + what + "\n");
    // In the header there are no frames yet.
    const std::string header = folder.write("b.mxf", std::span(bytes).first(300));
    const ToolResult early = runTool({"scan", header});
    EXPECT_EQ(early.exitCode, 1);
    EXPECT_EQ(early.out, "");
    EXPECT_EQ(early.err,
              "qlxcc: " + header +
                  ": byte 300: the file is cut short: its footer with the index, at byte 1000000, is missing\n");
}

TEST(CutContainer, ReadsAnMXFFileWhoseFooterHasMoved) {
    const TemporaryFolder folder;
    const std::size_t place = withFooterAt(1).size();
    const Bytes whole = joined(withFooterAt(place), MxfFile::emptyFooter(place));
    const ToolResult good = runTool({"extract", folder.write("a.mxf", whole), "--json"});
    EXPECT_EQ(good.exitCode, 0);
    EXPECT_EQ(good.err, "");
    EXPECT_EQ(linesOf(good.out), kThreeFrames);
    // Seven bytes too many in front of the footer.
    const std::string file =
        folder.write("b.mxf", joined(joined(withFooterAt(place), Bytes(7, 0)), MxfFile::emptyFooter(place)));
    const ToolResult moved = runTool({"extract", file, "--json"});
    EXPECT_EQ(moved.exitCode, 1);
    EXPECT_EQ(linesOf(moved.out), kThreeFrames);
    const std::string begin = "qlxcc: " + file + ": byte " + std::to_string(place);
    EXPECT_EQ(moved.err, begin +
                             ": the file is damaged: its footer with the index should stand here, and does not; times "
                             "are counted from 0 at the file's edit rate\n" +
                             begin + ": not part of any triplet: 7 bytes\n" + "qlxcc: " + file +
                             ": 2 problems: not everything could be read\n");
}

TEST(CutContainer, SaysThatAnMXFFileIsNotFinished) {
    const TemporaryFolder folder;
    const Bytes bytes = MxfFile::withAncFrames(kElements, {.status = "01"});
    const std::string file = folder.write("a.mxf", bytes);
    const ToolResult result = runTool({"extract", file, "--json"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(linesOf(result.out), kThreeFrames);
    EXPECT_EQ(result.err,
              "qlxcc: " + file + ": byte " + std::to_string(bytes.size()) +
                  ": the file has not been finished, or is cut short: its footer with the index is missing; "
                  "times are counted from 0 at the file's edit rate\n");
    // The end of the footer is missing: 10 bytes of one with a key, a length of 4 bytes, 88 and one label (16).
    Bytes cut = withFooterAt(bytes.size());
    cut = joined(cut, MxfFile::emptyFooter(cut.size()));
    cut.resize(cut.size() - 10);
    const std::string cutFile = folder.write("c.mxf", cut);
    EXPECT_EQ(runTool({"extract", cutFile, "--json"}).err, "qlxcc: " + cutFile + ": byte " +
                                                               std::to_string(bytes.size()) +
                                                               ": the last triplet is cut short: 114 of 124 bytes\n");
    // The header of one that is finished may have stayed as it was: its end says where everything is.
    const Bytes finished =
        joined(joined(bytes, MxfFile::emptyFooter(bytes.size())), MxfFile::randomIndex(bytes.size()));
    const ToolResult good = runTool({"extract", folder.write("b.mxf", finished), "--json"});
    EXPECT_EQ(good.exitCode, 0);
    EXPECT_EQ(good.err, "");
    EXPECT_EQ(linesOf(good.out), kThreeFrames);
}

/// What the ffmpeg program makes of two seconds of black, or nothing where it is not there.
std::string madeFile(const std::string& arguments) {
    const TemporaryFolder folder;
    const std::string command = "ffmpeg -v quiet -f lavfi -i color=c=black:s=64x64:r=25 -t 2 -c:v mpeg2video " +
                                arguments + " " + folder.path("a") + " > " + folder.path("log") + " 2>&1";
    return std::system(command.c_str()) == 0 ? folder.read("a") : "";
}

TEST(CutContainer, CountsThePicturesOfAnMXFFileWithoutItsIndex) {
    // Pictures that are coded in another order than they are shown in.
    const std::string whole = madeFile("-bf 2 -g 12 -f mxf");
    if (whole.empty()) {
        GTEST_SKIP() << "no FFmpeg to make a file with";
    }
    const TemporaryFolder folder;
    const std::string cut = folder.write("cut.mxf", std::string_view(whole).substr(0, whole.size() / 2));
    const auto expectCounted = [](const ToolResult& result, std::size_t fewest) {
        const std::vector<std::string> lines = linesOf(qlxtest::withoutSchema(result.out, "captions"));
        ASSERT_GE(lines.size(), fewest);
        for (std::size_t index = 0; index < lines.size(); ++index) {
            const std::string number = std::to_string(index);
            EXPECT_EQ(lines[index], R"({"unit":)" + number + R"(,"pts":)" +
                                        qlxtest::jsonTime(static_cast<std::int64_t>(index), 25, true) +
                                        R"(,"data":null})");
        }
    };
    const ToolResult good = runTool({"extract", folder.write("a.mxf", whole), "--json"});
    EXPECT_EQ(good.exitCode, 0);
    expectCounted(good, 50);
    const ToolResult result = runTool({"extract", cut, "--json"});
    EXPECT_EQ(result.exitCode, 1);
    expectCounted(result, 10);
    EXPECT_TRUE(qlxtest::isOneMessage(result.err)) << result.err;
    EXPECT_NE(result.err.find(": the file is cut short: its footer with the index, at byte "), std::string::npos);
    const ToolResult shown = runTool({"show", cut, "--all", "--channel", "CC1"});
    EXPECT_EQ(shown.exitCode, 1);
    EXPECT_TRUE(shown.out.starts_with("captions CC1: never anything on air")) << shown.out;
    // From a pipe, which gives no index either.
    expectCounted(runTool({"extract", "-", "--json"}, {.input = folder.read("cut.mxf")}), 10);
}

TEST(CutContainer, SaysThatTheIndexOfAQuickTimeFileIsMissing) {
    const std::string sample = MovFile::atom("ccdp", cdpHex(3, "fc942cfd8080"));
    const Bytes whole = MovFile::withCaptionTrack({sample, sample});
    // Behind ftyp (20 bytes) and mdat (8 and two samples).
    const std::size_t index = 20 + 8 + sample.size();
    const TemporaryFolder folder;
    for (const std::size_t size : {std::size_t{60}, index, index + 6, index + 8, whole.size() - 1}) {
        const std::string file = folder.write("a.mov", std::span(whole).first(size));
        const ToolResult result = runTool({"scan", file});
        EXPECT_EQ(result.exitCode, 1);
        const std::string text =
            size < index + 8
                ? "the index (moov) is missing: the file is cut short, or its recording has not been finished"
                : "the file is cut short: " + std::to_string(size - index) + " of " +
                      std::to_string(whole.size() - index) + " bytes of the index (moov) are there";
        EXPECT_EQ(result.err, "qlxcc: " + file + ": byte " + std::to_string(size) + ": " + text + "\n");
    }
}

/// What is said of the file, and not of the caption packets in it, which have fewer triplets than their rate asks for.
std::vector<std::string> errorsOf(const ToolResult& result) {
    std::vector<std::string> lines = linesOf(result.err);
    std::erase_if(lines, [](const std::string& line) { return line.starts_with("qlxcc: warning: "); });
    return lines;
}

TEST(CutContainer, SaysHowMuchOfTheMediaIsThere) {
    const auto sampleOf = [](unsigned counter) { return MovFile::atom("ccdp", cdpHex(3, "fc942cfd8080", counter)); };
    const std::string sample = sampleOf(0);
    const Bytes whole = MovFile::withCaptionTrack({sample, sampleOf(1), sampleOf(2)}, true);
    const TemporaryFolder folder;
    const ToolResult good = runTool({"extract", folder.write("a.mov", whole), "--json"});
    EXPECT_EQ(good.exitCode, 0);
    EXPECT_EQ(linesOf(good.out).size(), 3U);
    // In the last sample, and between two.
    const std::size_t media = 8 + 3 * sample.size() / 2;
    for (const std::size_t missing : {std::size_t{5}, sample.size() / 2}) {
        const std::string file = folder.write("b.mov", std::span(whole).first(whole.size() - missing));
        const ToolResult result = runTool({"extract", file, "--json"});
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_GE(linesOf(result.out).size(), 2U);
        const std::vector<std::string> lines = errorsOf(result);
        // The part of a sample that is there cannot be read either.
        ASSERT_EQ(lines.size(), missing == 5 ? 3U : 1U) << result.err;
        EXPECT_EQ(lines[lines.size() / 2], "qlxcc: " + file + ": byte " + std::to_string(whole.size() - missing) +
                                               ": the file is cut short: " + std::to_string(media - missing) + " of " +
                                               std::to_string(media) + " bytes of the media data (mdat) are there");
        EXPECT_EQ(result.err.find("partial file"), std::string::npos) << result.err;
    }
}

TEST(CutContainer, SaysWhatOfAFragmentIsThere) {
    const std::string sample = MovFile::atom("ccdp", cdpHex(3, "fc942cfd8080"));
    const Bytes whole = MovFile::withCaptionTrack({sample}, true);
    const TemporaryFolder folder;
    for (const auto& [type, words] : std::vector<std::pair<std::string, std::string>>{
             {"moof", "fragment (moof)"}, {"mfra", "fragments' list (mfra)"}}) {
        // 12 of 108 bytes.
        const Bytes cut = joined(whole, qlxtest::fromHex(MovFile::atom(type, std::string(200, '0')).substr(0, 24)));
        const std::string file = folder.write("a.mov", cut);
        const ToolResult result = runTool({"extract", file, "--json"});
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(errorsOf(result).at(0), "qlxcc: " + file + ": byte " + std::to_string(cut.size()) +
                                              ": the file is cut short: 12 of 108 bytes of the " + words +
                                              " are there");
    }
    // What is no atom is none that is cut short.
    const Bytes more = joined(whole, qlxtest::fromHex("00000fff ffffffff 00000000"));
    EXPECT_EQ(errorsOf(runTool({"extract", folder.write("b.mov", more), "--json"})), std::vector<std::string>());
}

TEST(CutContainer, NeedsTheNameOfAFileWithTheIndexAtItsEnd) {
    const TemporaryFolder folder;
    // More than what is looked at in advance, and less.
    std::vector<std::string> many;
    for (unsigned counter = 0; counter < 2000; ++counter) {
        many.push_back(MovFile::atom("ccdp", cdpHex(3, "fc942cfd8080", counter)));
    }
    const std::string file = folder.write("a.mov", MovFile::withCaptionTrack(many));
    const ToolResult piped = runTool({"extract", "-", "--json"}, {.input = folder.read("a.mov")});
    EXPECT_EQ(piped.exitCode, 1);
    EXPECT_EQ(piped.out, "");
    EXPECT_EQ(piped.err, "qlxcc: standard input: the index (moov) stands behind the media data, which a pipe does not "
                         "give again: the file must be named, not piped\n");
    EXPECT_EQ(linesOf(runTool({"extract", file, "--json"}).out).size(), many.size());
    folder.write("b.mov", MovFile::withCaptionTrack(many, true));
    const ToolResult front = runTool({"extract", "-", "--json"}, {.input = folder.read("b.mov")});
    EXPECT_EQ(errorsOf(front), std::vector<std::string>());
    EXPECT_EQ(linesOf(front.out).size(), many.size());
    folder.write("c.mov", MovFile::withCaptionTrack({many[0], many[1]}));
    const ToolResult few = runTool({"extract", "-", "--json"}, {.input = folder.read("c.mov")});
    EXPECT_EQ(errorsOf(few), std::vector<std::string>());
    EXPECT_EQ(linesOf(few.out).size(), 2U);
}

TEST(CutContainer, SaysWhereATransportStreamIsCutAndNotThatADamagedOneIs) {
    const std::string whole = madeFile("-f mpegts");
    if (whole.empty()) {
        GTEST_SKIP() << "no FFmpeg to make a file with";
    }
    ASSERT_GT(whole.size(), 10000U);
    const TemporaryFolder folder;
    const std::string junk(3000, '\x22');
    const std::string damaged = folder.write("a.ts", whole.substr(0, 5000) + junk + whole.substr(5000));
    const ToolResult result = runTool({"scan", damaged});
    EXPECT_EQ(result.err.find("last packet"), std::string::npos) << result.err;
    // It begins and ends in the middle of a packet.
    const std::string cut = folder.write("b.ts", whole.substr(100, whole.size() - 100 - 24));
    const std::string message =
        "byte " + std::to_string(whole.size() - 100 - 188) + ": the last packet is cut short: 164 of 188 bytes\n";
    const ToolResult named = runTool({"scan", cut});
    EXPECT_EQ(named.exitCode, 1);
    EXPECT_TRUE(named.err.ends_with("qlxcc: " + cut + ": " + message)) << named.err;
    const ToolResult piped = runTool({"scan", "-", "--format", "ts"}, {.input = folder.read("b.ts")});
    EXPECT_EQ(piped.exitCode, 1);
    EXPECT_TRUE(piped.err.ends_with("qlxcc: standard input: " + message)) << piped.err;
}

}  // namespace

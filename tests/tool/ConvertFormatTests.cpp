// qlxcc convert: what goes from one format to another, which files it reads by their names, and the order of cues.
#include "ToolRunner.h"

#include "cues/CueTimes.h"

#include <qlx/subtitles/cue.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace convert_format_tests {
namespace {

using qlxtest::converted;
using qlxtest::runTool;
using qlxtest::TemporaryFolder;
using qlxtest::ToolResult;

TEST(ConvertFormats, KeepsLanguagesOfPartsBetweenWebVttAndTtml) {
    const TemporaryFolder folder;
    const std::string cues = "1\n00:00:01.000 --> 00:00:02.000\na <lang fr>b</lang> c\n\n"
                             "2\n00:00:02.000 --> 00:00:03.000\n<lang it>d</lang>\n<lang it>e</lang>\n\n";
    const std::string file = folder.write("in.vtt", "WEBVTT\n\n" + cues);
    const std::string ttml = folder.path("a.ttml");
    const ToolResult made = runTool({"convert", file, "-o", ttml, "--language", "de", "--strict"});
    EXPECT_EQ(made.exitCode, 0) << made.err;
    EXPECT_NE(folder.read("a.ttml").find("<span xml:lang=\"fr\">b</span>"), std::string::npos) << folder.read("a.ttml");
    const ToolResult back = converted(ttml, "vtt");
    EXPECT_TRUE(back.out.starts_with("WEBVTT\nLanguage: de\n\n")) << back.out;
    EXPECT_NE(back.out.find("a <lang fr>b</lang> c\n"), std::string::npos) << back.out;
    EXPECT_NE(back.out.find("<lang it>d</lang>\n<lang it>e</lang>\n"), std::string::npos) << back.out;
    // Of a paragraph it is written of each row.
    const std::string other =
        folder.write("b.ttml", "<tt xmlns=\"http://www.w3.org/ns/ttml\" xml:lang=\"de\"><body><div>"
                               "<p begin=\"1s\" end=\"2s\" xml:lang=\"en\">a<br/>"
                               "<span xml:lang=\"de\" ttm:role=\"x\" "
                               "xmlns:ttm=\"http://www.w3.org/ns/ttml#metadata\">b</span></p>"
                               "</div></body></tt>");
    const ToolResult rows = converted(other, "vtt", {"--report"});
    EXPECT_NE(rows.out.find("<lang en>a</lang>\n<lang de>b</lang>\n"), std::string::npos) << rows.out;
    EXPECT_NE(rows.err.find("1 attribute left out"), std::string::npos) << rows.err;
}

TEST(ConvertFormats, KeepsRubyBetweenWebVttAndTtml) {
    const TemporaryFolder folder;
    const std::string vtt = "WEBVTT\n\n1\n00:00:01.000 --> 00:00:02.000\n"
                            "A<ruby>kan<rt>ji</rt><b>ka</b>na<rt>x</rt></ruby>Z\n<ruby><rt>y</rt></ruby>\n\n";
    const std::string ttml = folder.path("a.ttml");
    const ToolResult made = runTool({"convert", folder.write("in.vtt", vtt), "-o", ttml, "--strict"});
    EXPECT_EQ(made.exitCode, 0) << made.err;
    // A base or a text stands in a container, of which each has one of both.
    const std::string written = folder.read("a.ttml");
    EXPECT_NE(
        written.find(">A<span tts:ruby=\"container\"><span tts:ruby=\"base\">kan</span><span tts:ruby=\"text\">ji"
                     "</span></span><span tts:ruby=\"container\"><span tts:ruby=\"base\"><span style=\"style2\">ka"
                     "</span>na</span><span tts:ruby=\"text\">x</span></span>Z<br/><span tts:ruby=\"container\">"
                     "<span tts:ruby=\"base\"></span><span tts:ruby=\"text\">y</span></span></p>"),
        std::string::npos)
        << written;
    const ToolResult back = converted(ttml, "vtt");
    EXPECT_EQ(back.exitCode, 0);
    EXPECT_NE(back.out.find("\nA<ruby>kan<rt>ji</rt><b>ka</b>na<rt>x</rt></ruby>Z\n<ruby><rt>y</rt></ruby>\n"),
              std::string::npos)
        << back.out;
    EXPECT_EQ(converted(ttml, "ttml").out, written);
    const ToolResult ebu = converted(ttml, "ebu-tt-d", {"--strict"});
    EXPECT_EQ(ebu.exitCode, 1);
    EXPECT_NE(ebu.err.find("lost properties"), std::string::npos) << ebu.err;
}

TEST(ConvertFormats, LeavesFormatsThatScanDoesNotWriteToIt) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.scc", "Scenarist_SCC V1.0\n\n00:00:01:00\t942c 942c\n\n");
    for (const std::string name : {"a.mcc", "a.scc", "a.srt", "a.VTT", "a.stl", "a.ttml"}) {
        const ToolResult result = runTool({"scan", file, "-o", folder.path(name)});
        EXPECT_EQ(result.exitCode, 2) << name;
        EXPECT_NE(result.err.find("qlxcc convert does"), std::string::npos) << result.err;
        EXPECT_EQ(folder.names(), std::vector<std::string>{"in.scc"});
    }
    EXPECT_EQ(runTool({"scan", file, "-o", folder.path("a.txt")}).exitCode, 0);
}

TEST(ConvertFormats, ReadsEventsWithoutAHeadByTheirName) {
    const TemporaryFolder folder;
    const std::string event = "Dialogue: 0,0:00:01.00,0:00:02.00,Default,,0,0,0,,a\n";
    for (const std::string& text : {event, "[Events]\n" + event, "[V4+ Styles]\n[Events]\n" + event}) {
        const std::string file = folder.write("in.ass", text);
        const ToolResult list = runTool({"subs", file});
        EXPECT_EQ(list.exitCode, 0) << list.err;
        EXPECT_NE(list.out.find("(SubStation Alpha): 1 cue, 0 left out"), std::string::npos) << list.out;
        const ToolResult srt = converted(file, "srt");
        EXPECT_EQ(srt.exitCode, 0) << srt.err;
        EXPECT_EQ(srt.out, "1\n00:00:01,000 --> 00:00:02,000\na\n\n");
    }
}

/// A cue whose caption takes seven pairs: RCL, ENM and PAC sent twice, and two letters.
std::string shortCue(std::string_view start, std::string_view end, std::string_view text) {
    return std::string(start) + " --> " + std::string(end) + "\n{\\an1}" + std::string(text) + "\n\n";
}

// A caption is shown with the first EOC: it is loaded behind both of the one in front of it, nine pairs earlier.
TEST(ConvertFormats, LoadsCaptionsOfScenaristFilesInTimeWhereThereIsRoom) {
    const TemporaryFolder folder;
    const std::string load = "9420 9420 94ae 94ae 94e0 94e0 ";
    // 2.002 s is frame 60, 2.3023 s frame 69.
    const ToolResult inTime = converted(folder.write("in.srt", shortCue("00:00:02,002", "00:00:02,302", "ab") +
                                                                   shortCue("00:00:02,302", "00:00:03,003", "cd")),
                                        "scc");
    EXPECT_EQ(inTime.err, "");
    const std::string both = "Scenarist_SCC V1.0\n\n00:00:00;00\t" + load + "6162\n\n00:00:02;00\t942f 942f " + load +
                             "e364 942f 942f\n\n00:00:03;00\t942c 942c\n";
    EXPECT_EQ(inTime.out.substr(0, both.size()), both);
    // 2.268 s is frame 68, for which there is one pair too few.
    const ToolResult late = converted(folder.write("in.srt", shortCue("00:00:02,002", "00:00:02,268", "ab") +
                                                                 shortCue("00:00:02,268", "00:00:03,003", "cd")),
                                      "scc");
    EXPECT_EQ(late.out.substr(0, both.size()), both);
    EXPECT_NE(late.err.find("cue 2: caption is shown 1 frame late, 1 pair short"), std::string::npos) << late.err;
}

/// The frame of each EOC, the first one of two, by the timecodes of the lines (29.97, drop-frame, below a minute).
std::vector<int> framesOfEoc(const std::string& scc) {
    std::vector<int> frames;
    int behind = 0;
    for (const std::string& line : qlxtest::linesOf(scc)) {
        int seconds = 0;
        int number = 0;
        if (std::sscanf(line.c_str(), "00:00:%d;%d\t", &seconds, &number) != 2) {
            continue;
        }
        int frame = seconds * 30 + number;
        EXPECT_GE(frame, behind) << line;
        for (std::size_t place = line.find('\t') + 1; place < line.size(); place += 5, ++frame) {
            if (line.compare(place, 4, "942f") == 0 && (frames.empty() || frames.back() + 1 != frame)) {
                frames.push_back(frame);
            }
        }
        behind = frame;
    }
    return frames;
}

TEST(ConvertFormats, ShowsCaptionsOfScenaristFilesOnTheFrameOfTheirStart) {
    const TemporaryFolder folder;
    // Rows of 32 characters need 16 pairs, and two for their place.
    const std::string row = "abcdefghij abcdefghij abcdefghij\n";
    const std::string text = "00:00:02,000 --> 00:00:06,000\n" + row + row + "\n" + "00:00:06,000 --> 00:00:08,500\n" +
                             row + row + row + row + "\n" + "00:00:09,000 --> 00:00:11,000\na\n\n" +
                             "00:00:11,000 --> 00:00:12,000\nb\n\n" + "00:00:12,500 --> 00:00:13,000\n" + row + "\n";
    const ToolResult result = converted(folder.write("in.srt", text), "scc");
    EXPECT_EQ(result.err, "");
    // The nearest frame to each start.
    EXPECT_EQ(framesOfEoc(result.out), (std::vector<int>{60, 180, 270, 330, 375})) << result.out;
}

TEST(ConvertFormats, PutsCuesInOrderWithinAWindow) {
    const TemporaryFolder folder;
    const auto converting = [&](int cues) {
        std::string text;
        char line[64];
        for (int number = 1; number <= cues; ++number) {
            std::snprintf(line, sizeof line, "00:%02d:%02d,000 --> 00:%02d:%02d,500\nx\n\n", 10 + number / 60,
                          number % 60, 10 + number / 60, number % 60);
            text += line;
        }
        text += "00:00:01,000 --> 00:00:02,000\nlate\n\n";
        return converted(folder.write("in.srt", text), "vtt");
    };
    const ToolResult near = converting(1000);
    EXPECT_TRUE(near.out.starts_with("WEBVTT\n\n1001\n00:00:01.000")) << near.out.substr(0, 200);
    EXPECT_NE(near.err.find("1 cue moved in front of cues that begin later"), std::string::npos) << near.err;
    // 2,000 are held back at most.
    const ToolResult far = converting(2900);
    EXPECT_FALSE(far.out.starts_with("WEBVTT\n\n2901\n"));
    EXPECT_NE(far.err.find("1 cue too far behind cues that begin later to be moved"), std::string::npos) << far.err;
}

TEST(ConvertFormats, HoldsBackCuesUpToABoundOfBytes) {
    constexpr std::size_t kText = std::size_t{256} << 10U;
    std::vector<std::uint64_t> given;
    std::vector<qlx::tool::CueChange> changes;
    std::size_t held = 0;
    std::size_t most = 0;
    qlx::tool::CueOrder order(
        qlx::tool::Overlap::Keep,
        [&](const qlx::subtitles::Cue& cue) {
            given.push_back(cue.number);
            held -= kText;
        },
        [&changes](const qlx::subtitles::Cue& /*cue*/, qlx::tool::CueChange change) { changes.push_back(change); });
    const auto push = [&](std::uint64_t number, std::int64_t second) {
        qlx::subtitles::Cue cue;
        cue.number = number;
        cue.start = {second, 1};
        cue.end = {second + 1, 1};
        cue.rows.push_back({.runs = {{.text = std::string(kText, 'x'), .style = {}}}});
        held += kText;
        order.push(std::move(cue));
        most = std::max(most, held);
    };
    std::vector<std::uint64_t> expected;
    for (std::uint64_t number = 1; number <= 400; ++number) {
        push(number, static_cast<std::int64_t>(10 * number));
        expected.push_back(number);
    }
    // Twice as much is held as is left then.
    EXPECT_LE(most, (std::size_t{32} << 20U) + kText);
    EXPECT_EQ(changes.size(), 0U);
    // 16 MiB back, and a hundred cues.
    push(401, 3785);
    push(402, 3000);
    order.finish();
    expected.insert(expected.begin() + 378, 401);
    ASSERT_EQ(given.size(), 402U);
    EXPECT_EQ(std::vector<qlx::tool::CueChange>(
                  {qlx::tool::CueChange::Moved, qlx::tool::CueChange::Moved, qlx::tool::CueChange::Late}),
              changes);
    std::erase(given, 402U);
    EXPECT_EQ(given, expected);
}

}  // namespace
}  // namespace convert_format_tests

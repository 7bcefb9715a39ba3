// qlxcc convert: what goes from one format to another, which files it reads by their names, and the order of cues.
#include "ToolRunner.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <string_view>
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

}  // namespace
}  // namespace convert_format_tests

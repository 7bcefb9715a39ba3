// qlxcc convert of JSON, which has all that any format says.
#include "SubtitleFiles.h"
#include "ToolRunner.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace convert_json_tests {
namespace {

using qlxtest::converted;
using qlxtest::runTool;
using qlxtest::srt;
using qlxtest::TemporaryFolder;
using qlxtest::ToolResult;

using Arguments = std::vector<std::string>;

TEST(ConvertJson, BringsAllOfAnyFormatBackThroughJson) {
    const TemporaryFolder folder;
    const std::string files[][2] = {
        {"srt",
         "1\n00:00:01,000 --> 00:00:02,500 X1:10 X2:20\n{\\an8}<i>a & b</i>\n<font color=\"#12ab34\">c</font>\n\n"},
        {"vtt", "WEBVTT title\nLanguage: en\n\nREGION\nid:r\nlines:2\n\nNOTE one\n\n"
                "intro\n00:00:01.000 --> 00:00:02.000 region:r align:start\n<v Mary>a<00:00:01.500>b</v>\n\n"
                "NOTE two\n\n2\n00:00:02.000 --> 00:00:03.000 size:50%\n<ruby>c<rt>d</rt></ruby>\n\nNOTE three\n\n"},
    };
    for (const auto& [format, text] : files) {
        const ToolResult json = converted(folder.write("in." + format, text), "json", {"--strict"});
        EXPECT_EQ(json.exitCode, 0) << json.err;
        EXPECT_EQ(json.err, "");
        EXPECT_TRUE(json.out.starts_with("{\"schema\":\"qlxcc/subtitles/1\",\n")) << json.out;
        const ToolResult back = converted(folder.write("back.json", json.out), format, {"--strict"});
        EXPECT_EQ(back.exitCode, 0) << back.err;
        EXPECT_EQ(back.out, text);
        const ToolResult again = converted(folder.path("back.json"), "json");
        EXPECT_EQ(again.out, json.out);
    }
}

TEST(ConvertJson, BringsTheHeadOfTtmlAndStlBackThroughJson) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.srt", srt({{"00:00:01,000", "00:00:02,000", "a"}}));
    for (const std::string_view format : {"ttml", "stl"}) {
        const std::string first = folder.path("first." + std::string(format));
        Arguments arguments{"convert", file, "-o", first, "--language", "de"};
        if (format == "stl") {
            arguments.insert(arguments.end(), {"--title", "Film", "--country", "DEU"});
        }
        ASSERT_EQ(runTool(arguments).exitCode, 0);
        const std::string json = folder.path("between.json");
        const std::string second = folder.path("second." + std::string(format));
        ASSERT_EQ(runTool({"convert", first, "-o", json, "--from-start", "0"}).exitCode, 0);
        ASSERT_EQ(runTool({"convert", json, "-o", second, "--from-start", "0"}).exitCode, 0);
        EXPECT_EQ(folder.read("second." + std::string(format)), folder.read("first." + std::string(format))) << format;
    }
}

TEST(ConvertJson, WritesAndReadsTheOlderJson) {
    const TemporaryFolder folder;
    const std::string file =
        folder.write("in.srt", srt({{"00:00:01,000", "00:00:02,500", "<i>a</i>\n<font color=\"red\">b</font>"}}));
    const ToolResult json = converted(file, "json", {"--as-deployed"});
    EXPECT_EQ(json.exitCode, 0);
    EXPECT_EQ(json.out,
              "{\"cues\":[\n{\"end_time_seconds\":2.5,\"end_timecode\":\"00:00:02,500\",\"index\":1,"
              "\"start_time_seconds\":1.0,\"start_timecode\":\"00:00:01,000\",\"text_lines\":["
              "{\"alignment\":\"center\",\"color\":\"#ffffff\",\"text\":\"a\",\"vertical_position\":0},"
              "{\"alignment\":\"center\",\"color\":\"#ff0000\",\"text\":\"b\",\"vertical_position\":0}]}\n]}\n");
    EXPECT_NE(json.err.find("cue 1: line 1"), std::string::npos) << json.err;
    EXPECT_EQ(converted(folder.write("old.json", json.out), "srt").out,
              "1\n00:00:01,000 --> 00:00:02,500\na\n<font color=\"#ff0000\">b</font>\n\n");
    EXPECT_EQ(converted(file, "srt", {"--as-deployed"}).exitCode, 2);
}

TEST(ConvertJson, SaysWhatOfJsonItCannotUse) {
    const TemporaryFolder folder;
    const ToolResult result =
        converted(folder.write("in.json", R"({"schema":"qlxcc/subtitles/9","webvtt":{"header":[1]},"cues":[
{"start":{"seconds":1},"end":{"seconds":2},"what":1,"rows":[{"runs":[{"text":"a"}]}]},
{"start":{"seconds":1},"rows":[]}]})"),
                  "srt");
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.out, "1\n00:00:01,000 --> 00:00:02,000\na\n\n");
    for (const std::string_view part :
         {"the schema is qlxcc/subtitles/9, and not qlxcc/subtitles/1", "\"webvtt\": something of it cannot be used",
          "element 1: row 0, run 0: a key that means nothing is passed over", "element 2: time 2 of 2 is missing"}) {
        EXPECT_NE(result.err.find(part), std::string::npos) << part << " in " << result.err;
    }
}

TEST(ConvertJson, WritesNoLinesIntoWebVttThatJsonHasWhereNoneMayBe) {
    const TemporaryFolder folder;
    const ToolResult result = converted(folder.write("in.json", R"({"schema":"qlxcc/subtitles/1",
"webvtt":{"title":"T --> U","header":["Kind: x\n\ny","a --> b"],"blocks":["STYLE\n\n::cue{}\nc --> d"]},
"webvttNotes":["NOTE e\n\nf --> g"],"cues":[
{"region":"a b","start":{"value":1,"timescale":1},"end":{"value":2,"timescale":1},
"properties":[{"name":"vtt.line","value":"0\nX"},{"name":"vtt.size","value":"50%"}],"rows":[{"runs":[{"text":"a"}]}]}]})"),
                                        "vtt");
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, "WEBVTT T -- > U\nKind: x  y\na -- > b\n\nSTYLE\n::cue{}\nc -- > d\n\n"
                          "00:00:01.000 --> 00:00:02.000 size:50%\na\n\nNOTE e\nf -- > g\n\n");
    EXPECT_NE(result.err.find("cue 1: row 0: lost properties: 1"), std::string::npos) << result.err;
    EXPECT_NE(result.err.find("cue 1: the name of a region, of 3 bytes, is lost"), std::string::npos) << result.err;
}

}  // namespace
}  // namespace convert_json_tests

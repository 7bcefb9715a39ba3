// qlxcc convert: where cues stand and how wide they are, from one format to another; style sheets; rows set anew.
#include "SubtitleFiles.h"
#include "ToolRunner.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace convert_place_tests {
namespace {

using qlxtest::converted;
using qlxtest::srt;
using qlxtest::TemporaryFolder;
using qlxtest::ToolResult;

std::string vtt(std::string_view settings, std::string_view text = "a") {
    return "00:00:01.000 --> 00:00:02.000" + std::string(settings) + "\n" + std::string(text) + "\n\n";
}

/// The regions of a TTML text and what refers to them, without their names and times.
std::vector<std::string> attributesOf(std::string_view text, std::string_view element) {
    std::vector<std::string> all;
    const std::string start = "<" + std::string(element) + " ";
    for (std::size_t place = text.find(start); place != std::string_view::npos; place = text.find(start, place + 1)) {
        const std::string_view tag = text.substr(place, text.find('>', place) - place);
        all.emplace_back(tag.substr(std::min(tag.find("tts:"), tag.size())));
    }
    return all;
}

TEST(ConvertPlaces, AreBoxesInWebVttAndTimedText) {
    const TemporaryFolder folder;
    const struct {
        std::string_view settings;
        std::string_view region;
        std::string_view align;
        std::string_view back;
    } cases[] = {
        {" position:30% size:40% align:left line:20%",
         R"(tts:displayAlign="before" tts:extent="40% 80%" tts:origin="30% 20%"/)", "left",
         " line:20% position:30% size:40% align:left"},
        {" size:80% line:84%,end", R"(tts:displayAlign="after" tts:extent="80% 84%" tts:origin="10% 0%"/)", "center",
         " line:84%,end size:80%"},
        {" align:end line:60%,center position:90%",
         R"(tts:displayAlign="center" tts:extent="90% 80%" tts:origin="0% 20%"/)", "right",
         " line:60%,center position:90% size:90% align:right"},
        {" position:25%,line-left size:50%", R"(tts:displayAlign="after" tts:extent="50% 80%" tts:origin="25% 10%"/)",
         "center", " line:90%,end size:50%"},
    };
    for (const auto& each : cases) {
        const std::string file = folder.write("in.vtt", "WEBVTT\n\n1\n" + vtt(each.settings));
        const ToolResult result = converted(file, "ttml", {"--strict"});
        EXPECT_EQ(result.exitCode, 0) << result.err;
        EXPECT_EQ(attributesOf(result.out, "region"), std::vector<std::string>{std::string(each.region)});
        EXPECT_NE(result.out.find("tts:textAlign=\"" + std::string(each.align) + "\""), std::string::npos);
        const ToolResult back = converted(folder.write("out.ttml", result.out), "vtt");
        EXPECT_EQ(back.out, "WEBVTT\n\n1\n" + vtt(each.back)) << each.settings;
        // And once more there and back: nothing moves. (A box in WebVTT has no height: it goes up to the other edge.)
        const ToolResult again = converted(folder.write("again.vtt", back.out), "ttml");
        EXPECT_EQ(converted(folder.write("again.ttml", again.out), "vtt").out, back.out);
    }
}

TEST(ConvertPlaces, OfRegionsOfWebVttAreRegionsOfTimedText) {
    const TemporaryFolder folder;
    const std::string file = folder.write(
        "in.vtt", "WEBVTT\n\nREGION\nid:fred\nwidth:40%\nlines:3\nregionanchor:0%,100%\nviewportanchor:10%,90%\n\n" +
                      vtt(" region:fred align:left") + vtt(" region:fred align:left position:25%"));
    const ToolResult result = converted(file, "ttml", {"--report", "--strict"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_NE(result.out.find("<region xml:id=\"fred\" tts:displayAlign=\"after\" tts:extent=\"40% 18%\" "
                              "tts:origin=\"10% 72%\"/>"),
              std::string::npos)
        << result.out;
    // The second one is a quarter of it further on, in a region of its own.
    EXPECT_NE(result.out.find("tts:extent=\"30% 18%\" tts:origin=\"20% 72%\"/>"), std::string::npos) << result.out;
    EXPECT_EQ(result.err.find("parts of the file"), std::string::npos) << result.err;
    EXPECT_NE(result.err.find("cue 2: the name of a region, of 4 bytes, is lost"), std::string::npos) << result.err;
    const std::string scrolled =
        folder.write("scroll.vtt", "WEBVTT\n\nREGION\nid:fred\nscroll:up\n\n" + vtt(" region:fred align:left"));
    EXPECT_NE(converted(scrolled, "ttml").err.find("1 block (STYLE, REGION, NOTE)"), std::string::npos);
}

// The place of a region of timed text is that of its cues: only what it says besides is lost.
TEST(ConvertPlaces, OfRegionsOfTimedTextAreBoxesOfWebVtt) {
    const TemporaryFolder folder;
    const auto document = [](std::string_view looks) {
        return "<tt xmlns=\"http://www.w3.org/ns/ttml\" xmlns:tts=\"http://www.w3.org/ns/ttml#styling\" xml:lang=\"\">"
               "<head><layout><region xml:id=\"low\" tts:origin=\"10% 70%\" tts:extent=\"80% 20%\" "
               "tts:displayAlign=\"after\" tts:textAlign=\"center\"" +
               std::string(looks) +
               "/></layout></head><body region=\"low\"><div><p begin=\"1s\" end=\"2s\">a</p></div></body></tt>\n";
    };
    const ToolResult result = converted(folder.write("in.ttml", document("")), "vtt", {"--strict", "--report"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.out, "WEBVTT\n\n1\n" + vtt(" line:90%,end size:80%"));
    EXPECT_NE(
        result.err.find("remark: " + folder.path("in.ttml") + ": cue 1: the name of a region, of 3 bytes, is lost"),
        std::string::npos)
        << result.err;
    const ToolResult colored =
        converted(folder.write("b.ttml", document(" tts:backgroundColor=\"red\"")), "vtt", {"--strict"});
    EXPECT_EQ(colored.exitCode, 1);
    EXPECT_NE(colored.err.find("1 part of the file besides cues is lost: 1 region\n"), std::string::npos)
        << colored.err;
    // A region without a place, of which there is no box.
    const ToolResult placeless = converted(
        folder.write("c.ttml", "<tt xmlns=\"http://www.w3.org/ns/ttml\" xml:lang=\"\"><head><layout><region "
                               "xml:id=\"any\"/></layout></head><body region=\"any\"><div><p begin=\"1s\" end=\"2s\">a"
                               "</p></div></body></tt>\n"),
        "vtt", {"--strict"});
    EXPECT_EQ(placeless.exitCode, 1);
    EXPECT_NE(placeless.err.find("warning: "), std::string::npos) << placeless.err;
}

TEST(ConvertPlaces, OfSubRipAndSubStationAlphaAreBoxes) {
    const TemporaryFolder folder;
    // Of 384 by 288: a quarter of the width, and three quarters of the height.
    const std::string file = folder.write("in.srt", srt({{"00:00:01,000", "00:00:02,000", "{\\an1\\pos(96,216)}a"},
                                                         {"00:00:01,000", "00:00:02,000", "{\\pos(96,216)}a"}}));
    const ToolResult result = converted(file, "vtt");
    EXPECT_EQ(result.out, "WEBVTT\n\n1\n" + vtt(" line:75%,end position:25% size:75% align:left") + "2\n" +
                              vtt(" line:75%,end position:25% size:50%"));
    EXPECT_EQ(attributesOf(converted(file, "ttml").out, "region").at(0),
              R"(tts:displayAlign="after" tts:extent="75% 75%" tts:origin="25% 0%"/)");
    const ToolResult same = converted(file, "srt", {"--report"});
    EXPECT_EQ(same.out, srt({{"00:00:01,000", "00:00:02,000", "{\\an1}{\\pos(96,216)}a"},
                             {"00:00:01,000", "00:00:02,000", "{\\pos(96,216)}a"}}));
    EXPECT_EQ(same.err.find("box"), std::string::npos) << same.err;
    const std::string events = folder.write("in.ass", "[Script Info]\nPlayResX: 640\nPlayResY: 300\n\n[Events]\n"
                                                      "Format: Start, End, Text\n"
                                                      "Dialogue: 0:00:01.00,0:00:02.00,{\\an7\\pos(160,75)}a\n");
    EXPECT_EQ(converted(events, "vtt").out, "WEBVTT\n\n" + vtt(" line:25% position:25% size:75% align:left"));
}

TEST(ConvertPlaces, AreSaidWhereAFormatHasNoBoxes) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.vtt", "WEBVTT\n\n1\n" + vtt(" size:50% line:10%"));
    EXPECT_NE(converted(file, "srt", {"--report"}).err.find("SRT does not carry: box"), std::string::npos);
    EXPECT_EQ(converted(file, "ttml", {"--report"}).err.find("does not carry"), std::string::npos);
    const std::string tall = folder.write("tall.vtt", "WEBVTT\n\n1\n" + vtt(" vertical:rl line:10%"));
    EXPECT_NE(converted(tall, "ttml", {"--report"}).err.find("IMSC does not carry: what another format adds"),
              std::string::npos);
}

TEST(ConvertPlaces, OfWebVttAreRowsOnAir) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.vtt", "WEBVTT\n\n" + vtt(" line:26% position:30% align:left", "abc"));
    const ToolResult scc = converted(file, "scc", {"--offset", "2"});
    ASSERT_EQ(scc.exitCode, 0) << scc.err;
    // Row 4, column 9: 10 % and 3/15, 8/32 of the inner 80 %. A screen of captions has a column more on each side.
    const ToolResult back = converted(folder.write("in.scc", scc.out), "json");
    EXPECT_NE(back.out.find("\"number\":4"), std::string::npos) << back.out;
    EXPECT_NE(back.out.find("\"column\":10,"), std::string::npos) << back.out;
}

// Columns 2, 6, 13 and 39 of the 42 of a wide picture: 1, 5, 12 and 38 parts of 42 of its inner 80 %.
TEST(ConvertPlaces, OfWebVttAreColumnsOfWidePicturesInServices) {
    const TemporaryFolder folder;
    std::string text = "WEBVTT\n\n";
    int number = 0;
    int second = 10;
    for (const std::string_view position : {"11.90%", "19.52%", "32.85%", "82.38%"}) {
        const std::string start = "00:00:" + std::to_string(second++) + ".000";
        text += std::to_string(++number) + "\n" + start + " --> 00:00:" + std::to_string(second++) +
                ".000 line:79.33% position:" + std::string(position) + ",line-left align:left\nabc\n\n";
    }
    const ToolResult services = converted(folder.write("in.vtt", text), "jsonl", {"--service", "1", "--to-rate", "25"});
    ASSERT_EQ(services.exitCode, 0) << services.err;
    const ToolResult back =
        converted(folder.write("in.jsonl", services.out), "vtt", {"--service", "1", "--from-rate", "25"});
    EXPECT_EQ(back.out, text) << back.err;
}

TEST(ConvertStyles, OfSheetsAreThoseOfOtherFormats) {
    const TemporaryFolder folder;
    const std::string sheet = "STYLE\n::cue(.loud) { color: red; font-style: italic; background-color: blue }\n"
                              "::cue(v[voice=\"Mary\"]) { text-decoration: underline }\n\n";
    const std::string cues = "1\n" + vtt("", "<c.loud>a</c>b<v.loud Mary>c</v>");
    const std::string file = folder.write("in.vtt", "WEBVTT\n\n" + sheet + cues);
    EXPECT_EQ(converted(file, "srt").out, "1\n00:00:01,000 --> 00:00:02,000\n<font color=\"#ff0000\"><i>a</i></font>b"
                                          "<font color=\"#ff0000\"><i><u>c</u></i></font>\n\n");
    const std::string ttml = converted(file, "ttml").out;
    EXPECT_NE(ttml.find("tts:color=\"#ff0000\" tts:backgroundColor=\"#0000ff\" tts:fontStyle=\"italic\""),
              std::string::npos)
        << ttml;
    EXPECT_EQ(converted(file, "srt").err.find("parts of the file"), std::string::npos);
    // The same format has the sheet again, and its classes.
    const ToolResult same = converted(file, "vtt", {"--strict"});
    EXPECT_EQ(same.exitCode, 0) << same.err;
    EXPECT_EQ(same.out, "WEBVTT\n\n" + sheet + cues);
    const std::string other =
        folder.write("other.vtt", "WEBVTT\n\nSTYLE\n::cue(b) { color: red; opacity: 0.5 }\n\n" + cues);
    EXPECT_NE(converted(other, "srt", {"--report"}).err.find("0 selectors and 1 declaration of a style sheet are kept"),
              std::string::npos);
    EXPECT_NE(converted(other, "srt").err.find("1 block (STYLE, REGION, NOTE)"), std::string::npos);
}

TEST(ConvertPlaces, NeedNoCodeBelowInTheMiddle) {
    const TemporaryFolder folder;
    for (const std::string_view code : {"", "{\\an1}", "{\\an3}", "{\\an4}", "{\\an7}", "{\\an8}", "{\\an9}"}) {
        const std::string text = srt({{"00:00:04,000", "00:00:06,000", std::string(code) + "Good\nmorning"}});
        const std::string file = folder.write("in.srt", text);
        const auto backOf = [&](const std::string& format, const std::vector<std::string>& more,
                                const std::vector<std::string>& behind) {
            const std::string path = folder.path("on-air." + format);
            std::vector<std::string> arguments{"convert", file, "-o", path};
            arguments.insert(arguments.end(), more.begin(), more.end());
            EXPECT_EQ(qlxtest::runTool(arguments).exitCode, 0);
            const std::string out = converted(path, "srt", behind).out;
            const std::size_t end = out.find("\nGood");
            const std::size_t brace = out.find("{\\an");
            return brace == std::string::npos ? std::string(end == std::string::npos ? "none" : "")
                                              : out.substr(brace, 6);
        };
        EXPECT_EQ(backOf("scc", {}, {}), code);
        EXPECT_EQ(backOf("klv", {"--to-rate", "25", "--page", "888"}, {"--from-rate", "25", "--page", "888"}), code);
    }
    // A file that has the code keeps it.
    const std::string usual = srt({{"00:00:01,000", "00:00:02,000", "{\\an2}a"}});
    EXPECT_EQ(converted(folder.write("usual.srt", usual), "srt").out, usual);
}

/// A text, options, and the text in the rows that they make of it.
struct WrapCase {
    std::string_view text;
    std::vector<std::string> more;
    std::string_view expected;
};

void expectWrapped(const TemporaryFolder& folder, const WrapCase& each) {
    const std::string file = folder.write("in.srt", srt({{"00:00:01,000", "00:00:02,000", each.text}}));
    EXPECT_EQ(converted(file, "srt", each.more).out, srt({{"00:00:01,000", "00:00:02,000", each.expected}}));
}

TEST(ConvertRows, EndBetweenCharactersOfTextWithoutSpaces) {
    const TemporaryFolder folder;
    const WrapCase cases[] = {
        // In front of no closing mark, behind no opening one, in front of no small kana nor sign of length.
        {"今日はとてもいい天気ですね。散歩に行きましょう。",
         {"--wrap", "26"},
         "今日はとてもいい天気です\nね。散歩に行きましょう。"},
        {"彼は「行きます」と言った。", {"--wrap", "14"}, "彼は「行きま\nす」と言った。"},
        {"アップルパイ", {"--wrap", "8"}, "アップ\nルパイ"},
        {"コーヒーカップ", {"--wrap", "8"}, "コーヒー\nカップ"},
        {"这是一个很长的句子，没有空格。", {"--wrap", "16"}, "这是一个很长的句\n子，没有空格。"},
        {"日本ABCDEFGH放送", {"--wrap", "12"}, "日本ABCDEFGH\n放送"},
        // Rows that are joined get no space, but between words of others.
        {"あいう\nえお", {"--wrap", "20", "--wrap-rows", "1"}, "あいうえお"},
        {"あいう\nab", {"--wrap", "20", "--wrap-rows", "1"}, "あいう ab"},
        {"ab\ncd", {"--wrap", "20", "--wrap-rows", "1"}, "ab cd"},
        {"한국어는 띄어쓰기가 있다", {"--wrap", "16"}, "한국어는\n띄어쓰기가 있다"},
    };
    for (const WrapCase& each : cases) {
        expectWrapped(folder, each);
    }
    // Styles stay with their characters.
    const std::string styled =
        folder.write("styled.srt", srt({{"00:00:01,000", "00:00:02,000", "あい<i>うえ</i>おか"}}));
    EXPECT_EQ(converted(styled, "srt", {"--wrap", "8"}).out,
              srt({{"00:00:01,000", "00:00:02,000", "あい<i>う</i>\n<i>え</i>おか"}}));
}

TEST(ConvertRows, OfDialogueStayApart) {
    const TemporaryFolder folder;
    const WrapCase cases[] = {
        {"- Hello there, how are you today?\n- Fine.", {"--wrap", "20"}, "- Hello there, how\nare you today?\n- Fine."},
        {"- Yes.\n- No.", {"--wrap", "40", "--wrap-rows", "1"}, "- Yes.\n- No."},
        {"– Yes.\n– No.", {"--wrap", "40", "--wrap-rows", "1"}, "– Yes.\n– No."},
        {"— Yes.\n— No.", {"--wrap", "40", "--wrap-rows", "1"}, "— Yes.\n— No."},
        {"-はい\n-いいえ、ちがいます", {"--wrap", "16"}, "-はい\n-いいえ、\nちがいます"},
    };
    for (const WrapCase& each : cases) {
        expectWrapped(folder, each);
    }
    const std::string voices =
        folder.write("in.vtt", "WEBVTT\n\n1\n" + vtt("", "<v Mary>Yes.</v>\n<v Bob>No, I am not sure.</v>"));
    EXPECT_EQ(converted(voices, "vtt", {"--wrap", "12"}).out,
              "WEBVTT\n\n1\n" + vtt("", "<v Mary>Yes.</v>\n<v Bob>No, I am</v>\n<v Bob>not sure.</v>"));
}

TEST(ConvertRows, OfDifferentRegionsAreNotComposed) {
    const TemporaryFolder folder;
    const std::string head = "WEBVTT\n\nREGION\nid:r1\n\nREGION\nid:r2\nviewportanchor:0%,30%\n\n";
    const auto cue = [](std::string_view start, std::string_view end, std::string_view region, std::string_view text) {
        return "00:00:0" + std::string(start) + "00 --> 00:00:0" + std::string(end) +
               "00 region:" + std::string(region) + "\n" + std::string(text) + "\n\n";
    };
    const std::string file = folder.write("in.vtt", head + cue("1.0", "3.0", "r1", "a") + cue("2.0", "4.0", "r2", "b") +
                                                        cue("2.5", "4.0", "r1", "c"));
    const ToolResult result = converted(file, "vtt", {"--overlap", "compose"});
    EXPECT_EQ(result.out, head + cue("1.0", "2.0", "r1", "a") + cue("2.0", "2.5", "r1", "a") +
                              cue("2.0", "2.5", "r2", "b") + cue("2.5", "3.0", "r1", "a\nc") +
                              cue("2.5", "3.0", "r2", "b") + cue("3.0", "4.0", "r2", "b") +
                              cue("3.0", "4.0", "r1", "c"));
    EXPECT_EQ(result.err, "qlxcc: warning: " + file + ": 1 cue made of several that are shown together\n");
    // At the upper edge and below: two places too.
    const std::string places = folder.write(
        "in.srt", srt({{"00:00:01,000", "00:00:02,000", "{\\an8}a"}, {"00:00:01,000", "00:00:02,000", "b"}}));
    EXPECT_EQ(converted(places, "srt", {"--overlap", "compose"}).out,
              srt({{"00:00:01,000", "00:00:02,000", "{\\an8}a"}, {"00:00:01,000", "00:00:02,000", "b"}}));
}

}  // namespace
}  // namespace convert_place_tests

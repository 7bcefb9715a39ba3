// qlxcc convert and subs of the text tracks of MP4 and Matroska files.
#include "TextTrackFiles.h"
#include "ToolRunner.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace text_track_tests {
namespace {

using namespace std::literals;
using namespace qlxtest::tracks;
using qlxtest::runTool;
using qlxtest::TemporaryFolder;
using qlxtest::ToolResult;

using Arguments = std::vector<std::string>;

/// A description (3GPP TS 26.245, 5.16): at the bottom, centred, white, 18 high.
std::string timedTextEntry() {
    const std::string style = number(0, 4) + number(1, 2) + number(0, 1) + number(18, 1) + number(0xFFFFFFFF, 4);
    return box("tx3g", zeros(6) + number(1, 2) + zeros(4) + "\x01\xFF"s + zeros(4) + zeros(8) + style +
                           box("ftab", number(1, 2) + number(1, 2) + "\x05Serif"s));
}

/// A sample of it.
std::string timedText(std::string_view text, const std::string& parts = {}) {
    return number(text.size(), 2) + std::string(text) + parts;
}

std::string style(std::uint32_t begin, std::uint32_t end, unsigned face, std::uint32_t color, unsigned size = 18) {
    return number(begin, 2) + number(end, 2) + number(1, 2) + number(face, 1) + number(size, 1) + number(color, 4);
}

Mp4Track timedTextTrack(std::vector<Sample> samples, std::string_view language = "und") {
    return {language, "sbtl", timedTextEntry(), std::move(samples)};
}

ToolResult converted(const std::string& file, std::string_view format, const Arguments& more = {}) {
    Arguments arguments{"convert", file, "-o", "-", "--to-format", std::string(format)};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return runTool(arguments);
}

TEST(TextTracks, AreReadFromTimedText) {
    const TemporaryFolder folder;
    // Bold and italic over the end of a row, in a colour; what follows blinks.
    const std::string parts =
        box("styl", number(1, 2) + style(4, 8, 3, 0xFF0000FF)) + box("blnk", number(8, 2) + number(10, 2));
    const std::string file =
        folder.write("in.mp4", mp4({timedTextTrack({{timedText(""), 1000},
                                                    {timedText("a \u00E9 bc\nde f", parts), 1500},
                                                    {timedText("a \u00E9 bc\nde f", parts), 500},
                                                    {timedText(""), 250},
                                                    {timedText("\xFE\xFF\x00x\xD8\x3D\xDE\x00"sv), 750}})}));
    const ToolResult result = converted(file, "srt");
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.out, "1\n00:00:01,000 --> 00:00:03,000\n{\\an2}a \u00E9 <font color=\"#ff0000\"><b><i>bc</i></b>"
                          "</font>\n<font color=\"#ff0000\"><b><i>d</i></b></font>e f\n\n"
                          "2\n00:00:03,250 --> 00:00:04,000\n{\\an2}x\U0001F600\n\n")
        << result.err;
    EXPECT_NE(result.err.find("cue 1: row 2: styles of 1 part"), std::string::npos) << result.err;
    const ToolResult list = runTool({"subs", file});
    EXPECT_EQ(list.exitCode, 0) << list.err;
    EXPECT_NE(list.out.find("(text track 1 (tx3g, und)): 2 cues, 0 left out"), std::string::npos) << list.out;
}

TEST(TextTracks, SayWhatOfUtf16MakesNoCharacter) {
    const TemporaryFolder folder;
    // A byte behind the last unit; the first half of a pair in front of a letter, and the second one at the end.
    const std::string file =
        folder.write("in.mp4", mp4({timedTextTrack({{timedText("\xFE\xFF\x00x\x00"sv), 1000},
                                                    {timedText("\xFF\xFEx\x00\x3D\xD8y\x00\x00\xDE"sv), 1000},
                                                    {timedText("\xFE\xFF\x00z\xD8\x3D"sv), 1000}})}));
    const ToolResult result = converted(file, "srt");
    EXPECT_EQ(result.exitCode, 1) << result.err;
    EXPECT_EQ(result.out, "1\n00:00:00,000 --> 00:00:01,000\n{\\an2}x\n\n"
                          "2\n00:00:01,000 --> 00:00:02,000\n{\\an2}x\uFFFDy\uFFFD\n\n"
                          "3\n00:00:02,000 --> 00:00:03,000\n{\\an2}z\uFFFD\n\n");
    for (const std::string_view place :
         {"6 UTF-16 makes no character (1 such place)", "6 UTF-16 makes no character (2 such places)"}) {
        const std::string text = "text sample: at its byte " + std::string(place);
        EXPECT_NE(result.err.find(text), std::string::npos) << result.err;
    }
}

TEST(TextTracks, AreReadFromWebVttInBoxes) {
    const TemporaryFolder folder;
    const auto cue = [](const std::string& name, const std::string& settings, const std::string& text) {
        return box("vttc", (name.empty() ? "" : box("iden", name)) + (settings.empty() ? "" : box("sttg", settings)) +
                               box("payl", text));
    };
    const std::string first = cue("intro", "align:start line:0", "<i>a &amp; b</i>");
    const std::string second = cue("", "", "c\n\nd");
    const std::string entry = box("wvtt", zeros(6) + number(1, 2) + box("vttC", "WEBVTT"));
    const std::string file = folder.write("in.mp4", mp4({{"eng",
                                                          "text",
                                                          entry,
                                                          {{box("vtte", ""), 500},
                                                           {first, 1000},
                                                           {first + second, 1000},
                                                           {second + box("vtta", "NOTE x"), 500}}}}));
    const ToolResult result = converted(file, "vtt");
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.out, "WEBVTT\n\nintro\n00:00:00.500 --> 00:00:02.500 line:0 align:start\n<i>a &amp; b</i>\n\n"
                          "2\n00:00:01.500 --> 00:00:03.000\nc\n&nbsp;\nd\n\n");
    EXPECT_NE(result.err.find("1 part of a text sample left out"), std::string::npos) << result.err;
}

TEST(TextTracks, CountTimesInsideOfWebVttCuesAsTheirBoxSays) {
    const TemporaryFolder folder;
    const std::string entry = box("wvtt", zeros(6) + number(1, 2) + box("vttC", "WEBVTT"));
    const auto fileOf = [&](const std::string& time, const std::string& text) {
        const std::string cue = box("vttc", (time.empty() ? "" : box("ctim", time)) + box("payl", text));
        return folder.write("in.mp4", mp4({{"eng", "text", entry, {{box("vtte", ""), 500}, {cue, 1000}}}}));
    };
    const std::string expected = "WEBVTT\n\n1\n00:00:00.500 --> 00:00:01.500\na<00:00:00.900>b\n\n";
    const ToolResult own = converted(fileOf("", "a<00:00:00.900>b"), "vtt");
    EXPECT_EQ(own.out, expected);
    EXPECT_EQ(own.exitCode, 0) << own.err;
    const ToolResult counted = converted(fileOf("10:00:00.000", "a<10:00:00.400>b"), "vtt");
    EXPECT_EQ(counted.out, expected);
    EXPECT_EQ(counted.exitCode, 0) << counted.err;
    const ToolResult wrong = converted(fileOf("10 o'clock", "a<00:00:00.900>b"), "vtt");
    EXPECT_EQ(wrong.out, expected);
    EXPECT_EQ(wrong.exitCode, 1);
    EXPECT_NE(wrong.err.find("something of it cannot be read"), std::string::npos) << wrong.err;
}

TEST(TextTracks, KeepWhatStandsInFrontOfWebVttCues) {
    const TemporaryFolder folder;
    const std::string head =
        "WEBVTT title\nLanguage: en\n\nSTYLE\n::cue { color: lime }\n\nREGION\nid:low\nwidth:40%\n";
    const auto track = [](const std::string& header) {
        const std::string entry = box("wvtt", zeros(6) + number(1, 2) + (header.empty() ? "" : box("vttC", header)));
        const std::string cue = box("vttc", box("sttg", "region:low") + box("payl", "a"));
        return Mp4Track{"eng", "text", entry, {{cue, 1000}}};
    };
    const std::string whole = mp4({timedTextTrack({{timedText("x"), 1000}}), track(""), track(head)});
    const std::string file = folder.write("in.mp4", whole);
    // Of three tracks each has its own.
    const ToolResult result = converted(file, "vtt", {"--track", "3"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.out, head + "\n1\n00:00:00.000 --> 00:00:01.000 region:low\na\n\n") << result.err;
    EXPECT_EQ(result.err.find("no region"), std::string::npos) << result.err;
    const ToolResult without = converted(file, "vtt", {"--track", "2"});
    EXPECT_EQ(without.out, "WEBVTT\n\n1\n00:00:00.000 --> 00:00:01.000 region:low\na\n\n");
    EXPECT_NE(without.err.find("no region has the name of 3 bytes"), std::string::npos) << without.err;
    // Of a pipe as far as it can be looked at ahead.
    for (const bool isFar : {false, true}) {
        constexpr std::size_t kFar = std::size_t{2} << 20U;
        const std::string input = mp4({track(head)}, true, isFar ? kFar : 0);
        const ToolResult piped =
            runTool({"convert", "-", "-o", "-", "--to-format", "vtt", "--from-format", "mov", "--track", "1"},
                    {.input = input});
        EXPECT_EQ(piped.exitCode, 0) << piped.err;
        EXPECT_EQ(piped.out.find("STYLE") == std::string::npos, isFar) << piped.out;
        EXPECT_EQ(piped.err.find("cannot be read: its boxes are damaged, or too far from the beginning of a pipe") !=
                      std::string::npos,
                  isFar)
            << piped.err;
    }
    // A box that ends behind the one around it: nothing of what the walk has found is taken for a head.
    std::string damaged = whole;
    const std::size_t box = damaged.rfind("vttC");
    damaged.replace(box - 4, 4, std::string("\x00\x7F\xFF\xFF", 4));
    const ToolResult unread = converted(folder.write("damaged.mp4", damaged), "vtt", {"--track", "3"});
    EXPECT_EQ(unread.exitCode, 0) << unread.err;
    EXPECT_EQ(unread.out, "WEBVTT\n\n1\n00:00:00.000 --> 00:00:01.000 region:low\na\n\n");
    EXPECT_NE(unread.err.find("cannot be read: its boxes are damaged"), std::string::npos) << unread.err;
    const ToolResult srt = converted(file, "srt", {"--track", "3", "--strict"});
    EXPECT_EQ(srt.exitCode, 1);
    EXPECT_NE(srt.err.find("1 line of the header, 1 block (STYLE, REGION, NOTE)"), std::string::npos) << srt.err;
    // The style is one of the text.
    EXPECT_NE(srt.out.find("<font color=\"#00ff00\">a</font>"), std::string::npos) << srt.out;
    // The language is one of the cues.
    EXPECT_NE(srt.err.find("cue 1: the name of its language, of 2 bytes, is lost"), std::string::npos) << srt.err;
    EXPECT_NE(converted(file, "ttml", {"--track", "3"}).out.find(" xml:lang=\"en\""), std::string::npos);
}

TEST(TextTracks, JoinManyCuesOfTwoSamplesEachWithItsOwn) {
    const TemporaryFolder folder;
    // Two of the same text stay two; of those with the same text and another place each goes on with its own.
    std::string sample;
    std::string expected = "WEBVTT\n\n";
    constexpr int kCues = 300;
    for (int index = 0; index < kCues; ++index) {
        const std::string line = std::to_string(index / 4);
        const std::string text = "t" + std::to_string(index / 10);
        sample += box("vttc", box("sttg", "line:" + line) + box("payl", text));
        expected += std::to_string(index + 1) + "\n00:00:00.000 --> 00:00:01.000 line:" + line + "\n" + text + "\n\n";
    }
    const std::string entry = box("wvtt", zeros(6) + number(1, 2) + box("vttC", "WEBVTT"));
    const std::string file = folder.write("in.mp4", mp4({{"eng", "text", entry, {{sample, 500}, {sample, 500}}}}));
    const ToolResult result = converted(file, "vtt");
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.out, expected) << result.err;
}

TEST(TextTracks, AreReadFromTtmlDocuments) {
    const TemporaryFolder folder;
    const auto document = [](std::string_view body) {
        return "<tt xmlns=\"http://www.w3.org/ns/ttml\" xmlns:tts=\"http://www.w3.org/ns/ttml#styling\" xml:lang=\"\">"
               "<body tts:textAlign=\"center\"><div>" +
               std::string(body) + "</div></body></tt>";
    };
    const std::string all = document("<p begin=\"1s\" end=\"3s\">a</p><p begin=\"3s\" end=\"9s\">b</p>");
    const std::string entry = box("stpp", zeros(6) + number(1, 2) + "http://www.w3.org/ns/ttml" + zeros(3));
    const std::string file = folder.write(
        "in.mp4",
        mp4({{"und", "subt", entry, {{all, 2000}, {all, 2000}, {document("<p>c</p>"), 1000}, {"<tt", 1000}}}}));
    const ToolResult result = converted(file, "srt");
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.out, "1\n00:00:01,000 --> 00:00:03,000\na\n\n2\n00:00:03,000 --> 00:00:04,000\nb\n\n"
                          "3\n00:00:04,000 --> 00:00:05,000\nc\n\n")
        << result.err;
    EXPECT_NE(result.err.find("not well-formed"), std::string::npos) << result.err;
}

TEST(TextTracks, AreChosenByNumberAndLanguage) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.mp4", mp4({timedTextTrack({{timedText("eins"), 1000}}, "deu"),
                                                         timedTextTrack({{timedText("one"), 1000}}, "eng")}));
    const auto textOf = [&](const Arguments& more) {
        const ToolResult result = converted(file, "vtt", more);
        EXPECT_EQ(result.exitCode, 0) << result.err;
        return std::pair(result.out.find("eins") != std::string::npos, result.err);
    };
    const std::string others = "text track 1 (tx3g, deu) is read, and not 2 (tx3g, eng)";
    EXPECT_TRUE(textOf({}).first);
    EXPECT_NE(textOf({}).second.find(others + ": --track says which"), std::string::npos);
    EXPECT_TRUE(textOf({"--track", "1"}).first);
    EXPECT_EQ(textOf({"--track", "DEU"}).second.find("says which"), std::string::npos);
    EXPECT_FALSE(textOf({"--track", "2"}).first);
    EXPECT_FALSE(textOf({"--track", "eng"}).first);
    const ToolResult none = converted(file, "vtt", {"--track", "fra"});
    EXPECT_EQ(none.exitCode, 2);
    EXPECT_NE(none.err.find("has no text track fra, but 1 (tx3g, deu), 2 (tx3g, eng)"), std::string::npos) << none.err;
    EXPECT_NE(runTool({"subs", file, "--track", "eng"}).out.find("one"), std::string::npos);
    for (const auto& [track, text] : {std::pair("1", "eins"), std::pair("eng", "one")}) {
        const ToolResult played = runTool({"play", file, "--mode", "teletext", "--rate", "25", "--track", track});
        EXPECT_EQ(played.exitCode, 0) << played.err;
        EXPECT_NE(played.out.find(text), std::string::npos) << played.out;
    }
    for (const std::string more : {"--as-deployed", "--track=fra"}) {
        EXPECT_EQ(runTool({"play", file, "--mode", "teletext", "--rate", "25", "--track", "1", more}).exitCode, 2);
    }
    const std::string text = folder.write("plain.srt", "1\n00:00:01,000 --> 00:00:02,000\na\n\n");
    EXPECT_EQ(runTool({"play", text, "--mode", "teletext", "--rate", "25", "--track", "1"}).exitCode, 2);
    EXPECT_EQ(runTool({"subs", text, "--track", "1"}).exitCode, 2);
    EXPECT_EQ(
        converted(folder.write("in.srt", "1\n00:00:01,000 --> 00:00:02,000\na\n\n"), "vtt", {"--track", "1"}).exitCode,
        2);
}

TEST(TextTracks, SayWhatOfSamplesCannotBeRead) {
    const TemporaryFolder folder;
    struct Case {
        std::string sample;
        std::string_view said;
    };
    const Case cases[] = {
        {"a", "text sample of 1 byte: something of it cannot be read"},
        {number(9, 2) + "abc", "text sample of 5 bytes: something of it cannot be read"},
        {timedText("abc", box("styl", number(2, 2) + style(0, 1, 1, 0xFFFFFFFF))), "something of it cannot be read"},
        {timedText("abc", "xyz"), "something of it cannot be read"},
    };
    for (const Case& each : cases) {
        const std::string file =
            folder.write("in.mp4", mp4({timedTextTrack({{each.sample, 1000}, {timedText("ok"), 1000}})}));
        const ToolResult result = converted(file, "srt");
        EXPECT_EQ(result.exitCode, 1) << each.said;
        EXPECT_NE(result.err.find(each.said), std::string::npos) << result.err;
        EXPECT_NE(result.out.find("ok"), std::string::npos) << result.out;
    }
    const std::string lossy =
        folder.write("in.mp4", mp4({timedTextTrack({{timedText("a", box("krok", zeros(6))), 1000}})}));
    EXPECT_EQ(converted(lossy, "srt").exitCode, 0);
    EXPECT_EQ(converted(lossy, "srt", {"--strict"}).exitCode, 1);
}

TEST(TextTracks, AreListedWithoutVideo) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.mkv", matroska({{"S_TEXT/UTF8", "ger"}, {"S_HDMV/PGS", "eng"}},
                                                             {{1, 1000, 500, "a"}, {2, 2000, 500, "x"}}));
    const ToolResult list = runTool({"scan", file, "--list"});
    EXPECT_EQ(list.exitCode, 0) << list.err;
    EXPECT_EQ(list.out, "what                language  first           last            captions\n"
                        "text track 1        ger       -               -                      - (SubRip)\n"
                        "text track 2        eng       -               -                      - (unknown)\n"
                        "in 0 frames\n");
    EXPECT_EQ(runTool({"scan", file, "--list", "--json"}).out,
              R"({"contents":[{"captions":null,"first":null,"firstFrame":null,"format":"SubRip","kind":"textTrack",)"
              R"("language":"ger","last":null,"lastFrame":null,"name":"1"},{"captions":null,"first":null,)"
              R"("firstFrame":null,"format":"unknown","kind":"textTrack","language":"eng","last":null,)"
              R"("lastFrame":null,"name":"2"}],"frames":0,"schema":"qlxcc/contents/1"})"
              "\n");
    // There is nothing to be listed but tracks.
    EXPECT_EQ(runTool({"scan", file}).exitCode, 1);
}

TEST(TextTracks, AreSaidNotToBeLookedForInAPipeByAList) {
    const TemporaryFolder folder;
    const std::string input = mp4({timedTextTrack({{timedText("x"), 1000}})});
    constexpr std::string_view kSaid = "text tracks are not looked for: it could not be read again from its beginning";
    for (const Arguments& more : {Arguments{"--list"}, Arguments{"--list", "--json"}}) {
        Arguments arguments{"scan", "-", "--from-format", "mov"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        EXPECT_NE(runTool(arguments, {.input = input}).err.find(kSaid), std::string::npos);
        arguments[1] = folder.write("in.mp4", input);
        const ToolResult file = runTool(arguments);
        EXPECT_EQ(file.err.find(kSaid), std::string::npos) << file.err;
        EXPECT_NE(file.out.find("tx3g"), std::string::npos) << file.out;
    }
    // What is no list shows no tracks of any file.
    EXPECT_EQ(runTool({"scan", "-", "--from-format", "mov"}, {.input = input}).err.find(kSaid), std::string::npos);
}

// A track that is named, or the only thing there is, becomes packets as play sends it; captions that are there pass.
TEST(TextTracks, BecomePackets) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.mp4", mp4({timedTextTrack({{timedText("eins"), 1000}}, "deu"),
                                                         timedTextTrack({{timedText("one"), 1000}}, "eng")}));
    const auto convertTo = [&](const std::string& from, const std::string& name, Arguments more) {
        more.insert(more.begin(), {"convert", from, "-o", folder.path(name)});
        return runTool(more);
    };
    const Arguments rate{"--to-rate", "29.97"};
    for (const auto& [track, text] : {std::pair("2", "one"), std::pair("deu", "eins")}) {
        ASSERT_EQ(runTool({"play", file, "--mode", "cea608", "--rate", "29.97", "--track", track, "--to-format", "klv",
                           "-o", folder.path("played.klv")})
                      .exitCode,
                  0);
        const ToolResult made = convertTo(file, "made.klv", {"--to-rate", "29.97", "--track", track});
        EXPECT_EQ(made.exitCode, 0) << made.err;
        EXPECT_EQ(folder.read("made.klv"), folder.read("played.klv"));
        ASSERT_EQ(convertTo(file, "made.scc", {"--track", track}).exitCode, 0);
        EXPECT_NE(converted(folder.path("made.scc"), "srt").out.find(text), std::string::npos);
    }
    const ToolResult first = convertTo(file, "first.klv", rate);
    EXPECT_EQ(first.exitCode, 0) << first.err;
    EXPECT_NE(first.err.find("text track 1 (tx3g, deu) is read, and not 2 (tx3g, eng)"), std::string::npos);
    EXPECT_EQ(folder.read("first.klv"), folder.read("made.klv"));
    // Beside captions it is left out, unless it is named.
    const Mp4Track captions{
        "und", "clcp", box("c608", zeros(6) + number(1, 2)), {{box("cdat", "\x94\x2C\x94\x2C"s), 1000}}};
    const std::string both =
        folder.write("both.mp4", mp4({captions, timedTextTrack({{timedText("one"), 1000}}, "eng")}));
    const ToolResult passed = convertTo(both, "passed.jsonl", {"--from-rate", "29.97"});
    EXPECT_EQ(passed.exitCode, 0) << passed.err;
    EXPECT_NE(passed.err.find("left out: text track 1 (tx3g, eng) (--track makes packets of one)"), std::string::npos)
        << passed.err;
    EXPECT_NE(folder.read("passed.jsonl").find("fc942cfc942c"), std::string::npos) << folder.read("passed.jsonl");
    EXPECT_EQ(convertTo(both, "strict.jsonl", {"--from-rate", "29.97", "--strict"}).exitCode, 1);
    const ToolResult named = convertTo(both, "named.scc", {"--track", "eng"});
    EXPECT_EQ(named.exitCode, 0) << named.err;
    EXPECT_NE(converted(folder.path("named.scc"), "srt").out.find("one"), std::string::npos);
    EXPECT_EQ(convertTo(folder.path("first.klv"), "a.scc", {"--from-rate", "29.97", "--track", "1"}).exitCode, 2);
}

TEST(TextTracks, AreReadFromMatroska) {
    const TemporaryFolder folder;
    const std::string file =
        folder.write("in.mkv", matroska({{"S_TEXT/UTF8", "ger"}, {"S_TEXT/WEBVTT", "eng", "WEBVTT title\n\nNOTE x"}},
                                        {{1, 1000, 1500, "<i>a & b</i>\r\n\r\nzwei"},
                                         {2, 1000, 1500, "<v Mary>a<00:00:00.500> &amp; b", "line:0\nintro\n"},
                                         {1, 2500, 1500, "{\\an8}<font color=\"#ff0000\">rot</font>"},
                                         {2, 2500, 500, "c"},
                                         {2, 3000, 500, "c"},
                                         {1, 5000, 0, "ohne Ende"}}));
    const ToolResult srt = converted(file, "srt");
    EXPECT_EQ(srt.exitCode, 0) << srt.err;
    EXPECT_EQ(srt.out, "1\n00:00:01,000 --> 00:00:02,500\n<i>a & b</i>\n\u00A0\nzwei\n\n"
                       "2\n00:00:02,500 --> 00:00:04,000\n{\\an8}<font color=\"#ff0000\">rot</font>\n\n"
                       "3\n00:00:05,000 --> 00:00:10,000\nohne Ende\n\n");
    EXPECT_NE(srt.err.find("a text sample without an end is taken for one of five seconds"), std::string::npos);
    const ToolResult vtt = converted(file, "vtt", {"--track", "2"});
    EXPECT_EQ(vtt.exitCode, 0) << vtt.err;
    // What stands in such a file is as it was written: equal neighbours stay two.
    EXPECT_EQ(
        vtt.out,
        "WEBVTT title\n\nNOTE x\n\nintro\n00:00:01.000 --> 00:00:02.500 line:0\n<v Mary>a<00:00:01.500> &amp; b</v>\n\n"
        "2\n00:00:02.500 --> 00:00:03.000\nc\n\n3\n00:00:03.000 --> 00:00:03.500\nc\n\n");
    const std::string events =
        folder.write("events.mkv", matroska({{"S_TEXT/ASS", "eng",
                                              "[Script Info]\nPlayResX: 384\nPlayResY: 288\n\n[V4+ Styles]\n"
                                              "Format: Name, PrimaryColour, Italic, Alignment\n"
                                              "Style: Default,&H0000FFFF,0,2\nStyle: Up,&H00FFFFFF,1,8\n"}},
                                            {{1, 1000, 1500, "0,0,Default,,0,0,0,,one, and\\Ntwo"},
                                             {1, 2000, 1500, "1,3,Up,Bob,0,0,0,,{\\b1}three"},
                                             {1, 4000, 500, "2"}}));
    const ToolResult ass = converted(events, "json");
    EXPECT_EQ(ass.exitCode, 1) << ass.err;
    EXPECT_NE(ass.err.find("text sample of 1 byte: something of it cannot be read"), std::string::npos) << ass.err;
    for (const std::string_view part : {"ssa.style", "ssa.layer", "ssa.name"}) {
        EXPECT_NE(ass.out.find(part), std::string::npos) << ass.out;
    }
    EXPECT_EQ(converted(events, "srt").out,
              "1\n00:00:01,000 --> 00:00:02,500\n<font color=\"#ffff00\">one, and</font>\n"
              "<font color=\"#ffff00\">two</font>\n\n2\n00:00:02,000 --> 00:00:03,500\n{\\an8}<b><i>three</i></b>\n\n");
    const std::string other = folder.write("other.mkv", matroska({{"S_HDMV/PGS", "eng"}}, {{1, 0, 100, "x"}}));
    EXPECT_EQ(converted(other, "srt", {"--track", "1"}).exitCode, 1);
}

}  // namespace
}  // namespace text_track_tests

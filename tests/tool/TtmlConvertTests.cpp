// qlxcc convert, subs and play of timed text in XML: read in each of its forms and encodings, written in both profiles,
// and read back by programs that are not from here.
#include "SubtitleFiles.h"
#include "ToolRunner.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace ttml_convert_tests {
namespace {

using qlxtest::converted;
using qlxtest::runTool;
using qlxtest::srt;
using qlxtest::TemporaryFolder;
using qlxtest::ToolResult;

using Arguments = std::vector<std::string>;

/// A document with these parameters and this body.
std::string document(std::string_view parameters, std::string_view body) {
    return "<tt xmlns=\"http://www.w3.org/ns/ttml\" xmlns:ttp=\"http://www.w3.org/ns/ttml#parameter\" "
           "xmlns:tts=\"http://www.w3.org/ns/ttml#styling\" xml:lang=\"\" " +
           std::string(parameters) + "><body tts:textAlign=\"center\"><div>" + std::string(body) +
           "</div></body></tt>\n";
}

const std::string kOneCue = "1\n00:00:01,000 --> 00:00:02,000\na\n\n";

TEST(TtmlConvert, IsKnownByItsRootWhateverItIsCalled) {
    const TemporaryFolder folder;
    const std::string paragraph = "<p begin=\"1s\" end=\"2s\">a</p>";
    const std::string plain = document("", paragraph);
    const std::pair<std::string, std::string> files[] = {
        {"a.ttml", plain},
        {"b.bin", "<?xml version=\"1.0\"?>\n<!-- <other> -->\n<!DOCTYPE tt>\n" + plain},
        {"c.xml", "\xEF\xBB\xBF<?xml version='1.0' encoding='utf-8'?>" + plain},
        {"d.txt", "<x:tt xmlns:x='http://www.w3.org/ns/ttml' xmlns:y='http://www.w3.org/ns/ttml#styling'>"
                  "<x:body y:textAlign='center'><x:div><x:p begin='1s' end='2s'>a</x:p></x:div>"
                  "</x:body></x:tt>"},
        {"e.dfxp", "<!--" + std::string(5000, ' ') + "-->" + plain},
        {"f.itt", "<!--" + std::string(5000, ' ') + "-->" + plain},
    };
    for (const auto& [name, text] : files) {
        const ToolResult result = converted(folder.write(name, text), "srt");
        EXPECT_EQ(result.exitCode, 0) << name << ": " << result.err;
        EXPECT_EQ(result.out, kOneCue) << name;
    }
    const ToolResult other = converted(folder.write("g.xml", "<SpliceInfoSection/>"), "srt");
    EXPECT_EQ(other.exitCode, 2);
    EXPECT_EQ(converted(folder.write("h.xml", "<SpliceInfoSection/>"), "srt", {"--from-format", "ttml"}).exitCode, 1);
}

TEST(TtmlConvert, ReadsTheEncodingThatIsDeclared) {
    const TemporaryFolder folder;
    const auto declared = [](std::string_view encoding, std::string_view letter) {
        return "<?xml version=\"1.0\" encoding=\"" + std::string(encoding) + "\"?>" +
               document("", "<p begin=\"1s\" end=\"2s\">" + std::string(letter) + "</p>");
    };
    struct Case {
        std::string_view encoding;
        std::string_view letter;
        std::string_view text;
        std::string_view said;
    };
    // U+0159 in ISO 8859-2 and windows-1250, U+0438 in windows-1251; a name that is none, and one that cannot be.
    const Case cases[] = {
        {"ISO-8859-2", "\xF8", "\u0159", "the text is read as ISO-8859-2"},
        {"windows-1251", "\xE8", "\u0438", "the text is read as windows-1251"},
        {"UTF-8", "\u0159", "\u0159", ""},
        {"UTF-16", "\u0159", "\u0159",
         "the encoding UTF-16, which the text says that it is in, is not that of its bytes"},
        {"x-none", "\u0159", "\u0159", "the encoding x-none, which the text says that it is in, is not known"},
    };
    for (const Case& each : cases) {
        const ToolResult result = converted(folder.write("in.xml", declared(each.encoding, each.letter)), "srt");
        EXPECT_EQ(result.exitCode, 0) << each.encoding << ": " << result.err;
        EXPECT_EQ(result.out, "1\n00:00:01,000 --> 00:00:02,000\n" + std::string(each.text) + "\n\n") << each.encoding;
        EXPECT_EQ(result.err.empty(), each.said.empty()) << result.err;
        EXPECT_NE(result.err.find(each.said), std::string::npos) << result.err;
    }
    const std::string file = folder.write("in.xml", declared("UTF-8", "\xE8"));
    EXPECT_EQ(converted(file, "srt", {"--encoding", "windows-1251"}).out,
              "1\n00:00:01,000 --> 00:00:02,000\n\u0438\n\n");
    const ToolResult wrong = converted(file, "srt");
    EXPECT_EQ(wrong.exitCode, 1);
    EXPECT_EQ(wrong.out, "1\n00:00:01,000 --> 00:00:02,000\n\uFFFD\n\n");
}

TEST(TtmlConvert, ReadsUtf16) {
    const TemporaryFolder folder;
    const std::string text =
        "<?xml version=\"1.0\" encoding=\"UTF-16\"?>" + document("", "<p begin=\"1s\" end=\"2s\">a</p>");
    for (const bool hasMark : {true, false}) {
        std::string wide = hasMark ? "\xFF\xFE" : "";
        for (const char each : text) {
            wide += each;
            wide += '\0';
        }
        const ToolResult result = converted(folder.write("in.ttml", wide), "srt");
        EXPECT_EQ(result.exitCode, 0) << result.err;
        EXPECT_EQ(result.out, kOneCue);
    }
}

TEST(TtmlConvert, CountsFramesAtTheRateThatIsSaidWhereTheFileSaysNone) {
    const TemporaryFolder folder;
    const std::string labels = "<p begin=\"10:00:00:12\" end=\"10:00:02:00\">a</p>";
    const std::string none = folder.write("none.ttml", document("ttp:timeBase=\"smpte\"", labels));
    const std::string own = folder.write("own.ttml", document("ttp:timeBase=\"smpte\" ttp:frameRate=\"25\"", labels));
    const auto times = [](const ToolResult& result) { return result.out.substr(2, result.out.find('a') - 3); };
    const Arguments start{"--from-start", "0"};
    const auto at = [&](const std::string& file, Arguments more) {
        more.insert(more.end(), start.begin(), start.end());
        return converted(file, "srt", more);
    };
    EXPECT_EQ(times(at(none, {})), "10:00:00,400 --> 10:00:02,000");
    EXPECT_EQ(times(at(none, {"--from-rate", "25"})), "10:00:00,480 --> 10:00:02,000");
    // 12 frames and 10 hours of 108,000 numbers, 1001/30000 s each.
    EXPECT_EQ(times(at(none, {"--from-rate", "29.97"})), "10:00:36,400 --> 10:00:38,002");
    // The labels of dropped frames: 10 hours are 1,078,920 frames.
    const ToolResult dropped = at(none, {"--from-rate", "29.97", "--drop"});
    EXPECT_EQ(times(dropped), "10:00:00,364 --> 10:00:01,966");
    EXPECT_EQ(dropped.err.find("without effect"), std::string::npos) << dropped.err;
    const ToolResult kept = at(own, {"--from-rate", "30"});
    EXPECT_EQ(times(kept), "10:00:00,480 --> 10:00:02,000");
    EXPECT_NE(kept.err.find("--from-rate is without effect: the file says what its frames count"), std::string::npos);
    EXPECT_EQ(times(converted(own, "srt", {"--from-start", "auto"})), "00:00:00,480 --> 00:00:02,000");
}

TEST(TtmlConvert, RefusesWhatIsTooLongAndWhatReachesOutside) {
    const TemporaryFolder folder;
    const std::string longOne = document("", "<p begin=\"1s\" end=\"2s\">a</p>" + std::string(1'100'000, ' '));
    const ToolResult refused = converted(folder.write("long.ttml", longOne), "srt", {"--limit", "1"});
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_NE(refused.err.find("long.ttml: longer than 1 MiB: no subtitle file"), std::string::npos) << refused.err;
    EXPECT_EQ(converted(folder.write("long.ttml", longOne), "srt").exitCode, 0);
    // The others that are read as a whole; and those that are not.
    const std::string cues = R"({"schema":"qlxcc/subtitles/1","cues":[]})" + std::string(1'100'000, ' ');
    const std::string stl = folder.path("a.stl");
    ASSERT_EQ(runTool({"convert", folder.path("long.ttml"), "-o", stl}).exitCode, 0);
    const std::string blocks = folder.read("a.stl") + std::string(1'100'000, '\0');
    for (const std::string& file : {folder.write("long.json", cues), folder.write("long.stl", blocks)}) {
        const ToolResult result = converted(file, "srt", {"--limit", "1"});
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(result.err, "qlxcc: " + file + ": longer than 1 MiB: no subtitle file\n");
    }
    const std::string row = std::string(1000, 'a') + "\n";
    std::string rows = "1\n00:00:01,000 --> 00:00:02,000\na\n\n";
    std::string webVtt = "WEBVTT\n\n";
    std::string pairs = "Scenarist_SCC V1.0\n\n";
    for (int count = 0; count < 1100; ++count) {
        rows += "2\n00:00:03,000 --> 00:00:04,000\n" + row + "\n";
        webVtt += "00:00:03.000 --> 00:00:04.000\n" + row + "\n";
    }
    while (pairs.size() < 1'100'000) {
        pairs += "00:00:01:00\t9420 9420\n\n";
    }
    for (const std::string& file :
         {folder.write("a.srt", rows), folder.write("a.vtt", webVtt), folder.write("a.scc", pairs)}) {
        EXPECT_EQ(converted(file, "srt", {"--limit", "1"}).err.find("longer than"), std::string::npos) << file;
    }
    const std::string subset =
        "<!DOCTYPE tt [<!ENTITY a SYSTEM \"/etc/hostname\">]>" + document("", "<p begin=\"1s\" end=\"2s\">&a;</p>");
    const ToolResult outside = converted(folder.write("outside.ttml", subset), "srt");
    EXPECT_EQ(outside.exitCode, 1);
    EXPECT_EQ(outside.out, "");
    std::string deep = "<p begin=\"1s\" end=\"2s\">a</p>";
    for (int depth = 0; depth < 200; ++depth) {
        deep = "<div>" + deep + "</div>";
    }
    EXPECT_EQ(converted(folder.write("deep.ttml", document("", deep)), "srt").exitCode, 1);
    EXPECT_EQ(converted(folder.write("cut.ttml", document("", "<p>").substr(0, 150)), "srt").exitCode, 1);
}

/// With each style that a run has, a place, and a language.
const std::string kStyled =
    R"(<?xml version="1.0" encoding="UTF-8"?>
<tt xmlns="http://www.w3.org/ns/ttml" xmlns:tts="http://www.w3.org/ns/ttml#styling" xml:lang="de"
 xmlns:ttm="http://www.w3.org/ns/ttml#metadata"><head><metadata><ttm:title>Film</ttm:title></metadata>
<layout><region xml:id="gr\u00F6n" tts:origin="10% 10%" tts:extent="80% 30%" tts:displayAlign="before"/><region xml:id="low"/></layout></head>
<body><div><p begin="1s" end="2.5s" region="REGION" tts:textAlign="center">a &amp; <span tts:color="yellow"
 tts:backgroundColor="blue" tts:fontStyle="italic" tts:fontWeight="bold" tts:textDecoration="underline">b</span><br/>c</p>
<p begin="3s" end="4s" xml:lang="fr" region="low">d</p></div></body></tt>)";

std::string styled() {
    std::string text = kStyled;
    for (const std::string_view mark : {"gr\\u00F6n", "REGION"}) {
        text.replace(text.find(mark), mark.size(), "gr\u00F6n");
    }
    return text;
}

TEST(TtmlConvert, WritesTheSameFormatWithoutLoss) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.ttml", styled());
    const ToolResult once = converted(file, "ttml", {"--strict"});
    EXPECT_EQ(once.exitCode, 0) << once.err;
    EXPECT_EQ(once.err, "");
    for (const std::string_view part :
         {"xml:lang=\"de\"", "<ttm:title>Film</ttm:title>", "<region xml:id=\"gr\u00F6n\" ", "region=\"gr\u00F6n\"",
          "xml:lang=\"fr\"", "tts:backgroundColor=\"#0000ff\"", "imsc1.1/text"}) {
        EXPECT_NE(once.out.find(part), std::string::npos) << part << " in " << once.out;
    }
    const ToolResult twice = converted(folder.write("again.ttml", once.out), "ttml", {"--strict"});
    EXPECT_EQ(twice.exitCode, 0) << twice.err;
    EXPECT_EQ(twice.out, once.out);
}

/// A file of one span with a colour.
std::string coloredText(const TemporaryFolder& folder, const std::string& attribute, const std::string& color) {
    return folder.write("in.ttml",
                        "<tt xmlns=\"http://www.w3.org/ns/ttml\" xmlns:tts=\"http://www.w3.org/ns/ttml#styling\" "
                        "xml:lang=\"de\"><body><div><p begin=\"1s\" end=\"2s\"><span tts:" +
                            attribute + "=\"" + color + "\">a</span></p></div></body></tt>\n");
}

// As most files of EBU-TT-D have it: black, three quarters of which are seen.
TEST(TtmlConvert, KeepsColorsBehindTextThatAreSeenThrough) {
    const TemporaryFolder folder;
    const auto file = [&folder](const std::string& color) { return coloredText(folder, "backgroundColor", color); };
    for (const char* const format : {"ttml", "ebu-tt-d"}) {
        const ToolResult same = converted(file("#000000c2"), format, {"--strict"});
        EXPECT_EQ(same.exitCode, 0) << same.err;
        EXPECT_NE(same.out.find("tts:backgroundColor=\"#000000c2\""), std::string::npos) << same.out;
    }
    EXPECT_NE(converted(file("rgba(0,0,0,128)"), "ttml").out.find("tts:backgroundColor=\"rgba(0,0,0,128)\""),
              std::string::npos);
    // EBU-TT-D has numbers of eight digits alone, others have no such colours.
    const ToolResult ebu = converted(file("rgba(0,0,0,128)"), "ebu-tt-d", {"--strict"});
    EXPECT_EQ(ebu.exitCode, 0) << ebu.err;
    EXPECT_NE(ebu.out.find("tts:backgroundColor=\"#00000080\""), std::string::npos) << ebu.out;
    EXPECT_NE(converted(file("#000000c2"), "srt").err.find("lost properties: 1"), std::string::npos);
    EXPECT_EQ(converted(file("#000000ff"), "vtt", {"--strict"}).exitCode, 0);
}

TEST(TtmlConvert, KeepsColorsOfTextThatAreSeenThrough) {
    const TemporaryFolder folder;
    const auto file = [&folder](const std::string& color) { return coloredText(folder, "color", color); };
    const std::pair<std::string, std::string> cases[] = {
        {"#ff000080", "#ff000080"},
        {"rgba(0, 255, 0, 64)", "#00ff0040"},
        {"transparent", "#ffffff00"},
        {"#123456c2", "#123456c2"},
    };
    for (const auto& [color, written] : cases) {
        SCOPED_TRACE(color);
        for (const char* const format : {"ttml", "ebu-tt-d"}) {
            const ToolResult same = converted(file(color), format, {"--strict"});
            EXPECT_EQ(same.exitCode, 0) << same.err;
            EXPECT_NE(same.out.find("tts:color=\"" + written + "\""), std::string::npos) << same.out;
        }
        for (const char* const format : {"srt", "vtt", "stl"}) {
            const ToolResult other = converted(file(color), format, {"--report"});
            EXPECT_NE(other.err.find("lost properties: "), std::string::npos) << other.err;
            EXPECT_NE(other.err.find("transparency"), std::string::npos) << other.err;
        }
    }
    EXPECT_EQ(converted(file("#ff0000ff"), "vtt", {"--strict"}).exitCode, 0);
}

TEST(TtmlConvert, SaysWhatAnotherFormatLoses) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.ttml", styled());
    const ToolResult result = converted(file, "srt", {"--strict"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.out, "1\n00:00:01,000 --> 00:00:02,500\n{\\an8}a & <font color=\"#ffff00\"><b><i><u>b</u>"
                          "</i></b></font>\nc\n\n2\n00:00:03,000 --> 00:00:04,000\n{\\an1}d\n\n")
        << result.err;
    EXPECT_NE(result.err.find("3 parts of the file besides cues are lost: 1 text (title, description, copyright), "
                              "2 regions"),
              std::string::npos)
        << result.err;
}

TEST(TtmlConvert, MakesBothProfilesOfOtherFormats) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.srt", srt({{"00:00:01,000", "00:00:02,500", "<i>a & b</i>"}}));
    const std::string output = folder.path("out.ttml");
    EXPECT_EQ(runTool({"convert", file, "-o", output, "--language", "en-GB"}).exitCode, 0);
    const std::string text = folder.read("out.ttml");
    EXPECT_NE(text.find("profile/imsc1.1/text"), std::string::npos);
    EXPECT_NE(text.find("xml:lang=\"en-GB\""), std::string::npos);
    const ToolResult ebu = converted(file, "ebu-tt-d");
    EXPECT_EQ(ebu.exitCode, 0) << ebu.err;
    EXPECT_NE(ebu.out.find("urn:ebu:tt:distribution"), std::string::npos);
    for (const std::string& each : {text, ebu.out}) {
        EXPECT_EQ(converted(folder.write("back.xml", each), "srt").out,
                  "1\n00:00:01,000 --> 00:00:02,500\n<i>a & b</i>\n\n");
    }
    EXPECT_EQ(converted(file, "srt", {"--language", "en"}).exitCode, 2);
}

TEST(TtmlConvert, IsListedAndPlayed) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.ttml", styled());
    const ToolResult list = runTool({"subs", file});
    EXPECT_EQ(list.exitCode, 0) << list.err;
    EXPECT_NE(list.out.find("00:00:01,000  00:00:02,500"), std::string::npos) << list.out;
    EXPECT_NE(list.out.find("(TTML): 2 cues, 0 left out"), std::string::npos) << list.out;
    const ToolResult web = runTool({"subs", folder.write("in.vtt", "WEBVTT\n\n00:01.000 --> 00:02.000\na\n")});
    EXPECT_EQ(web.exitCode, 0) << web.err;
    EXPECT_NE(web.out.find("(WebVTT): 1 cue, 0 left out"), std::string::npos) << web.out;
    for (const std::string_view mode : {"teletext", "cea608", "cea708"}) {
        const ToolResult played = runTool({"play", file, "--mode", std::string(mode), "--rate", "25"});
        EXPECT_EQ(played.exitCode, 0) << mode << ": " << played.err;
        EXPECT_NE(played.out.find("a & b / c"), std::string::npos) << mode << ": " << played.out;
    }
    const ToolResult packets =
        runTool({"convert", file, "-o", folder.path("out.mcc"), "--to-rate", "25", "--channel", "CC1"});
    EXPECT_EQ(packets.exitCode, 0) << packets.err;
}

/// What a program prints; none where it is not there.
std::optional<std::string> printed(const std::string& command, const TemporaryFolder& folder) {
    const std::string path = folder.path("printed.txt");
    const int result = std::system((command + " >'" + path + "' 2>&1").c_str());
    return result == 0 ? std::optional(folder.read("printed.txt")) : std::nullopt;
}

TEST(TtmlConvert, IsReadByAnotherProgram) {
    const TemporaryFolder folder;
    if (!printed("/usr/bin/python3 -c 'import ttconv.tt'", folder)) {
        GTEST_SKIP() << "python3-ttconv is not installed";
    }
    std::string text;
    std::vector<std::string> times;
    for (int cue = 1; cue <= 20; ++cue) {
        const std::string number = std::string(cue < 10 ? "0" : "") + std::to_string(cue);
        times.push_back("00:00:" + number + ",040 --> 00:00:" + number + ",920");
        text += std::to_string(cue) + "\n" + times.back() + "\n<i>row " + number + "</i>\nb & c \u266A\n\n";
    }
    const std::string file = folder.write("in.srt", text);
    for (const std::string_view profile : {"ttml", "ebu-tt-d"}) {
        const std::string document = folder.path(std::string(profile) + ".ttml");
        ASSERT_EQ(runTool({"convert", file, "-o", document, "--to-format", std::string(profile)}).exitCode, 0);
        if (printed("xmllint --version", folder)) {
            EXPECT_EQ(printed("xmllint --noout --nonet '" + document + "'", folder), "") << profile;
        }
        const std::string back = folder.path("back.srt");
        ASSERT_TRUE(printed("/usr/bin/python3 -m ttconv.tt convert -i '" + document + "' -o '" + back + "'", folder))
            << folder.read("printed.txt");
        const std::string read = folder.read("back.srt");
        std::size_t place = 0;
        for (std::size_t cue = 0; cue < times.size(); ++cue) {
            const std::size_t found = read.find(times[cue], place);
            ASSERT_NE(found, std::string::npos) << times[cue] << " in " << read.substr(place, 300);
            place = found;
            const std::size_t row = read.find("row ", place);
            EXPECT_EQ(read.substr(row, 6), text.substr(text.find(times[cue]) + times[cue].size() + 4, 6));
        }
        EXPECT_NE(read.find("b & c \u266A"), std::string::npos) << read.substr(0, 300);
        EXPECT_NE(read.find("<i>"), std::string::npos) << read.substr(0, 300);
    }
}

}  // namespace
}  // namespace ttml_convert_tests

// When the cues of text tracks are shown: samples of fragments, edit lists, documents within samples.
#include "TextTrackFiles.h"
#include "ToolRunner.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace text_track_time_tests {
namespace {

using namespace std::literals;
using namespace qlxtest::tracks;
using qlxtest::runTool;
using qlxtest::TemporaryFolder;
using qlxtest::ToolResult;

std::string timedText(std::string_view text) {
    return number(text.size(), 2) + std::string(text);
}

Mp4Track timedTextTrack(std::vector<Sample> samples, const std::string& edits = {}) {
    // Its description is cut short, which leaves what is usual.
    return {"und", "sbtl", box("tx3g", zeros(6) + number(1, 2)), std::move(samples), editBox(edits)};
}

Mp4Track wvttTrack() {
    return {"und", "text", box("wvtt", zeros(6) + number(1, 2) + box("vttC", "WEBVTT")), {}};
}

Mp4Track documentTrack(std::vector<Sample> samples = {}, const std::string& edits = {}) {
    const std::string entry = box("stpp", zeros(6) + number(1, 2) + "http://www.w3.org/ns/ttml" + zeros(3));
    return {"und", "subt", entry, std::move(samples), editBox(edits)};
}

std::string cueBox(const std::string& text) {
    return box("vttc", box("payl", text));
}

std::string document(std::string_view paragraphs, std::string_view head = {}, std::string_view language = {}) {
    return "<tt xmlns=\"http://www.w3.org/ns/ttml\" xmlns:tts=\"http://www.w3.org/ns/ttml#styling\" xml:lang=\"" +
           std::string(language) + "\">" + std::string(head) + "<body tts:textAlign=\"center\"><div>" +
           std::string(paragraphs) + "</div></body></tt>";
}

ToolResult converted(const std::string& file, std::string_view format = "srt") {
    return runTool({"convert", file, "-o", "-", "--to-format", std::string(format)});
}

/// The cues of a file, each as `begin-end text`, in milliseconds.
std::vector<std::string> cuesOf(const std::string& srt) {
    std::vector<std::string> cues;
    std::size_t place = 0;
    while ((place = srt.find(" --> ", place)) != std::string::npos) {
        const auto time = [&](std::size_t at) {
            const std::string text = srt.substr(at, 12);
            const std::uint64_t seconds = (std::stoull(text.substr(0, 2)) * 60 + std::stoull(text.substr(3, 2))) * 60 +
                                          std::stoull(text.substr(6, 2));
            return std::to_string(seconds * 1000 + std::stoull(text.substr(9, 3)));
        };
        const std::size_t text = srt.find('\n', place) + 1;
        cues.push_back(time(place - 12) + "-" + time(place + 5) + " " +
                       srt.substr(text, srt.find("\n\n", text) - text));
        place = text;
    }
    return cues;
}

using Cues = std::vector<std::string>;

TEST(TextTrackTimes, OfFragmentsEndWhereTheNextSampleBegins) {
    const TemporaryFolder folder;
    const std::string texts =
        fragmentedMp4(timedTextTrack({}), {{0, {{timedText(""), 4000}, {timedText("a"), 3000}, {timedText("b"), 3000}}},
                                           {10'000, {{timedText("c"), 7500}, {timedText("d"), 12'250}}}});
    const ToolResult timed = converted(folder.write("a.mp4", texts));
    EXPECT_EQ(timed.exitCode, 0);
    EXPECT_EQ(timed.err, "");
    EXPECT_EQ(cuesOf(timed.out), (Cues{"4000-7000 a", "7000-10000 b", "10000-17500 c", "17500-29750 d"}));
    // Of a pipe the fragments are not known in front.
    const ToolResult piped = runTool(
        {"convert", "-", "--from-format", "mov", "-o", "-", "--to-format", "srt", "--track", "1"}, {.input = texts});
    EXPECT_EQ(piped.out, timed.out) << piped.err;

    const std::string wvtt = fragmentedMp4(
        wvttTrack(), {{0, {{box("vtte", ""), 1500}, {cueBox("a"), 500}, {cueBox("a") + cueBox("b"), 7000}}},
                      {9000, {{cueBox("b"), 6500}, {box("vtte", ""), 1000}}}});
    const ToolResult boxed = converted(folder.write("b.mp4", wvtt));
    EXPECT_EQ(boxed.exitCode, 0) << boxed.err;
    EXPECT_EQ(cuesOf(boxed.out), (Cues{"1500-9000 a", "2000-15500 b"}));

    // The sample in front of a gap lasts over it (ISO/IEC 14496-12, 8.8.12).
    const std::string documents = fragmentedMp4(
        documentTrack(), {{0, {{document("<p begin=\"7s\" end=\"9s\">a</p><p begin=\"9s\">b</p>"), 10'000}}},
                          {12'000, {{document("<p>c</p>"), 10'000}}}});
    const ToolResult read = converted(folder.write("c.mp4", documents));
    EXPECT_EQ(read.exitCode, 0) << read.err;
    EXPECT_EQ(cuesOf(read.out), (Cues{"7000-9000 a", "9000-12000 b", "12000-22000 c"}));
}

TEST(TextTrackTimes, OfMatroskaBlocksWithoutADurationEndWhereTheNextBegins) {
    const TemporaryFolder folder;
    const std::string file = folder.write(
        "in.mkv",
        matroska({{"S_TEXT/UTF8", "ger"}},
                 {{1, 1000, 0, "a"}, {1, 2000, 500, "b"}, {1, 4000, 0, "c"}, {1, 4000, 0, "d"}, {1, 20'000, 0, "e"}}));
    const ToolResult result = converted(file);
    EXPECT_EQ(cuesOf(result.out),
              (Cues{"1000-2000 a", "2000-2500 b", "4000-20000 c", "4000-20000 d", "20000-25000 e"}));
    // The last one alone.
    const std::size_t said = result.err.find("without an end is taken for one of five seconds");
    EXPECT_NE(said, std::string::npos) << result.err;
    EXPECT_EQ(result.err.find("without an end", said + 1), std::string::npos) << result.err;
}

TEST(TextTrackTimes, AreThoseOfEditLists) {
    const TemporaryFolder folder;
    const std::vector<Sample> samples{{timedText("a"), 1000}, {timedText("b"), 1000}, {timedText("c"), 1000}};
    struct Case {
        std::string edits;
        Cues cues;
        std::size_t leftOut = 0;
    };
    const Case cases[] = {
        {"", {"0-1000 a", "1000-2000 b", "2000-3000 c"}},
        {edit(3000, 0), {"0-1000 a", "1000-2000 b", "2000-3000 c"}},
        {edit(2500, -1) + edit(3000, 0), {"2500-3500 a", "3500-4500 b", "4500-5500 c"}},
        {edit(2500, 500), {"0-500 a", "500-1500 b", "1500-2500 c"}},
        {edit(1500, 0), {"0-1000 a", "1000-1500 b"}, 1},
        {edit(500, 1250), {"0-500 b"}, 2},
        // To the end of the media.
        {edit(0, 1500), {"0-500 b", "500-1500 c"}, 1},
        // Two pieces that are one, and two with a piece left out between them.
        {edit(1500, 0) + edit(1500, 1500), {"0-1000 a", "1000-2000 b", "2000-3000 c"}},
        {edit(500, 0) + edit(1000, 2000), {"0-500 a", "500-1500 c"}, 1},
        // The same piece again, and a moment that stays.
        {edit(1000, 0) + edit(500, -1) + edit(1000, 0), {"0-1000 a", "1500-2500 a"}, 2},
        {edit(4000, 1500, 0), {"0-4000 b"}, 2},
        {edit(2990, 0), {"0-1000 a", "1000-2000 b", "2000-2990 c"}},
        // Longer than any file, and so to the end.
        {edit(1000, -1) + edit(0xFFFFFFFF, 0), {"1000-2000 a", "2000-3000 b", "3000-4000 c"}},
        {edit(1000, -1), {}, 3},
    };
    for (const Case& each : cases) {
        const ToolResult result = converted(folder.write("in.mp4", mp4({timedTextTrack(samples, each.edits)})));
        EXPECT_EQ(cuesOf(result.out), each.cues) << result.err;
        const std::string said = std::to_string(each.leftOut) + (each.leftOut == 1 ? " cue" : " cues") +
                                 " left out, which the edit list of the file does not show";
        EXPECT_EQ(result.err.find(said) != std::string::npos, each.leftOut != 0) << result.err;
        EXPECT_EQ(result.err.find("which the edit list") != std::string::npos, each.leftOut != 0) << result.err;
    }
    // The units of the movie are coarser than those of the media: what seems to be cut, or left out, is not.
    for (const std::string& edits : {edit(2, 0), edit(1, 0) + edit(1, 505), edit(1, 0) + edit(1, 495)}) {
        const std::string coarse = mp4({timedTextTrack({{timedText("a"), 1003}}, edits)}, false, 0, 2);
        EXPECT_EQ(cuesOf(converted(folder.write("in.mp4", coarse)).out), (Cues{"0-1003 a"}));
    }
    const std::string cut = mp4({timedTextTrack({{timedText("a"), 1015}}, edit(2, 0))}, false, 0, 2);
    EXPECT_EQ(cuesOf(converted(folder.write("in.mp4", cut)).out), (Cues{"0-1000 a"}));
    // Each track has its own, in numbers of 64 bits too.
    const std::string longEdits = editBox(longEdit(700, -1) + longEdit(std::uint64_t{1} << 40U, 1500), 1);
    Mp4Track second{"eng", "sbtl", box("tx3g", zeros(6) + number(1, 2)), samples, longEdits};
    const std::string file = folder.write("in.mp4", mp4({timedTextTrack(samples, edit(500, 0)), std::move(second)}));
    EXPECT_EQ(cuesOf(converted(file).out), (Cues{"0-500 a"}));
    EXPECT_EQ(cuesOf(runTool({"convert", file, "-o", "-", "--to-format", "srt", "--track", "2"}).out),
              (Cues{"700-1200 b", "1200-2200 c"}));
    // Of fragments too.
    const std::string fragments = fragmentedMp4(timedTextTrack({}, edit(1000, -1) + edit(0, 500)),
                                                {{0, samples}, {3000, {{timedText("d"), 700}}}});
    EXPECT_EQ(cuesOf(converted(folder.write("in.mp4", fragments)).out),
              (Cues{"1000-1500 a", "1500-2500 b", "2500-3500 c", "3500-4200 d"}));
}

TEST(TextTrackTimes, AreThoseOfTheMediaWhereAnEditListCannotBeRead) {
    const TemporaryFolder folder;
    const std::vector<Sample> samples{{timedText("a"), 1000}, {timedText("b"), 1000}};
    std::string many;
    for (int index = 0; index <= 1000; ++index) {
        many += edit(1, index);
    }
    const std::string cases[] = {editBox(many), editBox(edit(1000, 500, 0x20000)), editBox(edit(1000, -2)),
                                 editBox(longEdit(1000, 500), 2),
                                 // More entries than there are.
                                 box("edts", fullBox("elst", number(2, 4) + edit(1000, 500)))};
    for (const std::string& edits : cases) {
        Mp4Track track = timedTextTrack(samples);
        track.edits = edits;
        const ToolResult result = converted(folder.write("in.mp4", mp4({track})));
        EXPECT_EQ(cuesOf(result.out), (Cues{"0-1000 a", "1000-2000 b"}));
        EXPECT_NE(result.err.find("what the index says of the track besides its samples (edit list, STYLE, REGION) "
                                  "cannot be read"),
                  std::string::npos)
            << result.err;
    }
    // Another track is not concerned.
    Mp4Track broken = timedTextTrack(samples);
    broken.edits = cases[0];
    const ToolResult other =
        runTool({"convert", folder.write("in.mp4", mp4({broken, timedTextTrack(samples, edit(500, 700))})), "-o", "-",
                 "--to-format", "srt", "--track", "2"});
    EXPECT_EQ(cuesOf(other.out), (Cues{"0-300 a", "300-500 b"}));
    EXPECT_EQ(other.err.find("cannot be read"), std::string::npos) << other.err;
}

TEST(TextTrackTimes, OfTheLastSampleAreItsOwn) {
    const TemporaryFolder folder;
    // Other tracks are longer, and so is the whole file.
    const Mp4Track longer = timedTextTrack({{timedText("x"), 60'000}});
    EXPECT_EQ(
        cuesOf(converted(folder.write("in.mp4",
                                      mp4({timedTextTrack({{timedText("a"), 1000}, {timedText("b"), 2500}}), longer})))
                   .out),
        (Cues{"0-1000 a", "1000-3500 b"}));
    // The track says that it is longer, or shorter.
    const auto withLength = [](std::string file, std::uint32_t milliseconds) {
        constexpr std::size_t kDuration = 20;
        return file.replace(file.find("mdhd") + kDuration, 4, number(milliseconds, 4));
    };
    for (const std::uint32_t length : {60'000U, 1500U, 0U}) {
        const std::string whole = mp4({timedTextTrack({{timedText("a"), 1000}, {timedText("b"), 2500}})});
        EXPECT_EQ(cuesOf(converted(folder.write("in.mp4", withLength(whole, length))).out),
                  (Cues{"0-1000 a", "1000-3500 b"}));
        const std::string parts =
            fragmentedMp4(timedTextTrack({}),
                          {{0, {{timedText("a"), 1000}}}, {1000, {{timedText("b"), 400}, {timedText("c"), 700}}}});
        EXPECT_EQ(cuesOf(converted(folder.write("in.mp4", withLength(parts, length))).out),
                  (Cues{"0-1000 a", "1000-1400 b", "1400-2100 c"}));
    }
    // Nothing is shown that would need an end.
    const ToolResult empty =
        converted(folder.write("in.mp4", mp4({timedTextTrack({{timedText("a"), 1000}, {timedText(""), 0}})})));
    EXPECT_EQ(cuesOf(empty.out), (Cues{"0-1000 a"}));
    EXPECT_EQ(empty.err, "");
}

TEST(TextTrackTimes, OfDocumentsCountFromTheBeginningOfTheMedia) {
    const TemporaryFolder folder;
    const std::string text = document("<p begin=\"1s\" end=\"2s\">a<span begin=\"0.5s\">b</span></p>"
                                      "<p begin=\"10s\" end=\"11s\">c</p>");
    const auto vtt = [&](const std::string& edits) {
        return converted(folder.write("in.mp4", mp4({documentTrack({{text, 60'000}}, edits)})), "vtt").out;
    };
    EXPECT_NE(vtt(edit(2000, -1) + edit(60'000, 0)).find("00:00:03.000 --> 00:00:04.000\na<00:00:03.500>b\n"),
              std::string::npos)
        << vtt(edit(2000, -1) + edit(60'000, 0));
    // What appears behind a cut does not.
    EXPECT_NE(vtt(edit(1250, 0)).find("00:00:01.000 --> 00:00:01.250\na\n"), std::string::npos) << vtt(edit(1250, 0));
    EXPECT_NE(vtt(edit(60'000, 9500)).find("00:00:00.500 --> 00:00:01.500\nc\n"), std::string::npos)
        << vtt(edit(60'000, 9500));
}

TEST(TextTrackTimes, OfDocumentsAreWithinTheirSamples) {
    const TemporaryFolder folder;
    const auto converts = [&](const std::vector<Sample>& samples) {
        return converted(folder.write("in.mp4", mp4({documentTrack(samples)})));
    };
    // What has no times lasts as its sample.
    const ToolResult untimed = converts({{document("<p>a</p>"), 8000}, {document("<p begin=\"9s\">b</p>"), 2000}});
    EXPECT_EQ(cuesOf(untimed.out), (Cues{"0-8000 a", "9000-10000 b"}));
    EXPECT_EQ(untimed.exitCode, 0);
    EXPECT_EQ(untimed.err, "");
    // A whole file in each of its samples: all is shown in one of them.
    const std::string all = document("<p begin=\"0s\" end=\"1s\">a</p><p begin=\"1s\" end=\"3s\">b</p>"
                                     "<p begin=\"3s\" end=\"4s\">c</p>");
    const ToolResult again = converts({{all, 2000}, {all, 2000}});
    EXPECT_EQ(cuesOf(again.out), (Cues{"0-1000 a", "1000-3000 b", "3000-4000 c"}));
    EXPECT_EQ(again.err, "");
    // Of very many too.
    std::string paragraphs;
    constexpr int kCues = 10'500;
    for (int index = 0; index < kCues; ++index) {
        const std::string begin = std::to_string(index * 10);
        paragraphs +=
            "<p begin=\"" + begin + "ms\" end=\"" + std::to_string(index * 10 + 10) + "ms\">" + begin + "</p>";
    }
    const std::string longest = document(paragraphs);
    const ToolResult many = converts({{longest, 50'000}, {longest, 50'000}, {longest, 5000}});
    EXPECT_EQ(cuesOf(many.out).size(), std::size_t{kCues});
    EXPECT_EQ(many.err, "");
    // What no sample shows.
    const ToolResult lost = converts({{document("<p begin=\"1s\" end=\"2s\">a</p>"), 2000},
                                      {document("<p begin=\"0s\" end=\"1s\">b</p><p begin=\"4s\">c</p>"), 2000}});
    EXPECT_EQ(cuesOf(lost.out), (Cues{"1000-2000 a"}));
    EXPECT_NE(lost.err.find("text track: 2 cues of TTML documents outside of the time of their samples left out, the "
                            "first one from 0 ms"),
              std::string::npos)
        << lost.err;
}

TEST(TextTrackTimes, LeaveRegionsOfLaterDocumentsWhereTheyAre) {
    const TemporaryFolder folder;
    const auto with = [](std::string_view time, std::string_view origin, std::string_view language) {
        return document("<p region=\"r\" " + std::string(time) + ">x</p>",
                        "<head><layout><region xml:id=\"r\" tts:displayAlign=\"after\" tts:extent=\"80% 20%\" "
                        "tts:origin=\"" +
                            std::string(origin) + "\"/></layout></head>",
                        language);
    };
    const std::string file = mp4({documentTrack({{with("begin=\"0s\" end=\"2s\"", "10% 10%", "en"), 2000},
                                                 {with("begin=\"2s\" end=\"4s\"", "10% 60%", "cy"), 2000},
                                                 {with("begin=\"5s\" end=\"6s\"", "10% 10%", "en"), 2000}})});
    const ToolResult result = converted(folder.write("in.mp4", file), "ttml");
    EXPECT_EQ(result.exitCode, 0) << result.err;
    const auto attribute = [&](std::string_view name, std::size_t from) {
        const std::size_t place = result.out.find(" " + std::string(name) + "=\"", from);
        const std::size_t begin = result.out.find('"', place) + 1;
        return result.out.substr(begin, result.out.find('"', begin) - begin);
    };
    const std::size_t first = result.out.find("<p begin=\"00:00:00.000\"");
    const std::size_t second = result.out.find("<p begin=\"00:00:02.000\"");
    const std::size_t third = result.out.find("<p begin=\"00:00:05.000\"");
    ASSERT_NE(third, std::string::npos) << result.out;
    EXPECT_EQ(attribute("region", first), "r");
    EXPECT_EQ(attribute("region", third), "r");
    EXPECT_EQ(attribute("xml:lang", second), "cy");
    const std::string own = attribute("region", second);
    EXPECT_NE(own, "r");
    const std::size_t region = result.out.find("<region xml:id=\"" + own + "\"");
    ASSERT_NE(region, std::string::npos) << result.out;
    EXPECT_EQ(attribute("tts:origin", region), "10% 60%");
    EXPECT_EQ(attribute("tts:extent", region), "80% 20%");
}

TEST(TextTracks, OfFilesThatAreCutShortSaySo) {
    const TemporaryFolder folder;
    const std::string texts = mp4({timedTextTrack({{timedText("a"), 1000}, {timedText("bcdefgh"), 1000}})}, true);
    const ToolResult mov = converted(folder.write("in.mp4", texts.substr(0, texts.size() - 3)));
    EXPECT_EQ(mov.exitCode, 1);
    EXPECT_EQ(cuesOf(mov.out), (Cues{"0-1000 a"}));
    EXPECT_NE(mov.err.find("the file is cut short: 17 of 20 bytes of the media data (mdat) are there"),
              std::string::npos)
        << mov.err;
    // Between two samples.
    const ToolResult between = converted(folder.write("in.mp4", texts.substr(0, texts.size() - 9)));
    EXPECT_EQ(between.exitCode, 1);
    EXPECT_EQ(cuesOf(between.out), (Cues{"0-1000 a"}));
    EXPECT_NE(between.err.find("the file is cut short"), std::string::npos) << between.err;
    const std::string blocks = matroska({{"S_TEXT/UTF8", "ger"}}, {{1, 1000, 500, "abc"}, {1, 40'000, 500, "defghi"}});
    const ToolResult mkv = converted(folder.write("in.mkv", blocks.substr(0, blocks.size() - 20)));
    EXPECT_EQ(mkv.exitCode, 1);
    EXPECT_EQ(cuesOf(mkv.out), (Cues{"1000-1500 abc"}));
    EXPECT_NE(mkv.err.find("damaged, as the library that takes it apart says: "), std::string::npos) << mkv.err;
    const ToolResult whole = converted(folder.write("in.mkv", blocks));
    EXPECT_EQ(whole.exitCode, 0);
    EXPECT_EQ(whole.err, "");
}

TEST(TextTracks, SayWhichBytesAreNotUtf8) {
    const TemporaryFolder folder;
    const ToolResult result = converted(folder.write(
        "in.mp4", mp4({timedTextTrack({{timedText("caf\xE9 \xC3"), 1000}, {timedText("\u00E9"), 1000}})})));
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(cuesOf(result.out), (Cues{"0-1000 caf\uFFFD \uFFFD", "1000-2000 \u00E9"}));
    EXPECT_NE(result.err.find("byte e9 is not UTF-8 (2 such bytes in the row)"), std::string::npos) << result.err;
}

TEST(TextTracks, AreReadFromDocumentsInUtf16) {
    const TemporaryFolder folder;
    std::string text = "\xFF\xFE";
    for (const char16_t unit : u"<tt xmlns=\"http://www.w3.org/ns/ttml\" xml:lang=\"\"><body><div><p>\u0416</p></div>"
                               u"</body></tt>"sv) {
        text += static_cast<char>(unit & 0xFF);
        text += static_cast<char>(unit >> 8);
    }
    const ToolResult result = converted(folder.write("in.mp4", mp4({documentTrack({{text, 1000}})})), "vtt");
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_NE(result.out.find("\n\u0416\n"), std::string::npos) << result.out;
}

}  // namespace
}  // namespace text_track_time_tests

// qlxcc play into a transport stream, and what show and scan read of it.
#include "SubtitleFiles.h"
#include "ToolRunner.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <iterator>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

using qlxtest::playArguments;
using qlxtest::runTool;
using qlxtest::TemporaryFolder;
using qlxtest::ToolResult;

const std::string kTransportCues = "1\n00:00:01,000 --> 00:00:02,000\nBonjour\n\n"
                                   "2\n00:00:03,000 --> 00:00:04,500\nDeux\nlignes\n\n";

#ifdef QLX_STREAMS_FFMPEG
TEST(TransportPlay, ShowsWhatItWouldInOtherFiles) {
    const TemporaryFolder folder;
    const std::string cues = folder.write("in.srt", kTransportCues);
    for (const std::string rate : {"25", "50"}) {
        const std::string stream = folder.path("out" + rate + ".ts");
        const std::string other = folder.path("out" + rate + ".klv");
        const ToolResult played =
            runTool(playArguments(cues, rate, {"-o", stream, "--service-name", "Eins", "--language", "fra"}));
        ASSERT_EQ(played.exitCode, 0) << played.err;
        EXPECT_EQ(played.err, "");
        ASSERT_EQ(runTool(playArguments(cues, rate, {"-o", other})).exitCode, 0);
        const ToolResult shown = runTool({"show", stream, "--all", "--page", "888"});
        const ToolResult expected = runTool({"show", other, "--all", "--page", "888", "--rate", rate});
        ASSERT_EQ(shown.exitCode, 0) << shown.err;
        EXPECT_EQ(shown.err, "");
        EXPECT_NE(expected.out.find("Bonjour"), std::string::npos);
        EXPECT_EQ(shown.out, expected.out);
        const ToolResult scanned = runTool({"scan", stream});
        ASSERT_EQ(scanned.exitCode, 0) << scanned.err;
        EXPECT_NE(scanned.out.find("page 888, erased, subtitle\n"), std::string::npos) << scanned.out;
        EXPECT_NE(scanned.out.find(": Bonjour\n"), std::string::npos);
        EXPECT_NE(scanned.out.find("frames with teletext in a transport stream\n"), std::string::npos);
        const ToolResult json = runTool({"scan", stream, "--json"});
        EXPECT_EQ(json.exitCode, 0);
        EXPECT_EQ(json.err, "");
        EXPECT_NE(json.out.find("\"type\":\"OP-47\""), std::string::npos) << json.out;
    }
}

TEST(TransportPlay, BecomesThePacketsThatOtherFilesHave) {
    const TemporaryFolder folder;
    const std::string cues = folder.write("in.srt", kTransportCues);
    const auto path = [&folder](const std::string& name) { return folder.path(name); };
    const auto convert = [&](const std::string& from, const std::string& to, std::vector<std::string> more = {}) {
        more.insert(more.begin(), {"convert", path(from), "-o", path(to)});
        const ToolResult result = runTool(more);
        EXPECT_EQ(result.exitCode, 0) << result.err;
        EXPECT_EQ(result.err, "") << from << " to " << to;
    };
    for (const std::string rate : {"25", "50"}) {
        ASSERT_EQ(runTool(playArguments(cues, rate, {"-o", path("a.ts"), "--language", "fra"})).exitCode, 0);
        ASSERT_EQ(runTool(playArguments(cues, rate, {"-o", path("a.klv"), "--language", "fra"})).exitCode, 0);
        // Packet by packet and frame by frame, up to the last frame with teletext.
        convert("a.ts", "b.klv");
        const std::string packets = folder.read("b.klv");
        EXPECT_GT(packets.size(), 2000U);
        EXPECT_TRUE(folder.read("a.klv").starts_with(packets)) << rate;
        // Half a frame late, with a second field of its own time, they are those of the same frames.
        convert("a.ts", "b2.klv", {"--offset", rate == "25" ? "0.02" : "0.01"});
        EXPECT_TRUE(folder.read("b2.klv") == packets) << rate;
        // And back: the pages of the descriptor are those that have text.
        convert("b.klv", "c.ts", {"--from-rate", rate});
        convert("c.ts", "c.klv");
        EXPECT_TRUE(folder.read("c.klv") == packets) << rate;
        const ToolResult list = runTool({"scan", path("c.ts"), "--list"});
        EXPECT_NE(list.out.find("teletext page 888   "), std::string::npos) << list.out;
        convert("a.ts", "c.jsonl");
        convert("c.jsonl", "d.ts", {"--from-rate", rate});
        convert("d.ts", "d.klv");
        EXPECT_TRUE(folder.read("d.klv") == packets) << rate;
        EXPECT_NE(runTool({"scan", path("c.jsonl")}).out.find(": Bonjour\n"), std::string::npos);
        // The language of a map is kept from stream to stream.
        convert("a.ts", "e.ts");
        EXPECT_NE(runTool({"scan", path("e.ts"), "--list"}).out.find("teletext page 888   fra "), std::string::npos);
        // Frames that are only written one after the other lose their times, which is said.
        const ToolResult scanned = runTool({"scan", path("a.ts"), "-o", path("f.klv")});
        EXPECT_EQ(scanned.exitCode, 0);
        EXPECT_NE(scanned.err.find(" follows the others without their times"), std::string::npos) << scanned.err;
        EXPECT_NE(runTool({"scan", path("f.klv")}).out.find(": Bonjour\n"), std::string::npos);
        EXPECT_EQ(runTool({"scan", path("a.ts"), "-o", path("f.jsonl")}).err, "");
    }
    // Subtitles too, as play sends them.
    convert("in.srt", "g.ts", {"--page", "888", "--to-rate", "25"});
    convert("g.ts", "g.klv");
    ASSERT_EQ(runTool(playArguments(cues, "25", {"-o", path("h.klv")})).exitCode, 0);
    EXPECT_TRUE(folder.read("h.klv").starts_with(folder.read("g.klv")));
    const ToolResult without = runTool({"convert", cues, "-o", path("x.ts"), "--to-rate", "25"});
    EXPECT_EQ(without.exitCode, 2);
    EXPECT_NE(without.err.find("--page is needed"), std::string::npos) << without.err;
    const ToolResult wrong = runTool({"convert", path("b.klv"), "-o", path("x.ts"), "--from-rate", "29.97"});
    EXPECT_EQ(wrong.exitCode, 2);
    EXPECT_NE(wrong.err.find("--to-format ts: 30 frames a second"), std::string::npos) << wrong.err;
    // A Scenarist file has no teletext, which is said.
    const ToolResult left = runTool({"convert", path("a.ts"), "-o", path("x.scc"), "--from-rate", "29.97"});
    EXPECT_NE(left.err.find("left out: teletext of "), std::string::npos) << left.err;
}

TEST(TransportPlay, IsListedWithTheTimesOfOtherFiles) {
    const TemporaryFolder folder;
    const std::string cues = folder.write("in.srt", kTransportCues);
    const std::string stream = folder.path("a.ts");
    const std::string other = folder.path("a.jsonl");
    ASSERT_EQ(runTool(playArguments(cues, "25", {"-o", stream, "--language", "fra"})).exitCode, 0);
    ASSERT_EQ(runTool(playArguments(cues, "25", {"-o", other, "--language", "fra"})).exitCode, 0);
    const auto page = [](const std::string& list) {
        const std::size_t line = list.find("teletext page 888   ");
        const std::size_t times = list.find("00:", line);
        return line == std::string::npos || times == std::string::npos
                   ? list
                   : list.substr(times, list.find('\n', line) - times);
    };
    const std::string listed = page(runTool({"scan", stream, "--list"}).out);
    // The second text is there up to the frame in front of the one that takes it away.
    EXPECT_EQ(listed, "00:00:01,000    00:00:04,480           2");
    EXPECT_EQ(listed, page(runTool({"scan", other, "--list"}).out));
    // What is wrong with a table is said once.
    std::string damaged = folder.read("a.ts");
    const std::size_t table = damaged.find("\x47\x40" + std::string(1, '\0'));
    ASSERT_NE(table, std::string::npos);
    ASSERT_EQ(table % 188, 0U);
    damaged[table + 9] = static_cast<char>(damaged[table + 9] ^ 1);
    const std::string errors = runTool({"scan", folder.write("b.ts", damaged)}).err;
    const std::size_t first = errors.find("PID 0x0000: wrong CRC");
    ASSERT_NE(first, std::string::npos) << errors;
    EXPECT_EQ(errors.find("wrong CRC", first + 15), std::string::npos) << errors;
}

TEST(TransportPlay, NamesTheLanguageOfTheMapAndReadsAnotherPid) {
    const TemporaryFolder folder;
    const std::string cues = folder.write("in.srt", kTransportCues);
    const std::string stream = folder.path("out.ts");
    // The set of Danish is that of other languages too: the map says which.
    ASSERT_EQ(runTool(playArguments(cues, "25", {"-o", stream, "--language", "da", "--pid", "300"})).exitCode, 0);
    const ToolResult list = runTool({"scan", stream, "--list"});
    ASSERT_EQ(list.exitCode, 0) << list.err;
    EXPECT_NE(list.out.find("teletext page 888   dan "), std::string::npos) << list.out;
    EXPECT_NE(runTool({"scan", stream, "--list", "--json"}).out.find("\"language\":\"dan\""), std::string::npos);
    // A teletext descriptor (EN 300 468, 6.2.43): type 2 or 5, magazine 8, page 88.
    EXPECT_NE(folder.read("out.ts").find("\x56\x05"
                                         "dan\x10\x88"),
              std::string::npos);
    const std::string hearing = folder.path("hearing.ts");
    ASSERT_EQ(runTool(playArguments(cues, "25", {"-o", hearing, "--language", "da", "--hearing-impaired"})).exitCode,
              0);
    EXPECT_NE(folder.read("hearing.ts")
                  .find("\x56\x05"
                        "dan\x28\x88"),
              std::string::npos);
    // A PID that is named is read, and another one has nothing.
    for (const std::string pid : {"300", "0x12c"}) {
        const ToolResult shown = runTool({"show", stream, "--all", "--page", "888", "--teletext-pid", pid});
        EXPECT_EQ(shown.exitCode, 0) << shown.err;
        EXPECT_NE(shown.out.find("Bonjour"), std::string::npos) << shown.out;
    }
    EXPECT_EQ(runTool({"scan", stream, "--teletext-pid", "301"}).out.find("Bonjour"), std::string::npos);
    for (const std::string pid : {"8191", "0x", "x"}) {
        const ToolResult refused = runTool({"scan", stream, "--teletext-pid", pid});
        EXPECT_EQ(refused.exitCode, 2);
        EXPECT_NE(refused.err.find("--teletext-pid: \"" + pid + "\" is not a number from 0 to 8190"),
                  std::string::npos);
    }
    EXPECT_NE(runTool({"scan", cues, "--format", "jsonl", "--teletext-pid", "300"})
                  .err.find("--teletext-pid is for the format ts"),
              std::string::npos);
}

TEST(TransportPlay, IsListedOnTheLinesOfItsFrames) {
    const TemporaryFolder folder;
    const std::string cues = folder.write("in.srt", kTransportCues);
    const auto linesIn = [](const std::string& json) {
        constexpr std::string_view kKey = "\"line\":";
        std::set<int> lines;
        for (std::size_t place = json.find(kKey); place != std::string::npos; place = json.find(kKey, place + 1)) {
            lines.insert(std::stoi(json.substr(place + kKey.size(), 5)));
        }
        return lines;
    };
    for (const auto& [rate, expected] : {std::pair{"25", std::set<int>{12, 575}}, std::pair{"50", std::set<int>{12}}}) {
        const std::string stream = folder.path(std::string(rate) + ".ts");
        ASSERT_EQ(runTool(playArguments(cues, rate, {"-o", stream})).exitCode, 0);
        EXPECT_EQ(linesIn(runTool({"scan", stream, "--json"}).out), expected) << rate;
        ASSERT_EQ(runTool({"scan", stream, "-o", folder.path("out.klv")}).exitCode, 0);
        EXPECT_EQ(linesIn(runTool({"scan", folder.path("out.klv"), "--json"}).out), expected) << rate;
        // What is broken at its end is listed up to there.
        std::string cut = folder.read(std::string(rate) + ".ts");
        cut.resize(cut.size() - 100);
        EXPECT_EQ(linesIn(runTool({"scan", folder.write("cut.ts", cut), "--json"}).out), expected) << rate;
    }
}

/// Where packets of teletext begin in a stream.
std::vector<std::size_t> teletextPackets(const std::string& stream) {
    constexpr unsigned kPid = 257;
    std::vector<std::size_t> places;
    for (std::size_t place = 0; place + 188 <= stream.size(); place += 188) {
        const auto byte = [&](std::size_t index) {
            return static_cast<unsigned>(static_cast<unsigned char>(stream[place + index]));
        };
        if ((byte(1) & 0x40U) != 0 && ((byte(1) & 0x1FU) << 8U | byte(2)) == kPid) {
            places.push_back(place);
        }
    }
    return places;
}

/// Puts a time into a PES packet (ISO/IEC 13818-1, 2.4.3.7).
void addToTime(std::string& stream, std::size_t pes, int ticks) {
    const auto byte = [&](std::size_t index) {
        return static_cast<std::uint64_t>(static_cast<unsigned char>(stream[pes + index]));
    };
    const std::uint64_t pts =
        ((byte(9) >> 1U & 7U) << 30U | byte(10) << 22U | byte(11) >> 1U << 15U | byte(12) << 7U | byte(13) >> 1U) +
        static_cast<std::uint64_t>(static_cast<std::int64_t>(ticks));
    const std::uint64_t bytes[] = {0x21U | (pts >> 30U & 7U) << 1U, pts >> 22U & 0xFFU, (pts >> 14U & 0xFEU) | 1U,
                                   pts >> 7U & 0xFFU, (pts << 1U & 0xFEU) | 1U};
    for (std::size_t index = 0; index < 5; ++index) {
        stream[pes + 9 + index] = static_cast<char>(bytes[index]);
    }
}

TEST(TransportPlay, IsReadWithTimesBesideThoseOfFrames) {
    const TemporaryFolder folder;
    const std::string cues = folder.write("in.srt", kTransportCues);
    for (const std::string rate : {"25", "50"}) {
        ASSERT_EQ(runTool(playArguments(cues, rate, {"-o", folder.path("a.ts"), "--repeat", "1"})).exitCode, 0);
        ASSERT_EQ(runTool({"convert", folder.path("a.ts"), "-o", folder.path("a.klv")}).exitCode, 0);
        std::string stream = folder.read("a.ts");
        // Up to 4 ms, of frames of 20 and 40 ms.
        const int away[] = {360, -360, 1, -200, 0, 333, -1, 300};
        const std::vector<std::size_t> places = teletextPackets(stream);
        ASSERT_GT(places.size(), 6U);
        for (std::size_t index = 0; index < places.size(); ++index) {
            addToTime(stream, places[index] + 4, away[index % 8]);
        }
        const ToolResult result = runTool({"convert", folder.write("b.ts", stream), "-o", folder.path("b.klv")});
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_EQ(result.err, "");
        EXPECT_TRUE(folder.read("b.klv") == folder.read("a.klv")) << rate;
    }
}

TEST(TransportPlay, HasCaptionsOfLine21InDataUnits) {
    const TemporaryFolder folder;
    const std::string cues = folder.write("in.srt", kTransportCues);
    ASSERT_EQ(runTool(playArguments(cues, "25", {"-o", folder.path("a.ts"), "--repeat", "1"})).exitCode, 0);
    std::string stream = folder.read("a.ts");
    const std::vector<std::size_t> places = teletextPackets(stream);
    // Pop-on: RCL, row 15, text, EOC, with odd parity (CTA-608), one pair in a packet.
    const unsigned pairs[][2] = {{0x94, 0x20}, {0x94, 0x70}, {0xC8, 0xE9}, {0x94, 0x2F}};
    ASSERT_GE(places.size(), std::size(pairs));
    const auto reversed = [](unsigned byte) {
        unsigned result = 0;
        for (unsigned bit = 0; bit < 8; ++bit) {
            result |= (byte >> bit & 1U) << (7 - bit);
        }
        return static_cast<char>(result);
    };
    for (std::size_t index = 0; index < places.size(); ++index) {
        // Behind the packet's header and that of the PES packet: data_identifier, and the first unit (EN 301 775, 4.8):
        // first field, line 21.
        const std::size_t place = places[index] + 4 + 45;
        stream[place] = static_cast<char>(0x99);
        const unsigned none[] = {0x80, 0x80};
        const unsigned* const pair = index < std::size(pairs) ? pairs[index] : none;
        stream[place + 1] = static_cast<char>(0xC5);
        stream[place + 3] = static_cast<char>(0xF5);
        stream[place + 4] = reversed(pair[0]);
        stream[place + 5] = reversed(pair[1]);
    }
    const std::string captions = folder.write("b.ts", stream);
    const ToolResult shown = runTool({"show", captions, "--all", "--channel", "CC1"});
    EXPECT_EQ(shown.exitCode, 0) << shown.err;
    EXPECT_NE(shown.out.find("Hi"), std::string::npos) << shown.out;
    const ToolResult converted = runTool({"convert", captions, "-o", "-", "--to-format", "srt", "--channel", "CC1"});
    EXPECT_EQ(converted.exitCode, 0) << converted.err;
    EXPECT_NE(converted.out.find("Hi\n"), std::string::npos) << converted.out;
    EXPECT_EQ(runTool({"convert", captions, "-o", "-", "--to-format", "srt", "--channel", "CC3"}).out.find("Hi"),
              std::string::npos);
}
#endif

TEST(TransportPlay, RefusesWhatDoesNotGoTogether) {
    const TemporaryFolder folder;
    const std::string cues = folder.write("in.srt", kTransportCues);
    const std::string stream = folder.path("out.ts");
    struct Refusal {
        std::vector<std::string> arguments;
        std::string words;
    };
    const std::vector<Refusal> refusals{
        {{"play", cues, "--mode", "teletext", "--rate", "29.97", "-o", stream},
         "--to-format ts: 30 frames a second: teletext in a transport stream has 25 or 50"},
        {{"play", cues, "--mode", "cea608", "--rate", "25", "-o", stream},
         "--to-format ts is for --mode teletext only"},
        {{"play", cues, "--mode", "teletext", "--rate", "25", "-o", stream, "--pid", "256"},
         "--to-format ts: PID 0x0100 is reserved, or is there twice"},
        {{"play", cues, "--mode", "teletext", "--rate", "25", "-o", folder.path("a.klv"), "--bitrate", "200000"},
         "--bitrate is for the format ts only"},
        {{"play", cues, "--mode", "teletext", "--rate", "25", "-o", stream, "--service-name", std::string(125, 'a')},
         "--service-name: the table has room for 124 bytes, not for 125"},
        {{"play", cues, "--mode", "teletext", "--rate", "25", "-o", stream, "--as-deployed"},
         "--as-deployed is for the formats v210 and klv only"}};
    for (const Refusal& refusal : refusals) {
        const ToolResult result = runTool(refusal.arguments);
        EXPECT_EQ(result.exitCode, 2) << refusal.words;
        EXPECT_NE(result.err.find(refusal.words), std::string::npos) << result.err;
    }
}

}  // namespace

// qlxcc play: teletext pages by the core, of one file and of several.
#include "SubtitleFiles.h"
#include "TeletextBytes.h"
#include "ToolRunner.h"

#include <gtest/gtest.h>

#include <qlx/teletext/page.h>
#include <qlx/teletext/sdp.h>

#include <cstdio>

namespace teletext_play_test {

using namespace qlx::teletext;
using qlxtest::deployedTeletextArguments;
using qlxtest::linesOf;
using qlxtest::playArguments;
using qlxtest::runTool;
using qlxtest::srt;
using qlxtest::TemporaryFolder;
using qlxtest::ToolResult;

using Arguments = std::vector<std::string>;

/// An OP-47 packet of a frame.
struct Sent {
    int frame = 0;
    int line = 0;
    std::uint16_t counter = 0;
    std::vector<Packet> packets;
};

std::vector<std::uint8_t> bytesOf(const std::string& hex) {
    std::vector<std::uint8_t> bytes;
    for (std::size_t place = 0; place + 1 < hex.size(); place += 2) {
        bytes.push_back(static_cast<std::uint8_t>(std::stoul(hex.substr(place, 2), nullptr, 16)));
    }
    return bytes;
}

/// What jsonl lines have; it fails where a packet is none.
std::vector<Sent> sentIn(const std::string& jsonl) {
    std::vector<Sent> all;
    for (const std::string& line : linesOf(jsonl)) {
        int frame = -1;
        EXPECT_EQ(std::sscanf(line.c_str(), "{\"frame\":%d,", &frame), 1) << line;
        const std::string kPacket = "{\"line\":";
        for (std::size_t at = line.find(kPacket); at != std::string::npos; at = line.find(kPacket, at + 1)) {
            Sent sent{frame, std::stoi(line.substr(at + kPacket.size())), 0, {}};
            const std::size_t data = line.find("\"data\":\"", at) + 8;
            const auto sdp = parseSdp(bytesOf(line.substr(data, line.find('"', data) - data)));
            EXPECT_TRUE(sdp) << line;
            sent.counter = sdp ? sdp->counter : std::uint16_t{0};
            for (std::size_t index = 0; sdp && index < sdp->lines.size(); ++index) {
                const auto packet = parsePacket(sdp->lines[index].bytes);
                EXPECT_TRUE(packet) << line;
                sent.packets.push_back(packet ? *packet : Packet{});
            }
            all.push_back(std::move(sent));
        }
    }
    return all;
}

/// `frame/line: what`, one an OP-47 packet: pages of headers with `!` where they erase, and the numbers of the others.
std::vector<std::string> wordsOf(const std::vector<Sent>& all) {
    std::vector<std::string> words;
    for (const Sent& sent : all) {
        std::string text = std::to_string(sent.frame) + "/" + std::to_string(sent.line) + ":";
        for (const Packet& packet : sent.packets) {
            if (packet.isHeader()) {
                const auto header = parseHeader(packet);
                text += " " + (header ? pageName(header->page) + (header->erasesPage ? "!" : "") : "damaged");
            } else {
                text += " " + std::to_string(packet.number);
            }
        }
        words.push_back(std::move(text));
    }
    return words;
}

std::vector<Sent> playedSent(const std::string& srtText, const std::string& rate, Arguments more = {}) {
    const TemporaryFolder folder;
    more.insert(more.end(), {"--to-format", "jsonl", "-q"});
    const ToolResult result = runTool(playArguments(folder.write("in.srt", srtText), rate, more));
    EXPECT_EQ(result.exitCode, 0) << result.err;
    return sentIn(result.out);
}

PageHeader headerOf(const std::vector<Sent>& all) {
    for (const Sent& sent : all) {
        for (const Packet& packet : sent.packets) {
            if (packet.isHeader()) {
                return *parseHeader(packet);
            }
        }
    }
    return {};
}

const std::string kOneCue = srt({{"00:00:01,000", "00:00:02,000", "Bonjour"}});

TEST(TeletextPlay, SendsAPageWhenItIsDue) {
    // The header goes in the field before the start's first one, the row from there on, and a header that erases the page
    // in the first field of the end; closing headers stand behind.
    const auto all = playedSent(kOneCue, "25");
    EXPECT_EQ(wordsOf(all), (std::vector<std::string>{"24/575: 888!", "25/12: 22 8FF", "50/12: 888! 8FF"}));
    const PageHeader header = headerOf(all);
    EXPECT_TRUE(header.isSubtitle && header.suppressesHeader && header.isUpdate && !header.isSerial &&
                !header.isNewsflash && !header.inhibitsDisplay);
    EXPECT_EQ(header.subcode, 0);
    for (std::size_t index = 0; index < all.size(); ++index) {
        EXPECT_EQ(all[index].counter, index);
    }
}

TEST(TeletextPlay, FollowsItsOptions) {
    EXPECT_EQ(wordsOf(playedSent(kOneCue, "25", {"--sd", "--page", "150"})),
              (std::vector<std::string>{"24/334: 150!", "25/21: 22 1FF", "50/21: 150! 1FF"}));
    EXPECT_EQ(wordsOf(playedSent(kOneCue, "50", {"--line", "14"})),
              (std::vector<std::string>{"49/14: 888!", "50/14: 22 8FF", "100/14: 888! 8FF"}));
    EXPECT_TRUE(headerOf(playedSent(kOneCue, "25", {"--serial"})).isSerial);
    EXPECT_EQ(headerOf(playedSent(kOneCue, "25")).nationalOption, 0);
    EXPECT_EQ(headerOf(playedSent(kOneCue, "25", {"--language", "fr"})).nationalOption, 4);
    // Of Polish letters the Western sets have none: X/28 says which set it is, unless receivers have it.
    EXPECT_EQ(wordsOf(playedSent(kOneCue, "25", {"--language", "pl", "--duration", "1.1"})),
              (std::vector<std::string>{"24/575: 888! 28", "25/12: 22 8FF"}));
    EXPECT_EQ(wordsOf(playedSent(kOneCue, "25", {"--language", "pl", "--region", "1", "--duration", "1.1"})),
              (std::vector<std::string>{"24/575: 888!", "25/12: 22 8FF"}));
    // So in each transmission of the page; and what comes over a letter is behind the header too.
    const std::string longCue = srt({{"00:00:01,000", "00:00:05,000", "Bonjour"}});
    EXPECT_EQ(wordsOf(playedSent(longCue, "25", {"--language", "pl", "--repeat", "2", "--duration", "3.4"})),
              (std::vector<std::string>{"24/575: 888! 28", "25/12: 22 8FF", "74/575: 888 28 22 8FF"}));
    EXPECT_EQ(wordsOf(playedSent(srt({{"00:00:01,000", "00:00:02,000", "\u010Capek"}}), "25",
                                 {"--language", "de", "--duration", "1.1"})),
              (std::vector<std::string>{"24/575: 888! 26", "25/12: 22 8FF"}));
    // Packets 31 of magazine 8 fill.
    const auto filled = wordsOf(playedSent(kOneCue, "25", {"--fill", "--duration", "1.08"}));
    ASSERT_EQ(filled.size(), 54U);
    EXPECT_EQ(filled[0], "0/12: 31 31 31");
    EXPECT_EQ(filled[49], "24/575: 888!");
    EXPECT_EQ(filled[51], "25/575: 31 31 31");
    // Six rows, the header and its X/26 are more than five packets.
    const std::string tall = srt({{"00:00:01,000", "00:00:02,000", "1\n2\n3\n4\n5\n6"}});
    EXPECT_EQ(wordsOf(playedSent(tall, "25", {"--duration", "1.2"})),
              (std::vector<std::string>{"24/575: 888!", "25/12: 12 14 16 18 20", "25/575: 22 8FF"}));
    EXPECT_EQ(wordsOf(playedSent(tall, "25", {"--duration", "1.2", "--sdps", "2"})),
              (std::vector<std::string>{"24/575: 888!", "25/12: 12 14 16 18 20", "25/12: 22 8FF"}));
}

TEST(TeletextPlay, IsReadWithTheSetsOfARegion) {
    const TemporaryFolder folder;
    const std::string file =
        folder.write("in.srt", srt({{"00:00:01,000", "00:00:02,000", "Za\u017C\u00F3\u0142\u0107"}}));
    const std::string klv = folder.path("a.klv");
    ASSERT_EQ(runTool(playArguments(file, "25", {"-o", klv, "--language", "pl", "--region", "1"})).exitCode, 0);
    const std::vector<Arguments> readers{
        {"show", klv, "--rate", "25", "--at", "1.5"},
        {"scan", klv},
        {"convert", klv, "--from-rate", "25", "--page", "888", "--to-format", "srt", "-o", "-"}};
    for (const Arguments& reader : readers) {
        Arguments ofRegion = reader;
        ofRegion.insert(ofRegion.end(), {"--region", "1"});
        EXPECT_NE(runTool(ofRegion).out.find("Za\u017C\u00F3\u0142\u0107"), std::string::npos) << reader[0];
        EXPECT_EQ(runTool(reader).out.find("Za\u017C\u00F3\u0142\u0107"), std::string::npos) << reader[0];
    }
}

TEST(TeletextPlay, RepeatsAPageAwayFromCuesThatAreDue) {
    const std::string text = srt({{"00:00:01,000", "00:00:12,000", "One"}, {"00:00:03,200", "00:00:05,000", "Two"}});
    const auto all = playedSent(text, "25", {"--repeat", "2"});
    const auto words = wordsOf(all);
    std::vector<int> due;
    std::vector<int> again;
    for (const Sent& sent : all) {
        for (const Packet& packet : sent.packets) {
            const auto header = packet.isHeader() ? parseHeader(packet) : qlx::Result<PageHeader>(PageHeader{});
            if (packet.isHeader() && header->page == 0x888) {
                (header->isUpdate ? due : again).push_back(sent.frame);
                EXPECT_TRUE(header->isUpdate || !header->erasesPage);
            }
        }
    }
    EXPECT_EQ(due, (std::vector<int>{24, 79, 124, 300}));
    // 2 s behind the first one (frame 74) is too near to the second cue, 2 s behind that one (129) to its end.
    EXPECT_EQ(again, (std::vector<int>{174, 224, 274})) << testing::PrintToString(words);
}

TEST(TeletextPlay, PlaysEveryOverlap) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.srt", srt({{"00:00:01,000", "00:00:04,000", "Outer"},
                                                         {"00:00:02,000", "00:00:03,000", "Inner A"},
                                                         {"00:00:02,500", "00:00:03,500", "Inner B"}}));
    const std::string klv = folder.path("a.klv");
    const ToolResult result = runTool(playArguments(file, "25", {"-o", klv}));
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(linesOf(result.err).size(), 2U) << result.err;  // both are moved up
    // A header that erases is in the field in front of the rows: the page is blank for it.
    const std::string shown = runTool({"show", klv, "--rate", "25", "--all"}).out;
    std::string plain;
    for (const std::string& line : linesOf(shown)) {
        const std::size_t text = line.find_first_not_of(' ', 4);
        plain += line.starts_with("  ") ? line.substr(2, 2) + " " + line.substr(text) + "\n" : line + "\n";
    }
    EXPECT_EQ(plain, "00:00:01,000 - 00:00:02,000  teletext page 888\n22 Outer\n\n"
                     "00:00:02,000 - 00:00:02,520  teletext page 888\n20 Inner A\n22 Outer\n\n"
                     "00:00:02,520 - 00:00:02,960  teletext page 888\n18 Inner B\n20 Inner A\n22 Outer\n\n"
                     "00:00:03,000 - 00:00:03,480  teletext page 888\n18 Inner B\n22 Outer\n\n"
                     "00:00:03,520 - 00:00:04,000  teletext page 888\n22 Outer\n");
}

TEST(TeletextPlay, PlaysSeveralPages) {
    const TemporaryFolder folder;
    const std::string german = folder.write("de.srt", srt({{"00:00:01,000", "00:00:02,000", "Grüße"}}));
    const std::string english = folder.write("en.srt", srt({{"00:00:01,000", "00:00:02,000", "Greetings"}}));
    const std::string russian = folder.write("ru.srt", srt({{"00:00:01,500", "00:00:02,000", "Привет"}}));
    const Arguments files{"play", "--page",     "801", german,  "--page", "888",      english,  "--page",
                          "150",  "--language", "ru",  russian, "--mode", "teletext", "--rate", "25"};
    Arguments toJson = files;
    toJson.insert(toJson.end(), {"--to-format", "jsonl"});
    const ToolResult result = runTool(toJson);
    EXPECT_EQ(result.err, "");
    // Those of magazine 8 stand one behind the other, each from header to closing header.
    EXPECT_EQ(wordsOf(sentIn(result.out)),
              (std::vector<std::string>{"24/575: 801!", "25/12: 22 8FF 888!", "25/575: 22 8FF", "37/575: 150! 28",
                                        "38/12: 22 1FF", "50/12: 150! 801! 8FF 888! 1FF", "50/575: 8FF"}));
    Arguments toKlv = files;
    toKlv.insert(toKlv.end(), {"-o", folder.path("a.klv"), "-q"});
    ASSERT_EQ(runTool(toKlv).exitCode, 0);
    for (const auto& [page, text] :
         {std::pair("801", "Grüße"), std::pair("888", "Greetings"), std::pair("150", "Привет")}) {
        const std::string shown = runTool({"show", folder.path("a.klv"), "--rate", "25", "--all", "--page", page}).out;
        EXPECT_NE(shown.find(text), std::string::npos) << shown;
    }
    // The set of German is made for no other language, that of Russian and Bulgarian for both.
    const std::vector<std::string> list = linesOf(runTool({"scan", folder.path("a.klv"), "--list"}).out);
    ASSERT_EQ(list.size(), 5U);
    EXPECT_EQ(list[1], "teletext page 150   -         frame 38        frame 49               1");
    EXPECT_EQ(list[2], "teletext page 801   ger       frame 25        frame 49               1");
    EXPECT_EQ(list[3], "teletext page 888   eng       frame 25        frame 49               1");
    const ToolResult schedule = runTool(files);
    EXPECT_EQ(schedule.out, german + ", " + english + ", " + russian +
                                ": 3 cues as OP-47 teletext on pages 801, 888, 150, 25 frames/s\n\n"
                                "   cue  sent from     due           on air           frame  late  subtitle\n"
                                "     1  00:00:00,960  00:00:01,000  00:00:01,000        25     0  801: Grüße\n"
                                "     1  00:00:01,000  00:00:01,000  00:00:01,000        25     0  888: Greetings\n"
                                "     1  00:00:01,480  00:00:01,520  00:00:01,520        38     0  150: Привет\n");
}

TEST(TeletextPlay, GivesBackTextsFromTheRightToTheLeft) {
    const TemporaryFolder folder;
    for (const std::string text : {"שלום (12:30) עולם", "صباح الخير، يا أصدقاء"}) {
        const std::string file = folder.write("in.srt", srt({{"00:00:01,000", "00:00:02,000", text}}));
        ASSERT_EQ(runTool(playArguments(file, "25", {"-o", folder.path("a.klv")})).err, "");
        const Arguments convert{"convert", folder.path("a.klv"), "-o", folder.path("b.srt"), "--page",
                                "888",     "--from-rate",        "25"};
        ASSERT_EQ(runTool(convert).exitCode, 0);
        EXPECT_NE(folder.read("b.srt").find(text + "\n"), std::string::npos) << folder.read("b.srt");
        const Arguments show{"show", folder.path("a.klv"), "--rate", "25", "--at", "1.5", "--page", "888"};
        EXPECT_NE(runTool(show).out.find("  " + text + "\n"), std::string::npos) << runTool(show).out;
        Arguments asJson = show;
        asJson.emplace_back("--json");
        EXPECT_NE(runTool(asJson).out.find("\"" + text + "\""), std::string::npos) << runTool(asJson).out;
    }
}

TEST(TeletextPlay, RefusesPagesThatMakeNoSense) {
    for (const Arguments& files : {
             Arguments{"--page", "801", "a.srt", "--page", "801", "b.srt"},
             Arguments{"a.srt", "--page", "801", "b.srt"},
             Arguments{"--page", "801", "a.srt", "b.srt"},
             Arguments{"--page", "801", "--page", "802", "a.srt"},
             Arguments{"--page", "801", "a.srt", "--page", "802", "b.srt", "--page", "803"},
             Arguments{"--page", "801", "-", "--page", "802", "-"},
             Arguments{"--language", "de", "--language", "fr", "a.srt"},
             Arguments{"--page", "099", "a.srt"},
             Arguments{"--page", "900", "a.srt"},
             Arguments{"--page", "8F8", "a.srt"},
             Arguments{"--page", "1000", "a.srt"},
             Arguments{"--page", "80", "a.srt"},
             Arguments{"--page", "", "a.srt"},
             Arguments{"--language", "tlh", "a.srt"},
             Arguments{"--region", "5", "a.srt"},
             Arguments{"--region", "11", "a.srt"},
             Arguments{"--line", "9", "a.srt", "--to-format", "jsonl"},
             Arguments{"--page", "801", "a.srt", "--as-deployed"},
             Arguments{"--serial", "a.srt", "--as-deployed"},
             Arguments{"a.srt", "b.srt", "--as-deployed"},
         }) {
        Arguments arguments{"play", "--mode", "teletext", "--rate", "25"};
        arguments.insert(arguments.end(), files.begin(), files.end());
        const ToolResult result = runTool(arguments);
        EXPECT_EQ(result.exitCode, 2) << testing::PrintToString(files) << result.err;
        EXPECT_TRUE(qlxtest::isOneMessage(result.err)) << result.err;
    }
}

TEST(TeletextPlay, GivesTheBytesOfTheFixedOperationsInEveryForm) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.srt", kOneCue);
    EXPECT_NE(runTool(deployedTeletextArguments(file, "25")).out.find("F1 line 12        F2 line 575"),
              std::string::npos);
    for (const std::string name : {"a.jsonl", "a.klv", "a.v210"}) {
        ASSERT_EQ(runTool(deployedTeletextArguments(file, "25", {"-o", folder.path(name)})).exitCode, 0);
        Arguments scan{"scan", folder.path(name), "--json"};
        if (name == "a.v210") {
            scan.insert(scan.end(), {"--lines", "12,575"});
        }
        const std::string found = runTool(scan).out;
        EXPECT_NE(found.find(qlxtest::bonjourRowHex()), std::string::npos) << name;
        EXPECT_EQ(linesOf(found).size(), 75U) << name;
    }
}

}  // namespace teletext_play_test

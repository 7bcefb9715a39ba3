// Packets anywhere on a row: luma, chroma, the multiplex of standard definition; what is wrong with them, and what only
// needs a look.
#include "AncBytes.h"
#include "ToolRunner.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <utility>

namespace {

using qlxtest::ancSamples;
using qlxtest::blankSamples;
using qlxtest::fromHex;
using qlxtest::place;
using qlxtest::runTool;
using qlxtest::TemporaryFolder;
using qlxtest::ToolResult;
using qlxtest::v210Bytes;
using qlxtest::yuv8Bytes;

using Samples = std::vector<std::uint16_t>;
using Bytes = std::vector<std::uint8_t>;

const std::string kTitles = "   frame   line  DID/SDID  name               bytes  data\n";
const std::string kIndent(17, ' ');
constexpr std::size_t kWide = 768;  ///< Pixels: too many for standard definition, and no padding.
constexpr std::size_t kNarrow = 48;

/// An AFD packet of these user data words, and its place: a word of luma or chroma.
Samples afd(const Bytes& data = {0xAA, 0xBB, 0xCC}) {
    return ancSamples(0x41, 0x05, data);
}

Samples rowWith(std::size_t pixels, const std::function<void(Samples&)>& change) {
    Samples samples = blankSamples(pixels);
    change(samples);
    return samples;
}

void putLuma(Samples& samples, std::size_t word, const Samples& packet) {
    place(samples, word * 2 + 1, 2, packet);
}

void putChroma(Samples& samples, std::size_t word, const Samples& packet) {
    place(samples, word * 2, 2, packet);
}

std::string note(const std::string& file, const std::string& text) {
    return "qlxcc: warning: " + file + ": frame 0, line 9, byte " + text + "\n";
}

ToolResult scanned(const std::string& file, std::size_t width, const std::vector<std::string>& more = {}) {
    std::vector<std::string> arguments{"scan", file, "--lines", "9", "--width", std::to_string(width)};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return runTool(arguments);
}

TEST(WholeRows, GivePacketsBehindTheStartAndInChroma) {
    const TemporaryFolder folder;
    const Samples row = rowWith(kWide, [](Samples& samples) {
        putLuma(samples, 12, afd());
        putLuma(samples, 22, afd({1}));  // right behind: 12 and ten words
        putChroma(samples, 0, afd({2}));
        putChroma(samples, 100, afd({3}));
    });
    const std::string file = folder.write("a.v210", v210Bytes(row));
    const ToolResult result = scanned(file, kWide);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, kTitles + "       0      9  41/05     AFD/Bar Data           1  02\n" + kIndent + "chroma\n" +
                              "       0      9  41/05     AFD/Bar Data           3  aabbcc\n" + kIndent +
                              "luma, word 12\n" + "       0      9  41/05     AFD/Bar Data           1  01\n" +
                              "       0      9  41/05     AFD/Bar Data           1  03\n" + kIndent +
                              "chroma, word 100\n4 packets in 1 frame\n");
    // Luma word 12 is sample 25, in 32-bit word 8; chroma word 100 sample 200, in word 66.
    EXPECT_EQ(result.err, note(file, "32 of the row: packet at sample 12, 0 would be right") +
                              note(file, "264 of the row: packet at sample 100, 8 would be right"));
    const ToolResult nearStart = scanned(file, kWide, {"--near-start"});
    EXPECT_EQ(nearStart.exitCode, 0);
    EXPECT_EQ(nearStart.out + nearStart.err, "0 packets in 1 frame\n");
}

TEST(WholeRows, AreJsonThatIsReadAgain) {
    const TemporaryFolder folder;
    const Samples row = rowWith(kWide, [](Samples& samples) {
        putLuma(samples, 0, afd());
        putChroma(samples, 100, afd({3}));
    });
    const std::string file = folder.write("a.v210", v210Bytes(row));
    const std::string json = scanned(file, kWide, {"--json", "--quiet"}).out;
    EXPECT_EQ(qlxtest::withoutSchema(json), R"({"frame":0,"packets":[)"
                                            R"({"line":9,"did":65,"sdid":5,"type":"AFD/Bar Data","data":"aabbcc"},)"
                                            R"({"line":9,"did":65,"sdid":5,"channel":"chroma","horizontalOffset":100,)"
                                            R"("type":"AFD/Bar Data","data":"03"}]})"
                                            "\n");
    EXPECT_EQ(runTool({"scan", folder.write("a.jsonl", json), "--json"}).out, json);
    const auto refused = [&](const std::string& place) {
        return runTool({"scan", folder.write("b.jsonl", R"({"frame":0,"packets":[{"line":9,"did":65,"sdid":5,)" +
                                                            place + R"(,"data":""}]})")})
            .err;
    };
    const std::string start = "qlxcc: " + folder.path("b.jsonl") + ": line 1: ";
    for (const char* const channel : {"1", "\"Chroma\"", "null"}) {
        EXPECT_EQ(refused("\"channel\":" + std::string(channel)),
                  start + "\"channel\" must be \"luma\", \"chroma\" or \"multiplex\"\n");
    }
    EXPECT_EQ(refused("\"horizontalOffset\":-1"),
              start + "\"horizontalOffset\" must be a whole number, at most 65535\n");
}

TEST(WholeRows, SayWhatIsWrongWithAPacketAndGiveIt) {
    const TemporaryFolder folder;
    Samples wrongSum = afd();
    wrongSum.back() = static_cast<std::uint16_t>(wrongSum.back() ^ 0x001U);
    Samples wrongParity = afd({1});
    wrongParity[3] = static_cast<std::uint16_t>(wrongParity[3] ^ 0x300U);  // its sum has nine bits
    wrongParity.back() = static_cast<std::uint16_t>((wrongParity.back() ^ 0x100U) & 0x1FFU);
    wrongParity.back() |= static_cast<std::uint16_t>((wrongParity.back() & 0x100U) != 0 ? 0U : 0x200U);
    const std::string list = "       0      9  41/05     AFD/Bar Data           ";
    const std::string sumFile =
        folder.write("sum.v210", v210Bytes(rowWith(kWide, [&](Samples& samples) { putLuma(samples, 0, wrongSum); })));
    const ToolResult sum = scanned(sumFile, kWide);
    EXPECT_EQ(sum.exitCode, 1);
    EXPECT_EQ(sum.out, kTitles + list + "3  aabbcc\n1 packet in 1 frame\n");
    // DID 241, SDID 205, DC 203, AA 2AA, BB 2BB, CC 2CC: 47A of nine bits is 07A, so that bit 9 is set. The last
    // of ten words is luma sample 9, in 32-bit word 6.
    EXPECT_EQ(sum.err, "qlxcc: " + sumFile + ": frame 0, line 9, byte 24 of the row: checksum 27b, but 27a is right\n");
    // A list in a file has it as well.
    const ToolResult output = scanned(sumFile, kWide, {"-o", folder.path("list")});
    EXPECT_EQ(output.exitCode, 1);
    EXPECT_EQ(output.err, sum.err);
    EXPECT_EQ(folder.read("list"), sum.out);
    const std::string parityFile = folder.write(
        "parity.v210", v210Bytes(rowWith(kWide, [&](Samples& samples) { putLuma(samples, 0, wrongParity); })));
    const ToolResult parity = scanned(parityFile, kWide);
    EXPECT_EQ(parity.exitCode, 1);
    EXPECT_EQ(parity.out, kTitles + list + "1  01\n1 packet in 1 frame\n");
    EXPECT_EQ(parity.err,
              "qlxcc: " + parityFile +
                  ": frame 0, line 9, byte 8 of the row: header word 141 with wrong parity, 241 is right\n");
    // What the old search gives of both: the packet, without a word.
    EXPECT_EQ(scanned(sumFile, kWide, {"--near-start"}).exitCode, 0);
    EXPECT_EQ(scanned(parityFile, kWide, {"--near-start"}).err, "");
}

TEST(WholeRows, HaveTenLinesForTheFindingsOfAKind) {
    const TemporaryFolder folder;
    Samples wrong = afd({1});
    wrong.back() = static_cast<std::uint16_t>(wrong.back() ^ 0x001U);
    const Bytes row = v210Bytes(rowWith(kNarrow, [&](Samples& samples) { place(samples, 0, 1, wrong); }));
    constexpr std::size_t kRows = 10'002;
    Bytes rows;
    rows.reserve(row.size() * kRows);
    for (std::size_t count = 0; count < kRows; ++count) {
        rows.insert(rows.end(), row.begin(), row.end());
    }
    const std::string file = folder.write("a.v210", rows);
    const ToolResult result =
        runTool({"scan", file, "--rows", std::to_string(kRows), "--width", std::to_string(kNarrow), "--json"});
    EXPECT_EQ(result.exitCode, 1);
    const auto lines = qlxtest::linesOf(result.err);
    // Ten of a kind, the number of those behind the first ten thousand, and that of those that are not said.
    ASSERT_EQ(lines.size(), 12U) << result.err;
    EXPECT_TRUE(lines[9].starts_with("qlxcc: " + file + ": frame 0, line 9, byte ")) << lines[9];
    EXPECT_EQ(lines[10], "qlxcc: " + file + ": 2 more findings in one place");
    EXPECT_EQ(lines[11], "qlxcc: 9990 more like \"" + lines[0].substr(std::string("qlxcc: ").size()) + "\"");
}

TEST(WholeRows, OfEightBitsAreSearchedInBothChannels) {
    const TemporaryFolder folder;
    const Samples row = rowWith(kWide, [](Samples& samples) {
        putLuma(samples, 0, afd());
        putChroma(samples, 0, afd({1}));
    });
    Bytes bytes = yuv8Bytes(row);
    const ToolResult whole = scanned(folder.write("a.2vuy", bytes), kWide);
    const std::string list = kTitles + "       0      9  41/05     AFD/Bar Data           1  01\n" + kIndent +
                             "chroma\n       0      9  41/05     AFD/Bar Data           3  aabbcc\n2 packets in 1 "
                             "frame\n";
    EXPECT_EQ(whole.exitCode, 0);
    EXPECT_EQ(whole.out, list);
    EXPECT_EQ(whole.err, "");
    // A writer of eight bits leaves the checksum's place blank: a remark. Chroma word 7 is byte 14, luma word 9 byte
    // 19.
    bytes[14] = 0x80;
    bytes[19] = 0x10;
    const std::string file = folder.write("a.2vuy", bytes);
    const ToolResult blank = scanned(file, kWide);
    EXPECT_EQ(blank.exitCode, 0);
    EXPECT_EQ(blank.out, list);
    EXPECT_EQ(blank.err, note(file, "14 of the row: no checksum: byte 80 in its place, 48 would be right") +
                             note(file, "19 of the row: no checksum: byte 10 in its place, 7a would be right"));
    // Any other byte is wrong.
    bytes[14] = 0x81;
    folder.write("a.2vuy", bytes);
    const ToolResult wrong = scanned(file, kWide, {"--quiet"});
    EXPECT_EQ(wrong.exitCode, 1);
    EXPECT_EQ(wrong.out, list);
    EXPECT_EQ(wrong.err, "qlxcc: " + file + ": frame 0, line 9, byte 14 of the row: checksum 81, but 48 is right\n");
}

TEST(WholeRows, OfStandardDefinitionAreSearchedAsOneStreamToo) {
    const TemporaryFolder folder;
    const Samples row = rowWith(kNarrow, [](Samples& samples) {
        place(samples, 0, 1, afd());
        putLuma(samples, 30, afd({1}));
    });
    const std::string list = kTitles + "       0      9  41/05     AFD/Bar Data           1  01\n" + kIndent +
                             "luma, word 30\n       0      9  41/05     AFD/Bar Data           3  aabbcc\n" + kIndent +
                             "multiplex\n2 packets in 1 frame\n";
    const std::string file = folder.write("a.v210", v210Bytes(row));
    const ToolResult result = scanned(file, kNarrow);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, list);
    EXPECT_EQ(result.err, note(file, "80 of the row: packet at sample 30, 0 would be right"));
    EXPECT_EQ(scanned(folder.write("a.2vuy", yuv8Bytes(row)), kNarrow).out, list);
    // Wider rows have no such stream.
    const std::string wide =
        folder.write("b.v210", v210Bytes(rowWith(kWide, [](Samples& samples) { place(samples, 0, 1, afd()); })));
    EXPECT_EQ(scanned(wide, kWide).out, "0 packets in 1 frame\n");
    EXPECT_EQ(scanned(wide, 720).exitCode, 1);  // no whole rows
}

TEST(WholeRows, TakeNoDataOfAnotherStreamForADamagedPacket) {
    // In eight bits the data of a multiplex packet can be a flag of luma or chroma.
    // Here of chroma, with 240 bytes of data (more than there is), and with one (and a checksum or none behind it).
    const TemporaryFolder folder;
    for (const auto& [count, behind] :
         {std::pair<std::uint8_t, std::uint8_t>{0xF0, 0x80}, {0x01, 0x80}, {0x01, 0x22}}) {
        Bytes data{0x00, 0x20, 0xFF, 0x20, 0xFF, 0x20, 0x41, 0x20, 0x05, 0x20, count, 0x20, 0x33, 0x20, behind, 0x20};
        Bytes bytes = yuv8Bytes(blankSamples(kNarrow));
        const Samples packet = afd(data);
        std::transform(packet.begin(), packet.end(), bytes.begin(),
                       [](std::uint16_t word) { return static_cast<std::uint8_t>(word); });
        const std::string file = folder.write("a.2vuy", bytes);
        const ToolResult result = scanned(file, kNarrow);
        EXPECT_EQ(result.exitCode, 0) << result.err;
        EXPECT_EQ(result.err, "");
        EXPECT_EQ(result.out, kTitles + "       0      9  41/05     AFD/Bar Data          16  " + qlxtest::toHex(data) +
                                  "\n" + kIndent + "multiplex\n1 packet in 1 frame\n");
    }
}

TEST(WholeRows, WithPacketsOfBothChannelsAtOnePlaceAreNoStream) {
    // The two flags taken as one stream are 000 000 3FF 3FF 3FF 3FF, in which 000 3FF 3FF stands as well.
    const TemporaryFolder folder;
    const Samples row = rowWith(kNarrow, [](Samples& samples) {
        putLuma(samples, 0, afd());
        putChroma(samples, 0, afd({1}));
    });
    const ToolResult result = scanned(folder.write("a.v210", v210Bytes(row)), kNarrow);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out, kTitles + "       0      9  41/05     AFD/Bar Data           1  01\n" + kIndent + "chroma\n" +
                              "       0      9  41/05     AFD/Bar Data           3  aabbcc\n2 packets in 1 frame\n");
}

TEST(WholeRows, OfOddWidthAreWholePairs) {
    // 47 pixels: 48 of them are there.
    const TemporaryFolder folder;
    const Samples row = rowWith(48, [](Samples& samples) { putLuma(samples, 38, afd()); });
    const std::string file = folder.write("a.2vuy", yuv8Bytes(row));
    const ToolResult result = scanned(file, 47, {"--quiet"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, kTitles + "       0      9  41/05     AFD/Bar Data           3  aabbcc\n" + kIndent +
                              "luma, word 38\n1 packet in 1 frame\n");
    EXPECT_EQ(result.err, "");
}

TEST(WholeRows, AreReadByEveryCommandThatReadsElements) {
    // A splice_null_request (ANSI/SCTE 104) in chroma, behind another packet.
    const Bytes message = fromHex("08 ffff 0010 00 00 01 0000 00 00 01 0102 0000");
    const Bytes cdp = fromHex("9669143f420001 72e2fc9420fd8080 740001c2");
    const Samples row = rowWith(kWide, [&](Samples& samples) {
        putLuma(samples, 40, ancSamples(0x61, 0x01, cdp));
        putChroma(samples, 3, afd());
        putChroma(samples, 13, ancSamples(0x41, 0x07, message));
    });
    const TemporaryFolder folder;
    const std::string file = folder.write("a.v210", v210Bytes(row));
    const std::string other = folder.write("a.bin", v210Bytes(row));
    const auto output = [](std::vector<std::string> arguments, bool isFound = true) {
        arguments.insert(arguments.end(), {"--width", std::to_string(kWide), "--quiet"});
        const ToolResult result = runTool(arguments);
        EXPECT_EQ(result.exitCode, isFound ? 0 : 1) << result.err;
        return result.out;
    };
    EXPECT_EQ(output({"extract", file, "--lines", "9"}), "    unit          time  bytes  data\n"
                                                         "       0  --:--:--,---      6  fc9420fd8080\n"
                                                         "1 frame, 1 with caption data\n");
    EXPECT_EQ(output({"extract", other, "--from-format", "v210"}), output({"extract", file}));
    EXPECT_EQ(output({"extract", file, "--near-start"}), "    unit          time  bytes  data\n"
                                                         "       0  --:--:--,---      -  -\n"
                                                         "1 frame, 0 with caption data\n");
    const std::string words = output({"scte104", "parse", file, "--lines", "13"});
    EXPECT_TRUE(words.starts_with("frame 0, line 13: ")) << words;
    EXPECT_EQ(output({"scte104", "parse", other, "--from-format", "v210", "--lines", "13"}), words);
    EXPECT_EQ(output({"scte104", "parse", other, "--format", "v210", "--lines", "13"}), words);
    EXPECT_EQ(output({"scte104", "parse", file, "--near-start"}, false), "");
    const ToolResult shown =
        runTool({"show", file, "--all", "--lines", "9", "--rate", "25", "--width", "768", "--near-start"});
    EXPECT_EQ(shown.out, "teletext page 888: never anything on air\ncaptions CC1: never anything on air\n");
    // Rows become elements of twice the rate: two caption packets, AFD twice, one SCTE-104; --near-start finds nothing
    // to put into them.
    const auto rate = [&](const std::vector<std::string>& more) {
        std::vector<std::string> arguments{"rate",  file,      "--from", "29.97", "--to",
                                           "59.94", "--lines", "9",      "-o",    folder.path("b.klv")};
        arguments.insert(arguments.end(), more.begin(), more.end());
        EXPECT_EQ(output(arguments), "");
        return runTool({"scan", folder.path("b.klv")}).out;
    };
    EXPECT_EQ(rate({"--near-start"}), "0 packets in 2 frames\n");
    EXPECT_TRUE(rate({}).ends_with("\n5 packets in 2 frames\n"));
}

/// Rows of frames with a pair of CC1 each, behind another packet and away from the row's beginning: RU2, CR, "Hi", EDM.
Bytes captionRows(bool isChroma) {
    Bytes rows;
    for (const Bytes& pair : {Bytes{0x80, 0x94, 0x25}, Bytes{0x80, 0x94, 0xAD}, Bytes{0x80, 0xC8, 0xE9},
                              Bytes{0x80, 0x80, 0x80}, Bytes{0x80, 0x94, 0x2C}}) {
        const Samples row = rowWith(kWide, [&](Samples& samples) {
            (isChroma ? putChroma : putLuma)(samples, 30, afd());
            (isChroma ? putChroma : putLuma)(samples, 300, ancSamples(0x61, 0x02, pair));
        });
        const Bytes bytes = v210Bytes(row);
        rows.insert(rows.end(), bytes.begin(), bytes.end());
    }
    return rows;
}

TEST(WholeRows, AreShownWithTheTextOfTheirPackets) {
    const TemporaryFolder folder;
    for (const bool isChroma : {false, true}) {
        const std::string file = folder.write("a.v210", captionRows(isChroma));
        const std::vector<std::string> show{"show", file,    "--lines", "9",  "--width",
                                            "768",  "--all", "--rate",  "25", "--quiet"};
        const ToolResult shown = runTool(show);
        EXPECT_EQ(shown.exitCode, 0) << shown.err;
        EXPECT_EQ(shown.out, "00:00:00,080 - 00:00:00,160  captions CC1\n  15   Hi\n");
        std::vector<std::string> near = show;
        near.emplace_back("--near-start");
        EXPECT_EQ(runTool(near).out, "teletext page 888: never anything on air\ncaptions CC1: never anything on air\n");
    }
}

TEST(WholeRows, BehindTheStartHaveMessagesForBothCommands) {
    const TemporaryFolder folder;
    const Bytes message = fromHex("08 ffff 0010 00 00 01 0000 00 00 01 0102 0000");
    const Samples row =
        rowWith(kWide, [&](Samples& samples) { putLuma(samples, 500, ancSamples(0x41, 0x07, message)); });
    const std::string file = folder.write("a.v210", v210Bytes(row));
    const std::vector<std::string> rows{"--lines", "13", "--width", "768", "--quiet"};
    const auto run = [&rows](std::vector<std::string> arguments) {
        arguments.insert(arguments.end(), rows.begin(), rows.end());
        return runTool(arguments);
    };
    const ToolResult parsed = run({"scte104", "parse", file});
    EXPECT_EQ(parsed.exitCode, 0) << parsed.err;
    EXPECT_TRUE(parsed.out.starts_with("frame 0, line 13: ")) << parsed.out;
    const ToolResult section = run({"scte35", file, "--pts", "0"});
    EXPECT_EQ(section.exitCode, 0) << section.err;
    EXPECT_EQ(section.out, "fc301100000000000000fff0000000007a4fbfff\n");
    EXPECT_EQ(run({"scte104", "parse", file, "--near-start"}).exitCode, 1);
    EXPECT_EQ(run({"scte35", file, "--pts", "0", "--near-start"}).exitCode, 1);
}

TEST(WholeRows, WithAWrongChecksumEndEveryCommandWithOne) {
    const TemporaryFolder folder;
    Samples damaged = ancSamples(0x61, 0x02, Bytes{0x80, 0xC8, 0xE9});
    damaged.back() = static_cast<std::uint16_t>(damaged.back() ^ 0x001U);
    const std::string file =
        folder.write("a.v210", v210Bytes(rowWith(kWide, [&](Samples& samples) { putLuma(samples, 0, damaged); })));
    for (const std::vector<std::string>& command :
         {std::vector<std::string>{"scan", file}, std::vector<std::string>{"extract", file},
          std::vector<std::string>{"show", file, "--all", "--rate", "25"},
          std::vector<std::string>{"rate", file, "--from", "25", "--to", "50", "-o", folder.path("b.klv")}}) {
        std::vector<std::string> all = command;
        all.insert(all.end(), {"--lines", "9", "--width", "768"});
        const ToolResult result = runTool(all);
        EXPECT_EQ(result.exitCode, 1) << command[0];
        EXPECT_NE(result.err.find("frame 0, line 9, byte "), std::string::npos) << command[0] << result.err;
        EXPECT_NE(result.err.find(": checksum "), std::string::npos) << command[0] << result.err;
    }
}

TEST(WholeRows, WithADamagedPacketAreReadAndSaid) {
    Samples damaged = ancSamples(0x41, 0x07, fromHex("08 ffff 0010 00 00 01 0000 00 00 01 0102 0000"));
    damaged.back() = static_cast<std::uint16_t>(damaged.back() ^ 0x001U);
    const TemporaryFolder folder;
    const std::string file =
        folder.write("a.v210", v210Bytes(rowWith(kWide, [&](Samples& samples) { putLuma(samples, 0, damaged); })));
    const std::string place = "qlxcc: " + file + ": frame 0, line 9, byte ";
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"scte35", file, "--pts", "0"},
          std::vector<std::string>{"scte104", "parse", file, "-o", folder.path("b.txt")}}) {
        std::vector<std::string> all = arguments;
        all.insert(all.end(), {"--width", std::to_string(kWide), "--lines", "9"});
        const ToolResult result = runTool(all);
        EXPECT_EQ(result.exitCode, 1);
        // A splice_null section.
        EXPECT_EQ(result.out, arguments[0] == "scte35" ? "fc301100000000000000fff0000000007a4fbfff\n" : "");
        EXPECT_TRUE(result.err.starts_with(place)) << result.err;
        EXPECT_NE(result.err.find("checksum"), std::string::npos) << result.err;
    }
    // A file does not appear where something could not be trusted.
    EXPECT_EQ(folder.names(), std::vector<std::string>{"a.v210"});
}

}  // namespace

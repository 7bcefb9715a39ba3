// qlxcc scan: which packets a file holds; and that it gives back what qlxcc play wrote.
#include "AncBytes.h"
#include "Sanitized.h"
#include "SubtitleFiles.h"
#include "TeletextBytes.h"
#include "ToolRunner.h"

#include <gtest/gtest.h>

#include <random>

namespace {

using qlxtest::ancSamples;
using qlxtest::deployedTeletextArguments;
using qlxtest::joined;
using qlxtest::kAncKeyHex;
using qlxtest::kCaptionElementHex;
using qlxtest::kOtherKeyHex;
using qlxtest::linesOf;
using qlxtest::playArguments;
using qlxtest::runTool;
using qlxtest::srt;
using qlxtest::TemporaryFolder;
using qlxtest::ToolResult;
using qlxtest::v210Row;

// Below a caption packet whose data are too short for one.
const std::string kNoCdp = "                 no caption distribution packet (CDP)\n";
const std::string kTitles = "   frame   line  DID/SDID  name               bytes  data\n";

std::vector<std::uint8_t> concatenated(const std::vector<std::vector<std::uint8_t>>& parts) {
    std::vector<std::uint8_t> bytes;
    for (const auto& part : parts) {
        bytes.insert(bytes.end(), part.begin(), part.end());
    }
    return bytes;
}

/// A v210 row of 48 pixels with one packet.
std::vector<std::uint8_t> rowWith(std::uint8_t did, std::uint8_t sdid, std::initializer_list<std::uint8_t> data) {
    return v210Row(8, ancSamples(did, sdid, std::vector<std::uint8_t>(data)));
}

const std::vector<std::uint8_t> kBlankRow = v210Row(8, {});

/// A row whose packet claims 80 bytes of data, more than a row of 48 pixels has.
std::vector<std::uint8_t> damagedRow() {
    std::vector<std::uint16_t> samples{0x000, 0x3FF, 0x3FF, 0x161, 0x101, qlxtest::ancWord(80)};
    return v210Row(8, samples);
}

TEST(Scan, ListsThePacketsOfRows) {
    const TemporaryFolder folder;
    const std::string file = folder.write("a.v210", concatenated({rowWith(0x61, 0x01, {0x96, 0x69}), kBlankRow,
                                                                  kBlankRow, rowWith(0x52, 0x4D, {0x20, 0x02, 0xFF})}));
    const ToolResult lines = runTool({"scan", file, "--format", "v210", "--width", "48", "--lines", "9,571"});
    EXPECT_EQ(lines.exitCode, 0);
    EXPECT_EQ(lines.err, "");
    EXPECT_EQ(lines.out, kTitles + "       0      9  61/01     CEA708                 2  9669\n" + kNoCdp +
                             "       1    571  52/4d     Camera Start/Stop      3  2002ff\n"
                             "2 packets in 2 frames\n");
    const ToolResult rows = runTool({"scan", file, "--width", "48", "--rows", "2"});
    EXPECT_EQ(rows.out, kTitles + "       0      0  61/01     CEA708                 2  9669\n" + kNoCdp +
                            "       1      1  52/4d     Camera Start/Stop      3  2002ff\n"
                            "2 packets in 2 frames\n");
    const ToolResult frames = runTool({"scan", file, "--width", "48"});
    EXPECT_EQ(frames.out, kTitles + "       0      0  61/01     CEA708                 2  9669\n" + kNoCdp +
                              "       3      0  52/4d     Camera Start/Stop      3  2002ff\n"
                              "2 packets in 4 frames\n");
}

TEST(Scan, GivesAJSONLineForEveryFrame) {
    const TemporaryFolder folder;
    const std::string file = folder.write(
        "a.v210", concatenated({rowWith(0x61, 0x01, {0x96, 0x69}), rowWith(0xF4, 0x68, {0x01}), kBlankRow, kBlankRow}));
    const ToolResult result = runTool({"scan", file, "--width", "48", "--lines", "9,10", "--json"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(qlxtest::withoutSchema(result.out),
              R"({"frame":0,"packets":[{"line":9,"did":97,"sdid":1,"type":"CEA708","data":"9669"},)"
              R"({"line":10,"did":244,"sdid":104,"type":"Sony Metadata","data":"01"}]})"
              "\n"
              R"({"frame":1,"packets":[]})"
              "\n");
}

TEST(Scan, ReadsElements) {
    const TemporaryFolder folder;
    const std::string file = folder.write("a.klv", joined({kOtherKeyHex, "03", "aabbcc", kAncKeyHex, "18",
                                                           kCaptionElementHex, kAncKeyHex, "8102", "0000"}));
    const ToolResult list = runTool({"scan", file});
    EXPECT_EQ(list.exitCode, 0);
    EXPECT_EQ(list.out, kTitles + "       0     21  61/02     CEA608                 3  8094ae\n" +
                            "                 line offset 0: 1 triplet: field 1 94ae\n"
                            "1 packet in 2 frames\n");
    const std::string json = R"({"frame":0,"packets":[{"line":21,"did":97,"sdid":2,"type":"CEA608","data":"8094ae"}]})"
                             "\n"
                             R"({"frame":1,"packets":[]})"
                             "\n";
    EXPECT_EQ(runTool({"scan", file, "--format", "klv", "--json"}).out, qlxtest::withSchema(json));
    EXPECT_EQ(runTool({"scan", "-", "--format", "klv", "--json"}, {.input = folder.read("a.klv")}).out,
              qlxtest::withSchema(json));
}

TEST(Scan, ReadsEightBitRowsNearTheStartAtTheirEvenBytes) {
    // 16 pixels: the packet in the even bytes, blanking luma in the odd ones.
    std::vector<std::uint8_t> row;
    for (const std::uint8_t byte : qlxtest::fromHex("00ffff 4105 03 aabbcc ff 808080808080")) {
        row.push_back(byte);
        row.push_back(0x10);
    }
    const TemporaryFolder folder;
    const std::string file = folder.write("a.2vuy", row);
    const ToolResult result = runTool({"scan", file, "--width", "16", "--lines", "11", "--near-start"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, kTitles + "       0     11  41/05     AFD/Bar Data           3  aabbcc\n"
                                    "1 packet in 1 frame\n");
}

TEST(Scan, SaysWhatPacketsAreAndSay) {
    const std::vector<std::pair<std::string, std::string>> packets{
        {"41 05 08 54 00 00 c0 00 29 04 12",
         "AFD/Bar Data           8  540000c000290412\n"
         "                 AFD 10 (16:9, centred), frame 16:9, top bar to line 41, bottom bar from line 1042\n"},
        {"60 60 10 78 10 50 20 60 30 50 40 40 50 30 60 20 70 10 80",
         "Timecode              16  78105020603050404050306020701080\n"
         "                 12:34:56;17, VITC 1\n"},
        {"41 01 04 89 c9 80 01", "Payload ID             4  89c98001\n"
                                 "                 payload 89c98001: progressive, 50 pictures/s\n"},
        {"52 4d 0b 00 00 00 00 00 00 00 00 00 20 02", "Camera Start/Stop     11  0000000000000000002002\n"
                                                      "                 recording starts\n"},
        {"45 01 01 aa", "Audio metadata         1  aa\n                 SMPTE ST 2020-1, VANC\n"},
        {"41 0c 01 aa", "HDR metadata           1  aa\n                 SMPTE ST 2108-1\n"},
        {"5f df 01 aa", "ARIB captions, HD      1  aa\n                 ARIB STD-B37, VANC\n"},
        {"43 03 01 aa", "OP-47 multipacket      1  aa\n                 SMPTE RDD 8, VANC\n"},
        {"e7 05 01 aa", "Audio group 1          1  aa\n                 SMPTE ST 299-1, HANC\n"},
        {"41 0e 01 aa", "Unknown                1  aa\n"}};
    for (const auto& [digits, expected] : packets) {
        const std::vector<std::uint8_t> packet = qlxtest::fromHex(digits);
        std::vector<std::uint8_t> element = qlxtest::fromHex("0001 000d 01 04");
        const std::size_t padded = (packet.size() + 3) / 4 * 4;
        element.push_back(static_cast<std::uint8_t>(packet.size() >> 8U));
        element.push_back(static_cast<std::uint8_t>(packet.size()));
        for (const std::size_t number : {padded, std::size_t{1}}) {
            for (unsigned shift = 32; shift > 0;) {
                shift -= 8;
                element.push_back(static_cast<std::uint8_t>(number >> shift));
            }
        }
        element.insert(element.end(), packet.begin(), packet.end());
        element.resize(element.size() + padded - packet.size());
        std::vector<std::uint8_t> file = joined({kAncKeyHex});
        file.push_back(static_cast<std::uint8_t>(element.size()));
        file.insert(file.end(), element.begin(), element.end());
        const ToolResult result = runTool({"scan", "-"}, {.input = std::string(file.begin(), file.end())});
        EXPECT_NE(result.out.find(expected), std::string::npos) << result.out << result.err;
    }
}

TEST(Scan, SaysWhenThereIsNothing) {
    const TemporaryFolder folder;
    const std::string file = folder.write("a.v210", concatenated({kBlankRow, kBlankRow}));
    const ToolResult result = runTool({"scan", file, "--width", "48"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, "0 packets in 2 frames\n");
}

TEST(Scan, ReportsAPartialRowBehindWhatItFound) {
    const TemporaryFolder folder;
    auto bytes = concatenated({rowWith(0x61, 0x01, {0x96, 0x69}), kBlankRow, rowWith(0x61, 0x02, {0x01})});
    bytes.push_back(0);
    const std::string file = folder.write("a.v210", bytes);
    const ToolResult result = runTool({"scan", file, "--width", "48", "--lines", "9,10"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.out, kTitles + "       0      9  61/01     CEA708                 2  9669\n" + kNoCdp +
                              "       1      9  61/02     CEA608                 1  01\n2 packets in 2 frames\n");
    EXPECT_EQ(result.err, "qlxcc: " + file + ": byte 384: the last row is cut short: 1 of 128 bytes\n");
    bytes.pop_back();
    folder.write("a.v210", bytes);
    const ToolResult missing = runTool({"scan", file, "--width", "48", "--lines", "9,10", "--json"});
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_EQ(linesOf(missing.out).size(), 2U);
    EXPECT_EQ(missing.err, "qlxcc: " + file + ": byte 384: the last frame is cut short: 1 of 2 rows\n");
}

TEST(Scan, ReportsADamagedPacketWithItsPlace) {
    const TemporaryFolder folder;
    const std::string file = folder.write("a.v210", concatenated({kBlankRow, rowWith(0x61, 0x01, {0x96}), damagedRow(),
                                                                  kBlankRow, kBlankRow, damagedRow()}));
    const std::string list =
        kTitles + "       0     10  61/01     CEA708                 1  96\n" + kNoCdp + "1 packet in 3 frames\n";
    const auto problems = [&file](const std::string& where, const std::string& message) {
        return "qlxcc: " + file + ": frame 1, line 9" + where + message + "qlxcc: " + file + ": frame 2, line 10" +
               where + message + "qlxcc: " + file + ": 2 problems: not every packet could be read\n";
    };
    const ToolResult result = runTool({"scan", file, "--width", "48", "--lines", "9,10"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.out, list);
    EXPECT_EQ(result.err, problems(", byte 0 of the row: ", "packet of 87 words, of which 48 are on the row\n"));
    const ToolResult nearStart = runTool({"scan", file, "--width", "48", "--lines", "9,10", "--near-start"});
    EXPECT_EQ(nearStart.exitCode, 1);
    EXPECT_EQ(nearStart.out, list);
    EXPECT_EQ(nearStart.err,
              problems(": ", "VANC Packet issue: Packed header defines Packet of size 80 while remaining bytes in "
                             "buffer is 42\n"));
}

TEST(Scan, GivesOneLineForOneDamagedPacket) {
    const TemporaryFolder folder;
    const std::string file = folder.write("a.v210", damagedRow());
    const ToolResult result = runTool({"scan", file, "--width", "48"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.out, "0 packets in 1 frame\n");
    EXPECT_EQ(result.err, "qlxcc: " + file +
                              ": frame 0, line 0, byte 0 of the row: packet of 87 words, of which 48 are on the row\n");
}

TEST(Scan, WritesToAFile) {
    const TemporaryFolder folder;
    const std::string file = folder.write("a.klv", joined({kAncKeyHex, "18", kCaptionElementHex}));
    for (const std::string& option : std::vector<std::string>{"-o", "--output"}) {
        for (const bool isJson : {false, true}) {
            std::vector<std::string> arguments{"scan", file};
            if (isJson) {
                arguments.emplace_back("--json");
            }
            const std::string printed = runTool(arguments).out;
            EXPECT_NE(printed, "");
            arguments.insert(arguments.end(), {option, folder.path("list")});
            const ToolResult result = runTool(arguments);
            EXPECT_EQ(result.exitCode, 0);
            EXPECT_EQ(result.out + result.err, "");
            EXPECT_EQ(folder.read("list"), printed);
        }
    }
    const ToolResult refused = runTool({"scan", file, "-o", file});
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_TRUE(qlxtest::isOneMessage(refused.err)) << refused.err;
    EXPECT_EQ(folder.read("a.klv").size(), 41U);
}

TEST(Scan, WritesNoFileThatMissesSomething) {
    const TemporaryFolder folder;
    const std::string list = folder.path("list");
    const std::string damaged = folder.write("a.v210", damagedRow());
    ToolResult result = runTool({"scan", damaged, "--width", "48", "-o", list, "--quiet"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "qlxcc: " + damaged +
                              ": frame 0, line 0, byte 0 of the row: packet of 87 words, of which 48 are on the row\n"
                              "qlxcc: " +
                              damaged + ": 1 problem: not every packet could be read; " + list + " is not written\n");
    auto bytes = joined({kAncKeyHex, "18", kCaptionElementHex, kAncKeyHex, "83000018", kCaptionElementHex});
    bytes.pop_back();
    const std::string cut = folder.write("a.klv", bytes);
    result = runTool({"scan", cut, "-o", list});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, "qlxcc: " + cut + ": byte 41: KLV triplet cut short: 23 of 24 bytes of the value\nqlxcc: " +
                              cut + ": 1 problem: not every packet could be read; " + list + " is not written\n");
    EXPECT_EQ(folder.names(), (std::vector<std::string>{"a.klv", "a.v210"}));
}

TEST(Scan, ReportsACutTripletBehindWhatItFound) {
    const TemporaryFolder folder;
    auto bytes = joined({kAncKeyHex, "18", kCaptionElementHex, kAncKeyHex, "83000018", kCaptionElementHex});
    bytes.pop_back();
    const std::string file = folder.write("a.klv", bytes);
    const ToolResult result = runTool({"scan", file, "--json"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(linesOf(result.out).size(), 1U);
    EXPECT_EQ(result.err, "qlxcc: " + file + ": byte 41: KLV triplet cut short: 23 of 24 bytes of the value\n");
}

TEST(Scan, PassesOverLongForeignTriplets) {
    // Longer than what is read ahead, so that it is jumped over; and once more with its end missing.
    std::vector<std::uint8_t> bytes = joined({kOtherKeyHex, "83200000"});
    bytes.resize(bytes.size() + 0x200000, 0xAB);
    const auto anc = joined({kAncKeyHex, "18", kCaptionElementHex});
    bytes.insert(bytes.end(), anc.begin(), anc.end());
    const TemporaryFolder folder;
    const std::string file = folder.write("a.klv", bytes);
    EXPECT_EQ(linesOf(runTool({"scan", file}).out).back(), "1 packet in 1 frame");
    // The same where nothing can be jumped over.
    EXPECT_EQ(linesOf(runTool({"scan", "-", "--format", "klv"}, {.input = folder.read("a.klv")}).out).back(),
              "1 packet in 1 frame");
    bytes.resize(20 + 0x1FFFFF);
    folder.write("a.klv", bytes);
    const ToolResult cut = runTool({"scan", file});
    EXPECT_EQ(cut.exitCode, 1);
    EXPECT_EQ(cut.out, "");
    EXPECT_EQ(cut.err, "qlxcc: " + file + ": byte 0: KLV triplet cut short: 2097151 of 2097152 bytes of the value\n");
}

TEST(Scan, RefusesWhatItCannotRead) {
    const TemporaryFolder folder;
    const ToolResult missing = runTool({"scan", folder.path("a.klv")});
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_EQ(missing.err, "qlxcc: " + folder.path("a.klv") + ": No such file or directory\n");
    const ToolResult directory = runTool({"scan", folder.path(), "--format", "v210"});
    EXPECT_EQ(directory.exitCode, 1);
    EXPECT_EQ(directory.err, "qlxcc: " + folder.path() + ": Is a directory\n");
    const std::string empty = folder.write("empty", "");
    for (const std::string& format : std::vector<std::string>{"v210", "2vuy", "klv"}) {
        const ToolResult result = runTool({"scan", empty, "--format", format});
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.err, "qlxcc: " + empty + ": byte 0: the file is empty\n");
    }
}

TEST(Scan, TakesRandomBytesCalmly) {
    std::mt19937 random(1);
    for (int run = 0; run < 8; ++run) {
        std::vector<std::uint8_t> bytes(20000);
        for (std::uint8_t& byte : bytes) {
            byte = static_cast<std::uint8_t>(random());
        }
        const TemporaryFolder folder;
        const std::string file = folder.write("random", bytes);
        // 20000 is no multiple of a row of either format.
        for (const std::string& format : std::vector<std::string>{"v210", "2vuy"}) {
            const ToolResult result = runTool({"scan", file, "--format", format, "--json"});
            EXPECT_EQ(result.exitCode, 1);
            EXPECT_EQ(linesOf(result.out).size(), format == "v210" ? 3U : 5U);
            EXPECT_TRUE(qlxtest::isOneMessage(result.err)) << result.err;
        }
        const ToolResult klv = runTool({"scan", file, "--format", "klv"});
        EXPECT_EQ(klv.exitCode, 1);
        EXPECT_TRUE(qlxtest::isOneMessage(klv.err)) << klv.err;
    }
}

/// `text` without the times of its JSON lines.
std::string withoutTimes(std::string text) {
    const std::string begin = R"("pts":{)";
    for (std::size_t start = text.find(begin); start != std::string::npos; start = text.find(begin, start)) {
        text.erase(start, text.find("},", start) + 2 - start);
    }
    return text;
}

TEST(RoundTrip, GivesBackWhatWasPlayed) {
    const TemporaryFolder folder;
    const std::string file = folder.write(
        "in.srt", srt({{"00:00:00,000", "00:00:00,700", "<font color=\"#FF0000\">Alarm\nrouge</font>"},
                       {"00:00:00,700", "00:00:01,400", "{\\an7}d\xC3\xA9j\xC3\xA0 vu"},
                       {"00:00:01,300", "00:00:02,000", "Une ligne qui est bien plus longue que trente-quatre"}}));
    // Under the sanitizers a rate of whole frames and one of others.
    std::vector<std::string> rates{"25", "59.94", "23.976", "29.97"};
    rates.resize(qlxtest::countFor(rates.size(), std::size_t{2}));
    for (const std::string& rate : rates) {
        for (const bool isSD : {false, true}) {
            std::vector<std::string> more;
            if (isSD) {
                more.push_back("--sd");
            }
            const auto play = [&](const std::string& name) {
                std::vector<std::string> all = more;
                all.insert(all.end(), {"-o", folder.path(name)});
                ASSERT_EQ(runTool(playArguments(file, rate, all)).exitCode, 0);
            };
            play("a.v210");
            play("a.klv");
            play("a.jsonl");
            const std::string played = withoutTimes(folder.read("a.jsonl"));
            EXPECT_EQ(played.find("pts"), std::string::npos);
            // 3 s of frames.
            EXPECT_GE(linesOf(played).size(), 72U);
            // A frame of one field has a row of its own.
            const bool isProgressive = rate == "59.94";
            const std::string lines = isSD ? isProgressive ? "21" : "21,334" : isProgressive ? "12" : "12,575";
            const ToolResult rows =
                runTool({"scan", folder.path("a.v210"), "--width", isSD ? "720" : "1920", "--lines", lines, "--json"});
            EXPECT_EQ(rows.exitCode, 0) << rows.err;
            EXPECT_EQ(rows.err, "");
            EXPECT_TRUE(rows.out == played) << rate;
            const ToolResult elements = runTool({"scan", folder.path("a.klv"), "--json"});
            EXPECT_EQ(elements.exitCode, 0) << elements.err;
            EXPECT_EQ(elements.err, "");
            EXPECT_TRUE(elements.out == played) << rate;
        }
    }
}

TEST(RoundTrip, WritesEveryByteOfARow) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.srt", srt({{"00:00:00,040", "00:00:00,120", "Bonjour"}}));
    ASSERT_EQ(runTool(deployedTeletextArguments(file, "25", {"-o", folder.path("a.v210")})).exitCode, 0);
    const std::string rows = folder.read("a.v210");
    ASSERT_EQ(rows.size(), 28U * 2 * 5120);
    const auto row = [&](std::size_t index) {
        const std::string bytes = rows.substr(index * 5120, 5120);
        return qlxtest::toHex(std::span(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()));
    };
    const auto expected = [](const std::string& data) {
        return qlxtest::toHex(v210Row(320, ancSamples(0x43, 0x02, qlxtest::fromHex(data))));
    };
    EXPECT_EQ(row(0), expected(qlxtest::fillingHex(qlxtest::kOddLines, 0)));
    EXPECT_EQ(row(1), expected(qlxtest::fillingHex(qlxtest::kEvenLines, 1)));
    EXPECT_EQ(row(6), expected(qlxtest::bonjourHex(5)));
    EXPECT_EQ(row(7), expected(qlxtest::closeHex(6)));
}

TEST(RoundTrip, WritesEveryByteOfATriplet) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.srt", srt({{"00:00:00,040", "00:00:00,120", "Bonjour"}}));
    ASSERT_EQ(runTool(deployedTeletextArguments(file, "25",
                                                {"-o", folder.path("a.klv"), "--from", "0.12", "--duration", "0.04"}))
                  .exitCode,
              0);
    // Frame 3 on its own: the cue is over, and nothing was on air before. Line 12 is 000c, line 575 is 023f; 151
    // samples (0097) with DID, SDID and DC; 152 bytes (0098) in the array, of which one is padding.
    const auto packet = [](const std::string& line, const std::string& data) {
        return line +
               "01040097"
               "00000098"
               "00000001"
               "430294" +
               data + "00";
    };
    const std::string element = "0002" + packet("000c", qlxtest::fillingHex(qlxtest::kOddLines, 0)) +
                                packet("023f", qlxtest::fillingHex(qlxtest::kEvenLines, 1));
    // 334 bytes (00014e) of value.
    const std::string content = folder.read("a.klv");
    EXPECT_EQ(qlxtest::toHex(std::span(reinterpret_cast<const std::uint8_t*>(content.data()), content.size())),
              "060e2b34010201010d0103011701020183"
              "00014e" +
                  element);
}

TEST(RoundTrip, NeedsRowsThatHoldThePacket) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.srt", srt({{"00:00:00,040", "00:00:00,120", "Bonjour"}}));
    const std::string target = folder.path("a.v210");
    // 148 bytes and 7 more samples.
    for (const std::string& width : std::vector<std::string>{"1", "96", "154"}) {
        const ToolResult result = runTool(deployedTeletextArguments(file, "25", {"-o", target, "--width", width}));
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(result.err,
                  "qlxcc: frame 0, line 12: a row of " + width + (width == "1" ? " pixel" : " pixels") +
                      " is too narrow for the OP-47 packet, which takes 155 luma samples: give a greater --width\n");
        EXPECT_EQ(folder.names(), std::vector<std::string>{"in.srt"});
    }
    ASSERT_EQ(runTool(deployedTeletextArguments(file, "25", {"-o", target, "--width", "155"})).exitCode, 0);
    // ceil(155 / 48) is 4: rows of 512 bytes.
    EXPECT_EQ(folder.read("a.v210").size(), 28U * 2 * 512);
    const ToolResult scanned = runTool({"scan", target, "--width", "155", "--lines", "12,575", "--json"});
    const ToolResult played = runTool(deployedTeletextArguments(file, "25", {"--format", "jsonl"}));
    EXPECT_EQ(scanned.out, withoutTimes(played.out));
}

TEST(ScanTeletext, PrintsPagesAndRows) {
    const TemporaryFolder folder;
    const auto line = [](const std::string& data) {
        return R"({"frame":0,"packets":[{"line":12,"did":67,"sdid":2,"data":")" + data + "\"}]}\n";
    };
    const std::string file =
        folder.write("a.jsonl", line(qlxtest::eraseHex(0)) + line(qlxtest::bonjourHex(1)) + line(qlxtest::closeHex(2)) +
                                    line(qlxtest::fillingHex(qlxtest::kOddLines, 3)) + line("5115"));
    const auto listed = [&](const std::string& row) {
        const std::string start = "       0     12  43/02     OP-47                148  ";
        const std::string below(17, ' ');
        return "   frame   line  DID/SDID  name               bytes  data\n" + start + qlxtest::eraseHex(0) + "\n" +
               below + "page 888, erased, subtitle\n" + start + qlxtest::bonjourHex(1) + "\n" + below +
               "row 22: " + row + "\n" + start + qlxtest::closeHex(2) + "\n" + below + "page 8F8, subtitle\n" + start +
               qlxtest::fillingHex(qlxtest::kOddLines, 3) + "\n" +
               "       0     12  43/02     OP-47                  2  5115\n" + below +
               "no subtitling data packet\n5 packets in 5 frames\n";
    };
    const std::vector<std::string> arguments{"scan", file, "--format", "jsonl"};
    const ToolResult plain = runTool(arguments);
    EXPECT_EQ(plain.exitCode, 0) << plain.err;
    EXPECT_EQ(plain.out, listed("Bonjour"));
    EXPECT_EQ(qlxtest::withoutReturns(runTool(arguments, {.outputIsTerminal = true}).out),
              listed("\x1b[0;37;40mBonjour \x1b[0m"));
    EXPECT_EQ(
        qlxtest::withoutReturns(runTool(arguments, {.outputIsTerminal = true, .environment = {"NO_COLOR=1"}}).out),
        listed("Bonjour"));
}

}  // namespace

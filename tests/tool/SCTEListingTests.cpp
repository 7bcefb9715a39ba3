// SCTE-104 packets in listings, and the SCTE-35 sections of splice requests.
#include "AncBytes.h"
#include "SCTESupport.h"
#include "ToolRunner.h"
#include "io/Text.h"

#include <qlx/scte/scte35.h>

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using qlxtest::Arguments;
using qlxtest::build;
using qlxtest::fromHex;
using qlxtest::joined;
using qlxtest::kAncKeyHex;
using qlxtest::kSplice;
using qlxtest::kSpliceArguments;
using qlxtest::kSpliceNull;
using qlxtest::outputOf;
using qlxtest::runTool;
using qlxtest::TemporaryFolder;
using qlxtest::ToolResult;

TEST(Scan, ListsTheOperationsOfSCTE104Packets) {
    const std::string element =
        outputOf(build({"splice-end-immediate", "time-signal", "--event-id", "5", "--format", "klv"}));
    const std::string data = "08ffff00240000010000000002"
                             "0101000e0400000005000000000000000000"
                             "010400020000";
    EXPECT_EQ(outputOf({"scan", "-", "--format", "klv"}, element),
              "   frame   line  DID/SDID  name               bytes  data\n"
              "       0     13  41/07     SCTE104               37  " +
                  data +
                  "\n"
                  "                 SCTE-104: message 1, AS index 0, DPI PID 0; SpliceRequestData: spliceEndImmediate, "
                  "event 5, program 0, pre-roll 0 ms, break 0.0 s; TimeSignalRequestData: pre-roll 0 ms\n"
                  "1 packet in 1 frame\n");
    EXPECT_EQ(qlxtest::withoutSchema(outputOf({"scan", "-", "--format", "klv", "--json"}, element)),
              R"({"frame":0,"packets":[{"line":13,"did":65,"sdid":7,"type":"SCTE104","data":")" + data +
                  R"(","scte104":[{"autoReturnFlag":false,"availNum":0,"availsExpected":0,)"
                  R"("breakDuration":{"seconds":0.0,"timescale":10,"value":0},"name":"SpliceRequestData","opID":257,)"
                  R"("preRollTime":{"seconds":0.0,"timescale":1000,"value":0},"spliceEventId":5,"spliceInsertType":4,)"
                  R"("spliceInsertTypeName":"spliceEndImmediate","uniqueProgramId":0},)"
                  R"({"name":"TimeSignalRequestData","opID":260,)"
                  R"("preRollTime":{"seconds":0.0,"timescale":1000,"value":0}}]}]})"
                  "\n");
}

TEST(Scan, FindsABuiltRowAgain) {
    const std::string row = outputOf(build({"splice-null", "--format", "v210", "--line", "10"}));
    EXPECT_EQ(outputOf({"scan", "-", "--format", "v210", "--lines", "10"}, row),
              "   frame   line  DID/SDID  name               bytes  data\n"
              "       0     10  41/07     SCTE104               17  " +
                  kSpliceNull +
                  "\n"
                  "                 SCTE-104: message 1, AS index 0, DPI PID 0; SpliceNullRequestData\n"
                  "1 packet in 1 frame\n");
}

TEST(Scan, SaysWhatIsWrongInAnSCTE104Packet) {
    const auto element = joined({kAncKeyHex, "14", "0001 000d 01 04 0004 00000004 00000001 41 07 01 09"});
    const std::string listed = outputOf({"scan", "-", "--format", "klv"}, std::string(element.begin(), element.end()));
    EXPECT_EQ(qlxtest::linesOf(listed).at(2),
              "                 no SCTE-104 message: it begins with 09 and not with the payload descriptor 08");
}

/// A number of some bytes.
std::string digitsOf(std::size_t number, int bytes) {
    constexpr const char* kDigits = "0123456789abcdef";
    std::string text;
    for (int digit = 2 * bytes; digit-- > 0;) {
        text += kDigits[number >> (4 * digit) & 15U];
    }
    return text;
}

// Worked out by hand; the CRC is that of all bytes before it. The splice is 4 s, 360000 ticks, behind the frame.
const std::string kSection = "fc302500000000000000fff01405"
                             "010203047fefff00057e40fe00 2932e0 05060000"
                             "0000";
// What the fixed operation makes, at the PTS itself.
const std::string kDeployedSection = "fc303600000000000000fff01405"
                                     "010203047fefff000000007e0000012c05060000"
                                     "0011020f43554549000000007f9f0000010000"
                                     "d0bbe43c";

/// The section with its CRC, bit by bit as ISO/IEC 13818-1 annex A has it.
std::string withCrc(const std::string& digits) {
    const std::vector<std::uint8_t> bytes = fromHex(digits);
    std::uint32_t crc = 0xFFFFFFFF;
    for (const std::uint8_t byte : bytes) {
        for (int bit = 7; bit >= 0; --bit) {
            const bool isSet = ((crc >> 31U) ^ (byte >> bit & 1U)) != 0;
            crc = crc << 1U ^ (isSet ? 0x04C11DB7U : 0U);
        }
    }
    return qlx::tool::hex(bytes) + digitsOf(crc, 4);
}

TEST(SCTE35, ConvertsASpliceRequest) {
    const TemporaryFolder folder;
    const std::string section = withCrc(kSection);
    EXPECT_EQ(outputOf({"scte35", kSplice, "--pts", "4294967296"}), section + "\n");
    EXPECT_EQ(outputOf({"scte35", "-", "--pts", "0x100000000"}, kSplice), section + "\n");
    EXPECT_EQ(outputOf({"scte35", kSplice, "--splice-pts", "4295327296"}), section + "\n");
    const auto bytes = fromHex(section);
    EXPECT_EQ(outputOf({"scte35", kSplice, "--pts", "4294967296", "-o", folder.path("a.raw")}), "");
    EXPECT_EQ(folder.read("a.raw"), std::string(bytes.begin(), bytes.end()));
    const std::string klv = folder.path("a.klv");
    Arguments arguments = build(kSpliceArguments);
    arguments.insert(arguments.end(), {"-o", klv});
    EXPECT_EQ(outputOf(arguments), "");
    EXPECT_EQ(outputOf({"scte35", klv, "--pts", "4294967296"}), section + "\n");
}

TEST(SCTE35, GivesASectionForEachOperation) {
    // A request that does not return by itself, a time signal, and the descriptor of the latter.
    const std::string digits = "08ffff002c000001000000000"
                               "30101000e02000000010007000"
                               "0000a000000"
                               "0104000203e8"
                               "0109000432023132";
    const std::string signal = withCrc("fc302000000000000000fff00506fe000dd310000a010843554549325f3132");
    const ToolResult result = runTool({"scte35", digits, "--pts", "816000", "--auto-return"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, withCrc("fc302000000000000000fff00f05000000017ffffe00015f90"
                                  "000700000000") +
                              "\n" + signal + "\n");
}

TEST(SCTE35, GivesTheFixedOperationsSection) {
    const std::string base64 = "/DA2AAAAAAAAAP/wFAUBAgMEf+//AAAAAH4AAAEsBQYAAAARAg9DVUVJAAAAAH+fAAABAADQu+Q8\n";
    EXPECT_EQ(outputOf({"scte35", kSplice, "--pts", "4294967296", "--as-deployed"}), kDeployedSection + "\n");
    EXPECT_EQ(outputOf({"scte35", "-", "--pts", "0x100000000", "--as-deployed", "--format", "base64"}, kSplice),
              base64);
}

TEST(SCTE35, PadsBase64) {
    // A cancel request gives 42 bytes, an immediate one 47 or 52: remainders 0, 2 and 1.
    const auto ending = [](const Arguments& splice) {
        const std::string text =
            outputOf({"scte35", "-", "--pts", "0", "--as-deployed", "--format", "base64"}, outputOf(build(splice)));
        return std::pair(text.size() - 1, std::count(text.begin(), text.end(), '='));
    };
    EXPECT_EQ(ending({"splice-cancel", "--event-id", "1"}), std::pair(std::size_t{56}, std::ptrdiff_t{0}));
    EXPECT_EQ(ending({"splice-start-immediate", "--event-id", "1"}), std::pair(std::size_t{64}, std::ptrdiff_t{1}));
    EXPECT_EQ(ending({"splice-start", "--event-id", "1"}), std::pair(std::size_t{72}, std::ptrdiff_t{2}));
}

TEST(SCTE104Parse, WritesToAFileWhenEverythingCouldBeRead) {
    const TemporaryFolder folder;
    const std::string list = folder.path("list");
    EXPECT_EQ(outputOf({"scte104", "parse", kSpliceNull, "-o", list}), "");
    EXPECT_EQ(folder.read("list"),
              "message 1, AS index 0, DPI PID 0, 1 operation, 17 bytes\n  SpliceNullRequestData\n");
    EXPECT_EQ(outputOf({"scte104", "parse", kSpliceNull, "--output", "-"}), folder.read("list"));
    EXPECT_EQ(outputOf({"scte104", "parse", kSpliceNull, "--json", "-o", list}), "");
    EXPECT_EQ(folder.read("list"), outputOf({"scte104", "parse", kSpliceNull, "--json"}));
    EXPECT_EQ(outputOf({"scte104", "build", "--json-file", list}), kSpliceNull + "\n");

    // A message that is broken behind one that is not, none at all, and the end in the middle: an earlier list stays.
    const std::string packet = "000d 01 04 0014 00000014 00000001 41 07 11" + kSpliceNull;
    const std::string other = "0009 01 04 0005 00000008 00000001 61 01 02 9669 000000";
    const std::string broken = "000d 01 04 0014 00000014 00000001 41 07 11 08fffe0010000001000000000101020000";
    const std::string earlier = folder.read("list");
    const auto refusal = [&](const std::vector<std::string_view>& content) {
        const ToolResult result = runTool({"scte104", "parse", folder.write("a.klv", joined(content)), "-o", list});
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(folder.read("list"), earlier);
        return result.err;
    };
    const std::string file = "qlxcc: " + folder.path("a.klv");
    EXPECT_EQ(qlxtest::linesOf(refusal({kAncKeyHex, "46 0002", packet, broken})).back(),
              "qlxcc: " + list + ": is not written: not everything could be read");
    EXPECT_EQ(refusal({kAncKeyHex, "18 0001", other}), file + ": no SCTE-104 packet\n");
    EXPECT_TRUE(refusal({kAncKeyHex, "24 0001", packet, kAncKeyHex, "24 0001"}).starts_with(file + ": byte "));
    EXPECT_EQ(folder.names(), (std::vector<std::string>{"a.klv", "list"}));
    EXPECT_EQ(runTool({"scte104", "parse", folder.path("a.klv"), "-o", folder.path("a.klv")}).err,
              file + ": is the input: the result would replace it\n");
}

/// An SCTE-104 packet of line 13 in an element.
std::string packetDigits(const std::string& data) {
    const std::size_t count = data.size() / 2;
    const std::size_t padded = (3 + count + 3) / 4 * 4;
    return "000d0104" + digitsOf(3 + count, 2) + digitsOf(padded, 4) + "00000001" + "4107" + digitsOf(count, 1) + data +
           std::string(2 * (padded - 3 - count), '0');
}

std::vector<std::uint8_t> elementOf(const std::vector<std::string>& packets) {
    std::string value = digitsOf(packets.size(), 2);
    for (const std::string& packet : packets) {
        value += packetDigits(packet);
    }
    return joined({kAncKeyHex, "83" + digitsOf(value.size() / 2, 3), value});
}

TEST(SCTE104Parse, JoinsAMessageOfSeveralPackets) {
    const TemporaryFolder folder;
    // 12 bytes of header and 70 operations of 4: 292 bytes, of which the first packet has 254.
    std::string message = "ffff01240000010000000046";
    std::string listed;
    for (int index = 0; index < 70; ++index) {
        message += "01020000";
        listed += "  SpliceNullRequestData\n";
    }
    ASSERT_EQ(message.size(), 2 * 292U);
    const std::string first = "0c" + message.substr(0, 2 * 254);
    const std::string last = "0a" + message.substr(2 * 254);
    const std::string file = folder.write("a.klv", elementOf({first, last}));
    EXPECT_EQ(outputOf({"scte104", "parse", file}),
              "frame 0, line 13: message 1, AS index 0, DPI PID 0, 70 operations, 293 bytes\n" + listed);

    const std::string cut = folder.write("b.klv", elementOf({first, kSpliceNull}));
    const ToolResult result = runTool({"scte104", "parse", cut});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.out, "frame 0, line 13: message 1, AS index 0, DPI PID 0, 1 operation, 17 bytes\n"
                          "  SpliceNullRequestData\n");
    EXPECT_EQ(result.err, "qlxcc: " + cut +
                              ": frame 0, line 13: a piece of the message is missing at payload descriptor 08: "
                              "254 bytes are left out\n");
}

TEST(SCTE104Parse, ListsSplicePoints) {
    const auto messageOf = [](const Arguments& arguments) {
        std::string digits = outputOf(build(arguments));
        digits.pop_back();
        return digits;
    };
    const TemporaryFolder folder;
    const std::string file = folder.write(
        "a.klv",
        elementOf({messageOf({"splice-start", "--event-id", "1", "--pre-roll", "4000", "--duration", "30"}),
                   messageOf({"splice-end", "--event-id", "1", "--pre-roll", "500"}),
                   messageOf({"splice-end-immediate", "--event-id", "1"}),
                   messageOf({"splice-start", "--event-id", "2", "--duration", "5.5", "--auto-return"}),
                   messageOf({"splice-start-immediate", "--event-id", "3"}),
                   messageOf({"splice-end", "--event-id", "4"}), messageOf({"splice-null"}),
                   messageOf({"time-signal", "segmentation", "--event-id", "9", "--segmentation-type", "ProgramStart"}),
                   messageOf({"time-signal", "segmentation", "--event-id", "10", "--segmentation-type", "ProgramStart",
                              "--duration", "20", "--extension-frames", "12"}),
                   messageOf({"splice-cancel", "--event-id", "5"}),
                   messageOf({"time-signal", "segmentation", "--event-id", "11", "--segmentation-type", "16"}),
                   messageOf({"time-signal", "segmentation", "--event-id", "11", "--segmentation-type", "18"}),
                   messageOf({"time-signal", "segmentation", "--event-id", "11", "--segmentation-type", "17"}),
                   messageOf({"time-signal", "segmentation", "--event-id", "12", "--segmentation-type", "18"})}));
    const std::string listed = outputOf({"scte104", "parse", file});
    const std::string place = "frame 0, line 13: ";
    const Arguments points{place + "event 1 out in 4000 ms, for 30.0 s",
                           place + "event 1 in in 500 ms",
                           place + "event 1 in at once",
                           place + "event 2 out at once, for 5.5 s, returns by itself",
                           place + "event 3 out at once",
                           place + "event 4 in at once",
                           place + "segment 9 ProgramStart",
                           place + "segment 10 ProgramStart, for 20 s and 12 frames",
                           place + "event 5 cancelled",
                           place + "segment 11 ProgramStart",
                           place + "segment 11 EarlyTermination",
                           place + "segment 11 ProgramEnd",
                           place + "segment 12 EarlyTermination",
                           "event 4: in without out",
                           "segment 11 ProgramStart: ended early",
                           "segment 12 EarlyTermination: end without start",
                           "event 3: out without in",
                           "segment 9 ProgramStart: start without end"};
    std::string expected = "splice points:\n";
    std::string alone;
    for (const std::string& point : points) {
        expected += "  " + point + "\n";
        alone += point + "\n";
    }
    EXPECT_EQ(listed.substr(listed.find("splice points:")), expected);
    EXPECT_EQ(outputOf({"scan", file, "--changes"}), alone);
    // Nothing to say, and what cannot be read.
    EXPECT_EQ(outputOf({"scan", folder.write("b.klv", joined({kAncKeyHex, "02 0000"})), "--changes"}),
              "no splice points\n");
    const std::string cut = folder.write("c.klv", elementOf({"09", kSpliceNull.substr(0, 26)}));
    const ToolResult wrong = runTool({"scan", cut, "--changes"});
    EXPECT_EQ(wrong.exitCode, 1);
    EXPECT_EQ(wrong.out, "no splice points\n");
    EXPECT_EQ(qlxtest::linesOf(wrong.err),
              (Arguments{"qlxcc: " + cut +
                             ": frame 0, line 13: byte 0: no SCTE-104 message: it begins with 09 and not "
                             "with the payload descriptor 08",
                         "qlxcc: " + cut +
                             ": frame 0, line 13: byte 13: operation 1 of 1 is missing: the message ends "
                             "here",
                         "qlxcc: " + cut + ": 2 problems: not every packet could be read"}));
    EXPECT_EQ(runTool({"scan", file, "--changes", "--json"}).exitCode, 2);
}

TEST(SCTE35, WritesSectionsInAnotherForm) {
    const TemporaryFolder folder;
    const auto convert = [&](const std::string& input, const std::string& format) {
        return outputOf({"scte35", input, "--from-format", "section", "--to-format", format});
    };
    const std::string section = withCrc(kSection);
    const std::string file = folder.write("a", section + "\n\n" + kDeployedSection + "\n");
    const std::string json = convert(file, "json");
    EXPECT_EQ(qlxtest::linesOf(json).size(), 2U);
    EXPECT_NE(json.find(R"("breakDuration":{"autoReturn":true,"duration":{"seconds":30.0,"timescale":90000,)"
                        R"("value":2700000}})"),
              std::string::npos)
        << json;
    EXPECT_EQ(convert(folder.write("b", json), "hex"), section + "\n" + kDeployedSection + "\n");
    const std::string base64 = convert(file, "base64");
    EXPECT_EQ(convert(folder.write("c", base64), "hex"), section + "\n" + kDeployedSection + "\n");
    const std::string raw = convert(file, "raw");
    EXPECT_EQ(raw.size(), (section.size() + kDeployedSection.size()) / 2);
    EXPECT_EQ(convert(folder.write("d", raw), "base64"), base64);
    EXPECT_EQ(convert(section, "hex"), section + "\n");
    EXPECT_EQ(outputOf({"scte35", kSplice, "--pts", "4294967296", "--to-format", "json"}),
              qlxtest::linesOf(json).at(0) + "\n");

    // Over many lines, and as an array.
    std::string pretty = "[";
    for (const std::string& line : qlxtest::linesOf(json)) {
        pretty += (pretty.size() > 1 ? "," : "") + line;
    }
    pretty += "]";
    for (std::size_t place = 0; (place = pretty.find(',', place)) != std::string::npos; place += 2) {
        pretty.insert(place + 1, "\n");
    }
    EXPECT_EQ(convert(folder.write("f", pretty), "base64"), base64);
    const auto refusal = [&](const std::string& text) {
        const std::string name = folder.write("g", text);
        const ToolResult result = runTool({"scte35", name, "--from-format", "section"});
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(result.err.substr(0, 7 + name.size() + 2), "qlxcc: " + name + ": ");
        return result.err.substr(7 + name.size() + 2);
    };
    EXPECT_EQ(refusal(section + "\n{\n\"spliceCommand\":\n7}"), "line 2: \"spliceCommand\" must be an object\n");
    EXPECT_EQ(refusal(section + "\n\n{\n\"tier\" 7}"), "line 4: not JSON at \"7}\"\n");
    EXPECT_EQ(refusal("[{\"spliceCommand\":{}},7]"), "line 1: section 2: no object with a section\n");
    EXPECT_EQ(refusal(R"({"tier":1,"spliceCommand":{},"tier":2})"), "an object has the key \"tier\" twice\n");
    EXPECT_EQ(refusal("[]"), "no SCTE-35 section\n");

    std::string wrong = section;
    wrong.back() = wrong.back() == '0' ? '1' : '0';
    const ToolResult kept = runTool({"scte35", wrong, "--from-format", "section"});
    EXPECT_EQ(kept.out, wrong + "\n");
    EXPECT_NE(kept.err.find("section CRC"), std::string::npos) << kept.err;
    const ToolResult cut = runTool({"scte35", folder.write("e", section.substr(0, 20)), "--from-format", "section"});
    EXPECT_EQ(cut.exitCode, 1);
    EXPECT_EQ(cut.err.substr(0, cut.err.find("byte")), "qlxcc: " + folder.path("e") + ": line 1: ");
}

TEST(SCTE35, SaysWhyThereIsNoSection) {
    const auto refusal = [](const std::string& message, const Arguments& more = {}) {
        Arguments arguments{"scte35", message, "--pts", "0"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        const ToolResult result = runTool(arguments);
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(result.out, "");
        return result.err;
    };
    const std::string stamped = "08ffff0022000001000000020a0b0c180101"
                                "01000e0100000001000000000000000000";
    EXPECT_EQ(refusal("08ffff000c0000010000000000"),
              "qlxcc: the message: message without operations makes no section\n");
    EXPECT_EQ(refusal(stamped), "qlxcc: the message: time stamp of type 2: its moment in the stream is not known\n");
    EXPECT_EQ(refusal("08ffff00120000010000000001010700020001"),
              "qlxcc: the message: operation 1: operation 107 makes no section\n");
    EXPECT_EQ(refusal("08ffff0013000001000000000101090003320131"),
              "qlxcc: the message: operation 1: operation 109 adds to another one, which is not there\n");
    EXPECT_EQ(refusal(kSpliceNull, {"--as-deployed"}),
              "qlxcc: the message: the message begins with SpliceNullRequestData: only a SpliceRequestData becomes a "
              "section\n");
    EXPECT_EQ(refusal(stamped, {"--as-deployed"}),
              "qlxcc: the message: the message has a time stamp: the section's time is that of --pts alone\n");
    const auto unused = [](const Arguments& more) {
        Arguments arguments{"scte35", kSpliceNull, "--pts", "0"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        const ToolResult result = runTool(arguments);
        EXPECT_EQ(result.exitCode, 2);
        return result.err.substr(0, result.err.find(" (see"));
    };
    EXPECT_EQ(unused({"--at-pts", "1"}), "qlxcc: --at-pts is the moment of a time stamp: the message has none");
    EXPECT_EQ(unused({"--rate", "25"}), "qlxcc: --rate is for duration_extension_frames: the message has none");
    EXPECT_EQ(unused({"--auto-return"}), "qlxcc: --auto-return is for breaks with a duration: the message has none");
    const TemporaryFolder folder;
    EXPECT_EQ(runTool(build({"--from-scte35", folder.write("null", withCrc(kSection)), "--pts", "0", "--rate", "25"}))
                  .exitCode,
              2);
    const std::string packet = "000d 01 04 0014 00000014 00000001 41 07 11" + kSpliceNull;
    const std::string two = folder.write("two", joined({kAncKeyHex, "46 0002", packet, packet}));
    EXPECT_EQ(refusal(two), "qlxcc: " + two + ": 2 SCTE-104 packets: the time of --pts is for one\n");
    EXPECT_EQ(runTool({"scte35", stamped, "--pts", "0", "--at-pts", "90000"}).exitCode, 0);
}

TEST(SCTE35, ReadsARowWithAWrongChecksum) {
    const TemporaryFolder folder;
    std::string row = outputOf(build({"splice-start", "--event-id", "1", "--format", "v210", "--line", "10"}));
    // The lowest bit of a word of user data, luma 13 of the row.
    row.at(36) = static_cast<char>(row.at(36) ^ 1);
    const std::string file = folder.write("a.v210", row);
    for (const Arguments& command : {Arguments{"scte104", "parse", file, "--lines", "10"},
                                     Arguments{"scte35", file, "--lines", "10", "--pts", "0"}}) {
        const ToolResult result = runTool(command);
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_NE(result.out, "");
        EXPECT_NE(result.err.find("checksum"), std::string::npos) << result.err;
    }
    const ToolResult written = runTool({"scte35", file, "--lines", "10", "--pts", "0", "-o", folder.path("a.raw")});
    EXPECT_EQ(written.exitCode, 1);
    EXPECT_EQ(folder.names(), Arguments{"a.v210"});
}

TEST(SCTE35, SaysWhatIsNotConverted) {
    const std::string message = outputOf(build({"splice-cancel", "splice-null", "--event-id", "1"}));
    const ToolResult result = runTool({"scte35", "-", "--pts", "0", "--as-deployed"}, {.input = message});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out.substr(0, 38), "fc302700000000000000fff0050500000001ff");
    EXPECT_EQ(result.err, "qlxcc: warning: standard input: only the first of 2 operations is converted\n");
    const ToolResult immediate =
        runTool({"scte35", "-", "--pts", "0"},
                {.input = outputOf(build({"splice-start-immediate", "--event-id", "1", "--pre-roll", "4000"}))});
    EXPECT_EQ(immediate.exitCode, 0);
    EXPECT_EQ(immediate.err,
              "qlxcc: standard input: operation 1: pre-roll of 4000 ms is ignored: the splice is immediate\n");
}

TEST(SCTE35, WritesAndScansATransportStream) {
    const TemporaryFolder folder;
    const std::string file = folder.path("a.ts");
    const std::string digits =
        outputOf(build({"splice-start", "--event-id", "7", "--pre-roll", "4000", "--duration", "30", "--auto-return"}));
    EXPECT_EQ(outputOf({"scte35", "-", "--pts", "900000", "--heartbeat", "1", "-o", file}, digits), "");
    const ToolResult listed = runTool({"scan", file});
    EXPECT_EQ(listed.exitCode, 0) << listed.err;
    const auto lines = qlxtest::linesOf(listed.out);
    const auto has = [&lines](const std::string& start, const std::string& end) {
        return std::any_of(lines.begin(), lines.end(), [&](const std::string& line) {
            return line.find(start) != std::string::npos && line.ends_with(end);
        });
    };
    EXPECT_NE(std::find(lines.begin(), lines.end(), "splice information:"), lines.end()) << listed.out;
    // Behind the packets of the clock and the tables that are due with it, 30 ms late.
    EXPECT_TRUE(has(", PID 0101, at 902700: splice_insert: event 7 out, for 30.000 s, returns by itself, PTS 1260000, ",
                    "3.970 s ahead"))
        << listed.out;
    // 0.4 s in front of the message up to the splice, every second.
    EXPECT_TRUE(has(", PID 0101, at 866700: ", "splice_null, sent 5 times")) << listed.out;
    const ToolResult changes = runTool({"scan", file, "--changes"});
    EXPECT_EQ(changes.exitCode, 0) << changes.err;
    EXPECT_TRUE(changes.out.ends_with(": event 7 out at PTS 1260000, for 30.000 s, returns by itself\n"))
        << changes.out;
    // Sections alone come four seconds before their splice.
    const std::string section = outputOf({"scte35", "-", "--pts", "900000"}, digits);
    EXPECT_EQ(outputOf({"scte35", "-", "--from-format", "section", "-o", folder.path("b.ts")}, section), "");
    EXPECT_NE(outputOf({"scan", folder.path("b.ts")}).find(" at 90"), std::string::npos);
    // One without a time does not make the stream begin at 0, hours before the first that has one.
    const std::string null = "fc301100000000000000fff0000000007a4fbfff\n";
    const std::string late = outputOf({"scte35", "-", "--splice-pts", "8000000000"}, digits);
    EXPECT_EQ(outputOf({"scte35", "-", "--from-format", "section", "-o", folder.path("c.ts")}, null + late), "");
    const std::string heard = outputOf({"scan", folder.path("c.ts")});
    EXPECT_NE(heard.find("at 79996"), std::string::npos) << heard;
    EXPECT_LT(folder.read("c.ts").size(), 200'000U);
    // Through a pipe, too, which is read once also where it has a name.
    EXPECT_EQ(outputOf({"scan", "-"}, folder.read("a.ts")), listed.out);
    const ToolResult named = runTool({"scan", "/dev/stdin"}, {.input = folder.read("a.ts"), .inputRestsAt = 188});
    EXPECT_EQ(named.out, listed.out);
    EXPECT_EQ(outputOf({"scan", "-", "--changes"}, folder.read("a.ts")), changes.out);
    EXPECT_EQ(runTool({"scte35", "-", "--pts", "1", "--heartbeat", "1"}, {.input = digits}).exitCode, 2);
    EXPECT_EQ(runTool({"scte35", "-", "--pts", "1", "--heartbeat", "0", "-o", file}, {.input = digits}).exitCode, 2);
    EXPECT_EQ(runTool({"scan", file, "--pid", "8191"}).exitCode, 2);
    EXPECT_EQ(runTool({"scan", "-", "--pid", "1", "--from-format", "klv"}, {.input = "a"}).exitCode, 2);
}

TEST(SCTE35, ScanGivesSplicesAsJson) {
    const TemporaryFolder folder;
    const std::string file = folder.path("a.ts");
    const std::string digits = outputOf(build({"splice-start", "--event-id", "7", "--pre-roll", "4000"}));
    ASSERT_EQ(outputOf({"scte35", "-", "--pts", "900000", "-o", file}, digits), "");
    const std::string section = outputOf({"scte35", "-", "--pts", "900000", "--to-format", "json"}, digits);
    const std::string json = outputOf({"scan", file, "--json"});
    EXPECT_TRUE(json.starts_with(
        R"({"schema":"qlxcc/splices/1","splices":[{"arrival":{"seconds":10.03,"timescale":90000,"value":902700},)"
        R"("count":1,"distance":{"seconds":3.97,"timescale":90000,"value":357300},)"))
        << json;
    EXPECT_NE(json.find(R"("pid":257,"program":1,"section":{)"), std::string::npos) << json;
    EXPECT_TRUE(json.ends_with(R"("splice":{"seconds":14.0,"timescale":90000,"value":1260000}}]})"
                               "\n"))
        << json;
    EXPECT_NE(json.find(section.substr(0, section.find('\n'))), std::string::npos) << json << section;
    EXPECT_EQ(outputOf({"scan", "-", "--json"}, folder.read("a.ts")), json);
    // Of a PID that the tables do not name.
    EXPECT_EQ(outputOf({"scan", file, "--json", "--pid", "0x101"}), json);
    EXPECT_EQ(runTool({"scan", file, "--list", "--pid", "0x101"}).exitCode, 2);
    // Behind frames it is no frame.
    const std::string frame = "{\"frame\":3,\"packets\":[]}\n";
    EXPECT_EQ(outputOf({"scan", "-", "--from-format", "jsonl", "--json"}, frame + json), qlxtest::withSchema(frame));
    EXPECT_EQ(runTool({"scan", "-", "--from-format", "jsonl"}, {.input = frame + "{\"schema\":\"a\"}\n"}).exitCode, 1);
}

TEST(SCTE35, ADurationOfZeroEndsNothing) {
    qlx::scte::SpliceInsert insert;
    insert.eventId = 3;
    insert.outOfNetwork = true;
    insert.time.ticks90k = 900000;
    insert.breakDuration = qlx::scte::BreakDuration{true, 0, 0x3F};
    qlx::scte::SegmentationDescriptor segment;
    segment.eventId = 9;
    segment.typeId = 0x10;
    segment.duration90k = 0;
    qlx::scte::SpliceInfoSection section;
    section.command = insert;
    section.descriptors = {{segment, {}}};
    const auto bytes = writeSpliceInfoSection(section);
    ASSERT_TRUE(bytes);
    const TemporaryFolder folder;
    const std::string file = folder.path("a.ts");
    ASSERT_EQ(outputOf({"scte35", "-", "--from-format", "section", "-o", file}, qlx::tool::hex(*bytes) + "\n"), "");
    const std::string changes = outputOf({"scan", file, "--changes"});
    EXPECT_NE(changes.find(": event 3 out at PTS 900000, for 0.000 s, returns by itself\n"), std::string::npos)
        << changes;
    EXPECT_TRUE(changes.ends_with(": segment 9 ProgramStart, for 0.000 s\n"
                                  "event 3: out without in\n"
                                  "segment 9 ProgramStart: start without end\n"))
        << changes;
}

TEST(SCTE35, ScanSaysWhatIsWrongWithSectionsBehindDamagedPackets) {
    const TemporaryFolder folder;
    const std::string section = "fc301200000000000000fff001067f000031c853bc\n";
    const std::string file = folder.path("a.ts");
    ASSERT_EQ(outputOf({"scte35", "-", "--from-format", "section", "-o", file}, section), "");
    std::string stream = folder.read("a.ts");
    const std::size_t packet = stream.find("\x47\x41\x01");
    ASSERT_NE(packet, std::string::npos);
    ASSERT_EQ(packet % 188, 0U);
    stream[packet + 10] = static_cast<char>(stream[packet + 10] ^ 1);
    // Also what is wrong with a table, which nobody else says where there are no frames.
    std::string wrongTable = folder.read("a.ts");
    const std::size_t table = wrongTable.find("\x47\x40" + std::string(1, '\0'));
    ASSERT_EQ(table % 188, 0U);
    wrongTable[table + 9] = static_cast<char>(wrongTable[table + 9] ^ 1);
    const ToolResult ofTable = runTool({"scan", folder.write("c.ts", wrongTable)});
    EXPECT_EQ(ofTable.exitCode, 1);
    EXPECT_NE(ofTable.err.find("PID 0x0000: wrong CRC"), std::string::npos) << ofTable.err;
    // However many there are: 94 times the 16 values of the counter, behind the first one.
    std::string tables;
    for (int number = 1; number <= 94 * 16; ++number) {
        tables += wrongTable.substr(table, 188);
        char& counter = tables[tables.size() - 185];
        counter = static_cast<char>((counter & 0xF0) | ((counter + number) & 0xF));
    }
    const ToolResult ofTables = runTool({"scan", folder.write("d.ts", wrongTable.insert(table + 188, tables))});
    EXPECT_EQ(ofTables.exitCode, 1);
    EXPECT_NE(ofTables.err.find("qlxcc: 1495 more like \"" + folder.path("d.ts") + ": byte "), std::string::npos)
        << ofTables.err;
    // More packets than findings are usually kept of, whose counter jumps each time.
    std::string damaged;
    for (int number = 0; number < 1500; ++number) {
        damaged +=
            "\x47\x01\x01" + std::string(1, static_cast<char>(0x10 + number * 5 % 16)) + std::string(184, '\xFF');
    }
    const ToolResult listed = runTool({"scan", folder.write("b.ts", stream.insert(packet, damaged))});
    EXPECT_EQ(listed.exitCode, 1);
    const std::string place = folder.path("b.ts") + ": byte ";
    EXPECT_EQ(listed.err.substr(0, place.size() + 7), "qlxcc: " + place);
    EXPECT_NE(listed.err.find("PID 0x0101: wrong CRC"), std::string::npos) << listed.err;
    EXPECT_NE(listed.err.find(" more like \"" + place), std::string::npos) << listed.err;
}

}  // namespace

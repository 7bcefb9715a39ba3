// Writing frames: qlxcc scan with a name in .klv, .jsonl or .v210, qlxcc rate, and how packets are put on rows.
#include "AncBytes.h"
#include "SubtitleFiles.h"
#include "ToolRunner.h"

#include <QLXClosedCaptionsUtilities/QLXCCUtilities.h>

#include <qlx/anc/row.h>
#include <qlx/facade/packet.h>

#include <gtest/gtest.h>

#include <filesystem>

namespace {

using qlxtest::ancSamples;
using qlxtest::blankSamples;
using qlxtest::place;
using qlxtest::runTool;
using qlxtest::TemporaryFolder;
using qlxtest::ToolResult;
using qlxtest::v210Bytes;

using Arguments = std::vector<std::string>;
using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kWidth = 768;  ///< Pixels of a row without padding.

/// Two packets of these sizes in luma, one right behind the other, as samples.
std::vector<std::uint16_t> samplesOf(const std::vector<std::size_t>& sizes, std::size_t firstSample = 1) {
    std::vector<std::uint16_t> samples = blankSamples(kWidth);
    for (const std::size_t size : sizes) {
        const auto packet = ancSamples(0x41, 0x05, Bytes(size, static_cast<std::uint8_t>(size)));
        place(samples, firstSample, 2, packet);
        firstSample += packet.size() * 2;
    }
    return samples;
}

/// The JSON lines of frames with these packets on line 9.
std::string jsonOf(const std::vector<std::size_t>& sizes, const std::string& more = "") {
    std::string text = R"({"frame":0,"packets":[)";
    for (std::size_t index = 0; index < sizes.size(); ++index) {
        const Bytes data(sizes[index], static_cast<std::uint8_t>(sizes[index]));
        text += std::string(index == 0 ? "" : ",") + R"({"line":9,"did":65,"sdid":5,)" + more +
                R"("type":"AFD/Bar Data","data":")" + qlxtest::toHex(data) + "\"}";
    }
    return qlxtest::withSchema(text + "]}\n");
}

std::string bytesAsText(const Bytes& bytes) {
    return {bytes.begin(), bytes.end()};
}

ToolResult run(Arguments arguments, const Arguments& more = {}) {
    arguments.insert(arguments.end(), more.begin(), more.end());
    return runTool(arguments);
}

const Arguments kRows{"--lines", "9", "--width", "768"};

TEST(FrameOutput, IsChosenByTheNameOrByAnOption) {
    const TemporaryFolder folder;
    const std::string rows = folder.write("a.v210", v210Bytes(samplesOf({3})));
    const std::string json = jsonOf({3});
    for (const auto& [name, format] : std::vector<std::pair<std::string, std::string>>{
             {"b.klv", ""}, {"b.jsonl", ""}, {"b.v210", ""}, {"b.KLV", ""}, {"b.txt", "klv"}, {"b.klv", "jsonl"}}) {
        const std::string file = folder.path(name);
        const ToolResult written = run({"scan", rows, "-o", file}, kRows);
        ASSERT_EQ(written.out + written.err, "") << name;
        Arguments again{"scan", file, "--json"};
        if (!format.empty()) {
            ASSERT_EQ(run({"scan", rows, "-o", file, "--to-format", format}, kRows).exitCode, 0);
            again.insert(again.end(), {"--from-format", format});
        }
        EXPECT_EQ(run(again, name == "b.v210" ? kRows : Arguments()).out, json) << name << " " << format;
    }
    EXPECT_EQ(folder.read("b.v210"), folder.read("a.v210"));
    EXPECT_EQ(run({"scan", rows, "--to-format", "jsonl"}, kRows).out, json);
    EXPECT_EQ(run({"scan", rows, "--to-format", "v210", "-o", "-"}, kRows).out, folder.read("a.v210"));
    // Any other name has the list.
    EXPECT_EQ(run({"scan", rows, "-o", folder.path("c.txt")}, kRows).exitCode, 0);
    EXPECT_EQ(folder.read("c.txt"), run({"scan", rows}, kRows).out);
    // JSON lines with what the packets hold may have a name in .jsonl.
    EXPECT_EQ(run({"scan", rows, "--json", "-o", folder.path("c.jsonl")}, kRows).exitCode, 0);
    EXPECT_EQ(folder.read("c.jsonl"), json);
}

TEST(FrameOutput, KeepsEveryFrame) {
    const TemporaryFolder folder;
    const std::string json = jsonOf({3}) + R"({"frame":1,"packets":[]})" + "\n" +
                             R"({"frame":2,"packets":[{"line":12,"did":67,"sdid":2,"type":"OP-47","data":"51"}]})" +
                             "\n";
    const std::string file = folder.write("a.jsonl", json);
    const Arguments rows{"--lines", "9,12", "--width", "768"};
    ASSERT_EQ(run({"scan", file, "-o", folder.path("b.v210")}, rows).err, "");
    EXPECT_EQ(folder.read("b.v210").size(), 3U * 2 * 2048);
    ASSERT_EQ(run({"scan", folder.path("b.v210"), "-o", folder.path("c.klv")}, rows).err, "");
    EXPECT_EQ(runTool({"scan", folder.path("c.klv"), "--json"}).out, json);
}

TEST(FrameOutput, PutsPacketsOneBehindTheOther) {
    const TemporaryFolder folder;
    for (std::size_t first = 0; first < 14; ++first) {
        const std::string file = folder.write("a.jsonl", jsonOf({first, 5, 0}));
        const std::string target = folder.path("a.v210");
        ASSERT_EQ(run({"scan", file, "-o", target}, kRows).err, "");
        EXPECT_EQ(folder.read("a.v210"), bytesAsText(v210Bytes(samplesOf({first, 5, 0})))) << first;
    }
}

TEST(FrameOutput, GivesTheBytesOfTheFixedOperationWhenAsked) {
    const TemporaryFolder folder;
    for (std::size_t first = 0; first < 14; ++first) {
        std::vector<qlx::anc::Packet> packets;
        for (const std::size_t size : {first, std::size_t{5}}) {
            packets.emplace_back();
            packets.back().did = 0x41;
            packets.back().sdid = 0x05;
            packets.back().line = 9;
            packets.back().userData.assign(size, static_cast<std::uint8_t>(size));
        }
        Bytes row = v210Bytes(blankSamples(kWidth));
        QLXCCUtilities::fillYComponentIn10BitBuffer_withVANCPackets_destinationBufferSize_lineNumber(
            row.data(), qlx::facade::toVANCPackets(packets), row.size(), 9);
        const std::string file = folder.write("a.jsonl", jsonOf({first, 5}));
        ASSERT_EQ(run({"scan", file, "-o", folder.path("a.v210"), "--as-deployed"}, kRows).err, "");
        EXPECT_EQ(folder.read("a.v210"), bytesAsText(row)) << first;
    }
    // One packet on a row is the same either way, and so is an element whose packets need padding.
    const std::string srt = folder.write("a.srt", qlxtest::srt({{"00:00:00,000", "00:00:00,200", "Bonjour"}}));
    for (const char* const name : {"b.v210", "b.klv"}) {
        ASSERT_EQ(runTool(qlxtest::deployedTeletextArguments(srt, "25", {"-o", folder.path("c.jsonl")})).exitCode, 0);
        Arguments scan{"scan", folder.path("c.jsonl"), "-o", folder.path(name)};
        if (name == std::string("b.v210")) {
            scan.insert(scan.end(), {"--lines", "12,575"});
        }
        ASSERT_EQ(runTool(scan).err, "");
        const std::string plain = folder.read(name);
        ASSERT_EQ(runTool(qlxtest::deployedTeletextArguments(srt, "25", {"-o", folder.path(name)})).exitCode, 0);
        EXPECT_EQ(folder.read(name), plain);
    }
}

TEST(FrameOutput, WritesElementsByTheStandardOrAsTheFixedOperation) {
    const TemporaryFolder folder;
    const auto expect = [&](const std::string& name, const std::vector<std::string_view>& parts) {
        EXPECT_EQ(folder.read(name), bytesAsText(qlxtest::joined(parts))) << name;
    };
    // DID, SDID, data count and five bytes are a multiple of four, behind which the fixed operation has four zeros.
    const std::string_view core = "0008 00000008 00000001 410505 0505050505";
    const std::string_view fixed = "0008 0000000c 00000001 410505 0505050505 00000000";
    const std::string luma = folder.write("a.jsonl", jsonOf({5}));
    const std::string chroma = folder.write("c.jsonl", jsonOf({5}, R"("channel":"chroma",)"));
    ASSERT_EQ(runTool({"scan", luma, "-o", folder.path("a.klv")}).err, "");
    expect("a.klv", {qlxtest::kAncKeyHex, "83000018 0001 0009 01 04", core});
    ASSERT_EQ(runTool({"scan", chroma, "-o", folder.path("c.klv")}).err, "");
    expect("c.klv", {qlxtest::kAncKeyHex, "83000018 0001 0009 01 05", core});
    ASSERT_EQ(runTool({"scan", luma, "-o", folder.path("d.klv"), "--as-deployed"}).err, "");
    expect("d.klv", {qlxtest::kAncKeyHex, "8300001c 0001 0009 01 04", fixed});
    // All three hold the same packet.
    EXPECT_EQ(runTool({"scan", folder.path("a.klv"), "--json"}).out, jsonOf({5}));
    EXPECT_EQ(runTool({"scan", folder.path("c.klv"), "--json"}).out, folder.read("c.jsonl"));
    EXPECT_EQ(runTool({"scan", folder.path("d.klv"), "--json"}).out, jsonOf({5}));
}

TEST(FrameOutput, HasTheSamePacketsInEitherElement) {
    const TemporaryFolder folder;
    const std::string srt = folder.write("a.srt", qlxtest::srt({{"00:00:00,000", "00:00:00,400", "Bonjour"}}));
    EXPECT_EQ(run(qlxtest::deployedCaptionArguments(srt, "25", {"-o", folder.path("a.jsonl")}), {}).exitCode, 0);
    const auto written = [&](const std::string& name, const Arguments& more) {
        EXPECT_EQ(run({"scan", folder.path("a.jsonl"), "-o", folder.path(name)}, more).exitCode, 0);
        return runTool({"scan", folder.path(name), "--json"}).out;
    };
    const std::string packets = written("a.klv", {});
    EXPECT_EQ(qlxtest::linesOf(packets).size(), qlxtest::linesOf(folder.read("a.jsonl")).size());
    EXPECT_EQ(written("b.klv", {"--as-deployed"}), packets);
    // DID, SDID, data count and 101 bytes of a caption packet are a multiple of four.
    EXPECT_EQ(folder.read("b.klv").size() - folder.read("a.klv").size(), qlxtest::linesOf(packets).size() * 4);
}

TEST(FrameOutput, GoesOnBehindWhatIsWrongAndUsed) {
    const TemporaryFolder folder;
    const auto expectNote = [&](const std::string& text) {
        const std::string file = folder.path("a.klv");
        EXPECT_EQ(text.rfind("qlxcc: ", 0), 0U) << text;
        EXPECT_NE(text.find(file), std::string::npos) << text;
        EXPECT_NE(text.find("wrapping type 55"), std::string::npos) << text;
    };
    // An unknown wrapping type loses no packet.
    folder.write("a.klv", qlxtest::joined({qlxtest::kAncKeyHex, "83000018 0001 0015 55 04",
                                           "0006 00000008 00000001 61 02 03 8094ae 0000"}));
    const ToolResult list = runTool({"scan", folder.path("a.klv")});
    EXPECT_EQ(list.exitCode, 1);
    expectNote(list.err);
    const ToolResult written = runTool({"scan", folder.path("a.klv"), "-o", folder.path("b.jsonl")});
    EXPECT_EQ(written.exitCode, 1) << written.err;
    expectNote(written.err);
    EXPECT_NE(folder.read("b.jsonl").find("8094ae"), std::string::npos);
    const ToolResult changed =
        runTool({"rate", folder.path("a.klv"), "-o", folder.path("c.jsonl"), "--from-rate", "25", "--to-rate", "25"});
    EXPECT_EQ(changed.exitCode, 1) << changed.err;
    EXPECT_NE(changed.err.find("wrapping type 55"), std::string::npos) << changed.err;
    EXPECT_NE(folder.read("c.jsonl").find("8094ae"), std::string::npos);
    // Samples of one bit are no packet: what is left is written, and it is said what is not.
    folder.write("a.klv", qlxtest::joined(
                              {qlxtest::kAncKeyHex, "83000014 0001 0015 01 01", "0001 00000004 00000001 61 02 00 00"}));
    const std::vector<std::string> rates{"--from-rate", "25", "--to-rate", "25"};
    const auto expectNothing = [&](std::vector<std::string> arguments) {
        arguments.insert(arguments.end(), {"-o", folder.path("d.jsonl")});
        const ToolResult result = runTool(arguments);
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(qlxtest::linesOf(result.err).size(), 1U) << result.err;
        EXPECT_NE(result.err.find("sample coding 1 "), std::string::npos) << result.err;
        EXPECT_NE(folder.read("d.jsonl").find("\"packets\":[]"), std::string::npos) << folder.read("d.jsonl");
    };
    expectNothing({"scan", folder.path("a.klv")});
    expectNothing({"rate", folder.path("a.klv"), rates[0], rates[1], rates[2], rates[3]});
}

TEST(FrameOutput, HasWhatStandsAroundDamage) {
    const TemporaryFolder folder;
    const std::string element = "18 0001 0015 01 04 0006 00000008 00000001 61 02 03 8094ae 0000";
    const auto framesIn = [&](const std::string& name) {
        return qlxtest::linesOf(runTool({"scan", folder.path(name), "--json"}).out).size();
    };
    const auto expectFrames = [&](std::size_t frames, const std::vector<std::string>& words) {
        for (const std::vector<std::string>& command : std::vector<std::vector<std::string>>{
                 {"scan"}, {"rate", "--from-rate", "25", "--to-rate", "25"}, {"convert", "--from-rate", "25"}}) {
            std::vector<std::string> arguments = command;
            arguments.insert(arguments.end(), {folder.path("a.klv"), "-o", folder.path("b.klv")});
            const ToolResult result = runTool(arguments);
            EXPECT_EQ(result.exitCode, 1) << command[0];
            for (const std::string& word : words) {
                EXPECT_NE(result.err.find(word), std::string::npos) << command[0] << ": " << result.err;
            }
            EXPECT_EQ(framesIn("b.klv"), frames) << command[0];
            std::filesystem::remove(folder.path("b.klv"));
        }
    };
    // Bytes that are no key stand between two elements.
    folder.write("a.klv",
                 qlxtest::joined({qlxtest::kAncKeyHex, element, "160e2b340102", qlxtest::kAncKeyHex, element}));
    expectFrames(2, {"no key begins with 16", "6 bytes skipped"});
    // The recording was interrupted.
    auto cut =
        qlxtest::joined({qlxtest::kAncKeyHex, element, qlxtest::kAncKeyHex, element, qlxtest::kAncKeyHex, element});
    cut.resize(cut.size() - 5);
    folder.write("a.klv", cut);
    expectFrames(2, {"KLV triplet cut short"});
    // In the midst of a key, and of the first element, where nothing is left.
    cut.resize(41 + 41 + 7);
    folder.write("a.klv", cut);
    expectFrames(2, {"cut"});
    cut.resize(30);
    folder.write("a.klv", cut);
    const ToolResult nothing = runTool({"scan", folder.path("a.klv"), "-o", folder.path("b.klv")});
    EXPECT_EQ(nothing.exitCode, 1);
    EXPECT_EQ(folder.names(), std::vector<std::string>{"a.klv"});
}

TEST(FrameOutput, HasThePacketsOfRowsWithWrongChecksums) {
    const TemporaryFolder folder;
    // Twelve frames of a packet with a wrong checksum: the last of ten words is luma sample 9, in 32-bit word 6.
    std::vector<std::uint16_t> samples = samplesOf({3});
    samples[19] ^= 0x001U;
    Bytes rows;
    for (int frame = 0; frame < 12; ++frame) {
        const Bytes row = v210Bytes(samples);
        rows.insert(rows.end(), row.begin(), row.end());
    }
    const std::string file = folder.write("a.v210", rows);
    const auto isSaid = [&](const std::string& line, int frame) {
        return line.find(file + ": frame " + std::to_string(frame) + ", line 9, byte 24 of the row: checksum ") !=
               std::string::npos;
    };
    const ToolResult written = run({"scan", file, "-o", folder.path("b.klv")}, kRows);
    EXPECT_EQ(written.exitCode, 1);
    const auto lines = qlxtest::linesOf(written.err);
    ASSERT_EQ(lines.size(), 11U) << written.err;
    EXPECT_TRUE(isSaid(lines[0], 0) && isSaid(lines[9], 9)) << written.err;
    EXPECT_EQ(lines[10], "qlxcc: 2 more like \"" + lines[0].substr(std::string("qlxcc: ").size()) + "\"");
    std::string json;
    for (int frame = 0; frame < 12; ++frame) {
        json += (frame == 0 ? jsonOf({3}) : qlxtest::withoutSchema(jsonOf({3}))).replace(9, 1, std::to_string(frame));
    }
    EXPECT_EQ(runTool({"scan", folder.path("b.klv"), "--json"}).out, json);
    const Arguments rates{"--from-rate", "25", "--to-rate", "25"};
    Arguments rate{"rate", file, "-o", folder.path("c.klv"), "--quiet"};
    rate.insert(rate.end(), rates.begin(), rates.end());
    const ToolResult changed = run(rate, kRows);
    EXPECT_EQ(changed.exitCode, 1);
    const auto said = qlxtest::linesOf(changed.err);
    ASSERT_EQ(said.size(), 11U) << changed.err;
    EXPECT_TRUE(isSaid(said[0], 0) && isSaid(said[9], 9)) << changed.err;
    EXPECT_EQ(said[10], "qlxcc: " + file + ": 2 more problems");
    EXPECT_EQ(qlxtest::linesOf(runTool({"scan", folder.path("c.klv"), "--json"}).out).size(), 12U);
    // The last row is cut.
    rows.resize(rows.size() - 1);
    const std::string cut = folder.write("cut.v210", rows);
    const ToolResult before = run({"scan", cut, "-o", folder.path("d.klv")}, kRows);
    EXPECT_EQ(before.exitCode, 1);
    EXPECT_NE(before.err.find("the last row is cut short"), std::string::npos) << before.err;
    EXPECT_EQ(qlxtest::linesOf(runTool({"scan", folder.path("d.klv"), "--json"}).out).size(), 11U);
}

TEST(FrameOutput, KeepsChannelsOnRowsAndSaysWhereItCannot) {
    const TemporaryFolder folder;
    const std::string chroma = jsonOf({3}, R"("channel":"chroma",)");
    const std::string file = folder.write("a.jsonl", chroma);
    const std::string rows = folder.path("a.v210");
    ASSERT_EQ(run({"scan", file, "-o", rows}, kRows).err, "");
    EXPECT_EQ(folder.read("a.v210"), bytesAsText(v210Bytes(samplesOf({3}, 0))));
    EXPECT_EQ(run({"scan", rows, "--json"}, kRows).out, chroma);
    const std::string multiplex = folder.write("m.jsonl", jsonOf({3}, R"("channel":"multiplex",)"));
    const Arguments narrow{"--lines", "9", "--width", "48"};
    ASSERT_EQ(run({"scan", multiplex, "-o", folder.path("m.v210")}, narrow).err, "");
    EXPECT_EQ(run({"scan", folder.path("m.v210"), "--json"}, narrow).out, folder.read("m.jsonl"));
    for (const std::string& kept : {chroma, folder.read("m.jsonl")}) {
        const std::string from = folder.write("k.jsonl", kept);
        ASSERT_EQ(runTool({"scan", from, "-o", folder.path("k.klv")}).err, "");
        EXPECT_EQ(runTool({"scan", folder.path("k.klv"), "--json"}).out, kept);
    }
    for (const Arguments& target : {Arguments{"-o", folder.path("b.klv"), "--as-deployed"},
                                    Arguments{"-o", folder.path("b.v210"), "--as-deployed", "--lines", "9"}}) {
        const ToolResult lossy = run({"scan", file}, target);
        EXPECT_EQ(lossy.exitCode, 0);
        EXPECT_EQ(lossy.err, "qlxcc: warning: " + target[1] +
                                 ": written as luma: 1 packet of chroma or the multiplex, first: frame 0, line 9\n");
    }
    EXPECT_EQ(runTool({"scan", folder.path("b.klv"), "--json"}).out, jsonOf({3}));
}

TEST(FrameOutput, SaysHowManyCaptionsAreInNoPacket) {
    const TemporaryFolder folder;
    const std::string file = folder.write("a.scc", "Scenarist_SCC V1.0\n\n00:00:00:00\t9420 94ae\n");
    for (const Arguments& target :
         {Arguments{"-o", folder.path("a.klv")}, Arguments{"-o", folder.path("a.v210"), "--rows", "1"}}) {
        const ToolResult result = run({"scan", file}, target);
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_EQ(result.err, "qlxcc: warning: " + target[1] +
                                  ": left out: the captions of 2 frames that are in no packet, first: frame 0\n");
        EXPECT_EQ(run({"scan", file, "--quiet"}, target).err, "");
    }
    // JSON lines have them.
    ASSERT_EQ(runTool({"scan", file, "-o", folder.path("a.jsonl")}).err, "");
    EXPECT_NE(folder.read("a.jsonl").find(R"("captions":{"data":"fc9420"})"), std::string::npos);
}

TEST(FrameOutput, KeepsTheWrappingTypesAndSaysWhereItCannot) {
    const TemporaryFolder folder;
    // HANC of field 2 in luma, and of a progressive frame in chroma.
    folder.write("a.klv", qlxtest::joined({qlxtest::kAncKeyHex, "83000026",
                                           "0002 0009 13 04 0004 00000004 00000001 610201 80"
                                           "000a 14 05 0004 00000004 00000001 610201 80"}));
    EXPECT_EQ(runTool({"scan", folder.path("a.klv"), "-o", folder.path("b.klv")}).err, "");
    EXPECT_EQ(folder.read("b.klv"), folder.read("a.klv"));
    // JSON lines leave out the same wherever they are written.
    EXPECT_EQ(runTool({"scan", folder.path("a.klv"), "--json"}).err,
              "qlxcc: warning: standard output: left out: the wrapping type of 2 packets, first: frame 0, line 9\n");
    const Arguments rate{"rate", folder.path("a.klv"), "--from-rate", "25", "--to-rate", "50", "-o"};
    for (const Arguments& command : {Arguments{"scan", folder.path("a.klv"), "-o"}, rate}) {
        const ToolResult lossy = run(command, {folder.path("b.jsonl")});
        EXPECT_EQ(lossy.exitCode, 0);
        EXPECT_EQ(lossy.err, "qlxcc: warning: " + folder.path("b.jsonl") +
                                 ": left out: the wrapping type of 2 packets, first: frame 0, line 9\n");
    }
}

TEST(FrameOutput, SaysWhichPlacesOnRowsAreLeftOut) {
    const TemporaryFolder folder;
    // One at word 12, and one right behind it; then two at the beginning, which lose nothing.
    const Bytes first = v210Bytes(samplesOf({3, 2}, 25));
    Bytes rows = first;
    for (const Bytes& more : {v210Bytes(samplesOf({3, 2})), first}) {
        rows.insert(rows.end(), more.begin(), more.end());
    }
    const std::string file = folder.write("a.v210", rows);
    const ToolResult result = run({"scan", file, "-o", folder.path("b.klv")}, kRows);
    EXPECT_EQ(result.exitCode, 0);
    const std::string note = "qlxcc: warning: " + folder.path("b.klv") +
                             ": left out: the horizontal offset of 4 packets, first: frame 0, line 9\n";
    EXPECT_NE(result.err.find(note), std::string::npos) << result.err;
    EXPECT_EQ(run({"scan", file, "-o", folder.path("b.jsonl")}, kRows).err.find("left out"), std::string::npos);
}

TEST(FrameOutput, RefusesPacketsWithoutAPlace) {
    const TemporaryFolder folder;
    const std::string target = folder.path("b.v210");
    const auto message = [&](const std::string& json, const Arguments& more) {
        const ToolResult result = run({"scan", folder.write("a.jsonl", json), "-o", target}, more);
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(folder.names(), Arguments{"a.jsonl"});
        return result.err;
    };
    EXPECT_EQ(message(jsonOf({3}), {"--lines", "8,10"}),
              "qlxcc: frame 0, line 9: there is no row for the AFD/Bar Data packet: name its line with --lines\n");
    for (const Arguments& form : {Arguments{}, Arguments{"--as-deployed"}}) {
        Arguments narrow{"--lines", "9", "--width", "20"};
        narrow.insert(narrow.end(), form.begin(), form.end());
        EXPECT_EQ(
            message(jsonOf({3, 5}), narrow),
            "qlxcc: frame 0, line 9: a row of 20 pixels is too narrow for the AFD/Bar Data packet, which takes 12 "
            "luma samples: give a greater --width\n");
    }
    EXPECT_EQ(message(jsonOf({256}), {"--lines", "9"}),
              "qlxcc: frame 0, line 9: 256 user data words, a packet has at most 255\n");
    EXPECT_EQ(message(jsonOf({3, 256}), {"--lines", "9", "--as-deployed"}),
              "qlxcc: frame 0, line 9: 256 user data words, a packet has at most 255\n");
    std::string both = jsonOf({3, 5});
    both.insert(both.rfind("\"type\""), R"("channel":"multiplex",)");
    EXPECT_EQ(message(both, {"--lines", "9"}),
              "qlxcc: frame 0, line 9: packets of the multiplex have no place beside those of luma or chroma\n");
}

TEST(FrameOutput, RefusesPacketsThatAnElementHasNoPlaceFor) {
    const TemporaryFolder folder;
    const std::string target = folder.path("b.klv");
    for (const Arguments& form : {Arguments{}, Arguments{"--as-deployed"}}) {
        const auto message = [&](const std::vector<std::size_t>& sizes) {
            const ToolResult result = run({"scan", folder.write("a.jsonl", jsonOf(sizes)), "-o", target}, form);
            EXPECT_EQ(result.exitCode, 1);
            EXPECT_EQ(result.out, "");
            EXPECT_EQ(folder.names(), Arguments{"a.jsonl"});
            return result.err;
        };
        EXPECT_EQ(message({3, 256, 5}), "qlxcc: frame 0, line 9: 256 user data words, a packet has at most 255\n");
    }
}

TEST(FrameOutput, OfARateHasTheFormOfItsName) {
    const TemporaryFolder folder;
    const std::string rows = folder.write("a.v210", v210Bytes(samplesOf({3})));
    const auto rate = [&](const std::string& name, const Arguments& more = {}) {
        Arguments arguments{"rate", rows, "--from", "25", "--to", "50", "-o", folder.path(name)};
        arguments.insert(arguments.end(), more.begin(), more.end());
        const ToolResult result = run(arguments, kRows);
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_EQ(result.out + result.err, "");
        return folder.read(name);
    };
    // The packet describes its frame, and is repeated with it.
    EXPECT_EQ(rate("b.v210"), folder.read("a.v210") + folder.read("a.v210"));
    const auto jsonAt = [](const std::string& json, const std::string& frame) {
        std::string text = json;
        text.replace(text.find("\"frame\":0,"), 10,
                     "\"frame\":" + frame + R"(,"pts":)" + qlxtest::jsonTime(std::stoi(frame), 50) + ",");
        return text;
    };
    const std::string json = jsonAt(jsonOf({3}), "0") + jsonAt(qlxtest::withoutSchema(jsonOf({3})), "1");
    EXPECT_EQ(rate("b.jsonl"), json);
    EXPECT_EQ(rate("b.bin", {"--to-format", "jsonl"}), json);
    EXPECT_EQ(rate("b.klv"), rate("c.bin"));
    // The fixed operations leave it with the first frame.
    const std::string deployed = rate("c.bin", {"--as-deployed"});
    EXPECT_EQ(rate("b.klv").substr(0, deployed.size() / 2), deployed.substr(0, deployed.size() / 2));
    const Bytes blank = v210Bytes(blankSamples(kWidth));
    EXPECT_EQ(rate("d.v210", {"--as-deployed"}), folder.read("a.v210") + bytesAsText(blank));
    const ToolResult needed =
        runTool({"rate", folder.path("b.klv"), "--from", "50", "--to", "25", "-o", folder.path("d.v210")});
    EXPECT_EQ(needed.exitCode, 2);
    EXPECT_TRUE(needed.err.starts_with(
        "qlxcc: --lines or --rows is needed to write v210: a row stands for the same line in every frame"))
        << needed.err;
}

TEST(FrameOutput, RefusesWhatDoesNotGoTogether) {
    const TemporaryFolder folder;
    const std::string json = folder.write("a.jsonl", jsonOf({3}));
    const std::string klv = folder.path("b.klv");
    for (const Arguments& arguments :
         {Arguments{"scan", json, "--json", "-o", klv}, Arguments{"scan", json, "--json", "--to-format", "jsonl"},
          Arguments{"scan", json, "--as-deployed"}, Arguments{"scan", json, "--to-format", "jsonl", "--as-deployed"},
          Arguments{"scan", json, "--json", "--as-deployed", "-o", folder.path("b.jsonl")},
          Arguments{"scan", json, "--to-format", "scc"}, Arguments{"scan", json, "-o", folder.path("b.v210")},
          Arguments{"scan", json, "-o", klv, "--lines", "9"}, Arguments{"scan", json, "-o", klv, "--near-start"},
          Arguments{"scan", json, "-o", folder.path("b.v210"), "--lines", "9", "--near-start"},
          Arguments{"rate", json, "--from", "25", "--to", "50", "-o", folder.path("b.jsonl"), "--as-deployed"},
          Arguments{"play", "a.srt", "--mode", "cea708", "--rate", "25", "--as-deployed", "-o", "b.jsonl"}}) {
        const ToolResult result = runTool(arguments);
        EXPECT_EQ(result.exitCode, 2) << arguments.back();
        EXPECT_EQ(result.out, "");
        EXPECT_TRUE(qlxtest::isOneMessage(result.err)) << result.err;
    }
    EXPECT_EQ(folder.names(), Arguments{"a.jsonl"});
}

}  // namespace

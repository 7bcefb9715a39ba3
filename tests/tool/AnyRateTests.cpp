// qlxcc rate: frames with packets from any rate to any other.
#include "AncBytes.h"
#include "CaptionBytes.h"
#include "Sanitized.h"
#include "ToolRunner.h"

#include <gtest/gtest.h>

#include <iterator>
#include <set>
#include <sstream>

namespace {

using qlxtest::byteHex;
using qlxtest::cdpHex;
using qlxtest::fromHex;
using qlxtest::linesOf;
using qlxtest::repeated;
using qlxtest::runTool;
using qlxtest::TemporaryFolder;
using qlxtest::ToolResult;

using Arguments = std::vector<std::string>;

/// A packet of a JSON line.
std::string packetJson(unsigned did, unsigned sdid, unsigned line, const std::string& type, const std::string& data,
                       const std::string& more = "") {
    return R"({"line":)" + std::to_string(line) + R"(,"did":)" + std::to_string(did) + R"(,"sdid":)" +
           std::to_string(sdid) + "," + more + R"("type":")" + type + R"(","data":")" + data + "\"}";
}

std::string captionJson(const std::string& cdp, unsigned line = 9) {
    return packetJson(0x61, 0x01, line, "CEA708", cdp);
}

std::string teletextJson(const std::string& data, unsigned line = 12) {
    return packetJson(0x43, 0x02, line, "OP-47", data);
}

std::string frameJson(std::uint64_t number, const Arguments& packets, const std::string& pts = "",
                      const std::string& more = "") {
    std::string text =
        R"({"frame":)" + std::to_string(number) + (pts.empty() ? "" : R"(,"pts":)" + pts) + R"(,"packets":[)";
    for (std::size_t index = 0; index < packets.size(); ++index) {
        text += (index == 0 ? "" : ",") + packets[index];
    }
    return text + "]" + more + "}\n";
}

std::string time(std::int64_t value, std::int32_t timescale) {
    return qlxtest::jsonTime(value, timescale);
}

/// A CDP without service information: the standard's header, triplets and footer.
std::string bareCdp(unsigned rateCode, const std::string& triplets, unsigned counter, bool hasServices = false) {
    const std::string services = hasServices ? std::string(qlxtest::kServicesHex) : std::string();
    const std::string count = byteHex(counter >> 8) + byteHex(counter);
    const std::string sections =
        "72" + byteHex(0xE0 | static_cast<unsigned>(triplets.size() / 6)) + triplets + services;
    std::string text = "9669" + byteHex(static_cast<unsigned>(sections.size() / 2 + 11)) +
                       byteHex(rateCode << 4 | 0xF) + (hasServices ? "7f" : "43") + count + sections + "74" + count;
    unsigned sum = 0;
    for (const std::uint8_t byte : fromHex(text)) {
        sum += byte;
    }
    return text + byteHex(0x100 - sum % 0x100);
}

ToolResult runRate(const TemporaryFolder& folder, const std::string& in, const std::string& from, const std::string& to,
                   const std::string& out, const Arguments& more = {}) {
    Arguments arguments{"rate", folder.path(in), "--from-rate", from, "--to-rate", to, "-o", folder.path(out)};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return runTool(arguments);
}

TEST(AnyRate, GivesEachFrameTheSlotsOfItsRate) {
    const TemporaryFolder folder;
    folder.write("a.jsonl",
                 frameJson(0, {captionJson(cdpHex(3, "fc942cfd152cff0202fe0304" + repeated("fa0000", 20), 7)),
                               teletextJson("aabb")}));
    const ToolResult result = runRate(folder, "a.jsonl", "25", "50", "b.jsonl");
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out + result.err, "");
    EXPECT_EQ(qlxtest::withoutSchema(folder.read("b.jsonl")),
              frameJson(0,
                        {captionJson(bareCdp(6, "fc942cff0202fe0304" + repeated("fa0000", 9), 7, true)),
                         teletextJson("aabb")},
                        time(0, 50)) +
                  frameJson(1, {captionJson(bareCdp(6, "fd152c" + repeated("fa0000", 11), 8))}, time(1, 50)));
    // The older spelling of the rates, and the other formats.
    ASSERT_EQ(runTool({"rate", folder.path("a.jsonl"), "--from", "25", "--to", "50", "-o", folder.path("c.jsonl")}).err,
              "");
    EXPECT_EQ(folder.read("c.jsonl"), folder.read("b.jsonl"));
    const Arguments rows{"--lines", "9,12"};
    ASSERT_EQ(runRate(folder, "a.jsonl", "25", "50", "b.klv").err, "");
    ASSERT_EQ(runRate(folder, "a.jsonl", "25", "50", "b.v210", rows).err, "");
    Arguments scan{"scan", folder.path("b.v210")};
    scan.insert(scan.end(), rows.begin(), rows.end());
    const std::string list = runTool({"scan", folder.path("b.klv")}).out;
    EXPECT_TRUE(list.ends_with("\n3 packets in 2 frames\n")) << list;
    EXPECT_EQ(runTool(scan).out, list);
    // Back at 25 the pair of field 2 came behind the beginning of the only frame.
    const auto warning = [&folder](const std::string& name) {
        return "qlxcc: warning: " + folder.path(name) +
               ": frame 1 of the result: triplets of cc_type 1 behind the last frame: 1\n";
    };
    ASSERT_EQ(runRate(folder, "b.v210", "50", "25", "d.klv", rows).err, warning("b.v210"));
    ASSERT_EQ(runRate(folder, "b.klv", "50", "25", "e.klv").err, warning("b.klv"));
    EXPECT_EQ(folder.read("d.klv"), folder.read("e.klv"));
}

/// What frames carry: the triplets with content of each kind, and the data of all other packets.
struct Carried {
    std::string kinds[3];
    std::string others;
    std::string numbered;  ///< The others with the frames' numbers.
    std::size_t frames = 0;
};

Carried carriedBy(const std::string& jsonl) {
    Carried carried;
    for (const std::string& line : linesOf(jsonl)) {
        ++carried.frames;
        const std::string frame = line.substr(9, line.find(',') - 9);
        for (std::size_t at = line.find("\"did\":"); at != std::string::npos; at = line.find("\"did\":", at + 1)) {
            const std::size_t begin = line.find("\"data\":\"", at) + 8;
            const std::string data = line.substr(begin, line.find('"', begin) - begin);
            if (!line.substr(at).starts_with("\"did\":97,\"sdid\":1,")) {
                carried.others += " " + data;
                carried.numbered += " " + frame + ":" + data;
                continue;
            }
            const std::size_t section = data.substr(14, 2) == "71" ? 24 : 14;
            const std::size_t count = fromHex(data.substr(section + 2, 2)).at(0) & 0x1FU;
            for (std::size_t index = 0; index < count; ++index) {
                const std::string triplet = data.substr(section + 4 + index * 6, 6);
                if (triplet.starts_with("fc") && triplet != "fc8080") {
                    carried.kinds[0] += triplet;
                } else if (triplet.starts_with("fd") && triplet != "fd8080") {
                    carried.kinds[1] += triplet;
                } else if (triplet.starts_with("fe") || triplet.starts_with("ff")) {
                    carried.kinds[2] += triplet;
                }
            }
        }
    }
    return carried;
}

/// The words of a text, sorted.
std::multiset<std::string> words(const std::string& text) {
    std::istringstream stream(text);
    return {std::istream_iterator<std::string>(stream), {}};
}

TEST(AnyRate, KeepsEverythingInOrderForAllPairsOfRates) {
    const Arguments names{"23.976", "24", "25", "29.97", "30", "50", "59.94", "60"};
    // Ticks of 1/120000 s in a frame.
    const std::uint64_t ticks[] = {5005, 5000, 4800, 4004, 4000, 2400, 2002, 2000};
    const std::size_t counts[] = {25, 25, 24, 20, 20, 12, 10, 10};
    // Under the sanitizers one in seven.
    const std::size_t step = qlxtest::countFor(std::size_t{1}, std::size_t{7});
    for (std::size_t pair = 0; pair < 64; pair += step) {
        const std::size_t from = pair / 8;
        const std::size_t to = pair % 8;
        const TemporaryFolder folder;
        std::string in;
        std::string numbered;
        for (unsigned frame = 0; frame < 30; ++frame) {
            const std::string byte = byteHex(frame + 0x80);
            std::string triplets = frame % 2 == 0 || from < 5 ? "fc41" + byte : "";
            triplets += frame % 2 == 1 || from < 5 ? "fd61" + byte : "";
            triplets += "ff03" + byte + "fe" + byte + "01fe" + byte + "02";
            triplets += repeated("fa0000", static_cast<int>(counts[from] - triplets.size() / 6));
            in += frameJson(frame, {captionJson(bareCdp(static_cast<unsigned>(from) + 1, triplets, frame)),
                                    teletextJson(byte), packetJson(0x41, 0x07, 13, "SCTE-104", byte + "00")});
            const std::string number = std::to_string((frame * ticks[from] + ticks[to] - 1) / ticks[to]);
            numbered += " " + number + ":" + byte + " " + number + ":" + byte + "00";
        }
        folder.write("a.jsonl", in);
        const ToolResult result = runRate(folder, "a.jsonl", names[from], names[to], "b.jsonl");
        ASSERT_EQ(result.exitCode, 0) << result.err;
        const Carried before = carriedBy(in);
        const Carried after = carriedBy(folder.read("b.jsonl"));
        for (std::size_t kind = 0; kind < 3; ++kind) {
            EXPECT_EQ(after.kinds[kind], before.kinds[kind]) << names[from] << " to " << names[to];
        }
        // Those of one line stand in their order, but lines are sorted: packets that meet in a frame may change places.
        EXPECT_EQ(words(after.numbered), words(numbered)) << names[from] << " to " << names[to];
        EXPECT_GE(after.frames, (30 * ticks[from] + ticks[to] - 1) / ticks[to]);
    }
}

TEST(AnyRate, RepeatsWhatDescribesAFrameAndSaysWhatItDrops) {
    const TemporaryFolder folder;
    const std::string afd = packetJson(0x41, 0x05, 11, "AFD/Bar Data", "0102");
    const std::string atc = packetJson(0x60, 0x60, 9, "Ancillary Timecode", "0304");
    folder.write("a.jsonl", frameJson(0, {afd, atc}));
    ASSERT_EQ(runRate(folder, "a.jsonl", "25", "50", "b.jsonl").err, "");
    EXPECT_EQ(carriedBy(folder.read("b.jsonl")).numbered, " 0:0304 0:0102 1:0304 1:0102");
    const ToolResult result = runRate(folder, "a.jsonl", "25", "60", "c.jsonl");
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "qlxcc: warning: " + folder.path("a.jsonl") +
                              ": frame 0: packet 60/60 is left out: it counts the frames of the old rate\n");
    EXPECT_EQ(carriedBy(folder.read("c.jsonl")).numbered, " 0:0102 1:0102 2:0102");
}

TEST(AnyRate, SaysTenFindingsOfAKindAndHowManyMore) {
    const TemporaryFolder folder;
    std::string in;
    for (unsigned frame = 0; frame < 14; ++frame) {
        // A length byte 8 short, in a packet of another rate.
        in += frameJson(frame, {captionJson(cdpHex(4, repeated("fa0000", 20), frame, 81))});
    }
    folder.write("a.jsonl", in);
    const ToolResult result = runRate(folder, "a.jsonl", "25", "25", "b.jsonl");
    EXPECT_EQ(result.exitCode, 0);
    const std::string name = "qlxcc: warning: " + folder.path("a.jsonl") + ": ";
    std::string expected;
    for (unsigned frame = 0; frame < 14; ++frame) {
        const std::string place = name + "frame " + std::to_string(frame);
        expected += frame < 10 ? place + ", line 9: length 81 in a caption packet of 89 bytes\n" : "";
        expected +=
            frame == 0 ? place + ", line 9: caption packet marked with frame rate code 4 in frames of code 3\n" : "";
    }
    EXPECT_EQ(result.err, expected + name + "4 more like \"length 81 in a caption packet of 89 bytes\"\n");
}

TEST(AnyRate, KeepsCaptionsThatAreInNoPacketAndTheTimeOfTheFirstFrame) {
    const TemporaryFolder folder;
    folder.write("a.jsonl", frameJson(2, {}, time(12, 25), R"(,"captions":{"data":"fc942cfd8080ff0102"})"));
    ASSERT_EQ(runRate(folder, "a.jsonl", "25", "50", "b.jsonl").err, "");
    // Frame 0 is at 10 / 25 s.
    std::string expected;
    for (unsigned frame = 0; frame < 6; ++frame) {
        const std::string captions =
            frame == 4 ? "fc942cff0102" + repeated("fa0000", 10) : "fd8080" + repeated("fa0000", 11);
        expected += frameJson(frame, {}, time(20 + frame, 50),
                              frame < 4 ? "" : R"(,"captions":{"data":")" + captions + R"("})");
    }
    EXPECT_EQ(qlxtest::withoutSchema(folder.read("b.jsonl")), expected);
}

TEST(AnyRate, PutsCaptionsIntoPacketsWhereThereIsNoOtherPlace) {
    const TemporaryFolder folder;
    folder.write("a.jsonl", frameJson(0, {}, time(0, 25), R"(,"captions":{"data":"fc942cfd8080ff0102"})"));
    for (const char* const name : {"b.klv", "b.mcc", "b.v210"}) {
        const ToolResult result = std::string_view(name) == "b.v210"
                                      ? runTool({"rate", folder.path("a.jsonl"), "--from-rate", "25", "--to-rate", "50",
                                                 "--lines", "9", "-o", folder.path(name)})
                                      : runRate(folder, "a.jsonl", "25", "50", name);
        EXPECT_EQ(result.err, "") << name;
        Arguments list{"scan", folder.path(name), "--to-format", "jsonl", "-o", "-"};
        if (std::string_view(name) == "b.v210") {
            list.insert(list.end(), {"--lines", "9"});
        }
        const std::string frames = runTool(list).out;
        EXPECT_NE(frames.find(R"("line":9)"), std::string::npos) << name << frames;
        EXPECT_NE(frames.find("fc942cff0102" + repeated("fa0000", 10)), std::string::npos) << name << frames;
    }
}

TEST(AnyRate, SendsWhatIsLateAndSaysHowMuch) {
    const TemporaryFolder folder;
    std::string triplets;
    for (unsigned number = 0; number < 31; ++number) {
        triplets += "fe00" + byteHex(number);
    }
    std::string in;
    for (unsigned frame = 0; frame < 200; ++frame) {
        in += frameJson(frame, {captionJson(bareCdp(3, triplets, frame))});
    }
    folder.write("a.jsonl", in);
    const ToolResult result = runRate(folder, "a.jsonl", "25", "25", "b.jsonl");
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(carriedBy(folder.read("b.jsonl")).kinds[2], carriedBy(in).kinds[2]);
    // Triplet k comes with frame k / 31 and goes out with frame k / 22.
    std::size_t late = 0;
    for (unsigned number = 0; number < 200 * 31; ++number) {
        late += number / 22 - number / 31 > 50 ? 1 : 0;
    }
    const std::string name = "qlxcc: warning: " + folder.path("a.jsonl") + ": ";
    EXPECT_NE(result.err.find(name + "frame 200 of the result: triplets of cc_type 3 behind the last frame: 1800\n"),
              std::string::npos)
        << result.err;
    EXPECT_NE(result.err.find(name + std::to_string(late - 10) +
                              " more like \"triplet of cc_type 2 sent 2040 ms behind its time\"\n"),
              std::string::npos)
        << result.err;
}

TEST(AnyRate, KeepsCaptionsOfSeveralLinesApart) {
    const TemporaryFolder folder;
    folder.write("a.jsonl",
                 frameJson(0, {captionJson(bareCdp(3, "fc4141", 1), 9), captionJson(bareCdp(3, "fc4242", 5), 10)}));
    const ToolResult result = runRate(folder, "a.jsonl", "25", "25", "b.jsonl");
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(qlxtest::withoutSchema(folder.read("b.jsonl")),
              frameJson(0,
                        {captionJson(bareCdp(3, "fc4141fd8080" + repeated("fa0000", 22), 1), 9),
                         captionJson(bareCdp(3, "fc4242fd8080" + repeated("fa0000", 22), 5), 10)},
                        time(0, 25)));
}

TEST(AnyRate, KeepsCaptionsThatComeBehindTheirFrame) {
    const TemporaryFolder folder;
    const std::string name = "qlxcc: warning: " + folder.path("a.jsonl") + ": ";
    // The frame has been written when its second line comes, and the stream is new.
    const std::string whole = "fc4141fd8080" + repeated("fa0000", 22);
    folder.write("a.jsonl", frameJson(0, {}) + frameJson(0, {captionJson(bareCdp(3, whole, 7))}));
    ToolResult result = runRate(folder, "a.jsonl", "25", "25", "b.jsonl");
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, name + "frame 0, line 9: frame 0 behind frame 1, taken as part of it\n");
    EXPECT_EQ(qlxtest::withoutSchema(folder.read("b.jsonl")),
              frameJson(0, {}, time(0, 25)) + frameJson(1, {captionJson(bareCdp(3, whole, 7))}, time(1, 25)));
    // Three frames back, in no packet.
    std::string in;
    std::string expected;
    for (const unsigned frame : {0U, 1U, 2U, 3U, 1U, 4U}) {
        const bool isBehind = in.size() > 3 * frameJson(0, {}).size() && frame == 1;
        in += frameJson(frame, {}, "", isBehind ? R"(,"captions":{"data":"fc4141"})" : "");
    }
    for (unsigned frame = 0; frame < 10; ++frame) {
        const std::string captions = (frame == 8 ? "fc4141" : "fd8080") + repeated("fa0000", 11);
        expected +=
            frameJson(frame, {}, time(frame, 50), frame < 8 ? "" : R"(,"captions":{"data":")" + captions + R"("})");
    }
    folder.write("a.jsonl", in);
    result = runRate(folder, "a.jsonl", "25", "50", "b.jsonl");
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, name + "frame 1: frame 1 behind frame 4, taken as part of it\n");
    EXPECT_EQ(qlxtest::withoutSchema(folder.read("b.jsonl")), expected);
    // A stream that is there already, said once.
    in.clear();
    for (const unsigned frame : {0U, 1U, 0U, 2U, 3U}) {
        const std::string pair = frame < 3 ? "fc41" + byteHex(static_cast<unsigned>(in.size()) | 0x80U) : "fa0000";
        in += frameJson(frame, {captionJson(bareCdp(3, pair + repeated("fa0000", 23), frame))});
    }
    folder.write("a.jsonl", in);
    result = runRate(folder, "a.jsonl", "25", "25", "b.jsonl");
    EXPECT_EQ(result.err, name + "frame 0, line 9: counter 0 where 2 was expected\n" + name +
                              "frame 0, line 9: frame 0 behind frame 1, taken as part of it\n");
    EXPECT_EQ(carriedBy(folder.read("b.jsonl")).kinds[0], carriedBy(in).kinds[0]);
}

TEST(AnyRate, KeepsTheOrderOfServiceInformation) {
    const TemporaryFolder folder;
    const auto languages = [](const std::string& text) {
        std::string found;
        for (const std::string& line : linesOf(text)) {
            found += line.find("656e67") != std::string::npos   ? "A"
                     : line.find("676e65") != std::string::npos ? "B"
                                                                : "-";
        }
        return found;
    };
    std::string in;
    for (unsigned frame = 0; frame < 6; ++frame) {
        std::string cdp = bareCdp(8, repeated("fa0000", 10), frame, true);
        if (frame % 2 == 1) {
            // The sum of the bytes stays.
            cdp.replace(cdp.find("656e67"), 6, "676e65");
        }
        in += frameJson(frame, {captionJson(cdp)});
    }
    folder.write("a.jsonl", in);
    const ToolResult result = runRate(folder, "a.jsonl", "60", "24", "b.jsonl");
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "qlxcc: warning: " + folder.path("a.jsonl") +
                              ": frame 3 of the result: sections 73 behind the last frame: 3\n");
    EXPECT_EQ(languages(folder.read("b.jsonl")), "ABABAB");
}

TEST(AnyRate, RefusesWhatItCannotUseAndLeavesNoFile) {
    const TemporaryFolder folder;
    const auto refusal = [&](const std::string& in, const std::string& message) {
        folder.write("a.jsonl", in);
        const ToolResult result = runRate(folder, "a.jsonl", "25", "30", "b.jsonl");
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(result.err, "qlxcc: " + folder.path("a.jsonl") + ": " + message + "\n");
        EXPECT_EQ(folder.names(), Arguments{"a.jsonl"});
    };
    refusal(frameJson(0, {}) + frameJson(4'000'000'000, {}),
            "frame 4000000000 behind frame 0: more than an hour is missing");
    refusal(frameJson(0, {}) + frameJson(90'002, {}), "frame 90002 behind frame 0: more than an hour is missing");
}

// Of a damaged file all else is sent: the pairs in front of a packet that is cut, and those behind it.
TEST(AnyRate, GoesOnBehindAPacketThatIsCut) {
    const TemporaryFolder folder;
    folder.write("a.jsonl", frameJson(0, {captionJson(bareCdp(3, "fc4142fd8080" + repeated("fa0000", 22), 0))}) +
                                frameJson(1, {captionJson("96690b3f43")}) +
                                frameJson(2, {captionJson(bareCdp(3, "fc4344fd8080" + repeated("fa0000", 22), 2))}));
    const ToolResult result = runRate(folder, "a.jsonl", "25", "30", "b.jsonl");
    // What it held is lost.
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, "qlxcc: warning: " + folder.path("a.jsonl") +
                              ": frame 1, line 9: caption packet of 5 bytes, 7 are needed\n");
    const ToolResult quiet = runRate(folder, "a.jsonl", "25", "30", "b.jsonl", {"--quiet"});
    EXPECT_EQ(quiet.exitCode, 1);
    EXPECT_EQ(quiet.err, "qlxcc: " + folder.path("a.jsonl") + ": 1 caption packet left out (said without --quiet)\n");
    // Frame n of the input comes with frame ceil(1.2 n): 0, 2, which has no packet either, and 3.
    std::vector<std::string> pairs;
    for (const std::string& line : linesOf(folder.read("b.jsonl"))) {
        const std::size_t place = line.find("72f4fc");
        pairs.push_back(place == std::string::npos ? "" : line.substr(place + 6, 4));
    }
    EXPECT_EQ(pairs, (std::vector<std::string>{"4142", "8080", "", "4344"}));
}

TEST(AnyRate, TakesTheWholeTripletsInFrontOfACut) {
    const TemporaryFolder folder;
    folder.write("a.jsonl", frameJson(0, {}, "", R"(,"captions":{"data":"fc4142fd80"})"));
    const ToolResult result = runRate(folder, "a.jsonl", "25", "30", "b.jsonl");
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err,
              "qlxcc: warning: " + folder.path("a.jsonl") + ": frame 0: 2 triplets announced, 1 are there\n");
    EXPECT_NE(folder.read("b.jsonl").find("fc4142fd8080"), std::string::npos) << folder.read("b.jsonl");
}

TEST(AnyRate, SendsServiceInformationOnceForEachThatCame) {
    const TemporaryFolder folder;
    std::string in;
    for (unsigned frame = 0; frame < 6; ++frame) {
        in += frameJson(frame, {captionJson(bareCdp(6, repeated("fa0000", 12), frame, true))});
    }
    folder.write("a.jsonl", in);
    const auto services = [&folder](const std::string& name) {
        std::vector<bool> carried;
        for (const std::string& line : linesOf(folder.read(name))) {
            carried.push_back(line.find(qlxtest::kServicesHex) != std::string::npos);
        }
        return carried;
    };
    const ToolResult each = runRate(folder, "a.jsonl", "50", "25", "b.jsonl");
    EXPECT_EQ(each.exitCode, 0);
    EXPECT_EQ(each.err, "qlxcc: warning: " + folder.path("a.jsonl") +
                            ": frame 3 of the result: sections 73 behind the last frame: 3\nqlxcc: warning: " +
                            folder.path("a.jsonl") +
                            ": service sections sent in 3 frames behind the end (--join-sections sends "
                            "those that wait and say the same once)\n");
    EXPECT_EQ(services("b.jsonl"), std::vector<bool>(6, true));
    // The last one came behind the beginning of frame 2.
    const ToolResult joined = runRate(folder, "a.jsonl", "50", "25", "c.jsonl", {"--join-sections"});
    EXPECT_EQ(joined.exitCode, 0);
    // Those of frames 1 and 2 are due in frame 1, those of 3 and 4 in frame 2, and that of 5 behind the end.
    EXPECT_EQ(joined.err,
              "qlxcc: warning: " + folder.path("a.jsonl") +
                  ": frame 3 of the result: sections 73 behind the last frame: 1\nqlxcc: " + folder.path("a.jsonl") +
                  ": 2 service sections sent with the one before, which says the same\n");
    EXPECT_EQ(services("c.jsonl"), std::vector<bool>(4, true));
    EXPECT_EQ(runRate(folder, "a.jsonl", "50", "60", "d.jsonl").err, "");
    EXPECT_EQ(services("d.jsonl"), (std::vector<bool>{true, false, true, true, true, true, true, false}));
}

TEST(AnyRate, SumsUpServiceInformationThatIsLate) {
    const TemporaryFolder folder;
    std::string in;
    for (unsigned frame = 0; frame < 150; ++frame) {
        in += frameJson(frame, {captionJson(bareCdp(7, repeated("fa0000", 10), frame, true))});
    }
    folder.write("a.jsonl", in);
    const ToolResult each = runRate(folder, "a.jsonl", "59.94", "29.97", "b.jsonl");
    EXPECT_EQ(each.exitCode, 0);
    std::vector<std::string> lines = linesOf(each.err);
    // The section of frame k, of k 1001/60000 s, goes out with frame k, at twice that: more than 2 s late from 120 on.
    ASSERT_EQ(lines.size(), 13U) << each.err;
    const std::string about = "qlxcc: warning: " + folder.path("a.jsonl") + ": ";
    EXPECT_EQ(lines[0], about + "frame 75 of the result: sections 73 behind the last frame: 75");
    EXPECT_EQ(lines[1], about + "frame 120 of the result: section 73 sent 2002 ms behind its time");
    EXPECT_EQ(lines[10], about + "frame 129 of the result: section 73 sent 2152 ms behind its time");
    EXPECT_EQ(lines[11], about + "20 more like \"section 73 sent 2002 ms behind its time\"");
    EXPECT_EQ(lines[12], about + "30 service sections sent more than 2 s late, by up to 2.485 s, the last ones in 75 "
                                 "frames behind the end (--join-sections sends those that wait and say the same once)");
    EXPECT_EQ(linesOf(folder.read("b.jsonl")).size(), 150U);
    EXPECT_EQ(runRate(folder, "a.jsonl", "59.94", "29.97", "b.jsonl", {"--quiet"}).err, "");
}

TEST(AnyRate, SaysThatManyFramesAreMissing) {
    const TemporaryFolder folder;
    folder.write("a.jsonl", frameJson(0, {}) + frameJson(1501, {}) + frameJson(3003, {teletextJson("01")}));
    const ToolResult result = runRate(folder, "a.jsonl", "25", "25", "b.jsonl");
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "qlxcc: warning: " + folder.path("a.jsonl") +
                              ": frame 3003: 1501 frames in front of frame 3003 are missing: they have no packets\n");
    EXPECT_EQ(linesOf(folder.read("b.jsonl")).size(), 3004U);
}

TEST(AnyRate, TakesTheCaptionsOfSixtyFourPlaces) {
    const TemporaryFolder folder;
    const std::string cdp = bareCdp(3, repeated("fa0000", 24), 0);
    std::string in;
    for (std::uint64_t frame = 0; frame < 2; ++frame) {
        Arguments packets;
        for (unsigned line = 1; line <= 66; ++line) {
            packets.push_back(captionJson(cdp, line));
        }
        in += frameJson(frame, packets);
    }
    folder.write("a.jsonl", in);
    const ToolResult result = runRate(folder, "a.jsonl", "25", "25", "b.jsonl");
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_NE(result.err.find(": frame 0, line 65: captions of line 65 are left out: captions stand in 64 other places "
                              "already\n"),
              std::string::npos)
        << result.err;
    const std::string out = folder.read("b.jsonl");
    EXPECT_NE(out.find("\"line\":64,"), std::string::npos);
    EXPECT_EQ(out.find("\"line\":65,"), std::string::npos);
}

}  // namespace

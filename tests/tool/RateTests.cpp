// qlxcc rate --as-deployed: captions from one frame rate to its double, and back.
#include "AncBytes.h"
#include "CaptionBytes.h"
#include "Sanitized.h"
#include "SubtitleFiles.h"
#include "ToolRunner.h"

#include <gtest/gtest.h>

namespace {

using qlxtest::byteHex;
using qlxtest::cdpHex;
using qlxtest::deployedCaptionArguments;
using qlxtest::fromHex;
using qlxtest::kAncKeyHex;
using qlxtest::linesOf;
using qlxtest::repeated;
using qlxtest::runTool;
using qlxtest::srt;
using qlxtest::TemporaryFolder;
using qlxtest::ToolResult;

/// A packet of an element: line, wrapping type 1, 8-bit luma samples (4), the number of samples (DID, SDID, DC and
/// data), the size of the array with its padding to the next greater multiple of 4, DID, SDID, DC, data, padding.
std::string packetHex(unsigned line, const std::string& identifiers, const std::string& data) {
    const auto size = static_cast<unsigned>(data.size() / 2);
    const unsigned samples = size + 3;
    const unsigned array = samples / 4 * 4 + 4;
    return byteHex(line >> 8) + byteHex(line) + "0104" + byteHex(samples >> 8) + byteHex(samples) + "0000" +
           byteHex(array >> 8) + byteHex(array) + "00000001" + identifiers + byteHex(size) + data +
           repeated("00", static_cast<int>(array - samples));
}

std::string captionHex(const std::string& cdp, unsigned line = 9) {
    return packetHex(line, "6101", cdp);
}

/// A triplet of key, length and value for each frame, each a list of packets.
std::string klvHex(const std::vector<std::vector<std::string>>& frames) {
    std::string text;
    for (const auto& packets : frames) {
        std::string element = "00" + byteHex(static_cast<unsigned>(packets.size()));
        for (const std::string& packet : packets) {
            element += packet;
        }
        const auto size = static_cast<unsigned>(element.size() / 2);
        text += std::string(kAncKeyHex) + "8300" + byteHex(size >> 8) + byteHex(size) + element;
    }
    return text;
}

std::string hexOf(const std::string& content) {
    return qlxtest::toHex(std::span(reinterpret_cast<const std::uint8_t*>(content.data()), content.size()));
}

std::string withoutSpaces(std::string text) {
    std::erase(text, ' ');
    return text;
}

ToolResult runRate(const TemporaryFolder& folder, const std::string& in, const std::string& from, const std::string& to,
                   const std::string& out) {
    return runTool({"rate", folder.path(in), "--from", from, "--to", to, "-o", folder.path(out), "--as-deployed"});
}

// One frame at 25/s: both fields, a DTVCC packet's start and data.
const std::string kWhole = "fc942cfd152cff0102fe0304";
const std::string kWholeCdp = cdpHex(3, kWhole + repeated("fa0000", 20), 7);
// AFD and bar data, and an OP-47 packet that is none.
const std::string kAfd = packetHex(11, "4105", "0102030405060708");
const std::string kOther = packetHex(12, "4302", "aabb");

/// The CDP that the library makes of ready triplets: its length byte is the triplets' size and 16.
std::string madeCdp(unsigned rateCode, const std::string& triplets, unsigned counter) {
    return cdpHex(rateCode, triplets, counter, static_cast<int>(triplets.size() / 2 + 16));
}

/// What is said of packets with service information.
std::string withoutServices(const TemporaryFolder& folder, const std::string& count) {
    return "qlxcc: warning: " + folder.path("a.klv") + ": left out: the service information of " + count + "\n";
}

// Field 1 and the DTVCC triplets go to the first frame, field 2 to the second; 12 triplets each.
const std::string kFirstHalf = "fc942cff0102fe0304" + repeated("fa0000", 9);
const std::string kSecondHalf = "fd152c" + repeated("fa0000", 11);

TEST(RateAsDeployed, SplitsAFrameInTwo) {
    const TemporaryFolder folder;
    folder.write("a.klv", fromHex(klvHex({{kAfd, captionHex(kWholeCdp), kOther}, {}})));
    const ToolResult result = runRate(folder, "a.klv", "25", "50", "b.klv");
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, withoutServices(folder, "1 caption packet"));
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(hexOf(folder.read("b.klv")), withoutSpaces(klvHex({{kAfd, captionHex(madeCdp(6, kFirstHalf, 0)), kOther},
                                                                 {captionHex(madeCdp(6, kSecondHalf, 1))},
                                                                 {},
                                                                 {}})));
}

TEST(RateAsDeployed, JoinsTwoFramesInOne) {
    const TemporaryFolder folder;
    folder.write("a.klv", fromHex(klvHex({{captionHex(cdpHex(6, kFirstHalf)), kAfd},
                                          {kOther, captionHex(cdpHex(6, kSecondHalf)), kAfd}})));
    const ToolResult result = runRate(folder, "a.klv", "50", "25", "b.klv");
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, withoutServices(folder, "2 caption packets"));
    EXPECT_EQ(
        hexOf(folder.read("b.klv")),
        withoutSpaces(klvHex({{captionHex(madeCdp(3, kWhole + repeated("fa0000", 20), 0)), kAfd, kOther, kAfd}})));
}

TEST(RateAsDeployed, TakesAMissingPartnerForAnEmptyOne) {
    const TemporaryFolder folder;
    // Only the first, only the second, none, and an odd frame at the end. A join without field 2 gets a null pair.
    folder.write("a.klv", fromHex(klvHex({{captionHex(cdpHex(6, kFirstHalf))},
                                          {kAfd},
                                          {kAfd},
                                          {captionHex(cdpHex(6, kSecondHalf), 571)},
                                          {},
                                          {kOther},
                                          {captionHex(cdpHex(6, kFirstHalf))}})));
    ASSERT_EQ(runRate(folder, "a.klv", "50", "25", "b.klv").exitCode, 0);
    const std::string first = "fc942cfd8080ff0102fe0304" + repeated("fa0000", 20);
    const std::string second = "fd152c" + repeated("fa0000", 23);
    EXPECT_EQ(hexOf(folder.read("b.klv")), withoutSpaces(klvHex({{captionHex(madeCdp(3, first, 0)), kAfd},
                                                                 {kAfd, captionHex(madeCdp(3, second, 1), 571)},
                                                                 {kOther},
                                                                 {captionHex(madeCdp(3, first, 2))}})));
}

TEST(RateAsDeployed, LeavesATimeCodeSectionOut) {
    // Behind the header stand 71 and four bytes of time code; the flags say so (FF in place of 7F).
    std::string cdp = kWholeCdp;
    cdp.replace(8, 2, "ff");
    cdp.insert(14, "7180818283");
    const TemporaryFolder folder;
    folder.write("a.klv", fromHex(klvHex({{captionHex(cdp)}})));
    ASSERT_EQ(runRate(folder, "a.klv", "25", "50", "b.klv").exitCode, 0);
    EXPECT_EQ(hexOf(folder.read("b.klv")), withoutSpaces(klvHex({{captionHex(madeCdp(6, kFirstHalf, 0))},
                                                                 {captionHex(madeCdp(6, kSecondHalf, 1))}})));
}

/// The field 1 pairs in a scan's JSON line.
std::string fieldOne(const std::string& line) {
    const std::string begin = R"({"kind":"field 1","data":")";
    std::string pairs;
    for (std::size_t at = line.find(begin); at != std::string::npos; at = line.find(begin, at + 1)) {
        pairs += line.substr(at + begin.size(), 4);
    }
    return pairs;
}

std::vector<std::string> fieldOneOfFrames(const std::string& file) {
    std::vector<std::string> pairs;
    for (const std::string& line : linesOf(runTool({"scan", file, "--json"}).out)) {
        pairs.push_back(fieldOne(line));
    }
    return pairs;
}

TEST(RateAsDeployed, KeepsEveryPairOnTheWayThereAndBack) {
    struct Expected {
        std::string low;
        std::string high;
        std::size_t frames;
        std::size_t firstPair;
    };
    // The cue of 9 pairs starts 6 frames before 1.01 s and the playout ends one second behind its end, a frame before
    // 2.01 s: 0.770 s and 2.970 s, 0.810 and 2.977, 0.810 and 2.977.
    std::vector<Expected> all{{"25", "50", 75, 20}, {"29.97", "59.94", 90, 25}, {"30", "60", 90, 25}};
    // 29.97 and 30 frames/s go the same way: under the sanitizers one of them does.
    all.resize(qlxtest::countFor(all.size(), std::size_t{2}));
    for (const Expected& expected : all) {
        for (const std::vector<std::string>& more : std::vector<std::vector<std::string>>{{}, {"--no-fill"}}) {
            const TemporaryFolder folder;
            std::vector<std::string> arguments = more;
            arguments.insert(arguments.end(), {"-o", folder.path("a.klv")});
            const std::string file = folder.write("in.srt", srt({{"00:00:01,010", "00:00:02,010", "Hi\nok"}}));
            ASSERT_EQ(runTool(deployedCaptionArguments(file, expected.low, arguments)).exitCode, 0);
            ASSERT_EQ(runRate(folder, "a.klv", expected.low, expected.high, "b.klv").exitCode, 0);
            ASSERT_EQ(runRate(folder, "b.klv", expected.high, expected.low, "c.klv").exitCode, 0);
            const auto before = fieldOneOfFrames(folder.path("a.klv"));
            ASSERT_EQ(before.size(), expected.frames) << expected.low;
            EXPECT_EQ(before[expected.firstPair - 1], "");
            EXPECT_EQ(before[expected.firstPair], "9420");
            EXPECT_EQ(before[expected.firstPair + 8], "942f");
            const auto between = fieldOneOfFrames(folder.path("b.klv"));
            ASSERT_EQ(between.size(), 2 * expected.frames);
            for (std::size_t frame = 0; frame < before.size(); ++frame) {
                EXPECT_EQ(between[2 * frame], before[frame]);
                EXPECT_EQ(between[2 * frame + 1], "");
            }
            EXPECT_EQ(fieldOneOfFrames(folder.path("c.klv")), before);
        }
    }
}

TEST(RateAsDeployed, WarnsOnceOfPacketsOfAnotherRate) {
    const TemporaryFolder folder;
    const std::string frame = captionHex(cdpHex(4, kWhole + repeated("fa0000", 16)));
    folder.write("a.klv", fromHex(klvHex({{frame}, {frame}})));
    const ToolResult result = runRate(folder, "a.klv", "25", "50", "b.klv");
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "qlxcc: warning: " + folder.path("a.klv") +
                              ": frame 0, line 9: the caption packet is marked as one of 29.97 frames/s\n" +
                              withoutServices(folder, "2 caption packets"));
    EXPECT_EQ(hexOf(folder.read("b.klv")), withoutSpaces(klvHex({{captionHex(madeCdp(6, kFirstHalf, 0))},
                                                                 {captionHex(madeCdp(6, kSecondHalf, 1))},
                                                                 {captionHex(madeCdp(6, kFirstHalf, 2))},
                                                                 {captionHex(madeCdp(6, kSecondHalf, 3))}})));
}

TEST(RateAsDeployed, WarnsOnceOfPacketsThatContradictThemselves) {
    const TemporaryFolder folder;
    std::string cdp = kWholeCdp;
    ASSERT_EQ(cdp.substr(14, 4), "72f8");
    cdp.replace(16, 2, "f7");
    folder.write("a.klv", fromHex(klvHex({{captionHex(cdp)}, {captionHex(cdp)}})));
    const ToolResult result = runRate(folder, "a.klv", "25", "50", "b.klv");
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "qlxcc: warning: " + folder.path("a.klv") +
                              ": frame 0, line 9: the caption packet contradicts itself: cc_count 23, but 24 are "
                              "there\n" +
                              withoutServices(folder, "2 caption packets"));
}

TEST(RateAsDeployed, SaysWhichSectionsAreLeftOut) {
    const TemporaryFolder folder;
    // 25 frames a second: a time code, 24 triplets, a future section.
    const std::string cdp = "966900 3f c3 0000 71 c1800000 72f8" + kWhole + repeated("fa0000", 20) + "7501aa 740000 00";
    folder.write("a.klv", fromHex(klvHex({{captionHex(withoutSpaces(cdp))}, {captionHex(withoutSpaces(cdp))}})));
    const ToolResult result = runRate(folder, "a.klv", "25", "50", "b.klv");
    EXPECT_EQ(result.exitCode, 0);
    const std::string about = "qlxcc: warning: " + folder.path("a.klv") + ": left out: ";
    EXPECT_EQ(result.err, about + "the time code of 2 caption packets\n" + about +
                              "sections of unknown kinds of 2 caption packets\n");
    const ToolResult refused = runTool({"rate", folder.path("a.klv"), "--from", "50", "--to", "25", "-o",
                                        folder.path("c.klv"), "--as-deployed", "--join-sections"});
    EXPECT_EQ(refused.exitCode, 2);
    EXPECT_EQ(refused.err, "qlxcc: --join-sections is not for --as-deployed: the fixed operations leave service "
                           "information out (see qlxcc rate --help)\n");
}

TEST(RateAsDeployed, SaysThatCaptionsInNoPacketAreLeftOut) {
    const TemporaryFolder folder;
    const auto lineOf = [](int frame, bool hasCaptions) {
        return R"({"frame":)" + std::to_string(frame) + R"(,"packets":[])" +
               (hasCaptions ? R"(,"captions":{"data":"fc942c"})" : "") + "}\n";
    };
    const std::string message = "qlxcc: warning: " + folder.path("b.klv") +
                                ": left out: the captions of 2 frames that are in no packet, first: frame 0\n";
    folder.write("a.jsonl", lineOf(0, true) + lineOf(1, false) + lineOf(2, true));
    const ToolResult split = runRate(folder, "a.jsonl", "25", "50", "b.klv");
    EXPECT_EQ(split.exitCode, 0);
    EXPECT_EQ(split.err, message);
    // Of frames that are joined those of either one.
    folder.write("a.jsonl", lineOf(0, true) + lineOf(1, false) + lineOf(2, false) + lineOf(3, false) +
                                lineOf(4, false) + lineOf(5, true) + lineOf(6, false));
    const ToolResult joined = runRate(folder, "a.jsonl", "50", "25", "b.klv");
    EXPECT_EQ(joined.exitCode, 0);
    EXPECT_EQ(joined.err, message);
    EXPECT_EQ(hexOf(folder.read("b.klv")), withoutSpaces(klvHex({{}, {}, {}, {}})));
}

TEST(RateAsDeployed, RefusesBrokenInputAndLeavesNoFile) {
    const TemporaryFolder folder;
    const auto refusal = [&](const std::string& hex, const std::string& message) {
        folder.write("a.klv", fromHex(hex));
        const ToolResult result = runRate(folder, "a.klv", "25", "50", "b.klv");
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(result.err, "qlxcc: " + folder.path("a.klv") + ": " + message + "\n");
        EXPECT_EQ(folder.names(), std::vector<std::string>{"a.klv"});
    };
    const std::string notAll = "\nqlxcc: " + folder.path("a.klv") + ": not every packet could be read";
    const std::string good = klvHex({{captionHex(kWholeCdp)}});
    refusal("", "byte 0: the file is empty");
    refusal(good + klvHex({{captionHex("96693f")}}),
            "frame 1, line 9: the CEA-708 packet holds no caption distribution packet (CDP)");
    refusal(good + klvHex({{captionHex("00000000000000000000000000")}}),
            "frame 1, line 9: the CEA-708 packet holds no caption distribution packet (CDP)");
    refusal(good.substr(0, good.size() - 2), "byte 0: KLV triplet cut short: 123 of 124 bytes of the value");
    // Behind the last frame as well.
    const std::string end = "byte " + std::to_string(fromHex(good).size());
    refusal(good + "ff", end + ": no key begins with ff\nqlxcc: " + folder.path("a.klv") + ": " + end +
                             ": 1 bytes skipped" + notAll);
    refusal(good + good.substr(0, good.size() - 2),
            end + ": KLV triplet cut short: 123 of 124 bytes of the value" + notAll);
    refusal(klvHex({}) + std::string(kAncKeyHex) + "02" + "0001",
            "frame 0, byte 19: packet count 1, but 0 are there" + notAll);
}

TEST(RateAsDeployed, WritesToStandardOutput) {
    const TemporaryFolder folder;
    folder.write("a.klv", fromHex(klvHex({{captionHex(kWholeCdp)}})));
    const ToolResult result = runTool({"rate", "-", "--from", "25", "--to", "50", "-o", "-", "--as-deployed"},
                                      {.input = folder.read("a.klv")});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(hexOf(result.out), withoutSpaces(klvHex({{captionHex(madeCdp(6, kFirstHalf, 0))},
                                                       {captionHex(madeCdp(6, kSecondHalf, 1))}})));
}

}  // namespace

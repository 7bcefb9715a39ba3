// qlxcc scan: what a caption packet holds.
#include "AncBytes.h"
#include "CaptionBytes.h"
#include "ToolRunner.h"
#include "streams/Cdp.h"

#include <gtest/gtest.h>

namespace {

using qlx::tool::cdpInWords;
using qlxtest::cdpHex;
using qlxtest::fromHex;
using qlxtest::repeated;
using qlxtest::runTool;
using qlxtest::TemporaryFolder;
using qlxtest::ToolResult;

std::string inWords(const std::string& hex) {
    return cdpInWords(fromHex(hex));
}

TEST(CaptionPacket, NamesEveryKindOfTriplet) {
    EXPECT_EQ(inWords(cdpHex(4, "fc942cfd152cff0102fe0304fe0506f88080f98080fa0000fb0000", 0x1234)),
              "CDP: 29.97 frames/s, counter 4660, 9 triplets: field 1 942c, field 2 152c, DTVCC start 0102, DTVCC data "
              "0304 0506, 4 padding; length and checksum as in the standard");
    EXPECT_EQ(inWords(cdpHex(8, "fa0000fc9420fc942ffa0000")),
              "CDP: 60 frames/s, counter 0, 4 triplets: 1 padding, field 1 9420 942f, 1 padding; length and checksum "
              "as in the standard");
    EXPECT_EQ(inWords(cdpHex(1, "fc4142")),
              "CDP: 23.976 frames/s, counter 0, 1 triplet: field 1 4142; length and checksum as in the standard");
}

TEST(CaptionPacket, KnowsEveryRate) {
    const std::vector<std::string> rates{"23.976", "24", "25", "29.97", "30", "50", "59.94", "60"};
    for (unsigned code = 1; code <= rates.size(); ++code) {
        EXPECT_TRUE(inWords(cdpHex(code, "fa0000")).starts_with("CDP: " + rates[code - 1] + " frames/s, ")) << code;
    }
    EXPECT_TRUE(inWords(cdpHex(0, "fa0000")).starts_with("CDP: rate code 0, "));
    EXPECT_TRUE(inWords(cdpHex(9, "fa0000")).starts_with("CDP: rate code 9, "));
}

TEST(CaptionPacket, RemarksOnLengthAndChecksum) {
    const std::string right = cdpHex(3, repeated("fa0000", 24));
    // 101 bytes; the checksum still covers them, so that one byte more or less shows.
    EXPECT_TRUE(inWords(cdpHex(3, repeated("fa0000", 24), 0, 93))
                    .ends_with("; length byte 93 where the standard has 101, checksum as in the standard"));
    // Header 96 69 65 3f 7f 00 00 72 f8, 24 x fa, the services (87b), 74: the sum ends in eb, so the checksum is 15.
    std::string wrong = right;
    ASSERT_EQ(wrong.substr(200), "15");
    wrong.replace(200, 2, "16");
    EXPECT_TRUE(inWords(wrong).ends_with("; length as in the standard, checksum 16 where the standard has 15"));
    wrong.replace(4, 2, "64");
    // One less in the length byte is one more in the checksum.
    EXPECT_TRUE(inWords(wrong).ends_with("; length byte 100 where the standard has 101, checksum as in the standard"))
        << inWords(wrong);
    wrong.replace(200, 2, "15");
    EXPECT_TRUE(
        inWords(wrong).ends_with("; length byte 100 where the standard has 101, checksum 15 where the standard has 16"))
        << inWords(wrong);
}

TEST(CaptionPacket, SaysWhatIsMissing) {
    EXPECT_EQ(inWords(""), "no caption distribution packet (CDP)");
    EXPECT_EQ(inWords("966907"), "no caption distribution packet (CDP)");
    EXPECT_EQ(inWords("9769653f7f0000"), "no caption distribution packet (CDP)");
    EXPECT_EQ(inWords("9669073f7f0000"), "CDP: 25 frames/s, counter 0, no caption data (cc_data (72) is announced, but "
                                         "not there); length as in the standard, no footer");
    EXPECT_EQ(inWords("96690a3f030000740000"),
              "CDP: 25 frames/s, counter 0, no caption data; length as in the standard, the footer is cut");
    EXPECT_EQ(inWords("96690d3f7f0000720074000050"), "CDP: 25 frames/s, counter 0, 0 triplets; length and checksum as "
                                                     "in the standard");
    EXPECT_TRUE(inWords("96690d3f7f000072f4fc9420fa")
                    .starts_with("CDP: 25 frames/s, counter 0, 1 triplet (cc_count 20, of which 1 is there): field 1 "
                                 "9420; length as in "
                                 "the standard, no footer"));
    // A time code section stands in front of the triplets.
    EXPECT_TRUE(inWords("9669193fff0000718081828372e2fc9420fd152c740000ff00")
                    .starts_with("CDP: 25 frames/s, counter 0, 2 triplets: field 1 9420, field 2 152c; "));
}

TEST(CaptionPacket, SaysWhereItContradictsItself) {
    const std::string right = cdpHex(3, "fc942cfd8080fa0000");
    ASSERT_EQ(right.substr(14, 4), "72e3");
    const auto beginning = [](const std::string& words) { return "CDP: 25 frames/s, counter 0, " + words; };
    EXPECT_TRUE(inWords(right).starts_with(beginning("3 triplets: field 1 942c, field 2 8080, 1 padding; ")));
    // One triplet less than there are: with another count than announced the sections lead to the footer.
    std::string wrong = right;
    wrong.replace(16, 2, "e2");
    EXPECT_TRUE(inWords(wrong).starts_with(beginning(
        "3 triplets (cc_count 2, but 3 are there): field 1 942c, field 2 8080, 1 padding; length as in the ")))
        << inWords(wrong);
    // One more.
    wrong.replace(16, 2, "e4");
    EXPECT_TRUE(inWords(wrong).starts_with(beginning("3 triplets (cc_count 4, of which 3 are there): ")))
        << inWords(wrong);
    // Far too many.
    wrong.replace(16, 2, "ff");
    ASSERT_EQ(wrong.size(), 2U * 38);
    EXPECT_TRUE(inWords(wrong).starts_with(beginning("3 triplets (cc_count 31, of which 3 are there): ")))
        << inWords(wrong);
    // Announced by the flags (40), but not there.
    wrong = right;
    wrong.replace(14, 2, "55");
    EXPECT_TRUE(inWords(wrong).starts_with(beginning("no caption data (section 55 where cc_data (72) is announced); ")))
        << inWords(wrong);
    wrong.replace(8, 2, "3f");
    EXPECT_TRUE(inWords(wrong).starts_with(beginning("no caption data; "))) << inWords(wrong);
}

TEST(CaptionPacket, IsReadAtEveryLength) {
    const auto whole = fromHex(cdpHex(3, "fc942cfd152cff0102fe0304" + repeated("fa0000", 20)));
    qlxtest::forEachTruncation(whole, [](const qlxtest::ExactBuffer& part) {
        const auto cdp = qlx::tool::readCdp(part.span());
        ASSERT_EQ(cdp.has_value(), part.size() >= 7);
        if (cdp) {
            EXPECT_EQ(cdp->cdp.triplets().size(),
                      part.size() < 9 ? 0U : std::min<std::size_t>(24, (part.size() - 9) / 3));
            EXPECT_TRUE(cdp->length.has_value());
        }
    });
}

TEST(ScanCaptions, ShowsThePacketBelowItsLine) {
    const std::string cdp = cdpHex(7, "fc9420fd8080" + repeated("fa0000", 8), 3);
    const TemporaryFolder folder;
    const std::string file =
        folder.write("a.v210", qlxtest::v210Row(32, qlxtest::ancSamples(0x61, 0x01, fromHex(cdp))));
    const ToolResult list = runTool({"scan", file, "--width", "192", "--lines", "9"});
    EXPECT_EQ(list.exitCode, 0);
    EXPECT_EQ(list.out, "   frame   line  DID/SDID  name               bytes  data\n"
                        "       0      9  61/01     CEA708                59  " +
                            cdp +
                            "\n"
                            "                 CDP: 59.94 frames/s, counter 3, 10 triplets: field 1 9420, field 2 8080, "
                            "8 padding; length and checksum as in the standard\n"
                            "1 packet in 1 frame\n");
    std::string padding;
    for (int index = 0; index < 8; ++index) {
        padding += R"(,{"kind":"padding","data":"0000"})";
    }
    const ToolResult json = runTool({"scan", file, "--width", "192", "--lines", "9", "--json"});
    EXPECT_EQ(qlxtest::withoutSchema(json.out),
              R"({"frame":0,"packets":[{"line":9,"did":97,"sdid":1,"type":"CEA708","data":")" + cdp +
                  R"(","cdp":{"rate":"59.94","ccCount":10,"counter":3,"triplets":[)"
                  R"({"kind":"field 1","data":"9420"},{"kind":"field 2","data":"8080"})" +
                  padding + R"(],"lengthOk":true,"checksumOk":true}}]})" + "\n");
}

TEST(ScanCaptions, NeverRefusesAPacket) {
    // A reserved rate, a footer (74) where the flags announce cc_data, a wrong length and checksum.
    const TemporaryFolder folder;
    const std::string file =
        folder.write("a.v210", qlxtest::v210Row(8, qlxtest::ancSamples(0x61, 0x01, fromHex("966933af7f0102740102aa"))));
    const ToolResult json = runTool({"scan", file, "--width", "48", "--lines", "9", "--json"});
    EXPECT_EQ(json.exitCode, 0);
    EXPECT_EQ(json.err, "");
    EXPECT_EQ(qlxtest::withoutSchema(json.out),
              R"({"frame":0,"packets":[{"line":9,"did":97,"sdid":1,"type":"CEA708","data":"966933af7f0102740102aa",)"
              R"("cdp":{"rate":null,"ccCount":null,"counter":258,"triplets":[],)"
              R"("contradiction":"cc_data (72) is announced, but not there","lengthOk":false,"checksumOk":false}}]})"
              "\n");
}

// A name with a wrong checksum and another one without an end; a packet of services that has a byte of a block of two, and
// one behind a lost one that does not end.
TEST(ScanCaptions, SaysWhatIsWrongWithExtendedDataAndServices) {
    std::string frames;
    int number = 0;
    for (const std::string_view triplets :
         {"fd0183ff0121", "fd46e9fe0000", "fdec6dff8321", "fd8f91", "fd0183", "fd46e9"}) {
        frames += "{\"frame\":" + std::to_string(number++) + R"(,"packets":[],"captions":{"data":")" +
                  std::string(triplets) + "\"}}\n";
    }
    const TemporaryFolder folder;
    const std::string file = folder.write("a.jsonl", std::string_view(frames));
    const std::string warning = "qlxcc: warning: " + file + ": frame ";
    const std::string said = warning + "0: service block of 2 bytes, of which 1 are there\n" +  //
                             warning + "3: extended data: checksum 11, but 65 is right\n" +     //
                             warning + "5: extended data: packet 103 of 2 bytes has no end\n" + warning +
                             "5: packet number 2 where 1 was expected\n" + warning +
                             "5: packet of 6 bytes, of which 2 are there\n" + warning +
                             "5: service block of 2 bytes, of which 1 are there\n";
    for (const std::vector<std::string>& command :
         {std::vector<std::string>{"scan", file}, std::vector<std::string>{"scan", file, "--list"}}) {
        const ToolResult result = runTool(command);
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_EQ(result.err, said);
    }
}

TEST(ScanCaptions, SaysInJsonWhereAPacketContradictsItself) {
    const TemporaryFolder folder;
    // 20 triplets are announced (f4), and one is there; then a section 55 where the flags announce cc_data.
    const std::string data = "96690d3f7f000072f4fc9420fa";
    const std::string other = "9669093f7f00005500";
    const std::string file =
        folder.write("a.jsonl", R"({"frame":0,"packets":[)"
                                R"({"line":9,"did":97,"sdid":1,"type":"CEA708","data":")" +
                                    data + R"("},)" + R"({"line":9,"did":97,"sdid":1,"type":"CEA708","data":")" +
                                    other + R"("}]})" + "\n");
    const ToolResult json = runTool({"scan", file, "--json"});
    EXPECT_EQ(json.exitCode, 0);
    EXPECT_EQ(json.err,
              "qlxcc: warning: " + file + ": frame 0, line 9: counter 0 once more where 1 was expected (told once)\n");
    EXPECT_EQ(qlxtest::withoutSchema(json.out),
              R"({"frame":0,"packets":[{"line":9,"did":97,"sdid":1,"type":"CEA708","data":")" + data +
                  R"(","cdp":{"rate":"25","ccCount":20,"counter":0,"triplets":[{"kind":"field 1","data":"9420"}],)"
                  R"("contradiction":"cc_count 20, of which 1 is there","lengthOk":true,"checksumOk":false}},)"
                  R"({"line":9,"did":97,"sdid":1,"type":"CEA708","data":")" +
                  other +
                  R"(","cdp":{"rate":"25","ccCount":null,"counter":0,"triplets":[],)"
                  R"("contradiction":"section 55 where cc_data (72) is announced","lengthOk":true,)"
                  R"("checksumOk":false}}]})"
                  "\n");
}

TEST(SccFile, IsWarnedOfWhereItIsRead) {
    const qlxtest::TemporaryFolder folder;
    std::string text = "Scenarist_SCC V1.0\n\n00:00:10:00\t9420\n";
    for (int line = 0; line < 13; ++line) {
        text += "00:00:09:00\t9420\n";
    }
    const std::string file = folder.write("a.scc", text);
    const std::string start = "qlxcc: warning: " + file + ": ";
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"scan", file}, std::vector<std::string>{"show", file, "--all"},
          std::vector<std::string>{"scan", file, "--json"}}) {
        const qlxtest::ToolResult result = qlxtest::runTool(arguments);
        EXPECT_EQ(result.exitCode, 0);
        const std::vector<std::string> lines = qlxtest::linesOf(result.err);
        ASSERT_EQ(lines.size(), 11U);
        EXPECT_EQ(lines[0], start + "line 4: the timecode is earlier than that of line 3: the line's pairs "
                                    "follow those, from 00:00:10:01 on");
        EXPECT_EQ(lines[1], start + "line 5: the timecode comes before the pairs of line 4 are through: "
                                    "the line's pairs follow those, from 00:00:10:02 on");
        EXPECT_EQ(lines[10], start + "3 more warnings");
        std::vector<std::string> quiet = arguments;
        quiet.emplace_back("--quiet");
        EXPECT_EQ(qlxtest::runTool(quiet).err, "");
    }
}

}  // namespace

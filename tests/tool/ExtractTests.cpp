// qlxcc extract: access units and their caption data.
#include "ExactBuffer.h"
#include "ToolRunner.h"

#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>

namespace {

using qlxtest::fromHex;
using qlxtest::linesOf;
using qlxtest::runTool;
using qlxtest::TemporaryFolder;
using qlxtest::ToolResult;
using Bytes = std::vector<std::uint8_t>;

// Registered user data of 8 + 3 + 6 + 1 bytes (country B5, provider 0031, "GA94", cc_data with two triplets).
const std::string kSei = "06 04 11 b5 0031 47413934 03 c2 ff fc942c fd8080 ff 80";
const std::string kTriplets = "fc942cfd8080";
const std::string kLong = "00000001";
const std::string kShort = "000001";
// Slices: the bit behind the header is 1 when the slice is a picture's first.
// Parameters: H.264, 64 x 64 (ITU-T H.264, 7.3.2.1.1), and a sequence header of MPEG-2 (ISO/IEC 13818-2, 6.2.2.1), 720 x
// 480 at 25 frames a second.
const std::string kParameters = kLong + "6742001ef4f0" + kLong + "68ce3880";
const std::string kSequence = kShort + "b3 2d01e0 33 ffff e0";
const std::string kIdr = "65 88 80 aa";
const std::string kSlice = "41 9a 22 bb";
const std::string kSecondSlice = "41 5c 33 cc";

struct StreamUnit {
    std::string hex;
    std::string data;  ///< "-" for none.
};

/// The list that is printed for a stream of `units`.
std::string listOf(const std::vector<StreamUnit>& units, const std::string& summary) {
    std::string text = "    unit        offset  bytes  data\n";
    std::size_t offset = 0;
    const auto right = [](const std::string& value, std::size_t width) {
        return std::string(width - value.size(), ' ') + value;
    };
    for (std::size_t index = 0; index < units.size(); ++index) {
        const std::string& data = units[index].data;
        text += right(std::to_string(index), 8) + "  " + right(std::to_string(offset), 12) + "  " +
                right(data == "-" ? "-" : std::to_string(data.size() / 2), 5) + "  " + data + "\n";
        offset += fromHex(units[index].hex).size();
    }
    return text + summary + "\n";
}

Bytes streamOf(const std::vector<StreamUnit>& units) {
    Bytes stream;
    for (const StreamUnit& unit : units) {
        const Bytes bytes = fromHex(unit.hex);
        stream.insert(stream.end(), bytes.begin(), bytes.end());
    }
    return stream;
}

const std::vector<StreamUnit> kH264{
    {kLong + "09f0" + kParameters + kShort + kSei + kShort + kIdr, kTriplets},
    // Begins with a start code of three bytes; two slices of one picture.
    {kShort + kSei + kShort + kSlice + kShort + kSecondSlice, kTriplets},
    // A picture on its own, then one with a delimiter and a message of another kind.
    {kShort + kSlice, "-"},
    {kLong + "0930" + kShort + "06 05 01 ff 80" + kShort + kSlice + kLong + "0c ffff 80", "-"},
    {kLong + "0930" + kShort + kSei + kLong + kSlice, kTriplets},
};

TEST(Extract, ListsTheUnitsOfAnH264Stream) {
    const TemporaryFolder folder;
    const std::string file = folder.write("a.264", streamOf(kH264));
    const std::string expected = listOf(kH264, "5 access units of H.264, 3 with caption data");
    for (const std::vector<std::string>& more : std::vector<std::vector<std::string>>{
             {}, {"--codec", "auto"}, {"--codec", "h264"}, {"--codec", "h264", "--format", "triplets"}}) {
        std::vector<std::string> arguments{"extract", file};
        arguments.insert(arguments.end(), more.begin(), more.end());
        const ToolResult result = runTool(arguments);
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_EQ(result.err, "");
        EXPECT_EQ(result.out, expected);
    }
    EXPECT_EQ(runTool({"extract", "-"}, {.input = folder.read("a.264")}).out, expected);
}

// A sequence header, a group header, pictures with A/53 user data and a slice. The second picture has none.
const std::vector<StreamUnit> kMpeg2{
    {kSequence + kShort + "b8 00080040" + kShort + "00 000f fff8" + kShort +
         "b2 47413934 03 43 ff fc9420 fd8080 ff0123 ff" + kShort + "01 1234",
     "fc9420fd8080ff0123"},
    {kShort + "00 008f fff8" + kShort + "01 1234", "-"},
    {kSequence + kShort + "00 000f fff8" + kShort + "b2 47413934 03 41 ff fc8080 ff" + kShort + "01 5678" + kShort +
         "b7",
     "fc8080"},
};

TEST(Extract, ListsUnitsThatHoldNothingOfTheFormatWithADash) {
    const TemporaryFolder folder;
    // One DTVCC triplet: no pair of field 1.
    const std::string sei = "06 04 0e b5 0031 47413934 03 41 ff fe1234 ff 80";
    const std::string file =
        folder.write("a.264", fromHex(kLong + "09f0" + kParameters + kShort + sei + kShort + kIdr));
    const ToolResult result = runTool({"extract", file, "--format", "cc1"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, "    unit        offset  bytes  data\n"
                          "       0             0      0  -\n"
                          "1 access unit of H.264, 1 with caption data\n");
}

TEST(Extract, ListsThePicturesOfAnMPEG2Stream) {
    const TemporaryFolder folder;
    const std::string file = folder.write("a.m2v", streamOf(kMpeg2));
    const std::string expected = listOf(kMpeg2, "3 access units of MPEG-2, 2 with caption data");
    EXPECT_EQ(runTool({"extract", file}).out, expected);
    EXPECT_EQ(runTool({"extract", file, "--codec", "mpeg2"}).out, expected);
}

TEST(Extract, SaysWhatItDoesNotUse) {
    const TemporaryFolder folder;
    // Captions by A/53, then one pair by SCTE 20: a count of 1 (00001), priority, field 1 and line (00 01 01011), two bytes
    // from their lowest bit on, and a marker.
    const std::string a53 = "000001b2 47413934 03 c2 ff fc942c fd8080 ff";
    const std::string scte20 = "000001b2 0381 08ac a4d2";
    const std::string picture = "00000100 000ffff8";
    const std::string both = folder.write("both.m2v", fromHex("000001b3 14012c 24 ffff e000" + picture + a53 + scte20));
    const ToolResult result = runTool({"extract", both});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_NE(result.out.find(kTriplets), std::string::npos) << result.out;
    // The sequence header has 12 bytes, the picture's 8, the other captions 18; 3 of the start code.
    EXPECT_EQ(result.err,
              "qlxcc: warning: " + both + ": byte 41: captions by SCTE 20 beside those by ATSC A/53 are not used\n");
    const std::string alone = folder.write("alone.m2v", fromHex("000001b3 14012c 24 ffff e000" + picture + scte20));
    const ToolResult one = runTool({"extract", alone});
    EXPECT_EQ(one.err, "");
    EXPECT_NE(one.out.find("fc942c"), std::string::npos) << one.out;
}

// From the first picture with captions by A/53 on these alone are used; that others stand in other pictures is said once.
TEST(Extract, TakesNoScte20BesideA53InOtherPictures) {
    const TemporaryFolder folder;
    const auto pictureOf = [](const std::string& captions) {
        return kShort + "00 000f fff8" + captions + kShort + "01 1234";
    };
    const std::string a53 = pictureOf(kShort + "b2 47413934 03 c2 ff fc942c fd8080 ff");
    const std::string scte20 = pictureOf(kShort + "b2 0381 08ac a4d2");
    const std::string header = "000001b3 14012c 24 ffff e000";
    const auto extracted = [&](const std::string& pictures, std::size_t byte) {
        const std::string file = folder.write("a.m2v", fromHex(header + pictures));
        const ToolResult result = runTool({"extract", file, "--json"});
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_EQ(result.err, "qlxcc: warning: " + file + ": byte " + std::to_string(byte) +
                                  ": captions by SCTE 20 beside those by ATSC A/53 are not used\n");
        std::vector<std::string> data;
        for (const std::string& line : linesOf(qlxtest::withoutSchema(result.out, "captions"))) {
            data.push_back(line.substr(line.find("\"data\":") + 7));
        }
        return data;
    };
    // The header has 12 bytes, a picture's header 8, the captions 18 or 10 and a slice 6; the start code 3.
    EXPECT_EQ(extracted(a53 + scte20 + a53 + scte20, 12 + 32 + 8 + 3),
              (std::vector<std::string>{R"("fc942cfd8080"})", "null}", R"("fc942cfd8080"})", "null}"}));
    EXPECT_EQ(extracted(scte20 + a53 + scte20, 12 + 24 + 32 + 8 + 3),
              (std::vector<std::string>{R"("fc942c"})", R"("fc942cfd8080"})", "null}"}));
}

// What scan says of the same file, once: SEI units with nal_ref_idc 3 (66) behind the first parameters, and pairs by
// SCTE 20 with line offset 10 (01010) in place of 11.
TEST(Extract, RemarksWhatScanRemarks) {
    const TemporaryFolder folder;
    const std::string referenced = kShort + "66" + kSei.substr(2);
    const std::string h264 = kParameters + referenced + kShort + kIdr + referenced + kShort + kSlice;
    // A count of 1 (00001), priority, field 1 and line (00 01 01010), the two bytes from their lowest bit on, a marker.
    const std::string scte20 = kShort + "b2 0381 08aa a4d2";
    const std::string picture = kShort + "00 000f fff8" + scte20 + kShort + "01 1234";
    const std::vector<std::array<std::string, 3>> files{
        {"a.264", h264, "byte 21: SEI unit with nal_ref_idc 3, not 0"},
        {"a.m2v", kSequence + picture + picture,
         "pair 0 has line offset 10, not 11 for line 21: it is used all the same"}};
    for (const auto& [name, hex, remark] : files) {
        const std::string file = folder.write(name, fromHex(hex));
        const std::string said = runTool({"extract", file}).err;
        const std::vector<std::string> lines = linesOf(said);
        ASSERT_EQ(lines.size(), 1U) << said;
        EXPECT_TRUE(lines[0].starts_with("qlxcc: warning: " + file + ": byte ")) << said;
        EXPECT_TRUE(lines[0].ends_with(remark)) << said;
        EXPECT_EQ(runTool({"scan", file}).err, said);
    }
}

TEST(Extract, GivesFieldOneAndA53) {
    const TemporaryFolder folder;
    // Null pairs behind the first pair are left out; the first stays.
    const std::string file = folder.write(
        "a.m2v", fromHex(kSequence + kShort + "00 000f fff8" + kShort +
                         "b2 47413934 03 45 ff fc9420 fc8080 fd1520 fcc8e9 ff0203"
                         " ff" +
                         kShort + "00 000f fff8" + kShort + "b2 47413934 03 41 ff fc8080 ff" + kShort + "00 000f fff8" +
                         kShort + "b2 47413934 03 41 ff fa0000 ff" + kShort + "00 000f fff8"));
    const auto dataOf = [&](const std::string& format) {
        std::vector<std::string> data;
        const std::string out = runTool({"extract", file, "--format", format, "--json"}).out;
        for (const std::string& line : linesOf(qlxtest::withoutSchema(out, "captions"))) {
            data.push_back(line.substr(line.find("\"data\":")));
        }
        return data;
    };
    EXPECT_EQ(dataOf("triplets"),
              (std::vector<std::string>{R"("data":"fc9420fc8080fd1520fcc8e9ff0203"})", R"("data":"fc8080"})",
                                        R"("data":"fa0000"})", R"("data":null})"}));
    EXPECT_EQ(dataOf("cc1"), (std::vector<std::string>{R"("data":"9420c8e9"})", R"("data":"8080"})", R"("data":""})",
                                                       R"("data":null})"}));
    EXPECT_EQ(dataOf("a53"), (std::vector<std::string>{R"("data":"03c5fffc9420fc8080fd1520fcc8e9ff0203ff"})",
                                                       R"("data":"03c1fffc8080ff"})", R"("data":"03c1fffa0000ff"})",
                                                       R"("data":null})"}));
}

TEST(Extract, GivesAJSONLineForEveryUnit) {
    const TemporaryFolder folder;
    const std::string file = folder.write("a.m2v", streamOf(kMpeg2));
    const std::size_t second = fromHex(kMpeg2[0].hex).size();
    const std::size_t third = second + fromHex(kMpeg2[1].hex).size();
    EXPECT_EQ(
        qlxtest::withoutSchema(runTool({"extract", file, "--json"}).out, "captions"),
        "{\"unit\":0,\"offset\":0,\"data\":\"fc9420fd8080ff0123\"}\n{\"unit\":1,\"offset\":" + std::to_string(second) +
            ",\"data\":null}\n{\"unit\":2,\"offset\":" + std::to_string(third) + ",\"data\":\"fc8080\"}\n");
}

TEST(Extract, TakesAllThirtyOneTriplets) {
    std::string triplets;
    for (int index = 0; index < 31; ++index) {
        triplets += "fc2020";
    }
    const TemporaryFolder folder;
    const std::string file = folder.write(
        "a.m2v", fromHex(kSequence + kShort + "00 000f fff8" + kShort + "b2 47413934 03 5f ff " + triplets + "ff"));
    EXPECT_EQ(qlxtest::withoutSchema(runTool({"extract", file, "--json"}).out, "captions"),
              R"({"unit":0,"offset":0,"data":")" + triplets + "\"}\n");
    std::string pairs;
    for (int index = 0; index < 31; ++index) {
        pairs += "2020";
    }
    EXPECT_EQ(qlxtest::withoutSchema(runTool({"extract", file, "--json", "--format", "cc1"}).out, "captions"),
              R"({"unit":0,"offset":0,"data":")" + pairs + "\"}\n");
}

TEST(Extract, WritesToAFile) {
    const TemporaryFolder folder;
    const std::string file = folder.write("a.264", streamOf(kH264));
    const ToolResult result = runTool({"extract", file, "-o", folder.path("list")});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(folder.read("list"), listOf(kH264, "5 access units of H.264, 3 with caption data"));
    EXPECT_EQ(runTool({"extract", file, "-o", file}).exitCode, 1);
    EXPECT_EQ(runTool({"extract", folder.write("none", Bytes(100, 1)), "-o", folder.path("other")}).exitCode, 1);
    EXPECT_EQ(folder.names(), (std::vector<std::string>{"a.264", "list", "none"}));
}

/// What is said of a file without parameters in the bytes that are looked at.
std::string withoutParameters(const std::string& file, std::size_t bytes) {
    return "qlxcc: " + file + ": byte 0: no sequence header and no parameter set of video in the first " +
           std::to_string(bytes) + " bytes: --codec says that it is video all the same\n";
}

// Neither its name nor its start codes make video of a file: other files have these too.
TEST(Extract, RefusesVideoWithoutParameters) {
    const TemporaryFolder folder;
    const std::string h264 = kLong + "09f0" + kShort + kSei + kShort + kIdr;
    const std::string h265 =
        kShort + "40010c" + kShort + "4e0104 0e b5 0031 47413934 03 c1 ff fc942c ff 80" + kShort + "2601ae";
    const std::string mpeg2 = kShort + "b3 2d01e0" + kShort + "00 000f fff8" + kShort + "01 1234";
    const std::vector<std::array<std::string, 3>> files{
        {"a.264", h264, "h264"}, {"a.h264", h264, "h264"},  {"a", h264, "h264"},  {"a.265", h265, "h265"},
        {"b", h265, "h265"},     {"a.m2v", mpeg2, "mpeg2"}, {"c", mpeg2, "mpeg2"}};
    for (const auto& [name, hex, codec] : files) {
        const Bytes bytes = fromHex(hex);
        const std::string file = folder.write(name, bytes);
        for (const std::vector<std::string>& more : {std::vector<std::string>{}, {"--codec", "auto"}}) {
            std::vector<std::string> arguments{"extract", file, "-o", folder.path("out")};
            arguments.insert(arguments.end(), more.begin(), more.end());
            const ToolResult refused = runTool(arguments);
            EXPECT_EQ(refused.exitCode, 1) << name;
            EXPECT_EQ(refused.err, withoutParameters(file, bytes.size()));
        }
        EXPECT_EQ(runTool({"extract", "-"}, {.input = folder.read(name)}).err,
                  withoutParameters("standard input", bytes.size()));
        const ToolResult named = runTool({"extract", file, "--codec", codec});
        EXPECT_EQ(named.exitCode, 0) << named.err;
    }
}

TEST(Extract, LooksAtAsMuchOfAPipeAsOfAFile) {
    const std::string unit = [] {
        const Bytes bytes = fromHex(kLong + "09f0" + kShort + kSei + kShort + kIdr);
        return std::string(bytes.begin(), bytes.end());
    }();
    const auto unitsOf = [&](std::size_t bytes) {
        std::string stream;
        while (stream.size() < bytes) {
            stream += unit;
        }
        return stream;
    };
    for (const std::size_t size : {std::size_t{64} << 10U, std::size_t{100} << 10U}) {
        const std::string stream = unitsOf(size);
        const ToolResult refused = runTool({"extract", "-"}, {.input = stream});
        EXPECT_EQ(refused.exitCode, 1);
        EXPECT_EQ(refused.err, withoutParameters("standard input", stream.size()));
        EXPECT_EQ(refused.out, "");
    }
    const std::string longStream = unitsOf((std::size_t{16} << 20U) + 1);
    EXPECT_EQ(runTool({"extract", "-"}, {.input = longStream}).err, withoutParameters("standard input", 16777216));
    // Parameters behind the first pieces that are looked at: all that stands in front of them is read as well.
    const Bytes last = fromHex(kLong + "09f0" + kParameters + kShort + kSei + kShort + kIdr);
    const std::string late = unitsOf(1'000'000);
    const std::string units = std::to_string(late.size() / unit.size() + 1);
    const ToolResult taken = runTool({"extract", "-"}, {.input = late + std::string(last.begin(), last.end())});
    EXPECT_EQ(taken.exitCode, 0) << taken.err;
    EXPECT_TRUE(taken.out.ends_with(units + " access units of H.264, " + units + " with caption data\n"))
        << taken.out.substr(taken.out.size() - 80);
}

TEST(Extract, SearchesForTheFirstStartCodeAWhile) {
    const TemporaryFolder folder;
    const std::size_t most = std::size_t{64} << 20U;
    const std::string file = folder.write("a.264", "");
    const auto put = [&](std::size_t place) {
        std::filesystem::resize_file(file, 0);
        std::filesystem::resize_file(file, place);
        std::ofstream stream(file, std::ios::binary | std::ios::app);
        const Bytes unit = fromHex(kLong + "09f0" + kShort + kSei + kShort + kIdr);
        stream.write(reinterpret_cast<const char*>(unit.data()), static_cast<std::streamsize>(unit.size()));
    };
    put(most - 4);
    ToolResult result = runTool({"extract", file, "--codec", "h264"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_TRUE(result.out.ends_with("1 access unit of H.264, 1 with caption data\n")) << result.out;
    // Nothing says that it is video in its first 16 MiB.
    result = runTool({"extract", file});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, withoutParameters(file, 16777216));
    put(4 * most);
    result = runTool({"extract", file, "--codec", "h264"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err,
              "qlxcc: " + file +
                  ": byte 0: no start code (00 00 01) in the first 64 MiB: this is neither H.264 or H.265 in Annex B "
                  "form nor MPEG-2 video\n");
}

TEST(Extract, RefusesWhatIsNoVideoStream) {
    const TemporaryFolder folder;
    const auto refusal = [&](const Bytes& content, const std::string& message) {
        const std::string file = folder.write("a", content);
        const ToolResult result = runTool({"extract", file});
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.err, "qlxcc: " + file + ": " + message + "\n");
    };
    refusal({}, "byte 0: the file is empty");
    refusal(fromHex("0000"),
            "byte 0: no start code (00 00 01): this is neither H.264 or H.265 in Annex B form nor MPEG-2 video");
    refusal(Bytes(1000, 0x47),
            "byte 0: no start code (00 00 01): this is neither H.264 or H.265 in Annex B form nor MPEG-2 video");
    refusal(fromHex("4740 00001f 000001e0 0000 8080"),
            "byte 5: start code e0 of a transport or program stream: an elementary video stream is needed");
    const ToolResult missing = runTool({"extract", folder.path("none.264")});
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_EQ(missing.err, "qlxcc: " + folder.path("none.264") + ": No such file or directory\n");
}

}  // namespace

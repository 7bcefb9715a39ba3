// The JSON that the tool writes, by the schemas that are installed with it, of which every keyword is checked.
#include "CaptionBytes.h"
#include "JsonSchema.h"
#include "SubtitleFiles.h"
#include "ToolRunner.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace schema_tests {
namespace {

using qlxtest::converted;
using qlxtest::runTool;
using qlxtest::Schema;
using qlxtest::TemporaryFolder;
using qlxtest::ToolResult;

const std::string kSchema = "subtitles";

TEST(Schema, HasAllThatConvertWrites) {
    const TemporaryFolder folder;
    const Schema schema(kSchema);
    const std::string vtt =
        folder.write("in.vtt", "WEBVTT title\nLanguage: en\n\nREGION\nid:r\n\nNOTE one\n\n"
                               "intro\n00:00:01.000 --> 00:00:02.000 region:r align:start\n"
                               "<v Mary><c.yellow.bg_blue>a</c><b><i><u>b<00:00:01.500>c</u></i></b></v>\n\n"
                               "7\n00:00:02.000 --> 00:00:03.000 line:0\n\n\nNOTE behind\n\n");
    const std::string scc = folder.write("in.scc", "Scenarist_SCC V1.0\n\n00:00:01:00\t9420 9420 94ae 94ae 9470 9470 "
                                                   "91a8 91a8 c8e9 942f 942f\n\n00:00:03:00\t942c 942c\n");
    const std::string srt = folder.write("in.srt", "0\n00:00:01,000 --> 00:00:02,000 X1:1\n{\\an8}"
                                                   "<font color=\"#123456\" face=\"A\">a</font>\n\n");
    const std::string stl = folder.path("in.stl");
    const std::string ttml = folder.path("in.ttml");
    ASSERT_EQ(runTool({"convert", vtt, "-o", stl}).exitCode, 0);
    ASSERT_EQ(runTool({"convert", vtt, "-o", ttml, "--language", "de"}).exitCode, 0);
    for (const std::string& file : {vtt, scc, srt, stl, ttml}) {
        const ToolResult json = converted(file, "json");
        ASSERT_EQ(json.exitCode, 0) << json.err;
        EXPECT_EQ(schema.problem(json.out), "") << json.out;
    }
    EXPECT_EQ(schema.problem(converted(folder.write("none.vtt", "WEBVTT\n"), "json").out), "");
}

TEST(Schema, RefusesWhatConvertDoesNotWrite) {
    const Schema schema(kSchema);
    const std::string time = R"({"value":1,"timescale":25,"seconds":0.04})";
    const auto document = [&](const std::string& more, const std::string& row) {
        return R"({"schema":"qlxcc/subtitles/1","cues":[{"start":)" + time + R"(,"end":)" + time + more +
               R"(,"rows":[)" + row + "]}]}";
    };
    const std::string run = R"({"text":"a","color":"#ffffff"})";
    EXPECT_EQ(schema.problem(document("", R"({"alignment":"left","runs":[)" + run + "]}")), "");
    EXPECT_EQ(schema.problem(document("", R"({"alignment":9,"runs":[]})")), "");
    const std::pair<std::string, std::string> cases[] = {
        {R"({"schema":"qlxcc/subtitles/2","cues":[]})", "/schema: const"},
        {R"({"schema":"qlxcc/subtitles/1"})", ": required"},
        {R"({"schema":"qlxcc/subtitles/1","cues":{}})", "/cues: type"},
        {R"({"schema":"qlxcc/subtitles/1","cues":[],"stl":"00"})", "/stl: minLength"},
        {document(R"(,"start_time":1)", ""), "/cues/0: additionalProperties"},
        {document(R"(,"number":0)", ""), "/cues/0/number: minimum"},
        {document(R"(,"id":"")", ""), "/cues/0/id: minLength"},
        {document("", R"({"alignment":"middle","runs":[]})"), "/cues/0/rows/0/alignment: anyOf"},
        {document("", R"({"alignment":1,"runs":[]})"), "/cues/0/rows/0/alignment: anyOf"},
        {document("", R"({"alignment":"left","anchor":300,"runs":[]})"), "/cues/0/rows/0/anchor: maximum"},
        {document("", R"({"alignment":"left","runs":[{"text":"a","color":"white"}]})"),
         "/cues/0/rows/0/runs/0/color: pattern"},
        {document("", R"({"alignment":"left","runs":[{"text":"a","color":"#ffffff","bold":false}]})"),
         "/cues/0/rows/0/runs/0/bold: const"},
    };
    for (const auto& [text, problem] : cases) {
        EXPECT_EQ(schema.problem(text), problem) << text;
    }
}

std::string outputOf(const std::vector<std::string>& arguments, const std::string& input = {}) {
    const ToolResult result = runTool(arguments, {.input = input});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    return result.out;
}

const std::string kTwoCues =
    qlxtest::srt({{"00:00:01,000", "00:00:02,000", "<font color=\"#ff0000\">a</font> <i>b</i>"},
                  {"00:00:03,000", "00:00:04,000", "c\n{\\an8}d"}});

TEST(Schema, HasAllOfFrames) {
    const TemporaryFolder folder;
    const Schema schema("frames");
    const std::string file = folder.write("in.srt", kTwoCues);
    for (const char* mode : {"cea608", "teletext"}) {
        const std::string klv = folder.path("a.klv");
        outputOf({"play", file, "--mode", mode, "--rate", "25", "-o", klv});
        EXPECT_EQ(schema.problemOfLines(outputOf({"play", file, "--mode", mode, "--rate", "25", "--format", "jsonl"})),
                  "");
        EXPECT_EQ(schema.problemOfLines(outputOf({"scan", klv, "--json"})), "");
    }
    // Captions in no packet, a message, a packet in chroma behind the beginning of its row, and a damaged CDP.
    const std::string scc = folder.write("a.scc", "Scenarist_SCC V1.0\n\n00:00:01:00\t9420 9420\n");
    EXPECT_EQ(schema.problemOfLines(outputOf({"scan", scc, "--json"})), "");
    const std::string packets =
        R"({"frame":0,"pts":{"value":0,"timescale":25},"packets":[{"line":9,"did":97,"sdid":1,"data":"9669103f43000072e1fc942c740000ec"},)"
        R"({"line":9,"did":97,"sdid":1,"data":"9669103f43000072e2fc942c740000ed"},)"
        R"({"line":13,"did":65,"sdid":7,"data":"08ffff0010000001000000000101020000"},)"
        R"({"line":12,"did":67,"sdid":2,"channel":"chroma","horizontalOffset":12,"data":"5115"}]})"
        "\n";
    const std::string listed = outputOf({"scan", "-", "--from-format", "jsonl", "--json"}, packets);
    EXPECT_NE(listed.find("\"scte104\":["), std::string::npos) << listed;
    EXPECT_NE(listed.find("\"contradiction\":"), std::string::npos) << listed;
    EXPECT_EQ(schema.problemOfLines(listed), "");
    EXPECT_EQ(schema.problem(R"({"frame":0,"packets":[{"line":9,"did":256,"sdid":1,"type":"","data":""}]})"),
              "/packets/0/did: maximum");
    EXPECT_EQ(schema.problem(R"({"frame":0,"packets":[{"line":9,"did":1,"sdid":1,"type":"","data":"A"}]})"),
              "/packets/0/data: pattern");
    EXPECT_EQ(schema.problem(R"({"frame":0,"packets":[],"packet":1})"), ": additionalProperties");
}

TEST(Schema, HasAllOfTheListsOfCaptions) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.srt", kTwoCues);
    const std::string captions = folder.path("a.jsonl");
    const std::string pages = folder.path("b.jsonl");
    outputOf({"play", file, "--mode", "cea608", "--rate", "25", "--program-name", "Film", "-o", captions});
    outputOf({"play", file, "--mode", "teletext", "--rate", "25", "-o", pages});
    const std::string service = folder.path("c.jsonl");
    outputOf({"convert", file, "-o", service, "--to-rate", "25", "--service", "1"});
    const Schema show("show");
    EXPECT_EQ(show.problemOfLines(outputOf({"show", captions, "--all", "--json"})), "");
    EXPECT_EQ(show.problemOfLines(outputOf({"show", pages, "--page", "888", "--all", "--json"})), "");
    EXPECT_EQ(show.problemOfLines(outputOf({"show", service, "--service", "1", "--all", "--json"})), "");
    EXPECT_EQ(show.problemOfLines(outputOf({"show", captions, "--channel", "XDS", "--all", "--json"})), "");
    EXPECT_EQ(show.problemOfLines(outputOf({"show", captions, "--at", "1.5", "--json"})), "");
    EXPECT_EQ(show.problem(R"({"rows":[]})"), ": anyOf");
    const Schema contents("contents");
    for (const std::string& each : {captions, pages, service}) {
        EXPECT_EQ(contents.problem(outputOf({"scan", each, "--list", "--json"})), "");
    }
    EXPECT_EQ(contents.problem(R"({"schema":"qlxcc/contents/1","frames":-1,"contents":[]})"), "/frames: minimum");
    const Schema extracted("captions");
    EXPECT_EQ(extracted.problemOfLines(outputOf({"extract", captions, "--json"})), "");
    EXPECT_EQ(extracted.problem(R"({"unit":0,"data":null})"), ": anyOf");
    EXPECT_EQ(extracted.problem(R"({"unit":0,"pts":null,"data":"0"})"), "/data: anyOf");
    const Schema line21("line21");
    const std::string picture = folder.path("a.ppm");
    outputOf({"line21", "write", "--bytes", "942c", "-o", picture});
    EXPECT_EQ(line21.problemOfLines(outputOf({"line21", "read", picture, "--json"})), "");
    EXPECT_EQ(line21.problem(R"({"frame":0,"sample":"","rows":[{"row":3,"pair":"8080","parityOk":true,"name":"a"}]})"),
              "/rows/0/row: maximum");
}

TEST(Schema, HasAllOfTheListOfCues) {
    const TemporaryFolder folder;
    const Schema schema("subs");
    const std::string file = folder.write("in.srt", kTwoCues + "stray\n");
    EXPECT_EQ(schema.problem(outputOf({"subs", file, "--json"})), "");
    EXPECT_EQ(schema.problem(outputOf({"subs", file, "--json", "--mode", "cea608", "--rate", "25"})), "");
    EXPECT_EQ(schema.problem(outputOf({"subs", file, "--json", "--mode", "teletext", "--rate", "25"})), "");
    EXPECT_EQ(schema.problem(R"({"schema":"qlxcc/subs/1","cues":[]})"), ": required");
}

TEST(Schema, HasAllOfSplices) {
    const TemporaryFolder folder;
    const std::string message = outputOf({"scte104", "build", "splice-start", "--event-id", "7", "--pre-roll", "4000"});
    EXPECT_EQ(Schema("scte104").problem(outputOf({"scte104", "parse", "-", "--json"}, message)), "");
    EXPECT_EQ(Schema("scte35").problem(outputOf({"scte35", "-", "--pts", "900000", "--to-format", "json"}, message)),
              "");
    const std::string stream = folder.path("a.ts");
    outputOf({"scte35", "-", "--pts", "900000", "-o", stream}, message);
    EXPECT_EQ(Schema("splices").problem(outputOf({"scan", stream, "--json"})), "");
    EXPECT_EQ(Schema("splices").problem(R"({"schema":"qlxcc/splices/1","splices":[{}]})"), "/splices/0: required");
    EXPECT_EQ(Schema("scte104").problem(R"({"schema":"qlxcc/scte104/1","protocolVersion":0,"asIndex":0,)"
                                        R"("messageNumber":0,"dpiPidIndex":0})"),
              ": anyOf");
}

}  // namespace
}  // namespace schema_tests

// qlxcc play with JSON subtitle files.
#include "SubtitleFiles.h"
#include "TeletextBytes.h"
#include "ToolRunner.h"
#include "cues/Subtitles.h"
#include "streams/Json.h"

#include <gtest/gtest.h>

#include <random>

namespace {

using qlx::tool::looksLikeJson;
using qlxtest::deployedCaptionArguments;
using qlxtest::deployedTeletextArguments;
using qlxtest::linesOf;
using qlxtest::runTool;
using qlxtest::srt;
using qlxtest::TemporaryFolder;
using qlxtest::ToolResult;

const std::string kCue = R"({"start_time_seconds": 1.01, "end_timecode": "00:00:02,010", )"
                         R"("text_lines": [{"text": "Hi"}, {"text": "ok"}]})";

TEST(JsonSubtitles, KeepTheirTimesAsCaptions) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.json", "[" + kCue + "]");
    const ToolResult result = runTool(deployedCaptionArguments(file, "25"));
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    // The first frames later than 1.01 s and 2.01 s are 26 and 51; what is said is not sent any earlier.
    EXPECT_EQ(result.out, file + ": 1 cue as CEA-608 captions on field 1, 25 frames/s\n"
                                 "\n"
                                 "sent from        first      last  pairs  shown at      subtitle\n"
                                 "00:00:01,040        26        34      9  00:00:01,360  Hi / ok\n"
                                 "00:00:02,040        51        55      5  00:00:02,200  -\n");
}

TEST(JsonSubtitles, PlayAsTeletextLikeTheSameSRTFile) {
    const TemporaryFolder folder;
    const std::string json = folder.write(
        "in.json", R"([{"start_timecode":"00:00:00,040","end_time_seconds":0.12,"text_lines":[{"text":"Bonjour"}]}])");
    const std::string text = folder.write("in.srt", srt({{"00:00:00,040", "00:00:00,120", "Bonjour"}}));
    const ToolResult fromJson = runTool(deployedTeletextArguments(json, "25", {"--format", "jsonl"}));
    EXPECT_EQ(fromJson.exitCode, 0) << fromJson.err;
    EXPECT_EQ(linesOf(fromJson.out).size(), 28U);
    EXPECT_NE(linesOf(fromJson.out).at(3).find(qlxtest::bonjourHex(5)), std::string::npos);
    EXPECT_EQ(fromJson.out, runTool(deployedTeletextArguments(text, "25", {"--format", "jsonl"})).out);
}

TEST(JsonSubtitles, AreKnownByTheirContent) {
    const TemporaryFolder folder;
    const std::string expected =
        runTool(deployedCaptionArguments(folder.write("a.json", "[" + kCue + "]"), "25", {"--format", "jsonl"})).out;
    EXPECT_FALSE(expected.empty());
    const std::string other = folder.write("a.srt", "\xEF\xBB\xBF \r\n\t[\n" + kCue + "\n]\n");
    EXPECT_EQ(runTool(deployedCaptionArguments(other, "25", {"--format", "jsonl"})).out, expected);
    EXPECT_EQ(runTool(deployedCaptionArguments("-", "25", {"--format", "jsonl"}), {.input = "[" + kCue + "]"}).out,
              expected);

    for (const std::string_view text : {"[]", "[{", " [ {", "{}", "{\"a\":1}", "\n[\n]"}) {
        EXPECT_TRUE(looksLikeJson(text)) << text;
    }
    for (const std::string_view text : {"", " ", "[", "{", "1\n00:00", "[Script Info]", "{1}{25}Text", "[[", "{ 1"}) {
        EXPECT_FALSE(looksLikeJson(text)) << text;
    }
}

TEST(JsonSubtitles, PlaysTheRestAndWarnsOfEachElementThatIsLeftOut) {
    const TemporaryFolder folder;
    const std::string file =
        folder.write("in.json", "[7, {\"start_time_seconds\": 1}, {\"start_time_seconds\": 2, \"end_time_seconds\": 2, "
                                "\"text_lines\": [{\"text\": \"weg\"}]},\n" +
                                    kCue + "]");
    const ToolResult result = runTool(deployedCaptionArguments(file, "25"));
    EXPECT_EQ(result.exitCode, 0);
    const std::string start = "qlxcc: warning: " + file + ": element ";
    EXPECT_EQ(result.err, start + "1: cue left out: no object\n" + start + "2: cue left out: no \"text_lines\"\n" +
                              start + "3: cue left out: the end is not later than the start\n");
    EXPECT_NE(result.out.find("Hi / ok"), std::string::npos);
    EXPECT_EQ(result.out.find("weg"), std::string::npos);
}

void expectRefused(const std::string& content, const std::string& message) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.json", content);
    const ToolResult result = runTool(deployedCaptionArguments(file, "25", {"-o", folder.path("out.klv")}));
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "qlxcc: " + file + ": " + message + "\n");
    EXPECT_EQ(folder.names(), std::vector<std::string>{"in.json"});
}

TEST(JsonSubtitles, BrokenFiles) {
    expectRefused("", "byte 0: the file is empty");
    expectRefused("[", "line 1: not JSON: the text ends too early");
    expectRefused("[\n" + kCue + ",\n", "line 3: not JSON: the text ends too early");
    expectRefused("[\n" + kCue + ",\n}]", "line 3: not JSON at \"}]\"");
    expectRefused("hello", "line 1: not JSON at \"hello\"");
    expectRefused("[]", "the JSON array is empty");
    expectRefused("{}", "line 1: the JSON is no array of subtitles");
    expectRefused("[1, 2]", "no valid subtitle in the file: element 1: no object");
    expectRefused("[{\"text_lines\": []}]", "no valid subtitle in the file: element 1: no \"text_lines\"");
    expectRefused("[\"\xFF\"]", "line 1, byte 2: 0xFF is not UTF-8 (try --encoding ISO-8859-1)");
}

TEST(JsonSubtitles, NestingHasAnEnd) {
    const auto nested = [](std::size_t depth) { return std::string(depth, '[') + std::string(depth, ']'); };
    EXPECT_EQ(qlx::tool::parseJson("a", "[[]]"), qlx::Value(qlx::Array{qlx::Value(qlx::Array{})}));
    EXPECT_NE(qlx::tool::parseJson("a", nested(64)).array(), nullptr);
    expectRefused(nested(65), "JSON nested deeper than 64 levels");
    expectRefused(std::string(1000000, '['), "JSON nested deeper than 64 levels");
    std::string objects;
    for (int index = 0; index < 100000; ++index) {
        objects += "{\"a\":";
    }
    expectRefused(objects, "JSON nested deeper than 64 levels");
}

TEST(JsonSubtitles, ReadsEveryKindOfValue) {
    const qlx::Value value =
        qlx::tool::parseJson("a", R"([null, true, -5, 18446744073709551615, 1.5, "\u00e9", {"b": {"c": []}, "a": 1}])");
    const qlx::Dictionary inner{{"c", qlx::Array{}}};
    const qlx::Dictionary object{{"a", 1U}, {"b", inner}};
    const qlx::Array expected{nullptr, true, -5, 18446744073709551615U, 1.5, "\xC3\xA9", object};
    EXPECT_EQ(value, qlx::Value(expected));
}

TEST(JsonSubtitles, TakesMembersInAnyOrder) {
    // The smallest key first, then falling ones; each once more in front, which the later one replaces.
    constexpr int kMembers = 30000;
    const auto member = [](int index, int value) {
        return "\"" + std::to_string(1000000 + index) + "\":" + std::to_string(value) + ",";
    };
    std::string text = "{" + member(0, 0);
    for (const int value : {7, 1}) {
        for (int index = kMembers; index > 0; --index) {
            text += member(index, value * index);
        }
    }
    text.back() = '}';
    const qlx::Value value = qlx::tool::parseJson("a", text);
    ASSERT_NE(value.dictionary(), nullptr);
    ASSERT_EQ(value.dictionary()->size(), kMembers + 1U);
    int index = 0;
    for (const qlx::Dictionary::Entry& entry : *value.dictionary()) {
        ASSERT_EQ(entry.key, std::to_string(1000000 + index));
        ASSERT_EQ(entry.value.integerValue(), index);
        ++index;
    }
}

TEST(JsonSubtitles, EndsCalmlyAtEveryLength) {
    const std::string whole = "[" + kCue + "]";
    for (std::size_t size = 1; size < whole.size(); ++size) {
        EXPECT_THROW((void)qlx::tool::parseJson("a", whole.substr(0, size)), std::runtime_error) << size;
    }
}

}  // namespace

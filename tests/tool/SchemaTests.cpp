// The JSON that convert writes, by the schema that is installed with it, of which every keyword is checked.
#include "Places.h"
#include "ToolRunner.h"
#include "streams/Json.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <regex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace schema_tests {
namespace {

using qlx::Array;
using qlx::Dictionary;
using qlx::Value;
using qlxtest::converted;
using qlxtest::runTool;
using qlxtest::TemporaryFolder;
using qlxtest::ToolResult;

/// A schema with the keywords that ours have; one that has others is refused.
class Schema {
public:
    explicit Schema(const std::string& path) : _root(readFile(path)) {}

    /// What is wrong with a document, with its place; empty when nothing is.
    [[nodiscard]] std::string problem(std::string_view text) const {
        return problem(_root, qlx::tool::parseJson("document", text), "");
    }

private:
    static Value readFile(const std::string& path) {
        std::ifstream file(path);
        EXPECT_TRUE(file.good()) << path;
        return qlx::tool::parseJson(path, std::string(std::istreambuf_iterator<char>(file), {}));
    }

    static bool isOfType(const Value& value, const std::string& type) {
        const bool isInteger = value.signedInteger() != nullptr || value.unsignedInteger() != nullptr;
        return type == "object"    ? value.dictionary() != nullptr
               : type == "array"   ? value.array() != nullptr
               : type == "string"  ? value.text() != nullptr
               : type == "integer" ? isInteger
                                   : type == "number" && value.isNumber();
    }

    [[nodiscard]] const Value& referred(const std::string& reference) const {
        constexpr std::string_view kHere = "#/$defs/";
        EXPECT_TRUE(reference.starts_with(kHere)) << reference;
        return *_root.dictionary()->find("$defs")->dictionary()->find(reference.substr(kHere.size()));
    }

    [[nodiscard]] std::string problem(const Value& schema, const Value& value, const std::string& place) const {
        for (const auto& [key, content] : *schema.dictionary()) {
            if (std::string found = problem(*schema.dictionary(), key, content, value, place); !found.empty()) {
                return found;
            }
        }
        return {};
    }

    [[nodiscard]] std::string problem(const Dictionary& schema, const std::string& key, const Value& content,
                                      const Value& value, const std::string& place) const {
        const auto unless = [&](bool isRight) { return isRight ? std::string() : place + ": " + key; };
        const Dictionary* const members = value.dictionary();
        if (key == "$ref") {
            return problem(referred(*content.text()), value, place);
        }
        if (key == "type") {
            return unless(isOfType(value, *content.text()));
        }
        if (key == "const") {
            return unless(value == content);
        }
        if (key == "enum" || key == "anyOf") {
            return unless(std::any_of(content.array()->begin(), content.array()->end(), [&](const Value& each) {
                return key == "enum" ? value == each : problem(each, value, place).empty();
            }));
        }
        if (key == "required") {
            return unless(std::all_of(content.array()->begin(), content.array()->end(), [&](const Value& each) {
                return members == nullptr || members->contains(*each.text());
            }));
        }
        if (key == "minimum" || key == "maximum") {
            return unless(key == "minimum" ? value.doubleValue() >= content.doubleValue()
                                           : value.doubleValue() <= content.doubleValue());
        }
        if (key == "minLength" || key == "maxLength") {
            const auto size = value.text() == nullptr ? 0.0 : static_cast<double>(value.text()->size());
            return unless(key == "minLength" ? size >= content.doubleValue() : size <= content.doubleValue());
        }
        if (key == "pattern") {
            return unless(value.text() != nullptr && std::regex_search(*value.text(), std::regex(*content.text())));
        }
        if (key == "items") {
            for (std::size_t index = 0; value.array() != nullptr && index < value.array()->size(); ++index) {
                std::string found = problem(content, (*value.array())[index], place + "/" + std::to_string(index));
                if (!found.empty()) {
                    return found;
                }
            }
            return {};
        }
        if (key == "properties") {
            for (const auto& [name, each] : *content.dictionary()) {
                const Value* const member = members == nullptr ? nullptr : members->find(name);
                std::string found = member == nullptr ? "" : problem(each, *member, place + "/" + name);
                if (!found.empty()) {
                    return found;
                }
            }
            return {};
        }
        if (key == "additionalProperties") {
            EXPECT_TRUE(content.boolean() != nullptr && !*content.boolean());
            const Dictionary& known = *schema.find("properties")->dictionary();
            return unless(members == nullptr || std::all_of(members->begin(), members->end(), [&](const auto& member) {
                              const auto& [name, each] = member;
                              return known.contains(name);
                          }));
        }
        constexpr std::string_view kOfReaders[] = {"$schema", "$defs", "title", "description"};
        EXPECT_NE(std::find(std::begin(kOfReaders), std::end(kOfReaders), key), std::end(kOfReaders)) << key;
        return {};
    }

    Value _root;
};

const std::string kSchema = qlxtest::projectPath("docs/schemas/subtitles-1.schema.json");

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

}  // namespace
}  // namespace schema_tests

// JSON Schemas that are installed, and whether a document is as they say.
#pragma once

#include "Places.h"
#include "streams/Json.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <string>
#include <string_view>

namespace qlxtest {

/// A schema with the keywords that ours have; one that has others is refused.
class Schema {
public:
    /// @param name Of the document: `frames` for `qlxcc/frames/1`.
    explicit Schema(const std::string& name)
        : _root(readFile(projectPath("docs/schemas/" + name + "-1.schema.json"))) {}

    /// What is wrong with a document, with its place; empty when nothing is.
    [[nodiscard]] std::string problem(std::string_view text) const {
        return problem(_root, qlx::tool::parseJson("document", text), "");
    }

    /// The same of a file of one document a line, the first of which has the schema's name.
    [[nodiscard]] std::string problemOfLines(std::string_view text) const {
        const std::string mark = "\"schema\":\"" + *_root.dictionary()->find("title")->text() + "\"";
        std::size_t line = 0;
        while (!text.empty()) {
            const std::string_view one = text.substr(0, text.find('\n'));
            text.remove_prefix(std::min(one.size() + 1, text.size()));
            std::string found = problem(one);
            if (found.empty() && (one.find(mark) != std::string_view::npos) != (line == 0)) {
                found = "schema";
            }
            if (++line; !found.empty()) {
                return std::to_string(line) + ": " + found + ": " + std::string(one);
            }
        }
        return line == 0 ? "no line" : "";
    }

private:
    static qlx::Value readFile(const std::string& path) {
        std::ifstream file(path);
        EXPECT_TRUE(file.good()) << path;
        return qlx::tool::parseJson(path, std::string(std::istreambuf_iterator<char>(file), {}));
    }

    static bool isOfType(const qlx::Value& value, const std::string& type) {
        const bool isInteger = value.signedInteger() != nullptr || value.unsignedInteger() != nullptr;
        return type == "object"    ? value.dictionary() != nullptr
               : type == "array"   ? value.array() != nullptr
               : type == "string"  ? value.text() != nullptr
               : type == "boolean" ? value.boolean() != nullptr
               : type == "null"    ? value.isNull()
               : type == "integer" ? isInteger
                                   : type == "number" && value.isNumber();
    }

    [[nodiscard]] const qlx::Value& referred(const std::string& reference) const {
        constexpr std::string_view kHere = "#/$defs/";
        EXPECT_TRUE(reference.starts_with(kHere)) << reference;
        return *_root.dictionary()->find("$defs")->dictionary()->find(reference.substr(kHere.size()));
    }

    [[nodiscard]] std::string problem(const qlx::Value& schema, const qlx::Value& value,
                                      const std::string& place) const {
        for (const auto& [key, content] : *schema.dictionary()) {
            if (std::string found = problem(*schema.dictionary(), key, content, value, place); !found.empty()) {
                return found;
            }
        }
        return {};
    }

    [[nodiscard]] std::string problem(const qlx::Dictionary& schema, const std::string& key, const qlx::Value& content,
                                      const qlx::Value& value, const std::string& place) const {
        const auto unless = [&](bool isRight) { return isRight ? std::string() : place + ": " + key; };
        const qlx::Dictionary* const members = value.dictionary();
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
            return unless(std::any_of(content.array()->begin(), content.array()->end(), [&](const qlx::Value& each) {
                return key == "enum" ? value == each : problem(each, value, place).empty();
            }));
        }
        if (key == "required") {
            return unless(std::all_of(content.array()->begin(), content.array()->end(), [&](const qlx::Value& each) {
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
            return unless(value.text() == nullptr || std::regex_search(*value.text(), patternOf(*content.text())));
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
                const qlx::Value* const member = members == nullptr ? nullptr : members->find(name);
                std::string found = member == nullptr ? "" : problem(each, *member, place + "/" + name);
                if (!found.empty()) {
                    return found;
                }
            }
            return {};
        }
        if (key == "additionalProperties") {
            EXPECT_TRUE(content.boolean() != nullptr && !*content.boolean());
            const qlx::Dictionary& known = *schema.find("properties")->dictionary();
            return unless(members == nullptr || std::all_of(members->begin(), members->end(), [&](const auto& member) {
                              const auto& [name, each] = member;
                              return known.contains(name);
                          }));
        }
        constexpr std::string_view kOfReaders[] = {"$schema", "$defs", "title", "description"};
        EXPECT_NE(std::find(std::begin(kOfReaders), std::end(kOfReaders), key), std::end(kOfReaders)) << key;
        return {};
    }

    /// Each is made once.
    [[nodiscard]] const std::regex& patternOf(const std::string& text) const {
        const auto found = _patterns.find(text);
        return found == _patterns.end() ? _patterns.emplace(text, std::regex(text)).first->second : found->second;
    }

    qlx::Value _root;
    mutable std::map<std::string, std::regex> _patterns;
};

}  // namespace qlxtest

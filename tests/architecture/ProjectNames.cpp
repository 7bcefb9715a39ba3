#include "ProjectNames.h"

#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <set>
#include <string_view>
#include <utility>

namespace architecture {
namespace {

/// A word, a mark of one character, or the beginning of a line without blanks in front.
struct Token {
    std::string_view text;
    std::size_t line = 0;
    bool beginsLine = false;
};

bool isWordCharacter(char character) {
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
           (character >= '0' && character <= '9') || character == '_';
}

/// Behind a text in quotes that begins at `place`.
std::size_t behindQuotes(std::string_view code, std::size_t place) {
    if (place > 0 && code[place - 1] == 'R') {
        const std::size_t open = code.find('(', place);
        const std::string end = ")" + std::string(code.substr(place + 1, open - place - 1)) + "\"";
        const std::size_t close = code.find(end, open);
        return close == std::string_view::npos ? code.size() : close + end.size();
    }
    const char mark = code[place];
    for (++place; place < code.size() && code[place] != mark && code[place] != '\n'; ++place) {
        place += code[place] == '\\' ? 1 : 0;
    }
    return std::min(place + 1, code.size());
}

/// What is no comment, no text in quotes and no line of the preprocessor.
std::vector<Token> tokensOf(std::string_view code) {
    std::vector<Token> tokens;
    std::size_t line = 1;
    bool beginsLine = true;
    for (std::size_t place = 0; place < code.size();) {
        const char character = code[place];
        std::size_t end = place + 1;
        if (character == '#' && beginsLine) {
            end = std::min(code.find('\n', place), code.size());
        } else if (character == '"' || (character == '\'' && !(place > 0 && isWordCharacter(code[place - 1])))) {
            end = behindQuotes(code, place);
        } else if (isWordCharacter(character)) {
            while (end < code.size() && isWordCharacter(code[end])) {
                ++end;
            }
            tokens.push_back({code.substr(place, end - place), line, beginsLine});
        } else if (character != ' ' && character != '\n') {
            tokens.push_back({code.substr(place, 1), line, beginsLine});
        }
        line += static_cast<std::size_t>(std::count(code.begin() + static_cast<std::ptrdiff_t>(place),
                                                    code.begin() + static_cast<std::ptrdiff_t>(end), '\n'));
        beginsLine = character == '\n';
        place = end;
    }
    return tokens;
}

bool isOneOf(std::string_view text, std::string_view first, std::string_view second) {
    return text == first || text == second;
}

/// What a file says of names.
struct Declarations {
    std::set<std::string_view> declared;             ///< Types and constants of a namespace, in full.
    std::set<std::string_view> mentioned;            ///< Types of which it says only that there are such.
    std::map<std::string_view, std::size_t> counts;  ///< All places that declare something by that name.
    std::set<std::string_view> members;              ///< Of enumerations.
};

class DeclarationReader {
public:
    explicit DeclarationReader(const std::vector<Token>& tokens) : _tokens(tokens) {}

    Declarations read() {
        for (_place = 0; _place < _tokens.size(); ++_place) {
            const std::string_view word = _tokens[_place].text;
            if (isOneOf(word, "class", "struct") || isOneOf(word, "union", "enum") ||
                isOneOf(word, "using", "concept") || word == "typename") {
                readType(word);
            } else if (word == "constexpr") {
                readConstant();
            }
        }
        return std::move(_result);
    }

private:
    std::string_view at(std::size_t place) const {
        return place < _tokens.size() ? _tokens[place].text : std::string_view();
    }

    void readType(std::string_view keyword) {
        const bool beginsLine = _tokens[_place].beginsLine;
        std::size_t name = _place + 1;
        while (isOneOf(at(name), "class", "struct") || at(name).ends_with("_EXPORT") || at(name) == "[") {
            // An attribute stands in two pairs of brackets.
            while (at(name) == "[" || (at(name) != "]" && at(name + 1) == "]") || at(name) == "]") {
                ++name;
            }
            name += isOneOf(at(name), "class", "struct") || at(name).ends_with("_EXPORT") ? 1 : 0;
        }
        const std::size_t behind = at(name + 1) == "final" ? name + 2 : name + 1;
        const std::string_view mark = at(behind);
        const bool isInFull = isOneOf(mark, "{", ":") || isOneOf(mark, "=", ",") || mark == ">";
        if (!isInFull) {
            if (mark == ";" && isOneOf(keyword, "class", "struct")) {
                _result.mentioned.insert(at(name));
            }
            return;
        }
        ++_result.counts[at(name)];
        const bool isTemplateParameter = isOneOf(mark, ",", ">");
        if (beginsLine && !isTemplateParameter) {
            _result.declared.insert(at(name));
        }
        if (keyword == "enum") {
            readMembers(behind);
        }
    }

    void readMembers(std::size_t place) {
        while (place < _tokens.size() && !isOneOf(at(place), "{", ";")) {
            ++place;
        }
        for (; place < _tokens.size() && !isOneOf(at(place), "}", ";"); ++place) {
            _result.members.insert(at(place));
        }
    }

    /// `inline constexpr Type kName`: the last word in front of its value.
    void readConstant() {
        const bool isOfNamespace = _place > 0 && _tokens[_place - 1].text == "inline" && _tokens[_place - 1].beginsLine;
        std::size_t place = _place + 1;
        while (place < _tokens.size() && !isOneOf(at(place), "=", ";") && !isOneOf(at(place), "{", "(")) {
            ++place;
        }
        std::size_t name = place;
        while (name > _place &&
               !(at(name).size() > 1 && at(name)[0] == 'k' && at(name)[1] >= 'A' && at(name)[1] <= 'Z')) {
            --name;
        }
        if (name == _place || at(place) == "(") {
            return;
        }
        ++_result.counts[at(name)];
        if (isOfNamespace) {
            _result.declared.insert(at(name));
        }
    }

    const std::vector<Token>& _tokens;
    std::size_t _place = 0;
    Declarations _result;
};

/// A tree, read.
class NamedTree {
public:
    explicit NamedTree(const std::vector<SourceFile>& tree) {
        for (const SourceFile& file : tree) {
            _paths.insert(file.path);
        }
        _codes.reserve(tree.size());
        std::map<std::string_view, std::size_t> counts;
        std::set<std::string_view> members;
        std::map<std::string_view, std::string> declared;
        for (const SourceFile& file : tree) {
            _codes.push_back(withoutComments(file.text));
            _tokens.push_back(tokensOf(_codes.back()));
            const Declarations said = DeclarationReader(_tokens.back()).read();
            for (const auto& [name, count] : said.counts) {
                counts[name] += count;
            }
            members.insert(said.members.begin(), said.members.end());
            for (const Include& include : includesOf(file.text)) {
                if (const std::string target = fileNamedBy(include, file.path, _paths); !target.empty()) {
                    _includes[file.path].insert(target);
                }
            }
            _mentioned[file.path] = said.mentioned;
            if (file.path.ends_with(".h")) {
                for (const std::string_view name : said.declared) {
                    declared.emplace(name, file.path);
                }
            }
        }
        for (const auto& [name, path] : declared) {
            if (counts[name] == 1 && !members.contains(name)) {
                _headers.emplace(name, path);
            }
        }
    }

    std::size_t names() const { return _headers.size(); }

    std::vector<std::string> missing(const std::vector<SourceFile>& tree) const {
        std::vector<std::string> violations;
        for (std::size_t index = 0; index < tree.size(); ++index) {
            const std::set<std::string> reached = reachedFrom(tree[index].path);
            std::set<std::string_view> seen;
            for (std::size_t place = 0; place < _tokens[index].size(); ++place) {
                const Token& token = _tokens[index][place];
                const auto header = _headers.find(token.text);
                const bool isCalled = place + 1 < _tokens[index].size() && _tokens[index][place + 1].text == "(";
                if (header == _headers.end() || isCalled || !seen.insert(token.text).second) {
                    continue;
                }
                const bool isThere = reached.contains(header->second) ||
                                     std::any_of(reached.begin(), reached.end(), [&](const std::string& path) {
                                         return _mentioned.at(path).contains(token.text);
                                     });
                if (!isThere) {
                    violations.push_back(tree[index].path + ":" + std::to_string(token.line) + ": " +
                                         std::string(token.text) + " needs " + header->second);
                }
            }
        }
        return violations;
    }

private:
    std::set<std::string> reachedFrom(const std::string& path) const {
        std::set<std::string> reached{path};
        std::vector<std::string> open{path};
        while (!open.empty()) {
            const auto found = _includes.find(open.back());
            open.pop_back();
            if (found == _includes.end()) {
                continue;
            }
            for (const std::string& target : found->second) {
                if (reached.insert(target).second) {
                    open.push_back(target);
                }
            }
        }
        return reached;
    }

    Paths _paths;
    std::vector<std::string> _codes;  ///< What the tokens point into; it does not grow beyond what is reserved.
    std::vector<std::vector<Token>> _tokens;
    std::map<std::string, std::set<std::string>> _includes;
    std::map<std::string, std::set<std::string_view>> _mentioned;
    std::map<std::string_view, std::string> _headers;
};

}  // namespace

std::vector<std::string> namesFromNowhere(const std::vector<SourceFile>& tree) {
    return NamedTree(tree).missing(tree);
}

std::size_t namesLookedFor(const std::vector<SourceFile>& tree) {
    return NamedTree(tree).names();
}

}  // namespace architecture

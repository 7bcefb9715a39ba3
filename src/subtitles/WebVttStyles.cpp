#include "subtitles/WebVttStyles.h"

#include "subtitles/TextEditing.h"
#include "subtitles/WebVttColors.h"

#include <QLXClosedCaptionsUtilities/platform/Text.h>
#include <qlx/base/utf8.h>
#include <qlx/subtitles/colors.h>
#include <qlx/subtitles/webvtt.h>

#include <algorithm>
#include <charconv>
#include <iterator>
#include <utility>

namespace qlx::subtitles {

namespace {

/// Selectors of a file: each element is compared with all of them.
constexpr std::size_t kMostRules = 256;
constexpr std::size_t kMostConditions = 8;
constexpr std::string_view kSheetBlanks = " \t\f\r\n";

/// Without comments, each of which stands for a blank (CSS Syntax, 4.3.2).
std::string withoutComments(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const std::size_t begin = std::min(text.find("/*"), text.size());
        result += text.substr(0, begin);
        text.remove_prefix(begin);
        if (!text.empty()) {
            result += ' ';
            const std::size_t end = text.find("*/", 2);
            text.remove_prefix(end == std::string_view::npos ? text.size() : end + 2);
        }
    }
    return result;
}

/// The place of the first of `ends` that stands in no string, parentheses or brackets; the size without one.
std::size_t endOfPart(std::string_view text, std::string_view ends) noexcept {
    char quote = '\0';
    std::size_t depth = 0;
    for (std::size_t place = 0; place < text.size(); ++place) {
        const char character = text[place];
        if (character == '\\') {
            ++place;
        } else if (quote != '\0') {
            quote = character == quote ? '\0' : quote;
        } else if (depth == 0 && ends.find(character) != std::string_view::npos) {
            return place;
        } else if (character == '"' || character == '\'') {
            quote = character;
        } else if (character == '(' || character == '[') {
            ++depth;
        } else if ((character == ')' || character == ']') && depth > 0) {
            --depth;
        }
    }
    return text.size();
}

/// Takes the text up to such an end off the front, together with the end.
std::string_view takeUpTo(std::string_view& text, std::string_view ends) noexcept {
    const std::string_view part = text.substr(0, endOfPart(text, ends));
    text.remove_prefix(std::min(part.size() + 1, text.size()));
    return trimmed(part, kSheetBlanks);
}

/// Takes a character that `\` stands in front of: up to six digits of its number, or itself (CSS Syntax, 4.3.7).
void takeEscape(std::string_view& text, std::string& to) {
    constexpr std::size_t kMostDigits = 6;
    constexpr int kBase = 16;
    text.remove_prefix(1);
    const std::size_t digits = std::min(text.find_first_not_of("0123456789abcdefABCDEF"), text.size());
    if (digits == 0) {
        const std::string_view rest = text;
        (void)takeCodePoint(text);
        to += rest.substr(0, rest.size() - text.size());
        return;
    }
    std::uint32_t number = 0;
    const std::string_view shown = text.substr(0, std::min(digits, kMostDigits));
    std::from_chars(shown.data(), shown.data() + shown.size(), number, kBase);
    const bool isCharacter = number != 0 && number <= 0x10FFFF && (number < 0xD800 || number > 0xDFFF);
    appendUtf8(to, isCharacter ? static_cast<char32_t>(number) : U'\uFFFD');
    text.remove_prefix(shown.size());
    text.remove_prefix(!text.empty() && kSheetBlanks.find(text.front()) != std::string_view::npos ? 1 : 0);
}

/// Takes an identifier off the front; empty where there is none.
std::string takeIdentifier(std::string_view& text) {
    std::string name;
    while (!text.empty()) {
        const char character = text.front();
        const bool isLetter = (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
                              (character >= '0' && character <= '9') || character == '-' || character == '_' ||
                              (static_cast<unsigned char>(character) & 0x80U) != 0;
        if (character == '\\' && text.size() > 1) {
            takeEscape(text, name);
        } else if (isLetter) {
            name += character;
            text.remove_prefix(1);
        } else {
            break;
        }
    }
    return name;
}

/// The text of a string or identifier; none for anything else.
std::optional<std::string> stringOf(std::string_view text) {
    const char quote = text.empty() ? '\0' : text.front();
    if (quote != '"' && quote != '\'') {
        std::string name = takeIdentifier(text);
        return text.empty() && !name.empty() ? std::optional(std::move(name)) : std::nullopt;
    }
    std::string value;
    text.remove_prefix(1);
    while (!text.empty() && text.front() != quote) {
        if (text.front() == '\\' && text.size() > 1) {
            takeEscape(text, value);
        } else {
            value += text.front();
            text.remove_prefix(1);
        }
    }
    return text.size() == 1 ? std::optional(std::move(value)) : std::nullopt;
}

/// Whether a colour is one that nothing is seen of: `transparent`, `rgba(0, 0, 0, 0)`, `#00000000`.
bool isTransparent(std::string_view value) {
    constexpr std::size_t kWithAlpha = 9;
    if (value == "transparent") {
        return true;
    }
    if (value.starts_with('#')) {
        return value.size() == kWithAlpha && value.ends_with("00");
    }
    const std::size_t comma = value.rfind(',');
    if (!value.starts_with("rgba(") || comma == std::string_view::npos) {
        return false;
    }
    const std::string_view alpha = trimmed(value.substr(comma + 1), " \t\f\r\n)");
    return alpha.find_first_not_of("0.%") == std::string_view::npos;
}

/// Whether a colour is seen through, which looks cannot have: `rgba(0, 0, 0, 0.8)`, `#00000080`.
bool isSeenThrough(std::string_view value) {
    constexpr std::size_t kWithAlpha = 9;
    if (value.starts_with('#')) {
        return value.size() == kWithAlpha && !value.ends_with("ff");
    }
    const std::size_t comma = value.rfind(',');
    if (!value.starts_with("rgba(") || comma == std::string_view::npos) {
        return false;
    }
    const std::string_view alpha = trimmed(value.substr(comma + 1), " \t\f\r\n)");
    return alpha.ends_with('%') ? alpha != "100%" : !alpha.starts_with('1');
}

bool takeBackground(std::string_view value, WebVttLook& look) {
    const bool isClear = isTransparent(value) || value == "none";
    const auto color = isClear ? std::nullopt : colorNamed(value);
    if (!isClear && !color) {
        return false;
    }
    look.background = color;
    look.isBackgroundClear = isClear;
    return isClear || !isSeenThrough(value);
}

bool takeWeight(std::string_view value, WebVttLook& look) {
    constexpr std::string_view kBold = "600";
    constexpr std::size_t kDigits = 3;
    const bool isNumber = value.size() == kDigits && isWholeNumber(value);
    if (!isNumber && value != "bold" && value != "bolder" && value != "normal" && value != "lighter") {
        return false;
    }
    look.isBold = isNumber ? value >= kBold : value.starts_with("bold");
    return true;
}

/// @return Whether a look can have it.
bool takeDeclaration(std::string_view name, std::string_view value, WebVttLook& look) {
    if (name == "color") {
        const auto color = colorNamed(value);
        look.foreground = color ? color : look.foreground;
        return color && !isSeenThrough(value);
    }
    if (name == "background-color" || name == "background") {
        return takeBackground(value, look);
    }
    if (name == "font-style") {
        const bool isItalic = value == "italic" || value.starts_with("oblique");
        look.isItalic = isItalic || value == "normal" ? std::optional(isItalic) : look.isItalic;
        return isItalic || value == "normal";
    }
    if (name == "font-weight") {
        return takeWeight(value, look);
    }
    if (name == "text-decoration" || name == "text-decoration-line") {
        const bool isUnderlined = value == "underline";
        look.isUnderlined = isUnderlined || value == "none" ? std::optional(isUnderlined) : look.isUnderlined;
        return isUnderlined || value == "none";
    }
    return false;
}

/// The declarations of a rule.
/// @return How many no look can have.
std::int64_t takeDeclarations(std::string_view text, WebVttLook& look, WebVttLook& important) {
    constexpr std::string_view kImportant = "important";
    std::int64_t rest = 0;
    while (!text.empty()) {
        std::string_view declaration = takeUpTo(text, ";");
        if (declaration.empty()) {
            continue;
        }
        const std::string name = asciiLowercased(takeUpTo(declaration, ":"));
        const std::string value = asciiLowercased(declaration);
        std::string_view shown = trimmed(value, kSheetBlanks);
        const std::size_t mark = shown.rfind('!');
        const bool isImportant =
            mark != std::string_view::npos && trimmed(shown.substr(mark + 1), kSheetBlanks) == kImportant;
        shown = isImportant ? trimmed(shown.substr(0, mark), kSheetBlanks) : shown;
        rest += takeDeclaration(name, shown, isImportant ? important : look) ? 0 : 1;
    }
    return rest;
}

bool isOfLanguage(std::string_view language, std::string_view range) {
    const std::string shown = asciiLowercased(language);
    const std::string asked = asciiLowercased(range);
    return !asked.empty() && (shown == asked || shown.starts_with(asked + "-"));
}

bool hasPart(std::string_view parts, std::string_view part) noexcept {
    while (!parts.empty()) {
        if (takePart(parts, '.') == part) {
            return true;
        }
    }
    return false;
}

}  // namespace

WebVttStyles::Rest WebVttStyles::add(std::string_view block) {
    constexpr std::string_view kStart = "STYLE";
    Rest rest;
    if (!block.starts_with(kStart)) {
        return rest;
    }
    const std::string sheet = withoutComments(block.substr(kStart.size()));
    std::string_view text = sheet;
    while (!trimmed(text, kSheetBlanks).empty()) {
        text.remove_prefix(text.find_first_not_of(kSheetBlanks));
        const bool isAtRule = text.front() == '@';
        const std::size_t end = endOfPart(text, isAtRule ? "{;" : "{");
        const bool hasBlock = end < text.size() && text[end] == '{';
        std::string_view selectors = takeUpTo(text, isAtRule ? "{;" : "{");
        if (isAtRule) {
            ++rest.selectors;
            // What is within braces within it is none of its own.
            for (std::size_t depth = hasBlock ? 1 : 0; depth > 0 && !text.empty();) {
                const std::size_t brace = endOfPart(text, "{}");
                depth += brace < text.size() && text[brace] == '{' ? 1 : 0;
                depth -= brace < text.size() && text[brace] == '}' ? 1 : 0;
                text.remove_prefix(std::min(brace + 1, text.size()));
            }
            continue;
        }
        WebVttLook look;
        WebVttLook important;
        rest.declarations += takeDeclarations(takeUpTo(text, "}"), look, important);
        do {
            auto rules = rulesOf(takeUpTo(selectors, ","));
            if (rules.empty() || rules.size() > kMostRules - _rules.size()) {
                ++rest.selectors;
                continue;
            }
            for (Rule& rule : rules) {
                rule.look = look;
                rule.important = important;
                _rules.push_back(std::move(rule));
            }
        } while (!selectors.empty());
    }
    return rest;
}

bool WebVttStyles::hasClass(std::string_view name) const noexcept {
    return std::any_of(_rules.begin(), _rules.end(), [name](const Rule& rule) {
        return std::any_of(rule.conditions.begin(), rule.conditions.end(), [name](const Condition& condition) {
            return condition.kind == Kind::Class && condition.value == name;
        });
    });
}

/// The rules of a selector, one for each of its argument's; none for one that is not taken.
std::vector<WebVttStyles::Rule> WebVttStyles::rulesOf(std::string_view selector) {
    constexpr std::string_view kCue = "::cue";
    const std::size_t place = selector.find(kCue);
    const std::string_view host = selector.substr(0, std::min(place, selector.size()));
    std::vector<Rule> rules;
    if (place == std::string_view::npos || !(host.empty() || host == "video" || host == "*")) {
        return rules;
    }
    std::string_view argument = selector.substr(place + kCue.size());
    if (argument.empty()) {
        rules.emplace_back().isCue = true;
        return rules;
    }
    if (!argument.starts_with('(') || !argument.ends_with(')')) {
        return rules;
    }
    argument = argument.substr(1, argument.size() - 2);
    do {
        Rule& rule = rules.emplace_back();
        std::string_view compound = takeUpTo(argument, ",");
        const bool isAny = compound.starts_with('*');
        compound.remove_prefix(isAny ? 1 : 0);
        rule.type = isAny ? std::string() : takeIdentifier(compound);
        const bool isEmpty = !isAny && rule.type.empty() && compound.empty();
        if (isEmpty || rules.size() > kMostRules || !takeConditions(compound, rule)) {
            return {};
        }
        constexpr std::uint32_t kNames = 10'000;
        constexpr std::uint32_t kClasses = 100;
        rule.specificity = rule.type.empty() ? 0 : 1;
        for (const Condition& condition : rule.conditions) {
            rule.specificity += condition.kind == Kind::Name ? kNames : kClasses;
        }
    } while (!argument.empty());
    return rules;
}

/// @return Whether all of them are taken.
bool WebVttStyles::takeConditions(std::string_view rest, Rule& rule) {
    while (!rest.empty()) {
        const char mark = rest.front();
        rest.remove_prefix(1);
        Condition condition;
        if (mark == '.' || mark == '#') {
            condition = {mark == '.' ? Kind::Class : Kind::Name, takeIdentifier(rest)};
            if (condition.value.empty()) {
                return false;
            }
        } else if (mark == '[') {
            const std::size_t end = endOfPart(rest, "]");
            auto attribute = attributeOf(rest.substr(0, end));
            if (!attribute || end == rest.size()) {
                return false;
            }
            condition = *std::move(attribute);
            rest.remove_prefix(end + 1);
        } else if (mark == ':') {
            const std::string name = asciiLowercased(takeIdentifier(rest));
            const std::size_t end = rest.starts_with('(') ? endOfPart(rest.substr(1), ")") + 1 : 0;
            const auto language = name == "lang" && end != 0 && end < rest.size()
                                      ? stringOf(trimmed(rest.substr(1, end - 1)))
                                      : std::nullopt;
            if (name == "root" && end == 0) {
                condition.kind = Kind::Cue;
            } else if (language) {
                condition = {Kind::WithinLanguage, *language};
                rest.remove_prefix(end + 1);
            } else {
                return false;
            }
        } else {
            return false;
        }
        if (rule.conditions.size() >= kMostConditions) {
            return false;
        }
        rule.conditions.push_back(std::move(condition));
    }
    return true;
}

/// `voice="Mary"`
std::optional<WebVttStyles::Condition> WebVttStyles::attributeOf(std::string_view text) {
    text = trimmed(text, kSheetBlanks);
    const std::string name = asciiLowercased(takeIdentifier(text));
    const bool isVoice = name == "voice";
    if (!isVoice && name != "lang") {
        return std::nullopt;
    }
    text = trimmed(text, kSheetBlanks);
    if (text.empty()) {
        return Condition{isVoice ? Kind::HasVoice : Kind::HasLanguage, {}};
    }
    auto value = text.starts_with('=') ? stringOf(trimmed(text.substr(1), kSheetBlanks)) : std::nullopt;
    return value ? std::optional(Condition{isVoice ? Kind::Voice : Kind::Language, *std::move(value)}) : std::nullopt;
}

bool WebVttStyles::matches(const Rule& rule, const WebVttElement& element) {
    const bool isCue = element.name.empty();
    if (rule.isCue || (!rule.type.empty() && rule.type != element.name)) {
        return rule.isCue && isCue;
    }
    return std::all_of(rule.conditions.begin(), rule.conditions.end(), [&](const Condition& condition) {
        switch (condition.kind) {
        case Kind::Class:
            return hasPart(element.classes, condition.value);
        case Kind::Name:
            return isCue && element.identifier == condition.value;
        case Kind::Voice:
            return element.name == "v" && element.voice == condition.value;
        case Kind::HasVoice:
            return element.name == "v";
        case Kind::Language:
            return element.name == "lang" && element.language == condition.value;
        case Kind::HasLanguage:
            return element.name == "lang";
        case Kind::WithinLanguage:
            return isOfLanguage(element.language, condition.value);
        case Kind::Cue:
            break;
        }
        return isCue;
    });
}

WebVttLook WebVttStyles::lookOf(const WebVttElement& element) const {
    WebVttLook look;
    if (_rules.empty()) {
        return look;
    }
    for (std::string_view classes = element.classes; !classes.empty();) {
        const std::string_view name = takePart(classes, '.');
        const bool isBackground = name.starts_with(kWebVttBackground);
        const auto color = colorOfWebVttClass(isBackground ? name.substr(kWebVttBackground.size()) : name, {});
        if (color && hasClass(name)) {
            (isBackground ? look.background : look.foreground) = color;
        }
    }
    std::vector<const Rule*> rules;
    for (const Rule& rule : _rules) {
        if (matches(rule, element)) {
            rules.push_back(&rule);
        }
    }
    std::stable_sort(rules.begin(), rules.end(),
                     [](const Rule* left, const Rule* right) { return left->specificity < right->specificity; });
    for (const auto part : {&Rule::look, &Rule::important}) {
        for (const Rule* const rule : rules) {
            const WebVttLook& more = rule->*part;
            look.foreground = more.foreground ? more.foreground : look.foreground;
            if (more.background || more.isBackgroundClear) {
                look.background = more.background;
                look.isBackgroundClear = more.isBackgroundClear;
            }
            look.isBold = more.isBold ? more.isBold : look.isBold;
            look.isItalic = more.isItalic ? more.isItalic : look.isItalic;
            look.isUnderlined = more.isUnderlined ? more.isUnderlined : look.isUnderlined;
        }
    }
    return look;
}

void WebVttLook::applyTo(std::optional<std::uint32_t>& color, Style& style) const {
    color = foreground ? foreground : color;
    if (background) {
        style.background = screenColor(*background);
    }
    style.isBold = isBold.value_or(style.isBold);
    style.isItalic = isItalic.value_or(style.isItalic);
    // A line that what is around it has goes on below it (CSS Text Decoration, 2).
    style.isUnderlined = style.isUnderlined || isUnderlined.value_or(false);
}

bool isAppliedSheet(std::string_view block) {
    if (isColorSheet(block)) {
        return true;
    }
    const WebVttStyles::Rest rest = WebVttStyles().add(block);
    return block.starts_with("STYLE") && rest.selectors + rest.declarations == 0;
}

}  // namespace qlx::subtitles

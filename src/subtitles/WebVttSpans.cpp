#include "subtitles/WebVttSpans.h"

#include "subtitles/WebVttColors.h"
#include "subtitles/WebVttStyles.h"

#include <qlx/subtitles/colors.h>
#include <qlx/subtitles/webvtt.h>

#include <algorithm>
#include <iterator>
#include <optional>
#include <utility>

namespace qlx::subtitles {

namespace {

/// The spans that a property of a run is, and their tags.
constexpr std::pair<std::string_view, std::string_view> kSpansOfProperties[] = {
    {properties::kWebVttClass, "c"},   {properties::kWebVttVoice, "v"},     {properties::kWebVttLanguage, "lang"},
    {properties::kWebVttRuby, "ruby"}, {properties::kWebVttRubyText, "rt"}, {properties::kWebVttVoiceClass, "c"},
};

constexpr std::string_view kEndsOfClasses = "> \t\r\n";

/// Classes stand in a tag as they are; what would end them is left out.
void appendClasses(std::string& tag, std::string_view classes) {
    std::copy_if(classes.begin(), classes.end(), std::back_inserter(tag),
                 [](char character) { return kEndsOfClasses.find(character) == std::string_view::npos; });
}

bool isClass(const Property& property) noexcept {
    return property.name == properties::kWebVttClass || property.name == properties::kWebVttVoiceClass;
}

/// The tag whose classes stand in front of it as a property: those of ruby text, which is none but right within its ruby
/// (W3C WebVTT, 6.4), and of a voice; empty where it is none.
std::string_view tagWithClasses(const Property& classes, const Property& next) noexcept {
    return classes.name == properties::kWebVttClass && next.name == properties::kWebVttRubyText     ? "rt"
           : classes.name == properties::kWebVttVoiceClass && next.name == properties::kWebVttVoice ? "v"
                                                                                                    : "";
}

/// The spans that the properties of a run are, from the outermost on.
std::vector<OpenSpan> spansOfProperties(const Run& run, const Surroundings& around) {
    std::vector<OpenSpan> spans;
    const std::string_view language = around.language;
    if (!language.empty() && valueOf(run.properties, properties::kWebVttLanguage) == nullptr) {
        std::string tag = "lang ";
        appendEscaped(tag, language);
        spans.push_back({"lang", std::move(tag)});
    }
    for (auto place = run.properties.begin(); place != run.properties.end(); ++place) {
        const auto next = std::next(place);
        std::string_view name = next == run.properties.end() ? "" : tagWithClasses(*place, *next);
        std::string tag(name);
        if (!name.empty()) {
            tag += '.';
            appendClasses(tag, place->value);
            place = next;
        } else {
            const auto* const span = std::find_if(std::begin(kSpansOfProperties), std::end(kSpansOfProperties),
                                                  [&](const auto& known) { return known.first == place->name; });
            if (span == std::end(kSpansOfProperties)) {
                continue;
            }
            name = span->second;
            tag = name;
        }
        if (!place->value.empty() && name != "rt") {
            tag += isClass(*place) ? '.' : ' ';
            isClass(*place) ? appendClasses(tag, place->value) : appendEscaped(tag, place->value);
        }
        spans.push_back({name, std::move(tag)});
    }
    return spans;
}

/// How style sheets have a run look in the spans of its properties, and in some tags within them.
struct SheetLook {
    std::optional<std::uint32_t> color;
    Style style;

    /// Whether a run looks so in all that cannot be added by a span within.
    [[nodiscard]] bool isLike(const Run& run) const {
        return style.isBold == run.style.isBold && style.isItalic == run.style.isItalic &&
               style.isUnderlined == run.style.isUnderlined;
    }
    [[nodiscard]] bool hasColorOf(const Run& run) const {
        return color.value_or(bitsOf(screen::Color::White)) == exactColorOf(run);
    }
    [[nodiscard]] bool hasAllOf(const Run& run) const {
        return isLike(run) && hasColorOf(run) && style.background == run.style.background;
    }
};

/// @param tags The names of further tags.
SheetLook lookInSheet(const Run& run, const Surroundings& around, std::span<const std::string_view> tags) {
    SheetLook look;
    if (around.styles == nullptr) {
        look.style.isBold = std::find(tags.begin(), tags.end(), "b") != tags.end();
        look.style.isItalic = std::find(tags.begin(), tags.end(), "i") != tags.end();
        look.style.isUnderlined = std::find(tags.begin(), tags.end(), "u") != tags.end();
        return look;
    }
    const auto enter = [&](const WebVttElement& element) {
        look.style.isBold = look.style.isBold || element.name == "b";
        look.style.isItalic = look.style.isItalic || element.name == "i";
        look.style.isUnderlined = look.style.isUnderlined || element.name == "u";
        around.styles->lookOf(element).applyTo(look.color, look.style);
    };
    WebVttElement element;
    element.identifier = around.name;
    enter(element);
    element = {};
    if (!around.language.empty() && valueOf(run.properties, properties::kWebVttLanguage) == nullptr) {
        element.name = "lang";
        element.language = around.language;
        enter(element);
    }
    std::string_view classes;
    for (auto place = run.properties.begin(); place != run.properties.end(); ++place) {
        const auto next = std::next(place);
        if (next != run.properties.end() && !tagWithClasses(*place, *next).empty()) {
            classes = place->value;
            continue;
        }
        const auto* const span = std::find_if(std::begin(kSpansOfProperties), std::end(kSpansOfProperties),
                                              [&](const auto& known) { return known.first == place->name; });
        if (span == std::end(kSpansOfProperties)) {
            continue;
        }
        element.name = span->second;
        element.classes = isClass(*place) ? std::string_view(place->value) : std::exchange(classes, {});
        element.voice = element.name == "v" ? std::string_view(place->value) : std::string_view();
        element.language = element.name == "lang" ? std::string_view(place->value) : element.language;
        enter(element);
    }
    for (const std::string_view tag : tags) {
        enter({tag, {}, {}, element.language, {}});
    }
    return look;
}

/// Whether a colour has a class.
bool hasClass(std::uint32_t color, const Surroundings& around) {
    return isWebVttColor(color) || std::binary_search(around.colors.begin(), around.colors.end(), color);
}

/// The tags of the looks that a run has, and what is around it has not.
std::vector<std::string_view> tagsFor(const Run& run, const Style& around) {
    std::vector<std::string_view> tags;
    for (const auto& [isSo, name] :
         {std::pair(run.style.isBold && !around.isBold, "b"), std::pair(run.style.isItalic && !around.isItalic, "i"),
          std::pair(run.style.isUnderlined && !around.isUnderlined, "u")}) {
        if (isSo) {
            tags.emplace_back(name);
        }
    }
    return tags;
}

}  // namespace

RunSpans spansOf(const Run& run, const Surroundings& around) {
    RunSpans result{spansOfProperties(run, around)};
    std::vector<OpenSpan>& spans = result.spans;
    SheetLook look = around.styles == nullptr ? SheetLook() : lookInSheet(run, around, {});
    if (look.hasAllOf(run)) {
        return result;
    }
    // Tags for what style sheets do not have it look like; or else for all that it looks like, as they may be about these.
    std::vector<std::string_view> tags = tagsFor(run, look.style);
    look = lookInSheet(run, around, tags);
    if (around.styles != nullptr && !look.hasAllOf(run)) {
        tags = tagsFor(run, {});
        look = lookInSheet(run, around, tags);
    }
    result.isStyleLost = !look.isLike(run);
    std::string colors;
    const std::uint32_t color = exactColorOf(run);
    if (!look.hasColorOf(run)) {
        colors += "." + webVttClassOf(color, around.colors);
        result.isColorLost = !hasClass(color, around);
    }
    if (run.style.background && look.style.background != run.style.background) {
        const std::uint32_t background = bitsOf(*run.style.background);
        colors += "." + std::string(kWebVttBackground) + webVttClassOf(background, around.colors);
        result.isColorLost = result.isColorLost || !hasClass(background, around);
    }
    result.isColorLost = result.isColorLost || (look.style.background && !run.style.background);
    if (!colors.empty() && around.styles != nullptr) {
        // What style sheets have for these classes, or for `c`, stands over the colours that receivers have for them.
        SheetLook seen{color, look.style};
        seen.style.background = run.style.background;
        around.styles->lookOf({"c", std::string_view(colors).substr(1), {}, {}, {}}).applyTo(seen.color, seen.style);
        result.isColorLost = result.isColorLost || seen.color != color || seen.style.background != run.style.background;
        result.isStyleLost = result.isStyleLost || !seen.isLike(run);
    }
    // What a style sheet has for the tags must not stand within the colours.
    const bool areColorsInside = around.styles != nullptr;
    if (!colors.empty() && !areColorsInside) {
        spans.push_back({"c", "c" + colors});
    }
    for (const std::string_view tag : tags) {
        spans.push_back({tag, std::string(tag)});
    }
    if (!colors.empty() && areColorsInside) {
        spans.push_back({"c", "c" + colors});
    }
    return result;
}

bool isWrittenAsSpan(const Property& property) noexcept {
    return property.value.find_first_of(isClass(property) ? kEndsOfClasses : "\r\n") == std::string::npos &&
           std::any_of(std::begin(kSpansOfProperties), std::end(kSpansOfProperties),
                       [&property](const auto& span) { return span.first == property.name; });
}

void appendEscaped(std::string& text, std::string_view more) {
    for (const char character : more) {
        switch (character) {
        case '&':
            text += "&amp;";
            break;
        case '<':
            text += "&lt;";
            break;
        case '>':
            text += "&gt;";
            break;
        case '\r':
        case '\n':
            text += ' ';
            break;
        default:
            text += character;
            break;
        }
    }
}

}  // namespace qlx::subtitles

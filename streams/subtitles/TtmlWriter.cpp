#include "TtmlColors.h"
#include "TtmlNames.h"
#include "TtmlPlaces.h"
#include "TtmlRuby.h"
#include "TtmlTimes.h"

#include <QLXClosedCaptionsUtilities/platform/Text.h>
#include <qlx/base/utf8.h>
#include <qlx/streams/ttml.h>
#include <qlx/subtitles/colors.h>
#include <qlx/subtitles/times.h>
#include <qlx/subtitles/webvtt.h>

#include <algorithm>
#include <array>
#include <span>
#include <utility>

namespace qlx::streams {

namespace {

using namespace detail;
using subtitles::Alignment;
using subtitles::Cue;
using subtitles::Property;
using subtitles::Row;
using subtitles::Run;

constexpr std::string_view kOwn = "ttml.";
constexpr std::string_view kDecoration = "tts:textDecoration";
constexpr std::string_view kBackground = "tts:backgroundColor";
/// Of spans of their own.
constexpr std::string_view kRubyStyle = "tts:ruby";
constexpr std::int32_t kMilliseconds = 1000;

/// The styles that EBU Tech 3380 has for text, besides those that are always written.
constexpr std::array<std::string_view, 9> kEbuTextStyles{
    "tts:direction",    "tts:fontFamily", "tts:lineHeight",       "tts:unicodeBidi",    "tts:wrapOption",
    "itts:fillLineGap", "tts:fontSize",   "ebutts:multiRowAlign", "ebutts:linePadding",
};
/// The same for regions.
constexpr std::array<std::string_view, 7> kEbuRegionStyles{
    "tts:origin",      "tts:extent",         "tts:displayAlign", "tts:padding",
    "tts:writingMode", "tts:showBackground", "tts:overflow",
};

/// The styles that the text profile of IMSC 1.1 does not have.
constexpr std::array<std::string_view, 17> kNotOfImsc{
    "tts:backgroundClip",
    "tts:backgroundExtent",
    "tts:backgroundImage",
    "tts:backgroundOrigin",
    "tts:backgroundPosition",
    "tts:backgroundRepeat",
    "tts:border",
    "tts:bpd",
    "tts:dynamicFlow",
    "tts:fontKerning",
    "tts:fontSelectionStrategy",
    "tts:fontShear",
    "tts:fontVariant",
    "tts:ipd",
    "tts:letterSpacing",
    "tts:lineShear",
    "tts:textOrientation",
};

template <std::size_t Count>
bool has(const std::array<std::string_view, Count>& names, std::string_view name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

/// Appends a text so that a reader gives it back.
/// @return How many characters XML has no form for.
std::int64_t appendEscaped(std::string& target, std::string_view text) {
    std::int64_t replaced = 0;
    while (!text.empty()) {
        const char32_t character = takeCodePoint(text);
        switch (character) {
        case U'&':
            target += "&amp;";
            break;
        case U'<':
            target += "&lt;";
            break;
        case U'>':
            target += "&gt;";
            break;
        case U'"':
            target += "&quot;";
            break;
        case U'\t':
        case U'\n':
        case U'\r':
            target += ' ';
            break;
        default: {
            // XML 1.0, 2.2.
            const bool isNone = character < U' ' || character == 0xFFFE || character == 0xFFFF;
            replaced += isNone ? 1 : 0;
            appendUtf8(target, isNone ? U'\uFFFD' : character);
            break;
        }
        }
    }
    return replaced;
}

void appendAttribute(std::string& target, std::string_view name, std::string_view value) {
    target += ' ';
    target += name;
    target += "=\"";
    appendEscaped(target, value);
    target += '"';
}

/// Whether IMSC 1.1 has an attribute, besides those that are always written: a style, or one of metadata.
bool isOfImsc(std::string_view name) {
    constexpr std::string_view kMetadata = "ttm:";
    if (name.starts_with(kMetadata)) {
        return isName(name.substr(kMetadata.size()));
    }
    return !has(kNotOfImsc, name) &&
           std::any_of(kStyles.begin(), kStyles.end(), [name](const StyleName& style) { return style.name == name; });
}

/// Whether a profile can say an attribute. Pixels are of a screen that is not written, and cells are for one attribute alone
/// (IMSC 1.1, 7.12.8).
bool isUsable(const Property& attribute, bool isEbu, std::span<const std::string_view> ofEbu) {
    const std::string_view name = attribute.name;
    const bool isInCells = name == "ebutts:linePadding";
    if (!isEbu) {
        return isOfImsc(name) && !hasUnit(attribute.value, "px") && (isInCells || !hasUnit(attribute.value, "c"));
    }
    const bool isLength = name.starts_with("tts:") && name != "tts:fontFamily";
    return std::find(ofEbu.begin(), ofEbu.end(), name) != ofEbu.end() &&
           (isInCells || !isLength ||
            !(hasUnit(attribute.value, "c") || hasUnit(attribute.value, "px") || hasUnit(attribute.value, "rw") ||
              hasUnit(attribute.value, "rh") || hasUnit(attribute.value, "em")));
}

/// Appends an attribute that is not there as yet: one stands once in an element.
/// @return Whether it was not.
bool appendOnce(std::string& target, std::string_view name, std::string_view value) {
    if (target.find(' ' + std::string(name) + "=\"") != std::string::npos) {
        return false;
    }
    appendAttribute(target, name, value);
    return true;
}

/// What of a row is lost.
struct Losses {
    std::int64_t styles = 0;
    std::int64_t properties = 0;
    std::int64_t characters = 0;
};

/// The language of a run, the outermost one; null where it is that of the cue.
const std::string* languageOf(const Run& run) noexcept {
    return valueOf(run.properties, subtitles::properties::kWebVttLanguage);
}

/// The style of a run, and what of it is lost.
std::string runStyle(const Run& run, bool isEbu, Losses& losses) {
    std::string text;
    const std::string foreground = colorOf(run);
    if (!foreground.empty()) {
        appendAttribute(text, "tts:color", foreground);
    }
    const std::string* const background = ownBackground(run);
    if (run.style.background) {
        appendAttribute(text, kBackground, backgroundOf(run, background, isEbu));
    }
    if (run.style.isItalic) {
        appendAttribute(text, "tts:fontStyle", "italic");
    }
    if (run.style.isBold) {
        appendAttribute(text, "tts:fontWeight", "bold");
    }
    losses.styles += run.style.isFlashing ? 1 : 0;
    bool isStruckOut = false;
    for (const Property& property : run.properties) {
        std::string_view name = property.name;
        if (isOfColors(run, property, background) ||
            (name == subtitles::properties::kWebVttLanguage && languageOf(run) == &property.value)) {
            continue;
        }
        const bool isRuby =
            name == subtitles::properties::kWebVttRuby || name == subtitles::properties::kWebVttRubyText;
        if (isRuby && !isEbu) {
            continue;
        }
        if (name == subtitles::properties::kStruckOut && !isEbu) {
            isStruckOut = true;
            continue;
        }
        const bool isFace = name == subtitles::properties::kFontFace;
        const bool isSize = name == subtitles::properties::kFontSize;
        name.remove_prefix(name.starts_with(kOwn) ? kOwn.size() : name.size());
        name = isFace ? "tts:fontFamily" : isSize ? "tts:fontSize" : name;
        // A size without a unit is another format's.
        const bool isOther = isSize && !property.value.ends_with('%') && !property.value.ends_with('c');
        const bool isUsed = !isOther && name != kBackground && name != kDecoration && name != kRubyStyle &&
                            isUsable({std::string(name), property.value}, isEbu, kEbuTextStyles) &&
                            appendOnce(text, name, property.value);
        losses.properties += isUsed ? 0 : 1;
    }
    if (run.style.isUnderlined || isStruckOut) {
        appendAttribute(text, kDecoration,
                        !isStruckOut             ? "underline"
                        : run.style.isUnderlined ? "underline lineThrough"
                                                 : "lineThrough");
    }
    return text;
}

/// Whether white space of a row would be lost.
bool needsSpace(const Row& row) {
    const std::string text = row.text();
    return text.starts_with(' ') || text.ends_with(' ') || text.find("  ") != std::string::npos;
}

/// The name of what has these attributes, which is a new one where nothing has.
/// @param taken All names of the file.
/// @param number Of the last name that begins alike.
const std::string& nameFor(std::map<std::string, std::string>& names, const std::string& attributes,
                           std::string_view start, std::map<std::string, bool>& taken, std::size_t& number) {
    const auto [entry, isNew] = names.try_emplace(attributes);
    while (entry->second.empty()) {
        std::string name = std::string(start) + std::to_string(++number);
        if (taken.emplace(name, true).second) {
            entry->second = std::move(name);
        }
    }
    return entry->second;
}

/// Whether a property is a setting of WebVTT whose place is that of the cue's box or of its rows.
bool isOfBox(const Cue& cue, const Property& property) {
    namespace names = subtitles::properties;
    const bool isOfPlace = property.name == names::kWebVttLine || property.name == names::kWebVttPosition ||
                           property.name == names::kWebVttSize;
    return property.name == names::kWebVttAlign || (cue.box && isOfPlace);
}

}  // namespace

TtmlWriter::TtmlWriter(TtmlFile file, const TtmlWriteOptions& options, FindingSink* findings)
    : _file(std::move(file)), _options(options), _findings(findings), _names{{"base", true}} {
    // One that has no name of its own can be referred to by none.
    const auto isNameless = [this](const TtmlRegion& region) {
        return !isName(region.name) || !_names.emplace(region.name, true).second;
    };
    std::vector<TtmlRegion> named;
    for (TtmlRegion& region : _file.regions) {
        if (!isNameless(region)) {
            _regions.insert(region.name);
            named.push_back(std::move(region));
        } else if (_findings != nullptr) {
            const auto bytes = static_cast<std::int64_t>(region.name.size());
            _findings->add({FindingCode::SubtitleRegionLost, Severity::Warning, 0, bytes, 0});
        }
    }
    _file.regions = std::move(named);
}

bool TtmlWriter::write(const Cue& given) {
    // A region has one left edge: that of all rows, unless they are aligned.
    const auto aligned = given.box ? std::nullopt : alignedAtSide(given);
    const Cue& cue = aligned && aligned->rows.front().alignment != Alignment::Left ? *aligned : given;
    ++_cues;
    const bool isEbu = _options.profile == TtmlProfile::EbuTtD;
    const auto report = [&](FindingCode code, bool isThere, std::int64_t first, std::int64_t second = 0) {
        if (isThere && _findings != nullptr) {
            _findings->add({code, Severity::Warning, _cues, first, second});
        }
    };
    subtitles::UnitSpan span = spanIn(cue, kMilliseconds);
    report(FindingCode::SubtitleTimeNegative, span.start < 0, span.start, span.end);
    report(FindingCode::SubtitleTimeEmptied, span.isLengthened && span.start >= 0, span.start, kMilliseconds);
    if (span.end <= 0) {
        return false;
    }
    span.start = std::max<std::int64_t>(span.start, 0);

    _body += "   <p";
    const bool isNamed = isName(cue.identifier) && _names.emplace(cue.identifier, true).second;
    report(FindingCode::SubtitleNameLost, !isNamed && !cue.identifier.empty(),
           static_cast<std::int64_t>(cue.identifier.size()));
    if (isNamed || isEbu) {
        std::string name = isNamed ? cue.identifier : "c" + std::to_string(_cues);
        while (!isNamed && !_names.emplace(name, true).second) {
            name += '_';
        }
        appendAttribute(_body, "xml:id", name);
    }
    const bool hasTimes = std::any_of(cue.rows.begin(), cue.rows.end(), [](const Row& row) {
        return std::any_of(row.runs.begin(), row.runs.end(), [](const Run& run) { return run.from.isValid(); });
    });
    // Times are those of the paragraph or those of its spans, not both (EBU Tech 3380).
    if (!hasTimes) {
        appendAttribute(_body, "begin", clockTime(span.start));
        appendAttribute(_body, "end", clockTime(span.end));
    }

    const bool isKnown = _regions.contains(cue.region);
    bool isPlaceLost = false;
    if (isKnown) {
        appendAttribute(_body, "region", cue.region);
    } else {
        std::string attributes;
        for (const Property& attribute : regionOf({}, boxFor(cue, isPlaceLost)).attributes) {
            appendAttribute(attributes, attribute.name, attribute.value);
        }
        appendAttribute(_body, "region", nameFor(_places, attributes, "area", _names, _lastPlace));
    }
    report(FindingCode::SubtitlePlaceLost, isPlaceLost, 0);
    report(FindingCode::SubtitleRegionLost, !isKnown && !cue.region.empty(),
           static_cast<std::int64_t>(cue.region.size()));

    const Alignment alignment = cue.rows.empty() ? Alignment::Center : cue.rows.front().alignment;
    const std::string_view side = alignment == Alignment::Center  ? "center"
                                  : alignment == Alignment::Right ? "right"
                                                                  : "left";
    std::string style;
    appendAttribute(style, "tts:textAlign", side);
    std::string own;
    std::int64_t lost = 0;
    for (const Property& property : cue.properties) {
        if (isOfBox(cue, property)) {
            continue;
        }
        std::string_view name = property.name;
        name.remove_prefix(name.starts_with(kOwn) ? kOwn.size() : name.size());
        const bool isUsed = style.find(' ' + std::string(name) + "=\"") == std::string::npos &&
                            isUsable({std::string(name), property.value}, isEbu, kEbuTextStyles) &&
                            appendOnce(isEbu ? style : own, name, property.value);
        lost += isUsed ? 0 : 1;
    }
    report(FindingCode::SubtitlePropertiesLost, lost != 0, 0, lost);
    appendAttribute(_body, "style", nameFor(_styles, style, "style", _names, _lastStyle));
    _body += own;
    if (!cue.language.empty() && cue.language != _file.language) {
        appendAttribute(_body, "xml:lang", cue.language);
    }
    const bool keepsSpace = std::any_of(cue.rows.begin(), cue.rows.end(), needsSpace);
    if (keepsSpace) {
        appendAttribute(_body, "xml:space", "preserve");
    }
    _body += '>';

    std::int64_t shown = span.start;
    for (std::size_t index = 0; index < cue.rows.size(); ++index) {
        Losses losses;
        _body += index == 0 ? "" : "<br/>";
        RubySpans ruby(_body);
        for (const Run& run : cue.rows[index].runs) {
            const std::string attributes = runStyle(run, isEbu, losses);
            shown = run.from.isValid()
                        ? std::clamp(subtitles::unitsOf(run.from, kMilliseconds), span.start, span.end - 1)
                        : shown;
            const std::string* const language = languageOf(run);
            const bool isSpan = isEbu || hasTimes || !attributes.empty() || language != nullptr;
            ruby.change(isEbu ? Ruby::None : rubyOf(run));
            _body += isSpan ? "<span" : "";
            if (hasTimes) {
                appendAttribute(_body, "begin", clockTime(shown));
                appendAttribute(_body, "end", clockTime(span.end));
            }
            if (!attributes.empty()) {
                appendAttribute(_body, "style", nameFor(_styles, attributes, "style", _names, _lastStyle));
            }
            if (language != nullptr) {
                appendAttribute(_body, "xml:lang", *language);
            }
            _body += isSpan ? ">" : "";
            losses.characters += appendEscaped(_body, run.text);
            _body += isSpan ? "</span>" : "";
        }
        ruby.change(Ruby::None);
        const auto row = static_cast<std::int64_t>(index) + 1;
        report(FindingCode::SubtitleStylesLost, losses.styles != 0, row, losses.styles);
        report(FindingCode::SubtitlePropertiesLost, losses.properties != 0, row, losses.properties);
        report(FindingCode::TtmlCharacterReplaced, losses.characters != 0, row, losses.characters);
    }
    _body += "</p>\n";
    return true;
}

std::string TtmlWriter::finish() {
    const bool isEbu = _options.profile == TtmlProfile::EbuTtD;
    std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<tt";
    appendAttribute(text, "xmlns", "http://www.w3.org/ns/ttml");
    appendAttribute(text, "xmlns:ttp", "http://www.w3.org/ns/ttml#parameter");
    appendAttribute(text, "xmlns:tts", "http://www.w3.org/ns/ttml#styling");
    appendAttribute(text, "xmlns:ttm", "http://www.w3.org/ns/ttml#metadata");
    appendAttribute(text, "xmlns:itts", "http://www.w3.org/ns/ttml/profile/imsc1#styling");
    appendAttribute(text, "xmlns:ebutts", "urn:ebu:tt:style");
    if (isEbu) {
        appendAttribute(text, "xmlns:ebuttm", "urn:ebu:tt:metadata");
    } else {
        appendAttribute(text, "ttp:contentProfiles", "http://www.w3.org/ns/ttml/profile/imsc1.1/text");
    }
    appendAttribute(text, "ttp:timeBase", "media");
    appendAttribute(text, "ttp:cellResolution",
                    std::to_string(_file.cellColumns) + " " + std::to_string(_file.cellRows));
    appendAttribute(text, "xml:lang", _file.language);
    text += ">\n <head>\n";
    const auto element = [&text](std::string_view name, std::string_view content) {
        if (!content.empty()) {
            text += "   <" + std::string(name) + ">";
            appendEscaped(text, content);
            text += "</" + std::string(name) + ">\n";
        }
    };
    text += "  <metadata>\n";
    element("ttm:title", _file.title);
    element("ttm:desc", _file.description);
    element("ttm:copyright", _file.copyright);
    if (isEbu) {
        text += "   <ebuttm:documentMetadata>\n    <ebuttm:conformsToStandard>urn:ebu:tt:distribution:2018-04"
                "</ebuttm:conformsToStandard>\n   </ebuttm:documentMetadata>\n";
    }
    text += "  </metadata>\n  <styling>\n   <style xml:id=\"base\" tts:color=\"#ffffff\"";
    if (isEbu) {
        // Hundredths of a cell.
        constexpr int kHundred = 100;
        const int padding = std::min<int>(_options.linePadding, kHundred);
        const std::string shown = percentages(padding / static_cast<double>(kHundred), 0);
        appendAttribute(text, "ebutts:linePadding", shown.substr(0, shown.find('%')) + "c");
    }
    text += "/>\n";
    // A style is a name behind which its number stands: in the order of the numbers.
    const auto inOrder = [](const std::map<std::string, std::string>& names) {
        std::vector<std::pair<std::string_view, std::string_view>> all;
        all.reserve(names.size());
        for (const auto& [attributes, name] : names) {
            all.emplace_back(name, attributes);
        }
        std::sort(all.begin(), all.end(), [](const auto& left, const auto& right) {
            return std::pair(left.first.size(), left.first) < std::pair(right.first.size(), right.first);
        });
        return all;
    };
    for (const auto& [name, attributes] : inOrder(_styles)) {
        text += "   <style xml:id=\"" + std::string(name) + "\"" + std::string(attributes) + "/>\n";
    }
    text += "  </styling>\n  <layout>\n";
    std::int64_t lost = 0;
    for (TtmlRegion& region : _file.regions) {
        completePlace(region.attributes, {_file.cellColumns, _file.cellRows, std::nullopt, std::nullopt}, isEbu);
        text += "   <region";
        std::string attributes;
        appendAttribute(attributes, "xml:id", region.name);
        for (const Property& attribute : region.attributes) {
            const bool isUsed =
                isUsable(attribute, isEbu, kEbuRegionStyles) && appendOnce(attributes, attribute.name, attribute.value);
            lost += isUsed ? 0 : 1;
        }
        text += attributes + "/>\n";
    }
    if (lost != 0 && _findings != nullptr) {
        _findings->add({FindingCode::SubtitlePropertiesLost, Severity::Warning, _cues, 0, lost});
    }
    if (_places.empty() && _file.regions.empty()) {
        text += "   <region xml:id=\"area1\" tts:displayAlign=\"after\" tts:extent=\"80% 80%\" "
                "tts:origin=\"10% 10%\"/>\n";
    }
    for (const auto& [name, attributes] : inOrder(_places)) {
        text += "   <region xml:id=\"" + std::string(name) + "\"" + std::string(attributes) + "/>\n";
    }
    text += "  </layout>\n </head>\n <body style=\"base\">\n  <div>\n" + _body + "  </div>\n </body>\n</tt>\n";
    return text;
}

}  // namespace qlx::streams

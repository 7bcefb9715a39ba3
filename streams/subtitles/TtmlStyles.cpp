#include "TtmlStyles.h"

#include <qlx/subtitles/colors.h>

#include <algorithm>
#include <charconv>
#include <cstddef>

namespace qlx::streams::detail {

namespace {

constexpr std::size_t kColor = styleAt("tts:color");
constexpr std::size_t kBackground = styleAt("tts:backgroundColor");
constexpr std::size_t kFontStyle = styleAt("tts:fontStyle");
constexpr std::size_t kFontWeight = styleAt("tts:fontWeight");
constexpr std::size_t kDecoration = styleAt("tts:textDecoration");
constexpr std::size_t kTextAlign = styleAt("tts:textAlign");
constexpr std::size_t kDirection = styleAt("tts:direction");
constexpr std::size_t kDisplay = styleAt("tts:display");
constexpr std::size_t kVisibility = styleAt("tts:visibility");
constexpr std::size_t kFontFamily = styleAt("tts:fontFamily");
constexpr std::size_t kFontSize = styleAt("tts:fontSize");

/// Those that a cue has fields for.
constexpr bool hasField(std::size_t index) {
    return index == kColor || index == kBackground || index == kFontStyle || index == kFontWeight ||
           index == kDecoration || index == kTextAlign || index == kDisplay || index == kVisibility;
}

constexpr std::string_view kSpaces = " \t\r\n";

std::string_view takeWord(std::string_view& text) {
    text.remove_prefix(std::min(text.find_first_not_of(kSpaces), text.size()));
    const std::string_view word = text.substr(0, text.find_first_of(kSpaces));
    text.remove_prefix(word.size());
    return word;
}

constexpr std::uint8_t kOpaque = 0xFF;
constexpr std::string_view kTransparent = "transparent";

}  // namespace

std::uint64_t TtmlReport::lineOf(std::size_t byte) {
    if (!_hasLineEnds) {
        _hasLineEnds = true;
        for (std::size_t end = _text.find('\n'); end != std::string_view::npos; end = _text.find('\n', end + 1)) {
            _lineEnds.push_back(end);
        }
    }
    const auto line = std::lower_bound(_lineEnds.begin(), _lineEnds.end(), byte) - _lineEnds.begin();
    return static_cast<std::uint64_t>(line) + 1;
}

void TtmlReport::add(FindingCode code, Severity severity, std::size_t byte, std::int64_t first, std::int64_t second) {
    if (_findings != nullptr) {
        _findings->add({code, severity, lineOf(byte), first, second});
    }
}

void TtmlReport::add(FindingCode code, Severity severity, const pugi::xml_node& at, std::int64_t first,
                     std::int64_t second) {
    const std::ptrdiff_t byte = at.offset_debug();
    add(code, severity, byte < 0 ? std::size_t{0} : static_cast<std::size_t>(byte), first, second);
}

void overlay(StyleSet& set, const StyleSet& over) noexcept {
    for (std::size_t index = 0; index < set.size(); ++index) {
        if (over[index].data() != nullptr) {
            set[index] = over[index];
        }
    }
}

void overlay(StyleSet& set, const PackedStyles& over) noexcept {
    for (const auto& [index, value] : over) {
        set[index] = value;
    }
}

PackedStyles packed(const StyleSet& set) {
    PackedStyles packed;
    for (std::size_t index = 0; index < set.size(); ++index) {
        if (set[index].data() != nullptr) {
            packed.emplace_back(static_cast<std::uint8_t>(index), set[index]);
        }
    }
    return packed;
}

std::size_t bytesOf(const subtitles::Properties& properties) noexcept {
    std::size_t bytes = 0;
    for (const subtitles::Property& property : properties) {
        bytes += sizeof(property) + property.name.size() + property.value.size();
    }
    return bytes;
}

StyleSet inheritedOf(const StyleSet& set) noexcept {
    StyleSet inherited{};
    for (std::size_t index = 0; index < set.size(); ++index) {
        if (kStyles[index].isInherited) {
            inherited[index] = set[index];
        }
    }
    return inherited;
}

void TtmlStyles::define(std::string_view name, const pugi::xml_node& element, const StyleSet& own,
                        std::string_view references) {
    _styles.insert_or_assign(name, Style{element, packed(own), references, false, false});
}

StyleSet TtmlStyles::specified(const pugi::xml_node& element, std::string_view references, const StyleSet& own) {
    StyleSet set{};
    refer(element, references, set, 0);
    overlay(set, own);
    return set;
}

void TtmlStyles::refer(const pugi::xml_node& element, std::string_view references, StyleSet& set, std::size_t depth) {
    constexpr std::size_t kDeepest = 64;
    for (std::string_view name = takeWord(references); !name.empty(); name = takeWord(references)) {
        const auto found = _styles.find(name);
        if (found == _styles.end()) {
            _report.add(FindingCode::TtmlStyleUnknown, Severity::Warning, element,
                        static_cast<std::int64_t>(name.size()));
            continue;
        }
        Style& style = found->second;
        if (!style.isResolved) {
            if (style.isOpen || depth == kDeepest) {
                _report.add(style.isOpen ? FindingCode::TtmlStyleCircular : FindingCode::TtmlStyleChainTooLong,
                            Severity::Error, element, static_cast<std::int64_t>(name.size()));
                continue;
            }
            style.isOpen = true;
            StyleSet resolved{};
            refer(style.element, style.references, resolved, depth + 1);
            overlay(resolved, style.set);
            style.set = packed(resolved);
            style.isOpen = false;
            style.isResolved = true;
        }
        overlay(set, style.set);
    }
}

void applySpan(SpanState& state, const StyleSet& own) {
    const std::string_view background = own[kBackground];
    if (background.data() != nullptr && alphaOfColor(background) != 0) {
        state.background = background;
    }
    std::string_view decoration = own[kDecoration];
    for (std::string_view word = takeWord(decoration); !word.empty(); word = takeWord(decoration)) {
        if (word == "underline" || word == "noUnderline" || word == "none") {
            state.isUnderlined = word == "underline";
        }
        if (word == "lineThrough" || word == "noLineThrough" || word == "none") {
            state.isStruckOut = word == "lineThrough";
        }
    }
}

void takeMissing(SpanState& state, const SpanState& around) noexcept {
    state.background = state.background.data() == nullptr ? around.background : state.background;
    state.isUnderlined = state.isUnderlined ? state.isUnderlined : around.isUnderlined;
    state.isStruckOut = state.isStruckOut ? state.isStruckOut : around.isStruckOut;
}

Look lookOf(const StyleSet& set, const StyleSet& own, const SpanState& state, TtmlReport& report,
            const pugi::xml_node& at) {
    Look look;
    const auto read = [&](std::string_view text) {
        const auto color = subtitles::colorNamed(text);
        if (!color) {
            report.add(FindingCode::TtmlValueWrong, Severity::Error, at, static_cast<std::int64_t>(text.size()));
        }
        return color;
    };
    if (set[kColor].data() != nullptr) {
        const bool isNone = set[kColor] == kTransparent;
        if (const auto color = isNone ? std::nullopt : read(set[kColor])) {
            look.style.foreground = subtitles::screenColor(*color);
            if (subtitles::bitsOf(look.style.foreground) != *color) {
                look.properties.push_back(
                    {std::string(subtitles::properties::kColor), subtitles::hexColorText(*color)});
            }
        }
        subtitles::setAlpha(look.properties, subtitles::properties::kColorAlpha, alphaOfColor(set[kColor]));
    }
    if (state.background.data() != nullptr) {
        if (const auto color = read(state.background)) {
            look.style.background = subtitles::screenColor(*color);
            if (alphaOfColor(state.background) != kOpaque || subtitles::bitsOf(*look.style.background) != *color) {
                look.properties.push_back({"ttml.tts:backgroundColor", std::string(state.background)});
            }
        }
    }
    const std::string_view slant = set[kFontStyle];
    look.style.isItalic = slant == "italic" || slant == "oblique" || slant == "reverseOblique";
    look.style.isBold = set[kFontWeight] == "bold";
    look.style.isUnderlined = state.isUnderlined.value_or(false);
    if (state.isStruckOut.value_or(false)) {
        look.properties.push_back({std::string(subtitles::properties::kStruckOut), {}});
    }
    for (std::size_t index = 0; index < own.size(); ++index) {
        if (own[index].data() == nullptr || hasField(index)) {
            continue;
        }
        std::string name = index == kFontFamily ? std::string(subtitles::properties::kFontFace)
                           : index == kFontSize ? std::string(subtitles::properties::kFontSize)
                                                : "ttml." + std::string(kStyles[index].name);
        look.properties.push_back({std::move(name), std::string(own[index])});
    }
    return look;
}

subtitles::Properties propertiesOf(const StyleSet& set) {
    subtitles::Properties properties;
    for (std::size_t index = 0; index < set.size(); ++index) {
        if (set[index].data() != nullptr && !hasField(index)) {
            properties.push_back({"ttml." + std::string(kStyles[index].name), std::string(set[index])});
        }
    }
    return properties;
}

subtitles::Alignment alignmentOf(const StyleSet& set) noexcept {
    const std::string_view align = set[kTextAlign];
    const bool isLeftwards = set[kDirection] == "rtl";
    if (align == "center") {
        return subtitles::Alignment::Center;
    }
    if (align == "right" || align == (isLeftwards ? "start" : "end") || (align.empty() && isLeftwards)) {
        return subtitles::Alignment::Right;
    }
    return subtitles::Alignment::Left;
}

bool isNotDisplayed(const StyleSet& set) noexcept {
    return set[kDisplay] == "none";
}

std::uint8_t alphaOfColor(std::string_view color) noexcept {
    constexpr std::size_t kWithAlpha = 9;
    if (color == kTransparent) {
        return 0;
    }
    std::uint8_t alpha = kOpaque;
    if (color.starts_with('#') && color.size() == kWithAlpha) {
        std::from_chars(color.data() + kWithAlpha - 2, color.data() + kWithAlpha, alpha, 16);
    } else if (const std::size_t comma = color.rfind(',');
               color.starts_with("rgba") && comma != std::string_view::npos) {
        std::string_view digits = color.substr(comma + 1);
        digits = digits.substr(0, digits.find(')'));
        digits = takeWord(digits);
        std::from_chars(digits.data(), digits.data() + digits.size(), alpha);
    }
    return alpha;
}

bool isInvisible(const StyleSet& set) noexcept {
    return set[kVisibility] == "hidden";
}

}  // namespace qlx::streams::detail

#include "TtmlNames.h"

#include <QLXClosedCaptionsUtilities/platform/Text.h>

#include <algorithm>
#include <array>
#include <utility>

namespace qlx::streams::detail {

namespace {

constexpr std::string_view kTtml = "http://www.w3.org/ns/ttml";
constexpr std::array<std::string_view, 2> kOld{"http://www.w3.org/2006/10/ttaf1", "http://www.w3.org/2006/04/ttaf1"};
constexpr std::string_view kImsc = "http://www.w3.org/ns/ttml/profile/imsc1";
constexpr std::string_view kSmpte = "http://www.smpte-ra.org/schemas/2052-1/";

constexpr std::array<std::pair<std::string_view, Namespace>, 6> kParts{{
    {"", Namespace::Tt},
    {"#parameter", Namespace::Parameter},
    {"#styling", Namespace::Styling},
    {"#style", Namespace::Styling},
    {"#metadata", Namespace::Metadata},
    {"#style-extension", Namespace::Foreign},
}};

Namespace partOf(std::string_view part) {
    const auto* const found =
        std::find_if(kParts.begin(), kParts.end(), [&](const auto& one) { return one.first == part; });
    return found == kParts.end() ? Namespace::Foreign : found->second;
}

constexpr std::array kPrefixes{
    std::pair{Namespace::Parameter, std::string_view("ttp:")},
    std::pair{Namespace::Styling, std::string_view("tts:")},
    std::pair{Namespace::Metadata, std::string_view("ttm:")},
    std::pair{Namespace::ImscStyling, std::string_view("itts:")},
    std::pair{Namespace::ImscParameter, std::string_view("ittp:")},
    std::pair{Namespace::EbuStyling, std::string_view("ebutts:")},
    std::pair{Namespace::EbuMetadata, std::string_view("ebuttm:")},
    std::pair{Namespace::Smpte, std::string_view("smpte:")},
    std::pair{Namespace::Xml, std::string_view("xml:")},
};

/// A prefix, which may be empty, and what stands behind it.
std::pair<std::string_view, std::string_view> takenApart(std::string_view name) {
    const std::size_t colon = name.find(':');
    return colon == std::string_view::npos ? std::pair(std::string_view(), name)
                                           : std::pair(name.substr(0, colon), name.substr(colon + 1));
}

using CharacterRange = std::pair<char32_t, char32_t>;

/// With which a name begins (XML 1.0, 2.3, without the colon), and what else may be within.
constexpr std::array kNameStarts{
    CharacterRange{U'A', U'Z'},     CharacterRange{U'_', U'_'},     CharacterRange{U'a', U'z'},
    CharacterRange{0xC0, 0xD6},     CharacterRange{0xD8, 0xF6},     CharacterRange{0xF8, 0x2FF},
    CharacterRange{0x370, 0x37D},   CharacterRange{0x37F, 0x1FFF},  CharacterRange{0x200C, 0x200D},
    CharacterRange{0x2070, 0x218F}, CharacterRange{0x2C00, 0x2FEF}, CharacterRange{0x3001, 0xD7FF},
    CharacterRange{0xF900, 0xFDCF}, CharacterRange{0xFDF0, 0xFFFC}, CharacterRange{0x10000, 0xEFFFF},
};
constexpr std::array kNameParts{
    CharacterRange{U'-', U'.'},   CharacterRange{U'0', U'9'},     CharacterRange{0xB7, 0xB7},
    CharacterRange{0x300, 0x36F}, CharacterRange{0x203F, 0x2040},
};

}  // namespace

void Names::enter(const pugi::xml_node& element) {
    ++_depth;
    constexpr std::string_view kDeclaration = "xmlns";
    // More of them are no document's, and each name would be searched among all.
    constexpr std::size_t kMost = 256;
    for (const pugi::xml_attribute& attribute : element.attributes()) {
        std::string_view name = attribute.name();
        if (!name.starts_with(kDeclaration) || _bindings.size() >= kMost) {
            continue;
        }
        name.remove_prefix(kDeclaration.size());
        if (!name.empty() && name.front() != ':') {
            continue;
        }
        const std::string_view uri = attribute.value();
        Namespace space = uri.empty() ? Namespace::None : Namespace::Foreign;
        if (uri.starts_with(kTtml) && !uri.starts_with(kImsc)) {
            space = partOf(uri.substr(kTtml.size()));
        } else if (uri.starts_with(kImsc)) {
            space = uri.substr(kImsc.size()) == "#styling"     ? Namespace::ImscStyling
                    : uri.substr(kImsc.size()) == "#parameter" ? Namespace::ImscParameter
                                                               : Namespace::Foreign;
        } else if (uri == "urn:ebu:tt:style" || uri == "urn:ebu:style") {
            space = Namespace::EbuStyling;
        } else if (uri == "urn:ebu:tt:metadata" || uri == "urn:ebu:metadata") {
            space = Namespace::EbuMetadata;
        } else if (uri.starts_with(kSmpte)) {
            space = Namespace::Smpte;
            _isSmpte = true;
        }
        for (const std::string_view old : kOld) {
            if (uri.starts_with(old)) {
                space = partOf(uri.substr(old.size()));
                _isOld = true;
            }
        }
        _bindings.push_back({name.empty() ? name : name.substr(1), space, _depth});
    }
}

void Names::leave() {
    while (!_bindings.empty() && _bindings.back().depth == _depth) {
        _bindings.pop_back();
    }
    --_depth;
}

Namespace Names::spaceOf(std::string_view prefix) const {
    if (prefix == "xml") {
        return Namespace::Xml;
    }
    const auto found = std::find_if(_bindings.rbegin(), _bindings.rend(),
                                    [prefix](const Binding& binding) { return binding.prefix == prefix; });
    if (found != _bindings.rend()) {
        return found->space;
    }
    return prefix.empty() ? Namespace::None : Namespace::Foreign;
}

Name Names::of(const pugi::xml_node& element) const {
    const auto [prefix, local] = takenApart(element.name());
    Name name{spaceOf(prefix), local};
    // Files without any namespace are in the field.
    name.space = name.space == Namespace::None ? Namespace::Tt : name.space;
    return name;
}

Name Names::of(const pugi::xml_attribute& attribute) const {
    const auto [prefix, local] = takenApart(attribute.name());
    // An attribute without a prefix is of no namespace.
    return {prefix.empty() ? Namespace::None : spaceOf(prefix), local};
}

std::string usualName(const Name& name) {
    const auto* const found =
        std::find_if(kPrefixes.begin(), kPrefixes.end(), [&name](const auto& one) { return one.first == name.space; });
    return found == kPrefixes.end() ? std::string() : std::string(found->second) + std::string(name.local);
}

std::optional<std::size_t> styleIndex(const Name& name) noexcept {
    if (name.space != Namespace::Styling && name.space != Namespace::ImscStyling &&
        name.space != Namespace::EbuStyling) {
        return std::nullopt;
    }
    const std::string_view prefix = name.space == Namespace::Styling       ? "tts:"
                                    : name.space == Namespace::ImscStyling ? "itts:"
                                                                           : "ebutts:";
    const auto compared = [&](const StyleName& style) {
        const int order = style.name.substr(0, style.name.find(':') + 1).compare(prefix);
        return order != 0 ? order : style.name.substr(prefix.size()).compare(name.local);
    };
    const auto* const found = std::partition_point(kStyles.begin(), kStyles.end(),
                                                   [&](const StyleName& style) { return compared(style) < 0; });
    if (found == kStyles.end() || compared(*found) != 0) {
        return std::nullopt;
    }
    return static_cast<std::size_t>(found - kStyles.begin());
}

bool isName(std::string_view text) {
    const auto isIn = [](const auto& ranges, char32_t character) {
        return std::any_of(ranges.begin(), ranges.end(), [character](const CharacterRange& range) {
            return character >= range.first && character <= range.second;
        });
    };
    for (bool isFirst = true; !text.empty(); isFirst = false) {
        const char32_t character = takeCodePoint(text);
        if (!isIn(kNameStarts, character) && (isFirst || !isIn(kNameParts, character))) {
            return false;
        }
        if (text.empty()) {
            return true;
        }
    }
    return false;
}

}  // namespace qlx::streams::detail

// What the names of a TTML document mean: by their namespaces, whatever prefixes the document uses.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <pugixml.hpp>

namespace qlx::streams::detail {

/// The namespaces of the family (TTML2, 5.1; IMSC 1.1, 6.3; EBU Tech 3380; SMPTE ST 2052-1), and those of before TTML 1.
enum class Namespace : std::uint8_t {
    None,
    Tt,
    Parameter,
    Styling,
    Metadata,
    ImscStyling,
    ImscParameter,
    EbuStyling,
    EbuMetadata,
    Smpte,
    Xml,
    Foreign,
};

/// A name taken apart. What it points to is the document's.
struct Name {
    Namespace space = Namespace::None;
    std::string_view local;

    [[nodiscard]] bool is(Namespace ofWhat, std::string_view called) const noexcept {
        return space == ofWhat && local == called;
    }
};

/// Knows the prefixes that hold where a walk through a document is.
class Names {
public:
    /// Begins an element, whose own declarations hold for it. leave() ends it.
    void enter(const pugi::xml_node& element);
    void leave();

    [[nodiscard]] Name of(const pugi::xml_node& element) const;
    [[nodiscard]] Name of(const pugi::xml_attribute& attribute) const;

    /// Whether a document of before TTML 1 has been met.
    [[nodiscard]] bool isOld() const noexcept { return _isOld; }
    /// Whether a namespace of SMPTE ST 2052-1 has.
    [[nodiscard]] bool isSmpte() const noexcept { return _isSmpte; }

private:
    struct Binding {
        std::string_view prefix;
        Namespace space = Namespace::None;
        std::size_t depth = 0;
    };

    [[nodiscard]] Namespace spaceOf(std::string_view prefix) const;

    std::vector<Binding> _bindings;
    std::size_t _depth = 0;
    bool _isOld = false;
    bool _isSmpte = false;
};

/// Ends with the block.
class Entered {
public:
    Entered(Names& names, const pugi::xml_node& element) : _names(names) { names.enter(element); }
    ~Entered() { _names.leave(); }
    Entered(const Entered&) = delete;
    Entered& operator=(const Entered&) = delete;

private:
    Names& _names;
};

/// A name with the usual prefix: `tts:color`; empty for one that is of no namespace of the family.
[[nodiscard]] std::string usualName(const Name& name);

/// A style's name with the usual prefix, and whether the elements within have it too (TTML2, 10.2).
struct StyleName {
    std::string_view name;
    bool isInherited = false;
};

/// In the order of their names, to be searched by halves.
inline constexpr std::array<StyleName, 55> kStyles{{
    {"ebutts:linePadding", true},
    {"ebutts:multiRowAlign", true},
    {"itts:fillLineGap", true},
    {"itts:forcedDisplay", true},
    {"tts:backgroundClip", false},
    {"tts:backgroundColor", false},
    {"tts:backgroundExtent", false},
    {"tts:backgroundImage", false},
    {"tts:backgroundOrigin", false},
    {"tts:backgroundPosition", false},
    {"tts:backgroundRepeat", false},
    {"tts:border", false},
    {"tts:bpd", false},
    {"tts:color", true},
    {"tts:direction", true},
    {"tts:disparity", false},
    {"tts:display", false},
    {"tts:displayAlign", false},
    {"tts:dynamicFlow", false},
    {"tts:extent", false},
    {"tts:fontFamily", true},
    {"tts:fontKerning", true},
    {"tts:fontSelectionStrategy", true},
    {"tts:fontShear", true},
    {"tts:fontSize", true},
    {"tts:fontStyle", true},
    {"tts:fontVariant", true},
    {"tts:fontWeight", true},
    {"tts:ipd", false},
    {"tts:letterSpacing", true},
    {"tts:lineHeight", true},
    {"tts:lineShear", true},
    {"tts:luminanceGain", false},
    {"tts:opacity", false},
    {"tts:origin", false},
    {"tts:overflow", false},
    {"tts:padding", false},
    {"tts:position", false},
    {"tts:ruby", false},
    {"tts:rubyAlign", true},
    {"tts:rubyPosition", true},
    {"tts:rubyReserve", true},
    {"tts:shear", true},
    {"tts:showBackground", false},
    {"tts:textAlign", true},
    {"tts:textCombine", true},
    {"tts:textDecoration", true},
    {"tts:textEmphasis", true},
    {"tts:textOrientation", true},
    {"tts:textOutline", true},
    {"tts:textShadow", true},
    {"tts:unicodeBidi", false},
    {"tts:visibility", true},
    {"tts:wrapOption", true},
    {"tts:writingMode", false},
}};

/// The place in the table of styles; none for an attribute that is no style.
[[nodiscard]] std::optional<std::size_t> styleIndex(const Name& name) noexcept;

/// The place of a name that is there.
[[nodiscard]] consteval std::size_t styleAt(std::string_view name) {
    std::size_t index = 0;
    while (kStyles.at(index).name != name) {
        ++index;
    }
    return index;
}

/// Whether a text may be an `xml:id`; U+FFFD, which stands for what cannot be read, is none of a name's characters here.
[[nodiscard]] bool isName(std::string_view text);

}  // namespace qlx::streams::detail

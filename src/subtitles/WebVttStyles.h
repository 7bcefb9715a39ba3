// Style sheets of WebVTT files as far as runs can look so (W3C WebVTT, 8.2: the pseudo-element ::cue).
#pragma once

#include <qlx/subtitles/cue.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qlx::subtitles {

/// How style sheets have an element look; what they do not say is none.
struct WebVttLook {
    std::optional<std::uint32_t> foreground;
    std::optional<std::uint32_t> background;
    bool isBackgroundClear = false;  ///< They say that there is nothing behind it.
    std::optional<bool> isBold;
    std::optional<bool> isItalic;
    std::optional<bool> isUnderlined;

    /// Puts it over what is around the element.
    /// @param color Of the characters, exactly; none: nothing says.
    void applyTo(std::optional<std::uint32_t>& color, Style& style) const;
};

/// An element of a cue's text, or the cue itself.
struct WebVttElement {
    std::string_view name;        ///< `c`; empty: the cue.
    std::string_view classes;     ///< With points between.
    std::string_view voice;       ///< Of `v`.
    std::string_view language;    ///< Of it, or of the innermost `lang` around it.
    std::string_view identifier;  ///< Of the cue, where it is the cue.
};

/// The rules of the style sheets of a file. Taken are selectors without combinators of types, classes, names, `voice`,
/// `lang` and `:lang()`, and of declarations `color`, `background-color` (also as `background`), `font-style`,
/// `font-weight` and `text-decoration`, in the order of the cascade: importance, specificity, place.
class WebVttStyles {
public:
    /// What of a sheet is not taken.
    struct Rest {
        std::int64_t selectors = 0;
        std::int64_t declarations = 0;
    };

    /// Adds a block, `STYLE` with its rules behind; other blocks have none.
    Rest add(std::string_view block);

    [[nodiscard]] bool isEmpty() const noexcept { return _rules.empty(); }

    /// Whether a selector has a class: what receivers have it look like by themselves is not all.
    [[nodiscard]] bool hasClass(std::string_view name) const noexcept;

    /// How an element looks; the colours of the classes that hasClass() has are among it.
    [[nodiscard]] WebVttLook lookOf(const WebVttElement& element) const;

private:
    enum class Kind : std::uint8_t { Class, Name, Voice, HasVoice, Language, HasLanguage, WithinLanguage, Cue };

    struct Condition {
        Kind kind = Kind::Class;
        std::string value;
    };

    struct Rule {
        std::string type;  ///< Of the element; empty: any.
        bool isCue = false;
        std::vector<Condition> conditions;
        std::uint32_t specificity = 0;
        WebVttLook look;
        WebVttLook important;
    };

    static std::vector<Rule> rulesOf(std::string_view selector);
    static bool takeConditions(std::string_view rest, Rule& rule);
    static std::optional<Condition> attributeOf(std::string_view text);
    static bool matches(const Rule& rule, const WebVttElement& element);

    std::vector<Rule> _rules;
};

}  // namespace qlx::subtitles

// The styles of a TTML document: defined, referred to, inherited (TTML2, 10.4).
#pragma once

#include "TtmlNames.h"

#include <qlx/base/finding.h>
#include <qlx/subtitles/cue.h>

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace qlx::streams::detail {

/// Tells a sink of places in a document.
class TtmlReport {
public:
    TtmlReport(FindingSink* findings, std::string_view text) noexcept : _findings(findings), _text(text) {}

    /// At the beginning of an element.
    void add(FindingCode code, Severity severity, const pugi::xml_node& at, std::int64_t first = 0,
             std::int64_t second = 0);
    /// At a byte of the text.
    void add(FindingCode code, Severity severity, std::size_t byte, std::int64_t first = 0, std::int64_t second = 0);

    /// The line of a byte, counted from 1.
    [[nodiscard]] std::uint64_t lineOf(std::size_t byte);

private:
    FindingSink* _findings;
    std::string_view _text;
    std::vector<std::size_t> _lineEnds;  ///< Once a line has been asked for.
    bool _hasLineEnds = false;
};

/// The values of styles by their place in kStyles; null where there is none. They are the document's.
using StyleSet = std::array<std::string_view, kStyles.size()>;

/// The same without the nulls, to be kept: a document may define very many.
using PackedStyles = std::vector<std::pair<std::uint8_t, std::string_view>>;
static_assert(kStyles.size() <= UINT8_MAX);

[[nodiscard]] PackedStyles packed(const StyleSet& set);

/// Puts what is given over what was.
void overlay(StyleSet& set, const StyleSet& over) noexcept;
void overlay(StyleSet& set, const PackedStyles& over) noexcept;

/// What the elements within have too.
[[nodiscard]] StyleSet inheritedOf(const StyleSet& set) noexcept;

/// Styles by their names.
class TtmlStyles {
public:
    explicit TtmlStyles(TtmlReport& report) noexcept : _report(report) {}

    /// Takes a `style` element with a name.
    void define(std::string_view name, const pugi::xml_node& element, const StyleSet& own, std::string_view references);

    /// What an element has: of the styles that it refers to, then its own.
    [[nodiscard]] StyleSet specified(const pugi::xml_node& element, std::string_view references, const StyleSet& own);

private:
    struct Style {
        pugi::xml_node element;
        PackedStyles set;
        std::string_view references;
        bool isResolved = false;
        bool isOpen = false;  ///< It is being resolved.
    };

    void refer(const pugi::xml_node& element, std::string_view references, StyleSet& set, std::size_t depth);

    TtmlReport& _report;
    std::unordered_map<std::string_view, Style> _styles;
};

/// What spans within each other add up to.
struct SpanState {
    std::string_view background;       ///< The colour behind; null: nobody says.
    std::optional<bool> isUnderlined;  ///< None: nobody says.
    std::optional<bool> isStruckOut;   ///< The same.
};

/// Fills what nobody says with what holds around.
void takeMissing(SpanState& state, const SpanState& around) noexcept;

/// Takes what an element has itself.
void applySpan(SpanState& state, const StyleSet& own);

/// How characters look, and what of their own has no field.
struct Look {
    subtitles::Style style;
    subtitles::Properties properties;
};

/// What a copy of them takes.
[[nodiscard]] std::size_t bytesOf(const subtitles::Properties& properties) noexcept;

/// @param set All that holds.
/// @param own What spans have of their own.
[[nodiscard]] Look lookOf(const StyleSet& set, const StyleSet& own, const SpanState& state, TtmlReport& report,
                          const pugi::xml_node& at);

/// The values without a field, as properties of a cue.
[[nodiscard]] subtitles::Properties propertiesOf(const StyleSet& set);

/// Where text stands on its row.
[[nodiscard]] subtitles::Alignment alignmentOf(const StyleSet& set) noexcept;

/// Whether an element itself, and all that is within, is not displayed.
[[nodiscard]] bool isNotDisplayed(const StyleSet& set) noexcept;

/// The fourth number of a colour, 0 to 255: how much of it hides what is behind; 255 where it has none. `transparent` has
/// 0.
[[nodiscard]] std::uint8_t alphaOfColor(std::string_view color) noexcept;

/// Whether text with all that holds for it is not seen.
[[nodiscard]] bool isInvisible(const StyleSet& set) noexcept;

}  // namespace qlx::streams::detail

// What stands in front of the content of a TTML document, and holds for it: parameters, styles, regions, metadata.
#pragma once

#include "TtmlPlaces.h"
#include "TtmlStyles.h"
#include "TtmlTimes.h"

#include <qlx/base/finding.h>
#include <qlx/streams/ttml.h>
#include <qlx/subtitles/cue.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace qlx::streams::detail {

/// The attributes of an element that mean something.
struct Attributes {
    std::string_view name;  ///< `xml:id`
    std::string_view language;
    std::string_view space;
    std::string_view region;
    std::string_view references;
    std::string_view begin;
    std::string_view end;
    std::string_view duration;
    std::string_view container;
    StyleSet own{};  ///< Of its own, without those that it refers to.
    bool hasImage = false;
    std::vector<std::pair<Name, std::string_view>> others;
};

/// From when to when an element is there, as far as it says so itself.
struct ElementTimes {
    MediaTime begin;
    std::optional<MediaTime> end;  ///< None: nothing says.
};

/// A region of the screen: what is known of it.
struct Region {
    PackedStyles inherited;  ///< What the text in it has too.
    SpanState span;          ///< What is seen behind the text, and its lines.
    ElementTimes times;
    bool isNotDisplayed = false;
    std::optional<subtitles::Box> place;
};

/// Reads it, and keeps what the content needs.
class DocumentHead {
protected:
    DocumentHead(std::string_view text, const TtmlReadOptions& options, FindingSink* findings);

    Finding error(FindingCode code, const pugi::xml_node& at, std::int64_t first);

    /// Whether so many bytes of the document may be handed out once more. What is said once may hold for all cues: no
    /// file takes more memory than in proportion to its size.
    bool affords(std::size_t bytes);

    std::string_view affordable(std::string_view text, const pugi::xml_node& at);

    void keepAffordable(subtitles::Properties& properties, const pugi::xml_node& at);

    Attributes attributesOf(const pugi::xml_node& element);

    void readPlain(std::string_view name, std::string_view value, Attributes& all);

    void readParameters(const pugi::xml_node& root, const Attributes& attributes);

    /// The screen in pixels.
    void readScreen(std::string_view extent);

    void readHead(const pugi::xml_node& head);

    /// @param reference What its begin and end count from (TTML2, 12.2).
    ElementTimes timesOf(const pugi::xml_node& element, const Attributes& attributes, const MediaTime& reference);

    void readMetadata(const pugi::xml_node& element, const Name& name);

    void readStyling(const pugi::xml_node& styling);

    void readLayout(const pugi::xml_node& layout);

    /// `style` elements within a region (TTML2, 9.1.2): what the region has itself counts more.
    void readInnerStyles(const pugi::xml_node& region, StyleSet& set);

    /// Says that an element counts for nothing, where it would for others.
    void passOver(const pugi::xml_node& element, const Name& name);

    static std::int64_t milliseconds(const MediaTime& time);

    TtmlReport _report;
    Names _names;
    TtmlStyles _styles;
    StyleSet _initial{};
    TimeParameters _times;
    ScreenMeasures _measures;
    TtmlFile _file;
    std::unordered_map<std::string_view, Region> _regions;
    std::int64_t _attributesLeftOut = 0;
    static constexpr std::size_t kLeastToCopy = 16'000'000;
    static constexpr std::size_t kCopies = 32;  ///< Of each byte of a document, where it has more.
    std::size_t _toCopy;                        ///< Bytes that may still be handed out once more.
};

}  // namespace qlx::streams::detail

#include "TtmlHead.h"
#include "TtmlRuby.h"
#include "TtmlText.h"
#include "TtmlXml.h"

#include <QLXClosedCaptionsUtilities/platform/Text.h>
#include <qlx/base/utf8.h>
#include <qlx/streams/ttml.h>
#include <qlx/subtitles/box.h>
#include <qlx/subtitles/times.h>
#include <qlx/subtitles/webvtt.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace qlx::streams {

namespace {

using namespace detail;
using subtitles::Cue;

/// What holds where a walk is.
struct Context {
    StyleSet styles{};  ///< Of the content around.
    SpanState span;
    MediaTime begin;
    std::optional<MediaTime> ownEnd;  ///< Where the element says itself when it ends.
    std::optional<MediaTime> end;     ///< The earliest of those of it and what is around.
    std::string_view language;
    std::string_view region;
    bool keepsSpace = false;
    bool isSequence = false;
    bool isNotDisplayed = false;
    std::size_t animations = 0;  ///< Of it and what is around, at the front of all.
    /// How many of them are of what is around the innermost element that has the style itself: they do not change it.
    std::array<std::uint8_t, kStyles.size()> passed{};
};

/// Reads one document.
class Document : private DocumentHead {
public:
    Document(std::string_view text, const std::function<void(Cue)>& take, const TtmlReadOptions& options,
             FindingSink* findings)
        : DocumentHead(text, options, findings), _take(take), _options(options) {}

    Result<TtmlFile> read(const pugi::xml_node& root) {
        const Entered entered(_names, root);
        if (!_names.of(root).is(Namespace::Tt, "tt")) {
            return error(FindingCode::TtmlNotTtml, root,
                         static_cast<std::int64_t>(std::string_view(root.name()).size()));
        }
        Attributes attributes = attributesOf(root);
        _file.language = attributes.language;
        readParameters(root, attributes);
        Context context;
        context.begin = MediaTime::make(0, 1);
        context.language = attributes.language;
        context.keepsSpace = attributes.space == "preserve";
        for (const pugi::xml_node& element : root.children()) {
            if (element.type() != pugi::node_element) {
                continue;
            }
            const Entered inner(_names, element);
            const Name name = _names.of(element);
            if (name.is(Namespace::Tt, "head")) {
                readHead(element);
            } else if (name.is(Namespace::Tt, "body")) {
                settleKind();
                if (_options.takeHead) {
                    _options.takeHead(_file);
                }
                context.isNotDisplayed = isNotDisplayed(_initial);
                readBlock(element, context, context.begin);
            } else {
                passOver(element, name);
            }
        }
        if (_attributesLeftOut != 0) {
            _report.add(FindingCode::TtmlAttributesLeftOut, Severity::Remark, std::size_t{0}, _attributesLeftOut);
        }
        settleKind();
        return std::move(_file);
    }

private:
    void settleKind() {
        if (_file.kind == TtmlKind::Ttml) {
            _file.kind = _names.isSmpte() ? TtmlKind::SmpteTt : _names.isOld() ? TtmlKind::Dfxp : TtmlKind::Ttml;
        }
    }

    /// Takes what an element has itself into the context of what is within.
    /// @param reference What its begin and end count from (TTML2, 12.2).
    /// @return Its styles, of the ones that it refers to and its own.
    StyleSet enter(const pugi::xml_node& element, const Attributes& attributes, Context& context,
                   const MediaTime& reference, bool isSpan) {
        const StyleSet own = _styles.specified(element, attributes.references, attributes.own);
        overlay(context.styles, isSpan ? own : inheritedOf(own));
        applySpan(context.span, own);
        context.isNotDisplayed = context.isNotDisplayed || isNotDisplayed(own);
        context.language = attributes.language.data() == nullptr ? context.language : attributes.language;
        context.region = attributes.region.empty() ? context.region : attributes.region;
        context.keepsSpace = attributes.space.empty() ? context.keepsSpace : attributes.space == "preserve";
        context.isSequence = attributes.container == "seq";
        const ElementTimes times = timesOf(element, attributes, reference);
        context.begin = times.begin;
        context.ownEnd = times.end;
        if (times.end) {
            limit(context.end, *times.end);
        }
        _animations.resize(context.animations);
        for (std::size_t index = 0; index < own.size(); ++index) {
            context.passed[index] =
                own[index].data() == nullptr ? context.passed[index] : static_cast<std::uint8_t>(context.animations);
        }
        for (const pugi::xml_node& inner : element.children()) {
            if (std::string_view(inner.name()).ends_with("set")) {
                takeAnimation(inner, context);
            }
        }
        return own;
    }

    /// `set` (TTML2, 13): its times count from the beginning of what it is in.
    void takeAnimation(const pugi::xml_node& element, Context& context) {
        constexpr std::size_t kMost = 50;
        static_assert(kMost <= UINT8_MAX);
        const Entered entered(_names, element);
        if (!_names.of(element).is(Namespace::Tt, "set")) {
            return;
        }
        if (context.animations >= kMost) {
            _report.add(FindingCode::TtmlAnimationLeftOut, Severity::Warning, element);
            return;
        }
        const Attributes attributes = attributesOf(element);
        const ElementTimes times = timesOf(element, attributes, context.begin);
        _animations.push_back({times.begin, times.end, attributes.own});
        context.animations = _animations.size();
    }

    /// `body` and `div`.
    /// @return When it ends; none: nothing says.
    std::optional<MediaTime> readBlock(const pugi::xml_node& element, Context context, const MediaTime& reference) {
        const Attributes attributes = attributesOf(element);
        enter(element, attributes, context, reference, false);
        if (attributes.hasImage) {
            _report.add(FindingCode::TtmlImageLeftOut, Severity::Warning, element);
        }
        std::optional<MediaTime> last = context.begin;
        std::optional<MediaTime> next = context.begin;
        bool isOpen = false;
        for (const pugi::xml_node& inner : element.children()) {
            if (inner.type() != pugi::node_element) {
                continue;
            }
            const Entered entered(_names, inner);
            const Name name = _names.of(inner);
            const bool isParagraph = name.is(Namespace::Tt, "p");
            if (!isParagraph && !name.is(Namespace::Tt, "div")) {
                passOverInContent(inner, name);
                continue;
            }
            const MediaTime from = context.isSequence && next ? *next : context.begin;
            if (context.isSequence && !next) {
                // What nothing ends has nothing behind it.
                _report.add(FindingCode::TtmlNeverShown, Severity::Warning, inner, milliseconds(context.begin),
                            milliseconds(context.begin));
                continue;
            }
            const auto end = isParagraph ? readParagraph(inner, context, from) : readBlock(inner, context, from);
            extend(last, isOpen, end);
            next = end;
        }
        return context.ownEnd || isOpen ? context.ownEnd : last;
    }

    std::optional<MediaTime> readParagraph(const pugi::xml_node& element, Context context, const MediaTime& reference) {
        const Attributes attributes = attributesOf(element);
        const StyleSet own = enter(element, attributes, context, reference, false);
        if (attributes.hasImage) {
            _report.add(FindingCode::TtmlImageLeftOut, Severity::Warning, element);
        }
        const auto region = _regions.find(context.region);
        const bool isKnown = region != _regions.end();
        StyleSet content = _initial;
        overlay(content, context.styles);
        overlay(content, own);
        // What nobody says is as the document begins with; then what the region says.
        StyleSet all = _initial;
        if (isKnown) {
            overlay(all, region->second.inherited);
            takeMissing(context.span, region->second.span);
            context.isNotDisplayed = context.isNotDisplayed || region->second.isNotDisplayed;
        }
        SpanState around;
        applySpan(around, _initial);
        takeMissing(context.span, around);
        overlay(all, context.styles);
        context.styles = all;
        _pieces.clear();
        _looks.clear();
        _hasHidden = false;
        _isCut = false;
        _hasRegionWithin = false;
        _language = context.language;
        const auto implicitEnd = gather(element, context, StyleSet{});
        if (!isKnown) {
            sayRegion(element, context);
        }
        const std::optional<MediaTime> last = context.ownEnd ? context.ownEnd : implicitEnd;
        if (_isCut) {
            _report.add(FindingCode::TtmlParagraphTooLong, Severity::Error, element,
                        static_cast<std::int64_t>(_options.mostPieces));
        }
        if (_hasHidden) {
            _report.add(FindingCode::TtmlHidden, Severity::Remark, element);
        }
        auto shown = shownSpan(_pieces, context.end);
        if (shown && isKnown) {
            clipPieces(_pieces, region->second.times.begin, region->second.times.end);
            const auto clipped = shownSpan(_pieces, context.end);
            if (!clipped) {
                _report.add(FindingCode::TtmlNeverShown, Severity::Warning, element, milliseconds(shown->first),
                            milliseconds(shown->second.isValid() ? shown->second : shown->first));
            }
            shown = clipped;
        }
        if (!shown) {
            return last;
        }
        auto [begin, end] = *shown;
        if (!end.isValid()) {
            constexpr std::int64_t kOpenSeconds = 5;
            const bool isInTime = _options.openEnd && isBefore(begin, *_options.openEnd);
            end = isInTime ? *_options.openEnd : add(begin, MediaTime::make(kOpenSeconds, 1));
            if (!_options.openEnd) {
                _report.add(FindingCode::TtmlEndMissing, Severity::Warning, element, milliseconds(begin),
                            milliseconds(end));
            }
        }
        if (!end.isValid() || !isBefore(begin, end)) {
            _report.add(FindingCode::TtmlNeverShown, Severity::Warning, element, milliseconds(begin),
                        milliseconds(end));
            return last;
        }
        Cue cue;
        cue.identifier = attributes.name;
        cue.language = affordable(context.language, element);
        cue.region = isKnown ? affordable(context.region, element) : std::string_view();
        cue.properties = propertiesOf(content);
        for (const auto& [name, value] : attributes.others) {
            cue.properties.push_back({"ttml." + usualName(name), std::string(value)});
        }
        keepAffordable(cue.properties, element);
        const std::size_t bytesOfCue =
            sizeof(cue) + cue.identifier.size() + cue.language.size() + cue.region.size() + bytesOf(cue.properties);
        const subtitles::Alignment alignment = alignmentOf(context.styles);
        const std::size_t times =
            splitByTimes(_pieces, _looks, begin, end, _options.mostTimes, _toCopy, bytesOfCue,
                         [&](const MediaTime& from, const MediaTime& until, std::vector<subtitles::Row> rows) {
                             Cue part = cue;
                             part.number = ++_cues;
                             part.start = from;
                             part.end = until;
                             part.rows = std::move(rows);
                             for (subtitles::Row& row : part.rows) {
                                 row.alignment = alignment;
                             }
                             if (isKnown && region->second.place) {
                                 part.box = region->second.place;
                                 subtitles::placeRows(part, *part.box);
                             }
                             _take(std::move(part));
                         });
        if (times > _options.mostTimes) {
            _report.add(FindingCode::TtmlTimesTooMany, Severity::Warning, element, static_cast<std::int64_t>(times),
                        static_cast<std::int64_t>(_options.mostTimes));
        }
        return last;
    }

    /// Where a document has regions, what is in none of them is not presented (TTML2, [associate region]): it is read all
    /// the same.
    void sayRegion(const pugi::xml_node& element, const Context& context) {
        if (!context.region.empty()) {
            _report.add(FindingCode::TtmlRegionUnknown, Severity::Warning, element,
                        static_cast<std::int64_t>(context.region.size()));
        } else if (!_regions.empty() && !_hasRegionWithin && !_pieces.empty()) {
            _report.add(FindingCode::TtmlRegionNone, Severity::Warning, element,
                        static_cast<std::int64_t>(_regions.size()));
        }
    }

    /// Animations of content are read with what they are in.
    void passOverInContent(const pugi::xml_node& element, const Name& name) {
        if (!name.is(Namespace::Tt, "set")) {
            passOver(element, name);
        }
    }

    /// A text of an element, as it looks for all of its time.
    /// @param look Of the element's texts, once there is one.
    /// @return Whether it is seen.
    bool addText(const pugi::xml_node& text, const pugi::xml_node& element, const Context& context, const StyleSet& own,
                 std::optional<std::size_t>& look, bool isAgain = false) {
        const bool isText = std::string_view(text.value()).find_first_not_of(" \t\r\n") != std::string_view::npos;
        // In a sequence text that nothing ends lasts no time (TTML2, 12.2.4).
        if (context.isNotDisplayed || isInvisible(context.styles) || context.isSequence) {
            _hasHidden = _hasHidden || isText;
            return false;
        }
        if (!look) {
            look = _looks.size();
            _looks.push_back(lookOf(context.styles, own, context.span, _report, element));
            takeRuby(_looks[*look].properties);
            if (context.language != _language) {
                _looks[*look].properties.push_back(
                    {std::string(subtitles::properties::kWebVttLanguage), std::string(context.language)});
            }
        }
        if (!isText && isBetweenRuby(_looks[*look].properties)) {
            return false;
        }
        keepAffordable(_looks[*look].properties, element);
        _pieces.push_back({text.value(), *look, false, context.keepsSpace, context.begin, context.end, isAgain});
        return true;
    }

    /// The same of one that looks otherwise from some moment on: a piece for each look.
    void addAnimatedText(const pugi::xml_node& text, const pugi::xml_node& element, const Context& context,
                         const StyleSet& own) {
        const std::span animations = std::span(_animations).first(context.animations);
        std::vector<MediaTime> moments = momentsOf(animations, context.begin, context.end);
        // What each look takes, of texts that may be very many.
        constexpr std::size_t kLook = 512;
        if (!affords(moments.size() * kLook)) {
            _report.add(FindingCode::TtmlAnimationLeftOut, Severity::Warning, element);
            moments.clear();
        }
        moments.insert(moments.begin(), context.begin);
        const bool wasHidden = _hasHidden;
        bool isSeen = false;
        for (std::size_t index = 0; index < moments.size(); ++index) {
            Context slice = context;
            StyleSet ofSlice = own;
            slice.begin = moments[index];
            slice.end = index + 1 < moments.size() ? std::optional(moments[index + 1]) : context.end;
            for (std::size_t place = 0; place < animations.size(); ++place) {
                const Animation& animation = animations[place];
                const bool isOn = !isBefore(slice.begin, animation.begin) &&
                                  (!animation.end || isBefore(slice.begin, *animation.end));
                if (isOn) {
                    StyleSet changed = animation.styles;
                    for (std::size_t style = 0; style < changed.size(); ++style) {
                        changed[style] = place < context.passed[style] ? std::string_view() : changed[style];
                    }
                    overlay(slice.styles, changed);
                    overlay(ofSlice, changed);
                    applySpan(slice.span, changed);
                    slice.isNotDisplayed = slice.isNotDisplayed || isNotDisplayed(animation.styles);
                }
            }
            std::optional<std::size_t> look;
            isSeen = addText(text, element, slice, ofSlice, look, isSeen) || isSeen;
        }
        // What is hidden for a while only is not left out.
        _hasHidden = isSeen ? wasHidden : _hasHidden;
    }

    /// The pieces of a paragraph or span.
    /// @param own What the spans up to here have of their own.
    /// @return When what is within ends (TTML2, 12.2.4); none: nothing says.
    std::optional<MediaTime> gather(const pugi::xml_node& element, const Context& context, const StyleSet& own) {
        std::optional<std::size_t> look;
        std::optional<MediaTime> last = context.begin;
        std::optional<MediaTime> next = context.begin;
        bool isOpen = false;
        for (const pugi::xml_node& inner : element.children()) {
            _isCut = _isCut || _pieces.size() >= _options.mostPieces;
            if (_isCut) {
                return std::nullopt;
            }
            const pugi::xml_node_type type = inner.type();
            if (type == pugi::node_pcdata || type == pugi::node_cdata) {
                const bool isText =
                    std::string_view(inner.value()).find_first_not_of(" \t\r\n") != std::string_view::npos;
                isOpen = isOpen || isText;
                if (context.animations == 0) {
                    addText(inner, element, context, own, look);
                } else {
                    addAnimatedText(inner, element, context, own);
                }
            }
            if (type != pugi::node_element) {
                continue;
            }
            const Entered entered(_names, inner);
            const Name name = _names.of(inner);
            if (name.is(Namespace::Tt, "br")) {
                _pieces.push_back({{}, 0, true, false, context.begin, context.end});
            } else if (name.is(Namespace::Tt, "span")) {
                if (!next) {
                    _report.add(FindingCode::TtmlNeverShown, Severity::Warning, inner, milliseconds(context.begin),
                                milliseconds(context.begin));
                    continue;
                }
                const Attributes attributes = attributesOf(inner);
                Context span = context;
                StyleSet all = own;
                overlay(all, enter(inner, attributes, span, context.isSequence ? *next : context.begin, true));
                // Runs have no place for roles and the like, nor one of their own on the screen.
                _hasRegionWithin = _hasRegionWithin || !attributes.region.empty();
                const bool isElsewhere = !attributes.region.empty() && attributes.region != context.region;
                _attributesLeftOut += static_cast<std::int64_t>(attributes.others.size()) + (isElsewhere ? 1 : 0);
                const auto implicitEnd = gather(inner, span, all);
                const auto end = span.ownEnd ? span.ownEnd : implicitEnd;
                extend(last, isOpen, end);
                next = context.isSequence ? end : next;
            } else {
                passOverInContent(inner, name);
            }
        }
        return context.isSequence ? next : isOpen ? std::nullopt : last;
    }

    const std::function<void(Cue)>& _take;
    const TtmlReadOptions& _options;
    std::uint64_t _cues = 0;
    std::vector<Animation> _animations;  ///< Of the element in hand and those around it, these in front.
    // Of the paragraph
    std::vector<TextPiece> _pieces;
    std::vector<Look> _looks;
    bool _hasHidden = false;
    bool _isCut = false;
    bool _hasRegionWithin = false;  ///< A span says one.
    std::string_view _language;
};

}  // namespace

Result<TtmlFile> readTtml(std::span<const std::uint8_t> text, const std::function<void(Cue)>& take,
                          const TtmlReadOptions& options, FindingSink* findings) {
    if (text.size() > options.greatestFile) {
        return Finding{FindingCode::TtmlTooLong, Severity::Error, 0, static_cast<std::int64_t>(text.size()),
                       static_cast<std::int64_t>(options.greatestFile)};
    }
    std::string_view shown = withoutByteOrderMark({reinterpret_cast<const char*>(text.data()), text.size()});
    std::int64_t count = 0;
    std::string mended;
    const auto firstWrong = firstInvalidUTF8Byte(shown);
    if (firstWrong) {
        mended = repaired(shown, count);
        shown = mended;
    }
    TtmlReport report(findings, shown);
    if (firstWrong) {
        report.add(FindingCode::TtmlTextNotUtf8, Severity::Error, *firstWrong, count);
    }
    if (bytesOfTree(shown) > mostBytesOfTree(shown)) {
        return Finding{FindingCode::TtmlTooManyElements, Severity::Error, 0,
                       static_cast<std::int64_t>(bytesOfTree(shown)),
                       static_cast<std::int64_t>(mostBytesOfTree(shown))};
    }
    pugi::xml_document document;
    const pugi::xml_parse_result parsed =
        document.load_buffer(shown.data(), shown.size(),
                             pugi::parse_default | pugi::parse_ws_pcdata | pugi::parse_doctype, pugi::encoding_utf8);
    if (!parsed) {
        const auto byte = static_cast<std::size_t>(std::max<std::ptrdiff_t>(0, parsed.offset));
        return Finding{FindingCode::TtmlNotWellFormed, Severity::Error, report.lineOf(byte),
                       static_cast<std::int64_t>(byte), 0};
    }
    if (const auto refused = refusal(document, report, options.deepest)) {
        return *refused;
    }
    return Document(shown, take, options, findings).read(document.document_element());
}

}  // namespace qlx::streams

#include "TtmlPlaces.h"
#include "TtmlStyles.h"
#include "TtmlText.h"
#include "TtmlTimes.h"

#include <QLXClosedCaptionsUtilities/platform/Text.h>
#include <qlx/base/utf8.h>
#include <qlx/streams/ttml.h>
#include <qlx/subtitles/times.h>

#include <algorithm>
#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace qlx::streams {

namespace {

using namespace detail;
using subtitles::Cue;

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

/// What holds where a walk is.
struct Context {
    StyleSet styles{};  ///< Of the content around.
    SpanState span;
    MediaTime begin;
    std::optional<MediaTime> end;
    std::string_view language;
    std::string_view region;
    bool keepsSpace = false;
    bool isSequence = false;
    bool isHidden = false;
};

struct Region {
    PackedStyles inherited;  ///< What the text in it has too.
    std::optional<RegionPlace> place;
};

/// Reads one document.
class Document {
public:
    Document(std::string_view text, const std::function<void(Cue)>& take, const TtmlReadOptions& options,
             FindingSink* findings)
        : _take(take), _options(options), _report(findings, text), _styles(_report),
          _toCopy(kLeastToCopy + kCopies * text.size()) {}

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
                readBlock(element, context, context.begin);
            } else {
                passOver(element, name);
            }
        }
        if (_attributesLeftOut != 0) {
            _report.add(FindingCode::TtmlAttributesLeftOut, Severity::Remark, std::size_t{0}, _attributesLeftOut);
        }
        if (_file.kind == TtmlKind::Ttml) {
            _file.kind = _names.isSmpte() ? TtmlKind::SmpteTt : _names.isOld() ? TtmlKind::Dfxp : TtmlKind::Ttml;
        }
        return std::move(_file);
    }

private:
    Finding error(FindingCode code, const pugi::xml_node& at, std::int64_t first) {
        const std::ptrdiff_t byte = at.offset_debug();
        return {code, Severity::Error, _report.lineOf(byte < 0 ? 0 : static_cast<std::size_t>(byte)), first, 0};
    }

    /// Whether so many bytes of the document may be handed out once more. What is said once may hold for all cues: no
    /// file takes more memory than in proportion to its size.
    bool affords(std::size_t bytes) {
        if (bytes > _toCopy) {
            return false;
        }
        _toCopy -= bytes;
        return true;
    }

    std::string_view affordable(std::string_view text, const pugi::xml_node& at) {
        if (affords(text.size())) {
            return text;
        }
        _report.add(FindingCode::TtmlValueWrong, Severity::Error, at, static_cast<std::int64_t>(text.size()));
        return {};
    }

    void keepAffordable(subtitles::Properties& properties, const pugi::xml_node& at) {
        if (const std::size_t bytes = bytesOf(properties); !affords(bytes)) {
            properties.clear();
            _report.add(FindingCode::TtmlValueWrong, Severity::Error, at, static_cast<std::int64_t>(bytes));
        }
    }

    Attributes attributesOf(const pugi::xml_node& element) {
        Attributes all;
        for (const pugi::xml_attribute& attribute : element.attributes()) {
            const Name name = _names.of(attribute);
            const std::string_view value = attribute.value();
            if (const auto style = styleIndex(name)) {
                all.own[*style] = value;
            } else if (name.space == Namespace::Xml) {
                if (name.local == "id") {
                    all.name = value;
                } else if (name.local == "lang") {
                    all.language = value;
                } else if (name.local == "space") {
                    all.space = value;
                }
            } else if (name.space == Namespace::None) {
                readPlain(name.local, value, all);
            } else if (name.is(Namespace::Smpte, "backgroundImage")) {
                all.hasImage = true;
            } else if (!std::string_view(attribute.name()).starts_with("xmlns")) {
                if (name.space == Namespace::Foreign) {
                    ++_attributesLeftOut;
                } else {
                    all.others.emplace_back(name, value);
                }
            }
        }
        return all;
    }

    void readPlain(std::string_view name, std::string_view value, Attributes& all) {
        if (name == "region") {
            all.region = value;
        } else if (name == "style") {
            all.references = value;
        } else if (name == "begin") {
            all.begin = value;
        } else if (name == "end") {
            all.end = value;
        } else if (name == "dur") {
            all.duration = value;
        } else if (name == "timeContainer") {
            all.container = value;
        } else if (name == "id") {
            // Documents of before TTML 1 have it without a prefix.
            all.name = all.name.empty() ? value : all.name;
        } else if (!name.starts_with("xmlns")) {
            ++_attributesLeftOut;
        }
    }

    // The document

    void readParameters(const pugi::xml_node& root, const Attributes& attributes) {
        const auto wrong = [&](std::string_view value) {
            _report.add(FindingCode::TtmlParameterWrong, Severity::Error, root,
                        static_cast<std::int64_t>(value.size()));
        };
        const auto readCount = [&](std::string_view value, std::int32_t most, std::int32_t& count) {
            const auto number = parseCount(value, most);
            number ? static_cast<void>(count = *number) : wrong(value);
            return number.has_value();
        };
        bool hasTicks = false;
        bool hasFrames = false;
        for (const auto& [name, value] : attributes.others) {
            if (name.space != Namespace::Parameter && name.space != Namespace::Metadata) {
                continue;
            }
            if (name.local == "timeBase") {
                _times.countsFrames = value == "smpte";
                if (value == "clock") {
                    _report.add(FindingCode::TtmlTimesOfDay, Severity::Remark, root);
                } else if (value != "media" && value != "smpte") {
                    wrong(value);
                }
            } else if (name.local == "frameRate") {
                constexpr std::int32_t kMost = 1000;
                hasFrames = readCount(value, kMost, _times.frameRate) || hasFrames;
            } else if (name.local == "subFrameRate") {
                constexpr std::int32_t kMost = 100;
                readCount(value, kMost, _times.subFrameRate);
            } else if (name.local == "tickRate") {
                hasTicks = readCount(value, INT32_MAX, _times.tickRate) || hasTicks;
            } else if (name.local == "frameRateMultiplier") {
                // Two numbers with a space between; with a colon before TTML 1.
                constexpr std::int32_t kMost = 10'000;
                const std::size_t mark = value.find_first_of(" :");
                std::int32_t multiplier = 1;
                std::int32_t divisor = 1;
                if (readCount(value.substr(0, mark), kMost, multiplier) &&
                    (mark == std::string_view::npos || readCount(value.substr(mark + 1), kMost, divisor))) {
                    _times.multiplier = multiplier;
                    _times.divisor = divisor;
                }
            } else if (name.local == "dropMode") {
                _times.dropMode = value == "dropNTSC"  ? DropMode::Ntsc
                                  : value == "dropPAL" ? DropMode::Pal
                                                       : DropMode::None;
                if (_times.dropMode == DropMode::None && value != "nonDrop") {
                    wrong(value);
                }
            } else if (name.local == "cellResolution") {
                constexpr std::int32_t kMost = 1000;
                const std::size_t mark = value.find(' ');
                const auto columns = parseCount(value.substr(0, mark), kMost);
                const auto rows = mark == std::string_view::npos ? columns : parseCount(value.substr(mark + 1), kMost);
                if (columns && rows) {
                    _file.cellColumns = static_cast<std::uint16_t>(*columns);
                    _file.cellRows = static_cast<std::uint16_t>(*rows);
                } else {
                    wrong(value);
                }
            } else if (name.local == "profile" || name.local == "contentProfiles") {
                if (value.find("imsc1") != std::string_view::npos) {
                    _file.kind = TtmlKind::Imsc;
                }
            }
        }
        // TTML2, 7.2.10: ticks are parts of frames where frames are counted, else seconds.
        if (!hasTicks && hasFrames) {
            _times.tickRate = _times.frameRate * _times.subFrameRate;
        }
        _measures.cellColumns = _file.cellColumns;
        _measures.cellRows = _file.cellRows;
        readScreen(attributes.own[styleAt("tts:extent")]);
    }

    /// The screen in pixels.
    void readScreen(std::string_view extent) {
        const std::size_t mark = extent.find("px ");
        if (mark == std::string_view::npos || !extent.ends_with("px")) {
            return;
        }
        constexpr std::size_t kUnit = 2;
        constexpr std::int32_t kMost = 100'000;
        const auto width = parseCount(extent.substr(0, mark), kMost);
        const auto height = parseCount(extent.substr(mark + kUnit + 1, extent.size() - mark - 2 * kUnit - 1), kMost);
        if (width && height) {
            _measures.width = *width;
            _measures.height = *height;
        }
    }

    void readHead(const pugi::xml_node& head) {
        // Regions may stand in front of the styles that they refer to.
        for (const bool readsRegions : {false, true}) {
            for (const pugi::xml_node& element : head.children()) {
                if (element.type() != pugi::node_element) {
                    continue;
                }
                const Entered entered(_names, element);
                const Name name = _names.of(element);
                if (name.is(Namespace::Tt, "layout")) {
                    if (readsRegions) {
                        readLayout(element);
                    }
                } else if (readsRegions) {
                    continue;
                } else if (name.is(Namespace::Tt, "styling")) {
                    readStyling(element);
                } else {
                    readMetadata(element, name);
                }
            }
        }
    }

    void readMetadata(const pugi::xml_node& element, const Name& name) {
        if (name.is(Namespace::Metadata, "title")) {
            _file.title = element.child_value();
        } else if (name.is(Namespace::Metadata, "desc")) {
            _file.description = element.child_value();
        } else if (name.is(Namespace::Metadata, "copyright")) {
            _file.copyright = element.child_value();
        } else if (name.is(Namespace::EbuMetadata, "conformsToStandard") ||
                   name.is(Namespace::EbuMetadata, "documentEbuttVersion")) {
            const std::string_view standard = element.child_value();
            if (standard.starts_with("urn:ebu:tt:") || name.local == "documentEbuttVersion") {
                _file.kind = TtmlKind::EbuTt;
            } else if (standard.find("imsc1") != std::string_view::npos && _file.kind == TtmlKind::Ttml) {
                _file.kind = TtmlKind::Imsc;
            }
        } else if (name.space == Namespace::Smpte && (name.local == "image" || name.local == "data")) {
            const auto size = static_cast<std::int64_t>(std::string_view(element.child_value()).size());
            const bool isImage = name.local == "image";
            _report.add(isImage ? FindingCode::TtmlImageLeftOut : FindingCode::TtmlDataLeftOut, Severity::Warning,
                        element, isImage ? 0 : size);
        } else {
            for (const pugi::xml_node& inner : element.children()) {
                if (inner.type() == pugi::node_element) {
                    const Entered entered(_names, inner);
                    readMetadata(inner, _names.of(inner));
                }
            }
        }
    }

    void readStyling(const pugi::xml_node& styling) {
        for (const pugi::xml_node& element : styling.children()) {
            if (element.type() != pugi::node_element) {
                continue;
            }
            const Entered entered(_names, element);
            const Name name = _names.of(element);
            const Attributes attributes = attributesOf(element);
            if (name.is(Namespace::Tt, "style")) {
                _styles.define(attributes.name, element, attributes.own, attributes.references);
            } else if (name.is(Namespace::Tt, "initial")) {
                overlay(_initial, attributes.own);
            } else {
                readMetadata(element, name);
            }
        }
    }

    void readLayout(const pugi::xml_node& layout) {
        for (const pugi::xml_node& element : layout.children()) {
            if (element.type() != pugi::node_element) {
                continue;
            }
            const Entered entered(_names, element);
            if (const Name name = _names.of(element); !name.is(Namespace::Tt, "region")) {
                readMetadata(element, name);
                continue;
            }
            const Attributes attributes = attributesOf(element);
            Region region;
            StyleSet styles = _styles.specified(element, attributes.references, attributes.own);
            readInnerStyles(element, styles);
            overlay(styles, attributes.own);
            if (!attributes.begin.empty() || !attributes.end.empty() || !attributes.duration.empty()) {
                _report.add(FindingCode::TtmlRegionTimed, Severity::Warning, element,
                            static_cast<std::int64_t>(attributes.name.size()));
            }
            region.inherited = packed(inheritedOf(styles));
            const auto style = [&](std::size_t index) { return styles[index]; };
            bool areAllRead = true;
            region.place = placeOf({style(styleAt("tts:origin")), style(styleAt("tts:position")),
                                    style(styleAt("tts:extent")), style(styleAt("tts:displayAlign"))},
                                   _measures, areAllRead);
            if (!areAllRead) {
                _report.add(FindingCode::TtmlValueWrong, Severity::Warning, element,
                            static_cast<std::int64_t>(style(styleAt("tts:origin")).size()));
            }
            TtmlRegion& listed = _file.regions.emplace_back();
            listed.name = attributes.name;
            for (const auto& [index, value] : packed(styles)) {
                // Pixels are of this document's screen.
                const bool isInPixels = region.place && value.find("px") != std::string_view::npos;
                const bool isOrigin = index == styleAt("tts:origin");
                listed.attributes.push_back({std::string(kStyles[index].name),
                                             isInPixels && isOrigin ? percentages(region.place->left, region.place->top)
                                             : isInPixels && index == styleAt("tts:extent")
                                                 ? percentages(region.place->width, region.place->height)
                                                 : std::string(value)});
            }
            keepAffordable(listed.attributes, element);
            _regions.insert_or_assign(attributes.name, region);
        }
    }

    /// `style` elements within a region (TTML2, 9.1.2): what the region has itself counts more.
    void readInnerStyles(const pugi::xml_node& region, StyleSet& set) {
        for (const pugi::xml_node& element : region.children()) {
            if (element.type() != pugi::node_element) {
                continue;
            }
            const Entered entered(_names, element);
            const Name name = _names.of(element);
            if (name.is(Namespace::Tt, "style")) {
                const Attributes attributes = attributesOf(element);
                overlay(set, _styles.specified(element, attributes.references, attributes.own));
            } else {
                passOver(element, name);
            }
        }
    }

    // Content

    /// Says that an element counts for nothing, where it would for others.
    void passOver(const pugi::xml_node& element, const Name& name) {
        if (name.space == Namespace::Metadata || name.is(Namespace::Tt, "metadata") ||
            name.space == Namespace::EbuMetadata) {
            readMetadata(element, name);
            return;
        }
        if (name.is(Namespace::Tt, "image") || name.is(Namespace::Smpte, "image")) {
            _report.add(FindingCode::TtmlImageLeftOut, Severity::Warning, element);
            return;
        }
        _report.add(FindingCode::TtmlElementLeftOut, Severity::Warning, element,
                    static_cast<std::int64_t>(std::string_view(element.name()).size()));
    }

    /// The time of an attribute; none where there is none, or none that can be read.
    std::optional<MediaTime> timeOf(std::string_view text, int which, const pugi::xml_node& element) {
        if (text.data() == nullptr) {
            return std::nullopt;
        }
        const auto time = parseTtmlTime(text, _times);
        if (!time) {
            _report.add(FindingCode::TtmlTimeWrong, Severity::Error, element, which,
                        static_cast<std::int64_t>(text.size()));
        }
        return time;
    }

    /// Takes what an element has itself into the context of what is within.
    /// @param reference What its begin and end count from (TTML2, 12.2).
    /// @return Its styles, of the ones that it refers to and its own.
    StyleSet enter(const pugi::xml_node& element, const Attributes& attributes, Context& context,
                   const MediaTime& reference, bool isSpan) {
        const StyleSet own = _styles.specified(element, attributes.references, attributes.own);
        overlay(context.styles, isSpan ? own : inheritedOf(own));
        applySpan(context.span, own);
        context.isHidden = context.isHidden || isHidden(own);
        context.language = attributes.language.data() == nullptr ? context.language : attributes.language;
        context.region = attributes.region.empty() ? context.region : attributes.region;
        context.keepsSpace = attributes.space.empty() ? context.keepsSpace : attributes.space == "preserve";
        context.isSequence = attributes.container == "seq";
        constexpr int kBegin = 1;
        constexpr int kEnd = 2;
        constexpr int kDuration = 3;
        const auto begin = timeOf(attributes.begin, kBegin, element);
        const auto end = timeOf(attributes.end, kEnd, element);
        const auto duration = timeOf(attributes.duration, kDuration, element);
        const MediaTime later = begin ? add(reference, *begin) : reference;
        if (!later.isValid()) {
            _report.add(FindingCode::TtmlTimeWrong, Severity::Error, element, kBegin,
                        static_cast<std::int64_t>(attributes.begin.size()));
        }
        context.begin = later.isValid() ? later : reference;
        const auto limit = [&context](const MediaTime& time) {
            if (time.isValid() && (!context.end || isBefore(time, *context.end))) {
                context.end = time;
            }
        };
        if (end) {
            limit(add(reference, *end));
        }
        if (duration) {
            limit(add(context.begin, *duration));
        }
        return own;
    }

    /// Where nothing says when an element ends, what is within does.
    static void extend(std::optional<MediaTime>& all, bool& isOpen, const std::optional<MediaTime>& end) {
        isOpen = isOpen || !end;
        if (end && (!all || isBefore(*all, *end))) {
            all = end;
        }
    }

    /// `body` and `div`.
    /// @return When it ends; none: nothing says.
    std::optional<MediaTime> readBlock(const pugi::xml_node& element, Context context, const MediaTime& reference) {
        const Attributes attributes = attributesOf(element);
        enter(element, attributes, context, reference, false);
        if (attributes.hasImage) {
            _report.add(FindingCode::TtmlImageLeftOut, Severity::Warning, element);
        }
        std::optional<MediaTime> last;
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
                passOver(inner, name);
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
        return context.end || isOpen ? context.end : last;
    }

    static std::int64_t milliseconds(const MediaTime& time) {
        constexpr std::int32_t kUnits = 1000;
        return subtitles::unitsOf(time, kUnits);
    }

    std::optional<MediaTime> readParagraph(const pugi::xml_node& element, Context context, const MediaTime& reference) {
        const Attributes attributes = attributesOf(element);
        const StyleSet own = enter(element, attributes, context, reference, false);
        if (attributes.hasImage) {
            _report.add(FindingCode::TtmlImageLeftOut, Severity::Warning, element);
        }
        const auto region = _regions.find(context.region);
        const bool isKnown = region != _regions.end();
        if (!isKnown && !context.region.empty()) {
            _report.add(FindingCode::TtmlRegionUnknown, Severity::Warning, element,
                        static_cast<std::int64_t>(context.region.size()));
        }
        StyleSet content = _initial;
        overlay(content, context.styles);
        overlay(content, own);
        // What nobody says is as the document begins with; then what the region says.
        StyleSet all = _initial;
        if (isKnown) {
            overlay(all, region->second.inherited);
        }
        overlay(all, context.styles);
        context.styles = all;
        _pieces.clear();
        _looks.clear();
        _hasHidden = false;
        gather(element, context, StyleSet{});
        if (_hasHidden) {
            _report.add(FindingCode::TtmlHidden, Severity::Remark, element);
        }
        const auto shown = shownSpan(context);
        if (!shown) {
            return context.end;
        }
        auto [begin, end] = *shown;
        if (!end.isValid()) {
            constexpr std::int64_t kOpenSeconds = 5;
            end = add(begin, MediaTime::make(kOpenSeconds, 1));
            _report.add(FindingCode::TtmlEndMissing, Severity::Warning, element, milliseconds(begin),
                        milliseconds(end));
        }
        if (!end.isValid() || !isBefore(begin, end)) {
            _report.add(FindingCode::TtmlNeverShown, Severity::Warning, element, milliseconds(begin),
                        milliseconds(end));
            return context.end;
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
                                 placeRows(part, *region->second.place);
                             }
                             _take(std::move(part));
                         });
        if (times > _options.mostTimes) {
            _report.add(FindingCode::TtmlTimesTooMany, Severity::Warning, element, static_cast<std::int64_t>(times),
                        static_cast<std::int64_t>(_options.mostTimes));
        }
        return context.end;
    }

    /// When the text of a paragraph is shown: its end is not valid where nothing says; none where there is no text.
    [[nodiscard]] std::optional<std::pair<MediaTime, MediaTime>> shownSpan(const Context& context) const {
        std::optional<MediaTime> begin;
        std::optional<MediaTime> end;
        bool isOpen = false;
        for (const TextPiece& piece : _pieces) {
            if (!piece.keepsSpace && piece.text.find_first_not_of(" \t\r\n") == std::string_view::npos) {
                continue;
            }
            if (!piece.isBreak) {
                begin = begin && !isBefore(piece.begin, *begin) ? begin : piece.begin;
                extend(end, isOpen, piece.end);
            }
        }
        if (!begin) {
            return std::nullopt;
        }
        end = isOpen ? context.end : end;
        return std::pair(*begin, end.value_or(MediaTime{}));
    }

    /// The pieces of a paragraph or span.
    /// @param own What the spans up to here have of their own.
    void gather(const pugi::xml_node& element, const Context& context, const StyleSet& own) {
        std::optional<std::size_t> look;
        std::optional<MediaTime> next = context.begin;
        for (const pugi::xml_node& inner : element.children()) {
            const pugi::xml_node_type type = inner.type();
            if (type == pugi::node_pcdata || type == pugi::node_cdata) {
                // In a sequence text that nothing ends lasts no time (TTML2, 12.2.4).
                if (context.isHidden || context.isSequence) {
                    _hasHidden = _hasHidden ||
                                 std::string_view(inner.value()).find_first_not_of(" \t\r\n") != std::string_view::npos;
                    continue;
                }
                if (!look) {
                    look = _looks.size();
                    _looks.push_back(lookOf(context.styles, own, context.span, _report, element));
                }
                keepAffordable(_looks[*look].properties, element);
                _pieces.push_back({inner.value(), *look, false, context.keepsSpace, context.begin, context.end});
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
                gather(inner, span, all);
                next = context.isSequence ? span.end : next;
            } else {
                passOver(inner, name);
            }
        }
    }

    const std::function<void(Cue)>& _take;
    const TtmlReadOptions& _options;
    TtmlReport _report;
    Names _names;
    TtmlStyles _styles;
    StyleSet _initial{};
    TimeParameters _times;
    ScreenMeasures _measures;
    TtmlFile _file;
    std::unordered_map<std::string_view, Region> _regions;
    std::uint64_t _cues = 0;
    std::int64_t _attributesLeftOut = 0;
    static constexpr std::size_t kLeastToCopy = 16'000'000;
    static constexpr std::size_t kCopies = 32;  ///< Of each byte of a document, where it has more.
    std::size_t _toCopy;
    // Of the paragraph
    std::vector<TextPiece> _pieces;
    std::vector<Look> _looks;
    bool _hasHidden = false;
};

/// The text with U+FFFD in place of each byte that is no UTF-8, and how many these are.
std::string repaired(std::string_view text, std::int64_t& count) {
    std::string repaired;
    for (auto wrong = firstInvalidUTF8Byte(text); wrong; wrong = firstInvalidUTF8Byte(text)) {
        repaired += text.substr(0, *wrong);
        appendUtf8(repaired, U'\uFFFD');
        text.remove_prefix(*wrong + 1);
        ++count;
    }
    repaired += text;
    return repaired;
}

/// Refuses what is too deep, and a document type with a part of its own.
std::optional<Finding> refusal(const pugi::xml_document& document, TtmlReport& report, std::size_t deepest) {
    std::size_t depth = 1;
    for (pugi::xml_node node = document.first_child(); node;) {
        const auto byte = static_cast<std::size_t>(std::max<std::ptrdiff_t>(0, node.offset_debug()));
        const std::string_view type = node.type() == pugi::node_doctype ? node.value() : "";
        if (type.find('[') != std::string_view::npos) {
            return Finding{FindingCode::TtmlDocumentType, Severity::Error, report.lineOf(byte),
                           static_cast<std::int64_t>(type.size()), 0};
        }
        if (node.type() == pugi::node_element && depth > deepest) {
            return Finding{FindingCode::TtmlTooDeep, Severity::Error, report.lineOf(byte),
                           static_cast<std::int64_t>(deepest), 0};
        }
        if (node.first_child()) {
            ++depth;
            node = node.first_child();
            continue;
        }
        while (node && !node.next_sibling()) {
            node = node.parent();
            depth -= depth == 0 ? 0 : 1;
        }
        node = node ? node.next_sibling() : node;
    }
    return std::nullopt;
}

}  // namespace

Result<TtmlFile> readTtml(std::span<const std::uint8_t> text, const std::function<void(Cue)>& take,
                          const TtmlReadOptions& options, FindingSink* findings) {
    if (text.size() > options.greatestFile) {
        return Finding{FindingCode::TtmlTooLong, Severity::Error, 0, static_cast<std::int64_t>(text.size()),
                       static_cast<std::int64_t>(options.greatestFile)};
    }
    std::string_view shown(reinterpret_cast<const char*>(text.data()), text.size());
    constexpr std::string_view kMark = "\xEF\xBB\xBF";
    shown.remove_prefix(shown.starts_with(kMark) ? kMark.size() : 0);
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

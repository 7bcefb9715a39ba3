#include "TtmlHead.h"

#include <qlx/subtitles/times.h>

#include <algorithm>
#include <string>
#include <unordered_set>

namespace qlx::streams::detail {

DocumentHead::DocumentHead(std::string_view text, const TtmlReadOptions& options, FindingSink* findings)
    : _report(findings, text), _styles(_report), _toCopy(kLeastToCopy + kCopies * text.size()) {
    if (options.rate) {
        constexpr std::int32_t kMultiplier = 1000;
        constexpr std::int32_t kDivisor = 1001;
        _times.frameRate = nominalFramesPerSecond(*options.rate);
        _times.multiplier = isFractional(*options.rate) ? kMultiplier : 1;
        _times.divisor = isFractional(*options.rate) ? kDivisor : 1;
        constexpr std::int32_t kDropped = 30;
        const bool mayDrop = isFractional(*options.rate) && _times.frameRate % kDropped == 0;
        _times.dropMode = options.isDrop && mayDrop ? DropMode::Ntsc : DropMode::None;
    }
}

Finding DocumentHead::error(FindingCode code, const pugi::xml_node& at, std::int64_t first) {
    const std::ptrdiff_t byte = at.offset_debug();
    return {code, Severity::Error, _report.lineOf(byte < 0 ? 0 : static_cast<std::size_t>(byte)), first, 0};
}

bool DocumentHead::affords(std::size_t bytes) {
    if (bytes > _toCopy) {
        return false;
    }
    _toCopy -= bytes;
    return true;
}

std::string_view DocumentHead::affordable(std::string_view text, const pugi::xml_node& at) {
    if (affords(text.size())) {
        return text;
    }
    _report.add(FindingCode::TtmlValueWrong, Severity::Error, at, static_cast<std::int64_t>(text.size()));
    return {};
}

void DocumentHead::keepAffordable(subtitles::Properties& properties, const pugi::xml_node& at) {
    if (const std::size_t bytes = bytesOf(properties); !affords(bytes)) {
        properties.clear();
        _report.add(FindingCode::TtmlValueWrong, Severity::Error, at, static_cast<std::int64_t>(bytes));
    }
}

Attributes DocumentHead::attributesOf(const pugi::xml_node& element) {
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

void DocumentHead::readPlain(std::string_view name, std::string_view value, Attributes& all) {
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

void DocumentHead::readParameters(const pugi::xml_node& root, const Attributes& attributes) {
    const auto wrong = [&](std::string_view value) {
        _report.add(FindingCode::TtmlParameterWrong, Severity::Error, root, static_cast<std::int64_t>(value.size()));
    };
    const auto readCount = [&](std::string_view value, std::int32_t most, std::int32_t& count) {
        const auto number = parseCount(value, most);
        number ? static_cast<void>(count = *number) : wrong(value);
        return number.has_value();
    };
    bool hasTicks = false;
    bool hasFrames = false;
    bool hasMultiplier = false;
    bool hasDropMode = false;
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
                hasMultiplier = true;
            }
        } else if (name.local == "dropMode") {
            hasDropMode = true;
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
    if (hasFrames) {
        // What a caller says holds only where the file says nothing.
        _times.multiplier = hasMultiplier ? _times.multiplier : 1;
        _times.divisor = hasMultiplier ? _times.divisor : 1;
        _times.dropMode = hasDropMode ? _times.dropMode : DropMode::None;
    }
    _file.hasFrameRate = hasFrames;
    _file.countsFrames = _times.countsFrames;
    _file.counting = countingOf(_times);
    // TTML2, 7.2.10: ticks are parts of frames where frames are counted, else seconds.
    if (!hasTicks && hasFrames) {
        _times.tickRate = _times.frameRate * _times.subFrameRate;
    }
    _measures.cellColumns = _file.cellColumns;
    _measures.cellRows = _file.cellRows;
    readScreen(attributes.own[styleAt("tts:extent")]);
}

void DocumentHead::readScreen(std::string_view extent) {
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

void DocumentHead::readHead(const pugi::xml_node& head) {
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

ElementTimes DocumentHead::timesOf(const pugi::xml_node& element, const Attributes& attributes,
                                   const MediaTime& reference) {
    constexpr int kBegin = 1;
    constexpr int kEnd = 2;
    constexpr int kDuration = 3;
    const auto timeOf = [&](std::string_view text, int which) {
        TimeOddity oddity{};
        const auto time = text.data() == nullptr ? std::nullopt : parseTtmlTime(text, _times, oddity);
        if (time && oddity != TimeOddity::None) {
            const bool isBare = oddity == TimeOddity::NoMetric;
            _report.add(isBare ? FindingCode::TtmlTimeMetricMissing : FindingCode::TtmlTimeLabelNone, Severity::Warning,
                        element, which, milliseconds(*time));
        } else if (!time && text.data() != nullptr) {
            _report.add(FindingCode::TtmlTimeWrong, Severity::Error, element, which,
                        static_cast<std::int64_t>(text.size()));
        }
        return time;
    };
    const auto begin = timeOf(attributes.begin, kBegin);
    const auto end = timeOf(attributes.end, kEnd);
    const auto duration = timeOf(attributes.duration, kDuration);
    ElementTimes times{reference, std::nullopt};
    if (const MediaTime later = begin ? add(reference, *begin) : reference; later.isValid()) {
        times.begin = later;
    } else {
        _report.add(FindingCode::TtmlTimeWrong, Severity::Error, element, kBegin,
                    static_cast<std::int64_t>(attributes.begin.size()));
    }
    if (end) {
        limit(times.end, add(reference, *end));
    }
    if (duration) {
        limit(times.end, add(times.begin, *duration));
    }
    return times;
}

std::int64_t DocumentHead::milliseconds(const MediaTime& time) {
    constexpr std::int32_t kUnits = 1000;
    return subtitles::unitsOf(time, kUnits);
}

void DocumentHead::readMetadata(const pugi::xml_node& element, const Name& name) {
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
        _report.add(isImage ? FindingCode::TtmlImageLeftOut : FindingCode::TtmlDataLeftOut, Severity::Warning, element,
                    isImage ? 0 : size);
    } else {
        for (const pugi::xml_node& inner : element.children()) {
            if (inner.type() == pugi::node_element) {
                const Entered entered(_names, inner);
                readMetadata(inner, _names.of(inner));
            }
        }
    }
}

void DocumentHead::readStyling(const pugi::xml_node& styling) {
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

void DocumentHead::readLayout(const pugi::xml_node& layout) {
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
        region.times = timesOf(element, attributes, MediaTime::make(0, 1));
        region.inherited = packed(inheritedOf(styles));
        applySpan(region.span, styles);
        region.isNotDisplayed = isNotDisplayed(styles);
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

void DocumentHead::readInnerStyles(const pugi::xml_node& region, StyleSet& set) {
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

void DocumentHead::passOver(const pugi::xml_node& element, const Name& name) {
    if (name.space == Namespace::Metadata || name.is(Namespace::Tt, "metadata") ||
        name.space == Namespace::EbuMetadata) {
        readMetadata(element, name);
        return;
    }
    if (name.is(Namespace::Tt, "image") || name.is(Namespace::Smpte, "image")) {
        _report.add(FindingCode::TtmlImageLeftOut, Severity::Warning, element);
        return;
    }
    if (name.is(Namespace::Tt, "set") || name.is(Namespace::Tt, "animate")) {
        _report.add(FindingCode::TtmlAnimationLeftOut, Severity::Warning, element);
        return;
    }
    _report.add(FindingCode::TtmlElementLeftOut, Severity::Warning, element,
                static_cast<std::int64_t>(std::string_view(element.name()).size()));
}

}  // namespace qlx::streams::detail

#include "TextSamples.h"

#include "../Boxes.h"
#include "BoxNumbers.h"
#include "TtmlTimes.h"
#include "TtmlXml.h"

#include <QLXClosedCaptionsUtilities/platform/Text.h>
#include <qlx/anc/atom.h>
#include <qlx/base/utf8.h>
#include <qlx/subtitles/colors.h>
#include <qlx/subtitles/subrip.h>
#include <qlx/subtitles/times.h>
#include <qlx/subtitles/webvtt.h>

#include <algorithm>
#include <cstddef>
#include <optional>
#include <utility>

namespace qlx::streams::detail {

namespace {

using subtitles::Cue;
using subtitles::Row;
using subtitles::Run;

std::string_view asText(std::span<const std::uint8_t> bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/// A part of a sample.
struct SampleBox {
    std::uint32_t type = 0;
    std::span<const std::uint8_t> content;
};

/// Takes the next box; none at the end, or where no whole one is there.
std::optional<SampleBox> takeBox(std::span<const std::uint8_t>& bytes) {
    const Result<anc::AtomHeader> header = anc::parseAtomHeader(bytes);
    if (!header || header->size == 0 || header->size > bytes.size()) {
        return std::nullopt;
    }
    const auto size = static_cast<std::size_t>(header->size);
    const SampleBox box{header->type, bytes.first(size).subspan(header->headerBytes)};
    bytes = bytes.subspan(size);
    return box;
}

void report(FindingSink& findings, FindingCode code, Severity severity, std::size_t first) {
    findings.add({code, severity, 0, static_cast<std::int64_t>(first), 0});
}

/// The characters of UTF-16 behind its byte order mark. A half of a pair that stands alone becomes U+FFFD.
std::u32string charactersOfUtf16(std::span<const std::uint8_t> bytes, bool isBig, FindingSink& findings) {
    constexpr std::size_t kUnit = 2;
    constexpr std::size_t kLengthField = 2;
    std::u32string characters;
    std::size_t wrong = 0;
    std::size_t firstWrong = 0;
    const auto addWrong = [&](std::size_t place) { firstWrong = wrong++ == 0 ? place : firstWrong; };
    const auto replace = [&](std::size_t place) {
        characters += U'\uFFFD';
        addWrong(place);
    };
    char32_t high = 0;
    std::size_t place = kUnit;
    for (; place + 1 < bytes.size(); place += kUnit) {
        const std::uint8_t upper = bytes[place + (isBig ? 0 : 1)];
        const char32_t unit = static_cast<char32_t>(upper << 8U | bytes[place + (isBig ? 1 : 0)]);
        const bool isHigh = unit >= 0xD800 && unit < 0xDC00;
        const bool isLow = unit >= 0xDC00 && unit < 0xE000;
        if (high != 0 && isLow) {
            characters += static_cast<char32_t>(0x10000 + ((high - 0xD800) << 10U) + (unit - 0xDC00));
        } else {
            if (high != 0) {
                replace(place - kUnit);
            }
            if (isLow) {
                replace(place);
            } else if (!isHigh) {
                characters += unit;
            }
        }
        high = isHigh ? unit : 0;
    }
    if (high != 0) {
        replace(place - kUnit);
    }
    if (place < bytes.size()) {
        addWrong(place);
    }
    if (wrong != 0) {
        findings.add({FindingCode::TextSampleUnitsWrong, Severity::Error, 0,
                      static_cast<std::int64_t>(kLengthField + firstWrong), static_cast<std::int64_t>(wrong)});
    }
    return characters;
}

/// Characters from `begin` on, without `end`.
struct TextRange {
    std::uint32_t begin = 0;
    std::uint32_t end = 0;
};

/// The look of a range (3GPP TS 26.245, 5.17.1.1).
struct TimedTextStyle {
    TextRange range;
    std::uint16_t font = 0;
    std::uint8_t face = 0;
    std::uint8_t size = 0;
    std::uint32_t color = 0;
};

TimedTextStyle takeStyle(std::span<const std::uint8_t>& bytes) {
    TimedTextStyle style;
    style.range.begin = takeNumber<std::uint16_t>(bytes);
    style.range.end = takeNumber<std::uint16_t>(bytes);
    style.font = takeNumber<std::uint16_t>(bytes);
    style.face = takeNumber<std::uint8_t>(bytes);
    style.size = takeNumber<std::uint8_t>(bytes);
    style.color = takeNumber<std::uint32_t>(bytes);
    return style;
}

/// Finds the range that a character is in, of ranges by their beginnings; asked for characters in their order.
template <class Ranged>
class RangeFinder {
public:
    /// @param ranges Sorted by their beginnings.
    RangeFinder(const std::vector<Ranged>& ranges) : _ranges(ranges) {}

    const Ranged* at(std::uint32_t character) {
        while (_next < _ranges.size() && rangeOf(_ranges[_next]).begin <= character) {
            ++_next;
        }
        const Ranged* const last = _next == 0 ? nullptr : &_ranges[_next - 1];
        return last != nullptr && character < rangeOf(*last).end ? last : nullptr;
    }

    static const TextRange& rangeOf(const TextRange& range) { return range; }
    static const TextRange& rangeOf(const TimedTextStyle& style) { return style.range; }

private:
    const std::vector<Ranged>& _ranges;
    std::size_t _next = 0;
};

template <class Ranged>
void sortRanges(std::vector<Ranged>& ranges) {
    std::stable_sort(ranges.begin(), ranges.end(), [](const Ranged& left, const Ranged& right) {
        return RangeFinder<Ranged>::rangeOf(left).begin < RangeFinder<Ranged>::rangeOf(right).begin;
    });
}

/// What stands behind the text of a sample.
struct TimedTextParts {
    std::vector<TimedTextStyle> styles;
    std::vector<TextRange> blinking;
    std::size_t others = 0;
    bool isCut = false;
};

TimedTextParts partsOf(std::span<const std::uint8_t> bytes) {
    TimedTextParts parts;
    while (auto box = takeBox(bytes)) {
        if (box->type == boxes::kTextStyles) {
            constexpr std::size_t kStyle = 12;
            const std::size_t count = takeNumber<std::uint16_t>(box->content);
            parts.isCut = parts.isCut || box->content.size() < count * kStyle;
            for (std::size_t each = 0; each < count && box->content.size() >= kStyle; ++each) {
                parts.styles.push_back(takeStyle(box->content));
            }
        } else if (box->type == boxes::kBlinkingText) {
            TextRange range;
            range.begin = takeNumber<std::uint16_t>(box->content);
            range.end = takeNumber<std::uint16_t>(box->content);
            parts.blinking.push_back(range);
        } else {
            ++parts.others;
        }
    }
    parts.isCut = parts.isCut || !bytes.empty();
    sortRanges(parts.styles);
    sortRanges(parts.blinking);
    return parts;
}

constexpr unsigned kAlphaBits = 8;
constexpr std::int32_t kWebVttUnits = 1000;  ///< Of a second.

/// The look of characters, and what of it has no field.
Run runLike(const TimedTextStyle& style, const TimedTextDefaults& defaults) {
    constexpr unsigned kBold = 1;
    constexpr unsigned kItalic = 2;
    constexpr unsigned kUnderlined = 4;
    namespace names = subtitles::properties;
    Run run;
    subtitles::setColor(run, style.color >> kAlphaBits);
    subtitles::setAlpha(run.properties, names::kColorAlpha, static_cast<std::uint8_t>(style.color));
    if ((defaults.background & 0xFFU) != 0) {
        run.style.background = subtitles::screenColor(defaults.background >> kAlphaBits);
        subtitles::setAlpha(run.properties, names::kBackgroundAlpha, static_cast<std::uint8_t>(defaults.background));
    }
    run.style.isBold = (style.face & kBold) != 0;
    run.style.isItalic = (style.face & kItalic) != 0;
    run.style.isUnderlined = (style.face & kUnderlined) != 0;
    if (style.size != defaults.size) {
        run.properties.push_back({std::string(subtitles::properties::kFontSize), std::to_string(style.size)});
    }
    if (style.font != defaults.font) {
        run.properties.push_back({"tx3g.font", std::to_string(style.font)});
    }
    return run;
}

/// In place of rows without text, with which other formats end a cue, some with a space that stays.
std::string withoutEmptyRows(std::string_view text) {
    std::string kept;
    bool isFirst = true;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find_first_of("\r\n"), text.size());
        const std::string_view row = text.substr(0, end);
        text.remove_prefix(end);
        text.remove_prefix(text.starts_with("\r\n") ? 2 : text.empty() ? 0 : 1);
        kept += isFirst ? "" : "\n";
        kept += row.empty() ? std::string_view("\u00A0") : row;
        isFirst = false;
    }
    return kept;
}

/// Reads the text of a file with one cue.
template <class Reader>
void readOne(const std::string& text, FindingSink& findings, const std::function<void(Cue)>& take) {
    Reader reader({}, &findings);
    reader.push({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
    reader.finish();
    while (const Cue* const cue = reader.next()) {
        take(*cue);
    }
}

std::string lineOf(std::string_view text) {
    return std::string(text.substr(0, text.find_first_of("\r\n")));
}

}  // namespace

bool hasUtf16Mark(std::span<const std::uint8_t> bytes) noexcept {
    constexpr std::uint8_t kFirst = 0xFE;
    constexpr std::uint8_t kSecond = 0xFF;
    return bytes.size() >= 2 &&
           ((bytes[0] == kFirst && bytes[1] == kSecond) || (bytes[0] == kSecond && bytes[1] == kFirst));
}

std::u32string charactersOf(std::span<const std::uint8_t> bytes, FindingSink& findings) {
    if (hasUtf16Mark(bytes)) {
        return charactersOfUtf16(bytes, bytes[1] > bytes[0], findings);
    }
    std::string_view text = asText(bytes);
    std::int64_t count = 0;
    std::string mended;
    if (const auto wrong = firstInvalidUTF8Byte(text)) {
        const std::uint8_t byte = bytes[*wrong];
        mended = repaired(text, count);
        text = mended;
        findings.add({FindingCode::SubtitleTextNotUtf8, Severity::Error, 0, byte, count});
    }
    std::u32string characters;
    while (!text.empty()) {
        characters += takeCodePoint(text);
    }
    return characters;
}

TimedTextDefaults timedTextDefaults(std::span<const std::uint8_t> description) {
    constexpr std::size_t kLeast = 30;
    TimedTextDefaults defaults;
    if (description.size() < kLeast) {
        return defaults;
    }
    takeNumber<std::uint32_t>(description);  // Display flags
    const auto horizontal = takeNumber<std::int8_t>(description);
    const auto vertical = takeNumber<std::int8_t>(description);
    defaults.background = takeNumber<std::uint32_t>(description);
    takeNumber<std::uint32_t>(description);  // The box that the text stands in
    takeNumber<std::uint32_t>(description);
    const TimedTextStyle style = takeStyle(description);
    defaults.font = style.font;
    defaults.face = style.face;
    defaults.size = style.size;
    defaults.color = style.color;
    defaults.alignment = horizontal == 0   ? subtitles::Alignment::Left
                         : horizontal == 1 ? subtitles::Alignment::Center
                                           : subtitles::Alignment::Right;
    constexpr int kTop = 7;
    constexpr int kMiddle = 4;
    constexpr int kBottom = 1;
    const int row = vertical == 0 ? kTop : vertical == 1 ? kMiddle : kBottom;
    defaults.anchor = static_cast<std::uint8_t>(row + (horizontal == 0 ? 0 : horizontal == 1 ? 1 : 2));
    return defaults;
}

void readTimedText(std::span<const std::uint8_t> sample, const TimedTextDefaults& defaults, const SampleSpan& span,
                   const TakeSampleCue& take, FindingSink& findings) {
    std::span<const std::uint8_t> rest = sample;
    const std::size_t size = takeNumber<std::uint16_t>(rest);
    if (sample.size() < 2 || size > rest.size()) {
        report(findings, FindingCode::TextSampleWrong, Severity::Error, sample.size());
        return;
    }
    if (size == 0) {
        return;
    }
    const std::u32string characters = charactersOf(rest.first(size), findings);
    const TimedTextParts parts = partsOf(rest.subspan(size));
    if (parts.isCut) {
        report(findings, FindingCode::TextSampleWrong, Severity::Error, sample.size());
    }
    if (parts.others != 0) {
        report(findings, FindingCode::TextSamplePartsLost, Severity::Warning, parts.others);
    }
    RangeFinder<TimedTextStyle> styles(parts.styles);
    RangeFinder<TextRange> blinking(parts.blinking);
    const TimedTextStyle usual{{}, defaults.font, defaults.face, defaults.size, defaults.color};
    Cue cue;
    cue.start = span.begin;
    cue.end = span.end;
    cue.rows.emplace_back();
    const TimedTextStyle* last = nullptr;
    bool wasBlinking = false;
    for (std::size_t index = 0; index < characters.size(); ++index) {
        const char32_t character = characters[index];
        const bool isBehindReturn = character == U'\n' && index > 0 && characters[index - 1] == U'\r';
        if (character == U'\n' || character == U'\r' || character == U'\u2028') {
            if (!isBehindReturn) {
                cue.rows.emplace_back();
            }
            continue;
        }
        const TimedTextStyle* const found = styles.at(static_cast<std::uint32_t>(index));
        const TimedTextStyle* const style = found == nullptr ? &usual : found;
        const bool isBlinking = blinking.at(static_cast<std::uint32_t>(index)) != nullptr;
        std::vector<Run>& runs = cue.rows.back().runs;
        if (runs.empty() || style != last || isBlinking != wasBlinking) {
            runs.push_back(runLike(*style, defaults));
            runs.back().style.isFlashing = isBlinking;
        }
        last = style;
        wasBlinking = isBlinking;
        appendUtf8(runs.back().text, character);
    }
    for (Row& row : cue.rows) {
        row.alignment = defaults.alignment;
        row.anchor = defaults.anchor;
    }
    take(std::move(cue));
}

void readSubRipText(std::string_view text, const SampleSpan& span, const TakeSampleCue& take, FindingSink& findings) {
    readOne<subtitles::SubRipReader>("1\n00:00:00,000 --> 00:00:01,000\n" + withoutEmptyRows(text) + "\n\n", findings,
                                     [&](Cue cue) {
                                         cue.start = span.begin;
                                         cue.end = span.end;
                                         take(std::move(cue));
                                     });
}

void readWebVttText(std::string_view text, std::string_view name, std::string_view settings, const SampleSpan& span,
                    std::optional<std::int64_t> origin, const SampleHead& head, const TakeSampleCue& take,
                    FindingSink& findings) {
    const std::int64_t sampleBegin = subtitles::unitsOf(span.begin, kWebVttUnits);
    const std::int64_t sampleEnd = subtitles::unitsOf(span.end, kWebVttUnits);
    const std::int64_t begin = std::max<std::int64_t>(origin.value_or(sampleBegin), 0);
    const std::int64_t end = std::max(origin ? begin + (sampleEnd - sampleBegin) : sampleEnd, begin + 1);
    std::string file = "WEBVTT\n\n" + head.sheets;
    constexpr std::string_view kRegion = "region:";
    if (const std::size_t place = settings.find(kRegion); place != std::string_view::npos) {
        const std::string_view behind = settings.substr(place + kRegion.size());
        const auto region = head.regions.find(behind.substr(0, behind.find_first_of(" \t\r\n")));
        file += region == head.regions.end() ? std::string() : region->second;
    }
    const std::string identifier = lineOf(name);
    if (!identifier.empty() && identifier.find("-->") == std::string::npos) {
        file += identifier + "\n";
    }
    file +=
        clockTime(begin) + " --> " + clockTime(end) + " " + lineOf(settings) + "\n" + withoutEmptyRows(text) + "\n\n";
    readOne<subtitles::WebVttReader>(file, findings, [&](Cue cue) {
        cue.start = span.begin;
        cue.end = span.end;
        for (Row& row : cue.rows) {
            for (Run& run : row.runs) {
                const bool isMoved = origin && run.from.isValid();
                run.from =
                    isMoved ? add(MediaTime::make(run.from.value - *origin, kWebVttUnits), span.begin) : run.from;
            }
        }
        take(std::move(cue));
    });
}

/// The milliseconds of a time as it stands in WebVTT.
std::optional<std::int64_t> webVttTime(std::string_view text) {
    std::optional<std::int64_t> time;
    Findings findings;
    readOne<subtitles::WebVttReader>("WEBVTT\n\n" + lineOf(text) + " --> 9999:59:59.999\nx\n\n", findings,
                                     [&](const Cue& cue) { time = subtitles::unitsOf(cue.start, kWebVttUnits); });
    return findings.empty() ? time : std::nullopt;
}

void readWvtt(std::span<const std::uint8_t> sample, const SampleSpan& span, const SampleHead& head,
              const TakeSampleCue& take, FindingSink& findings) {
    std::span<const std::uint8_t> rest = sample;
    std::size_t others = 0;
    bool isWrong = false;
    while (const auto box = takeBox(rest)) {
        if (box->type == boxes::kNoCue) {
            continue;
        }
        if (box->type != boxes::kCue) {
            ++others;
            continue;
        }
        std::span<const std::uint8_t> inner = box->content;
        std::string_view text;
        std::string_view name;
        std::string_view settings;
        std::optional<std::int64_t> origin;
        while (const auto part = takeBox(inner)) {
            if (part->type == boxes::kCueText) {
                text = asText(part->content);
            } else if (part->type == boxes::kCueName) {
                name = asText(part->content);
            } else if (part->type == boxes::kCueSettings) {
                settings = asText(part->content);
            } else if (part->type == boxes::kCueTime) {
                origin = webVttTime(asText(part->content));
                isWrong = isWrong || !origin;
            } else if (part->type != boxes::kCueSource) {
                ++others;
            }
        }
        isWrong = isWrong || !inner.empty();
        readWebVttText(text, name, settings, span, origin, head, take, findings);
    }
    if (isWrong || !rest.empty()) {
        report(findings, FindingCode::TextSampleWrong, Severity::Error, sample.size());
    }
    if (others != 0) {
        report(findings, FindingCode::TextSamplePartsLost, Severity::Warning, others);
    }
}

SubStationSamples::SubStationSamples(std::string_view head, FindingSink& findings)
    : _findings(findings), _reader({}, &findings) {
    constexpr std::string_view kOldStyles = "[v4 styles]";
    const bool isOld = asciiLowercased(head).find(kOldStyles) != std::string::npos;
    push(std::string(head) + "\n[Events]\nFormat: " + (isOld ? "Marked" : "Layer") +
         ", Start, End, Style, Name, MarginL, MarginR, MarginV, Effect, Text\n");
    (void)_reader.next();
}

void SubStationSamples::read(std::string_view sample, const SampleSpan& span, const TakeSampleCue& take) {
    // The number of the event, and its layer.
    const std::size_t number = sample.find(',');
    const std::size_t layer = number == std::string_view::npos ? number : sample.find(',', number + 1);
    if (layer == std::string_view::npos) {
        report(_findings, FindingCode::TextSampleWrong, Severity::Error, sample.size());
        return;
    }
    std::string line = "Dialogue: " + std::string(sample.substr(number + 1, layer - number)) + "0:00:00.00,0:00:01.00" +
                       std::string(sample.substr(layer));
    line.erase(line.find_last_not_of("\r\n") + 1);
    std::replace(line.begin(), line.end(), '\r', ' ');
    std::replace(line.begin(), line.end(), '\n', ' ');
    push(line + "\n");
    while (const Cue* const read = _reader.next()) {
        Cue cue = *read;
        cue.start = span.begin;
        cue.end = span.end;
        take(std::move(cue));
    }
}

void SubStationSamples::finish() {
    _reader.finish();
    (void)_reader.next();
}

void SubStationSamples::push(const std::string& text) {
    _reader.push({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
}

}  // namespace qlx::streams::detail

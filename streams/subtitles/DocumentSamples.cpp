#include "DocumentSamples.h"

#include "TtmlTimes.h"

#include <qlx/base/utf8.h>
#include <qlx/subtitles/times.h>

#include <algorithm>
#include <iterator>
#include <string_view>
#include <utility>
#include <vector>

namespace qlx::streams::detail {

namespace {

/// As many cues are remembered.
constexpr std::size_t kMostRemembered = 10'000;

std::size_t hashOf(const subtitles::Cue& cue) {
    std::string text;
    for (const subtitles::Row& row : cue.rows) {
        for (const subtitles::Run& run : row.runs) {
            text += run.text;
        }
        text += '\n';
    }
    return std::hash<std::string>()(text);
}

}  // namespace

void DocumentSamples::read(std::span<const std::uint8_t> sample, const SampleSpan& span, const TakeSampleCue& take) {
    TtmlReadOptions options;
    options.openEnd = span.end;
    options.takeHead = [this](const TtmlFile& head) { takeHead(head); };
    // Documents may be in UTF-16 as well.
    std::vector<std::uint8_t> text;
    if (hasUtf16Mark(sample)) {
        std::string utf8;
        for (const char32_t character : charactersOf(sample, _findings)) {
            appendUtf8(utf8, character);
        }
        text.assign(utf8.begin(), utf8.end());
        sample = text;
    }
    const auto file = readTtml(
        sample, [&](subtitles::Cue cue) { takeCue(std::move(cue), span, take); }, options, &_findings);
    if (!file) {
        _findings.add(file.error());
    }
}

void DocumentSamples::takeHead(const TtmlFile& head) {
    _ownRegions.clear();
    if (!std::exchange(_hasHead, true)) {
        for (const TtmlRegion& region : head.regions) {
            _regions.emplace(region.name, region);
        }
        if (_takeHead) {
            _takeHead(head);
        }
        return;
    }
    for (const TtmlRegion& region : head.regions) {
        const auto first = _regions.find(region.name);
        if (first == _regions.end() || first->second != region) {
            _ownRegions.insert(region.name);
        }
    }
}

void DocumentSamples::takeCue(subtitles::Cue cue, const SampleSpan& span, const TakeSampleCue& take) {
    constexpr std::int32_t kMilliseconds = 1000;
    const Name name{subtitles::unitsOf(cue.start, kMilliseconds), hashOf(cue)};
    cue.start = isBefore(cue.start, span.begin) ? span.begin : cue.start;
    cue.end = isBefore(span.end, cue.end) ? span.end : cue.end;
    if (!isBefore(cue.start, cue.end)) {
        addOutside(name, isBefore(cue.start, span.end));
        return;
    }
    addShown(name);
    // Its box says where it stands.
    if (_ownRegions.contains(cue.region)) {
        cue.region.clear();
    }
    take(std::move(cue));
}

void DocumentSamples::addShown(const Name& name) {
    _outside.erase(name);
    if (_shown.insert(name).second) {
        _order.push_back(name);
    }
    if (_order.size() > kMostRemembered) {
        _forgotten = std::max(_forgotten, _order.front().start);
        _shown.erase(_order.front());
        _order.pop_front();
    }
}

/// @param isPast It was to be shown earlier; else later samples may do so.
void DocumentSamples::addOutside(const Name& name, bool isPast) {
    if (_shown.contains(name) || (isPast && name.start <= _forgotten)) {
        return;
    }
    _outside.insert(name);
    if (_outside.size() > kMostRemembered) {
        // It comes again where a document is repeated, and where not the others are said.
        _outside.erase(std::prev(_outside.end()));
    }
}

void DocumentSamples::finish() {
    if (!_outside.empty()) {
        _findings.add({FindingCode::TextSampleCuesOutside, Severity::Warning, 0,
                       static_cast<std::int64_t>(_outside.size()), _outside.begin()->start});
    }
}

}  // namespace qlx::streams::detail

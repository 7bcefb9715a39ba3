#include <qlx/subtitles/stl_writer.h>
#include <qlx/subtitles/times.h>

#include "subtitles/CueWriting.h"
#include "subtitles/StlField.h"
#include "subtitles/StlKept.h"
#include "subtitles/StlRowPlaces.h"
#include "subtitles/StlRowWriter.h"

#include <algorithm>
#include <optional>
#include <string>
#include <utility>

namespace qlx::subtitles {

namespace {

using enum FindingCode;

constexpr std::uint64_t kMostBlocks = 99'999;
constexpr std::size_t kMostText = (Tti::kMostExtensions + std::size_t{2}) * kTtiTextBytes;
constexpr std::uint64_t kGreatestPosition = 99;
constexpr std::uint16_t kGreatestNumber = 0xFFFF;
constexpr std::int64_t kSecondsOfDay = std::int64_t{24} * 3600;

StlTable stlTableOf(const Gsi& gsi) noexcept {
    return static_cast<StlTable>(gsi.characterTable.number());
}

bool isOpenSubtitling(const Gsi& gsi) noexcept {
    return gsi.displayStandard.text() == "0";
}

std::uint64_t rowsOf(const Gsi& gsi) noexcept {
    const std::int64_t rows = gsi.rows.number();
    return isOpenSubtitling(gsi) && rows > 0 ? static_cast<std::uint64_t>(rows) : kTeletextRows;
}

bool hasDoubleHeight(const StlWriterOptions& options) noexcept {
    return options.isDoubleHeight && !isOpenSubtitling(options.gsi);
}

StlTimeCode timeCodeOfFrame(std::int64_t frame, std::int32_t framesPerSecond) noexcept {
    const std::int64_t seconds = frame / framesPerSecond;
    return {static_cast<std::uint8_t>(seconds / 3600), static_cast<std::uint8_t>(seconds / 60 % 60),
            static_cast<std::uint8_t>(seconds % 60), static_cast<std::uint8_t>(frame % framesPerSecond)};
}

/// Eight digits.
std::string digitsOf(const StlTimeCode& timeCode) {
    std::string digits;
    for (const unsigned part : {timeCode.hours, timeCode.minutes, timeCode.seconds, timeCode.frames}) {
        digits += static_cast<char>('0' + part / 10);
        digits += static_cast<char>('0' + part % 10);
    }
    return digits;
}

/// The justification of all rows: that of the first one, as long as its columns say no other.
Alignment justificationOf(const Cue& cue) noexcept {
    const Alignment own = cue.rows.empty() ? Alignment::Center : cue.rows.front().alignment;
    const bool isThere = std::all_of(cue.rows.begin(), cue.rows.end(),
                                     [&](const Row& row) { return standsAtSide(cue, row, sideOf(own)); });
    return isThere ? own : sideOfColumns(cue).value_or(own);
}

void reportCue(const Cue& cue, const CueReport& report) {
    sayNamesLost(cue, false, report);
    const unsigned side = sideOf(justificationOf(cue));
    std::int64_t number = 0;
    for (const Row& row : cue.rows) {
        ++number;
        report.add(SubtitlePlaceLost, !standsAtSide(cue, row, side), number);
        report.add(StlAlignmentsDiffer, row.alignment != cue.rows.front().alignment, number,
                   static_cast<std::int64_t>(row.alignment));
    }
}

/// The group that a cue asks for.
std::uint8_t groupOf(const Cue& cue) noexcept {
    for (const Property& property : cue.properties) {
        if (const auto group = stlGroupOf(property)) {
            return *group;
        }
    }
    return 0;
}

}  // namespace

StlWriter::StlWriter(const StlWriterOptions& options, FindingSink* findings) : _options(options), _findings(findings) {
    Gsi& gsi = _options.gsi;
    const auto rate = gsi.rate();
    if (!rate || isFractional(*rate)) {
        gsi.diskFormatCode = "STL25.01";
    }
    _frames = nominalFramesPerSecond(gsi.rate().value_or(FrameRate::Fps25));
    if (gsi.characterTable.number() < 0 || gsi.characterTable.number() >= kStlTables) {
        gsi.characterTable = "00";
    }
    _taken.resize(static_cast<std::size_t>(rowsOf(gsi)) + 1);
}

bool StlWriter::write(const Cue& cue, std::vector<std::uint8_t>& blocks) {
    const CueReport report(_findings, ++_cues);
    UnitSpan span = spanIn(cue, _frames);
    report.add(SubtitleTimeNegative, span.start < 0, span.start, span.end);
    report.add(SubtitleTimeEmptied, span.isLengthened && span.start >= 0, span.start, _frames);
    if (span.end <= 0) {
        return false;
    }
    span.start = std::max<std::int64_t>(span.start, 0);
    if (span.end >= kSecondsOfDay * _frames) {
        say(StlTimeTooLate, Severity::Error, span.start, span.end);
        return false;
    }
    reportCue(cue, report);
    Held held;
    held.start = span.start;
    held.end = span.end;
    StlRowPlaces rows(cue, rowsOf(_options.gsi), hasDoubleHeight(_options) ? 2 : 1);
    const StlRowTaken shown{held.start, held.end, rows.isFixed()};
    place(rows, shown, report);
    appendRows(cue, rows, report, held);
    if (held.text.size() > kMostText) {
        say(StlTextTooLong, Severity::Error, static_cast<std::int64_t>(held.text.size()),
            static_cast<std::int64_t>(kMostText));
        held.text.resize(kMostText);
    }
    const std::vector<StlKept> kept = keptOf(cue, report);
    std::uint64_t needed = std::max<std::uint64_t>((held.text.size() + kTtiTextBytes - 1) / kTtiTextBytes, 1);
    for (const StlKept& each : kept) {
        needed += each.bytes.size() / kTtiBytes;
    }
    if (_blocks + needed > kMostBlocks) {
        say(StlTooManyBlocks, Severity::Error, std::int64_t{kMostBlocks});
        return false;
    }
    _blocks += needed;
    rows.take(_taken, shown);
    name(cue, held.block);
    held.block.timeCodeIn = timeCodeOfFrame(held.start, _frames);
    held.block.timeCodeOut = timeCodeOfFrame(held.end, _frames);
    for (const StlKept& each : kept) {
        appendKept(each, cue, held);
    }
    _first = std::min(_first.value_or(held.start), held.start);
    const bool isOfSet = !_set.empty() && held.end == _set.back().end && held.start >= _set.back().start &&
                         held.start < _set.back().end && _set.size() < kLongestStlSet;
    if (!isOfSet) {
        flush(blocks);
        if (held.start < _shownTo) {
            say(StlCuesOverlap, Severity::Warning, held.start, _shownTo);
        }
    }
    _shownTo = std::max(_shownTo, held.end);
    _set.push_back(std::move(held));
    return true;
}

/// The comments and user data of a cue. What text of another table says would be something else.
std::vector<StlKept> StlWriter::keptOf(const Cue& cue, const CueReport& report) const {
    std::vector<StlKept> kept;
    std::int64_t lost = 0;
    bool hasGroup = false;
    for (const Property& property : cue.properties) {
        if (!hasGroup && stlGroupOf(property)) {
            hasGroup = true;
            continue;
        }
        std::optional<StlKept> each = stlKeptOf(property);
        const bool isReadable =
            each && (!each->isComment || static_cast<StlTable>(each->table) == stlTableOf(_options.gsi));
        lost += isReadable ? 0 : 1;
        if (isReadable) {
            kept.push_back(std::move(*each));
        }
    }
    report.add(SubtitlePropertiesLost, lost != 0, 0, lost);
    return kept;
}

/// Comments move with the cue, and user data of it get its group and number.
void StlWriter::appendKept(const StlKept& kept, const Cue& cue, Held& held) const {
    constexpr std::int64_t kMilliseconds = 1000;
    const auto timeCode = [&](std::int64_t milliseconds) {
        const std::int64_t scaled = milliseconds * _frames;
        const std::int64_t half = scaled < 0 ? -kMilliseconds / 2 : kMilliseconds / 2;
        const std::int64_t frame = held.start + (scaled + half) / kMilliseconds;
        return timeCodeOfFrame(std::clamp<std::int64_t>(frame, 0, kSecondsOfDay * _frames - 1), _frames);
    };
    std::vector<std::uint8_t>& blocks = kept.isBehind ? held.behind : held.before;
    std::span<const std::uint8_t> rest = kept.bytes;
    for (; !rest.empty(); rest = rest.subspan(kTtiBytes)) {
        // They are whole.
        Tti block = *parseTti(rest.first(kTtiBytes));
        if (kept.isComment) {
            block.timeCodeIn = timeCode(kept.in);
            block.timeCodeOut = timeCode(kept.out);
        } else if (block.group == groupOf(cue) && block.number == cue.number) {
            block.group = held.block.group;
            block.number = held.block.number;
        }
        const std::size_t end = blocks.size();
        blocks.resize(end + kTtiBytes);
        static_cast<void>(writeTti(block, std::span(blocks).subspan(end)));
    }
}

/// Finds the rows of a cue that is shown in these frames, and says where they are other ones than they should be.
void StlWriter::place(StlRowPlaces& rows, const StlRowTaken& shown, const CueReport& report) const {
    rows.makeRoom(_taken, shown);
    const std::uint64_t covered = rows.coveredRow(_taken, shown);
    report.add(SubtitlePlaceLost, rows.areMoved(), 0);
    const auto places = rows.rows();
    const auto first = std::find_if(places.begin(), places.end(), [](std::uint64_t place) { return place != 0; });
    report.add(StlRowOffScreen, rows.offScreen() != 0, first == places.end() ? 0 : static_cast<std::int64_t>(*first),
               rows.offScreen());
    // Where both name their rows nobody expects others.
    const bool isMeant = rows.isFixed() && _taken[covered].isFixed;
    report.add(StlRowsCovered, covered != 0, static_cast<std::int64_t>(covered), _taken[covered].to,
               isMeant ? Severity::Remark : Severity::Warning);
}

void StlWriter::appendRows(const Cue& cue, const StlRowPlaces& rows, const CueReport& report, Held& held) const {
    const Gsi& gsi = _options.gsi;
    const bool isDouble = hasDoubleHeight(_options);
    const std::span<const std::uint64_t> places = rows.rows();
    StlRowForm form{stlTableOf(gsi), isOpenSubtitling(gsi), isDouble, gsi.charactersOfRow.number()};
    const Alignment alignment = justificationOf(cue);
    std::uint64_t first = rowsOf(gsi);
    std::uint64_t place = 0;
    for (std::size_t index = 0; index < places.size(); ++index) {
        if (places[index] == 0) {
            continue;
        }
        held.text.insert(held.text.end(), place == 0 ? 0 : static_cast<std::size_t>(places[index] - place),
                         kStlNewLine);
        first = place == 0 ? places[index] : first;
        place = places[index];
        Row row = cue.rows[index];
        row.alignment = alignment;
        appendStlRow(row, form, report, static_cast<std::int64_t>(index + 1), held.text);
    }
    held.block.verticalPosition = static_cast<std::uint8_t>(std::min(first, kGreatestPosition));
    held.block.justification = alignment > Alignment::Right ? Alignment::Center : alignment;
}

Gsi StlWriter::finish(std::vector<std::uint8_t>& blocks) {
    flush(blocks);
    Gsi gsi = _options.gsi;
    // No more than have room.
    static_cast<void>(gsi.blockCount.setNumber(_blocks));
    static_cast<void>(gsi.subtitleCount.setNumber(_subtitles));
    const auto groups =
        std::count_if(_lastNumbers.begin(), _lastNumbers.end(), [](const auto& number) { return number.has_value(); });
    static_cast<void>(gsi.groupCount.setNumber(std::max<std::uint64_t>(static_cast<std::uint64_t>(groups), 1)));
    gsi.firstCue = std::string_view(digitsOf(timeCodeOfFrame(_first.value_or(0), _frames)));
    return gsi;
}

void StlWriter::flush(std::vector<std::uint8_t>& blocks) {
    const std::size_t count = _set.size();
    for (std::size_t index = 0; index < count; ++index) {
        const StlStatus status = count == 1           ? StlStatus::Single
                                 : index == 0         ? StlStatus::First
                                 : index + 1 == count ? StlStatus::Last
                                                      : StlStatus::Intermediate;
        append(_set[index], status, blocks);
    }
    _set.clear();
}

void StlWriter::append(const Held& held, StlStatus status, std::vector<std::uint8_t>& blocks) {
    ++_subtitles;
    blocks.insert(blocks.end(), held.before.begin(), held.before.end());
    Tti block = held.block;
    block.status = status;
    std::span<const std::uint8_t> rest = held.text;
    for (std::uint8_t number = 0;; ++number) {
        const auto part = rest.first(std::min(rest.size(), kTtiTextBytes));
        rest = rest.subspan(part.size());
        block.extensionNumber = rest.empty() ? Tti::kLastExtension : number;
        block.text = Tti{}.text;
        std::copy(part.begin(), part.end(), block.text.begin());
        const std::size_t end = blocks.size();
        blocks.resize(end + kTtiBytes);
        // There is room.
        static_cast<void>(writeTti(block, std::span(blocks).subspan(end)));
        if (rest.empty()) {
            break;
        }
    }
    blocks.insert(blocks.end(), held.behind.begin(), held.behind.end());
}

/// Gives a block the group and the number of its cue, or the next number that the group has not had: behind its last
/// one in the next group.
void StlWriter::name(const Cue& cue, Tti& block) {
    const std::uint8_t asked = groupOf(cue);
    std::size_t group = asked;
    for (std::size_t full = 0; full < _lastNumbers.size() && _lastNumbers[group] == kGreatestNumber; ++full) {
        group = (group + 1) % _lastNumbers.size();
    }
    std::optional<std::uint16_t>& last = _lastNumbers[group];
    const bool isOwn = group == asked && cue.number <= kGreatestNumber && (!last || cue.number > *last);
    const unsigned first = group == asked ? 1 : 0;
    last = static_cast<std::uint16_t>(isOwn ? cue.number : last ? *last + 1U : first);
    if (!isOwn) {
        say(StlNumberChanged, Severity::Remark, static_cast<std::int64_t>(cue.number), *last);
    }
    block.group = static_cast<std::uint8_t>(group);
    block.number = *last;
}

void StlWriter::say(FindingCode code, Severity severity, std::int64_t first, std::int64_t second) const {
    if (_findings != nullptr) {
        _findings->add({code, severity, _cues, first, second});
    }
}

}  // namespace qlx::subtitles

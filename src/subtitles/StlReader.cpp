#include <qlx/subtitles/stl_reader.h>

#include "subtitles/StlField.h"
#include "subtitles/StlKept.h"

#include <qlx/subtitles/times.h>

#include <algorithm>
#include <string>
#include <utility>

namespace qlx::subtitles {

namespace {

using enum FindingCode;

constexpr std::uint64_t kInOffset = 5;
constexpr std::uint64_t kOutOffset = 9;
constexpr std::uint64_t kPositionOffset = 13;
constexpr std::uint64_t kTextOffset = 16;

std::uint16_t rowsOfScreen(const Gsi& gsi) noexcept {
    const std::int64_t rows = gsi.rows.number();
    return gsi.displayStandard.text() == "0" && rows > 0 ? static_cast<std::uint16_t>(rows) : kTeletextRows;
}

/// Text up to the unused space.
std::span<const std::uint8_t> shownTextOf(const Tti& block) noexcept {
    const std::span<const std::uint8_t> text(block.text);
    const auto end = std::find(text.begin(), text.end(), kStlUnused);
    return text.first(static_cast<std::size_t>(end - text.begin()));
}

bool isShown(const Row& row) noexcept {
    return !row.runs.empty();
}

}  // namespace

StlReader::StlReader(const StlView& file, FindingSink* findings, const StlReadOptions& options) noexcept
    : _file(file), _findings(findings), _rate(file.gsi.rate().value_or(FrameRate::Fps25)),
      _rows(rowsOfScreen(file.gsi)), _keepsBlocks(options.keepsBlocks) {
    const std::int64_t table = file.gsi.characterTable.number();
    _table = table > 0 && table < kStlTables ? static_cast<std::uint8_t>(table) : std::uint8_t{0};
}

Result<StlReader> StlReader::open(std::span<const std::uint8_t> bytes, FindingSink* findings,
                                  const StlReadOptions& options) {
    const Result<Gsi> gsi = parseGsi(bytes, findings);
    if (!gsi) {
        return gsi.error();
    }
    StlReader reader({*gsi, bytes.subspan(kGsiBytes)}, findings, options);
    const std::int64_t announced = gsi->blockCount.number();
    const auto there = static_cast<std::int64_t>(reader._file.blocks());
    if (announced != there) {
        reader.say(StlBlockCountWrong, announced > there ? Severity::Error : Severity::Warning, kBlockCountOffset,
                   announced, there);
    }
    if (const std::size_t cut = reader._file.behind.size() % kTtiBytes; cut != 0) {
        reader.say(StlBlockCut, Severity::Error, StlView::offsetOf(reader._file.blocks()), std::int64_t{kTtiBytes},
                   static_cast<std::int64_t>(cut));
    }
    reader._behindLast = options.keepsBlocks ? reader._file.blocks() : 0;
    while (reader._behindLast > 0 && !reader._file.block(reader._behindLast - 1).isSubtitle()) {
        --reader._behindLast;
    }
    return reader;
}

const Cue* StlReader::next() {
    while (_ready.empty() && !_isEnded) {
        if (_next < _file.blocks()) {
            takeNext();
        } else {
            _isEnded = true;
            close();
            endSet();
            for (const Passed& passed : std::exchange(_passed, {})) {
                sayPassed(passed);
            }
        }
    }
    if (_ready.empty()) {
        return nullptr;
    }
    _given = std::move(_ready.front().cue);
    _offset = _ready.front().offset;
    _ready.pop_front();
    return &_given;
}

void StlReader::takeNext() {
    const std::size_t index = _next++;
    take(_file.block(index, _findings), StlView::offsetOf(index));
}

std::span<const std::uint8_t> StlReader::bytesAt(std::uint64_t offset) const noexcept {
    return _file.behind.subspan(static_cast<std::size_t>(offset) - kGsiBytes, kTtiBytes);
}

void StlReader::take(const Tti& block, std::uint64_t offset) {
    if (block.extensionNumber == Tti::kUserData) {
        const auto bytes = bytesAt(offset);
        Passed passed{block, offset, {bytes.begin(), bytes.end()}, {}};
        if (_keepsBlocks) {
            _passed.push_back(std::move(passed));
        } else {
            sayPassed(passed);
        }
        return;
    }
    if (_joined && (_joined->first.group != block.group || _joined->first.number != block.number ||
                    block.extensionNumber < _due)) {
        close();
    }
    if (!_joined) {
        begin(block, offset);
    } else if (block.extensionNumber != _due && block.extensionNumber <= Tti::kMostExtensions) {
        missing(*_joined, block.extensionNumber);
    }
    if (_keepsBlocks && block.commentFlag != 0) {
        const auto bytes = bytesAt(offset);
        _joined->blocks.insert(_joined->blocks.end(), bytes.begin(), bytes.end());
    }
    append(block);
}

void StlReader::begin(const Tti& block, std::uint64_t offset) {
    _joined = Joined{block, offset, {}, {}, false};
    _due = 0;
    if (block.extensionNumber != 0 && block.extensionNumber <= Tti::kMostExtensions) {
        missing(*_joined, block.extensionNumber);
    }
}

void StlReader::append(const Tti& block) {
    const auto text = shownTextOf(block);
    _joined->text.insert(_joined->text.end(), text.begin(), text.end());
    _due = block.extensionNumber + 1U;
    if (block.extensionNumber > Tti::kMostExtensions) {
        _joined->isWhole = true;
        takeCue(*std::exchange(_joined, std::nullopt));
    }
}

/// What stands behind a subtitle and is of it.
void StlReader::keepBehind(const Tti& first) {
    const bool isLast = _next >= _behindLast;
    while (_next < _file.blocks()) {
        const Tti block = _file.block(_next);
        const bool isOwn =
            block.extensionNumber == Tti::kUserData && block.group == first.group && block.number == first.number;
        if (!isOwn && !isLast) {
            return;
        }
        takeNext();
    }
    // A comment whose end is missing.
    close();
}

/// Gives a cue the comments and user data that have been met.
void StlReader::attach(Cue& cue, bool isBehind) {
    const auto milliseconds = [](const MediaTime& time) {
        constexpr std::int32_t kUnits = 1000;
        return unitsOf(time, kUnits);
    };
    for (Passed& passed : std::exchange(_passed, {})) {
        StlKept kept;
        kept.isComment = passed.first.extensionNumber != Tti::kUserData;
        kept.isBehind = isBehind;
        kept.bytes = std::move(passed.blocks);
        if (kept.isComment) {
            kept.table = _table;
            kept.in = milliseconds(passed.comment.start) - milliseconds(cue.start);
            kept.out = milliseconds(passed.comment.end) - milliseconds(cue.start);
        }
        cue.properties.push_back(propertyOf(kept));
    }
}

void StlReader::sayPassed(const Passed& passed) const {
    if (passed.first.extensionNumber == Tti::kUserData) {
        say(StlUserDataPassed, Severity::Remark, passed.offset, passed.first.number);
    } else {
        say(StlComment, Severity::Remark, passed.offset, passed.first.number,
            std::count_if(passed.comment.rows.begin(), passed.comment.rows.end(), &isShown));
    }
}

void StlReader::missing(const Joined& joined, std::int64_t found) {
    say(StlExtensionMissing, Severity::Error, joined.offset, _due, found);
}

/// Gives what was joined so far: its last block has not come.
void StlReader::close() {
    if (_joined) {
        constexpr std::int64_t kOther = -1;
        missing(*_joined, kOther);
        takeCue(*std::exchange(_joined, std::nullopt));
    }
}

void StlReader::takeCue(const Joined& joined) {
    Member member{cueOf(joined), joined.offset, joined.first.timeCodeIn};
    if (joined.first.commentFlag != 0) {
        _comments.push_back(member.cue);
        Passed passed{joined.first, joined.offset, joined.blocks, std::move(member.cue)};
        if (_keepsBlocks) {
            _passed.push_back(std::move(passed));
        } else {
            sayPassed(passed);
        }
        return;
    }
    if (_keepsBlocks && joined.first.group != 0) {
        member.cue.properties.push_back(propertyOfGroup(joined.first.group));
    }
    attach(member.cue, false);
    if (_keepsBlocks && joined.isWhole) {
        keepBehind(joined.first);
        attach(member.cue, true);
    }
    addToSet(std::move(member), joined.first.status, joined);
}

void StlReader::addToSet(Member member, StlStatus status, const Joined& joined) {
    const bool goesOn = status == StlStatus::Intermediate || status == StlStatus::Last;
    // A set that has not begun, or has not ended.
    const bool isWrong = goesOn == _set.empty();
    if (isWrong) {
        say(StlSetWrong, Severity::Warning, joined.offset, static_cast<std::int64_t>(status),
            static_cast<std::int64_t>(_set.size()));
        endSet();
    }
    if (status != StlStatus::First && (!goesOn || isWrong)) {
        give(std::move(member), joined.first.timeCodeOut);
        return;
    }
    _setOut = joined.first.timeCodeOut;
    _set.push_back(std::move(member));
    if (_set.size() == kLongestStlSet && status != StlStatus::Last) {
        say(StlSetWrong, Severity::Warning, joined.offset, static_cast<std::int64_t>(status),
            std::int64_t{kLongestStlSet});
        endSet();
    } else if (status == StlStatus::Last) {
        endSet();
    }
}

void StlReader::endSet() {
    for (Member& member : std::exchange(_set, {})) {
        give(std::move(member), _setOut);
    }
}

void StlReader::give(Member member, const StlTimeCode& out) {
    member.cue.end = out.time(_rate);
    if (member.cue.end.value <= member.cue.start.value) {
        say(StlEndNotLater, Severity::Error, member.offset + kOutOffset, member.in.number(), out.number());
        if (!member.cue.properties.empty()) {
            say(SubtitlePropertiesLost, Severity::Warning, member.offset, 0,
                static_cast<std::int64_t>(member.cue.properties.size()));
        }
        return;
    }
    _ready.push_back(std::move(member));
}

Cue StlReader::cueOf(const Joined& joined) {
    const Tti& first = joined.first;
    Cue cue;
    cue.number = first.number;
    cue.start = first.timeCodeIn.time(_rate);
    cue.end = first.timeCodeOut.time(_rate);
    cue.screenRows = _rows;
    const std::uint8_t frames = nominalFramesPerSecond(_rate);
    for (const auto& [timeCode, place] :
         {std::pair(first.timeCodeIn, kInOffset), std::pair(first.timeCodeOut, kOutOffset)}) {
        if (!timeCode.isPossible(frames)) {
            say(StlTimeCodeWrong, Severity::Warning, joined.offset + place, timeCode.number(), frames);
        }
    }
    const bool isKnown = first.justification <= Alignment::Right;
    StlFieldNotes notes;
    const bool isOpen = _file.gsi.displayStandard.text() == "0";
    appendStlRows(joined.text,
                  {.table = static_cast<StlTable>(_table),
                   .alignment = isKnown ? first.justification : Alignment::Center,
                   .isOpen = isOpen},
                  cue.rows, notes);
    if (notes.passed > 0) {
        say(StlCodesPassed, Severity::Remark, joined.offset + kTextOffset, notes.firstPassed, notes.passed);
    }
    if (notes.unknown > 0) {
        say(StlCharacterUnknown, Severity::Warning, joined.offset + kTextOffset, notes.firstUnknown, notes.unknown);
    }
    std::int64_t offScreen = 0;
    // Open subtitling begins with 0 or 1.
    const bool isAbove = first.verticalPosition == 0 && isOpen;
    const std::uint8_t top = isAbove ? std::uint8_t{1} : first.verticalPosition;
    for (Row& row : cue.rows) {
        const std::uint64_t number = std::uint64_t{top} + row.number - 1;
        const bool isThere = number >= 1 && number <= _rows;
        row.number = isThere ? number : 0;
        offScreen += isThere || !isShown(row) ? 0 : 1;
    }
    if (offScreen > 0) {
        say(StlRowOffScreen, Severity::Warning, joined.offset + kPositionOffset, first.verticalPosition, offScreen);
    }
    return cue;
}

void StlReader::say(FindingCode code, Severity severity, std::uint64_t offset, std::int64_t first,
                    std::int64_t second) const {
    if (_findings != nullptr) {
        _findings->add({code, severity, offset, first, second});
    }
}

}  // namespace qlx::subtitles

// Sends pages: which packets each field carries.
#include <qlx/teletext/writer.h>

#include "base/MakeFinding.h"
#include "base/OffsetSink.h"

#include <algorithm>
#include <span>
#include <utility>

namespace qlx::teletext {

namespace {

constexpr std::uint64_t kNever = ~std::uint64_t{0};
/// Times behind it are not reached, and could not be counted in fields.
constexpr std::uint64_t kGreatestFrame = kNever / 4;

std::uint8_t fieldsOf(FrameRate rate, FrameFields fields) noexcept {
    constexpr std::uint8_t kGreatestInterlaced = 30;
    const bool isInterlaced = fields == FrameFields::ByRate ? nominalFramesPerSecond(rate) <= kGreatestInterlaced
                                                            : fields == FrameFields::Interlaced;
    return isInterlaced ? 2 : 1;
}

/// Whether all rows of one are among those of the other, as they are.
bool isPartOf(const CodedPage& part, const CodedPage& whole) {
    return part.subcode == whole.subcode && part.designation == whole.designation &&
           std::all_of(part.rows.begin(), part.rows.end(), [&whole](const CodedRow& row) {
               return std::find(whole.rows.begin(), whole.rows.end(), row) != whole.rows.end();
           });
}

/// Rows that the page does not have, or that stand on or above the one in front of them.
void leaveOutRows(CodedPage& page, FindingSink* findings) {
    unsigned taken = 0;
    std::vector<CodedRow> rows;
    for (CodedRow& row : page.rows) {
        const unsigned last = row.row + (row.isDoubleHeight ? 1U : 0U);
        if (row.row > taken && last <= kLastTextRow) {
            taken = last;
            rows.push_back(std::move(row));
        } else {
            addTo(findings, makeFinding(FindingCode::TeletextRowLeftOut, Severity::Error, page.findingsOffset, row.row,
                                        row.codes.size()));
        }
    }
    page.rows = std::move(rows);
}

}  // namespace

Writer::Writer(FrameRate rate, const WriterOptions& options)
    : _rate(rate), _options(options), _fields(fieldsOf(rate, options.fields)) {
    _options.packetsPerField =
        std::clamp(options.packetsPerField, std::uint8_t{1}, static_cast<std::uint8_t>(kGreatestFieldPackets));
    _slot = std::min(options.firstFrame, kGreatestFrame) * _fields;
}

Writer::Page& Writer::pageOf(std::uint16_t number) {
    std::vector<Page>& pages = _lanes[_options.isSerial ? 0 : (number >> 8U) - 1U].pages;
    const auto place =
        std::find_if(pages.begin(), pages.end(), [number](const Page& page) { return page.number == number; });
    if (place != pages.end()) {
        return *place;
    }
    pages.emplace_back().number = number;
    return pages.back();
}

bool Writer::add(const PageText& text, FindingSink* findings) {
    CodedPage page{text.page, text.subcode, text.start, text.end, text.designation, {}, _added++};
    for (const PageRow& row : text.rows) {
        const auto coded = codeRow(row, text.designation, findings, page.findingsOffset);
        if (coded && !insertRow(page.rows, *coded)) {
            addTo(findings, makeFinding(FindingCode::TeletextRowLeftOut, Severity::Error, page.findingsOffset, row.row,
                                        row.cells.size()));
        }
    }
    return add(std::move(page), findings);
}

bool Writer::add(CodedPage page, FindingSink* findings) {
    const std::uint64_t number = page.findingsOffset;
    const PageHeader asked{.page = page.page, .subcode = page.subcode};
    if (!packetOf(asked) || !asked.isCallable() || page.designation >= kDesignations) {
        addTo(findings,
              makeFinding(FindingCode::TeletextPageNotCallable, Severity::Error, number, page.page, page.subcode));
        return false;
    }
    Page& target = pageOf(page.page);
    page.end = std::min(page.end, kGreatestFrame);
    const std::uint64_t start = page.start * _fields;
    if (page.end <= page.start || (target.hasStarted && start <= target.lastStart)) {
        addTo(findings, makeFinding(FindingCode::TeletextTimesWrong, Severity::Error, number, page.start, page.end));
        return false;
    }
    leaveOutRows(page, findings);
    if (page.rows.empty()) {
        addTo(findings, makeFinding(FindingCode::TeletextPageEmpty, Severity::Remark, number));
        return false;
    }
    Text* const before = !target.waiting.empty() ? &target.waiting.back() : target.shown ? &*target.shown : nullptr;
    if (before != nullptr) {
        before->end = std::min(before->end, start);
    }
    target.hasStarted = true;
    target.lastStart = start;
    const std::uint64_t end = page.end * _fields;
    target.waiting.push({std::move(page), start, end});
    return true;
}

void Writer::expectChange(std::uint16_t page, std::optional<std::uint64_t> frame) {
    const unsigned magazine = page >> 8U;
    if (magazine > 0 && magazine <= kGreatestMagazine) {
        pageOf(page).expected = frame ? std::min(*frame, kGreatestFrame) * _fields : kNever;
    }
}

Writer::Event Writer::eventOf(const Page& page) noexcept {
    if (!page.waiting.empty()) {
        const std::uint64_t start = page.waiting.front().start;
        const std::uint64_t due = start == 0 ? 0 : start - 1;
        if (!page.shown || due <= page.shown->end) {
            return {due, false};
        }
    }
    return page.shown ? Event{page.shown->end, true} : Event{};
}

std::uint64_t Writer::nextDue(const Lane& lane) noexcept {
    std::uint64_t due = kNever;
    for (const Page& page : lane.pages) {
        due = std::min(due, eventOf(page).slot);
    }
    return due;
}

bool Writer::isDone() const noexcept {
    return std::all_of(_lanes.begin(), _lanes.end(),
                       [](const Lane& lane) { return lane.isIdle() && nextDue(lane) == kNever; });
}

FieldPackets Writer::next(FindingSink* findings) {
    FieldPackets field;
    field.frame = frameOf(_slot);
    field.isOdd = _slot % 2 == 0;
    _events.clear();
    // Whose turn came first sends first; headers that close pages stand behind what is to be seen.
    std::array<std::pair<std::uint64_t, Lane*>, kGreatestMagazine> order;
    std::size_t count = 0;
    for (Lane& lane : _lanes) {
        const std::uint64_t due = lane.isIdle() ? lane.pages.empty() ? kNever : nextDue(lane) : lane.due;
        if (due <= _slot) {
            order[count++] = {due, &lane};
        }
    }
    const std::span<std::pair<std::uint64_t, Lane*>> lanes(order.data(), count);
    std::stable_sort(lanes.begin(), lanes.end(),
                     [](const auto& left, const auto& right) { return left.first < right.first; });
    for (const bool closes : {false, true}) {
        for (const auto& [due, lane] : lanes) {
            send(*lane, field, closes, findings);
        }
    }
    for (Lane& lane : _lanes) {
        if (_options.repeatAfter != 0 && beginRepetition(lane)) {
            send(lane, field, true, findings);
        }
        if (_options.repeatAfter != 0) {
            tellOverdue(lane, findings);
        }
    }
    ++_slot;
    return field;
}

void Writer::send(Lane& lane, FieldPackets& field, bool closes, FindingSink* findings) {
    while (field.packets.size() < _options.packetsPerField) {
        if (lane.isIdle() && !begin(lane, findings)) {
            return;
        }
        const bool isClosing = lane.sent + 1 == lane.packets.size();
        if (isClosing ? !closes && nextDue(lane) > _slot : lane.sent >= lane.firstRow && _slot < lane.rowsFrom) {
            return;
        }
        // There is room for it.
        static_cast<void>(field.packets.append({&lane.packets[lane.sent], 1}));
        ++lane.sent;
        if (lane.isNew && lane.sent == 1) {
            _events.push_back({lane.number, TextEvent::Step::Begun});
        }
        if (!lane.isNew || lane.sent + 1 != lane.packets.size()) {
            continue;
        }
        _events.push_back({lane.number, TextEvent::Step::Shown});
        if (const std::uint64_t frame = frameOf(_slot); frame > lane.startFrame) {
            addTo(findings, makeFinding(FindingCode::TeletextPageLate, Severity::Warning, lane.number, lane.startFrame,
                                        frame - lane.startFrame));
        }
    }
}

/// Begins what is due and was due first.
bool Writer::begin(Lane& lane, FindingSink* findings) {
    while (true) {
        Page* first = nullptr;
        Event event;
        for (Page& page : lane.pages) {
            const Event candidate = eventOf(page);
            if (candidate.slot <= _slot && candidate.slot < event.slot) {
                event = candidate;
                first = &page;
            }
        }
        if (first == nullptr) {
            return false;
        }
        lane.due = event.slot;
        if (event.isErase) {
            beginErase(lane, *first, findings);
            return true;
        }
        if (beginText(lane, *first, findings)) {
            return true;
        }
    }
}

void Writer::beginErase(Lane& lane, Page& page, FindingSink* findings) {
    const std::uint64_t frame = frameOf(_slot);
    const std::uint64_t end = frameOf(page.shown->end);
    if (frame > end) {
        addTo(findings, makeFinding(FindingCode::TeletextEraseLate, Severity::Warning, page.shown->page.findingsOffset,
                                    end, frame - end));
    }
    putHeader(lane, *page.shown, true, true);
    lane.firstRow = lane.packets.size();
    putClosingHeader(lane, *page.shown);
    lane.rowsFrom = _slot;
    lane.isNew = false;
    page.shown.reset();
}

/// False when nothing of it is to be sent.
bool Writer::beginText(Lane& lane, Page& page, FindingSink* findings) {
    Text text = page.waiting.pop();
    const bool isAddition = page.shown && text.start <= page.shown->end && isPartOf(page.shown->page, text.page);
    const std::uint64_t rowsFrom = std::max(text.start, isAddition ? _slot : _slot + 1);
    if (rowsFrom >= text.end) {
        addTo(findings, makeFinding(FindingCode::TeletextPageLeftOut, Severity::Error, text.page.findingsOffset,
                                    frameOf(text.start), frameOf(text.end)));
        return false;
    }
    const bool isSame = isAddition && page.shown->page.rows.size() == text.page.rows.size();
    if (!isSame) {
        putHeader(lane, text, !isAddition, true);
        putRows(lane, text, isAddition ? &*page.shown : nullptr, findings);
        putClosingHeader(lane, text);
        lane.rowsFrom = rowsFrom;
        lane.startFrame = frameOf(text.start);
        lane.number = text.page.findingsOffset;
        lane.isNew = true;
        page.repeat = _slot + std::uint64_t{_options.repeatAfter} * nominalFramesPerSecond(_rate) * _fields;
    }
    if (isSame) {
        _events.push_back({text.page.findingsOffset, TextEvent::Step::Shown});
    }
    page.shown = std::move(text);
    page.isOverdueTold = false;
    return !isSame;
}

/// Whether nothing is being sent or due within half a second.
bool Writer::isQuiet() const noexcept {
    const std::uint64_t apart = std::uint64_t{nominalFramesPerSecond(_rate)} * _fields / 2;
    return std::all_of(_lanes.begin(), _lanes.end(), [&](const Lane& lane) {
        const auto isFar = [&](const Page& page) { return page.expected > _slot + apart; };
        return lane.pages.empty() || (lane.isIdle() && _slot >= lane.due + apart && nextDue(lane) > _slot + apart &&
                                      std::all_of(lane.pages.begin(), lane.pages.end(), isFar));
    });
}

/// Once for each text that waits for its repetition as long again as it was to wait at all.
void Writer::tellOverdue(Lane& lane, FindingSink* findings) {
    const std::uint64_t period = std::uint64_t{_options.repeatAfter} * nominalFramesPerSecond(_rate) * _fields;
    for (Page& page : lane.pages) {
        if (page.shown && !page.isOverdueTold && page.repeat + period <= _slot) {
            page.isOverdueTold = true;
            addTo(findings,
                  makeFinding(FindingCode::TeletextRepetitionLate, Severity::Remark, page.shown->page.findingsOffset,
                              page.number, std::uint64_t{2} * _options.repeatAfter));
        }
    }
}

bool Writer::beginRepetition(Lane& lane) {
    const auto page = std::find_if(lane.pages.begin(), lane.pages.end(), [this](const Page& candidate) {
        return candidate.shown && candidate.repeat <= _slot;
    });
    if (page == lane.pages.end() || !isQuiet()) {
        return false;
    }
    putHeader(lane, *page->shown, false, false);
    putRows(lane, *page->shown, nullptr, nullptr);
    putClosingHeader(lane, *page->shown);
    lane.rowsFrom = _slot;
    lane.isNew = false;
    page->repeat = _slot + std::uint64_t{_options.repeatAfter} * nominalFramesPerSecond(_rate) * _fields;
    return true;
}

void Writer::putHeader(Lane& lane, const Text& text, bool erases, bool isUpdate) const {
    PageHeader header;
    header.page = text.page.page;
    header.subcode = text.page.subcode;
    header.erasesPage = erases;
    header.isNewsflash = _options.isNewsflash;
    header.isSubtitle = _options.isSubtitle;
    header.suppressesHeader = _options.suppressesHeader;
    header.isUpdate = isUpdate;
    header.isSerial = _options.isSerial;
    header.nationalOption = text.page.designation & 7U;
    lane.packets.clear();
    lane.sent = 0;
    lane.packets.push_back(*packetOf(header));
}

void Writer::putRows(Lane& lane, const Text& text, const Text* shown, FindingSink* findings) {
    const auto magazine = static_cast<std::uint8_t>(text.page.page >> 8U);
    if (needsDesignationPacket(text.page.designation, _options.region)) {
        lane.packets.push_back(*designationPacket(magazine, text.page.designation));
    }
    // Also those of rows that are there already: what comes takes the place of all that was.
    _placements.clear();
    for (const CodedRow& row : text.page.rows) {
        _placements.insert(_placements.end(), row.placements.begin(), row.placements.end());
    }
    if (!_placements.empty()) {
        const std::size_t before = lane.packets.size();
        lane.packets.resize(before + kEnhancementPackets);
        OffsetSink placed(findings, text.page.findingsOffset);
        const std::span<Packet> room = std::span(lane.packets).subspan(before);
        lane.packets.resize(before + enhancementPackets(_placements, magazine, room, &placed));
    }
    lane.firstRow = lane.packets.size();
    for (const CodedRow& row : text.page.rows) {
        const bool isThere = shown != nullptr &&
                             std::find(shown->page.rows.begin(), shown->page.rows.end(), row) != shown->page.rows.end();
        if (!isThere) {
            lane.packets.push_back(*rowPacket(magazine, row.row, row.codes));
        }
    }
}

void Writer::putClosingHeader(Lane& lane, const Text& text) const {
    PageHeader header;
    header.page = static_cast<std::uint16_t>(text.page.page | 0xFFU);
    header.isSerial = _options.isSerial;
    lane.packets.push_back(*packetOf(header));
}

}  // namespace qlx::teletext

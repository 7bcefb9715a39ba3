// Sends captions: which commands each frame carries.
#include "WideCharacters.h"

#include <qlx/cc/slots.h>
#include <qlx/cea708/writer.h>

#include "base/MakeFinding.h"
#include <algorithm>
#include <utility>

namespace qlx::cea708 {

namespace detail {

/// The packet of a frame while it is filled, a service block after the other.
class FrameBlocks {
public:
    /// `triplets` of a frame at most.
    explicit FrameBlocks(std::size_t triplets) noexcept : _free(2 * triplets - 1) {}

    /// Puts bytes that belong together into one block; false, and nothing is changed, when the frame has no room.
    bool put(std::uint8_t service, std::span<const std::uint8_t> bytes) {
        const bool continues = service == _service && _size + bytes.size() <= kGreatestBlockData;
        const std::size_t header = service >= kFirstExtendedService ? 2 : 1;
        const std::size_t needed = bytes.size() + (continues ? 0 : header);
        if (needed > _free) {
            return false;
        }
        if (!continues) {
            end();
            _service = service;
        }
        std::copy(bytes.begin(), bytes.end(), _block.begin() + static_cast<std::ptrdiff_t>(_size));
        _size += bytes.size();
        _free -= needed;
        return true;
    }

    /// The packet with all blocks.
    Packet& finish() {
        end();
        return _packet;
    }

private:
    void end() {
        if (_size > 0) {
            // Its room has been counted.
            (void)_packet.addBlock(_service, std::span(_block).first(_size));
            _size = 0;
        }
    }

    std::size_t _free;
    std::uint8_t _service = 0;
    std::size_t _size = 0;  ///< Of the last block.
    std::array<std::uint8_t, kGreatestBlockData> _block{};
    Packet _packet;
};

}  // namespace detail

namespace {

std::int64_t number(std::uint64_t value) noexcept {
    return static_cast<std::int64_t>(value);
}

std::array<std::uint8_t, 2> bytesOf(WindowsAction action, std::uint8_t windows) noexcept {
    return {static_cast<std::uint8_t>(action), windows};
}

/// Of the command with which the bytes begin; both halves of a pair of UTF-16 stay together.
std::size_t sizeOfJoined(std::span<const std::uint8_t> bytes) noexcept {
    const std::size_t size = sizeOfCommand(bytes);
    const bool isHalf = bytes[0] == kP16 && size < bytes.size() && isHighSurrogate(char32_t{bytes[1]} << 8U);
    return isHalf ? size + sizeOfCommand(bytes.subspan(size)) : size;
}

}  // namespace

Writer::Writer(FrameRate rate, const ServiceWriterOptions& options)
    : _rate(rate), _options(options), _clearAfter(std::uint64_t{options.clearAfter} * nominalFramesPerSecond(rate)),
      _frame(options.firstFrame) {}

bool Writer::add(const Caption& caption, FindingSink* findings) {
    const std::uint64_t ordinal = _added++;
    if (caption.service == 0 || caption.service > kGreatestService) {
        addTo(findings, {FindingCode::Cea708NoSuchService, Severity::Error, ordinal, caption.service, 0});
        return false;
    }
    const auto place = std::lower_bound(_lanes.begin(), _lanes.end(), caption.service,
                                        [](const Lane& lane, std::uint8_t service) { return lane.service < service; });
    const bool isThere = place != _lanes.end() && place->service == caption.service;
    if (caption.end <= caption.start || caption.end > kGreatestCaptionFrame ||
        (isThere && place->hasStarted && caption.start <= place->lastStart)) {
        addTo(findings,
              {FindingCode::Cea708TimesWrong, Severity::Error, ordinal, number(caption.start), number(caption.end)});
        return false;
    }
    const bool isRollUp = caption.style == CaptionStyle::RollUp;
    const bool usesSecond = isThere && place->usesSecondWindow;
    Cue cue{.number = ordinal, .start = caption.start, .end = caption.end, .style = caption.style};
    const std::uint8_t window = isRollUp ? 2 : usesSecond ? 1 : 0;
    cue.windows = encodeCaption(caption,
                                {.aspectRatio = _options.aspectRatio,
                                 .usesWideCharacters = _options.usesWideCharacters,
                                 .window = window,
                                 .findingsOffset = ordinal,
                                 .wideCode = _options.wideCode,
                                 .lowerWindow = static_cast<std::uint8_t>(window + 3)},
                                cue.bytes, findings);
    if (cue.bytes.empty()) {
        addTo(findings, {FindingCode::Cea708CaptionEmpty, Severity::Remark, ordinal, 0, 0});
        return false;
    }
    Lane& lane = isThere ? *place : *_lanes.insert(place, Lane{.service = caption.service});
    if (lane.hasStarted && lane.lastEnd > caption.start) {
        addTo(findings, {FindingCode::Cea708CaptionOverlaps, Severity::Warning, ordinal, number(caption.start),
                         number(lane.lastEnd)});
        if (!lane.cues.empty()) {
            lane.cues.back().ownEnd = std::exchange(lane.cues.back().end, caption.start);
        }
        if (lane.shown && (lane.cues.empty() || lane.cues.back().number == lane.shown->number)) {
            lane.shown->ownEnd = std::exchange(lane.shown->end, caption.start);
        }
    }
    lane.hasStarted = true;
    lane.lastStart = caption.start;
    lane.lastEnd = caption.end;
    lane.usesSecondWindow = isRollUp ? lane.usesSecondWindow : !lane.usesSecondWindow;
    lane.cues.push(std::move(cue));
    return true;
}

std::span<const cc::Triplet> Writer::next(FindingSink* findings) {
    _events.clear();
    detail::FrameBlocks blocks(cc::slotsOf(_rate).greatestDtvcc);
    for (Lane& lane : _lanes) {
        sendDue(lane, blocks, findings);
    }
    while (Lane* const lane = laneToLoad()) {
        load(*lane, blocks, findings);
    }
    ++_frame;
    Packet& packet = blocks.finish();
    if (packet.blocks().empty()) {
        return {};
    }
    packet.setSequenceNumber(_sequence++);
    // There is room for the longest one.
    const std::size_t count = *writeTriplets(packet, _triplets);
    return std::span(_triplets).first(count);
}

std::size_t Writer::waiting(std::uint8_t service) const noexcept {
    const auto lane =
        std::find_if(_lanes.begin(), _lanes.end(), [service](const Lane& one) { return one.service == service; });
    return lane == _lanes.end() ? 0 : lane->cues.size();
}

bool Writer::isDone() const noexcept {
    return std::all_of(_lanes.begin(), _lanes.end(), [](const Lane& lane) { return lane.cues.empty() && !lane.shown; });
}

/// Of those that have something to send now the one whose caption begins first; null when there is none.
Writer::Lane* Writer::laneToLoad() noexcept {
    Lane* first = nullptr;
    for (Lane& lane : _lanes) {
        if (lane.cues.empty() || lane.notBefore > _frame) {
            continue;
        }
        const Cue& cue = lane.cues.front();
        const bool hasTurn = cue.style == CaptionStyle::PopOn ? !cue.isSent() : cue.isBegun() || cue.start <= _frame;
        if (hasTurn && (first == nullptr || cue.start < first->cues.front().start)) {
            first = &lane;
        }
    }
    return first;
}

/// What has its time: a caption that is loaded is shown, one that is over is deleted.
void Writer::sendDue(Lane& lane, detail::FrameBlocks& blocks, FindingSink* findings) {
    if (!lane.cues.empty()) {
        const Cue& cue = lane.cues.front();
        if (cue.style == CaptionStyle::PopOn && cue.isSent() && cue.start <= _frame) {
            (void)swap(lane, blocks, findings);
            return;
        }
    }
    if (lane.shown && lane.shown->over() <= _frame && isErased(lane) &&
        blocks.put(lane.service, bytesOf(WindowsAction::Delete, lane.shown->windows))) {
        endShown(lane, findings);
    }
}

/// Whether what is shown is deleted at its end.
bool Writer::isErased(const Lane& lane) const noexcept {
    if (lane.cues.empty()) {
        return true;
    }
    const Cue& next = lane.cues.front();
    if (next.style != CaptionStyle::PopOn && next.isBegun()) {
        // It is what is shown.
        return false;
    }
    // The next one begins before what has missed its end is over.
    const bool isOvertaken = next.start < lane.shown->over();
    if (next.style == CaptionStyle::PopOn && (_frame < lane.shown->ownEnd || isOvertaken)) {
        return false;
    }
    const bool rollsOn = next.style == CaptionStyle::RollUp && lane.shown->style == CaptionStyle::RollUp;
    return !rollsOn || next.start > lane.shown->over() + _clearAfter;
}

/// As much of the front caption as the frame has room for.
void Writer::load(Lane& lane, detail::FrameBlocks& blocks, FindingSink* findings) {
    Cue& cue = lane.cues.front();
    const bool isPopOn = cue.style == CaptionStyle::PopOn;
    // What has no room now, or has all been sent, has its next turn in the next frame.
    if (!isPopOn && !cue.isBegun() && !begin(lane, blocks, findings)) {
        lane.notBefore = _frame + 1;
        return;
    }
    // Behind the text stands ETX.
    cue.textComplete = cue.bytes.size() - cue.sent > 1 ? _frame : cue.textComplete;
    while (!cue.isSent()) {
        const std::span<const std::uint8_t> rest = std::span(cue.bytes).subspan(cue.sent);
        const std::size_t size = sizeOfJoined(rest);
        if (!blocks.put(lane.service, rest.first(size))) {
            lane.notBefore = _frame + 1;
            return;
        }
        if (!cue.isBegun()) {
            _events.push_back({cue.number, CaptionStep::Begun});
        }
        cue.sent += size;
    }
    if (!isPopOn) {
        if (cue.textComplete >= cue.end) {
            addTo(findings, {FindingCode::Cea708TextLate, Severity::Warning, cue.number,
                             number(cue.textComplete - cue.end + 1), 0});
        }
        (void)lane.cues.pop();
    } else if (cue.start <= _frame) {
        lane.notBefore = swap(lane, blocks, findings) ? lane.notBefore : _frame + 1;
    }
}

/// The window of a caption that is written while it is shown. One that is shown gives way, if it is another.
bool Writer::begin(Lane& lane, detail::FrameBlocks& blocks, FindingSink* findings) {
    Cue& cue = lane.cues.front();
    const std::span<const std::uint8_t> definition = std::span(cue.bytes).first(kDefinitionBytes);
    std::array<std::uint8_t, 2 + kDefinitionBytes> bytes{};
    std::size_t size = 0;
    const bool rollsOn = lane.shown && lane.shown->style == CaptionStyle::RollUp && cue.style == CaptionStyle::RollUp;
    if (lane.shown && !(rollsOn && std::equal(definition.begin(), definition.end(), lane.shown->definition.begin()))) {
        const auto deletion = bytesOf(WindowsAction::Delete, lane.shown->windows);
        std::copy(deletion.begin(), deletion.end(), bytes.begin());
        size = deletion.size();
    }
    std::copy(definition.begin(), definition.end(), bytes.begin() + static_cast<std::ptrdiff_t>(size));
    size += definition.size();
    if (!blocks.put(lane.service, std::span(bytes).first(size))) {
        return false;
    }
    _events.push_back({cue.number, CaptionStep::Begun});
    cue.sent = kDefinitionBytes;
    show(lane, cue, findings);
    return true;
}

/// One block: the caption that is loaded takes the place of what is shown.
bool Writer::swap(Lane& lane, detail::FrameBlocks& blocks, FindingSink* findings) {
    const Cue& cue = lane.cues.front();
    const auto display = bytesOf(WindowsAction::Display, cue.windows);
    std::array<std::uint8_t, 4> bytes{};
    std::size_t size = 0;
    if (lane.shown) {
        const auto deletion = bytesOf(WindowsAction::Delete, lane.shown->windows);
        std::copy(deletion.begin(), deletion.end(), bytes.begin());
        size = deletion.size();
    }
    std::copy(display.begin(), display.end(), bytes.begin() + static_cast<std::ptrdiff_t>(size));
    if (!blocks.put(lane.service, std::span(bytes).first(size + display.size()))) {
        return false;
    }
    show(lane, cue, findings);
    (void)lane.cues.pop();
    return true;
}

/// The caption takes the place of what is shown.
void Writer::show(Lane& lane, const Cue& cue, FindingSink* findings) {
    if (lane.shown) {
        endShown(lane, findings);
    }
    if (_frame > cue.start) {
        addTo(findings, {FindingCode::Cea708ShownLate, Severity::Warning, cue.number, number(_frame - cue.start), 0});
    }
    _events.push_back({cue.number, CaptionStep::Shown});
    Shown shown{.number = cue.number,
                .start = cue.start,
                .end = cue.end,
                .style = cue.style,
                .windows = cue.windows,
                .ownEnd = cue.ownEnd,
                .shownAt = _frame};
    std::copy_n(cue.bytes.begin(), kDefinitionBytes, shown.definition.begin());
    lane.shown = shown;
}

/// The rows of a roll-up caption may stay until others take their place.
void Writer::endShown(Lane& lane, FindingSink* findings) {
    const bool isBeforeRollUp = !lane.cues.empty() && lane.cues.front().style == CaptionStyle::RollUp;
    const bool rollsOn = lane.shown->style == CaptionStyle::RollUp && isBeforeRollUp &&
                         lane.cues.front().start <= lane.shown->over() + _clearAfter;
    if (_frame > lane.shown->end && !rollsOn) {
        addTo(findings,
              {FindingCode::Cea708EndLate, Severity::Warning, lane.shown->number, number(_frame - lane.shown->end), 0});
    }
    _events.push_back({lane.shown->number, CaptionStep::Ended});
    lane.shown.reset();
}

}  // namespace qlx::cea708

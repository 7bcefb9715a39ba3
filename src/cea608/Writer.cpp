// Sends captions: which pair each frame carries.
#include "cea608/XdsCodes.h"

#include <qlx/cc/slots.h>
#include <qlx/cea608/writer.h>

#include "base/MakeFinding.h"
#include <algorithm>
#include <limits>
#include <span>
#include <utility>

namespace qlx::cea608 {

namespace {

std::int64_t number(std::uint64_t value) noexcept {
    return static_cast<std::int64_t>(value);
}

}  // namespace

Writer::Writer(FrameRate rate, const WriterOptions& options)
    : _rate(rate), _options(options), _fieldsAlternate(cc::slotsOf(rate).fieldsAlternate),
      _clearAfter(std::uint64_t{options.clearAfter} * nominalFramesPerSecond(rate) / (_fieldsAlternate ? 2 : 1)),
      _frame(options.firstFrame) {}

/// Alternating fields: field 1 on even frames, field 2 on odd ones.
std::uint64_t Writer::slotAtOrAfter(std::size_t field, std::uint64_t frame) const noexcept {
    return _fieldsAlternate ? frame / 2 + (field == 0 ? frame % 2 : 0) : frame;
}

std::uint64_t Writer::frameOfSlot(std::size_t field, std::uint64_t slot) const noexcept {
    return _fieldsAlternate ? 2 * slot + field : slot;
}

bool Writer::add(const Caption& caption, FindingSink* findings) {
    const std::size_t field = caption.channel.field == 2 ? 1 : 0;
    Lane& lane = _fields[field].lanes[caption.channel.channel == 2 ? 1 : 0];
    const std::uint64_t ordinal = _added++;
    if (caption.end <= caption.start || caption.end > kGreatestCaptionFrame ||
        (lane.hasStarted && caption.start <= lane.lastStart)) {
        addTo(findings,
              {FindingCode::Cea608TimesWrong, Severity::Error, ordinal, number(caption.start), number(caption.end)});
        return false;
    }
    _encoded.clear();
    encodeCaption(caption, {.doublesCodes = _options.doublesCodes, .findingsOffset = ordinal}, _encoded, findings);
    if (_encoded.empty()) {
        addTo(findings, {FindingCode::Cea608CaptionEmpty, Severity::Remark, ordinal, 0, 0});
        return false;
    }
    const std::uint64_t start = slotAtOrAfter(field, caption.start);
    if (lane.hasStarted && lane.lastEnd > caption.start) {
        addTo(findings, {FindingCode::Cea608CaptionOverlaps, Severity::Warning, ordinal, number(caption.start),
                         number(lane.lastEnd)});
        if (!lane.cues.empty()) {
            lane.cues.back().ownEnd = std::exchange(lane.cues.back().end, start);
        }
        if (lane.shown && (lane.cues.empty() || lane.cues.back().number == lane.shown->number)) {
            lane.shown->ownEnd = std::exchange(lane.shown->end, start);
        }
    }
    lane.hasStarted = true;
    lane.lastStart = caption.start;
    lane.lastEnd = caption.end;
    lane.cues.push({.number = ordinal,
                    .start = start,
                    .end = slotAtOrAfter(field, caption.end),
                    .pairs = _encoded.size(),
                    .mode = modeCode(caption.channel, caption.style, caption.rollUpRows),
                    .style = caption.style,
                    .knownFrom = slotAtOrAfter(field, _frame)});
    for (const CodePair& pair : _encoded) {
        lane.pairs.push(pair);
    }
    return true;
}

void Writer::addText(const TextMessage& text, FindingSink* findings) {
    const std::size_t field = text.channel.field == 2 ? 1 : 0;
    Lane& lane = _fields[field].lanes[kCaptionLanes + (text.channel.channel == 2 ? 1 : 0)];
    const std::uint64_t ordinal = _added++;
    if (text.start > kGreatestCaptionFrame) {
        addTo(findings,
              {FindingCode::Cea608TimesWrong, Severity::Error, ordinal, number(text.start), number(text.start)});
        return;
    }
    _encoded.clear();
    encodeText(text, {.doublesCodes = _options.doublesCodes, .findingsOffset = ordinal}, _encoded, findings);
    const std::uint64_t start = slotAtOrAfter(field, text.start);
    lane.cues.push({.number = ordinal,
                    .start = start,
                    .end = start,
                    .pairs = _encoded.size(),
                    .mode = textCode(text.channel),
                    .style = CaptionStyle::RollUp,
                    .isText = true});
    for (const CodePair& pair : _encoded) {
        lane.pairs.push(pair);
    }
}

void Writer::setXds(std::vector<XdsPacket> packets, std::uint32_t every, FindingSink* findings) {
    std::vector<Pair> pairs;
    std::uint64_t ordinal = 0;
    std::erase_if(packets, [&](const XdsPacket& packet) {
        pairs.clear();
        appendXdsPairs(packet, pairs);
        if (pairs.empty()) {
            addTo(findings, {FindingCode::Cea608XdsLeftOut, Severity::Error, ordinal, nameOfPacket(packet),
                             static_cast<std::int64_t>(packet.bytes.size())});
        }
        ++ordinal;
        return pairs.empty();
    });
    _xds.packets = std::move(packets);
    _xds.next = 0;
    _xds.again = 0;
    _xds.period = std::uint64_t{std::max(every, 1U)} * nominalFramesPerSecond(_rate) / (_fieldsAlternate ? 2 : 1);
}

FramePairs Writer::next(FindingSink* findings) {
    const cc::FrameFields fields = cc::fieldsOfFrame(_rate, _frame);
    const std::uint64_t slot = _fieldsAlternate ? _frame / 2 : _frame;
    ++_frame;
    _events.clear();
    FramePairs pairs;
    if (fields.field1) {
        pairs.field1 = withOddParity(nextPair(0, slot, findings));
    }
    if (fields.field2) {
        pairs.field2 = withOddParity(nextPair(1, slot, findings));
    }
    return pairs;
}

bool Writer::isDone() const noexcept {
    return _xds.sent == _xds.pairs.size() && std::all_of(_fields.begin(), _fields.end(), [](const Field& field) {
               const auto isLaneDone = [](const Lane& lane) { return lane.cues.empty() && !lane.shown; };
               return field.sent == field.burst.size() &&
                      std::all_of(field.lanes.begin(), field.lanes.end(), isLaneDone);
           });
}

/// What is due goes first, then the channels in their order.
Pair Writer::nextPair(std::size_t field, std::uint64_t slot, FindingSink* findings) {
    Field& sender = _fields[field];
    if (sender.sent == sender.burst.size()) {
        sender.burst.clear();
        sender.sent = 0;
        bool isSent = sendDue(field, 0, slot, findings) || sendDue(field, 1, slot, findings);
        for (std::size_t channel = 0; channel < kLanes && !isSent; ++channel) {
            isSent = sendPairs(field, channel, slot, findings);
        }
        if (field == 1 && (isSent || !sendXds(slot))) {
            _xds.isInterrupted = _xds.isInterrupted || !sender.burst.empty();
        }
    }
    return sender.sent < sender.burst.size() ? sender.burst[sender.sent++] : Pair{};
}

/// EOC or EDM of a channel; false when none of them is due.
bool Writer::sendDue(std::size_t field, std::size_t channel, std::uint64_t slot, FindingSink* findings) {
    Field& sender = _fields[field];
    Lane& lane = sender.lanes[channel];
    const auto control = [&](Control which) {
        push(sender, controlCode(which, static_cast<std::uint8_t>(channel + 1), field == 1));
        sender.selected = sender.selected == channel ? channel : kLanes;
    };
    if (!lane.cues.empty()) {
        const Cue& cue = lane.cues.front();
        if (cue.style == CaptionStyle::PopOn && cue.pairs == 0 && cue.start <= slot) {
            control(Control::EndOfCaption);
            end(field, lane, slot, findings);
            start(field, lane, cue, slot, findings);
            lane.shown = lane.cues.pop();
            lane.shown->shownAt = slot;
            lane.freeFrom = slot + sender.burst.size();
            return true;
        }
    }
    if (!lane.shown || eraseTime(lane) > slot ||
        !isErased(lane, loadedAt(lane, slot, sender.selected == channel), slot)) {
        return false;
    }
    control(Control::EraseDisplayedMemory);
    end(field, lane, slot, findings);
    lane.shown.reset();
    return true;
}

/// The slot up to which what is shown is to be seen: where it has missed its end it has its own length, without what the
/// next one cuts of it.
std::uint64_t Writer::overTime(const Cue& shown) noexcept {
    return shown.shownAt < shown.end ? shown.end : shown.shownAt + std::max(shown.end, shown.ownEnd) - shown.start;
}

/// Whether the next caption begins before what is shown is over, which happens where that one has missed its end.
bool Writer::isOvertaken(const Lane& lane) noexcept {
    return !lane.cues.empty() && lane.cues.front().start < overTime(*lane.shown);
}

/// The slot of the EDM of what is shown. In front of a caption that is painted at once it is over as that one begins.
std::uint64_t Writer::eraseTime(const Lane& lane) const noexcept {
    const std::uint64_t time = overTime(*lane.shown);
    const bool isPaintedNext =
        !lane.cues.empty() && lane.cues.front().style == CaptionStyle::PaintOn && !lane.cues.front().isBegun;
    if (!isPaintedNext || lane.cues.front().start >= time + codeLength()) {
        return time;
    }
    return std::max<std::uint64_t>(lane.cues.front().start, codeLength()) - codeLength();
}

/// The slot behind the last pair that a channel's next pop-on caption still has to send, where its pairs are sent from
/// `slot` on.
/// @param isSelected Whether receivers still listen to the channel then.
std::uint64_t Writer::loadedAt(const Lane& lane, std::uint64_t slot, bool isSelected) const noexcept {
    if (lane.cues.empty() || lane.cues.front().pairs == 0) {
        return slot;
    }
    const Cue& next = lane.cues.front();
    return slot + next.pairs + (next.isBegun && !isSelected ? codeLength() : 0);
}

/// Whether what is shown needs an EDM at `time`. It needs none when what comes next takes its place within the time of
/// one.
/// @param loaded Of the channel's next pop-on caption (loadedAt()).
bool Writer::isErased(const Lane& lane, std::uint64_t loaded, std::uint64_t time) const noexcept {
    if (lane.cues.empty()) {
        return true;
    }
    const Cue& next = lane.cues.front();
    const std::uint64_t atOnce = time + codeLength() - 1;
    switch (next.style) {
    case CaptionStyle::PopOn:
        if (time < lane.shown->ownEnd || isOvertaken(lane)) {
            return false;
        }
        return std::max(next.start, loaded) > atOnce;
    case CaptionStyle::RollUp:
        if (next.isBegun) {
            return false;
        }
        return lane.shown->style == CaptionStyle::RollUp ? next.start > overTime(*lane.shown) + _clearAfter
                                                         : next.start > atOnce;
    case CaptionStyle::PaintOn:
        return !next.isBegun;
    }
    return true;
}

/// Pairs of a channel that stand side by side, in front of what is due; false when it has none to send yet.
bool Writer::sendPairs(std::size_t field, std::size_t channel, std::uint64_t slot, FindingSink* findings) {
    Field& sender = _fields[field];
    Lane& lane = sender.lanes[channel];
    if (lane.cues.empty()) {
        return false;
    }
    Cue& cue = lane.cues.front();
    const bool isPopOn = cue.style == CaptionStyle::PopOn;
    if (cue.pairs == 0 || (!isPopOn && !cue.isBegun && cue.start > slot)) {
        return false;
    }
    std::size_t count = 1;
    while (count < cue.pairs && lane.pairs[count].isJoined) {
        ++count;
    }
    const bool isResumed = cue.isBegun && sender.selected != channel;
    const std::size_t size = count + (isResumed ? codeLength() : 0);
    if (slot + size > nextDue(sender, channel, slot, size)) {
        return true;
    }
    if (isResumed) {
        push(sender, cue.mode);
    }
    for (std::size_t index = 0; index < count; ++index) {
        sender.burst.push_back(lane.pairs.pop().pair);
    }
    sender.selected = channel;
    cue.pairs -= count;
    if (!cue.isBegun) {
        _events.push_back({cue.number, CaptionStep::Begun});
    }
    if (!cue.isBegun && !isPopOn && !cue.isText) {
        // The rows of a roll-up caption move up for the next one, whenever that comes.
        const bool movesUp = lane.shown && lane.shown->style == CaptionStyle::RollUp;
        end(field, lane, slot, movesUp ? nullptr : findings);
        start(field, lane, cue, slot, findings);
        lane.shown = cue;
        lane.shown->shownAt = slot;
    }
    cue.isBegun = true;
    if (!isPopOn && cue.pairs == 0) {
        lane.freeFrom = slot + sender.burst.size();
        (void)lane.cues.pop();
    }
    return true;
}

/// A packet's next pair, or the code behind which it goes on.
bool Writer::sendXds(std::uint64_t slot) {
    Field& sender = _fields[1];
    const bool isOpen = _xds.sent < _xds.pairs.size();
    if (isOpen && _xds.isInterrupted && _xds.sent > 0) {
        sender.burst.push_back(xdsContinuePair(_xds.current));
    } else {
        if (!isOpen) {
            if (_xds.next == _xds.packets.size() && slot >= _xds.again) {
                _xds.next = 0;
            }
            if (_xds.next == _xds.packets.size()) {
                return false;
            }
            _xds.again = _xds.next == 0 ? (slot / _xds.period + 1) * _xds.period : _xds.again;
            _xds.current = _xds.packets[_xds.next++];
            _xds.pairs.clear();
            _xds.sent = 0;
            appendXdsPairs(_xds.current, _xds.pairs);
        }
        sender.burst.push_back(_xds.pairs[_xds.sent++]);
    }
    _xds.isInterrupted = false;
    sender.selected = kLanes;
    return true;
}

/// The slot behind `slot` that is kept for a code which has its time.
/// @param sending The channel that would send `count` pairs from `slot` on: others go on behind them.
std::uint64_t Writer::nextDue(const Field& field, std::size_t sending, std::uint64_t slot,
                              std::size_t count) const noexcept {
    std::uint64_t due = std::numeric_limits<std::uint64_t>::max();
    const auto keep = [&due, slot](std::uint64_t time) { due = time > slot ? std::min(due, time) : due; };
    for (std::size_t channel = 0; channel < kCaptionLanes; ++channel) {
        const Lane& lane = field.lanes[channel];
        const Cue* const cue = lane.cues.empty() ? nullptr : &lane.cues.front();
        const bool isPopOn = cue != nullptr && cue->style == CaptionStyle::PopOn;
        if (lane.shown) {
            const std::uint64_t time = isPopOn ? std::max(overTime(*lane.shown), lane.shown->ownEnd) : eraseTime(lane);
            const std::uint64_t loaded = channel == sending ? loadedAt(lane, slot, field.selected == channel)
                                                            : loadedAt(lane, slot + count, false);
            if (isErased(lane, loaded, time)) {
                keep(time);
            }
        }
        if (cue != nullptr && (isPopOn ? cue->pairs == 0 : !cue->isBegun)) {
            keep(cue->start);
        }
    }
    return due;
}

void Writer::push(Field& field, const Code& code) const {
    const Pair pair = pairOf(code).value_or(Pair{});
    field.burst.insert(field.burst.end(), codeLength(), pair);
}

/// A pop-on caption could be loaded behind the one before it, as soon as it was added: what it lacks there comes behind its
/// start.
void Writer::start(std::size_t field, const Lane& lane, const Cue& cue, std::uint64_t slot, FindingSink* findings) {
    _events.push_back({cue.number, CaptionStep::Shown});
    if (slot > cue.start) {
        const std::uint64_t loadedFrom = cue.style == CaptionStyle::PopOn ? std::max(lane.freeFrom, cue.knownFrom) : 0;
        addTo(findings, {FindingCode::Cea608ShownLate, Severity::Warning, cue.number,
                         number(frameOfSlot(field, slot) - frameOfSlot(field, cue.start)),
                         number(slot - std::max(cue.start, loadedFrom))});
    }
}

/// Of what is shown, if there is something.
void Writer::end(std::size_t field, const Lane& lane, std::uint64_t slot, FindingSink* findings) {
    if (!lane.shown) {
        return;
    }
    _events.push_back({lane.shown->number, CaptionStep::Ended});
    if (slot > lane.shown->end) {
        addTo(findings, {FindingCode::Cea608EndLate, Severity::Warning, lane.shown->number,
                         number(frameOfSlot(field, slot) - frameOfSlot(field, lane.shown->end)), 0});
    }
}

}  // namespace qlx::cea608

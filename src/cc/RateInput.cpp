// What a change of the frame rate takes in.
#include <qlx/cc/rate.h>
#include <qlx/cc/time_code.h>

#include "base/Bytes.h"
#include "cc/RateTime.h"

#include <algorithm>
#include <array>

namespace qlx::cc {

namespace {

using detail::InputFrameState;
using detail::SectionContents;
using detail::WaitingField;
using detail::WaitingTriplet;

/// A CEA-608 control code: receivers take the second of two as a repetition of the first.
bool isControlCode(const Triplet& pair) noexcept {
    const unsigned code = pair.first & 0x7FU;
    return code >= 0x10 && code <= 0x1F;
}

/// Triplets of a DTVCC packet with this first byte (CTA-708: packet_size_code).
std::size_t packetTriplets(const Triplet& start) noexcept {
    constexpr unsigned kSizeBits = 0x3F;
    constexpr std::size_t kGreatestPacket = 64;
    const std::size_t code = start.first & kSizeBits;
    return code == 0 ? kGreatestPacket : code;
}

/// The frame that carries a pair of the field: this one or the next.
std::uint64_t slotAtOrAfter(FrameRate rate, CcType field, std::uint64_t frame) noexcept {
    const FrameFields fields = fieldsOfFrame(rate, frame);
    const bool isThere = field == CcType::Field1 ? fields.field1 : fields.field2;
    return isThere ? frame : frame + 1;
}

}  // namespace

namespace detail {

bool SectionContents::isLike(const SectionContents& other) const noexcept {
    return hasServices == other.hasServices && flags == other.flags && services == other.services &&
           future == other.future;
}

std::uint8_t SectionContents::id() const noexcept {
    return hasServices ? static_cast<std::uint8_t>(CdpSection::ServiceInformation) : future.items().front();
}

}  // namespace detail

RateChange::RateChange(const RateOptions& options) : _options(options), _counter(options.firstCounter) {}

void RateChange::feed(std::uint64_t frame, const Cdp& cdp, FindingSink* findings) {
    if (_isFinished) {
        return;
    }
    enterFrame(frame, findings);
    const std::uint8_t code = cdp.frameRateCode();
    const std::uint8_t expected = cdpFrameRateCode(_options.from);
    if (findings != nullptr && code != expected && _strangeRate != code) {
        findings->add({FindingCode::RateUnlikePacket, Severity::Warning, frame, code, expected});
    }
    _strangeRate = code == expected ? std::nullopt : std::optional(code);
    if (!_counter) {
        _counter = cdp.sequenceCounter();
    }
    InputFrameState& state = _inputFrames.back();
    state.isCarried = true;
    state.isActive = cdp.captionServiceActive();
    if (cdp.timeCode()) {
        takeTimeCode(frame, *cdp.timeCode(), findings);
    }
    takeSections(frame, cdp);
    takeTriplets(frame, cdp.triplets());
}

void RateChange::feed(std::uint64_t frame, std::span<const Triplet> triplets, FindingSink* findings) {
    if (_isFinished) {
        return;
    }
    enterFrame(frame, findings);
    _inputFrames.back().isCarried |= !triplets.empty();
    takeTriplets(frame, triplets);
}

void RateChange::finish() noexcept {
    if (!_isFinished && _lastInput) {
        _decided = firstFrameAtOrAfter(_options.from, *_lastInput + 1, _options.to);
    }
    _packetMissing = 0;
    _isFinished = true;
}

/// Goes to a frame of the input. `frame` becomes the number that it is taken as.
void RateChange::enterFrame(std::uint64_t& frame, FindingSink* findings) {
    const std::uint64_t there = frame;
    frame = std::min(std::max(frame, _lastInput.value_or(0)), kGreatestFrame);
    if (findings != nullptr && frame != there) {
        findings->add({FindingCode::RateFrameOutOfOrder, Severity::Warning, there, static_cast<std::int64_t>(there),
                       static_cast<std::int64_t>(frame)});
    }
    if (_lastInput == frame) {
        return;
    }
    // A packet that the input itself breaks off is sent as it came.
    constexpr std::uint64_t kLongestBreak = 2;
    if (frame - _packetInput > kLongestBreak) {
        _packetMissing = 0;
    }
    _lastInput = frame;
    InputFrameState state;
    state.firstFrame = firstFrameAtOrAfter(_options.from, frame, _options.to);
    state.endFrame = firstFrameAtOrAfter(_options.from, frame + 1, _options.to);
    _inputFrames.push(state);
    // The repetition of a control code may come with the following frame, or with the one behind that.
    const std::uint64_t cadence = detail::framesOfSlot(_options.from);
    _decided = firstFrameAtOrAfter(_options.from, frame + 1 - std::min(cadence, frame + 1), _options.to);
}

void RateChange::takeTriplets(std::uint64_t frame, std::span<const Triplet> triplets) {
    WaitingTriplet waiting;
    waiting.inputFrame = frame;
    waiting.firstFrame = _inputFrames.back().firstFrame;
    for (const Triplet& triplet : triplets) {
        if (!triplet.valid()) {
            continue;
        }
        waiting.triplet = triplet;
        if (triplet.isDtvcc()) {
            takeDtvcc(waiting);
        } else if (!triplet.isNullPair()) {
            takePair(waiting);
        }
    }
}

void RateChange::takePair(const WaitingTriplet& pair) {
    const CcType type = pair.triplet.type();
    WaitingField& field = _fields[static_cast<std::size_t>(type)];
    const bool isSame = field.lastInput && isControlCode(pair.triplet) && field.last == pair.triplet;
    const bool isNear = field.lastInput && pair.inputFrame - *field.lastInput <= detail::framesOfSlot(_options.from);
    const bool isRepetition = isSame && isNear && !field.lastIsRepetition;
    if (isRepetition && !field.pairs.empty()) {
        // The first one waits for the second one, so that no null pair comes between them.
        const std::uint64_t slot = slotAtOrAfter(_options.to, type, pair.firstFrame);
        const std::uint64_t before = slot - std::min(slot, detail::framesOfSlot(_options.to));
        field.pairs.back().firstFrame = std::max(field.pairs.back().firstFrame, before);
    }
    field.pairs.push(pair);
    field.pairs.back().needsGap = isSame && !isNear;
    field.last = pair.triplet;
    field.lastInput = pair.inputFrame;
    field.lastIsRepetition = isRepetition;
}

void RateChange::takeDtvcc(WaitingTriplet triplet) {
    if (triplet.triplet.type() == CcType::DtvccStart) {
        _packetMissing = packetTriplets(triplet.triplet) - 1;
        _packetInput = triplet.inputFrame;
        triplet.packetTriplets = 1;
    } else if (_packetMissing > 0) {
        // A packet that is not whole is still in the queue, at its end.
        std::size_t start = _dtvcc.size() - 1;
        while (_dtvcc[start].packetTriplets == 0) {
            --start;
        }
        ++_dtvcc[start].packetTriplets;
        --_packetMissing;
        _packetInput = triplet.inputFrame;
    }
    _dtvcc.push(triplet);
}

void RateChange::takeSections(std::uint64_t frame, const Cdp& cdp) {
    if (!cdp.hasServiceInformation() && cdp.futureSections().empty()) {
        return;
    }
    SectionContents contents;
    contents.hasServices = cdp.hasServiceInformation();
    contents.flags = cdp.serviceInformationFlags();
    // They fit: they come out of lists of the same room.
    static_cast<void>(contents.services.assign(cdp.services()));
    static_cast<void>(contents.future.assign(cdp.futureSections().bytes()));
    // Encoders send the same again and again, or the parts of a whole in turn. Neighbours that say the same are found.
    constexpr std::size_t kLookedAt = 16;
    std::size_t place = _contents.size();
    const std::size_t end = place - std::min(place, kLookedAt);
    while (place > end && !_contents[place - 1].isLike(contents)) {
        --place;
    }
    if (place == end) {
        place = _contents.size();
        _contents.push(contents);
    } else {
        --place;
    }
    ++_contents[place].waiting;
    _sections.push({frame, _inputFrames.back().firstFrame, _contentsGone + place});
}

void RateChange::takeTimeCode(std::uint64_t frame, const CdpTimeCode& timeCode, FindingSink* findings) {
    if (!isPossible(timeCode, _options.from)) {
        if (findings != nullptr) {
            findings->add({FindingCode::RateTimeCodeImpossible, Severity::Warning, frame,
                           loadBig<std::uint32_t>(timeCode.bytes().data()), cdpFrameRateCode(_options.from)});
        }
        _inputFrames.back().hasTimeCode = false;
        _anchor.reset();
        return;
    }
    const bool mayDrop = mayDropFrames(_options.from);
    const bool inputDrops = mayDrop && timeCode.fields().dropFrame;
    // 23.976 counts 24 frames in the time in which 29.97 counts 30: its labels stay right without dropped ones.
    const bool mustDrop = !mayDrop && _options.from != FrameRate::Fps23976;
    const bool outputDrops = mayDropFrames(_options.to) && (inputDrops || mustDrop);
    const FrameCount inputCount(_options.from, inputDrops);
    const FrameCount outputCount(_options.to, outputDrops);
    const FrameLabel label = labelOf(timeCode, _options.from);
    const std::uint32_t count = inputCount.ofLabel(label);
    InputFrameState& state = _inputFrames.back();

    const bool goesOn = _anchor && _anchor->inputDropsFrames == inputDrops &&
                        (_anchor->inputCount + (frame - _anchor->inputFrame)) % inputCount.ofDay() == count;
    if (!goesOn) {
        const FrameLabel shown = detail::labelAt(label, _options, frame);
        _anchor = {frame, count, inputDrops, state.firstFrame, outputCount.ofLabel(shown)};
    }
    state.hasTimeCode = true;
    state.dropsFrames = outputDrops;
    state.timeCodeCount = static_cast<std::uint32_t>(
        (_anchor->outputCount + (state.firstFrame - _anchor->outputFrame)) % outputCount.ofDay());
}

}  // namespace qlx::cc

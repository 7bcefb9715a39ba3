// What a change of the frame rate gives.
#include <qlx/cc/rate.h>
#include <qlx/cc/time_code.h>

#include "cc/CdpLayout.h"
#include "cc/RateTime.h"

#include <algorithm>
#include <array>

namespace qlx::cc {

using detail::WaitingField;
using detail::WaitingTriplet;

bool RateChange::next(RateFrame& frame, FindingSink* findings) {
    if (_next >= _decided && (!_isFinished || isAtEnd(findings))) {
        return false;
    }
    const std::optional<std::size_t> dtvcc = dtvccOfFrame();
    if (!dtvcc) {
        return false;
    }
    const bool waits = [this] {
        const auto isDue = [this](const Ring<WaitingTriplet>& queue) {
            return !queue.empty() && queue.front().firstFrame <= _next;
        };
        return isDue(_fields[0].pairs) || isDue(_fields[1].pairs) || isDue(_dtvcc);
    }();
    frame.number = _next;
    frame.isCarried = leaveInputFrames() || waits;
    frame.cdp = Cdp();
    frame.cdp.setFrameRate(_options.to);
    frame.cdp.setCaptionServiceActive(_state.isActive);
    if (_state.hasTimeCode && _next < _state.endFrame) {
        const FrameCount count(_options.to, _state.dropsFrames);
        frame.cdp.setTimeCode(count.timeCodeOf(_state.timeCodeCount + (_next - _state.firstFrame)));
    }
    frame.isCarried = putSections(frame.cdp, findings) || frame.isCarried;

    std::array<Triplet, kGreatestTriplets> triplets{};
    std::size_t count = 0;
    const std::size_t waitingBefore = waiting();
    const FrameFields fields = fieldsOfFrame(_options.to, _next);
    if (fields.field1) {
        triplets[count++] = nextPair(CcType::Field1, findings);
    }
    if (fields.field2) {
        triplets[count++] = nextPair(CcType::Field2, findings);
    }
    for (std::size_t index = 0; index < *dtvcc; ++index) {
        const WaitingTriplet triplet = _dtvcc.pop();
        countLate(_lateTriplets, triplet.inputFrame, static_cast<std::uint8_t>(triplet.triplet.type()), findings);
        triplets[count++] = triplet.triplet;
    }
    _lateTriplets.framesBehindEnd += isBehindEnd() && waiting() < waitingBefore ? 1 : 0;
    static_cast<void>(frame.cdp.setTriplets(std::span(triplets).first(slotsOf(_options.to).ccCount)));
    if (frame.isCarried) {
        const std::uint16_t counter = _counter.value_or(0);
        frame.cdp.setSequenceCounter(counter);
        _counter = static_cast<std::uint16_t>(counter + 1);
    }
    ++_next;
    return true;
}

/// Behind the last frame of the input: whether nothing waits.
bool RateChange::isAtEnd(FindingSink* findings) {
    if (waiting() == 0 && _sections.empty()) {
        return true;
    }
    if (!_saidWaiting && findings != nullptr) {
        const auto say = [this, findings](std::size_t what, std::size_t count) {
            if (count > 0) {
                findings->add({FindingCode::RateWaitsAtEnd, Severity::Warning, _next, static_cast<std::int64_t>(what),
                               static_cast<std::int64_t>(count)});
            }
        };
        say(static_cast<std::size_t>(CcType::Field1), _fields[0].pairs.size());
        say(static_cast<std::size_t>(CcType::Field2), _fields[1].pairs.size());
        say(static_cast<std::size_t>(CcType::DtvccStart), _dtvcc.size());
        std::array<std::size_t, 256> sections{};
        for (std::size_t index = 0; index < _contents.size(); ++index) {
            sections[_contents[index].id()] += _contents[index].waiting;
        }
        for (std::size_t id = 0; id < sections.size(); ++id) {
            say(id, sections[id]);
        }
    }
    _saidWaiting = true;
    return false;
}

/// How many DTVCC triplets go out with the next frame; none when that depends on what comes.
std::optional<std::size_t> RateChange::dtvccOfFrame() const noexcept {
    const std::size_t greatest = slotsOf(_options.to).greatestDtvcc;
    std::size_t placed = 0;
    while (placed < greatest && placed < _dtvcc.size() && _dtvcc[placed].firstFrame <= _next) {
        const std::size_t packet = _dtvcc[placed].packetTriplets;
        if (packet != 0) {
            const bool isOpen = _packetMissing > 0 && placed + packet == _dtvcc.size();
            if (isOpen) {
                return std::nullopt;
            }
            if (!canFollow(placed, packet)) {
                break;
            }
        }
        ++placed;
    }
    return placed;
}

/// Whether a packet that begins in the next frame, behind `start` others, needs no padding up to its end.
bool RateChange::canFollow(std::size_t start, std::size_t packetTriplets) const noexcept {
    const std::size_t greatest = slotsOf(_options.to).greatestDtvcc;
    for (std::size_t place = start; place < start + packetTriplets; ++place) {
        if (_dtvcc[place].firstFrame > _next + place / greatest) {
            return false;
        }
    }
    return true;
}

/// Goes to the last frame of the input that is not later than the next one of the output. Whether this or one of those
/// passed over has captions.
bool RateChange::leaveInputFrames() {
    bool isCarried = _state.isCarried && _next < _state.endFrame;
    while (!_inputFrames.empty() && _inputFrames.front().firstFrame <= _next) {
        _state = _inputFrames.pop();
        isCarried |= _state.isCarried;
    }
    return isCarried;
}

Triplet RateChange::nextPair(CcType type, FindingSink* findings) {
    WaitingField& field = _fields[static_cast<std::size_t>(type)];
    if (field.pairs.empty() || field.pairs.front().firstFrame > _next) {
        return idlePair(type);
    }
    const bool isNear = field.lastOutput && _next - *field.lastOutput <= detail::framesOfSlot(_options.to);
    if (field.pairs.front().needsGap && isNear) {
        return idlePair(type);
    }
    const WaitingTriplet pair = field.pairs.pop();
    field.lastOutput = _next;
    countLate(_lateTriplets, pair.inputFrame, static_cast<std::uint8_t>(type), findings);
    return pair.triplet;
}

/// @param what cc_type, or the identifier of a section.
void RateChange::countLate(RateLateness& kind, std::uint64_t inputFrame, std::uint8_t what, FindingSink* findings) {
    constexpr std::uint64_t kSeconds = 2;
    const detail::PartsOfSecond waited = detail::timeBetween(_options.from, inputFrame, _options.to, _next);
    if (waited.parts <= kSeconds * waited.inSecond) {
        return;
    }
    const std::uint64_t milliseconds =
        waited.parts / waited.inSecond * 1000 + waited.parts % waited.inSecond * 1000 / waited.inSecond;
    ++kind.count;
    kind.longestMilliseconds = std::max(kind.longestMilliseconds, milliseconds);
    if (findings != nullptr) {
        findings->add(
            {FindingCode::RateSentLate, Severity::Warning, _next, what, static_cast<std::int64_t>(milliseconds)});
    }
}

/// What sections say that go out, one of those that wait.
/// @param which Counted from the first that came.
detail::SectionContents RateChange::takeContents(std::uint64_t which) {
    detail::SectionContents& contents = _contents[static_cast<std::size_t>(which - _contentsGone)];
    --contents.waiting;
    const detail::SectionContents taken = contents;
    while (!_contents.empty() && _contents.front().waiting == 0) {
        static_cast<void>(_contents.pop());
        ++_contentsGone;
    }
    return taken;
}

/// Whether there were sections.
bool RateChange::putSections(Cdp& cdp, FindingSink* findings) {
    if (_sections.empty() || _sections.front().firstFrame > _next) {
        return false;
    }
    const detail::WaitingSections due = _sections.pop();
    const detail::SectionContents sections = takeContents(due.contents);
    // Those right behind that say the same, and could go out now, do so with this one. In front of others they stay: the
    // last one that a receiver gets is the last one that came.
    const auto isNextAlike = [this, &due] {
        return !_sections.empty() && _sections.front().firstFrame <= _next &&
               _sections.front().contents == due.contents;
    };
    while (_options.joinSections && isNextAlike()) {
        static_cast<void>(takeContents(_sections.pop().contents));
        ++_sectionsJoined;
    }
    _sectionsAlike += isNextAlike() ? 1 : 0;
    countLate(_lateSections, due.inputFrame, sections.id(), findings);
    _lateSections.framesBehindEnd += isBehindEnd() ? 1 : 0;
    if (sections.hasServices) {
        static_cast<void>(cdp.setServices(sections.services.items(), sections.flags));
    }
    // The triplets are not there yet, but have their place.
    const std::size_t room =
        kGreatestCdpBytes - cdp.size() - detail::kSectionHeadBytes - slotsOf(_options.to).ccCount * sizeof(Triplet);
    std::size_t used = 0;
    for (const FutureSectionView section : FutureSectionsView(sections.future.items())) {
        const std::size_t bytes = detail::kSectionHeadBytes + section.data.size();
        if (bytes <= room - used && cdp.addFutureSection(section.id, section.data)) {
            used += bytes;
        } else if (findings != nullptr) {
            findings->add({FindingCode::RateSectionDoesNotFit, Severity::Error, _next, section.id,
                           static_cast<std::int64_t>(bytes)});
        }
    }
    return true;
}

}  // namespace qlx::cc

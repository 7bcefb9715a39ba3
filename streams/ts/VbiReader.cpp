#include <qlx/streams/ts/vbi_reader.h>

#include "TsFinding.h"

#include <algorithm>
#include <array>
#include <utility>

namespace qlx::streams::ts {

namespace {

/// As many streams are looked into.
constexpr std::size_t kMostCandidates = 16;
/// As many PES packets, of a field at least, wait for a map: one comes every half second.
constexpr std::size_t kMostHeld = 64;

bool isSaidToHoldVbi(const ProgramStream& stream) {
    return std::any_of(stream.descriptors.begin(), stream.descriptors.end(), [](const Descriptor& descriptor) {
        return descriptor.is(DescriptorTag::Teletext) || descriptor.is(DescriptorTag::VbiTeletext) ||
               descriptor.is(DescriptorTag::VbiData);
    });
}

}  // namespace

VbiReader::VbiReader(const VbiReaderOptions& options, FindingSink* findings)
    : _options(options), _findings(findings), _moments({.items = options.limits.items}),
      _packets(findings, {.bytes = options.limits.bytes}), _map(findings) {
    if (options.pid) {
        choose(*options.pid);
    }
}

void VbiReader::choose(std::uint16_t pid) {
    _pid = pid;
    _candidates.clear();
    _reader.emplace(PesReaderOptions{}, _findings);
}

/// What else is said to hold teletext.
void VbiReader::tellStreams() {
    for (const Pmt& map : _map.maps()) {
        for (const ProgramStream& stream : map.streams) {
            if (stream.pid != _pid && !_leftOut[stream.pid] && isSaidToHoldVbi(stream)) {
                _leftOut.set(stream.pid);
                detail::addFinding(_findings, FindingCode::TsTeletextLeftOut, Severity::Remark, _packets.offset(),
                                   stream.pid);
            }
        }
    }
}

/// The maps have changed.
void VbiReader::chooseStreams() {
    if (_options.pid) {
        return;
    }
    if (_pid && !_isGuessed && _map.streamOf(*_pid) != nullptr) {
        _isTrusted = false;
        return;
    }
    // What was found by its data may be what the map names. PIDs have 13 bits.
    constexpr std::uint16_t kNoPid = 0xFFFF;
    const bool isByData = _isGuessed || _isTrusted;
    const std::uint16_t guess = isByData ? _pid.value_or(kNoPid) : kNoPid;
    std::vector<Candidate> candidates;
    bool isGuessThere = false;
    for (const Pmt& map : _map.maps()) {
        for (const ProgramStream& stream : map.streams) {
            if (stream.type != kPrivatePesType) {
                continue;
            }
            if (isSaidToHoldVbi(stream)) {
                if (stream.pid != guess) {
                    drop();
                    choose(stream.pid);
                }
                _isGuessed = _isTrusted = false;
                return;
            }
            isGuessThere = isGuessThere || stream.pid == guess;
            const auto known = std::find_if(_candidates.begin(), _candidates.end(),
                                            [&](const Candidate& one) { return one.pid == stream.pid; });
            if (known != _candidates.end()) {
                candidates.push_back(*known);
            } else if (candidates.size() < kMostCandidates) {
                candidates.push_back({stream.pid, PesReader()});
            }
        }
    }
    if (isGuessThere) {
        _isGuessed = _isTrusted = false;
        return;
    }
    if (isByData && !_map.isWhole()) {
        // It may be of a program whose map is still to come.
        return;
    }
    drop();
    _candidates = std::move(candidates);
}

/// Nothing is read any more, and what a guess has brought is not given.
void VbiReader::drop() {
    if (_isGuessed) {
        _held.clear();
        _time.reset();
    }
    if (_isTrusted) {
        detail::addFinding(_findings, FindingCode::TsGuessDropped, Severity::Warning, _packets.offset(), *_pid);
    }
    _isGuessed = _isTrusted = false;
    _pid.reset();
    _reader.reset();
}

/// No map has come for so long that none will.
void VbiReader::trustGuess() {
    _isGuessed = false;
    _isTrusted = true;
    detail::addFinding(_findings, FindingCode::TsMapMissing, Severity::Warning,
                       _held.empty() ? _packets.offset() : _held.front().offset, *_pid);
}

/// As long as a map is missing every PID may be one of PES packets of private data.
void VbiReader::collect(const PacketView& packet) {
    constexpr std::array<std::uint8_t, 4> kStart{0, 0, 1, kPrivateStream1};
    const bool isNew = std::none_of(_candidates.begin(), _candidates.end(),
                                    [&](const Candidate& one) { return one.pid == packet.pid; });
    if (!_map.isWhole() && packet.startsUnit && isNew && _candidates.size() < kMostCandidates &&
        packet.payload.size() >= kStart.size() && std::equal(kStart.begin(), kStart.end(), packet.payload.begin())) {
        _candidates.push_back({packet.pid, PesReader()});
    }
}

/// The clock is that of the program, or, where there is no map, the first one that comes.
void VbiReader::takeClock(const PacketView& packet) {
    const Pmt* const map = _pid ? _map.mapOf(*_pid) : nullptr;
    if (packet.pid != (map != nullptr ? map->pcrPid : _clockPid.value_or(packet.pid))) {
        return;
    }
    if (_clockPid != packet.pid) {
        _clock.reset();
        _clockPid = packet.pid;
    }
    _clock.receive(packet);
}

void VbiReader::tellOthers(const PesView& pes) {
    if (_findings == nullptr || (_moment.vbi.others & ~_told).none()) {
        return;
    }
    for (std::size_t id = 0; id < _told.size(); ++id) {
        if (_moment.vbi.others[id] && !_told[id]) {
            _told.set(id);
            detail::addFinding(_findings, FindingCode::TsDataUnitUnused, Severity::Remark, pes.offset, id, pes.pid);
        }
    }
}

/// False where it has none.
bool VbiReader::takeTime(const PesView& pes) {
    const std::optional<std::int64_t> before = _time.last();
    const bool isOfClock = !pes.header.pts;
    const std::optional<std::uint64_t> ticks = isOfClock ? _clock.at(pes.offset) : pes.header.pts;
    if (isOfClock && !_isTimeTold) {
        _isTimeTold = true;
        detail::addFinding(_findings, ticks ? FindingCode::TsTimeOfClock : FindingCode::TsTimeMissing,
                           ticks || before ? Severity::Warning : Severity::Error, pes.offset, pes.pid);
    }
    if (!ticks) {
        _moment.time90k = before.value_or(0);
        return before.has_value();
    }
    // Places tell the time but roughly: what comes later is no earlier.
    constexpr std::int64_t kRoughly = 9'000;
    const std::int64_t time = _time.near(*ticks);
    if (isOfClock && before && time < *before && *before - time < kRoughly) {
        _moment.time90k = *before;
        return true;
    }
    _moment.time90k = _time.take(*ticks);
    if (before && _moment.time90k < *before && _findings != nullptr) {
        _findings->add({FindingCode::TsTimeJumped, Severity::Warning, pes.offset, pes.pid, _moment.time90k - *before});
    }
    return true;
}

/// Whether it brings something.
bool VbiReader::take(const PesView& pes) {
    if (pes.header.scrambling != 0) {
        _scrambled.add(pes.offset, pes.pid, FindingCode::TsPacketScrambled, _findings);
        return false;
    }
    _scrambled.end(_findings);
    if (!readVbi(pes, _moment.vbi, _findings)) {
        return false;
    }
    tellOthers(pes);
    _moment.offset = pes.offset;
    _moment.pid = pes.pid;
    return takeTime(pes) && (!_moment.vbi.teletext.empty() || !_moment.vbi.captions.empty());
}

bool VbiReader::takeOf(std::uint16_t pid, PesReader& reader) {
    while (const auto pes = reader.next()) {
        if (_pid == pid) {
            if (take(*pes)) {
                return true;
            }
        } else if (isVbi(*pes)) {
            // What was begun before is damaged, or other data.
            const bool isTaken = take(*pes);
            _isGuessed = !_map.isWhole() && _map.streamOf(pid) == nullptr;
            choose(pid);
            return isTaken;
        }
    }
    return false;
}

const VbiMoment* VbiReader::next() {
    const VbiMoment* const moment = _moments.hasEnded() ? nullptr : nextMoment();
    if (moment != nullptr && _moments.takeItem()) {
        return moment;
    }
    if (moment != nullptr) {
        _findings == nullptr ? void() : _findings->add(*_moments.takeFinding(moment->offset));
        stop();
    }
    return nullptr;
}

const VbiMoment* VbiReader::nextMoment() {
    for (;;) {
        if (!_isGuessed && !_held.empty()) {
            _moment = std::move(_held.front());
            _held.pop_front();
            return &_moment;
        }
        if (!advance()) {
            if (_isGuessed && _packets.isAtEnd()) {
                trustGuess();
            } else if (_isGuessed || _held.empty()) {
                return nullptr;
            }
        } else if (!_isGuessed && _held.empty()) {
            return &_moment;
        } else {
            _held.push_back(_moment);
            if (_isGuessed && _held.size() >= kMostHeld) {
                trustGuess();
            }
        }
    }
}

/// Reads up to the next moment; false when more bytes are needed, or at the end.
bool VbiReader::advance() {
    if (_reader && takeOf(*_pid, *_reader)) {
        return true;
    }
    while (const auto packet = _packets.next()) {
        if (packet->pcr) {
            takeClock(*packet);
        }
        if (_map.receive(*packet)) {
            chooseStreams();
            if (_pid && !_isGuessed) {
                tellStreams();
            }
        }
        if (_pid) {
            if (packet->pid == *_pid) {
                _reader->push(*packet);
                if (takeOf(*_pid, *_reader)) {
                    return true;
                }
            }
            continue;
        }
        collect(*packet);
        const auto candidate = std::find_if(_candidates.begin(), _candidates.end(),
                                            [&](const Candidate& one) { return one.pid == packet->pid; });
        if (candidate != _candidates.end()) {
            candidate->reader.push(*packet);
            if (takeOf(candidate->pid, candidate->reader)) {
                return true;
            }
        }
    }
    if (_packets.isAtEnd() && !_isEndTold) {
        _isEndTold = true;
        if (_reader && !_packets.isCut()) {
            _reader->finish();
        }
        const bool isTaken = _reader && takeOf(*_pid, *_reader);
        stop();
        return isTaken;
    }
    return false;
}

/// Tells what has been counted.
void VbiReader::stop() {
    if (_reader) {
        _reader->stop();
    }
    _map.finish();
    _scrambled.end(_findings);
}

std::vector<TeletextPage> VbiReader::pages() const {
    const ProgramStream* const stream = _pid ? _map.streamOf(*_pid) : nullptr;
    return stream == nullptr ? std::vector<TeletextPage>() : teletextPages(stream->descriptors);
}

void VbiReader::setFindings(FindingSink* findings) noexcept {
    _findings = findings;
    _packets.setFindings(findings);
    _map.setFindings(findings);
    if (_reader) {
        _reader->setFindings(findings);
    }
}

}  // namespace qlx::streams::ts

#include <qlx/streams/ts/vbi_reader.h>

#include "TsFinding.h"

#include <algorithm>

namespace qlx::streams::ts {

namespace {

/// As many streams are looked into.
constexpr std::size_t kMostCandidates = 16;

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
    if (_options.pid || (_pid && _map.streamOf(*_pid) != nullptr)) {
        return;
    }
    _pid.reset();
    _reader.reset();
    std::vector<Candidate> candidates;
    for (const Pmt& map : _map.maps()) {
        for (const ProgramStream& stream : map.streams) {
            if (stream.type != kPrivatePesType) {
                continue;
            }
            if (isSaidToHoldVbi(stream)) {
                choose(stream.pid);
                return;
            }
            const auto known = std::find_if(_candidates.begin(), _candidates.end(),
                                            [&](const Candidate& one) { return one.pid == stream.pid; });
            if (known != _candidates.end()) {
                candidates.push_back(*known);
            } else if (candidates.size() < kMostCandidates) {
                candidates.push_back({stream.pid, PesReader()});
            }
        }
    }
    _candidates = std::move(candidates);
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

/// Whether it brings something.
bool VbiReader::take(const PesView& pes) {
    if (pes.header.scrambling != 0) {
        detail::addFinding(_findings, FindingCode::TsPacketScrambled, Severity::Error, pes.offset, pes.pid);
        return false;
    }
    if (!readVbi(pes, _moment.vbi, _findings)) {
        return false;
    }
    tellOthers(pes);
    _moment.offset = pes.offset;
    _moment.pid = pes.pid;
    const std::optional<std::int64_t> before = _time.last();
    if (pes.header.pts) {
        _moment.time90k = _time.take(*pes.header.pts);
        if (before && _moment.time90k < *before) {
            _findings == nullptr ? void()
                                 : _findings->add({FindingCode::TsTimeJumped, Severity::Warning, pes.offset, pes.pid,
                                                   _moment.time90k - *before});
        }
    } else {
        if (!_isTimeTold) {
            _isTimeTold = true;
            detail::addFinding(_findings, FindingCode::TsTimeMissing, before ? Severity::Warning : Severity::Error,
                               pes.offset, pes.pid);
        }
        if (!before) {
            return false;
        }
    }
    return !_moment.vbi.teletext.empty() || !_moment.vbi.captions.empty();
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
    }
    return nullptr;
}

const VbiMoment* VbiReader::nextMoment() {
    if (_reader && takeOf(*_pid, *_reader)) {
        return &_moment;
    }
    while (const auto packet = _packets.next()) {
        if (_map.receive(*packet)) {
            chooseStreams();
            if (_pid) {
                tellStreams();
            }
        }
        if (_pid) {
            if (packet->pid == *_pid) {
                _reader->push(*packet);
                if (takeOf(*_pid, *_reader)) {
                    return &_moment;
                }
            }
            continue;
        }
        const auto candidate = std::find_if(_candidates.begin(), _candidates.end(),
                                            [&](const Candidate& one) { return one.pid == packet->pid; });
        if (candidate != _candidates.end()) {
            candidate->reader.push(*packet);
            if (takeOf(candidate->pid, candidate->reader)) {
                return &_moment;
            }
        }
    }
    if (_packets.isAtEnd() && !_isEndTold) {
        _isEndTold = true;
        if (_reader && !_packets.isCut()) {
            _reader->finish();
            if (takeOf(*_pid, *_reader)) {
                return &_moment;
            }
        }
    }
    return nullptr;
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

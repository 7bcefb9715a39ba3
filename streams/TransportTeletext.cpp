#include "TransportTeletext.h"

#include <algorithm>
#include <utility>

namespace qlx::streams::detail {

namespace {

constexpr std::int32_t kTicksPerSecond = 90'000;
/// As many frames wait for pictures.
constexpr std::size_t kMostFrames = 4096;
constexpr std::size_t kPieceBytes = std::size_t{64} * 1024;

std::int64_t ticksOf(const MediaTime& time) {
    return convertScale(time, kTicksPerSecond, RoundingMethod::RoundHalfAwayFromZero).value;
}

}  // namespace

void TransportTeletext::drain() {
    while (const ts::VbiMoment* const moment = _reader.next()) {
        _isFound = true;
        Frame& frame = _frames.emplace_back();
        frame.pts = MediaTime::make(moment->time90k, kTicksPerSecond);
        frame.teletext = moment->vbi.teletext;
        std::vector<std::uint8_t> triplets;
        for (const cc::Triplet& triplet : moment->vbi.captions) {
            triplets.insert(triplets.end(), {triplet.header, triplet.first, triplet.second});
        }
        if (!triplets.empty()) {
            frame.triplets = Data(triplets);
            frame.captionPlace = CaptionPlace::Track;
        }
    }
    _isFound = _isFound || _reader.pid();
}

void TransportTeletext::take(std::uint64_t place, std::span<const std::uint8_t> bytes) {
    if (_isFinished || place > _next || place + bytes.size() <= _next) {
        return;
    }
    bytes = bytes.subspan(static_cast<std::size_t>(_next - place));
    _next += bytes.size();
    _reader.push(bytes);
    drain();
}

void TransportTeletext::finish() {
    if (!_isFinished) {
        _isFinished = true;
        _reader.finish();
        drain();
    }
}

bool TransportTeletext::readFrom(ByteSource& source) {
    if (_isFinished || (source.offset() != _next && !source.seek(_next))) {
        finish();
        return false;
    }
    _piece.resize(kPieceBytes);
    const std::size_t got = source.read(_piece);
    take(_next, std::span(_piece).first(got));
    if (got < _piece.size()) {
        finish();
    }
    return !_isFinished;
}

bool TransportTeletext::lookIn(ByteSource& source) {
    constexpr std::uint64_t kMostBytes = std::uint64_t{64} * 1024 * 1024;
    const std::uint64_t end = _next + kMostBytes;
    // Of what a map names something is to come.
    while (_frames.empty() && (_next < end || _isFound) && readFrom(source)) {
    }
    return !_frames.empty();
}

std::optional<Frame> TransportTeletext::takeUpTo(const std::optional<MediaTime>& limit, bool isAll) {
    if (_frames.empty()) {
        return std::nullopt;
    }
    constexpr auto kWrap = static_cast<std::int64_t>(ts::kTimeBits);
    const std::int64_t front = ticksOf(*_frames.front().pts);
    if (limit && !_shift) {
        const std::int64_t distance = ticksOf(*limit) - front;
        _shift = (distance + (distance < 0 ? -kWrap / 2 : kWrap / 2)) / kWrap * kWrap;
    }
    const std::int64_t time = front + _shift.value_or(0);
    const bool isDue = limit && time <= ticksOf(*limit);
    if (!isAll && !isDue && _frames.size() <= kMostFrames) {
        return std::nullopt;
    }
    Frame frame = std::move(_frames.front());
    _frames.pop_front();
    frame.pts = MediaTime::make(time, kTicksPerSecond);
    return frame;
}

void TransportTeletext::report(FindingSink* findings, bool isAlone) {
    if (findings == nullptr || !_isFound) {
        return;
    }
    for (const Finding& finding : _findings) {
        if (isAlone || finding.code != FindingCode::ContainerPacketCut) {
            findings->add(finding);
        }
    }
    if (_findings.rest() > 0) {
        findings->add({FindingCode::StreamMoreFindings, Severity::Warning, _next,
                       static_cast<std::int64_t>(_findings.rest()), 0});
    }
    _findings.clear();
}

std::optional<Finding> TransportTeletext::whyNothing() const {
    const auto why = std::find_if(_findings.begin(), _findings.end(), [](const Finding& finding) {
        return finding.code == FindingCode::TsPacketScrambled || finding.code == FindingCode::TsTimeMissing ||
               finding.code == FindingCode::TsDataIdentifierUnknown;
    });
    return _isFound && why != _findings.end() ? std::optional(*why) : std::nullopt;
}

}  // namespace qlx::streams::detail

#include <qlx/streams/scc.h>

#include <qlx/anc/packet.h>
#include <qlx/base/frame_rate.h>
#include <qlx/cc/time_code.h>
#include <qlx/streams/captions.h>

#include "HexText.h"
#include "TimeCodeText.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace qlx::streams {

namespace {

constexpr std::size_t kMostSecondsWaiting = 10;

bool isCaption(const anc::Packet& packet) {
    return packet.id() == anc::ids::kCdp || packet.id() == anc::ids::kCea608;
}

/// Passes on what keeps captions of a frame from being read.
class DamageSink final : public FindingSink {
public:
    DamageSink(const Frame& frame, FindingSink* findings) : _place(frame.packets.size()), _findings(findings) {}

    void add(const Finding& finding) override {
        if (finding.severity == Severity::Error) {
            _findings->add({finding.code, Severity::Error, _place, finding.first, finding.second});
        }
    }

private:
    std::uint64_t _place;
    FindingSink* _findings;
};

void tellPackets(const Frame& frame, FindingSink* findings) {
    for (std::size_t place = 0; findings != nullptr && place < frame.packets.size(); ++place) {
        const anc::Packet& packet = frame.packets[place];
        if (!isCaption(packet)) {
            findings->add({FindingCode::StreamPacketLeftOut, Severity::Warning, place, packet.did, packet.sdid});
        }
    }
    if (findings != nullptr && !frame.teletext.empty()) {
        findings->add({FindingCode::StreamTeletextLeftOut, Severity::Warning, frame.packets.size(),
                       static_cast<std::int64_t>(frame.teletext.size()), 0});
    }
}

}  // namespace

SccWriter::SccWriter(ByteSink& sink, const SccOptions& options) : _sink(sink), _options(options) {
    _options.dropsFrames = options.dropsFrames && cc::mayDropFrames(options.rate);
}

/// Takes the pairs of a frame.
void SccWriter::take(const Frame& frame, std::uint64_t number, FindingSink* findings) {
    tellPackets(frame, findings);
    DamageSink damage(frame, findings);
    const Data triplets = captionTriplets(frame, findings == nullptr ? nullptr : &damage);
    std::size_t others = 0;
    for (std::size_t place = 0; place + sizeof(cc::Triplet) <= triplets.size(); place += sizeof(cc::Triplet)) {
        const cc::Triplet triplet{triplets[place], triplets[place + 1], triplets[place + 2]};
        if (!triplet.valid() || (triplet.is608() && triplet.isNullPair())) {
            continue;
        }
        if (triplet.type() == _options.field.value_or(cc::CcType::Field1)) {
            _waiting.push_back({number, triplet});
        } else {
            ++others;
        }
    }
    if (others > 0 && findings != nullptr) {
        findings->add({FindingCode::SccTripletsLeftOut, Severity::Warning, frame.packets.size(),
                       static_cast<std::int64_t>(others), 0});
    }
}

/// Writes the pairs that go out with the frames up to one, and not with that.
std::optional<Finding> SccWriter::sendUpTo(std::uint64_t frame, std::uint64_t place) {
    _text.clear();
    if (!_isBegun) {
        _text += "Scenarist_SCC V1.0\n";
        _isBegun = true;
    }
    const std::uint64_t ofDay = cc::FrameCount(_options.rate, _options.dropsFrames).ofDay();
    while (!_waiting.empty() && std::max(_waiting.front().due, _next) < frame) {
        const std::uint64_t number = std::max(_waiting.front().due, _next);
        if (number >= ofDay) {
            return Finding{FindingCode::SccBehindMidnight, Severity::Error, place, static_cast<std::int64_t>(number),
                           0};
        }
        if (_isInLine && number == _next) {
            _text += ' ';
        } else {
            _text += _isInLine ? "\n\n" : "\n";
            detail::appendTimeCode(_text, number, _options.rate, _options.dropsFrames,
                                   _options.dropsFrames ? ';' : ':');
            _text += '\t';
        }
        _isInLine = true;
        const cc::Triplet pair = _waiting.front().pair;
        detail::appendHex(_text, std::array{pair.first, pair.second});
        _waiting.pop_front();
        _next = number + 1;
    }
    if (_text.empty()) {
        return std::nullopt;
    }
    return _sink.write({reinterpret_cast<const std::uint8_t*>(_text.data()), _text.size()});
}

std::optional<Finding> SccWriter::write(const Frame& frame, FindingSink* findings) {
    const std::uint64_t place = frame.packets.size();
    const std::optional<std::uint64_t> ofTime = frame.pts ? nearestFrame(*frame.pts, _options.rate) : std::nullopt;
    const std::uint64_t number = ofTime.value_or(frame.number);
    if (auto failure = sendUpTo(number, place)) {
        return failure;
    }
    const std::size_t before = _waiting.size();
    take(frame, number, findings);
    const std::size_t most = kMostSecondsWaiting * nominalFramesPerSecond(_options.rate);
    if (_waiting.size() > most) {
        return Finding{FindingCode::SccTooManyPairs, Severity::Error, place, static_cast<std::int64_t>(most), 0};
    }
    // The first one goes out with its frame when nothing is in front of it.
    const std::size_t late = _waiting.size() - before;
    const std::size_t inTime = before == 0 && _next <= number ? 1 : 0;
    if (late > inTime && findings != nullptr) {
        findings->add(
            {FindingCode::SccPairLate, Severity::Warning, place, static_cast<std::int64_t>(late - inTime), 0});
    }
    return sendUpTo(number + 1, place);
}

std::optional<Finding> SccWriter::finish() {
    if (auto failure = sendUpTo(UINT64_MAX, 0)) {
        return failure;
    }
    if (!_isInLine) {
        return std::nullopt;
    }
    constexpr std::uint8_t kLineEnd = '\n';
    return _sink.write(std::array{kLineEnd});
}

}  // namespace qlx::streams

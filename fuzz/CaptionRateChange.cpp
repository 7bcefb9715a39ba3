// A change of the frame rate, fed with frames of arbitrary triplets, sections and time codes: nothing is lost, nothing
// goes out before its time, and every packet that is written is read back as what it was.
#include <qlx/cc/rate.h>

#include "FuzzSupport.h"

#include <algorithm>
#include <array>

using qlx::FrameRate;
using qlx::cc::Cdp;
using qlx::cc::Triplet;
using qlxfuzz::require;

namespace {

/// Ticks of 1/120000 s in a frame, in the order of the rates' codes.
constexpr std::array<std::uint64_t, 8> kTicks{5005, 5000, 4800, 4004, 4000, 2400, 2002, 2000};

struct Sent {
    std::uint64_t ticks;
    Triplet triplet;
};

class Course {
public:
    Course(FrameRate from, FrameRate to)
        : _from(kTicks[static_cast<std::size_t>(from) - 1]), _to(kTicks[static_cast<std::size_t>(to) - 1]), _rate(to),
          _change({.from = from, .to = to}) {}

    void feed(std::uint64_t frame, const Cdp& cdp) {
        for (const Triplet& triplet : cdp.triplets()) {
            if (triplet.valid() && !(triplet.is608() && triplet.isNullPair())) {
                _expected[kindOf(triplet)].push_back({frame * _from, triplet});
            }
        }
        if (cdp.hasServiceInformation()) {
            _services.emplace_back(cdp.services().begin(), cdp.services().end());
        }
        _change.feed(frame, cdp, &_findings);
        drain();
    }

    void finish() {
        _change.finish();
        drain();
        for (std::size_t kind = 0; kind < _expected.size(); ++kind) {
            require(_next[kind] == _expected[kind].size());
        }
        require(_change.waiting() == 0 && _nextServices == _services.size());
    }

private:
    static std::size_t kindOf(const Triplet& triplet) { return triplet.isDtvcc() ? 2 : triplet.header & 1U; }

    void drain() {
        qlx::cc::RateFrame frame;
        while (_change.next(frame, &_findings)) {
            require(frame.number == _frames++);
            check(frame);
        }
    }

    void check(const qlx::cc::RateFrame& frame) {
        const qlx::cc::Slots slots = qlx::cc::slotsOf(_rate);
        require(frame.cdp.triplets().size() == slots.ccCount && frame.cdp.frameRate() == _rate);
        std::size_t dtvcc = 0;
        for (const Triplet& triplet : frame.cdp.triplets()) {
            dtvcc += triplet.valid() && triplet.isDtvcc() ? 1 : 0;
            if (!triplet.valid() || (triplet.is608() && triplet.isNullPair())) {
                continue;
            }
            const std::size_t kind = kindOf(triplet);
            require(frame.isCarried && _next[kind] < _expected[kind].size());
            const Sent& expected = _expected[kind][_next[kind]++];
            require(expected.triplet == triplet && expected.ticks <= frame.number * _to);
        }
        require(dtvcc <= slots.greatestDtvcc);
        if (frame.cdp.hasServiceInformation()) {
            require(_nextServices < _services.size() &&
                    std::ranges::equal(frame.cdp.services(), _services[_nextServices]));
            ++_nextServices;
        }
        std::array<std::uint8_t, qlx::cc::kGreatestCdpBytes> room{};
        const auto size = writeCdp(frame.cdp, room);
        require(size.hasValue());
        qlx::Findings findings;
        const auto back = qlx::cc::parseCdp(std::span(room).first(*size), &findings);
        require(back.hasValue() && *back == frame.cdp);
        for (const qlx::Finding& finding : findings) {
            // Services and marker bits are handed on as they came.
            require(finding.code == qlx::FindingCode::CdpReservedBitsWrong ||
                    finding.code == qlx::FindingCode::CdpServiceNumberContradicts);
        }
    }

    std::uint64_t _from;
    std::uint64_t _to;
    FrameRate _rate;
    qlx::cc::RateChange _change;
    qlx::Findings _findings{10};
    std::array<std::vector<Sent>, 3> _expected;
    std::array<std::size_t, 3> _next{};
    std::vector<std::vector<qlx::cc::CaptionService>> _services;
    std::size_t _nextServices = 0;
    std::uint64_t _frames = 0;
};

}  // namespace

// Two rates; then frame by frame: how far it is from the last one, what it has, and its triplets.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    qlxfuzz::Input input(data, size);
    const std::uint8_t rates = input.takeByte();
    const FrameRate from = qlx::kFrameRates[rates % 8];
    Course course(from, qlx::kFrameRates[rates / 8 % 8]);
    std::uint64_t frame = 0;
    std::uint64_t timeCode = 0;
    while (!input.empty()) {
        const std::uint8_t head = input.takeByte();
        frame += head >> 6U;
        Cdp cdp;
        cdp.setFrameRate(from);
        std::vector<Triplet> triplets(head & 0x1FU);
        const std::uint8_t parts = (head & 0x20U) != 0 ? input.takeByte() : 0;
        if ((parts & 1U) != 0) {
            std::array<std::uint8_t, qlx::cc::CaptionService::kBytes> bytes{0xE1, 'e', 'n', 'g', 0xC1, 0x3F, 0xFF};
            bytes[parts % bytes.size()] ^= parts;
            const qlx::cc::CaptionService service(bytes);
            require(cdp.setServices(std::span(&service, 1)).hasValue());
        }
        if ((parts & 2U) != 0) {
            const std::vector<std::uint8_t> future(input.takeByte() * std::size_t{2} / 3, parts);
            require(cdp.addFutureSection(0x75 + parts / 4, future).hasValue());
        }
        if ((parts & 4U) != 0) {
            timeCode = (parts & 8U) != 0 ? timeCode + 1 : timeCode << 8U | input.takeByte();
            cdp.setTimeCode(qlx::cc::CdpTimeCode(
                {static_cast<std::uint8_t>(timeCode >> 24U), static_cast<std::uint8_t>(timeCode >> 16U),
                 static_cast<std::uint8_t>(timeCode >> 8U), static_cast<std::uint8_t>(timeCode)}));
        }
        for (Triplet& triplet : triplets) {
            triplet.header = static_cast<std::uint8_t>(0xF8U | input.takeByte());
            triplet.first = input.takeByte();
            triplet.second = input.takeByte();
        }
        require(cdp.setTriplets(triplets).hasValue());
        course.feed(frame, cdp);
    }
    course.finish();
    return 0;
}

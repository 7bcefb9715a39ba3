#include <qlx/streams/on_air.h>

#include "AncOrder.h"
#include "FrameCaptions.h"

#include <qlx/anc/packet.h>
#include <qlx/cc/triplet.h>
#include <qlx/cea708/packet.h>
#include <qlx/streams/captions.h>
#include <qlx/teletext/page.h>
#include <qlx/teletext/sdp.h>

#include <array>
#include <cstddef>
#include <span>

namespace qlx::streams {

namespace {

/// The line of the picture of 625 that a teletext line is; 0 where the stream does not say it.
std::uint32_t pictureLineOf(const teletext::SdpLine& line) noexcept {
    constexpr std::uint32_t kSecondField = 313;
    return line.line() == 0 ? 0U : line.line() + (line.isOddField() ? 0U : kSecondField);
}

class TeletextOnAir final : public OnAir {
public:
    using OnAir::receive;

    TeletextOnAir(std::uint16_t page, std::uint8_t region) : _number(page), _page(page, region) {}

    bool receive(const Frame& frame, FindingSink* findings) override {
        const std::vector<const anc::Packet*> packets = detail::teletextPackets(frame);
        bool isChanged = false;
        for (const anc::Packet* const packet : packets) {
            PlacedSink sink(findings, packet->line);
            FindingSink* const told = findings == nullptr ? nullptr : &sink;
            const auto sdp = teletext::parseSdp(packet->userData, told);
            if (!sdp) {
                sink.add(sdp.error());
                continue;
            }
            _counters.receive(sdp->counter, told);
            isChanged = _page.receive(*sdp, told) || isChanged;
        }
        for (const teletext::SdpLine& line : frame.teletext) {
            PlacedSink sink(findings, pictureLineOf(line));
            isChanged = _page.receive(std::span(&line, 1), findings == nullptr ? nullptr : &sink) || isChanged;
        }
        _isCarried = _isCarried || !packets.empty() || !frame.teletext.empty();
        return isChanged;
    }

    [[nodiscard]] screen::Screen screen() const override { return _page.screen(); }
    [[nodiscard]] OnAirKind kind() const noexcept override { return OnAirKind::TeletextPage; }
    [[nodiscard]] teletext::CharacterSet characterSet() const noexcept override { return _page.characterSet(); }
    [[nodiscard]] std::string name() const override { return teletext::pageName(_number); }
    [[nodiscard]] bool isCarried() const noexcept override { return _isCarried; }
    [[nodiscard]] std::vector<std::uint16_t> otherPages() const override { return _page.otherPages(); }

private:
    std::uint16_t _number;
    teletext::PageReader _page;
    teletext::SdpCounterCheck _counters;
    bool _isCarried = false;
};

class CaptionsOnAir final : public OnAir {
public:
    using OnAir::receive;

    CaptionsOnAir(cea608::Channel channel, const cea608::ReceiverOptions& options) : _screen(channel, options) {}

    bool receive(const Frame& frame, FindingSink* findings) override {
        const detail::FrameCaptions captions(frame, findings);
        _counters.receive(frame, findings);
        const cc::CcType field = _screen.channel().field == 1 ? cc::CcType::Field1 : cc::CcType::Field2;
        bool isChanged = false;
        for (const cc::Triplet& pair : cc::fieldPairs(captions.triplets(), field)) {
            if (_gap.isLongBefore(frame)) {
                _screen.expectNoRepetition();
            }
            isChanged = _screen.receive(pair.first, pair.second, findings, captions.line()) || isChanged;
            _isCarried = true;
        }
        _change = _screen.takeChange();
        return isChanged;
    }

    [[nodiscard]] screen::Change change() const noexcept override { return _change; }

    [[nodiscard]] screen::Screen screen() const override { return _screen.screen(); }
    [[nodiscard]] OnAirKind kind() const noexcept override { return OnAirKind::CaptionChannel; }
    [[nodiscard]] std::string name() const override { return std::string(nameOf(_screen.channel())); }
    [[nodiscard]] bool isCarried() const noexcept override { return _isCarried; }

private:
    cea608::Receiver _screen;
    CdpCounters _counters;
    detail::FieldGap _gap;
    screen::Change _change;
    bool _isCarried = false;
};

class ServiceOnAir final : public OnAir {
public:
    using OnAir::receive;

    ServiceOnAir(std::uint8_t service, const cea708::ReceiverOptions& options) : _receiver(service, options) {}

    bool receive(const Frame& frame, FindingSink* findings) override {
        const detail::FrameCaptions captions(frame, findings);
        _counters.receive(frame, findings);
        bool isChanged = false;
        for (std::uint64_t left = _clock.ticksBefore(frame); left > 0 && _receiver.isDelayed(); --left) {
            isChanged = _receiver.nextFrame(detail::DelayClock::kTick, findings, captions.line()) || isChanged;
        }
        for (const cc::Triplet& triplet : cc::dtvccTriplets(captions.triplets())) {
            for (const cea708::ReceivedPacket& packet : _packets.receive(triplet, findings, captions.line())) {
                for (const cea708::ServiceBlockView block : packet.packet.blocks()) {
                    _isThere[block.service] = true;
                }
                isChanged = _receiver.receive(packet, findings, captions.line()) || isChanged;
            }
        }
        _change = _receiver.takeChange();
        return isChanged;
    }

    bool finish(FindingSink* findings) override {
        bool isChanged = false;
        for (const cea708::ReceivedPacket& packet : _packets.finish(findings)) {
            for (const cea708::ServiceBlockView block : packet.packet.blocks()) {
                _isThere[block.service] = true;
            }
            isChanged = _receiver.receive(packet, findings) || isChanged;
        }
        _change = _receiver.takeChange();
        return isChanged;
    }

    [[nodiscard]] screen::Change change() const noexcept override { return _change; }

    [[nodiscard]] screen::Screen screen() const override { return _receiver.screen(); }
    [[nodiscard]] OnAirKind kind() const noexcept override { return OnAirKind::CaptionService; }
    [[nodiscard]] std::string name() const override { return std::to_string(_receiver.service()); }
    [[nodiscard]] bool isCarried() const noexcept override {
        return std::find(_isThere.begin(), _isThere.end(), true) != _isThere.end();
    }
    [[nodiscard]] std::vector<std::uint16_t> otherPages() const override {
        std::vector<std::uint16_t> services;
        for (std::uint16_t service = 1; service <= cea708::kGreatestService; ++service) {
            if (_isThere[service] && service != _receiver.service()) {
                services.push_back(service);
            }
        }
        return services;
    }

private:
    cea708::PacketReader _packets;
    cea708::Receiver _receiver;
    CdpCounters _counters;
    detail::DelayClock _clock;
    screen::Change _change;
    std::array<bool, cea708::kGreatestService + std::size_t{1}> _isThere{};
};

}  // namespace

std::unique_ptr<OnAir> teletextOnAir(std::uint16_t page, std::uint8_t region) {
    return std::make_unique<TeletextOnAir>(page, region);
}

std::unique_ptr<OnAir> captionsOnAir(cea608::Channel channel, const cea608::ReceiverOptions& options) {
    return std::make_unique<CaptionsOnAir>(channel, options);
}

std::unique_ptr<OnAir> serviceOnAir(std::uint8_t service, const cea708::ReceiverOptions& options) {
    return std::make_unique<ServiceOnAir>(service, options);
}

bool goesOn(std::u32string_view before, std::u32string_view after) noexcept {
    constexpr std::size_t kMostTakenBack = 2;
    const std::size_t kept = std::max<std::size_t>(before.size(), kMostTakenBack + 1) - kMostTakenBack;
    // A letter that is alone may be taken back.
    return before.size() == 1 || (!before.empty() && after.starts_with(before.substr(0, kept)));
}

}  // namespace qlx::streams

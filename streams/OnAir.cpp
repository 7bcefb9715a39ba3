#include <qlx/streams/on_air.h>

#include "LineSink.h"

#include <qlx/anc/packet.h>
#include <qlx/cc/triplet.h>
#include <qlx/streams/captions.h>
#include <qlx/teletext/page.h>
#include <qlx/teletext/sdp.h>

#include <algorithm>
#include <cstddef>

namespace qlx::streams {

namespace {

class TeletextOnAir final : public OnAir {
public:
    using OnAir::receive;

    explicit TeletextOnAir(std::uint16_t page) : _number(page), _page(page) {}

    bool receive(const Frame& frame, FindingSink* findings) override {
        std::vector<const anc::Packet*> packets;
        for (const auto& packet : frame.packets) {
            if (packet.id() == anc::ids::kOp47) {
                packets.push_back(&packet);
            }
        }
        // Field 1 comes first, however the packets of a frame are listed.
        std::stable_sort(packets.begin(), packets.end(),
                         [](const anc::Packet* left, const anc::Packet* right) { return left->line < right->line; });
        bool isChanged = false;
        for (const anc::Packet* const packet : packets) {
            detail::LineSink sink(findings, packet->line);
            FindingSink* const told = findings == nullptr ? nullptr : &sink;
            const auto sdp = teletext::parseSdp(packet->userData, told);
            if (!sdp) {
                sink.add(sdp.error());
                continue;
            }
            isChanged = _page.receive(*sdp, told) || isChanged;
        }
        _isCarried = _isCarried || !packets.empty();
        return isChanged;
    }

    [[nodiscard]] screen::Screen screen() const override { return _page.screen(); }
    [[nodiscard]] OnAirKind kind() const noexcept override { return OnAirKind::TeletextPage; }
    [[nodiscard]] std::string name() const override { return teletext::pageName(_number); }
    [[nodiscard]] bool isCarried() const noexcept override { return _isCarried; }
    [[nodiscard]] std::vector<std::uint16_t> otherPages() const override { return _page.otherPages(); }

private:
    std::uint16_t _number;
    teletext::PageReader _page;
    bool _isCarried = false;
};

class CaptionsOnAir final : public OnAir {
public:
    using OnAir::receive;

    explicit CaptionsOnAir(cea608::Channel channel) : _screen(channel) {}

    bool receive(const Frame& frame, FindingSink* findings) override {
        const cc::CcType wanted = _screen.channel().field == 1 ? cc::CcType::Field1 : cc::CcType::Field2;
        // At 50 and 60 frames a second a field has a pair in every other frame.
        constexpr std::uint64_t kLongestStep = 2;
        bool isChanged = false;
        const Data triplets = captionTriplets(frame, findings);
        for (std::size_t place = 0; place + sizeof(cc::Triplet) <= triplets.size(); place += sizeof(cc::Triplet)) {
            const cc::Triplet triplet{triplets[place], triplets[place + 1], triplets[place + 2]};
            if (!triplet.valid() || triplet.type() != wanted) {
                continue;
            }
            if (_isCarried && frame.number - _lastFrame > kLongestStep) {
                _screen.expectNoRepetition();
            }
            _lastFrame = frame.number;
            isChanged = _screen.receive(triplet.first, triplet.second) || isChanged;
            _isCarried = true;
        }
        return isChanged;
    }

    [[nodiscard]] screen::Screen screen() const override { return _screen.screen(); }
    [[nodiscard]] OnAirKind kind() const noexcept override { return OnAirKind::CaptionChannel; }
    [[nodiscard]] std::string name() const override { return std::string(nameOf(_screen.channel())); }
    [[nodiscard]] bool isCarried() const noexcept override { return _isCarried; }

private:
    cea608::Receiver _screen;
    bool _isCarried = false;
    std::uint64_t _lastFrame = 0;  ///< The one with the last pair.
};

}  // namespace

std::unique_ptr<OnAir> teletextOnAir(std::uint16_t page) {
    return std::make_unique<TeletextOnAir>(page);
}

std::unique_ptr<OnAir> captionsOnAir(cea608::Channel channel) {
    return std::make_unique<CaptionsOnAir>(channel);
}

}  // namespace qlx::streams

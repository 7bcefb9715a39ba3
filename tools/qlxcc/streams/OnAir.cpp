#include "streams/OnAir.h"

#include "io/Text.h"
#include "streams/Cdp.h"
#include "streams/FrameCaptions.h"

#include <qlx/teletext/page.h>

#include <algorithm>
#include <array>
#include <vector>

namespace qlx::tool {

namespace {

class TeletextOnAir final : public OnAir {
public:
    explicit TeletextOnAir(std::uint16_t page) : _number(page), _page(page) {}

    bool receive(const Frame& frame) override {
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
            const auto sdp = teletext::parseSdp(packet->userData);
            isChanged = (sdp && _page.receive(*sdp)) || isChanged;
        }
        _isCarried = _isCarried || !packets.empty();
        return isChanged;
    }

    [[nodiscard]] screen::Screen screen() const override { return _page.screen(); }
    [[nodiscard]] std::string_view kind() const override { return "page"; }
    [[nodiscard]] std::string name() const override { return teletext::pageName(_number); }
    [[nodiscard]] bool isCarried() const override { return _isCarried; }

    [[nodiscard]] std::string hint() const override {
        constexpr std::size_t kShownPages = 10;
        const std::vector<std::uint16_t> pages = _page.otherPages();
        std::string text;
        for (std::size_t index = 0; index < std::min(pages.size(), kShownPages); ++index) {
            text += (index == 0 ? "pages here: " : ", ") + teletext::pageName(pages[index]);
        }
        return pages.size() > kShownPages ? text + " and " + std::to_string(pages.size() - kShownPages) + " more"
                                          : text;
    }

private:
    std::uint16_t _number;
    teletext::PageReader _page;
    bool _isCarried = false;
};

class CaptionsOnAir final : public OnAir {
public:
    explicit CaptionsOnAir(cea608::Channel channel) : _screen(channel) {}

    bool receive(const Frame& frame) override {
        const TripletKind wanted = _screen.channel().field == 1 ? TripletKind::Field1 : TripletKind::Field2;
        // At 50 and 60 frames a second a field has a pair in every other frame.
        constexpr std::uint64_t kLongestStep = 2;
        bool isChanged = false;
        for (const CaptionTriplet& triplet : readTriplets(captionTriplets(frame))) {
            if (triplet.kind == wanted) {
                if (_isCarried && frame.number - _lastFrame > kLongestStep) {
                    _screen.expectNoRepetition();
                }
                _lastFrame = frame.number;
                isChanged = _screen.receive(triplet.data[0], triplet.data[1]) || isChanged;
                _isCarried = true;
            }
        }
        return isChanged;
    }

    [[nodiscard]] screen::Screen screen() const override { return _screen.screen(); }
    [[nodiscard]] std::string_view kind() const override { return "channel"; }
    [[nodiscard]] std::string name() const override { return std::string(nameOf(_screen.channel())); }
    [[nodiscard]] bool isCarried() const override { return _isCarried; }
    [[nodiscard]] std::string hint() const override { return {}; }

private:
    cea608::Receiver _screen;
    bool _isCarried = false;
    std::uint64_t _lastFrame = 0;  ///< The one with the last pair.
};

}  // namespace

std::string OnAir::title() const {
    return (kind() == "page" ? "teletext page " : "captions ") + name();
}

std::unique_ptr<OnAir> teletextOnAir(std::uint16_t page) {
    return std::make_unique<TeletextOnAir>(page);
}

std::unique_ptr<OnAir> captionsOnAir(cea608::Channel channel) {
    return std::make_unique<CaptionsOnAir>(channel);
}

}  // namespace qlx::tool

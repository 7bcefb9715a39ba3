#include <qlx/streams/contents.h>

#include "FrameCaptions.h"
#include "PageLives.h"
#include "ScreenLife.h"

#include <qlx/base/frame_rate.h>
#include <qlx/cc/cdp.h>
#include <qlx/cea608/receiver.h>
#include <qlx/cea608/xds.h>
#include <qlx/cea708/packet.h>
#include <qlx/cea708/receiver.h>
#include <qlx/teletext/packet.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

namespace qlx::streams {

namespace {

/// A channel of captions or of text.
struct ChannelLife {
    cea608::Receiver receiver;
    detail::ScreenLife life;
    Content content;

    ChannelLife(cea608::Channel channel, bool ignoresParity)
        : receiver(channel, {.ignoresParity = ignoresParity}), content{channel.isText ? ContentKind::TextChannel
                                                                                      : ContentKind::CaptionChannel,
                                                                       std::string(nameOf(channel)),
                                                                       {},
                                                                       0,
                                                                       {},
                                                                       {},
                                                                       {},
                                                                       {}} {}
};

/// A service.
struct ServiceLife {
    cea708::Receiver receiver;
    detail::ScreenLife life;
    Content content;

    explicit ServiceLife(std::uint8_t service)
        : receiver(service), content{ContentKind::CaptionService, std::to_string(service), {}, 0, {}, {}, {}, {}} {}
};

/// The codes of ISO 639-2 that are for what extended data call a language.
std::string codeOf(cea608::XdsLanguage language) {
    switch (language) {
    case cea608::XdsLanguage::English:
        return "eng";
    case cea608::XdsLanguage::Spanish:
        return "spa";
    case cea608::XdsLanguage::French:
        return "fre";
    case cea608::XdsLanguage::German:
        return "ger";
    case cea608::XdsLanguage::Italian:
        return "ita";
    default:
        return {};
    }
}

/// The letters of a language; empty where none is meant.
std::string textOf(const cc::CaptionService::Language& language) {
    const std::string text(language.begin(), language.end());
    const bool isText =
        text.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ") == std::string::npos;
    return isText ? text : std::string();
}

}  // namespace

class ContentReader::State {
public:
    explicit State(const ContentOptions& options) : _xds({.ignoresParity = options.ignoresParity}) {
        for (const auto& channels : {cea608::kChannels, cea608::kTextChannels}) {
            for (const cea608::Channel channel : channels) {
                _channels.emplace_back(channel, options.ignoresParity);
            }
        }
        _extendedData.kind = ContentKind::ExtendedData;
        _extendedData.name = "XDS";
    }

    void receive(const Frame& frame, FindingSink* findings) {
        const detail::FrameCaptions captions(frame, nullptr);
        takeField(cc::CcType::Field1, captions.triplets(), frame, findings);
        takeField(cc::CcType::Field2, captions.triplets(), frame, findings);
        takeServices(captions.triplets(), frame, findings);
        _pages.receive(frame);
        _last.number = frame.number;
        _last.pts = frame.pts;
        _hasTimes = _hasTimes || frame.pts;
        for (ChannelLife& channel : _channels) {
            channel.life.stay(frame, channel.content);
        }
        for (auto& [number, service] : _services) {
            service.life.stay(frame, service.content);
        }
        for (const anc::Packet& packet : frame.packets) {
            if (packet.id() == anc::ids::kCdp) {
                readPacket(packet.userData);
            }
        }
    }

    void finish(FindingSink* findings) {
        ServiceFlags isChanged{};
        _xds.finish(findings);
        takePackets(_packets.finish(findings), isChanged);
        followServices(isChanged, _last);
    }

    [[nodiscard]] std::vector<Content> contents() const {
        std::vector<Content> found;
        for (const ChannelLife& channel : _channels) {
            if (channel.content.captions > 0) {
                found.push_back(channel.content);
                setLanguage(found.back(), channel.receiver.channel());
            }
        }
        if (_extendedData.captions > 0) {
            found.push_back(_extendedData);
        }
        for (const auto& [number, service] : _services) {
            found.push_back(service.content);
        }
        for (Content& page : _pages.contents()) {
            const auto named = _pageLanguages.find(page.name);
            page.language = named != _pageLanguages.end() ? named->second : page.language;
            found.push_back(std::move(page));
        }
        if (!_hasTimes && _rate && _areRatesAlike) {
            for (Content& content : found) {
                content.first = timeOf(content.firstFrame);
                content.last = timeOf(content.lastFrame);
            }
        }
        return found;
    }

    void nameLanguage(std::uint16_t page, std::string_view language) {
        cc::CaptionService::Language letters{};
        if (language.size() == letters.size() && language != "und") {
            std::copy(language.begin(), language.end(), letters.begin());
            const std::string text = textOf(letters);
            if (!text.empty()) {
                _pageLanguages[teletext::pageName(page)] = text;
            }
        }
    }

private:
    using ServiceFlags = std::array<bool, cea708::kGreatestService + std::size_t{1}>;

    void takeField(cc::CcType field, std::span<const cc::Triplet> triplets, const Frame& frame, FindingSink* findings) {
        const std::uint8_t number = field == cc::CcType::Field1 ? 1 : 2;
        std::array<bool, 2 * cea608::kChannels.size()> isChanged{};
        for (const cc::Triplet& pair : cc::fieldPairs(triplets, field)) {
            const bool isLong = _gaps[number - 1U].isLongBefore(frame);
            for (std::size_t index = 0; index < _channels.size(); ++index) {
                cea608::Receiver& receiver = _channels[index].receiver;
                if (receiver.channel().field != number) {
                    continue;
                }
                if (isLong) {
                    receiver.expectNoRepetition();
                }
                isChanged[index] = receiver.receive(pair.first, pair.second) || isChanged[index];
            }
            if (number == 2) {
                takeExtendedData(pair, frame, findings);
            }
        }
        for (std::size_t index = 0; index < _channels.size(); ++index) {
            ChannelLife& channel = _channels[index];
            if (isChanged[index]) {
                channel.life.change(channel.receiver.screen(), channel.receiver.takeChange(), frame, channel.content);
            }
        }
    }

    void takeExtendedData(const cc::Triplet& pair, const Frame& frame, FindingSink* findings) {
        const auto packet = _xds.receive(pair.first, pair.second, findings);
        if (!packet) {
            return;
        }
        if (_extendedData.captions++ == 0) {
            _extendedData.firstFrame = frame.number;
            _extendedData.first = frame.pts;
        }
        _extendedData.lastFrame = frame.number;
        _extendedData.last = frame.pts;
        const cea608::XdsValue value = cea608::xdsValue(*packet, findings);
        const auto* const services = std::get_if<cea608::XdsCaptionServices>(&value);
        if (services != nullptr && packet->xdsClass == cea608::XdsClass::Current) {
            for (const auto& service : services->services) {
                _named[std::string(nameOf(service.channel))] = codeOf(service.language);
            }
        }
    }

    void takeServices(std::span<const cc::Triplet> triplets, const Frame& frame, FindingSink* findings) {
        ServiceFlags isChanged{};
        for (std::uint64_t left = _clock.ticksBefore(frame); left > 0; --left) {
            for (auto& [number, service] : _services) {
                isChanged[number] = service.receiver.nextFrame(detail::DelayClock::kTick) || isChanged[number];
            }
        }
        for (const cc::Triplet& triplet : cc::dtvccTriplets(triplets)) {
            takePackets(_packets.receive(triplet, findings), isChanged);
        }
        followServices(isChanged, frame);
    }

    void takePackets(std::span<const cea708::ReceivedPacket> packets, ServiceFlags& isChanged) {
        for (const cea708::ReceivedPacket& packet : packets) {
            for (const cea708::ServiceBlockView block : packet.packet.blocks()) {
                (void)_services.try_emplace(block.service, block.service);
            }
            for (auto& [number, service] : _services) {
                isChanged[number] = service.receiver.receive(packet) || isChanged[number];
            }
        }
    }

    void followServices(const ServiceFlags& isChanged, const Frame& frame) {
        for (auto& [number, service] : _services) {
            if (isChanged[number]) {
                service.life.change(service.receiver.screen(), service.receiver.takeChange(), frame, service.content);
            }
        }
    }

    /// The rate of a packet, and its service information, which names what there is also where it says nothing.
    void readPacket(std::span<const std::uint8_t> data) {
        const Result<cc::Cdp> cdp = cc::parseCdp(data);
        if (!cdp) {
            return;
        }
        const std::optional<FrameRate> rate = cdp->frameRate();
        _areRatesAlike = _areRatesAlike && rate && rate == _rate.value_or(*rate);
        _rate = rate;
        if (!cdp->hasServiceInformation()) {
            return;
        }
        for (const cc::CaptionService& service : cdp->services()) {
            const std::string language = textOf(service.language());
            if (!service.isDigital()) {
                _line21[service.isOnField2() ? 1U : 0U] = language;
            } else if (service.number() > 0) {
                _services.try_emplace(service.number(), service.number()).first->second.content.language = language;
            }
        }
    }

    /// Frame 0 is at 0 s. None where the time has no number.
    [[nodiscard]] std::optional<MediaTime> timeOf(const std::optional<std::uint64_t>& frame) const {
        const MediaTime one = frameDuration(*_rate);
        if (!frame || *frame > static_cast<std::uint64_t>(INT64_MAX / one.value)) {
            return std::nullopt;
        }
        return MediaTime::make(static_cast<std::int64_t>(*frame) * one.value, one.timescale);
    }

    /// The service information knows fields, extended data each channel.
    void setLanguage(Content& content, cea608::Channel channel) const {
        const auto named = _named.find(content.name);
        content.language = named != _named.end() ? named->second : std::string();
        if (content.language.empty() && channel.channel == 1 && !channel.isText) {
            content.language = _line21[channel.field - 1U];
        }
    }

    std::vector<ChannelLife> _channels;
    std::array<detail::FieldGap, 2> _gaps;
    cea608::XdsReader _xds;
    Content _extendedData;
    std::array<std::string, 2> _line21;         ///< Languages by field.
    std::map<std::string, std::string> _named;  ///< The same by channel, as extended data name them.
    cea708::PacketReader _packets;
    detail::DelayClock _clock;
    std::map<std::uint8_t, ServiceLife> _services;
    detail::PageLives _pages;
    Frame _last;                                        ///< Number and time of the last one.
    bool _hasTimes = false;                             ///< A frame came with its time.
    std::optional<FrameRate> _rate;                     ///< That of the last CDP.
    bool _areRatesAlike = true;                         ///< All of them have one, and the same.
    std::map<std::string, std::string> _pageLanguages;  ///< By page, as the program's map names them.
};

ContentReader::ContentReader(const ContentOptions& options) : _state(std::make_unique<State>(options)) {}
ContentReader::~ContentReader() = default;

void ContentReader::receive(const Frame& frame, FindingSink* findings) {
    _state->receive(frame, findings);
}

void ContentReader::finish(FindingSink* findings) {
    _state->finish(findings);
}

void ContentReader::nameLanguage(std::uint16_t page, std::string_view language) {
    _state->nameLanguage(page, language);
}

std::vector<Content> ContentReader::contents() const {
    return _state->contents();
}

}  // namespace qlx::streams

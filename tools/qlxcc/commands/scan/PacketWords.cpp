#include "commands/scan/PacketWords.h"

#include "io/Text.h"
#include "streams/Cdp.h"

#include <qlx/anc/payloads.h>
#include <qlx/anc/registry.h>

#include <array>
#include <cstdint>
#include <span>

namespace qlx::tool {

namespace {

constexpr anc::PacketId kCameraStartStop{0x52, 0x4D};

std::string twoDecimals(std::uint8_t number) {
    return (number < 10 ? "0" : "") + std::to_string(number);
}

std::string inWords(const anc::AfdBarData& data) {
    const std::string_view meaning = anc::afdText(data.code);
    std::string text = "AFD " + std::to_string(data.code) + " (" + std::string(meaning.empty() ? "reserved" : meaning) +
                       "), frame " + (data.isWide ? "16:9" : "4:3");
    const auto bar = [&text](bool isThere, const char* words, std::uint16_t place) {
        if (isThere) {
            text += std::string(", ") + words + " " + std::to_string(place);
        }
    };
    bar(data.hasTopBar, "top bar to line", data.firstBar);
    bar(data.hasBottomBar, "bottom bar from line", data.secondBar);
    bar(data.hasLeftBar, "left bar to pixel", data.firstBar);
    bar(data.hasRightBar, "right bar from pixel", data.secondBar);
    return text;
}

std::string inWords(const anc::AncillaryTimeCode& timeCode) {
    std::string text = twoDecimals(timeCode.hours) + ":" + twoDecimals(timeCode.minutes) + ":" +
                       twoDecimals(timeCode.seconds) + (timeCode.dropFrame ? ";" : ":") + twoDecimals(timeCode.frames);
    switch (static_cast<anc::TimeCodeSource>(timeCode.source)) {
    case anc::TimeCodeSource::Linear:
        return text + ", LTC";
    case anc::TimeCodeSource::Interval1:
        return text + ", VITC 1";
    case anc::TimeCodeSource::Interval2:
        return text + ", VITC 2";
    }
    return text + ", payload type " + hex(std::array{timeCode.source});
}

std::string inWords(const anc::PayloadIdentifier& payload) {
    const std::string_view rate = anc::payloadRateText(payload.rateCode);
    return "payload " + hex(payload.bytes) + ": " + (payload.isProgressivePicture ? "progressive" : "interlaced") +
           ", " + (rate.empty() ? "rate code " + std::to_string(payload.rateCode) : std::string(rate) + " pictures/s");
}

std::string inWords(const anc::Cea608Payload& payload) {
    // As the triplet that a CDP has for such a pair.
    const auto kind = static_cast<std::uint8_t>(payload.isFirstField ? 0xFC : 0xFD);
    return "line offset " + std::to_string(payload.lineOffset) + ": " +
           tripletsInWords(std::array{kind, payload.pair[0], payload.pair[1]});
}

// Nothing is said of data that are not as long as they should be: they stand in the list as they are.
constexpr std::size_t kAfdBytes = 8;

template <class Read>
std::string inWords(const Result<Read>& read) {
    return read ? inWords(*read) : std::string();
}

std::string_view nameOf(anc::Space space) {
    switch (space) {
    case anc::Space::Vertical:
        return ", VANC";
    case anc::Space::Horizontal:
        return ", HANC";
    case anc::Space::Active:
        return ", active lines";
    case anc::Space::Either:
        break;
    }
    return {};
}

}  // namespace

std::string packetInWords(const anc::Packet& packet) {
    const anc::PacketId id = packet.id();
    const std::span<const std::uint8_t> userData = packet.userData;
    if (id == anc::ids::kAfdBarData) {
        return userData.size() != kAfdBytes ? std::string() : inWords(anc::parseAfdBarData(userData));
    }
    if (id == anc::ids::kAtc) {
        return inWords(anc::parseAncillaryTimeCode(userData));
    }
    if (id == anc::ids::kPayloadIdentifier) {
        return inWords(anc::parsePayloadIdentifier(userData));
    }
    if (id == anc::ids::kCea608) {
        return inWords(anc::parseCea608Payload(userData));
    }
    if (id == kCameraStartStop) {
        const auto starts = anc::parseCameraStartStop(userData);
        return !starts ? std::string() : *starts ? "recording starts" : "recording stops";
    }
    if (anc::kindName(packet.did, packet.sdid) != anc::kindName(0, 0)) {
        // The library's name is somebody's own, or of what has been read above.
        return {};
    }
    const auto kind = anc::registeredPacket(packet.did, packet.sdid);
    return kind ? std::string(kind->standard) + std::string(nameOf(kind->space)) : std::string();
}

}  // namespace qlx::tool

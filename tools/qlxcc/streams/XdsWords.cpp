#include "streams/XdsWords.h"

#include "io/Text.h"

#include <qlx/base/finding.h>

#include <array>
#include <cstddef>
#include <string_view>
#include <variant>
#include <vector>

namespace qlx::tool {

namespace {

using namespace cea608;

std::string twoPlaces(unsigned number) {
    return (number < 10 ? "0" : "") + std::to_string(number);
}

std::string quoted(const std::string& text) {
    return "\"" + printable(text) + "\"";
}

std::string dayAndTime(const XdsTime& time) {
    return twoPlaces(time.month) + "-" + twoPlaces(time.day) + " " + twoPlaces(time.hour) + ":" +
           twoPlaces(time.minute) + " UTC";
}

std::string span(const XdsProgramLength::Span& span) {
    return std::to_string(int{span.hours}) + ":" + twoPlaces(span.minutes);
}

/// What a packet says, by its value.
struct Words {
    std::string operator()(std::monostate) const { return {}; }

    std::string operator()(const XdsProgramStart& value) const {
        return "programme start: " + dayAndTime(value.time) + (value.time.isTapeDelay ? ", tape delay" : "");
    }

    std::string operator()(const XdsProgramLength& value) const {
        std::string text = "programme length: " + span(value.length);
        if (value.elapsed) {
            text += ", elapsed " + span(*value.elapsed);
            text += value.elapsedSeconds ? ":" + twoPlaces(*value.elapsedSeconds) : std::string();
        }
        return text;
    }

    std::string operator()(const XdsProgramName& value) const { return "programme name: " + quoted(value.text); }

    std::string operator()(const XdsProgramType& value) const {
        std::string text = "programme type:";
        for (std::size_t index = 0; index < value.keywords.size(); ++index) {
            const std::string_view name = xdsKeyword(value.keywords[index]);
            text +=
                (index == 0 ? " " : ", ") + (name.empty() ? hex(std::array{value.keywords[index]}) : std::string(name));
        }
        return text;
    }

    std::string operator()(const XdsContentAdvisory& value) const {
        const std::string name = nameOf(value);
        return "rating: " + (name.empty() ? "none" : name);
    }

    std::string operator()(const XdsAudioServices& value) const {
        const auto one = [](const XdsAudioServices::Service& service, bool isSecond) {
            const std::string_view language = nameOf(service.language);
            return std::string(language.empty() ? "none" : language) + " (" +
                   std::string(xdsAudioType(service.type, isSecond)) + ")";
        };
        return "audio: " + one(value.main, false) + ", second " + one(value.second, true);
    }

    std::string operator()(const XdsCaptionServices& value) const {
        std::string text = "caption services:";
        for (std::size_t index = 0; index < value.services.size(); ++index) {
            const auto& service = value.services[index];
            text += (index == 0 ? " " : ", ") + std::string(nameOf(service.channel)) + " " +
                    std::string(nameOf(service.language));
        }
        return text;
    }

    std::string operator()(const XdsCopyControl& value) const {
        return "copy control: CGMS-A " + std::to_string(int{value.cgms}) + ", APS " + std::to_string(int{value.aps}) +
               (value.isAnalogSource ? ", analogue source" : "") +
               (value.isRedistributionControlled ? ", redistribution controlled" : "");
    }

    std::string operator()(const XdsDescription& value) const {
        return "description, row " + std::to_string(int{value.row}) + ": " + quoted(value.text);
    }

    std::string operator()(const XdsNetworkName& value) const { return "network: " + quoted(value.text); }

    std::string operator()(const XdsCallLetters& value) const {
        return "call letters: " + quoted(value.letters) +
               (value.channel.empty() ? std::string() : ", channel " + printable(value.channel));
    }

    std::string operator()(const XdsTapeDelay& value) const {
        return "tape delay: " + std::to_string(int{value.hours}) + ":" + twoPlaces(value.minutes);
    }

    std::string operator()(const XdsTransmissionId& value) const {
        const std::array<std::uint8_t, 2> bytes{static_cast<std::uint8_t>(value.tsid >> 8U),
                                                static_cast<std::uint8_t>(value.tsid & 0xFFU)};
        return "transmission signal identifier: " + hex(bytes);
    }

    std::string operator()(const XdsTimeOfDay& value) const {
        return "time of day: " + std::to_string(value.year) + "-" + dayAndTime(value.time);
    }

    std::string operator()(const XdsTimeZone& value) const {
        return "time zone: UTC-" + std::to_string(int{value.hours}) +
               (value.observesDaylight ? ", with daylight saving time" : "");
    }
};

}  // namespace

std::string xdsInWords(const XdsPacket& packet) {
    constexpr std::array<std::string_view, 7> kClasses{"current",        "future",   "channel",     "miscellaneous",
                                                       "public service", "reserved", "private data"};
    Findings findings;
    const std::string text = std::visit(Words{}, xdsValue(packet, &findings));
    if (!text.empty()) {
        return (packet.xdsClass == XdsClass::Future ? "next " : "") + text;
    }
    const auto index = static_cast<std::size_t>(packet.xdsClass);
    return std::string(index < kClasses.size() ? kClasses[index] : "unknown") + " class, type " +
           hex(std::array{packet.type}) + ": " + hex(packet.bytes.items()) +
           (findings.empty() ? "" : " (none of its type)");
}

}  // namespace qlx::tool

#include "streams/JsonlReader.h"

#include "io/Errors.h"
#include "streams/Json.h"
#include "streams/PacketNames.h"

#include <QLXClosedCaptionsUtilities/platform/Value.h>

#include <limits>
#include <optional>
#include <string_view>

namespace qlx::tool {

namespace {

/// What is wrong with a line, without its place.
class BadLine : public Failure {
public:
    using Failure::Failure;
};

std::optional<std::uint8_t> digitOf(char character) {
    constexpr std::string_view kDigits = "0123456789abcdef0123456789ABCDEF";
    const std::size_t place = kDigits.find(character);
    return place == std::string_view::npos ? std::nullopt : std::optional(static_cast<std::uint8_t>(place & 15U));
}

std::vector<std::uint8_t> bytesOf(const Dictionary& object, std::string_view key) {
    const Value* const value = object.find(key);
    const std::string* const text = value != nullptr ? value->text() : nullptr;
    if (text == nullptr || text->size() % 2 != 0) {
        throw BadLine("\"" + std::string(key) + "\" must be pairs of hexadecimal digits");
    }
    std::vector<std::uint8_t> bytes;
    bytes.reserve(text->size() / 2);
    for (std::size_t index = 0; index < text->size(); index += 2) {
        const auto high = digitOf((*text)[index]);
        const auto low = digitOf((*text)[index + 1]);
        if (!high || !low) {
            throw BadLine("\"" + std::string(key) + "\" must be pairs of hexadecimal digits");
        }
        bytes.push_back(static_cast<std::uint8_t>(*high << 4U | *low));
    }
    return bytes;
}

std::uint64_t numberOf(const Dictionary& object, std::string_view key, std::uint64_t greatest) {
    const Value* const value = object.find(key);
    const std::uint64_t* const number = value != nullptr ? value->unsignedInteger() : nullptr;
    if (number == nullptr || *number > greatest) {
        throw BadLine("\"" + std::string(key) + "\" must be a whole number, at most " + std::to_string(greatest));
    }
    return *number;
}

anc::Channel channelOf(const Dictionary& object) {
    const Value* const value = object.find("channel");
    if (value == nullptr) {
        return anc::Channel::Luma;
    }
    const std::string* const name = value->text();
    const std::optional<anc::Channel> channel = name != nullptr ? channelNamed(*name) : std::nullopt;
    if (!channel) {
        throw BadLine("\"channel\" must be \"luma\", \"chroma\" or \"multiplex\"");
    }
    return *channel;
}

anc::Packet packetOf(const Value& value) {
    const Dictionary* const object = value.dictionary();
    if (object == nullptr) {
        throw BadLine("a packet must be an object");
    }
    constexpr std::uint64_t kGreatestWord = 65535;
    anc::Packet packet;
    packet.did = static_cast<std::uint8_t>(numberOf(*object, "did", 255));
    packet.sdid = static_cast<std::uint8_t>(numberOf(*object, "sdid", 255));
    packet.line = static_cast<std::uint32_t>(numberOf(*object, "line", kGreatestWord));
    packet.userData = bytesOf(*object, "data");
    packet.channel = channelOf(*object);
    if (object->find("horizontalOffset") != nullptr) {
        packet.horizontalOffset = static_cast<std::uint32_t>(numberOf(*object, "horizontalOffset", kGreatestWord));
    }
    return packet;
}

MediaTime timeOf(const Value& value) {
    const Dictionary* const object = value.dictionary();
    if (object == nullptr) {
        throw BadLine("\"pts\" must be an object");
    }
    constexpr std::uint64_t kGreatestTimescale = 1'000'000'000;
    const auto timescale = static_cast<std::int32_t>(numberOf(*object, "timescale", kGreatestTimescale));
    if (timescale == 0) {
        throw BadLine("\"timescale\" must be above 0");
    }
    constexpr auto kGreatestValue = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max() / 2);
    // Frames that an edit list leaves out are in front of 0.
    const Value* const number = object->find("value");
    const std::int64_t* const early = number != nullptr ? number->signedInteger() : nullptr;
    if (early != nullptr && *early < 0 && *early >= -static_cast<std::int64_t>(kGreatestValue)) {
        return MediaTime::make(*early, timescale);
    }
    return MediaTime::make(static_cast<std::int64_t>(numberOf(*object, "value", kGreatestValue)), timescale);
}

Frame frameOf(const Value& value) {
    const Dictionary* const object = value.dictionary();
    const Value* const packets = object != nullptr ? object->find("packets") : nullptr;
    if (packets == nullptr || packets->array() == nullptr) {
        throw BadLine("no frame: an object with \"frame\" and \"packets\" is expected");
    }
    Frame frame;
    frame.number = numberOf(*object, "frame", std::numeric_limits<std::uint32_t>::max());
    if (const Value* const pts = object->find("pts")) {
        frame.pts = timeOf(*pts);
    }
    for (const Value& packet : *packets->array()) {
        frame.packets.push_back(packetOf(packet));
    }
    if (const Value* const captions = object->find("captions")) {
        if (captions->dictionary() == nullptr) {
            throw BadLine("\"captions\" must be an object");
        }
        frame.triplets = Data(bytesOf(*captions->dictionary(), "data"));
    }
    return frame;
}

}  // namespace

bool JsonlReader::next(Frame& frame, std::vector<std::string>& /*problems*/) {
    const std::string& name = _lines.source().name();
    do {
        if (!_lines.next(_line)) {
            if (_lines.number() == 0) {
                throw failureAtByte(name, 0, "the file is empty");
            }
            return false;
        }
    } while (_line.find_first_not_of(" \t") == std::string::npos);
    // The JSON text is one line of the file; it is named by its number there.
    constexpr std::string_view kPlaceInText = ": line 1: ";
    try {
        frame = frameOf(parseJson({}, _line));
    } catch (const BadLine& error) {
        throw failureAtLine(name, _lines.number(), error.what());
    } catch (const Failure& error) {
        std::string_view what = error.what();
        what.remove_prefix(what.starts_with(kPlaceInText) ? kPlaceInText.size() : 0);
        throw failureAtLine(name, _lines.number(), what);
    }
    return true;
}

}  // namespace qlx::tool

// What packets of extended data services say: their bytes as values, and values as bytes.
#include "StandIns.h"
#include "base/StandIns.h"

#include <QLXClosedCaptionsUtilities/platform/Text.h>
#include <qlx/base/utf8.h>
#include <qlx/cea608/xds.h>

#include <algorithm>
#include <span>

namespace qlx::cea608 {

namespace {

using Bytes = std::span<const std::uint8_t>;

/// Bit 6 of bytes that are no characters.
constexpr unsigned kMark = 0x40;
constexpr std::uint16_t kFirstYear = 1990;

enum CurrentType : std::uint8_t {
    kProgramStart = 0x01,
    kProgramLength,
    kProgramName,
    kProgramType,
    kContentAdvisory,
    kAudioServices,
    kCaptionServices,
    kCopyControl,
    kFirstDescription = 0x10,
    kLastDescription = 0x17,
};

enum ChannelType : std::uint8_t { kNetworkName = 0x01, kCallLetters, kTapeDelay, kTransmissionId };

enum MiscellaneousType : std::uint8_t { kTimeOfDay = 0x01, kTimeZone = 0x04 };

constexpr std::size_t kCallLetterCount = 4;
constexpr std::size_t kGreatestServices = 8;

/// A number in the low bits of a byte.
std::uint8_t low(std::uint8_t byte, unsigned bits) noexcept {
    return static_cast<std::uint8_t>(byte & ((1U << bits) - 1));
}

bool bit(std::uint8_t byte, unsigned place) noexcept {
    return (byte >> place & 1U) != 0;
}

std::string textOf(Bytes bytes) {
    std::string text;
    for (const std::uint8_t byte : bytes) {
        appendUtf8(text, characterOf(CharacterSet::Basic, byte).value_or(U' '));
    }
    return text;
}

XdsTime timeOf(Bytes bytes) noexcept {
    return {.minute = low(bytes[0], 6),
            .hour = low(bytes[1], 5),
            .day = low(bytes[2], 5),
            .month = low(bytes[3], 4),
            .isDaylight = bit(bytes[1], 5),
            .isLeapDay = bit(bytes[2], 5),
            .isZeroed = bit(bytes[3], 5),
            .isTapeDelay = bit(bytes[3], 4)};
}

bool isTime(const XdsTime& time) noexcept {
    return time.minute < 60 && time.hour < 24 && time.day >= 1 && time.day < 32 && time.month >= 1 && time.month < 13;
}

/// Whether the numbers of a value are those that its packet can have.
struct IsInRange {
    bool operator()(const XdsProgramStart& value) const noexcept { return isTime(value.time); }
    bool operator()(const XdsProgramLength& value) const noexcept {
        return value.length.minutes < 60 && value.elapsed.value_or(XdsProgramLength::Span()).minutes < 60 &&
               value.elapsedSeconds.value_or(0) < 60;
    }
    bool operator()(const XdsTapeDelay& value) const noexcept { return value.minutes < 60; }
    bool operator()(const XdsTimeOfDay& value) const noexcept { return isTime(value.time) && value.weekday > 0; }
    bool operator()(const XdsTimeZone& value) const noexcept { return value.hours < 24; }
    template <class Value>
    bool operator()(const Value&) const noexcept {
        return true;
    }
};

XdsValue readLength(Bytes bytes) {
    const auto spanOf = [&](std::size_t index) {
        return XdsProgramLength::Span{.hours = low(bytes[index + 1], 6), .minutes = low(bytes[index], 6)};
    };
    if (bytes.size() < 2 || bytes.size() == 3 || bytes.size() > 6) {
        return {};
    }
    XdsProgramLength value{.length = spanOf(0), .elapsed = std::nullopt, .elapsedSeconds = std::nullopt};
    if (bytes.size() > 2) {
        value.elapsed = spanOf(2);
    }
    if (bytes.size() > 4) {
        value.elapsedSeconds = low(bytes[4], 6);
    }
    return value;
}

XdsValue readAdvisory(Bytes bytes) {
    if (bytes.size() != 2) {
        return {};
    }
    XdsContentAdvisory value;
    const unsigned system = bytes[0] >> 3U & 3U;
    const bool isUsTv = system == static_cast<unsigned>(XdsRatingSystem::UsTv);
    // Bits a3 and a2 tell the systems behind the first three apart.
    const unsigned other = (bit(bytes[1], 3) ? 2U : 0U) | (bit(bytes[0], 5) ? 1U : 0U);
    value.system = static_cast<XdsRatingSystem>(system == 3 ? system + other : system);
    const bool isOfFilms = value.system == XdsRatingSystem::Mpa || value.system == XdsRatingSystem::MpaOlder;
    value.rating = low(bytes[isOfFilms ? 0U : 1U], 3);
    if (isUsTv) {
        value.hasDialogue = bit(bytes[0], 5);
        value.hasViolence = bit(bytes[1], 5);
        value.hasSexualSituations = bit(bytes[1], 4);
        value.hasLanguage = bit(bytes[1], 3);
    }
    return value;
}

XdsValue readAudio(Bytes bytes) {
    const auto serviceOf = [](std::uint8_t byte) {
        return XdsAudioServices::Service{.language = static_cast<XdsLanguage>(byte >> 3U & 7U), .type = low(byte, 3)};
    };
    return bytes.size() == 2 ? XdsValue(XdsAudioServices{serviceOf(bytes[0]), serviceOf(bytes[1])}) : XdsValue();
}

XdsValue readServices(Bytes bytes) {
    if (bytes.empty() || bytes.size() > kGreatestServices) {
        return {};
    }
    XdsCaptionServices value;
    for (const std::uint8_t byte : bytes) {
        value.services.push_back({.language = static_cast<XdsLanguage>(byte >> 3U & 7U),
                                  .channel = {.field = static_cast<std::uint8_t>(bit(byte, 2) ? 2 : 1),
                                              .channel = static_cast<std::uint8_t>(bit(byte, 1) ? 2 : 1),
                                              .isText = bit(byte, 0)}});
    }
    return value;
}

XdsValue readCopyControl(Bytes bytes) {
    if (bytes.empty() || bytes.size() > 2) {
        return {};
    }
    return XdsCopyControl{.cgms = low(static_cast<std::uint8_t>(bytes[0] >> 3U), 2),
                          .aps = low(static_cast<std::uint8_t>(bytes[0] >> 1U), 2),
                          .isAnalogSource = bit(bytes[0], 0),
                          .isRedistributionControlled = bytes.size() > 1 && bit(bytes[1], 0)};
}

XdsValue readCurrent(std::uint8_t type, Bytes bytes) {
    switch (type) {
    case kProgramStart:
        return bytes.size() == 4 ? XdsValue(XdsProgramStart{timeOf(bytes)}) : XdsValue();
    case kProgramLength:
        return readLength(bytes);
    case kProgramName:
        return bytes.empty() ? XdsValue() : XdsValue(XdsProgramName{textOf(bytes)});
    case kProgramType:
        return bytes.empty() ? XdsValue() : XdsValue(XdsProgramType{{bytes.begin(), bytes.end()}});
    case kContentAdvisory:
        return readAdvisory(bytes);
    case kAudioServices:
        return readAudio(bytes);
    case kCaptionServices:
        return readServices(bytes);
    case kCopyControl:
        return readCopyControl(bytes);
    default:
        return XdsDescription{static_cast<std::uint8_t>(type - kFirstDescription + 1), textOf(bytes)};
    }
}

XdsValue readChannel(std::uint8_t type, Bytes bytes) {
    switch (type) {
    case kNetworkName:
        return bytes.empty() ? XdsValue() : XdsValue(XdsNetworkName{textOf(bytes)});
    case kCallLetters:
        return bytes.size() == kCallLetterCount || bytes.size() == kCallLetterCount + 2
                   ? XdsValue(
                         XdsCallLetters{textOf(bytes.first(kCallLetterCount)), textOf(bytes.subspan(kCallLetterCount))})
                   : XdsValue();
    case kTapeDelay:
        return bytes.size() == 2 ? XdsValue(XdsTapeDelay{.hours = low(bytes[1], 5), .minutes = low(bytes[0], 6)})
                                 : XdsValue();
    default: {
        if (bytes.size() != 4) {
            return {};
        }
        unsigned tsid = 0;
        for (std::size_t index = 0; index < bytes.size(); ++index) {
            tsid |= static_cast<unsigned>(low(bytes[index], 4)) << 4 * index;
        }
        return XdsTransmissionId{static_cast<std::uint16_t>(tsid)};
    }
    }
}

XdsValue readMiscellaneous(std::uint8_t type, Bytes bytes) {
    if (type == kTimeZone) {
        return bytes.size() == 1
                   ? XdsValue(XdsTimeZone{.hours = low(bytes[0], 5), .observesDaylight = bit(bytes[0], 5)})
                   : XdsValue();
    }
    return bytes.size() == 6 ? XdsValue(XdsTimeOfDay{.time = timeOf(bytes),
                                                     .weekday = low(bytes[4], 3),
                                                     .year = static_cast<std::uint16_t>(kFirstYear + low(bytes[5], 6))})
                             : XdsValue();
}

bool isDecoded(const XdsPacket& packet) noexcept {
    switch (packet.xdsClass) {
    case XdsClass::Current:
    case XdsClass::Future:
        return (packet.type >= kProgramStart && packet.type <= kCopyControl) ||
               (packet.type >= kFirstDescription && packet.type <= kLastDescription);
    case XdsClass::Channel:
        return packet.type >= kNetworkName && packet.type <= kTransmissionId;
    case XdsClass::Miscellaneous:
        return packet.type == kTimeOfDay || packet.type == kTimeZone;
    default:
        return false;
    }
}

/// Makes packets of values.
class Packer {
public:
    Packer(bool isFuture, FindingSink* findings)
        : _current(isFuture ? XdsClass::Future : XdsClass::Current), _findings(findings) {}

    bool operator()(std::monostate) { return false; }
    bool operator()(const XdsProgramStart& value) {
        begin(_current, kProgramStart);
        return put(value.time);
    }
    bool operator()(const XdsProgramLength& value) {
        begin(_current, kProgramLength);
        return put(value.length) && (!value.elapsed || put(*value.elapsed)) &&
               (!value.elapsedSeconds || (value.elapsed && put(*value.elapsedSeconds, 6)));
    }
    bool operator()(const XdsProgramName& value) {
        begin(_current, kProgramName);
        return put(value.text, kGreatestXdsBytes);
    }
    bool operator()(const XdsProgramType& value) {
        begin(_current, kProgramType);
        return !value.keywords.empty() &&
               std::all_of(value.keywords.begin(), value.keywords.end(), [this](std::uint8_t keyword) {
                   return keyword >= 0x20 && keyword < 0x80 && append(keyword);
               });
    }
    bool operator()(const XdsContentAdvisory& value);
    bool operator()(const XdsAudioServices& value) {
        begin(_current, kAudioServices);
        const auto one = [this](const XdsAudioServices::Service& service) {
            return service.type < 8 && put(service.language, service.type);
        };
        return one(value.main) && one(value.second);
    }
    bool operator()(const XdsCaptionServices& value) {
        begin(_current, kCaptionServices);
        return !value.services.empty() && value.services.size() <= kGreatestServices &&
               std::all_of(value.services.begin(), value.services.end(), [this](const auto& service) {
                   const Channel channel = service.channel;
                   return put(service.language, (channel.field == 2 ? 4U : 0U) | (channel.channel == 2 ? 2U : 0U) |
                                                    (channel.isText ? 1U : 0U));
               });
    }
    bool operator()(const XdsCopyControl& value) {
        begin(_current, kCopyControl);
        const unsigned bits = value.cgms * 8U + value.aps * 2U + (value.isAnalogSource ? 1U : 0U);
        return value.cgms < 4 && value.aps < 4 && put(bits, 5) && put(value.isRedistributionControlled ? 1U : 0U, 1);
    }
    bool operator()(const XdsDescription& value) {
        begin(_current, static_cast<std::uint8_t>(kFirstDescription + value.row - 1));
        return value.row >= 1 && value.row <= 8 && put(value.text, kGreatestXdsBytes);
    }
    bool operator()(const XdsNetworkName& value) {
        begin(XdsClass::Channel, kNetworkName);
        return put(value.text, kGreatestXdsBytes);
    }
    bool operator()(const XdsCallLetters& value) {
        begin(XdsClass::Channel, kCallLetters);
        constexpr std::size_t kDigits = 2;
        std::string letters = value.letters;
        std::string_view rest = letters;
        std::size_t count = 0;
        for (; !rest.empty(); ++count) {
            (void)takeCodePoint(rest);
        }
        letters.append(kCallLetterCount - std::min(count, kCallLetterCount), ' ');
        return put(letters, kCallLetterCount) &&
               (value.channel.empty() || (value.channel.size() == kDigits && put(value.channel, kDigits)));
    }
    bool operator()(const XdsTapeDelay& value) {
        begin(XdsClass::Channel, kTapeDelay);
        return value.minutes < 60 && put(value.minutes, 6) && put(value.hours, 5);
    }
    bool operator()(const XdsTransmissionId& value) {
        begin(XdsClass::Channel, kTransmissionId);
        return put(value.tsid & 0xFU, 4) && put(value.tsid >> 4U & 0xFU, 4) && put(value.tsid >> 8U & 0xFU, 4) &&
               put(value.tsid >> 12U, 4);
    }
    bool operator()(const XdsTimeOfDay& value) {
        begin(XdsClass::Miscellaneous, kTimeOfDay);
        return value.weekday >= 1 && value.weekday <= 7 && value.year >= kFirstYear && put(value.time) &&
               put(value.weekday, 3) && put(value.year - unsigned{kFirstYear}, 6);
    }
    bool operator()(const XdsTimeZone& value) {
        begin(XdsClass::Miscellaneous, kTimeZone);
        return value.hours < 24 && put(value.hours | (value.observesDaylight ? 0x20U : 0U), 6);
    }

    [[nodiscard]] const XdsPacket& packet() const noexcept { return _packet; }

private:
    void begin(XdsClass xdsClass, std::uint8_t type) {
        _packet.xdsClass = xdsClass;
        _packet.type = type;
    }
    bool append(std::uint8_t byte) { return _packet.bytes.append(std::span(&byte, 1)); }
    bool put(unsigned number, unsigned bits) {
        return number >> bits == 0 && append(static_cast<std::uint8_t>(kMark | number));
    }
    bool put(XdsLanguage language, unsigned rest) {
        return language <= XdsLanguage::None && put(static_cast<unsigned>(language) << 3U | rest, 6);
    }
    bool put(const XdsProgramLength::Span& span) {
        return span.minutes < 60 && put(span.minutes, 6) && put(span.hours, 6);
    }
    bool put(const XdsTime& time) {
        return isTime(time) && put(time.minute, 6) && put(time.hour | (time.isDaylight ? 0x20U : 0U), 6) &&
               put(time.day | (time.isLeapDay ? 0x20U : 0U), 6) &&
               put(time.month | (time.isZeroed ? 0x20U : 0U) | (time.isTapeDelay ? 0x10U : 0U), 6);
    }
    bool put(std::string_view text, std::size_t greatest);

    XdsPacket _packet;
    XdsClass _current;
    FindingSink* _findings;
};

bool Packer::operator()(const XdsContentAdvisory& value) {
    begin(_current, kContentAdvisory);
    constexpr auto kFirstOther = static_cast<unsigned>(XdsRatingSystem::CanadianEnglish);
    const auto number = static_cast<unsigned>(value.system);
    const unsigned other = number > kFirstOther ? number - kFirstOther : 0;
    const bool isOfFilms = value.system == XdsRatingSystem::Mpa || value.system == XdsRatingSystem::MpaOlder;
    unsigned first = std::min(number, kFirstOther) << 3U | (other & 1U) << 5U;
    unsigned second = (other & 2U) << 2U;
    (isOfFilms ? first : second) |= value.rating;
    if (value.system == XdsRatingSystem::UsTv) {
        first |= value.hasDialogue ? 0x20U : 0U;
        second |=
            (value.hasViolence ? 0x20U : 0U) | (value.hasSexualSituations ? 0x10U : 0U) | (value.hasLanguage ? 8U : 0U);
    } else if (value.hasDialogue || value.hasViolence || value.hasSexualSituations || value.hasLanguage) {
        return false;
    }
    return value.rating < 8 && value.system <= XdsRatingSystem::Reserved6 && put(first, 6) && put(second, 6);
}

/// Characters that the basic set does not have are replaced, those that are too many left out.
bool Packer::put(std::string_view text, std::size_t greatest) {
    const auto add = [this](FindingCode code, std::int64_t first, std::int64_t second) {
        if (_findings != nullptr) {
            _findings->add({code, Severity::Warning, 0, first, second});
        }
    };
    std::size_t count = 0;
    while (!text.empty()) {
        const char32_t asked = takeCodePoint(text);
        std::array<char, 1> room{};
        const std::string_view codes = basicCodesOf(asked, room);
        count += codes.size();
        if (count > greatest) {
            continue;
        }
        const char32_t sent = characterOf(CharacterSet::Basic, static_cast<std::uint8_t>(codes[0])).value_or(U'?');
        if (sent != asked) {
            add(FindingCode::Cea608CharacterReplaced, static_cast<std::int64_t>(asked),
                static_cast<std::int64_t>(sent));
        }
        for (const char byte : codes) {
            (void)append(static_cast<std::uint8_t>(byte));
        }
    }
    if (count > greatest) {
        add(FindingCode::Cea608XdsTextCut, static_cast<std::int64_t>(count), static_cast<std::int64_t>(greatest));
    }
    return count > 0;
}

}  // namespace

XdsValue xdsValue(const XdsPacket& packet, FindingSink* findings, std::uint64_t place) {
    if (!isDecoded(packet)) {
        return {};
    }
    const Bytes bytes = packet.bytes.items();
    XdsValue value = packet.xdsClass == XdsClass::Channel         ? readChannel(packet.type, bytes)
                     : packet.xdsClass == XdsClass::Miscellaneous ? readMiscellaneous(packet.type, bytes)
                                                                  : readCurrent(packet.type, bytes);
    const bool isWrong = !std::visit(IsInRange(), value);
    if ((isWrong || std::holds_alternative<std::monostate>(value)) && findings != nullptr) {
        const std::int64_t name = static_cast<std::int64_t>(packet.xdsClass) * 2 + 1;
        findings->add({FindingCode::Cea608XdsValueWrong, Severity::Error, place, name << 8U | packet.type,
                       static_cast<std::int64_t>(bytes.size())});
    }
    return isWrong ? XdsValue() : value;
}

std::optional<XdsPacket> xdsPacket(const XdsValue& value, bool isFuture, FindingSink* findings) {
    Packer packer(isFuture, findings);
    if (std::visit([&packer](const auto& one) { return packer(one); }, value)) {
        return packer.packet();
    }
    if (!std::holds_alternative<std::monostate>(value) && findings != nullptr) {
        findings->add(
            {FindingCode::Cea608XdsNotCarried, Severity::Error, 0, static_cast<std::int64_t>(value.index()), 0});
    }
    return std::nullopt;
}

}  // namespace qlx::cea608

// What small packets that describe a frame say.
#include <qlx/anc/payloads.h>

#include <array>

namespace qlx::anc {

namespace {

/// The finding of user data that are too short; one without a code for those that are not.
[[nodiscard]] Finding cutBelow(std::span<const std::uint8_t> userData, std::size_t needed) {
    if (userData.size() >= needed) {
        return {};
    }
    return {FindingCode::AncPayloadCut, Severity::Error, userData.size(), static_cast<std::int64_t>(needed),
            static_cast<std::int64_t>(userData.size())};
}

[[nodiscard]] constexpr bool hasBit(std::uint8_t byte, unsigned bit) noexcept {
    return (byte >> bit & 1U) != 0;
}

}  // namespace

Result<AfdBarData> parseAfdBarData(std::span<const std::uint8_t> userData) {
    constexpr std::size_t kBytes = 8;
    if (const Finding cut = cutBelow(userData, kBytes); cut.code != FindingCode::None) {
        return cut;
    }
    AfdBarData data;
    data.code = static_cast<std::uint8_t>(userData[0] >> 3U & 0x0FU);
    data.isWide = hasBit(userData[0], 2);
    data.hasTopBar = hasBit(userData[3], 7);
    data.hasBottomBar = hasBit(userData[3], 6);
    data.hasLeftBar = hasBit(userData[3], 5);
    data.hasRightBar = hasBit(userData[3], 4);
    data.firstBar = static_cast<std::uint16_t>(userData[4] << 8U | userData[5]);
    data.secondBar = static_cast<std::uint16_t>(userData[6] << 8U | userData[7]);
    return data;
}

std::string_view afdText(std::uint8_t code) noexcept {
    switch (code) {
    case 0x0:
        return "not known";
    case 0x2:
        return "16:9 letterbox, at the top";
    case 0x3:
        return "14:9 letterbox, at the top";
    case 0x4:
        return "letterbox wider than 16:9";
    case 0x8:
        return "full frame";
    case 0x9:
        return "4:3, centred";
    case 0xA:
        return "16:9, centred";
    case 0xB:
        return "14:9, centred";
    case 0xD:
        return "4:3, safe in 14:9";
    case 0xE:
        return "16:9, safe in 14:9";
    case 0xF:
        return "16:9, safe in 4:3";
    default:
        return {};
    }
}

Result<AncillaryTimeCode> parseAncillaryTimeCode(std::span<const std::uint8_t> userData) {
    constexpr std::size_t kGroups = 16;
    if (const Finding cut = cutBelow(userData, kGroups); cut.code != FindingCode::None) {
        return cut;
    }
    // The bits of the time code as SMPTE ST 12-1 numbers them, four in each byte, and the distributed binary bits.
    std::uint64_t word = 0;
    unsigned distributed = 0;
    for (std::size_t group = 0; group < kGroups; ++group) {
        word |= std::uint64_t{userData[group]} >> 4U << (4 * group);
        distributed |= (userData[group] >> 3U & 1U) << group;
    }
    const auto bits = [word](unsigned first, unsigned count) {
        return static_cast<std::uint8_t>(word >> first & ((1U << count) - 1U));
    };
    // Units stand in four bits, and eight bits behind them the tens.
    const auto number = [&bits](unsigned units, unsigned bitsOfTens) {
        return static_cast<std::uint8_t>(bits(units, 4) + 10 * bits(units + 8, bitsOfTens));
    };
    AncillaryTimeCode timeCode;
    timeCode.frames = number(0, 2);
    timeCode.seconds = number(16, 3);
    timeCode.minutes = number(32, 3);
    timeCode.hours = number(48, 2);
    timeCode.dropFrame = bits(10, 1) != 0;
    timeCode.colourFrame = bits(11, 1) != 0;
    timeCode.flags = {bits(27, 1) != 0, bits(43, 1) != 0, bits(58, 1) != 0, bits(59, 1) != 0};
    for (unsigned group = 0; group < timeCode.binaryGroups.size(); ++group) {
        timeCode.binaryGroups[group] = bits(8 * group + 4, 4);
    }
    timeCode.source = static_cast<std::uint8_t>(distributed);
    timeCode.validity = static_cast<std::uint8_t>(distributed >> 8U);
    return timeCode;
}

Result<PayloadIdentifier> parsePayloadIdentifier(std::span<const std::uint8_t> userData) {
    PayloadIdentifier payload;
    if (const Finding cut = cutBelow(userData, payload.bytes.size()); cut.code != FindingCode::None) {
        return cut;
    }
    for (std::size_t index = 0; index < payload.bytes.size(); ++index) {
        payload.bytes[index] = userData[index];
    }
    payload.format = userData[0];
    payload.isProgressiveTransport = hasBit(userData[1], 7);
    payload.isProgressivePicture = hasBit(userData[1], 6);
    payload.rateCode = userData[1] & 0x0FU;
    payload.sampling = userData[2] & 0x0FU;
    return payload;
}

std::string_view payloadRateText(std::uint8_t rateCode) noexcept {
    constexpr std::array<std::string_view, 12> kRates{"",         "",   "24/1.001", "24", "48/1.001", "25",
                                                      "30/1.001", "30", "48",       "50", "60/1.001", "60"};
    return rateCode < kRates.size() ? kRates[rateCode] : std::string_view();
}

Result<Cea608Payload> parseCea608Payload(std::span<const std::uint8_t> userData) {
    constexpr std::size_t kBytes = 3;
    if (const Finding cut = cutBelow(userData, kBytes); cut.code != FindingCode::None) {
        return cut;
    }
    return Cea608Payload{
        hasBit(userData[0], 7), static_cast<std::uint8_t>(userData[0] & 0x1FU), {userData[1], userData[2]}};
}

Result<bool> parseCameraStartStop(std::span<const std::uint8_t> userData) {
    constexpr std::size_t kBytes = 11;
    if (const Finding cut = cutBelow(userData, kBytes); cut.code != FindingCode::None) {
        return cut;
    }
    return hasBit(userData[kBytes - 1], 1);
}

}  // namespace qlx::anc

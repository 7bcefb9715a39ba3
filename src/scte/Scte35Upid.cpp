// UPIDs of segmentation descriptors as texts, and several of them in one.
#include <qlx/scte/scte35_descriptors.h>

#include "base/Hex.h"
#include "scte/Scte35Layout.h"

#include <algorithm>

namespace qlx::scte {

namespace {

using Bytes = std::span<const std::uint8_t>;

std::string digitsOf(Bytes bytes) {
    std::string text;
    for (const std::uint8_t byte : bytes) {
        appendHexByte(text, byte);
    }
    return text;
}

/// Upper-case digits in groups of so many bytes.
std::string grouped(Bytes bytes, std::size_t groupBytes, char separator) {
    std::string text;
    for (std::size_t at = 0; at < bytes.size(); at += groupBytes) {
        if (at > 0) {
            text += separator;
        }
        text += digitsOf(bytes.subspan(at, std::min(groupBytes, bytes.size() - at)));
    }
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char digit) { return digit >= 'a' ? static_cast<char>(digit - 'a' + 'A') : digit; });
    return text;
}

/// The check character of an EIDR: ISO 7064, mod 37,36.
char checkCharacter(std::string_view digits) {
    constexpr unsigned kModulus = 36;
    constexpr std::string_view kCharacters = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";
    unsigned product = kModulus;
    for (const char digit : digits) {
        const auto value = static_cast<unsigned>(kCharacters.find(digit));
        const unsigned sum = (product + value) % kModulus;
        product = (sum == 0 ? kModulus : sum) * 2 % (kModulus + 1);
    }
    return kCharacters[(kModulus + 1 - product) % kModulus];
}

std::string eidrText(Bytes bytes) {
    constexpr std::size_t kPrefixBytes = 2;
    const Bytes suffix = bytes.subspan(kPrefixBytes);
    std::string digits = grouped(suffix, suffix.size(), '-');
    return "10." + std::to_string(bytes[0] * 256U + bytes[1]) + "/" + grouped(suffix, 2, '-') + "-" +
           checkCharacter(digits);
}

bool isPrintable(Bytes bytes) {
    return std::all_of(bytes.begin(), bytes.end(), [](std::uint8_t byte) { return byte >= 0x20 && byte < 0x7F; });
}

std::string uuidText(Bytes bytes) {
    const std::string digits = digitsOf(bytes);
    return digits.substr(0, 8) + "-" + digits.substr(8, 4) + "-" + digits.substr(12, 4) + "-" + digits.substr(16, 4) +
           "-" + digits.substr(20);
}

/// A UPID that holds no others.
std::string plainText(const Upid& upid) {
    const Bytes bytes = upid.bytes;
    const bool isWhole = bytes.size() == upidBytes(upid.type);
    switch (upid.type) {
    case UpidType::UserDefined:
    case UpidType::Isci:
    case UpidType::AdId:
    case UpidType::Tid:
    case UpidType::Adi:
    case UpidType::AdsInformation:
    case UpidType::Uri:
    case UpidType::Scr:
        return isPrintable(bytes) ? std::string(bytes.begin(), bytes.end()) : digitsOf(bytes);
    case UpidType::Umid:
        return isWhole ? grouped(bytes, 4, '.') : digitsOf(bytes);
    case UpidType::IsanDeprecated:
    case UpidType::Isan:
        return isWhole ? grouped(bytes, 2, '-') : digitsOf(bytes);
    case UpidType::Eidr:
        return isWhole ? eidrText(bytes) : digitsOf(bytes);
    case UpidType::Uuid:
        return isWhole ? uuidText(bytes) : digitsOf(bytes);
    default:
        return digitsOf(bytes);
    }
}

}  // namespace

Result<std::vector<Upid>> upidsOfMid(std::span<const std::uint8_t> bytes) {
    std::vector<Upid> upids;
    detail::FieldReader reader(bytes, {});
    while (reader.remaining() > 0) {
        const std::size_t offset = reader.consumed();
        walk(reader, upids.emplace_back());
        if (reader.hasFailed()) {
            return Finding{FindingCode::ScteDescriptorTooShort, Severity::Error, offset,
                           static_cast<std::int64_t>(UpidType::Mid), static_cast<std::int64_t>(bytes.size() - offset)};
        }
    }
    return upids;
}

Result<std::vector<std::uint8_t>> midOfUpids(std::span<const Upid> upids) {
    detail::FieldMeasure measure;
    for (const Upid& upid : upids) {
        walk(measure, upid);
    }
    if (measure.wrong().code != FindingCode::None) {
        return measure.wrong();
    }
    std::vector<std::uint8_t> bytes(measure.size());
    detail::FieldWriter writer(bytes.data());
    for (const Upid& upid : upids) {
        walk(writer, upid);
    }
    return bytes;
}

std::string upidText(const Upid& upid) {
    if (upid.type != UpidType::Mid) {
        return plainText(upid);
    }
    const auto upids = upidsOfMid(upid.bytes);
    if (!upids) {
        return digitsOf(upid.bytes);
    }
    std::string text = "[";
    for (const Upid& one : *upids) {
        text += text.size() > 1 ? ", " : "";
        text += plainText(one);
    }
    return text + "]";
}

std::string_view upidTypeText(UpidType type) noexcept {
    constexpr std::array<std::string_view, 18> kNames{"Not Used", "User Defined", "ISCI",
                                                      "Ad-ID",    "UMID",         "ISAN (deprecated)",
                                                      "ISAN",     "TID",          "TI",
                                                      "ADI",      "EIDR",         "ATSC Content Identifier",
                                                      "MPU",      "MID",          "ADS Information",
                                                      "URI",      "UUID",         "SCR"};
    const auto index = static_cast<std::size_t>(type);
    return index < kNames.size() ? kNames[index] : std::string_view();
}

}  // namespace qlx::scte

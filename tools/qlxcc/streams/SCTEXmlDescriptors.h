// The descriptors of SCTE-35 sections as elements of XML.
#pragma once

#include "streams/SCTEXmlFields.h"

#include <qlx/scte/scte35_text.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// Functions are found by the namespace of what calls them.
namespace qlx::tool::scte_xml {

using namespace scte;

inline constexpr std::uint64_t kGreatestSegment = (std::uint64_t{1} << 40U) - 1;
inline constexpr std::uint64_t kGreatestTaiSeconds = (std::uint64_t{1} << 48U) - 1;

template <class Io, class Value>
requires IsA<Value, AvailDescriptor>
void describe(Io& io, Value& value) {
    io.number("providerAvailId", value.providerAvailId);
}

/// Characters of `bytes` that are all in `allowed`.
inline std::optional<std::string> textOfBytes(std::span<const std::uint8_t> bytes, std::string_view allowed) {
    std::string text(bytes.begin(), bytes.end());
    return text.find_first_not_of(allowed) == std::string::npos ? std::optional(std::move(text)) : std::nullopt;
}

template <class Io, class Value>
requires IsA<Value, DtmfDescriptor>
void describe(Io& io, Value& value) {
    constexpr std::string_view kCharacters = "0123456789*#";
    io.number("preroll", value.preRollTenths);
    if constexpr (Io::kReads) {
        const std::string text = io.text("chars");
        if (text.find_first_not_of(kCharacters) != std::string::npos) {
            io.template refuse<void>("chars", "must be digits, * and #");
        }
        value.characters.assign(text.begin(), text.end());
    } else {
        const auto text = textOfBytes(value.characters, kCharacters);
        if (!text) {
            throw ScteXmlError("DTMF characters that are no digits, * or # have no XML");
        }
        io.text("chars", *text);
    }
}

template <class Io, class Value>
requires IsA<Value, DeliveryRestrictions>
void describe(Io& io, Value& value) {
    io.flag("webDeliveryAllowedFlag", value.webDeliveryAllowed);
    io.flag("noRegionalBlackoutFlag", value.noRegionalBlackout);
    io.flag("archiveAllowedFlag", value.archiveAllowed);
    io.number("deviceRestrictions", value.deviceRestrictions, 3);
}

template <class Io, class Value>
requires IsA<Value, SegmentationComponent>
void describe(Io& io, Value& value) {
    io.requiredNumber("componentTag", value.componentTag);
    io.number("ptsOffset", value.ptsOffset90k, kGreatestTicks);
}

constexpr bool hasText(UpidType type) noexcept {
    return type == UpidType::UserDefined || type == UpidType::Isci || type == UpidType::AdId || type == UpidType::Tid ||
           type == UpidType::Adi || type == UpidType::AdsInformation || type == UpidType::Uri || type == UpidType::Scr;
}

/// As a token of XML, which has no space at its ends and none behind another; none for what is no such text.
inline std::optional<std::string> tokenOf(const Upid& upid) {
    std::string text(upid.bytes.begin(), upid.bytes.end());
    const bool isPlain =
        std::all_of(text.begin(), text.end(), [](char character) { return character >= ' ' && character <= '~'; });
    const bool isToken = isPlain && trimmed(text).size() == text.size() && text.find("  ") == std::string::npos;
    return hasText(upid.type) && isToken && !text.empty() ? std::optional(std::move(text)) : std::nullopt;
}

inline constexpr std::size_t kFormatIdentifierBytes = 4;

inline std::uint32_t formatIdentifierOf(std::span<const std::uint8_t> bytes) {
    return static_cast<std::uint32_t>(bytes[0]) << 24U | static_cast<std::uint32_t>(bytes[1]) << 16U |
           static_cast<std::uint32_t>(bytes[2]) << 8U | bytes[3];
}

inline void describe(XmlFieldWriter& io, const Upid& value) {
    io.number("segmentationUpidType", value.type);
    if (value.type == UpidType::Mpu && value.bytes.size() >= kFormatIdentifierBytes) {
        io.number("formatIdentifier", formatIdentifierOf(value.bytes));
    }
    const auto token = tokenOf(value);
    io.text("segmentationUpidFormat", token ? "text" : "hexbinary");
    io.characters(token ? *token : hex(value.bytes));
}

/// What the characters of a UPID are in a format; without one they are those of a text where the type has one.
inline std::optional<std::vector<std::uint8_t>> bytesOfUpid(std::string_view format, UpidType type,
                                                            std::string_view text) {
    std::string lower(format);
    std::transform(lower.begin(), lower.end(), lower.begin(), [](char character) {
        return character >= 'A' && character <= 'Z' ? static_cast<char>(character + ('a' - 'A')) : character;
    });
    if (lower == "text" || (lower.empty() && hasText(type))) {
        return std::vector<std::uint8_t>(text.begin(), text.end());
    }
    if (lower == "base-64" || lower == "base64") {
        // Told from digits by what a section begins with: that of three bytes in front is passed over.
        auto bytes = scte::spliceInfoBytes("/AAA" + std::string(text));
        return bytes ? std::optional(std::vector<std::uint8_t>(bytes->begin() + 3, bytes->end())) : std::nullopt;
    }
    return lower.empty() || lower == "hexbinary" ? bytesOfDigits(text) : std::nullopt;
}

inline void describe(XmlFieldReader& io, Upid& value) {
    io.number("segmentationUpidType", value.type);
    const std::string format = io.text("segmentationUpidFormat");
    const std::string text = textOf(io.node());
    auto bytes = bytesOfUpid(trimmed(format), value.type, trimmed(text));
    if (!bytes) {
        io.refuse<void>("segmentationUpidFormat", "and the characters do not fit (text, hexbinary, base-64)");
    }
    value.bytes = *std::move(bytes);
    std::optional<std::uint32_t> identifier;
    io.optionalNumber("formatIdentifier", identifier);
    const bool isInFront =
        value.bytes.size() >= kFormatIdentifierBytes && formatIdentifierOf(value.bytes) == identifier;
    if (identifier && !isInFront) {
        // Some have it in the attribute alone.
        const std::array<std::uint8_t, kFormatIdentifierBytes> front{
            static_cast<std::uint8_t>(*identifier >> 24U), static_cast<std::uint8_t>(*identifier >> 16U),
            static_cast<std::uint8_t>(*identifier >> 8U), static_cast<std::uint8_t>(*identifier)};
        value.bytes.insert(value.bytes.begin(), front.begin(), front.end());
    }
}

/// One element for each UPID: several are those of a MID().
inline void describeUpids(XmlFieldWriter& io, const Upid& upid) {
    if (upid == Upid{}) {
        return;
    }
    if (upid.type == UpidType::Mid) {
        const auto upids = upidsOfMid(upid.bytes);
        const auto same = upids ? midOfUpids(*upids) : Result<std::vector<std::uint8_t>>(upids.error());
        if (upids && upids->size() > 1 && same && *same == upid.bytes) {
            io.list("SegmentationUpid", *upids);
            return;
        }
    }
    io.element("SegmentationUpid", upid);
}

inline void describeUpids(XmlFieldReader& io, Upid& upid) {
    std::vector<Upid> upids;
    io.list("SegmentationUpid", upids);
    if (upids.size() == 1) {
        upid = std::move(upids.front());
    } else if (!upids.empty()) {
        auto bytes = midOfUpids(upids);
        if (!bytes) {
            io.refuse<void>("SegmentationUpid", "has too many bytes");
        }
        upid = {UpidType::Mid, *std::move(bytes)};
    }
}

template <class Io, class Value>
requires IsA<Value, SegmentationDescriptor>
void describe(Io& io, Value& value) {
    io.number("segmentationEventId", value.eventId);
    io.flag("segmentationEventCancelIndicator", value.cancel);
    io.flag("segmentationEventIdComplianceIndicator", value.eventIdCompliance);
    if (value.cancel) {
        return;
    }
    io.optionalNumber("segmentationDuration", value.duration90k, kGreatestSegment);
    io.number("segmentationTypeId", value.typeId);
    io.number("segmentNum", value.segmentNum);
    io.number("segmentsExpected", value.segmentsExpected);
    if constexpr (Io::kReads) {
        if (io.has("subSegmentNum") || io.has("subSegmentsExpected")) {
            value.subSegment.emplace();
        }
        value.programSegmentation = !io.hasElement("Component");
    }
    if (value.subSegment) {
        io.number("subSegmentNum", value.subSegment->number);
        io.number("subSegmentsExpected", value.subSegment->expected);
    }
    io.optionalElement("DeliveryRestrictions", value.restrictions);
    describeUpids(io, value.upid);
    io.list("Component", value.components);
}

template <class Io, class Value>
requires IsA<Value, TimeDescriptor>
void describe(Io& io, Value& value) {
    io.number("taiSeconds", value.taiSeconds, kGreatestTaiSeconds);
    io.number("taiNs", value.taiNanoseconds);
    io.number("utcOffset", value.utcOffset);
}

template <class Io, class Value>
requires IsA<Value, AudioComponent>
void describe(Io& io, Value& value) {
    constexpr std::string_view kLetters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
    io.requiredNumber("componentTag", value.componentTag);
    if constexpr (Io::kReads) {
        const std::string text = io.text("ISOCode");
        const std::string_view code = trimmed(text);
        if (code.size() != value.language.size() || code.find_first_not_of(kLetters) != std::string_view::npos) {
            io.template refuse<void>("ISOCode", "must be three letters");
        }
        std::copy(code.begin(), code.end(), value.language.begin());
    } else {
        const auto code = textOfBytes(value.language, kLetters);
        if (!code) {
            throw ScteXmlError("a language that is not three letters has no XML");
        }
        io.text("ISOCode", *code);
    }
    io.number("BitStreamMode", value.bitStreamMode, 7);
    io.number("NumChannels", value.numChannels, 15);
    if constexpr (Io::kReads) {
        io.flag("FullSrvcAudio", value.fullService);
    } else {
        io.number("FullSrvcAudio", value.fullService ? 1U : 0U);
    }
}

template <class Io, class Value>
requires IsA<Value, AudioDescriptor>
void describe(Io& io, Value& value) {
    io.list("AudioChannel", value.components);
}

inline void describe(XmlFieldWriter& io, const VerbatimDescriptor& value) {
    if (!value.identifier()) {
        throw ScteXmlError("a descriptor without an identifier has no XML");
    }
    io.number("descriptorTag", value.tag);
    io.number("identifier", *value.identifier());
    io.bytes("PrivateBytes", {value.data.begin() + kFormatIdentifierBytes, value.data.end()});
}

inline void describe(XmlFieldReader& io, VerbatimDescriptor& value) {
    std::uint32_t identifier = 0;
    std::vector<std::uint8_t> bytes;
    io.number("descriptorTag", value.tag);
    io.number("identifier", identifier);
    io.bytes("PrivateBytes", bytes);
    for (int shift = 24; shift >= 0; shift -= 8) {
        value.data.push_back(static_cast<std::uint8_t>(identifier >> static_cast<unsigned>(shift)));
    }
    value.data.insert(value.data.end(), bytes.begin(), bytes.end());
}

}  // namespace qlx::tool::scte_xml

#include <qlx/streams/ts/vbi.h>

#include "TsFinding.h"

#include <algorithm>
#include <array>

namespace qlx::streams::ts {

namespace {

/// data_unit_id and data_unit_length.
constexpr std::size_t kUnitHead = 2;
constexpr std::size_t kCaptionUnitBytes = 3;
constexpr std::size_t kPesStep = kPacketBytes - kHeaderBytes;
/// As many times kPesStep is the longest one whose length can be said.
constexpr std::size_t kMostSteps = (0xFFFF + kPesStartBytes) / kPesStep;
constexpr std::size_t kBytesPerLine = kUnitHead + kTeletextUnitBytes;

/// Each byte with its bits in the other order.
constexpr std::array<std::uint8_t, 256> kReversed = []() {
    std::array<std::uint8_t, 256> table{};
    for (unsigned byte = 0; byte < table.size(); ++byte) {
        unsigned reversed = 0;
        for (unsigned bit = 0; bit < 8; ++bit) {
            reversed |= (byte >> bit & 1U) << (7U - bit);
        }
        table[byte] = static_cast<std::uint8_t>(reversed);
    }
    return table;
}();

/// Field parity and line number are where a subtitling distribution packet has them, but for one bit.
constexpr std::uint8_t descriptorOf(std::uint8_t fieldAndLine) {
    return teletext::sdpDescriptor(fieldAndLine & 0x1FU, (fieldAndLine & 0x20U) != 0);
}

bool isTeletextUnit(std::uint8_t id) {
    return id == static_cast<std::uint8_t>(VbiUnit::Teletext) ||
           id == static_cast<std::uint8_t>(VbiUnit::TeletextSubtitle);
}

/// Reads one unit; false when it is wrong.
bool readUnit(std::uint8_t id, std::span<const std::uint8_t> unit, VbiPacket& packet) {
    if (isTeletextUnit(id)) {
        if (unit.size() != kTeletextUnitBytes || unit[1] != kTransportFramingCode) {
            return false;
        }
        teletext::SdpLine& line = packet.teletext.emplace_back();
        line.descriptor = descriptorOf(unit[0]);
        const auto behind =
            std::copy(teletext::kRunInAndFramingCode.begin(), teletext::kRunInAndFramingCode.end(), line.bytes.begin());
        std::transform(unit.begin() + 2, unit.end(), behind, [](std::uint8_t byte) { return kReversed[byte]; });
        return true;
    }
    if (id == static_cast<std::uint8_t>(VbiUnit::ClosedCaptions)) {
        if (unit.size() < kCaptionUnitBytes) {
            return false;
        }
        const cc::CcType field = (unit[0] & 0x20U) != 0 ? cc::CcType::Field1 : cc::CcType::Field2;
        packet.captions.push_back(cc::Triplet::make(field, kReversed[unit[1]], kReversed[unit[2]]));
        return true;
    }
    if (id != static_cast<std::uint8_t>(VbiUnit::Stuffing)) {
        packet.others.set(id);
    }
    return true;
}

}  // namespace

void VbiPacket::clear() noexcept {
    teletext.clear();
    captions.clear();
    others.reset();
}

bool readVbi(const PesView& pes, VbiPacket& packet, FindingSink* findings) {
    packet.clear();
    auto rest = pes.payload;
    if (pes.header.streamId != kPrivateStream1 || rest.empty() || !isVbiDataIdentifier(rest[0])) {
        detail::addFinding(findings, FindingCode::TsDataIdentifierUnknown, Severity::Error, pes.offset, pes.pid,
                           rest.empty() ? 0 : rest[0]);
        return false;
    }
    packet.dataIdentifier = rest[0];
    for (rest = rest.subspan(1); rest.size() >= kUnitHead;) {
        const std::uint8_t id = rest[0];
        const std::size_t length = rest[1];
        rest = rest.subspan(kUnitHead);
        if (length > rest.size()) {
            // Of a cut packet it has been said.
            if (pes.isWhole && id != static_cast<std::uint8_t>(VbiUnit::Stuffing)) {
                detail::addFinding(findings, FindingCode::TsDataUnitWrong, Severity::Error, pes.offset, id, length);
            }
            break;
        }
        if (!readUnit(id, rest.first(length), packet)) {
            detail::addFinding(findings, FindingCode::TsDataUnitWrong, Severity::Error, pes.offset, id, length);
        }
        rest = rest.subspan(length);
    }
    return true;
}

bool isVbi(const PesView& pes) noexcept {
    auto rest = pes.payload;
    if (pes.header.streamId != kPrivateStream1 || !pes.isWhole || rest.empty() || !isVbiDataIdentifier(rest[0])) {
        return false;
    }
    bool hasUnit = false;
    for (rest = rest.subspan(1); rest.size() >= kUnitHead;) {
        const std::uint8_t id = rest[0];
        const std::size_t length = rest[1];
        if (length > rest.size() - kUnitHead || (isTeletextUnit(id) && length != kTeletextUnitBytes)) {
            return false;
        }
        const auto unit = static_cast<VbiUnit>(id);
        const bool isKnown = isTeletextUnit(id) || unit == VbiUnit::Stuffing || unit == VbiUnit::InvertedTeletext ||
                             (unit >= VbiUnit::Vps && unit <= VbiUnit::Monochrome);
        if (!isKnown) {
            return false;
        }
        hasUnit = hasUnit || unit != VbiUnit::Stuffing;
        rest = rest.subspan(kUnitHead + length);
    }
    return hasUnit;
}

bool writeTeletextPes(std::span<const teletext::SdpLine> lines, std::uint64_t pts, bool isSubtitle,
                      std::vector<std::uint8_t>& pes) {
    constexpr std::size_t kFirst = kPesHeaderBytes + kVbiHeaderLength + 1;
    const std::size_t needed = kFirst + lines.size() * kBytesPerLine;
    const std::size_t size = (needed + kPesStep - 1) / kPesStep * kPesStep;
    if (size > kMostSteps * kPesStep) {
        return false;
    }
    pes.assign(size, 0xFF);
    PesHeader header;
    header.packetLength = static_cast<std::uint16_t>(size - kPesStartBytes);
    header.isAligned = true;
    header.pts = pts % kTimeBits;
    header.headerLength = kVbiHeaderLength;
    std::size_t place = writePesHeader(header, pes);
    pes[place++] = kTeletextDataIdentifier;
    for (const teletext::SdpLine& line : lines) {
        pes[place] = static_cast<std::uint8_t>(isSubtitle ? VbiUnit::TeletextSubtitle : VbiUnit::Teletext);
        pes[place + 1] = kTeletextUnitBytes;
        // The two upper bits are reserved, and set.
        pes[place + 2] = static_cast<std::uint8_t>(0xC0U | (line.isOddField() ? 0x20U : 0U) | line.line());
        pes[place + 3] = kTransportFramingCode;
        std::transform(line.bytes.begin() + teletext::kRunInAndFramingCode.size(), line.bytes.end(),
                       pes.begin() + static_cast<std::ptrdiff_t>(place) + 4,
                       [](std::uint8_t byte) { return kReversed[byte]; });
        place += kBytesPerLine;
    }
    // Header and data_identifier are as long as a unit, and four of these as a packet's payload: what is left is units.
    static_assert(kFirst == kBytesPerLine && 4 * kBytesPerLine == kPesStep);
    for (; place < size; place += kBytesPerLine) {
        pes[place + 1] = kTeletextUnitBytes;
    }
    return true;
}

}  // namespace qlx::streams::ts

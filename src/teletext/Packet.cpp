// Reads and writes teletext packets.
#include <qlx/teletext/packet.h>

#include <algorithm>

namespace qlx::teletext {

namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::uint8_t kFillingSpace = 0x20;

Finding tooGreat(std::size_t given, std::size_t greatest) {
    return {FindingCode::TeletextFieldTooGreat, Severity::Error, 0, static_cast<std::int64_t>(given),
            static_cast<std::int64_t>(greatest)};
}

Finding notThatPacket(std::uint8_t given, std::uint8_t wanted) {
    return {FindingCode::TeletextNotThatPacket, Severity::Error, 0, given, wanted};
}

bool isMagazine(std::uint8_t magazine) {
    return magazine > 0 && magazine <= kGreatestMagazine;
}

/// Hamming bytes one after the other: what is wrong with them is told, and the first that is lost is kept.
class NibbleReader {
public:
    NibbleReader(Bytes bytes, FindingSink* findings, std::uint64_t offset) noexcept
        : _bytes(bytes), _findings(findings), _offset(offset) {}

    std::uint8_t at(std::size_t index) {
        const auto decoded = decodeHamming84(_bytes[index]);
        if (decoded.protection == Protection::Wrong && _error.code == FindingCode::None) {
            _error = {FindingCode::TeletextByteWrong, Severity::Error, _offset + index, _bytes[index], 0};
        } else if (decoded.protection == Protection::Corrected && _findings != nullptr) {
            _findings->add({FindingCode::TeletextByteCorrected, Severity::Warning, _offset + index, _bytes[index],
                            hamming84(decoded.value)});
        }
        return decoded.value;
    }

    [[nodiscard]] bool failed() const noexcept { return _error.code != FindingCode::None; }
    [[nodiscard]] const Finding& error() const noexcept { return _error; }

private:
    Bytes _bytes;
    FindingSink* _findings;
    std::uint64_t _offset;
    Finding _error;
};

void write(const Packet& packet, std::uint8_t* bytes, PacketForm form) noexcept {
    if (form == PacketForm::Line) {
        bytes = std::copy(kRunInAndFramingCode.begin(), kRunInAndFramingCode.end(), bytes);
    }
    const auto address = addressBytes(packet.magazine, packet.number);
    bytes = std::copy(address.begin(), address.end(), bytes);
    std::copy(packet.data.begin(), packet.data.end(), bytes);
}

/// Why it cannot be written; None when it can.
Finding whyNot(const Packet& packet) {
    if (!isMagazine(packet.magazine)) {
        return tooGreat(packet.magazine, kGreatestMagazine);
    }
    return packet.number > kGreatestNumber ? tooGreat(packet.number, kGreatestNumber) : Finding{};
}

}  // namespace

Result<Packet> parsePacket(Bytes bytes, FindingSink* findings, std::uint64_t offset) {
    if (bytes.size() != kLineBytes && bytes.size() != kPacketBytes) {
        return Finding{FindingCode::TeletextPacketSizeWrong, Severity::Error, offset,
                       static_cast<std::int64_t>(bytes.size()), kLineBytes};
    }
    if (bytes.size() == kLineBytes) {
        constexpr std::size_t kFramingCode = kRunInAndFramingCode.size() - 1;
        if (bytes[kFramingCode] != kRunInAndFramingCode[kFramingCode]) {
            return Finding{FindingCode::TeletextFramingCodeWrong, Severity::Error, offset + kFramingCode,
                           bytes[kFramingCode], kRunInAndFramingCode[kFramingCode]};
        }
        for (std::size_t index = 0; index < kFramingCode; ++index) {
            if (bytes[index] != kRunInAndFramingCode[index] && findings != nullptr) {
                findings->add({FindingCode::TeletextRunInWrong, Severity::Remark, offset + index, bytes[index],
                               kRunInAndFramingCode[index]});
            }
        }
        offset += kRunInAndFramingCode.size();
        bytes = bytes.last(kPacketBytes);
    }
    NibbleReader nibbles(bytes, findings, offset);
    const std::uint8_t first = nibbles.at(0);
    const std::uint8_t second = nibbles.at(1);
    if (nibbles.failed()) {
        return nibbles.error();
    }
    Packet packet;
    packet.magazine = (first & 7U) == 0 ? kGreatestMagazine : static_cast<std::uint8_t>(first & 7U);
    packet.number = static_cast<std::uint8_t>(first >> 3U | second << 1U);
    std::copy_n(bytes.begin() + kAddressBytes, kDataBytes, packet.data.begin());
    return packet;
}

Result<std::size_t> writePacket(const Packet& packet, std::span<std::uint8_t> room, PacketForm form) {
    if (const Finding why = whyNot(packet); why.code != FindingCode::None) {
        return why;
    }
    const std::size_t size = sizeOf(form);
    if (size > room.size()) {
        return Finding{FindingCode::OutputTooSmall, Severity::Error, 0, static_cast<std::int64_t>(size),
                       static_cast<std::int64_t>(room.size())};
    }
    write(packet, room.data(), form);
    return size;
}

Result<Data> writePacket(const Packet& packet, PacketForm form) {
    if (const Finding why = whyNot(packet); why.code != FindingCode::None) {
        return why;
    }
    return Data::make(sizeOf(form), [&packet, form](std::uint8_t* bytes) { write(packet, bytes, form); });
}

std::string pageName(std::uint16_t page) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    return {kDigits[page >> 8U & 15U], kDigits[page >> 4U & 15U], kDigits[page & 15U]};
}

Result<PageHeader> parseHeader(const Packet& packet, FindingSink* findings, std::uint64_t offset) {
    if (!packet.isHeader()) {
        return notThatPacket(packet.number, 0);
    }
    constexpr std::size_t kNibbles = kDataBytes - PageHeader::kTextBytes;
    NibbleReader reader(packet.data, findings, offset);
    std::array<unsigned, kNibbles> nibbles{};
    for (std::size_t index = 0; index < kNibbles; ++index) {
        nibbles[index] = reader.at(index);
    }
    if (reader.failed()) {
        return reader.error();
    }
    const auto bit = [&nibbles](std::size_t index, unsigned number) { return (nibbles[index] >> number & 1U) != 0; };
    PageHeader header;
    header.page = static_cast<std::uint16_t>(unsigned{packet.magazine} << 8U | nibbles[1] << 4U | nibbles[0]);
    header.subcode =
        static_cast<std::uint16_t>(nibbles[2] | (nibbles[3] & 7U) << 4U | nibbles[4] << 8U | (nibbles[5] & 3U) << 12U);
    header.erasesPage = bit(3, 3);
    header.isNewsflash = bit(5, 2);
    header.isSubtitle = bit(5, 3);
    header.suppressesHeader = bit(6, 0);
    header.isUpdate = bit(6, 1);
    header.isInterrupted = bit(6, 2);
    header.inhibitsDisplay = bit(6, 3);
    header.isSerial = bit(7, 0);
    header.nationalOption =
        static_cast<std::uint8_t>((bit(7, 1) ? 4U : 0U) | (bit(7, 2) ? 2U : 0U) | (bit(7, 3) ? 1U : 0U));
    std::copy(packet.data.begin() + kNibbles, packet.data.end(), header.text.begin());
    return header;
}

Result<Packet> packetOf(const PageHeader& header) {
    constexpr std::uint16_t kGreatestPage = 0x8FF;
    constexpr std::uint8_t kGreatestOption = 7;
    if (header.page > kGreatestPage || header.magazine() == 0) {
        return tooGreat(header.page, kGreatestPage);
    }
    if ((header.subcode & ~unsigned{PageHeader::kSubcodeBits}) != 0) {
        return tooGreat(header.subcode, PageHeader::kSubcodeBits);
    }
    if (header.nationalOption > kGreatestOption) {
        return tooGreat(header.nationalOption, kGreatestOption);
    }
    const auto bit = [](bool isSet, unsigned number) { return isSet ? 1U << number : 0U; };
    const unsigned option = header.nationalOption;
    const std::array<unsigned, kDataBytes - PageHeader::kTextBytes> nibbles{
        header.page,
        unsigned{header.page} >> 4U,
        header.subcode,
        (unsigned{header.subcode} >> 4U & 7U) | bit(header.erasesPage, 3),
        unsigned{header.subcode} >> 8U,
        (unsigned{header.subcode} >> 12U & 3U) | bit(header.isNewsflash, 2) | bit(header.isSubtitle, 3),
        bit(header.suppressesHeader, 0) | bit(header.isUpdate, 1) | bit(header.isInterrupted, 2) |
            bit(header.inhibitsDisplay, 3),
        bit(header.isSerial, 0) | bit((option & 4U) != 0, 1) | bit((option & 2U) != 0, 2) | bit((option & 1U) != 0, 3)};
    Packet packet{header.magazine(), 0, {}};
    auto* const text = std::transform(nibbles.begin(), nibbles.end(), packet.data.begin(), hamming84);
    std::copy(header.text.begin(), header.text.end(), text);
    return packet;
}

std::size_t takeCodes(Bytes data, std::span<std::uint8_t, kDataBytes> codes) noexcept {
    std::size_t wrong = 0;
    for (std::size_t column = 0; column < std::min(data.size(), codes.size()); ++column) {
        const auto code = withoutParity(data[column]);
        codes[column] = code ? code.value : codes[column];
        wrong += code ? 0U : 1U;
    }
    return wrong;
}

Result<Packet> rowPacket(std::uint8_t magazine, std::uint8_t row, Bytes codes) {
    if (!isMagazine(magazine)) {
        return tooGreat(magazine, kGreatestMagazine);
    }
    if (row == 0 || row > kLastRow) {
        return tooGreat(row, kLastRow);
    }
    if (codes.size() > kDataBytes) {
        return tooGreat(codes.size(), kDataBytes);
    }
    Packet packet{magazine, row, {}};
    auto* const rest = std::transform(codes.begin(), codes.end(), packet.data.begin(), withOddParity);
    std::fill(rest, packet.data.end(), kFillingSpace);
    return packet;
}

Result<TripletPacket> parseTriplets(const Packet& packet, FindingSink* findings, std::uint64_t offset) {
    constexpr std::uint8_t kFirstLinksOfTriplets = 4;
    if (packet.number < kEnhancement || packet.number > kMagazineDesignation) {
        return notThatPacket(packet.number, kEnhancement);
    }
    NibbleReader reader(packet.data, findings, offset);
    TripletPacket result{packet.magazine, packet.number, reader.at(0), {}, 0};
    if (reader.failed()) {
        return reader.error();
    }
    if (packet.number == kLinks && result.designation < kFirstLinksOfTriplets) {
        return notThatPacket(packet.number, kEnhancement);
    }
    for (std::size_t index = 0; index < TripletPacket::kTriplets; ++index) {
        const std::size_t place = 1 + 3 * index;
        const std::uint32_t coded = packet.data[place] | std::uint32_t{packet.data[place + 1]} << 8U |
                                    std::uint32_t{packet.data[place + 2]} << 16U;
        const auto decoded = decodeHamming2418(coded);
        result.triplets[index] = Triplet(decoded.value);
        if (decoded.protection == Protection::Wrong) {
            result.damaged = static_cast<std::uint16_t>(result.damaged | 1U << index);
        }
        if (decoded.protection != Protection::Right && findings != nullptr) {
            const bool isLost = decoded.protection == Protection::Wrong;
            findings->add({isLost ? FindingCode::TeletextTripletWrong : FindingCode::TeletextTripletCorrected,
                           isLost ? Severity::Error : Severity::Warning, offset + place, coded,
                           isLost ? 0 : hamming2418(decoded.value)});
        }
    }
    return result;
}

Result<Packet> packetOf(const TripletPacket& triplets) {
    constexpr std::uint8_t kGreatestDesignation = 15;
    if (!isMagazine(triplets.magazine)) {
        return tooGreat(triplets.magazine, kGreatestMagazine);
    }
    if (triplets.number < kEnhancement || triplets.number > kMagazineDesignation) {
        return tooGreat(triplets.number, kMagazineDesignation);
    }
    if (triplets.designation > kGreatestDesignation) {
        return tooGreat(triplets.designation, kGreatestDesignation);
    }
    Packet packet{triplets.magazine, triplets.number, {}};
    packet.data[0] = hamming84(triplets.designation);
    std::size_t place = 1;
    for (const Triplet& triplet : triplets.triplets) {
        const std::uint32_t coded = hamming2418(triplet.bits());
        for (const unsigned shift : {0U, 8U, 16U}) {
            packet.data[place++] = static_cast<std::uint8_t>(coded >> shift & 0xFFU);
        }
    }
    return packet;
}

}  // namespace qlx::teletext

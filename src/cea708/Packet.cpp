// Caption channel packets: header, service blocks, triplets.
#include <qlx/cea708/packet.h>

#include <algorithm>

namespace qlx::cea708 {

namespace {

constexpr unsigned kSequenceShift = 6;
constexpr unsigned kSizeCodeBits = 0x3F;
constexpr unsigned kServiceShift = 5;
constexpr unsigned kBlockSizeBits = 0x1F;
constexpr unsigned kExtendedServiceBits = 0x3F;

/// What the one or two header bytes of a service block say.
struct BlockHeader {
    std::size_t size = 1;         ///< Bytes of the header.
    std::uint8_t service = 0;     ///< 0 for a null block.
    std::size_t dataSize = 0;     ///< block_size
    std::uint8_t nullFill = 0;    ///< The two bits in front of extended_service_number.
    bool isExtensionCut = false;  ///< Its second byte is not there.

    [[nodiscard]] std::size_t wholeSize() const noexcept { return size + dataSize; }
};

/// The header of the block with which `bytes`, of which there is one at least, begin.
BlockHeader blockHeaderOf(std::span<const std::uint8_t> bytes) noexcept {
    BlockHeader header;
    header.service = static_cast<std::uint8_t>(bytes[0] >> kServiceShift);
    header.dataSize = bytes[0] & kBlockSizeBits;
    if (header.service == kFirstExtendedService && header.dataSize != 0) {
        header.size = 2;
        header.isExtensionCut = bytes.size() < header.size;
        if (!header.isExtensionCut) {
            header.service = static_cast<std::uint8_t>(bytes[1] & kExtendedServiceBits);
            header.nullFill = static_cast<std::uint8_t>(bytes[1] & ~kExtendedServiceBits);
        }
    }
    return header;
}

std::size_t sizeThatHolds(std::size_t dataSize) noexcept {
    return std::min(dataSize | 1U, kGreatestPacketData);
}

void tell(FindingSink* findings, const Finding& finding) {
    if (findings != nullptr) {
        findings->add(finding);
    }
}

}  // namespace

namespace detail {

/// Takes the service blocks of a packet that are whole and sound.
class BlockReader {
public:
    struct Blocks {
        Packet packet;
        bool isCut = false;  ///< The last one is not whole, and left out.
    };

    /// `data` is what is there of the `announced` bytes behind the header.
    static Blocks read(std::uint8_t header, std::span<const std::uint8_t> data, FindingSink* findings) {
        Blocks blocks;
        Packet& packet = blocks.packet;
        packet.setSequenceNumber(unsigned{header} >> kSequenceShift);
        const std::size_t announced = packetDataSize(header & kSizeCodeBits);
        std::size_t offset = 0;
        while (offset < data.size()) {
            const BlockHeader block = blockHeaderOf(data.subspan(offset));
            if (block.service == 0 && block.size == 1) {
                tellBehindNull(data.subspan(offset), offset, findings);
                break;
            }
            const std::size_t there = data.size() - offset;
            if (block.isExtensionCut || block.wholeSize() > there) {
                tell(findings, {FindingCode::Cea708BlockCut, Severity::Error, offset + 1,
                                static_cast<std::int64_t>(block.wholeSize()), static_cast<std::int64_t>(there)});
                blocks.isCut = true;
                break;
            }
            take(packet, block, data.subspan(offset, block.wholeSize()), offset + 1, findings);
            offset += block.wholeSize();
        }
        packet._dataSize = announced;
        return blocks;
    }

private:
    static void take(Packet& packet, const BlockHeader& block, std::span<const std::uint8_t> bytes, std::size_t offset,
                     FindingSink* findings) {
        if (block.size == 2 && block.service < kFirstExtendedService) {
            tell(findings, {FindingCode::Cea708ServiceWrong, Severity::Error, offset + 1, block.service,
                            static_cast<std::int64_t>(block.dataSize)});
            return;
        }
        if (block.nullFill != 0) {
            tell(findings,
                 {FindingCode::Cea708ReservedBitsWrong, Severity::Warning, offset + 1, bytes[1], block.service});
        }
        // What a packet holds is never more than what the packet that it was read from held.
        (void)packet._blocks.append(bytes);
    }

    /// Behind a null block stand zeros, and nothing that is used.
    static void tellBehindNull(std::span<const std::uint8_t> bytes, std::size_t offset, FindingSink* findings) {
        const auto other = std::find_if(bytes.begin(), bytes.end(), [](std::uint8_t byte) { return byte != 0; });
        if (other != bytes.end()) {
            const std::ptrdiff_t zeros = other - bytes.begin();
            tell(findings,
                 {FindingCode::Cea708BytesBehindNullBlock, Severity::Error,
                  offset + 1 + static_cast<std::size_t>(zeros), static_cast<std::int64_t>(bytes.size()) - zeros, 0});
        }
    }
};

}  // namespace detail

ServiceBlockView BlocksView::iterator::operator*() const noexcept {
    const std::span<const std::uint8_t> rest = _blocks.subspan(_offset);
    const BlockHeader header = blockHeaderOf(rest);
    return {header.service, rest.subspan(header.size, header.dataSize), _offset + 1};
}

BlocksView::iterator& BlocksView::iterator::operator++() noexcept {
    _offset += blockHeaderOf(_blocks.subspan(_offset)).wholeSize();
    return *this;
}

Result<std::size_t> Packet::addBlock(std::uint8_t service, std::span<const std::uint8_t> data) {
    const bool isExtended = service >= kFirstExtendedService && !data.empty();
    if (service == 0 || service > kGreatestService || (service > kFirstExtendedService && data.empty())) {
        return Finding{FindingCode::Cea708ServiceWrong, Severity::Error, 0, service,
                       static_cast<std::int64_t>(data.size())};
    }
    if (data.size() > kGreatestBlockData) {
        return Finding{FindingCode::Cea708BlockTooLong, Severity::Error, 0, static_cast<std::int64_t>(data.size()),
                       static_cast<std::int64_t>(kGreatestBlockData)};
    }
    const std::size_t needed = data.size() + (isExtended ? 2U : 1U);
    const std::size_t free = kGreatestPacketData - _blocks.size();
    if (needed > free) {
        return Finding{FindingCode::Cea708PacketFull, Severity::Error, 0, static_cast<std::int64_t>(needed),
                       static_cast<std::int64_t>(free)};
    }
    const unsigned number = std::min<unsigned>(service, kFirstExtendedService);
    const std::array<std::uint8_t, 2> header{static_cast<std::uint8_t>(number << kServiceShift | data.size()), service};
    (void)_blocks.append(std::span(header).first(isExtended ? 2 : 1));
    (void)_blocks.append(data);
    growTo(_blocks.size());
    return kGreatestPacketData - _blocks.size();
}

void Packet::growTo(std::size_t dataSize) noexcept {
    _dataSize = std::max(_dataSize, sizeThatHolds(dataSize));
}

namespace {

/// Reads a packet of which the header, at least, is there.
detail::BlockReader::Blocks readPacket(std::span<const std::uint8_t> bytes, FindingSink* findings) {
    const std::size_t announced = packetDataSize(bytes[0] & kSizeCodeBits);
    std::span<const std::uint8_t> data = bytes.subspan(1);
    if (data.size() < announced) {
        tell(findings, {FindingCode::Cea708PacketCut, Severity::Error, 0, static_cast<std::int64_t>(announced + 1),
                        static_cast<std::int64_t>(bytes.size())});
    } else if (data.size() > announced) {
        tell(findings, {FindingCode::Cea708BytesBehindPacket, Severity::Error, announced + 1,
                        static_cast<std::int64_t>(data.size() - announced), 0});
        data = data.first(announced);
    }
    return detail::BlockReader::read(bytes[0], data, findings);
}

}  // namespace

Result<Packet> parsePacket(std::span<const std::uint8_t> bytes, FindingSink* findings) {
    if (bytes.empty()) {
        return Finding{FindingCode::Cea708PacketCut, Severity::Error, 0, 2, 0};
    }
    return readPacket(bytes, findings).packet;
}

Result<std::size_t> writePacket(const Packet& packet, std::span<std::uint8_t> room) {
    if (room.size() < packet.size()) {
        return Finding{FindingCode::OutputTooSmall, Severity::Error, 0, static_cast<std::int64_t>(packet.size()),
                       static_cast<std::int64_t>(room.size())};
    }
    room[0] = static_cast<std::uint8_t>(unsigned{packet.sequenceNumber()} << kSequenceShift | packet.sizeCode());
    const auto behind = std::copy(packet._blocks.begin(), packet._blocks.end(), room.begin() + 1);
    std::fill(behind, room.begin() + static_cast<std::ptrdiff_t>(packet.size()), std::uint8_t{0});
    return packet.size();
}

Data writePacket(const Packet& packet) {
    return Data::make(packet.size(), [&packet](std::uint8_t* bytes) {
        // It has the room.
        static_cast<void>(writePacket(packet, {bytes, packet.size()}));
    });
}

Result<std::size_t> writeTriplets(const Packet& packet, std::span<cc::Triplet> room) {
    const std::size_t count = packet.size() / 2;
    if (room.size() < count) {
        return Finding{FindingCode::OutputTooSmall, Severity::Error, 0, static_cast<std::int64_t>(count * 3),
                       static_cast<std::int64_t>(room.size() * 3)};
    }
    std::array<std::uint8_t, kGreatestPacketBytes> bytes{};
    (void)writePacket(packet, bytes);
    for (std::size_t index = 0; index < count; ++index) {
        const cc::CcType type = index == 0 ? cc::CcType::DtvccStart : cc::CcType::DtvccData;
        room[index] = cc::Triplet::make(type, bytes[2 * index], bytes[2 * index + 1]);
    }
    return count;
}

std::span<const ReceivedPacket> PacketReader::receive(const cc::Triplet& triplet, FindingSink* findings,
                                                      std::uint64_t offset) {
    _endedCount = 0;
    if (!triplet.valid() || !triplet.isDtvcc()) {
        return {};
    }
    if (triplet.type() == cc::CcType::DtvccStart) {
        if (isInPacket()) {
            end(findings, offset);
        }
        _needed = packetDataSize(triplet.first & kSizeCodeBits) + 1;
    } else if (!isInPacket()) {
        // Zeros are how some fill their frames.
        const unsigned bytes = unsigned{triplet.first} << 8U | triplet.second;
        if (!_wasToldOutside && bytes != 0) {
            _wasToldOutside = true;
            tell(findings, {FindingCode::Cea708DataOutsidePacket, Severity::Error, offset, bytes, 0});
        }
        return {};
    }
    _wasToldOutside = false;
    // Both numbers of bytes are even.
    _bytes[_size] = triplet.first;
    _bytes[_size + 1] = triplet.second;
    _size += 2;
    if (_size == _needed) {
        end(findings, offset);
    }
    return {_ended.data(), _endedCount};
}

std::span<const ReceivedPacket> PacketReader::finish(FindingSink* findings, std::uint64_t offset) {
    _endedCount = 0;
    if (isInPacket()) {
        end(findings, offset);
    }
    return {_ended.data(), _endedCount};
}

void PacketReader::end(FindingSink* findings, std::uint64_t offset) {
    PlacedSink placed(findings, offset);
    ReceivedPacket& received = _ended[_endedCount++];
    const auto number = static_cast<std::uint8_t>(unsigned{_bytes[0]} >> kSequenceShift);
    if (_expected && *_expected != number) {
        placed.add({FindingCode::Cea708PacketLost, Severity::Warning, 0, number, *_expected});
        _isBehindLoss = true;
    }
    _expected = static_cast<std::uint8_t>((number + 1U) % 4);
    received.isBehindLoss = _isBehindLoss;
    received.isCut = _size < _needed;
    const detail::BlockReader::Blocks read = readPacket(std::span(_bytes).first(_size), &placed);
    received.packet = read.packet;
    _isBehindLoss = received.isCut || read.isCut;
    _size = 0;
}

}  // namespace qlx::cea708

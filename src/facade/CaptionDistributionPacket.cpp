#include "facade/CaptionDistributionPacket.h"

#include "base/Bytes.h"
#include "cc/CdpLayout.h"
#include "facade/CaptionTriplet.h"

#include <algorithm>
#include <array>
#include <numeric>

namespace qlx::cdp {

namespace {

using triplet::Triplet;

using cc::CaptionService;
using cc::CdpSection;
namespace layout = cc::detail;

constexpr std::size_t kSectionOffset = layout::kHeaderBytes;
constexpr std::size_t kCountOffset = kSectionOffset + 1;
static_assert(kTripletsOffset == kSectionOffset + layout::kSectionHeadBytes);

/// Everything but a time code and a change of the services, whatever the packet has: deployed receivers know no other.
constexpr std::uint8_t kFlags = 0x7F;
constexpr std::size_t kServiceInformationBytes = layout::kSectionHeadBytes + 2 * CaptionService::kBytes;

/// Two services: line 21 (analog) on field 1 without language, and digital service 1 in English.
constexpr auto kServiceInformation = [] {
    constexpr std::array kServices{CaptionService::line21(false), CaptionService::digital(1, {'e', 'n', 'g'})};
    std::array<std::uint8_t, kServiceInformationBytes> bytes{static_cast<std::uint8_t>(CdpSection::ServiceInformation),
                                                             layout::kServiceReservedBit | layout::kServiceFlagBits |
                                                                 kServices.size()};
    std::size_t next = layout::kSectionHeadBytes;
    for (const CaptionService& service : kServices) {
        for (const std::uint8_t byte : service.bytes()) {
            bytes[next++] = byte;
        }
    }
    return bytes;
}();

/// Writes into a packet whose size may have been taken modulo 256: what does not fit is left out.
class Writer {
public:
    explicit Writer(std::span<std::uint8_t> bytes) : _bytes(bytes) {}

    void put(std::size_t offset, std::uint8_t byte) {
        if (offset < _bytes.size()) {
            _bytes[offset] = byte;
        }
    }

    void put(std::size_t offset, std::span<const std::uint8_t> bytes) {
        if (offset < _bytes.size()) {
            std::copy_n(bytes.begin(), std::min(bytes.size(), _bytes.size() - offset),
                        _bytes.begin() + static_cast<std::ptrdiff_t>(offset));
        }
    }

    void putTriplet(std::size_t index, const Triplet& triplet) {
        put(kTripletsOffset + index * triplet::kBytes, std::array{triplet.header, triplet.first, triplet.second});
    }

    void putHeader(const Header& header, std::size_t length, std::size_t ccCount) {
        std::array<std::uint8_t, kTripletsOffset> bytes{};
        storeBig(bytes.data(), cc::kCdpIdentifier);
        bytes[layout::kLengthOffset] = static_cast<std::uint8_t>(length);
        bytes[layout::kRateOffset] =
            static_cast<std::uint8_t>(unsigned{header.frameRateCode} << 4U | layout::kRateReserved);
        bytes[layout::kFlagsOffset] = kFlags;
        storeBig(&bytes[layout::kCounterOffset], header.sequenceCounter);
        bytes[kSectionOffset] = static_cast<std::uint8_t>(CdpSection::CcData);
        bytes[kCountOffset] = static_cast<std::uint8_t>(layout::kCcDataReservedBits | ccCount);
        put(0, bytes);
    }

    /// The footer at `offset`, and behind it the checksum over the bytes from `firstSummed` on.
    void putFooter(std::size_t offset, const Header& header, std::size_t firstSummed) {
        put(offset, static_cast<std::uint8_t>(CdpSection::Footer));
        put(offset + 1, static_cast<std::uint8_t>(header.sequenceCounter >> 8U));
        put(offset + 2, static_cast<std::uint8_t>(header.sequenceCounter));
        const std::size_t end = offset + layout::kFooterBytes - 1;
        if (end < _bytes.size()) {
            const auto first = _bytes.begin() + static_cast<std::ptrdiff_t>(firstSummed);
            const auto last = _bytes.begin() + static_cast<std::ptrdiff_t>(end);
            _bytes[end] = static_cast<std::uint8_t>(0U - std::accumulate(first, last, 0U));
        }
    }

private:
    std::span<std::uint8_t> _bytes;
};

/// A packet of `size` zero bytes, then written by `write(Writer&)`.
template <class Write>
Data packetOfSize(std::size_t size, Write write) {
    return Data::make(size, [size, &write](std::uint8_t* bytes) {
        std::fill_n(bytes, size, std::uint8_t{0});
        Writer writer({bytes, size});
        write(writer);
    });
}

/// Places the triplets of a CEA-608 payload, none at or behind position `ccCount`.
class PayloadTriplets {
public:
    PayloadTriplets(Writer& writer, std::uint8_t ccCount) : _writer(writer), _count(ccCount) {}

    void place(const Data& payload) {
        const auto pairs = static_cast<std::uint8_t>(placeOwn(payload));
        if (pairs < 2) {
            put(1, triplet::kEmptyField2);
        }
        // The padding begins at twice the number of pairs: with none it covers everything placed before, and behind two
        // pairs it leaves triplets 2 and 3 zero. Deployed receivers know both.
        for (std::size_t index = std::size_t{pairs} * 2; index < _count; ++index) {
            put(index, triplet::kPadding);
        }
    }

private:
    /// The payload's own triplets; gives the number of pairs that they count as.
    std::size_t placeOwn(const Data& payload) {
        if (!payload) {
            return 0;
        }
        const std::size_t size = payload.size();
        if (size == triplet::kPairBytes || size == 2 * triplet::kPairBytes) {
            const std::size_t pairs = size / triplet::kPairBytes;
            for (std::size_t pair = 0; pair < pairs; ++pair) {
                put(pair, {triplet::kField1, payload[2 * pair], payload[2 * pair + 1]});
            }
            return pairs;
        }
        if (size == triplet::kBytes) {
            put(0, {payload[0], payload[1], payload[2]});
            return 1;
        }
        if (size % triplet::kBytes != 0) {
            put(0, triplet::kEmptyField1);
            return size / triplet::kPairBytes;
        }
        const std::size_t inputs = std::min<std::size_t>(size / triplet::kBytes, _count);
        for (std::size_t input = 0; input < inputs; ++input) {
            put(2 * input, {payload[3 * input], payload[3 * input + 1], payload[3 * input + 2]});
            put(2 * input + 1, triplet::kEmptyField2);
        }
        return inputs;
    }

    void put(std::size_t index, const Triplet& triplet) {
        if (index < _count) {
            _writer.putTriplet(index, triplet);
        }
    }

    Writer& _writer;
    std::uint8_t _count;
};

}  // namespace

Data onePairPacket(const Header& header, std::uint8_t ccCount, const std::uint8_t* cea608Pair) {
    const std::size_t tripletBytes = std::size_t{ccCount} * triplet::kBytes;
    return packetOfSize(((tripletBytes + 5) & 0xFFU) + 24, [&](Writer& writer) {
        // 8 less than the true length, and a checksum without the first eight bytes: receivers of these packets
        // expect both.
        writer.putHeader(header, tripletBytes + 21, ccCount);
        writer.putTriplet(0,
                          cea608Pair ? Triplet{triplet::kField1, cea608Pair[0], cea608Pair[1]} : triplet::kEmptyField1);
        writer.putTriplet(1, triplet::kEmptyField2);
        for (std::size_t index = 2; index < ccCount; ++index) {
            writer.putTriplet(index, triplet::kPadding);
        }
        const std::size_t service = kTripletsOffset + tripletBytes;
        writer.put(service, kServiceInformation);
        writer.putFooter(service + kServiceInformation.size(), header, kCountOffset);
    });
}

Data barePacket(const Header& header, std::span<const std::uint8_t> triplets) {
    return packetOfSize((triplets.size() & 0xFFU) + 13, [&](Writer& writer) {
        // 11 more than the true length: receivers of these packets expect it.
        writer.putHeader(header, triplets.size() + 24, triplets.size() / triplet::kBytes);
        writer.put(kTripletsOffset, triplets);
        writer.putFooter(kTripletsOffset + triplets.size(), header, 0);
    });
}

void writePayloadPacket(std::span<std::uint8_t> bytes, const Header& header, std::uint8_t ccCount,
                        const Data& payload) {
    Writer writer(bytes);
    writer.putHeader(header, payloadPacketSize(ccCount), ccCount);
    PayloadTriplets(writer, ccCount).place(payload);
    const std::size_t service = kTripletsOffset + std::size_t{ccCount} * triplet::kBytes;
    writer.put(service, kServiceInformation);
    writer.putFooter(service + kServiceInformation.size(), header, 0);
}

void writeTripletPacket(std::span<std::uint8_t> bytes, const Header& header, std::span<const std::uint8_t> triplets) {
    const std::size_t tripletBytes = triplets.size() & 0xFFU;
    Writer writer(bytes);
    // 13 less than the true length: receivers of these packets expect it.
    writer.putHeader(header, tripletBytes + 16, tripletBytes / triplet::kBytes);
    writer.put(kTripletsOffset, triplets.first(tripletBytes));
    const std::size_t service = kTripletsOffset + tripletBytes;
    writer.put(service, kServiceInformation);
    writer.putFooter(service + kServiceInformation.size(), header, 0);
}

bool isPacket(std::span<const std::uint8_t> bytes) noexcept {
    constexpr std::size_t kMinBytes = 10;
    return bytes.size() >= kMinBytes && loadBig<std::uint16_t>(bytes.data()) == cc::kCdpIdentifier;
}

std::span<const std::uint8_t> triplets(std::span<const std::uint8_t> bytes) noexcept {
    if (!isPacket(bytes)) {
        return {};
    }
    const std::size_t tripletBytes = (bytes[kCountOffset] & layout::kCcCountBits) * triplet::kBytes;
    return bytes.size() - kTripletsOffset < tripletBytes ? std::span<const std::uint8_t>()
                                                         : bytes.subspan(kTripletsOffset, tripletBytes);
}

SortedTriplets sortedTriplets(std::span<const std::uint8_t> bytes, std::uint64_t offset) {
    // The position has 8 bits, so at most 86 triplets are seen.
    constexpr std::size_t kPositions = 256;
    std::array<std::uint8_t, kPositions + triplet::kBytes> dtvcc{};
    std::array<std::uint8_t, kPositions> field1{};
    std::array<std::uint8_t, kPositions> field2{};
    std::size_t dtvccSize = 0;
    std::size_t field1Size = 0;
    std::size_t field2Size = 0;

    const std::size_t bound = offset > bytes.size() ? 0 : bytes.size() - static_cast<std::size_t>(offset);
    for (std::size_t position = offset % kPositions; position < bound && position < kPositions;
         position += triplet::kBytes) {
        if (position + triplet::kBytes > bytes.size()) {
            break;
        }
        const std::uint8_t kind = bytes[position];
        const std::uint8_t first = bytes[position + 1];
        const std::uint8_t second = bytes[position + 2];
        const bool firstIsNull = first == triplet::kNull608;
        const bool secondIsNull = second == triplet::kNull608;
        if (kind == triplet::kField1 && (field1Size < 2 || !(firstIsNull && secondIsNull))) {
            field1[field1Size++] = first;
            field1[field1Size++] = second;
        } else if (kind == triplet::kField2 && (field2Size < 2 || !(firstIsNull || secondIsNull))) {
            // One null byte is enough to drop a later pair of field 2: hosts rely on it.
            field2[field2Size++] = first;
            field2[field2Size++] = second;
        } else if (kind == triplet::kDTVCCData || kind == triplet::kDTVCCStart) {
            const bool nullStart = kind == triplet::kDTVCCStart && firstIsNull && secondIsNull;
            dtvcc[dtvccSize++] = kind;
            dtvcc[dtvccSize++] = nullStart ? std::uint8_t{0} : first;
            dtvcc[dtvccSize++] = nullStart ? std::uint8_t{0} : second;
        }
    }
    return {Data(dtvcc.data(), dtvccSize), Data(field1.data(), field1Size), Data(field2.data(), field2Size)};
}

}  // namespace qlx::cdp

// Reads a caption distribution packet: first where its sections are, then each of them, in the order of the bytes.
#include <qlx/cc/cdp.h>
#include <qlx/cc/slots.h>
#include <qlx/cc/time_code.h>

#include "base/ByteSum.h"
#include "base/Bytes.h"
#include "cc/CdpLayout.h"
#include "cc/CdpStructure.h"

#include <algorithm>
#include <utility>

namespace qlx::cc {

namespace detail {

using Bytes = std::span<const std::uint8_t>;

class CdpReader {
public:
    /// `bytes` have a whole header.
    CdpReader(Bytes bytes, Cdp& cdp, FindingSink* findings) noexcept
        : _bytes(bytes), _cdp(cdp), _findings(findings), _structure(structureOf(bytes)) {}

    void read() {
        readHeader();
        readSections();
        readFooter();
    }

private:
    void readHeader();
    [[nodiscard]] std::uint8_t flagsOfSections() const noexcept;
    void readSections();
    void readSection(std::size_t offset, std::size_t size);
    [[nodiscard]] bool isRepeated(std::uint8_t id) const noexcept;
    void readTimeCode(std::size_t offset);
    void readCcData(std::size_t offset, std::size_t size);
    void checkCcData(std::size_t offset);
    void checkTriplets(std::size_t offset, std::size_t greatestOfField);
    void readServices(std::size_t offset, std::size_t size);
    void checkServices(std::size_t offset);
    void readFuture(std::size_t offset, std::size_t size);
    void readFooter();

    // Never inlined: packets are right, as a rule, and what reads them stays small.
    [[gnu::noinline]] void add(FindingCode code, Severity severity, std::size_t offset, std::size_t first = 0,
                               std::size_t second = 0) {
        if (_findings != nullptr) {
            _findings->add(
                {code, severity, offset, static_cast<std::int64_t>(first), static_cast<std::int64_t>(second)});
        }
    }

    /// Reserved bits are kept as they are; that they are wrong is said.
    void checkReserved(std::size_t offset, unsigned right) {
        if (_bytes[offset] != right) {
            add(FindingCode::CdpReservedBitsWrong, Severity::Remark, offset, _bytes[offset], right);
        }
    }

    Bytes _bytes;
    Cdp& _cdp;
    FindingSink* _findings;
    CdpStructure _structure;
};

void CdpReader::readHeader() {
    if (_bytes[kLengthOffset] != _structure.end()) {
        add(FindingCode::CdpLengthWrong, Severity::Warning, kLengthOffset, _bytes[kLengthOffset], _structure.end());
    }
    _cdp._rateByte = _bytes[kRateOffset];
    checkReserved(kRateOffset, _bytes[kRateOffset] | kRateReserved);
    if (!_cdp.frameRate()) {
        add(FindingCode::CdpFrameRateUnknown, Severity::Warning, kRateOffset, _cdp.frameRateCode());
    }
    const std::uint8_t flags = _bytes[kFlagsOffset];
    const std::uint8_t right = flagsOfSections();
    if (flags != right) {
        add(FindingCode::CdpFlagsContradictSections, Severity::Warning, kFlagsOffset, flags, right);
    }
    checkReserved(kFlagsOffset, flags | cdpflags::kReserved);
    _cdp._captionServiceActive = (flags & cdpflags::kServiceActive) != 0;
    _cdp._reservedFlag = (flags & cdpflags::kReserved) != 0;
    _cdp._sequenceCounter = loadBig<std::uint16_t>(&_bytes[kCounterOffset]);
}

std::uint8_t CdpReader::flagsOfSections() const noexcept {
    unsigned flags = _bytes[kFlagsOffset] & (cdpflags::kServiceActive | cdpflags::kReserved);
    flags |= _structure.timeCodeAt != 0 ? cdpflags::kTimeCode : 0U;
    flags |= _structure.ccDataAt != 0 ? cdpflags::kCcData : 0U;
    if (_structure.servicesAt != 0) {
        flags |= cdpflags::kServiceInformation;
        // A section that is cut in front of its flags contradicts none.
        flags |= _structure.servicesAt + 1 < _bytes.size()
                     ? (_bytes[_structure.servicesAt + 1] & kServiceFlagBits) >> kServiceFlagShift
                     : _bytes[kFlagsOffset] & kServiceFlagBits >> kServiceFlagShift;
    }
    return static_cast<std::uint8_t>(flags);
}

/// The place of a section in the standard's order.
int rankOf(std::uint8_t id) noexcept {
    constexpr int kFuture = static_cast<int>(CdpSection::FirstFuture);
    return isFutureSection(id) ? kFuture : id;
}

void CdpReader::readSections() {
    const std::size_t end = _structure.sectionsEnd();
    std::uint8_t before = 0;
    for (std::size_t offset = kHeaderBytes; offset < end;) {
        const Bytes rest = _bytes.subspan(offset, end - offset);
        const std::uint8_t id = rest[0];
        const std::size_t size = sectionSize(rest, _structure.counts);
        if (isRepeated(id)) {
            add(FindingCode::CdpSectionRepeated, Severity::Error, offset, id, std::min(size, rest.size()));
        } else {
            if (size != 0 && rankOf(id) < rankOf(before)) {
                add(FindingCode::CdpSectionOutOfOrder, Severity::Warning, offset, id, before);
            }
            readSection(offset, size);
        }
        before = id;
        offset += size == 0 ? rest.size() : size;
    }
}

bool CdpReader::isRepeated(std::uint8_t id) const noexcept {
    return (isSection(id, CdpSection::TimeCode) && _cdp._timeCode) ||
           (isSection(id, CdpSection::CcData) && _cdp._hasCcData) ||
           (isSection(id, CdpSection::ServiceInformation) && _cdp._hasServiceInformation);
}

/// Reads the section at `offset`, which should have `size` bytes, or 0 when that is not known.
void CdpReader::readSection(std::size_t offset, std::size_t size) {
    const std::uint8_t id = _bytes[offset];
    const std::size_t rest = _structure.sectionsEnd() - offset;
    const bool isWhole = size != 0 && size <= rest;
    const bool isHeadThere = rest >= kSectionHeadBytes;
    if (isSection(id, CdpSection::CcData) && isHeadThere) {
        readCcData(offset, std::min(size, rest));
    } else if (isSection(id, CdpSection::ServiceInformation) && isHeadThere) {
        readServices(offset, std::min(size, rest));
    } else if (isSection(id, CdpSection::TimeCode) && isWhole) {
        readTimeCode(offset);
    } else if (isFutureSection(id) && isWhole) {
        readFuture(offset, size);
    } else if (size == 0 && isHeadThere) {
        add(FindingCode::CdpSectionUnknown, Severity::Error, offset, id, rest);
    } else {
        add(FindingCode::CdpSectionCut, Severity::Error, offset, id, rest);
    }
}

void CdpReader::readTimeCode(std::size_t offset) {
    std::array<std::uint8_t, CdpTimeCode::kBytes> bytes{};
    std::copy_n(&_bytes[offset + 1], bytes.size(), bytes.begin());
    _cdp._timeCode = CdpTimeCode(bytes);
    if (!isPossible(*_cdp._timeCode, _cdp.frameRate())) {
        add(FindingCode::CdpTimeCodeInvalid, Severity::Warning, offset + 1, loadBig<std::uint32_t>(bytes.data()));
    }
    checkReserved(offset + 1, bytes[0] | kHoursReserved);
    checkReserved(offset + 2, bytes[1] | kMinutesReserved);
    checkReserved(offset + 4, bytes[3] & ~unsigned{kTimeCodeZeroBit});
    if (const auto rate = _cdp.frameRate(); rate && _cdp._timeCode->fields().dropFrame && !mayDropFrames(*rate)) {
        add(FindingCode::CdpDropFrameUnlikeRate, Severity::Warning, offset + 4, loadBig<std::uint32_t>(bytes.data()),
            _cdp.frameRateCode());
    }
}

/// Whether nothing is wrong with triplets, as a rule: the first two may be pairs of CEA-608, and of a field each.
bool areUsual(std::span<const Triplet> triplets) noexcept {
    const auto isPair = [](const Triplet& triplet) { return triplet.valid() && triplet.is608(); };
    // With marker bits, and no valid pair: F8 to FB, FE and FF, as one comparison.
    const auto isNoPair = [](const Triplet& triplet) {
        constexpr unsigned kPairOfField1 = 0xFC;
        return (triplet.header ^ kPairOfField1) - 2U <= 5U;
    };
    const auto pairs = triplets.first(std::min<std::size_t>(2, triplets.size()));
    return std::all_of(triplets.begin() + static_cast<std::ptrdiff_t>(pairs.size()), triplets.end(), isNoPair) &&
           std::all_of(pairs.begin(), pairs.end(), [](const Triplet& pair) { return pair.hasMarkerBits(); }) &&
           (pairs.size() < 2 || pairs[0].type() != pairs[1].type() || !isPair(pairs[0]) || !isPair(pairs[1]));
}

/// `size`: the bytes that are there, at least the head.
void CdpReader::readCcData(std::size_t offset, std::size_t size) {
    const std::size_t count = (size - kSectionHeadBytes) / sizeof(Triplet);
    const Bytes triplets = _bytes.subspan(offset + kSectionHeadBytes, count * sizeof(Triplet));
    _cdp._hasCcData = true;
    _cdp._ccDataReserved = _bytes[offset + 1] & kCcDataReservedBits;
    // Counts of 5 bits always fit.
    static_cast<void>(_cdp._triplets.appendBytes(triplets));
    if (_findings != nullptr) {
        checkCcData(offset);
    }
}

void CdpReader::checkCcData(std::size_t offset) {
    const std::size_t announced = _bytes[offset + 1] & kCcCountBits;
    const std::size_t count = _cdp._triplets.size();
    checkReserved(offset + 1, _bytes[offset + 1] | kCcDataReservedBits);
    if (announced != count) {
        add(FindingCode::CdpCountWrong, Severity::Warning, offset + 1, announced, count);
    }
    std::size_t greatest = kGreatestTriplets;
    if (const auto rate = _cdp.frameRate()) {
        greatest = greatestPairsOfField(*rate);
        if (slotsOf(*rate).ccCount != announced) {
            add(FindingCode::CdpCountUnlikeRate, Severity::Warning, offset + 1, announced, slotsOf(*rate).ccCount);
        }
    }
    if (!areUsual(_cdp._triplets.items())) {
        checkTriplets(offset + kSectionHeadBytes, greatest);
    }
}

/// @param offset Of the first one.
/// @param greatestOfField The most pairs of a field that a frame has. Null pairs are no content and count for none.
void CdpReader::checkTriplets(std::size_t offset, std::size_t greatestOfField) {
    const auto isContent = [](const Triplet& triplet) {
        return triplet.valid() && triplet.is608() && !triplet.isNullPair();
    };
    std::array<std::size_t, 2> pairs{};
    for (const Triplet& triplet : _cdp._triplets) {
        checkReserved(offset, triplet.header | Triplet::kMarkerBits);
        const std::size_t field = triplet.header & 1U;
        pairs[field] += isContent(triplet) ? 1 : 0;
        if (isContent(triplet) && pairs[field] == greatestOfField + 1) {
            const auto isOfField = [&](const Triplet& one) { return isContent(one) && one.type() == triplet.type(); };
            const auto count = std::count_if(_cdp._triplets.begin(), _cdp._triplets.end(), isOfField);
            add(FindingCode::CdpPairsUnlikeRate, Severity::Warning, offset, field + 1, static_cast<std::size_t>(count));
        }
        offset += sizeof(Triplet);
    }
}

/// `size`: the bytes that are there, at least the head.
void CdpReader::readServices(std::size_t offset, std::size_t size) {
    const std::uint8_t head = _bytes[offset + 1];
    const std::size_t count = (size - kSectionHeadBytes) / CaptionService::kBytes;
    const Bytes services = _bytes.subspan(offset + kSectionHeadBytes, count * CaptionService::kBytes);
    const unsigned flags = (head & kServiceFlagBits) >> kServiceFlagShift;
    _cdp._hasServiceInformation = true;
    _cdp._serviceReserved = head & kServiceReservedBit;
    _cdp._serviceFlags = {(flags & cdpflags::kServiceStart) != 0, (flags & cdpflags::kServiceChange) != 0,
                          (flags & cdpflags::kServiceComplete) != 0};
    // Counts of 4 bits always fit.
    static_cast<void>(_cdp._services.appendBytes(services));
    if (_findings != nullptr) {
        checkServices(offset);
    }
}

void CdpReader::checkServices(std::size_t offset) {
    const std::size_t announced = _bytes[offset + 1] & kServiceCountBits;
    checkReserved(offset + 1, _bytes[offset + 1] | kServiceReservedBit);
    if (announced != _cdp._services.size()) {
        add(FindingCode::CdpServiceCountWrong, Severity::Warning, offset + 1, announced, _cdp._services.size());
    }
    std::size_t place = offset + kSectionHeadBytes;
    for (const CaptionService& service : _cdp._services) {
        if (service.isDigital() && service.number() != service.descriptorNumber()) {
            add(FindingCode::CdpServiceNumberContradicts, Severity::Warning, place, service.number(),
                service.descriptorNumber());
        }
        if (!service.hasReservedBits()) {
            for (std::size_t index = 0; index < CaptionService::kBytes; ++index) {
                checkReserved(place + index, service.bytes()[index] | service.reservedBits()[index]);
            }
        }
        place += CaptionService::kBytes;
    }
}

void CdpReader::readFuture(std::size_t offset, std::size_t size) {
    // All sections of a packet fit into a value: sectionsEnd() leaves room for the footer.
    static_cast<void>(_cdp._future.append(_bytes.subspan(offset, size)));
}

void CdpReader::readFooter() {
    const std::size_t offset = _structure.footerAt;
    const std::size_t end = _structure.end();
    if (!_structure.hasWholeFooter()) {
        if (_structure.footerBytes == 0) {
            add(FindingCode::CdpFooterMissing, Severity::Warning, end);
        } else {
            add(FindingCode::CdpSectionCut, Severity::Error, offset, _bytes[offset], _structure.footerBytes);
        }
        if (_bytes.size() > end) {
            add(FindingCode::CdpTooLong, Severity::Error, end, _bytes.size(), kGreatestCdpBytes);
        }
        return;
    }
    const auto counter = loadBig<std::uint16_t>(&_bytes[offset + 1]);
    if (counter != _cdp._sequenceCounter) {
        add(FindingCode::CdpCounterUnlikeFooter, Severity::Warning, offset + 1, _cdp._sequenceCounter, counter);
    }
    if (_findings == nullptr) {
        return;
    }
    if (const std::uint8_t sum = byteSum(_bytes.first(end)); sum != 0) {
        const std::uint8_t checksum = _bytes[end - 1];
        add(FindingCode::CdpChecksumWrong, Severity::Warning, end - 1, checksum,
            static_cast<std::uint8_t>(checksum - sum));
    }
    if (_bytes.size() > end) {
        add(FindingCode::CdpBytesBehindFooter, Severity::Warning, end, _bytes.size() - end);
    }
}

}  // namespace detail

namespace {

/// Made in its place and filled there: a packet's value is too large to be copied for nothing.
Result<Cdp> readCdp(std::span<const std::uint8_t> bytes, FindingSink* findings) {
    Result<Cdp> result(std::in_place);
    detail::CdpReader(bytes, *result, findings).read();
    return result;
}

}  // namespace

Result<Cdp> parseCdp(std::span<const std::uint8_t> bytes, FindingSink* findings) {
    if (bytes.size() >= 2 && loadBig<std::uint16_t>(bytes.data()) != kCdpIdentifier) {
        return Finding{FindingCode::CdpIdentifierWrong, Severity::Error, 0, loadBig<std::uint16_t>(bytes.data()),
                       kCdpIdentifier};
    }
    if (bytes.size() < detail::kHeaderBytes) {
        return Finding{FindingCode::CdpTooShort, Severity::Error, bytes.size(), detail::kHeaderBytes,
                       static_cast<std::int64_t>(bytes.size())};
    }
    return readCdp(bytes, findings);
}

}  // namespace qlx::cc

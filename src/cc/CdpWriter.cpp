// Makes and writes a caption distribution packet.
#include <qlx/cc/cdp.h>

#include "base/ByteSum.h"
#include "base/Bytes.h"
#include "cc/CdpLayout.h"

#include <algorithm>

namespace qlx::cc {

namespace detail {

class CdpWriter {
public:
    /// `bytes` has room for the packet.
    CdpWriter(const Cdp& cdp, std::uint8_t* bytes, std::size_t size) noexcept
        : _cdp(cdp), _begin(bytes), _next(bytes), _size(size) {}

    void write() noexcept {
        writeHeader();
        if (_cdp._timeCode) {
            put(static_cast<std::uint8_t>(CdpSection::TimeCode));
            put(_cdp._timeCode->bytes());
        }
        if (_cdp._hasCcData) {
            put(static_cast<std::uint8_t>(CdpSection::CcData));
            put(_cdp._ccDataReserved | _cdp._triplets.size());
            put(_cdp._triplets.bytes());
        }
        if (_cdp._hasServiceInformation) {
            put(static_cast<std::uint8_t>(CdpSection::ServiceInformation));
            put(_cdp._serviceReserved | serviceFlags() << kServiceFlagShift | _cdp._services.size());
            put(_cdp._services.bytes());
        }
        put(_cdp._future.bytes());
        put(static_cast<std::uint8_t>(CdpSection::Footer));
        putCounter();
        put(0U - byteSum({_begin, _next}));
    }

private:
    void writeHeader() noexcept {
        storeBig(_next, kCdpIdentifier);
        _next += sizeof kCdpIdentifier;
        put(_size);
        put(_cdp._rateByte);
        put((_cdp._timeCode ? cdpflags::kTimeCode : 0U) | (_cdp._hasCcData ? cdpflags::kCcData : 0U) |
            (_cdp._hasServiceInformation ? cdpflags::kServiceInformation : 0U) | serviceFlags() |
            (_cdp._captionServiceActive ? cdpflags::kServiceActive : 0U) |
            (_cdp._reservedFlag ? cdpflags::kReserved : 0U));
        putCounter();
    }

    [[nodiscard]] unsigned serviceFlags() const noexcept {
        const ServiceInformationFlags& flags = _cdp._serviceFlags;
        return (flags.start ? cdpflags::kServiceStart : 0U) | (flags.change ? cdpflags::kServiceChange : 0U) |
               (flags.complete ? cdpflags::kServiceComplete : 0U);
    }

    void put(std::size_t byte) noexcept { *_next++ = static_cast<std::uint8_t>(byte); }
    void put(std::span<const std::uint8_t> bytes) noexcept { _next = std::copy(bytes.begin(), bytes.end(), _next); }
    void putCounter() noexcept {
        storeBig(_next, _cdp._sequenceCounter);
        _next += sizeof _cdp._sequenceCounter;
    }

    const Cdp& _cdp;
    std::uint8_t* _begin;
    std::uint8_t* _next;
    std::size_t _size;
};

namespace {

Finding tooLong(std::size_t size) {
    return {FindingCode::CdpTooLong, Severity::Error, 0, static_cast<std::int64_t>(size), kGreatestCdpBytes};
}

Finding tooMany(FindingCode code, std::size_t given, std::size_t greatest) {
    return {code, Severity::Error, 0, static_cast<std::int64_t>(given), static_cast<std::int64_t>(greatest)};
}

}  // namespace

}  // namespace detail

Result<std::size_t> Cdp::setTriplets(std::span<const Triplet> triplets) {
    if (!_triplets.assign(triplets)) {
        return detail::tooMany(FindingCode::CdpTooManyTriplets, triplets.size(), kGreatestTriplets);
    }
    _hasCcData = true;
    return triplets.size();
}

Result<std::size_t> Cdp::setServices(std::span<const CaptionService> services, const ServiceInformationFlags& flags) {
    if (!_services.assign(services)) {
        return detail::tooMany(FindingCode::CdpTooManyServices, services.size(), kGreatestServices);
    }
    _hasServiceInformation = true;
    _serviceFlags = flags;
    return services.size();
}

Result<std::size_t> Cdp::addFutureSection(std::uint8_t id, std::span<const std::uint8_t> data) {
    if (!detail::isFutureSection(id)) {
        return detail::tooMany(FindingCode::CdpSectionUnknown, id, data.size());
    }
    const std::size_t bytes = detail::kSectionHeadBytes + data.size();
    if (size() > kGreatestCdpBytes || bytes > kGreatestCdpBytes - size()) {
        return detail::tooLong(size() + bytes);
    }
    // There is room: other sections only make it smaller.
    const std::array<std::uint8_t, detail::kSectionHeadBytes> head{id, static_cast<std::uint8_t>(data.size())};
    static_cast<void>(_future.append(head));
    static_cast<void>(_future.append(data));
    return _future.size();
}

std::size_t Cdp::size() const noexcept {
    return detail::kHeaderBytes + (_timeCode ? detail::kTimeCodeSectionBytes : 0) +
           (_hasCcData ? detail::kSectionHeadBytes + _triplets.bytes().size() : 0) +
           (_hasServiceInformation ? detail::kSectionHeadBytes + _services.bytes().size() : 0) + _future.size() +
           detail::kFooterBytes;
}

Result<std::size_t> writeCdp(const Cdp& cdp, std::span<std::uint8_t> room) {
    const std::size_t size = cdp.size();
    if (size > kGreatestCdpBytes) {
        return detail::tooLong(size);
    }
    if (size > room.size()) {
        return Finding{FindingCode::OutputTooSmall, Severity::Error, 0, static_cast<std::int64_t>(size),
                       static_cast<std::int64_t>(room.size())};
    }
    detail::CdpWriter(cdp, room.data(), size).write();
    return size;
}

Result<Data> writeCdp(const Cdp& cdp) {
    const std::size_t size = cdp.size();
    if (size > kGreatestCdpBytes) {
        return detail::tooLong(size);
    }
    return Data::make(size, [&cdp, size](std::uint8_t* bytes) { detail::CdpWriter(cdp, bytes, size).write(); });
}

bool CounterCheck::receive(std::uint16_t counter, FindingSink* findings, std::uint64_t offset) {
    const bool isExpected = !_expected || *_expected == counter;
    const bool standsStill = !isExpected && static_cast<std::uint16_t>(counter + 1) == *_expected;
    const FindingCode code = standsStill ? FindingCode::CdpCounterStandsStill : FindingCode::CdpCounterJumped;
    if (!isExpected && findings != nullptr && !(standsStill && _hasStoodStill)) {
        findings->add({code, Severity::Warning, offset, counter, *_expected});
    }
    _hasStoodStill = _hasStoodStill || standsStill;
    _expected = static_cast<std::uint16_t>(counter + 1);
    return isExpected;
}

}  // namespace qlx::cc

#include <qlx/streams/ts/packet.h>

#include "TransportStream.h"
#include "TsFinding.h"

#include <algorithm>

namespace qlx::streams::ts {

namespace {

constexpr std::size_t kPcrBytes = 6;
/// A length, flags, and what they announce.
constexpr std::size_t kAdaptationFlags = 2;

/// Reads the adaptation field in front of the payload (ISO/IEC 13818-1, clause 2.4.3.4).
void readAdaptation(std::span<const std::uint8_t> field, PacketView& packet) {
    if (field.empty()) {
        return;
    }
    constexpr std::uint8_t kDiscontinuity = 0x80;
    constexpr std::uint8_t kRandomAccess = 0x40;
    constexpr std::uint8_t kHasPcr = 0x10;
    packet.isDiscontinuous = (field[0] & kDiscontinuity) != 0;
    packet.isRandomAccess = (field[0] & kRandomAccess) != 0;
    if ((field[0] & kHasPcr) != 0 && field.size() > kPcrBytes) {
        const std::uint64_t base = std::uint64_t{field[1]} << 25U | std::uint64_t{field[2]} << 17U |
                                   std::uint64_t{field[3]} << 9U | std::uint64_t{field[4]} << 1U | field[5] >> 7U;
        const std::uint64_t extension = (std::uint64_t{field[5]} & 1U) << 8U | field[6];
        packet.pcr = (base * kTicksPerPcr + extension) % kPcrWrap;
    }
}

/// Bytes in front of the sync byte.
constexpr std::size_t leadOf(std::size_t size) {
    constexpr std::size_t kWithTime = 192;
    return size == kWithTime ? size - kPacketBytes : 0;
}

}  // namespace

Result<PacketView> parsePacket(std::span<const std::uint8_t> bytes, FindingSink* findings, std::uint64_t offset) {
    constexpr std::uint8_t kHasAdaptation = 0x20;
    constexpr std::uint8_t kHasPayload = 0x10;
    if (bytes.size() < kPacketBytes || bytes[0] != kSyncByte || (bytes[3] & (kHasAdaptation | kHasPayload)) == 0) {
        const std::uint8_t first = bytes.empty() ? std::uint8_t{0} : bytes[0];
        return Finding{FindingCode::TsPacketWrong, Severity::Error, offset, first,
                       static_cast<std::int64_t>(bytes.size())};
    }
    PacketView packet;
    packet.offset = offset;
    packet.hasError = (bytes[1] & 0x80U) != 0;
    packet.startsUnit = (bytes[1] & 0x40U) != 0;
    packet.hasPriority = (bytes[1] & 0x20U) != 0;
    packet.pid = static_cast<std::uint16_t>((bytes[1] & 0x1FU) << 8U | bytes[2]);
    packet.scrambling = bytes[3] >> 6U;
    packet.continuity = bytes[3] & 0x0FU;
    packet.hasPayload = (bytes[3] & kHasPayload) != 0;
    std::span<const std::uint8_t> rest = bytes.first(kPacketBytes).subspan(kHeaderBytes);
    if ((bytes[3] & kHasAdaptation) != 0) {
        const std::size_t length = rest[0];
        rest = rest.subspan(1);
        if (length > rest.size()) {
            detail::addFinding(findings, FindingCode::TsAdaptationWrong, Severity::Error, offset, length, rest.size());
            packet.hasPayload = false;
            return packet;
        }
        readAdaptation(rest.first(length), packet);
        rest = rest.subspan(length);
    }
    if (packet.hasPayload) {
        packet.payload = rest;
    }
    return packet;
}

std::size_t PacketHeader::room() const noexcept {
    const std::size_t adaptation = pcr ? kAdaptationFlags + kPcrBytes : isDiscontinuous ? kAdaptationFlags : 0;
    return kPacketBytes - kHeaderBytes - adaptation;
}

std::size_t writePacket(const PacketHeader& header, std::span<const std::uint8_t> payload,
                        PacketBytes& packet) noexcept {
    const std::size_t taken = std::min(payload.size(), header.room());
    const std::size_t adaptation = kPacketBytes - kHeaderBytes - taken;
    packet[0] = kSyncByte;
    packet[1] = static_cast<std::uint8_t>((header.startsUnit ? 0x40U : 0U) | (header.pid >> 8U & 0x1FU));
    packet[2] = static_cast<std::uint8_t>(header.pid);
    packet[3] = static_cast<std::uint8_t>((adaptation > 0 ? 0x20U : 0U) | (taken > 0 ? 0x10U : 0U) |
                                          (header.continuity & 0x0FU));
    std::size_t place = kHeaderBytes;
    if (adaptation > 0) {
        packet[place++] = static_cast<std::uint8_t>(adaptation - 1);
    }
    if (adaptation > 1) {
        packet[place++] = static_cast<std::uint8_t>((header.isDiscontinuous ? 0x80U : 0U) | (header.pcr ? 0x10U : 0U));
        if (header.pcr) {
            const std::uint64_t base = *header.pcr % kPcrWrap / kTicksPerPcr;
            const std::uint64_t extension = *header.pcr % kTicksPerPcr;
            // Between both are six reserved bits.
            const std::uint64_t bits = base << 15U | std::uint64_t{0x3F} << 9U | extension;
            for (std::size_t byte = kPcrBytes; byte-- > 0;) {
                packet[place++] = static_cast<std::uint8_t>(bits >> 8U * byte);
            }
        }
        while (place < kHeaderBytes + adaptation) {
            packet[place++] = 0xFF;
        }
    }
    std::copy_n(payload.begin(), taken, packet.begin() + static_cast<std::ptrdiff_t>(place));
    return taken;
}

PacketBytes nullPacket() noexcept {
    PacketBytes packet{};
    packet.fill(0xFF);
    packet[0] = kSyncByte;
    packet[1] = kNullPid >> 8U;
    packet[2] = kNullPid & 0xFFU;
    packet[3] = 0x10;
    return packet;
}

void PacketReader::drop(std::size_t count) noexcept {
    _begin += count;
    _offset += count;
}

void PacketReader::push(std::span<const std::uint8_t> bytes) {
    _buffer.erase(_buffer.begin(), _buffer.begin() + static_cast<std::ptrdiff_t>(_begin));
    _begin = 0;
    bytes = _budget.take(bytes);
    _buffer.insert(_buffer.end(), bytes.begin(), bytes.end());
}

/// Goes to the next place from which packets follow each other; false when more bytes are needed.
bool PacketReader::search() {
    // As many sync bytes as transportPacketSize() looks at, wherever the first of them stands.
    constexpr std::size_t kEnough = 4 * streams::detail::kLongestTransportPacket + kHeaderBytes;
    for (; _begin < _buffer.size(); drop(1)) {
        const auto bytes = rest();
        if (bytes.size() < kEnough && !_isFinished) {
            return false;
        }
        const bool mayBegin = bytes[0] == kSyncByte || (bytes.size() > 4 && bytes[4] == kSyncByte);
        const std::size_t size = mayBegin ? streams::detail::transportPacketSize(bytes) : 0;
        if (size > 0) {
            endSearch();
            _size = size;
            _isSynchronous = true;
            return true;
        }
        // The last packet of a stream has none behind it.
        if (_isFinished && _size > 0 && bytes.size() == _size && bytes[leadOf(_size)] == kSyncByte) {
            endSearch();
            _isSynchronous = true;
            return true;
        }
    }
    if (_isFinished) {
        endSearch();
    }
    return false;
}

void PacketReader::endSearch() {
    if (_offset > _lostAt) {
        detail::addFinding(_findings, FindingCode::TsSyncLost, Severity::Error, _lostAt, _offset - _lostAt, 0);
        _lostAt = _offset;
    }
}

/// What is left at the end is no whole packet.
void PacketReader::reportEnd() {
    const std::size_t there = rest().size();
    if (!_isEndSaid && there > 0) {
        if (!_budget.isCut()) {
            detail::addFinding(_findings, FindingCode::ContainerPacketCut, Severity::Error, _offset, there, _size);
        }
        drop(there);
    }
    _isEndSaid = true;
}

std::optional<PacketView> PacketReader::next() {
    const auto packet = _budget.hasEnded() ? std::nullopt : nextPacket();
    if (packet && _budget.takeItem()) {
        return packet;
    }
    if (const auto finding = _budget.takeFinding(packet ? packet->offset : _offset); finding && _findings != nullptr) {
        _findings->add(*finding);
    }
    return std::nullopt;
}

std::optional<PacketView> PacketReader::nextPacket() {
    for (;;) {
        if (!_isSynchronous && !search()) {
            return std::nullopt;
        }
        const std::size_t lead = leadOf(_size);
        const auto bytes = rest();
        // Parity behind the last packet may be missing: nobody looks at it.
        if (bytes.size() < (_isFinished ? lead + kPacketBytes : _size)) {
            if (_isFinished) {
                reportEnd();
            }
            return std::nullopt;
        }
        if (bytes[lead] != kSyncByte) {
            _isSynchronous = false;
            _lostAt = _offset;
            continue;
        }
        const std::uint64_t offset = _offset + lead;
        const auto all = bytes.subspan(lead);
        const Result<PacketView> packet = parsePacket(all.first(kPacketBytes), _findings, offset);
        drop(std::min(_size, bytes.size()));
        if (packet) {
            return *packet;
        }
        if (_findings != nullptr) {
            _findings->add(packet.error());
        }
    }
}

bool ContinuityCheck::receive(const PacketView& packet, FindingSink* findings) {
    _isBroken = false;
    if (packet.pid == kNullPid) {
        return false;
    }
    const bool maySkip = packet.isDiscontinuous || !_hasCounter;
    const std::uint8_t expected = packet.hasPayload ? (_counter + 1U) & 0x0FU : _counter;
    const bool isNext = packet.continuity == expected;
    if (!isNext && !maySkip) {
        const bool isSame = packet.continuity == _counter && packet.payload.size() == _lastSize &&
                            std::equal(packet.payload.begin(), packet.payload.end(), _last.begin());
        if (isSame && !_isRepeated) {
            _isRepeated = true;
            return false;
        }
        _isBroken = true;
        detail::addFinding(findings, FindingCode::TsContinuityLost, Severity::Error, packet.offset, packet.pid,
                           (packet.continuity - expected) & 0x0FU);
    }
    _isBroken = _isBroken || (packet.isDiscontinuous && !isNext && _hasCounter);
    _counter = packet.continuity;
    _hasCounter = true;
    if (!packet.hasPayload) {
        return false;
    }
    _isRepeated = false;
    _lastSize = packet.payload.size();
    std::copy(packet.payload.begin(), packet.payload.end(), _last.begin());
    return true;
}

void UnusablePackets::add(std::uint64_t offset, std::uint16_t pid, FindingCode code, FindingSink* findings) {
    if (_isInside) {
        ++_more;
        return;
    }
    *this = {};
    _isInside = true;
    _offset = offset;
    _pid = pid;
    detail::addFinding(findings, code, Severity::Error, offset, pid);
}

void UnusablePackets::tell(FindingSink* findings) {
    if (_more > 0) {
        detail::addFinding(findings, FindingCode::TsMorePacketsLeftOut, Severity::Error, _offset, _pid, _more);
    }
    *this = {};
}

void ClockByPlace::receive(const PacketView& packet) noexcept {
    if (!packet.pcr) {
        return;
    }
    _bytes = 0;
    if (_pcr && !packet.isDiscontinuous && packet.offset > _offset) {
        // References are at most 100 ms apart; those that are farther say nothing of the rate.
        _ticks = (*packet.pcr + kPcrWrap - *_pcr) % kPcrWrap;
        _bytes = _ticks <= kPcrPerSecond ? packet.offset - _offset : 0;
    }
    _pcr = packet.pcr;
    _offset = packet.offset;
}

std::optional<std::uint64_t> ClockByPlace::at(std::uint64_t offset) const noexcept {
    if (!_pcr) {
        return std::nullopt;
    }
    const bool isBehind = offset >= _offset;
    const auto apart = static_cast<double>(isBehind ? offset - _offset : _offset - offset);
    constexpr auto kMost = static_cast<double>(kPcrPerSecond);
    const double elapsed = _bytes == 0 ? 0.0 : apart * static_cast<double>(_ticks) / static_cast<double>(_bytes);
    const auto ticks = static_cast<std::uint64_t>(std::min(elapsed, kMost));
    return (*_pcr + (isBehind ? ticks : kPcrWrap - ticks)) % kPcrWrap / kTicksPerPcr;
}

std::int64_t ContinuousTime::near(std::uint64_t ticks90k) const noexcept {
    constexpr auto kWrap = static_cast<std::int64_t>(kTimeBits);
    const auto ticks = static_cast<std::int64_t>(ticks90k % kTimeBits);
    if (!_last) {
        return ticks;
    }
    std::int64_t step = (ticks - *_last) % kWrap;
    step += step < -kWrap / 2 ? kWrap : step >= kWrap / 2 ? -kWrap : 0;
    return *_last + step;
}

std::int64_t ContinuousTime::take(std::uint64_t ticks90k) noexcept {
    _last = near(ticks90k);
    return *_last;
}

}  // namespace qlx::streams::ts

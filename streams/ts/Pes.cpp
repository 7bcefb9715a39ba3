#include <qlx/streams/ts/pes.h>

#include "Admission.h"
#include "TsFinding.h"

#include <algorithm>
#include <utility>

namespace qlx::streams::ts {

namespace {

constexpr std::size_t kTimeBytes = 5;

/// 33 bits in three pieces, each with a marker bit behind it.
std::uint64_t timeOf(std::span<const std::uint8_t> bytes) {
    return (std::uint64_t{bytes[0]} >> 1U & 7U) << 30U | std::uint64_t{bytes[1]} << 22U |
           (std::uint64_t{bytes[2]} >> 1U) << 15U | std::uint64_t{bytes[3]} << 7U | std::uint64_t{bytes[4]} >> 1U;
}

void writeTime(std::uint64_t time, unsigned prefix, std::span<std::uint8_t> to) {
    to[0] = static_cast<std::uint8_t>(prefix << 4U | (time >> 30U & 7U) << 1U | 1U);
    to[1] = static_cast<std::uint8_t>(time >> 22U);
    to[2] = static_cast<std::uint8_t>((time >> 15U & 0x7FU) << 1U | 1U);
    to[3] = static_cast<std::uint8_t>(time >> 7U);
    to[4] = static_cast<std::uint8_t>((time & 0x7FU) << 1U | 1U);
}

}  // namespace

bool hasPesFlags(std::uint8_t streamId) noexcept {
    // Program stream map and directory, padding, private_stream_2, ECM, EMM, DSM-CC, H.222.1 type E.
    constexpr std::uint8_t kWithout[] = {0xBC, 0xBE, 0xBF, 0xF0, 0xF1, 0xF2, 0xF8, 0xFF};
    return std::find(std::begin(kWithout), std::end(kWithout), streamId) == std::end(kWithout);
}

Result<PesHeader> parsePesHeader(std::span<const std::uint8_t> bytes, std::size_t& headerBytes) {
    headerBytes = 0;
    const Finding wrong{FindingCode::TsPesWrong, Severity::Error, 0, static_cast<std::int64_t>(bytes.size()), 0};
    if (bytes.size() < kPesStartBytes || bytes[0] != 0 || bytes[1] != 0 || bytes[2] != 1) {
        return wrong;
    }
    PesHeader header;
    header.streamId = bytes[3];
    header.packetLength = static_cast<std::uint16_t>(bytes[4] << 8U | bytes[5]);
    if (!hasPesFlags(header.streamId)) {
        headerBytes = kPesStartBytes;
        return header;
    }
    constexpr std::size_t kPts = 9;
    if (bytes.size() < kPesHeaderBytes || bytes[6] >> 6U != 2 || bytes.size() < kPesHeaderBytes + bytes[8]) {
        return wrong;
    }
    header.scrambling = bytes[6] >> 4U & 3U;
    header.isAligned = (bytes[6] & 4U) != 0;
    header.headerLength = bytes[8];
    const bool hasPts = (bytes[7] & 0x80U) != 0;
    const bool hasDts = (bytes[7] & 0xC0U) == 0xC0U;
    if (hasPts && header.headerLength >= kTimeBytes) {
        header.pts = timeOf(bytes.subspan(kPts));
    }
    if (hasDts && header.headerLength >= 2 * kTimeBytes) {
        header.dts = timeOf(bytes.subspan(kPts + kTimeBytes));
    }
    headerBytes = kPesHeaderBytes + header.headerLength;
    return header;
}

std::size_t writePesHeader(const PesHeader& header, std::span<std::uint8_t> room) noexcept {
    const std::size_t times = (header.pts ? kTimeBytes : 0) + (header.pts && header.dts ? kTimeBytes : 0);
    const std::size_t length = std::max<std::size_t>(header.headerLength, times);
    if (!hasPesFlags(header.streamId) || room.size() < kPesHeaderBytes + length) {
        return 0;
    }
    room[0] = room[1] = 0;
    room[2] = 1;
    room[3] = header.streamId;
    room[4] = static_cast<std::uint8_t>(header.packetLength >> 8U);
    room[5] = static_cast<std::uint8_t>(header.packetLength);
    room[6] = static_cast<std::uint8_t>(0x80U | (header.scrambling & 3U) << 4U | (header.isAligned ? 4U : 0U));
    room[7] = header.pts && header.dts ? 0xC0 : header.pts ? 0x80 : 0;
    room[8] = static_cast<std::uint8_t>(length);
    std::fill_n(room.begin() + kPesHeaderBytes, length, std::uint8_t{0xFF});
    if (header.pts) {
        writeTime(*header.pts % kTimeBits, header.dts ? 3 : 2, room.subspan(kPesHeaderBytes));
    }
    if (header.pts && header.dts) {
        writeTime(*header.dts % kTimeBits, 1, room.subspan(kPesHeaderBytes + kTimeBytes));
    }
    return kPesHeaderBytes + length;
}

/// Bytes of the one that has begun; 0 when its length is not said, or not there yet.
std::size_t PesReader::wholeSize() const noexcept {
    if (_bytes.size() < kPesStartBytes) {
        return 0;
    }
    const std::size_t length = std::size_t{_bytes[4]} << 8U | _bytes[5];
    return length == 0 ? 0 : kPesStartBytes + length;
}

/// What there is becomes what next() gives.
void PesReader::endPacket() {
    if (!_isInside) {
        return;
    }
    _isInside = false;
    const std::size_t whole = wholeSize();
    const bool isWhole = _bytes.size() >= std::max(whole, kPesStartBytes);
    if (!isWhole) {
        detail::addFinding(_findings, FindingCode::TsPesCut, Severity::Error, _offset, _bytes.size(), whole);
    }
    if (isWhole || _options.givesCutOnes) {
        if (whole > 0 && _bytes.size() > whole) {
            _bytes.resize(whole);
        }
        std::swap(_ready, _bytes);
        _readyOffset = _offset;
        _isReady = true;
        _isReadyWhole = isWhole;
    }
    _bytes.clear();
}

void PesReader::take(std::span<const std::uint8_t> bytes) {
    // Its length stands in front.
    const std::size_t head = std::min(bytes.size(), kPesStartBytes - std::min(_bytes.size(), kPesStartBytes));
    _bytes.insert(_bytes.end(), bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(head));
    bytes = bytes.subspan(head);
    if (_bytes.size() + bytes.size() > _options.greatestSize) {
        const std::size_t whole = wholeSize();
        // Behind its end nothing else begins in a packet that says so.
        if (whole == 0 || whole > _options.greatestSize) {
            detail::addFinding(_findings, FindingCode::TsPesTooLong, Severity::Error, _offset,
                               _bytes.size() + bytes.size(), _options.greatestSize);
            _bytes.clear();
            _isInside = false;
            return;
        }
        bytes = bytes.first(_options.greatestSize - _bytes.size());
    }
    _bytes.insert(_bytes.end(), bytes.begin(), bytes.end());
    const std::size_t whole = wholeSize();
    if (whole > 0 && _bytes.size() >= whole && !_isReady) {
        endPacket();
    }
}

void PesReader::push(const PacketView& packet) {
    _isReady = false;
    if (!detail::admits(packet, _pid, _continuity, _unusable, _findings, [this] { endPacket(); })) {
        return;
    }
    if (packet.startsUnit) {
        endPacket();
        _isInside = true;
        _offset = packet.offset;
    }
    if (_isInside) {
        take(packet.payload);
    }
}

void PesReader::finish() {
    _isReady = false;
    _unusable.end(_findings);
    endPacket();
}

std::optional<PesView> PesReader::viewOf(std::span<const std::uint8_t> bytes, std::uint64_t offset, bool isWhole) {
    std::size_t headerBytes = 0;
    const Result<PesHeader> header = parsePesHeader(bytes, headerBytes);
    if (!header) {
        if (isWhole) {
            detail::addFinding(_findings, FindingCode::TsPesWrong, Severity::Error, offset, bytes.size());
        }
        return std::nullopt;
    }
    return PesView{offset, _pid.value_or(0), *header, isWhole, bytes.subspan(headerBytes)};
}

std::optional<PesView> PesReader::next() {
    if (_isReady) {
        _isReady = false;
        if (const auto view = viewOf(_ready, _readyOffset, _isReadyWhole)) {
            return view;
        }
    }
    // One that began and ended in the packet that ended the one before it.
    const std::size_t whole = _isInside ? wholeSize() : 0;
    if (whole > 0 && _bytes.size() >= whole) {
        endPacket();
        _isReady = false;
        return viewOf(_ready, _readyOffset, _isReadyWhole);
    }
    return std::nullopt;
}

}  // namespace qlx::streams::ts

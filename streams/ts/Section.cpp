#include <qlx/streams/ts/section.h>

#include "Admission.h"
#include "TsFinding.h"

#include <qlx/base/section_crc.h>

#include <algorithm>

namespace qlx::streams::ts {

namespace {

/// Bytes of the section that begins here; 0 when its length is not there.
std::size_t sectionSize(std::span<const std::uint8_t> bytes) {
    return bytes.size() < kSectionHeaderBytes
               ? 0
               : kSectionHeaderBytes + (std::size_t{bytes[1]} << 8U & 0x0F00U) + std::size_t{bytes[2]};
}

}  // namespace

void SectionReader::push(const PacketView& packet) {
    if (_isGiven) {
        _isGiven = false;
        _section.clear();
    }
    _place = _end = _start = 0;
    if (!detail::admits(packet, _pid, _continuity, _unusable, _findings, [this] { cut(); }) || packet.payload.empty()) {
        return;
    }
    _offset = packet.offset;
    std::copy(packet.payload.begin(), packet.payload.end(), _packet.begin());
    _end = packet.payload.size();
    if (packet.startsUnit) {
        _place = 1;
        _start = 1 + std::size_t{_packet[0]};
        if (_start > _end) {
            detail::addFinding(_findings, FindingCode::TsSectionWrong, Severity::Error, _offset, packet.pid, _start);
            cut();
            _place = _end;
        }
    } else if (!_isInside) {
        // The end of a section whose beginning nobody has seen.
        _place = _end;
    }
}

std::size_t SectionReader::missing() const noexcept {
    const std::size_t size = sectionSize(_section);
    return (size == 0 ? kSectionHeaderBytes : size) - _section.size();
}

bool SectionReader::hasCrc() const noexcept {
    const bool hasSyntax = (_section[1] & 0x80U) != 0;
    return _crc == SectionCrc::Always || (_crc == SectionCrc::BySyntax && hasSyntax);
}

/// What is missing of a section does not come.
void SectionReader::cut() {
    if (_isInside && !_section.empty()) {
        detail::addFinding(_findings, FindingCode::TsSectionCut, Severity::Error, _sectionOffset, _pid.value_or(0),
                           _section.size());
    }
    _section.clear();
    _isInside = false;
}

void SectionReader::finish() {
    if (_isGiven) {
        _isGiven = false;
        _section.clear();
    }
    cut();
    _unusable.end(_findings);
}

std::optional<SectionView> SectionReader::next() {
    if (_isGiven) {
        _isGiven = false;
        _section.clear();
    }
    while (_place < _end) {
        if (!_isInside) {
            _place = _start > 0 ? std::max(_place, _start) : _end;
            if (_place >= _end || _packet[_place] == kStuffingTableId) {
                _place = _end;
                break;
            }
            _isInside = true;
            _sectionOffset = _offset;
        }
        // What belongs to the section before the pointer ends there.
        const bool isBeforeStart = _place < _start;
        const std::size_t end = isBeforeStart ? _start : _end;
        const std::size_t count = std::min(missing(), end - _place);
        const auto from = _packet.begin() + static_cast<std::ptrdiff_t>(_place);
        _section.insert(_section.end(), from, from + static_cast<std::ptrdiff_t>(count));
        _place += count;
        const std::size_t size = sectionSize(_section);
        if (size > kGreatestSectionBytes) {
            detail::addFinding(_findings, FindingCode::TsSectionTooLong, Severity::Error, _sectionOffset,
                               _pid.value_or(0), size);
            _section.clear();
            _isInside = false;
            _place = isBeforeStart ? _start : _end;
            continue;
        }
        if (size > 0 && _section.size() == size) {
            SectionView view{_sectionOffset, _pid.value_or(0), true, _section};
            _isInside = false;
            _isGiven = true;
            if (hasCrc() && (size < kSectionHeaderBytes + kSectionCrcBytes || sectionCRC32(_section) != 0)) {
                view.isCrcRight = false;
                detail::addFinding(_findings, FindingCode::TsSectionCrcWrong, Severity::Error, _sectionOffset, view.pid,
                                   view.tableId());
            }
            return view;
        }
        if (isBeforeStart && _place == _start) {
            cut();
        }
    }
    return std::nullopt;
}

std::size_t PayloadWriter::addSections(std::span<const std::uint8_t> sections, std::vector<PacketBytes>& packets) {
    constexpr std::size_t kRoom = kPacketBytes - kHeaderBytes;
    std::array<std::uint8_t, kRoom> room{};
    std::size_t begin = 0;
    std::size_t end = 0;
    while (const std::size_t size = sectionSize(sections.subspan(end))) {
        if (size > sections.size() - end) {
            break;
        }
        end += size;
    }
    const std::size_t left = sections.size() - end;
    sections = sections.first(end);
    std::size_t nextStart = 0;
    while (begin < sections.size()) {
        const std::size_t distance = nextStart - begin;
        const bool isMore = nextStart < sections.size();
        const bool starts = isMore && distance < kRoom - 1;
        room.fill(0xFF);
        const std::size_t place = starts ? 1 : 0;
        if (starts) {
            room[0] = static_cast<std::uint8_t>(distance);
        }
        // A section that would begin with the last byte has no room for the pointer in front of it.
        std::span<std::uint8_t> payload(room);
        payload = isMore && !starts && distance < kRoom ? payload.first(distance) : payload;
        const std::size_t count = std::min(payload.size() - place, sections.size() - begin);
        std::copy_n(sections.begin() + static_cast<std::ptrdiff_t>(begin), count,
                    payload.begin() + static_cast<std::ptrdiff_t>(place));
        begin += count;
        while (nextStart < begin) {
            nextStart += sectionSize(sections.subspan(nextStart));
        }
        PacketHeader header;
        header.pid = _pid;
        header.continuity = _continuity;
        header.startsUnit = starts;
        (void)writePacket(header, payload, packets.emplace_back());
        _continuity = (_continuity + 1U) & 0x0FU;
    }
    return left;
}

void PayloadWriter::addPes(std::span<const std::uint8_t> pes, std::vector<PacketBytes>& packets,
                           std::optional<std::uint64_t> pcr) {
    PacketHeader header;
    header.pid = _pid;
    header.startsUnit = true;
    header.pcr = pcr;
    while (!pes.empty()) {
        header.continuity = _continuity;
        pes = pes.subspan(writePacket(header, pes, packets.emplace_back()));
        _continuity = (_continuity + 1U) & 0x0FU;
        header.startsUnit = false;
        header.pcr.reset();
    }
}

void PayloadWriter::addPcr(std::uint64_t pcr, std::vector<PacketBytes>& packets) {
    // The counter stays that of the last packet with payload.
    const auto last = static_cast<std::uint8_t>((_continuity + 15U) & 0x0FU);
    PacketHeader header;
    header.pid = _pid;
    header.continuity = last;
    header.pcr = pcr;
    (void)writePacket(header, {}, packets.emplace_back());
}

void appendSectionCrc(std::vector<std::uint8_t>& section) {
    const std::uint32_t crc = sectionCRC32(section);
    for (unsigned shift = 32; shift > 0; shift -= 8) {
        section.push_back(static_cast<std::uint8_t>(crc >> (shift - 8)));
    }
}

}  // namespace qlx::streams::ts

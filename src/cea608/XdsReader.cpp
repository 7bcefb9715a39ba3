// Packets of extended data services out of pairs, and back into pairs.
#include <qlx/cea608/xds.h>

#include "cea608/ByteKinds.h"
#include "cea608/XdsCodes.h"

#include <algorithm>
#include <numeric>

namespace qlx::cea608 {

namespace {

bool isType(std::uint8_t type) noexcept {
    return type > 0 && type < 0x80;
}

}  // namespace

std::optional<XdsPacket> XdsReader::receive(std::uint8_t first, std::uint8_t second, FindingSink* findings,
                                            std::uint64_t place) {
    if (!_options.ignoresParity) {
        _parity.take(first, second);
    }
    const auto code = static_cast<std::uint8_t>(first & 0x7FU);
    const bool isFirstSound = _options.ignoresParity || hasOddParity(first) || first == 0;
    const bool isSecondSound = _options.ignoresParity || hasOddParity(second) || second == 0;
    if (isFirstSound && code >= kFirstControl && code < kFirstCharacter) {
        _open = kNone;
        _isLost = false;
        return std::nullopt;
    }
    if (isFirstSound && code == kEndOfExtendedData) {
        return end(second, isSecondSound, findings, place);
    }
    if (isFirstSound && code > 0 && code < kEndOfExtendedData) {
        _open = kNone;
        _isLost = true;
        if (isSecondSound && isType(second & 0x7FU)) {
            begin(code, second & 0x7FU, findings, place);
        } else {
            reportLost({FindingCode::Cea608XdsDamaged, Severity::Error, place, code << 8U | second, 0}, findings);
        }
        return std::nullopt;
    }
    if (_open == kNone) {
        return std::nullopt;
    }
    Begun& open = _packets[_open];
    open.isDamaged = open.isDamaged || !isFirstSound || !isSecondSound;
    take(code, second & 0x7FU);
    return std::nullopt;
}

/// Odd codes begin a packet, even ones go on with one.
void XdsReader::begin(std::uint8_t code, std::uint8_t type, FindingSink* findings, std::uint64_t place) {
    const bool isStart = code % 2 != 0;
    const auto xdsClass = static_cast<XdsClass>((code - 1) / 2);
    std::size_t found = 0;
    while (found < _packets.size() && !(_packets[found].isUsed && _packets[found].packet.xdsClass == xdsClass &&
                                        _packets[found].packet.type == type)) {
        ++found;
    }
    if (!isStart) {
        _open = found;
        if (found == kNone) {
            reportLost({FindingCode::Cea608XdsNotBegun, Severity::Error, place, code, type}, findings);
        }
        return;
    }
    if (found == kNone) {
        const auto older = [](const Begun& left, const Begun& right) {
            return left.isUsed != right.isUsed ? !left.isUsed : left.age < right.age;
        };
        found = static_cast<std::size_t>(std::min_element(_packets.begin(), _packets.end(), older) - _packets.begin());
    }
    cut(_packets[found], findings, place);
    _packets[found] = {};
    Begun& begun = _packets[found];
    begun.packet.xdsClass = xdsClass;
    begun.packet.type = type;
    begun.sum = static_cast<std::uint8_t>(code + type);
    begun.isUsed = true;
    begun.age = ++_begun;
    _open = found;
}

/// Of a packet that is lost as a whole or in part; once, that parity bits are missing.
void XdsReader::reportLost(const Finding& finding, FindingSink* findings) {
    if (findings == nullptr) {
        return;
    }
    if (!_parity.hasNone()) {
        findings->add(finding);
    } else if (_parity.tell()) {
        findings->add({FindingCode::Cea608NoParity, Severity::Warning, finding.offset, ParityWatch::kPairs, 0});
    }
}

void XdsReader::cut(const Begun& begun, FindingSink* findings, std::uint64_t place) {
    if (begun.isUsed) {
        reportLost({FindingCode::Cea608XdsCut, Severity::Warning, place, nameOfPacket(begun.packet),
                    static_cast<std::int64_t>(begun.packet.bytes.size())},
                   findings);
    }
}

void XdsReader::finish(FindingSink* findings, std::uint64_t place) {
    std::sort(_packets.begin(), _packets.end(),
              [](const Begun& left, const Begun& right) { return left.age < right.age; });
    for (Begun& begun : _packets) {
        cut(begun, findings, place);
        begun = {};
    }
    _open = kNone;
    _isLost = false;
}

/// Nulls fill.
void XdsReader::take(std::uint8_t first, std::uint8_t second) {
    Begun& open = _packets[_open];
    for (const std::uint8_t byte : {first, second}) {
        if (byte == 0) {
            continue;
        }
        open.sum = static_cast<std::uint8_t>(open.sum + byte);
        open.isDamaged = open.isDamaged || byte < kFirstCharacter;
        open.isTooLong = !open.packet.bytes.append(std::span(&byte, 1)) || open.isTooLong;
    }
}

std::optional<XdsPacket> XdsReader::end(std::uint8_t checksum, bool isSound, FindingSink* findings,
                                        std::uint64_t place) {
    const auto add = [&](FindingCode code, std::int64_t first, std::int64_t second) {
        reportLost({code, Severity::Error, place, first, second}, findings);
    };
    if (_open == kNone) {
        // Of a packet whose beginning was damaged or is missing that has been said.
        if (!_isLost) {
            add(FindingCode::Cea608XdsNotBegun, kEndOfExtendedData, checksum & 0x7FU);
        }
        _isLost = false;
        return std::nullopt;
    }
    const Begun begun = _packets[_open];
    _packets[_open] = {};
    _open = kNone;
    const std::int64_t name = nameOfPacket(begun.packet);
    if (begun.isDamaged || !isSound) {
        add(FindingCode::Cea608XdsDamaged, name, static_cast<std::int64_t>(begun.packet.bytes.size()));
        return std::nullopt;
    }
    if (((begun.sum + kEndOfExtendedData + checksum) & 0x7F) != 0) {
        add(FindingCode::Cea608XdsChecksumWrong, checksum & 0x7F, -(begun.sum + kEndOfExtendedData) & 0x7F);
        return std::nullopt;
    }
    if (begun.isTooLong) {
        add(FindingCode::Cea608XdsTooLong, name, kGreatestXdsBytes);
        return std::nullopt;
    }
    return begun.packet;
}

void appendXdsPairs(const XdsPacket& packet, std::vector<Pair>& pairs) {
    const bool canBeSent = isType(packet.type) && packet.xdsClass <= XdsClass::PrivateData &&
                           std::all_of(packet.bytes.begin(), packet.bytes.end(),
                                       [](std::uint8_t byte) { return byte >= kFirstCharacter && byte < 0x80; });
    if (!canBeSent) {
        return;
    }
    pairs.push_back({startCode(packet), packet.type});
    for (std::size_t index = 0; index < packet.bytes.size(); index += 2) {
        pairs.push_back(
            {packet.bytes[index], index + 1 < packet.bytes.size() ? packet.bytes[index + 1] : std::uint8_t{0}});
    }
    const unsigned sum = std::accumulate(packet.bytes.begin(), packet.bytes.end(),
                                         unsigned{startCode(packet)} + packet.type + kEndOfExtendedData);
    pairs.push_back({kEndOfExtendedData, static_cast<std::uint8_t>(-sum & 0x7FU)});
}

Pair xdsContinuePair(const XdsPacket& packet) noexcept {
    return {static_cast<std::uint8_t>(startCode(packet) + 1), packet.type};
}

}  // namespace qlx::cea608

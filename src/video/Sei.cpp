#include <qlx/video/sei.h>

#include "base/MakeFinding.h"
#include "video/EmulationPrevention.h"

#include <algorithm>

namespace qlx::video {

namespace {

constexpr std::uint8_t kTrailingBits = 0x80;

}  // namespace

SeiWalker::SeiWalker(std::span<const std::uint8_t> unit, Codec codec, std::span<std::uint8_t> room,
                     FindingSink* findings)
    : _header(std::min(nalHeaderBytes(codec), unit.size())), _findings(findings), _isAtEnd(false) {
    unit = withoutTrailingZeros(unit);
    const auto payload = unit.subspan(std::min(_header, unit.size()));
    const std::size_t size = payload.size() <= room.size() ? 0 : sizeWithoutEmulationPrevention(payload);
    _bytes = withoutEmulationPrevention(payload, room);
    if (findings == nullptr) {
        return;
    }
    if (codec == Codec::H264 && !unit.empty() && nalRefIdc(unit.front()) != 0) {
        findings->add(makeFinding(FindingCode::VideoSeiReferenced, Severity::Remark, 0, nalRefIdc(unit.front()), 0));
    }
    if (size > room.size()) {
        findings->add(makeFinding(FindingCode::OutputTooSmall, Severity::Error, _header, size, room.size()));
    }
}

/// Reads a type or a size: FFh adds 255, and the next byte goes on.
bool SeiWalker::takeNumber(std::uint64_t& number) noexcept {
    constexpr std::uint8_t kMore = 0xFF;
    number = 0;
    while (_next < _bytes.size()) {
        const std::uint8_t byte = _bytes[_next++];
        number += byte;
        if (byte != kMore) {
            return true;
        }
    }
    return false;
}

/// Tells why nothing follows.
bool SeiWalker::endWith(FindingCode code, std::size_t first, std::size_t second) {
    const Severity severity = code == FindingCode::VideoSeiCut ? Severity::Error : Severity::Warning;
    if (_findings != nullptr) {
        _findings->add(makeFinding(code, severity, _header + _next, first, second));
    }
    _isAtEnd = true;
    return false;
}

bool SeiWalker::next(SeiMessageView& message) {
    const std::size_t left = _bytes.size() - _next;
    _isAtEnd = _isAtEnd || (left == 1 && _bytes[_next] == kTrailingBits);
    if (_isAtEnd) {
        return false;
    }
    if (left == 0) {
        return endWith(FindingCode::VideoSeiTrailingBits, 0, 0);
    }
    std::uint64_t type = 0;
    std::uint64_t size = 0;
    if (!takeNumber(type) || !takeNumber(size)) {
        return endWith(FindingCode::VideoSeiCut, 0, left);
    }
    if (size > _bytes.size() - _next) {
        return endWith(FindingCode::VideoSeiCut, static_cast<std::size_t>(size), _bytes.size() - _next);
    }
    message = {static_cast<std::uint32_t>(std::min<std::uint64_t>(type, UINT32_MAX)), _header + _next,
               _bytes.subspan(_next, static_cast<std::size_t>(size))};
    _next += static_cast<std::size_t>(size);
    return true;
}

}  // namespace qlx::video

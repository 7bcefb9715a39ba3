#include <qlx/video/nal.h>

#include "base/MakeFinding.h"
#include "video/EmulationPrevention.h"
#include "video/VideoStreamKernels.h"

namespace qlx::video {

std::size_t findStartCode(std::span<const std::uint8_t> bytes, std::size_t from) noexcept {
    if (bytes.size() < kStartCodeBytes || from > bytes.size() - kStartCodeBytes) {
        return bytes.size();
    }
    const std::size_t end = bytes.size() - kStartCodeBytes + 1;
    const std::size_t place = videostream::kernels().findStartCode(bytes.data(), from, end);
    return place == end ? bytes.size() : place;
}

bool StartCodeWalker::next(UnitView& unit) noexcept {
    while (_next < _bytes.size()) {
        const std::size_t begin = _next + kStartCodeBytes;
        _next = findStartCode(_bytes, begin);
        if (_next > begin) {
            unit = {begin, _bytes.subspan(begin, _next - begin)};
            return true;
        }
    }
    return false;
}

std::span<std::uint8_t> withoutEmulationPrevention(std::span<const std::uint8_t> unit,
                                                   std::span<std::uint8_t> room) noexcept {
    std::size_t size = 0;
    forEachWithoutPrevention(unit, [&](std::uint8_t byte) {
        if (size == room.size()) {
            return false;
        }
        room[size++] = byte;
        return true;
    });
    return room.first(size);
}

Result<std::size_t> parseLengthBytes(std::span<const std::uint8_t> configuration, Codec codec) {
    constexpr std::uint8_t kVersion = 1;
    // lengthSizeMinusOne stands in the low bits of one byte, parameter sets behind it.
    const std::size_t place = codec == Codec::H265 ? 21 : 4;
    const std::size_t header = codec == Codec::H265 ? 23 : 7;
    if (configuration.size() < header) {
        return makeFinding(FindingCode::VideoUnitTooShort, Severity::Error, 0, header, configuration.size());
    }
    if (configuration.front() != kVersion) {
        return makeFinding(FindingCode::VideoConfigurationWrong, Severity::Error, 0, configuration.front(), kVersion);
    }
    return std::size_t{1} + (configuration[place] & 3U);
}

bool LengthPrefixedWalker::next(UnitView& unit) {
    const auto rest = _bytes.subspan(_next);
    if (rest.size() <= _lengthBytes) {
        if (!rest.empty() && _findings != nullptr) {
            _findings->add(
                makeFinding(FindingCode::VideoLengthCut, Severity::Warning, _next, _lengthBytes, rest.size()));
        }
        _next = _bytes.size();
        return false;
    }
    std::size_t length = 0;
    for (const std::uint8_t byte : rest.first(_lengthBytes)) {
        length = length << 8U | byte;
    }
    const std::size_t there = std::min(length, rest.size() - _lengthBytes);
    unit = {_next + _lengthBytes, rest.subspan(_lengthBytes, there)};
    if (_findings != nullptr && (length == 0 || there < length)) {
        _findings->add(length == 0 ? makeFinding(FindingCode::VideoUnitEmpty, Severity::Warning, _next)
                                   : makeFinding(FindingCode::VideoUnitCut, Severity::Warning, _next, length, there));
    }
    _next += _lengthBytes + there;
    return true;
}

}  // namespace qlx::video

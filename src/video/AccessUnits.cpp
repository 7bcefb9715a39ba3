#include <qlx/video/access_unit.h>
#include <qlx/video/h264.h>
#include <qlx/video/hevc.h>
#include <qlx/video/mpeg2.h>

#include "base/MakeFinding.h"

#include <algorithm>

namespace qlx::video {

namespace {

// A start code, a header of up to two bytes that says what it is, and the byte in which a slice header begins.
constexpr std::size_t kLookAhead = kStartCodeBytes + 3;
// At the end of the stream a start code needs one byte behind it.
constexpr std::size_t kFewestAtEnd = kStartCodeBytes + 1;

}  // namespace

bool hasVideoParameters(std::span<const std::uint8_t> bytes) {
    const auto isSequenceHeader = [](std::span<const std::uint8_t> unit) {
        constexpr std::size_t kNeeded = 8;
        constexpr unsigned kGreatestRate = 8;
        constexpr unsigned kMarker = 0x20;
        return unit.size() >= kNeeded && unit[0] == kMpeg2Sequence && (unit[1] != 0 || unit[2] >> 4U != 0) &&
               ((unit[2] & 15U) != 0 || unit[3] != 0) && unit[4] >> 4U != 0 && unit[4] >> 4U != 15 &&
               (unit[4] & 15U) != 0 && (unit[4] & 15U) <= kGreatestRate && (unit[7] & kMarker) != 0;
    };
    constexpr unsigned kForbiddenBit = 0x80;
    for (const UnitView& view : StartCodeUnits(bytes)) {
        const std::span<const std::uint8_t> unit = view.bytes;
        if ((unit[0] & kForbiddenBit) != 0) {
            if (isSequenceHeader(unit)) {
                return true;
            }
        } else if (nalUnitType(unit[0], Codec::H264) == kH264SequenceParameters && nalRefIdc(unit[0]) != 0) {
            if (parseH264Sequence(unit.subspan(1))) {
                return true;
            }
        } else if (unit.size() > 2 && nalUnitType(unit[0], Codec::H265) == kH265SequenceParameters && unit[1] == 1) {
            if (parseH265Sequence(unit.subspan(2))) {
                return true;
            }
        }
    }
    return false;
}

void AccessUnitReader::fail(FindingCode code, std::uint64_t offset, std::uint64_t first, std::uint64_t second) {
    _error = makeFinding(code, Severity::Error, offset, first, second);
}

void AccessUnitReader::push(std::span<const std::uint8_t> bytes) {
    if (_error) {
        return;
    }
    if (!_isInUnit) {
        // Nothing is kept of what stands in front of the first unit but what may be the beginning of a start code.
        _begin = _position > 0 ? _position - 1 : 0;
    }
    _offset = offsetOf(_begin);
    _bytes.erase(_bytes.begin(), _bytes.begin() + static_cast<std::ptrdiff_t>(_begin));
    _position -= _begin;
    _begin = 0;
    bytes = _budget.take(bytes);
    _bytes.insert(_bytes.end(), bytes.begin(), bytes.end());
}

/// Whether what is read may end at `end`, or behind it; what is too long is told the same however it was pushed.
bool AccessUnitReader::allows(std::size_t end) {
    const std::uint64_t begin = _isInUnit ? offsetOf(_begin) : 0;
    if (offsetOf(end) - begin <= _options.greatest) {
        return true;
    }
    fail(_isInUnit ? FindingCode::VideoUnitTooLong : FindingCode::VideoStartCodeMissing, begin,
         std::uint64_t{_options.greatest} + 1, _options.greatest);
    return false;
}

/// The next start code of which enough is there to tell what it begins; none at the end of what there is.
std::optional<std::size_t> AccessUnitReader::nextStartCode() {
    const std::size_t needed = _isFinished ? kFewestAtEnd : kLookAhead;
    if (_position + needed > _bytes.size()) {
        return std::nullopt;
    }
    // Only start codes with as many bytes from them on are looked for.
    const auto searched = std::span<const std::uint8_t>(_bytes).first(_bytes.size() - needed + kStartCodeBytes);
    const std::size_t place = findStartCode(searched, _position);
    if (place < searched.size()) {
        return place;
    }
    _position = searched.size() - kStartCodeBytes + 1;
    return std::nullopt;
}

/// Whether the stream is one that is read.
bool AccessUnitReader::chooseCodec(std::size_t startCode) {
    if (!_codec) {
        const auto behind = std::span<const std::uint8_t>(_bytes).subspan(startCode + kStartCodeBytes);
        _codec = codecOfStartCode(behind);
        if (!_codec) {
            fail(FindingCode::VideoSystemStartCode, offsetOf(startCode), behind[0], 0);
        }
    }
    return _codec.has_value();
}

bool AccessUnitReader::beginsH264(std::size_t startCode) {
    constexpr unsigned kFirstReserved = 15;
    constexpr unsigned kLastReserved = 18;
    const unsigned type = nalUnitType(byteAt(startCode + kStartCodeBytes), Codec::H264);
    const bool hadPicture = _hasPicture;
    if (type >= kH264Slice && type <= kH264IdrSlice) {
        _hasPicture = true;
        // first_mb_in_slice is 0, which one set bit codes: a new picture. Partitions B and C go with their A.
        const bool isFirstSlice = (byteAt(startCode + kStartCodeBytes + 1) & 0x80U) != 0;
        return hadPicture && isFirstSlice && (type == kH264Slice || type == kH264PartitionA || type == kH264IdrSlice);
    }
    const bool canBegin =
        (type >= kH264Sei && type <= kH264PictureParameters) || (type >= kFirstReserved && type <= kLastReserved);
    const bool begins = type == kH264AccessUnitDelimiter || (canBegin && hadPicture);
    _hasPicture = hadPicture && !begins;
    return begins;
}

bool AccessUnitReader::beginsH265(std::size_t startCode) {
    constexpr unsigned kFirstReserved = 41;
    constexpr unsigned kLastReserved = 44;
    constexpr unsigned kFirstUnspecified = 48;
    constexpr unsigned kLastUnspecified = 55;
    const unsigned type = nalUnitType(byteAt(startCode + kStartCodeBytes), Codec::H265);
    const bool hadPicture = _hasPicture;
    if (type <= kH265LastSlice) {
        _hasPicture = true;
        // first_slice_segment_in_pic_flag
        return hadPicture && (byteAt(startCode + kStartCodeBytes + 2) & 0x80U) != 0;
    }
    const bool canBegin = (type >= kH265VideoParameters && type <= kH265AccessUnitDelimiter) ||
                          type == kH265PrefixSei || (type >= kFirstReserved && type <= kLastReserved) ||
                          (type >= kFirstUnspecified && type <= kLastUnspecified);
    const bool begins = canBegin && hadPicture;
    _hasPicture = hadPicture && !begins;
    return begins;
}

/// Whether a new access unit begins with the start code at `startCode`; also notes pictures.
bool AccessUnitReader::beginsUnit(std::size_t startCode) {
    if (_codec == Codec::H264) {
        return beginsH264(startCode);
    }
    if (_codec == Codec::H265) {
        return beginsH265(startCode);
    }
    const std::uint8_t code = byteAt(startCode + kStartCodeBytes);
    const bool hadPicture = _hasPicture;
    const bool canBegin = code == kMpeg2Picture || code == kMpeg2Sequence || code == kMpeg2Group;
    _hasPicture = code == kMpeg2Picture || (hadPicture && !canBegin);
    return canBegin && hadPicture;
}

/// Gives the current unit, which ends in front of `end`, where the next one begins.
AccessUnitView AccessUnitReader::give(std::size_t end) {
    const AccessUnitView unit{_units++, offsetOf(_begin),
                              std::span<const std::uint8_t>(_bytes).subspan(_begin, end - _begin)};
    _begin = end;
    return unit;
}

std::optional<AccessUnitView> AccessUnitReader::next() {
    std::optional<AccessUnitView> unit = nextUnit();
    if (unit && _budget.takeItem()) {
        return unit;
    }
    if (const auto finding = _budget.takeFinding(offsetOf(_begin)); finding && !_error) {
        _error = finding;
    }
    return std::nullopt;
}

std::optional<AccessUnitView> AccessUnitReader::nextUnit() {
    while (!_error) {
        const std::optional<std::size_t> startCode = nextStartCode();
        if (!startCode) {
            // The next one may begin with the zero byte in front of what has not been searched.
            (void)allows(std::max(_position, _begin + 1) - 1);
            break;
        }
        _position = *startCode + kStartCodeBytes;
        // The zero byte that may stand in front of a start code belongs to it.
        const std::size_t begin = *startCode > _begin && _bytes[*startCode - 1] == 0 ? *startCode - 1 : *startCode;
        if (!_isInUnit) {
            if (!allows(begin) || !chooseCodec(*startCode)) {
                break;
            }
            _isInUnit = true;
            _begin = begin;
            (void)beginsUnit(*startCode);
        } else if (beginsUnit(*startCode)) {
            return allows(begin) ? std::optional(give(begin)) : std::nullopt;
        }
    }
    if (_error || !_isFinished || _budget.isCut()) {
        return std::nullopt;
    }
    if (_begin < _bytes.size() && !allows(_bytes.size())) {
        return std::nullopt;
    }
    if (_isInUnit && _begin < _bytes.size()) {
        return give(_bytes.size());
    }
    if (!_isInUnit && offsetOf(_bytes.size()) > 0) {
        fail(FindingCode::VideoStartCodeMissing, 0, offsetOf(_bytes.size()), _options.greatest);
    }
    return std::nullopt;
}

}  // namespace qlx::video

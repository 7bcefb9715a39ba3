#include "streams/VideoStream.h"

#include "io/Errors.h"
#include "io/Text.h"

#include <cstring>
#include <string>

namespace qlx::tool {

namespace {

constexpr std::size_t kReadChunk = std::size_t{256} * 1024;
constexpr std::size_t kStartCode = 3;
// A start code, the byte behind it that says what it is, and the one in which an H.264 slice header begins.
constexpr std::size_t kLookAhead = kStartCode + 2;

/// A stream that was cut out of something else may begin anywhere; what is longer than this without a start code is none.
constexpr std::uint64_t kLongestBeginning = std::uint64_t{64} * 1024 * 1024;
constexpr std::string_view kNoVideo = "this is neither H.264 in Annex B form nor MPEG-2 video";

// MPEG-2 start codes (ISO/IEC 13818-2).
constexpr std::uint8_t kPicture = 0x00;
constexpr std::uint8_t kSequenceHeader = 0xB3;
constexpr std::uint8_t kGroupOfPictures = 0xB8;
// From here on start codes belong to a multiplex (ISO/IEC 13818-1), which transport and program streams contain.
constexpr std::uint8_t kFirstSystemCode = 0xB9;

// H.264 NAL unit types.
constexpr unsigned kSlice = 1;
constexpr unsigned kSlicePartitionA = 2;
constexpr unsigned kIdrSlice = 5;
constexpr unsigned kSei = 6;
constexpr unsigned kPictureParameterSet = 8;
constexpr unsigned kAccessUnitDelimiter = 9;
constexpr unsigned kFirstReserved = 15;
constexpr unsigned kLastReserved = 18;

}  // namespace

std::string_view nameOf(VideoCodec codec) noexcept {
    return codec == VideoCodec::H264 ? "H.264" : "MPEG-2";
}

/// Reads more behind what there is; false when the end was known before.
bool AccessUnitReader::fill() {
    if (_isAtEnd) {
        return false;
    }
    if (!_isInUnit) {
        if (_source.offset() > kLongestBeginning) {
            throw failureAtByte(_source.name(), 0,
                                "no start code (00 00 01) in the first 64 MiB: " + std::string(kNoVideo));
        }
        // Nothing is kept of what stands in front of the first unit but what may be the beginning of a start code.
        _begin = _position > 0 ? _position - 1 : 0;
    }
    if (_bytes.size() - _begin > kLongestAccessUnit) {
        throw failureAtByte(_source.name(), _source.offset() - (_bytes.size() - _begin),
                            "access unit of more than 64 MiB: this is no " + std::string(nameOf(codec())) + " stream");
    }
    _bytes.erase(_bytes.begin(), _bytes.begin() + static_cast<std::ptrdiff_t>(_begin));
    _position -= _begin;
    _begin = 0;
    const std::size_t had = _bytes.size();
    _bytes.resize(had + kReadChunk);
    const std::size_t got = _source.read(std::span(_bytes).subspan(had));
    _bytes.resize(had + got);
    _isAtEnd = got < kReadChunk;
    return true;
}

/// The next start code of which enough is there to tell what it begins; none at the end of what has been read.
std::optional<std::size_t> AccessUnitReader::findStartCode() {
    const std::size_t needed = _isAtEnd ? kStartCode + 1 : kLookAhead;
    while (_position + needed <= _bytes.size()) {
        // Ones are rare enough to be looked for by what looks at many bytes at once.
        const std::uint8_t* const begin = _bytes.data() + _position + 2;
        const std::size_t count = _bytes.size() - needed - _position + 1;
        const void* const one = std::memchr(begin, 1, count);
        if (one == nullptr) {
            _position += count;
            break;
        }
        _position += static_cast<std::size_t>(static_cast<const std::uint8_t*>(one) - begin);
        if (_bytes[_position] == 0 && _bytes[_position + 1] == 0) {
            return _position;
        }
        ++_position;
    }
    return std::nullopt;
}

void AccessUnitReader::chooseCodec(std::uint8_t code, std::size_t position) {
    if (_codec) {
        return;
    }
    if (code >= kFirstSystemCode) {
        throw failureAtByte(_source.name(), _source.offset() - (_bytes.size() - position),
                            "start code " + hex(std::span(&code, 1)) +
                                " of a transport or program stream: an elementary video stream is needed");
    }
    // The header of an H.264 NAL unit has its highest bit clear, and type 0 is not used.
    _codec = code == kPicture || code >= 0x80 ? VideoCodec::Mpeg2 : VideoCodec::H264;
}

/// Whether a new access unit begins with the start code at `startCode`; also notes pictures.
bool AccessUnitReader::beginsUnit(std::size_t startCode) {
    const std::uint8_t code = byteAt(startCode + kStartCode);
    const bool hadPicture = _hasPicture;
    if (_codec == VideoCodec::Mpeg2) {
        const bool canBegin = code == kPicture || code == kSequenceHeader || code == kGroupOfPictures;
        _hasPicture = code == kPicture || (hadPicture && !canBegin);
        return canBegin && hadPicture;
    }
    const unsigned type = code & 0x1FU;
    if (type >= kSlice && type <= kIdrSlice) {
        _hasPicture = true;
        // first_mb_in_slice is 0, which one set bit codes: a new picture. Partitions B and C go with their A.
        const bool isFirstSlice = (byteAt(startCode + kStartCode + 1) & 0x80U) != 0;
        return hadPicture && isFirstSlice && (type == kSlice || type == kSlicePartitionA || type == kIdrSlice);
    }
    const bool canBegin =
        (type >= kSei && type <= kPictureParameterSet) || (type >= kFirstReserved && type <= kLastReserved);
    const bool begins = type == kAccessUnitDelimiter || (canBegin && hadPicture);
    _hasPicture = hadPicture && !begins;
    return begins;
}

/// Gives the current unit, which ends in front of `end`, where the next one begins.
void AccessUnitReader::give(AccessUnit& unit, std::size_t end) {
    unit.number = _units++;
    unit.offset = _source.offset() - (_bytes.size() - _begin);
    unit.bytes.assign(_bytes.begin() + static_cast<std::ptrdiff_t>(_begin),
                      _bytes.begin() + static_cast<std::ptrdiff_t>(end));
    _begin = end;
}

bool AccessUnitReader::next(AccessUnit& unit) {
    for (;;) {
        const std::optional<std::size_t> startCode = findStartCode();
        if (!startCode) {
            if (fill()) {
                continue;
            }
            if (!_isInUnit) {
                throw failureAtByte(_source.name(), 0,
                                    _source.offset() == 0 ? "the file is empty"
                                                          : "no start code (00 00 01): " + std::string(kNoVideo));
            }
            if (_begin == _bytes.size()) {
                return false;
            }
            give(unit, _bytes.size());
            return true;
        }
        _position = *startCode + kStartCode;
        // The zero byte that may stand in front of a start code belongs to it.
        const std::size_t begin = *startCode > _begin && _bytes[*startCode - 1] == 0 ? *startCode - 1 : *startCode;
        if (!_isInUnit) {
            chooseCodec(byteAt(_position), *startCode);
            _isInUnit = true;
            _begin = begin;
            (void)beginsUnit(*startCode);
        } else if (beginsUnit(*startCode)) {
            give(unit, begin);
            return true;
        }
    }
}

}  // namespace qlx::tool

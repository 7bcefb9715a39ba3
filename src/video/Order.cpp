#include <qlx/video/mpeg2.h>
#include <qlx/video/order.h>

#include "base/MakeFinding.h"
#include "video/BitReader.h"
#include "video/H264Slice.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <numeric>
#include <utility>

namespace qlx::video {

namespace {

constexpr std::int64_t kTemporalReferences = 1024;

// Counts of H.264 may be below those of the picture that begins them: as far as a counter of 16 bits reaches back.
constexpr std::int64_t kLongestLeadOfH264 = 1 << 15;

void skipScalingList(BitReader& reader, unsigned size) {
    std::int64_t last = 8;
    std::int64_t next = 8;
    for (unsigned index = 0; index < size && !reader.hasFailed(); ++index) {
        if (next != 0) {
            next = (last + reader.signedNumber() + 256) % 256;
        }
        last = next == 0 ? last : next;
    }
}

/// The part that only the high profiles have.
void readHighProfile(BitReader& reader, H264Sequence& sequence) {
    constexpr std::uint32_t kAllColours = 3;
    const std::uint32_t chromaFormat = reader.number();
    if (chromaFormat == kAllColours) {
        sequence.hasColourPlanes = reader.bits(1) != 0;
    }
    sequence.hasChroma = chromaFormat != 0 && !sequence.hasColourPlanes;
    reader.skipNumber();
    reader.skipNumber();
    reader.skip(1);
    if (reader.bits(1) != 0) {
        const unsigned lists = chromaFormat == kAllColours ? 12 : 8;
        for (unsigned list = 0; list < lists; ++list) {
            if (reader.bits(1) != 0) {
                skipScalingList(reader, list < 6 ? 16 : 64);
            }
        }
    }
}

/// What only picture order counts of type 1 have; false when there is more than there may be.
bool readCycle(BitReader& reader, H264Sequence& sequence) {
    sequence.hasNoOrderDeltas = reader.bits(1) != 0;
    sequence.nonReferenceOffset = reader.signedNumber();
    sequence.bottomOffset = reader.signedNumber();
    bool hasRoom = true;
    for (std::uint32_t count = reader.number(); count > 0 && hasRoom && !reader.hasFailed(); --count) {
        const std::int64_t offset = reader.signedNumber();
        hasRoom = sequence.cycleOffsets.append(std::span(&offset, 1));
    }
    return hasRoom;
}

constexpr std::uint32_t kMostCounterBits = 16;

/// How wide a counter is, coded less 4; a number that is wrong gives more than kMostCounterBits.
std::uint32_t readCounterBits(BitReader& reader) {
    return std::min(reader.number(), kMostCounterBits) + 4;
}

constexpr std::array<std::uint32_t, 13> kHighProfiles{100, 110, 122, 244, 44, 83, 86, 118, 128, 138, 139, 134, 135};

}  // namespace

Result<H264Sequence> parseH264Sequence(std::span<const std::uint8_t> payload) {
    BitReader reader(payload);
    H264Sequence sequence;
    const std::uint32_t profile = reader.bits(8);
    reader.skip(16);
    sequence.number = reader.number();
    if (std::find(kHighProfiles.begin(), kHighProfiles.end(), profile) != kHighProfiles.end()) {
        readHighProfile(reader, sequence);
    }
    sequence.frameNumberBits = readCounterBits(reader);
    sequence.orderType = reader.number();
    bool hasRoom = true;
    if (sequence.orderType == 0) {
        sequence.orderBits = readCounterBits(reader);
    } else if (sequence.orderType == 1) {
        hasRoom = readCycle(reader, sequence);
    }
    reader.skipNumber();
    reader.skip(1);
    reader.skipNumber();
    reader.skipNumber();
    sequence.hasFramesOnly = reader.bits(1) != 0;
    if (reader.hasFailed() || !hasRoom || sequence.frameNumberBits > kMostCounterBits ||
        sequence.orderBits > kMostCounterBits || sequence.number >= detail::kH264Sequences) {
        return makeFinding(FindingCode::VideoParametersWrong, Severity::Error, 0, kH264SequenceParameters,
                           payload.size());
    }
    return sequence;
}

void PictureCount::beginAnew() noexcept {
    _base = _greatest + 1;
    _high = 0;
    _low = 0;
}

std::int64_t PictureCount::temporalPlace(std::int64_t reference) {
    if (reference < _low - kTemporalReferences / 2) {
        _high += kTemporalReferences;
    } else if (reference > _low + kTemporalReferences / 2 && _high > 0) {
        return _base + _high - kTemporalReferences + reference;
    }
    _low = reference;
    return _base + _high + reference;
}

std::optional<std::int64_t> PictureCount::mpeg2Place(std::span<const std::uint8_t> unit) {
    std::optional<std::int64_t> reference;
    bool begins = false;
    bool isBehindHeader = false;
    for (const UnitView& part : StartCodeUnits(unit)) {
        const std::uint8_t code = part.bytes[0];
        if (reference && code == kMpeg2Picture) {
            // The sample of a container may have both fields.
            _field.reset();
        } else if (reference && std::exchange(isBehindHeader, false) && code == kMpeg2Extension) {
            // The coding extension of a picture stands right behind its header (6.2.3).
            const Result<Mpeg2PictureCoding> coding = parseMpeg2PictureCoding(part.bytes);
            if (coding && coding->structure != Mpeg2PictureStructure::Frame) {
                _field = {coding->structure == Mpeg2PictureStructure::BottomField, *reference, !begins};
            }
        }
        if (reference && !_field) {
            break;
        }
        if (!reference && code == kMpeg2Group) {
            beginAnew();
            begins = true;
        } else if (!reference && code == kMpeg2Picture) {
            const Result<Mpeg2PictureHeader> header = parseMpeg2Picture(part.bytes);
            reference = header ? std::optional<std::int64_t>(header->temporalReference) : std::nullopt;
            isBehindHeader = true;
        }
    }
    return reference ? std::optional(temporalPlace(*reference)) : std::nullopt;
}

/// The turns that a counter in the headers has passed when its value is `low`: the nearest to the last one.
std::int64_t PictureCount::unwrapped(std::int64_t low, std::uint32_t bits) const noexcept {
    const std::int64_t turn = std::int64_t{1} << bits;
    if (low < _low && _low - low >= turn / 2) {
        return _high + turn;
    }
    return low > _low && low - _low > turn / 2 ? _high - turn : _high;
}

/// The picture order count of type 1 (8.2.1.2): the sum of the offsets of the frames that it counts. None where a damaged
/// stream makes it greater than it may be.
std::optional<std::int64_t> PictureCount::cycleCount(const H264Sequence& sequence,
                                                     const detail::H264Slice& slice) noexcept {
    if (slice.frameNumber < _low) {
        _high += std::int64_t{1} << sequence.frameNumberBits;
    }
    _low = slice.frameNumber;
    const std::span<const std::int64_t> offsets = sequence.cycleOffsets.items();
    constexpr std::int64_t kGreatest = (std::int64_t{1} << 31U) - 1;
    const std::int64_t bottomDelta = sequence.bottomOffset + slice.deltas[1];
    std::int64_t count = slice.deltas[0] + (slice.isReference ? 0 : sequence.nonReferenceOffset);
    count += slice.isBottom ? sequence.bottomOffset : slice.isField ? 0 : std::min<std::int64_t>(bottomDelta, 0);
    const std::int64_t frames = offsets.empty() ? 0 : _high + slice.frameNumber - (slice.isReference ? 0 : 1);
    if (frames > 0) {
        const auto length = static_cast<std::int64_t>(offsets.size());
        const std::int64_t cycle = std::accumulate(offsets.begin(), offsets.end(), std::int64_t{0});
        const std::int64_t cycles = (frames - 1) / length;
        if (cycle != 0 && cycles > 2 * kGreatest / std::abs(cycle)) {
            return std::nullopt;
        }
        const auto begun = offsets.first(static_cast<std::size_t>((frames - 1) % length + 1));
        count += cycles * cycle + std::accumulate(begun.begin(), begun.end(), std::int64_t{0});
    }
    return count > kGreatest ? std::nullopt : std::optional(count);
}

/// The picture order count of type 0 (8.2.1.1).
std::int64_t PictureCount::turnedCount(const H264Sequence& sequence, const detail::H264Slice& slice) noexcept {
    const std::int64_t high = unwrapped(slice.orderLow, sequence.orderBits);
    if (slice.isReference) {
        _high = high;
        _low = slice.orderLow;
    }
    return high + slice.orderLow + std::min<std::int64_t>(slice.deltas[0], 0);
}

/// The parameters of a slice's sequence; null where they, or those of its picture, are missing.
/// @param slice With the NAL unit header, as below.
const H264Sequence* PictureCount::sequenceOf(std::span<const std::uint8_t> slice) const {
    const auto picture = _pictures.find(detail::pictureOfSlice(slice));
    const auto found = picture == _pictures.end() ? _sequences.end() : _sequences.find(picture->second.sequence);
    return found == _sequences.end() ? nullptr : &found->second;
}

std::optional<detail::H264Slice> PictureCount::headerOf(std::span<const std::uint8_t> slice) const {
    const H264Sequence* const sequence = sequenceOf(slice);
    return sequence == nullptr
               ? std::nullopt
               : detail::parseH264Slice(slice, *sequence, _pictures.find(detail::pictureOfSlice(slice))->second);
}

/// A slice's picture order count in its sequence; none where the pictures are presented as they stand, or the parameters
/// are missing.
std::optional<std::int64_t> PictureCount::slicePlace(std::span<const std::uint8_t> slice) {
    const bool isIdr = nalUnitType(slice[0], Codec::H264) == kH264IdrSlice;
    if (isIdr) {
        beginAnew();
    }
    const std::optional<detail::H264Slice> header = headerOf(slice);
    _lacksParameters = sequenceOf(slice) == nullptr;
    if (!header) {
        return std::nullopt;
    }
    const H264Sequence& sequence = *sequenceOf(slice);
    if (header->isField) {
        _field = {header->isBottom, header->beginsAnew ? 0 : header->frameNumber, !isIdr && !header->beginsAnew};
    }
    std::optional<std::int64_t> count;
    if (header->beginsAnew) {
        beginAnew();
        count = 0;
        // A bottom field that is the first to be presented leaves the top field behind it.
        const bool isType0Frame = sequence.orderType == 0 && !header->isField;
        _low = isType0Frame ? std::max<std::int64_t>(-header->deltas[0], 0) : 0;
    } else if (sequence.orderType == 0) {
        count = turnedCount(sequence, *header);
    } else if (sequence.orderType == 1) {
        count = cycleCount(sequence, *header);
    }
    if (!count || sequence.orderType > 1) {
        return std::nullopt;
    }
    return _base + std::max<std::int64_t>(kLongestLeadOfH264 + *count, 0);
}

/// Takes a unit, with its header, where it is a parameter set.
void PictureCount::takeH264Parameters(std::span<const std::uint8_t> unit) {
    const unsigned type = unit.empty() ? 0 : nalUnitType(unit[0], Codec::H264);
    if (type == kH264SequenceParameters) {
        if (const Result<H264Sequence> sequence = parseH264Sequence(unit.subspan(1))) {
            _sequences[sequence->number] = *sequence;
        }
    } else if (type == kH264PictureParameters) {
        if (const Result<H264Picture> picture = parseH264Picture(unit.subspan(1))) {
            _pictures[picture->number] = *picture;
        }
    }
}

template <class Units>
std::optional<std::int64_t> PictureCount::h264Place(const Units& units) {
    std::optional<std::int64_t> place;
    bool hasPicture = false;
    for (const UnitView& unit : units) {
        const unsigned type = unit.bytes.empty() ? 0 : nalUnitType(unit.bytes[0], Codec::H264);
        // All of them begin with a slice header; partitions B and C do not.
        const bool isSlice = type == kH264Slice || type == kH264PartitionA || type == kH264IdrSlice;
        if (isSlice && hasPicture) {
            // The sample of a container may have both fields.
            const std::optional<detail::H264Slice> header = headerOf(unit.bytes);
            if (header && header->isBottom != _field->isBottom) {
                _field.reset();
            }
        } else if (isSlice) {
            place = slicePlace(unit.bytes);
            hasPicture = true;
        } else if (!hasPicture) {
            takeH264Parameters(unit.bytes);
        }
        if (hasPicture && !_field) {
            break;
        }
    }
    return place;
}

void PictureCount::takeConfiguration(std::span<const std::uint8_t> configuration) {
    if (_form.codec != Codec::H264 || !parseLengthBytes(configuration, Codec::H264)) {
        return;
    }
    constexpr std::size_t kCounts = 5;
    std::size_t place = kCounts;
    // First sequence parameter sets, whose number has five bits, then picture parameter sets, each behind its length.
    for (const unsigned mask : {0x1FU, 0xFFU}) {
        if (place >= configuration.size()) {
            return;
        }
        for (unsigned rest = configuration[place++] & mask; rest > 0; --rest) {
            if (configuration.size() - place < 2) {
                return;
            }
            const std::size_t size = std::size_t{configuration[place]} << 8U | configuration[place + 1];
            if (configuration.size() - place - 2 < size) {
                return;
            }
            takeH264Parameters(configuration.subspan(place + 2, size));
            place += 2 + size;
        }
    }
}

/// The same of H.265 (7.3.6.1 and 8.3.1). An IDR or BLA picture begins a sequence; pictures that lead it are presented in
/// front of it, with counts below 0.
std::optional<std::int64_t> PictureCount::h265SlicePlace(std::span<const std::uint8_t> slice) {
    constexpr unsigned kFirstBla = 16;
    constexpr unsigned kFirstIdr = 19;
    constexpr unsigned kLastIdr = 20;
    constexpr unsigned kLastRandomAccess = 23;
    constexpr unsigned kFirstLeading = 6;
    constexpr unsigned kLastLeading = 9;
    constexpr unsigned kLastSubLayerType = 14;
    constexpr std::int64_t kLongestLead = 1 << 12;
    const unsigned type = nalUnitType(slice[0], Codec::H265);
    const bool isRandomAccess = type >= kFirstBla && type <= kLastRandomAccess;
    const bool isIdr = type == kFirstIdr || type == kLastIdr;
    // With the first picture of a stream, and behind the end of a sequence, one begins also where that is a CRA picture
    // (8.1.3): its count has no turns.
    const bool beginsSequence = isRandomAccess && (type <= kLastIdr || _greatest < 0 || _isEnded);
    _isEnded = false;
    if (beginsSequence) {
        beginAnew();
    }
    BitReader reader(slice.subspan(2));
    reader.skip(isRandomAccess ? 2 : 1);
    const auto picture = _h265Pictures.find(reader.number());
    const auto found =
        picture == _h265Pictures.end() ? _h265Sequences.end() : _h265Sequences.find(picture->second.sequence);
    _lacksParameters = found == _h265Sequences.end();
    if (_lacksParameters) {
        return std::nullopt;
    }
    reader.skip(picture->second.extraHeaderBits);
    reader.skipNumber();
    reader.skip((picture->second.hasOutputFlag ? 1U : 0U) + (found->second.hasColourPlanes ? 2U : 0U));
    const std::int64_t low = isIdr ? 0 : std::int64_t{reader.bits(found->second.orderBits)};
    if (reader.hasFailed()) {
        return std::nullopt;
    }
    const std::int64_t high = beginsSequence ? 0 : unwrapped(low, found->second.orderBits);
    const bool isLowest = (slice[1] & 7U) == 1;
    const bool isLeading = type >= kFirstLeading && type <= kLastLeading;
    const bool isSubLayerOnly = type <= kLastSubLayerType && type % 2 == 0;
    if (isLowest && !isLeading && !isSubLayerOnly) {
        _high = high;
        _low = low;
    }
    return _base + std::max<std::int64_t>(kLongestLead + high + low, 0);
}

template <class Units>
std::optional<std::int64_t> PictureCount::h265Place(const Units& units) {
    constexpr std::size_t kHeader = 2;
    std::optional<std::int64_t> place;
    bool hasPicture = false;
    for (const UnitView& unit : units) {
        // Other layers, of depth or of another view, have parameters of their own (F.7.3.2.2). The end of a sequence is a
        // header alone.
        if (unit.bytes.size() < kHeader || (unit.bytes[0] & 1U) != 0 || unit.bytes[1] >> 3U != 0) {
            continue;
        }
        const unsigned type = nalUnitType(unit.bytes[0], Codec::H265);
        if (type == kH265EndOfSequence || type == kH265EndOfBitstream) {
            _isEnded = true;
        } else if (unit.bytes.size() == kHeader || hasPicture) {
            continue;
        } else if (type == kH265SequenceParameters) {
            if (const Result<H265Sequence> sequence = parseH265Sequence(unit.bytes.subspan(kHeader))) {
                _h265Sequences[sequence->number] = *sequence;
            }
        } else if (type == kH265PictureParameters) {
            if (const Result<H265Picture> picture = parseH265Picture(unit.bytes.subspan(kHeader))) {
                _h265Pictures[picture->number] = *picture;
            }
        } else if (type <= kH265LastSlice) {
            place = h265SlicePlace(unit.bytes);
            hasPicture = true;
        }
    }
    return place;
}

std::int64_t PictureCount::placeOf(std::span<const std::uint8_t> unit) {
    const std::optional<Field> first = std::exchange(_field, std::nullopt);
    _lacksParameters = false;
    std::optional<std::int64_t> place;
    if (_form.codec == Codec::Mpeg2) {
        place = mpeg2Place(unit);
    } else if (_form.codec == Codec::H264) {
        place = _form.lengthBytes == 0 ? h264Place(StartCodeUnits(unit))
                                       : h264Place(LengthPrefixedUnits(unit, _form.lengthBytes));
    } else {
        place = _form.lengthBytes == 0 ? h265Place(StartCodeUnits(unit))
                                       : h265Place(LengthPrefixedUnits(unit, _form.lengthBytes));
    }
    _isSecondField =
        first && _field && _field->canBeSecond && first->frame == _field->frame && first->isBottom != _field->isBottom;
    if (_isSecondField) {
        _field.reset();
    }
    const std::int64_t found = place.value_or(_greatest + 1);
    _greatest = std::max(_greatest, found);
    return found;
}

}  // namespace qlx::video

#include "video/H264Slice.h"

#include "base/MakeFinding.h"
#include "video/BitReader.h"

namespace qlx::video {

namespace {

using detail::kH264Pictures;
using detail::kH264Sequences;

constexpr std::uint32_t kMostReferences = 32;
constexpr std::uint32_t kMostSliceGroups = 8;
// slice_type, modulo 5 (table 7-6).
constexpr std::uint32_t kSliceKinds = 5;
constexpr std::uint32_t kP = 0;
constexpr std::uint32_t kB = 1;
constexpr std::uint32_t kSp = 3;

/// The part of a picture parameter set that says which macroblocks a slice group has (7.3.2.2).
void skipSliceGroups(BitReader& reader, std::uint32_t groups) {
    const std::uint32_t kind = reader.number();
    if (kind == 0) {
        for (std::uint32_t group = 0; group < groups; ++group) {
            reader.skipNumber();
        }
    } else if (kind == 2) {
        for (std::uint32_t group = 0; group + 1 < groups; ++group) {
            reader.skipNumber();
            reader.skipNumber();
        }
    } else if (kind >= 3 && kind <= 5) {
        reader.skip(1);
        reader.skipNumber();
    } else if (kind == 6) {
        const unsigned bits = groups > 4 ? 3 : groups > 2 ? 2 : 1;
        std::uint64_t units = std::uint64_t{reader.number()} + 1;
        while (units > 0 && !reader.hasFailed()) {
            reader.skip(bits);
            --units;
        }
    }
}

/// How many references a list has where a slice does not say it.
std::uint32_t readReferences(BitReader& reader, bool& isTooMany) {
    const std::uint32_t last = reader.number();
    isTooMany = isTooMany || last >= kMostReferences;
    return last + 1;
}

/// What stands behind bottom_field_pic_order_in_frame_present_flag.
void readRest(BitReader& reader, H264Picture& picture) {
    const std::uint64_t groups = std::uint64_t{reader.number()} + 1;
    if (groups > kMostSliceGroups) {
        picture.isCut = true;
        return;
    }
    if (groups > 1) {
        skipSliceGroups(reader, static_cast<std::uint32_t>(groups));
    }
    bool isTooMany = false;
    picture.references0 = readReferences(reader, isTooMany);
    picture.references1 = readReferences(reader, isTooMany);
    picture.hasWeights = reader.bits(1) != 0;
    picture.hasWeightsOfTwo = reader.bits(2) == 1;
    for (unsigned number = 0; number < 3; ++number) {
        reader.skipNumber();
    }
    reader.skip(2);
    picture.hasRedundantCounts = reader.bits(1) != 0;
    picture.isCut = reader.hasFailed() || isTooMany;
}

/// 7.3.3.1, of one list.
void skipModifications(BitReader& reader) {
    constexpr std::uint32_t kEnd = 3;
    if (reader.bits(1) == 0) {
        return;
    }
    while (!reader.hasFailed() && reader.number() != kEnd) {
        reader.skipNumber();
    }
}

/// 7.3.3.2, of one list.
void skipWeights(BitReader& reader, std::uint64_t references, bool hasChroma) {
    for (; references > 0 && !reader.hasFailed(); --references) {
        if (reader.bits(1) != 0) {
            reader.skipNumber();
            reader.skipNumber();
        }
        if (hasChroma && reader.bits(1) != 0) {
            for (unsigned number = 0; number < 4; ++number) {
                reader.skipNumber();
            }
        }
    }
}

/// What stands between a slice's order and the marking of its references.
void skipPrediction(BitReader& reader, std::uint32_t kind, const H264Sequence& sequence, const H264Picture& picture) {
    std::uint64_t references0 = picture.references0;
    std::uint64_t references1 = picture.references1;
    const bool isOfOne = kind == kP || kind == kSp;
    if (!isOfOne && kind != kB) {
        return;
    }
    reader.skip(kind == kB ? 1 : 0);
    if (reader.bits(1) != 0) {
        references0 = std::uint64_t{reader.number()} + 1;
        references1 = kind == kB ? std::uint64_t{reader.number()} + 1 : 0;
    }
    skipModifications(reader);
    if (kind == kB) {
        skipModifications(reader);
    }
    if ((isOfOne && picture.hasWeights) || (kind == kB && picture.hasWeightsOfTwo)) {
        reader.skipNumber();
        if (sequence.hasChroma) {
            reader.skipNumber();
        }
        skipWeights(reader, references0, sequence.hasChroma);
        skipWeights(reader, kind == kB ? references1 : 0, sequence.hasChroma);
    }
}

/// Whether the marking of references (7.3.3.3) has an operation that begins the count anew.
bool findsNewCount(BitReader& reader) {
    constexpr std::uint32_t kNewCount = 5;
    if (reader.bits(1) == 0) {
        return false;
    }
    bool isFound = false;
    while (!reader.hasFailed()) {
        const std::uint32_t operation = reader.number();
        if (operation == 0) {
            return isFound && !reader.hasFailed();
        }
        isFound = isFound || operation == kNewCount;
        if (operation != kNewCount) {
            reader.skipNumber();
        }
        if (operation == 3) {
            reader.skipNumber();
        }
    }
    return false;
}

}  // namespace

Result<H264Picture> parseH264Picture(std::span<const std::uint8_t> payload) {
    BitReader reader(payload);
    H264Picture picture;
    picture.number = reader.number();
    picture.sequence = reader.number();
    if (reader.hasFailed() || picture.number >= kH264Pictures || picture.sequence >= kH264Sequences) {
        return makeFinding(FindingCode::VideoParametersWrong, Severity::Error, 0, kH264PictureParameters,
                           payload.size());
    }
    reader.skip(1);
    picture.hasBottomDeltas = reader.bits(1) != 0;
    const H264Picture begun = picture;
    readRest(reader, picture);
    if (picture.isCut) {
        picture = begun;
        picture.isCut = true;
    }
    return picture;
}

namespace detail {

std::uint32_t pictureOfSlice(std::span<const std::uint8_t> slice) noexcept {
    BitReader reader(slice.subspan(1));
    reader.skipNumber();
    reader.skipNumber();
    const std::uint32_t picture = reader.number();
    return reader.hasFailed() ? kH264Pictures : picture;
}

std::optional<H264Slice> parseH264Slice(std::span<const std::uint8_t> bytes, const H264Sequence& sequence,
                                        const H264Picture& picture) noexcept {
    const bool isIdr = nalUnitType(bytes[0], Codec::H264) == kH264IdrSlice;
    BitReader reader(bytes.subspan(1));
    reader.skipNumber();
    const std::uint32_t kind = reader.number() % kSliceKinds;
    reader.skipNumber();
    reader.skip(sequence.hasColourPlanes ? 2 : 0);
    H264Slice slice;
    slice.isReference = nalRefIdc(bytes[0]) != 0;
    slice.frameNumber = reader.bits(sequence.frameNumberBits);
    slice.isField = !sequence.hasFramesOnly && reader.bits(1) != 0;
    slice.isBottom = slice.isField && reader.bits(1) != 0;
    if (isIdr) {
        reader.skipNumber();
    }
    const bool hasBottomDelta = picture.hasBottomDeltas && !slice.isField;
    if (sequence.orderType == 0) {
        slice.orderLow = reader.bits(sequence.orderBits);
        slice.deltas[0] = hasBottomDelta ? reader.signedNumber() : 0;
    } else if (sequence.orderType == 1 && !sequence.hasNoOrderDeltas) {
        slice.deltas[0] = reader.signedNumber();
        slice.deltas[1] = hasBottomDelta ? reader.signedNumber() : 0;
    }
    if (reader.hasFailed()) {
        return std::nullopt;
    }
    if (slice.isReference && !isIdr && !picture.isCut) {
        if (picture.hasRedundantCounts) {
            reader.skipNumber();
        }
        skipPrediction(reader, kind, sequence, picture);
        slice.beginsAnew = findsNewCount(reader);
    }
    return slice;
}

}  // namespace detail

}  // namespace qlx::video

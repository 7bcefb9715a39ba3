#include <qlx/video/hevc.h>

#include "base/MakeFinding.h"
#include "video/BitReader.h"

namespace qlx::video {

namespace {

constexpr std::uint32_t kH265Sequences = 16;
constexpr std::uint32_t kH265Pictures = 64;

Finding wrong(unsigned type, std::span<const std::uint8_t> payload) {
    return makeFinding(FindingCode::VideoParametersWrong, Severity::Error, 0, type, payload.size());
}

/// profile_tier_level( 1, maxSubLayersMinus1 )
void skipProfile(BitReader& reader, unsigned subLayers) {
    constexpr unsigned kProfileBits = 88;
    constexpr unsigned kLevelBits = 8;
    constexpr unsigned kMostSubLayers = 8;
    reader.skip(kProfileBits + kLevelBits);
    std::uint32_t flags = 0;
    for (unsigned layer = 0; layer < subLayers; ++layer) {
        flags = flags << 2U | reader.bits(2);
    }
    reader.skip(subLayers > 0 ? 2 * (kMostSubLayers - subLayers) : 0);
    for (unsigned layer = subLayers; layer > 0; --layer) {
        const std::uint32_t present = flags >> (2 * (layer - 1));
        reader.skip(((present & 2U) != 0 ? kProfileBits : 0) + ((present & 1U) != 0 ? kLevelBits : 0));
    }
}

}  // namespace

Result<H265Sequence> parseH265Sequence(std::span<const std::uint8_t> payload) {
    constexpr std::uint32_t kAllColours = 3;
    constexpr std::uint32_t kMostOrderBits = 16;
    constexpr std::uint32_t kFewestOrderBits = 4;
    BitReader reader(payload);
    H265Sequence sequence;
    reader.skip(4);
    const std::uint32_t subLayers = reader.bits(3);
    reader.skip(1);
    skipProfile(reader, subLayers);
    sequence.number = reader.number();
    const std::uint32_t chromaFormat = reader.number();
    if (chromaFormat == kAllColours) {
        sequence.hasColourPlanes = reader.bits(1) != 0;
    }
    const std::uint32_t width = reader.number();
    const std::uint32_t height = reader.number();
    if (reader.bits(1) != 0) {
        for (unsigned side = 0; side < 4; ++side) {
            reader.skipNumber();
        }
    }
    reader.skipNumber();
    reader.skipNumber();
    const std::uint32_t bits = reader.number();
    const bool makesSense = !reader.hasFailed() && sequence.number < kH265Sequences && chromaFormat <= kAllColours &&
                            width > 0 && height > 0 && bits <= kMostOrderBits - kFewestOrderBits;
    if (!makesSense) {
        return wrong(kH265SequenceParameters, payload);
    }
    sequence.orderBits = bits + kFewestOrderBits;
    return sequence;
}

Result<H265Picture> parseH265Picture(std::span<const std::uint8_t> payload) {
    BitReader reader(payload);
    H265Picture picture;
    picture.number = reader.number();
    picture.sequence = reader.number();
    reader.skip(1);
    picture.hasOutputFlag = reader.bits(1) != 0;
    picture.extraHeaderBits = reader.bits(3);
    if (reader.hasFailed() || picture.number >= kH265Pictures || picture.sequence >= kH265Sequences) {
        return wrong(kH265PictureParameters, payload);
    }
    return picture;
}

}  // namespace qlx::video

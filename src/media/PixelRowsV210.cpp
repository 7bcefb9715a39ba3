#include "media/PixelPairs.h"
#include "v210/V210Group.h"

#include <array>

namespace qlx::pixels {

namespace {

constexpr std::size_t kGroupPixels = v210::kLumaOfGroup;
constexpr std::size_t kPixelBytes = kGroupPixels * kBGRABytes;
constexpr std::size_t kPairs = v210::kChromaOfGroup;

/// The six pixels of a group.
using Group = std::array<PixelPair, kPairs>;

Group loadGroup(const std::uint8_t* bytes) {
    using v210::highSample;
    using v210::lowSample;
    using v210::middleSample;
    const std::uint32_t word0 = loadLittle32(bytes);
    const std::uint32_t word1 = loadLittle32(bytes + v210::kWordBytes);
    const std::uint32_t word2 = loadLittle32(bytes + 2 * v210::kWordBytes);
    const std::uint32_t word3 = loadLittle32(bytes + 3 * v210::kWordBytes);
    return {PixelPair{middleSample(word0), lowSample(word1), {lowSample(word0), highSample(word0)}},
            PixelPair{highSample(word1), middleSample(word2), {middleSample(word1), lowSample(word2)}},
            PixelPair{lowSample(word3), highSample(word3), {highSample(word2), middleSample(word3)}}};
}

void storeGroup(std::uint8_t* bytes, const Group& group) {
    const PixelPair& first = group[0];
    const PixelPair& second = group[1];
    const PixelPair& third = group[2];
    storeLittle32(bytes, v210::makeWord(first.chroma.cb, first.luma0, first.chroma.cr));
    storeLittle32(bytes + v210::kWordBytes, v210::makeWord(first.luma1, second.chroma.cb, second.luma0));
    storeLittle32(bytes + 2 * v210::kWordBytes, v210::makeWord(second.chroma.cr, second.luma1, third.chroma.cb));
    storeLittle32(bytes + 3 * v210::kWordBytes, v210::makeWord(third.luma0, third.chroma.cr, third.luma1));
}

void groupToBGRA(const std::uint8_t* bytes, const ColorMatrix& matrix, std::uint8_t* bgra) {
    for (const PixelPair& pair : loadGroup(bytes)) {
        storePair(bgra, pair, matrix);
        bgra += kPairBytes;
    }
}

/// The words of a group that its first 0, 1, ... 5 pixels take: their luma, and the chroma of their pairs.
constexpr std::array<std::size_t, kGroupPixels> kWordsOfPixels{0, 1, 2, 3, 3, 4};

/// The first `count` pixels of a group, fewer than six; its other samples stay.
void startOfGroupFromBGRA(const std::uint8_t* bgra, std::size_t count, const ColorMatrix& matrix, std::uint8_t* bytes) {
    Group group = loadGroup(bytes);
    for (std::size_t pixel = 0; pixel < count; pixel += 2, bgra += kPairBytes) {
        PixelPair& pair = group[pixel / 2];
        if (pixel + 1 < count) {
            pair = pairFromBGRA<10>(bgra, matrix);
        } else {
            const PixelPair single = singleFromBGRA<10>(bgra, matrix);
            pair.luma0 = single.luma0;
            pair.chroma = single.chroma;
        }
    }
    std::uint8_t words[v210::kGroupBytes];
    storeGroup(words, group);
    std::memcpy(bytes, words, kWordsOfPixels[count] * v210::kWordBytes);
}

void groupFromBGRA(const std::uint8_t* bgra, const ColorMatrix& matrix, std::uint8_t* bytes) {
    Group group;
    for (PixelPair& pair : group) {
        pair = pairFromBGRA<10>(bgra, matrix);
        bgra += kPairBytes;
    }
    storeGroup(bytes, group);
}

}  // namespace

void v210ToBGRA(const SourceRow& row, std::size_t width, const ColorMatrix& matrix, std::uint8_t* bgra) {
    const std::uint8_t* group = row.first;
    const std::size_t groups = width / kGroupPixels;
    for (std::size_t index = 0; index < groups; ++index, group += v210::kGroupBytes, bgra += kPixelBytes) {
        if (index != 0 && std::memcmp(group, group - v210::kGroupBytes, v210::kGroupBytes) == 0) {
            std::memcpy(bgra, bgra - kPixelBytes, kPixelBytes);
        } else {
            groupToBGRA(group, matrix, bgra);
        }
    }
    if (width % kGroupPixels != 0) {
        std::uint8_t pixels[kPixelBytes];
        groupToBGRA(group, matrix, pixels);
        std::memcpy(bgra, pixels, width % kGroupPixels * kBGRABytes);
    }
}

void v210FromBGRA(const std::uint8_t* bgra, std::size_t width, const ColorMatrix& matrix, const DestinationRow& row) {
    std::uint8_t* group = row.first;
    const std::size_t groups = width / kGroupPixels;
    for (std::size_t index = 0; index < groups; ++index, group += v210::kGroupBytes, bgra += kPixelBytes) {
        if (index != 0 && std::memcmp(bgra, bgra - kPixelBytes, kPixelBytes) == 0) {
            std::memcpy(group, group - v210::kGroupBytes, v210::kGroupBytes);
        } else {
            groupFromBGRA(bgra, matrix, group);
        }
    }
    if (width % kGroupPixels != 0) {
        startOfGroupFromBGRA(bgra, width % kGroupPixels, matrix, group);
    }
}

}  // namespace qlx::pixels

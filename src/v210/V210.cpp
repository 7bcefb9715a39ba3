#include "v210/V210.h"

#include <algorithm>

namespace qlx::v210 {

namespace {

constexpr std::size_t kProbedWords = 6;

/// A word whose luma sample is the middle one.
void writeMiddle(std::uint8_t* word, std::uint16_t luma) {
    const std::uint32_t former = loadLittle32(word);
    storeLittle32(word, makeWord(highSample(former), luma, lowSample(former)));
}

/// A word with luma samples at both ends.
void writeBothEnds(std::uint8_t* word, std::uint16_t low, std::uint16_t high) {
    storeLittle32(word, makeWord(low, middleSample(loadLittle32(word)), high));
}

/// A word of which only the first luma sample is left to write.
void writeLastLow(std::uint8_t* word, std::uint16_t low) {
    const std::uint32_t former = loadLittle32(word);
    storeLittle32(word, makeWord(low, middleSample(former), lowSample(former)));
}

}  // namespace

bool hasDataFlagNearStart(std::span<const std::uint8_t> row) noexcept {
    const std::size_t words = row.size() / kWordBytes;
    if (words < 2) {
        return false;
    }
    const std::size_t positions = std::min(words - 1, kProbedWords);
    for (std::size_t position = 0; position < positions; ++position) {
        const std::uint8_t* const word = row.data() + position * kWordBytes;
        const std::uint32_t next = loadLittle32(word + kWordBytes);
        if (middleSample(loadLittle32(word)) == 0x000 && lowSample(next) == 0x3FF && highSample(next) == 0x3FF) {
            return true;
        }
    }
    return false;
}

std::size_t writeLuma(std::uint8_t* row, std::size_t firstWord, std::size_t wordCount,
                      std::span<const std::uint16_t> samples) noexcept {
    std::size_t word = firstWord;
    std::size_t next = 0;
    bool middle = true;
    while (next < samples.size()) {
        const std::size_t taken = middle ? 1 : std::min<std::size_t>(samples.size() - next, 2);
        if (word < wordCount) {
            std::uint8_t* const bytes = row + word * kWordBytes;
            if (middle) {
                writeMiddle(bytes, samples[next]);
            } else if (taken == 2) {
                writeBothEnds(bytes, samples[next], samples[next + 1]);
            } else {
                writeLastLow(bytes, samples[next]);
            }
        }
        next += taken;
        ++word;
        middle = !middle;
    }
    return word;
}

}  // namespace qlx::v210

#include "anc/RowKernels.h"

#include "base/Bytes.h"
#include "v210/V210.h"

#include <cstring>

namespace qlx::anc {

namespace {

void reduceV210Scalar(const std::uint8_t* row, std::size_t groups, std::uint8_t* luma) {
    for (std::size_t group = 0; group < groups; ++group) {
        const v210::LumaOfGroup samples = v210::lumaOfGroup(row + group * v210::kGroupBytes);
        for (const std::uint16_t sample : samples) {
            *luma++ = static_cast<std::uint8_t>(sample);
        }
    }
}

/// The eight bytes from `bytes` on as one word.
std::uint64_t wordAt(const std::uint8_t* bytes) {
    std::uint64_t word = 0;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}

std::size_t findDataFlagScalar(const std::uint8_t* luma, std::size_t begin, std::size_t end) {
    constexpr std::size_t kWord = sizeof(std::uint64_t);
    std::size_t position = begin;
    while (position < end) {
        // A flag begins with a zero byte, and blanking has none: most of a row goes by in whole words.
        if (end - position >= kWord && !hasZeroByte(wordAt(luma + position))) {
            position += kWord;
            continue;
        }
        const std::size_t stop = end - position > kWord ? position + kWord : end;
        for (; position < stop; ++position) {
            if (luma[position] == 0x00 && luma[position + 1] == 0xFF && luma[position + 2] == 0xFF) {
                return position;
            }
        }
    }
    return end;
}

constexpr RowKernels kScalar{reduceV210Scalar, findDataFlagScalar};

}  // namespace

const RowKernels& scalarRowKernels() noexcept {
    return kScalar;
}

const RowKernels& rowKernels() noexcept {
    static const RowKernels& chosen = avx2RowKernels() ? *avx2RowKernels() : kScalar;
    return chosen;
}

}  // namespace qlx::anc

#include "video/VideoStreamKernels.h"

#include "base/Bytes.h"
#include "cc/A53Layout.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace qlx::videostream {

namespace {

constexpr std::array<std::uint8_t, 3> kStartCodePrefix{0x00, 0x00, 0x01};

constexpr std::uint64_t kOnes = 0x0101010101010101U;

/// True when the pattern begins at one of the eight positions from `bytes` on: each byte of the words' differences
/// stands for a position, and is 0 where all of the pattern's bytes are equal.
template <std::size_t count>
bool beginsInWord(const std::array<std::uint8_t, count>& pattern, const std::uint8_t* bytes) {
    std::uint64_t differences = 0;
    for (std::size_t index = 0; index < count; ++index) {
        std::uint64_t word = 0;
        std::memcpy(&word, bytes + index, sizeof word);
        differences |= word ^ kOnes * pattern[index];
    }
    return hasZeroByte(differences);
}

template <std::size_t count>
std::size_t find(const std::array<std::uint8_t, count>& pattern, const std::uint8_t* bytes, std::size_t begin,
                 std::size_t end) {
    constexpr std::size_t kWord = sizeof(std::uint64_t);
    std::size_t position = begin;
    while (position < end && end - position >= kWord && !beginsInWord(pattern, bytes + position)) {
        position += kWord;
    }
    while (position < end && !std::equal(pattern.begin(), pattern.end(), bytes + position)) {
        ++position;
    }
    return position < end ? position : end;
}

std::size_t findStartCodeScalar(const std::uint8_t* bytes, std::size_t begin, std::size_t end) {
    return find(kStartCodePrefix, bytes, begin, end);
}

std::size_t findUserIdentifierScalar(const std::uint8_t* bytes, std::size_t begin, std::size_t end) {
    return find(a53::kUserIdentifier, bytes, begin, end);
}

constexpr Kernels kScalar{findStartCodeScalar, findUserIdentifierScalar};

}  // namespace

const Kernels& scalarKernels() noexcept {
    return kScalar;
}

const Kernels& kernels() noexcept {
    static const Kernels& chosen = avx2Kernels() ? *avx2Kernels() : kScalar;
    return chosen;
}

}  // namespace qlx::videostream

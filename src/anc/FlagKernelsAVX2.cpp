#include "anc/FlagKernels.h"

#include "v210/V210Group.h"

#if defined(__x86_64__) && defined(__GNUC__)

#include <bit>
#include <immintrin.h>

namespace qlx::anc::detail {

namespace {

#define QLX_TARGET_AVX2 __attribute__((target("avx2")))

constexpr std::size_t kWordsOfVector = sizeof(__m256i) / v210::kWordBytes;
constexpr std::size_t kVectorsOfBlock = 16;
constexpr std::size_t kWordsOfBlock = kVectorsOfBlock * kWordsOfVector;

QLX_TARGET_AVX2 inline __m256i vectorAt(const std::uint8_t* row, std::size_t word) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(row + word * v210::kWordBytes));
}

/// The bytes of the 16-bit halves that are all ones once the bits of `around` are set, as bits.
QLX_TARGET_AVX2 inline std::uint32_t ones(__m256i vector, __m256i around) {
    const __m256i halves = _mm256_cmpeq_epi16(_mm256_or_si256(vector, around), _mm256_set1_epi16(-1));
    return static_cast<std::uint32_t>(_mm256_movemask_epi8(halves));
}

/// False when a block has no first or third sample of 3FC to 3FF: the greatest bytes say so for most of what is on a
/// row, in a step a vector. The first byte of a word is the low eight bits of its first sample, the last one the high
/// six of its third.
QLX_TARGET_AVX2 inline bool mayHaveOnes(const std::uint8_t* row, std::size_t word) {
    __m256i even = vectorAt(row, word);
    __m256i odd = vectorAt(row, word + kWordsOfVector);
    for (std::size_t vector = 2; vector < kVectorsOfBlock; vector += 2) {
        even = _mm256_max_epu8(even, vectorAt(row, word + vector * kWordsOfVector));
        odd = _mm256_max_epu8(odd, vectorAt(row, word + (vector + 1) * kWordsOfVector));
    }
    const __m256i greatest = _mm256_max_epu8(even, odd);
    // No byte is less than 0 and none greater than FF: the two in the middle say nothing, and are left out below.
    const __m256i least = _mm256_set1_epi32(0x3F00'00FC);
    const __m256i reached = _mm256_cmpeq_epi8(_mm256_max_epu8(greatest, least), greatest);
    constexpr std::uint32_t kOuterBytes = 0x9999'9999;
    return (static_cast<std::uint32_t>(_mm256_movemask_epi8(reached)) & kOuterBytes) != 0;
}

/// The same for certain, and with the bits of `around`. Not inline, or the step above would keep its vectors for this one.
__attribute__((noinline)) QLX_TARGET_AVX2 bool hasOnes(const std::uint8_t* row, std::size_t word, __m256i around) {
    __m256i even = _mm256_or_si256(vectorAt(row, word), around);
    __m256i odd = _mm256_or_si256(vectorAt(row, word + kWordsOfVector), around);
    for (std::size_t vector = 2; vector < kVectorsOfBlock; vector += 2) {
        const __m256i one = vectorAt(row, word + vector * kWordsOfVector);
        const __m256i other = vectorAt(row, word + (vector + 1) * kWordsOfVector);
        even = _mm256_max_epu16(even, _mm256_or_si256(one, around));
        odd = _mm256_max_epu16(odd, _mm256_or_si256(other, around));
    }
    return ones(_mm256_max_epu16(even, odd), around) != 0;
}

/// The word of the first of these bytes.
inline std::size_t wordOf(std::uint32_t bytes) {
    return static_cast<std::size_t>(std::countr_zero(bytes)) / v210::kWordBytes;
}

QLX_TARGET_AVX2 std::size_t findWithAVX2(const std::uint8_t* row, std::size_t first, std::size_t end,
                                         std::uint32_t around) {
    const __m256i aroundAll = _mm256_set1_epi32(static_cast<int>(around));
    if (end - first >= kWordsOfVector) {
        // A search that goes on behind a flag's first word finds its other ones next: no block is read for them.
        const std::uint32_t found = ones(vectorAt(row, first), aroundAll);
        if (found != 0) {
            return first + wordOf(found);
        }
    }
    const auto isWithout = [row, aroundAll](std::size_t word)
                               QLX_TARGET_AVX2 { return !mayHaveOnes(row, word) || !hasOnes(row, word, aroundAll); };
    while (end - first >= kWordsOfBlock && isWithout(first)) {
        first += kWordsOfBlock;
    }
    // The last block begins among words that have been looked at.
    if (end - first < kWordsOfBlock && end >= kWordsOfBlock && (first == end || isWithout(end - kWordsOfBlock))) {
        return end;
    }
    for (; end - first >= kWordsOfVector; first += kWordsOfVector) {
        const std::uint32_t found = ones(vectorAt(row, first), aroundAll);
        if (found != 0) {
            return first + wordOf(found);
        }
    }
    if (first == end || end < kWordsOfVector) {
        return findOuterOnesScalar(row, first, end, around);
    }
    // So does the last vector.
    const std::size_t last = end - kWordsOfVector;
    const std::uint32_t found = ones(vectorAt(row, last), aroundAll) >> (first - last) * v210::kWordBytes;
    return found != 0 ? first + wordOf(found) : end;
}

}  // namespace

FindOuterOnes findOuterOnesAVX2() noexcept {
    return __builtin_cpu_supports("avx2") ? findWithAVX2 : nullptr;
}

}  // namespace qlx::anc::detail

#else

namespace qlx::anc::detail {

FindOuterOnes findOuterOnesAVX2() noexcept {
    return nullptr;
}

}  // namespace qlx::anc::detail

#endif

#include "anc/RowKernels.h"

#include "v210/V210.h"

#if defined(__x86_64__) && defined(__GNUC__)

#include <bit>
#include <immintrin.h>

namespace qlx::anc {

namespace {

#define QLX_TARGET_AVX2 __attribute__((target("avx2")))

/// The luma bytes of the two groups in `words`, six each, at the start of each 128-bit half; the rest is zero.
QLX_TARGET_AVX2 inline __m256i lumaOfTwoGroups(__m256i words) {
    // Words 0 and 2 of a group hold one luma sample in bits 10-19, words 1 and 3 two, in bits 0-9 and 20-29.
    const __m256i firstShift = _mm256_setr_epi32(10, 0, 10, 0, 10, 0, 10, 0);
    const __m256i secondShift = _mm256_setr_epi32(0, 20, 0, 20, 0, 20, 0, 20);
    const __m256i firstBytes = _mm256_setr_epi8(0, 4, -1, 8, 12, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1,  //
                                                0, 4, -1, 8, 12, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1);
    const __m256i secondBytes = _mm256_setr_epi8(-1, -1, 4, -1, -1, 12, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1,  //
                                                 -1, -1, 4, -1, -1, 12, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1);
    return _mm256_or_si256(_mm256_shuffle_epi8(_mm256_srlv_epi32(words, firstShift), firstBytes),
                           _mm256_shuffle_epi8(_mm256_srlv_epi32(words, secondShift), secondBytes));
}

QLX_TARGET_AVX2 void reduceV210AVX2(const std::uint8_t* row, std::size_t groups, std::uint8_t* luma) {
    // Each half is stored as eight bytes, two more than it has: the last groups are left to the plain loop.
    while (groups > 2) {
        const __m256i words = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(row));
        const __m256i bytes = lumaOfTwoGroups(words);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(luma), _mm256_castsi256_si128(bytes));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(luma + v210::kLumaOfGroup), _mm256_extracti128_si256(bytes, 1));
        row += 2 * v210::kGroupBytes;
        luma += 2 * v210::kLumaOfGroup;
        groups -= 2;
    }
    scalarRowKernels().reduceV210(row, groups, luma);
}

QLX_TARGET_AVX2 std::size_t findDataFlagAVX2(const std::uint8_t* luma, std::size_t begin, std::size_t end) {
    constexpr std::size_t kStep = sizeof(__m256i);
    const __m256i zero = _mm256_setzero_si256();
    const __m256i ones = _mm256_set1_epi8(-1);
    const auto load = [luma](std::size_t position) QLX_TARGET_AVX2 {
        return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(luma + position));
    };
    std::size_t position = begin;
    for (; position < end && end - position >= kStep; position += kStep) {
        const __m256i first = _mm256_cmpeq_epi8(load(position), zero);
        const __m256i others = _mm256_cmpeq_epi8(_mm256_and_si256(load(position + 1), load(position + 2)), ones);
        const auto found = static_cast<std::uint32_t>(_mm256_movemask_epi8(_mm256_and_si256(first, others)));
        if (found != 0) {
            return position + static_cast<std::size_t>(std::countr_zero(found));
        }
    }
    return scalarRowKernels().findDataFlag(luma, position, end);
}

constexpr RowKernels kAVX2{reduceV210AVX2, findDataFlagAVX2};

}  // namespace

const RowKernels* avx2RowKernels() noexcept {
    return __builtin_cpu_supports("avx2") ? &kAVX2 : nullptr;
}

}  // namespace qlx::anc

#else

namespace qlx::anc {

const RowKernels* avx2RowKernels() noexcept {
    return nullptr;
}

}  // namespace qlx::anc

#endif

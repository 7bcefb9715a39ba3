#include "video/VideoStreamKernels.h"

#include "cc/A53Layout.h"

#if defined(__x86_64__) && defined(__GNUC__)

#include <bit>
#include <immintrin.h>

namespace qlx::videostream {

namespace {

#define QLX_TARGET_AVX2 __attribute__((target("avx2")))

constexpr std::size_t kStep = sizeof(__m256i);

/// All ones where one of the 32 bytes from `bytes` on equals that of `value`.
QLX_TARGET_AVX2 inline __m256i equal(const std::uint8_t* bytes, __m256i value) {
    return _mm256_cmpeq_epi8(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(bytes)), value);
}

QLX_TARGET_AVX2 inline std::uint32_t maskOf(__m256i flags) {
    return static_cast<std::uint32_t>(_mm256_movemask_epi8(flags));
}

/// All ones where a start code prefix begins, for the 32 positions from `bytes` on.
QLX_TARGET_AVX2 inline __m256i startCodes(const std::uint8_t* bytes) {
    const __m256i zero = _mm256_setzero_si256();
    const __m256i zeros = _mm256_and_si256(equal(bytes, zero), equal(bytes + 1, zero));
    return _mm256_and_si256(zeros, equal(bytes + 2, _mm256_set1_epi8(1)));
}

QLX_TARGET_AVX2 std::size_t findStartCodeAVX2(const std::uint8_t* bytes, std::size_t begin, std::size_t end) {
    std::size_t position = begin;
    for (; position < end && end - position >= 2 * kStep; position += 2 * kStep) {
        const __m256i first = startCodes(bytes + position);
        const __m256i second = startCodes(bytes + position + kStep);
        if (maskOf(_mm256_or_si256(first, second)) != 0) {
            const std::uint64_t found = maskOf(first) | std::uint64_t{maskOf(second)} << kStep;
            return position + static_cast<std::size_t>(std::countr_zero(found));
        }
    }
    return scalarKernels().findStartCode(bytes, position, end);
}

/// One letter of the user identifier, 32 times.
QLX_TARGET_AVX2 inline __m256i letter(std::size_t index) {
    return _mm256_set1_epi8(static_cast<char>(a53::kUserIdentifier[index]));
}

QLX_TARGET_AVX2 std::size_t findUserIdentifierAVX2(const std::uint8_t* bytes, std::size_t begin, std::size_t end) {
    const __m256i letters[] = {letter(0), letter(1), letter(2), letter(3)};
    std::size_t position = begin;
    for (; position < end && end - position >= kStep; position += kStep) {
        const std::uint8_t* const here = bytes + position;
        const __m256i front = _mm256_and_si256(equal(here, letters[0]), equal(here + 1, letters[1]));
        const __m256i back = _mm256_and_si256(equal(here + 2, letters[2]), equal(here + 3, letters[3]));
        const std::uint32_t found = maskOf(_mm256_and_si256(front, back));
        if (found != 0) {
            return position + static_cast<std::size_t>(std::countr_zero(found));
        }
    }
    return scalarKernels().findUserIdentifier(bytes, position, end);
}

constexpr Kernels kAVX2{findStartCodeAVX2, findUserIdentifierAVX2};

}  // namespace

const Kernels* avx2Kernels() noexcept {
    return __builtin_cpu_supports("avx2") ? &kAVX2 : nullptr;
}

}  // namespace qlx::videostream

#else

namespace qlx::videostream {

const Kernels* avx2Kernels() noexcept {
    return nullptr;
}

}  // namespace qlx::videostream

#endif

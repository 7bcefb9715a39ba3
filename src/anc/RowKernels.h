// The two loops that a captured row goes through: plain, and with AVX2 where the processor has it.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qlx::anc {

/// Loops over a row's bytes. Both sets give the same results for every input.
struct RowKernels {
    /// Low 8 bits of the six luma samples of each of `groups` 16-byte groups of a `v210` row; writes 6 x groups bytes.
    void (*reduceV210)(const std::uint8_t* row, std::size_t groups, std::uint8_t* luma);

    /// The first position from `begin` up to, not including, `end` at which the bytes 00 FF FF stand; `end` when
    /// there is none. The two bytes from `end` on must be readable.
    std::size_t (*findDataFlag)(const std::uint8_t* luma, std::size_t begin, std::size_t end);
};

/// The plain loops.
[[nodiscard]] const RowKernels& scalarRowKernels() noexcept;

/// The AVX2 loops, or null where the processor (or the compiler's target) does not have it.
[[nodiscard]] const RowKernels* avx2RowKernels() noexcept;

/// The fastest set that this processor runs.
[[nodiscard]] const RowKernels& rowKernels() noexcept;

}  // namespace qlx::anc

// The two searches that a coded picture goes through: plain, and with AVX2 where the processor has it.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qlx::videostream {

/// Searches from `begin` up to, not including, `end`; the position found, or `end` (also when `begin` is behind it).
/// Both sets give the same results for every input, and look at each byte a bounded number of times.
struct Kernels {
    /// The start code prefix 00 00 01. The two bytes from `end` on must be readable.
    std::size_t (*findStartCode)(const std::uint8_t* bytes, std::size_t begin, std::size_t end);

    /// The user identifier "GA94". The three bytes from `end` on must be readable.
    std::size_t (*findUserIdentifier)(const std::uint8_t* bytes, std::size_t begin, std::size_t end);
};

/// The plain loops.
[[nodiscard]] const Kernels& scalarKernels() noexcept;

/// The AVX2 loops, or null where the processor (or the compiler's target) does not have it.
[[nodiscard]] const Kernels* avx2Kernels() noexcept;

/// The fastest set that this processor runs.
[[nodiscard]] const Kernels& kernels() noexcept;

}  // namespace qlx::videostream

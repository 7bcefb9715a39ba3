// The process-wide counter of the caption samples that are split and joined.
#pragma once

#include <QLXClosedCaptionsUtilities/QLXCCUtilities.h>

#include <atomic>
#include <cstdint>

namespace qlx::sequencecounter {

/// The low 16 bits of the counter.
[[nodiscard]] inline std::uint16_t current() noexcept {
    return static_cast<std::uint16_t>(std::atomic_ref(gSequenceCounter).load(std::memory_order_relaxed));
}

/// Counts one sample. Reading and counting are two steps: threads may repeat a value, as they always could.
inline void advance() noexcept {
    std::atomic_ref(gSequenceCounter).fetch_add(1, std::memory_order_relaxed);
}

}  // namespace qlx::sequencecounter

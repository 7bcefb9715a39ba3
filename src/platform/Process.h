// The running process.
#pragma once

#include <cstdint>

namespace qlx {

/// The number of this process; a child that was forked has its own.
[[nodiscard]] std::int64_t processIdentifier() noexcept;

}  // namespace qlx

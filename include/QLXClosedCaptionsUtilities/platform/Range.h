// A range of rows, bytes or characters.
#pragma once

#include <cstdint>

namespace qlx {

/// `length` items from `location` on.
struct Range {
    std::uint64_t location = 0;  ///< The first item.
    std::uint64_t length = 0;    ///< Number of items.

    /// Field by field.
    friend constexpr bool operator==(const Range&, const Range&) noexcept = default;
};

}  // namespace qlx

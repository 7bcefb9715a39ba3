// Numbers in the boxes of ISO files, the highest byte first (ISO/IEC 14496-12, 4).
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <type_traits>

namespace qlx::streams::detail {

/// Takes a number from the front of bytes; 0, and all of them, where they are too few.
template <class Integer>
Integer takeNumber(std::span<const std::uint8_t>& bytes) {
    std::uint64_t number = 0;
    if (bytes.size() < sizeof(Integer)) {
        bytes = {};
        return 0;
    }
    for (const std::uint8_t byte : bytes.first(sizeof(Integer))) {
        number = number << 8U | byte;
    }
    bytes = bytes.subspan(sizeof(Integer));
    return static_cast<Integer>(number);
}

}  // namespace qlx::streams::detail

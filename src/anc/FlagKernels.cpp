#include "anc/FlagKernels.h"

#include "base/Bytes.h"
#include "v210/V210Group.h"

namespace qlx::anc::detail {

std::size_t findOuterOnesScalar(const std::uint8_t* row, std::size_t first, std::size_t end,
                                std::uint32_t around) noexcept {
    for (; first < end; ++first) {
        const std::uint32_t word = loadLittle32(row + first * v210::kWordBytes) | around;
        if ((word & 0xFFFFU) == 0xFFFFU || word >> 16U == 0xFFFFU) {
            return first;
        }
    }
    return end;
}

std::size_t findOuterOnesFirst(const std::uint8_t* row, std::size_t first, std::size_t end,
                               std::uint32_t around) noexcept {
    const FindOuterOnes fastest = findOuterOnesAVX2();
    const FindOuterOnes chosen = fastest ? fastest : findOuterOnesScalar;
    chosenFindOuterOnes.store(chosen, std::memory_order_relaxed);
    return chosen(row, first, end, around);
}

}  // namespace qlx::anc::detail

// How much work there is in a call, in steps that do not depend on the machine. Included by one source of a program whose
// code is counted (qlx_count_work() in tests/CMakeLists.txt).
#pragma once

#include "Allocations.h"

#include <cstdint>

namespace qlxtest {

inline std::uint64_t theSteps = 0;

/// What a call takes.
struct Work {
    std::uint64_t steps = 0;        ///< Pieces of code without a branch.
    std::uint64_t allocations = 0;  ///< How often memory is asked for.
    std::uint64_t items = 0;        ///< What was made or read, as the test counts it.
};

/// @param call Gives its items.
template <class Call>
Work workOf(const Call& call) {
    Work work;
    const std::uint64_t before = theSteps;
    work.allocations = allocationsOf([&] { work.items = call(); });
    work.steps = theSteps - before;
    return work;
}

}  // namespace qlxtest

extern "C" void __sanitizer_cov_trace_pc();

// The sanitizers have their own.
#ifndef QLX_SANITIZED

extern "C" void __sanitizer_cov_trace_pc() {
    ++qlxtest::theSteps;
}

#endif

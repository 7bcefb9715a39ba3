// How often memory is asked for. Included by one source of a program: it replaces the operators of all of it.
#pragma once

#include "Sanitized.h"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace qlxtest {

inline std::size_t theAllocations = 0;

/// How many there are in a call; not counted under the sanitizers.
template <class Call>
std::size_t allocationsOf(const Call& call) {
    const std::size_t before = theAllocations;
    call();
    return theAllocations - before;
}

}  // namespace qlxtest

// The sanitizers have their own, which find more than these would.
#ifndef QLX_SANITIZED

void* operator new(std::size_t size) {
    ++qlxtest::theAllocations;
    if (void* const memory = std::malloc(size == 0 ? 1 : size)) {
        return memory;
    }
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}

#endif

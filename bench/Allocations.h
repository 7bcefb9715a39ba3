// Replaces operator new and operator delete of the program that includes it (once) by such as count.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>

namespace {

// One thread is timed: plain counters do.
std::int64_t allocations = 0;
std::int64_t deallocations = 0;

}  // namespace

// Out of line: the compiler would take the pair for a mismatch of malloc and delete.

[[gnu::noinline]] void* operator new(std::size_t size) {
    ++allocations;
    if (void* const memory = std::malloc(size != 0 ? size : 1)) {
        return memory;
    }
    throw std::bad_alloc();
}

[[gnu::noinline]] void operator delete(void* memory) noexcept {
    deallocations += memory != nullptr ? 1 : 0;
    std::free(memory);
}

[[gnu::noinline]] void operator delete(void* memory, std::size_t /*size*/) noexcept {
    operator delete(memory);
}

// In a file of its own: seeing these together with a caller, the compiler warns of a mismatch.

#include "WhisperEngine/network/AllocationCount.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {
std::atomic<int> allocations = 0;
}

int fenlo::test::allocationCount() {
    return allocations;
}

void* operator new(std::size_t size) {
    ++allocations;
    if (void* memory = std::malloc(size))
        return memory;
    throw std::bad_alloc();
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

#include "Allocations.h"

#include <cstdlib>
#include <new>

namespace {

// Of one thread: a counter that threads share would cost the measured code more than the allocation does.
thread_local std::size_t count = 0;

}  // namespace

std::size_t bench::allocationsOfThisThread() {
    return count;
}

void* operator new(std::size_t size) {
    ++count;
    if (void* const memory = std::malloc(size)) {
        return memory;
    }
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

#include "bench/allocations.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::size_t> total{0};

void* allocate(std::size_t size, std::size_t alignment) {
    total.fetch_add(size, std::memory_order_relaxed);
    void* const memory = alignment <= alignof(std::max_align_t)
                             ? std::malloc(std::max<std::size_t>(size, 1))
                             : std::aligned_alloc(alignment, (size + alignment - 1) / alignment * alignment);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

} // namespace

std::size_t bench::allocatedBytes() {
    return total.load(std::memory_order_relaxed);
}

// The other forms of operator new come down to these two.
void* operator new(std::size_t size) {
    return allocate(size, 0);
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    return allocate(size, static_cast<std::size_t>(alignment));
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::align_val_t) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
    std::free(memory);
}

/// \file
/// Counts the bytes that are asked for, exactly as asked.
///
/// Including this header replaces the global operator new and delete of the whole program, so a program
/// includes it in exactly one source file, and not together with failing_allocation.h.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace counted_allocation {

/// What was allocated since the watch began and is still there.
struct Block {
    void* memory = nullptr;
    std::size_t size = 0;
};

struct Counts {
    bool watching = false;
    std::array<Block, 1000> blocks;
    std::size_t live = 0;
    std::size_t peak = 0;
    std::size_t total = 0;
};
inline thread_local Counts counts;

inline void enter(void* memory, std::size_t size) noexcept {
    if (!counts.watching) {
        return;
    }
    const auto free = std::find_if(counts.blocks.begin(), counts.blocks.end(),
                                   [](const Block& block) { return block.memory == nullptr; });
    if (free == counts.blocks.end()) {
        std::abort(); // More blocks at once than any operation of the library needs.
    }
    *free = {memory, size};
    counts.total += size;
    counts.live += size;
    counts.peak = std::max(counts.peak, counts.live);
}

inline void leave(void* memory) noexcept {
    if (!counts.watching || memory == nullptr) {
        return;
    }
    const auto block = std::find_if(counts.blocks.begin(), counts.blocks.end(),
                                    [memory](const Block& each) { return each.memory == memory; });
    if (block != counts.blocks.end()) {
        counts.live -= block->size;
        *block = {};
    }
}

/// Null without memory.
inline void* allocate(std::size_t size, std::size_t alignment) noexcept {
    void* const memory =
        alignment <= alignof(std::max_align_t)
            ? std::malloc(std::max<std::size_t>(size, 1))
            : std::aligned_alloc(alignment,
                                 std::max((size + alignment - 1) / alignment, std::size_t{1}) * alignment);
    if (memory != nullptr) {
        enter(memory, size);
    }
    return memory;
}

inline void* allocateOrThrow(std::size_t size, std::size_t alignment) {
    if (void* const memory = allocate(size, alignment)) {
        return memory;
    }
    throw std::bad_alloc();
}

/// Not inlined: the optimiser would see the free of something that it did not see come from malloc, and warn.
[[gnu::noinline]] inline void release(void* memory) noexcept {
    leave(memory);
    std::free(memory);
}

/// Counts this thread's allocations for its life. Watches do not nest.
class Watch {
public:
    Watch() {
        counts.blocks.fill({});
        counts.live = counts.peak = counts.total = 0;
        counts.watching = true;
    }
    ~Watch() { counts.watching = false; }
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;

    /// Bytes asked for, altogether.
    [[nodiscard]] std::size_t total() const { return counts.total; }
    /// The most of them that were there at once.
    [[nodiscard]] std::size_t peak() const { return counts.peak; }
    /// Those that are still there.
    [[nodiscard]] std::size_t remaining() const { return counts.live; }
};

} // namespace counted_allocation

// Each form, because a sanitizer's runtime brings its own of each.
void* operator new(std::size_t size) {
    return counted_allocation::allocateOrThrow(size, 0);
}
void* operator new[](std::size_t size) {
    return counted_allocation::allocateOrThrow(size, 0);
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    return counted_allocation::allocateOrThrow(size, static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
    return counted_allocation::allocateOrThrow(size, static_cast<std::size_t>(alignment));
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return counted_allocation::allocate(size, 0);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return counted_allocation::allocate(size, 0);
}
void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    return counted_allocation::allocate(size, static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    return counted_allocation::allocate(size, static_cast<std::size_t>(alignment));
}
void operator delete(void* memory) noexcept {
    counted_allocation::release(memory);
}
void operator delete[](void* memory) noexcept {
    counted_allocation::release(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    counted_allocation::release(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
    counted_allocation::release(memory);
}
void operator delete(void* memory, std::align_val_t) noexcept {
    counted_allocation::release(memory);
}
void operator delete[](void* memory, std::align_val_t) noexcept {
    counted_allocation::release(memory);
}
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
    counted_allocation::release(memory);
}
void operator delete[](void* memory, std::size_t, std::align_val_t) noexcept {
    counted_allocation::release(memory);
}
void operator delete(void* memory, const std::nothrow_t&) noexcept {
    counted_allocation::release(memory);
}
void operator delete[](void* memory, const std::nothrow_t&) noexcept {
    counted_allocation::release(memory);
}
void operator delete(void* memory, std::align_val_t, const std::nothrow_t&) noexcept {
    counted_allocation::release(memory);
}
void operator delete[](void* memory, std::align_val_t, const std::nothrow_t&) noexcept {
    counted_allocation::release(memory);
}

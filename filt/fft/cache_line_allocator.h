/// \file
/// Memory that starts with a cache line, for arrays that are read in wide vectors.
#pragma once

#include "kavsys/aligned_memory.h"

#include <cstddef>

/// An allocator of elements from a multiple of 64 bytes on.
template <class T>
struct vx_CacheLineAllocator {
    /// What is allocated.
    using value_type = T;

    /// There is no state: allocators of any elements are equal and free each other's memory.
    vx_CacheLineAllocator() noexcept = default;
    template <class U>
    vx_CacheLineAllocator(const vx_CacheLineAllocator<U>& /*other*/) noexcept {}

    /// Memory for `count` elements, not constructed, at a multiple of 64 bytes. Throws std::bad_alloc.
    [[nodiscard]] T* allocate(std::size_t count) {
        return static_cast<T*>(vf_AllocateAligned(count * sizeof(T), 64));
    }
    /// Frees what allocate gave.
    void deallocate(T* elements, std::size_t /*count*/) noexcept { vf_FreeAligned(elements); }

    /// Always true.
    template <class U>
    [[nodiscard]] bool operator==(const vx_CacheLineAllocator<U>& /*other*/) const noexcept {
        return true;
    }
    template <class U>
    [[nodiscard]] bool operator!=(const vx_CacheLineAllocator<U>& /*other*/) const noexcept {
        return false;
    }
};

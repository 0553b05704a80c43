/// \file
/// Uninitialized room for the kernels' tables and tiles.
#pragma once

#include "kavsys/aligned_memory.h"

#include <cstddef>
#include <type_traits>

/// `count` elements from a cache line's start on. `Unit` makes it local to the unit of an instruction set.
template <class T, class Unit = void>
class vx_Workspace {
    static_assert(std::is_trivially_default_constructible_v<T> && std::is_trivially_destructible_v<T>);
    static_assert(alignof(T) <= 64);

public:
    explicit vx_Workspace(std::size_t count)
        : elements_(static_cast<T*>(vf_AllocateAligned(count * sizeof(T), 64))) {}
    vx_Workspace(const vx_Workspace&) = delete;
    vx_Workspace& operator=(const vx_Workspace&) = delete;
    // clang-tidy takes the memory of two of these, side by side in a std::optional, for one.
    ~vx_Workspace() { vf_FreeAligned(elements_); } // NOLINT(clang-analyzer-cplusplus.NewDelete)

    [[nodiscard, gnu::always_inline]] T* get() const noexcept { return elements_; }

private:
    T* elements_;
};

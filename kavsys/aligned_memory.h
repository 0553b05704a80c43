/// \file
/// Memory that starts where wide vectors load it at once.
#pragma once

#include "kavsys/export.h"

#include <cstddef>

/// `size` bytes, not initialized, from a multiple of `alignment` on, which must be a power of 2. Throws
/// std::bad_alloc. The plain operator new is asked for max(alignment, what it aligns by itself) bytes more:
/// it takes freed pieces again, as aligned ones need not.
[[nodiscard]] VX_EXPORT void* vf_AllocateAligned(std::size_t size, std::size_t alignment);

/// Frees what vf_AllocateAligned gave. Null is allowed.
VX_EXPORT void vf_FreeAligned(void* memory) noexcept;

/// \file
/// Memory that starts where wide vectors load it at once.
#pragma once

#include "kavsys/export.h"

#include <cstddef>

/// `size` bytes, not initialized, from a multiple of `alignment` on, which must be a power of 2. Throws
/// std::bad_alloc. It comes from the plain operator new, `alignment` bytes more or as many as that
/// aligns by itself, if that is more: it takes freed pieces again, which an aligned operator new need not do.
[[nodiscard]] VX_EXPORT void* vf_AllocateAligned(std::size_t size, std::size_t alignment);

/// Frees what vf_AllocateAligned gave. Null is allowed.
VX_EXPORT void vf_FreeAligned(void* memory) noexcept;

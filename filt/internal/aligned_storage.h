/// \file
/// Float arrays that start at a multiple of 16 bytes within a vector that is a few floats longer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

/// The first element at a multiple of 16 bytes; at most 3 are skipped. Null for a vector without memory.
[[nodiscard]] inline float* vf_AlignedStart(std::vector<float>& storage) noexcept {
    constexpr std::uintptr_t alignment = 16;
    const auto address = reinterpret_cast<std::uintptr_t>(storage.data());
    const std::uintptr_t skipped = (alignment - address % alignment) % alignment;
    return storage.data() + skipped / sizeof(float);
}

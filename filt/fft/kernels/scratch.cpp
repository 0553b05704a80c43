#include "filt/fft/kernels/scratch.h"

#include <cstdint>

namespace {
constexpr std::size_t alignment = 16;
}

vx_Scratch::vx_Scratch(std::size_t width, std::size_t height) {
    if (width == height || width == 1 || height == 1) {
        return;
    }
    // Seven floats pay for the alignment.
    storage_.resize(width * height * 2 + 7);
    const std::size_t past = reinterpret_cast<std::uintptr_t>(storage_.data()) % alignment;
    data_ = storage_.data() + (alignment - past) % alignment / sizeof(float);
}

/// \file
/// Room for the transposed matrix of a transform that is not square.
#pragma once

#include <cstddef>
#include <vector>

class vx_Scratch {
public:
    /// Takes memory only when the sides differ and neither is 1: no other transform needs it.
    vx_Scratch(std::size_t width, std::size_t height);

    /// width * height samples from a multiple of 16 bytes on; null when there is no room.
    [[nodiscard]] float* data() noexcept { return data_; }

private:
    std::vector<float> storage_;
    float* data_ = nullptr;
};

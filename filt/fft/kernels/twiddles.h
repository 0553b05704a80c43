/// \file
/// The base tables of the twiddle factors.
#pragma once

#include <array>
#include <cstddef>

/// For each level k, with L = 2^k and the angle a = direction 2 pi / L: the cosines and sines of a and 3 a,
/// computed in double and rounded to float. Sixteen levels reach transforms of length 32768.
struct vx_Twiddles {
    static constexpr std::size_t levels = 16;

    explicit vx_Twiddles(double direction);

    std::array<float, levels> cos1;
    std::array<float, levels> sin1;
    std::array<float, levels> cos3;
    std::array<float, levels> sin3;
};

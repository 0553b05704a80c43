#include "filt/fft/kernels/twiddles.h"

#include "filt/internal/numerics.h"

#include <cmath>

vx_Twiddles::vx_Twiddles(double direction) {
    constexpr double twoPi = 6.283185307179586;
    double length = 1.0;
    for (std::size_t level = 0; level < levels; ++level) {
        const double angle = direction * twoPi / length;
        cos1[level] = static_cast<float>(std::cos(angle));
        sin1[level] = static_cast<float>(std::sin(angle));
        cos3[level] = static_cast<float>(std::cos(3.0 * angle));
        sin3[level] = static_cast<float>(std::sin(3.0 * angle));
        length *= 2.0;
    }
}

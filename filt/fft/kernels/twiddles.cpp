#include "filt/fft/kernels/twiddles.h"

#include "filt/internal/numerics.h"

#include <algorithm>
#include <cmath>

namespace {

struct Factor {
    float re = 1.0F;
    float im = 0.0F;

    void advance(float c, float s) noexcept {
        const float before = re;
        re = before * c - im * s;
        im = im * c + before * s;
    }
};

void fill(vx_Twiddle* factors, std::size_t span, int direction) {
    constexpr double twoPi = 6.283185307179586;
    const double angle = (direction > 0 ? twoPi : -twoPi) / static_cast<double>(span);
    const auto c1 = static_cast<float>(std::cos(angle));
    const auto s1 = static_cast<float>(std::sin(angle));
    const auto c3 = static_cast<float>(std::cos(3.0 * angle));
    const auto s3 = static_cast<float>(std::sin(3.0 * angle));
    Factor w1;
    Factor w3;
    for (std::size_t j = 0; j < span / 4; ++j) {
        factors[j] = {w1.re, w1.im, -w1.re, w3.re, w3.im};
        w1.advance(c1, s1);
        w3.advance(c3, s3);
    }
}

} // namespace

vx_Twiddles::vx_Twiddles(std::size_t longest, int direction)
    : factors_(std::max<std::size_t>(longest / 2, 1)) {
    for (std::size_t span = 4; span <= longest; span *= 2) {
        fill(factors_.get() + span / 4, span, direction);
    }
}

vx_Twiddles::~vx_Twiddles() = default;

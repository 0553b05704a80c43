#include "filt/fft/kernels/split_step.h"

#include "filt/internal/numerics.h"

#include <algorithm>
#include <cmath>

namespace {
// sinf may be off by a unit in the last place; rounded from double precision it is the same everywhere.
float sine(float angle) {
    return static_cast<float>(std::sin(static_cast<double>(angle)));
}
} // namespace

vx_SplitStep::vx_SplitStep(std::size_t n, int direction)
    : n_(n), c2_(direction > 0 ? -0.5F : 0.5F), factors_(std::max<std::size_t>(n / 2, 1)) {
    constexpr double pi = 3.141592653589793;
    const double angle = pi / static_cast<double>(n);
    const auto theta = static_cast<float>(direction > 0 ? angle : -angle);
    const float s = sine(0.5F * theta);
    const auto wpr = static_cast<float>(-2.0 * static_cast<double>(s) * static_cast<double>(s));
    // The opposite sign of the textbook's, since the 1-D transform has the negative exponent.
    const float wpi = -sine(theta);
    Factor w{1.0F + wpr, wpi};
    for (std::size_t k = 1; k < n / 2; ++k) {
        factors_.get()[vf_BitReversed<Factor>(k, n / 2)] = w;
        w = {w.re + (w.re * wpr - w.im * wpi), w.im + (w.im * wpr + w.re * wpi)};
    }
}

vx_SplitStep::~vx_SplitStep() = default;

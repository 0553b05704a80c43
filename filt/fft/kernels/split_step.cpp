#include "filt/fft/kernels/split_step.h"

#include "filt/internal/numerics.h"

#include <cmath>

vx_SplitStep::vx_SplitStep(std::size_t n, int direction)
    : n_(n), forward_(direction > 0), c2_(forward_ ? -0.5F : 0.5F) {
    constexpr double pi = 3.141592653589793;
    const double angle = pi / static_cast<double>(n);
    const auto theta = static_cast<float>(forward_ ? angle : -angle);
    const float s = sinf(0.5F * theta);
    wpr_ = static_cast<float>(-2.0 * static_cast<double>(s) * static_cast<double>(s));
    // The opposite sign of the textbook's, since the 1-D transform has the negative exponent.
    wpi_ = -sinf(theta);
}

void vx_SplitStep::apply(vx_Samples z) const noexcept {
    splitPairs(z);
    // Rows of two values have no middle sample.
    if (n_ > 1) {
        z.im(n_ / 2) = -z.im(n_ / 2);
    }
    splitEnds(z);
}

void vx_SplitStep::splitPairs(vx_Samples z) const noexcept {
    constexpr float c1 = 0.5F;
    float wr = 1.0F + wpr_;
    float wi = wpi_;
    for (std::size_t k = 1; k < n_ / 2; ++k) {
        const std::size_t mirror = n_ - k;
        const float h1r = c1 * (z.re(k) + z.re(mirror));
        const float h1i = c1 * (z.im(k) - z.im(mirror));
        const float h2r = -c2_ * (z.im(k) + z.im(mirror));
        const float h2i = c2_ * (z.re(k) - z.re(mirror));
        z.re(k) = h1r + wr * h2r - wi * h2i;
        z.im(k) = h1i + wr * h2i + wi * h2r;
        z.re(mirror) = h1r - wr * h2r + wi * h2i;
        z.im(mirror) = -h1i + wr * h2i + wi * h2r;
        const float before = wr;
        wr = before + (before * wpr_ - wi * wpi_);
        wi = wi + (wi * wpr_ + before * wpi_);
    }
}

/// DC and Nyquist, which arrive as the two parts of one sample.
void vx_SplitStep::splitEnds(vx_Samples z) const noexcept {
    const float sum = z.re(0) + z.im(0);
    const float difference = z.re(0) - z.im(0);
    z.re(0) = forward_ ? sum : 0.5F * sum;
    z.im(0) = 0.0F;
    z.re(n_) = forward_ ? difference : 0.5F * difference;
    z.im(n_) = 0.0F;
}

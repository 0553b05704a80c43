#include "filt/fft/kernels/row_transform.h"

#include "filt/internal/numerics.h"
#include "kavstd/attention.h"

namespace {

struct Twiddle {
    float re = 1.0F;
    float im = 0.0F;

    /// One step further by the angle of (c, s). The rounding that this accumulates is part of the numerics.
    void advance(float c, float s) noexcept {
        const float before = re;
        re = before * c - im * s;
        im = im * c + before * s;
    }
};

void conjugate(vx_Samples x, std::size_t n) noexcept {
    for (std::size_t i = 0; i < n; ++i) {
        x.im(i) = -x.im(i);
    }
}

/// The L-shaped butterfly of the samples i0, i0 + quarter, i0 + 2 quarter and i0 + 3 quarter.
void butterfly(vx_Samples x, std::size_t i0, std::size_t quarter, Twiddle w1, Twiddle w3) noexcept {
    const std::size_t i1 = i0 + quarter;
    const std::size_t i2 = i1 + quarter;
    const std::size_t i3 = i2 + quarter;
    float r1 = x.re(i0) - x.re(i2);
    x.re(i0) += x.re(i2);
    float r2 = x.re(i1) - x.re(i3);
    x.re(i1) += x.re(i3);
    const float s1 = x.im(i0) - x.im(i2);
    x.im(i0) += x.im(i2);
    float s2 = x.im(i1) - x.im(i3);
    x.im(i1) += x.im(i3);
    const float s3 = r1 - s2;
    r1 = r1 + s2;
    s2 = r2 - s1;
    r2 = r2 + s1;
    x.re(i2) = r1 * w1.re - s2 * w1.im;
    x.im(i2) = -s2 * w1.re - r1 * w1.im;
    x.re(i3) = s3 * w3.re + r2 * w3.im;
    x.im(i3) = r2 * w3.re - s3 * w3.im;
}

/// One stage: the butterflies of every block of `span` samples that the split radix has left at this level.
void stage(vx_Samples x, std::size_t n, std::size_t span, std::size_t level,
           const vx_Twiddles& twiddles) noexcept {
    const std::size_t quarter = span / 4;
    Twiddle w1;
    Twiddle w3;
    for (std::size_t j = 0; j < quarter; ++j) {
        std::size_t first = j;
        std::size_t step = 2 * span;
        while (first < n - 1) {
            for (std::size_t i0 = first; i0 < n - 1; i0 += step) {
                butterfly(x, i0, quarter, w1, w3);
            }
            first = 2 * step - span + j;
            step = 4 * step;
        }
        w1.advance(twiddles.cos1[level], twiddles.sin1[level]);
        w3.advance(twiddles.cos3[level], twiddles.sin3[level]);
    }
}

/// The butterflies of the blocks of two samples.
void lastStage(vx_Samples x, std::size_t n) noexcept {
    std::size_t first = 0;
    std::size_t step = 4;
    while (first < n - 1) {
        for (std::size_t i0 = first; i0 < n; i0 += step) {
            const float re = x.re(i0);
            const float im = x.im(i0);
            x.re(i0) = re + x.re(i0 + 1);
            x.im(i0) = im + x.im(i0 + 1);
            x.re(i0 + 1) = re - x.re(i0 + 1);
            x.im(i0 + 1) = im - x.im(i0 + 1);
        }
        first = 2 * step - 2;
        step = 4 * step;
    }
}

} // namespace

void vf_TransformRow(vx_Samples x, std::size_t n, const vx_Twiddles& twiddles,
                     const vx_BitReversal& bitReversal, int direction) noexcept {
    if (direction < 0) {
        conjugate(x, n);
    }
    std::size_t level = 0;
    while ((n >> level) > 1) {
        ++level;
    }
    for (; level >= 2; --level) {
        stage(x, n, std::size_t{1} << level, level, twiddles);
    }
    lastStage(x, n);
    bitReversal.apply(x);
    if (direction < 0) {
        conjugate(x, n);
    }
}

void vf_TransformRows(float* data, std::size_t rows, std::size_t n, const vx_Twiddles& twiddles,
                      const vx_BitReversal& bitReversal, int direction) {
    for (std::size_t row = 0; row < rows; ++row) {
        vf_CheckAttention(row);
        vf_TransformRow(vx_Samples(data + row * 2 * n), n, twiddles, bitReversal, direction);
    }
}

void vf_CheckAttention(std::size_t row) {
    if (row % 16 == 0) {
        vxAttention::check();
    }
}

/// \file
/// From the transform of a real row read as half as many complex samples to the half spectrum of the row.
#pragma once

#include "filt/fft/kernels/split_radix.h"
#include "filt/fft/kernels/workspace.h"

#include <cstddef>

/// The split step of rows of 2 n real values, n at least 1.
class vx_SplitStep {
public:
    vx_SplitStep(std::size_t n, int direction);
    vx_SplitStep(const vx_SplitStep&) = delete;
    vx_SplitStep& operator=(const vx_SplitStep&) = delete;
    ~vx_SplitStep();

    /// Takes the transform Z[0 .. n-1] of the samples z[k] = (x[2k], x[2k+1]) and leaves X[0 .. n]: one
    /// sample more. Sample k < n is at place vf_BitReversed(k, n).
    template <class L>
    void apply(vx_LaneSample<L>* z) const noexcept {
        // Places m .. 2m-1 are the odd multiples of n / 2m: those below n/2 at even places and, from the
        // other end on, their counterparts n - k.
        for (std::size_t m = 2; m < n_; m *= 2) {
            for (std::size_t place = m; place < 2 * m; place += 2) {
                splitPair<L>(z[place], z[3 * m - 1 - place], factors_.get()[place / 2]);
            }
        }
        // Rows of two values have no middle sample.
        if (n_ > 1) {
            z[1].im = -z[1].im;
        }
        splitEnds<L>(z[0], z[n_]);
    }

private:
    struct Factor {
        float re;
        float im;
    };

    template <class L>
    void splitPair(vx_LaneSample<L>& a, vx_LaneSample<L>& b, const Factor& w) const noexcept {
        using V = typename L::V;
        constexpr float c1 = 0.5F;
        const V h1r = (a.re + b.re) * c1;
        const V h1i = (a.im - b.im) * c1;
        const V h2r = (a.im + b.im) * -c2_;
        const V h2i = (a.re - b.re) * c2_;
        a.re = h1r + h2r * w.re - h2i * w.im;
        a.im = h1i + h2i * w.re + h2r * w.im;
        b.re = h1r - h2r * w.re + h2i * w.im;
        b.im = -h1i + h2i * w.re + h2r * w.im;
    }

    /// DC and Nyquist, which arrive as the two parts of one sample.
    template <class L>
    void splitEnds(vx_LaneSample<L>& dc, vx_LaneSample<L>& nyquist) const noexcept {
        using V = typename L::V;
        const V sum = dc.re + dc.im;
        const V difference = dc.re - dc.im;
        const float scale = c2_ < 0.0F ? 1.0F : 0.5F;
        dc.re = sum * scale;
        nyquist.re = difference * scale;
        dc.im = V{};
        nyquist.im = V{};
    }

    std::size_t n_;
    float c2_;
    vx_Workspace<Factor> factors_; // Of the sample at place 2 i, 1 <= i < n/2.
};

/// \file
/// The factors of the 1-D transform's butterflies.
#pragma once

#include "filt/fft/kernels/workspace.h"

#include <cstddef>

/// w = (re1, im1) and w3 = (re3, im3) of one butterfly; -re1 spares it a negation.
struct vx_Twiddle {
    float re1;
    float im1;
    float negativeRe1;
    float re3;
    float im3;
};

/// The factors of every span up to the length of a transform. Those of a span are powers of its first
/// (computed in double, rounded to float) by repeated multiplication in float: the rounding that this
/// accumulates is part of the numerics.
class vx_Twiddles {
public:
    /// For transforms of length 1 .. longest, a power of two. The sines have the sign of `direction`.
    vx_Twiddles(std::size_t longest, int direction);
    vx_Twiddles(const vx_Twiddles&) = delete;
    vx_Twiddles& operator=(const vx_Twiddles&) = delete;
    ~vx_Twiddles();

    /// The factors of the span's butterflies, span / 4 of them.
    [[nodiscard, gnu::always_inline]] const vx_Twiddle* of(std::size_t span) const noexcept {
        return factors_.get() + span / 4;
    }

private:
    vx_Workspace<vx_Twiddle> factors_;
};

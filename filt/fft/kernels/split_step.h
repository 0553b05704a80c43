/// \file
/// From the transform of a real row read as half as many complex samples to the half spectrum of the row.
#pragma once

#include "filt/fft/kernels/samples.h"

#include <cstddef>

/// The split step of rows of 2 n real values, n at least 1.
class vx_SplitStep {
public:
    vx_SplitStep(std::size_t n, int direction);

    /// Takes the transform Z[0 .. n-1] of the samples z[k] = (x[2k], x[2k+1]) and leaves X[0 .. n]: one
    /// sample more.
    void apply(vx_Samples z) const noexcept;

private:
    void splitPairs(vx_Samples z) const noexcept;
    void splitEnds(vx_Samples z) const noexcept;

    std::size_t n_;
    bool forward_;
    float c2_;
    float wpr_;
    float wpi_;
};

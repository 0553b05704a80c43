/// \file
/// The swaps that bring the outputs of a decimation-in-frequency transform into natural order.
#pragma once

#include "filt/fft/kernels/samples.h"

#include <cstddef>
#include <cstdint>
#include <vector>

/// The swaps of one length at a time, in storage that serves every pass of a 2-D transform.
class vx_BitReversal {
public:
    /// Room for lengths up to `maxLength`.
    explicit vx_BitReversal(std::size_t maxLength);

    /// Fills the table for length `n`, a power of two.
    void build(std::size_t n);

    /// Reorders a row of the length that the table was built for.
    void apply(vx_Samples x) const noexcept;

private:
    std::size_t n_ = 1;

    /// Positions count from 1. Entry i is 2 j when positions i < j change places, and -1 when there is
    /// nothing to do.
    std::vector<std::int32_t> table_;
};

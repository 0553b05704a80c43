/// \file
/// The square around DC that a pass filter clears and a reject filter keeps as it was.
#pragma once

#include "filt/fft/frequency_buffer.h"
#include "filt/freqfilt/internal/filter_kind.h"
#include "kavstd/pair.h"

#include <vector>

/// The frequencies u and v from 1 - radius to radius - 1; none for a radius of 0, DC alone for a radius of 1.
///
/// Made from a filter's input before anything changes, and finished on the result.
class vx_DcSquare {
public:
    /// Throws InvalidBuffer (consumed) or BadCoord (the square reaches outside), as the accessors do.
    vx_DcSquare(const vxFrequencyBuffer& input, long radius, vx_DcSquareRule rule);
    void finish(vxFrequencyBuffer& result) const;

private:
    long radius_;
    vx_DcSquareRule rule_;
    std::vector<vxPair<double>> kept_; // Row by row.
};

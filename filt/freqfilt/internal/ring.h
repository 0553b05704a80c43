/// \file
/// The ring of frequencies that a band filter works on, laid over a spectrum.
///
/// A filter stores a radial profile: 32 gains per bin of distance from the ring's centre radius. The distance
/// of a sample is measured in bins of the horizontal frequency axis; rows are scaled by the aspect of the
/// spectrum, so that the ring is a circle in cycles per pixel.
#pragma once

#include "filt/freqfilt/internal/filter_kind.h"
#include "filt/freqfilt/internal/row.h"
#include "kavstd/pair.h"

#include <array>
#include <cstdint>
#include <span>
#include <vector>

class vx_Ring {
public:
    /// `profile` belongs to a filter of that support width (bins) and size; it must outlive the ring.
    vx_Ring(double frequency, long supportWidth, std::span<const float> profile, const vxPair<long>& size);

    /// Multiplies the gains into `in`, giving `out`: the same samples or others.
    void multiply(const float* in, float* out, vx_Outside outside);

private:
    using Runs = std::array<vx_GainRun, 2>;
    [[nodiscard]] Runs runsAt(long v);
    void findGains(std::int64_t squaredV);

    long width_;
    long height_;
    std::span<const float> profile_;
    float centre_;              // Radius in bins.
    double yScale_;             // Of squared vertical frequencies.
    std::int64_t rowLimit_;     // The last |v| that the ring is looked for in.
    std::int64_t innerSquared_; // Squared radii strictly between these two are in the ring.
    std::int64_t outerSquared_;
    long begin_ = 0; // The ring's |u| at the last v: begin_ <= |u| < end_. Both shrink as |v| grows.
    long end_ = 0;
    std::vector<float> gains_;    // Of one row, by |u|.
    std::vector<float> mirrored_; // Those of u < 0 by column, where |u| counts down to 1.
};

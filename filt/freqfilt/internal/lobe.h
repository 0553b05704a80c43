/// \file
/// The elliptical Gaussian lobe that a Gabor filter works on, laid over a spectrum.
///
/// A filter stores a patch of gains, row by row, with the lobe near its middle. The patch is laid over the
/// spectrum in centred numbering, where DC is in the middle:
///
///                x0         x1
///         y0     . . . . .  :       The cells x0 <= X < x1, y0 <= Y <= y1 are applied; those
///                . . lobe . :       outside the spectrum are dropped, not wrapped.
///         y1     . . . . .  :
///
#pragma once

#include "filt/freqfilt/internal/apply.h"
#include "filt/freqfilt/internal/filter_kind.h"
#include "kavstd/pair.h"
#include "kavstd/radian.h"

#include <span>

/// Lengths are fractions of the width: `sigma` and `plateau` along and across the direction `angle`.
struct vx_LobeParameters {
    vxPair<double> sigma;
    vxPair<double> plateau;
    vxRadian angle;
    double frequency = 0.0;
    vxPair<long> size;
};

/// Columns and rows of the patch, both odd. std::length_error.
[[nodiscard]] vxPair<long> vf_LobeSupport(const vx_LobeParameters& lobe);
/// Samples the patch.
void vf_SampleLobe(const vx_LobeParameters& lobe, const vxPair<long>& support, const vx_FilterKind& kind,
                   std::span<float> patch);

/// A patch at the place of its lobe.
class vx_Lobe {
public:
    /// `patch` must outlive the lobe.
    vx_Lobe(const vx_LobeParameters& lobe, const vxPair<long>& support, std::span<const float> patch);

    /// The rows y0 to y1, as the band that a result is confined to.
    [[nodiscard]] vx_MarkedRows rowBand() const noexcept { return {true, y0_, y1_}; }
    /// Multiplies the gains into `in`, giving `out`: the same samples or others.
    void multiply(const float* in, float* out, vx_Outside outside) const;

private:
    long width_;
    long height_;
    long patchWidth_;
    const float* patch_;
    long x0_;
    long x1_;
    long y0_;
    long y1_;
};

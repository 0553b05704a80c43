/// \file
/// What the jobs of one size work on; every contestant gets the same.
#pragma once

#include "bench/jobs.h"
#include "filt/fft.h"
#include "filt/freqfilt.h"

#include <vector>

namespace bench {

struct Scene {
    /// Images of that size; the spectra have it rounded up to powers of two.
    explicit Scene(const Size& source);

    Size source;
    Size padded;

    vxPelBuffer<unsigned char> image;
    vxPelBuffer<unsigned char> second; ///< imaginary part, or what the image is correlated with
    vxPelBuffer<unsigned short> image16;
    vxPelBuffer<double> imageDouble;

    vxFrequencyFilterBandPass bandPass; ///< keeps radii of 0.15 +- 0.05 cycles per pixel and slopes off
    vxFrequencyFilterGabor gabor;       ///< its lobe covers a quarter of the rows
    std::vector<float> bandGains;       ///< the filters' gains, plain planes of the padded size
    std::vector<float> gaborGains;

    vxFrequencyBuffer spectrum;         ///< what inverse jobs start from: complex-valued in space, unmasked
    std::vector<float> spectrumSamples; ///< the same: re, im, re, im ...

    [[nodiscard]] double pels() const { return static_cast<double>(source.width * source.height); }
    [[nodiscard]] double samples() const { return static_cast<double>(padded.width * padded.height); }
};

/// re, im, re, im ... of a spectrum.
[[nodiscard]] std::vector<float> samplesOf(const vxFrequencyBuffer& spectrum);

} // namespace bench

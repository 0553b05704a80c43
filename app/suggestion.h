/// \file
/// Finding the waves that a regular pattern adds to an image, and the filters that take them out or keep
/// them.
///
/// The image is windowed (see suggestion_wave.h) and transformed. A local maximum of the power counts as a
/// peak when it stands out from what lies around it, in every direction: the background is estimated along
/// eight lines through the maximum, outside its own lobe, as an order statistic of the samples on the line
/// (Rohling, "Radar CFAR thresholding in clutter and multiple target situations", IEEE Trans. Aerospace and
/// Electronic Systems 19, 1983), and the largest of the eight counts. So neither noise, nor the streaks that
/// edges and borders draw through the spectrum, nor the skirts of the DC make peaks, and other peaks near by
/// do not hide one. Powers are compared times their frequency, which halves in dB what the spectra of
/// photographs fall by (Field, "Relations between the statistics of natural images and the response
/// properties of cortical cells", J. Optical Society of America A 4, 1987) and costs little under white
/// noise. Each peak is then fitted in the image itself, far more finely than the spectrum is sampled.
#pragma once

#include "app/filters.h"
#include "app/image.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace app {

/// That a peak is where a multiple of another one's frequency lies: part of one pattern that is no sine.
struct Harmonic {
    std::size_t of = 0; ///< Index of the fundamental.
    long order = 2;     ///< 2 and up.
};

struct SpectralPeak {
    double frequency = 0;  ///< Cycles per pixel, up to sqrt(0.5) along a diagonal.
    double angle = 0;      ///< Degrees, from 0 to below 180: 0 changes along x, 90 along y.
    double amplitude = 0;  ///< Of the sine wave that has the peak's power, in pels.
    double prominence = 0; ///< Above the background, in dB.
    /// Of the filter for it; see suggestedFilter.
    Extents sigma;
    std::optional<Harmonic> harmonic = {};
};

struct PeakSearch {
    std::size_t count = 10;
    /// In dB. Of noise alone, the largest that thousands of images showed was 12.
    double prominence = 15;
};

/// The smallest width and height of an image that is searched.
inline constexpr long smallestSearched = 32;

/// The peaks, the largest amplitude first; a wave and its conjugate are one. Left out are
///   - what repeats less than three times from border to border, which uneven light does as well;
///   - amplitudes below 1e-4 of the difference between the largest and the smallest pel, and in integer
///   depths
///     below 0.4, which computing and rounding make;
///   - all but the strongest of peaks within four resolution cells (1 / width and 1 / height).
/// UnreadableError for an image that is too small, or whose pels cannot be transformed.
[[nodiscard]] std::vector<SpectralPeak> findPeaks(const Image& image, const PeakSearch& search = {});

/// The filter of that type (any but "image") for a peak: its middle at the peak, as wide as the peak with
/// what an image's borders add to it. Of lobes it is a pair. A reject filter keeps the mean, a pass filter
/// clears it. Nothing for a frequency above 0.5, which filters do not reach. Rounded to digits that matter.
///
/// Sigma is the largest of
///   - 1 / 24 of the frequency: a photograph's power falls with the square of the frequency, so that a width
///     in proportion takes the same small part of the image at any frequency;
///   - 2 resolution cells: borders spread a wave over about that, and what is taken out follows changes of
///     the wave within 1 / (2 pi sigma) pixels, a twelfth of the image;
///   - twice the standard deviation of the peak itself, beyond that of a wave of constant amplitude and
///     frequency;
/// and at most a third of the frequency, where the Gaussian leaves 99 % of the mean's neighbourhood.
[[nodiscard]] std::optional<FilterParameters> suggestedFilter(const SpectralPeak& peak,
                                                              const std::string& type);

} // namespace app

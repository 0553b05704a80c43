/// \file
/// Spectra, gains and results as 8-bit pictures for the eye.
#pragma once

#include "app/image.h"
#include "filt/fft.h"

#include <optional>

namespace app {

/// What of a spectrum's samples is shown.
enum class View { magnitude, phase, real, imaginary };

/// From the values of a view to grey. Each is monotonic and saturates at black and white; none wraps.
enum class Mapping {
    /// Black for 0, or mid-grey for views with signs, to white for the largest size; logarithmic from well
    /// below the median on, so that the noise of a picture is dark.
    log,
    /// Black for 0, or mid-grey for views with signs, to white for the size that one sample in a thousand
    /// reaches, the DC left out, or for a hundredth of the largest such size if that is more.
    linear,
    range, ///< Black for the minimum to white for the maximum that the user gives.
    clip,  ///< The value itself, cut off at 0 and 255.
    angle  ///< Phases only: 0 is black, a whole turn white.
};

struct ViewSettings {
    View view = View::magnitude;
    std::optional<Mapping> mapping; ///< Default: log, of phases angle.
    std::optional<double> minimum;  ///< Both for Mapping::range and only for it.
    std::optional<double> maximum;
    bool dcInCorner = false; ///< At the upper left, as stored, instead of the middle.
    /// Default: 8-bit. The floating-point depths hold the values themselves, without a mapping; no other
    /// depth is possible.
    std::optional<Depth> depth;
};

/// UsageError where settings contradict each other.
void checkSettings(const ViewSettings& settings);

struct ViewResult {
    Image image;
    double minimum = 0; ///< Of the values.
    double maximum = 0;
    double atDc = 0;
};

/// UnreadableError when values of the spectrum are beyond single precision, UsageError as above.
[[nodiscard]] ViewResult viewSpectrum(const vxFrequencyBuffer& spectrum, const ViewSettings& settings);

/// The magnitudes on the logarithmic scale, DC in the middle.
[[nodiscard]] Image spectrumView(const vxFrequencyBuffer& spectrum);

/// The real parts of a filter's gains, DC in the middle: 0 is black, 1 white.
[[nodiscard]] Image gainView(const vxFrequencyBuffer& gains);

} // namespace app

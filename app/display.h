/// \file
/// Spectra, gains and results as 8-bit pictures for the eye.
#pragma once

#include "app/image.h"
#include "filt/fft.h"

namespace app {

/// The magnitudes of a spectrum, DC in the middle, on a logarithmic scale from the median (dark grey) to the
/// largest (white). The scale is monotonic and saturates; nothing wraps.
[[nodiscard]] Image spectrumView(const vxFrequencyBuffer& spectrum);

/// The real parts of a filter's gains, DC in the middle: 0 is black, 1 white.
[[nodiscard]] Image gainView(const vxFrequencyBuffer& gains);

} // namespace app

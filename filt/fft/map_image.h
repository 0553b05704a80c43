/// \file
/// Mapping of a double image to an 8-bit image for display.
#pragma once

#include "filt/fft/errors.h"
#include "kavstd/pelbuffer.h"

/// An 8-bit image of the source's size and client transform, offset (0, 0), for a magnitude, phase, real,
/// imaginary or angle image. Values are truncated toward zero. Except with eClip and eLinearRange they are
/// not clamped: a scaled value outside 0 .. 255 wraps modulo 256.
///
/// - eClip: the pel, clamped to 0 .. 255; a NaN gives 0.
/// - eLinear: 0 to the image's maximum becomes 0 .. 255 or, when there are negative pels, minimum to maximum.
/// - eLinearRange: (pel - rangeMin) * 255 / (rangeMax - rangeMin), clamped; when rangeMin is not negative
///   the divisor is rangeMax alone. A NaN gives 0.
/// - eLogarithmic: as eLinear with ln(pel + 1), where 255 stands for ln(maximum).
/// - eAngle: radians, 2 pi becomes 255; -pi to 0 wraps into the upper half.
/// - any other value: an image of zeros.
///
/// A range that is not positive counts as 1. `rangeMin` and `rangeMax` matter to eLinearRange only. Throws
/// vxFrequencyDefs::UnboundWindow when the source is not bound.
[[nodiscard]] VX_EXPORT vxPelBuffer<unsigned char>
vfFrequencyMapImage(const vxPelBuffer_const<double>& src, vxFrequencyDefs::FrequencyMapping mapping,
                    double rangeMin, double rangeMax);

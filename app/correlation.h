/// \file
/// Sums of products of a pattern and every part of an image, computed through spectra.
#pragma once

#include "kavstd/pelbuffer.h"

namespace app {

/// For every position (x, y) from (0, 0) to (width - 1, height - 1), all such that the pattern lies within
/// the image, the sum over the pattern's pels (i, j) of image(x + i, y + j) * pattern(i, j). Through the
/// library's spectra, so in single precision: exact to 4e-6 of the roots of the squares' sums of the image
/// and of the pattern, multiplied (measured: up to 5e-7). Pels must be finite and at most 1.
[[nodiscard]] vxPelBuffer<double> correlation(const vxPelBuffer<double>& image,
                                              const vxPelBuffer<double>& pattern,
                                              const vxPair<long>& positions);

/// The same in double precision, exact to 4e-15 (measured: up to 3e-16), in up to twice the time. Neither may
/// be all zero.
[[nodiscard]] vxPelBuffer<double> preciseCorrelation(const vxPelBuffer<double>& image,
                                                     const vxPelBuffer<double>& pattern,
                                                     const vxPair<long>& positions);

} // namespace app

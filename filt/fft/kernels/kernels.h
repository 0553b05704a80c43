/// \file
/// The in-place 2-D Fourier transforms of a frequency buffer's storage.
///
/// Storage: size.y() rows of size.x() complex samples, each (real, imaginary) in single precision; sizes are powers of
/// two and at most 32768. Neither kernel scales its result. Direction is +1 (forward, negative exponent) or -1.
/// bandLow .. bandHigh is an inclusive range of rows in centred numbering: row r of the storage has the number
/// r + height / 2 when r < height / 2, else r - height / 2; the band (0, height) is every row.
///
/// A cancellation point every 16 rows and before each blocked transpose; what it throws leaves the storage partly
/// transformed.
#pragma once

#include "kavstd/pair.h"

/// Real rows in the first size.x() floats of each row; the result is the full Hermitian spectrum. Every row is
/// transformed, whatever the band.
void vf_RealFFT2D(float* data, const vxPair<long>& size, int direction, long bandLow, long bandHigh);

/// Complex input. Rows outside the band are taken to be zero and left as they are.
void vf_ComplexFFT2D(float* data, const vxPair<long>& size, int direction, long bandLow, long bandHigh);

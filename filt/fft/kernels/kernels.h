/// \file
/// The in-place 2-D Fourier transforms of a frequency buffer's storage: those of kernel_table.h for callers
/// that have samples already. Transforms from and to images take the table's own entries for their pels.
///
/// Storage: size.y() rows of size.x() complex samples, each (real, imaginary) in single precision; sizes are
/// powers of two and at most 32768. Neither kernel checks its arguments or scales its result. Direction is +1
/// (forward, negative exponent) or -1. bandLow .. bandHigh is an inclusive range of rows in centred
/// numbering: row r of the storage has the number r + height / 2 when r < height / 2, else r - height / 2;
/// the band (0, height) is every row.
///
/// A cancellation point at least every 16 rows of a pass over rows and every 16 columns of the column pass;
/// what it throws, like a failed allocation, passes through and leaves the storage partly transformed.
#pragma once

#include "kavstd/pair.h"

/// Real rows in the first size.x() floats of each row, the rest of it being free (of a row of width 1 the
/// imaginary part is taken as it is). The result is the full spectrum; what lies beyond Nyquist is exactly
/// the conjugate of what lies before it, while columns 0 and Nyquist are conjugate to themselves but for
/// rounding. Every row is transformed, whatever the band. Only direction +1 gives a transform.
void vf_RealFFT2D(float* data, const vxPair<long>& size, int direction, long bandLow, long bandHigh);

/// Complex input. Rows outside the band are taken to be zero: they are not transformed along x. Direction -1
/// gives size.x() * size.y() times the inverse.
void vf_ComplexFFT2D(float* data, const vxPair<long>& size, int direction, long bandLow, long bandHigh);

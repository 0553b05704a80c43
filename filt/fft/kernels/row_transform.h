/// \file
/// The 1-D transform under both 2-D kernels.
#pragma once

#include "filt/fft/kernels/bit_reversal.h"
#include "filt/fft/kernels/samples.h"
#include "filt/fft/kernels/twiddles.h"

#include <cstddef>

/// Transforms `n` samples in place: a split-radix decimation in frequency (P. Duhamel and H. Hollmann, "Split
/// radix FFT algorithm", 1984), then the bit reversal, which must have been built for `n`. Unscaled; n is a
/// power of two, at most 32768. A negative direction conjugates before and after.
void vf_TransformRow(vx_Samples x, std::size_t n, const vx_Twiddles& twiddles,
                     const vx_BitReversal& bitReversal, int direction) noexcept;

/// Transforms the first `rows` rows of a matrix whose rows hold `n` samples. The bit reversal must have been
/// built for `n`. A cancellation point every 16 rows.
void vf_TransformRows(float* data, std::size_t rows, std::size_t n, const vx_Twiddles& twiddles,
                      const vx_BitReversal& bitReversal, int direction);

/// The cancellation point of a loop over rows: every 16 rows, starting with row 0.
void vf_CheckAttention(std::size_t row);

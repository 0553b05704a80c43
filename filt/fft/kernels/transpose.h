/// \file
/// Transposes of complex matrices, in blocks of 4 x 4 samples so that a block's lines stay in the cache. A
/// transpose in blocks is a cancellation point.
#pragma once

#include "filt/fft/kernels/row_band.h"

#include <cstddef>

/// What is needed of a transpose in the real kernel: the result's rows 0 .. n/2, or its columns 0 .. n/2.
enum class vx_SpectrumHalf { rows, columns };

/// In place, an n x n matrix. The other half of the result is of no use.
void vf_TransposeHalf(float* data, std::size_t n, vx_SpectrumHalf needed);

/// In place, an n x n matrix. Pairs of blocks wholly outside the band stay as they are.
void vf_TransposeBand(float* data, std::size_t n, const vx_RowBand& band);

/// `rows` rows of `columns` samples become `columns` rows of `rows` samples in another buffer.
void vf_Transpose(float* source, float* destination, std::size_t columns, std::size_t rows);

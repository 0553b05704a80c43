#include "filt/fft/kernels/kernels.h"

#include "filt/fft/kernels/bit_reversal.h"
#include "filt/fft/kernels/row_band.h"
#include "filt/fft/kernels/row_transform.h"
#include "filt/fft/kernels/scratch.h"
#include "filt/fft/kernels/transpose.h"
#include "filt/fft/kernels/twiddles.h"

#include <algorithm>

namespace {

void transformRowsInBand(float* data, std::size_t width, std::size_t height, const vx_RowBand& band,
                         const vx_Twiddles& twiddles, const vx_BitReversal& bitReversal, int direction) {
    for (std::size_t row = 0; row < height; ++row) {
        vf_CheckAttention(row);
        if (band.contains(row)) {
            vf_TransformRow(vx_Samples(data + row * 2 * width), width, twiddles, bitReversal, direction);
        }
    }
}

} // namespace

void vf_ComplexFFT2D(float* data, const vxPair<long>& size, int direction, long bandLow, long bandHigh) {
    const auto width = static_cast<std::size_t>(size.x());
    const auto height = static_cast<std::size_t>(size.y());
    const vx_RowBand band(bandLow, bandHigh, height);
    // The angles are those of the forward transform; the conjugations of the 1-D transform make the inverse.
    const vx_Twiddles twiddles(1.0);
    vx_BitReversal bitReversal(std::max(width, height));
    vx_Scratch scratch(width, height);

    bitReversal.build(width);
    transformRowsInBand(data, width, height, band, twiddles, bitReversal, direction);
    if (width == height) {
        vf_TransposeBand(data, width, band);
        vf_TransformRows(data, width, height, twiddles, bitReversal, direction);
        vf_TransposeBand(data, width, vx_RowBand(0, static_cast<long>(width), width));
        return;
    }
    bitReversal.build(height);
    if (width == 1 || height == 1) {
        // The columns lie in a row as they are.
        vf_TransformRows(data, width, height, twiddles, bitReversal, direction);
        return;
    }
    vf_Transpose(data, scratch.data(), width, height);
    vf_TransformRows(scratch.data(), width, height, twiddles, bitReversal, direction);
    vf_Transpose(scratch.data(), data, height, width);
}

#include "filt/fft/kernels/kernels.h"

#include "filt/fft/kernels/bit_reversal.h"
#include "filt/fft/kernels/row_transform.h"
#include "filt/fft/kernels/scratch.h"
#include "filt/fft/kernels/split_step.h"
#include "filt/fft/kernels/transpose.h"
#include "filt/fft/kernels/twiddles.h"

#include <algorithm>

namespace {

/// Each row of `width` real values becomes its half spectrum, samples 0 .. width/2.
void transformRealRows(float* data, std::size_t width, std::size_t height, const vx_Twiddles& twiddles,
                       vx_BitReversal& bitReversal, int direction) {
    const std::size_t n = width / 2;
    bitReversal.build(n);
    const vx_SplitStep splitStep(n, direction);
    for (std::size_t row = 0; row < height; ++row) {
        vf_CheckAttention(row);
        const vx_Samples z(data + row * 2 * width);
        vf_TransformRow(z, n, twiddles, bitReversal, direction);
        splitStep.apply(z);
    }
}

/// The columns right of width/2 are the conjugates of those on the left, at the negative row.
void completeHermitian(vx_Samples x, std::size_t width, std::size_t height) noexcept {
    for (std::size_t v = 0; v < height; ++v) {
        const std::size_t mirror = v == 0 ? 0 : height - v;
        for (std::size_t u = 1; u < width / 2; ++u) {
            x.re(v * width + width - u) = x.re(mirror * width + u);
            x.im(v * width + width - u) = -x.im(mirror * width + u);
        }
    }
}

} // namespace

void vf_RealFFT2D(float* data, const vxPair<long>& size, int direction, long /*bandLow*/, long /*bandHigh*/) {
    const auto width = static_cast<std::size_t>(size.x());
    const auto height = static_cast<std::size_t>(size.y());
    const std::size_t columns = width / 2 + 1;
    // The direction acts through the angles and again through the conjugations of the 1-D transform, which
    // undo it.
    const vx_Twiddles twiddles(direction);
    vx_BitReversal bitReversal(std::max(width, height));
    vx_Scratch scratch(width, height);

    if (width > 1) {
        transformRealRows(data, width, height, twiddles, bitReversal, direction);
    }
    bitReversal.build(height);
    if (width == 1 || height == 1) {
        // The columns lie in a row as they are.
        vf_TransformRows(data, columns, height, twiddles, bitReversal, direction);
    } else if (width == height) {
        vf_TransposeHalf(data, width, vx_SpectrumHalf::rows);
        vf_TransformRows(data, columns, height, twiddles, bitReversal, direction);
        vf_TransposeHalf(data, width, vx_SpectrumHalf::columns);
    } else {
        vf_Transpose(data, scratch.data(), width, height);
        vf_TransformRows(scratch.data(), columns, height, twiddles, bitReversal, direction);
        vf_Transpose(scratch.data(), data, height, width);
    }
    completeHermitian(vx_Samples(data), width, height);
}

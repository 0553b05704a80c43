#include "filt/fft/kernels/transpose.h"

#include "filt/fft/kernels/samples.h"
#include "kavstd/attention.h"
#include "kavsys/assert.h"

namespace {

constexpr std::size_t blockSize = 4;

/// Exchanges the block at row `row` and column `column` of an n x n matrix with its mirror image and
/// transposes both.
void swapBlocks(vx_Samples x, std::size_t n, std::size_t row, std::size_t column) noexcept {
    for (std::size_t i = 0; i < blockSize; ++i) {
        // A block on the diagonal is its own mirror image.
        const std::size_t count = row == column ? i : blockSize;
        for (std::size_t j = 0; j < count; ++j) {
            vf_SwapSamples(x, (row + i) * n + column + j, (column + j) * n + row + i);
        }
    }
}

/// Copies one block, transposed, between matrices whose rows hold `sourceWidth` and `destinationWidth`
/// samples.
void copyBlock(vx_Samples source, std::size_t sourceWidth, vx_Samples destination,
               std::size_t destinationWidth, std::size_t row, std::size_t column) noexcept {
    for (std::size_t i = 0; i < blockSize; ++i) {
        for (std::size_t j = 0; j < blockSize; ++j) {
            vf_CopySample(source, (row + i) * sourceWidth + column + j, destination,
                          (column + j) * destinationWidth + row + i);
        }
    }
}

void transposeElements(vx_Samples x, std::size_t n) noexcept {
    for (std::size_t row = 1; row < n; ++row) {
        for (std::size_t column = 0; column < row; ++column) {
            vf_SwapSamples(x, row * n + column, column * n + row);
        }
    }
}

} // namespace

void vf_TransposeHalf(float* data, std::size_t n, vx_SpectrumHalf needed) {
    const vx_Samples x(data);
    if (n < 2 * blockSize) {
        transposeElements(x, n);
        return;
    }
    VX_ASSERT(n % blockSize == 0);
    vxAttention::check();
    const std::size_t limit = n / 2 + blockSize;
    for (std::size_t row = 0; row < n; row += blockSize) {
        for (std::size_t column = 0; column <= row && column < limit; column += blockSize) {
            if (row >= limit && needed == vx_SpectrumHalf::rows) {
                copyBlock(x, n, x, n, row, column);
            } else {
                swapBlocks(x, n, row, column);
            }
        }
    }
}

void vf_TransposeBand(float* data, std::size_t n, const vx_RowBand& band) {
    const vx_Samples x(data);
    if (n < blockSize) {
        transposeElements(x, n);
        return;
    }
    VX_ASSERT(n % blockSize == 0);
    vxAttention::check();
    for (std::size_t row = 0; row < n; row += blockSize) {
        for (std::size_t column = 0; column <= row; column += blockSize) {
            if (band.touchesBlock(row) || band.touchesBlock(column)) {
                swapBlocks(x, n, row, column);
            }
        }
    }
}

void vf_Transpose(float* source, float* destination, std::size_t columns, std::size_t rows) {
    const vx_Samples from(source);
    const vx_Samples to(destination);
    if (columns < blockSize || rows < blockSize) {
        for (std::size_t row = 0; row < rows; ++row) {
            for (std::size_t column = 0; column < columns; ++column) {
                vf_CopySample(from, row * columns + column, to, column * rows + row);
            }
        }
        return;
    }
    VX_ASSERT(columns % blockSize == 0 && rows % blockSize == 0);
    vxAttention::check();
    for (std::size_t row = 0; row < rows; row += blockSize) {
        for (std::size_t column = 0; column < columns; column += blockSize) {
            copyBlock(from, columns, to, rows, row, column);
        }
    }
}

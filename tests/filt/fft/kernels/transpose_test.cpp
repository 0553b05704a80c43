#include "filt/fft/kernels/transpose.h"

#include "kavstd/attention.h"
#include "kavsys/assert.h"
#include "tests/filt/fft/kernels/kernel_data.h"
#include "tests/oracle/fft_kernels.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

using kernel_data::Matrix;

Matrix noise(std::size_t w, std::size_t h) {
    return kernel_data::make(static_cast<long>(w), static_cast<long>(h), kernel_data::Kind::noise, 1);
}

Matrix transposed(const Matrix& data, std::size_t columns, std::size_t rows) {
    Matrix result(data.size());
    for (std::size_t row = 0; row < rows; ++row) {
        for (std::size_t column = 0; column < columns; ++column) {
            result[2 * (column * rows + row)] = data[2 * (row * columns + column)];
            result[2 * (column * rows + row) + 1] = data[2 * (row * columns + column) + 1];
        }
    }
    return result;
}

template <class Operation>
long checksOf(Operation operation) {
    long checks = 0;
    const vxAttention::Scope scope([&checks] { ++checks; });
    operation();
    return checks;
}

/// Cancels at the first check; whether anything changed by then.
template <class Operation>
void expectCancelledBeforeItStarts(const Matrix& data, Operation operation) {
    const Matrix before = data;
    const vxAttention::Scope scope([] { throw std::runtime_error("cancelled"); });
    EXPECT_THROW(operation(), std::runtime_error);
    EXPECT_EQ(data, before);
}

TEST(TransposeHalf, MovesTheRowsThatTheColumnPassNeeds) {
    for (std::size_t n = 1; n <= 256; n *= 2) {
        const Matrix source = noise(n, n);
        const Matrix expected = transposed(source, n, n);
        Matrix data = source;
        const long checks = checksOf([&] { vf_TransposeHalf(data.data(), n, vx_SpectrumHalf::rows); });
        EXPECT_EQ(checks, n < 8 ? 0 : 1) << n;
        for (std::size_t i = 0; i < (n / 2 + 1) * n * 2; ++i) {
            ASSERT_EQ(data[i], expected[i]) << "float " << i << " of " << n << " x " << n;
        }
    }
}

TEST(TransposeHalf, BringsTheNeededColumnsBack) {
    for (std::size_t n = 1; n <= 256; n *= 2) {
        const Matrix source = noise(n, n);
        const Matrix expected = transposed(source, n, n);
        Matrix data = source;
        // The column pass leaves nothing of use in the other rows.
        for (std::size_t i = (n / 2 + 1) * n * 2; i < data.size(); ++i) {
            data[i] = 99.0F;
        }
        const long checks = checksOf([&] { vf_TransposeHalf(data.data(), n, vx_SpectrumHalf::columns); });
        EXPECT_EQ(checks, n < 8 ? 0 : 1) << n;
        for (std::size_t row = 0; row < n; ++row) {
            for (std::size_t i = row * n * 2; i < (row * n + n / 2 + 1) * 2; ++i) {
                ASSERT_EQ(data[i], expected[i]) << "float " << i << " of " << n << " x " << n;
            }
        }
    }
}

TEST(TransposeHalf, IsCancelledBeforeItStarts) {
    Matrix data = noise(16, 16);
    expectCancelledBeforeItStarts(data, [&] { vf_TransposeHalf(data.data(), 16, vx_SpectrumHalf::rows); });
}

TEST(TransposeHalf, AssertsWholeBlocks) {
    Matrix data = noise(10, 10);
    EXPECT_THROW(vf_TransposeHalf(data.data(), 10, vx_SpectrumHalf::rows), vxAssertionFailure);
}

TEST(TransposeBand, IsAWholeTransposeWithEveryRowInTheBand) {
    for (std::size_t n = 1; n <= 256; n *= 2) {
        const Matrix source = noise(n, n);
        Matrix data = source;
        const vx_RowBand band(0, static_cast<long>(n), n);
        const long checks = checksOf([&] { vf_TransposeBand(data.data(), n, band); });
        EXPECT_EQ(checks, n < 4 ? 0 : 1) << n;
        EXPECT_EQ(data, transposed(source, n, n)) << n;
    }
}

TEST(TransposeBand, LeavesBlockPairsOutsideTheBandAlone) {
    for (const std::size_t n : {2U, 4U, 8U, 16U, 32U}) {
        const Matrix source = noise(n, n);
        for (long low = -6; low <= static_cast<long>(n) + 6; ++low) {
            for (long high = -6; high <= static_cast<long>(n) + 6; ++high) {
                Matrix data = source;
                Matrix expected = source;
                vf_TransposeBand(data.data(), n, vx_RowBand(low, high, n));
                oracle::transposeWithBand(expected, static_cast<long>(n), low, high);
                ASSERT_EQ(data, expected) << n << ", band " << low << " .. " << high;
            }
        }
    }
}

TEST(TransposeBand, SkipsOneBlockOfTwo) {
    // The band is the centred row 0, which is row 4: only the pair of the first block with itself is outside.
    const Matrix source = noise(8, 8);
    Matrix data = source;
    vf_TransposeBand(data.data(), 8, vx_RowBand(0, 0, 8));
    const Matrix expected = transposed(source, 8, 8);
    for (std::size_t row = 0; row < 8; ++row) {
        for (std::size_t column = 0; column < 8; ++column) {
            const std::size_t at = 2 * (row * 8 + column);
            EXPECT_EQ(data[at], row < 4 && column < 4 ? source[at] : expected[at]) << row << ", " << column;
        }
    }
}

TEST(TransposeBand, IsCancelledBeforeItStarts) {
    Matrix data = noise(16, 16);
    expectCancelledBeforeItStarts(data, [&] { vf_TransposeBand(data.data(), 16, vx_RowBand(0, 16, 16)); });
}

TEST(TransposeBand, AssertsWholeBlocks) {
    Matrix data = noise(6, 6);
    EXPECT_THROW(vf_TransposeBand(data.data(), 6, vx_RowBand(0, 6, 6)), vxAssertionFailure);
}

TEST(Transpose, TurnsRowsIntoColumns) {
    kernel_data::forEachSize(128, [](long w, long h) {
        const auto columns = static_cast<std::size_t>(w);
        const auto rows = static_cast<std::size_t>(h);
        Matrix source = noise(columns, rows);
        const Matrix before = source;
        Matrix data(source.size());
        const long checks = checksOf([&] { vf_Transpose(source.data(), data.data(), columns, rows); });
        EXPECT_EQ(checks, w < 4 || h < 4 ? 0 : 1) << w << " x " << h;
        EXPECT_EQ(data, transposed(before, columns, rows)) << w << " x " << h;
        EXPECT_EQ(source, before) << w << " x " << h;
    });
}

TEST(Transpose, IsCancelledBeforeItStarts) {
    Matrix source = noise(8, 4);
    Matrix data(source.size());
    expectCancelledBeforeItStarts(data, [&] { vf_Transpose(source.data(), data.data(), 8, 4); });
}

TEST(Transpose, AssertsWholeBlocks) {
    Matrix source = noise(8, 6);
    Matrix data(source.size());
    EXPECT_THROW(vf_Transpose(source.data(), data.data(), 8, 6), vxAssertionFailure);
    EXPECT_THROW(vf_Transpose(source.data(), data.data(), 6, 8), vxAssertionFailure);
}

} // namespace

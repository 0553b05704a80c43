#include "filt/fft/kernels/row_transform.h"

#include "kavstd/attention.h"
#include "tests/filt/fft/kernels/kernel_data.h"
#include "tests/oracle/fft_kernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <stdexcept>

namespace {

using kernel_data::Kind;
using kernel_data::Matrix;

void transform(Matrix& row, int direction) {
    const std::size_t n = row.size() / 2;
    vx_BitReversal bitReversal(n);
    bitReversal.build(n);
    vf_TransformRow(vx_Samples(row.data()), n, vx_Twiddles(1.0), bitReversal, direction);
}

Matrix transformedLiterally(const Matrix& row, int direction) {
    Matrix result = row;
    oracle::transformInPlace(result, 0, 1, static_cast<long>(row.size() / 2), oracle::baseTables(1.0),
                             direction);
    return result;
}

/// The same operations in another order: depth first, so that it does not depend on how the blocks of a stage
/// are enumerated.
void transformDepthFirst(Matrix& x, std::size_t first, std::size_t n, const vx_Twiddles& tables) {
    float* const at = x.data() + 2 * first;
    if (n < 2) {
        return;
    }
    if (n == 2) {
        const std::array<float, 4> in = {at[0], at[1], at[2], at[3]};
        at[0] = in[0] + in[2];
        at[1] = in[1] + in[3];
        at[2] = in[0] - in[2];
        at[3] = in[1] - in[3];
        return;
    }
    const auto level = static_cast<std::size_t>(std::countr_zero(n));
    float w1[2] = {1.0F, 0.0F};
    float w3[2] = {1.0F, 0.0F};
    const std::size_t quarter = n / 4;
    for (std::size_t j = 0; j < quarter; ++j) {
        float* const a = at + 2 * j;
        float* const b = a + 2 * quarter;
        float* const c = b + 2 * quarter;
        float* const d = c + 2 * quarter;
        const float acr = a[0] - c[0];
        const float aci = a[1] - c[1];
        const float bdr = b[0] - d[0];
        const float bdi = b[1] - d[1];
        a[0] = a[0] + c[0];
        a[1] = a[1] + c[1];
        b[0] = b[0] + d[0];
        b[1] = b[1] + d[1];
        const float p = acr + bdi;
        const float q = bdr - aci;
        const float r = acr - bdi;
        const float s = bdr + aci;
        c[0] = p * w1[0] - q * w1[1];
        c[1] = -q * w1[0] - p * w1[1];
        d[0] = r * w3[0] + s * w3[1];
        d[1] = s * w3[0] - r * w3[1];
        const std::array<float, 4> w = {w1[0], w1[1], w3[0], w3[1]};
        w1[0] = w[0] * tables.cos1[level] - w[1] * tables.sin1[level];
        w1[1] = w[1] * tables.cos1[level] + w[0] * tables.sin1[level];
        w3[0] = w[2] * tables.cos3[level] - w[3] * tables.sin3[level];
        w3[1] = w[3] * tables.cos3[level] + w[2] * tables.sin3[level];
    }
    transformDepthFirst(x, first, n / 2, tables);
    transformDepthFirst(x, first + n / 2, quarter, tables);
    transformDepthFirst(x, first + 3 * quarter, quarter, tables);
}

TEST(RowTransform, AgreesBitByBitWithTheLiteralSteps) {
    for (long n = 1; n <= 32768; n *= 2) {
        for (const Kind kind : kernel_data::everyKind) {
            for (const int direction : {1, -1}) {
                const Matrix input = kernel_data::make(n, 1, kind, static_cast<unsigned>(n));
                Matrix row = input;
                transform(row, direction);
                EXPECT_TRUE(kernel_data::sameBits(row, transformedLiterally(input, direction)))
                    << n << ", kind " << static_cast<int>(kind) << ", direction " << direction;
            }
        }
    }
}

TEST(RowTransform, DoesNotDependOnTheOrderOfTheButterflies) {
    for (long n = 1; n <= 32768; n *= 2) {
        const Matrix input = kernel_data::make(n, 1, Kind::noise, 3);
        Matrix row = input;
        transform(row, 1);
        Matrix expected = input;
        transformDepthFirst(expected, 0, static_cast<std::size_t>(n), vx_Twiddles(1.0));
        vx_BitReversal bitReversal(static_cast<std::size_t>(n));
        bitReversal.build(static_cast<std::size_t>(n));
        bitReversal.apply(vx_Samples(expected.data()));
        EXPECT_TRUE(kernel_data::sameBits(row, expected)) << n;
    }
}

TEST(RowTransform, LeavesASingleSampleUnchanged) {
    for (const int direction : {1, -1}) {
        Matrix row = {3.5F, -0.0F};
        transform(row, direction);
        EXPECT_TRUE(kernel_data::sameBits(row, {3.5F, -0.0F})) << direction;
    }
}

TEST(RowTransform, IsASumAndADifferenceForTwoSamples) {
    Matrix row = {3.0F, 10.0F, 5.0F, -4.0F};
    transform(row, 1);
    EXPECT_EQ(row, (Matrix{8.0F, 6.0F, -2.0F, 14.0F}));
}

TEST(RowTransform, ConjugatesBeforeAndAfterWhenBackward) {
    const Matrix input = kernel_data::make(64, 1, Kind::noise, 9);
    Matrix backward = input;
    transform(backward, -1);
    Matrix expected = input;
    for (std::size_t i = 1; i < expected.size(); i += 2) {
        expected[i] = -expected[i];
    }
    transform(expected, 1);
    for (std::size_t i = 1; i < expected.size(); i += 2) {
        expected[i] = -expected[i];
    }
    EXPECT_TRUE(kernel_data::sameBits(backward, expected));
}

TEST(RowTransform, KeepsWithinTheErrorThatTheArithmeticAllows) {
    for (long n = 1; n <= 2048; n *= 2) {
        for (const int direction : {1, -1}) {
            Matrix row = kernel_data::make(n, 1, Kind::noise, static_cast<unsigned>(n + direction));
            const auto expected = kernel_data::dft(kernel_data::complexRows(row), n, 1, direction);
            transform(row, direction);
            EXPECT_LE(kernel_data::relativeError(row, expected), 1.01 * kernel_data::lineErrorBound(n))
                << n << ", direction " << direction;
        }
    }
}

/// The bound grows with the longest running product of twiddles at its worst; what comes out is far better.
TEST(RowTransform, IsAsAccurateAsTheRunningTwiddlesUsuallyAre) {
    struct {
        long n;
        double usual;
    } const cases[] = {{256, 4.4e-7}, {512, 1.3e-6}, {1024, 1.8e-6}, {2048, 4.2e-6}};
    for (const auto& [n, usual] : cases) {
        for (unsigned seed = 0; seed < 8; ++seed) {
            Matrix row = kernel_data::make(n, 1, Kind::noise, seed);
            const auto expected = kernel_data::dft(kernel_data::complexRows(row), n, 1, 1);
            transform(row, 1);
            const double error = kernel_data::relativeError(row, expected);
            EXPECT_LE(error, 1.5 * usual) << n << ", seed " << seed;
            // More accurate twiddles would be other numbers.
            EXPECT_GE(error, usual / 1.5) << n << ", seed " << seed;
        }
    }
}

TEST(RowTransforms, TransformRowByRowAndNoFurther) {
    constexpr std::size_t n = 8;
    const Matrix input = kernel_data::make(8, 40, Kind::noise, 4);
    vx_BitReversal bitReversal(n);
    bitReversal.build(n);
    Matrix data = input;
    vf_TransformRows(data.data(), 37, n, vx_Twiddles(1.0), bitReversal, 1);
    for (std::ptrdiff_t row = 0; row < 40; ++row) {
        const auto begin = row * 16;
        Matrix expected(input.begin() + begin, input.begin() + begin + 16);
        if (row < 37) {
            transform(expected, 1);
        }
        EXPECT_TRUE(kernel_data::sameBits(Matrix(data.begin() + begin, data.begin() + begin + 16), expected))
            << row;
    }
}

TEST(RowTransforms, CheckBeforeEverySixteenthRow) {
    constexpr std::size_t n = 4;
    vx_BitReversal bitReversal(n);
    bitReversal.build(n);
    const Matrix input = kernel_data::make(4, 50, Kind::noise, 4);
    Matrix whole = input;
    vf_TransformRows(whole.data(), 50, n, vx_Twiddles(1.0), bitReversal, 1);
    for (int last = 0; last < 4; ++last) {
        Matrix data = input;
        int checks = 0;
        const vxAttention::Scope scope([&checks, last] {
            if (checks++ == last) {
                throw std::runtime_error("cancelled");
            }
        });
        EXPECT_THROW(vf_TransformRows(data.data(), 50, n, vx_Twiddles(1.0), bitReversal, 1),
                     std::runtime_error);
        Matrix expected = input;
        std::copy_n(whole.begin(), last * 16 * 8, expected.begin());
        EXPECT_TRUE(kernel_data::sameBits(data, expected)) << last;
    }
}

} // namespace

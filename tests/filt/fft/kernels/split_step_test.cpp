#include "filt/fft/kernels/split_step.h"

#include "filt/fft/kernels/row_transform.h"
#include "tests/filt/fft/kernels/kernel_data.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using kernel_data::Matrix;

TEST(SplitStep, HasNoMiddleSampleToNegateInARowOfTwo) {
    Matrix row = {3.0F, 5.0F, 99.0F, 99.0F};
    vx_SplitStep(1, 1).apply(vx_Samples(row.data()));
    EXPECT_EQ(row, (Matrix{8.0F, 0.0F, -2.0F, 0.0F}));
}

TEST(SplitStep, HalvesTheEndsWhenNotForward) {
    for (const int direction : {-1, 0}) {
        Matrix row = {3.0F, 5.0F, 7.0F, 11.0F, 99.0F, 99.0F};
        vx_SplitStep(2, direction).apply(vx_Samples(row.data()));
        EXPECT_EQ(row, (Matrix{4.0F, 0.0F, 7.0F, -11.0F, -1.0F, 0.0F})) << direction;
    }
}

TEST(SplitStep, WritesOneSampleMoreThanItReads) {
    Matrix row = {3.0F, 5.0F, 7.0F, 11.0F, 99.0F, 99.0F, 98.0F, 97.0F};
    vx_SplitStep(2, 1).apply(vx_Samples(row.data()));
    EXPECT_EQ(row, (Matrix{8.0F, 0.0F, 7.0F, -11.0F, -2.0F, 0.0F, 98.0F, 97.0F}));
}

TEST(SplitStep, MakesTheHalfSpectrumOfRealRows) {
    for (std::size_t n = 1; n <= 1024; n *= 2) {
        const long width = static_cast<long>(2 * n);
        Matrix row = kernel_data::make(width, 1, kernel_data::Kind::noise, 5);
        std::vector<std::complex<double>> expected =
            kernel_data::dft(kernel_data::realRows(row, width, 1), width, 1, 1);
        expected.resize(n + 1);

        vx_BitReversal bitReversal(n);
        bitReversal.build(n);
        vf_TransformRow(vx_Samples(row.data()), n, vx_Twiddles(1.0), bitReversal, 1);
        vx_SplitStep(n, 1).apply(vx_Samples(row.data()));
        // The bound is relative to the whole spectrum, which is at most sqrt(2) times as long as this half.
        const double bound = kernel_data::lineErrorBound(static_cast<long>(n)) +
                             kernel_data::splitErrorBound(static_cast<long>(n));
        EXPECT_LE(kernel_data::relativeError(row, expected), std::sqrt(2.0) * 1.01 * bound) << n;
    }
}

} // namespace

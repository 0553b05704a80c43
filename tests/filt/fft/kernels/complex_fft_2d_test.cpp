#include "filt/fft/kernels/kernels.h"
#include "tests/filt/fft/kernels/kernel_data.h"
#include "tests/oracle/fft_kernels.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <utility>

namespace {

using kernel_data::Kind;
using kernel_data::Matrix;

constexpr long lowest = std::numeric_limits<long>::min();
constexpr long highest = std::numeric_limits<long>::max();

using Band = std::pair<long, long>;

Matrix transformed(Matrix data, long w, long h, int direction, Band band) {
    vf_ComplexFFT2D(data.data(), {w, h}, direction, band.first, band.second);
    return data;
}

Matrix transformed(Matrix data, long w, long h, int direction) {
    return transformed(std::move(data), w, h, direction, {0, h});
}

void expectLiteral(const Matrix& input, long w, long h, int direction, Band band) {
    Matrix expected = input;
    oracle::complexFFT2D(expected, w, h, direction, band.first, band.second);
    kernel_data::forEachInstructionSet([&] {
        EXPECT_TRUE(kernel_data::sameBits(transformed(input, w, h, direction, band), expected))
            << w << " x " << h << ", direction " << direction << ", band " << band.first << " .. "
            << band.second;
    });
}

/// Bands inside, at and beyond the edges of h rows, and empty ones.
std::vector<Band> bandsOf(long h) {
    const long half = h / 2;
    return {{0, h},
            {0, h - 1},
            {1, h},
            {0, 0},
            {half, half},
            {half - 1, half + 1},
            {h / 4, 3 * (h / 4)},
            {half + 3, half + 5},
            {h - 1, h - 1},
            {-5, half},
            {half, h + 100},
            {-7, h + 7},
            {h, h + 5},
            {-10, -1},
            {half + 2, half - 2},
            {lowest, highest},
            {highest, lowest},
            {lowest, lowest},
            {highest, highest},
            {lowest, half},
            {half, highest}};
}

void clearRowsOutside(Matrix& data, long w, long h, Band band) {
    for (long row = 0; row < h; ++row) {
        if (oracle::rowIsSkipped(row, h >> 1, band.first, band.second)) {
            std::fill_n(data.begin() + row * 2 * w, 2 * w, 0.0F);
        }
    }
}

TEST(ComplexFFT2D, AgreesBitByBitWithTheLiteralStepsForEverySize) {
    kernel_data::forEachSize(2048, [](long w, long h) {
        const Matrix input = kernel_data::make(w, h, Kind::noise, static_cast<unsigned>(w * 3 + h));
        expectLiteral(input, w, h, 1, {0, h});
        expectLiteral(input, w, h, -1, {h / 4, h / 2});
    });
}

TEST(ComplexFFT2D, AgreesBitByBitWithTheLiteralStepsForEveryInput) {
    kernel_data::forEachSize(64, [](long w, long h) {
        for (const Kind kind : kernel_data::everyKind) {
            for (const int direction : {1, -1}) {
                const Matrix input = kernel_data::make(w, h, kind, static_cast<unsigned>(w * 3 + h));
                expectLiteral(input, w, h, direction, {0, h});
                expectLiteral(input, w, h, direction, {h / 2 - 3, h / 2 + 1});
            }
        }
    });
}

TEST(ComplexFFT2D, AgreesBitByBitWithTheLiteralStepsForEveryBand) {
    kernel_data::forEachSize(32, [](long w, long h) {
        for (const Band& band : bandsOf(h)) {
            for (const int direction : {1, -1}) {
                const Matrix full = kernel_data::make(w, h, Kind::noise, static_cast<unsigned>(w * 3 + h));
                expectLiteral(full, w, h, direction, band);
                Matrix masked = full;
                clearRowsOutside(masked, w, h, band);
                expectLiteral(masked, w, h, direction, band);
            }
        }
    });
}

TEST(ComplexFFT2D, AgreesBitByBitWithTheLiteralStepsForEveryBandOfASmallSquare) {
    for (const long n : {2L, 4L, 8L, 16L}) {
        const Matrix input = kernel_data::make(n, n, Kind::noise, static_cast<unsigned>(n));
        for (long low = -6; low <= n + 6; ++low) {
            for (long high = -6; high <= n + 6; ++high) {
                expectLiteral(input, n, n, -1, {low, high});
            }
        }
    }
}

TEST(ComplexFFT2D, AgreesBitByBitWithTheLiteralStepsForRandomBands) {
    std::mt19937 generator(11);
    for (const long w : {64L, 128L, 256L}) {
        for (const long h : {64L, 128L, 256L}) {
            for (int i = 0; i < 6; ++i) {
                const Band band(static_cast<long>(generator() % 300) - 20,
                                static_cast<long>(generator() % 300) - 20);
                expectLiteral(kernel_data::make(w, h, Kind::noise, static_cast<unsigned>(i)), w, h,
                              i % 2 == 0 ? 1 : -1, band);
            }
        }
    }
}

TEST(ComplexFFT2D, ReachesTheLargestLength) {
    for (const long length : {4096L, 32768L}) {
        for (const auto& [w, h] :
             {std::pair(length, 1L), std::pair(1L, length), std::pair(length, 2L), std::pair(4L, length)}) {
            const Matrix input = kernel_data::make(w, h, Kind::noise, 17);
            expectLiteral(input, w, h, 1, {0, h});
            expectLiteral(input, w, h, -1, {h / 2 - 20, h / 2 + 20});
        }
    }
}

TEST(ComplexFFT2D, GivesTheWholeTransformWhenRowsOutsideTheBandAreZero) {
    kernel_data::forEachSize(64, [](long w, long h) {
        for (const Band& band : bandsOf(h)) {
            if (w == 4 && h == 4 && band.second < 2) {
                continue; // The only block is skipped: see the next test.
            }
            for (const int direction : {1, -1}) {
                Matrix masked = kernel_data::make(w, h, Kind::noise, 5);
                clearRowsOutside(masked, w, h, band);
                // As numbers: a zero may differ in its sign.
                EXPECT_EQ(transformed(masked, w, h, direction, band), transformed(masked, w, h, direction))
                    << w << " x " << h << ", direction " << direction << ", band " << band.first << " .. "
                    << band.second;
            }
        }
    });
}

/// The only block of a 4 x 4 matrix reaches over both halves of the rows and is judged by its first row, the
/// centred row 2. So it is not transposed for a band below, rows 0 and 1, although it holds that band.
TEST(ComplexFFT2D, LosesTheFirstTransposeOfA4x4MatrixWithABandBelowDC) {
    Matrix data(32, 0.0F);
    for (std::size_t u = 0; u < 4; ++u) {
        data[2 * (2 * 4 + u)] = static_cast<float>(u + 1); // Row 2, the centred row 0.
    }
    Matrix rows = data;
    oracle::transformInPlace(rows, 2 * 4, 1, 4, oracle::baseTables(1.0), 1);
    oracle::transformInPlace(rows, 2 * 4, 1, 4, oracle::baseTables(1.0),
                             1); // The row again, where a column should be.
    const Matrix spectrum = transformed(data, 4, 4, 1, {0, 1});
    for (std::size_t u = 0; u < 4; ++u) {
        for (std::size_t v = 0; v < 4; ++v) {
            const std::size_t at = 2 * (v * 4 + u);
            const std::size_t turned = 2 * (u * 4 + v);
            EXPECT_EQ(spectrum[at], rows[turned]) << u << ", " << v;
            EXPECT_EQ(spectrum[at + 1], rows[turned + 1]) << u << ", " << v;
        }
    }
    EXPECT_NE(spectrum, transformed(data, 4, 4, 1));
}

TEST(ComplexFFT2D, LeavesRowsOutsideTheBandUntransformed) {
    // One column: its rows outside the band take part in the column pass all the same.
    const Matrix input = kernel_data::make(1, 8, Kind::noise, 5);
    EXPECT_TRUE(kernel_data::sameBits(transformed(input, 1, 8, 1, {5, 3}), transformed(input, 1, 8, 1)));
    // One row, outside the band: nothing is left to do.
    const Matrix row = kernel_data::make(8, 1, Kind::noise, 5);
    EXPECT_TRUE(kernel_data::sameBits(transformed(row, 8, 1, 1, {1, 8}), row));
    EXPECT_FALSE(kernel_data::sameBits(transformed(row, 8, 1, 1, {0, 0}), row));
}

TEST(ComplexFFT2D, KeepsWithinTheErrorThatTheArithmeticAllows) {
    kernel_data::forEachSize(256, [](long w, long h) {
        const int direction = w < h ? 1 : -1;
        const Matrix input = kernel_data::make(w, h, Kind::noise, static_cast<unsigned>(w + 7 * h));
        const auto expected = kernel_data::dft(kernel_data::complexRows(input), w, h, direction);
        const double bound = kernel_data::lineErrorBound(w) + kernel_data::lineErrorBound(h);
        EXPECT_LE(kernel_data::relativeError(transformed(input, w, h, direction), expected), 1.01 * bound)
            << w << " x " << h;
    });
}

TEST(ComplexFFT2D, ComesBackScaledByTheNumberOfSamples) {
    kernel_data::forEachSize(256, [](long w, long h) {
        const Matrix input = kernel_data::make(w, h, Kind::noise, 13);
        const Matrix back = transformed(transformed(input, w, h, 1), w, h, -1);
        auto expected = kernel_data::complexRows(input);
        for (std::complex<double>& sample : expected) {
            sample *= static_cast<double>(w * h);
        }
        const double bound = 2.0 * (kernel_data::lineErrorBound(w) + kernel_data::lineErrorBound(h));
        EXPECT_LE(kernel_data::relativeError(back, expected), 1.01 * bound) << w << " x " << h;
    });
}

TEST(ComplexFFT2D, PassesASingleSampleUnchanged) {
    for (const int direction : {1, -1}) {
        EXPECT_TRUE(kernel_data::sameBits(transformed({-0.0F, 5.0F}, 1, 1, direction), {-0.0F, 5.0F}));
    }
}

TEST(ComplexFFT2D, AddsAndSubtractsTwoSamples) {
    const Matrix expected = {8.0F, 6.0F, -2.0F, 14.0F};
    for (const int direction : {1, -1}) {
        EXPECT_EQ(transformed({3.0F, 10.0F, 5.0F, -4.0F}, 2, 1, direction), expected) << direction;
        EXPECT_EQ(transformed({3.0F, 10.0F, 5.0F, -4.0F}, 1, 2, direction), expected) << direction;
    }
}

TEST(ComplexFFT2D, GathersAConstantImageInDC) {
    kernel_data::forEachSize(256, [](long w, long h) {
        Matrix image(static_cast<std::size_t>(2 * w * h), 3.0F);
        // Every difference is one of equal numbers, and the sums are whole numbers below 2^24: all exact.
        Matrix expected(image.size(), 0.0F);
        expected[0] = static_cast<float>(3 * w * h);
        expected[1] = static_cast<float>(3 * w * h);
        EXPECT_EQ(transformed(image, w, h, 1), expected) << w << " x " << h;
        EXPECT_EQ(transformed(image, w, h, -1), expected) << w << " x " << h;
    });
}

TEST(ComplexFFT2D, WritesNothingOutsideTheMatrix) {
    kernel_data::forEachSize(64, [](long w, long h) {
        const Matrix input = kernel_data::make(w, h, Kind::noise, 1);
        Matrix framed(input.size() + 16, 77.0F);
        std::copy(input.begin(), input.end(), framed.begin() + 8);
        vf_ComplexFFT2D(framed.data() + 8, {w, h}, -1, 0, h);
        for (std::size_t i = 0; i < 8; ++i) {
            EXPECT_EQ(framed[i], 77.0F) << w << " x " << h;
            EXPECT_EQ(framed[framed.size() - 1 - i], 77.0F) << w << " x " << h;
        }
    });
}

} // namespace

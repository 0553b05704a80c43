#include "filt/fft/cache_line_allocator.h"
#include "filt/fft/kernels/kernels.h"
#include "tests/filt/fft/kernels/kernel_data.h"
#include "tests/oracle/fft_kernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <limits>
#include <vector>

namespace {

using kernel_data::Kind;
using kernel_data::Matrix;

Matrix transformed(Matrix data, long w, long h, int direction = 1) {
    vf_RealFFT2D(data.data(), {w, h}, direction, 0, h);
    return data;
}

/// The real values that `data` holds for the kernel, with the imaginary parts of a single column at zero as
/// the forward transforms leave them.
Matrix staged(long w, long h, Kind kind, unsigned seed) {
    Matrix data = kernel_data::make(w, h, kind, seed);
    for (std::size_t i = 1; w == 1 && i < data.size(); i += 2) {
        data[i] = 0.0F;
    }
    return data;
}

void expectLiteral(long w, long h, Kind kind, int direction) {
    const Matrix input = kernel_data::make(w, h, kind, static_cast<unsigned>(w * 3 + h));
    Matrix expected = input;
    oracle::realFFT2D(expected, w, h, direction);
    kernel_data::forEachInstructionSet([&] {
        EXPECT_TRUE(kernel_data::sameBits(transformed(input, w, h, direction), expected))
            << w << " x " << h << ", kind " << static_cast<int>(kind) << ", direction " << direction;
    });
}

TEST(RealFFT2D, AgreesBitByBitWithTheLiteralStepsForEverySize) {
    kernel_data::forEachSize(2048, [](long w, long h) { expectLiteral(w, h, Kind::noise, 1); });
}

TEST(RealFFT2D, AgreesBitByBitWithTheLiteralStepsForEveryInput) {
    kernel_data::forEachSize(64, [](long w, long h) {
        for (const Kind kind : kernel_data::everyKind) {
            for (const int direction : {1, -1}) {
                expectLiteral(w, h, kind, direction);
            }
        }
    });
}

TEST(RealFFT2D, AgreesBitByBitWithTheLiteralStepsBackward) {
    for (const long side : {128L, 256L, 512L, 1024L}) {
        expectLiteral(side, side, Kind::noise, -1);
        expectLiteral(side, side / 2, Kind::integers, -1);
        expectLiteral(side / 4, side, Kind::wideRange, -1);
    }
}

// A large spectrum goes past the caches where it starts with a cache line.
TEST(RealFFT2D, GivesTheSameBitsAtEveryAddress) {
    constexpr std::size_t cacheLine = 64 / sizeof(float);
    for (const long side : {512L, 1024L, 2048L}) {
        const Matrix input = kernel_data::make(side, side, Kind::noise, 5);
        Matrix expected = input;
        oracle::realFFT2D(expected, side, side, 1);
        std::vector<float, vx_CacheLineAllocator<float>> room(input.size() + cacheLine);
        kernel_data::forEachInstructionSet([&] {
            for (const std::size_t shift : {std::size_t{0}, std::size_t{1}, cacheLine / 2}) {
                float* const data = room.data() + shift;
                std::copy(input.begin(), input.end(), data);
                vf_RealFFT2D(data, {side, side}, 1, 0, side);
                EXPECT_TRUE(kernel_data::sameBits(Matrix(data, data + input.size()), expected))
                    << side << " x " << side << ", " << shift << " floats from the start of a line";
            }
        });
    }
}

TEST(RealFFT2D, ReachesTheLargestLength) {
    for (const int direction : {1, -1}) {
        for (const long length : {4096L, 32768L}) {
            expectLiteral(length, 1, Kind::noise, direction);
            expectLiteral(1, length, Kind::noise, direction);
            expectLiteral(length, 2, Kind::noise, direction);
            expectLiteral(4, length, Kind::noise, direction);
        }
    }
}

TEST(RealFFT2D, IgnoresTheBand) {
    const long bands[][2] = {
        {3, 5}, {5, 3}, {100, 200}, {std::numeric_limits<long>::min(), std::numeric_limits<long>::max()}};
    kernel_data::forEachSize(32, [&](long w, long h) {
        const Matrix input = kernel_data::make(w, h, Kind::noise, 8);
        const Matrix expected = transformed(input, w, h);
        for (const auto& band : bands) {
            Matrix data = input;
            vf_RealFFT2D(data.data(), {w, h}, 1, band[0], band[1]);
            EXPECT_TRUE(kernel_data::sameBits(data, expected))
                << w << " x " << h << ", band from " << band[0];
        }
    });
}

TEST(RealFFT2D, TakesNothingFromTheFreeHalfOfARow) {
    kernel_data::forEachSize(32, [](long w, long h) {
        if (w == 1) {
            return; // Its imaginary parts are taken as they are.
        }
        const Matrix input = kernel_data::make(w, h, Kind::noise, 6);
        Matrix other = input;
        for (std::size_t i = 0; i < other.size(); ++i) {
            if (static_cast<long>(i) % (2 * w) >= w) {
                other[i] = std::numeric_limits<float>::quiet_NaN();
            }
        }
        EXPECT_TRUE(kernel_data::sameBits(transformed(other, w, h), transformed(input, w, h)))
            << w << " x " << h;
    });
}

TEST(RealFFT2D, KeepsWithinTheErrorThatTheArithmeticAllows) {
    kernel_data::forEachSize(256, [](long w, long h) {
        const Matrix input = staged(w, h, Kind::noise, static_cast<unsigned>(w + 7 * h));
        const auto expected = kernel_data::dft(kernel_data::realRows(input, w, h), w, h, 1);
        // Relative errors of steps that keep the norm (up to a factor) add up.
        const double rows =
            w == 1 ? 0.0 : kernel_data::lineErrorBound(w / 2) + kernel_data::splitErrorBound(w / 2);
        const double bound = rows + kernel_data::lineErrorBound(h);
        EXPECT_LE(kernel_data::relativeError(transformed(input, w, h), expected), 1.01 * bound)
            << w << " x " << h;
    });
}

TEST(RealFFT2D, IsExactlyHermitian) {
    kernel_data::forEachSize(128, [](long w, long h) {
        const Matrix spectrum = transformed(kernel_data::make(w, h, Kind::noise, 2), w, h);
        for (long v = 0; v < h; ++v) {
            for (long u = 1; u <= w / 2 - 1; ++u) {
                const auto left = static_cast<std::size_t>(2 * ((h - v) % h * w + u));
                const auto right = static_cast<std::size_t>(2 * (v * w + w - u));
                ASSERT_TRUE(kernel_data::sameBits({spectrum[right], spectrum[right + 1]},
                                                  {spectrum[left], -spectrum[left + 1]}))
                    << w << " x " << h << " at " << u << ", " << v;
            }
        }
    });
}

TEST(RealFFT2D, PassesASinglePelUnchanged) {
    EXPECT_TRUE(kernel_data::sameBits(transformed({7.0F, 0.0F}, 1, 1), {7.0F, 0.0F}));
    EXPECT_TRUE(kernel_data::sameBits(transformed({-0.0F, 0.0F}, 1, 1), {-0.0F, 0.0F}));
}

TEST(RealFFT2D, AddsAndSubtractsTwoPels) {
    EXPECT_EQ(transformed({3.0F, 5.0F, 99.0F, 99.0F}, 2, 1), (Matrix{8.0F, 0.0F, -2.0F, 0.0F}));
    EXPECT_EQ(transformed({3.0F, 0.0F, 5.0F, 0.0F}, 1, 2), (Matrix{8.0F, 0.0F, -2.0F, 0.0F}));
    EXPECT_EQ(transformed({1.0F, 2.0F, 99.0F, 99.0F, 4.0F, 8.0F, 99.0F, 99.0F}, 2, 2),
              (Matrix{15.0F, 0.0F, -5.0F, 0.0F, -9.0F, 0.0F, 3.0F, 0.0F}));
}

TEST(RealFFT2D, TransformsASingleColumnAsOneComplexSequence) {
    for (long h = 1; h <= 2048; h *= 2) {
        const Matrix input = kernel_data::make(1, h, Kind::noise, 1);
        Matrix expected = input;
        oracle::transformInPlace(expected, 0, 1, h, oracle::baseTables(1.0), 1);
        EXPECT_TRUE(kernel_data::sameBits(transformed(input, 1, h), expected)) << h;
    }
}

TEST(RealFFT2D, GathersAConstantImageInDC) {
    kernel_data::forEachSize(256, [](long w, long h) {
        Matrix image(static_cast<std::size_t>(2 * w * h), 3.0F);
        for (std::size_t i = 1; w == 1 && i < image.size(); i += 2) {
            image[i] = 0.0F;
        }
        // Every difference is one of equal numbers, and the sums are whole numbers below 2^24: all exact.
        Matrix expected(image.size(), 0.0F);
        expected[0] = static_cast<float>(3 * w * h);
        const Matrix spectrum = transformed(image, w, h);
        EXPECT_EQ(spectrum, expected) << w << " x " << h;
    });
}

TEST(RealFFT2D, WritesNothingOutsideTheMatrix) {
    kernel_data::forEachSize(64, [](long w, long h) {
        const Matrix input = kernel_data::make(w, h, Kind::noise, 1);
        Matrix framed(input.size() + 16, 77.0F);
        std::copy(input.begin(), input.end(), framed.begin() + 8);
        vf_RealFFT2D(framed.data() + 8, {w, h}, 1, 0, h);
        for (std::size_t i = 0; i < 8; ++i) {
            EXPECT_EQ(framed[i], 77.0F) << w << " x " << h;
            EXPECT_EQ(framed[framed.size() - 1 - i], 77.0F) << w << " x " << h;
        }
    });
}

} // namespace

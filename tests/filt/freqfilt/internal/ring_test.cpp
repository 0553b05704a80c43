#include "filt/freqfilt/internal/ring.h"

#include "tests/oracle/filters.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <vector>

namespace {
// In a very wide spectrum the outer limit, a float, can lie beyond the last gain: the index is kept inside
// the table.
TEST(Ring, TheIndexStaysInTheTable) {
    constexpr long width = 65536;
    constexpr long support = 32769;
    std::vector<float> profile(support * 32, 1.0F);
    profile.back() = 0.25F;
    oracle::Plane in{width, 1, std::vector<float>(width * 2, 1.0F)};
    long beyond = 0;
    for (int i = 0; i < 64; ++i) {
        const double frequency = (32767.0 + i / 512.0) / width;
        const float centre = static_cast<float>(frequency * width);
        const float outer = centre + static_cast<float>(support);
        const auto outerSquared = static_cast<std::int64_t>(outer * outer);
        // A single row has |v| = 1, which the aspect of 1 / width takes to a whole width.
        for (std::int64_t u = 1; u <= width / 2; ++u) {
            const std::int64_t squared = u * u + std::int64_t{width} * width;
            const double distance = std::sqrt(static_cast<double>(squared)) - static_cast<double>(centre);
            beyond += squared < outerSquared && static_cast<long>(distance * 32.0) >= support * 32 ? 1 : 0;
        }
        vx_Ring ring(frequency, support, profile, {width, 1});
        std::vector<float> out(in.samples.size());
        ring.multiply(in.samples.data(), out.data(), vx_Outside::zero);
        const oracle::Band band{.frequency = frequency, .width = width, .height = 1};
        ASSERT_EQ(out, oracle::applyBand(band, profile, in).samples) << i;
    }
    EXPECT_GT(beyond, 0);
}

// The gain of the sample at (x, y) when `radius` is the outer or, with a negative support, the inner one.
float gainAtLimit(float radius, long support, long x, long y) {
    constexpr long size = 64;
    const double frequency = (static_cast<double>(radius) - static_cast<double>(support)) / size;
    const long width = std::abs(support);
    const std::vector<float> profile(static_cast<std::size_t>(width) * 32, 0.5F);
    vx_Ring ring(frequency, width, profile, {size, size});
    const std::vector<float> in(size * size * 2, 1.0F);
    std::vector<float> out(in.size());
    ring.multiply(in.data(), out.data(), vx_Outside::zero);
    return out[static_cast<std::size_t>(2 * (y * size + x))];
}

// Squares that single precision rounds up to a whole number count as that number.
TEST(Ring, SquaresItsRadiiInSinglePrecision) {
    int roundedUp = 0;
    for (long y = 1; y < 20; ++y) {
        for (long x = 0; x < 20; ++x) {
            const auto squared = static_cast<float>(x * x + y * y);
            const float radius = std::sqrt(squared);
            const double exact = static_cast<double>(radius) * static_cast<double>(radius);
            if (exact >= static_cast<double>(squared) || radius * radius != squared || radius < 3.0F) {
                continue;
            }
            ++roundedUp;
            if ((radius + 3.0F) - 3.0F == radius) { // Sums are not rounded: it is the inner limit.
                EXPECT_EQ(gainAtLimit(radius, -3, x, y), 0.0F) << x << " " << y;
            }
            EXPECT_EQ(gainAtLimit(radius, 3, x, y), 0.0F) << x << " " << y; // On the outer limit.
            const float before = std::sqrt(squared - 1.0F);
            if (before == std::floor(before)) { // A sample on the x axis, within the outer limit.
                EXPECT_EQ(gainAtLimit(radius, 3, static_cast<long>(before), 0), 0.5F) << x << " " << y;
            }
        }
    }
    EXPECT_GT(roundedUp, 0);
}

// Limits beyond all integers count as 0, so nothing is in the ring.
TEST(Ring, HoldsNothingWhereItsLimitsAreNoIntegers) {
    constexpr long size = 16;
    const std::vector<float> profile(3 * 32, 0.5F);
    oracle::Plane in{size, size, std::vector<float>(size * size * 2, 1.0F)};
    for (const double frequency : {1e30, -1e30, 1e300, -1e300, std::nan("")}) {
        vx_Ring ring(frequency, 3, profile, {size, size});
        std::vector<float> out(in.samples.size(), 7.0F);
        ring.multiply(in.samples.data(), out.data(), vx_Outside::zero);
        EXPECT_EQ(out, std::vector<float>(out.size(), 0.0F)) << frequency;
    }
}

// One walk leaves nothing behind for the next.
TEST(Ring, CanBeWalkedAgain) {
    const std::vector<float> profile(3 * 32, 0.5F);
    vx_Ring ring(0.25, 3, profile, {32, 16});
    const std::vector<float> in(32 * 16 * 2, 1.0F);
    std::vector<float> first(in.size(), 7.0F);
    std::vector<float> second(in.size(), 8.0F);
    ring.multiply(in.data(), first.data(), vx_Outside::zero);
    ring.multiply(in.data(), second.data(), vx_Outside::zero);
    EXPECT_EQ(first, second);
}
} // namespace

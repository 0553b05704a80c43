#include "filt/freqfilt/band_reject.h"

#include "tests/support/filters.h"
#include "tests/support/frequency_buffers.h"
#include "tests/support/frequency_errors.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>

// What it shares with the other filters is in table_filters_test.cpp.
namespace {
using Defs = vxFrequencyDefs;
using Filter = support::Opened<support::BandRejectCase>;
using support::BufferState;
using support::expectError;
using support::filled;
using support::Parameters;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

TEST(BandReject, ProfileIsOneMinusTheBandPassProfile) {
    const Parameters p{.sigma = 0.1, .plateau = 0.125, .width = 16, .height = 16};
    const std::vector<float> profile = Filter(p).table();
    EXPECT_EQ(vxFrequencyFilterBandReject(0.01, 0.0, 0.5, {256, 256}, 0).supportWidth(), 23);
    ASSERT_EQ(profile.size(), 32U * 9U);
    for (std::size_t i = 0; i <= 64; ++i) {
        EXPECT_EQ(profile[i], 0.0F);
    }
    EXPECT_GT(profile[65], 0.0F);
    EXPECT_FLOAT_EQ(profile[96], static_cast<float>(1.0 - std::exp(-1.0 / (2.0 * 1.6 * 1.6))));
    // Where the square of the width underflows, the lobe is 1 everywhere.
    for (float gain : Filter({.sigma = 1e-170, .plateau = 0.0}).table()) {
        EXPECT_EQ(gain, 0.0F);
    }
}

TEST(BandReject, NansAreRefused) {
    Filter filter{Parameters()};
    using Argument = Defs::InvalidArgument;
    expectError<Argument>([&] { filter.sigma(nan); }, "Sigma must be positive.");
    expectError<Argument>([&] { filter.plateau(nan); }, "Plateau cannot be negative.");
    expectError<Argument>([&] { filter.frequency(nan); }, "Frequency must be between 0.0 and 0.5.");
    EXPECT_TRUE(filter == Filter(Parameters()));
}

TEST(BandReject, RemovesDcAtFrequencyZeroUnlessProtected) {
    vxFrequencyBuffer buffer = filled(16, 16, 1);
    const vxFrequencyBuffer original = buffer;
    vxFrequencyFilterBandReject(0.05, 0.0, 0.0, {16, 16}, 0).apply(buffer);
    EXPECT_EQ(buffer.getReal(0, 0, true), 0.0);
    EXPECT_EQ(buffer.getImaginary(0, 0, true), 0.0);
    buffer = original;
    vxFrequencyFilterBandReject(0.05, 0.0, 0.0, {16, 16}, 1).apply(buffer);
    EXPECT_EQ(buffer.get(0, 0, true), original.get(0, 0, true));
    EXPECT_NE(buffer.get(1, 0, true), original.get(1, 0, true));
}

TEST(BandReject, ProtectsASquareAroundDc) {
    const vxFrequencyBuffer original = filled(16, 16, 2);
    const vxFrequencyFilterBandReject filter(1.0, 2.0, 0.0, {16, 16}, 3); // Removes everything else.
    vxFrequencyBuffer inPlace = original;
    filter.apply(inPlace);
    vxFrequencyBuffer out;
    filter.apply(original, out);
    for (long v = -8; v < 8; ++v) {
        for (long u = -8; u < 8; ++u) {
            const bool inside = u >= -2 && u <= 2 && v >= -2 && v <= 2;
            const vxPair<double> expected = inside ? original.get(u, v, true) : vxPair<double>(0.0, 0.0);
            EXPECT_EQ(inPlace.get(u, v, true), expected) << u << " " << v;
            EXPECT_EQ(out.get(u, v, true), expected) << u << " " << v;
        }
    }
}

// NaNs, infinities and signed zeros outside the ring come out as they went in, payloads included.
TEST(BandReject, LeavesTheRestBitForBit) {
    const Parameters p{.sigma = 0.01, .plateau = 0.0, .frequency = 0.3, .width = 64, .height = 32};
    const Filter filter(p);
    vxFrequencyBuffer in = filled(64, 32, 3, true);
    in.put(0, 0, {-0.0, nan}, true);
    vxFrequencyBuffer out;
    filter.apply(in, out);
    const std::vector<std::uint32_t> before = BufferState(in).samples;
    const std::vector<std::uint32_t> after = BufferState(out).samples;
    filter.apply(in);
    EXPECT_EQ(BufferState(in).samples, after);
    EXPECT_EQ(after[0], before[0]);
    EXPECT_EQ(after[1], before[1]);
    // The ring is at least 10 bins away from these columns and rows.
    for (long y = 0; y < 32; ++y) {
        for (long x : {0L, 1L, 63L}) {
            if (y > 3 && y < 29) {
                continue;
            }
            const auto i = static_cast<std::size_t>(2 * (y * 64 + x));
            EXPECT_EQ(after[i], before[i]);
            EXPECT_EQ(after[i + 1], before[i + 1]);
        }
    }
    EXPECT_NE(after, before);
}

TEST(BandReject, RowsBeyondTheLimitStay) {
    vxFrequencyBuffer buffer = filled(4, 1024, 4);
    const vxFrequencyBuffer original = buffer;
    const vxFrequencyFilterBandReject filter(0.01, 2.0, 0.0, {4, 1024}, 0);
    EXPECT_EQ(filter.supportWidth(), 9);
    filter.apply(buffer);
    EXPECT_EQ(buffer.get(0, 9, true), vxPair<double>(0.0, 0.0));
    EXPECT_EQ(buffer.get(0, 10, true), original.get(0, 10, true));
    EXPECT_EQ(buffer.get(0, -10, true), original.get(0, -10, true));
}

TEST(BandReject, ResultsOfLargeAndExtremeSpectra) {
    std::mt19937 random(3);
    const auto in = [&](double low, double high) {
        return std::uniform_real_distribution(low, high)(random);
    };
    for (const auto& [width, height] : {std::pair{2048, 64}, {64, 2048}, {512, 512}, {2048, 1}, {1, 2048}}) {
        for (double scale : {0.001, 0.1, 3.0}) {
            const Parameters p{.sigma = in(0.1, 1.0) * scale,
                               .plateau = in(0.0, 1.0) * scale,
                               .frequency = in(0.0, 0.5),
                               .width = width,
                               .height = height};
            const Filter filter(p);
            vxFrequencyBuffer buffer = filled(width, height, 7, true);
            const oracle::Plane expected =
                support::expectedResult<support::BandRejectCase>(p, filter.table(), support::planeOf(buffer));
            filter.apply(buffer);
            EXPECT_EQ(support::countDifferences(support::samplesOf(buffer), expected.samples), 0)
                << width << " x " << height << ", " << scale;
        }
    }
}
} // namespace

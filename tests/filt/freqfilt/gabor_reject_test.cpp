#include "filt/freqfilt/gabor_reject.h"

#include "tests/support/filters.h"
#include "tests/support/frequency_buffers.h"
#include "tests/support/frequency_errors.h"

#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>

// What it shares with the other filters is in table_filters_test.cpp.
namespace {
using Defs = vxFrequencyDefs;
using Filter = support::Opened<support::GaborRejectCase>;
using support::BufferState;
using support::expectError;
using support::filled;
using support::Parameters;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

TEST(GaborReject, PatchIsOneMinusTheGaborPatch) {
    const vxFrequencyFilterGaborReject filter({0.02, 0.04}, {0.01, 0.02}, vxRadian(0.0), 0.25, {64, 32}, 0);
    EXPECT_EQ(filter.supportWidth(), 15);
    EXPECT_EQ(filter.supportHeight(), 13);
    const std::vector<float> reject = Filter(Parameters()).table();
    const std::vector<float> pass = support::Opened<support::GaborCase>(Parameters()).table();
    ASSERT_EQ(reject.size(), pass.size());
    for (std::size_t i = 0; i < pass.size(); ++i) {
        EXPECT_NEAR(reject[i], 1.0F - pass[i], 1e-7F);
    }
}

TEST(GaborReject, RemovesDcUnlessProtected) {
    const vxFrequencyBuffer original = filled(16, 16, 1);
    vxFrequencyFilterGaborReject filter({0.1, 0.1}, {0.0, 0.0}, vxRadian(0.3), 0.0, {16, 16}, 0);
    vxFrequencyBuffer buffer = original;
    filter.apply(buffer);
    EXPECT_EQ(buffer.get(0, 0, true), vxPair<double>(0.0, 0.0));
    filter.dcProtectionRadius(1);
    buffer = original;
    filter.apply(buffer);
    EXPECT_EQ(buffer.get(0, 0, true), original.get(0, 0, true));
    EXPECT_NE(buffer.get(1, 0, true), original.get(1, 0, true));
}

TEST(GaborReject, LeavesEverythingOutsideTheLobeBitForBit) {
    const vxFrequencyFilterGaborReject filter({0.02, 0.02}, {0.05, 0.05}, vxRadian(0.0), 0.25, {64, 64}, 0);
    vxFrequencyBuffer in = filled(64, 64, 2, true);
    support::setMask(in, true, 3, 4);
    vxFrequencyBuffer out = filled(64, 64, 3);
    filter.apply(in, out);
    const std::vector<std::uint32_t> before = BufferState(in).samples;
    const std::vector<std::uint32_t> after = BufferState(out).samples;
    filter.apply(in);
    EXPECT_EQ(BufferState(in).samples, after);
    EXPECT_EQ(BufferState(in).masked, 0);
    EXPECT_EQ(BufferState(out).masked, 0);

    const long halfWidth = filter.supportWidth() >> 1;
    const long halfHeight = filter.supportHeight() >> 1;
    long inside = 0;
    for (long v = -32; v < 32; ++v) {
        for (long u = -32; u < 32; ++u) {
            // The last column is not applied.
            if (u >= 16 - halfWidth && u < 16 + halfWidth && v >= -halfHeight && v <= halfHeight) {
                ++inside;
                continue;
            }
            const auto i = static_cast<std::size_t>(2 * ((v & 63) * 64 + (u & 63)));
            ASSERT_EQ(after[i], before[i]) << u << " " << v;
            ASSERT_EQ(after[i + 1], before[i + 1]) << u << " " << v;
        }
    }
    EXPECT_EQ(inside, 2 * halfWidth * (2 * halfHeight + 1));
    EXPECT_NE(after, before);
}

TEST(GaborReject, ChecksEachOfAPair) {
    vxFrequencyFilterGaborReject filter;
    const auto refuses = [&](vxPair<double> sigma, vxPair<double> plateau, const char* message) {
        expectError<Defs::InvalidArgument>(
            [&] {
                filter.set(sigma, plateau, vxRadian(0.0), 0.25, {16, 16}, 0);
            },
            message);
    };
    refuses({0.0, 1.0}, {0.0, 0.0}, "Sigma values must be positive.");
    refuses({1.0, 0.0}, {0.0, 0.0}, "Sigma values must be positive.");
    refuses({1.0, 1.0}, {-0.1, 0.0}, "Plateau values cannot be negative.");
    refuses({1.0, 1.0}, {0.0, -0.1}, "Plateau values cannot be negative.");
    EXPECT_THROW(filter.set({nan, 1.0}, {0.0, 0.0}, vxRadian(0.0), 0.25, {16, 16}, 0), std::length_error);
    EXPECT_FALSE(filter.isInitialized());
}

TEST(GaborReject, NanFrequencySetterDoesNothing) {
    Filter filter{Parameters()};
    const std::string before = support::storeObject(filter);
    filter.frequency(nan);
    EXPECT_EQ(support::storeObject(filter), before);
}
} // namespace

#include "filt/freqfilt/band_pass.h"

#include "tests/support/filters.h"
#include "tests/support/frequency_buffers.h"
#include "tests/support/frequency_errors.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>

// What it shares with the other filters is in table_filters_test.cpp.
namespace {
using Defs = vxFrequencyDefs;
using Filter = support::Opened<support::BandPassCase>;
using support::expectError;
using support::filled;
using support::Parameters;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

template <class T>
concept HasSupportHeight = requires(T filter) {
    filter.supportHeight();
};
static_assert(!HasSupportHeight<vxFrequencyFilterBandPass>);

vxFrequencyBuffer ones(long width, long height) {
    vxFrequencyBuffer buffer(width, height);
    for (long y = 0; y < height; ++y) {
        for (long x = 0; x < width; ++x) {
            buffer.put(x, y, {1.0, -1.0}, false);
        }
    }
    return buffer;
}

TEST(BandPass, SupportWidth) {
    EXPECT_EQ(vxFrequencyFilterBandPass(0.01, 0.0, 0.5, {256, 256}, 0).supportWidth(), 23); // 10.24 + 12.8
    EXPECT_EQ(vxFrequencyFilterBandPass(0.01, 0.01, 0.5, {256, 4}, 0).supportWidth(),
              25);                                                                      // 10.24 + 2.56 + 12.8
    EXPECT_EQ(vxFrequencyFilterBandPass(1e-9, 0.0, 0.5, {1, 1}, 0).supportWidth(), 1);  // 0, made odd
    EXPECT_EQ(vxFrequencyFilterBandPass(1e-9, 0.0, 0.5, {64, 1}, 0).supportWidth(), 3); // 3.2
    EXPECT_EQ(vxFrequencyFilterBandPass(1e-9, 0.0, 0.5, {128, 1}, 0).supportWidth(), 7); // 6.4, made odd
}

TEST(BandPass, ProfileIsFlatOverThePlateau) {
    const Filter filter({.sigma = 0.1, .plateau = 0.125, .width = 16, .height = 16});
    const std::vector<float> profile = filter.table();
    ASSERT_EQ(profile.size(), 32U * 9U); // 6.4 + 2 + 0.8
    for (std::size_t i = 0; i <= 64; ++i) {
        EXPECT_EQ(profile[i], 1.0F);
    }
    EXPECT_LT(profile[65], 1.0F);
    EXPECT_FLOAT_EQ(profile[96], static_cast<float>(std::exp(-1.0 / (2.0 * 1.6 * 1.6))));
}

// A width whose square underflows makes the lobe 1 everywhere; a slightly larger one has an infinite slope.
TEST(BandPass, ProfileOfTinySigmas) {
    for (double sigma : {1e-170, 5e-324}) {
        const Filter filter({.sigma = sigma, .plateau = 0.0, .width = 64});
        for (float gain : filter.table()) {
            EXPECT_EQ(gain, 1.0F);
        }
    }
    const Filter steep({.sigma = 1e-156, .plateau = 0.0, .width = 1, .height = 1});
    EXPECT_TRUE(std::isnan(steep.table()[0]));
    EXPECT_EQ(steep.table()[1], 0.0F);
    EXPECT_TRUE(steep == Filter({.sigma = 1e-156, .plateau = 0.0, .width = 1, .height = 1}));
}

TEST(BandPass, NansAreRefused) {
    Filter filter{Parameters()};
    const std::string before = support::storeObject(filter);
    using Argument = Defs::InvalidArgument;
    expectError<Argument>([&] { filter.sigma(nan); }, "Sigma must be positive.");
    expectError<Argument>([&] { filter.plateau(nan); }, "Plateau cannot be negative.");
    expectError<Argument>([&] { filter.frequency(nan); }, "Frequency must be between 0.0 and 0.5.");
    expectError<Argument>([&] { filter.set({.sigma = nan}); }, "Sigma must be positive.");
    expectError<Argument>([&] { filter.set({.plateau = nan}); }, "Plateau cannot be negative.");
    EXPECT_EQ(support::storeObject(filter), before);
}

TEST(BandPass, KeepsDcAtFrequencyZero) {
    vxFrequencyBuffer buffer = ones(64, 64);
    vxFrequencyFilterBandPass(0.01, 0.0, 0.0, {64, 64}, 0).apply(buffer);
    EXPECT_EQ(buffer.get(0, 0, true), vxPair<double>(1.0, -1.0));
    EXPECT_LT(buffer.getReal(1, 0, true), 1.0);
    EXPECT_GT(buffer.getReal(1, 0, true), 0.0);
    EXPECT_EQ(buffer.getReal(20, 0, true), 0.0);
}

TEST(BandPass, KeepsARingOnly) {
    vxFrequencyBuffer buffer = ones(64, 64);
    const vxFrequencyFilterBandPass filter(0.005, 0.02, 0.25, {64, 64}, 0);
    EXPECT_EQ(filter.supportWidth(), 5); // 1.28 + 1.28 + 3.2
    filter.apply(buffer);
    for (const auto& [u, v] : {std::pair{16, 0}, {-16, 0}, {0, 16}, {0, -16}, {17, 0}}) {
        EXPECT_EQ(buffer.get(u, v, true), vxPair<double>(1.0, -1.0)) << u << " " << v;
    }
    for (const auto& [u, v] : {std::pair{0, 0}, {11, 0}, {21, 0}, {0, 21}, {16, 16}, {-32, -32}}) {
        EXPECT_EQ(buffer.get(u, v, true), vxPair<double>(0.0, 0.0)) << u << " " << v;
    }
}

// The ring is a circle in cycles per pixel: in a spectrum of half the height it is half as high in rows.
TEST(BandPass, ScalesRowsByTheAspect) {
    vxFrequencyBuffer buffer = ones(64, 32);
    vxFrequencyFilterBandPass(0.005, 0.02, 0.25, {64, 32}, 0).apply(buffer);
    EXPECT_EQ(buffer.getReal(16, 0, true), 1.0);
    EXPECT_EQ(buffer.getReal(0, 8, true), 1.0);
    EXPECT_EQ(buffer.getReal(0, -8, true), 1.0);
    EXPECT_EQ(buffer.getReal(0, 12, true), 0.0);
    // The sizes are told apart.
    const vxFrequencyFilterBandPass filter(0.005, 0.02, 0.25, {64, 32}, 0);
    vxFrequencyBuffer cropped(50, 20);
    EXPECT_NO_THROW(filter.apply(cropped));
    vxFrequencyBuffer turned(32, 64);
    expectError<Defs::InvalidSize>([&] { filter.apply(turned); },
                                   "Size of frequency buffer does not match size of filter.");
}

// The support width bounds the rows as it is, in bins of x: with a large aspect rows end early.
TEST(BandPass, RowLimitIsNotScaledByTheAspect) {
    vxFrequencyBuffer buffer = ones(4, 1024);
    const vxFrequencyFilterBandPass filter(0.01, 2.0, 0.0, {4, 1024}, 0);
    EXPECT_EQ(filter.supportWidth(), 9); // 0.16 + 8 + 0.2, made odd
    filter.apply(buffer);
    EXPECT_EQ(buffer.getReal(0, 9, true), 1.0);
    EXPECT_EQ(buffer.getReal(0, -9, true), 1.0);
    EXPECT_EQ(buffer.getReal(0, 10, true), 0.0); // Though it lies 10 / 256 bins from DC.
    EXPECT_EQ(buffer.getReal(0, -10, true), 0.0);
}

// Where single precision rounds the square of the outer radius up to n, samples at the square n - 1 are still
// in the ring.
TEST(BandPass, TheOuterRadiusIsSquaredInSinglePrecision) {
    long tested = 0;
    for (int n = 400; n < 1600; ++n) {
        const float outer = std::sqrt(static_cast<float>(n));
        if (outer * outer != static_cast<float>(n) ||
            static_cast<double>(outer) * static_cast<double>(outer) >= n) {
            continue;
        }
        const vxFrequencyFilterBandPass filter(0.5 / 64, 4.0 / 64, static_cast<double>(outer - 9.0F) / 64,
                                               {64, 64}, 0);
        ASSERT_EQ(filter.supportWidth(), 9);
        vxFrequencyBuffer buffer = ones(64, 64);
        filter.apply(buffer);
        for (long v = 0; v < 32; ++v) {
            for (long u = 0; u < 32; ++u) {
                if (u * u + v * v == n - 1) {
                    EXPECT_GT(buffer.getReal(u, v, true), 0.0) << n;
                    ++tested;
                } else if (u * u + v * v == n) {
                    EXPECT_EQ(buffer.getReal(u, v, true), 0.0) << n;
                }
            }
        }
    }
    EXPECT_GT(tested, 0);
}

TEST(BandPass, ClearsASquareAroundDc) {
    vxFrequencyBuffer buffer = ones(16, 16);
    vxFrequencyFilterBandPass(1.0, 1.0, 0.0, {16, 16}, 2).apply(buffer);
    for (long v = -8; v < 8; ++v) {
        for (long u = -8; u < 8; ++u) {
            const bool inside = u >= -1 && u <= 1 && v >= -1 && v <= 1;
            EXPECT_EQ(buffer.getReal(u, v, true), inside ? 0.0 : 1.0) << u << " " << v;
            EXPECT_EQ(buffer.getImaginary(u, v, true), inside ? 0.0 : -1.0) << u << " " << v;
        }
    }
    buffer = ones(16, 16);
    vxFrequencyFilterBandPass(1.0, 1.0, 0.0, {16, 16}, 1).apply(buffer);
    EXPECT_EQ(buffer.getReal(0, 0, true), 0.0);
    EXPECT_EQ(buffer.getReal(1, 0, true), 1.0);
    EXPECT_EQ(buffer.getReal(0, -1, true), 1.0);
}

TEST(BandPass, ResultsOfLargeAndExtremeSpectra) {
    std::mt19937 random(3);
    const auto in = [&](double low, double high) {
        return std::uniform_real_distribution(low, high)(random);
    };
    for (const auto& [width, height] :
         {std::pair{2048, 64}, {64, 2048}, {512, 512}, {2048, 1}, {1, 2048}, {2, 2048}}) {
        for (double scale : {0.001, 0.1, 3.0}) {
            const Parameters p{.sigma = in(0.1, 1.0) * scale,
                               .plateau = in(0.0, 1.0) * scale,
                               .frequency = in(0.0, 0.5),
                               .width = width,
                               .height = height};
            const Filter filter(p);
            vxFrequencyBuffer buffer = filled(width, height, 7, true);
            const oracle::Plane expected =
                support::expectedResult<support::BandPassCase>(p, filter.table(), support::planeOf(buffer));
            filter.apply(buffer);
            EXPECT_EQ(support::countDifferences(support::samplesOf(buffer), expected.samples), 0)
                << width << " x " << height << ", " << scale;
        }
    }
}

// The product of a loaded support width and the samples per bin must not overflow, whatever they are.
TEST(BandPass, LoadsNoImpossibleTable) {
    struct Record {
        long supportWidth = 1;
        long samplesPerBin = 32;
        double frequency = 0.25;
        vxPair<long> size = {4, 4};
        long radius = 0;
        bool hasProfile = true;
        std::vector<float> profile = std::vector<float>(32, 0.5F);

        std::string bytes() {
            std::ostringstream stream;
            vxOutputArchive archive(stream);
            unsigned char version = 0;
            bool initialized = true;
            double any = nan;
            archive || version || version || initialized || supportWidth || samplesPerBin || frequency ||
                any || any;
            archive || size || radius || hasProfile || profile;
            return stream.str();
        }
    };
    Filter filter;
    support::loadObject(filter, Record().bytes());
    EXPECT_EQ(filter.table(), std::vector<float>(32, 0.5F));
    EXPECT_TRUE(std::isnan(filter.sigma()));
    for (const vxPair<long>& size :
         {vxPair<long>(8, 4), vxPair<long>(4, 8)}) { // The same table for another size.
        Filter other;
        support::loadObject(other, Record{.size = size}.bytes());
        EXPECT_FALSE(filter == other);
    }

    Filter target{Parameters()};
    const std::string before = support::storeObject(target);
    const auto refuses = [&](Record record) {
        EXPECT_THROW(support::loadObject(target, record.bytes()), vxArchive::Malformed);
        EXPECT_EQ(support::storeObject(target), before);
        // Without a table any fields will do.
        record.hasProfile = false;
        Filter unbuilt;
        support::loadObject(unbuilt, record.bytes());
        EXPECT_EQ(unbuilt.data(), nullptr);
        EXPECT_TRUE(unbuilt.isInitialized());
    };
    for (long support : {0L, -1L, 2L, 3L, LONG_MAX, LONG_MIN, LONG_MAX / 32 + 2}) {
        refuses({.supportWidth = support});
    }
    for (long samples : {0L, -32L, 31L, 64L, LONG_MAX, LONG_MIN}) {
        refuses({.samplesPerBin = samples});
    }
    for (double frequency : {-0.1, 0.6, nan}) {
        refuses({.frequency = frequency});
    }
    for (const vxPair<long>& size :
         {vxPair<long>(0, 4), vxPair<long>(4, 3), vxPair<long>(-4, 4), vxPair<long>(4, LONG_MIN)}) {
        refuses({.size = size});
    }
    refuses({.radius = -1});
    refuses({.profile = {}});
    refuses({.profile = std::vector<float>(31)});
    refuses({.profile = std::vector<float>(33)});
    refuses({.supportWidth = 1, .profile = std::vector<float>(96)});
    // Although the entries fit them:
    refuses({.supportWidth = 2, .profile = std::vector<float>(64)});
    refuses({.samplesPerBin = 16, .profile = std::vector<float>(16)});
    refuses({.samplesPerBin = 64, .profile = std::vector<float>(64)});
    refuses({.supportWidth = 3, .profile = std::vector<float>(97)});
}
} // namespace

#include "filt/freqfilt/gabor.h"

#include "tests/support/filters.h"
#include "tests/support/frequency_buffers.h"
#include "tests/support/frequency_errors.h"

#include <gtest/gtest.h>

#include <limits>
#include <numbers>
#include <random>
#include <stdexcept>

// What it shares with the other filters is in table_filters_test.cpp.
namespace {
using Defs = vxFrequencyDefs;
using Filter = support::Opened<support::GaborCase>;
using support::BufferState;
using support::expectError;
using support::filled;
using support::Parameters;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double pi = std::numbers::pi;

vxFrequencyBuffer ones(long width, long height) {
    vxFrequencyBuffer buffer(width, height);
    for (long y = 0; y < height; ++y) {
        for (long x = 0; x < width; ++x) {
            buffer.put(x, y, {1.0, -1.0}, false);
        }
    }
    return buffer;
}

TEST(Gabor, Support) {
    const vxFrequencyFilterGabor filter({0.02, 0.04}, {0.01, 0.02}, vxRadian(0.0), 0.25, {64, 32}, 0);
    EXPECT_EQ(filter.supportWidth(), 15);  // 8 * 1.28 + 2 * 0.64 + 3.2 = 14.72, made odd
    EXPECT_EQ(filter.supportHeight(), 13); // (8 * 2.56 + 2 * 1.28) / 2 + 1.6 = 13.12
    // Turned by a quarter, the widths change places.
    const vxFrequencyFilterGabor turned({0.02, 0.04}, {0.01, 0.02}, vxRadian(pi / 2), 0.25, {64, 32}, 0);
    EXPECT_EQ(turned.supportWidth(), 27); // 8 * 2.56 + 2 * 1.28 + 3.2 = 26.24, made odd
    EXPECT_EQ(turned.supportHeight(), 7); // (8 * 1.28 + 2 * 0.64) / 2 + 1.6 = 7.36
}

TEST(Gabor, KeepsOneLobe) {
    vxFrequencyBuffer buffer = ones(64, 64);
    const vxFrequencyFilterGabor filter({0.02, 0.02}, {0.0, 0.0}, vxRadian(0.0), 0.25, {64, 64}, 0);
    EXPECT_EQ(filter.supportWidth(), 13); // 8 * 1.28 + 3.2
    filter.apply(buffer);
    EXPECT_EQ(buffer.get(16, 0, true), vxPair<double>(1.0, -1.0));
    EXPECT_GT(buffer.getReal(17, 1, true), 0.0);
    for (long u : {-16, 0, 9, 22, 23}) {
        EXPECT_EQ(buffer.getReal(u, 0, true), 0.0) << u;
    }
    EXPECT_GT(buffer.getReal(10, 0, true), 0.0);
    EXPECT_GT(buffer.getReal(16, 6, true), 0.0);
    EXPECT_GT(buffer.getReal(16, -6, true), 0.0);
    EXPECT_EQ(buffer.getReal(16, 7, true), 0.0);
    const BufferState state(buffer);
    EXPECT_EQ(state.masked, 1);
    EXPECT_EQ(state.maskedMiny, 26);
    EXPECT_EQ(state.maskedMaxy, 38);
}

// Rows are applied up to the last one, columns stop one earlier.
TEST(Gabor, NeverAppliesItsLastColumn) {
    const vxFrequencyFilterGabor filter({0.02, 0.02}, {0.25, 0.25}, vxRadian(0.0), 0.0, {16, 16}, 0);
    ASSERT_EQ(filter.supportWidth(), 11); // 2.56 + 8 + 0.8
    ASSERT_EQ(filter.supportHeight(), 11);
    vxFrequencyBuffer buffer = ones(16, 16);
    filter.apply(buffer);
    EXPECT_GT(buffer.getReal(-5, 0, true), 0.0);
    EXPECT_GT(buffer.getReal(4, 0, true), 0.0);
    EXPECT_EQ(buffer.getReal(5, 0, true), 0.0);
    EXPECT_GT(filter.data()[5 * 11 + 10], 0.0F);
    EXPECT_GT(buffer.getReal(0, 5, true), 0.0);
    EXPECT_GT(buffer.getReal(0, -5, true), 0.0);
}

// With a negative product that is not whole, the patch is laid one column to the right of the lobe it was
// sampled for.
TEST(Gabor, TruncatesThePlaceOfThePatchUnshifted) {
    // The lobe is at -3.2, the patch at -3.
    const vxFrequencyFilterGabor filter({0.05, 0.05}, {0.0, 0.0}, vxRadian(pi), 0.2, {16, 16}, 0);
    vxFrequencyBuffer buffer = ones(16, 16);
    filter.apply(buffer);
    const long columns = filter.supportWidth();
    const long rows = filter.supportHeight();
    const float* middle = filter.data() + (rows >> 1) * columns + (columns >> 1);
    EXPECT_EQ(static_cast<float>(buffer.getReal(-3, 0, true)), *middle);
    // Sampled for the fraction of 8 - 3.2 = 4.8: the top lies 0.8 right of the patch's middle.
    const double s = 0.05 * 16.0;
    EXPECT_NEAR(static_cast<double>(*middle), std::exp(-0.8 * 0.8 / (2.0 * s * s)), 1e-6);
    // So the largest gain comes at -2, though -3 is nearer to the lobe.
    EXPECT_GT(buffer.getReal(-2, 0, true), buffer.getReal(-3, 0, true));
}

TEST(Gabor, PatchCellsBeyondTheEdgeAreDropped) {
    for (double angle : {0.0, pi / 2, pi, -pi / 2, 0.7, 2.4}) {
        const Parameters p{
            .sigma = 0.1, .plateau = 0.05, .frequency = 0.5, .width = 32, .height = 32, .angle = angle};
        const Filter filter(p);
        vxFrequencyBuffer buffer = ones(32, 32);
        const oracle::Plane expected =
            support::expectedResult<support::GaborCase>(p, filter.table(), support::planeOf(buffer));
        filter.apply(buffer);
        EXPECT_EQ(support::samplesOf(buffer), expected.samples) << angle;
    }
    // A lobe at +Nyquist does not wrap to the negative side.
    vxFrequencyBuffer buffer = ones(32, 32);
    vxFrequencyFilterGabor({0.05, 0.05}, {0.0, 0.0}, vxRadian(0.0), 0.5, {32, 32}, 0).apply(buffer);
    EXPECT_GT(buffer.getReal(15, 0, true), 0.0);
    EXPECT_EQ(buffer.getReal(-16, 0, true), 0.0);
    EXPECT_EQ(buffer.getReal(-15, 0, true), 0.0);
}

// The band is the lobe's, also where it reaches outside the spectrum.
TEST(Gabor, TheBandIsNotClipped) {
    vxFrequencyBuffer buffer = ones(16, 16);
    const vxFrequencyFilterGabor filter({0.2, 0.2}, {0.0, 0.0}, vxRadian(pi / 2), 0.5, {16, 16}, 0);
    filter.apply(buffer);
    EXPECT_EQ(BufferState(buffer).maskedMaxy - BufferState(buffer).maskedMiny, filter.supportHeight() - 1);
    EXPECT_GT(BufferState(buffer).maskedMaxy, 16);
}

TEST(Gabor, ChecksEachOfAPair) {
    vxFrequencyFilterGabor filter;
    const auto refuses = [&](vxPair<double> sigma, vxPair<double> plateau, const char* message) {
        expectError<Defs::InvalidArgument>(
            [&] {
                filter.set(sigma, plateau, vxRadian(0.0), 0.25, {16, 16}, 0);
            },
            message);
    };
    refuses({0.0, 1.0}, {0.0, 0.0}, "Sigma values must be positive.");
    refuses({1.0, 0.0}, {0.0, 0.0}, "Sigma values must be positive.");
    refuses({1.0, -1.0}, {-1.0, 0.0}, "Sigma values must be positive.");
    refuses({nan, -1.0}, {-1.0, 0.0}, "Sigma values must be positive.");
    refuses({1.0, 1.0}, {-0.1, 0.0}, "Plateau values cannot be negative.");
    refuses({1.0, 1.0}, {0.0, -0.1}, "Plateau values cannot be negative.");
    refuses({nan, 1.0}, {nan, -0.1}, "Plateau values cannot be negative.");
    EXPECT_FALSE(filter.isInitialized());
}

// NaNs pass the checks of sigma and plateau, on purpose; there is no support for them.
TEST(Gabor, ParametersThatAreNoNumbersHaveNoSupport) {
    vxFrequencyFilterGabor filter({0.1, 0.1}, {0.1, 0.1}, vxRadian(0.0), 0.25, {16, 16}, 0);
    const std::string before = support::storeObject(filter);
    for (double bad : {nan, infinity}) {
        EXPECT_THROW(filter.sigma({bad, 0.1}), std::length_error);
        EXPECT_THROW(filter.sigma({0.1, bad}), std::length_error);
        EXPECT_THROW(filter.plateau({bad, 0.1}), std::length_error);
        EXPECT_THROW(filter.plateau({0.1, bad}), std::length_error);
        EXPECT_THROW(filter.angle(vxRadian(bad)), std::length_error);
        EXPECT_THROW(filter.set({bad, bad}, {bad, bad}, vxRadian(bad), 0.25, {16, 16}, 0), std::length_error);
    }
    // Each extent fits, their product does not.
    EXPECT_THROW(filter.sigma({1000.0, 1000.0}), std::length_error);
    EXPECT_EQ(support::storeObject(filter), before);
    expectError<Defs::InvalidArgument>(
        [&] {
            filter.set({0.1, 0.1}, {0.1, 0.1}, vxRadian(0.0), nan, {16, 16}, 0);
        },
        "Frequency must be between 0.0 and 0.5.");
}

TEST(Gabor, NanFrequencySetterDoesNothing) {
    Filter filter{Parameters()};
    const std::string before = support::storeObject(filter);
    filter.frequency(nan);
    EXPECT_EQ(support::storeObject(filter), before);
    Filter unbuilt;
    expectError<Defs::Uninitialized>([&] { unbuilt.frequency(nan); },
                                     "FrequencyFilter has not been initialized");
}

TEST(Gabor, ComparesTheAngleAsItIs) {
    Parameters p;
    const Filter filter(p);
    p.angle += 2.0 * pi;
    EXPECT_FALSE(filter == Filter(p));
}

TEST(Gabor, TinySigmas) {
    const Parameters p{.sigma = 1e-170, .plateau = 0.0, .width = 8, .height = 8};
    const Filter filter(p);
    const std::vector<float> expected = support::expectedTable<support::GaborCase>(p);
    EXPECT_EQ(support::countDifferences(filter.table(), expected), 0);
}

TEST(Gabor, ResultsOfLargeAndExtremeSpectra) {
    std::mt19937 random(5);
    const auto in = [&](double low, double high) {
        return std::uniform_real_distribution(low, high)(random);
    };
    for (const auto& [width, height] : {std::pair{1024, 64}, {64, 1024}, {256, 256}, {2048, 1}, {1, 2048}}) {
        for (double sigma : {0.001, 0.02}) {
            const Parameters p{.sigma = sigma,
                               .plateau = 0.01,
                               .frequency = in(0.0, 0.5),
                               .width = width,
                               .height = height,
                               .angle = in(-4.0, 4.0)};
            const Filter filter(p);
            EXPECT_LE(support::largestUlps(filter.table(), support::expectedTable<support::GaborCase>(p)), 1);
            vxFrequencyBuffer buffer = filled(width, height, 7, true);
            const oracle::Plane expected =
                support::expectedResult<support::GaborCase>(p, filter.table(), support::planeOf(buffer));
            filter.apply(buffer);
            EXPECT_EQ(support::countDifferences(support::samplesOf(buffer), expected.samples), 0)
                << width << " x " << height;
        }
    }
}

struct Record {
    long supportWidth = 3;
    long supportHeight = 1;
    vxRadian angle = vxRadian(0.0);
    double frequency = 0.25;
    vxPair<long> size = {4, 4};
    long radius = 0;
    bool hasPatch = true;
    std::vector<float> patch = std::vector<float>(3, 0.5F);

    std::string bytes() {
        std::ostringstream stream;
        vxOutputArchive archive(stream);
        unsigned char version = 0;
        bool initialized = true;
        vxPair<double> any(nan, -1.0);
        archive || version || version || initialized || supportWidth || supportHeight || angle || frequency ||
            any || any;
        archive || size || radius || hasPatch || patch;
        return stream.str();
    }
};

TEST(Gabor, LoadsNoImpossibleTable) {
    Filter filter;
    support::loadObject(filter, Record().bytes());
    EXPECT_EQ(filter.table(), std::vector<float>(3, 0.5F));
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
    };
    for (long support : {0L, -1L, 2L, 1L, -3L, LONG_MAX, LONG_MIN}) {
        refuses({.supportWidth = support});
    }
    for (long support : {0L, -1L, 2L, 3L, LONG_MAX, LONG_MIN}) {
        refuses({.supportHeight = support});
    }
    refuses({.supportWidth = (1L << 62) + 1, .supportHeight = 3}); // The product wraps around to 3.
    refuses({.frequency = nan});
    refuses({.size = {4, 5}});
    refuses({.radius = LONG_MIN});
    refuses({.patch = {}});
    refuses({.patch = std::vector<float>(4)});
    // Although the entries fit them:
    refuses({.supportWidth = 2, .patch = std::vector<float>(2)});
    refuses({.supportHeight = 2, .patch = std::vector<float>(6)});
}

// Any angle may be loaded; one that is no number lays the patch on DC.
TEST(Gabor, LoadsAnyAngle) {
    for (double angle : {nan, infinity, 1e300}) {
        Filter filter;
        support::loadObject(filter, Record{.angle = vxRadian(angle)}.bytes());
        vxFrequencyBuffer buffer = ones(4, 4);
        filter.apply(buffer);
        EXPECT_EQ(BufferState(buffer).masked, 1);
        if (!std::isfinite(angle)) {
            EXPECT_EQ(buffer.getReal(0, 0, true), 0.5);
            EXPECT_EQ(BufferState(buffer).maskedMiny, 2);
        }
    }
}
} // namespace

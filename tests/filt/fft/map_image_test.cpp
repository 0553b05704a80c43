#include "filt/fft/map_image.h"

#include "tests/oracle/map_image.h"
#include "tests/support/failing_allocation.h"
#include "tests/support/frequency_errors.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>
#include <limits>
#include <random>
#include <vector>

namespace {
using Defs = vxFrequencyDefs;
using Bytes = std::vector<unsigned char>;

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double pi = 3.14159265358979323846;
constexpr int unknown[] = {-1, 5, 6, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()};

// As rows of `width` pels.
Bytes mappedRows(std::vector<double> pels, long width, Defs::FrequencyMapping mapping, double rangeMin,
                 double rangeMax) {
    const long height = static_cast<long>(pels.size()) / width;
    const vxPelBuffer<double> source(pels.data(), width, height, width);
    const vxPelBuffer<unsigned char> result = vfFrequencyMapImage(source, mapping, rangeMin, rangeMax);
    Bytes bytes;
    for (long y = 0; y < height; ++y) {
        bytes.insert(bytes.end(), result.pointToRow(y), result.pointToRow(y) + width);
    }
    return bytes;
}

// One row.
Bytes mapped(const std::vector<double>& pels, Defs::FrequencyMapping mapping, double rangeMin = nan,
             double rangeMax = nan) {
    return mappedRows(pels, static_cast<long>(pels.size()), mapping, rangeMin, rangeMax);
}

TEST(MapImage, clip) {
    EXPECT_EQ(
        mapped({-3.7, 12.9, 300.0, nan, 255.0, 255.9, 0.0, -0.0, infinity, -infinity, 1e300}, Defs::eClip),
        (Bytes{0, 12, 255, 0, 255, 255, 0, 0, 255, 0, 255}));
}

TEST(MapImage, linearOfAnAllZeroImage) {
    EXPECT_EQ(mapped({0.0, 0.0, 0.0}, Defs::eLinear), (Bytes{0, 0, 0}));
}

TEST(MapImage, linearFromTheMinimumWhenItIsNegative) {
    EXPECT_EQ(mapped({-10.0, 0.0, 10.0}, Defs::eLinear), (Bytes{0, 127, 255}));
}

TEST(MapImage, linearFromZeroOtherwise) {
    EXPECT_EQ(mapped({5.0, 10.0}, Defs::eLinear), (Bytes{127, 255}));
}

TEST(MapImage, linearOfNegativesOnly) {
    EXPECT_EQ(mapped({-10.0, -5.0}, Defs::eLinear), (Bytes{0, 255}));
    EXPECT_EQ(mapped({-10.0, -10.0}, Defs::eLinear), (Bytes{0, 0})); // Range 0 counts as 1.
}

TEST(MapImage, linearWithNaNs) {
    // A NaN becomes the maximum only until the next pel replaces it.
    EXPECT_EQ(mapped({nan, 4.0, 2.0}, Defs::eLinear), (Bytes{0, 255, 127}));
    // The pel after it starts the maximum anew: 2, so 4 gives 510, which wraps.
    EXPECT_EQ(mapped({4.0, nan, 2.0}, Defs::eLinear), (Bytes{254, 0, 255}));
    // A NaN at the end stays the maximum: the range counts as 1.
    EXPECT_EQ(mapped({4.0, 2.0, nan}, Defs::eLinear), (Bytes{252, 254, 0}));
    EXPECT_EQ(mapped({nan, nan}, Defs::eLinear), (Bytes{0, 0}));
    // At the end of a row it is the maximum until the next row.
    EXPECT_EQ(mappedRows({1.0, nan, 3.0, 100.0}, 2, Defs::eLinear, nan, nan), (Bytes{2, 0, 7, 254}));
}

TEST(MapImage, linearBeyondTheStartValues) {
    // Minimum and maximum start at 1e20 and -1e20: pels above 1e20 leave the minimum, which is not negative.
    EXPECT_EQ(mapped({1e30, 2e30}, Defs::eLinear), (Bytes{127, 255}));
    // Below -1e20 the maximum stays: -1e20 (single precision) - -2e30 = 2e30 to 20 places.
    EXPECT_EQ(mapped({-2e30, -1e30}, Defs::eLinear), (Bytes{0, 127}));
    // A range of 2e12, which -1e20 of double precision would double.
    EXPECT_EQ(mapped({-1.00000004e20, -1.00000003e20}, Defs::eLinear), (Bytes{0, 127}));
    EXPECT_EQ(mapped({-infinity, infinity, 0.0}, Defs::eLinear), (Bytes{0, 0, 0}));
}

TEST(MapImage, linearRange) {
    EXPECT_EQ(mapped({-128.0, 0.0, 127.0, 200.0, -200.0}, Defs::eLinearRange, -128.0, 127.0),
              (Bytes{0, 128, 255, 255, 0}));
    // 200 * (255 / 200) is just below 255.
    EXPECT_EQ(mapped({100.0, -100.0, 101.0}, Defs::eLinearRange, -100.0, 100.0), (Bytes{254, 0, 255}));
    EXPECT_EQ(mapped({nan, infinity, -infinity}, Defs::eLinearRange, -100.0, 100.0), (Bytes{0, 255, 0}));
}

TEST(MapImage, linearRangeIsMeasuredFromZeroWhenItsMinimumIsNotNegative) {
    // Gain 255 / 100, though pels are shifted by 10; a hundred times it is just below 255.
    EXPECT_EQ(mapped({10.0, 100.0, 110.0, 111.0, 0.0}, Defs::eLinearRange, 10.0, 100.0),
              (Bytes{0, 229, 254, 255, 0}));
    EXPECT_EQ(mapped({10.0, 50.0}, Defs::eLinearRange, 0.0, 100.0), (Bytes{25, 127}));
}

TEST(MapImage, linearRangeThatIsNotPositiveCountsAsOne) {
    EXPECT_EQ(mapped({0.0, 0.5, 1.0, 2.0}, Defs::eLinearRange, 0.0, 0.0), (Bytes{0, 127, 255, 255}));
    EXPECT_EQ(mapped({-5.0, -4.5}, Defs::eLinearRange, -5.0, -6.0), (Bytes{0, 127}));
    EXPECT_EQ(mapped({0.5}, Defs::eLinearRange, 0.0, nan), (Bytes{127}));
    EXPECT_EQ(mapped({0.5}, Defs::eLinearRange, nan, 1.0), (Bytes{0})); // The shift makes a NaN.
    // Reversed, but positive since it is measured from zero.
    EXPECT_EQ(mapped({60.0}, Defs::eLinearRange, 50.0, 25.0), (Bytes{102}));
}

TEST(MapImage, logarithmic) {
    EXPECT_EQ(mapped({0.0, 1.0}, Defs::eLogarithmic), (Bytes{0, 255})); // Range raised to 2.
    EXPECT_EQ(mapped({0.0, 2.0}, Defs::eLogarithmic), (Bytes{0, 148})); // 404 wraps.
    EXPECT_EQ(mapped({0.0, 100.0}, Defs::eLogarithmic), (Bytes{0, 255}));
    // Shifted by the minimum: range 2, ln(1), ln(2), ln(3) over ln(2).
    EXPECT_EQ(mapped({-1.0, 0.0, 1.0}, Defs::eLogarithmic), (Bytes{0, 255, 148}));
    EXPECT_EQ(mapped({nan, 1.0}, Defs::eLogarithmic), (Bytes{0, 255}));
}

TEST(MapImage, angle) {
    EXPECT_EQ(mapped({0.0, pi, 2.0 * pi - 0.01, -pi / 2.0}, Defs::eAngle), (Bytes{0, 127, 254, 193}));
    EXPECT_EQ(mapped({nan, infinity, 1e300, -0.0}, Defs::eAngle), (Bytes{0, 0, 0, 0}));
}

TEST(MapImage, rangeMattersToLinearRangeOnly) {
    const std::vector<double> pels = {-3.0, 0.0, 7.5, 300.0};
    for (Defs::FrequencyMapping mapping : {Defs::eClip, Defs::eLinear, Defs::eLogarithmic, Defs::eAngle}) {
        EXPECT_EQ(mapped(pels, mapping, 1.0, 2.0), mapped(pels, mapping, nan, -5.0));
    }
}

TEST(MapImage, anyOtherMappingWritesNoPel) {
    for (int mapping : unknown) {
        EXPECT_EQ(mapped({1.0, 200.0}, static_cast<Defs::FrequencyMapping>(mapping), 0.0, 1.0),
                  (Bytes{0, 0}));
    }
}

TEST(MapImage, resultHasSizeAndTransformButNoOffset) {
    vxPelBuffer<double> source(5, 3);
    source.offset(7, -8);
    vx2XformCache cache;
    const vxXform<2> xform(vxMatrix<2>(2.0, 0.0, 0.0, 3.0), vxVector<2>(1.0, 2.0));
    cache.xform(vx2XformLinear(xform));
    source.copyXforms(cache);
    for (int mapping = -1; mapping <= 5; ++mapping) {
        const vxPelBuffer<unsigned char> result =
            vfFrequencyMapImage(source, static_cast<Defs::FrequencyMapping>(mapping), 0.0, 1.0);
        EXPECT_EQ(result.width(), 5);
        EXPECT_EQ(result.height(), 3);
        EXPECT_EQ(result.offset(), vxPair<long>(0, 0));
        EXPECT_EQ(result.xformCache().linearXform(), xform);
        EXPECT_EQ(result.rowUpdate() % 32, 0);
    }
}

TEST(MapImage, followsTheRowUpdate) {
    double pels[] = {5.0, 6.0, 999.0, 3.0, 4.0, 999.0, 1.0, 2.0};
    const vxPelBuffer_const<double> upsideDown(pels + 6, 2, 3, -3);
    for (Defs::FrequencyMapping mapping : {Defs::eClip, Defs::eLinear}) {
        const vxPelBuffer<unsigned char> result = vfFrequencyMapImage(upsideDown, mapping, 0.0, 0.0);
        for (long y = 0; y < 3; ++y) {
            for (long x = 0; x < 2; ++x) {
                const auto value = static_cast<double>(2 * y + x + 1);
                const double expected = mapping == Defs::eClip ? value : value * (255.0 / 6.0);
                EXPECT_EQ(result.pointToRow(y)[x], static_cast<unsigned char>(expected));
            }
        }
    }
    EXPECT_EQ(pels[2], 999.0);
}

TEST(MapImage, unboundSource) {
    const vxPelBuffer<double> unbound;
    for (int mapping = -1; mapping <= 5; ++mapping) {
        const failing_allocation::Scope scope;
        try {
            static_cast<void>(
                vfFrequencyMapImage(unbound, static_cast<Defs::FrequencyMapping>(mapping), 0.0, 1.0));
            ADD_FAILURE() << "nothing was thrown";
        } catch (const Defs::Errors& error) {
            EXPECT_EQ(typeid(error), typeid(Defs::UnboundWindow));
            EXPECT_EQ(error.errorNumber(), 268460803);
            EXPECT_STREQ(error.what(), "");
        }
    }
}

TEST(MapImage, matchesTheTranscription) {
    std::mt19937 random(1);
    const double special[] = {0.0,
                              -0.0,
                              1.0,
                              -1.0,
                              2.0,
                              255.0,
                              256.0,
                              1e19,
                              -1e19,
                              1e20,
                              -1e20,
                              1e21,
                              1e30,
                              1e300,
                              -1e300,
                              infinity,
                              -infinity,
                              nan,
                              9223372036854775808.0,
                              -9223372036854775808.0,
                              5e-324,
                              1e-300};
    const auto value = [&](unsigned kind) {
        if (kind == 0 || (kind == 1 && random() % 4 == 0)) {
            return special[random() % std::size(special)];
        }
        const double scale = kind == 2 ? 1.0 : 500.0;
        return std::uniform_real_distribution<double>(kind == 3 ? 0.0 : -scale, scale)(random);
    };
    for (int round = 0; round < 20000; ++round) {
        const unsigned kind = random() % 4;
        const std::size_t width = 1 + random() % 12;
        std::vector<double> pels(width * (1 + random() % 3));
        for (double& pel : pels) {
            pel = value(kind);
        }
        const int mapping = static_cast<int>(random() % 6);
        const double rangeMin = value(kind);
        const double rangeMax = value(kind);
        ASSERT_EQ(mappedRows(pels, static_cast<long>(width), static_cast<Defs::FrequencyMapping>(mapping),
                             rangeMin, rangeMax),
                  oracle::mapImage(pels, mapping, rangeMin, rangeMax))
            << "round " << round << " mapping " << mapping;
    }
}

// Rows longer than any block or number of lanes, with at most one pel that is not ordinary.
TEST(MapImage, matchesTheTranscriptionForLongRows) {
    std::mt19937 random(2);
    const double special[] = {nan, infinity, -infinity, 1e300, -1e20, 2147483648.0, -5.0, -0.0, 5e-324};
    for (int round = 0; round < 2000; ++round) {
        std::vector<double> pels(1 + random() % 600);
        for (double& pel : pels) {
            pel = std::uniform_real_distribution<double>(round % 2 == 0 ? 0.0 : -300.0, 300.0)(random);
        }
        if (round % 3 != 0) {
            pels[random() % pels.size()] = special[random() % std::size(special)];
        }
        const int mapping = static_cast<int>(random() % 5);
        ASSERT_EQ(mapped(pels, static_cast<Defs::FrequencyMapping>(mapping), -20.0, 200.0),
                  oracle::mapImage(pels, mapping, -20.0, 200.0))
            << "round " << round << " mapping " << mapping;
    }
}
} // namespace

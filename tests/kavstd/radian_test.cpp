#include "kavstd/radian.h"

#include "kavstd/archive.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <numbers>
#include <random>
#include <sstream>
#include <string>

namespace {

constexpr double pi = std::numbers::pi;
constexpr double turn = 2.0 * std::numbers::pi;
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

double norm(double radians) {
    return vxRadian(radians).norm().toDouble();
}

TEST(RadianTest, KeepsAnyDouble) {
    EXPECT_EQ(vxRadian().toDouble(), 0.0);
    EXPECT_EQ(vxRadian(-7.5).toDouble(), -7.5);
    EXPECT_EQ(vxRadian(1e300).toDouble(), 1e300);
    EXPECT_EQ(vxRadian(-infinity).toDouble(), -infinity);
    EXPECT_TRUE(std::isnan(vxRadian(nan).toDouble()));
    static_assert(vxRadian(1.5).toDouble() == 1.5);
}

TEST(RadianTest, NegatesTheStoredValue) {
    EXPECT_EQ((-vxRadian(2.5)).toDouble(), -2.5);
    EXPECT_TRUE(std::signbit((-vxRadian(0.0)).toDouble()));
    static_assert((-vxRadian(1.0)).toDouble() == -1.0);
}

TEST(RadianTest, ComparesTheStoredValue) {
    EXPECT_TRUE(vxRadian(1.0) == vxRadian(1.0));
    EXPECT_FALSE(vxRadian(1.0) != vxRadian(1.0));
    EXPECT_TRUE(vxRadian(0.0) != vxRadian(turn));
    EXPECT_FALSE(vxRadian(0.0) == vxRadian(turn));
    EXPECT_TRUE(vxRadian(nan) != vxRadian(nan));
    EXPECT_TRUE(vxRadian(0.0) == vxRadian(-0.0));
}

TEST(RadianTest, NormLeavesWhatIsInRange) {
    for (const double radians : {0.0, 5e-324, 1e-17, 1.0, pi, 6.0, std::nextafter(turn, 0.0)}) {
        EXPECT_EQ(norm(radians), radians);
    }
}

TEST(RadianTest, NormOfWholeTurnsIsPositiveZero) {
    for (const double radians : {0.0, -0.0, turn, -turn, 2.0 * turn, -4.0 * turn, 1024.0 * turn}) {
        EXPECT_EQ(norm(radians), 0.0) << radians;
        EXPECT_FALSE(std::signbit(norm(radians))) << radians;
    }
}

TEST(RadianTest, NormMovesByWholeTurns) {
    EXPECT_EQ(norm(-pi), pi);
    EXPECT_EQ(norm(3.0 * pi), pi);
    EXPECT_EQ(norm(-1.0), turn - 1.0);
    EXPECT_EQ(norm(std::nextafter(turn, 10.0)), std::nextafter(turn, 10.0) - turn);
    EXPECT_NEAR(norm(100.0), 100.0 - 15.0 * turn, 1e-13);
    EXPECT_NEAR(norm(-100.0), 16.0 * turn - 100.0, 1e-13);
}

TEST(RadianTest, NormOfATinyNegativeAngleIsNotAWholeTurn) {
    for (const double radians : {-5e-324, -1e-300, -1e-17, -4e-16}) {
        EXPECT_EQ(norm(radians), 0.0) << radians;
    }
    EXPECT_EQ(norm(-1e-15), std::nextafter(turn, 0.0));
}

TEST(RadianTest, NormOfWhatIsNoDirectionIsNaN) {
    EXPECT_TRUE(std::isnan(norm(nan)));
    EXPECT_TRUE(std::isnan(norm(infinity)));
    EXPECT_TRUE(std::isnan(norm(-infinity)));
}

// Doubles of every exponent: the angle is in range and its sine and cosine stay those of the direction.
TEST(RadianTest, NormIsTheSameDirectionForEveryMagnitude) {
    std::mt19937_64 random(1);
    // Below 65536 the remainder by the rounded turn is off by 65536 / (2 pi) * 2.5e-16; above, by rounding
    // only.
    constexpr double tolerance = 3e-12;
    int checked = 0;
    while (checked < 200000) {
        const double radians = std::bit_cast<double>(static_cast<std::uint64_t>(random()));
        if (!std::isfinite(radians)) {
            continue;
        }
        ++checked;
        const double direction = norm(radians);
        ASSERT_GE(direction, 0.0) << radians;
        ASSERT_LT(direction, turn) << radians;
        ASSERT_NEAR(std::sin(direction), std::sin(radians), tolerance) << radians;
        ASSERT_NEAR(std::cos(direction), std::cos(radians), tolerance) << radians;
    }
}

TEST(RadianTest, NormIsTheSameDirectionAroundTheSwitchToManyTurns) {
    for (const double radians : {65535.0, std::nextafter(65536.0, 0.0), 65536.0, 65537.0, 1e6, 1e15, 1e22,
                                 std::numeric_limits<double>::max()}) {
        for (const double sign : {1.0, -1.0}) {
            EXPECT_NEAR(std::sin(norm(sign * radians)), std::sin(sign * radians), 3e-12) << radians;
            EXPECT_NEAR(std::cos(norm(sign * radians)), std::cos(sign * radians), 3e-12) << radians;
        }
    }
}

std::string stored(double radians) {
    std::ostringstream stream;
    vxOutputArchive archive(stream);
    vxRadian value(radians);
    vxArchive& result = archive || value;
    EXPECT_EQ(&result, &archive);
    return stream.str();
}

TEST(RadianTest, ArchivesOneDouble) {
    std::ostringstream plain;
    vxOutputArchive archive(plain);
    double value = -1.25;
    archive || value;
    EXPECT_EQ(stored(-1.25), plain.str());
}

TEST(RadianTest, LoadsEveryBitPattern) {
    for (const double radians : {1.0, -0.0, infinity, -nan, 5e-324}) {
        std::istringstream stream(stored(radians));
        vxInputArchive archive(stream);
        vxRadian value(9.0);
        archive || value;
        EXPECT_EQ(std::bit_cast<std::uint64_t>(value.toDouble()), std::bit_cast<std::uint64_t>(radians));
    }
}

TEST(RadianTest, AFailedLoadLeavesItAsItWas) {
    std::string bytes = stored(2.0);
    bytes.pop_back();
    std::istringstream stream(bytes);
    vxInputArchive archive(stream);
    vxRadian value(9.0);
    EXPECT_THROW(archive || value, vxArchive::EndOfData);
    EXPECT_EQ(value.toDouble(), 9.0);
}

} // namespace

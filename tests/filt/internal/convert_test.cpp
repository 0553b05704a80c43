#include "filt/internal/convert.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {
constexpr double infinity = std::numeric_limits<double>::infinity();

TEST(Convert, truncatesTowardZero) {
    EXPECT_EQ(vf_Truncate(2.9), 2);
    EXPECT_EQ(vf_Truncate(-2.9), -2);
    EXPECT_EQ(vf_Truncate(-0.9), 0);
    EXPECT_EQ(vf_Truncate(4503599627370496.5), 4503599627370496);
}

TEST(Convert, endsOfTheRange) {
    EXPECT_EQ(vf_Truncate(-9223372036854775808.0), std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(vf_Truncate(std::nextafter(9223372036854775808.0, 0.0)), 9223372036854774784);
    EXPECT_EQ(vf_Truncate(9223372036854775808.0), 0);
    EXPECT_EQ(vf_Truncate(std::nextafter(-9223372036854775808.0, -infinity)), 0);
}

TEST(Convert, whatIsNoNumberOfTheRangeGivesZero) {
    EXPECT_EQ(vf_Truncate(std::numeric_limits<double>::quiet_NaN()), 0);
    EXPECT_EQ(vf_Truncate(infinity), 0);
    EXPECT_EQ(vf_Truncate(-infinity), 0);
    EXPECT_EQ(vf_Truncate(1e300), 0);
}

TEST(Convert, lowBits) {
    EXPECT_EQ(vf_LowBits<unsigned char>(255.9), 255);
    EXPECT_EQ(vf_LowBits<unsigned char>(256.0), 0);
    EXPECT_EQ(vf_LowBits<unsigned char>(-1.0), 255);
    EXPECT_EQ(vf_LowBits<unsigned char>(-63.7), 193);
    EXPECT_EQ(vf_LowBits<unsigned short>(65537.5), 1);
    EXPECT_EQ(vf_LowBits<unsigned short>(-1.0), 65535);
    EXPECT_EQ(vf_LowBits<unsigned char>(4294967299.0), 3);
    EXPECT_EQ(vf_LowBits<unsigned char>(1e300), 0);
    EXPECT_EQ(vf_LowBits<unsigned short>(std::numeric_limits<double>::quiet_NaN()), 0);
}

TEST(Convert, isUsableInConstants) {
    static_assert(vf_Truncate(7.5) == 7);
    static_assert(vf_LowBits<unsigned char>(300.0) == 44);
}
} // namespace

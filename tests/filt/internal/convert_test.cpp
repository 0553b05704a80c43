#include "filt/internal/convert.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <limits>
#include <vector>

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

template <class T>
void expectStoresLowBits(const std::vector<double>& values) {
    std::vector<T> stored(values.size() + 1, 123);
    vf_StoreLowBits(values.data(), stored.data(), static_cast<long>(values.size()));
    for (std::size_t i = 0; i < values.size(); ++i) {
        EXPECT_EQ(stored[i], vf_LowBits<T>(values[i])) << values[i] << " at " << i << " of " << values.size();
    }
    EXPECT_EQ(stored.back(), 123);
}

// One special value, at every place among ordinary ones of either sign.
TEST(Convert, storesLowBitsOfManyValues) {
    const double specials[] = {255.9,
                               -1.0,
                               65537.5,
                               -0.0,
                               2147483647.9,
                               2147483648.0,
                               4294967299.0,
                               -2147483648.9,
                               -2147483649.,
                               infinity,
                               -infinity,
                               1e300,
                               -1e18,
                               5e-324,
                               1e18 + 128.0,
                               9e18,
                               -9223372036854775808.0,
                               std::numeric_limits<double>::quiet_NaN()};
    for (const double special : specials) {
        for (std::size_t count = 0; count < 20; ++count) {
            std::vector<double> values(count);
            for (std::size_t i = 0; i < count; ++i) {
                values[i] = (i % 2 == 0 ? 37.6 : -41.3) * static_cast<double>(i);
            }
            expectStoresLowBits<unsigned char>(values);
            for (std::size_t place = 0; place < count; ++place) {
                std::vector<double> changed = values;
                changed[place] = special;
                expectStoresLowBits<unsigned char>(changed);
                expectStoresLowBits<unsigned short>(changed);
            }
        }
    }
}

TEST(Convert, sumsMagnitudes) {
    EXPECT_EQ(vf_SumOfMagnitudes(nullptr, 0), 0.0);
    const std::vector<double> values = {1.0, -2.0, 4.0, -8.0, 16.0, -32.0, -infinity, infinity};
    EXPECT_EQ(vf_SumOfMagnitudes(values.data(), 3), 7.0);
    EXPECT_EQ(vf_SumOfMagnitudes(values.data(), 6), 63.0);
    EXPECT_EQ(vf_SumOfMagnitudes(values.data(), 8), infinity); // No NaN without one among the values.
}

TEST(Convert, isUsableInConstants) {
    static_assert(vf_Truncate(7.5) == 7);
    static_assert(vf_LowBits<unsigned char>(300.0) == 44);
}
} // namespace

#include "filt/fft/kernels/twiddles.h"

#include "tests/oracle/fft_kernels.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

constexpr std::size_t longest = 32768;

TEST(Twiddles, StartWithOne) {
    const vx_Twiddles twiddles(longest, 1);
    for (std::size_t span = 4; span <= longest; span *= 2) {
        const vx_Twiddle& first = twiddles.of(span)[0];
        EXPECT_EQ(first.re1, 1.0F);
        EXPECT_EQ(first.im1, 0.0F);
        EXPECT_EQ(first.negativeRe1, -1.0F);
        EXPECT_EQ(first.re3, 1.0F);
        EXPECT_EQ(first.im3, 0.0F);
    }
}

TEST(Twiddles, GoOnByTheCorrectlyRoundedAngle) {
    const vx_Twiddles twiddles(longest, 1);
    for (std::size_t span = 8; span <= longest; span *= 2) {
        const double angle = 6.283185307179586 / static_cast<double>(span);
        const long double once = static_cast<long double>(angle);
        const long double thrice = static_cast<long double>(3.0 * angle);
        const vx_Twiddle& second = twiddles.of(span)[1];
        EXPECT_EQ(second.re1, static_cast<float>(std::cos(once))) << span;
        EXPECT_EQ(second.im1, static_cast<float>(std::sin(once))) << span;
        EXPECT_EQ(second.re3, static_cast<float>(std::cos(thrice))) << span;
        EXPECT_EQ(second.im3, static_cast<float>(std::sin(thrice))) << span;
    }
}

TEST(Twiddles, AreRunningProductsInSinglePrecision) {
    const vx_Twiddles twiddles(longest, 1);
    const oracle::BaseTables tables = oracle::baseTables(1.0);
    for (int level = 2; level <= 15; ++level) {
        const std::size_t span = std::size_t{1} << level;
        float re = 1.0F;
        float im = 0.0F;
        for (std::size_t j = 0; j < span / 4; ++j) {
            const vx_Twiddle& factor = twiddles.of(span)[j];
            ASSERT_EQ(factor.re1, re) << span << ", " << j;
            ASSERT_EQ(factor.im1, im) << span << ", " << j;
            ASSERT_EQ(factor.negativeRe1, -re) << span << ", " << j;
            const float before = re;
            re = before * tables.c[level] - im * tables.s[level];
            im = im * tables.c[level] + before * tables.s[level];
        }
    }
    // They are not the accurate values: those would change the results.
    const double angle = 6.283185307179586 * 8000.0 / 32768.0;
    EXPECT_NE(twiddles.of(longest)[8000].re1, static_cast<float>(std::cos(angle)));
}

TEST(Twiddles, TurnTheOtherWayForANegativeDirection) {
    const vx_Twiddles forward(longest, 1);
    const vx_Twiddles backward(longest, -1);
    for (std::size_t span = 4; span <= longest; span *= 2) {
        for (std::size_t j = 0; j < span / 4; ++j) {
            const vx_Twiddle& a = forward.of(span)[j];
            const vx_Twiddle& b = backward.of(span)[j];
            ASSERT_EQ(b.re1, a.re1);
            ASSERT_EQ(b.im1, -a.im1);
            ASSERT_EQ(b.re3, a.re3);
            ASSERT_EQ(b.im3, -a.im3);
        }
    }
}

} // namespace

#include "filt/fft/kernels/twiddles.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

TEST(Twiddles, HasTheExactValuesOfWholeAndHalfTurns) {
    const vx_Twiddles twiddles(1.0);
    EXPECT_EQ(twiddles.cos1[0], 1.0F);
    EXPECT_EQ(twiddles.cos3[0], 1.0F);
    EXPECT_EQ(twiddles.cos1[1], -1.0F);
    EXPECT_EQ(twiddles.cos3[1], -1.0F);
    EXPECT_EQ(twiddles.sin1[2], 1.0F);
    EXPECT_EQ(twiddles.sin3[2], -1.0F);
    // 2 pi is no float or double, so its quarters miss the axes by a little.
    EXPECT_NE(twiddles.cos1[2], 0.0F);
    EXPECT_NEAR(twiddles.cos1[2], 0.0F, 1e-16F);
}

TEST(Twiddles, AreCorrectlyRoundedAtEveryLevel) {
    const vx_Twiddles twiddles(1.0);
    for (std::size_t level = 0; level < vx_Twiddles::levels; ++level) {
        const double angle = 6.283185307179586 / std::ldexp(1.0, static_cast<int>(level));
        const long double once = static_cast<long double>(angle);
        const long double thrice = static_cast<long double>(3.0 * angle);
        EXPECT_EQ(twiddles.cos1[level], static_cast<float>(std::cos(once))) << level;
        EXPECT_EQ(twiddles.sin1[level], static_cast<float>(std::sin(once))) << level;
        EXPECT_EQ(twiddles.cos3[level], static_cast<float>(std::cos(thrice))) << level;
        EXPECT_EQ(twiddles.sin3[level], static_cast<float>(std::sin(thrice))) << level;
    }
}

TEST(Twiddles, TurnTheOtherWayForANegativeDirection) {
    const vx_Twiddles forward(1.0);
    const vx_Twiddles backward(-1.0);
    for (std::size_t level = 0; level < vx_Twiddles::levels; ++level) {
        EXPECT_EQ(backward.cos1[level], forward.cos1[level]) << level;
        EXPECT_EQ(backward.sin1[level], -forward.sin1[level]) << level;
        EXPECT_EQ(backward.cos3[level], forward.cos3[level]) << level;
        EXPECT_EQ(backward.sin3[level], -forward.sin3[level]) << level;
    }
}

} // namespace

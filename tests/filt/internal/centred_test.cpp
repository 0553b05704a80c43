#include "filt/internal/centred.h"

#include <gtest/gtest.h>

#include <climits>

namespace {
TEST(Centred, pictureOfSizeEight) {
    const long frequency[] = {0, 1, 2, 3, -4, -3, -2, -1};
    const long number[] = {4, 5, 6, 7, 0, 1, 2, 3};
    for (long index = 0; index < 8; ++index) {
        EXPECT_TRUE(vf_HasFrequency(frequency[index], 8));
        EXPECT_EQ(vf_FrequencyIndex(frequency[index], 8), index);
        EXPECT_EQ(vf_CentredNumber(index, 8), number[index]);
        EXPECT_EQ(vf_CentredNumber(number[index], 8), index);
    }
    EXPECT_FALSE(vf_HasFrequency(-5, 8));
    EXPECT_FALSE(vf_HasFrequency(4, 8));
}

TEST(Centred, rangesOfEverySize) {
    for (long size = 1; size <= 100; ++size) {
        EXPECT_EQ(vf_FirstFrequency(size), -(size >> 1));
        EXPECT_EQ(vf_EndFrequency(size), (size + 1) >> 1);
        EXPECT_EQ(vf_EndFrequency(size) - vf_FirstFrequency(size), size);
    }
}

TEST(Centred, sizeOfOne) {
    EXPECT_EQ(vf_CentredNumber(0, 1), 0);
    EXPECT_TRUE(vf_HasFrequency(0, 1));
    EXPECT_FALSE(vf_HasFrequency(-1, 1));
    EXPECT_FALSE(vf_HasFrequency(1, 1));
}

TEST(Centred, oddSizeKeepsToTheFormula) {
    EXPECT_EQ(vf_CentredNumber(0, 3), 1);
    EXPECT_EQ(vf_CentredNumber(1, 3), 0);
    EXPECT_EQ(vf_CentredNumber(2, 3), 1);
}

TEST(Centred, extremesDoNotOverflow) {
    EXPECT_EQ(vf_EndFrequency(LONG_MAX), LONG_MAX / 2 + 1);
    EXPECT_FALSE(vf_HasFrequency(LONG_MIN, 8));
    EXPECT_FALSE(vf_HasFrequency(LONG_MAX, 8));
}
} // namespace

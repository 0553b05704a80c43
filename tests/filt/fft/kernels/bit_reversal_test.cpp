#include "filt/fft/kernels/bit_reversal.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

std::size_t reversed(std::size_t index, std::size_t n) {
    std::size_t result = 0;
    for (; n > 1; n >>= 1) {
        result = 2 * result + index % 2;
        index /= 2;
    }
    return result;
}

std::vector<float> numbered(std::size_t n) {
    std::vector<float> data;
    for (std::size_t i = 0; i < n; ++i) {
        data.push_back(static_cast<float>(i));
        data.push_back(-0.5F - static_cast<float>(i));
    }
    return data;
}

void expectReversed(const vx_BitReversal& bitReversal, std::size_t n) {
    std::vector<float> data = numbered(n + 1);
    bitReversal.apply(vx_Samples(data.data()));
    for (std::size_t i = 0; i < n; ++i) {
        ASSERT_EQ(data[2 * i], static_cast<float>(reversed(i, n))) << "position " << i << " of " << n;
        ASSERT_EQ(data[2 * i + 1], -0.5F - static_cast<float>(reversed(i, n))) << i << " of " << n;
    }
    EXPECT_EQ(data[2 * n], static_cast<float>(n)) << "the sample after the row of " << n;
}

TEST(BitReversal, ReordersRowsOfEveryLength) {
    for (std::size_t n = 1; n <= 32768; n *= 2) {
        vx_BitReversal bitReversal(n);
        bitReversal.build(n);
        expectReversed(bitReversal, n);
    }
}

TEST(BitReversal, ServesOneLengthAfterAnother) {
    vx_BitReversal bitReversal(64);
    for (const std::size_t n : {64U, 4U, 1U, 32U, 2U, 64U, 8U}) {
        bitReversal.build(n);
        expectReversed(bitReversal, n);
    }
}

} // namespace

#include "filt/fft/kernels/row_band.h"

#include "tests/oracle/fft_kernels.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

constexpr long lowest = std::numeric_limits<long>::min();
constexpr long highest = std::numeric_limits<long>::max();

void expectAsWithUnlimitedIntegers(std::size_t rows, long low, long high) {
    const vx_RowBand band(low, high, rows);
    const auto half = static_cast<oracle::Wide>(rows / 2);
    for (std::size_t row = 0; row < rows; ++row) {
        const auto r = static_cast<oracle::Wide>(row);
        EXPECT_EQ(band.contains(row), !oracle::rowIsSkipped(r, half, low, high))
            << "row " << row << " of " << rows << ", band " << low << " .. " << high;
        EXPECT_EQ(band.touchesBlock(row), !oracle::blockIsOutside(r, half, low, high))
            << "block " << row << " of " << rows << ", band " << low << " .. " << high;
    }
}

TEST(RowBand, FollowsTheCentredRowNumbers) {
    for (std::size_t rows = 1; rows <= 32; rows *= 2) {
        for (long low = -8; low <= 40; ++low) {
            for (long high = -8; high <= 40; ++high) {
                expectAsWithUnlimitedIntegers(rows, low, high);
            }
        }
    }
}

TEST(RowBand, DoesNotOverflowAtTheEndsOfLong) {
    const long ends[] = {lowest, lowest + 1, lowest + 4, -1, 0, 16, highest - 4, highest - 1, highest};
    for (std::size_t rows : {1U, 2U, 4U, 32U, 32768U}) {
        for (const long low : ends) {
            for (const long high : ends) {
                expectAsWithUnlimitedIntegers(rows, low, high);
            }
        }
    }
}

TEST(RowBand, NumbersTheRowsFromTheNegativeFrequenciesUp) {
    const vx_RowBand negative(0, 3, 8);
    const vx_RowBand dc(4, 4, 8);
    for (std::size_t row = 0; row < 8; ++row) {
        EXPECT_EQ(negative.contains(row), row >= 4) << row;
        EXPECT_EQ(dc.contains(row), row == 0) << row;
    }
}

TEST(RowBand, CountsABlockThatEndsJustBeforeItAsInside) {
    // The centred numbers of the block from row 0 of 16 are 8 .. 11.
    EXPECT_TRUE(vx_RowBand(11, 15, 16).touchesBlock(0));
    EXPECT_TRUE(vx_RowBand(12, 15, 16).touchesBlock(0));
    EXPECT_FALSE(vx_RowBand(13, 15, 16).touchesBlock(0));
    EXPECT_TRUE(vx_RowBand(0, 8, 16).touchesBlock(0));
    EXPECT_FALSE(vx_RowBand(0, 7, 16).touchesBlock(0));
}

} // namespace

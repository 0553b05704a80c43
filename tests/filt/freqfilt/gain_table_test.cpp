#include "filt/freqfilt/gain_table.h"

#include "tests/support/failing_allocation.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <utility>

namespace {
constexpr std::array<float, 5> gains = {1.0F, 2.0F, 3.0F, 4.0F, 5.0F};

bool holdsGains(const vx_GainTable& table) {
    return std::equal(table.begin(), table.end(), gains.begin(), gains.end());
}

bool isAligned(const vx_GainTable& table) {
    return reinterpret_cast<std::uintptr_t>(table.data()) % 16 == 0;
}

TEST(GainTable, IsNotBuiltAtFirst) {
    const vx_GainTable table;
    EXPECT_FALSE(table.isBuilt());
    EXPECT_EQ(table.data(), nullptr);
    EXPECT_EQ(table.size(), 0U);
}

TEST(GainTable, HoldsAnAlignedCopy) {
    const vx_GainTable table(gains.data(), gains.size());
    EXPECT_TRUE(table.isBuilt());
    EXPECT_TRUE(holdsGains(table));
    EXPECT_TRUE(isAligned(table));
    EXPECT_NE(table.data(), gains.data());
}

TEST(GainTable, ResizeKeepsStorageOfTheSameSize) {
    vx_GainTable table(gains.data(), gains.size());
    const float* data = table.data();
    table.resize(gains.size(), 7);
    EXPECT_EQ(table.data(), data);
    EXPECT_TRUE(holdsGains(table));
    for (std::size_t entries : {1U, 6U, 100U}) {
        table.resize(entries);
        EXPECT_EQ(table.size(), entries);
        EXPECT_TRUE(isAligned(table));
        for (float& gain : table) {
            gain = 1.0F;
        }
    }
}

TEST(GainTable, DropAndBuildAgain) {
    vx_GainTable table(gains.data(), gains.size());
    table.drop();
    EXPECT_FALSE(table.isBuilt());
    table.resize(5);
    EXPECT_TRUE(table.isBuilt());
    EXPECT_EQ(table.size(), 5U);
}

TEST(GainTable, Moves) {
    vx_GainTable source(gains.data(), gains.size());
    vx_GainTable moved(std::move(source));
    EXPECT_TRUE(holdsGains(moved));
    EXPECT_TRUE(isAligned(moved));
    vx_GainTable assigned;
    assigned = std::move(moved);
    EXPECT_TRUE(holdsGains(assigned));
    vx_GainTable& self = assigned;
    assigned = std::move(self);
    EXPECT_TRUE(holdsGains(assigned));
}

TEST(GainTable, AFailedAllocationLeavesTheTable) {
    vx_GainTable table(gains.data(), gains.size());
    EXPECT_EQ(failing_allocation::failEachAllocation([&] { table.resize(50); },
                                                     [&](bool) { EXPECT_TRUE(holdsGains(table)); }),
              1);
    EXPECT_EQ(table.size(), 50U);
}
} // namespace

#include "filt/freqfilt/gain_table.h"

#include "tests/support/failing_allocation.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <utility>

namespace {
constexpr std::array<float, 5> gains = {1.0F, 2.0F, 3.0F, 4.0F, 5.0F};

bool holdsGains(const vx_GainTable& table) {
    return std::equal(table.gains().begin(), table.gains().end(), gains.begin(), gains.end());
}

bool isAligned(const vx_GainTable& table) {
    return reinterpret_cast<std::uintptr_t>(table.gains().data()) % 16 == 0;
}

TEST(GainTable, IsNotBuiltAtFirst) {
    const vx_GainTable table;
    EXPECT_FALSE(table.isBuilt());
    EXPECT_EQ(table.gains().data(), nullptr);
    EXPECT_TRUE(table.gains().empty());
}

TEST(GainTable, HoldsAnAlignedCopy) {
    const vx_GainTable table(gains);
    EXPECT_TRUE(table.isBuilt());
    EXPECT_TRUE(holdsGains(table));
    EXPECT_TRUE(isAligned(table));
    EXPECT_NE(table.gains().data(), gains.data());
}

TEST(GainTable, ResizeKeepsStorageOfTheSameSize) {
    vx_GainTable table(gains);
    const float* data = table.gains().data();
    table.resize(gains.size(), 7);
    EXPECT_EQ(table.gains().data(), data);
    EXPECT_TRUE(holdsGains(table));
    for (std::size_t entries : {1U, 6U, 100U}) {
        table.resize(entries);
        EXPECT_EQ(table.gains().size(), entries);
        EXPECT_TRUE(isAligned(table));
        for (float& gain : table.gains()) {
            gain = 1.0F;
        }
    }
}

TEST(GainTable, DropAndBuildAgain) {
    vx_GainTable table(gains);
    table.drop();
    EXPECT_FALSE(table.isBuilt());
    table.resize(5);
    EXPECT_TRUE(table.isBuilt());
    EXPECT_EQ(table.gains().size(), 5U);
}

TEST(GainTable, Moves) {
    vx_GainTable source(gains);
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
    vx_GainTable table(gains);
    EXPECT_EQ(failing_allocation::failEachAllocation([&] { table.resize(50); },
                                                     [&](bool) { EXPECT_TRUE(holdsGains(table)); }),
              1);
    EXPECT_EQ(table.gains().size(), 50U);
}
} // namespace

#include "filt/fft/kernels/scratch.h"

#include "tests/support/failing_allocation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>

namespace {

TEST(Scratch, TakesNoMemoryForSquaresAndSingleRowsOrColumns) {
    const std::size_t sizes[][2] = {{1, 1}, {2, 2}, {64, 64}, {1, 8}, {8, 1}, {32768, 1}};
    for (const auto& size : sizes) {
        const failing_allocation::Scope watch;
        vx_Scratch scratch(size[0], size[1]);
        EXPECT_EQ(scratch.data(), nullptr) << size[0] << " x " << size[1];
        EXPECT_EQ(watch.count(), 0) << size[0] << " x " << size[1];
    }
}

TEST(Scratch, HoldsTheSamplesFromAMultipleOf16BytesOn) {
    const std::size_t sizes[][2] = {{2, 4}, {4, 2}, {16, 8}, {2, 64}, {2048, 4}, {32768, 2}};
    for (const auto& size : sizes) {
        const std::size_t floats = size[0] * size[1] * 2;
        const failing_allocation::Scope watch;
        vx_Scratch scratch(size[0], size[1]);
        ASSERT_NE(scratch.data(), nullptr);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(scratch.data()) % 16, 0U);
        std::fill_n(scratch.data(), floats, 1.0F); // An address sanitizer sees a row too many.
        EXPECT_EQ(watch.count(), 1);
        EXPECT_EQ(watch.largest(), (floats + 7) * sizeof(float));
    }
}

} // namespace

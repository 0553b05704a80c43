#include "filt/internal/clear_padding.h"

#include "kavstd/attention.h"
#include "tests/oracle/frequency_buffer.h"

#include <gtest/gtest.h>

#include <climits>
#include <stdexcept>
#include <vector>

namespace {
TEST(ClearPadding, matchesTheTranscription) {
    for (long width : {1L, 2L, 8L}) {
        for (long height : {1L, 4L}) {
            for (long sourceWidth : {LONG_MIN, -1L, 0L, 1L, 2L, 5L, 8L, 9L, LONG_MAX}) {
                for (long sourceHeight : {LONG_MIN, -1L, 0L, 1L, 3L, 4L, 5L, LONG_MAX}) {
                    std::vector<float> data(static_cast<std::size_t>(width * height * 2), 7.0F);
                    std::vector<float> expected(data);
                    data.push_back(9.0F); // Beyond the end.
                    oracle::clearPadding(sourceWidth, sourceHeight, width, height, expected);
                    vf_ClearPadding(sourceWidth, sourceHeight, width, height, data.data());
                    EXPECT_EQ(data.back(), 9.0F);
                    data.pop_back();
                    EXPECT_EQ(data, expected) << sourceWidth << ' ' << sourceHeight;
                }
            }
        }
    }
}

TEST(ClearPadding, canBeCancelledBeforeItWrites) {
    std::vector<float> data(8, 7.0F);
    const vxAttention::Scope scope([] { throw std::runtime_error("cancelled"); });
    EXPECT_THROW(vf_ClearPadding(1, 1, 2, 2, data.data()), std::runtime_error);
    EXPECT_EQ(data, std::vector<float>(8, 7.0F));
}

TEST(ClearPadding, checksOnce) {
    std::vector<float> data(8 * 64 * 2);
    int checks = 0;
    const vxAttention::Scope scope([&] { ++checks; });
    vf_ClearPadding(4, 40, 8, 64, data.data());
    EXPECT_EQ(checks, 1);
}
} // namespace

#include "filt/internal/aligned_storage.h"

#include <gtest/gtest.h>

namespace {
TEST(AlignedStorage, startsAtTheNextMultipleOfSixteenBytes) {
    for (std::size_t size = 4; size < 1000; size += 7) {
        std::vector<float> storage(size);
        const float* start = vf_AlignedStart(storage);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(start) % 16, 0U);
        EXPECT_GE(start, storage.data());
        EXPECT_LE(start, storage.data() + 3);
    }
}

TEST(AlignedStorage, emptyVectorHasNoStart) {
    std::vector<float> storage;
    EXPECT_EQ(vf_AlignedStart(storage), nullptr);
}
} // namespace

// By itself, because ThreadSanitizer takes no program that replaces operator new.
#include "kavstd/xform.h"

#include <gtest/gtest.h>

#include <functional>
#include <thread>
#include <vector>

namespace {

const vxXform<2> someXform({2.0, 3.0, 5.0, 7.0}, {11.0, -13.0});

TEST(CacheTest, MayBeReadAndCopiedFromSeveralThreads) {
    vx2XformCache held;
    held.xform(vx2XformLinear(someXform));
    const vx2XformCache& shared = held;
    const vx2XformCache identity;
    const auto read = [&shared, &identity](bool& right) {
        right = true;
        for (int i = 0; i < 10000; ++i) {
            const vx2XformCache copy(shared);
            right = right && copy.linearXform() == someXform && identity.linearXform() == vxXform<2>();
        }
    };
    bool right[3] = {};
    {
        std::vector<std::jthread> threads;
        for (bool& mine : right) {
            threads.emplace_back(read, std::ref(mine));
        }
    }
    EXPECT_TRUE(right[0] && right[1] && right[2]);
}

} // namespace

// A program of its own, since ThreadSanitizer does not let a program replace operator new.
#include "filt/fft/arithmetic.h"

#include "tests/support/frequency_buffers.h"

#include <gtest/gtest.h>

#include <functional>
#include <thread>
#include <vector>

namespace {
// Constant operations write nothing, not even what is already there; ThreadSanitizer would see it.
TEST(FrequencyBufferThreads, constantOperationsOnOneBuffer) {
    vxFrequencyBuffer original = support::filled(16, 16, 1);
    vx2XformCache cache;
    cache.xform(vx2XformLinear(vxXform<2>(vxMatrix<2>(2.0, 0.0, 0.0, 3.0), vxVector<2>(1.0, 2.0))));
    support::BufferAccess::xformCache(original, cache);
    const vxFrequencyBuffer& buffer = original;
    const auto use = [&buffer](bool& right) {
        right = true;
        for (int round = 0; round < 50; ++round) {
            const vxFrequencyBuffer copy(buffer);
            const vxFrequencyBuffer cropped(buffer, 8, 8);
            vxFrequencyBuffer difference;
            vfFrequencySubtract(buffer, copy, difference);
            right = right && copy == buffer && difference == vxFrequencyBuffer(16, 16) &&
                    cropped.get(-1, -1, true) == buffer.get(-1, -1, true) &&
                    buffer.getPhaseImage(true).isBound();
        }
    };
    bool right[3] = {};
    std::vector<std::thread> threads;
    for (bool& result : right) {
        threads.emplace_back(use, std::ref(result));
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_TRUE(right[0] && right[1] && right[2]);
}
} // namespace

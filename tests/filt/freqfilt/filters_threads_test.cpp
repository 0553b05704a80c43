// Filters in use from several threads at once. A program of its own, so that the thread sanitizer can watch
// it: one whose memory fails on purpose brings allocation functions of its own.
#include "filt/freqfilt.h"

#include "tests/support/filters.h"
#include "tests/support/frequency_buffers.h"

#include <gtest/gtest.h>

#include <memory>
#include <thread>
#include <vector>

namespace {
using support::filled;
using support::Opened;
using support::Parameters;

void applyFromThreads(const vxFrequencyFilter& filter) {
    const vxFrequencyBuffer in = filled(64, 64, 3);
    vxFrequencyBuffer expected;
    filter.apply(in, expected);
    std::vector<vxFrequencyBuffer> results(4);
    std::vector<vxFrequencyBuffer> inPlace(4, in);
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < results.size(); ++i) {
        threads.emplace_back([&, i] {
            const std::unique_ptr<vxFrequencyFilter> copy(filter.clone());
            copy->apply(in, results[i]);
            filter.apply(in, results[i]);
            filter.apply(inPlace[i]);
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (std::size_t i = 0; i < results.size(); ++i) {
        EXPECT_TRUE(results[i] == expected);
        EXPECT_TRUE(inPlace[i] == expected);
    }
}

TEST(FilterThreads, ApplyOnlyReadsTheFilterAndTheInput) {
    const Parameters p{.width = 64, .height = 64, .radius = 2};
    applyFromThreads(Opened<support::BandPassCase>(p));
    applyFromThreads(Opened<support::BandRejectCase>(p));
    applyFromThreads(Opened<support::GaborCase>(p));
    applyFromThreads(Opened<support::GaborRejectCase>(p));
    applyFromThreads(vxFrequencyFilterImage(filled(64, 64, 1)));
}
} // namespace

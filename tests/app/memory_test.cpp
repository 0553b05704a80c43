#include "app/memory.h"
#include "tests/support/sanitizers.h"

#include <gtest/gtest.h>

#include <sys/resource.h>
#include <unistd.h>

namespace {

TEST(AvailableMemory, IsNoMoreThanTheMachineHas) {
    const unsigned long long all = static_cast<unsigned long long>(::sysconf(_SC_PHYS_PAGES)) *
                                   static_cast<unsigned long long>(::sysconf(_SC_PAGESIZE));
    EXPECT_GT(app::availableMemory(), 1U << 20);
    EXPECT_LE(app::availableMemory(), all);
}

TEST(AvailableMemory, IsWhatTheLimitLeaves) {
    if (support::sanitizerKeepsMemory) {
        GTEST_SKIP() << "a sanitizer is at work";
    }
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_AS, &before), 0);
    rlimit small = before;
    small.rlim_cur = 1UL << 20; // The program is larger already.
    ASSERT_EQ(::setrlimit(RLIMIT_AS, &small), 0);
    const unsigned long long available = app::availableMemory();
    ASSERT_EQ(::setrlimit(RLIMIT_AS, &before), 0);
    EXPECT_EQ(available, 0U);
}

} // namespace

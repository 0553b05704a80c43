#include "kavstd/attention.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <thread>
#include <vector>

namespace {

TEST(Attention, ChecksNothingWithoutAHandler) {
    EXPECT_NO_THROW(vxAttention::check());
}

TEST(Attention, CallsTheHandlerAtEachCheck) {
    int calls = 0;
    const vxAttention::Scope scope([&] { ++calls; });
    vxAttention::check();
    vxAttention::check();
    EXPECT_EQ(calls, 2);
}

TEST(Attention, PassesOnWhatTheHandlerThrowsAndKeepsTheHandler) {
    const vxAttention::Scope scope([] { throw 42; });
    EXPECT_THROW(vxAttention::check(), int);
    EXPECT_THROW(vxAttention::check(), int);
}

TEST(Attention, RestoresTheHandlerBeforeWhenAScopeEnds) {
    std::vector<char> calls;
    {
        const vxAttention::Scope outer([&] { calls.push_back('o'); });
        try {
            const vxAttention::Scope inner([&] { calls.push_back('i'); });
            vxAttention::check();
            throw std::runtime_error("leaves the scope");
        } catch (const std::runtime_error&) {
            vxAttention::check();
        }
    }
    vxAttention::check();
    EXPECT_EQ(calls, (std::vector<char>{'i', 'o'}));
}

TEST(Attention, AnEmptyHandlerShieldsFromTheOneOutside) {
    int calls = 0;
    const vxAttention::Scope outer([&] { ++calls; });
    {
        const vxAttention::Scope inner(nullptr);
        vxAttention::check();
    }
    EXPECT_EQ(calls, 0);
    vxAttention::check();
    EXPECT_EQ(calls, 1);
}

TEST(Attention, EachThreadHasItsOwnHandler) {
    int calls = 0;
    int callsElsewhere = 0;
    const vxAttention::Scope scope([&] { ++calls; });
    std::thread thread([&] {
        vxAttention::check(); // No handler of its own yet.
        const vxAttention::Scope elsewhere([&] { ++callsElsewhere; });
        vxAttention::check();
    });
    thread.join();
    EXPECT_EQ(calls, 0);
    EXPECT_EQ(callsElsewhere, 1);
    vxAttention::check();
    EXPECT_EQ(calls, 1);
}

} // namespace

#include "kavstd/attention.h"

#include <gtest/gtest.h>

#include <memory>
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

TEST(Attention, ScopesMayEndInAnyOrder) {
    std::vector<char> calls;
    auto outer = std::make_unique<vxAttention::Scope>([&] { calls.push_back('o'); });
    auto middle = std::make_unique<vxAttention::Scope>([&] { calls.push_back('m'); });
    auto inner = std::make_unique<vxAttention::Scope>([&] { calls.push_back('i'); });
    middle.reset();
    vxAttention::check();
    inner.reset();
    vxAttention::check();
    inner = std::make_unique<vxAttention::Scope>([&] { calls.push_back('n'); });
    outer.reset();
    vxAttention::check();
    inner.reset();
    vxAttention::check();
    EXPECT_EQ(calls, (std::vector<char>{'i', 'o', 'n'}));
}

TEST(Attention, AHandlerMayOpenScopesAndCheck) {
    int calls = 0;
    int inner = 0;
    const vxAttention::Scope scope([&] {
        ++calls;
        const vxAttention::Scope nested([&] { ++inner; });
        vxAttention::check();
    });
    vxAttention::check();
    vxAttention::check();
    EXPECT_EQ(calls, 2);
    EXPECT_EQ(inner, 2);
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

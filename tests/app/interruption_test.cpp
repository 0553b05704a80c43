#include "app/interruption.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace {

void nothing(int) {}

auto handlerOf(int signal) {
    struct sigaction action {};
    sigaction(signal, nullptr, &action);
    return action.sa_handler;
}

TEST(InterruptionScope, TurnsASignalIntoAnExceptionAtTheNextCheck) {
    for (const int signal : {SIGINT, SIGTERM}) {
        const app::InterruptionScope scope;
        vxAttention::check();
        std::raise(signal);
        try {
            vxAttention::check();
            ADD_FAILURE() << "not interrupted";
        } catch (const app::Interrupted& error) {
            EXPECT_EQ(error.exitCode(), 128 + signal);
            EXPECT_STREQ(error.what(), "interrupted");
        }
    }
}

TEST(InterruptionScope, ForgetsWhatCameBefore) {
    {
        const app::InterruptionScope scope;
        std::raise(SIGINT);
        EXPECT_THROW(vxAttention::check(), app::Interrupted);
    }
    EXPECT_EQ(app::interruption(), 0);
    vxAttention::check();
    const app::InterruptionScope scope;
    EXPECT_NO_THROW(vxAttention::check());
}

TEST(InterruptionScope, TellsWhichSignalCame) {
    const app::InterruptionScope scope;
    EXPECT_EQ(app::interruption(), 0);
    std::raise(SIGTERM);
    EXPECT_EQ(app::interruption(), SIGTERM);
}

TEST(InterruptibleThread, IsInterruptedToo) {
    const app::InterruptionScope scope;
    std::atomic<int> isAt = 0;
    int exitCode = 0;
    std::thread thread([&] {
        EXPECT_NO_THROW(vxAttention::check()); // Not without the object.
        const app::InterruptibleThread interruptible;
        isAt = 1;
        try {
            for (;;) {
                vxAttention::check();
            }
        } catch (const app::Interrupted& error) {
            exitCode = error.exitCode();
        }
    });
    while (isAt != 1) {
        std::this_thread::yield();
    }
    std::raise(SIGINT); // On this thread.
    thread.join();
    EXPECT_EQ(exitCode, 130);
}

TEST(InterruptionScope, PutsTheHandlersBack) {
    std::signal(SIGINT, nothing);
    {
        const app::InterruptionScope scope;
        EXPECT_NE(handlerOf(SIGINT), nothing);
    }
    EXPECT_EQ(handlerOf(SIGINT), nothing);
    std::signal(SIGINT, SIG_DFL);
}

TEST(InterruptionScope, LeavesAnIgnoredSignalIgnored) {
    std::signal(SIGINT, SIG_IGN);
    {
        const app::InterruptionScope scope;
        std::raise(SIGINT);
        EXPECT_NO_THROW(vxAttention::check());
    }
    EXPECT_EQ(handlerOf(SIGINT), SIG_IGN);
    std::signal(SIGINT, SIG_DFL);
}

} // namespace

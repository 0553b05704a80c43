#include "app/interruption.h"

#include <gtest/gtest.h>

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
    vxAttention::check();
    const app::InterruptionScope scope;
    EXPECT_NO_THROW(vxAttention::check());
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

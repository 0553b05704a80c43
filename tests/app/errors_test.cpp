#include "app/errors.h"

#include "app/interruption.h"

#include <gtest/gtest.h>

namespace {

TEST(Errors, HaveTheExitCodesThatScriptsRelyOn) {
    EXPECT_EQ(app::UsageError("").exitCode(), 2);
    EXPECT_EQ(app::UnreadableError("").exitCode(), 3);
    EXPECT_EQ(app::WriteError("").exitCode(), 4);
    EXPECT_EQ(app::Interrupted(SIGINT).exitCode(), 130);
    EXPECT_EQ(app::Interrupted(SIGTERM).exitCode(), 143);
}

TEST(Errors, CarryTheirMessage) {
    EXPECT_STREQ(app::WriteError("disk full").what(), "disk full");
}

TEST(OneLine, ReplacesControlCharactersOnly) {
    EXPECT_EQ(app::oneLine("a\nb\tc\x7f"), "a?b?c?");
    EXPECT_EQ(app::oneLine("gr\xc3\xbc\xc3\x9f ~!"), "gr\xc3\xbc\xc3\x9f ~!");
}

} // namespace

#include "app/words.h"

#include <gtest/gtest.h>

namespace {

TEST(Words, NumbersAreShort) {
    EXPECT_EQ(app::number(128), "128");
    EXPECT_EQ(app::number(0.024), "0.024");
    EXPECT_EQ(app::number(-73.17312), "-73.1731");
}

TEST(Words, CountsTakeAPlural) {
    EXPECT_EQ(app::count(0, "pel"), "0 pels");
    EXPECT_EQ(app::count(1, "pel"), "1 pel");
    EXPECT_EQ(app::count(2, "pel"), "2 pels");
}

TEST(Words, SizesAreWidthThenHeight) {
    EXPECT_EQ(app::size(640, 480), "640 x 480");
}

} // namespace

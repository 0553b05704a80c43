#include "kavsys/assert.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(Assert, EvaluatesATrueExpressionOnceAndContinues) {
    int evaluations = 0;
    VX_ASSERT(++evaluations == 1);
    EXPECT_EQ(evaluations, 1);
}

TEST(Assert, ThrowsInEveryBuildTypeNamingExpressionFileAndLine) {
    const long line = __LINE__ + 2;
    try {
        VX_ASSERT(1 + 1 == 3);
        FAIL() << "not thrown";
    } catch (const vxAssertionFailure& failure) {
        const std::string place = std::string(" (") + __FILE__ + ":" + std::to_string(line) + ")";
        EXPECT_EQ(failure.what(), "Assertion failed: 1 + 1 == 3" + place);
    }
}

TEST(Assert, IsAnExpressionAndTakesWhateverConvertsToBool) {
    const int value = 3;
    const int* pointer = &value;
    const int read = (VX_ASSERT(pointer), *pointer);
    EXPECT_EQ(read, 3);
    const int* none = nullptr;
    EXPECT_THROW(VX_ASSERT(none), vxAssertionFailure);
}

TEST(Assert, FailureIsALogicError) {
    EXPECT_THROW(vfAssertionFailed("broken", "file.cpp", 7), std::logic_error);
    try {
        vfAssertionFailed(nullptr, nullptr, 0);
    } catch (const vxAssertionFailure& unnamed) {
        EXPECT_STREQ(unnamed.what(), "Assertion failed: ? (?:0)");
    }
    const vxAssertionFailure failure("text");
    vxAssertionFailure copy("other");
    copy = failure;
    EXPECT_STREQ(copy.what(), "text");
}

} // namespace

#include "kavstd/pair.h"

#include <gtest/gtest.h>

#include <limits>
#include <type_traits>

namespace {

template <class T>
class PairTest : public testing::Test {};
using Elements = testing::Types<long, double>;
TYPED_TEST_SUITE(PairTest, Elements);

TYPED_TEST(PairTest, DefaultIsZero) {
    constexpr vxPair<TypeParam> pair;
    EXPECT_EQ(pair.x(), TypeParam(0));
    EXPECT_EQ(pair.y(), TypeParam(0));
}

TYPED_TEST(PairTest, KeepsXAndYApart) {
    vxPair<TypeParam> pair(3, -4);
    EXPECT_EQ(pair.x(), TypeParam(3));
    EXPECT_EQ(pair.y(), TypeParam(-4));
    pair.x(7);
    EXPECT_EQ(pair, vxPair<TypeParam>(7, -4));
    pair.y(8);
    EXPECT_EQ(pair, vxPair<TypeParam>(7, 8));
}

TYPED_TEST(PairTest, KeepsTheEndsOfTheRange) {
    using Limits = std::numeric_limits<TypeParam>;
    const vxPair<TypeParam> pair(Limits::lowest(), Limits::max());
    EXPECT_EQ(pair.x(), Limits::lowest());
    EXPECT_EQ(pair.y(), Limits::max());
}

TYPED_TEST(PairTest, ComparesBothElements) {
    const vxPair<TypeParam> pair(1, 2);
    EXPECT_TRUE(pair == vxPair<TypeParam>(1, 2));
    EXPECT_FALSE(pair != vxPair<TypeParam>(1, 2));
    EXPECT_TRUE(pair != vxPair<TypeParam>(1, 3));
    EXPECT_TRUE(pair != vxPair<TypeParam>(3, 2));
    EXPECT_TRUE(pair != vxPair<TypeParam>(2, 1));
}

TYPED_TEST(PairTest, IsAPlainValueAtCompileTime) {
    constexpr auto changed = [] {
        vxPair<TypeParam> pair(1, 2);
        pair.x(5);
        pair.y(6);
        return pair;
    }();
    static_assert(changed == vxPair<TypeParam>(5, 6));
    static_assert(changed != vxPair<TypeParam>());
    static_assert(std::is_trivially_copyable_v<vxPair<TypeParam>>);
    static_assert(std::is_nothrow_default_constructible_v<vxPair<TypeParam>>);
}

TEST(DoublePairTest, ComparesAsDoublesDo) {
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    const vxPair<double> x(nan, 0.0);
    const vxPair<double> y(0.0, nan);
    EXPECT_FALSE(x == x);
    EXPECT_TRUE(x != x);
    EXPECT_FALSE(y == y);
    EXPECT_TRUE(y != y);
    EXPECT_EQ(vxPair<double>(0.0, -0.0), vxPair<double>(-0.0, 0.0));
}

} // namespace

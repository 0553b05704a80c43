#include "filt/fft/internal/periodic_copy.h"

#include "tests/support/cancellation.h"
#include "tests/support/transform_support.h"

using namespace transform_support;

namespace {

template <class T>
class PeriodicCopy : public testing::Test {};
using Pels = testing::Types<unsigned char, unsigned short, double>;
TYPED_TEST_SUITE(PeriodicCopy, Pels);

template <class T>
void compare(const vxPelBuffer_const<T>& source, vxPelBuffer<T>& destination, bool wrap) {
    oracle::Image<T> expected = contentOf(destination);
    oracle::periodicCopy(contentOf(source), expected, wrap);
    vf_PeriodicCopy(source, destination, wrap);
    expectImage(expected, destination);
}

TYPED_TEST(PeriodicCopy, GivesWhatUnlimitedIntegersGive) {
    using T = TypeParam;
    Random random(1);
    const std::vector<long> ends{lowest, lowest + 1, lowest + 4,  -5,          -2,     0,
                                 1,      3,          highest - 5, highest - 1, highest};
    for (const long ox : ends) {
        for (const long dx : ends) {
            for (const bool wrap : {false, true}) {
                const auto source = randomImage<T>(random, 5, 4, {ox, -2});
                auto destination = bottomUpImage<T>(random, 6, 3, {dx, 0});
                compare(source, destination, wrap);
                const auto turned = bottomUpImage<T>(random, 3, 6, {1, ox});
                auto other = randomImage<T>(random, 4, 5, {0, dx});
                compare(turned, other, wrap);
            }
        }
    }
}

TYPED_TEST(PeriodicCopy, GivesWhatUnlimitedIntegersGiveNearby) {
    using T = TypeParam;
    Random random(2);
    std::uniform_int_distribution<long> size(1, 9);
    std::uniform_int_distribution<long> offset(-20, 20);
    for (int i = 0; i < 3000; ++i) {
        const auto source =
            randomImage<T>(random, size(random), size(random), {offset(random), offset(random)});
        auto destination =
            randomImage<T>(random, size(random), size(random), {offset(random), offset(random)});
        compare(source, destination, i % 2 == 0);
    }
}

TYPED_TEST(PeriodicCopy, WrapsAnImageWithANegativeOffsetRoundTheOrigin) {
    using T = TypeParam;
    vxPelBuffer<T> source(3, 2);
    for (long i = 0; i < 6; ++i) {
        source.pointToOffset()[i / 3 * source.rowUpdate() + i % 3] = static_cast<T>(i + 1);
    }
    source.offset(-1, -1);
    vxPelBuffer<T> destination(3, 2);
    vf_PeriodicCopy(source, destination, true);
    oracle::Image<T> expected = oracle::newImage<T>(3, 2);
    expected.pels = {5, 6, 4, 2, 3, 1};
    expectImage(expected, destination);
}

TYPED_TEST(PeriodicCopy, LeavesTheHandlesAlone) {
    using T = TypeParam;
    Random random(3);
    auto source = randomImage<T>(random, 4, 4, {-1, -2});
    auto destination = randomImage<T>(random, 4, 4, {5, highest});
    source.copyXforms(someXform(1));
    destination.copyXforms(someXform(2));
    const auto before = contentOf(source);
    vf_PeriodicCopy(source, destination, true);
    expectImage(before, source);
    EXPECT_EQ(vxPair<long>(5, highest), destination.offset());
    EXPECT_TRUE(same(someXform(1), source.xformCache()));
    EXPECT_TRUE(same(someXform(2), destination.xformCache()));
}

TYPED_TEST(PeriodicCopy, DoesNothingWithoutPels) {
    using T = TypeParam;
    Random random(4);
    auto image = randomImage<T>(random, 4, 4);
    const auto before = contentOf(image);
    vxPelBuffer<T> unbound;
    vf_PeriodicCopy(unbound, image, true);
    expectImage(before, image);
    vf_PeriodicCopy(image, unbound, false);
    EXPECT_FALSE(unbound.isBound());
}

TYPED_TEST(PeriodicCopy, CanBeCancelledOnceBeforeAnythingChanges) {
    using T = TypeParam;
    Random random(5);
    const auto source = randomImage<T>(random, 4, 4);
    auto destination = randomImage<T>(random, 4, 4);
    const auto before = contentOf(destination);
    EXPECT_TRUE(cancellation::cancelAt(1, [&] { vf_PeriodicCopy(source, destination, false); }));
    expectImage(before, destination);
    EXPECT_EQ(1, cancellation::count([&] { vf_PeriodicCopy(source, destination, false); }));
}

} // namespace

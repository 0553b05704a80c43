#include "app/padding.h"

#include "tests/app/images.h"

#include <gmock/gmock.h>

#include <cmath>

namespace {

using app::Depth;
using testing::ElementsAre;

TEST(TransformSize, IsTheNextPowerOfTwoInEachDimension) {
    EXPECT_EQ(app::transformSize(1, 2), vxPair<long>(1, 2));
    EXPECT_EQ(app::transformSize(3, 2048), vxPair<long>(4, 2048));
    EXPECT_EQ(app::transformSize(513, 1025), vxPair<long>(1024, 2048));
}

TEST(MirrorPadded, KeepsTheImageAtTheUpperLeft) {
    const app::Image image = patternImage(5, 3, Depth::bits8);
    const vxPelBuffer<double> padded = app::mirrorPadded(image.pels);
    EXPECT_EQ(padded.width(), 8);
    EXPECT_EQ(padded.height(), 4);
    EXPECT_EQ(pelsOf(padded.window(0, 0, 5, 3)), pelsOf(image));
}

TEST(MirrorPadded, ReflectsTheBordersAndFadesFromOneToTheOther) {
    const app::Image image = makeImage(5, 1, Depth::bits8, [](long x, long) { return 16 * (x + 1); });
    // From 80, 64, 48 (the right border reflected) to 48, 32, 16 (the left one) by quarters.
    EXPECT_THAT(pelsOf(app::mirrorPadded(image.pels)), ElementsAre(16, 32, 48, 64, 80, 72, 48, 24));
}

TEST(MirrorPadded, WorksAlongBothAxes) {
    const app::Image image = makeImage(1, 3, Depth::bits8, [](long, long y) { return 10 * (y + 1); });
    EXPECT_THAT(pelsOf(app::mirrorPadded(image.pels)), ElementsAre(10, 20, 30, 20));
}

TEST(MirrorPadded, OfAPowerOfTwoIsACopy) {
    const app::Image image = patternImage(8, 4, Depth::bits8);
    vxPelBuffer<double> padded = app::mirrorPadded(image.pels);
    EXPECT_EQ(pelsOf(padded), pelsOf(image));
    EXPECT_NE(padded.pointToOffset(), image.pels.pointToOffset());
}

TEST(MirrorPadded, OfAConstantImageIsConstant) {
    const app::Image image = makeImage(21, 11, Depth::bits8, [](long, long) { return 137; });
    EXPECT_EQ(pelsOf(app::mirrorPadded(image.pels)), std::vector<double>(32 * 16, 137.0));
}

// Every step from pel to pel, around the borders of the repetition too, is no larger than a step within the
// image plus what the fade adds.
TEST(MirrorPadded, MakesNoEdge) {
    const app::Image image = makeImage(40, 1, Depth::bits8, [](long x, long) { return 6 * x; });
    const std::vector<double> line = pelsOf(app::mirrorPadded(image.pels));
    ASSERT_EQ(line.size(), 64U);
    double largest = 0;
    for (std::size_t x = 0; x < line.size(); ++x) {
        largest = std::max(largest, std::abs(line[(x + 1) % line.size()] - line[x]));
    }
    EXPECT_LE(largest, 6 + 6.0 * 16 / 25 + 1e-9); // Opposite values of the two reflections lie 16 pels apart.
}

TEST(MirrorPadded, TakesAWindowWithAnOffset) {
    const app::Image image = patternImage(8, 8, Depth::bits8);
    const vxPelBuffer<double> padded = app::mirrorPadded(image.pels.window(2, 3, 5, 3));
    EXPECT_EQ(padded.offset(), vxPair<long>(0, 0));
    EXPECT_EQ(pelsOf(padded.window(0, 0, 5, 3)), pelsOf(image.pels.window(2, 3, 5, 3)));
}

} // namespace

#include "app/pel_range.h"

#include "tests/app/images.h"

#include <gmock/gmock.h>

namespace {

using app::Depth;
using testing::ElementsAre;

vxPelBuffer<double> line(std::initializer_list<double> values) {
    return makeImage(static_cast<long>(values.size()), 1, Depth::float64,
                     [&](long x, long) { return values.begin()[x]; })
        .pels;
}

TEST(Normalizing, PutsTheExtremesAtBlackAndWhite) {
    vxPelBuffer<double> pels = line({-10, 0, 30});
    EXPECT_EQ(app::mapPels(pels, app::normalizing(-10, 30, Depth::bits8), Depth::bits8), 0);
    EXPECT_THAT(pelsOf(pels), ElementsAre(0, 64, 255)); // 63.75
    pels = line({-10, 0, 30});
    app::mapPels(pels, app::normalizing(-10, 30, Depth::bits16), Depth::bits16);
    EXPECT_THAT(pelsOf(pels), ElementsAre(0, 16384, 65535));
}

TEST(Clipping, KeepsValuesAndCountsThoseOutside) {
    vxPelBuffer<double> pels = line({-0.6, -0.4, 100.5, 255.4, 255.5, 1000});
    EXPECT_EQ(app::mapPels(pels, app::clipping(Depth::bits8, Depth::bits8, false), Depth::bits8), 3);
    EXPECT_THAT(pelsOf(pels), ElementsAre(0, 0, 101, 255, 255, 255));
}

TEST(Clipping, RaisesValuesAroundZeroToMidGrey) {
    vxPelBuffer<double> pels = line({-200, -128, 0, 127, 128});
    EXPECT_EQ(app::mapPels(pels, app::clipping(Depth::bits8, Depth::bits8, true), Depth::bits8), 2);
    EXPECT_THAT(pelsOf(pels), ElementsAre(0, 0, 128, 255, 255));
    EXPECT_EQ(app::clipping(Depth::bits16, Depth::bits16, true).offset, 32768);
}

TEST(Clipping, ScalesBetweenIntegerDepthsOnly) {
    EXPECT_EQ(app::clipping(Depth::bits8, Depth::bits16, false).gain, 257);
    EXPECT_EQ(app::clipping(Depth::bits16, Depth::bits8, false).gain, 255.0 / 65535.0);
    EXPECT_EQ(app::clipping(Depth::float32, Depth::bits8, false).gain, 1);
}

} // namespace

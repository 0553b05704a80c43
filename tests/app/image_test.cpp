#include "app/image.h"

#include "tests/app/images.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>

namespace {

using app::Depth;

std::string sizeRefusal(unsigned long long width, unsigned long long height) {
    return messageOf<app::UnreadableError>([&] { static_cast<void>(app::newPels(width, height)); });
}

TEST(NewPels, AreZeroAndOfTheSize) {
    const vxPelBuffer<double> pels = app::newPels(3, 2);
    EXPECT_EQ(pels.width(), 3);
    EXPECT_EQ(pels.height(), 2);
    EXPECT_EQ(pelsOf(pels), std::vector<double>(6, 0.0));
}

TEST(NewPels, RefuseSizesAboveTheLimitWithSizeAndLimit) {
    EXPECT_EQ(sizeRefusal(2048, 2048), "");
    EXPECT_EQ(sizeRefusal(2049, 10), "the image is 2049 x 10 pels, above the limit of 2048 x 2048");
    EXPECT_EQ(sizeRefusal(1, 4294967295ULL),
              "the image is 1 x 4294967295 pels, above the limit of 2048 x 2048");
}

TEST(NewPels, RefuseEmptyImages) {
    EXPECT_EQ(sizeRefusal(0, 5), "the image is empty (0 x 5)");
    EXPECT_EQ(sizeRefusal(5, 0), "the image is empty (5 x 0)");
}

TEST(Quantize, RoundsHalvesUpAndClamps) {
    EXPECT_EQ(app::quantize(0.49, Depth::bits8), 0U);
    EXPECT_EQ(app::quantize(0.5, Depth::bits8), 1U);
    EXPECT_EQ(app::quantize(-3, Depth::bits8), 0U);
    EXPECT_EQ(app::quantize(254.5, Depth::bits8), 255U);
    EXPECT_EQ(app::quantize(1e300, Depth::bits8), 255U);
    EXPECT_EQ(app::quantize(255.6, Depth::bits16), 256U);
    EXPECT_EQ(app::quantize(std::numeric_limits<double>::infinity(), Depth::bits16), 65535U);
    EXPECT_EQ(app::quantize(std::nan(""), Depth::bits16), 0U);
}

TEST(Traits, NameTheDepths) {
    EXPECT_STREQ(app::traits(Depth::bits8).name, "8-bit");
    EXPECT_STREQ(app::traits(Depth::bits16).name, "16-bit");
    EXPECT_STREQ(app::traits(Depth::float32).name, "float");
    EXPECT_STREQ(app::traits(Depth::float64).name, "double");
}

TEST(LuminanceWeights, LeaveGreyAsItIs) {
    EXPECT_EQ(app::luminanceWeights[0] + app::luminanceWeights[1] + app::luminanceWeights[2], 1.0);
}

TEST(Statistics, CoverEveryPel) {
    const app::Image image = makeImage(4, 3, Depth::bits8, [](long x, long y) { return x + 10 * y; });
    const app::PelStatistics result = app::statistics(image.pels);
    EXPECT_EQ(result.minimum, 0);
    EXPECT_EQ(result.maximum, 23);
    EXPECT_EQ(result.mean, 11.5);
    EXPECT_EQ(result.notFinite, 0);
}

TEST(Statistics, LeaveOutAndCountWhatIsNotFinite) {
    app::Image image = makeImage(4, 3, Depth::float32, [](long x, long) { return x; });
    image.pels.pointToRow(1)[2] = std::nan("");
    image.pels.pointToRow(2)[0] = -std::numeric_limits<double>::infinity();
    const app::PelStatistics result = app::statistics(image.pels);
    EXPECT_EQ(result.minimum, 0);
    EXPECT_EQ(result.maximum, 3);
    EXPECT_EQ(result.mean, 1.6);
    EXPECT_EQ(result.notFinite, 2);
    EXPECT_EQ(result.notFiniteAt, vxPair<long>(2, 1));
}

TEST(Statistics, OfNoFinitePelAreZero) {
    const app::Image image = makeImage(2, 2, Depth::float32, [](long, long) { return std::nan(""); });
    const app::PelStatistics result = app::statistics(image.pels);
    EXPECT_EQ(result.minimum, 0);
    EXPECT_EQ(result.maximum, 0);
    EXPECT_EQ(result.mean, 0);
    EXPECT_EQ(result.notFinite, 4);
}

TEST(Statistics, FollowTheWindow) {
    const app::Image image = makeImage(4, 4, Depth::bits8, [](long x, long y) { return x + 10 * y; });
    const app::PelStatistics result = app::statistics(image.pels.window(1, 2, 2, 2));
    EXPECT_EQ(result.minimum, 21);
    EXPECT_EQ(result.maximum, 32);
}

} // namespace

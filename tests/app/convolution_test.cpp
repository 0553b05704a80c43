#include "app/convolution.h"

#include "app/words.h"

#include "tests/app/cancellation.h"
#include "tests/app/images.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

namespace {

using app::ConvolutionSettings;
using app::Depth;
using app::Padding;
using app::Range;
using testing::HasSubstr;

app::Image randomImage(long width, long height, unsigned seed, double low = -100, double high = 100) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> pel(low, high);
    return makeImage(width, height, Depth::float64, [&](long, long) { return pel(random); });
}

// A pel of the image continued beyond its border.
double pelAt(const app::Image& image, long x, long y, Padding padding) {
    const long width = image.pels.width();
    const long height = image.pels.height();
    const bool inside = x >= 0 && x < width && y >= 0 && y < height;
    if (!inside && padding == Padding::zero) {
        return 0;
    }
    const auto mirror = [](long at, long count) {
        return at < 0 ? -at - 1 : at >= count ? 2 * count - at - 1 : at;
    };
    return image.pels.pointToRow(mirror(y, height))[mirror(x, width)];
}

std::vector<double> byDefinition(const app::Image& image, const app::Image& kernel, Padding padding) {
    const long width = kernel.pels.width();
    const long height = kernel.pels.height();
    return pelsOf(makeImage(image.pels.width(), image.pels.height(), Depth::float64, [&](long x, long y) {
        double sum = 0;
        for (long j = 0; j < height; ++j) {
            for (long i = 0; i < width; ++i) {
                sum += pelAt(image, x + width / 2 - i, y + height / 2 - j, padding) *
                       kernel.pels.pointToRow(j)[i];
            }
        }
        return sum;
    }));
}

double norm(const app::Image& image) {
    double squares = 0;
    for (const double pel : pelsOf(image)) {
        squares += pel * pel;
    }
    return std::sqrt(squares);
}

ConvolutionSettings with(Padding padding) {
    ConvolutionSettings settings;
    settings.padding = padding;
    return settings;
}

// An error of e in each sample of a transform, relative to their root mean square, is one of e * |image| *
// |kernel| in each pel of a product's inverse. Transforms in single precision stay below 1e-6. The image
// continues on all sides by as much as the kernel reaches, at most to three times its size.
void expectAsByDefinition(const app::Image& image, const app::Image& kernel, Padding padding) {
    const std::vector<double> expected = byDefinition(image, kernel, padding);
    const std::vector<double> result = pelsOf(app::convolve(image, kernel, with(padding)).image);
    ASSERT_EQ(result.size(), expected.size());
    const double tolerance = 1e-6 * 3 * norm(image) * norm(kernel);
    double worst = 0;
    for (std::size_t i = 0; i < result.size(); ++i) {
        worst = std::max(worst, std::abs(result[i] - expected[i]));
    }
    EXPECT_LE(worst, tolerance) << app::size(image.pels.width(), image.pels.height()) << " * "
                                << app::size(kernel.pels.width(), kernel.pels.height());
}

TEST(Convolve, FollowsTheDefinition) {
    std::mt19937 random(3);
    for (unsigned seed = 0; seed < 30; ++seed) {
        const long width = 1 + static_cast<long>(random() % 40);
        const long height = 1 + static_cast<long>(random() % 40);
        const long kernelWidth = 1 + static_cast<long>(random()) % width;
        const long kernelHeight = 1 + static_cast<long>(random()) % height;
        const app::Image kernel = randomImage(kernelWidth, kernelHeight, seed + 100);
        const Padding padding = seed % 2 == 0 ? Padding::mirror : Padding::zero;
        expectAsByDefinition(randomImage(width, height, seed), kernel, padding);
    }
    expectAsByDefinition(randomImage(32, 24, 1), randomImage(32, 24, 2), Padding::mirror);
    expectAsByDefinition(randomImage(32, 24, 1), randomImage(32, 24, 2), Padding::zero);
}

// Image and kernel do not fit one transform together.
TEST(Convolve, WorksInPartsUpToTheLimit) {
    for (const Padding padding : {Padding::mirror, Padding::zero}) {
        expectAsByDefinition(randomImage(2048, 3, 1), randomImage(2, 3, 2), padding);
        expectAsByDefinition(randomImage(2, 2048, 1), randomImage(1, 37, 2), padding);
        expectAsByDefinition(randomImage(2048, 1, 1), randomImage(1025, 1, 2), padding);
        expectAsByDefinition(randomImage(1100, 1, 1), randomImage(1100, 1, 2), padding);
        expectAsByDefinition(randomImage(1, 2048, 1), randomImage(1, 2048, 2), padding);
    }
}

TEST(Convolve, LeavesTheImageWhereTheKernelIsASinglePelAtItsOrigin) {
    const app::Image image = patternImage(50, 21, Depth::bits8);
    for (const auto& [width, height] : std::vector<std::pair<long, long>>{{1, 1}, {2, 2}, {5, 3}, {8, 9}}) {
        const app::Image kernel =
            makeImage(width, height, Depth::bits8,
                      [w = width, h = height](long x, long y) { return x == w / 2 && y == h / 2 ? 1 : 0; });
        ConvolutionSettings settings;
        settings.range = Range::clip;
        const app::ConvolutionResult result = app::convolve(image, kernel, settings);
        EXPECT_EQ(pelsOf(result.image), pelsOf(image)) << width << " x " << height;
        EXPECT_EQ(result.range, "clipped to 0 .. 255 (0 pels outside)");
    }
}

TEST(Convolve, NormalizesByDefault) {
    const app::Image image = patternImage(50, 21, Depth::bits16);
    const app::Image kernel = patternImage(5, 5, Depth::bits8);
    const app::ConvolutionResult result = app::convolve(image, kernel, {});
    EXPECT_EQ(result.image.depth, Depth::bits16);
    EXPECT_EQ(result.range, "scaled to 0 .. 65535");
    const std::vector<double> pels = pelsOf(result.image);
    EXPECT_EQ(*std::min_element(pels.begin(), pels.end()), 0);
    EXPECT_EQ(*std::max_element(pels.begin(), pels.end()), 65535);
    const std::vector<double> values = byDefinition(image, kernel, Padding::mirror);
    const auto [low, high] = std::minmax_element(values.begin(), values.end());
    EXPECT_NEAR(result.minimum, *low, *high * 1e-5);
    EXPECT_NEAR(result.maximum, *high, *high * 1e-5);
    for (std::size_t i = 0; i < pels.size(); ++i) {
        EXPECT_NEAR(pels[i], (values[i] - *low) * 65535 / (*high - *low), 2);
    }
}

TEST(Convolve, KeepsTheBrightnessWithAUnitKernel) {
    const app::Image image = makeImage(40, 30, Depth::bits8, [](long, long) { return 201; });
    const app::Image kernel = patternImage(7, 6, Depth::bits8);
    ConvolutionSettings settings;
    settings.unit = true;
    const app::ConvolutionResult result = app::convolve(image, kernel, settings);
    EXPECT_EQ(pelsOf(result.image), std::vector<double>(1200, 201.0));
    EXPECT_EQ(result.range, "flat, clipped to 0 .. 255 (0 pels outside)");
    settings.depth = Depth::bits16;
    settings.range = Range::clip;
    EXPECT_EQ(pelsOf(app::convolve(image, kernel, settings).image), std::vector<double>(1200, 201 * 257.0));
}

TEST(Convolve, RaisesToMidGreyWhatAKernelOfNoSumLeaves) {
    const app::Image ramp = makeImage(40, 30, Depth::bits8, [](long x, long) { return 3 * x; });
    const app::Image slope = makeImage(3, 1, Depth::float32, [](long x, long) { return x - 1; });
    ConvolutionSettings settings;
    settings.range = Range::clip;
    const app::ConvolutionResult result = app::convolve(ramp, slope, settings);
    EXPECT_EQ(result.image.pels.pointToRow(7)[20], 128 - 6);
    EXPECT_EQ(result.range, "raised to mid-grey 128, clipped to 0 .. 255 (0 pels outside)");
}

TEST(Convolve, WritesFloatsAsTheyAre) {
    const app::Image image = patternImage(20, 10, Depth::bits8);
    ConvolutionSettings settings;
    settings.depth = Depth::float32;
    const app::ConvolutionResult result = app::convolve(image, patternImage(3, 3, Depth::bits8), settings);
    EXPECT_EQ(result.image.depth, Depth::float32);
    EXPECT_GT(result.maximum, 255);
    EXPECT_EQ(app::statistics(result.image.pels).maximum, result.maximum);
    EXPECT_EQ(result.range, "written as it is");
}

template <class E>
std::string refusalOf(const app::Image& image, const app::Image& kernel,
                      const ConvolutionSettings& settings = {}) {
    return messageOf<E>([&] { static_cast<void>(app::convolve(image, kernel, settings)); });
}

TEST(Convolve, RefusesKernelsThatDoNotFit) {
    const app::Image image = patternImage(8, 6, Depth::bits8);
    app::Image kernel = patternImage(9, 6, Depth::bits8);
    kernel.name = "k.png";
    const auto refused = [&] { return refusalOf<app::UnreadableError>(image, kernel); };
    EXPECT_EQ(refused(), "cannot convolve with k.png: it is 9 x 6, larger than the image, 8 x 6");
    kernel.pels = patternImage(8, 7, Depth::bits8).pels;
    EXPECT_EQ(refused(), "cannot convolve with k.png: it is 8 x 7, larger than the image, 8 x 6");
    kernel.pels = app::newPels(3, 3);
    EXPECT_EQ(refused(), "cannot convolve with k.png: all its pels are zero");
    kernel.pels =
        makeImage(3, 1, Depth::float32, [](long x, long) { return 0.1 * static_cast<double>(x - 1); }).pels;
    EXPECT_EQ(refused(), "");
    ConvolutionSettings settings;
    settings.unit = true;
    EXPECT_EQ(refusalOf<app::UnreadableError>(image, kernel, settings),
              "cannot convolve with k.png: its pels sum to zero, so --unit cannot divide by their sum");
}

TEST(Convolve, RefusesARangeForFloatingPointResults) {
    ConvolutionSettings settings;
    settings.range = Range::clip;
    const app::Image image = patternImage(8, 8, Depth::float32);
    EXPECT_THAT(refusalOf<app::UsageError>(image, image, settings),
                HasSubstr("--range is for 8- and 16-bit results"));
}

TEST(Convolve, RefusesPelsThatCannotBeTransformed) {
    app::Image image = randomImage(8, 6, 1);
    image.name = "a.tif";
    app::Image kernel = randomImage(3, 3, 2);
    kernel.name = "k.tif";
    const auto refused = [&] { return refusalOf<app::UnreadableError>(image, kernel); };
    vfPelSet(image.pels, 1e30);
    vfPelSet(kernel.pels, 1e30); // The products do not fit.
    EXPECT_EQ(refused(), "cannot transform a.tif: its pels are too large for single precision");
    kernel.pels.pointToRow(2)[1] = std::numeric_limits<double>::infinity();
    EXPECT_EQ(refused(), "cannot transform k.tif: the pel at (1, 2) is not a finite number");
    image.pels.pointToRow(3)[5] = std::nan("");
    EXPECT_EQ(refused(), "cannot transform a.tif: the pel at (5, 3) is not a finite number");
}

TEST(Convolve, CanBeCancelledAtEveryPoint) {
    const app::Image image = patternImage(20, 10, Depth::bits8);
    const app::Image kernel = patternImage(3, 3, Depth::bits8);
    const std::vector<double> expected = pelsOf(app::convolve(image, kernel, {}).image);
    app::ConvolutionResult result;
    EXPECT_GT(cancelEachPoint([&] { result = app::convolve(image, kernel, {}); }, [] {}), 10);
    EXPECT_EQ(pelsOf(result.image), expected);
}

} // namespace

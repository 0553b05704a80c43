#include "app/tiles.h"

#include "app/fabric.h"
#include "tests/app/images.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

using app::Depth;
using app::FilterParameters;
using app::FilterResult;
using app::FilterSettings;
using app::Image;
using app::Part;

vxRadian degrees(double value) {
    return app::radiansOf(value);
}

// An image with patterns of many frequencies and directions, edges and slopes. Floating point, so that
// results are compared as they are.
Image scene(long width, long height) {
    return makeImage(width, height, Depth::float64, [](long x, long y) {
        const double u = static_cast<double>(x);
        const double v = static_cast<double>(y);
        const double chirp = 50 * std::cos(0.0011 * (u * u + 0.7 * v * v));
        const double waves = 20 * std::cos(0.5 * u + 0.2 * v) + 15 * std::sin(0.9 * v - 0.3 * u);
        return 100 + chirp + waves + ((x / 37 + y / 53) % 2 == 0 ? 30 : 0) + 0.05 * u;
    });
}

double rangeOf(const Image& image) {
    const app::PelStatistics pels = app::statistics(image.pels);
    return pels.maximum - pels.minimum;
}

// The largest difference farther than `margin` from the borders, as a part of the source's range.
double difference(const Image& a, const Image& b, const Image& source, long margin) {
    double largest = 0;
    for (long y = margin; y < a.pels.height() - margin; ++y) {
        for (long x = margin; x < a.pels.width() - margin; ++x) {
            largest = std::max(largest, std::abs(a.pels.pointToRow(y)[x] - b.pels.pointToRow(y)[x]));
        }
    }
    EXPECT_GT(a.pels.width(), 2 * margin);
    EXPECT_GT(a.pels.height(), 2 * margin);
    return largest / rangeOf(source);
}

FilterParameters filter(const std::string& type, double frequency, double sigma, double angle = 0,
                        double plateau = 0, long dc = 0) {
    FilterParameters parameters;
    parameters.type = type;
    parameters.frequency = frequency;
    parameters.sigma = sigma;
    parameters.plateau = plateau;
    parameters.angle = degrees(angle);
    parameters.dcRadius = dc;
    return parameters;
}

// Tiles of 256 against one transform of 1024.
double tiledError(const FilterParameters& parameters, Part part = Part::real) {
    const Image source = scene(700, 610);
    FilterSettings settings;
    settings.filter = parameters;
    settings.part = part;
    const FilterResult tiled = app::filterTiled(source, settings, 256);
    EXPECT_EQ(tiled.transform, vxPair<long>(256, 256));
    const FilterResult whole = app::filterImage(source, settings);
    EXPECT_EQ(whole.transform, vxPair<long>(1024, 1024));
    return difference(tiled.image, whole.image, source, app::filterReach(parameters));
}

// Measured: up to 7.6e-4 for rings, 3e-5 for lobes.
TEST(FilterTiled, IsWhatOneTransformGives) {
    const FilterParameters filters[] = {
        filter("bandpass", 0.1, 0.02),           filter("bandpass", 0, 0.015),
        filter("bandpass", 0.08, 0.03, 0, 0, 1), filter("bandpass", 0.3, 0.02, 0, 0.03),
        filter("bandreject", 0.1, 0.02),         filter("bandreject", 0.25, 0.03, 0, 0, 1),
        filter("gabor", 0.08, 0.02, 22),         filter("gabor", 0.15, 0.03, 60),
        filter("gabor-reject", 0.12, 0.02, 45),
    };
    for (FilterParameters parameters : filters) {
        if (parameters.type.starts_with("gabor")) {
            parameters.pair = false;
        }
        const double error = tiledError(parameters);
        EXPECT_LT(error, 0.001) << parameters.type << " at " << parameters.frequency;
    }
}

// The mirror lobe lies up to a sample off, which is four times as far in a tile of a quarter of the size.
// Measured: up to 0.013.
TEST(FilterTiled, PairsAreCloseToWhatOneTransformGives) {
    for (const double angle : {0.0, 30.0, 90.0, 120.0}) {
        for (const std::string type : {"gabor", "gabor-reject"}) {
            FilterParameters parameters = filter(type, 0.11, 0.03, angle);
            parameters.pair = true;
            const double error = tiledError(parameters);
            EXPECT_LT(error, 0.02) << type << " at " << angle;
        }
    }
}

TEST(FilterTiled, KernelsAreExact) {
    FilterParameters parameters;
    parameters.type = "image";
    parameters.kernel = makeImage(15, 22, Depth::bits8, [](long x, long y) { return 1 + x * y % 7; });
    parameters.kernelScale = app::KernelScale::unit;
    EXPECT_EQ(app::filterReach(parameters), 12);
    EXPECT_LT(tiledError(parameters), 1e-5);
}

TEST(FilterTiled, TakesPartsOfTheBlendedResult) {
    FilterParameters parameters = filter("gabor", 0.11, 0.03, 25);
    EXPECT_LT(tiledError(parameters, Part::magnitude), 0.001);
    // Angles and quadrants are compared where the magnitude is far from zero, and angles around the circle.
    const Image source = scene(500, 400);
    FilterSettings settings;
    settings.filter = parameters;
    const auto both = [&](Part part) {
        settings.part = part;
        return std::pair(app::filterTiled(source, settings, 256).image.pels,
                         app::filterImage(source, settings).image.pels);
    };
    const auto [magnitude, wholeMagnitude] = both(Part::magnitude);
    const auto [angle, wholeAngle] = both(Part::angle);
    const auto [quadrant, wholeQuadrant] = both(Part::quadrant);
    const long margin = app::filterReach(parameters);
    long compared = 0;
    for (long y = margin; y < 400 - margin; ++y) {
        for (long x = margin; x < 500 - margin; ++x) {
            if (wholeMagnitude.pointToRow(y)[x] < 1) {
                continue;
            }
            ++compared;
            const double turn = angle.pointToRow(y)[x] - wholeAngle.pointToRow(y)[x];
            ASSERT_LT(std::abs(std::remainder(turn, 2 * std::numbers::pi)), 0.1) << x << ", " << y;
            const double phase = wholeAngle.pointToRow(y)[x];
            if (std::abs(std::sin(2 * phase)) > 0.2) {
                ASSERT_EQ(quadrant.pointToRow(y)[x], wholeQuadrant.pointToRow(y)[x]) << x << ", " << y;
            }
        }
    }
    EXPECT_GT(compared, 10000);
}

// Where the neighbourhood of every pel is the same, all pels are, across seams and borders too.
TEST(FilterTiled, LeavesNoSeams) {
    const Image flat = makeImage(601, 487, Depth::float64, [](long, long) { return 137; });
    FilterSettings settings;
    settings.filter = filter("bandreject", 0.1, 0.02);
    for (const double pel : pelsOf(app::filterTiled(flat, settings, 256).image)) {
        ASSERT_NEAR(pel, 137, 1e-3);
    }
    settings.filter = filter("bandpass", 0, 0.02, 0, 0, 1);
    for (const double pel : pelsOf(app::filterTiled(flat, settings, 256).image)) {
        ASSERT_NEAR(pel, 0, 1e-3);
    }
}

// A kernel of one pel leaves an image as it is, so that nothing but the weights of the tiles is seen:
// wherever two of them meet, and where a third one is near.
TEST(FilterTiled, TilesCountOnceEverywhere) {
    FilterSettings settings;
    settings.filter.type = "image";
    settings.filter.kernel = makeImage(1, 1, Depth::bits8, [](long, long) { return 1; });
    const auto expectSame = [&](const Image& image) {
        const std::vector<double> expected = pelsOf(image);
        const std::vector<double> pels = pelsOf(app::filterTiled(image, settings, 128).image);
        for (std::size_t i = 0; i < pels.size(); ++i) {
            ASSERT_NEAR(pels[i], expected[i], 1e-3)
                << image.pels.width() << " x " << image.pels.height() << " at " << i;
        }
    };
    constexpr long valid = 128 - 2;
    for (long length = valid - 2; length < 3 * valid; length += 3) {
        expectSame(scene(length, 2));
        expectSame(scene(2, length));
    }
    expectSame(scene(2 * valid - 5, 2 * valid - 10));
}

// A ring's gains are stored for every 1 / 32 sample of the spectrum, so that small tiles have coarser ones.
TEST(FilterTiled, FiltersEverySizeAroundThoseOfTiles) {
    FilterSettings settings;
    settings.filter = filter("bandpass", 0.1, 0.04);
    const long reach = app::filterReach(settings.filter);
    EXPECT_EQ(reach, 16);
    const long valid = 128 - 2 * reach;
    const Image all = scene(400, 40);
    const Image expected = app::filterTiled(all, settings, 512).image;
    for (const long width : {1L, 2L, valid - 1, valid, valid + 1, 2 * valid - 17, 2 * valid - 16,
                             2 * valid - 15, 2 * valid, 399L}) {
        Image part = all;
        part.pels = all.pels.window(0, 0, width, 40);
        const Image result = app::filterTiled(part, settings, 128).image;
        ASSERT_EQ(result.pels.width(), width);
        for (long x = 0; x < width - 2 * reach; ++x) {
            ASSERT_NEAR(result.pels.pointToRow(20)[x], expected.pels.pointToRow(20)[x], 0.002 * rangeOf(all))
                << width << " at " << x;
        }
    }
}

TEST(FilterTiled, PadsAsItIsTold) {
    const Image flat = makeImage(300, 280, Depth::float64, [](long, long) { return 100; });
    FilterSettings settings;
    settings.filter = filter("bandpass", 0, 0.02);
    EXPECT_NEAR(app::filterTiled(flat, settings, 256).image.pels.pointToRow(0)[0], 100, 0.1);
    settings.padding = app::Padding::zero;
    EXPECT_NEAR(app::filterTiled(flat, settings, 256).image.pels.pointToRow(0)[150], 50, 3);
    EXPECT_NEAR(app::filterTiled(flat, settings, 256).image.pels.pointToRow(0)[0], 25, 3);
    EXPECT_NEAR(app::filterTiled(flat, settings, 256).image.pels.pointToRow(140)[150], 100, 0.1);
}

TEST(FilterTiled, PadsFromTheFirstPelBeyondTheBorder) {
    const Image flat = makeImage(150, 140, Depth::float64, [](long, long) { return 90; });
    FilterSettings settings;
    settings.filter.type = "image";
    settings.filter.kernel = makeImage(3, 3, Depth::bits8, [](long, long) { return 1; });
    settings.filter.kernelScale = app::KernelScale::unit;
    for (const double pel : pelsOf(app::filterTiled(flat, settings, 128).image)) {
        ASSERT_NEAR(pel, 90, 1e-3);
    }
    settings.padding = app::Padding::zero;
    const vxPelBuffer<double> pels = app::filterTiled(flat, settings, 128).image.pels;
    for (const long y : {0L, 139L}) {
        for (const long x : {0L, 149L}) {
            EXPECT_NEAR(pels.pointToRow(y)[x], 40, 1e-3);
            EXPECT_NEAR(pels.pointToRow(y)[75], 60, 1e-3);
            EXPECT_NEAR(pels.pointToRow(70)[x], 60, 1e-3);
        }
    }
    EXPECT_NEAR(pels.pointToRow(1)[1], 90, 1e-3);
    EXPECT_NEAR(pels.pointToRow(138)[148], 90, 1e-3);
}

TEST(FilterTiled, NormalizesTheWholeImage) {
    Image source = scene(500, 300);
    source.depth = Depth::bits8;
    FilterSettings settings;
    settings.filter = filter("bandreject", 0.1, 0.03);
    const FilterResult result = app::filterTiled(source, settings, 256);
    const app::PelStatistics pels = app::statistics(result.image.pels);
    EXPECT_EQ(pels.minimum, 0);
    EXPECT_EQ(pels.maximum, 255);
    EXPECT_EQ(result.range, "scaled to 0 .. 255");
    settings.depth = Depth::float64;
    const Image values = app::filterTiled(source, settings, 256).image;
    const double gain = 255 / (result.maximum - result.minimum);
    for (long y = 0; y < 300; y += 7) {
        for (long x = 0; x < 500; ++x) {
            ASSERT_NEAR(result.image.pels.pointToRow(y)[x],
                        (values.pels.pointToRow(y)[x] - result.minimum) * gain, 0.501);
        }
    }
}

TEST(FilterTiled, FiltersLargerImagesThanAnyTransform) {
    const app::SizeLimitScope larger(app::tiledLimit());
    const Image source = scene(3100, 2100);
    FilterSettings settings;
    settings.filter = filter("bandpass", 0.1, 0.02);
    const Image result = app::filterTiled(source, settings).image;
    // One transform of a piece across the seams.
    Image piece = source;
    piece.pels = source.pels.window(900, 100, 1800, 1900);
    const Image expected = app::filterImage(piece, settings).image;
    Image there = result;
    there.pels = vxPelBuffer<double>(1800, 1900);
    for (long y = 0; y < 1900; ++y) {
        std::copy_n(result.pels.pointToRow(100 + y) + 900, 1800, there.pels.pointToRow(y));
    }
    EXPECT_LT(difference(there, expected, source, app::filterReach(settings.filter)), 0.001);
}

TEST(FilterTiled, RefusesWhatTilesCannotDo) {
    const Image source = scene(300, 200);
    const auto refusal = [&](const FilterSettings& settings) {
        return messageOf<app::UsageError>(
            [&] { static_cast<void>(app::filterTiled(source, settings, 256)); });
    };
    FilterSettings settings;
    settings.filter = filter("bandpass", 0.1, 0.02);
    settings.raw = true;
    EXPECT_EQ(refusal(settings), "--tile does not go with --raw, which is one transform of the library");
    settings.raw = false;
    settings.filter.sigma = 0.005;
    EXPECT_EQ(refusal(settings),
              "the filter spreads pels over 128 pels, above the 96 that --tile allows: sigma "
              "must be at least 0.00663146");
    settings.filter = filter("bandpass", 0.1, 0.02, 0, 0, 2);
    EXPECT_EQ(refusal(settings),
              "--tile takes a --dc of 0 or 1, not 2, which counts samples of one transform");
    settings.filter.built =
        app::BuiltFilter{"f.kav", app::makeFilter(filter("bandpass", 0.1, 0.02), {256, 256})};
    EXPECT_EQ(refusal(settings), "--tile does not go with --filter, which fits transforms of one size");
    settings.filter = {};
    settings.filter.type = "image";
    settings.filter.kernel = makeImage(200, 20, Depth::bits8, [](long, long) { return 1; });
    EXPECT_EQ(refusal(settings), "the filter spreads pels over 101 pels, above the 96 that --tile allows");
    settings.filter.kernel = makeImage(20, 190, Depth::bits8, [](long, long) { return 1; });
    EXPECT_EQ(app::filterReach(settings.filter), 96);
    EXPECT_EQ(refusal(settings), "");
    settings.filter = filter("bandpass", 0.7, 0.02);
    EXPECT_NE(refusal(settings), "");
}

TEST(FilterReach, IsThatOfTheNarrowerDirection) {
    FilterParameters lobe = filter("gabor", 0.1, 0.02);
    EXPECT_EQ(app::filterReach(lobe), 32);
    lobe.sigma = {0.02, 0.01};
    EXPECT_EQ(app::filterReach(lobe), 64);
    lobe.sigma = {0.01, 0.02};
    EXPECT_EQ(app::filterReach(lobe), 64);
}

TEST(FilterTiled, CountsAPartOfZeroAsPositive) {
    const Image flat = makeImage(150, 140, Depth::float64, [](long, long) { return 137; });
    FilterSettings settings;
    settings.filter = filter("bandreject", 0.1, 0.04);
    settings.part = Part::quadrant;
    for (const double pel : pelsOf(app::filterTiled(flat, settings, 128).image)) {
        ASSERT_EQ(pel, 0);
    }
}

TEST(TiledLimit, TakesImagesThatFitIntoMemory) {
    const auto refusal = [](unsigned long width, unsigned long height) {
        return messageOf<app::UnreadableError>([=] { static_cast<void>(app::newPels(width, height)); });
    };
    EXPECT_EQ(refusal(2049, 10), "the image is 2049 x 10 pels, above the limit of 2048 x 2048");
    {
        const app::SizeLimitScope larger(app::tiledLimit());
        EXPECT_EQ(refusal(2049, 10), "");
        EXPECT_EQ(refusal(16384, 10), "");
        EXPECT_EQ(refusal(16385, 10), "the image is 16385 x 10 pels, above the limit of 16384 x 16384");
        const app::SizeLimitScope unaffordable({16384, "; why", 1L << 40});
        EXPECT_EQ(refusal(16385, 10), "the image is 16385 x 10 pels, above the limit of 16384 x 16384; why");
        EXPECT_THAT(
            refusal(3000, 3000),
            testing::MatchesRegex("the image is 3000 x 3000 pels; working on it needs 9895604650.0 GB of "
                                  "memory, but only [0-9.]+ GB are available"));
    }
    EXPECT_EQ(refusal(2049, 10), "the image is 2049 x 10 pels, above the limit of 2048 x 2048");
}

} // namespace

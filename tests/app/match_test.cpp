#include "app/match.h"

#include "tests/app/cancellation.h"
#include "tests/app/images.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

namespace {

using app::Depth;

app::Image cut(const app::Image& image, long x, long y, long width, long height) {
    return makeImage(width, height, image.depth,
                     [&](long i, long j) { return image.pels.pointToRow(y + j)[x + i]; });
}

app::Image noiseImage(long width, long height, unsigned seed) {
    std::mt19937 random(seed);
    return makeImage(width, height, Depth::bits8, [&](long, long) { return random() % 256; });
}

// The coefficient by its definition.
double coefficient(const app::Image& image, const app::Image& pattern, long atX, long atY) {
    const std::vector<double> a = pelsOf(cut(image, atX, atY, pattern.pels.width(), pattern.pels.height()));
    const std::vector<double> b = pelsOf(pattern);
    double meanA = 0;
    double meanB = 0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        meanA += a[i] / static_cast<double>(a.size());
        meanB += b[i] / static_cast<double>(b.size());
    }
    double ab = 0;
    double aa = 0;
    double bb = 0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        ab += (a[i] - meanA) * (b[i] - meanB);
        aa += (a[i] - meanA) * (a[i] - meanA);
        bb += (b[i] - meanB) * (b[i] - meanB);
    }
    return ab / std::sqrt(aa * bb);
}

// All positions one by one, none of them flat.
void expectAsByDefinition(const app::Image& image, const app::Image& pattern) {
    double highest = -2;
    vxPair<long> best;
    for (long y = 0; y + pattern.pels.height() <= image.pels.height(); ++y) {
        for (long x = 0; x + pattern.pels.width() <= image.pels.width(); ++x) {
            const double height = coefficient(image, pattern, x, y);
            if (height > highest) {
                highest = height;
                best = {x, y};
            }
        }
    }
    const app::Match match = app::findPattern(image, pattern);
    EXPECT_EQ(match.best, best);
    EXPECT_NEAR(match.height, highest, 1e-12);
    EXPECT_LE(std::abs(match.x - static_cast<double>(best.x())), 1);
    EXPECT_LE(std::abs(match.y - static_cast<double>(best.y())), 1);
}

TEST(FindPattern, FindsWhatTheDefinitionFinds) {
    std::mt19937 random(7);
    for (unsigned seed = 0; seed < 40; ++seed) {
        const long width = 2 + static_cast<long>(random() % 40);
        const long height = 1 + static_cast<long>(random() % 40);
        const app::Image image = noiseImage(width, height, seed);
        const long patternWidth = 2 + static_cast<long>(random()) % (width - 1);
        const long patternHeight = 1 + static_cast<long>(random()) % height;
        expectAsByDefinition(image, noiseImage(patternWidth, patternHeight, seed + 1000));
    }
}

TEST(FindPattern, FindsACutOut) {
    const app::Image image = noiseImage(90, 70, 1);
    for (const auto& [x, y] :
         std::vector<std::pair<long, long>>{{0, 0}, {31, 22}, {69, 0}, {0, 60}, {69, 60}}) {
        const app::Match match = app::findPattern(image, cut(image, x, y, 21, 10));
        EXPECT_EQ(match.x, static_cast<double>(x));
        EXPECT_EQ(match.y, static_cast<double>(y));
        EXPECT_NEAR(match.height, 1, 1e-12);
        EXPECT_LE(match.height, 1);
        EXPECT_EQ(match.best, vxPair<long>(x, y));
    }
}

TEST(FindPattern, IsBlindToBrightnessAndContrast) {
    const app::Image image = noiseImage(64, 64, 2);
    const app::Image dim = makeImage(20, 20, Depth::float64, [&](long x, long y) {
        return 1e6 + 0.01 * image.pels.pointToRow(17 + y)[9 + x];
    });
    const app::Match match = app::findPattern(image, dim);
    EXPECT_EQ(match.best, vxPair<long>(9, 17));
    EXPECT_NEAR(match.height, 1, 1e-9);
}

TEST(FindPattern, GivesANegativeItsSign) {
    const app::Image image = noiseImage(24, 24, 3);
    const app::Image negative =
        makeImage(24, 24, Depth::bits8, [&](long x, long y) { return 255 - image.pels.pointToRow(y)[x]; });
    EXPECT_NEAR(app::findPattern(image, negative).height, -1, 1e-12);
}

// Plain correlation would choose the bright part, and single precision does not see the faint one well.
TEST(FindPattern, FindsAFaintPatternBesideABrightOne) {
    std::mt19937 random(5);
    const app::Image image = makeImage(200, 100, Depth::bits16, [&](long x, long) {
        return x < 120 ? 65535.0 * static_cast<double>(random() % 2) : static_cast<double>(random() % 20);
    });
    const app::Image pattern = cut(image, 151, 33, 12, 9);
    const app::Match match = app::findPattern(image, pattern);
    EXPECT_EQ(match.best, vxPair<long>(151, 33));
    EXPECT_NEAR(match.height, 1, 1e-12);
    expectAsByDefinition(image, pattern);
}

TEST(FindPattern, TakesValuesOfAnySize) {
    for (const double scale : {1e-300, 1e-30, 1.0, 1e15, 1e36}) {
        const app::Image unscaled = noiseImage(40, 33, 4);
        const app::Image image = makeImage(
            40, 33, Depth::float64, [&](long x, long y) { return scale * unscaled.pels.pointToRow(y)[x]; });
        const app::Match match = app::findPattern(image, cut(image, 13, 8, 7, 15));
        EXPECT_EQ(match.best, vxPair<long>(13, 8)) << scale;
        EXPECT_NEAR(match.height, 1, 1e-12) << scale;
    }
}

TEST(FindPattern, TakesTheFirstOfEquals) {
    const app::Image image =
        makeImage(60, 60, Depth::bits8, [](long x, long y) { return (x % 7) * (x % 7) + 3 * (y % 5); });
    const app::Match match = app::findPattern(image, cut(image, 24, 33, 14, 10));
    EXPECT_EQ(match.best, vxPair<long>(3, 3));
    EXPECT_EQ(match.x, 3);
    EXPECT_EQ(match.y, 3);
}

// One bright pel in a faint texture: single precision sees nothing of it, and more positions are equally good
// than can be computed one by one.
TEST(FindPattern, TakesTheFirstOfEqualsInAFaintTexture) {
    const app::Image image = makeImage(500, 480, Depth::bits16, [](long x, long y) {
        return x == 250 && y == 200 ? 65535.0 : static_cast<double>((x + y) % 2);
    });
    EXPECT_EQ(app::findPattern(image, cut(image, 41, 70, 60, 60)).best, vxPair<long>(1, 0));
    std::mt19937 random(8);
    const app::Image noisy = makeImage(60, 60, Depth::float64, [&](long x, long y) {
        return static_cast<double>((x + y + 1) % 2) + static_cast<double>(random() % 1000) / 1e3;
    });
    const app::Match match = app::findPattern(image, noisy);
    EXPECT_EQ(match.best, vxPair<long>(1, 0));
    EXPECT_NEAR(match.height, coefficient(image, noisy, 1, 0), 1e-12);
}

// The same where one position differs: it is better, and far down the list.
TEST(FindPattern, FindsTheBetterOneOfManyInAFaintTexture) {
    const app::Image image = makeImage(500, 480, Depth::bits16, [](long x, long y) {
        const long flaw = x == 420 && y == 433 ? 1 : 0;
        return x == 250 && y == 200 ? 65535.0 : static_cast<double>((x + y + flaw) % 2);
    });
    const app::Image pattern = cut(image, 380, 410, 60, 60);
    const app::Match match = app::findPattern(image, pattern);
    EXPECT_EQ(match.best, vxPair<long>(380, 410));
    EXPECT_NEAR(match.height, 1, 1e-12);
}

// Smooth spots at any place between the pels. They lie in a row, so that a shift along one axis does not look
// like one along the other.
app::Image spots(long width, long height, double shiftX, double shiftY) {
    return makeImage(width, height, Depth::float64, [=](long x, long y) {
        const auto spot = [&](double centreX, double centreY, double radius) {
            const double dx = static_cast<double>(x) - centreX - shiftX;
            const double dy = static_cast<double>(y) - centreY - shiftY;
            return std::exp(-(dx * dx + dy * dy) / (2 * radius * radius));
        };
        return 100 * spot(28, 32, 3) + 60 * spot(37, 32, 2.5);
    });
}

TEST(FindPattern, FindsFractionsOfAPel) {
    const app::Image pattern = cut(spots(64, 64, 0, 0), 16, 17, 32, 30);
    double worst = 0;
    for (double shift = -0.5; shift <= 0.5; shift += 0.1) {
        const app::Match match = app::findPattern(spots(64, 64, shift, 2 - 0.7 * shift), pattern);
        worst = std::max({worst, std::abs(match.x - 16 - shift), std::abs(match.y - 19 + 0.7 * shift)});
    }
    EXPECT_LT(worst, 0.01);
    EXPECT_EQ(app::findPattern(spots(64, 64, 3, -2), pattern).x, 19);
}

// A spot twice as long as wide or more, turned out of the axes.
app::Image obliqueSpot(double length, double width, double angle, double shiftX, double shiftY) {
    return makeImage(64, 64, Depth::float64, [=](long x, long y) {
        const double dx = static_cast<double>(x) - 32 - shiftX;
        const double dy = static_cast<double>(y) - 32 - shiftY;
        const double along = (dx * std::cos(angle) + dy * std::sin(angle)) / length;
        const double across = (dy * std::cos(angle) - dx * std::sin(angle)) / width;
        return 100 * std::exp(-(along * along + across * across) / 2);
    });
}

double worstOfObliqueSpot(double length, double width) {
    double worst = 0;
    for (double angle = 0; angle < 3; angle += 0.39) {
        const app::Image pattern = cut(obliqueSpot(length, width, angle, 0, 0), 20, 20, 24, 24);
        for (double shift = -0.45; shift < 0.5; shift += 0.15) {
            const app::Match match =
                app::findPattern(obliqueSpot(length, width, angle, shift, 0.4 - shift), pattern);
            worst = std::max({worst, std::abs(match.x - 20 - shift), std::abs(match.y - 20 - 0.4 + shift)});
        }
    }
    return worst;
}

// Along an oblique spot, a shift along one axis looks like one along the other.
TEST(FindPattern, FindsFractionsOfAPelOfObliquePatterns) {
    EXPECT_LT(worstOfObliqueSpot(4, 2), 0.03);
    EXPECT_LT(worstOfObliqueSpot(6, 1.5), 0.4);
}

TEST(FindPattern, StaysWithinTheImageAtItsBorders) {
    const app::Image pattern = cut(spots(64, 64, 0, 0), 16, 17, 32, 30);
    const app::Image shifted = spots(64, 64, 0.3, 0.3);
    const app::Match upperLeft = app::findPattern(cut(shifted, 16, 17, 40, 40), pattern);
    EXPECT_EQ(upperLeft.x, 0);
    EXPECT_EQ(upperLeft.y, 0);
    EXPECT_LT(upperLeft.height, 1);
    const app::Match lowerRight = app::findPattern(cut(shifted, 8, 9, 40, 38), pattern);
    EXPECT_EQ(lowerRight.x, 8);
    EXPECT_EQ(lowerRight.y, 8);
}

TEST(FindPattern, PassesOverFlatParts) {
    const app::Image image = makeImage(100, 80, Depth::bits8, [](long x, long y) {
        const bool inside = x >= 61 && x < 65 && y >= 40 && y < 44;
        return inside ? 100 + (x * 7 + y * 3) % 20 : 100;
    });
    const app::Match match = app::findPattern(image, cut(image, 61, 40, 4, 4));
    EXPECT_EQ(match.best, vxPair<long>(61, 40));
    EXPECT_NEAR(match.height, 1, 1e-12);
}

TEST(FindPattern, TakesImagesUpToTheLimit) {
    const app::Image image = noiseImage(2048, 40, 9);
    EXPECT_EQ(app::findPattern(image, cut(image, 1020, 3, 1028, 30)).best, vxPair<long>(1020, 3));
    EXPECT_EQ(app::findPattern(image, image).best, vxPair<long>(0, 0));
}

std::string refusalOf(const app::Image& image, const app::Image& pattern) {
    return messageOf<app::UnreadableError>([&] { static_cast<void>(app::findPattern(image, pattern)); });
}

TEST(FindPattern, RefusesWhatCannotMatch) {
    app::Image image = noiseImage(8, 6, 1);
    image.name = "a.png";
    app::Image pattern = makeImage(3, 3, Depth::bits8, [](long, long) { return 77; });
    pattern.name = "b.png";
    EXPECT_EQ(refusalOf(image, pattern), "cannot find b.png: it is flat, all pels have one value");
    pattern.pels = noiseImage(9, 6, 1).pels;
    EXPECT_EQ(refusalOf(image, pattern),
              "cannot find b.png in a.png: it is 9 x 6, larger than the image, 8 x 6");
    pattern.pels = noiseImage(8, 7, 1).pels;
    EXPECT_EQ(refusalOf(image, pattern),
              "cannot find b.png in a.png: it is 8 x 7, larger than the image, 8 x 6");
    pattern.pels = noiseImage(3, 1, 1).pels;
    const char* flat = "cannot find b.png in a.png: the image is flat wherever it fits";
    vfPelSet(image.pels, 0.1);
    EXPECT_EQ(refusalOf(image, pattern), flat);
    image.pels = makeImage(8, 6, Depth::bits8, [](long, long y) { return y; }).pels;
    EXPECT_EQ(refusalOf(image, pattern), flat);
}

TEST(FindPattern, RefusesPelsThatCannotBeTransformed) {
    app::Image image = noiseImage(8, 6, 1);
    image.name = "a.tif";
    app::Image pattern = noiseImage(4, 4, 2);
    pattern.name = "b.tif";
    pattern.pels.pointToRow(2)[1] = std::numeric_limits<double>::infinity();
    EXPECT_EQ(refusalOf(image, pattern), "cannot transform b.tif: the pel at (1, 2) is not a finite number");
    image.pels.pointToRow(3)[5] = std::nan("");
    EXPECT_EQ(refusalOf(image, pattern), "cannot transform a.tif: the pel at (5, 3) is not a finite number");
    image.pels.pointToRow(3)[5] = 1e39;
    EXPECT_EQ(refusalOf(image, pattern),
              "cannot transform a.tif: its pels are too large for single precision");
}

TEST(FindPattern, CanBeCancelledAtEveryPoint) {
    const app::Image image = noiseImage(20, 10, 1);
    const app::Image pattern = cut(image, 4, 5, 6, 3);
    app::Match match;
    EXPECT_GT(cancelEachPoint([&] { match = app::findPattern(image, pattern); }, [] {}), 10);
    EXPECT_EQ(match.best, vxPair<long>(4, 5));
}

} // namespace

#include "app/correlation.h"

#include "tests/app/cancellation.h"
#include "tests/app/images.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace {

using Pels = vxPelBuffer<double>;

Pels noise(long width, long height, unsigned seed) {
    std::mt19937 random(seed);
    return makeImage(width, height, app::Depth::float64,
                     [&](long, long) { return static_cast<double>(random() % 2001) / 1000 - 1; })
        .pels;
}

double rootOfSquares(const Pels& pels) {
    double sum = 0;
    for (long y = 0; y < pels.height(); ++y) {
        for (long x = 0; x < pels.width(); ++x) {
            sum += pels.pointToRow(y)[x] * pels.pointToRow(y)[x];
        }
    }
    return std::sqrt(sum);
}

double product(const Pels& image, const Pels& pattern, long x, long y) {
    double sum = 0;
    for (long j = 0; j < pattern.height(); ++j) {
        for (long i = 0; i < pattern.width(); ++i) {
            sum += image.pointToRow(y + j)[x + i] * pattern.pointToRow(j)[i];
        }
    }
    return sum;
}

double worst(const Pels& result, const Pels& image, const Pels& pattern) {
    double difference = 0;
    for (long y = 0; y < result.height(); ++y) {
        for (long x = 0; x < result.width(); ++x) {
            difference =
                std::max(difference, std::abs(result.pointToRow(y)[x] - product(image, pattern, x, y)));
        }
    }
    return difference / (rootOfSquares(image) * rootOfSquares(pattern));
}

struct Sizes {
    vxPair<long> image;
    vxPair<long> pattern;
};

TEST(Correlation, IsTheSumOfProducts) {
    const Sizes all[] = {{{1, 1}, {1, 1}}, {{2, 1}, {1, 1}},   {{1, 9}, {1, 4}},    {{8, 8}, {8, 8}},
                         {{8, 8}, {3, 2}}, {{17, 30}, {5, 9}}, {{64, 16}, {7, 16}}, {{33, 70}, {20, 31}}};
    for (const auto& [imageSize, patternSize] : all) {
        const Pels image = noise(imageSize.x(), imageSize.y(), 1);
        const Pels pattern = noise(patternSize.x(), patternSize.y(), 2);
        const vxPair<long> positions(imageSize.x() - patternSize.x() + 1,
                                     imageSize.y() - patternSize.y() + 1);
        const Pels single = app::correlation(image, pattern, positions);
        const Pels precise = app::preciseCorrelation(image, pattern, positions);
        for (const Pels* result : {&single, &precise}) {
            EXPECT_EQ(result->width(), positions.x());
            EXPECT_EQ(result->height(), positions.y());
        }
        EXPECT_LT(worst(single, image, pattern), 4e-6) << imageSize.x() << " x " << imageSize.y();
        EXPECT_LT(worst(precise, image, pattern), 4e-15) << imageSize.x() << " x " << imageSize.y();
    }
}

// A faint pattern does not lose digits to a bright image.
TEST(PreciseCorrelation, TakesAnImageAndAPatternOfDifferentBrightness) {
    const Pels image = noise(40, 50, 3);
    Pels pattern = noise(9, 7, 4);
    for (long y = 0; y < pattern.height(); ++y) {
        for (long x = 0; x < pattern.width(); ++x) {
            pattern.pointToRow(y)[x] *= 1e-12;
        }
    }
    EXPECT_LT(worst(app::preciseCorrelation(image, pattern, {32, 44}), image, pattern), 4e-15);
}

TEST(PreciseCorrelation, CanBeCancelledAtEveryPoint) {
    const Pels image = noise(20, 10, 5);
    const Pels pattern = noise(4, 3, 6);
    Pels result;
    EXPECT_GT(cancelEachPoint(
                  [&] {
                      result = app::preciseCorrelation(image, pattern, {17, 8});
                  },
                  [&] { EXPECT_FALSE(result.isBound()); }),
              10);
    EXPECT_TRUE(result.isBound());
}

} // namespace

#include "app/fabric.h"

#include "app/filtering.h"
#include "tests/app/images.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>

namespace {

// Fowler, Noll and Vo's hash of the pels.
std::uint64_t hashOf(const app::Image& image) {
    std::uint64_t hash = 14695981039346656037ULL;
    for (const double pel : pelsOf(image)) {
        hash = (hash ^ static_cast<std::uint64_t>(pel)) * 1099511628211ULL;
    }
    return hash;
}

TEST(Fabric, IsTheSamePictureEverywhere) {
    const app::Image picture = app::fabricPicture();
    EXPECT_EQ(picture.pels.width(), 448);
    EXPECT_EQ(picture.pels.height(), 448);
    EXPECT_EQ(picture.depth, app::Depth::bits8);
    EXPECT_EQ(hashOf(picture), 7501111893836474235ULL);
}

double meanAround(const vxPelBuffer<double>& pels, long x, long y) {
    return app::statistics(pels.window(x - 8, y - 8, 16, 16)).mean;
}

// How far the means of squares like the one on the stain spread, in the rest of the picture.
double deviation(const vxPelBuffer<double>& pels, const app::Stain& stain) {
    double sum = 0;
    double squares = 0;
    double count = 0;
    for (long y = 24; y < pels.height() - 24; y += 16) {
        for (long x = 24; x < pels.width() - 24; x += 16) {
            if (std::abs(x - stain.x) > stain.halfLength + 40 || std::abs(y - stain.y) > 80) {
                const double mean = meanAround(pels, x, y);
                sum += mean;
                squares += mean * mean;
                ++count;
            }
        }
    }
    return std::sqrt(squares / count - sum / count * (sum / count));
}

TEST(Fabric, HidesItsStainUntilItIsFiltered) {
    const app::Image picture = app::fabricPicture();
    const app::Stain stain = app::fabricStain();
    app::FilterSettings settings;
    settings.filter = {"bandpass", 0.024, 0.008, 0.0, 1};
    settings.depth = app::Depth::float32;
    const app::FilterResult result = app::filterImage(picture, settings);
    const double before = meanAround(picture.pels, stain.x, stain.y) - app::statistics(picture.pels).mean;
    const double after = meanAround(result.image.pels, stain.x, stain.y);
    EXPECT_LT(std::abs(before), deviation(picture.pels, stain));
    EXPECT_LT(after, -4 * deviation(result.image.pels, stain));
}

} // namespace

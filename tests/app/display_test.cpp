#include "app/display.h"

#include "app/filters.h"
#include "app/recipes.h"
#include "tests/app/images.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using app::Depth;

TEST(SpectrumView, HasTheDcInTheMiddleInWhite) {
    const app::Image image = patternImage(40, 20, Depth::bits8);
    const app::Image view = app::spectrumView(app::spectrumOf(image, app::Padding::mirror));
    EXPECT_EQ(view.pels.width(), 64);
    EXPECT_EQ(view.pels.height(), 32);
    EXPECT_EQ(view.depth, Depth::bits8);
    EXPECT_EQ(view.pels.pointToRow(16)[32], 255);
}

// Brighter where the magnitude is larger, over six decades, and never around the end of the range.
TEST(SpectrumView, IsMonotonicAndDoesNotWrap) {
    vxFrequencyBuffer spectrum(16, 16);
    for (long i = 0; i < 256; ++i) {
        spectrum.putReal(i % 16, i / 16, i == 0 ? 1e6 : static_cast<double>(i * i), false);
    }
    const app::Image view = app::spectrumView(spectrum);
    const vxPelBuffer<double> magnitudes = spectrum.getMagnitudeImage(true);
    std::vector<std::pair<double, double>> pairs;
    const std::vector<double> from = pelsOf(magnitudes);
    const std::vector<double> to = pelsOf(view);
    for (std::size_t i = 0; i < from.size(); ++i) {
        pairs.emplace_back(from[i], to[i]);
    }
    std::sort(pairs.begin(), pairs.end());
    EXPECT_TRUE(std::is_sorted(pairs.begin(), pairs.end(),
                               [](const auto& a, const auto& b) { return a.second < b.second; }));
    EXPECT_EQ(pairs.back().second, 255);
    EXPECT_EQ(pairs[pairs.size() / 2].second, 48);
    EXPECT_GT(pairs[pairs.size() - 2].second, pairs[pairs.size() / 2].second);
}

TEST(SpectrumView, OfNothingIsBlack) {
    EXPECT_EQ(pelsOf(app::spectrumView(vxFrequencyBuffer(4, 4))), std::vector<double>(16, 0.0));
}

TEST(GainView, ShowsTheRingAroundTheMiddle) {
    const auto filter = app::makeFilter({"bandpass", 0.25, 0.02, 0, 1}, {32, 32});
    const app::Image view = app::gainView(app::gains(*filter, {32, 32}));
    EXPECT_EQ(view.pels.pointToRow(16)[16], 0);
    EXPECT_EQ(view.pels.pointToRow(16)[24], 255);
    EXPECT_EQ(view.pels.pointToRow(8)[16], 255);
    EXPECT_EQ(view.pels.pointToRow(0)[0], 0);
}

} // namespace

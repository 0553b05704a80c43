#include "app/display.h"

#include "app/filtering.h"
#include "app/filters.h"
#include "tests/app/images.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

namespace {

using app::Depth;
using app::Mapping;
using app::View;

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
    EXPECT_GT(pairs[pairs.size() / 2].second, 20); // The median: dark, but not black.
    EXPECT_LT(pairs[pairs.size() / 2].second, 85);
    EXPECT_GT(pairs[pairs.size() - 2].second, pairs[pairs.size() / 2].second);
}

TEST(SpectrumView, OfNothingIsBlack) {
    EXPECT_EQ(pelsOf(app::spectrumView(vxFrequencyBuffer(4, 4))), std::vector<double>(16, 0.0));
}

// An image as its spectrum, without padding.
vxFrequencyBuffer spectrumOf(const app::Image& image) {
    return app::spectrumOf(image, app::Padding::zero);
}

app::ViewSettings settingsFor(View view, Mapping mapping) {
    app::ViewSettings settings;
    settings.view = view;
    settings.mapping = mapping;
    if (mapping == Mapping::range) {
        settings.minimum = -50;
        settings.maximum = 4000;
    }
    return settings;
}

std::vector<double> valuesOf(const vxFrequencyBuffer& spectrum, View view) {
    app::ViewSettings settings;
    settings.view = view;
    settings.depth = Depth::float64;
    return pelsOf(app::viewSpectrum(spectrum, settings).image);
}

// Larger values are never darker, and greys are those of 8 bits. What wraps is darker than what does not.
void expectMonotonic(const vxFrequencyBuffer& spectrum, const app::ViewSettings& settings,
                     const std::string& what) {
    const std::vector<double> values = valuesOf(spectrum, settings.view);
    const std::vector<double> greys = pelsOf(app::viewSpectrum(spectrum, settings).image);
    ASSERT_EQ(values.size(), greys.size());
    std::vector<std::pair<double, double>> pairs;
    for (std::size_t i = 0; i < values.size(); ++i) {
        ASSERT_TRUE(greys[i] >= 0 && greys[i] <= 255 && greys[i] == std::floor(greys[i])) << what;
        pairs.emplace_back(values[i], greys[i]);
    }
    std::sort(pairs.begin(), pairs.end());
    EXPECT_TRUE(std::is_sorted(pairs.begin(), pairs.end(), [](const auto& a, const auto& b) {
        return a.second < b.second;
    })) << what;
}

std::vector<std::pair<std::string, app::Image>> imagesOfAllKinds() {
    std::mt19937 random(11);
    const auto noise = [&](double low, double high) {
        std::uniform_real_distribution<double> pel(low, high);
        return makeImage(32, 16, Depth::float64, [&](long, long) { return pel(random); });
    };
    const auto constant = [](double value) {
        return makeImage(32, 16, Depth::float64, [=](long, long) { return value; });
    };
    const auto single = [](double value) {
        return makeImage(32, 16, Depth::float64,
                         [=](long x, long y) { return x == 5 && y == 3 ? value : 0; });
    };
    return {{"nothing", constant(0)},
            {"almost black", constant(1e-15)},
            {"white", constant(65535)},
            {"negative", constant(-1e12)},
            {"a point", single(1)},
            {"a bright point", single(1e18)},
            {"a negative point", single(-7)},
            {"one pel", makeImage(1, 1, Depth::bits8, [](long, long) { return 200; })},
            {"one black pel", makeImage(1, 1, Depth::bits8, [](long, long) { return 0; })},
            {"8 bits", noise(0, 255)},
            {"16 bits", noise(0, 65535)},
            {"both signs", noise(-1, 1)},
            {"huge", noise(-1e15, 1e15)},
            {"tiny", noise(0, 1e-15)},
            {"a wave", makeImage(32, 16, Depth::float64, [](long x, long) { return x % 2 * 2 - 1; })}};
}

TEST(ViewSpectrum, IsMonotonicAndNeverWraps) {
    for (const auto& [name, image] : imagesOfAllKinds()) {
        const vxFrequencyBuffer spectrum = spectrumOf(image);
        for (const View view : {View::magnitude, View::phase, View::real, View::imaginary}) {
            for (const Mapping mapping : {Mapping::log, Mapping::linear, Mapping::range, Mapping::clip}) {
                expectMonotonic(spectrum, settingsFor(view, mapping),
                                name + ", view " + std::to_string(static_cast<int>(view)) + ", mapping " +
                                    std::to_string(static_cast<int>(mapping)));
            }
        }
        expectMonotonic(spectrum, settingsFor(View::phase, Mapping::angle), name + ", angles");
    }
}

std::vector<double> greys(const app::Image& image, View view, Mapping mapping) {
    return pelsOf(app::viewSpectrum(spectrumOf(image), settingsFor(view, mapping)).image);
}

// What an eye expects: noise shows as texture and not as black, rounding errors do not show.
TEST(ViewSpectrum, ShowsWhatIsThere) {
    for (const Mapping mapping : {Mapping::log, Mapping::linear}) {
        for (const auto& [name, image] : imagesOfAllKinds()) {
            std::vector<double> view = greys(image, View::magnitude, mapping);
            const bool isNothing =
                app::statistics(image.pels).maximum == 0 && app::statistics(image.pels).minimum == 0;
            EXPECT_EQ(*std::max_element(view.begin(), view.end()), isNothing ? 0 : 255) << name;
        }
        std::mt19937 random(2);
        const app::Image noise =
            makeImage(64, 64, Depth::bits16, [&](long, long) { return random() % 65536; });
        std::vector<double> view = greys(noise, View::magnitude, mapping);
        std::nth_element(view.begin(), view.begin() + 2048, view.end());
        EXPECT_GT(view[2048], 10);
        EXPECT_LT(view[2048], 200);
        const app::Image point =
            makeImage(16, 16, Depth::bits8, [](long x, long y) { return x == 3 && y == 5; });
        const std::vector<double> flat = greys(point, View::magnitude, mapping);
        EXPECT_GE(*std::min_element(flat.begin(), flat.end()), 254);
        const app::Image constant = makeImage(16, 16, Depth::bits8, [](long, long) { return 77; });
        std::vector<double> dc = greys(constant, View::magnitude, mapping);
        EXPECT_EQ(std::count(dc.begin(), dc.end(), 255), 1);
        EXPECT_LE(*(std::sort(dc.begin(), dc.end()), dc.end() - 2), 48);
    }
}

TEST(ViewSpectrum, PutsViewsWithSignsAroundMidGrey) {
    vxFrequencyBuffer spectrum(4, 4);
    spectrum.put(1, 0, {10, -10}, false);
    spectrum.put(3, 0, {-10, 10}, false);
    for (const Mapping mapping : {Mapping::log, Mapping::linear}) {
        for (const View view : {View::real, View::imaginary}) {
            app::ViewSettings settings = settingsFor(view, mapping);
            settings.dcInCorner = true;
            const std::vector<double> pels = pelsOf(app::viewSpectrum(spectrum, settings).image);
            EXPECT_EQ(pels[view == View::real ? 1 : 3], 255);
            EXPECT_EQ(pels[view == View::real ? 3 : 1], 0);
            EXPECT_NEAR(pels[0], 127.5, 0.5);
            EXPECT_NEAR(pels[9], 127.5, 0.5);
        }
    }
}

TEST(ViewSpectrum, LinearLeavesTheDcOut) {
    vxFrequencyBuffer spectrum(4, 4);
    spectrum.putReal(0, 0, 1e9, false);
    spectrum.putReal(1, 0, 32768, false);
    spectrum.putReal(2, 0, 16384, false);
    app::ViewSettings settings = settingsFor(View::magnitude, Mapping::linear);
    settings.dcInCorner = true;
    const std::vector<double> pels = pelsOf(app::viewSpectrum(spectrum, settings).image);
    EXPECT_EQ((std::vector<double>(pels.begin(), pels.begin() + 4)), (std::vector<double>{255, 255, 127, 0}));
}

TEST(ViewSpectrum, LinearLetsOneInAThousandSaturate) {
    vxFrequencyBuffer spectrum(64, 64);
    for (long i = 1; i < 4096; ++i) {
        spectrum.putReal(i % 64, i / 64, static_cast<double>(i), false);
    }
    const std::vector<double> pels =
        pelsOf(app::viewSpectrum(spectrum, settingsFor(View::magnitude, Mapping::linear)).image);
    EXPECT_EQ(std::count(pels.begin(), pels.end(), 255), 5); // 4 of 4096 and the one that is just white.
}

TEST(ViewSpectrum, MapsTheRangeAsked) {
    vxFrequencyBuffer spectrum(4, 1);
    for (long x = 0; x < 4; ++x) {
        spectrum.putReal(x, 0, std::vector<double>{9, 10, 61, 100}[static_cast<std::size_t>(x)], false);
    }
    app::ViewSettings settings = settingsFor(View::magnitude, Mapping::range);
    settings.dcInCorner = true;
    settings.minimum = 10;
    settings.maximum = 112;
    EXPECT_EQ(pelsOf(app::viewSpectrum(spectrum, settings).image), (std::vector<double>{0, 0, 127, 225}));
    settings.minimum = -50;
    settings.maximum = 52;
    EXPECT_EQ(pelsOf(app::viewSpectrum(spectrum, settings).image), (std::vector<double>{147, 150, 255, 255}));
}

TEST(ViewSpectrum, ShowsAnglesFromBlackToWhite) {
    vxFrequencyBuffer spectrum(4, 1);
    spectrum.put(1, 0, {0, 1}, false);
    spectrum.put(2, 0, {-1, 0}, false);
    spectrum.put(3, 0, {0, -1}, false);
    app::ViewSettings settings;
    settings.view = View::phase;
    settings.dcInCorner = true;
    EXPECT_EQ(pelsOf(app::viewSpectrum(spectrum, settings).image), (std::vector<double>{0, 63, 127, 191}));
}

TEST(ViewSpectrum, GivesTheLibrarysValuesInFloatingPoint) {
    const vxFrequencyBuffer spectrum = spectrumOf(patternImage(20, 9, Depth::bits8));
    EXPECT_EQ(valuesOf(spectrum, View::magnitude), pelsOf(spectrum.getMagnitudeImage(true)));
    EXPECT_EQ(valuesOf(spectrum, View::phase), pelsOf(spectrum.getPhaseImage(true)));
    EXPECT_EQ(valuesOf(spectrum, View::real), pelsOf(spectrum.getRealImage(true)));
    app::ViewSettings settings;
    settings.view = View::imaginary;
    settings.depth = Depth::float32;
    settings.dcInCorner = true;
    const app::ViewResult result = app::viewSpectrum(spectrum, settings);
    EXPECT_EQ(pelsOf(result.image), pelsOf(spectrum.getImaginaryImage(false)));
    EXPECT_EQ(result.image.depth, Depth::float32);
}

TEST(ViewSpectrum, TellsTheValues) {
    const app::Image image =
        makeImage(8, 8, Depth::bits8, [](long x, long y) { return x == 1 && y == 0 ? 9 : 1; });
    for (const bool corner : {false, true}) {
        app::ViewSettings settings;
        settings.view = View::real;
        settings.dcInCorner = corner;
        const app::ViewResult result = app::viewSpectrum(spectrumOf(image), settings);
        EXPECT_EQ(result.atDc, 72);
        EXPECT_EQ(result.maximum, 72);
        EXPECT_EQ(result.minimum, -8);
    }
}

std::string refusal(const vxFrequencyBuffer& spectrum, const app::ViewSettings& settings) {
    try {
        static_cast<void>(app::viewSpectrum(spectrum, settings));
    } catch (const app::Error& error) {
        return std::to_string(error.exitCode()) + ": " + error.what();
    }
    return {};
}

TEST(ViewSpectrum, RefusesValuesBeyondSinglePrecision) {
    const std::string message = "3: the image has no spectrum in single precision: its pels are too large";
    const auto constant = [](double value) {
        return spectrumOf(makeImage(8, 8, Depth::float64, [=](long, long) { return value; }));
    };
    app::ViewSettings settings;
    EXPECT_EQ(refusal(constant(1e17), settings), "");
    EXPECT_EQ(refusal(constant(1e20), settings), message); // Its square does not fit.
    settings.view = View::phase;
    EXPECT_EQ(refusal(constant(1e20), settings), "");
    EXPECT_EQ(refusal(constant(3e38), settings), message);
    vxFrequencyBuffer imaginary(4, 4);
    imaginary.putImaginary(1, 1, std::numeric_limits<double>::infinity(), false);
    EXPECT_EQ(refusal(imaginary, settings), message);
}

TEST(ViewSpectrum, RefusesContradictions) {
    const vxFrequencyBuffer spectrum(4, 4);
    const std::string range = "2: --map range needs --min and --max, and only --map range has them";
    app::ViewSettings settings = settingsFor(View::real, Mapping::range);
    EXPECT_EQ(refusal(spectrum, settings), "");
    settings.minimum.reset();
    EXPECT_EQ(refusal(spectrum, settings), range);
    settings = settingsFor(View::real, Mapping::range);
    settings.maximum.reset();
    EXPECT_EQ(refusal(spectrum, settings), range);
    settings = settingsFor(View::real, Mapping::range);
    settings.mapping = Mapping::clip;
    EXPECT_EQ(refusal(spectrum, settings), range);
    settings = settingsFor(View::real, Mapping::range);
    for (const auto& [low, high] : std::vector<std::pair<double, double>>{
             {4, 4}, {5, 4}, {std::nan(""), 4}, {0, HUGE_VAL}, {-1e308, 1e308}}) {
        settings.minimum = low;
        settings.maximum = high;
        EXPECT_EQ(refusal(spectrum, settings), "2: --min must be below --max, and both finite");
    }
    for (const View view : {View::magnitude, View::real, View::imaginary}) {
        EXPECT_EQ(refusal(spectrum, settingsFor(view, Mapping::angle)), "2: --map angle is for --view phase");
    }
    settings = settingsFor(View::real, Mapping::log);
    settings.depth = Depth::float32;
    EXPECT_EQ(refusal(spectrum, settings),
              "2: --map is for 8-bit pictures; --depth float and double write the values themselves");
    settings = {};
    settings.depth = Depth::bits16;
    EXPECT_EQ(refusal(spectrum, settings),
              "2: views are 8-bit pictures, or with --depth float or double the values themselves");
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

#include "app/filtering.h"

#include "app/padding.h"
#include "tests/app/cancellation.h"
#include "tests/app/images.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <numbers>
#include <utility>

namespace {

using app::Depth;
using app::FilterSettings;
using app::Padding;
using app::Part;
using app::Range;
using testing::HasSubstr;

const app::FilterParameters bandPass = {"bandpass", 0.2, 0.04, 0.01, 1};
const app::FilterParameters lowPass = {"bandpass", 0, 0.04, 0.05, 0};

FilterSettings settingsFor(const app::FilterParameters& filter) {
    FilterSettings settings;
    settings.filter = filter;
    return settings;
}

FilterSettings rawSettings(bool normalize) {
    FilterSettings settings = settingsFor(bandPass);
    settings.raw = true;
    if (normalize) {
        settings.range = Range::normalize;
    }
    return settings;
}

vxFrequencyFilterBandPass libraryFilter(const app::FilterParameters& p, const vxFrequencyBuffer& spectrum) {
    return {p.sigma.along, p.plateau.along, p.frequency, {spectrum.width(), spectrum.height()}, p.dcRadius};
}

// The library alone, on pels of the type T.
template <class T>
std::vector<double> libraryMagnitudes(const app::Image& image, bool normalize) {
    vxPelBuffer<T> source(image.pels.width(), image.pels.height());
    for (long y = 0; y < source.height(); ++y) {
        for (long x = 0; x < source.width(); ++x) {
            source.pointToRow(y)[x] = static_cast<T>(image.pels.pointToRow(y)[x]);
        }
    }
    vxFrequencyBuffer spectrum;
    vfForwardFFT<T>(source, spectrum);
    libraryFilter(bandPass, spectrum).apply(spectrum);
    vxPelBuffer<T> result;
    vfInverseFFT<T>(spectrum, result, normalize, false);
    std::vector<double> values;
    for (long y = 0; y < result.height(); ++y) {
        values.insert(values.end(), result.pointToRow(y), result.pointToRow(y) + result.width());
    }
    return values;
}

// The library's real part of a picture as large as its transform.
vxPelBuffer<double> libraryReal(const vxPelBuffer<double>& image, const app::FilterParameters& filter) {
    vxFrequencyBuffer spectrum;
    vfForwardFFT<double>(image, spectrum);
    libraryFilter(filter, spectrum).apply(spectrum);
    vxPelBuffer<double> real;
    vxPelBuffer<double> imaginary;
    vfInverseFFT(spectrum, real, imaginary, false);
    return real;
}

std::vector<double> rounded(std::vector<double> values, double gain, double offset) {
    for (double& value : values) {
        value = std::clamp(std::floor(value * gain + offset + 0.5), 0.0, 255.0);
    }
    return values;
}

std::string refusedSettings(const FilterSettings& settings) {
    return messageOf<app::UsageError>([&] { app::checkSettings(settings); });
}

TEST(FilterImage, RawIsTheLibraryAndNothingElse) {
    for (const bool normalize : {false, true}) {
        const FilterSettings settings = rawSettings(normalize);
        const app::Image narrow = patternImage(50, 21, Depth::bits8);
        EXPECT_EQ(pelsOf(app::filterImage(narrow, settings).image),
                  libraryMagnitudes<unsigned char>(narrow, normalize));
        const app::Image wide = patternImage(32, 70, Depth::bits16);
        EXPECT_EQ(pelsOf(app::filterImage(wide, settings).image),
                  libraryMagnitudes<unsigned short>(wide, normalize));
    }
    const app::Image floats = patternImage(50, 21, Depth::float32);
    const app::FilterResult result = app::filterImage(floats, rawSettings(false));
    EXPECT_EQ(pelsOf(result.image), libraryMagnitudes<double>(floats, false));
    EXPECT_EQ(result.range, "magnitudes, as the library gives them");
}

TEST(FilterImage, RawTakesTheReaderOfTheOutputsDepth) {
    const app::Image image = patternImage(50, 21, Depth::bits8);
    FilterSettings settings = rawSettings(true);
    settings.depth = Depth::bits16;
    const app::FilterResult result = app::filterImage(image, settings);
    EXPECT_EQ(result.image.depth, Depth::bits16);
    EXPECT_EQ(pelsOf(result.image), libraryMagnitudes<unsigned short>(image, true));
    EXPECT_EQ(result.range, "magnitudes, normalised by the library");
}

TEST(FilterImage, NormalizesTheRealPartByDefault) {
    const app::Image image = patternImage(64, 32, Depth::bits8);
    const app::FilterResult result = app::filterImage(image, settingsFor(bandPass));
    const std::vector<double> expected = pelsOf(libraryReal(image.pels, bandPass));
    const auto [low, high] = std::minmax_element(expected.begin(), expected.end());
    EXPECT_EQ(result.transform, vxPair<long>(64, 32));
    EXPECT_EQ(result.minimum, *low);
    EXPECT_EQ(result.maximum, *high);
    EXPECT_LT(*low, 0);
    const double gain = 255 / (*high - *low);
    EXPECT_EQ(pelsOf(result.image), rounded(expected, gain, -*low * gain));
    EXPECT_EQ(result.image.depth, Depth::bits8);
    EXPECT_EQ(result.range, "scaled to 0 .. 255, zero becomes " +
                                std::to_string(static_cast<int>(std::floor(-*low * gain + 0.5))));
}

TEST(FilterImage, PadsByReflectionAndCropsBack) {
    const app::Image image = patternImage(50, 21, Depth::float64);
    const app::FilterResult result = app::filterImage(image, settingsFor(bandPass));
    const vxPelBuffer<double> expected = libraryReal(app::mirrorPadded(image.pels), bandPass);
    EXPECT_EQ(result.transform, vxPair<long>(64, 32));
    EXPECT_EQ(pelsOf(result.image), pelsOf(expected.window(0, 0, 50, 21)));
    EXPECT_EQ(result.range, "written as it is");
}

TEST(FilterImage, PadsWithZerosWhenAsked) {
    const app::Image image = patternImage(50, 21, Depth::float64);
    FilterSettings settings = settingsFor(bandPass);
    settings.padding = Padding::zero;
    vxPelBuffer<double> padded(64, 32);
    vfPelCopy<double>(image.pels, padded);
    const vxPelBuffer<double> expected = libraryReal(padded, bandPass);
    EXPECT_EQ(pelsOf(app::filterImage(image, settings).image), pelsOf(expected.window(0, 0, 50, 21)));
}

TEST(FilterImage, MirrorPaddingMakesNoEdgeAtTheBorders) {
    const app::Image image = makeImage(200, 150, Depth::float64, [](long, long) { return 100; });
    FilterSettings settings = settingsFor({"bandpass", 0.1, 0.02, 0, 1});
    const app::FilterResult mirrored = app::filterImage(image, settings);
    EXPECT_LT(mirrored.maximum - mirrored.minimum, 1e-4);
    settings.padding = Padding::zero;
    const app::FilterResult zeros = app::filterImage(image, settings);
    EXPECT_GT(zeros.maximum - zeros.minimum, 10);
}

TEST(FilterImage, ReadsMagnitudesWhenAsked) {
    const app::Image image = patternImage(64, 32, Depth::float32);
    FilterSettings settings = settingsFor(bandPass);
    settings.part = Part::magnitude;
    const app::FilterResult result = app::filterImage(image, settings);
    EXPECT_EQ(pelsOf(result.image), libraryMagnitudes<double>(image, false));
    EXPECT_GE(result.minimum, 0);
}

TEST(FilterImage, ClipRaisesToMidGreyWhatTheFilterLeavesAroundZero) {
    const app::Image image = patternImage(64, 32, Depth::bits8);
    FilterSettings settings = settingsFor(bandPass);
    settings.range = Range::clip;
    const app::FilterResult result = app::filterImage(image, settings);
    EXPECT_EQ(pelsOf(result.image), rounded(pelsOf(libraryReal(image.pels, bandPass)), 1, 128));
    EXPECT_THAT(result.range, HasSubstr("raised to mid-grey 128, clipped to 0 .. 255 ("));
}

TEST(FilterImage, ClipLeavesWhatHasItsMeanAndMagnitudesInPlace) {
    const app::Image image = patternImage(64, 32, Depth::bits8);
    FilterSettings settings = settingsFor(lowPass);
    settings.range = Range::clip;
    const app::FilterResult result = app::filterImage(image, settings);
    EXPECT_EQ(pelsOf(result.image), rounded(pelsOf(libraryReal(image.pels, lowPass)), 1, 0));
    EXPECT_EQ(result.range, "clipped to 0 .. 255 (0 pels outside)");
    settings = settingsFor(bandPass);
    settings.part = Part::magnitude;
    settings.range = Range::clip;
    EXPECT_EQ(pelsOf(app::filterImage(image, settings).image),
              rounded(libraryMagnitudes<double>(image, false), 1, 0));
}

TEST(FilterImage, ClipScalesBetweenIntegerDepths) {
    const app::Image image = makeImage(16, 16, Depth::bits8, [](long, long) { return 100; });
    FilterSettings settings = settingsFor(lowPass);
    settings.range = Range::clip;
    settings.depth = Depth::bits16;
    const app::FilterResult result = app::filterImage(image, settings);
    EXPECT_EQ(pelsOf(result.image), std::vector<double>(256, 25700.0));
    EXPECT_THAT(result.range, HasSubstr("multiplied by 257, clipped to 0 .. 65535"));
}

TEST(FilterImage, DoesNotStretchRoundingNoiseOfAFlatResult) {
    const app::Image image = makeImage(40, 30, Depth::bits8, [](long, long) { return 201; });
    const app::FilterResult removed = app::filterImage(image, settingsFor(bandPass));
    EXPECT_EQ(pelsOf(removed.image), std::vector<double>(1200, 128.0));
    EXPECT_THAT(removed.range, testing::StartsWith("flat, "));
    const app::FilterResult kept = app::filterImage(image, settingsFor(lowPass));
    EXPECT_EQ(pelsOf(kept.image), std::vector<double>(1200, 201.0));
}

TEST(FilterImage, OfBlackIsBlackWhereTheMeanPasses) {
    const app::Image image = makeImage(8, 8, Depth::bits8, [](long, long) { return 0; });
    EXPECT_EQ(pelsOf(app::filterImage(image, settingsFor(lowPass)).image), std::vector<double>(64, 0.0));
}

TEST(FilterImage, KeepsTheDepthUnlessAsked) {
    for (const Depth depth : {Depth::bits8, Depth::bits16, Depth::float32, Depth::float64}) {
        const app::Image image = patternImage(20, 10, depth);
        EXPECT_EQ(app::filterImage(image, settingsFor(bandPass)).image.depth, depth);
        FilterSettings settings = settingsFor(bandPass);
        settings.depth = Depth::bits16;
        const app::FilterResult result = app::filterImage(image, settings);
        EXPECT_EQ(result.image.depth, Depth::bits16);
        EXPECT_EQ(app::statistics(result.image.pels).maximum, 65535);
    }
}

// The complex result of one lobe, by the library alone.
vxFrequencyBuffer libraryLobe(const app::Image& image) {
    vxFrequencyBuffer spectrum;
    vfForwardFFT<double>(image.pels, spectrum);
    vxFrequencyFilterGabor({0.05, 0.05}, {0, 0}, vxRadian(0.5), 0.2, {spectrum.width(), spectrum.height()}, 0)
        .apply(spectrum);
    return spectrum;
}

FilterSettings lobeSettings(Part part) {
    FilterSettings settings = settingsFor({"gabor", 0.2, 0.05, 0, 0});
    settings.filter.angle = vxRadian(0.5);
    settings.part = part;
    return settings;
}

TEST(FilterImage, ReadsAnglesWhenAsked) {
    const app::Image image = patternImage(64, 32, Depth::float64);
    vxPelBuffer<double> magnitude;
    vxPelBuffer<double> angle;
    vxFrequencyBuffer spectrum = libraryLobe(image);
    vfInverseFFTAngle<double>(spectrum, magnitude, angle, false, true);
    FilterSettings settings = lobeSettings(Part::angle);
    const app::FilterResult floats = app::filterImage(image, settings);
    EXPECT_EQ(pelsOf(floats.image), pelsOf(angle));
    EXPECT_EQ(floats.range, "angles in radians");

    settings.depth = Depth::bits8;
    const app::FilterResult pels = app::filterImage(image, settings);
    const double gain = 255 / (2 * std::numbers::pi);
    EXPECT_EQ(pelsOf(pels.image), rounded(pelsOf(angle), gain, std::numbers::pi * gain));
    EXPECT_EQ(pels.range, "angles, -pi .. pi scaled to 0 .. 255");
    EXPECT_GE(pels.minimum, -3.1416);
    EXPECT_LE(pels.maximum, 3.1416);
}

TEST(FilterImage, ReadsQuadrantsWhenAsked) {
    const app::Image image = patternImage(64, 32, Depth::float64);
    vxPelBuffer<double> magnitude;
    vxPelBuffer<unsigned char> quadrant;
    vxFrequencyBuffer spectrum = libraryLobe(image);
    vfInverseFFTQuadrant<double>(spectrum, magnitude, quadrant, false, true);
    std::vector<double> codes;
    for (long y = 0; y < 32; ++y) {
        codes.insert(codes.end(), quadrant.pointToRow(y), quadrant.pointToRow(y) + 64);
    }
    ASSERT_THAT(codes, testing::AllOf(testing::Contains(0), testing::Contains(1), testing::Contains(2),
                                      testing::Contains(3)));
    FilterSettings settings = lobeSettings(Part::quadrant);
    const app::FilterResult floats = app::filterImage(image, settings);
    EXPECT_EQ(pelsOf(floats.image), codes);
    EXPECT_EQ(floats.range, "quadrants");
    settings.depth = Depth::bits8;
    EXPECT_EQ(pelsOf(app::filterImage(image, settings).image), rounded(codes, 85, 0));
    settings.depth = Depth::bits16;
    const app::FilterResult wide = app::filterImage(image, settings);
    EXPECT_EQ(pelsOf(wide.image).at(0), codes.at(0) * 21845);
    EXPECT_EQ(wide.range, "quadrants, 0 .. 3 scaled to 0 .. 65535");
}

// A kernel, as its definition says: turned by half a turn and moved over the image, which repeats.
TEST(FilterImage, ConvolvesWithAKernel) {
    const app::Image image = patternImage(16, 8, Depth::float64);
    FilterSettings settings = settingsFor({});
    settings.filter.type = "image";
    settings.filter.kernel = patternImage(4, 3, Depth::float32);
    const app::FilterResult result = app::filterImage(image, settings);
    for (long y = 0; y < 8; ++y) {
        for (long x = 0; x < 16; ++x) {
            double sum = 0;
            for (long j = 0; j < 3; ++j) {
                for (long i = 0; i < 4; ++i) {
                    sum += image.pels.pointToRow((y + 1 - j + 8) % 8)[(x + 2 - i + 16) % 16] *
                           settings.filter.kernel->pels.pointToRow(j)[i];
                }
            }
            ASSERT_NEAR(result.image.pels.pointToRow(y)[x], sum, 0.5) << x << ", " << y;
        }
    }
    EXPECT_GT(result.maximum - result.minimum, 10000);
}

TEST(FilterImage, RefusesAKernelLargerThanTheImage) {
    FilterSettings settings = settingsFor({});
    settings.filter.type = "image";
    settings.filter.kernel = patternImage(9, 3, Depth::bits8);
    settings.filter.kernel->name = "k.png";
    app::Image image = patternImage(9, 3, Depth::bits8);
    image.name = "x.png";
    EXPECT_NO_THROW(static_cast<void>(app::filterImage(image, settings)));
    for (const auto& [width, height] : {std::pair(8L, 3L), std::pair(9L, 2L)}) {
        image.pels = patternImage(width, height, Depth::bits8).pels;
        EXPECT_EQ(
            messageOf<app::UnreadableError>([&] { static_cast<void>(app::filterImage(image, settings)); }),
            "the kernel k.png is 9 x 3 pels, larger than x.png, which is " + std::to_string(width) + " x " +
                std::to_string(height));
    }
}

// A kernel's gains can be large or small; so is the rounding noise then.
TEST(FilterImage, MeasuresNoiseByTheGainsOfAKernel) {
    FilterSettings settings = settingsFor({});
    settings.filter.type = "image";
    settings.filter.kernel = patternImage(20, 20, Depth::bits8);
    const app::Image flat = makeImage(40, 30, Depth::bits8, [](long, long) { return 201; });
    const app::FilterResult result = app::filterImage(flat, settings);
    EXPECT_THAT(result.range, testing::StartsWith("flat, "));
    EXPECT_EQ(pelsOf(result.image), std::vector<double>(1200, 255.0));

    settings.filter.kernel = makeImage(3, 3, Depth::float64, [](long, long) { return 1e-9; });
    const app::FilterResult faint = app::filterImage(patternImage(40, 30, Depth::bits8), settings);
    EXPECT_THAT(faint.range, testing::StartsWith("scaled to 0 .. 255"));
}

TEST(FilterImage, SaysWhenTheResultIsTooLarge) {
    FilterSettings settings = settingsFor({});
    settings.filter.type = "image";
    settings.filter.kernel = makeImage(2, 2, Depth::float64, [](long, long) { return 1e20; });
    app::Image image = makeImage(8, 8, Depth::float64, [](long, long) { return 1e20; });
    image.name = "x.tif";
    EXPECT_EQ(messageOf<app::UnreadableError>([&] { static_cast<void>(app::filterImage(image, settings)); }),
              "cannot filter x.tif: the result is too large for single precision");
}

TEST(FilterImage, RefusesABuiltFilterOfAnotherSize) {
    FilterSettings settings = settingsFor({});
    settings.filter.built = {
        "f.kav", std::make_shared<vxFrequencyFilterBandPass>(0.1, 0, 0.2, vxPair<long>(64, 64), 0)};
    const app::Image image = patternImage(50, 21, Depth::bits8);
    EXPECT_EQ(messageOf<app::UnreadableError>([&] { static_cast<void>(app::filterImage(image, settings)); }),
              "cannot use f.kav: it filters 64 x 64 spectra, but this transform is 64 x 32");
}

TEST(FilterImage, RefusesFiltersThatAreWrongForEveryImage) {
    const FilterSettings settings = settingsFor({"bandpass", 0.7, 0.1, 0, 0});
    const app::Image image = patternImage(8, 8, Depth::bits8);
    EXPECT_EQ(messageOf<app::UsageError>([&] { static_cast<void>(app::filterImage(image, settings)); }),
              "Frequency must be between 0.0 and 0.5.");
}

TEST(FilterImage, RefusesARangeForFloatingPointResults) {
    FilterSettings settings = settingsFor(bandPass);
    settings.range = Range::clip;
    const app::Image image = patternImage(8, 8, Depth::float32);
    EXPECT_THAT(messageOf<app::UsageError>([&] { static_cast<void>(app::filterImage(image, settings)); }),
                HasSubstr("--range is for 8- and 16-bit results"));
}

TEST(FilterImage, RefusesPelsThatCannotBeTransformed) {
    app::Image image = patternImage(8, 8, Depth::float64);
    image.name = "x.tif";
    const auto refused = [&] {
        return messageOf<app::UnreadableError>(
            [&] { static_cast<void>(app::filterImage(image, settingsFor(bandPass))); });
    };
    EXPECT_EQ(refused(), "");
    image.pels.pointToRow(3)[5] = std::nan("");
    EXPECT_EQ(refused(), "cannot transform x.tif: the pel at (5, 3) is not a finite number");
    image.pels.pointToRow(3)[5] = 1e39;
    EXPECT_EQ(refused(), "cannot transform x.tif: its pels are too large for single precision");
    vfPelSet(image.pels, 3e38); // Each pel fits, their sum does not.
    EXPECT_EQ(refused(), "cannot filter x.tif: the result is too large for single precision");
}

TEST(FilterImage, CanBeCancelledAtEveryPoint) {
    const app::Image image = patternImage(20, 10, Depth::bits8);
    app::FilterResult result;
    const std::vector<double> expected = pelsOf(app::filterImage(image, settingsFor(bandPass)).image);
    EXPECT_GT(cancelEachPoint([&] { result = app::filterImage(image, settingsFor(bandPass)); }, [] {}), 10);
    EXPECT_EQ(pelsOf(result.image), expected);
}

TEST(CheckSettings, RefusesContradictions) {
    FilterSettings settings = rawSettings(true);
    EXPECT_EQ(refusedSettings(settings), "");
    settings.padding = Padding::zero;
    EXPECT_THAT(refusedSettings(settings), HasSubstr("neither --pad nor --part"));
    settings = rawSettings(false);
    settings.part = Part::magnitude;
    EXPECT_THAT(refusedSettings(settings), HasSubstr("neither --pad nor --part"));
    settings = rawSettings(false);
    settings.range = Range::clip;
    EXPECT_THAT(refusedSettings(settings), HasSubstr("--raw does not clip"));
    for (const Part part : {Part::angle, Part::quadrant}) {
        settings = lobeSettings(part);
        EXPECT_EQ(refusedSettings(settings), "");
        settings.range = Range::normalize;
        EXPECT_THAT(refusedSettings(settings),
                    HasSubstr("--range does not go with --part angle and quadrant"));
    }
}

} // namespace

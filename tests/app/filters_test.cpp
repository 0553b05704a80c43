#include "app/filters.h"

#include "app/errors.h"
#include "app/filtering.h"
#include "tests/app/images.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

namespace {

using app::Extents;
using app::FilterParameters;

constexpr double pi = std::numbers::pi;
const vxPair<long> size(64, 32);

std::string refusal(const FilterParameters& parameters) {
    return messageOf<app::UsageError>([&] { app::checkFilter(parameters); });
}

FilterParameters lobe(const std::string& type, std::optional<bool> pair = {}) {
    FilterParameters p = {type, 0.2, {0.03, 0.05}, {0.01, 0.02}, 2};
    p.angle = vxRadian(0.7);
    p.pair = pair;
    return p;
}

template <class Lobe>
Lobe libraryLobe(double angle, double frequency = 0.2, long dc = 2) {
    return {{0.03, 0.05}, {0.01, 0.02}, vxRadian(angle), frequency, size, dc};
}

FilterParameters imageFilter() {
    FilterParameters p;
    p.type = "image";
    p.kernel = patternImage(5, 3, app::Depth::bits8);
    return p;
}

vxFrequencyBuffer somethingToFilter() {
    return app::spectrumOf(patternImage(64, 32, app::Depth::bits8), app::Padding::zero);
}

vxFrequencyBuffer filtered(const vxFrequencyFilter& filter) {
    vxFrequencyBuffer spectrum = somethingToFilter();
    filter.apply(spectrum);
    return spectrum;
}

template <class Filter>
bool isLibrarys(const FilterParameters& parameters, const Filter& expected) {
    const app::FilterPointer made = app::makeFilter(parameters, size);
    const auto* filter = dynamic_cast<const Filter*>(made.get());
    return filter != nullptr && *filter == expected;
}

TEST(Filters, HaveNames) {
    EXPECT_THAT(app::filterTypes(),
                testing::ElementsAre("bandpass", "bandreject", "gabor", "gabor-reject", "image"));
}

TEST(Filters, TellWhichParametersTheyTake) {
    for (const std::string& type : app::filterTypes()) {
        const bool isImage = type == "image";
        const bool isLobe = type.starts_with("gabor");
        EXPECT_EQ(app::parameterUse(type, "frequency"), isImage ? app::Use::no : app::Use::must);
        EXPECT_EQ(app::parameterUse(type, "dc"), isImage ? app::Use::no : app::Use::may);
        EXPECT_EQ(app::parameterUse(type, "angle"), isLobe ? app::Use::must : app::Use::no);
        EXPECT_EQ(app::parameterUse(type, "pair"), isLobe ? app::Use::may : app::Use::no);
        EXPECT_EQ(app::parameterUse(type, "kernel"), isImage ? app::Use::must : app::Use::no);
        EXPECT_EQ(app::parameterUse(type, "unit"), isImage ? app::Use::may : app::Use::no);
        EXPECT_EQ(app::parameterUse(type, "unity"), app::Use::no);
    }
    EXPECT_EQ(app::parameterUse("sieve", "sigma"), app::Use::no);
}

TEST(Angles, ComeBackInTheDegreesThatTheyWereMadeOf) {
    EXPECT_EQ(app::radiansOf(180).toDouble(), pi);
    for (int i = -7200; i <= 7200; ++i) {
        const double degrees = i / 10.0;
        ASSERT_EQ(app::degreesOf(app::radiansOf(degrees)), degrees);
    }
    EXPECT_EQ(app::degreesOf(vxRadian(pi / 6)), 30);
    for (const double odd : {0.7, 1e-300, 1e300, 2.0 / 3}) { // Any radians: within the last bits.
        EXPECT_NEAR(app::radiansOf(app::degreesOf(vxRadian(odd))).toDouble() / odd, 1, 1e-15);
    }
}

TEST(Filters, AreTheLibrarys) {
    EXPECT_TRUE(
        isLibrarys({"bandpass", 0.2, 0.03, 0.01, 2}, vxFrequencyFilterBandPass(0.03, 0.01, 0.2, size, 2)));
    EXPECT_TRUE(isLibrarys({"bandreject", 0.2, 0.03, 0.01, 2},
                           vxFrequencyFilterBandReject(0.03, 0.01, 0.2, size, 2)));
    EXPECT_TRUE(isLibrarys(lobe("gabor"), libraryLobe<vxFrequencyFilterGabor>(0.7)));
    EXPECT_TRUE(isLibrarys(lobe("gabor", false), libraryLobe<vxFrequencyFilterGabor>(0.7)));
    EXPECT_TRUE(isLibrarys(lobe("gabor-reject", false), libraryLobe<vxFrequencyFilterGaborReject>(0.7)));
    const vxFrequencyBuffer kernel =
        app::kernelSpectrum(patternImage(5, 3, app::Depth::bits8), size, app::KernelScale::unit);
    FilterParameters image = imageFilter();
    image.kernelScale = app::KernelScale::unit;
    EXPECT_TRUE(isLibrarys(image, vxFrequencyFilterImage(kernel)));
}

TEST(Filters, RefuseWrongParametersInTheLibrarysWords) {
    EXPECT_EQ(refusal({"bandpass", 0.2, 0.03, 0, 0}), "");
    EXPECT_EQ(refusal({"bandpass", 0.6, 0.03, 0, 0}), "Frequency must be between 0.0 and 0.5.");
    EXPECT_EQ(refusal({"bandpass", std::nan(""), 0.03, 0, 0}), "Frequency must be between 0.0 and 0.5.");
    EXPECT_EQ(refusal({"bandpass", 0.2, 0, 0, 0}), "Sigma must be positive.");
    EXPECT_EQ(refusal({"bandpass", 0.2, 0.03, -1, 0}), "Plateau cannot be negative.");
    EXPECT_EQ(refusal({"bandpass", 0.2, 0.03, 0, -1}), "DC Removal Radius cannot be negative.");
    EXPECT_EQ(refusal({"bandreject", 0.2, 0.03, 0, -1}), "DC Protection Radius cannot be negative.");
    for (const char* type : {"gabor", "gabor-reject"}) {
        EXPECT_EQ(refusal(lobe(type)), "");
        EXPECT_EQ(refusal({type, 0.2, {0.1, 0}, 0, 0}), "Sigma values must be positive.");
        EXPECT_EQ(refusal({type, 0.2, 0.1, {-0.1, 0}, 0}), "Plateau values cannot be negative.");
    }
}

TEST(Filters, RefuseWhatOnlyNeedsMemory) {
    EXPECT_EQ(refusal({"bandpass", 0.2, 1, 1, 0}), "");
    EXPECT_EQ(refusal({"bandpass", 0.2, 1.1, 0, 0}), "Sigma must not be above 1.");
    EXPECT_EQ(refusal({"bandpass", 0.2, 0.1, INFINITY, 0}), "Plateau must not be above 1.");
    EXPECT_EQ(refusal({"gabor", 0.2, 0.5, 0.5, 0}), "");
    EXPECT_EQ(refusal({"gabor", 0.2, {0.1, 0.6}, 0, 0}), "Sigma must not be above 0.5.");
    EXPECT_EQ(refusal({"gabor-reject", 0.2, 0.1, {0.6, 0}, 0}), "Plateau must not be above 0.5.");
}

TEST(Filters, RefuseWhatIsNoNumberOrTooSmallForOne) {
    for (const std::string type : {"bandpass", "bandreject", "gabor", "gabor-reject"}) {
        EXPECT_EQ(refusal({type, 0.2, std::nan(""), 0, 0}), "Sigma must be a number.");
        EXPECT_EQ(refusal({type, 0.2, 0.1, std::nan(""), 0}), "Plateau must be a number.");
        EXPECT_EQ(refusal({type, 0.2, 1e-200, 0, 0}), "Sigma must not be below 1e-09.");
        EXPECT_EQ(refusal({type, 0.2, 1e-9, 0, 0}), "");
        const app::FilterPointer narrow = app::makeFilter({type, 0.2, 1e-9, 0, 0}, {2048, 4});
        EXPECT_EQ(app::statistics(app::gains(*narrow, {2048, 4}).getMagnitudeImage(false)).notFinite, 0)
            << type;
    }
    for (const double angle : {std::nan(""), static_cast<double>(INFINITY)}) {
        FilterParameters p = lobe("gabor");
        p.angle = vxRadian(angle);
        EXPECT_EQ(refusal(p), "Angle must be a finite number.");
    }
}

TEST(Filters, RefuseTwoExtentsOfARing) {
    EXPECT_EQ(refusal({"bandpass", 0.2, {0.1, 0.2}, 0, 0}),
              "Sigma is one value, not two, for the type bandpass.");
    EXPECT_EQ(refusal({"bandreject", 0.2, 0.1, {0.2, 0.1}, 0}),
              "Plateau is one value, not two, for the type bandreject.");
}

TEST(Filters, RefuseUnknownTypes) {
    EXPECT_EQ(refusal({"sieve", 0.2, 0.1, 0, 0}), "there is no filter type sieve");
}

TEST(Filters, OfImagesNeedAKernel) {
    FilterParameters p = imageFilter();
    EXPECT_EQ(refusal(p), "");
    p.kernel.reset();
    EXPECT_EQ(messageOf<app::UsageError>([&] { static_cast<void>(app::makeFilter(p, size)); }),
              "an image filter needs a kernel");
}

// The sum of what the lobes keep, less what both keep.
TEST(Pairs, OfGaborLobesKeepWhatEitherKeeps) {
    for (const double frequency : {0.0, 0.04, 0.2}) {
        FilterParameters p = lobe("gabor", true);
        p.frequency = frequency;
        p.dcRadius = 0;
        const auto a = libraryLobe<vxFrequencyFilterGabor>(0.7, frequency, 0);
        const auto b = libraryLobe<vxFrequencyFilterGabor>(0.7 + pi, frequency, 0);
        vxFrequencyBuffer expected(64, 32);
        vxFrequencyBuffer both = filtered(a);
        b.apply(both);
        vfFrequencyAdd(filtered(b), expected);
        vfFrequencyAdd(filtered(a), expected);
        vfFrequencySubtract(both, expected);
        vxFrequencyBuffer result = filtered(*app::makeFilter(p, size));
        EXPECT_EQ(pelsOf(result.getRealImage(false)), pelsOf(expected.getRealImage(false)));
        EXPECT_EQ(pelsOf(result.getImaginaryImage(false)), pelsOf(expected.getImaginaryImage(false)));
        // Every row is transformed, not those of one lobe only.
        EXPECT_EQ(pelsOf(app::imageOf(result, app::Part::real, 64, 32)),
                  pelsOf(app::imageOf(expected, app::Part::real, 64, 32)));
    }
}

TEST(Pairs, OfRejectLobesAreAppliedOneAfterTheOtherByDefault) {
    vxFrequencyBuffer expected = filtered(libraryLobe<vxFrequencyFilterGaborReject>(0.7));
    libraryLobe<vxFrequencyFilterGaborReject>(0.7 + pi).apply(expected);
    EXPECT_TRUE(filtered(*app::makeFilter(lobe("gabor-reject"), size)) == expected);
    EXPECT_TRUE(filtered(*app::makeFilter(lobe("gabor-reject", true), size)) == expected);
    EXPECT_FALSE(filtered(*app::makeFilter(lobe("gabor-reject", false), size)) == expected);
}

TEST(Pairs, NeverStrengthenAndCompleteEachOther) {
    for (const double frequency : {0.0, 0.03, 0.25}) {
        FilterParameters pass = lobe("gabor", true);
        FilterParameters reject = lobe("gabor-reject");
        pass.frequency = reject.frequency = frequency;
        pass.dcRadius = reject.dcRadius = 0;
        const vxFrequencyBuffer kept = app::gains(*app::makeFilter(pass, size), size);
        const vxFrequencyBuffer left = app::gains(*app::makeFilter(reject, size), size);
        EXPECT_LE(app::statistics(kept.getRealImage(false)).maximum, 1);
        EXPECT_GT(app::statistics(kept.getRealImage(false)).maximum, 0.9);
        for (long y = 0; y < 32; ++y) {
            for (long x = 0; x < 64; ++x) {
                ASSERT_NEAR(kept.getReal(x, y, false) + left.getReal(x, y, false), 1, 1e-6);
            }
        }
    }
}

// With lobes on whole samples, so that the opposite angle is exactly the mirror image.
TEST(Pairs, KeepAPatternAtItsWholeStrength) {
    const app::Image waves = makeImage(64, 32, app::Depth::float64, [](long x, long) {
        return 10 * std::cos(2 * pi * static_cast<double>(x) / 8);
    });
    for (const bool pair : {false, true}) {
        FilterParameters p = {"gabor", 0.125, 0.02, 0, 0};
        p.pair = pair;
        vxFrequencyBuffer spectrum = app::spectrumOf(waves, app::Padding::zero);
        app::applyFilter(*app::makeFilter(p, size), spectrum);
        const app::PelStatistics pels = app::statistics(app::imageOf(spectrum, app::Part::real, 64, 32));
        EXPECT_NEAR(pels.maximum, pair ? 10 : 5, 1e-4);
    }
}

TEST(Pairs, AreFiltersLikeAnyOther) {
    for (const char* type : {"gabor", "gabor-reject"}) {
        const app::FilterPointer pair = app::makeFilter(lobe(type, true), size);
        EXPECT_TRUE(pair->isInitialized());
        const std::unique_ptr<vxFrequencyFilter> copy(pair->clone());
        EXPECT_TRUE(filtered(*copy) == filtered(*pair));
        vxFrequencyBuffer out;
        pair->apply(somethingToFilter(), out);
        EXPECT_TRUE(out == filtered(*pair));
        EXPECT_FALSE(app::describe(*pair));
    }
}

TEST(Pairs, NeedLobes) {
    for (const char* type : {"bandpass", "bandreject", "image"}) {
        FilterParameters p = imageFilter();
        p.type = type;
        p.sigma = 0.1;
        p.pair = true;
        if (p.type == "image") {
            p.sigma = 0;
        }
        EXPECT_EQ(messageOf<app::UsageError>([&] { static_cast<void>(app::makeFilter(p, size)); }),
                  std::string("--pair does not go with a filter of the type ") + type);
    }
}

TEST(BuiltFilters, AreUsedAsTheyAre) {
    FilterParameters p;
    p.built = {"f.kav", std::make_shared<vxFrequencyFilterGabor>(libraryLobe<vxFrequencyFilterGabor>(0.7))};
    EXPECT_EQ(refusal(p), "");
    EXPECT_EQ(app::makeFilter(p, size), p.built->filter);
    p.pair = true;
    EXPECT_TRUE(filtered(*app::makeFilter(p, size)) == filtered(*app::makeFilter(lobe("gabor", true), size)));
    p.pair.reset();
    p.built->filter =
        std::make_shared<vxFrequencyFilterGaborReject>(libraryLobe<vxFrequencyFilterGaborReject>(0.7));
    EXPECT_TRUE(filtered(*app::makeFilter(p, size)) ==
                filtered(*app::makeFilter(lobe("gabor-reject"), size)));
}

TEST(BuiltFilters, FitOneSize) {
    FilterParameters p;
    p.built = {"f.kav", std::make_shared<vxFrequencyFilterGabor>(libraryLobe<vxFrequencyFilterGabor>(0.7))};
    EXPECT_EQ(messageOf<app::UnreadableError>([&] {
                  static_cast<void>(app::makeFilter(p, {32, 32}));
              }),
              "cannot use f.kav: it filters 64 x 32 spectra, but this transform is 32 x 32");
}

TEST(Describe, GivesBackWhatAFilterWasBuiltFrom) {
    for (const std::string type : {"bandpass", "bandreject", "gabor", "gabor-reject"}) {
        FilterParameters p = lobe(type, false);
        if (type.starts_with("band")) {
            p.sigma = 0.03;
            p.plateau = 0.01;
            p.angle = vxRadian();
        }
        const app::FilterDescription filter = app::describe(*app::makeFilter(p, size)).value();
        EXPECT_EQ(filter.size, size);
        EXPECT_EQ(filter.parameters.type, type);
        EXPECT_EQ(filter.parameters.frequency, 0.2);
        EXPECT_EQ(filter.parameters.sigma.along, p.sigma.along);
        EXPECT_EQ(filter.parameters.sigma.across, p.sigma.across);
        EXPECT_EQ(filter.parameters.plateau.along, p.plateau.along);
        EXPECT_EQ(filter.parameters.plateau.across, p.plateau.across);
        EXPECT_EQ(filter.parameters.angle, p.angle);
        EXPECT_EQ(filter.parameters.dcRadius, 2);
    }
    const app::FilterDescription image = app::describe(*app::makeFilter(imageFilter(), size)).value();
    EXPECT_EQ(image.size, size);
    EXPECT_EQ(image.parameters.type, "image");
    EXPECT_THROW(static_cast<void>(app::describe(vxFrequencyFilterGabor())), vxFrequencyDefs::Uninitialized);
}

TEST(ApplyFilter, SaysWhenTheDcSquareDoesNotFit) {
    for (const char* type : {"bandpass", "bandreject", "gabor", "gabor-reject"}) {
        const auto filter = app::makeFilter({type, 0.2, 0.1, 0, 5}, {8, 4});
        vxFrequencyBuffer spectrum(8, 4);
        EXPECT_EQ(messageOf<app::UsageError>([&] { app::applyFilter(*filter, spectrum); }),
                  "the square of --dc around the DC reaches outside the 8 x 4 spectrum");
    }
}

TEST(Gains, AreTheResponseToOnes) {
    const auto filter = app::makeFilter({"bandpass", 0.25, 0.05, 0, 1}, {16, 16});
    const vxFrequencyBuffer gains = app::gains(*filter, {16, 16});
    EXPECT_EQ(gains.getReal(0, 0, true), 0);
    EXPECT_EQ(gains.getReal(4, 0, true), 1);
    EXPECT_EQ(gains.getReal(0, -4, true), 1);
    EXPECT_GT(gains.getReal(3, 0, true), 0);
    EXPECT_LT(gains.getReal(3, 0, true), 1);
    EXPECT_EQ(gains.getImaginary(4, 0, true), 0);
}

} // namespace

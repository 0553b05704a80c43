#include "app/kernel.h"

#include "app/filtering.h"
#include "tests/app/images.h"

#include <cmath>

namespace {

using app::Depth;
using app::KernelScale;

std::string refusal(const app::Image& kernel, const vxPair<long>& size, KernelScale scale) {
    return messageOf<app::UnreadableError>(
        [&] { static_cast<void>(app::kernelSpectrum(kernel, size, scale)); });
}

app::Image named(app::Image kernel) {
    kernel.name = "k.tif";
    return kernel;
}

app::Image single(long width, long height, long atX, long atY) {
    return makeImage(width, height, Depth::float64,
                     [=](long x, long y) { return x == atX && y == atY ? 1 : 0; });
}

void expectOnes(const vxFrequencyBuffer& spectrum) {
    for (long y = 0; y < spectrum.height(); ++y) {
        for (long x = 0; x < spectrum.width(); ++x) {
            ASSERT_NEAR(spectrum.getReal(x, y, false), 1, 1e-6) << x << ", " << y;
            ASSERT_NEAR(spectrum.getImaginary(x, y, false), 0, 1e-6) << x << ", " << y;
        }
    }
}

TEST(KernelSpectrum, HasItsOriginInTheMiddle) {
    expectOnes(app::kernelSpectrum(single(3, 5, 1, 2), {16, 8}, KernelScale::asGiven));
    expectOnes(app::kernelSpectrum(single(4, 2, 2, 1), {16, 8}, KernelScale::asGiven));
    expectOnes(app::kernelSpectrum(single(16, 8, 8, 4), {16, 8}, KernelScale::asGiven));
    expectOnes(app::kernelSpectrum(single(1, 1, 0, 0), {1, 1}, KernelScale::asGiven));
}

// A convolution puts the kernel where the image has a single bright pel, not its mirror image.
TEST(KernelSpectrum, ConvolvesWithoutTurning) {
    const app::Image kernel = patternImage(5, 4, Depth::bits8);
    vxFrequencyBuffer spectrum = app::spectrumOf(single(16, 16, 7, 8), app::Padding::zero);
    vfFrequencyMultiply(app::kernelSpectrum(kernel, {16, 16}, KernelScale::asGiven), spectrum);
    const vxPelBuffer<double> result = app::imageOf(spectrum, app::Part::real, 16, 16);
    for (long y = 0; y < 16; ++y) {
        for (long x = 0; x < 16; ++x) {
            const long kx = x - 7 + 2;
            const long ky = y - 8 + 2;
            const bool inside = kx >= 0 && kx < 5 && ky >= 0 && ky < 4;
            const double expected = inside ? kernel.pels.pointToRow(ky)[kx] : 0;
            ASSERT_NEAR(result.pointToRow(y)[x], expected, 1e-3) << x << ", " << y;
        }
    }
}

TEST(KernelSpectrum, CanHaveAUnitSum) {
    const app::Image kernel = makeImage(3, 3, Depth::bits8, [](long x, long y) { return 20 + x + y; });
    EXPECT_NEAR(app::kernelSpectrum(kernel, {8, 8}, KernelScale::asGiven).getReal(0, 0, false), 198, 1e-3);
    EXPECT_NEAR(app::kernelSpectrum(kernel, {8, 8}, KernelScale::unit).getReal(0, 0, false), 1, 1e-6);
}

TEST(KernelSpectrum, RefusesToDivideByASumOfZero) {
    const std::string expected = "cannot divide the kernel k.tif by the sum of its pels: it is 0";
    const app::Image zero = named(makeImage(3, 1, Depth::bits8, [](long, long) { return 0; }));
    EXPECT_EQ(refusal(zero, {8, 8}, KernelScale::unit), expected);
    EXPECT_EQ(refusal(zero, {8, 8}, KernelScale::asGiven), "");
    // -0.1 - 0.2 + 0.3 is not 0 in floating point.
    const app::Image edge = named(makeImage(
        3, 1, Depth::float64, [](long x, long) { return x == 2 ? 0.3 : -0.1 * static_cast<double>(x + 1); }));
    EXPECT_EQ(refusal(edge, {8, 8}, KernelScale::unit), expected);
}

TEST(KernelSpectrum, RefusesWhatDoesNotFit) {
    const app::Image kernel = named(patternImage(9, 8, Depth::bits8));
    EXPECT_EQ(refusal(kernel, {16, 8}, KernelScale::asGiven), "");
    EXPECT_EQ(refusal(kernel, {8, 8}, KernelScale::asGiven),
              "the kernel k.tif is 9 x 8 pels, larger than the 8 x 8 spectrum");
    EXPECT_EQ(refusal(kernel, {16, 4}, KernelScale::asGiven),
              "the kernel k.tif is 9 x 8 pels, larger than the 16 x 4 spectrum");
}

TEST(KernelSpectrum, RefusesPelsThatCannotBeTransformed) {
    app::Image kernel = named(patternImage(2, 2, Depth::float64));
    kernel.pels.pointToRow(0)[0] = std::nan("");
    EXPECT_NE(refusal(kernel, {8, 8}, KernelScale::asGiven).find("cannot transform k.tif: "),
              std::string::npos);
}

} // namespace

// Every statement of docs/conventions.md, and its excerpts.
#include "filt/fft.h"
#include "filt/freqfilt.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

namespace {

constexpr double pi = std::numbers::pi;

/// mean + amplitude * cos(2 pi (frequency along the direction)), in a double image.
vxPelBuffer<double> wave(long width, long height, double u, double v, double mean, double amplitude) {
    vxPelBuffer<double> image(width, height);
    for (long y = 0; y < height; ++y) {
        for (long x = 0; x < width; ++x) {
            image.pointToRow(y)[x] =
                mean +
                amplitude * std::cos(2.0 * pi * (u * static_cast<double>(x) + v * static_cast<double>(y)));
        }
    }
    return image;
}

vxFrequencyBuffer spectrumOf(const vxPelBuffer<double>& image) {
    vxFrequencyBuffer spectrum;
    vfForwardFFT(image, spectrum);
    return spectrum;
}

double magnitude(const vxFrequencyBuffer& spectrum, long u, long v) {
    const vxPair<double> sample = spectrum.get(u, v, true);
    return std::hypot(sample.x(), sample.y());
}

TEST(Conventions, rowsFollowEachOtherDownwards) {
    // [pels]
    vxPelBuffer<unsigned char> image(640, 480);
    const long x = 10; // to the right
    const long y = 20; // down
    image.pointToRow(y)[x] = 255;
    // [pels]
    EXPECT_EQ(image.pointToOffset()[y * image.rowUpdate() + x], 255);
}

TEST(Conventions, dcIsTheSumOfThePels) {
    const vxPelBuffer<double> image = wave(64, 32, 0.0, 0.0, 3.0, 0.0);
    // [dc]
    vxFrequencyBuffer spectrum;
    vfForwardFFT(image, spectrum);
    const double sum = spectrum.getReal(0, 0, false); // of all pels
    const double mean = sum / (64.0 * 32.0);
    // [dc]
    EXPECT_EQ(mean, 3.0);
    EXPECT_EQ(spectrum.getImaginary(0, 0, false), 0.0);
}

TEST(Conventions, aWaveIsTwoSamples) {
    // 8 periods over 64 columns, -4 over 32 rows.
    const vxFrequencyBuffer spectrum = spectrumOf(wave(64, 32, 8.0 / 64.0, -4.0 / 32.0, 0.0, 1.0));
    EXPECT_NEAR(magnitude(spectrum, 8, -4), 64.0 * 32.0 / 2.0, 1e-3);
    EXPECT_NEAR(magnitude(spectrum, -8, 4), 64.0 * 32.0 / 2.0, 1e-3);
    EXPECT_NEAR(magnitude(spectrum, 8, 4), 0.0, 1e-3);
    EXPECT_NEAR(magnitude(spectrum, 0, 0), 0.0, 1e-3);
}

TEST(Conventions, realImagesHaveConjugateSymmetry) {
    vxPelBuffer<double> image = wave(32, 16, 0.11, 0.07, 5.0, 2.0);
    image.pointToRow(3)[4] = 40.0;
    const vxFrequencyBuffer spectrum = spectrumOf(image);
    for (long v = -7; v < 8; ++v) {
        for (long u = -15; u < 16; ++u) {
            const vxPair<double> a = spectrum.get(u, v, true);
            const vxPair<double> b = spectrum.get(-u, -v, true);
            EXPECT_NEAR(a.x(), b.x(), 1e-3);
            EXPECT_NEAR(a.y(), -b.y(), 1e-3);
        }
    }
}

TEST(Conventions, theTransformHasANegativeExponent) {
    vxPelBuffer<double> image(8, 8);
    image.pointToRow(0)[1] = 1.0; // A unit pel at x = 1 gives exp(-2 pi i u / 8).
    const vxFrequencyBuffer spectrum = spectrumOf(image);
    EXPECT_NEAR(spectrum.getReal(2, 0, true), 0.0, 1e-6);
    EXPECT_NEAR(spectrum.getImaginary(2, 0, true), -1.0, 1e-6);
    EXPECT_NEAR(spectrum.getImaginary(-2, 0, true), 1.0, 1e-6);
}

TEST(Conventions, plainAndCentredIndicesNameTheSameSamples) {
    vxFrequencyBuffer spectrum(8, 8);
    // [order]
    spectrum.put(-3, 2, vxPair<double>(1.0, 0.0), true); // frequency -3 along x, 2 along y
    const double same = spectrum.getReal(8 - 3, 2, false);
    // [order]
    EXPECT_EQ(same, 1.0);
    for (long v = -4; v < 4; ++v) {
        for (long u = -4; u < 4; ++u) {
            spectrum.putReal(u, v, 10.0 + static_cast<double>(10 * v + u), true);
            EXPECT_EQ(spectrum.getReal((u + 8) % 8, (v + 8) % 8, false),
                      10.0 + static_cast<double>(10 * v + u));
        }
    }
    EXPECT_THROW((void)spectrum.get(4, 0, true), vxFrequencyDefs::BadCoord);
    EXPECT_THROW((void)spectrum.get(-5, 0, true), vxFrequencyDefs::BadCoord);
    EXPECT_THROW((void)spectrum.get(-1, 0, false), vxFrequencyDefs::BadCoord);
    const vxPelBuffer<double> centred = spectrum.getRealImage(true);
    const vxPelBuffer<double> plain = spectrum.getRealImage(false);
    EXPECT_EQ(centred.pointToRow(4)[4], spectrum.getReal(0, 0, true));
    EXPECT_EQ(centred.pointToRow(4 + 2)[4 - 3], spectrum.getReal(-3, 2, true));
    EXPECT_EQ(plain.pointToRow(0)[0], spectrum.getReal(0, 0, true));
}

TEST(Conventions, theInverseToImagesScalesAndTheOneToSpectraDoesNot) {
    const vxPelBuffer<double> image = wave(16, 8, 1.0 / 16.0, 0.0, 100.0, 50.0);
    vxFrequencyBuffer spectrum = spectrumOf(image);
    // [scale]
    vxPelBuffer<double> real;
    vxPelBuffer<double> imaginary;
    vfInverseFFT(spectrum, real, imaginary, false); // the image again
    vxFrequencyBuffer raw;
    vfInverseFFT(spectrum, raw, false); // 16 * 8 times the image
    // [scale]
    for (long y = 0; y < 8; ++y) {
        for (long x = 0; x < 16; ++x) {
            EXPECT_NEAR(real.pointToRow(y)[x], image.pointToRow(y)[x], 1e-4);
            EXPECT_NEAR(raw.getReal(x, y, false), 128.0 * image.pointToRow(y)[x], 1e-2);
        }
    }
}

TEST(Conventions, imagesAreMagnitudesUnlessRealPartsAreAskedFor) {
    vxFrequencyBuffer spectrum = spectrumOf(wave(16, 16, 4.0 / 16.0, 0.0, 0.0, 100.0));
    vxPelBuffer<double> image;
    vfInverseFFT(spectrum, image, false, false);
    vxPelBuffer<double> real;
    vxPelBuffer<double> imaginary;
    vfInverseFFT(spectrum, real, imaginary, false);
    EXPECT_NEAR(real.pointToRow(0)[2], -100.0, 1e-3);
    EXPECT_NEAR(image.pointToRow(0)[2], 100.0, 1e-3);
}

TEST(Conventions, frequenciesAndLengthsAreFractionsOfTheWidth) {
    // [units]
    // 0.125 cycles per pixel: a period of 8 pixels, 32 samples from the DC of a spectrum 256 wide.
    // A fall-off of 0.02 is 0.02 * 256 = 5.12 samples.
    const vxFrequencyFilterBandPass filter(0.02, 0.0, 0.125, vxPair<long>(256, 256), 0);
    // [units]
    vxFrequencyBuffer ones(256, 256);
    for (long u = -128; u < 128; ++u) {
        ones.putReal(u, 0, 1.0, true);
    }
    filter.apply(ones);
    EXPECT_EQ(ones.getReal(32, 0, true), 1.0);
    EXPECT_EQ(ones.getReal(-32, 0, true), 1.0);
    // One sigma and two sigmas away: between samples 37 and 38, 42 and 43.
    EXPECT_GT(ones.getReal(37, 0, true), std::exp(-0.5));
    EXPECT_LT(ones.getReal(38, 0, true), std::exp(-0.5));
    EXPECT_GT(ones.getReal(42, 0, true), std::exp(-2.0));
    EXPECT_LT(ones.getReal(43, 0, true), std::exp(-2.0));
}

TEST(Conventions, ringsAreCirclesInCyclesPerPixel) {
    vxFrequencyBuffer ones(256, 128);
    ones.putReal(32, 0, 1.0, true);
    ones.putReal(0, 16, 1.0, true); // 16 / 128 is 0.125 cycles per pixel, too.
    ones.putReal(0, 32, 1.0, true);
    const vxFrequencyFilterBandPass filter(0.02, 0.0, 0.125, vxPair<long>(256, 128), 0);
    filter.apply(ones);
    EXPECT_EQ(ones.getReal(32, 0, true), 1.0);
    EXPECT_EQ(ones.getReal(0, 16, true), 1.0);
    EXPECT_LT(ones.getReal(0, 32, true), 0.01);
}

TEST(Conventions, anglesGoFromXDownToY) {
    // [angle]
    const vxPair<long> size(256, 256);
    const vxPair<double> sigma(0.02, 0.02);
    const vxPair<double> plateau(0.0, 0.0);
    const vxRadian down(0.5 * std::numbers::pi); // patterns that change along y: lying stripes
    const vxFrequencyFilterGabor filter(sigma, plateau, down, 0.125, size, 0);
    // [angle]
    vxFrequencyBuffer lying = spectrumOf(wave(256, 256, 0.0, 0.125, 0.0, 1.0));
    vxFrequencyBuffer upright = spectrumOf(wave(256, 256, 0.125, 0.0, 0.0, 1.0));
    const double before = magnitude(lying, 0, 32);
    filter.apply(lying);
    filter.apply(upright);
    EXPECT_NEAR(magnitude(lying, 0, 32), before, 1e-3 * before);
    EXPECT_EQ(magnitude(lying, 0, -32), 0.0); // The opposite lobe is gone.
    EXPECT_EQ(magnitude(upright, 32, 0), 0.0);
}

TEST(Conventions, oneLobeIsHalfOfAPattern) {
    vxFrequencyBuffer spectrum = spectrumOf(wave(256, 256, 0.125, 0.0, 0.0, 100.0));
    const vxPair<double> wide(0.02, 0.02);
    vxFrequencyFilterGabor(wide, wide, vxRadian(0.0), 0.125, vxPair<long>(256, 256), 0).apply(spectrum);
    vxPelBuffer<double> strength;
    vfInverseFFT(spectrum, strength, false, true);
    EXPECT_NEAR(strength.pointToRow(100)[100], 50.0, 1e-3); // The envelope at half its strength,
    EXPECT_NEAR(strength.pointToRow(100)[102], 50.0, 1e-3); // the same in a wave's crest and its nodes.
}

TEST(Conventions, paddingIsZerosToTheRightAndBelow) {
    const vxPelBuffer<double> image = wave(100, 60, 0.0, 0.0, 1.0, 0.0);
    // [padding]
    vxFrequencyBuffer spectrum;
    vfForwardFFT(image, spectrum);                                // 100 x 60 pels
    const vxPair<long> size(spectrum.width(), spectrum.height()); // 128 x 64: the size for filters
    // [padding]
    EXPECT_EQ(size, vxPair<long>(128, 64));
    vxPelBuffer<double> real;
    vxPelBuffer<double> imaginary;
    vfInverseFFT(spectrum, real, imaginary, false);
    EXPECT_EQ(real.width(), 100);
    EXPECT_EQ(real.height(), 60);
    vxFrequencyBuffer raw;
    vfInverseFFT(spectrum, raw, false);
    EXPECT_NEAR(raw.getReal(99, 59, false), 128.0 * 64.0, 0.1);
    EXPECT_NEAR(raw.getReal(100, 59, false), 0.0, 0.1);
    EXPECT_NEAR(raw.getReal(99, 60, false), 0.0, 0.1);
    EXPECT_THROW(vxFrequencyBuffer(2049, 1), vxFrequencyDefs::InvalidSize);
}

TEST(Conventions, unnormalisedIntegersAreRoundedAndWrap) {
    vxFrequencyBuffer spectrum(1, 1);
    const auto pel = [&](double value) {
        spectrum.putReal(0, 0, value, false);
        vxPelBuffer<unsigned char> image;
        vfInverseFFT(spectrum, image, false, false);
        return static_cast<int>(*image.pointToOffset());
    };
    EXPECT_EQ(pel(254.4), 254);
    EXPECT_EQ(pel(254.6), 255);
    EXPECT_EQ(pel(255.4), 255);
    EXPECT_EQ(pel(255.5), 0); // 256, of which the low 8 bits are kept
    EXPECT_EQ(pel(300.0), 300 - 256);
    EXPECT_EQ(pel(-100.0), 100); // a magnitude
    spectrum.putReal(0, 0, 65536.0, false);
    vxPelBuffer<unsigned short> deep;
    vfInverseFFT(spectrum, deep, false, false);
    EXPECT_EQ(*deep.pointToOffset(), 0);
}

TEST(Conventions, normalisedImagesFillTheirRange) {
    vxFrequencyBuffer spectrum = spectrumOf(wave(64, 64, 4.0 / 64.0, 0.0, 1000.0, 300.0));
    // [normalise]
    vxPelBuffer<unsigned char> image;
    vfInverseFFT(spectrum, image, true, false); // normalised: 0 is the smallest magnitude, 255 the largest
    // [normalise]
    EXPECT_EQ(image.pointToRow(0)[8], 0);
    EXPECT_EQ(image.pointToRow(0)[0], 255);
    vxPelBuffer<double> doubles;
    vfInverseFFT(spectrum, doubles, true, false);
    EXPECT_NEAR(doubles.pointToRow(0)[0], 1300.0, 1e-3);
}

TEST(Conventions, mappingsTruncateAndWrap) {
    vxPelBuffer<double> values(3, 1);
    values.pointToOffset()[0] = -10.0;
    values.pointToOffset()[1] = 99.9;
    values.pointToOffset()[2] = 300.0;
    const auto clipped = vfFrequencyMapImage(values, vxFrequencyDefs::eClip, 0.0, 0.0);
    EXPECT_EQ(clipped.pointToOffset()[0], 0);
    EXPECT_EQ(clipped.pointToOffset()[1], 99);
    EXPECT_EQ(clipped.pointToOffset()[2], 255);
    values.pointToOffset()[0] = -pi / 2.0;
    const auto angles = vfFrequencyMapImage(values, vxFrequencyDefs::eAngle, 0.0, 0.0);
    EXPECT_EQ(angles.pointToOffset()[0], 256 - 63); // -63.75 is truncated and wraps.
}

TEST(Conventions, aMaskHidesWhatIsAddedOutsideItsRows) {
    const vxPair<long> size(256, 256);
    const vxPair<double> sigma(0.02, 0.02);
    const vxPair<double> plateau(0.0, 0.0);
    const vxFrequencyBuffer spectrum = spectrumOf(wave(256, 256, 0.0, 0.125, 0.0, 100.0));
    const vxFrequencyFilterGabor lobe(sigma, plateau, vxRadian(0.5 * pi), 0.125, size, 0);
    const vxFrequencyFilterGabor opposite(sigma, plateau, vxRadian(-0.5 * pi), 0.125, size, 0);
    // [mask]
    vxFrequencyBuffer both;
    vxFrequencyBuffer other;
    lobe.apply(spectrum, both);        // masked: rows around frequency 32
    opposite.apply(spectrum, other);   // masked: rows around frequency -32
    vfFrequencyAdd(other, both);       // both lobes are there, but the mask is still that of the first
    vxFrequencyBuffer plain(256, 256); // zeros, not masked
    vfFrequencyAdd(both, plain);       // what an inverse should read
    // [mask]
    vxPelBuffer<double> real;
    vxPelBuffer<double> imaginary;
    vfInverseFFT(both, real, imaginary, false);
    EXPECT_NEAR(real.pointToRow(0)[0], 50.0, 0.1); // The second lobe was skipped.
    vfInverseFFT(plain, real, imaginary, false);
    EXPECT_NEAR(real.pointToRow(0)[0], 100.0, 0.2);
    const vxFrequencyBuffer copy = both;
    vfInverseFFT(copy, real, imaginary);
    EXPECT_NEAR(real.pointToRow(0)[0], 50.0, 0.1);
    vxFrequencyBuffer sum;
    vfFrequencyAdd(both, vxFrequencyBuffer(256, 256), sum);
    EXPECT_TRUE(sum == both);
    vfFrequencyAdd(vxFrequencyBuffer(256, 256), both, sum);
    EXPECT_TRUE(sum == plain);
    const vxFrequencyFilterBandPass all(0.5, 1.0, 0.0, size, 0);
    all.apply(both);
    vfInverseFFT(both, real, imaginary, false);
    EXPECT_NEAR(real.pointToRow(0)[0], 100.0, 0.2); // A band-pass takes the mask away.
    EXPECT_FALSE(copy == plain);                    // The samples are equal, the masks are not.
}

TEST(Conventions, aConsumedBufferIsReadAgainButNotAccessed) {
    vxFrequencyBuffer spectrum = spectrumOf(wave(32, 32, 0.25, 0.0, 10.0, 5.0));
    // [consumed]
    vxPelBuffer<double> image;
    vfInverseFFT(spectrum, image, false, true); // in place: no copy is made, the samples are gone
    vxPelBuffer<double> real;
    vxPelBuffer<double> imaginary;
    vfInverseFFT(spectrum, real, imaginary, true); // reads the same inverse again
    // [consumed]
    EXPECT_NEAR(real.pointToRow(0)[0], 15.0, 1e-4);
    EXPECT_THROW((void)spectrum.get(0, 0, true), vxFrequencyDefs::InvalidBuffer);
    vfForwardFFT(image, spectrum);
    EXPECT_NO_THROW((void)spectrum.get(0, 0, true));
}

} // namespace

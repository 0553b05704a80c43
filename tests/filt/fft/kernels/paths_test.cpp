// The public transforms on every instruction set, against the transcriptions, bit for bit: pels that are read
// and written in the kernels, whatever their values, their memory and the size.
#include "filt/fft/angle_quadrant.h"
#include "filt/fft/forward_fft.h"
#include "filt/fft/inverse_fft.h"
#include "tests/filt/fft/kernels/kernel_data.h"
#include "tests/support/inverse_members.h"
#include "tests/support/transform_support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <vector>

namespace {

using namespace inverse_members;
using namespace transform_support;

/// Sides below, at and above what a tile holds, and pairs of them at random.
std::vector<vxPair<long>> sizesAtRandom(Random& random, int count) {
    const long sides[] = {1, 2, 3, 5, 8, 15, 16, 17, 31, 32, 33, 63, 64, 65, 100, 128, 129};
    std::vector<vxPair<long>> sizes{{300, 200}, {33, 270}, {256, 256}, {1, 33}, {100, 1}, {31, 31}};
    const auto side = [&] {
        return random() % 8 == 0 ? static_cast<long>(random() % 300) + 1 : sides[random() % std::size(sides)];
    };
    while (static_cast<int>(sizes.size()) < count) {
        sizes.emplace_back(side(), side());
    }
    return sizes;
}

std::string nameOf(const vxPair<long>& size) {
    return std::to_string(size.x()) + " x " + std::to_string(size.y());
}

/// What a vector instruction could treat otherwise than a scalar one.
constexpr double oddNumbers[] = {-0.0,
                                 0x1p-149,
                                 -0x1p-150,
                                 0x1.8p-150,
                                 1e-310,
                                 -0x1.000003p-126,
                                 1.0 + 0x1p-24,
                                 1.0 + 0x1p-24 + 0x1p-50,
                                 16777217.0,
                                 0x1.fffffefffffffp127,
                                 0x1.ffffffp127,
                                 -1e300,
                                 std::numeric_limits<double>::infinity(),
                                 std::numeric_limits<double>::quiet_NaN()};

enum class Pels { ordinary, tiny, oneOdd, severalOdd };

template <class T>
void change(vxPelBuffer<T>& image, Pels pels, Random& random) {
    if constexpr (std::same_as<T, double>) {
        const auto anywhere = [&]() -> double& {
            const long x = static_cast<long>(random()) % image.width();
            const long y = static_cast<long>(random()) % image.height();
            return image.pointToOffset()[y * image.rowUpdate() + x];
        };
        for (long y = 0; pels == Pels::tiny && y < image.height(); ++y) {
            double* row = image.pointToOffset() + y * image.rowUpdate();
            std::transform(row, row + image.width(), row, [](double x) { return x * 0x1p-150; });
        }
        for (int i = pels == Pels::oneOdd ? 1 : pels == Pels::severalOdd ? 4 : 0; i > 0; --i) {
            anywhere() = oddNumbers[random() % std::size(oddNumbers)];
        }
    }
}

/// A window inside a larger image of which the other pels must not matter.
template <class T>
vxPelBuffer<T> innerWindow(Random& random, long width, long height, vxPair<long> offset) {
    const vxPelBuffer<T> outer = randomImage<T>(random, width + 7, height + 5);
    vxPelBuffer<T> image = outer.window(3, 2, width, height);
    image.offset(offset);
    return image;
}

template <class T>
vxPelBuffer<T> imageAtRandom(Random& random, vxPair<long> size, vxPair<long> offset, Pels pels) {
    vxPelBuffer<T> image;
    switch (random() % 3) {
    case 0:
        image = randomImage<T>(random, size.x(), size.y(), offset);
        break;
    case 1:
        image = bottomUpImage<T>(random, size.x(), size.y(), offset);
        break;
    default:
        image = innerWindow<T>(random, size.x(), size.y(), offset);
    }
    change(image, pels, random);
    image.copyXforms(someXform(3));
    return image;
}

/// Every sample NaN, masked: nothing of it may show in what is put into it.
void dirty(vxFrequencyBuffer& buffer, const vxPair<long>& size) {
    oracle::Spectrum s = oracle::newSpectrum(size.x(), size.y());
    std::fill(s.data.begin(), s.data.end(), std::numeric_limits<float>::quiet_NaN());
    s.masked = 1;
    s.inverseComputed = true;
    load({s, someXform(1), true}, buffer);
}

template <class T>
class Paths : public testing::Test {};
using PelTypes = testing::Types<unsigned char, unsigned short, double>;
TYPED_TEST_SUITE(Paths, PelTypes);

TYPED_TEST(Paths, ReadTheSamePels) {
    Random random(1);
    for (const vxPair<long>& size : sizesAtRandom(random, 60)) {
        SCOPED_TRACE(nameOf(size));
        const vxPair<long> offset = random() % 3 == 0 ? someOffsets()[random() % 11] : vxPair<long>();
        const auto image = imageAtRandom<TypeParam>(random, size, offset, static_cast<Pels>(random() % 4));
        const oracle::Spectrum expected = oracle::forward(contentOf(image));
        kernel_data::forEachInstructionSet([&] {
            vxFrequencyBuffer buffer;
            dirty(buffer, size);
            vfForwardFFT(image, buffer);
            expectState(expected, someXform(3), buffer);
        });
    }
}

TYPED_TEST(Paths, ReadTheSamePairsOfPels) {
    Random random(2);
    for (const vxPair<long>& size : sizesAtRandom(random, 40)) {
        SCOPED_TRACE(nameOf(size));
        const vxPair<long> offset = random() % 3 == 0 ? someOffsets()[random() % 11] : vxPair<long>();
        const auto real = imageAtRandom<TypeParam>(random, size, offset, static_cast<Pels>(random() % 4));
        const auto imaginary =
            imageAtRandom<TypeParam>(random, size, offset, static_cast<Pels>(random() % 4));
        const oracle::Spectrum expected = oracle::forward(contentOf(real), contentOf(imaginary));
        kernel_data::forEachInstructionSet([&] {
            vxFrequencyBuffer buffer;
            dirty(buffer, size);
            vfForwardFFT(real, imaginary, buffer);
            expectState(expected, someXform(3), buffer);
        });
    }
}

/// Magnitudes around the limits of the pels and of the integers that instructions know.
std::vector<double> magnitudesAtLimits() {
    std::vector<double> magnitudes{0.25,  0.5,      254.75,  255.25,  255.5,
                                   256.0, 65535.25, 65535.5, 65536.0, 131070.5};
    for (const int exponent : {23, 24, 31, 32, 33, 62, 63, 64, 100}) {
        const auto limit = static_cast<float>(std::ldexp(1.0, exponent));
        magnitudes.push_back(static_cast<double>(limit));
        magnitudes.push_back(static_cast<double>(std::nextafter(limit, 0.0F)));
        magnitudes.push_back(static_cast<double>(std::nextafter(limit, 0x1p127F)));
    }
    return magnitudes;
}

/// Spatial samples of any kind, as an inverse in place leaves them.
oracle::Spectrum spatialAtRandom(Random& random, const vxPair<long>& size) {
    oracle::Spectrum s = oracle::newSpectrum(size.x(), size.y());
    s.inverseComputed = true;
    const auto samples = static_cast<double>(s.width * s.height);
    const std::vector<double> magnitudes = magnitudesAtLimits();
    const unsigned rare = random() % 2 == 0 ? 7 : 10000;
    for (float& x : s.data) {
        const double magnitude = magnitudes[random() % (rare == 7 ? magnitudes.size() : 10)];
        x = random() % rare == 0 ? static_cast<float>(oddNumbers[random() % std::size(oddNumbers)])
                                 : static_cast<float>((random() % 2 ? 1 : -1) * magnitude * samples);
    }
    return s;
}

/// A spectrum of any kind: noise of any size, a single wave at a limit, masked or not, odd numbers.
oracle::Spectrum spectrumAtRandom(Random& random, const vxPair<long>& size) {
    oracle::Spectrum s = oracle::newSpectrum(size.x(), size.y());
    const double samples = static_cast<double>(s.width * s.height);
    const float deviations[] = {0x1p-140F, 1e-20F, 1.0F, 300.0F, 1e6F, 0x1p33F, 0x1p66F, 1e30F, 1e38F};
    switch (random() % 5) {
    case 0: {
        const std::vector<double> magnitudes = magnitudesAtLimits();
        s.data[0] = static_cast<float>(magnitudes[random() % magnitudes.size()] * samples);
        break;
    }
    case 1:
        return spatialAtRandom(random, size);
    case 2:
        s = randomSpectrum(random, size.x(), size.y());
        for (int i = 0; i < 2; ++i) {
            s.data[random() % s.data.size()] =
                static_cast<float>(oddNumbers[random() % std::size(oddNumbers)]);
        }
        break;
    default:
        s = randomSpectrum(random, size.x(), size.y(),
                           deviations[random() % std::size(deviations)] *
                               static_cast<float>(std::sqrt(samples)));
    }
    if (random() % 2 == 0) {
        s.masked = 1;
        s.maskedMiny = static_cast<long>(random() % static_cast<unsigned>(s.height + 8)) - 4;
        s.maskedMaxy = s.maskedMiny + static_cast<long>(random() % static_cast<unsigned>(s.height));
        const float outside = random() % 3 == 0 ? -0.0F : 0.0F;
        for (long v = 0; random() % 4 != 0 && v < s.height; ++v) {
            if (oracle::rowIsSkipped(v, s.height >> 1, s.maskedMiny, s.maskedMaxy)) {
                std::fill_n(s.data.begin() + 2 * v * s.width, 2 * s.width, outside);
            }
        }
    }
    if (random() % 4 == 0) {
        const vxPair<long> offset = someOffsets()[random() % 11];
        s.offsetX = offset.x();
        s.offsetY = offset.y();
    }
    return s;
}

template <class M>
class InversePaths : public testing::Test {};
TYPED_TEST_SUITE(InversePaths, Members);

TYPED_TEST(InversePaths, GiveTheSamePels) {
    Random random(3);
    for (const vxPair<long>& size : sizesAtRandom(random, 30)) {
        SCOPED_TRACE(nameOf(size));
        const oracle::Spectrum s = spectrumAtRandom(random, size);
        const bool normalize = random() % 2 == 0;
        const bool inPlace = random() % 2 == 0;
        oracle::Spectrum caller = s;
        const oracle::Spectrum working = oracle::workingSpectrum(caller, inPlace);
        const auto image = oracle::magnitude<typename TypeParam::Pel>(TypeParam::number, working, normalize);
        const auto second = secondOf<TypeParam>(working);
        const Placement placement = placements[random() % std::size(placements)];
        kernel_data::forEachInstructionSet([&] {
            vxFrequencyBuffer buffer;
            load({s, someXform(6), true}, buffer);
            Outputs<TypeParam> outputs(random, placement, size.x(), size.y(), {s.offsetX, s.offsetY});
            Contents<TypeParam> expected(outputs);
            oracle::deliver(image, expected.image);
            oracle::deliver(second, expected.second);
            TypeParam::run(buffer, outputs, normalize, inPlace);
            expectImage(expected.image, outputs.image);
            expectImage(expected.second, outputs.second);
            expectState(caller, someXform(6), buffer);
        });
    }
}

// Without a second image, normalisation and change of the buffer, pels are written in the column pass.
TYPED_TEST(Paths, WriteTheSamePels) {
    constexpr int member = std::same_as<TypeParam, unsigned char>    ? 1
                           : std::same_as<TypeParam, unsigned short> ? 2
                                                                     : 3;
    Random random(4);
    for (const vxPair<long>& size : sizesAtRandom(random, 120)) {
        SCOPED_TRACE(nameOf(size));
        const oracle::Spectrum s = spectrumAtRandom(random, size);
        oracle::Spectrum caller = s;
        const auto image =
            oracle::magnitude<TypeParam>(member, oracle::workingSpectrum(caller, false), false);
        const Placement placement = placements[random() % std::size(placements)];
        kernel_data::forEachInstructionSet([&] {
            vxFrequencyBuffer buffer;
            load({s, someXform(6), true}, buffer);
            auto output = placed<TypeParam>(random, placement, size.x(), size.y(), {s.offsetX, s.offsetY});
            oracle::Image<TypeParam> expected = contentOf(output);
            oracle::deliver(image, expected);
            const vxFrequencyBuffer& constant = buffer;
            vfInverseFFT(constant, output, false);
            expectImage(expected, output);
            expectState(s, someXform(6), buffer);
        });
    }
}

TEST(OtherPaths, GiveTheSameRealAndImaginaryParts) {
    Random random(5);
    for (const vxPair<long>& size : sizesAtRandom(random, 40)) {
        SCOPED_TRACE(nameOf(size));
        const oracle::Spectrum s = spectrumAtRandom(random, size);
        const bool inPlace = random() % 2 == 0;
        oracle::Spectrum caller = s;
        const oracle::Spectrum working = oracle::workingSpectrum(caller, inPlace);
        kernel_data::forEachInstructionSet([&] {
            vxFrequencyBuffer buffer;
            load({s, someXform(6), true}, buffer);
            vxPelBuffer<double> real;
            vxPelBuffer<double> imaginary;
            vfInverseFFT(buffer, real, imaginary, inPlace);
            expectImage(oracle::part(0, working), real);
            expectImage(oracle::part(1, working), imaginary);
            expectState(caller, someXform(6), buffer);
        });
    }
}

TEST(OtherPaths, GiveTheSameBuffers) {
    Random random(6);
    for (const vxPair<long>& size : sizesAtRandom(random, 60)) {
        SCOPED_TRACE(nameOf(size));
        const oracle::Spectrum s = spectrumAtRandom(random, size);
        const bool inPlace = random() % 2 == 0;
        oracle::Spectrum caller = s;
        const oracle::Spectrum spatial = oracle::inverse(caller, inPlace);
        const oracle::Spectrum spectrum = oracle::forward(s);
        kernel_data::forEachInstructionSet([&] {
            vxFrequencyBuffer buffer;
            load({s, someXform(6), true}, buffer);
            vxFrequencyBuffer result;
            dirty(result, size);
            vfForwardFFT(buffer, result);
            expectState(spectrum, someXform(6), result);
            dirty(result, size);
            vfInverseFFT(buffer, result, inPlace);
            expectState(spatial, someXform(6), result);
            expectState(caller, someXform(6), buffer);
        });
    }
}

/// Samples in two parts, of which the left one is some columns wide.
struct Parts {
    Parts(const vxPair<long>& size, std::size_t leftWidth)
        : width(static_cast<std::size_t>(size.x()))
        , height(static_cast<std::size_t>(size.y()))
        , split(leftWidth)
        , left(2 * split * height)
        , right(2 * (width - split) * height) {}

    vx_SplitPlane plane() { return {{left.data(), split, height}, {right.data(), width - split, height}}; }
    [[nodiscard]] kernel_data::Matrix joined() const {
        kernel_data::Matrix result;
        const auto append = [&result](const kernel_data::Matrix& part, std::size_t columns, std::size_t row) {
            const auto first = part.begin() + static_cast<std::ptrdiff_t>(2 * columns * row);
            result.insert(result.end(), first, first + static_cast<std::ptrdiff_t>(2 * columns));
        };
        for (std::size_t row = 0; row < height; ++row) {
            append(left, split, row);
            append(right, width - split, row);
        }
        return result;
    }

    std::size_t width;
    std::size_t height;
    std::size_t split;
    kernel_data::Matrix left;
    kernel_data::Matrix right;
};

TEST(OtherPaths, GiveTheSameSamplesInTwoParts) {
    Random random(8);
    for (const vxPair<long>& size : {vxPair<long>(64, 64), vxPair<long>(128, 32), vxPair<long>(64, 256)}) {
        for (const kernel_data::Kind kind : kernel_data::everyKind) {
            const kernel_data::Matrix source = kernel_data::make(size.x(), size.y(), kind, 7);
            const long low = static_cast<long>(random()) % size.y() / 2;
            const vx_RowBand band(low, low + size.y() / 2, static_cast<std::size_t>(size.y()));
            const vx_PelScale scale{0.5F};
            kernel_data::forEachInstructionSet([&] {
                const vx_Kernels& kernels = vf_KernelsFor(size);
                kernel_data::Matrix whole = source;
                vxPelBuffer<double> image(size.x() - 3, size.y() - 5, 32);
                const vx_Pels<double> pels{image.pointToOffset(), image.rowUpdate(),
                                           static_cast<std::size_t>(image.width()),
                                           static_cast<std::size_t>(image.height())};
                kernels.doubles.inverse(whole.data(), vf_PlaneOf(whole.data(), size), band, scale, pels);
                const oracle::Image<double> expectedPels = contentOf(image);
                for (const std::size_t split : {16U, 48U}) {
                    Parts parts(size, split);
                    kernels.complex(source.data(), parts.plane(), -1, band);
                    EXPECT_TRUE(kernel_data::sameBits(parts.joined(), whole));
                    Parts again(size, split);
                    vfPelSet(image, -1.0);
                    kernels.doubles.inverse(source.data(), again.plane(), band, scale, pels);
                    EXPECT_TRUE(kernel_data::sameBits(again.joined(), whole));
                    expectImage(expectedPels, image);
                }
            });
        }
    }
}

// The largest spectra are inverted by way of samples in two parts, unless in place.
TEST(OtherPaths, InvertTheLargestSpectra) {
    Random random(9);
    const vxPair<long> size(2048, 2048);
    const oracle::Spectrum s = randomSpectrum(random, size.x() - 5, size.y() - 900, 1e6F);
    kernel_data::forEachInstructionSet([&] {
        vxFrequencyBuffer buffer;
        load({s, someXform(6), true}, buffer);
        const vxFrequencyBuffer& constant = buffer;
        vxPelBuffer<unsigned char> normalised;
        vxPelBuffer<unsigned char> quadrants;
        vxPelBuffer<double> real;
        vxPelBuffer<double> imaginary;
        vfInverseFFTQuadrant(constant, normalised, quadrants, true);
        vfInverseFFT(constant, real, imaginary);
        vxPelBuffer<unsigned char> normalisedInPlace;
        vxPelBuffer<unsigned char> quadrantsInPlace;
        vxPelBuffer<double> realInPlace;
        vxPelBuffer<double> imaginaryInPlace;
        vfInverseFFTQuadrant(buffer, normalisedInPlace, quadrantsInPlace, true, true);
        vfInverseFFT(buffer, realInPlace, imaginaryInPlace, true);
        expectImage(contentOf(normalisedInPlace), normalised);
        expectImage(contentOf(quadrantsInPlace), quadrants);
        expectImage(contentOf(realInPlace), real);
        expectImage(contentOf(imaginaryInPlace), imaginary);
    });
}

// Loaded buffers have sizes of their own, and a source size that uses little or nothing of them.
TEST(OtherPaths, CropToTheSourceSize) {
    Random random(7);
    for (const vxPair<long>& source : {vxPair<long>(33, 40), vxPair<long>(1, 64), vxPair<long>(0, 0),
                                       vxPair<long>(-3, 5), vxPair<long>(64, 1), vxPair<long>(40, 0)}) {
        oracle::Spectrum s = randomSpectrum(random, 64, 64);
        s.sourceWidth = source.x();
        s.sourceHeight = source.y();
        oracle::Spectrum caller = s;
        const auto image = oracle::magnitude<unsigned char>(1, oracle::workingSpectrum(caller, false), false);
        kernel_data::forEachInstructionSet([&] {
            vxFrequencyBuffer buffer;
            load({s, someXform(6), true}, buffer);
            vxPelBuffer<unsigned char> output;
            vfInverseFFT(static_cast<const vxFrequencyBuffer&>(buffer), output, false);
            expectImage(image, output);
        });
    }
}

} // namespace

/// \file
/// What the tests of the transforms share: frequency buffers of any state, images of any placement and
/// memory, and comparison bit by bit with the transcriptions.
#pragma once

#include "filt/fft/frequency_buffer.h"
#include "kavstd/archive.h"
#include "kavstd/pelbuffer.h"
#include "kavstd/xform.h"
#include "tests/oracle/transforms.h"

#include <bit>
#include <concepts>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <memory>
#include <random>
#include <sstream>
#include <utility>
#include <vector>

namespace transform_support {

constexpr long lowest = std::numeric_limits<long>::min();
constexpr long highest = std::numeric_limits<long>::max();

/// All that a frequency buffer holds.
struct State {
    oracle::Spectrum spectrum;
    vx2XformCache xform;
    bool hasSamples = true;
};

inline void transfer(vxArchive& archive, State& state) {
    unsigned char version = 1;
    vxPair<long> offset(state.spectrum.offsetX, state.spectrum.offsetY);
    oracle::Spectrum& s = state.spectrum;
    archive || version;
    archive || s.width || s.height || s.sourceWidth || s.sourceHeight;
    archive || s.masked || s.maskedMiny || s.maskedMaxy || s.inverseComputed;
    archive || state.xform || offset || state.hasSamples || s.data;
    s.offsetX = offset.x();
    s.offsetY = offset.y();
}

/// Gives a buffer that state, by way of an archive.
inline void load(State state, vxFrequencyBuffer& buffer) {
    std::stringstream stream;
    vxOutputArchive output(stream);
    transfer(output, state);
    vxInputArchive input(stream);
    input || buffer;
}

inline State stateOf(const vxFrequencyBuffer& buffer) {
    std::stringstream stream;
    vxOutputArchive output(stream);
    output || const_cast<vxFrequencyBuffer&>(buffer); // Storing only reads.
    vxInputArchive input(stream);
    State state;
    transfer(input, state);
    return state;
}

/// Equal bits; NaNs of any sign and payload are equal.
inline bool same(float a, float b) {
    return std::bit_cast<std::uint32_t>(a) == std::bit_cast<std::uint32_t>(b) || (a != a && b != b);
}
inline bool same(double a, double b) {
    return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b) || (a != a && b != b);
}
template <std::integral T>
bool same(T a, T b) {
    return a == b;
}

/// A transform that no two numbers share.
inline vx2XformCache someXform(double number) {
    vx2XformCache cache;
    cache.xform(
        vx2XformLinear(vxXform<2>(vxMatrix<2>(1.5 + number, 0.25, -0.5, 2.0), vxVector<2>(number, -number))));
    return cache;
}

inline bool same(const vx2XformCache& a, const vx2XformCache& b) {
    return a.linearXform() == b.linearXform();
}

inline void expectState(const oracle::Spectrum& expected, const vx2XformCache& xform,
                        const vxFrequencyBuffer& buffer) {
    const State actual = stateOf(buffer);
    const oracle::Spectrum& s = actual.spectrum;
    ASSERT_TRUE(actual.hasSamples);
    ASSERT_EQ(expected.width, s.width);
    ASSERT_EQ(expected.height, s.height);
    EXPECT_EQ(expected.sourceWidth, s.sourceWidth);
    EXPECT_EQ(expected.sourceHeight, s.sourceHeight);
    EXPECT_EQ(expected.masked, s.masked);
    if (expected.masked != 0) {
        EXPECT_EQ(expected.maskedMiny, s.maskedMiny);
        EXPECT_EQ(expected.maskedMaxy, s.maskedMaxy);
    }
    EXPECT_EQ(expected.inverseComputed, s.inverseComputed);
    EXPECT_EQ(expected.offsetX, s.offsetX);
    EXPECT_EQ(expected.offsetY, s.offsetY);
    EXPECT_TRUE(same(xform, actual.xform));
    ASSERT_EQ(expected.data.size(), s.data.size());
    for (std::size_t i = 0; i < s.data.size(); ++i) {
        ASSERT_TRUE(same(expected.data[i], s.data[i]))
            << "float " << i << " is " << s.data[i] << ", not " << expected.data[i];
    }
}

/// Everything is as it was, the samples bit for bit.
inline void expectUnchanged(const State& before, const vxFrequencyBuffer& buffer) {
    if (!before.hasSamples) {
        EXPECT_FALSE(stateOf(buffer).hasSamples);
        return;
    }
    expectState(before.spectrum, before.xform, buffer);
}

/// An image's pels without the gaps, and its placement.
template <class T>
oracle::Image<T> contentOf(const vxPelBuffer_const<T>& image) {
    oracle::Image<T> content = oracle::newImage<T>(image.width(), image.height());
    content.X = image.offset().x();
    content.Y = image.offset().y();
    for (long y = 0; y < image.height(); ++y) {
        for (long x = 0; x < image.width(); ++x) {
            content.at(x, y) = image.pointToOffset()[y * image.rowUpdate() + x];
        }
    }
    return content;
}

template <class T>
void expectImage(const oracle::Image<T>& expected, const vxPelBuffer_const<T>& actual) {
    ASSERT_EQ(expected.bound(), actual.isBound());
    ASSERT_EQ(expected.width, actual.width());
    ASSERT_EQ(expected.height, actual.height());
    EXPECT_EQ(static_cast<long>(expected.X), actual.offset().x());
    EXPECT_EQ(static_cast<long>(expected.Y), actual.offset().y());
    const oracle::Image<T> content = contentOf(actual);
    for (long y = 0; y < expected.height; ++y) {
        for (long x = 0; x < expected.width; ++x) {
            ASSERT_TRUE(same(expected.at(x, y), content.at(x, y)))
                << "pel (" << x << ", " << y << ") is " << +content.at(x, y) << ", not "
                << +expected.at(x, y);
        }
    }
}

using Random = std::mt19937;

template <class T>
T randomPel(Random& random) {
    if constexpr (std::same_as<T, double>) {
        return std::normal_distribution<double>(3.0, 100.0)(random);
    } else {
        return static_cast<T>(random());
    }
}

/// New pels at random.
template <class T>
vxPelBuffer<T> randomImage(Random& random, long width, long height, vxPair<long> offset = {}) {
    vxPelBuffer<T> image(width, height);
    for (long y = 0; y < image.height(); ++y) {
        for (long x = 0; x < image.width(); ++x) {
            image.pointToOffset()[y * image.rowUpdate() + x] = randomPel<T>(random);
        }
    }
    image.offset(offset);
    return image;
}

/// The same in memory that is stored bottom-up, with gaps between the rows.
template <class T>
vxPelBuffer<T> bottomUpImage(Random& random, long width, long height, vxPair<long> offset = {}) {
    const long pitch = width + 3;
    const auto memory = std::make_shared<std::vector<T>>(static_cast<std::size_t>(pitch * height));
    for (T& pel : *memory) {
        pel = randomPel<T>(random);
    }
    vxPelBuffer<T> image(memory->data() + (height - 1) * pitch, width, height, -pitch, memory);
    image.offset(offset);
    return image;
}

/// A spectrum for images of the source size with samples at random.
inline oracle::Spectrum randomSpectrum(Random& random, long sourceWidth, long sourceHeight,
                                       float deviation = 100.0F) {
    oracle::Spectrum s = oracle::newSpectrum(sourceWidth, sourceHeight);
    std::normal_distribution<float> distribution(0.0F, deviation);
    for (float& value : s.data) {
        value = distribution(random);
    }
    return s;
}

/// A spectrum of any size, whether or not a kernel can do it.
inline oracle::Spectrum rawSpectrum(long width, long height, long sourceWidth, long sourceHeight) {
    oracle::Spectrum s;
    s.width = width;
    s.height = height;
    s.sourceWidth = sourceWidth;
    s.sourceHeight = sourceHeight;
    s.data.assign(static_cast<std::size_t>(width * height * 2), 0.5F);
    return s;
}

/// Source sizes, square or not, padded or not.
inline const std::vector<vxPair<long>>& someSizes() {
    static const std::vector<vxPair<long>> sizes{{1, 1}, {1, 5}, {5, 1},   {2, 1},   {1, 2},  {2, 2},
                                                 {3, 5}, {4, 4}, {8, 4},   {4, 8},   {7, 9},  {16, 16},
                                                 {2, 8}, {8, 2}, {33, 20}, {17, 64}, {64, 1}, {1, 100}};
    return sizes;
}

/// Spectra in every state: plain, at an offset, masked, with the band of an earlier mask, consumed, cropped
/// to a smaller source size, without a source.
inline std::vector<oracle::Spectrum> someSpectra(Random& random) {
    std::vector<oracle::Spectrum> spectra;
    for (const vxPair<long>& size : someSizes()) {
        spectra.push_back(randomSpectrum(random, size.x(), size.y()));
    }
    for (const vxPair<long>& band :
         {vxPair<long>(9, 12), vxPair<long>(-3, 5), vxPair<long>(lowest, highest)}) {
        for (const long width : {16L, 9L, 40L}) {
            oracle::Spectrum masked = randomSpectrum(random, width, 13);
            masked.masked = 1;
            masked.maskedMiny = band.x();
            masked.maskedMaxy = band.y();
            spectra.push_back(masked);
        }
    }
    oracle::Spectrum unmasked = randomSpectrum(random, 16, 13);
    unmasked.maskedMiny = 9;
    unmasked.maskedMaxy = 12;
    spectra.push_back(unmasked);
    oracle::Spectrum consumed = randomSpectrum(random, 5, 6);
    consumed.inverseComputed = true;
    spectra.push_back(consumed);
    consumed.offsetX = -4;
    consumed.offsetY = highest;
    spectra.push_back(consumed);
    oracle::Spectrum cropped = randomSpectrum(random, 64, 32);
    cropped.sourceWidth = 25;
    cropped.sourceHeight = 9;
    spectra.push_back(cropped);
    cropped.inverseComputed = true;
    spectra.push_back(cropped);
    cropped.sourceWidth = 0;
    cropped.sourceHeight = -3;
    spectra.push_back(cropped);
    return spectra;
}

/// Where windows may lie: at the origin, around it, and at the ends of `long`.
inline const std::vector<vxPair<long>>& someOffsets() {
    static const std::vector<vxPair<long>> offsets{
        {0, 0},   {0, -1},           {-1, 0},           {2, 3},  {-2, -3}, {-5, 4},
        {7, -11}, {lowest, highest}, {highest, lowest}, {1, -6}, {-14, 0}, {highest - 1, highest - 2}};
    return offsets;
}

/// value + distance, kept within `long`.
inline long moved(long value, long distance) {
    if (distance >= 0) {
        return value > highest - distance ? highest : value + distance;
    }
    return value < lowest - distance ? lowest : value + distance;
}

} // namespace transform_support

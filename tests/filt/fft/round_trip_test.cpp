#include "filt/fft/forward_fft.h"
#include "filt/fft/inverse_fft.h"
#include "tests/support/transform_support.h"

#include <cstdlib>
#include <functional>

using namespace transform_support;

namespace {

template <class T>
using Pattern = std::function<T(long x, long y)>;

template <class T>
T extreme(bool high) {
    return high ? std::numeric_limits<T>::max() : T(0);
}

// Images that strain single precision: grey and black-and-white noise, constants, stripes, single pels,
// steps, ramps.
template <class T>
std::vector<Pattern<T>> patterns(Random& random, long width, long height) {
    return {
        [&](long, long) { return randomPel<T>(random); },
        [&](long, long) { return extreme<T>(random() % 2 == 0); },
        [=](long, long) { return extreme<T>(true); },
        [=](long x, long y) { return extreme<T>((x + y) % 2 == 0); },
        [=](long x, long y) { return extreme<T>(x == width - 1 && y == height / 3); },
        [=](long x, long y) { return extreme<T>(x != width / 2 || y != 0); },
        [=](long x, long) { return extreme<T>(x < width / 2); },
        [=](long, long y) { return extreme<T>(y < height / 2); },
        [=](long, long y) { return extreme<T>(y % 3 == 0); },
        [=](long x, long y) { return static_cast<T>(x * 7 + y * 13); },
    };
}

// The largest difference between an image and what comes back, where the highest pel and 0 are neighbours:
// rounding above the highest pel wraps.
template <class T>
int largestError(const Pattern<T>& pattern, long width, long height) {
    vxPelBuffer<T> image(width, height);
    for (long y = 0; y < height; ++y) {
        for (long x = 0; x < width; ++x) {
            image.pointToRow(y)[x] = pattern(x, y);
        }
    }
    vxFrequencyBuffer buffer;
    vfForwardFFT(image, buffer);
    vxPelBuffer<T> back;
    vfInverseFFT(buffer, back, false, true);
    EXPECT_EQ(width, back.width());
    EXPECT_EQ(height, back.height());
    int largest = 0;
    for (long y = 0; y < back.height(); ++y) {
        for (long x = 0; x < back.width(); ++x) {
            const int error = std::abs(image.pointToRow(y)[x] - back.pointToRow(y)[x]);
            largest = std::max(largest, std::min(error, std::numeric_limits<T>::max() + 1 - error));
        }
    }
    return largest;
}

template <class T>
void expectExact(Random& random, long width, long height) {
    for (const auto& pattern : patterns<T>(random, width, height)) {
        EXPECT_EQ(0, largestError<T>(pattern, width, height)) << width << " x " << height;
    }
}

TEST(RoundTrip, OfBytesIsExact) {
    Random random(51);
    for (const vxPair<long>& size : someSizes()) {
        expectExact<unsigned char>(random, size.x(), size.y());
    }
    for (long size = 1; size <= 512; size *= 2) {
        expectExact<unsigned char>(random, size, size);
        expectExact<unsigned char>(random, 1024, size);
        expectExact<unsigned char>(random, size, 1024);
    }
}

TEST(RoundTrip, OfTheLargestBytesIsExact) {
    Random random(52);
    expectExact<unsigned char>(random, 2048, 2048);
    expectExact<unsigned char>(random, 2048, 1);
    expectExact<unsigned char>(random, 1, 2048);
}

TEST(RoundTrip, OfWordsIsExact) {
    Random random(53);
    for (const vxPair<long>& size : someSizes()) {
        expectExact<unsigned short>(random, size.x(), size.y());
    }
    for (long size = 1; size <= 512; size *= 2) {
        expectExact<unsigned short>(random, size, size);
    }
    expectExact<unsigned short>(random, 300, 300);
    expectExact<unsigned short>(random, 512, 300);
    expectExact<unsigned short>(random, 1024, 32);
}

// Here single precision ends: at 1024 x 1024 the errors of 16-bit images of the highest contrast reach a
// little over half a pel, so that a few pels in a million come back off by one.
TEST(RoundTrip, OfTheLargestWordsIsOffByOneAtMost) {
    Random random(54);
    for (const vxPair<long>& size :
         {vxPair<long>(1024, 1024), vxPair<long>(700, 700), vxPair<long>(1024, 700)}) {
        for (const auto& pattern : patterns<unsigned short>(random, size.x(), size.y())) {
            EXPECT_LE(largestError<unsigned short>(pattern, size.x(), size.y()), 1);
        }
    }
    const Pattern<unsigned short> noise = [&](long, long) { return randomPel<unsigned short>(random); };
    EXPECT_EQ(0, largestError<unsigned short>(noise, 1024, 1024));
}

// Each transform of n values rounds each of its log2 n stages once more, and the twiddles' running products
// lose up to a quarter of the length in ulps.
TEST(RoundTrip, OfDoublesIsGoodToSinglePrecision) {
    Random random(55);
    const auto image = randomImage<double>(random, 100, 60);
    vxFrequencyBuffer buffer;
    vfForwardFFT(image, buffer);
    vxPelBuffer<double> real;
    vxPelBuffer<double> imaginary;
    vfInverseFFT(buffer, real, imaginary, false);
    for (long y = 0; y < 60; ++y) {
        for (long x = 0; x < 100; ++x) {
            EXPECT_NEAR(image.pointToRow(y)[x], real.pointToRow(y)[x], 2e-3);
            EXPECT_NEAR(0.0, imaginary.pointToRow(y)[x], 2e-3);
        }
    }
}

// An image of 8-bit pels comes back where it was. 16-bit and double images are read as if their pels lay at
// the offset before they are wrapped round it.
TEST(RoundTrip, AtAnOffset) {
    Random random(56);
    for (const vxPair<long>& offset : someOffsets()) {
        auto bytes = randomImage<unsigned char>(random, 16, 8, offset);
        auto words = randomImage<unsigned short>(random, 16, 8, offset);
        bytes.copyXforms(someXform(1));
        vxFrequencyBuffer buffer;
        vfForwardFFT(bytes, buffer);
        vxPelBuffer<unsigned char> bytesBack;
        vfInverseFFT(buffer, bytesBack, false, true);
        expectImage(contentOf(bytes), bytesBack);
        EXPECT_TRUE(same(someXform(1), bytesBack.xformCache()));
        vfForwardFFT(words, buffer);
        vxPelBuffer<unsigned short> wordsBack;
        vfInverseFFT(buffer, wordsBack, false, true);
        oracle::Image<unsigned short> wrapped = oracle::newImage<unsigned short>(16, 8);
        oracle::periodicCopy(contentOf(words), wrapped, true);
        wrapped.X = offset.x();
        wrapped.Y = offset.y();
        expectImage(offset == vxPair<long>(0, 0) ? contentOf(words) : wrapped, wordsBack);
    }
}

} // namespace

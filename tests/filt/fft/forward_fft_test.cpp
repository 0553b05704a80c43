#include "filt/fft/forward_fft.h"

#include "filt/fft/inverse_fft.h"
#include "tests/support/cancellation.h"
#include "tests/support/failing_allocation.h"
#include "tests/support/frequency_errors.h"
#include "tests/support/transform_support.h"

using namespace transform_support;
using support::expectError;
using Defs = vxFrequencyDefs;

namespace {

// A buffer whose every field the transform has to set: masked, consumed, with samples, transform and offset.
void loadUsed(Random& random, long width, long height, vxFrequencyBuffer& buffer) {
    State state{randomSpectrum(random, width, height), someXform(-7), true};
    state.spectrum.masked = 1;
    state.spectrum.maskedMiny = 1;
    state.spectrum.maskedMaxy = 2;
    state.spectrum.inverseComputed = true;
    state.spectrum.offsetX = 11;
    load(state, buffer);
}

template <class T>
class ForwardFFT : public testing::Test {
protected:
    Random random{7};
};
using Pels = testing::Types<unsigned char, unsigned short, double>;
TYPED_TEST_SUITE(ForwardFFT, Pels);

TYPED_TEST(ForwardFFT, OfOneImageMatchesTheTranscription) {
    using T = TypeParam;
    for (const vxPair<long>& size : someSizes()) {
        for (const vxPair<long>& offset : someOffsets()) {
            auto image = randomImage<T>(this->random, size.x(), size.y(), offset);
            image.copyXforms(someXform(3));
            const oracle::Spectrum expected = oracle::forward(contentOf(image));
            vxFrequencyBuffer fresh;
            vf_ForwardFFT(image, fresh);
            expectState(expected, someXform(3), fresh);
            vxFrequencyBuffer used;
            loadUsed(this->random, size.x(), size.y(), used);
            vfForwardFFT<T>(image, used);
            expectState(expected, someXform(3), used);
        }
    }
}

TYPED_TEST(ForwardFFT, OfTwoImagesMatchesTheTranscription) {
    using T = TypeParam;
    for (const vxPair<long>& size : someSizes()) {
        for (const vxPair<long>& offset : someOffsets()) {
            auto real = randomImage<T>(this->random, size.x(), size.y(), offset);
            auto imaginary = bottomUpImage<T>(this->random, size.x(), size.y(), offset);
            real.copyXforms(someXform(4));
            imaginary.copyXforms(someXform(5));
            const oracle::Spectrum expected = oracle::forward(contentOf(real), contentOf(imaginary));
            vxFrequencyBuffer fresh;
            vf_ForwardFFT(real, imaginary, fresh);
            expectState(expected, someXform(4), fresh);
            vxFrequencyBuffer used;
            loadUsed(this->random, size.x(), size.y(), used);
            vfForwardFFT<T>(real, imaginary, used);
            expectState(expected, someXform(4), used);
        }
    }
}

TYPED_TEST(ForwardFFT, ReadsAnyMemory) {
    using T = TypeParam;
    for (const vxPair<long>& offset : someOffsets()) {
        const auto image = bottomUpImage<T>(this->random, 11, 6, offset);
        vxFrequencyBuffer buffer;
        vf_ForwardFFT(image, buffer);
        expectState(oracle::forward(contentOf(image)), {}, buffer);
    }
    auto whole = randomImage<T>(this->random, 20, 20);
    const auto window = whole.window(3, 4, 9, 8);
    vxFrequencyBuffer buffer;
    vf_ForwardFFT(window, buffer);
    expectState(oracle::forward(contentOf(window)), {}, buffer);
}

TYPED_TEST(ForwardFFT, PadsToPowersOfTwoAndKeepsTheSourceSize) {
    using T = TypeParam;
    vxPelBuffer<T> image(3, 5);
    double sum = 0.0;
    for (long y = 0; y < 5; ++y) {
        for (long x = 0; x < 3; ++x) {
            image.pointToRow(y)[x] = static_cast<T>(7 * y + x);
            sum += static_cast<double>(7 * y + x);
        }
    }
    vxFrequencyBuffer buffer;
    vfForwardFFT<T>(image, buffer);
    EXPECT_EQ(4, buffer.width());
    EXPECT_EQ(8, buffer.height());
    EXPECT_EQ(3, stateOf(buffer).spectrum.sourceWidth);
    EXPECT_EQ(5, stateOf(buffer).spectrum.sourceHeight);
    EXPECT_EQ(vxPair<double>(sum, 0.0), buffer.get(0, 0, false));
}

TYPED_TEST(ForwardFFT, OfOnePelIsThePel) {
    using T = TypeParam;
    vxPelBuffer<T> image(1, 1);
    *image.pointToOffset() = 7;
    vxFrequencyBuffer buffer;
    loadUsed(this->random, 1, 1, buffer);
    vfForwardFFT<T>(image, buffer);
    EXPECT_EQ(1, buffer.width());
    EXPECT_EQ(1, buffer.height());
    EXPECT_EQ(vxPair<double>(7.0, 0.0), buffer.get(0, 0, false));
}

TYPED_TEST(ForwardFFT, OfOneAndOfTwoImagesAgreeUpToRounding) {
    using T = TypeParam;
    const auto image = randomImage<T>(this->random, 32, 16);
    const vxPelBuffer<T> zero(32, 16);
    vxFrequencyBuffer one;
    vxFrequencyBuffer two;
    vfForwardFFT<T>(image, one);
    vfForwardFFT<T>(image, zero, two);
    // The rounding error of a transform of 512 values is a few ulps of the largest magnitude.
    double norm = 0.0;
    for (long y = 0; y < 16; ++y) {
        for (long x = 0; x < 32; ++x) {
            norm += static_cast<double>(image.pointToRow(y)[x]) * static_cast<double>(image.pointToRow(y)[x]);
        }
    }
    const double tolerance = 16.0 * std::sqrt(norm * 512.0) * 6e-8;
    for (long y = 0; y < 16; ++y) {
        for (long x = 0; x < 32; ++x) {
            EXPECT_NEAR(one.getReal(x, y, false), two.getReal(x, y, false), tolerance);
            EXPECT_NEAR(one.getImaginary(x, y, false), two.getImaginary(x, y, false), tolerance);
        }
    }
}

TYPED_TEST(ForwardFFT, RefusesBeforeTheDestinationChanges) {
    using T = TypeParam;
    const vxPelBuffer<T> unbound;
    const vxPelBuffer<T> small(4, 4);
    const vxPelBuffer<T> wide(2049, 1);
    const vxPelBuffer<T> tall(1, 2049);
    vxPelBuffer<T> moved(4, 4);
    moved.offset(0, 1);
    vxPelBuffer<T> sideways(4, 4);
    sideways.offset(1, 0);
    vxFrequencyBuffer buffer;
    loadUsed(this->random, 7, 8, buffer);
    const State before = stateOf(buffer);
    const char* differ = "Real and Imaginary buffers must have the same size and offset.";
    const char* limit = "Width and Height must be no larger than 2048.";

    expectError<Defs::UnboundWindow>([&] { vf_ForwardFFT(unbound, buffer); }, "");
    expectError<Defs::InvalidSize>([&] { vf_ForwardFFT(wide, buffer); }, limit);
    expectError<Defs::InvalidSize>([&] { vf_ForwardFFT(tall, buffer); }, limit);
    expectError<Defs::UnboundWindow>([&] { vf_ForwardFFT(unbound, unbound, buffer); }, "");
    expectError<Defs::UnboundWindow>([&] { vf_ForwardFFT(unbound, small, buffer); }, "");
    expectError<Defs::UnboundWindow>([&] { vf_ForwardFFT(small, unbound, buffer); }, "");
    expectError<Defs::UnboundWindow>([&] { vf_ForwardFFT(wide, unbound, buffer); }, "");
    expectError<Defs::UnboundWindow>([&] { vf_ForwardFFT(unbound, wide, buffer); }, "");
    expectError<Defs::InvalidSize>([&] { vf_ForwardFFT(small, vxPelBuffer<T>(5, 4), buffer); }, differ);
    expectError<Defs::InvalidSize>([&] { vf_ForwardFFT(small, vxPelBuffer<T>(4, 5), buffer); }, differ);
    expectError<Defs::InvalidSize>([&] { vf_ForwardFFT(small, moved, buffer); }, differ);
    expectError<Defs::InvalidSize>([&] { vf_ForwardFFT(small, sideways, buffer); }, differ);
    expectError<Defs::InvalidSize>([&] { vf_ForwardFFT(wide, small, buffer); }, differ);
    expectError<Defs::InvalidSize>([&] { vf_ForwardFFT(wide, wide, buffer); }, limit);
    expectError<Defs::InvalidSize>([&] { vf_ForwardFFT(tall, tall, buffer); }, limit);
    expectUnchanged(before, buffer);
}

// The kernel's own cancellation points for a size: a transform of samples that are there has no others.
long realKernelPoints(long width, long height) {
    const vxPelBuffer<double> image(width, height);
    vxFrequencyBuffer buffer;
    return cancellation::count([&] { vf_ForwardFFT(image, buffer); });
}
long complexKernelPoints(long width, long height) {
    vxFrequencyBuffer buffer(width, height);
    return cancellation::count([&] { vfForwardFFT(buffer, buffer); });
}

TYPED_TEST(ForwardFFT, HasOneMoreCancellationPointForEachPeriodicCopyAndThePadding) {
    using T = TypeParam;
    vxPelBuffer<T> image(20, 33);
    vxFrequencyBuffer buffer;
    const long real = realKernelPoints(32, 64);
    const long complex = complexKernelPoints(32, 64);
    EXPECT_GT(real, 0);
    EXPECT_EQ(real, cancellation::count([&] { vf_ForwardFFT(image, buffer); }));
    EXPECT_EQ(complex + 1, cancellation::count([&] { vf_ForwardFFT(image, image, buffer); }));
    image.offset(0, -1);
    EXPECT_EQ(real + 1, cancellation::count([&] { vf_ForwardFFT(image, buffer); }));
    EXPECT_EQ(complex + 3, cancellation::count([&] { vf_ForwardFFT(image, image, buffer); }));
}

TYPED_TEST(ForwardFFT, CanBeCancelledEverywhere) {
    using T = TypeParam;
    const auto image = randomImage<T>(this->random, 20, 33, {-3, 4});
    const oracle::Spectrum one = oracle::forward(contentOf(image));
    const oracle::Spectrum two = oracle::forward(contentOf(image), contentOf(image));
    const auto before = contentOf(image);
    long cancelled = 0;
    for (long k = 1;; ++k) {
        vxFrequencyBuffer single(3, 3);
        vxFrequencyBuffer both(3, 3);
        const bool first = cancellation::cancelAt(k, [&] { vf_ForwardFFT(image, single); });
        const bool second = cancellation::cancelAt(k, [&] { vf_ForwardFFT(image, image, both); });
        EXPECT_EQ(32, single.width());
        EXPECT_EQ(64, single.height());
        EXPECT_EQ(32, both.width());
        EXPECT_EQ(64, both.height());
        vf_ForwardFFT(image, single); // Sized and partly written, but none the worse for it.
        vf_ForwardFFT(image, image, both);
        expectState(one, {}, single);
        expectState(two, {}, both);
        cancelled += first + second;
        if (!first && !second) {
            break;
        }
    }
    EXPECT_GT(cancelled, 10);
    expectImage(before, image);
}

TYPED_TEST(ForwardFFT, ReusesTheStorageOfTheSameSize) {
    using T = TypeParam;
    const auto image = randomImage<T>(this->random, 50, 60);
    vxFrequencyBuffer buffer(64, 64);
    const failing_allocation::Scope watch;
    vf_ForwardFFT(image, buffer);
    EXPECT_LT(watch.largest(), 64U * 64U * 2U * sizeof(float));
}

TEST(ForwardFFTOfDoubles, RoundsToSinglePrecisionAndKeepsSpecialValues) {
    const double infinity = std::numeric_limits<double>::infinity();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (const double value : {0.1, -0.0, 1e300, -1e300, 1e-50, infinity, -infinity, nan, 16777217.0}) {
        vxPelBuffer<double> image(4, 2);
        image.pointToRow(1)[2] = value;
        vxFrequencyBuffer one;
        vf_ForwardFFT(image, one);
        expectState(oracle::forward(contentOf(image)), {}, one);
        vxFrequencyBuffer two;
        vf_ForwardFFT(image, image, two);
        expectState(oracle::forward(contentOf(image), contentOf(image)), {}, two);
    }
}

TEST(ForwardFFTOfConstants, AreTheirSum) {
    vxPelBuffer<unsigned char> image(16, 8);
    vfPelSet(image, 3);
    vxFrequencyBuffer buffer;
    vfForwardFFT(image, buffer);
    for (long y = 0; y < 8; ++y) {
        for (long x = 0; x < 16; ++x) {
            EXPECT_EQ(x == 0 && y == 0 ? vxPair<double>(384.0, 0.0) : vxPair<double>(0.0, 0.0),
                      buffer.get(x, y, false));
        }
    }
}

TEST(ForwardFFTOfBuffers, MatchesTheTranscription) {
    Random random(8);
    for (const oracle::Spectrum& s : someSpectra(random)) {
        vxFrequencyBuffer source;
        load({s, someXform(1), true}, source);
        vxFrequencyBuffer destination(5, 5);
        vfForwardFFT(source, destination);
        expectState(oracle::forward(s), someXform(1), destination);
        expectState(s, someXform(1), source);
    }
}

TEST(ForwardFFTOfBuffers, TransformsABufferIntoItself) {
    Random random(9);
    for (const oracle::Spectrum& s : someSpectra(random)) {
        vxFrequencyBuffer buffer;
        load({s, someXform(1), true}, buffer);
        vfForwardFFT(buffer, buffer);
        oracle::Spectrum expected = s; // Not sized again: nothing is assigned.
        expected.inverseComputed = false;
        expected.masked = 0;
        oracle::complexFFT2D(expected.data, expected.width, expected.height, 1, 0, expected.height);
        expectState(expected, someXform(1), buffer);
    }
}

TEST(ForwardFFTOfBuffers, OfAMaskedBufferIsUnmasked) {
    Random random(10);
    oracle::Spectrum s = randomSpectrum(random, 8, 8);
    s.masked = 1;
    vxFrequencyBuffer source;
    load({s, {}, true}, source);
    vxFrequencyBuffer destination;
    vfForwardFFT(source, destination);
    EXPECT_EQ(0, stateOf(destination).spectrum.masked);
    EXPECT_EQ(1, stateOf(source).spectrum.masked);
}

TEST(ForwardFFTOfBuffers, RefusesBeforeAnythingChanges) {
    Random random(11);
    const char* powers = "Size must be a power of 2.";
    const char* limit = "Width and Height must be no larger than 2048.";
    vxFrequencyBuffer destination;
    loadUsed(random, 4, 4, destination);
    const State before = stateOf(destination);

    const vxFrequencyBuffer empty;
    expectError<Defs::Uninitialized>([&] { vfForwardFFT(empty, destination); },
                                     "FrequencyBuffer has not been initialized");
    expectUnchanged(before, destination);

    const auto refused = [&](const oracle::Spectrum& s, const char* text) {
        vxFrequencyBuffer source;
        load({s, someXform(2), true}, source);
        expectError<Defs::InvalidSize>([&] { vfForwardFFT(source, destination); }, text);
        expectUnchanged(before, destination);
        expectState(s, someXform(2), source);
    };
    refused(rawSpectrum(3, 4, 3, 4), powers);
    refused(rawSpectrum(4, 3, 2, 3), powers);
    refused(rawSpectrum(3, 65536, 3, 5), powers);
    refused(rawSpectrum(65535, 1, 5, 1), powers);
    refused(rawSpectrum(65536, 1, 5, 1), limit);
    refused(rawSpectrum(1, 65536, 1, 5), limit);
    refused(rawSpectrum(4096, 1, 4096, 1), limit); // A copy could not have that size.
    refused(rawSpectrum(1, 4096, 1, 2049), limit);
    oracle::Spectrum consumed = rawSpectrum(3, 4, 3, 4);
    consumed.inverseComputed = true;
    refused(consumed, powers);
}

TEST(ForwardFFTOfBuffers, RefusesToTransformAnOddSizeIntoItself) {
    vxFrequencyBuffer buffer;
    const oracle::Spectrum odd = rawSpectrum(6, 4, 6, 4);
    load({odd, {}, true}, buffer);
    expectError<Defs::InvalidSize>([&] { vfForwardFFT(buffer, buffer); }, "Size must be a power of 2.");
    expectState(odd, {}, buffer);
    vxFrequencyBuffer empty;
    expectError<Defs::Uninitialized>([&] { vfForwardFFT(empty, empty); },
                                     "FrequencyBuffer has not been initialized");
}

TEST(ForwardFFTOfBuffers, TransformsALargeLoadedSizeIntoItself) {
    Random random(12);
    oracle::Spectrum s = randomSpectrum(random, 32768, 2);
    vxFrequencyBuffer buffer;
    load({s, {}, true}, buffer);
    vfForwardFFT(buffer, buffer);
    oracle::complexFFT2D(s.data, s.width, s.height, 1, 0, s.height);
    expectState(s, {}, buffer);
}

TEST(ForwardFFTOfBuffers, CanBeCancelledEverywhere) {
    Random random(13);
    const oracle::Spectrum s = randomSpectrum(random, 60, 33);
    vxFrequencyBuffer source;
    load({s, {}, true}, source);
    long k = 1;
    for (vxFrequencyBuffer destination; cancellation::cancelAt(k, [&] { vfForwardFFT(source, destination); });
         ++k) {
        expectState(s, {}, source);
        EXPECT_EQ(64, destination.width());
        vfForwardFFT(source, destination);
        expectState(oracle::forward(s), {}, destination);
        destination = vxFrequencyBuffer();
    }
    EXPECT_GT(k, 4);
}

} // namespace

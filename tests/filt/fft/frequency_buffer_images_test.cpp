#include "filt/fft/frequency_buffer.h"

#include "tests/oracle/frequency_buffer.h"
#include "tests/support/frequency_buffers.h"
#include "tests/support/frequency_errors.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <vector>

namespace {
using Defs = vxFrequencyDefs;
using Part = oracle::FrequencyBuffer::Part;
using support::BufferAccess;

constexpr Part parts[] = {Part::real, Part::imaginary, Part::magnitude, Part::phase};
constexpr double pi = 3.14159265358979323846;

vxPelBuffer<double> imageOf(const vxFrequencyBuffer& buffer, Part part, bool centered) {
    switch (part) {
    case Part::real:
        return buffer.getRealImage(centered);
    case Part::imaginary:
        return buffer.getImaginaryImage(centered);
    case Part::magnitude:
        return buffer.getMagnitudeImage(centered);
    default:
        return buffer.getPhaseImage(centered);
    }
}

double pelOf(const vxPelBuffer<double>& image, long x, long y) {
    return image.pointToRow(y)[x];
}

oracle::FrequencyBuffer transcribed(const vxFrequencyBuffer& buffer) {
    oracle::FrequencyBuffer result;
    result.width = BufferAccess::width(buffer);
    result.height = BufferAccess::height(buffer);
    result.storage = support::samplesOf(buffer);
    result.hasData = true;
    return result;
}

// NaNs need only be NaNs; everything else agrees bit for bit.
bool same(double a, double b) {
    return (std::isnan(a) && std::isnan(b)) ||
           std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

void expectImagesOfTheTranscription(const vxFrequencyBuffer& buffer) {
    const oracle::FrequencyBuffer expected = transcribed(buffer);
    for (Part part : parts) {
        for (bool centered : {false, true}) {
            const vxPelBuffer<double> image = imageOf(buffer, part, centered);
            const std::vector<double> pels = expected.image(part, centered);
            ASSERT_EQ(image.width(), expected.width);
            ASSERT_EQ(image.height(), expected.height);
            for (long y = 0; y < expected.height; ++y) {
                for (long x = 0; x < expected.width; ++x) {
                    ASSERT_TRUE(
                        same(pelOf(image, x, y), pels[static_cast<std::size_t>(y * expected.width + x)]))
                        << "part " << part << " centred " << centered << " at " << x << ' ' << y;
                }
            }
        }
    }
}

TEST(FrequencyBufferImages, zeroFrequencyIsInTheMiddleWhenCentred) {
    vxFrequencyBuffer buffer(4, 4);
    buffer.put(0, 0, {2.0, 0.0}, false);
    EXPECT_EQ(pelOf(buffer.getRealImage(false), 0, 0), 2.0);
    const vxPelBuffer<double> real = buffer.getRealImage(true);
    const vxPelBuffer<double> magnitude = buffer.getMagnitudeImage(true);
    for (long y = 0; y < 4; ++y) {
        for (long x = 0; x < 4; ++x) {
            const double expected = x == 2 && y == 2 ? 2.0 : 0.0;
            EXPECT_EQ(pelOf(real, x, y), expected);
            EXPECT_EQ(pelOf(magnitude, x, y), expected);
        }
    }
}

TEST(FrequencyBufferImages, haveTheAllocatedSize) {
    const vxFrequencyBuffer buffer(100, 60);
    for (Part part : parts) {
        const vxPelBuffer<double> image = imageOf(buffer, part, false);
        EXPECT_EQ(image.width(), 128);
        EXPECT_EQ(image.height(), 64);
    }
}

TEST(FrequencyBufferImages, leaveOffsetAndTransformAtTheirDefaults) {
    vxFrequencyBuffer buffer(4, 4);
    BufferAccess::offset(buffer, {3, 5});
    vx2XformCache cache;
    cache.xform(vx2XformLinear(vxXform<2>(vxMatrix<2>(2.0, 0.0, 0.0, 2.0), vxVector<2>(1.0, 1.0))));
    BufferAccess::xformCache(buffer, cache);
    for (Part part : parts) {
        const vxPelBuffer<double> image = imageOf(buffer, part, true);
        EXPECT_EQ(image.offset(), vxPair<long>(0, 0));
        EXPECT_EQ(image.xformCache().linearXform(), vxXform<2>());
    }
}

TEST(FrequencyBufferImages, phaseIsNormalised) {
    vxFrequencyBuffer buffer(8, 1);
    buffer.put(0, 0, {0.0, -1.0}, false);
    buffer.put(1, 0, {0.0, 0.0}, false);
    buffer.put(2, 0, {-1.0, 0.0}, false);
    buffer.put(3, 0, {1.0, 1.0}, false);
    buffer.put(4, 0, {-1.0, -0.0}, false);
    buffer.put(5, 0, {1.0, -1e-40}, false);
    const vxPelBuffer<double> phase = buffer.getPhaseImage(false);
    EXPECT_DOUBLE_EQ(pelOf(phase, 0, 0), 1.5 * pi);
    EXPECT_EQ(pelOf(phase, 1, 0), 0.0);
    EXPECT_DOUBLE_EQ(pelOf(phase, 2, 0), pi);
    EXPECT_DOUBLE_EQ(pelOf(phase, 3, 0), 0.25 * pi);
    EXPECT_DOUBLE_EQ(pelOf(phase, 4, 0), pi);
    EXPECT_LT(pelOf(phase, 5, 0), 2.0 * pi);
    EXPECT_GE(pelOf(phase, 5, 0), 0.0);
}

TEST(FrequencyBufferImages, magnitudeIsFormedInSinglePrecision) {
    vxFrequencyBuffer buffer(2, 1);
    buffer.put(0, 0, {3e19, 4e19}, false); // The squares overflow a float.
    buffer.put(1, 0, {0.1, 0.7}, false);
    const vxPelBuffer<double> magnitude = buffer.getMagnitudeImage(false);
    EXPECT_TRUE(std::isinf(pelOf(magnitude, 0, 0)));
    EXPECT_NE(pelOf(magnitude, 1, 0), std::hypot(static_cast<double>(0.1F), static_cast<double>(0.7F)));
}

TEST(FrequencyBufferImages, matchTheTranscription) {
    unsigned seed = 0;
    for (long width = 1; width <= 64; width *= 2) {
        for (long height = 1; height <= 64; height *= 2) {
            expectImagesOfTheTranscription(support::filled(width, height, ++seed, true));
        }
    }
}

TEST(FrequencyBufferImages, ofLoadedOddSizesFollowTheFormulas) {
    for (long width : {1L, 3L, 5L, 6L}) {
        for (long height : {1L, 2L, 3L, 7L}) {
            std::vector<float> samples(static_cast<std::size_t>(width * height * 2));
            float next = 0.0F;
            for (float& sample : samples) {
                sample = next += 1.0F;
            }
            vxFrequencyBuffer buffer;
            support::load(buffer, support::recordOf(width, height, width, height, samples).bytes());
            expectImagesOfTheTranscription(buffer);
        }
    }
}

TEST(FrequencyBufferImages, checkSamplesThenConsumed) {
    for (Part part : parts) {
        for (bool centered : {false, true}) {
            vxFrequencyBuffer buffer;
            support::setConsumed(buffer);
            support::expectError<Defs::Uninitialized>(
                [&] { static_cast<void>(imageOf(buffer, part, centered)); },
                "FrequencyBuffer has not been initialized");
            BufferAccess::setAndAllocate(buffer, 4, 4);
            support::setConsumed(buffer);
            support::expectError<Defs::InvalidBuffer>(
                [&] { static_cast<void>(imageOf(buffer, part, centered)); },
                "Cannot access frequency data once inverse has been computed.");
        }
    }
}
} // namespace

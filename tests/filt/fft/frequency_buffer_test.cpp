#include "filt/fft/frequency_buffer.h"

#include "kavstd/attention.h"
#include "tests/oracle/frequency_buffer.h"
#include "tests/support/failing_allocation.h"
#include "tests/support/frequency_buffers.h"
#include "tests/support/frequency_errors.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <functional>
#include <limits>
#include <memory>
#include <random>
#include <stdexcept>
#include <type_traits>

namespace {
using Defs = vxFrequencyDefs;
using support::BufferAccess;
using support::BufferState;
using support::expectError;
using support::filled;
using support::recordOf;

constexpr const char* uninitialized = "FrequencyBuffer has not been initialized";
constexpr const char* consumed = "Cannot access frequency data once inverse has been computed.";
constexpr const char* badCoord = "Coordinates are out of bounds";
constexpr const char* sizeLimit = "Width and Height must be no larger than 2048.";
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

vx2XformCache linearCache(const vxMatrix<2>& matrix, const vxVector<2>& translation) {
    vx2XformCache cache;
    cache.xform(vx2XformLinear(vxXform<2>(matrix, translation)));
    return cache;
}

// A transform that is not linear.
class Bent : public vx2Xform {
public:
    vxVector<2> mapPoint(const vxVector<2>& point) const override {
        return {point.x() * point.x(), point.y()};
    }
    std::unique_ptr<vx2Xform> clone() const override { return std::make_unique<Bent>(); }
};

vx2XformCache bentCache() {
    vx2XformCache cache;
    cache.xform(Bent());
    return cache;
}

vxPelBuffer<double> image(long width, long height, const std::function<double(long, long)>& pel) {
    vxPelBuffer<double> result(width, height, 32);
    for (long y = 0; y < height; ++y) {
        for (long x = 0; x < width; ++x) {
            result.pointToRow(y)[x] = pel(x, y);
        }
    }
    return result;
}

TEST(FrequencyBuffer, isAPlainValueClass) {
    static_assert(!std::is_polymorphic_v<vxFrequencyBuffer>);
    static_assert(std::is_copy_constructible_v<vxFrequencyBuffer>);
    static_assert(std::is_copy_assignable_v<vxFrequencyBuffer>);
}

TEST(FrequencyBuffer, startsUninitialized) {
    const vxFrequencyBuffer buffer;
    expectError<Defs::Uninitialized>([&] { static_cast<void>(buffer.width()); }, uninitialized);
    expectError<Defs::Uninitialized>([&] { static_cast<void>(buffer.height()); }, uninitialized);
    const BufferState state(buffer);
    EXPECT_FALSE(state.initialized);
    EXPECT_EQ(state.width, 0);
    EXPECT_EQ(state.height, 0);
    EXPECT_EQ(state.sourceWidth, 0);
    EXPECT_EQ(state.sourceHeight, 0);
    EXPECT_EQ(state.masked, 0);
    EXPECT_EQ(state.maskedMiny, 0);
    EXPECT_EQ(state.maskedMaxy, 0);
    EXPECT_FALSE(state.consumed);
    EXPECT_TRUE(state.linear);
    EXPECT_EQ(state.xform, vxXform<2>());
    EXPECT_EQ(state.offset, vxPair<long>(0, 0));
}

TEST(FrequencyBuffer, roundsSizesUpAndKeepsTheRequest) {
    const vxFrequencyBuffer buffer(100, 60);
    EXPECT_EQ(buffer.width(), 128);
    EXPECT_EQ(buffer.height(), 64);
    EXPECT_EQ(BufferAccess::sourceWidth(buffer), 100);
    EXPECT_EQ(BufferAccess::sourceHeight(buffer), 60);
    for (float sample : support::samplesOf(buffer)) {
        ASSERT_EQ(sample, 0.0F);
    }
}

TEST(FrequencyBuffer, roundsEveryRequest) {
    for (long request = -3; request <= 2048; ++request) {
        const vxFrequencyBuffer wide(request, 1);
        ASSERT_EQ(wide.width(), oracle::FrequencyBuffer::roundUp(request));
        ASSERT_EQ(wide.height(), 1);
        const vxFrequencyBuffer high(1, request);
        ASSERT_EQ(high.height(), oracle::FrequencyBuffer::roundUp(request));
    }
}

TEST(FrequencyBuffer, keepsRequestsBelowOneAsTheyAre) {
    const vxFrequencyBuffer zero(0, 0);
    EXPECT_EQ(zero.width(), 1);
    EXPECT_EQ(zero.height(), 1);
    EXPECT_EQ(BufferAccess::sourceWidth(zero), 0);
    EXPECT_EQ(BufferAccess::sourceHeight(zero), 0);
    const vxFrequencyBuffer negative(LONG_MIN, -1);
    EXPECT_EQ(negative.width(), 1);
    EXPECT_EQ(BufferAccess::sourceWidth(negative), LONG_MIN);
    EXPECT_EQ(BufferAccess::sourceHeight(negative), -1);
}

TEST(FrequencyBuffer, sizeLimit) {
    const vxFrequencyBuffer largest(2048, 2048);
    EXPECT_EQ(largest.width(), 2048);
    EXPECT_EQ(largest.height(), 2048);
    expectError<Defs::InvalidSize>([] { vxFrequencyBuffer(2049, 1); }, sizeLimit);
    expectError<Defs::InvalidSize>([] { vxFrequencyBuffer(1, 2049); }, sizeLimit);
    expectError<Defs::InvalidSize>([] { vxFrequencyBuffer(LONG_MAX, LONG_MIN); }, sizeLimit);
}

TEST(FrequencyBuffer, refusedSizeChangesNothing) {
    vxFrequencyBuffer buffer = filled(5, 3, 1);
    support::setMask(buffer, true, 1, 2);
    support::setConsumed(buffer);
    const BufferState before(buffer);
    expectError<Defs::InvalidSize>([&] { BufferAccess::setAndAllocate(buffer, 2049, 1); }, sizeLimit);
    expectError<Defs::InvalidSize>([&] { BufferAccess::setAndAllocate(buffer, 1, LONG_MAX); }, sizeLimit);
    EXPECT_EQ(BufferState(buffer), before);
}

TEST(FrequencyBuffer, samplesAreAligned) {
    for (long size = 1; size <= 64; size *= 2) {
        const vxFrequencyBuffer buffer(size, size);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(BufferAccess::data(buffer)) % 16, 0U);
    }
}

TEST(FrequencyBuffer, sizedAgainToTheSameRoundedSizeKeepsStorageAndSamples) {
    vxFrequencyBuffer buffer = filled(100, 60, 1);
    const float* data = BufferAccess::data(buffer);
    const std::vector<float> samples = support::samplesOf(buffer);
    support::setMask(buffer, true, 3, 9);
    support::setConsumed(buffer);
    BufferAccess::setAndAllocate(buffer, 65, 33);
    EXPECT_EQ(BufferAccess::data(buffer), data);
    EXPECT_EQ(support::samplesOf(buffer), samples);
    EXPECT_EQ(BufferAccess::sourceWidth(buffer), 65);
    EXPECT_EQ(BufferAccess::sourceHeight(buffer), 33);
    EXPECT_EQ(BufferAccess::masked(buffer), 0);
    EXPECT_EQ(BufferAccess::maskedMiny(buffer), 3);
    EXPECT_EQ(BufferAccess::maskedMaxy(buffer), 9);
    EXPECT_FALSE(BufferAccess::inverseComputed(buffer));
}

TEST(FrequencyBuffer, reuseAllocatesNothing) {
    vxFrequencyBuffer buffer(100, 60);
    const vxFrequencyBuffer source = filled(90, 50, 1);
    const failing_allocation::Scope scope;
    BufferAccess::setAndAllocate(buffer, 128, 64);
    buffer = source;
    EXPECT_EQ(scope.count(), 0);
}

TEST(FrequencyBuffer, plainCoordinates) {
    vxFrequencyBuffer buffer(8, 8);
    buffer.put(7, 7, {1.5, -2.5}, false);
    EXPECT_EQ(buffer.get(7, 7, false), vxPair<double>(1.5, -2.5));
    EXPECT_EQ(BufferAccess::data(buffer)[(7 * 8 + 7) * 2], 1.5F);
    EXPECT_EQ(BufferAccess::data(buffer)[(7 * 8 + 7) * 2 + 1], -2.5F);
    expectError<Defs::BadCoord>([&] { static_cast<void>(buffer.get(8, 0, false)); }, badCoord);
    expectError<Defs::BadCoord>([&] { static_cast<void>(buffer.get(0, 8, false)); }, badCoord);
    expectError<Defs::BadCoord>([&] { static_cast<void>(buffer.get(-1, 0, false)); }, badCoord);
    expectError<Defs::BadCoord>([&] { static_cast<void>(buffer.get(0, -1, false)); }, badCoord);
}

TEST(FrequencyBuffer, centredCoordinates) {
    vxFrequencyBuffer buffer = filled(8, 8, 1);
    EXPECT_EQ(buffer.get(-4, -4, true), buffer.get(4, 4, false));
    EXPECT_EQ(buffer.get(0, 0, true), buffer.get(0, 0, false));
    EXPECT_EQ(buffer.get(-1, 0, true), buffer.get(7, 0, false));
    EXPECT_EQ(buffer.get(3, -1, true), buffer.get(3, 7, false));
    expectError<Defs::BadCoord>([&] { static_cast<void>(buffer.get(4, 0, true)); }, badCoord);
    expectError<Defs::BadCoord>([&] { static_cast<void>(buffer.get(0, 4, true)); }, badCoord);
    expectError<Defs::BadCoord>([&] { static_cast<void>(buffer.get(-5, 0, true)); }, badCoord);
    expectError<Defs::BadCoord>([&] { static_cast<void>(buffer.get(0, -5, true)); }, badCoord);
}

TEST(FrequencyBuffer, centredRangeFollowsTheAllocatedSize) {
    const vxFrequencyBuffer buffer = filled(7, 5, 1);
    EXPECT_EQ(buffer.get(-4, 3, true), buffer.get(4, 3, false));
    expectError<Defs::BadCoord>([&] { static_cast<void>(buffer.get(4, 0, true)); }, badCoord);
    expectError<Defs::BadCoord>([&] { static_cast<void>(buffer.get(-5, 0, true)); }, badCoord);
}

TEST(FrequencyBuffer, coordinateRuleOfEverySize) {
    for (long width : {1L, 2L, 4L, 16L}) {
        for (long height : {1L, 2L, 8L}) {
            vxFrequencyBuffer buffer(width, height);
            oracle::FrequencyBuffer expected;
            expected.setAndAllocate(width, height);
            for (bool centered : {false, true}) {
                for (long y :
                     {LONG_MIN, -9L, -8L, -5L, -4L, -2L, -1L, 0L, 1L, 2L, 3L, 4L, 7L, 8L, 9L, LONG_MAX}) {
                    for (long x : {LONG_MIN, -9L, -8L, -2L, -1L, 0L, 1L, 2L, 7L, 8L, 15L, 16L, LONG_MAX}) {
                        const long place = expected.locate(x, y, centered);
                        if (place < 0) {
                            ASSERT_THROW(static_cast<void>(buffer.get(x, y, centered)), Defs::BadCoord);
                            continue;
                        }
                        buffer.put(x, y, {static_cast<double>(x), static_cast<double>(y)}, centered);
                        ASSERT_EQ(BufferAccess::data(buffer)[place], static_cast<float>(x));
                        ASSERT_EQ(BufferAccess::data(buffer)[place + 1], static_cast<float>(y));
                    }
                }
            }
        }
    }
}

TEST(FrequencyBuffer, partsAreAccessedSeparately) {
    vxFrequencyBuffer buffer(4, 2);
    buffer.put(1, 1, {3.0, 4.0}, false);
    buffer.putReal(1, 1, 5.0, false);
    EXPECT_EQ(buffer.get(1, 1, false), vxPair<double>(5.0, 4.0));
    buffer.putImaginary(1, -1, -6.0, true);
    EXPECT_EQ(buffer.getReal(1, 1, false), 5.0);
    EXPECT_EQ(buffer.getImaginary(1, 1, false), -6.0);
    EXPECT_EQ(buffer.getImaginary(1, -1, true), -6.0);
    EXPECT_EQ(buffer.getReal(1, -1, true), 5.0);
}

TEST(FrequencyBuffer, valuesPassThroughSinglePrecision) {
    vxFrequencyBuffer buffer(1, 1);
    buffer.put(0, 0, {1e-50, 3.0}, false);
    EXPECT_EQ(buffer.get(0, 0, false), vxPair<double>(0.0, 3.0));
    buffer.put(0, 0, {0.1, 1e300}, false);
    EXPECT_EQ(buffer.getReal(0, 0, false), static_cast<double>(0.1F));
    EXPECT_EQ(buffer.getImaginary(0, 0, false), std::numeric_limits<double>::infinity());
    buffer.putReal(0, 0, 16777217.0, false); // A tie: to even.
    EXPECT_EQ(buffer.getReal(0, 0, false), 16777216.0);
    buffer.putImaginary(0, 0, nan, false);
    EXPECT_TRUE(std::isnan(buffer.getImaginary(0, 0, false)));
    buffer.putImaginary(0, 0, -0.0, false);
    EXPECT_TRUE(std::signbit(buffer.getImaginary(0, 0, false)));
}

// Every accessor, at a place.
std::vector<std::function<void(vxFrequencyBuffer&)>> accessorsAt(long x, long y, bool centered) {
    return {[=](vxFrequencyBuffer& b) { static_cast<void>(b.get(x, y, centered)); },
            [=](vxFrequencyBuffer& b) { static_cast<void>(b.getReal(x, y, centered)); },
            [=](vxFrequencyBuffer& b) { static_cast<void>(b.getImaginary(x, y, centered)); },
            [=](vxFrequencyBuffer& b) {
                b.put(x, y, {7.0, 8.0}, centered);
            },
            [=](vxFrequencyBuffer& b) { b.putReal(x, y, 7.0, centered); },
            [=](vxFrequencyBuffer& b) { b.putImaginary(x, y, 7.0, centered); }};
}

TEST(FrequencyBuffer, accessorsCheckSamplesThenConsumedThenCoordinates) {
    for (const auto& access : accessorsAt(99, 99, false)) {
        vxFrequencyBuffer empty;
        support::setConsumed(empty);
        expectError<Defs::Uninitialized>([&] { access(empty); }, uninitialized);
        vxFrequencyBuffer spent = filled(4, 4, 1);
        support::setConsumed(spent);
        const BufferState before(spent);
        expectError<Defs::InvalidBuffer>([&] { access(spent); }, consumed);
        EXPECT_EQ(BufferState(spent), before);
    }
    for (bool centered : {false, true}) {
        for (const auto& access : accessorsAt(99, 0, centered)) {
            vxFrequencyBuffer buffer = filled(4, 4, 1);
            const BufferState before(buffer);
            expectError<Defs::BadCoord>([&] { access(buffer); }, badCoord);
            EXPECT_EQ(BufferState(buffer), before);
        }
    }
}

TEST(FrequencyBuffer, consumedBufferStillTellsItsSize) {
    vxFrequencyBuffer buffer(4, 2);
    support::setConsumed(buffer);
    EXPECT_EQ(buffer.width(), 4);
    EXPECT_EQ(buffer.height(), 2);
}

TEST(FrequencyBufferCrop, checksInOrder) {
    const auto crop = [](const vxFrequencyBuffer& source, long width, long height) {
        return [&source, width, height] { vxFrequencyBuffer(source, width, height); };
    };
    const vxFrequencyBuffer empty;
    const vxFrequencyBuffer source(64, 64);
    using Size = Defs::InvalidSize;
    // Each check comes before the ones below it, all of which fail too.
    expectError<Size>(crop(empty, 1, 1), "Copied width must be > 1");
    expectError<Size>(crop(empty, LONG_MIN, 1), "Copied width must be > 1");
    expectError<Size>(crop(empty, 1, 32), "Copied width must be > 1");
    expectError<Size>(crop(empty, 65, 1), "Copied height must be > 1");
    expectError<Size>(crop(empty, 65, LONG_MIN), "Copied height must be > 1");
    expectError<Defs::Uninitialized>(crop(empty, 65, 65), uninitialized);
    expectError<Size>(crop(source, 65, 65), "Copied width cannot be greater than source width");
    expectError<Size>(crop(source, LONG_MAX, 65), "Copied width cannot be greater than source width");
    expectError<Size>(crop(source, 48, 65), "Copied height cannot be greater than source height");
    expectError<Size>(crop(source, 48, LONG_MAX), "Copied height cannot be greater than source height");
    expectError<Size>(crop(source, 48, 48), "Unsupported width");
    expectError<Size>(crop(source, 48, 32), "Unsupported width");
    expectError<Size>(crop(source, 32, 48), "Unsupported height");
    expectError<Size>(crop(source, 1, 65), "Copied width must be > 1");
    expectError<Size>(crop(source, 65, 1), "Copied height must be > 1");
}

TEST(FrequencyBufferCrop, keepsTheLowestFrequencies) {
    vxFrequencyBuffer source(256, 256);
    for (long v = 0; v < 256; ++v) {
        for (long u = 0; u < 256; ++u) {
            source.put(u, v, {static_cast<double>(u), static_cast<double>(v)}, false);
        }
    }
    const vxFrequencyBuffer cropped(source, 64, 32);
    EXPECT_EQ(cropped.width(), 64);
    EXPECT_EQ(cropped.height(), 32);
    for (long v = 0; v < 32; ++v) {
        for (long u = 0; u < 64; ++u) {
            const vxPair<double> expected(static_cast<double>(u < 32 ? u : 192 + u),
                                          static_cast<double>(v < 16 ? v : 224 + v));
            ASSERT_EQ(cropped.get(u, v, false), expected);
        }
    }
    for (long v = -16; v < 16; ++v) {
        for (long u = -32; u < 32; ++u) {
            ASSERT_EQ(cropped.get(u, v, true), source.get(u, v, true));
        }
    }
}

TEST(FrequencyBufferCrop, scalesTheSourceSize) {
    const vxFrequencyBuffer source(200, 200);
    const vxFrequencyBuffer cropped(source, 64, 32);
    EXPECT_EQ(BufferAccess::sourceWidth(cropped), 50);
    EXPECT_EQ(BufferAccess::sourceHeight(cropped), 25);
    const vxFrequencyBuffer odd(vxFrequencyBuffer(129, 255), 64, 2);
    EXPECT_EQ(BufferAccess::sourceWidth(odd), 32); // 32.25
    EXPECT_EQ(BufferAccess::sourceHeight(odd), 1); // 1.99
}

TEST(FrequencyBufferCrop, carriesStateButNotTheMask) {
    vxFrequencyBuffer source = filled(8, 8, 1);
    support::setMask(source, true, 2, 5);
    support::setConsumed(source);
    BufferAccess::offset(source, {-7, LONG_MAX});
    const vxFrequencyBuffer cropped(source, 4, 4);
    EXPECT_EQ(BufferAccess::masked(cropped), 0);
    EXPECT_EQ(BufferAccess::maskedMiny(cropped), 0);
    EXPECT_EQ(BufferAccess::maskedMaxy(cropped), 0);
    EXPECT_TRUE(BufferAccess::inverseComputed(cropped));
    EXPECT_EQ(BufferAccess::offset(cropped), vxPair<long>(-7, LONG_MAX));
}

TEST(FrequencyBufferCrop, scalesALinearTransform) {
    vxFrequencyBuffer source(8, 8);
    BufferAccess::xformCache(source, linearCache({2.0, 3.0, 5.0, 7.0}, {11.0, 13.0}));
    const vxFrequencyBuffer cropped(source, 2, 4);
    ASSERT_TRUE(BufferAccess::xformCache(cropped).isLinear());
    // The source's transform on the left, the scaling by (1/4, 1/2) on the right.
    EXPECT_EQ(BufferAccess::xformCache(cropped).linearXform(),
              vxXform<2>(vxMatrix<2>(0.5, 1.5, 1.25, 3.5), vxVector<2>(11.0, 13.0)));
    // The whole size is composed too.
    const vxFrequencyBuffer same(source, 8, 8);
    EXPECT_EQ(BufferAccess::xformCache(same).linearXform(), BufferAccess::xformCache(source).linearXform());
}

TEST(FrequencyBufferCrop, keepsAnyOtherTransform) {
    vxFrequencyBuffer source(8, 8);
    BufferAccess::xformCache(source, bentCache());
    const vxFrequencyBuffer cropped(source, 2, 4);
    EXPECT_EQ(&BufferAccess::xformCache(cropped).xform(), &BufferAccess::xformCache(source).xform());
}

TEST(FrequencyBufferCrop, ofALoadedBufferAboveTheLimit) {
    vxFrequencyBuffer source;
    support::load(source, recordOf(4098, 2, 4098, 2, std::vector<float>(4098 * 2 * 2, 1.0F)).bytes());
    ASSERT_EQ(source.width(), 4098);
    // Its own size is not a power of two; one that is, above the limit, is refused by the limit.
    expectError<Defs::InvalidSize>([&] { vxFrequencyBuffer(source, 4098, 2); }, "Unsupported width");
    expectError<Defs::InvalidSize>([&] { vxFrequencyBuffer(source, 4096, 2); }, sizeLimit);
    const vxFrequencyBuffer cropped(source, 2048, 2);
    EXPECT_EQ(cropped.get(2047, 1, false), vxPair<double>(1.0, 1.0));
}

TEST(FrequencyBufferFromImages, interleavesAndPads) {
    vxPelBuffer<double> real =
        image(5, 3, [](long x, long y) { return static_cast<double>(10 * y + x) + 0.1; });
    vxPelBuffer<double> imaginary =
        image(5, 3, [](long x, long y) { return -static_cast<double>(10 * y + x); });
    real.offset(3, -4);
    imaginary.offset(3, -4);
    real.copyXforms(linearCache({2.0, 0.0, 0.0, 3.0}, {1.0, 2.0}));
    imaginary.copyXforms(linearCache({9.0, 0.0, 0.0, 9.0}, {9.0, 9.0}));
    const vxFrequencyBuffer buffer(real, imaginary);
    EXPECT_EQ(buffer.width(), 8);
    EXPECT_EQ(buffer.height(), 4);
    const BufferState state(buffer);
    EXPECT_EQ(state.sourceWidth, 5);
    EXPECT_EQ(state.sourceHeight, 3);
    EXPECT_EQ(state.offset, vxPair<long>(3, -4));
    EXPECT_EQ(state.xform, vxXform<2>(vxMatrix<2>(2.0, 0.0, 0.0, 3.0), vxVector<2>(1.0, 2.0)));
    EXPECT_EQ(state.masked, 0);
    EXPECT_FALSE(state.consumed);
    for (long y = 0; y < 4; ++y) {
        for (long x = 0; x < 8; ++x) {
            const double value = static_cast<double>(10 * y + x);
            const vxPair<double> expected =
                x < 5 && y < 3 ? vxPair<double>(static_cast<double>(static_cast<float>(value + 0.1)), -value)
                               : vxPair<double>();
            ASSERT_EQ(buffer.get(x, y, false), expected) << x << ' ' << y;
        }
    }
}

TEST(FrequencyBufferFromImages, followsEachRowUpdate) {
    double upsideDown[] = {5.0, 6.0, 0.0, 3.0, 4.0, 0.0, 1.0, 2.0};
    double wide[] = {1.0, 2.0, 0.0, 0.0, 0.0, 3.0, 4.0, 0.0, 0.0, 0.0, 5.0, 6.0};
    const vxPelBuffer_const<double> real(upsideDown + 6, 2, 3, -3);
    const vxPelBuffer_const<double> imaginary(wide, 2, 3, 5);
    const vxFrequencyBuffer buffer(real, imaginary);
    for (long y = 0; y < 3; ++y) {
        for (long x = 0; x < 2; ++x) {
            const auto value = static_cast<double>(2 * y + x + 1);
            EXPECT_EQ(buffer.get(x, y, false), vxPair<double>(value, value));
        }
    }
}

TEST(FrequencyBufferFromImages, checksInOrder) {
    const vxPelBuffer<double> unbound;
    const vxPelBuffer<double> small(2, 2);
    const vxPelBuffer<double> high(2, 3);
    const vxPelBuffer<double> wide(3, 2);
    vxPelBuffer<double> moved(2, 2);
    moved.offset(1, 0);
    const vxPelBuffer<double> large(2049, 1);
    const vxPelBuffer<double> largeHigh(2049, 2);
    const auto build = [](const vxPelBuffer<double>& real, const vxPelBuffer<double>& imaginary) {
        return [&real, &imaginary] { vxFrequencyBuffer(real, imaginary); };
    };
    const char* differ = "Real and Imaginary PelBuffers must have the same dimensions and offset.";
    expectError<Defs::UnboundWindow>(build(unbound, unbound), "");
    expectError<Defs::UnboundWindow>(build(unbound, small), "");
    expectError<Defs::UnboundWindow>(build(small, unbound), "");
    expectError<Defs::InvalidSize>(build(small, high), differ);
    expectError<Defs::InvalidSize>(build(small, wide), differ);
    expectError<Defs::InvalidSize>(build(small, moved), differ);
    expectError<Defs::InvalidSize>(build(large, largeHigh), differ);
    expectError<Defs::InvalidSize>(build(large, large), sizeLimit);
}

TEST(FrequencyBufferFromImages, valuesAreRounded) {
    const double values[] = {1e-50, -1e-50, 1e300, -1e300, nan, 0.1, -0.0, 1e-40};
    vxPelBuffer<double> real = image(8, 1, [&](long x, long) { return values[x]; });
    const vxFrequencyBuffer buffer(real, real);
    for (long x = 0; x < 8; ++x) {
        const float expected = static_cast<float>(values[x]);
        for (int part = 0; part < 2; ++part) {
            const float found = BufferAccess::data(buffer)[2 * x + part];
            EXPECT_EQ(std::isnan(found), std::isnan(expected));
            EXPECT_TRUE(std::isnan(expected) ||
                        std::bit_cast<std::uint32_t>(found) == std::bit_cast<std::uint32_t>(expected));
        }
    }
}

TEST(FrequencyBufferFromImages, canBeCancelledOnce) {
    const vxPelBuffer<double> real(5, 3);
    long checks = 0;
    {
        const vxAttention::Scope scope([&] { ++checks; });
        vxFrequencyBuffer(real, real);
    }
    EXPECT_EQ(checks, 1);
    const vxAttention::Scope scope([] { throw std::runtime_error("cancelled"); });
    EXPECT_THROW(vxFrequencyBuffer(real, real), std::runtime_error);
}

TEST(FrequencyBufferAssignment, copiesEverything) {
    vxFrequencyBuffer source = filled(5, 3, 1, true);
    support::setMask(source, true, 2, 3);
    BufferAccess::offset(source, {4, -5});
    BufferAccess::xformCache(source, linearCache({2.0, 0.0, 0.0, 3.0}, {1.0, 2.0}));
    support::setConsumed(source);
    const vxFrequencyBuffer copy(source);
    EXPECT_EQ(BufferState(copy), BufferState(source));
    EXPECT_NE(BufferAccess::data(copy), BufferAccess::data(source));
    vxFrequencyBuffer assigned = filled(9, 9, 2);
    EXPECT_EQ(&(assigned = source), &assigned);
    EXPECT_EQ(BufferState(assigned), BufferState(source));
}

TEST(FrequencyBufferAssignment, toItselfDoesNothing) {
    vxFrequencyBuffer buffer(filled(129, 129, 1), 64, 64); // Its copy would be 32 x 32.
    support::setMask(buffer, true, 1, 2);
    const BufferState before(buffer);
    const vxFrequencyBuffer& same = buffer;
    buffer = same;
    EXPECT_EQ(BufferState(buffer), before);
}

TEST(FrequencyBufferAssignment, fromAnUninitializedBuffer) {
    vxFrequencyBuffer buffer = filled(5, 3, 1);
    support::setMask(buffer, true, 2, 3);
    support::setConsumed(buffer);
    BufferAccess::offset(buffer, {4, -5});
    BufferAccess::xformCache(buffer, linearCache({2.0, 0.0, 0.0, 3.0}, {1.0, 2.0}));
    BufferState expected(buffer);
    expected.initialized = false;
    expected.masked = 0;
    expected.samples.clear();
    buffer = vxFrequencyBuffer();
    EXPECT_EQ(BufferState(buffer), expected); // Nothing else changes.
    expectError<Defs::Uninitialized>([&] { static_cast<void>(buffer.width()); }, uninitialized);
}

TEST(FrequencyBufferAssignment, afterBecomingUninitializedTheStorageIsUsedAgain) {
    vxFrequencyBuffer buffer = filled(5, 3, 1);
    const std::vector<float> samples = support::samplesOf(buffer);
    buffer = vxFrequencyBuffer();
    BufferAccess::setAndAllocate(buffer, 8, 4);
    EXPECT_EQ(support::samplesOf(buffer), samples);
}

TEST(FrequencyBufferAssignment, derivesTheSizeFromTheSourceSize) {
    const vxFrequencyBuffer source = filled(129, 129, 1);
    ASSERT_EQ(source.width(), 256);
    const vxFrequencyBuffer cropped(source, 64, 64);
    ASSERT_EQ(BufferAccess::sourceWidth(cropped), 32);
    vxFrequencyBuffer assigned;
    assigned = cropped;
    EXPECT_EQ(assigned.width(), 32);
    EXPECT_EQ(assigned.height(), 32);
    std::vector<float> first = support::samplesOf(cropped);
    first.resize(32 * 32 * 2);
    EXPECT_EQ(support::samplesOf(assigned), first);
    EXPECT_EQ(BufferState(vxFrequencyBuffer(cropped)), BufferState(assigned));
}

TEST(FrequencyBufferAssignment, zeroesWhatTheSourceDoesNotHave) {
    // Loaded as 3 x 3; a copy is 4 x 4.
    const std::vector<float> samples(3 * 3 * 2, 1.0F);
    vxFrequencyBuffer source;
    support::load(source, recordOf(3, 3, 3, 3, samples).bytes());
    vxFrequencyBuffer assigned = filled(4, 4, 1);
    assigned = source;
    EXPECT_EQ(assigned.width(), 4);
    std::vector<float> expected = samples;
    expected.resize(4 * 4 * 2, 0.0F);
    EXPECT_EQ(support::samplesOf(assigned), expected);
}

TEST(FrequencyBufferAssignment, ofABufferAboveTheLimitIsRefused) {
    vxFrequencyBuffer large;
    support::load(large, recordOf(4096, 1, 4096, 1, std::vector<float>(4096 * 2)).bytes());
    vxFrequencyBuffer assigned = filled(4, 4, 1);
    const BufferState before(assigned);
    expectError<Defs::InvalidSize>([&] { assigned = large; }, sizeLimit);
    EXPECT_EQ(BufferState(assigned), before);
    expectError<Defs::InvalidSize>([&] { vxFrequencyBuffer{large}; }, sizeLimit);
}

TEST(FrequencyBufferEquality, uninitialized) {
    EXPECT_TRUE(vxFrequencyBuffer() == vxFrequencyBuffer());
    EXPECT_FALSE(vxFrequencyBuffer() == vxFrequencyBuffer(1, 1));
    EXPECT_FALSE(vxFrequencyBuffer(1, 1) == vxFrequencyBuffer());
    vxFrequencyBuffer emptied(8, 8);
    emptied = vxFrequencyBuffer();
    EXPECT_TRUE(emptied == vxFrequencyBuffer());
}

TEST(FrequencyBufferEquality, eachFieldCounts) {
    const vxFrequencyBuffer buffer = filled(5, 3, 1);
    const auto differs = [&](const std::function<void(vxFrequencyBuffer&)>& change) {
        vxFrequencyBuffer other(buffer);
        change(other);
        return !(buffer == other) && !(other == buffer);
    };
    EXPECT_FALSE(differs([](vxFrequencyBuffer&) {}));
    EXPECT_TRUE(differs([](vxFrequencyBuffer& b) { BufferAccess::setAndAllocate(b, 6, 3); }));
    EXPECT_TRUE(differs([](vxFrequencyBuffer& b) { BufferAccess::setAndAllocate(b, 5, 4); }));
    EXPECT_TRUE(differs([](vxFrequencyBuffer& b) { b = filled(9, 3, 1); }));
    EXPECT_TRUE(differs([](vxFrequencyBuffer& b) { b = filled(5, 5, 1); }));
    EXPECT_TRUE(differs([](vxFrequencyBuffer& b) { support::setConsumed(b); }));
    EXPECT_TRUE(differs([](vxFrequencyBuffer& b) { support::setMask(b, true, 0, 0); }));
    EXPECT_TRUE(differs([](vxFrequencyBuffer& b) { BufferAccess::offset(b, {1, 0}); }));
    EXPECT_TRUE(differs([](vxFrequencyBuffer& b) { BufferAccess::offset(b, {0, 1}); }));
    EXPECT_TRUE(differs([](vxFrequencyBuffer& b) { b.putReal(0, 0, 2000.0, false); }));
    EXPECT_TRUE(differs([](vxFrequencyBuffer& b) { b.putImaginary(7, 3, 2000.0, false); }));
    EXPECT_TRUE(differs([](vxFrequencyBuffer& b) { b.putImaginary(7, 3, -2000.0, false); }));
}

TEST(FrequencyBufferEquality, bandCountsOnlyWhileMasked) {
    vxFrequencyBuffer a(4, 4);
    vxFrequencyBuffer b(4, 4);
    support::setMask(a, false, 1, 2);
    EXPECT_TRUE(a == b);
    support::setMask(a, true, 1, 2);
    support::setMask(b, true, 1, 2);
    EXPECT_TRUE(a == b);
    support::setMask(b, true, 0, 2);
    EXPECT_FALSE(a == b);
    support::setMask(b, true, 1, 3);
    EXPECT_FALSE(a == b);
}

TEST(FrequencyBufferEquality, ignoresTransforms) {
    const vxFrequencyBuffer a(4, 4);
    vxFrequencyBuffer b(4, 4);
    BufferAccess::xformCache(b, linearCache({2.0, 0.0, 0.0, 3.0}, {1.0, 2.0}));
    EXPECT_TRUE(a == b);
}

TEST(FrequencyBufferEquality, aNaNEqualsAnything) {
    vxFrequencyBuffer a(1, 1);
    vxFrequencyBuffer b(1, 1);
    a.put(0, 0, {nan, 1.0}, false);
    b.put(0, 0, {5.0, nan}, false);
    EXPECT_TRUE(a == b);
    EXPECT_TRUE(b == a);
    EXPECT_TRUE(a == a);
    a.put(0, 0, {0.0, 0.0}, false);
    b.put(0, 0, {-0.0, 1e-45}, false);
    EXPECT_FALSE(a == b);
    b.put(0, 0, {-0.0, 0.0}, false);
    EXPECT_TRUE(a == b);
}

TEST(FrequencyBufferMemory, failureWhileSizingLeavesItUninitialized) {
    for (long size : {4L, 512L}) { // Shrinking needs none, growing does.
        vxFrequencyBuffer buffer = filled(64, 64, 1);
        const auto grow = [&] { BufferAccess::setAndAllocate(buffer, size, size); };
        const long failures = failing_allocation::failEachAllocation(grow, [&](bool threw) {
            EXPECT_TRUE(threw);
            expectError<Defs::Uninitialized>([&] { static_cast<void>(buffer.width()); }, uninitialized);
        });
        EXPECT_EQ(failures, size == 512 ? 1 : 0);
        EXPECT_EQ(buffer.width(), size);
        support::fill(buffer, 3); // Every sample is there.
    }
}

// Random sequences of operations on a few buffers, compared with the transcription after each.
class Sequence {
public:
    explicit Sequence(unsigned seed) : random_(seed) {}

    void step() {
        const std::size_t i = pick(count);
        const std::size_t j = pick(count);
        switch (pick(8)) {
        case 0:
            size(i);
            break;
        case 1:
            buffers_[i] = buffers_[j];
            expected_[i].assign(expected_[j]);
            break;
        case 2:
            crop(i, j);
            break;
        case 3:
            mask(i);
            break;
        case 4:
            support::setConsumed(buffers_[i]);
            expected_[i].inverseComputed = true;
            break;
        case 5:
            BufferAccess::offset(buffers_[i], {static_cast<long>(j), 2});
            expected_[i].offsetX = static_cast<long>(j);
            expected_[i].offsetY = 2;
            break;
        default:
            put(i);
            break;
        }
        compare(i);
        EXPECT_EQ(buffers_[i] == buffers_[j], expected_[i].equals(expected_[j]));
    }

private:
    static constexpr std::size_t count = 4;

    std::size_t pick(std::size_t below) { return random_() % below; }
    long pickSize() { return static_cast<long>(pick(20)) - 1; }

    void size(std::size_t i) {
        const long width = pickSize();
        const long height = pickSize();
        BufferAccess::setAndAllocate(buffers_[i], width, height);
        expected_[i].setAndAllocate(width, height);
    }

    void crop(std::size_t i, std::size_t j) {
        const oracle::FrequencyBuffer& source = expected_[j];
        if (!source.hasData || source.width < 2 || source.height < 2) {
            return;
        }
        const long width = std::max(2L, source.width >> pick(3));
        const long height = std::max(2L, source.height >> pick(3));
        const vxFrequencyBuffer cropped(buffers_[j], width, height);
        const oracle::FrequencyBuffer expectedCrop = oracle::FrequencyBuffer::crop(source, width, height);
        expectSame(cropped, expectedCrop);
        buffers_[i] = cropped;
        expected_[i].assign(expectedCrop);
    }

    void mask(std::size_t i) {
        const bool masked = pick(2) == 0;
        const auto low = static_cast<long>(pick(3));
        support::setMask(buffers_[i], masked, low, 4);
        expected_[i].masked = masked ? 1 : 0;
        expected_[i].maskedMiny = low;
        expected_[i].maskedMaxy = 4;
    }

    void put(std::size_t i) {
        oracle::FrequencyBuffer& expected = expected_[i];
        if (!expected.hasData || expected.inverseComputed) {
            return;
        }
        const bool centered = pick(2) == 0;
        const long x = pickSize() - (centered ? 8 : 0);
        const long y = pickSize() - (centered ? 8 : 0);
        const float value = floats_();
        const long place = expected.locate(x, y, centered);
        if (place < 0) {
            EXPECT_THROW(buffers_[i].putReal(x, y, 1.0, centered), Defs::BadCoord);
            return;
        }
        expected.storage[static_cast<std::size_t>(place)] = value;
        buffers_[i].putReal(x, y, static_cast<double>(value), centered);
    }

    void compare(std::size_t i) { expectSame(buffers_[i], expected_[i]); }

    static void expectSame(const vxFrequencyBuffer& buffer, const oracle::FrequencyBuffer& expected) {
        const BufferState state(buffer);
        ASSERT_EQ(state.initialized, expected.hasData);
        EXPECT_EQ(state.width, expected.width);
        EXPECT_EQ(state.height, expected.height);
        EXPECT_EQ(state.sourceWidth, expected.sourceWidth);
        EXPECT_EQ(state.sourceHeight, expected.sourceHeight);
        EXPECT_EQ(state.masked, expected.masked);
        EXPECT_EQ(state.maskedMiny, expected.maskedMiny);
        EXPECT_EQ(state.maskedMaxy, expected.maskedMaxy);
        EXPECT_EQ(state.offset, vxPair<long>(expected.offsetX, expected.offsetY));
        EXPECT_EQ(state.consumed, expected.inverseComputed);
        if (expected.hasData) {
            std::vector<float> samples = expected.storage;
            samples.resize(static_cast<std::size_t>(expected.width * expected.height * 2));
            EXPECT_EQ(state.samples, support::bitsOf(samples));
        }
    }

    std::mt19937 random_;
    support::FloatSource floats_{99};
    vxFrequencyBuffer buffers_[count];
    oracle::FrequencyBuffer expected_[count];
};

TEST(FrequencyBuffer, randomSequencesMatchTheTranscription) {
    for (unsigned seed = 0; seed < 40; ++seed) {
        Sequence sequence(seed);
        for (int step = 0; step < 100; ++step) {
            sequence.step();
            ASSERT_FALSE(testing::Test::HasFailure()) << "seed " << seed << " step " << step;
        }
    }
}
} // namespace

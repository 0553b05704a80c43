#include "filt/fft/inverse_fft.h"

#include "filt/fft/forward_fft.h"
#include "tests/support/cancellation.h"
#include "tests/support/failing_allocation.h"
#include "tests/support/frequency_errors.h"
#include "tests/support/inverse_members.h"
#include "tests/support/transform_support.h"

#include <algorithm>
#include <array>
#include <optional>

using namespace transform_support;
using namespace inverse_members;
using Defs = vxFrequencyDefs;
using support::expectError;

namespace {

const char* const uninitialized = "FrequencyBuffer has not been initialized";
const char* const powers = "Size must be a power of 2.";
const char* const limit = "Width and Height must be no larger than 2048.";

// --- The six members

template <class M>
class InverseFFT : public testing::Test {
protected:
    Random random{21};
};
TYPED_TEST_SUITE(InverseFFT, Members);

TYPED_TEST(InverseFFT, MatchesTheTranscription) {
    for (const oracle::Spectrum& s : someSpectra(this->random)) {
        for (const bool normalize : {false, true}) {
            for (const bool inPlace : {false, true}) {
                checkMember<TypeParam>(this->random, s, normalize, inPlace);
            }
        }
    }
}

TYPED_TEST(InverseFFT, MatchesTheTranscriptionAtEveryOffset) {
    for (const vxPair<long>& offset : someOffsets()) {
        oracle::Spectrum s = randomSpectrum(this->random, 7, 6);
        s.offsetX = offset.x();
        s.offsetY = offset.y();
        for (const bool inPlace : {false, true}) {
            checkMember<TypeParam>(this->random, s, false, inPlace);
        }
    }
}

TYPED_TEST(InverseFFT, MatchesTheTranscriptionForSpecialValues) {
    const float infinity = std::numeric_limits<float>::infinity();
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const std::vector<float> values{0.0F,  -0.0F, 1.0F,     -1.0F,     1e-45F, 1e10F, -1e10F, 1e19F,
                                    3e38F, nan,   infinity, -infinity, 4.0e9F, 1e12F, 2e15F,  -0.5F};
    for (int i = 0; i < 200; ++i) {
        oracle::Spectrum s = oracle::newSpectrum(1 + i % 7, 1 + i % 5);
        s.inverseComputed = i % 4 != 0; // Spatial samples are read as they are.
        for (float& value : s.data) {
            value = this->random() % 3 == 0 ? values[this->random() % values.size()]
                                            : static_cast<float>(this->random() % 100000) * 0.25F;
        }
        if (i % 3 == 0) {
            s.data[0] = nan; // The first sample decides what the minimum starts from.
        }
        checkMember<TypeParam>(this->random, s, i % 2 == 0, false);
    }
    for (const float value : values) { // All samples equal: no range.
        oracle::Spectrum s = oracle::newSpectrum(3, 3);
        s.inverseComputed = true;
        for (float& sample : s.data) {
            sample = value;
        }
        checkMember<TypeParam>(this->random, s, true, false);
        checkMember<TypeParam>(this->random, s, false, false);
    }
}

TYPED_TEST(InverseFFT, LeavesBoundImagesAloneWhenThereIsNoSource) {
    for (const vxPair<long>& size : {vxPair<long>(0, 0), vxPair<long>(-3, 2), vxPair<long>(5, 0)}) {
        oracle::Spectrum s = randomSpectrum(this->random, size.x(), size.y());
        s.offsetX = 3;
        for (const bool inPlace : {false, true}) {
            checkMember<TypeParam>(this->random, s, true, inPlace);
        }
    }
}

TYPED_TEST(InverseFFT, RefusesBeforeAnythingChanges) {
    using M = TypeParam;
    Outputs<M> outputs(this->random, Placement::same, 4, 4, {});
    const Contents<M> before(outputs);
    vxFrequencyBuffer empty;
    for (const bool inPlace : {false, true}) {
        expectError<Defs::Uninitialized>([&] { M::run(empty, outputs, true, inPlace); }, uninitialized);
        const auto refused = [&](oracle::Spectrum s, const char* text) {
            vxFrequencyBuffer buffer;
            load({s, someXform(1), true}, buffer);
            expectError<Defs::InvalidSize>([&] { M::run(buffer, outputs, false, inPlace); }, text);
            expectState(s, someXform(1), buffer);
            before.expectIn(outputs);
        };
        refused(rawSpectrum(3, 4, 3, 4), powers);
        refused(rawSpectrum(4, 7, 3, 4), powers);
        refused(rawSpectrum(3, 65536, 3, 4), powers);
        refused(rawSpectrum(65536, 3, 3, 3), powers);
        refused(rawSpectrum(65536, 1, 3, 1), limit);
        refused(rawSpectrum(1, 65536, 1, 3), limit);
        if (!inPlace) {
            refused(rawSpectrum(4096, 1, 2049, 1), limit); // A copy could not have that size.
            refused(rawSpectrum(1, 4096, 1, 4096), limit);
        }
    }
}

TYPED_TEST(InverseFFT, DoesInPlaceWhatNoCopyCouldDo) {
    for (const auto& [width, height] : {std::pair(4096L, 1L), std::pair(1L, 32768L)}) {
        oracle::Spectrum s = rawSpectrum(width, height, width, height);
        s.data[1] = 3.0F;
        checkMember<TypeParam>(this->random, s, true, true);
    }
}

TYPED_TEST(InverseFFT, ReadsAConsumedBufferOfAnySize) {
    for (const auto& [width, height] : {std::pair(3L, 5L), std::pair(40000L, 1L), std::pair(6L, 4L)}) {
        oracle::Spectrum s = rawSpectrum(width, height, width, height);
        s.data[3] = 77.0F;
        s.inverseComputed = true;
        checkMember<TypeParam>(this->random, s, true, false);
    }
}

TYPED_TEST(InverseFFT, WithInPlaceConsumesTheBufferAndReadsItAgain) {
    using M = TypeParam;
    oracle::Spectrum s = randomSpectrum(this->random, 12, 9);
    s.offsetX = -3;
    vxFrequencyBuffer buffer;
    load({s, {}, true}, buffer);
    Outputs<M> first;
    M::run(buffer, first, true, true);
    const char* consumed = "Cannot access frequency data once inverse has been computed.";
    expectError<Defs::InvalidBuffer>([&] { (void)buffer.getReal(0, 0, false); }, consumed);
    const State spatial = stateOf(buffer);
    EXPECT_TRUE(spatial.spectrum.inverseComputed);
    for (const bool inPlace : {false, true}) {
        Outputs<M> second;
        M::run(buffer, second, true, inPlace);
        Contents<M>(first).expectIn(second);
        expectUnchanged(spatial, buffer);
    }
}

TYPED_TEST(InverseFFT, HasItsCancellationPoints) {
    using M = TypeParam;
    // Members 1 .. 5 with a second image: one for each image; member 6: one for both. And one for each image
    // that is moved to an offset.
    const long images = M::number == 6 ? 1 : 2;
    oracle::Spectrum s = randomSpectrum(this->random, 12, 9);
    vxFrequencyBuffer scratch;
    load({s, {}, true}, scratch);
    const long kernel = cancellation::count([&] { vfInverseFFT(scratch, scratch, false); });
    for (const bool consumed : {false, true}) {
        for (const bool atOffset : {false, true}) {
            s.inverseComputed = consumed;
            s.offsetY = atOffset ? 1 : 0;
            vxFrequencyBuffer buffer;
            load({s, {}, true}, buffer);
            Outputs<M> outputs;
            EXPECT_EQ((consumed ? 0 : kernel) + images + (atOffset ? 2 : 0),
                      cancellation::count([&] { M::run(buffer, outputs, false, false); }));
            if constexpr (M::number <= 3) {
                EXPECT_EQ((consumed ? 0 : kernel) + 1 + (atOffset ? 1 : 0),
                          cancellation::count([&] { M::runAlone(buffer, outputs, false, false); }));
            }
        }
    }
}

TYPED_TEST(InverseFFT, CanBeCancelledEverywhere) {
    using M = TypeParam;
    oracle::Spectrum s = randomSpectrum(this->random, 30, 33);
    s.offsetX = 5;
    for (const bool inPlace : {false, true}) {
        for (const Placement placement : {Placement::unbound, Placement::shifted}) {
            Outputs<M> outputs(this->random, placement, 30, 33, {5, 0});
            const Contents<M> before(outputs);
            long cancelled = 0;
            for (;; ++cancelled) {
                vxFrequencyBuffer buffer;
                load({s, {}, true}, buffer);
                const auto operation = [&] { M::run(buffer, outputs, true, inPlace); };
                if (!cancellation::cancelAt(cancelled + 1, operation)) {
                    break;
                }
                before.expectIn(outputs);
                if (!inPlace) {
                    expectState(s, {}, buffer);
                }
            }
            EXPECT_GT(cancelled, 8);
        }
    }
}

TYPED_TEST(InverseFFT, InPlaceIsMarkedBeforeTheMainImageIsWrapped) {
    using M = TypeParam;
    oracle::Spectrum s = randomSpectrum(this->random, 8, 8);
    s.offsetX = 5;
    vxFrequencyBuffer scratch;
    load({s, {}, true}, scratch);
    Outputs<M> outputs;
    const long last = cancellation::count([&] { M::run(scratch, outputs, true, true); });
    for (const long k : {last - 1, last}) {
        vxFrequencyBuffer buffer;
        load({s, {}, true}, buffer);
        ASSERT_TRUE(cancellation::cancelAt(k, [&] { M::run(buffer, outputs, true, true); }));
        EXPECT_EQ(k == last, stateOf(buffer).spectrum.inverseComputed);
    }
}

TYPED_TEST(InverseFFT, SurvivesEveryFailedAllocation) {
    using M = TypeParam;
    oracle::Spectrum s = randomSpectrum(this->random, 12, 20);
    s.offsetX = 5;
    for (const bool inPlace : {false, true}) {
        for (const Placement placement : {Placement::unbound, Placement::shifted}) {
            Outputs<M> outputs(this->random, placement, 12, 20, {5, 0});
            const Contents<M> before(outputs);
            vxFrequencyBuffer buffer;
            load({s, {}, true}, buffer);
            const auto run = [&] { M::run(buffer, outputs, true, inPlace); };
            EXPECT_GT(failing_allocation::failEachAllocation(run,
                                                             [&](bool threw) {
                                                                 EXPECT_TRUE(threw);
                                                                 before.expectIn(outputs);
                                                                 if (inPlace) {
                                                                     load({s, {}, true}, buffer);
                                                                 } else {
                                                                     expectState(s, {}, buffer);
                                                                 }
                                                             }),
                      4);
        }
    }
}

TYPED_TEST(InverseFFT, WritesOutputsThatShareMemoryAsIfAllHadBeenComputedFirst) {
    using M = TypeParam;
    using P = typename M::Pel;
    using S = typename M::Second;
    if constexpr (std::same_as<P, S>) {
        const oracle::Spectrum s = randomSpectrum(this->random, 6, 6);
        vxFrequencyBuffer buffer;
        load({s, {}, true}, buffer);
        // Two windows of one image that overlap, moved so that both receive all of the result.
        auto memory = randomImage<P>(this->random, 9, 8);
        Outputs<M> outputs;
        outputs.image = memory.window(0, 0, 6, 6);
        outputs.second = memory.window(3, 2, 6, 6);
        outputs.second.offset(0, 0);
        oracle::Spectrum caller = s;
        const oracle::Spectrum working = oracle::workingSpectrum(caller, false);
        oracle::Image<P> expected = contentOf(memory);
        oracle::pelCopy(oracle::magnitude<P>(M::number, working, true), expected);
        oracle::Image<S> second = secondOf<M>(working);
        second.X = 3;
        second.Y = 2;
        oracle::pelCopy(second, expected);
        M::run(buffer, outputs, true, false);
        expectImage(expected, memory);
    }
}

TEST(InverseFFTOfDoubles, WithQuadrantsWritesTheMagnitudesLast) {
    Random random(37);
    vxFrequencyBuffer buffer;
    load({randomSpectrum(random, 4, 4), {}, true}, buffer);
    vxPelBuffer<double> expected;
    vfInverseFFT(buffer, expected, false, false);
    // The quadrant image's pels are bytes of the magnitude image's.
    vxPelBuffer<double> image(4, 4);
    auto* bytes = reinterpret_cast<unsigned char*>(image.pointToOffset());
    vxPelBuffer<unsigned char> quadrant(bytes, 4, 4, 4);
    vf_InverseFFT(buffer, image, quadrant, false, false);
    expectImage(contentOf(expected), image);
}

TYPED_TEST(InverseFFT, IntoOneObjectTwiceKeepsTheSecondImage) {
    using M = TypeParam;
    using P = typename M::Pel;
    if constexpr (std::same_as<P, typename M::Second>) {
        for (const vxPair<long>& offset : someOffsets()) {
            oracle::Spectrum s = randomSpectrum(this->random, 6, 5);
            s.offsetX = offset.x();
            s.offsetY = offset.y();
            oracle::Spectrum caller = s;
            const auto expected = secondOf<M>(oracle::workingSpectrum(caller, false));
            vxFrequencyBuffer buffer;
            load({s, someXform(2), true}, buffer);
            vxPelBuffer<P> both;
            M::runInto(buffer, both, both, true, false);
            expectImage(expected, both);
            EXPECT_TRUE(same(someXform(2), both.xformCache()));
            auto bound = randomImage<P>(this->random, 6, 5, offset);
            M::runInto(buffer, bound, bound, true, false);
            expectImage(expected, bound);
        }
    }
}

TYPED_TEST(InverseFFT, OfAZeroSpectrumIsZeroAlsoNormalised) {
    using M = TypeParam;
    vxFrequencyBuffer buffer(5, 4);
    Outputs<M> outputs;
    M::run(buffer, outputs, true, false);
    expectImage(oracle::newImage<typename M::Pel>(5, 4), outputs.image);
}

// --- The shorter magnitude forms

template <class T>
class InverseFFTOfPels : public testing::Test {
protected:
    Random random{22};
};
using Pels = testing::Types<unsigned char, unsigned short, double>;
TYPED_TEST_SUITE(InverseFFTOfPels, Pels);

template <class T>
constexpr int memberOf = std::same_as<T, unsigned char>    ? 1
                         : std::same_as<T, unsigned short> ? 2
                                                           : 3;

TYPED_TEST(InverseFFTOfPels, MatchesTheTranscription) {
    using T = TypeParam;
    for (const oracle::Spectrum& s : someSpectra(this->random)) {
        for (const Placement placement : placements) {
            for (const bool normalize : {false, true}) {
                for (const int form : {0, 1, 2, 3}) { // Const, copy, in place, with a null angle pointer.
                    vxFrequencyBuffer buffer;
                    load({s, someXform(6), true}, buffer);
                    oracle::Spectrum caller = s;
                    const auto working = oracle::workingSpectrum(caller, form == 2);
                    const vxPair<long> offset(s.offsetX, s.offsetY);
                    auto image =
                        placed<T>(this->random, placement, working.sourceWidth, working.sourceHeight, offset);
                    oracle::Image<T> expected = contentOf(image);
                    oracle::deliver(oracle::magnitude<T>(memberOf<T>, working, normalize), expected);
                    switch (form) {
                    case 0:
                        vfInverseFFT(std::as_const(buffer), image, normalize);
                        break;
                    case 1:
                        vfInverseFFT(buffer, image, normalize, false);
                        break;
                    case 2:
                        vfInverseFFT(buffer, image, normalize, true);
                        break;
                    default:
                        vf_InverseFFT(buffer, image, static_cast<vxPelBuffer<double>*>(nullptr), normalize,
                                      false);
                    }
                    expectImage(expected, image);
                    expectState(caller, someXform(6), buffer);
                }
            }
        }
    }
}

TEST(InverseFFTOfBytes, IsNotShiftedByAnOffsetWhereTheOthersAre) {
    oracle::Spectrum s = oracle::newSpectrum(2, 1);
    s.inverseComputed = true;
    s.data = {10.0F, 0.0F, 40.0F, 0.0F};
    s.offsetX = -1;
    vxFrequencyBuffer buffer;
    load({s, {}, true}, buffer);
    vxPelBuffer<unsigned char> bytes;
    vxPelBuffer<unsigned short> words;
    vxPelBuffer<double> doubles;
    vfInverseFFT(buffer, bytes, false, false);
    vfInverseFFT(buffer, words, false, false);
    vfInverseFFT(buffer, doubles, false, false);
    EXPECT_EQ(vxPair<long>(-1, 0), bytes.offset());
    EXPECT_EQ(5, bytes.pointToOffset()[0]);
    EXPECT_EQ(20, bytes.pointToOffset()[1]);
    EXPECT_EQ(20, words.pointToOffset()[0]);
    EXPECT_EQ(5, words.pointToOffset()[1]);
    EXPECT_EQ(20.0, doubles.pointToOffset()[0]);
    EXPECT_EQ(5.0, doubles.pointToOffset()[1]);
}

TEST(InverseFFTOfBytes, WrapsAboveThePelRange) {
    const std::vector<std::pair<float, int>> cases{
        {255.0F, 255}, {255.4F, 255}, {255.5F, 0}, {256.0F, 0}, {300.0F, 44},
        {65536.0F, 0}, {0.49F, 0},    {0.5F, 1},   {-3.0F, 3},  {4294967296.0F + 512.0F, 0}};
    for (const auto& [value, pel] : cases) {
        vxFrequencyBuffer buffer(1, 1);
        buffer.putReal(0, 0, static_cast<double>(value), false);
        vxPelBuffer<unsigned char> image;
        vfInverseFFT(buffer, image, false, false);
        EXPECT_EQ(pel, *image.pointToOffset()) << value;
    }
}

TEST(InverseFFTOfWords, WrapsAboveThePelRange) {
    const std::vector<std::pair<float, int>> cases{{65535.0F, 65535}, {65535.5F, 0},
                                                   {65536.0F, 0},     {65546.0F, 10},
                                                   {256.0F, 256},     {4294967296.0F + 512.0F, 512}};
    for (const auto& [value, pel] : cases) {
        vxFrequencyBuffer buffer(1, 1);
        buffer.putReal(0, 0, static_cast<double>(value), false);
        vxPelBuffer<unsigned short> image;
        vfInverseFFT(buffer, image, false, false);
        EXPECT_EQ(pel, *image.pointToOffset()) << value;
    }
}

TEST(InverseFFTOfIntegers, AddsTheHalfInSinglePrecision) {
    // The sums are 1.0F and, half way between two floats, the even one of them.
    const std::vector<std::pair<float, int>> cases{{0.49999997F, 1}, {8388609.0F, 2}, {8388611.0F, 4}};
    for (const auto& [value, pel] : cases) {
        vxFrequencyBuffer buffer(1, 1);
        buffer.putReal(0, 0, static_cast<double>(value), false);
        vxPelBuffer<unsigned char> byte;
        vxPelBuffer<unsigned short> word;
        vfInverseFFT(buffer, byte, false, false);
        vfInverseFFT(buffer, word, false, false);
        EXPECT_EQ(pel, *byte.pointToOffset()) << value;
        EXPECT_EQ(pel, *word.pointToOffset()) << value;
    }
}

TEST(InverseFFTNormalised, SpreadsOverTheFullRange) {
    oracle::Spectrum s = oracle::newSpectrum(4, 1);
    s.inverseComputed = true;
    s.data = {4.0F, 0.0F, 0.0F, 8.0F, -12.0F, 0.0F, 20.0F, 0.0F}; // Magnitudes 1, 2, 3 and 5 once scaled.
    vxFrequencyBuffer buffer;
    load({s, {}, true}, buffer);
    vxPelBuffer<unsigned char> bytes;
    vxPelBuffer<unsigned short> words;
    vxPelBuffer<double> doubles;
    vfInverseFFT(buffer, bytes, true, false);
    vfInverseFFT(buffer, words, true, false);
    vfInverseFFT(buffer, doubles, true, false);
    const std::array<int, 4> expectedBytes{0, 64, 128, 255};
    const std::array<int, 4> expectedWords{0, 16384, 32768, 65535};
    const std::array<double, 4> expectedDoubles{1.0, 2.0, 3.0, 5.0};
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(expectedBytes[i], bytes.pointToOffset()[i]);
        EXPECT_EQ(expectedWords[i], words.pointToOffset()[i]);
        EXPECT_EQ(expectedDoubles[i], doubles.pointToOffset()[i]);
    }
}

TEST(InverseFFTNormalised, TakesTheMinimumFromBehindTheLastNaN) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    oracle::Spectrum s = oracle::newSpectrum(4, 1);
    s.inverseComputed = true;
    s.data = {4.0F, 0.0F, nan, 0.0F, 12.0F, 0.0F, 20.0F, 0.0F}; // Magnitudes 1, NaN, 3 and 5 once scaled.
    vxFrequencyBuffer buffer;
    load({s, {}, true}, buffer);
    vxPelBuffer<unsigned char> image;
    vfInverseFFT(buffer, image, true, false);
    const std::array<int, 4> expected{2, 0, 0, 255}; // (1 - 3) * 127.5 + 0.5 = -254.5: low bits of -254.
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(expected[i], image.pointToOffset()[i]);
    }
    // A NaN at the end leaves no minimum, and no pel.
    s.data = {4.0F, 0.0F, 8.0F, 0.0F, 12.0F, 0.0F, nan, 0.0F};
    load({s, {}, true}, buffer);
    vxPelBuffer<unsigned short> words;
    vfInverseFFT(buffer, words, true, false);
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(0, words.pointToOffset()[i]);
    }
}

// The minimum from behind a NaN can be the maximum, and yet not every pel.
TEST(InverseFFTNormalised, KeepsTheFullGainWhereTheMinimumIsTheMaximum) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    oracle::Spectrum s = oracle::newSpectrum(4, 1);
    s.inverseComputed = true;
    s.data = {12.0F, 0.0F, 16.0F, 0.0F, nan, 0.0F, 20.0F, 0.0F}; // Magnitudes 3, 4, NaN and 5 once scaled.
    vxFrequencyBuffer buffer;
    load({s, {}, true}, buffer);
    vxPelBuffer<unsigned char> bytes;
    vfInverseFFT(buffer, bytes, true, false);
    vxPelBuffer<unsigned short> words;
    vfInverseFFT(buffer, words, true, false);
    // (3 - 5) * 255 + 0.5 = -509.5 and (4 - 5) * 255 + 0.5 = -254.5; the low bits of -509 and -254.
    const std::array<int, 4> expected{3, 2, 0, 0};
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(expected[i], bytes.pointToOffset()[i]);
        EXPECT_EQ(expected[i], words.pointToOffset()[i]); // -131069 and -65534.
    }
}

// --- Real and imaginary images

void readParts(vxFrequencyBuffer& buffer, vxPelBuffer<double>& real, vxPelBuffer<double>& imaginary,
               int form) {
    if (form == 0) {
        vfInverseFFT(std::as_const(buffer), real, imaginary);
    } else {
        vfInverseFFT(buffer, real, imaginary, form == 2);
    }
}

TEST(InverseFFTParts, MatchTheTranscription) {
    Random random(24);
    std::vector<oracle::Spectrum> spectra = someSpectra(random);
    for (const vxPair<long>& offset : someOffsets()) {
        oracle::Spectrum s = randomSpectrum(random, 7, 6);
        s.offsetX = offset.x();
        s.offsetY = offset.y();
        spectra.push_back(s);
    }
    for (const oracle::Spectrum& s : spectra) {
        for (const Placement placement : placements) {
            for (const int form : {0, 1, 2}) {
                vxFrequencyBuffer buffer;
                load({s, someXform(6), true}, buffer);
                oracle::Spectrum caller = s;
                const auto working = oracle::workingSpectrum(caller, form == 2);
                const vxPair<long> offset(s.offsetX, s.offsetY);
                // The two outputs take turns in being bound.
                const Placement other = form == 1 ? Placement::unbound : placement;
                auto real =
                    placed<double>(random, placement, working.sourceWidth, working.sourceHeight, offset);
                auto imaginary =
                    placed<double>(random, other, working.sourceWidth, working.sourceHeight, offset);
                oracle::Image<double> expectedReal = contentOf(real);
                oracle::Image<double> expectedImaginary = contentOf(imaginary);
                oracle::deliver(oracle::part(0, working), expectedReal);
                oracle::deliver(oracle::part(1, working), expectedImaginary);
                readParts(buffer, real, imaginary, form);
                expectImage(expectedReal, real);
                expectImage(expectedImaginary, imaginary);
                // Bound images, too, take the client transform, unless there is nothing to read.
                const bool empty = working.sourceWidth < 1 || working.sourceHeight < 1;
                const vx2XformCache expectedXform = empty && real.isBound() ? someXform(9) : someXform(6);
                EXPECT_TRUE(same(expectedXform, real.xformCache()));
                expectState(caller, someXform(6), buffer);
            }
        }
    }
}

// The scale of a size that no kernel can do is not exact, and neither are the products.
TEST(InverseFFTParts, ReadAConsumedBufferOfAnySize) {
    Random random(33);
    std::normal_distribution<float> distribution(0.0F, 100.0F);
    for (const auto& [width, height] : {std::pair(3L, 5L), std::pair(40000L, 1L), std::pair(6L, 4L)}) {
        oracle::Spectrum s = rawSpectrum(width, height, width, height);
        std::generate(s.data.begin(), s.data.end(), [&] { return distribution(random); });
        s.inverseComputed = true;
        vxFrequencyBuffer buffer;
        load({s, {}, true}, buffer);
        vxPelBuffer<double> real;
        vxPelBuffer<double> imaginary;
        vfInverseFFT(buffer, real, imaginary, false);
        expectImage(oracle::part(0, s), real);
        expectImage(oracle::part(1, s), imaginary);
    }
}

TEST(InverseFFTParts, IntoOneObjectTwiceKeepTheImaginaryPart) {
    Random random(25);
    for (const vxPair<long>& offset : someOffsets()) {
        oracle::Spectrum s = randomSpectrum(random, 6, 5);
        s.offsetX = offset.x();
        s.offsetY = offset.y();
        vxFrequencyBuffer buffer;
        load({s, someXform(1), true}, buffer);
        oracle::Spectrum caller = s;
        const auto expected = oracle::part(1, oracle::workingSpectrum(caller, false));
        vxPelBuffer<double> both;
        vfInverseFFT(std::as_const(buffer), both, both);
        expectImage(expected, both);
        EXPECT_TRUE(same(someXform(1), both.xformCache()));
        auto bound = randomImage<double>(random, 6, 5, offset);
        vfInverseFFT(std::as_const(buffer), bound, bound);
        expectImage(expected, bound);
    }
}

TEST(InverseFFTParts, MaySharePels) {
    Random random(26);
    const oracle::Spectrum s = randomSpectrum(random, 6, 6);
    vxFrequencyBuffer buffer;
    load({s, {}, true}, buffer);
    auto memory = randomImage<double>(random, 9, 8);
    auto real = memory.window(3, 2, 6, 6);
    auto imaginary = memory.window(0, 0, 6, 6);
    real.offset(0, 0);
    oracle::Spectrum caller = s;
    const auto working = oracle::workingSpectrum(caller, false);
    oracle::Image<double> expected = contentOf(memory);
    oracle::Image<double> first = oracle::part(0, working);
    first.X = 3;
    first.Y = 2;
    oracle::pelCopy(first, expected);
    oracle::pelCopy(oracle::part(1, working), expected);
    vfInverseFFT(buffer, real, imaginary, false);
    expectImage(expected, memory);
}

TEST(InverseFFTParts, RefuseBeforeAnythingChanges) {
    Random random(27);
    auto real = randomImage<double>(random, 4, 4);
    auto imaginary = randomImage<double>(random, 4, 4);
    const auto beforeReal = contentOf(real);
    const auto beforeImaginary = contentOf(imaginary);
    vxFrequencyBuffer empty;
    expectError<Defs::Uninitialized>([&] { vfInverseFFT(empty, real, imaginary, true); }, uninitialized);
    expectError<Defs::Uninitialized>([&] { vfInverseFFT(std::as_const(empty), real, imaginary); },
                                     uninitialized);
    vxFrequencyBuffer odd;
    load({rawSpectrum(3, 3, 3, 3), {}, true}, odd);
    expectError<Defs::InvalidSize>([&] { vfInverseFFT(odd, real, imaginary, true); }, powers);
    expectState(rawSpectrum(3, 3, 3, 3), {}, odd);
    vxFrequencyBuffer large;
    load({rawSpectrum(65536, 1, 3, 1), {}, true}, large);
    expectError<Defs::InvalidSize>([&] { vfInverseFFT(large, real, imaginary, false); }, limit);
    expectImage(beforeReal, real);
    expectImage(beforeImaginary, imaginary);
    EXPECT_TRUE(same({}, real.xformCache()));
}

TEST(InverseFFTParts, HaveTheirCancellationPoints) {
    Random random(28);
    oracle::Spectrum s = randomSpectrum(random, 12, 9);
    s.inverseComputed = true;
    vxPelBuffer<double> real;
    vxPelBuffer<double> imaginary;
    vxFrequencyBuffer buffer;
    load({s, {}, true}, buffer);
    EXPECT_EQ(1, cancellation::count([&] { vfInverseFFT(buffer, real, imaginary, false); }));
    s.offsetX = 1;
    load({s, {}, true}, buffer);
    EXPECT_EQ(3, cancellation::count([&] { vfInverseFFT(buffer, real, imaginary, false); }));
}

// Outputs of the real and imaginary reader, bound or not, with a transform of their own.
struct Parts {
    vxPelBuffer<double> real;
    vxPelBuffer<double> imaginary;
    oracle::Image<double> beforeReal;
    oracle::Image<double> beforeImaginary;

    Parts(Random& random, Placement placement)
        : real(placed<double>(random, placement, 12, 20, {5, 0}))
        , imaginary(placed<double>(random, placement, 12, 20, {5, 0}))
        , beforeReal(contentOf(real))
        , beforeImaginary(contentOf(imaginary)) {}

    void expectUntouched() const {
        expectImage(beforeReal, real);
        expectImage(beforeImaginary, imaginary);
        EXPECT_TRUE(same(someXform(9), real.xformCache()));
        EXPECT_TRUE(same(someXform(9), imaginary.xformCache()));
    }
};

TEST(InverseFFTParts, CanBeCancelledEverywhere) {
    Random random(29);
    oracle::Spectrum s = randomSpectrum(random, 12, 20);
    s.offsetX = 5;
    for (const bool inPlace : {false, true}) {
        for (const Placement placement : {Placement::unbound, Placement::shifted}) {
            Parts parts(random, placement);
            long cancelled = 0;
            for (;; ++cancelled) {
                vxFrequencyBuffer buffer;
                load({s, someXform(1), true}, buffer);
                const auto operation = [&] { vfInverseFFT(buffer, parts.real, parts.imaginary, inPlace); };
                if (!cancellation::cancelAt(cancelled + 1, operation)) {
                    break;
                }
                parts.expectUntouched();
                // Both images are wrapped before the buffer is marked.
                EXPECT_FALSE(stateOf(buffer).spectrum.inverseComputed);
                if (!inPlace) {
                    expectState(s, someXform(1), buffer);
                }
            }
            EXPECT_GT(cancelled, 5);
        }
    }
}

TEST(InverseFFTParts, SurviveEveryFailedAllocation) {
    Random random(30);
    oracle::Spectrum s = randomSpectrum(random, 12, 20);
    s.offsetX = 5;
    for (const Placement placement : {Placement::unbound, Placement::shifted}) {
        Parts parts(random, placement);
        vxFrequencyBuffer buffer;
        load({s, someXform(1), true}, buffer);
        const auto run = [&] { vfInverseFFT(buffer, parts.real, parts.imaginary, false); };
        EXPECT_GT(failing_allocation::failEachAllocation(run,
                                                         [&](bool threw) {
                                                             EXPECT_TRUE(threw);
                                                             parts.expectUntouched();
                                                             expectState(s, someXform(1), buffer);
                                                         }),
                  4);
    }
}

// --- Buffer to buffer

TEST(InverseFFTOfBuffers, MatchesTheTranscription) {
    Random random(31);
    for (const oracle::Spectrum& s : someSpectra(random)) {
        for (const int form : {0, 1, 2}) {
            vxFrequencyBuffer source;
            load({s, someXform(1), true}, source);
            vxFrequencyBuffer destination(3, 3);
            oracle::Spectrum caller = s;
            const oracle::Spectrum expected = oracle::inverse(caller, form == 2);
            if (form == 0) {
                vfInverseFFT(std::as_const(source), destination);
            } else {
                vfInverseFFT(source, destination, form == 2);
            }
            expectState(expected, someXform(1), destination);
            expectState(caller, someXform(1), source);
        }
    }
}

TEST(InverseFFTOfBuffers, OfOneBufferAsBothArguments) {
    Random random(32);
    for (const oracle::Spectrum& s : someSpectra(random)) {
        for (const int form : {0, 1, 2}) {
            vxFrequencyBuffer buffer;
            load({s, someXform(1), true}, buffer);
            if (form == 0) {
                vfInverseFFT(std::as_const(buffer), buffer);
            } else {
                vfInverseFFT(buffer, buffer, form == 2);
            }
            oracle::Spectrum expected = s; // Not sized again: nothing is assigned.
            if (!s.inverseComputed) {
                oracle::inverseKernel(expected);
            }
            expected.masked = 0;
            expected.inverseComputed = form == 2 || s.inverseComputed;
            expectState(expected, someXform(1), buffer);
        }
    }
}

TEST(InverseFFTOfBuffers, LeavesARawUnmaskedReadableBuffer) {
    Random random(33);
    auto image = randomImage<unsigned char>(random, 8, 4);
    oracle::Spectrum s = oracle::forward(contentOf(image));
    s.masked = 1;
    s.maskedMaxy = 4;
    vxFrequencyBuffer source;
    load({s, {}, true}, source);
    vxFrequencyBuffer destination;
    vfInverseFFT(source, destination, true);
    EXPECT_EQ(0, stateOf(destination).spectrum.masked);
    EXPECT_EQ(1, stateOf(source).spectrum.masked);
    for (long y = 0; y < 4; ++y) {
        for (long x = 0; x < 8; ++x) {
            EXPECT_NEAR(32.0 * image.pointToRow(y)[x], destination.getReal(x, y, false), 0.05);
        }
    }
}

TEST(InverseFFTOfBuffers, RefusesBeforeAnythingChanges) {
    Random random(34);
    vxFrequencyBuffer destination;
    load({randomSpectrum(random, 5, 5), someXform(2), true}, destination);
    const State before = stateOf(destination);
    vxFrequencyBuffer empty;
    expectError<Defs::Uninitialized>([&] { vfInverseFFT(empty, destination, true); }, uninitialized);
    expectError<Defs::Uninitialized>([&] { vfInverseFFT(std::as_const(empty), destination); }, uninitialized);
    expectError<Defs::Uninitialized>([&] { vfInverseFFT(empty, empty, true); }, uninitialized);
    expectUnchanged(before, destination);
    const auto refused = [&](const oracle::Spectrum& s, const char* text, bool inPlace) {
        vxFrequencyBuffer source;
        load({s, someXform(3), true}, source);
        expectError<Defs::InvalidSize>([&] { vfInverseFFT(source, destination, inPlace); }, text);
        expectState(s, someXform(3), source);
        expectUnchanged(before, destination);
    };
    for (const bool inPlace : {false, true}) {
        refused(rawSpectrum(3, 4, 3, 4), powers, inPlace);
        refused(rawSpectrum(4, 5, 3, 4), powers, inPlace);
        refused(rawSpectrum(65535, 1, 3, 1), powers, inPlace);
        refused(rawSpectrum(65536, 1, 3, 1), limit, inPlace);
        // The kernel could do these, but the result could not be assigned.
        refused(rawSpectrum(4096, 1, 4096, 1), limit, inPlace);
        refused(rawSpectrum(1, 4096, 1, 2049), limit, inPlace);
        oracle::Spectrum consumed = rawSpectrum(3000, 1, 3000, 1);
        consumed.inverseComputed = true;
        refused(consumed, limit, inPlace);
    }
}

TEST(InverseFFTOfBuffers, DoesALargeLoadedSizeInItself) {
    oracle::Spectrum s = rawSpectrum(4096, 2, 4096, 2);
    s.data[5] = -3.0F;
    vxFrequencyBuffer buffer;
    load({s, {}, true}, buffer);
    vfInverseFFT(buffer, buffer, true);
    oracle::inverseKernel(s);
    s.inverseComputed = true;
    expectState(s, {}, buffer);
}

TEST(InverseFFTOfBuffers, CopiesAConsumedBufferOfAnOddSize) {
    oracle::Spectrum s = rawSpectrum(3, 5, 3, 5);
    s.data[4] = 9.0F;
    s.inverseComputed = true;
    vxFrequencyBuffer source;
    load({s, {}, true}, source);
    vxFrequencyBuffer destination;
    vfInverseFFT(std::as_const(source), destination);
    oracle::Spectrum expected = oracle::copyOf(s);
    expected.inverseComputed = false;
    expectState(expected, {}, destination);
    expectState(s, {}, source);
}

TEST(InverseFFTOfBuffers, CanBeCancelledEverywhere) {
    Random random(35);
    const oracle::Spectrum s = randomSpectrum(random, 60, 33);
    for (const bool inPlace : {false, true}) {
        long cancelled = 0;
        for (;; ++cancelled) {
            vxFrequencyBuffer source;
            load({s, {}, true}, source);
            vxFrequencyBuffer destination;
            if (!cancellation::cancelAt(cancelled + 1, [&] { vfInverseFFT(source, destination, inPlace); })) {
                break;
            }
            EXPECT_FALSE(stateOf(source).spectrum.inverseComputed);
            EXPECT_EQ(!inPlace, stateOf(destination).hasSamples);
            if (!inPlace) {
                expectState(s, {}, source);
            }
        }
        EXPECT_GT(cancelled, 4);
    }
}

TEST(InverseFFTOfBuffers, SurvivesEveryFailedAllocation) {
    Random random(36);
    const oracle::Spectrum s = randomSpectrum(random, 60, 33);
    for (const bool inPlace : {false, true}) {
        vxFrequencyBuffer source;
        load({s, {}, true}, source);
        std::optional<vxFrequencyBuffer> destination(std::in_place);
        const auto run = [&] { vfInverseFFT(source, *destination, inPlace); };
        EXPECT_GT(failing_allocation::failEachAllocation(run,
                                                         [&](bool threw) {
                                                             EXPECT_TRUE(threw);
                                                             if (inPlace) {
                                                                 load({s, {}, true}, source);
                                                             } else {
                                                                 expectState(s, {}, source);
                                                             }
                                                             (void)stateOf(*destination);
                                                             destination.emplace();
                                                         }),
                  1);
    }
}

} // namespace

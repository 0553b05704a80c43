#include "filt/fft/angle_quadrant.h"

#include "tests/support/cancellation.h"
#include "tests/support/frequency_errors.h"
#include "tests/support/inverse_members.h"
#include "tests/support/transform_support.h"

#include <numbers>

using namespace transform_support;
using namespace inverse_members;
using Defs = vxFrequencyDefs;
using support::expectError;

namespace {

// --- The templates

template <class M>
constexpr bool hasAngle = std::same_as<typename M::Second, double>;

template <class M>
void runTemplate(vxFrequencyBuffer& buffer, Outputs<M>& outputs, bool normalize, bool inPlace) {
    using T = typename M::Pel;
    if constexpr (hasAngle<M>) {
        vfInverseFFTAngle<T>(buffer, outputs.image, outputs.second, normalize, inPlace);
    } else {
        vfInverseFFTQuadrant<T>(buffer, outputs.image, outputs.second, normalize, inPlace);
    }
}

template <class M>
void runTemplate(const vxFrequencyBuffer& buffer, Outputs<M>& outputs, bool normalize) {
    using T = typename M::Pel;
    if constexpr (hasAngle<M>) {
        vfInverseFFTAngle<T>(buffer, outputs.image, outputs.second, normalize);
    } else {
        vfInverseFFTQuadrant<T>(buffer, outputs.image, outputs.second, normalize);
    }
}

template <class M>
class InverseFFTPair : public testing::Test {
protected:
    Random random{41};
};
TYPED_TEST_SUITE(InverseFFTPair, Members);

TYPED_TEST(InverseFFTPair, MatchesTheTranscription) {
    using M = TypeParam;
    for (const oracle::Spectrum& s : someSpectra(this->random)) {
        for (const bool normalize : {false, true}) {
            for (const bool inPlace : {false, true}) {
                checkMember<M>(this->random, s, normalize, inPlace, [&](auto& buffer, auto& outputs) {
                    runTemplate<M>(buffer, outputs, normalize, inPlace);
                });
            }
            checkMember<M>(this->random, s, normalize, false, [&](const auto& buffer, auto& outputs) {
                runTemplate<M>(buffer, outputs, normalize);
            });
        }
    }
}

TYPED_TEST(InverseFFTPair, RefusesABufferWithoutSamples) {
    Outputs<TypeParam> outputs;
    vxFrequencyBuffer empty;
    const char* text = "FrequencyBuffer has not been initialized";
    expectError<Defs::Uninitialized>([&] { runTemplate(empty, outputs, false, true); }, text);
    expectError<Defs::Uninitialized>([&] { runTemplate(std::as_const(empty), outputs, false); }, text);
}

// --- The readers

// The readers in one form.
struct AngleReader {
    using Pel = double;
    static void run(const vxFrequencyBuffer& buffer, vxPelBuffer<double>& image) {
        vf_ComputeAngleImage(buffer, image);
    }
    static oracle::Image<double> expected(const oracle::Spectrum& s) { return oracle::angle(s); }
};
struct QuadrantReader {
    using Pel = unsigned char;
    static void run(const vxFrequencyBuffer& buffer, vxPelBuffer<unsigned char>& image) {
        vf_ComputeQuadrantImage(buffer, image);
    }
    static oracle::Image<unsigned char> expected(const oracle::Spectrum& s) { return oracle::quadrant(4, s); }
};

template <class R>
class SpatialReader : public testing::Test {
protected:
    Random random{42};
};
using Readers = testing::Types<AngleReader, QuadrantReader>;
TYPED_TEST_SUITE(SpatialReader, Readers);

TYPED_TEST(SpatialReader, ReadsTheSamplesAsTheyStand) {
    using R = TypeParam;
    using T = typename R::Pel;
    std::vector<oracle::Spectrum> spectra = someSpectra(this->random);
    for (const vxPair<long>& offset : someOffsets()) {
        oracle::Spectrum s = randomSpectrum(this->random, 7, 6);
        s.offsetX = offset.x();
        s.offsetY = offset.y();
        spectra.push_back(s);
    }
    spectra.push_back(rawSpectrum(3, 5, 3, 5)); // No kernel could do it, none is needed.
    for (const oracle::Spectrum& s : spectra) {
        for (const Placement placement : placements) {
            vxFrequencyBuffer buffer;
            load({s, someXform(6), true}, buffer);
            auto image =
                placed<T>(this->random, placement, s.sourceWidth, s.sourceHeight, {s.offsetX, s.offsetY});
            const bool wasBound = image.isBound();
            oracle::Image<T> expected = contentOf(image);
            oracle::deliver(R::expected(s), expected);
            R::run(buffer, image);
            expectImage(expected, image);
            expectXform(wasBound, image);
            expectState(s, someXform(6), buffer);
        }
    }
}

TYPED_TEST(SpatialReader, HasOneCancellationPointAndOneMoreAtAnOffset) {
    using R = TypeParam;
    using T = typename R::Pel;
    oracle::Spectrum s = randomSpectrum(this->random, 6, 6);
    for (const long offset : {0L, 1L}) {
        s.offsetX = offset;
        vxFrequencyBuffer buffer;
        load({s, {}, true}, buffer);
        for (const Placement placement : {Placement::unbound, Placement::shifted}) {
            auto image = placed<T>(this->random, placement, 6, 6, {offset, 0});
            const auto before = contentOf(image);
            const auto run = [&] { R::run(buffer, image); };
            long k = 1;
            for (; cancellation::cancelAt(k, run); ++k) {
                expectImage(before, image);
            }
            EXPECT_EQ(offset == 0 ? 2 : 3, k);
            EXPECT_EQ(k - 1, cancellation::count(run));
        }
    }
}

TYPED_TEST(SpatialReader, RefusesABufferWithoutSamples) {
    using R = TypeParam;
    vxPelBuffer<typename R::Pel> image;
    const vxFrequencyBuffer empty;
    vxFrequencyBuffer emptied(8, 8); // Has a size, but no samples any more.
    emptied = empty;
    const char* text = "FrequencyBuffer has not been initialized";
    expectError<Defs::Uninitialized>([&] { R::run(empty, image); }, text);
    expectError<Defs::Uninitialized>([&] { R::run(emptied, image); }, text);
    EXPECT_FALSE(image.isBound());
}

// --- What the pels say

struct Sample {
    float re;
    float im;
    double angle;
    int code;          // Of vf_ComputeQuadrantImage.
    int codeOfDoubles; // Beside a magnitude image of doubles.
};

TEST(AngleAndQuadrant, OfSingleSamples) {
    const double pi = static_cast<double>(std::numbers::pi_v<float>);
    const double halfPi = static_cast<double>(std::numbers::pi_v<float> / 2.0F);
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const double any = std::numeric_limits<double>::quiet_NaN();
    const std::vector<Sample> samples{{0.0F, 0.0F, 0.0, 0, 0},
                                      {-1.0F, 0.0F, pi, 1, 1},
                                      {0.0F, -1.0F, -halfPi, 2, 2},
                                      {-0.0F, 0.0F, pi, 0, 0},
                                      {0.0F, -0.0F, -0.0, 0, 0},
                                      {-0.0F, -0.0F, -pi, 0, 0},
                                      {-1.0F, -0.0F, -pi, 1, 1},
                                      {-2.0F, -2.0F, -2.35619449, 3, 3},
                                      {nan, 1.0F, any, 0, 1},
                                      {1.0F, nan, any, 0, 2},
                                      {nan, nan, any, 0, 3},
                                      {nan, -1.0F, any, 2, 3},
                                      {-1e-45F, 1e-45F, 2.35619449, 1, 1}};
    for (const Sample& sample : samples) {
        oracle::Spectrum s = oracle::newSpectrum(1, 1);
        s.inverseComputed = true;
        s.data = {sample.re, sample.im};
        vxFrequencyBuffer buffer;
        load({s, {}, true}, buffer);
        vxPelBuffer<double> angle;
        vxPelBuffer<unsigned char> quadrant;
        vxPelBuffer<double> image;
        vf_ComputeAngleImage(buffer, angle);
        vf_ComputeQuadrantImage(buffer, quadrant);
        if (sample.angle == 0.0 || sample.angle != sample.angle) {
            EXPECT_TRUE(same(sample.angle, *angle.pointToOffset())); // The sign of a zero, too.
        } else {
            EXPECT_NEAR(sample.angle, *angle.pointToOffset(), 3e-7);
        }
        EXPECT_EQ(sample.code, *quadrant.pointToOffset());
        vxPelBuffer<unsigned short> words;
        vfInverseFFTQuadrant(buffer, words, quadrant, false, false);
        EXPECT_EQ(sample.code, *quadrant.pointToOffset());
        vfInverseFFTQuadrant(buffer, image, quadrant, false, false);
        EXPECT_EQ(sample.codeOfDoubles, *quadrant.pointToOffset());
    }
}

} // namespace

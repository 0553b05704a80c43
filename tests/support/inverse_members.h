/// \file
/// The six members of the inverse family in one form, and their comparison with the transcription.
#pragma once

#include "filt/fft/inverse_fft.h"
#include "tests/support/transform_support.h"

#include <gtest/gtest.h>

namespace inverse_members {

/// How an output image lies when it is handed in.
enum class Placement { unbound, same, smaller, larger, shifted, bottomUp };
constexpr Placement placements[] = {Placement::unbound, Placement::same,    Placement::smaller,
                                    Placement::larger,  Placement::shifted, Placement::bottomUp};

/// An output for a result of that size and offset; it has pels, an offset and a transform of its own.
template <class T>
vxPelBuffer<T> placed(transform_support::Random& random, Placement placement, long width, long height,
                      vxPair<long> offset) {
    using namespace transform_support;
    width = std::max(width, 1L);
    height = std::max(height, 1L);
    const auto at = [&](long dx, long dy) {
        return vxPair<long>(moved(offset.x(), dx), moved(offset.y(), dy));
    };
    vxPelBuffer<T> image;
    switch (placement) {
    case Placement::unbound:
        image.offset(17, 18);
        break;
    case Placement::same:
        image = randomImage<T>(random, width, height, offset);
        break;
    case Placement::smaller:
        image = randomImage<T>(random, (width + 1) / 2, (height + 1) / 2, at(width / 3, height / 4));
        break;
    case Placement::larger:
        image = randomImage<T>(random, width + 5, height + 4, at(-2, -3));
        break;
    case Placement::shifted:
        image = randomImage<T>(random, width, height, at(-1, 2));
        break;
    case Placement::bottomUp:
        image = bottomUpImage<T>(random, width + 1, height, at(1, -1));
        break;
    }
    image.copyXforms(someXform(9));
    return image;
}

/// Both outputs of a member.
template <class M>
struct Outputs {
    vxPelBuffer<typename M::Pel> image;
    vxPelBuffer<typename M::Second> second;

    Outputs() = default;
    Outputs(transform_support::Random& random, Placement placement, long width, long height,
            vxPair<long> offset)
        : image(placed<typename M::Pel>(random, placement, width, height, offset))
        , second(placed<typename M::Second>(random, placement, width, height, offset)) {}
};

/// What both outputs hold.
template <class M>
struct Contents {
    oracle::Image<typename M::Pel> image;
    oracle::Image<typename M::Second> second;
    vx2XformCache imageXform;
    vx2XformCache secondXform;

    explicit Contents(const Outputs<M>& outputs)
        : image(transform_support::contentOf(outputs.image))
        , second(transform_support::contentOf(outputs.second))
        , imageXform(outputs.image.xformCache())
        , secondXform(outputs.second.xformCache()) {}

    void expectIn(const Outputs<M>& outputs) const {
        using namespace transform_support;
        expectImage(image, outputs.image);
        expectImage(second, outputs.second);
        EXPECT_TRUE(same(imageXform, outputs.image.xformCache()));
        EXPECT_TRUE(same(secondXform, outputs.second.xformCache()));
    }
};

template <int Number, class P>
struct AngleMember {
    static constexpr int number = Number;
    using Pel = P;
    using Second = double;
    static void runInto(vxFrequencyBuffer& buffer, vxPelBuffer<P>& image, vxPelBuffer<double>& angle,
                        bool normalize, bool inPlace) {
        vf_InverseFFT(buffer, image, &angle, normalize, inPlace);
    }
    static void run(vxFrequencyBuffer& buffer, Outputs<AngleMember>& outputs, bool normalize, bool inPlace) {
        runInto(buffer, outputs.image, outputs.second, normalize, inPlace);
    }
    static void runAlone(vxFrequencyBuffer& buffer, Outputs<AngleMember>& outputs, bool normalize,
                         bool inPlace) {
        vf_InverseFFT(buffer, outputs.image, static_cast<vxPelBuffer<double>*>(nullptr), normalize, inPlace);
    }
};

template <int Number, class P>
struct QuadrantMember {
    static constexpr int number = Number;
    using Pel = P;
    using Second = unsigned char;
    static void runInto(vxFrequencyBuffer& buffer, vxPelBuffer<P>& image,
                        vxPelBuffer<unsigned char>& quadrant, bool normalize, bool inPlace) {
        vf_InverseFFT(buffer, image, quadrant, normalize, inPlace);
    }
    static void run(vxFrequencyBuffer& buffer, Outputs<QuadrantMember>& outputs, bool normalize,
                    bool inPlace) {
        runInto(buffer, outputs.image, outputs.second, normalize, inPlace);
    }
};

using Members = testing::Types<AngleMember<1, unsigned char>, AngleMember<2, unsigned short>,
                               AngleMember<3, double>, QuadrantMember<4, unsigned char>,
                               QuadrantMember<5, unsigned short>, QuadrantMember<6, double>>;

/// The transcription's second image.
template <class M>
oracle::Image<typename M::Second> secondOf(const oracle::Spectrum& working) {
    if constexpr (std::same_as<typename M::Second, double>) {
        return oracle::angle(working);
    } else {
        return oracle::quadrant(M::number, working);
    }
}

template <class T>
void expectXform(bool wasBound, const vxPelBuffer<T>& output) {
    using namespace transform_support;
    EXPECT_TRUE(same(wasBound ? someXform(9) : someXform(6), output.xformCache()));
}

/// Runs a member, by way of `run`, into outputs of every placement and compares outputs and buffer.
template <class M, class Run>
void checkMember(transform_support::Random& random, const oracle::Spectrum& s, bool normalize, bool inPlace,
                 Run run) {
    using namespace transform_support;
    for (const Placement placement : placements) {
        vxFrequencyBuffer buffer;
        load({s, someXform(6), true}, buffer);
        oracle::Spectrum caller = s;
        const oracle::Spectrum working = oracle::workingSpectrum(caller, inPlace);
        Outputs<M> outputs(random, placement, working.sourceWidth, working.sourceHeight,
                           {s.offsetX, s.offsetY});
        const bool wasBound = outputs.image.isBound();
        Contents<M> expected(outputs);
        oracle::deliver(oracle::magnitude<typename M::Pel>(M::number, working, normalize), expected.image);
        oracle::deliver(secondOf<M>(working), expected.second);
        run(buffer, outputs);
        expectImage(expected.image, outputs.image);
        expectImage(expected.second, outputs.second);
        expectXform(wasBound, outputs.image);
        expectXform(wasBound, outputs.second);
        expectState(caller, someXform(6), buffer);
    }
}

template <class M>
void checkMember(transform_support::Random& random, const oracle::Spectrum& s, bool normalize, bool inPlace) {
    checkMember<M>(random, s, normalize, inPlace, [&](vxFrequencyBuffer& buffer, Outputs<M>& outputs) {
        M::run(buffer, outputs, normalize, inPlace);
    });
}

} // namespace inverse_members

#include "filt/fft/inverse_fft.h"

#include "filt/fft/internal/angle_quadrant_images.h"
#include "filt/fft/internal/spatial_images.h"
#include "filt/fft/internal/transformable.h"
#include "filt/fft/kernels/instruction_sets.h"
#include "filt/fft/kernels/kernels.h"
#include "filt/internal/convert.h"
#include "filt/internal/numerics.h"
#include "kavstd/attention.h"

#include <cmath>
#include <concepts>

using Access = vx_FrequencyBufferAccess;

namespace {

// Not (value >= 0) instead of (0 > value): a NaN counts as negative. It goes with the magnitudes and has no
// cancellation point of its own.
vxPelBuffer<unsigned char> nanNegativeQuadrantImage(const vxFrequencyBuffer& spatial) {
    const auto code = [](float re, float im) {
        return static_cast<unsigned char>((re >= 0.0F ? 0 : 1) | (im >= 0.0F ? 0 : 2));
    };
    return vf_Wrapped(spatial, vf_ImageOf<unsigned char>(spatial, code));
}

// How a magnitude image of pels P with a second image of pels S is made.
template <vx_Pel P, vx_Pel S>
struct Member {
    double maximum;        // Of a normalised image; 0: never normalised.
    bool offsetBeforeWrap; // Otherwise the wrap starts from (0, 0), which shifts nothing.
    vxPelBuffer<S> (*secondImage)(const vxFrequencyBuffer& spatial);
    bool secondWrittenFirst; // Shows only where the two outputs share memory.
};

// The six members of the family with their deliberate differences.
// clang-format off
//                                                        maximum  offset  second image              written first
constexpr Member<unsigned char,  double>        byteAngle    {255.0,   false, vf_AngleImage,            false};
constexpr Member<unsigned short, double>        wordAngle    {65535.0, true,  vf_AngleImage,            false};
constexpr Member<double,         double>        doubleAngle  {0.0,     true,  vf_AngleImage,            false};
constexpr Member<unsigned char,  unsigned char> byteQuadrant {255.0,   true,  vf_QuadrantImage,         false};
constexpr Member<unsigned short, unsigned char> wordQuadrant {65535.0, true,  vf_QuadrantImage,         false};
constexpr Member<double,         unsigned char> doubleQuadrant{0.0,    true,  nanNegativeQuadrantImage, true};
// clang-format on

// Reading a consumed buffer takes no kernel, so any size will do.
void requireInvertible(const vxFrequencyBuffer& buffer) {
    Access::requireSamples(buffer);
    if (!Access::inverseComputed(buffer)) {
        vf_RequireKernelSize(buffer);
    }
}

// The rows that are not zero, as far as the buffer knows.
struct Band {
    long low;
    long high;
};

Band bandOf(const vxFrequencyBuffer& buffer) {
    if (Access::masked(buffer) != 0) {
        return {Access::maskedMiny(buffer), Access::maskedMaxy(buffer)};
    }
    return {0, Access::height(buffer)};
}

void transform(vxFrequencyBuffer& buffer) {
    const Band band = bandOf(buffer);
    vf_ComplexFFT2D(Access::data(buffer), Access::size(buffer), -1, band.low, band.high);
}

// The spatial samples: the buffer's own, transformed here unless it is consumed, or those of a transformed
// copy.
const vxFrequencyBuffer& spatialSamples(vxFrequencyBuffer& buffer, vxFrequencyBuffer& copy, bool inPlace) {
    if (Access::inverseComputed(buffer)) {
        return buffer;
    }
    if (inPlace) {
        transform(buffer);
        return buffer;
    }
    copy = buffer;
    transform(copy);
    return copy;
}

// A flag that is set is not set again: const buffers that are consumed come here too, and are never written.
void markConsumed(vxFrequencyBuffer& buffer) {
    if (!Access::inverseComputed(buffer)) {
        Access::inverseComputed(buffer, true);
    }
}

float scaleOf(const vxFrequencyBuffer& spatial) {
    const double samples =
        static_cast<double>(Access::height(spatial)) * static_cast<double>(Access::width(spatial));
    return static_cast<float>(1.0 / samples);
}

float squaredMagnitude(float re, float im) {
    return re * re + im * im;
}

// The magnitude `low` becomes pel 0, low + maximum / gain becomes the maximum.
struct Stretch {
    float low;
    float gain;
};

// The stretch of the image's own range. The comparisons differ on purpose: a NaN replaces the minimum, and
// whatever comes after it replaces the NaN; the maximum never becomes NaN.
Stretch stretchOf(const vxFrequencyBuffer& spatial, float scale, double maximum) {
    float least = 1e20F;
    float most = -1e20F;
    for (long y = 0; y < Access::sourceHeight(spatial); ++y) {
        const float* samples = vf_SampleRow(spatial, y);
        for (long x = 0; x < Access::sourceWidth(spatial); ++x) {
            const float squared = squaredMagnitude(samples[2 * x], samples[2 * x + 1]);
            least = squared >= least ? least : squared;
            most = squared > most ? squared : most;
        }
    }
    const float low = sqrtf(least) * scale;
    const float high = sqrtf(most) * scale;
    // The difference of the two floats is formed in double.
    const double gain =
        high != low ? maximum / (static_cast<double>(high) - static_cast<double>(low)) : maximum;
    return {low, static_cast<float>(gain)};
}

// Integers are rounded and their low bits kept: a magnitude above the pel range wraps, it is not clamped.
template <vx_Pel P>
P pelOf(float value) {
    if constexpr (std::integral<P>) {
        return vf_LowBits<P>(static_cast<double>(value + 0.5F));
    } else {
        return static_cast<double>(value);
    }
}

template <vx_Pel P>
vxPelBuffer<P> magnitudeImage(const vxFrequencyBuffer& spatial, double maximum, bool normalize) {
    const float scale = scaleOf(spatial);
    const auto magnitude = [scale](float re, float im) { return sqrtf(squaredMagnitude(re, im)) * scale; };
    if (normalize && maximum > 0.0) {
        const Stretch stretch = stretchOf(spatial, scale, maximum);
        const auto stretched = [&](float re, float im) {
            return (magnitude(re, im) - stretch.low) * stretch.gain;
        };
        return vf_ImageOf<P>(spatial, [&](float re, float im) { return pelOf<P>(stretched(re, im)); });
    }
    return vf_ImageOf<P>(spatial, [&](float re, float im) { return pelOf<P>(magnitude(re, im)); });
}

// The magnitudes of a spectrum that is to stay as it is: the same image, without the spatial samples in
// between.
template <vx_Pel P>
vxPelBuffer<P> directMagnitudeImage(const vxFrequencyBuffer& spectrum) {
    const vx_Plane plane = vf_PlaneOf(spectrum);
    const Band band = bandOf(spectrum);
    vxPelBuffer<P> image = vf_EmptyImageOf<P>(spectrum);
    vf_KernelsFor(Access::size(spectrum))
        .template pels<P>()
        .inverseMagnitude(plane, {band.low, band.high, plane.height}, scaleOf(spectrum), image);
    return image;
}

// Whether the magnitudes are all that is wanted of the spatial samples. A loaded buffer's copy, which is then
// transformed instead of it, may be of another size.
bool isDirect(const vxFrequencyBuffer& buffer, bool samplesWanted, bool inPlace) {
    return !samplesWanted && !inPlace && !Access::inverseComputed(buffer) &&
           Access::copySize(buffer) == Access::size(buffer);
}

// The core of all six members. Outputs are handed out when nothing can fail any more.
template <vx_Pel P, vx_Pel S>
void invert(const Member<P, S>& member, vxFrequencyBuffer& buffer, vxPelBuffer<P>& image,
            vxPelBuffer<S>* second, bool normalize, bool inPlace) {
    requireInvertible(buffer);
    vxFrequencyBuffer copy;
    vxPelBuffer<P> mainImage;
    vxPelBuffer<S> secondImage;
    if (isDirect(buffer, second != nullptr || (normalize && member.maximum > 0.0), inPlace)) {
        mainImage = directMagnitudeImage<P>(buffer);
        vxAttention::check();
    } else {
        const vxFrequencyBuffer& spatial = spatialSamples(buffer, copy, inPlace);
        vxAttention::check();
        mainImage = magnitudeImage<P>(spatial, member.maximum, normalize);
        if (second != nullptr) {
            secondImage = member.secondImage(spatial);
        }
    }
    if (inPlace) {
        markConsumed(buffer);
    }
    if (!member.offsetBeforeWrap) {
        mainImage.offset(0, 0);
    }
    mainImage = vf_Wrapped(buffer, mainImage);
    if (second != nullptr && member.secondWrittenFirst) {
        vf_Deliver(secondImage, *second);
    }
    vf_Deliver(mainImage, image);
    if (second != nullptr && !member.secondWrittenFirst) {
        vf_Deliver(secondImage, *second);
    }
}

// A bound image, too, takes the client transform here.
void deliverPart(const vxPelBuffer<double>& image, vxPelBuffer<double>& output) {
    vf_Deliver(image, output);
    if (image.isBound()) {
        output.copyXforms(image.xformCache());
    }
}

} // namespace

void vf_InverseFFT(vxFrequencyBuffer& buffer, vxPelBuffer<unsigned char>& image, vxPelBuffer<double>* angle,
                   bool normalize, bool inPlace) {
    invert(byteAngle, buffer, image, angle, normalize, inPlace);
}

void vf_InverseFFT(vxFrequencyBuffer& buffer, vxPelBuffer<unsigned short>& image, vxPelBuffer<double>* angle,
                   bool normalize, bool inPlace) {
    invert(wordAngle, buffer, image, angle, normalize, inPlace);
}

void vf_InverseFFT(vxFrequencyBuffer& buffer, vxPelBuffer<double>& image, vxPelBuffer<double>* angle,
                   bool normalize, bool inPlace) {
    invert(doubleAngle, buffer, image, angle, normalize, inPlace);
}

void vf_InverseFFT(vxFrequencyBuffer& buffer, vxPelBuffer<unsigned char>& image,
                   vxPelBuffer<unsigned char>& quadrant, bool normalize, bool inPlace) {
    invert(byteQuadrant, buffer, image, &quadrant, normalize, inPlace);
}

void vf_InverseFFT(vxFrequencyBuffer& buffer, vxPelBuffer<unsigned short>& image,
                   vxPelBuffer<unsigned char>& quadrant, bool normalize, bool inPlace) {
    invert(wordQuadrant, buffer, image, &quadrant, normalize, inPlace);
}

void vf_InverseFFT(vxFrequencyBuffer& buffer, vxPelBuffer<double>& image,
                   vxPelBuffer<unsigned char>& quadrant, bool normalize, bool inPlace) {
    invert(doubleQuadrant, buffer, image, &quadrant, normalize, inPlace);
}

template <vx_Pel T>
void vfInverseFFT(vxFrequencyBuffer& buffer, vxPelBuffer<T>& image, bool normalize, bool inPlace) {
    vf_InverseFFT(buffer, image, static_cast<vxPelBuffer<double>*>(nullptr), normalize, inPlace);
}

template <vx_Pel T>
void vfInverseFFT(const vxFrequencyBuffer& buffer, vxPelBuffer<T>& image, bool normalize) {
    vfInverseFFT(vf_ReadOnly(buffer), image, normalize, false);
}

void vfInverseFFT(vxFrequencyBuffer& buffer, vxPelBuffer<double>& real, vxPelBuffer<double>& imaginary,
                  bool inPlace) {
    requireInvertible(buffer);
    vxFrequencyBuffer copy;
    const vxFrequencyBuffer& spatial = spatialSamples(buffer, copy, inPlace);
    vxAttention::check();
    const float scale = scaleOf(spatial);
    const auto realPel = [scale](float re, float) { return static_cast<double>(re * scale); };
    const auto imaginaryPel = [scale](float, float im) { return static_cast<double>(im * scale); };
    const vxPelBuffer<double> realImage = vf_Wrapped(spatial, vf_ImageOf<double>(spatial, realPel));
    const vxPelBuffer<double> imaginaryImage = vf_Wrapped(spatial, vf_ImageOf<double>(spatial, imaginaryPel));
    if (inPlace) {
        markConsumed(buffer);
    }
    deliverPart(realImage, real);
    deliverPart(imaginaryImage, imaginary);
}

void vfInverseFFT(const vxFrequencyBuffer& buffer, vxPelBuffer<double>& real,
                  vxPelBuffer<double>& imaginary) {
    vfInverseFFT(vf_ReadOnly(buffer), real, imaginary, false);
}

void vfInverseFFT(vxFrequencyBuffer& source, vxFrequencyBuffer& destination, bool inPlace) {
    requireInvertible(source);
    const bool isSpatial = Access::inverseComputed(source);
    if (inPlace && !isSpatial) {
        if (&source != &destination) {
            Access::copySize(source); // Refuses what could not be assigned while the spectrum is still there.
        }
        transform(source);
    }
    destination = source;
    if (!inPlace && !isSpatial) {
        transform(destination);
    }
    Access::inverseComputed(destination, false);
    Access::masked(destination, 0);
    // One buffer as both arguments ends consumed as well.
    if (inPlace || isSpatial) {
        markConsumed(source);
    }
}

void vfInverseFFT(const vxFrequencyBuffer& source, vxFrequencyBuffer& destination) {
    vfInverseFFT(vf_ReadOnly(source), destination, false);
}

template void vfInverseFFT(vxFrequencyBuffer&, vxPelBuffer<unsigned char>&, bool, bool);
template void vfInverseFFT(vxFrequencyBuffer&, vxPelBuffer<unsigned short>&, bool, bool);
template void vfInverseFFT(vxFrequencyBuffer&, vxPelBuffer<double>&, bool, bool);
template void vfInverseFFT(const vxFrequencyBuffer&, vxPelBuffer<unsigned char>&, bool);
template void vfInverseFFT(const vxFrequencyBuffer&, vxPelBuffer<unsigned short>&, bool);
template void vfInverseFFT(const vxFrequencyBuffer&, vxPelBuffer<double>&, bool);

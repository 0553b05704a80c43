#include "filt/fft/inverse_fft.h"

#include "filt/fft/internal/angle_quadrant_images.h"
#include "filt/fft/internal/inverse_samples.h"
#include "filt/fft/internal/spatial_images.h"
#include "filt/fft/internal/transformable.h"
#include "filt/fft/kernels/instruction_sets.h"
#include "filt/internal/numerics.h"
#include "kavstd/attention.h"

#include <cmath>
#include <cstddef>

using Access = vx_FrequencyBufferAccess;

namespace {

// Not (value >= 0) instead of (0 > value): a NaN counts as negative. It goes with the magnitudes and has no
// cancellation point of its own.
vxPelBuffer<unsigned char> nanNegativeQuadrantImage(const vx_SpatialSamples& spatial) {
    const auto code = [](float re, float im) {
        return static_cast<unsigned char>((re >= 0.0F ? 0 : 1) | (im >= 0.0F ? 0 : 2));
    };
    return vf_Wrapped(spatial.buffer, vf_ImageOf<unsigned char>(spatial, code));
}

// How a magnitude image of pels P with a second image of pels S is made.
template <vx_Pel P, vx_Pel S>
struct Member {
    double maximum;        // Of a normalised image; 0: never normalised.
    bool offsetBeforeWrap; // Otherwise the wrap starts from (0, 0), which shifts nothing.
    vxPelBuffer<S> (*secondImage)(const vx_SpatialSamples& spatial);
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

// A flag that is set is not set again: const buffers that are consumed come here too, and are never written.
void markConsumed(vxFrequencyBuffer& buffer) {
    if (!Access::inverseComputed(buffer)) {
        Access::inverseComputed(buffer, true);
    }
}

// Samples of a consumed buffer are spatial already. A cancellation point either way.
void transform(vx_InverseSamples& working) {
    if (!working.transformed()) {
        working.transform();
    }
    vxAttention::check();
}

float scaleOf(const vxFrequencyBuffer& spatial) {
    const double samples =
        static_cast<double>(Access::height(spatial)) * static_cast<double>(Access::width(spatial));
    return static_cast<float>(1.0 / samples);
}

float squaredMagnitude(const float* sample) {
    return sample[0] * sample[0] + sample[1] * sample[1];
}

// The range of the squared magnitudes. The comparisons differ on purpose: a NaN replaces the least, and
// whatever comes after it replaces the NaN; the greatest never becomes NaN.
using Range = vx_Range<float>;
constexpr Range emptyRange = {1e20F, -1e20F};

void extend(Range& range, float squared) {
    range.least = squared >= range.least ? range.least : squared;
    range.most = squared > range.most ? squared : range.most;
}

Range rangeInOrder(const vx_SpatialSamples& spatial) {
    Range range = emptyRange;
    vf_ForEachRun(spatial, [&range](const float* samples, long count, long, long) {
        for (long i = 0; i < count; ++i) {
            extend(range, squaredMagnitude(samples + 2 * i));
        }
    });
    return range;
}

// Without a NaN the order does not matter.
Range rangeOf(const vx_SpatialSamples& spatial) {
    const auto& elements = vf_Elements();
    Range range = emptyRange;
    bool numbers = true;
    vf_ForEachRun(spatial, [&](const float* samples, long count, long, long) {
        numbers = numbers && elements.magnitudeRange(samples, static_cast<std::size_t>(count), range);
    });
    return numbers ? range : rangeInOrder(spatial);
}

// Makes the least magnitude pel 0 and the greatest the maximum.
vx_PelScale stretchOf(const vx_SpatialSamples& spatial, float scale, double maximum) {
    const Range range = rangeOf(spatial);
    const float low = sqrtf(range.least) * scale;
    const float high = sqrtf(range.most) * scale;
    // The difference of the two floats is formed in double.
    const double gain =
        high != low ? maximum / (static_cast<double>(high) - static_cast<double>(low)) : maximum;
    return {scale, low, static_cast<float>(gain)};
}

template <vx_Pel P>
const vx_PelKernels<P>& kernelsFor(const vxFrequencyBuffer& buffer) {
    return vf_KernelsFor(Access::size(buffer)).pels<P>();
}

// The magnitudes of samples that are transformed here, if they are not yet. `maximum` is that of a normalised
// image, or 0.
template <vx_Pel P>
vxPelBuffer<P> magnitudeImage(vx_InverseSamples& working, double maximum) {
    const vx_SpatialSamples& spatial = working.samples();
    const float scale = scaleOf(spatial.buffer);
    vxPelBuffer<P> image = vf_UnsetImageOf<P>(spatial.buffer);
    if (!working.transformed() && maximum == 0.0) {
        working.transform(vx_PelScale{scale}, image);
        vxAttention::check();
        return image;
    }
    transform(working);
    const vx_PelScale pelScale = maximum > 0.0 ? stretchOf(spatial, scale, maximum) : vx_PelScale{scale};
    const vx_PelKernels<P>& kernels = kernelsFor<P>(spatial.buffer);
    vf_ForEachRun(spatial, [&](const float* samples, long count, long x, long y) {
        kernels.magnitudes(samples, static_cast<std::size_t>(count), pelScale, vf_PelRow(image, y) + x);
    });
    return image;
}

// The same of a spectrum that is to stay as it is, without the spatial samples in between.
template <vx_Pel P>
vxPelBuffer<P> directMagnitudeImage(const vxFrequencyBuffer& spectrum) {
    const vx_Plane plane = vf_PlaneOf(spectrum);
    const vx_NonzeroRows rows = vf_NonzeroRows(spectrum);
    vxPelBuffer<P> image = vf_UnsetImageOf<P>(spectrum);
    kernelsFor<P>(spectrum).inverseMagnitude(plane, {rows.low, rows.high, plane.height},
                                             vx_PelScale{scaleOf(spectrum)}, vf_PelsOf(image));
    return image;
}

// The core of all six members. Outputs are handed out when nothing can fail any more.
template <vx_Pel P, vx_Pel S>
void invert(const Member<P, S>& member, vxFrequencyBuffer& buffer, vxPelBuffer<P>& image,
            vxPelBuffer<S>* second, bool normalize, bool inPlace) {
    requireInvertible(buffer);
    vxPelBuffer<P> mainImage;
    vxPelBuffer<S> secondImage;
    const double maximum = normalize ? member.maximum : 0.0;
    const bool samplesWanted = inPlace || second != nullptr || maximum > 0.0;
    if (!samplesWanted && !Access::inverseComputed(buffer) && Access::copyKeepsSize(buffer)) {
        mainImage = directMagnitudeImage<P>(buffer);
        vxAttention::check();
    } else {
        vx_InverseSamples working(buffer, inPlace);
        mainImage = magnitudeImage<P>(working, maximum);
        if (second != nullptr) {
            secondImage = member.secondImage(working.samples());
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

// One part of each sample, scaled.
vxPelBuffer<double> partImage(const vx_SpatialSamples& spatial, decltype(vx_ElementKernels::realParts) parts,
                              float scale) {
    vxPelBuffer<double> image = vf_UnsetImageOf<double>(spatial.buffer);
    vf_ForEachRun(spatial, [&](const float* samples, long count, long x, long y) {
        parts(samples, static_cast<std::size_t>(count), scale, vf_PelRow(image, y) + x);
    });
    return image;
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

template <class T>
void vfInverseFFT(vxFrequencyBuffer& buffer, vxPelBuffer<T>& image, bool normalize, bool inPlace) {
    vf_InverseFFT(buffer, image, static_cast<vxPelBuffer<double>*>(nullptr), normalize, inPlace);
}

template <class T>
void vfInverseFFT(const vxFrequencyBuffer& buffer, vxPelBuffer<T>& image, bool normalize) {
    vfInverseFFT(vf_ReadOnly(buffer), image, normalize, false);
}

void vfInverseFFT(vxFrequencyBuffer& buffer, vxPelBuffer<double>& real, vxPelBuffer<double>& imaginary,
                  bool inPlace) {
    requireInvertible(buffer);
    vx_InverseSamples working(buffer, inPlace);
    transform(working);
    const vx_SpatialSamples& spatial = working.samples();
    const float scale = scaleOf(spatial.buffer);
    const vxPelBuffer<double> realImage =
        vf_Wrapped(spatial.buffer, partImage(spatial, vf_Elements().realParts, scale));
    const vxPelBuffer<double> imaginaryImage =
        vf_Wrapped(spatial.buffer, partImage(spatial, vf_Elements().imaginaryParts, scale));
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
    if (isSpatial) {
        destination = source;
    } else if (!inPlace) {
        vf_TransformCopy(source, destination, -1, vf_NonzeroRows(source));
    } else {
        if (&source != &destination) {
            Access::copySize(source); // Refuses what could not be assigned while the spectrum is still there.
        }
        vf_TransformInPlace(source, -1, vf_NonzeroRows(source));
        destination = source;
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

#include "filt/fft/angle_quadrant.h"

#include "filt/fft/internal/angle_quadrant_images.h"
#include "filt/fft/internal/spatial_images.h"
#include "filt/fft/internal/transformable.h"
#include "filt/internal/numerics.h"
#include "kavstd/attention.h"

#include <cmath>

namespace {

// The two readers: the pel type and a pel's value.
struct Angle {
    using Pel = double;
    static Pel valueOf(float re, float im) { return static_cast<double>(atan2f(im, re)); }
};
struct Quadrant {
    using Pel = unsigned char;
    // Strictly below zero, so a NaN is not negative here; magnitude images of doubles decide otherwise.
    static Pel valueOf(float re, float im) {
        return static_cast<Pel>((0.0F > re ? 1 : 0) | (0.0F > im ? 2 : 0));
    }
};

template <class Reader>
vxPelBuffer<typename Reader::Pel> read(const vx_SpatialSamples& spatial) {
    vxAttention::check();
    // Not the function itself, which would be called through a pointer for each pel.
    const auto valueOf = [](float re, float im) { return Reader::valueOf(re, im); };
    return vf_Wrapped(spatial.buffer, vf_ImageOf<typename Reader::Pel>(spatial, valueOf));
}

} // namespace

vxPelBuffer<double> vf_AngleImage(const vx_SpatialSamples& spatial) {
    return read<Angle>(spatial);
}

vxPelBuffer<unsigned char> vf_QuadrantImage(const vx_SpatialSamples& spatial) {
    return read<Quadrant>(spatial);
}

void vf_ComputeAngleImage(const vxFrequencyBuffer& buffer, vxPelBuffer<double>& angle) {
    vx_FrequencyBufferAccess::requireSamples(buffer);
    vf_Deliver(vf_AngleImage(vf_SamplesOf(buffer)), angle);
}

void vf_ComputeQuadrantImage(const vxFrequencyBuffer& buffer, vxPelBuffer<unsigned char>& quadrant) {
    vx_FrequencyBufferAccess::requireSamples(buffer);
    vf_Deliver(vf_QuadrantImage(vf_SamplesOf(buffer)), quadrant);
}

template <class T>
void vfInverseFFTAngle(vxFrequencyBuffer& buffer, vxPelBuffer<T>& image, vxPelBuffer<double>& angle,
                       bool normalize, bool inPlace) {
    vf_InverseFFT(buffer, image, &angle, normalize, inPlace);
}

template <class T>
void vfInverseFFTAngle(const vxFrequencyBuffer& buffer, vxPelBuffer<T>& image, vxPelBuffer<double>& angle,
                       bool normalize) {
    vf_InverseFFT(vf_ReadOnly(buffer), image, &angle, normalize, false);
}

template <class T>
void vfInverseFFTQuadrant(vxFrequencyBuffer& buffer, vxPelBuffer<T>& image,
                          vxPelBuffer<unsigned char>& quadrant, bool normalize, bool inPlace) {
    vf_InverseFFT(buffer, image, quadrant, normalize, inPlace);
}

template <class T>
void vfInverseFFTQuadrant(const vxFrequencyBuffer& buffer, vxPelBuffer<T>& image,
                          vxPelBuffer<unsigned char>& quadrant, bool normalize) {
    vf_InverseFFT(vf_ReadOnly(buffer), image, quadrant, normalize, false);
}

template void vfInverseFFTAngle(vxFrequencyBuffer&, vxPelBuffer<unsigned char>&, vxPelBuffer<double>&, bool,
                                bool);
template void vfInverseFFTAngle(vxFrequencyBuffer&, vxPelBuffer<unsigned short>&, vxPelBuffer<double>&, bool,
                                bool);
template void vfInverseFFTAngle(vxFrequencyBuffer&, vxPelBuffer<double>&, vxPelBuffer<double>&, bool, bool);
template void vfInverseFFTAngle(const vxFrequencyBuffer&, vxPelBuffer<unsigned char>&, vxPelBuffer<double>&,
                                bool);
template void vfInverseFFTAngle(const vxFrequencyBuffer&, vxPelBuffer<unsigned short>&, vxPelBuffer<double>&,
                                bool);
template void vfInverseFFTAngle(const vxFrequencyBuffer&, vxPelBuffer<double>&, vxPelBuffer<double>&, bool);
template void vfInverseFFTQuadrant(vxFrequencyBuffer&, vxPelBuffer<unsigned char>&,
                                   vxPelBuffer<unsigned char>&, bool, bool);
template void vfInverseFFTQuadrant(vxFrequencyBuffer&, vxPelBuffer<unsigned short>&,
                                   vxPelBuffer<unsigned char>&, bool, bool);
template void vfInverseFFTQuadrant(vxFrequencyBuffer&, vxPelBuffer<double>&, vxPelBuffer<unsigned char>&,
                                   bool, bool);
template void vfInverseFFTQuadrant(const vxFrequencyBuffer&, vxPelBuffer<unsigned char>&,
                                   vxPelBuffer<unsigned char>&, bool);
template void vfInverseFFTQuadrant(const vxFrequencyBuffer&, vxPelBuffer<unsigned short>&,
                                   vxPelBuffer<unsigned char>&, bool);
template void vfInverseFFTQuadrant(const vxFrequencyBuffer&, vxPelBuffer<double>&,
                                   vxPelBuffer<unsigned char>&, bool);

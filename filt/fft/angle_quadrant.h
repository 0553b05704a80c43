/// \file
/// Phase angle and quadrant images of an inverse transform.
#pragma once

#include "filt/fft/inverse_fft.h"

/// atan2(imaginary, real) of each sample in single precision, radians, -pi to pi. The samples are read as
/// they stand, consumed or not, so the buffer must already hold spatial ones. Throws Uninitialized for a
/// buffer without samples. One that is cancelled, or finds no memory, changes nothing.
VX_EXPORT void vf_ComputeAngleImage(const vxFrequencyBuffer& buffer, vxPelBuffer<double>& angle);

/// The same for quadrants. Bit 0: the real part is negative; bit 1: the imaginary part is. Zeros of either
/// sign and NaNs are not negative.
VX_EXPORT void vf_ComputeQuadrantImage(const vxFrequencyBuffer& buffer, vxPelBuffer<unsigned char>& quadrant);

/// Magnitude and angle image, T = unsigned char, unsigned short or double.
template <class T>
VX_EXPORT void vfInverseFFTAngle(vxFrequencyBuffer& buffer, vxPelBuffer<T>& image, vxPelBuffer<double>& angle,
                                 bool normalize, bool inPlace);
template <class T>
VX_EXPORT void vfInverseFFTAngle(const vxFrequencyBuffer& buffer, vxPelBuffer<T>& image,
                                 vxPelBuffer<double>& angle, bool normalize);

/// Magnitude and quadrant image. With T = double a NaN part counts as negative in the quadrant image.
template <class T>
VX_EXPORT void vfInverseFFTQuadrant(vxFrequencyBuffer& buffer, vxPelBuffer<T>& image,
                                    vxPelBuffer<unsigned char>& quadrant, bool normalize, bool inPlace);
template <class T>
VX_EXPORT void vfInverseFFTQuadrant(const vxFrequencyBuffer& buffer, vxPelBuffer<T>& image,
                                    vxPelBuffer<unsigned char>& quadrant, bool normalize);

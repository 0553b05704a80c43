/// \file
/// Inverse Fourier transforms: spectra to images.
///
/// Images have the source image's size, offset and client transform. Image pels are scaled by 1 / (width *
/// height); magnitudes are formed in single precision. An output that is bound keeps its size, offset and
/// transform and receives the overlapping pels; an unbound one is replaced. Outputs are assigned when
/// everything has been computed.
///
/// An inverse that is cancelled, or finds no memory, leaves output images as they were, and a destination
/// buffer with any samples or uninitialized. It leaves the buffer that it reads as it was, too, but with
/// `inPlace` any samples in it, which are no longer those of the spectrum.
///
/// With `inPlace` the buffer's own samples are transformed and it is left consumed: it can still be inverted
/// again (the spatial samples are read again), but its samples cannot be accessed. A consumed buffer is
/// always read in place.
///
/// Every operation throws Uninitialized for a buffer without samples, and InvalidSize for a loaded buffer of
/// a size that no kernel can do or, where it is copied, of a source size above 2048, before anything changes.
#pragma once

#include "filt/fft/frequency_buffer.h"
#include "kavstd/pelbuffer.h"

/// Magnitude image and, if `angle` is not null, the phase angle image. `normalize` stretches 8- and 16-bit
/// images to the full pel range; without it magnitudes are rounded to the nearest integer, whose low 8 or 16
/// bits are kept. At the offset (0, 0), images of 8 bits come back from forward and inverse as they were; so
/// do images of 16 bits up to 512 x 512, while pels of larger ones of high contrast can be off by one (and
/// 65535 then wraps to 0).
VX_EXPORT void vf_InverseFFT(vxFrequencyBuffer& buffer, vxPelBuffer<unsigned char>& image,
                             vxPelBuffer<double>* angle, bool normalize, bool inPlace);
VX_EXPORT void vf_InverseFFT(vxFrequencyBuffer& buffer, vxPelBuffer<unsigned short>& image,
                             vxPelBuffer<double>* angle, bool normalize, bool inPlace);
/// Doubles are never normalised.
VX_EXPORT void vf_InverseFFT(vxFrequencyBuffer& buffer, vxPelBuffer<double>& image,
                             vxPelBuffer<double>* angle, bool normalize, bool inPlace);

/// Magnitude image and quadrant image.
VX_EXPORT void vf_InverseFFT(vxFrequencyBuffer& buffer, vxPelBuffer<unsigned char>& image,
                             vxPelBuffer<unsigned char>& quadrant, bool normalize, bool inPlace);
VX_EXPORT void vf_InverseFFT(vxFrequencyBuffer& buffer, vxPelBuffer<unsigned short>& image,
                             vxPelBuffer<unsigned char>& quadrant, bool normalize, bool inPlace);
VX_EXPORT void vf_InverseFFT(vxFrequencyBuffer& buffer, vxPelBuffer<double>& image,
                             vxPelBuffer<unsigned char>& quadrant, bool normalize, bool inPlace);

/// Magnitude image, T = unsigned char, unsigned short or double.
template <class T>
VX_EXPORT void vfInverseFFT(vxFrequencyBuffer& buffer, vxPelBuffer<T>& image, bool normalize, bool inPlace);
template <class T>
VX_EXPORT void vfInverseFFT(const vxFrequencyBuffer& buffer, vxPelBuffer<T>& image, bool normalize);

/// Real and imaginary image. Here a bound output takes the client transform, too.
VX_EXPORT void vfInverseFFT(vxFrequencyBuffer& buffer, vxPelBuffer<double>& real,
                            vxPelBuffer<double>& imaginary, bool inPlace);
VX_EXPORT void vfInverseFFT(const vxFrequencyBuffer& buffer, vxPelBuffer<double>& real,
                            vxPelBuffer<double>& imaginary);

/// The raw inverse, width * height times the spatial signal, as an ordinary unmasked buffer.
VX_EXPORT void vfInverseFFT(vxFrequencyBuffer& source, vxFrequencyBuffer& destination, bool inPlace);
VX_EXPORT void vfInverseFFT(const vxFrequencyBuffer& source, vxFrequencyBuffer& destination);

/// \file
/// Forward Fourier transforms: images to spectra.
///
/// X(u, v) = sum over x, y of f(x, y) exp(-2 pi i (u x / W + v y / H)), unnormalised, DC at (0, 0). The
/// destination is sized to the powers of two not below the image's size, zero-padded to the right and below,
/// and takes the image's size, offset and client transform. A transform that is cancelled, or finds no
/// memory, leaves the destination with any samples or uninitialized; the next one into it is as good as ever.
/// See Sorensen, Heideman, Burrus, "On computing the split-radix FFT", IEEE Trans. ASSP 34 (1986).
#pragma once

#include "filt/fft/frequency_buffer.h"
#include "kavstd/pelbuffer.h"

/// One image. Throws vxFrequencyDefs::UnboundWindow, or InvalidSize above 2048, before the destination
/// changes.
VX_EXPORT void vf_ForwardFFT(const vxPelBuffer_const<unsigned char>& source, vxFrequencyBuffer& destination);
VX_EXPORT void vf_ForwardFFT(const vxPelBuffer_const<unsigned short>& source, vxFrequencyBuffer& destination);
VX_EXPORT void vf_ForwardFFT(const vxPelBuffer_const<double>& source, vxFrequencyBuffer& destination);

/// A real and an imaginary image of one size and offset; offset and transform are the real image's. Throws
/// UnboundWindow, or InvalidSize when they differ or above 2048.
VX_EXPORT void vf_ForwardFFT(const vxPelBuffer_const<unsigned char>& real,
                             const vxPelBuffer_const<unsigned char>& imaginary,
                             vxFrequencyBuffer& destination);
VX_EXPORT void vf_ForwardFFT(const vxPelBuffer_const<unsigned short>& real,
                             const vxPelBuffer_const<unsigned short>& imaginary,
                             vxFrequencyBuffer& destination);
VX_EXPORT void vf_ForwardFFT(const vxPelBuffer_const<double>& real,
                             const vxPelBuffer_const<double>& imaginary, vxFrequencyBuffer& destination);

/// The same for T = unsigned char, unsigned short, double.
template <class T>
VX_EXPORT void vfForwardFFT(const vxPelBuffer_const<T>& source, vxFrequencyBuffer& destination);
template <class T>
VX_EXPORT void vfForwardFFT(const vxPelBuffer_const<T>& real, const vxPelBuffer_const<T>& imaginary,
                            vxFrequencyBuffer& destination);

/// Transforms the samples of `source` as complex values, as they stand. The result is neither masked nor
/// consumed. Throws Uninitialized, or InvalidSize for a loaded buffer of a size that no kernel can do or of a
/// source size above 2048, before the destination changes.
VX_EXPORT void vfForwardFFT(const vxFrequencyBuffer& source, vxFrequencyBuffer& destination);

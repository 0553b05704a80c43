/// \file
/// What the readers of spatial samples share: making an image from a buffer that an inverse transform has
/// left spatial, putting it where the source image was, and handing it to the caller.
#pragma once

#include "filt/fft/internal/periodic_copy.h"
#include "filt/internal/buffer_access.h"
#include "filt/internal/pel_row.h"

/// Row y of the samples, 2 * width floats.
inline const float* vf_SampleRow(const vxFrequencyBuffer& buffer, long y) {
    return vx_FrequencyBufferAccess::data(buffer) + 2 * vx_FrequencyBufferAccess::width(buffer) * y;
}

/// An image of the source's size, offset and client transform, its pels to be written. A source size below 1
/// gives an unbound image.
template <vx_Pel T>
vxPelBuffer<T> vf_UnsetImageOf(const vxFrequencyBuffer& buffer) {
    vxPelBuffer<T> image = vxPelBuffer<T>::unset(vx_FrequencyBufferAccess::sourceWidth(buffer),
                                                 vx_FrequencyBufferAccess::sourceHeight(buffer), 32);
    image.offset(vx_FrequencyBufferAccess::offset(buffer));
    image.copyXforms(vx_FrequencyBufferAccess::xformCache(buffer));
    return image;
}

/// That image with each pel valueOf(real, imaginary) of its sample.
template <vx_Pel T, class ValueOf>
vxPelBuffer<T> vf_ImageOf(const vxFrequencyBuffer& spatial, ValueOf valueOf) {
    vxPelBuffer<T> image = vf_UnsetImageOf<T>(spatial);
    for (long y = 0; y < image.height(); ++y) {
        const float* samples = vf_SampleRow(spatial, y);
        T* pels = vf_PelRow(image, y);
        for (long x = 0; x < image.width(); ++x) {
            pels[x] = valueOf(samples[2 * x], samples[2 * x + 1]);
        }
    }
    return image;
}

/// The image as it belongs at the source's offset: the counterpart of the periodic copy that the forward
/// transform makes of an offset image. Nothing to do, and no cancellation point, when the offset is (0, 0).
template <vx_Pel T>
vxPelBuffer<T> vf_Wrapped(const vxFrequencyBuffer& spatial, const vxPelBuffer<T>& image) {
    const vxPair<long>& offset = vx_FrequencyBufferAccess::offset(spatial);
    if (offset == vxPair<long>(0, 0)) {
        return image;
    }
    vxPelBuffer<T> wrapped(image.width(), image.height(), 32);
    vf_PeriodicCopy(image, wrapped, true);
    wrapped.offset(offset);
    wrapped.copyXforms(image.xformCache());
    return wrapped;
}

/// Hands a finished image to the caller: an unbound output becomes the image, a bound one receives the
/// overlapping pels.
template <vx_Pel T>
void vf_Deliver(const vxPelBuffer<T>& image, vxPelBuffer<T>& output) {
    if (output.isBound()) {
        vfPelCopy(image, output);
    } else {
        output = image;
    }
}

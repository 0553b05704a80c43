/// \file
/// What the readers of spatial samples share: making an image from a buffer that an inverse transform has
/// left spatial, putting it where the source image was, and handing it to the caller.
#pragma once

#include "filt/fft/internal/periodic_copy.h"
#include "filt/fft/internal/transformable.h"
#include "filt/fft/kernels/kernel_table.h"
#include "filt/internal/buffer_access.h"
#include "filt/internal/pel_row.h"

#include <algorithm>
#include <cstddef>

/// Spatial samples, and a buffer with what else is known of their image.
struct vx_SpatialSamples {
    const vxFrequencyBuffer& buffer;
    vx_SplitPlane plane;
};

/// Those of a buffer that an inverse transform has left spatial.
inline vx_SpatialSamples vf_SamplesOf(const vxFrequencyBuffer& buffer) {
    return {buffer, vf_PlaneOf(buffer)};
}

/// Calls use(samples, count, x, y) for runs of samples, from (x, y) on, that make up the source's image, row
/// by row.
template <class Use>
void vf_ForEachRun(const vx_SpatialSamples& spatial, Use use) {
    const long width = vx_FrequencyBufferAccess::sourceWidth(spatial.buffer);
    if (width < 1) {
        return;
    }
    const long left = std::min(width, static_cast<long>(spatial.plane.left.width));
    for (long y = 0; y < vx_FrequencyBufferAccess::sourceHeight(spatial.buffer); ++y) {
        const auto row = static_cast<std::size_t>(y);
        use(spatial.plane.left.row(row), left, 0L, y);
        if (left < width) {
            use(spatial.plane.right.row(row), width - left, left, y);
        }
    }
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

/// Pels valueOf(real, imaginary) of `count` samples. A function of its own, so that compilers see that
/// nothing it reads is written.
template <class T, class ValueOf>
[[gnu::noinline]] void vf_RunOf(const float* samples, long count, ValueOf valueOf, T* __restrict pels) {
    for (long i = 0; i < count; ++i) {
        pels[i] = valueOf(samples[2 * i], samples[2 * i + 1]);
    }
}

/// That image with each pel valueOf(real, imaginary) of its sample.
template <vx_Pel T, class ValueOf>
vxPelBuffer<T> vf_ImageOf(const vx_SpatialSamples& spatial, ValueOf valueOf) {
    vxPelBuffer<T> image = vf_UnsetImageOf<T>(spatial.buffer);
    vf_ForEachRun(spatial, [&](const float* samples, long count, long x, long y) {
        vf_RunOf(samples, count, valueOf, vf_PelRow(image, y) + x);
    });
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

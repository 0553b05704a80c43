/// \file
/// What a buffer must be before its samples are transformed, and the way of const buffers into the inverse
/// transforms.
#pragma once

#include "filt/fft/kernels/instruction_sets.h"
#include "filt/fft/kernels/kernels.h"
#include "filt/internal/buffer_access.h"
#include "filt/internal/messages.h"

#include <bit>

/// Throws InvalidSize for a size that no kernel can do, which only a loaded buffer has.
inline void vf_RequireKernelSize(const vxFrequencyBuffer& buffer) {
    constexpr long kernelLimit = 32768; // The kernels' tables end there.
    const long width = vx_FrequencyBufferAccess::width(buffer);
    const long height = vx_FrequencyBufferAccess::height(buffer);
    const auto isPowerOfTwo = [](long size) { return std::has_single_bit(static_cast<unsigned long>(size)); };
    if (!isPowerOfTwo(width) || !isPowerOfTwo(height)) {
        throw vxFrequencyDefs::InvalidSize(vx_Messages::sizeNotPowerOfTwo);
    }
    if (width > kernelLimit || height > kernelLimit) {
        throw vxFrequencyDefs::InvalidSize(vx_Messages::sizeLimit);
    }
}

/// The buffer's samples as the kernels take them. Writable even through a const buffer.
inline vx_Plane vf_PlaneOf(const vxFrequencyBuffer& buffer) {
    return vf_PlaneOf(vx_FrequencyBufferAccess::data(buffer), vx_FrequencyBufferAccess::size(buffer));
}

/// An image's pels as the kernels take them.
template <vx_Pel T>
vx_Pels<const T> vf_PelsOf(const vxPelBuffer_const<T>& image) {
    return {image.pointToOffset(), image.rowUpdate(), static_cast<std::size_t>(image.width()),
            static_cast<std::size_t>(image.height())};
}
template <vx_Pel T>
vx_Pels<T> vf_PelsOf(const vxPelBuffer<T>& image) {
    return {image.pointToOffset(), image.rowUpdate(), static_cast<std::size_t>(image.width()),
            static_cast<std::size_t>(image.height())};
}

/// The rows of a spectrum that are not zero, as far as the buffer knows.
struct vx_NonzeroRows {
    long low;
    long high;
};

inline vx_NonzeroRows vf_EveryRow(const vxFrequencyBuffer& buffer) {
    return {0, vx_FrequencyBufferAccess::height(buffer)};
}

inline vx_NonzeroRows vf_NonzeroRows(const vxFrequencyBuffer& buffer) {
    if (vx_FrequencyBufferAccess::masked(buffer) == 0) {
        return vf_EveryRow(buffer);
    }
    return {vx_FrequencyBufferAccess::maskedMiny(buffer), vx_FrequencyBufferAccess::maskedMaxy(buffer)};
}

inline void vf_TransformInPlace(vxFrequencyBuffer& buffer, int direction, const vx_NonzeroRows& rows) {
    vf_ComplexFFT2D(vx_FrequencyBufferAccess::data(buffer), vx_FrequencyBufferAccess::size(buffer), direction,
                    rows.low, rows.high);
}

/// Makes `result` what transforming a copy of `source` in place makes of the copy. They may be one.
inline void vf_TransformCopy(const vxFrequencyBuffer& source, vxFrequencyBuffer& result, int direction,
                             const vx_NonzeroRows& rows) {
    if (&source == &result || !vx_FrequencyBufferAccess::copyKeepsSize(source)) {
        result = source;
        vf_TransformInPlace(result, direction, rows);
        return;
    }
    vx_FrequencyBufferAccess::takeState(result, source);
    const vx_Plane plane = vf_PlaneOf(result);
    vf_KernelsFor(vx_FrequencyBufferAccess::size(source))
        .complex(vx_FrequencyBufferAccess::data(source), plane, direction,
                 {rows.low, rows.high, plane.height});
}

/// For an inverse that is not in place: it reads the buffer, from as many threads as like, and never writes
/// to it.
inline vxFrequencyBuffer& vf_ReadOnly(const vxFrequencyBuffer& buffer) {
    return const_cast<vxFrequencyBuffer&>(buffer);
}

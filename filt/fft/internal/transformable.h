/// \file
/// What a buffer must be before its samples are transformed, and the way of const buffers into the inverse
/// transforms.
#pragma once

#include "filt/fft/kernels/kernel_table.h"
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

/// For an inverse that is not in place: it reads the buffer, from as many threads as like, and never writes
/// to it.
inline vxFrequencyBuffer& vf_ReadOnly(const vxFrequencyBuffer& buffer) {
    return const_cast<vxFrequencyBuffer&>(buffer);
}

/// The buffer's samples as the kernels take them. Writable even through a const buffer.
inline vx_Plane vf_PlaneOf(const vxFrequencyBuffer& buffer) {
    return vf_PlaneOf(vx_FrequencyBufferAccess::data(buffer), vx_FrequencyBufferAccess::size(buffer));
}

/// \file
/// The way of the transforms and the arithmetic to the private state of a frequency buffer.
#pragma once

#include "filt/fft/frequency_buffer.h"

struct vx_FrequencyBufferAccess {
    static void setAndAllocate(vxFrequencyBuffer& buffer, long width, long height) {
        buffer.setAndAllocate(width, height);
    }
    /// The size of a copy, which is derived again from the source size; InvalidSize when it is too large.
    static vxPair<long> copySize(const vxFrequencyBuffer& buffer) {
        return vxFrequencyBuffer::allocatedSize(buffer.sourceWidth_, buffer.sourceHeight_);
    }
    /// Whether a copy has the buffer's size: that of a cropped or a loaded buffer may have another.
    static bool copyKeepsSize(const vxFrequencyBuffer& buffer) { return copySize(buffer) == size(buffer); }
    /// Makes `copy` a copy of another buffer in everything but its samples.
    static void takeState(vxFrequencyBuffer& copy, const vxFrequencyBuffer& source) {
        copy.takeState(source);
    }
    static void swap(vxFrequencyBuffer& a, vxFrequencyBuffer& b) noexcept { a.swap(b); }
    /// Throws Uninitialized for a buffer without samples.
    static void requireSamples(const vxFrequencyBuffer& buffer) { buffer.requireSamples(); }
    /// Null when uninitialized. Writable even through a const buffer.
    static float* data(const vxFrequencyBuffer& buffer) { return buffer.data_; }
    /// Complex samples; not for a buffer that was loaded without any.
    static std::uint64_t sampleCount(const vxFrequencyBuffer& buffer) { return buffer.sampleCount(); }
    static vxPair<long> size(const vxFrequencyBuffer& buffer) { return {buffer.width_, buffer.height_}; }
    static long width(const vxFrequencyBuffer& buffer) { return buffer.width_; }
    static long height(const vxFrequencyBuffer& buffer) { return buffer.height_; }
    static long sourceWidth(const vxFrequencyBuffer& buffer) { return buffer.sourceWidth_; }
    static long sourceHeight(const vxFrequencyBuffer& buffer) { return buffer.sourceHeight_; }
    static bool inverseComputed(const vxFrequencyBuffer& buffer) { return buffer.inverseComputed_; }
    static void inverseComputed(vxFrequencyBuffer& buffer, bool value) { buffer.inverseComputed_ = value; }
    static long masked(const vxFrequencyBuffer& buffer) { return buffer.masked(); }
    static void masked(vxFrequencyBuffer& buffer, long value) { buffer.masked(value); }
    static long maskedMiny(const vxFrequencyBuffer& buffer) { return buffer.maskedMiny(); }
    static long maskedMaxy(const vxFrequencyBuffer& buffer) { return buffer.maskedMaxy(); }
    static const vx2XformCache& xformCache(const vxFrequencyBuffer& buffer) { return buffer.xformCache_; }
    static void xformCache(vxFrequencyBuffer& buffer, const vx2XformCache& value) {
        buffer.xformCache_ = value;
    }
    static const vxPair<long>& offset(const vxFrequencyBuffer& buffer) { return buffer.offset_; }
    static void offset(vxFrequencyBuffer& buffer, const vxPair<long>& value) { buffer.offset_ = value; }
};

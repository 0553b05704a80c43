/// \file
/// What every apply does around the walk over the samples.
#pragma once

#include "filt/freqfilt/filter.h"
#include "filt/freqfilt/internal/dc_square.h"
#include "filt/freqfilt/internal/filter_kind.h"

/// The base's way to a buffer's private state, for what the filters share.
struct vx_FilterBuffers : public vxFrequencyFilter {
    using vxFrequencyFilter::getFrequencyBufferData;
    using vxFrequencyFilter::maskFrequencyBuffer;
    using vxFrequencyFilter::setAndAllocateFrequencyBuffer;
};

/// Whether the result keeps its size (in place) or is sized to the input.
enum class vx_ResultSize { kept, asInput };

/// The rows that the result is marked to be confined to, if any, in centred numbering.
struct vx_MarkedRows {
    bool masked = false;
    long first = 0;
    long last = 0;
};

/// Applies a shape whose operand has been checked. `shape.multiply(in, out, outside)` multiplies its gains
/// into samples; it was made before, so that nothing but sizing the result can fail once something changes.
template <class Shape>
void vf_ApplyShape(Shape shape, const vx_FilterKind& kind, long dcRadius, const vx_MarkedRows& band,
                   const vxFrequencyBuffer& in, vxFrequencyBuffer& out, vx_ResultSize resultSize) {
    const vx_DcSquare dcSquare(in, dcRadius, kind.dcSquare);
    if (resultSize == vx_ResultSize::asInput) {
        vx_FilterBuffers::setAndAllocateFrequencyBuffer(out, in.width(), in.height());
    }
    vx_FilterBuffers::maskFrequencyBuffer(out, band.masked, band.first, band.last);
    shape.multiply(vx_FilterBuffers::getFrequencyBufferData(in),
                   vx_FilterBuffers::getFrequencyBufferData(out), kind.outside);
    dcSquare.finish(out);
}

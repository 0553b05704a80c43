#include "filt/fft/kernels/kernels.h"

#include "filt/fft/kernels/instruction_sets.h"

void vf_RealFFT2D(float* data, const vxPair<long>& size, int direction, long /*bandLow*/, long /*bandHigh*/) {
    const vx_Plane plane = vf_PlaneOf(data, size);
    if (direction > 0) {
        vf_KernelsFor(size).real(plane);
    } else {
        vf_RealBackward(plane);
    }
}

void vf_ComplexFFT2D(float* data, const vxPair<long>& size, int direction, long bandLow, long bandHigh) {
    const vx_Plane plane = vf_PlaneOf(data, size);
    vf_KernelsFor(size).complex(data, plane, direction, {bandLow, bandHigh, plane.height});
}

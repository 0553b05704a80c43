#include "filt/fft/kernels/array_lanes.h"
#include "filt/fft/kernels/instruction_sets.h"
#include "filt/fft/kernels/kernel_text.h"
#include "filt/internal/numerics.h"

constinit const vx_Kernels vx_InstructionSets::single =
    vf_Kernels<vx_ArrayLanes<1>, vx_ArrayLanes<4>>(vx_InstructionSet::portable);

void vf_RealBackward(const vx_Plane& plane) {
    vf_RealKernel<vx_ArrayLanes<1>, -1>(plane);
}

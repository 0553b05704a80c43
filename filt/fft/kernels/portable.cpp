#include "filt/fft/kernels/array_lanes.h"
#include "filt/fft/kernels/instruction_sets.h"
#include "filt/fft/kernels/kernel_text.h"
#include "filt/internal/numerics.h"

constinit const vx_Kernels vx_InstructionSets::portable =
    vf_Kernels<vx_ArrayLanes<4>>(vx_InstructionSet::portable);

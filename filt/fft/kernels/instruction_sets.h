/// \file
/// The kernels that this build has and the choice among them.
#pragma once

#include "filt/fft/kernels/kernel_table.h"
#include "kavstd/pair.h"

#include <vector>

#if (defined(__x86_64__) || defined(__amd64__)) && defined(__GNUC__)
#define VX_X86_64 1
#endif

/// One table per instruction set, each in a unit of its own that is compiled for that set.
struct vx_InstructionSets {
    static const vx_Kernels single; ///< One lane: for what is too small for any vectors.
    static const vx_Kernels portable;
#ifdef VX_X86_64
    static const vx_Kernels sse2;
    static const vx_Kernels avx2;
    static const vx_Kernels avx512;
#endif
};

/// vf_RealFFT2D with direction -1, which nothing needs to be fast.
void vf_RealBackward(const vx_Plane& plane);

/// The fastest kernels of the running processor for a spectrum of that size.
[[nodiscard]] const vx_Kernels& vf_KernelsFor(const vxPair<long>& size) noexcept;

/// The fastest loops of the running processor over single samples, for any number of them.
[[nodiscard]] const vx_ElementKernels& vf_Elements() noexcept;

/// Those of the running processor, from the slowest to the fastest.
[[nodiscard]] std::vector<vx_InstructionSet> vf_SupportedInstructionSets();

[[nodiscard]] const char* vf_InstructionSetName(vx_InstructionSet set);

/// For tests and benchmarks: while it lives, every transform of the process takes this set, or one lane,
/// and every loop over samples this set, which the running processor must have.
class vx_ForcedInstructionSet {
public:
    explicit vx_ForcedInstructionSet(vx_InstructionSet set);
    vx_ForcedInstructionSet(const vx_ForcedInstructionSet&) = delete;
    vx_ForcedInstructionSet& operator=(const vx_ForcedInstructionSet&) = delete;
    ~vx_ForcedInstructionSet();
};

#include "filt/fft/kernels/instruction_sets.h"
#include "filt/internal/numerics.h"

#ifdef VX_X86_64
#include "filt/fft/kernels/kernel_text.h"
#include "filt/fft/kernels/x86_lanes.h"

#include <immintrin.h>

namespace {
using Vector = float __attribute__((vector_size(64)));

// With a mask, since g++ 12 warns of its own unmasked ones.
constexpr __mmask16 everyLane = 0xffff;

struct Lanes : vx_X86Lanes<Lanes, Vector> {
    static V sqrt(V v) noexcept { return _mm512_maskz_sqrt_ps(everyLane, v); }
    static __m512i truncated(V v) noexcept { return _mm512_maskz_cvttps_epi32(everyLane, v); }
};
} // namespace

constexpr vx_Kernels vx_InstructionSets::avx512 = vf_Kernels<Lanes>(vx_InstructionSet::avx512);
#endif

#include "filt/fft/kernels/instruction_sets.h"
#include "filt/internal/numerics.h"

#ifdef VX_X86_64
#include "filt/fft/kernels/kernel_text.h"
#include "filt/fft/kernels/x86_lanes.h"

#include <emmintrin.h>

namespace {
using Vector = float __attribute__((vector_size(16)));

struct Lanes : vx_X86Lanes<Lanes, Vector> {
    static V sqrt(V v) noexcept { return _mm_sqrt_ps(v); }
    static __m128i truncated(V v) noexcept { return _mm_cvttps_epi32(v); }
};
} // namespace

constexpr vx_Kernels vx_InstructionSets::sse2 = vf_Kernels<Lanes>(vx_InstructionSet::sse2);
#endif

#include "filt/fft/kernels/instruction_sets.h"
#include "filt/internal/numerics.h"

#ifdef VX_X86_64
#include "filt/fft/kernels/kernel_text.h"
#include "filt/fft/kernels/x86_lanes.h"

#include <cstdint>
#include <cstring>
#include <emmintrin.h>

namespace {
using Vector = float __attribute__((vector_size(16)));

struct Lanes : vx_X86Lanes<Lanes, Vector> {
    using vx_X86Lanes::load;
    static V load(const unsigned char* pels) noexcept {
        std::int32_t four = 0;
        std::memcpy(&four, pels, sizeof four);
        return fromShorts(_mm_unpacklo_epi8(_mm_cvtsi32_si128(four), _mm_setzero_si128()));
    }
    static V load(const unsigned short* pels) noexcept {
        return fromShorts(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(pels)));
    }
    static V load(const double* pels) noexcept {
        return _mm_movelh_ps(_mm_cvtpd_ps(_mm_loadu_pd(pels)), _mm_cvtpd_ps(_mm_loadu_pd(pels + 2)));
    }
    static V sqrt(V v) noexcept { return _mm_sqrt_ps(v); }
    static __m128i truncated(V v) noexcept { return _mm_cvttps_epi32(v); }

private:
    static V fromShorts(__m128i shorts) noexcept {
        return _mm_cvtepi32_ps(_mm_unpacklo_epi16(shorts, _mm_setzero_si128()));
    }
};
} // namespace

constexpr vx_Kernels vx_InstructionSets::sse2 = vf_Kernels<Lanes>(vx_InstructionSet::sse2);
#endif

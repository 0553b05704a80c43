#include "filt/fft/kernels/instruction_sets.h"
#include "filt/internal/numerics.h"

#ifdef VX_X86_64
#include "filt/fft/kernels/kernel_text.h"
#include "filt/fft/kernels/x86_lanes.h"

#include <immintrin.h>

namespace {
using Vector = float __attribute__((vector_size(32)));

struct Lanes : vx_X86Lanes<Lanes, Vector> {
    using vx_X86Lanes::load;
    static V load(const unsigned char* pels) noexcept {
        return _mm256_cvtepi32_ps(
            _mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(pels))));
    }
    static V load(const unsigned short* pels) noexcept {
        return _mm256_cvtepi32_ps(
            _mm256_cvtepu16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(pels))));
    }
    static V load(const double* pels) noexcept {
        return _mm256_set_m128(_mm256_cvtpd_ps(_mm256_loadu_pd(pels + 4)),
                               _mm256_cvtpd_ps(_mm256_loadu_pd(pels)));
    }
    static V sqrt(V v) noexcept { return _mm256_sqrt_ps(v); }
    static __m256i truncated(V v) noexcept { return _mm256_cvttps_epi32(v); }
};
} // namespace

constexpr vx_Kernels vx_InstructionSets::avx2 = vf_Kernels<Lanes>(vx_InstructionSet::avx2);
#endif

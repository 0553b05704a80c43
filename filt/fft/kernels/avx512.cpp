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
    using vx_X86Lanes::load;
    static V load(const unsigned char* pels) noexcept {
        return fromIntegers(
            _mm512_maskz_cvtepu8_epi32(everyLane, _mm_loadu_si128(reinterpret_cast<const __m128i*>(pels))));
    }
    static V load(const unsigned short* pels) noexcept {
        return fromIntegers(_mm512_maskz_cvtepu16_epi32(
            everyLane, _mm256_loadu_si256(reinterpret_cast<const __m256i*>(pels))));
    }
    static V load(const double* pels) noexcept {
        const __m512 low = _mm512_castps256_ps512(eightOf(pels));
        return _mm512_maskz_insertf32x8(everyLane, low, eightOf(pels + 8), 1);
    }
    static V sqrt(V v) noexcept { return _mm512_maskz_sqrt_ps(everyLane, v); }
    static __m512i truncated(V v) noexcept { return _mm512_maskz_cvttps_epi32(everyLane, v); }

private:
    static V fromIntegers(__m512i integers) noexcept { return _mm512_maskz_cvtepi32_ps(everyLane, integers); }
    static __m256 eightOf(const double* pels) noexcept {
        return _mm512_maskz_cvtpd_ps(0xff, _mm512_loadu_pd(pels));
    }
};
} // namespace

constexpr vx_Kernels vx_InstructionSets::avx512 = vf_Kernels<Lanes>(vx_InstructionSet::avx512);
#endif

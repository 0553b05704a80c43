#include "filt/fft/kernels/instruction_sets.h"
#include "filt/internal/numerics.h"

#ifdef VX_X86_64
#include "filt/fft/kernels/kernel_text.h"
#include "filt/fft/kernels/x86_lanes.h"

#include <immintrin.h>

namespace {
using Vector = float __attribute__((vector_size(64)));
using DoubleVector = double __attribute__((vector_size(64)));

// With a mask, since g++ 12 warns of its own unmasked ones.
constexpr __mmask16 everyLane = 0xffff;

struct Lanes : vx_X86Lanes<Lanes, Vector, DoubleVector> {
    static void stream(float* to, V v) noexcept { _mm512_stream_ps(to, v); }
    using vx_X86Lanes::load;
    static V load(const unsigned char* pels) noexcept {
        return fromIntegers(
            _mm512_maskz_cvtepu8_epi32(everyLane, _mm_loadu_si128(reinterpret_cast<const __m128i*>(pels))));
    }
    static V load(const unsigned short* pels) noexcept {
        return fromIntegers(_mm512_maskz_cvtepu16_epi32(
            everyLane, _mm256_loadu_si256(reinterpret_cast<const __m256i*>(pels))));
    }
    static V narrowed(D low, D high) noexcept {
        const V both = _mm512_castps256_ps512(_mm512_maskz_cvtpd_ps(0xff, low));
        return _mm512_maskz_insertf32x8(everyLane, both, _mm512_maskz_cvtpd_ps(0xff, high), 1);
    }
    static V sqrt(V v) noexcept { return _mm512_maskz_sqrt_ps(everyLane, v); }
    static V lesser(V a, V b) noexcept { return _mm512_maskz_min_ps(everyLane, a, b); }
    static V greater(V a, V b) noexcept { return _mm512_maskz_max_ps(everyLane, a, b); }
    static D lesser(D a, D b) noexcept { return _mm512_maskz_min_pd(0xff, a, b); }
    static D greater(D a, D b) noexcept { return _mm512_maskz_max_pd(0xff, a, b); }
    static bool equal(V a, V b) noexcept { return _mm512_cmp_ps_mask(a, b, _CMP_EQ_OQ) == everyLane; }
    static bool fitIntegers(V v) noexcept {
        const V limit = _mm512_set1_ps(0x1p31F);
        const __mmask16 below = _mm512_cmp_ps_mask(v, limit, _CMP_LT_OQ);
        return _mm512_mask_cmp_ps_mask(below, v, -limit, _CMP_GE_OQ) == everyLane;
    }
    static void narrow(V v, unsigned char* pels) noexcept {
        _mm512_mask_cvtepi32_storeu_epi8(pels, everyLane, truncated(v));
    }
    static void narrow(V v, unsigned short* pels) noexcept {
        _mm512_mask_cvtepi32_storeu_epi16(pels, everyLane, truncated(v));
    }
    // To 64 bits: what does not fit them becomes the lowest integer, whose low bits are zeros, as they
    // should.
    static bool fitIntegers(D /*v*/) noexcept { return true; }
    static void narrow(D v, unsigned char* pels) noexcept {
        _mm512_mask_cvtepi64_storeu_epi8(pels, 0xff, _mm512_maskz_cvttpd_epi64(0xff, v));
    }
    static void widen(V v, double* pels) noexcept {
        const __m256 low = __builtin_shufflevector(v, v, 0, 1, 2, 3, 4, 5, 6, 7);
        const __m256 high = __builtin_shufflevector(v, v, 8, 9, 10, 11, 12, 13, 14, 15);
        _mm512_storeu_pd(pels, _mm512_maskz_cvtps_pd(0xff, low));
        _mm512_storeu_pd(pels + 8, _mm512_maskz_cvtps_pd(0xff, high));
    }

private:
    static __m512i truncated(V v) noexcept { return _mm512_maskz_cvttps_epi32(everyLane, v); }
    static V fromIntegers(__m512i integers) noexcept { return _mm512_maskz_cvtepi32_ps(everyLane, integers); }
};
} // namespace

constinit const vx_Kernels vx_InstructionSets::avx512 = vf_Kernels<Lanes>(vx_InstructionSet::avx512);
#endif

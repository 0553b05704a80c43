#include "filt/fft/kernels/instruction_sets.h"
#include "filt/internal/numerics.h"

#ifdef VX_X86_64
#include "filt/fft/kernels/kernel_text.h"
#include "filt/fft/kernels/x86_lanes.h"

#include <cstdint>
#include <cstring>
#include <immintrin.h>

namespace {
using Vector = float __attribute__((vector_size(32)));
using DoubleVector = double __attribute__((vector_size(32)));

struct Lanes : vx_X86Lanes<Lanes, Vector, DoubleVector> {
    static void stream(float* to, V v) noexcept { _mm256_stream_ps(to, v); }
    using vx_X86Lanes::load;
    static V load(const unsigned char* pels) noexcept {
        return _mm256_cvtepi32_ps(
            _mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(pels))));
    }
    static V load(const unsigned short* pels) noexcept {
        return _mm256_cvtepi32_ps(
            _mm256_cvtepu16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(pels))));
    }
    static V narrowed(D low, D high) noexcept {
        return _mm256_set_m128(_mm256_cvtpd_ps(high), _mm256_cvtpd_ps(low));
    }
    static V sqrt(V v) noexcept { return _mm256_sqrt_ps(v); }
    static V lesser(V a, V b) noexcept { return _mm256_min_ps(a, b); }
    static V greater(V a, V b) noexcept { return _mm256_max_ps(a, b); }
    static D lesser(D a, D b) noexcept { return _mm256_min_pd(a, b); }
    static D greater(D a, D b) noexcept { return _mm256_max_pd(a, b); }
    static bool equal(V a, V b) noexcept {
        return _mm256_movemask_ps(_mm256_cmp_ps(a, b, _CMP_EQ_OQ)) == 0xff;
    }
    static bool fitIntegers(V v) noexcept {
        const V limit = _mm256_set1_ps(0x1p31F);
        const V below = _mm256_cmp_ps(v, limit, _CMP_LT_OQ);
        const V above = _mm256_cmp_ps(v, -limit, _CMP_GE_OQ);
        return _mm256_movemask_ps(_mm256_and_ps(below, above)) == 0xff;
    }
    static void narrow(V v, unsigned char* pels) noexcept {
        const __m128i shorts = lowShorts(v);
        const __m128i low = _mm_and_si128(shorts, _mm_set1_epi16(0xff));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(pels), _mm_packus_epi16(low, low));
    }
    static void narrow(V v, unsigned short* pels) noexcept {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(pels), lowShorts(v));
    }
    static bool fitIntegers(D v) noexcept {
        const D limit = _mm256_set1_pd(0x1p31);
        const D below = _mm256_cmp_pd(v, limit, _CMP_LT_OQ);
        const D above = _mm256_cmp_pd(v, -limit, _CMP_GE_OQ);
        return _mm256_movemask_pd(_mm256_and_pd(below, above)) == 0xf;
    }
    static void narrow(D v, unsigned char* pels) noexcept {
        const __m128i low = _mm_and_si128(_mm256_cvttpd_epi32(v), _mm_set1_epi32(0xff));
        const std::int32_t four = _mm_cvtsi128_si32(_mm_packus_epi16(_mm_packus_epi32(low, low), low));
        std::memcpy(pels, &four, sizeof four);
    }
    static void widen(V v, double* pels) noexcept {
        _mm256_storeu_pd(pels, _mm256_cvtps_pd(_mm256_castps256_ps128(v)));
        _mm256_storeu_pd(pels + 4, _mm256_cvtps_pd(_mm256_extractf128_ps(v, 1)));
    }

private:
    static __m128i lowShorts(V v) noexcept {
        const __m256i low = _mm256_and_si256(_mm256_cvttps_epi32(v), _mm256_set1_epi32(0xffff));
        return _mm_packus_epi32(_mm256_castsi256_si128(low), _mm256_extracti128_si256(low, 1));
    }
};
} // namespace

constinit const vx_Kernels vx_InstructionSets::avx2 = vf_Kernels<Lanes>(vx_InstructionSet::avx2);
#endif

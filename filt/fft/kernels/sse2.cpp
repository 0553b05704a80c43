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
using DoubleVector = double __attribute__((vector_size(16)));

struct Lanes : vx_X86Lanes<Lanes, Vector, DoubleVector> {
    static void stream(float* to, V v) noexcept { _mm_stream_ps(to, v); }
    using vx_X86Lanes::load;
    static V load(const unsigned char* pels) noexcept {
        std::int32_t four = 0;
        std::memcpy(&four, pels, sizeof four);
        return fromShorts(_mm_unpacklo_epi8(_mm_cvtsi32_si128(four), _mm_setzero_si128()));
    }
    static V load(const unsigned short* pels) noexcept {
        return fromShorts(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(pels)));
    }
    static V narrowed(D low, D high) noexcept { return _mm_movelh_ps(_mm_cvtpd_ps(low), _mm_cvtpd_ps(high)); }
    static V sqrt(V v) noexcept { return _mm_sqrt_ps(v); }
    static V lesser(V a, V b) noexcept { return _mm_min_ps(a, b); }
    static V greater(V a, V b) noexcept { return _mm_max_ps(a, b); }
    static D lesser(D a, D b) noexcept { return _mm_min_pd(a, b); }
    static D greater(D a, D b) noexcept { return _mm_max_pd(a, b); }
    static bool equal(V a, V b) noexcept { return _mm_movemask_ps(_mm_cmpeq_ps(a, b)) == 0xf; }
    static bool fitIntegers(V v) noexcept {
        const V limit = _mm_set1_ps(0x1p31F);
        return _mm_movemask_ps(_mm_and_ps(_mm_cmplt_ps(v, limit), _mm_cmpge_ps(v, -limit))) == 0xf;
    }
    static void narrow(V v, unsigned char* pels) noexcept {
        const __m128i low = _mm_and_si128(_mm_cvttps_epi32(v), _mm_set1_epi32(0xff));
        const __m128i bytes = _mm_packus_epi16(_mm_packs_epi32(low, low), low);
        const std::int32_t four = _mm_cvtsi128_si32(bytes);
        std::memcpy(pels, &four, sizeof four);
    }
    static void narrow(V v, unsigned short* pels) noexcept {
        // Sign extended, the low halves survive signed saturation.
        const __m128i low = _mm_srai_epi32(_mm_slli_epi32(_mm_cvttps_epi32(v), 16), 16);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(pels), _mm_packs_epi32(low, low));
    }
    static bool fitIntegers(D v) noexcept {
        const D limit = _mm_set1_pd(0x1p31);
        return _mm_movemask_pd(_mm_and_pd(_mm_cmplt_pd(v, limit), _mm_cmpge_pd(v, -limit))) == 0x3;
    }
    static void narrow(D v, unsigned char* pels) noexcept {
        const __m128i integers = _mm_cvttpd_epi32(v);
        pels[0] = static_cast<unsigned char>(_mm_cvtsi128_si32(integers));
        pels[1] = static_cast<unsigned char>(_mm_cvtsi128_si32(_mm_srli_si128(integers, 4)));
    }
    static void widen(V v, double* pels) noexcept {
        _mm_storeu_pd(pels, _mm_cvtps_pd(v));
        _mm_storeu_pd(pels + 2, _mm_cvtps_pd(_mm_movehl_ps(v, v)));
    }

private:
    static V fromShorts(__m128i shorts) noexcept {
        return _mm_cvtepi32_ps(_mm_unpacklo_epi16(shorts, _mm_setzero_si128()));
    }
};
} // namespace

constinit const vx_Kernels vx_InstructionSets::sse2 = vf_Kernels<Lanes>(vx_InstructionSet::sse2);
#endif

/// \file
/// The loops that take each sample or pel by itself: spectrum arithmetic, gains, views, ranges, mappings.
///
/// Samples are (real, imaginary) pairs of adjacent lanes. A whole vector is loaded, computed and stored at a
/// time; what is left over at the end goes the same way through a vector's room of its own, so that no memory
/// outside the arrays is touched. An output is one of the inputs or shares nothing with them.
#pragma once

#include "filt/fft/kernels/kernel_table.h"
#include "filt/fft/kernels/lanes.h"
#include "filt/fft/kernels/magnitude.h"

#include <cmath>
#include <cstddef>
#include <cstdint>

/// out = rule(a, b) for each vector of `floats` floats.
template <class L, class Rule>
[[gnu::always_inline]] inline void vf_EachVector(const float* a, const float* b, float* out,
                                                 std::size_t floats, Rule rule) noexcept {
    constexpr std::size_t N = L::count;
    std::size_t i = 0;
    for (; i + N <= floats; i += N) {
        L::store(out + i, rule(L::load(a + i), L::load(b + i)));
    }
    if (i < floats) {
        float aRoom[N] = {};
        float bRoom[N] = {};
        vf_Copy<L>(a + i, floats - i, aRoom);
        vf_Copy<L>(b + i, floats - i, bRoom);
        L::store(aRoom, rule(L::load(aRoom), L::load(bRoom)));
        vf_Copy<L>(aRoom, floats - i, out + i);
    }
}

/// out = b * a, b being the operand that is updated.
template <class L>
void vf_ProductKernel(const float* b, const float* a, float* out, std::size_t samples) {
    using P = vx_Patterns<L>;
    using V = typename L::V;
    // (b.re a.re - b.im a.im, b.im a.re + b.re a.im)
    vf_EachVector<L>(
        b, a, out, 2 * samples, [](V y, V x) __attribute__((always_inline)) {
            const V re = L::template shuffle<typename P::EvenTwice>(x, x);
            const V im = L::template shuffle<typename P::OddOfBoth>(-x, x);
            return re * y + im * L::template shuffle<typename P::Swapped>(y, y);
        });
}

template <class L>
void vf_SumKernel(const float* b, const float* a, float* out, std::size_t samples) {
    using V = typename L::V;
    vf_EachVector<L>(
        b, a, out, 2 * samples, [](V y, V x) __attribute__((always_inline)) { return y + x; });
}

template <class L>
void vf_DifferenceKernel(const float* b, const float* a, float* out, std::size_t samples) {
    using V = typename L::V;
    vf_EachVector<L>(
        b, a, out, 2 * samples, [](V y, V x) __attribute__((always_inline)) { return y - x; });
}

template <class L>
void vf_ConjugateKernel(const float* a, float* out, std::size_t samples) {
    using P = vx_Patterns<L>;
    using V = typename L::V;
    vf_EachVector<L>(
        a, a, out, 2 * samples, [](V x, V /*x*/) __attribute__((always_inline)) {
            return L::template shuffle<typename P::EvenThenOdd>(x, -x);
        });
}

/// Calls visit(first, from, size) for each `block` elements of `parts` values, or as many as are left; from
/// `from` on, a whole block may be read. What is no element is a copy of the first of them.
template <class L, std::size_t block, std::size_t parts, class T, class Visit>
[[gnu::always_inline]] inline void vf_EachBlock(const T* elements, std::size_t count, Visit visit) {
    std::size_t first = 0;
    for (; first + block <= count; first += block) {
        visit(first, elements + parts * first, block);
    }
    if (first < count) {
        T room[parts * block];
        for (std::size_t i = 0; i < block; ++i) {
            vf_Copy<L>(elements + parts * (first + i < count ? first + i : first), parts, room + parts * i);
        }
        visit(first, room, count - first);
    }
}

/// The real (0) or imaginary (1) parts of N samples.
template <class L, std::size_t part>
[[gnu::always_inline]] inline typename L::V vf_PartOf(const float* samples) noexcept {
    using P = vx_Patterns<L>;
    return L::template shuffle<typename P::template Deinterleave<part>>(L::load(samples),
                                                                        L::load(samples + L::count));
}

template <class L, std::size_t part>
void vf_PartKernel(const float* samples, std::size_t count, float scale, double* pels) {
    vf_EachBlock<L, L::count, 2>(
        samples,
        count, [=](std::size_t first, const float* from, std::size_t lanes) __attribute__((always_inline)) {
            L::storeWidened(pels + first, vf_PartOf<L, part>(from) * scale, lanes);
        });
}

/// Extends the range by the squared magnitudes; false, and any range, when one is NaN.
template <class L>
bool vf_MagnitudeRangeKernel(const float* samples, std::size_t count, vx_Range<float>& range) {
    using V = typename L::V;
    V least = L::fill(range.least);
    V most = L::fill(range.most);
    V sum = L::fill(0.0F); // Of what is not negative: NaN exactly when one of them is.
    vf_EachBlock<L, L::count, 2>(
        samples, count,
        [&](std::size_t /*first*/, const float* from, std::size_t /*lanes*/) __attribute__((always_inline)) {
            const V re = vf_PartOf<L, 0>(from);
            const V im = vf_PartOf<L, 1>(from);
            const V squared = re * re + im * im;
            least = L::lesser(squared, least);
            most = L::greater(squared, most);
            sum = sum + squared;
        });
    float leasts[L::count];
    float mosts[L::count];
    float sums[L::count];
    L::store(leasts, least);
    L::store(mosts, most);
    L::store(sums, sum);
    bool numbers = true;
    for (std::size_t i = 0; i < L::count; ++i) {
        range.least = leasts[i] < range.least ? leasts[i] : range.least;
        range.most = mosts[i] > range.most ? mosts[i] : range.most;
        numbers = numbers && sums[i] == sums[i];
    }
    return numbers;
}

/// out = in * gain for each sample. No gain is skipped, not even 0 or 1: signs of zeros and NaNs would show
/// it.
template <class L>
void vf_GainKernel(const float* in, const float* gains, float* out, std::size_t samples) {
    using P = vx_Patterns<L>;
    using V = typename L::V;
    constexpr std::size_t N = L::count;
    const auto multiply =
        [](const float* from, const float* factors, float* to) __attribute__((always_inline)) {
        const V g = L::load(factors);
        const V low = L::template shuffle<typename P::template Interleave<0>>(g, g);
        const V high = L::template shuffle<typename P::template Interleave<1>>(g, g);
        const V product = L::load(from) * low;
        L::store(to + N, L::load(from + N) * high);
        L::store(to, product);
    };
    std::size_t i = 0;
    for (; i + N <= samples; i += N) {
        multiply(in + 2 * i, gains + i, out + 2 * i);
    }
    if (i < samples) {
        float room[2 * N] = {};
        float gainRoom[N] = {};
        vf_Copy<L>(in + 2 * i, 2 * (samples - i), room);
        vf_Copy<L>(gains + i, samples - i, gainRoom);
        multiply(room, gainRoom, room);
        vf_Copy<L>(room, 2 * (samples - i), out + 2 * i);
    }
}

/// The gains of the columns from `begin` on in a row of a ring.
template <class L>
void vf_RingKernel(const vx_RingRow& row, std::int32_t begin, std::int32_t count, float* gains) {
    constexpr std::int32_t block = 256;
    std::int32_t index[block];
    for (std::int32_t done = 0; done < count; done += block) {
        const std::int32_t size = count - done < block ? count - done : block;
        for (std::int32_t i = 0; i < size; ++i) {
            // As exact as integers: u * u is, in rows of up to 2^27 columns, and the square was a double
            // before.
            const double u = static_cast<double>(begin + done + i);
            const double distance = std::sqrt(u * u + row.squaredV) - row.centre;
            const double place = std::fabs(distance * row.samplesPerBin);
            index[i] = static_cast<std::int32_t>(place < row.last ? place : row.last);
        }
        for (std::int32_t i = 0; i < size; ++i) {
            gains[done + i] = row.profile[index[i]];
        }
    }
}

/// A double that exp(exponent) is not below, by a factor of less than 1 + 2^-39; exp(-105), which no float is
/// next to, stands for everything less. `exponent` is at most 0, or NaN, which the result is as well.
///
/// 2^t = 2^n 2^f with t = exponent * log2(e), n = t rounded and |f| <= 1/2. The products' rounding and that
/// of log2(e) are worth 2^-45 of the result; the polynomial is the best of its degree, 2^-40.23 off, times 1
/// - 2^-40; the rest is below 2^-50. The sum is less than 2^-40 on either side of that factor, with 2^-44 to
/// spare for the maths library, which is taken to be within a few units in the last place.
template <class L>
[[gnu::always_inline]] inline typename L::D vf_ExpBelow(typename L::D exponent) noexcept {
    using D = typename L::D;
    constexpr double log2e = 0x1.71547652b82fep+0;
    constexpr double integerPlace = 0x1.8p52 + 1023.0; // Added, it leaves 2^n's exponent lowest.
    const D t = L::greater(L::fill(-105.0), exponent) * log2e;
    const D n = t + integerPlace;
    const D f = t - (n - integerPlace);
    D p = f * 0x1.61afced54027ap-20 + 0x1.00dad250bdddfp-16;
    p = p * f + 0x1.430acca32e946p-13;
    p = p * f + 0x1.5d87483853e7cp-10;
    p = p * f + 0x1.3b2ab5c527f5fp-7;
    p = p * f + 0x1.c6b08dd46b724p-5;
    p = p * f + 0x1.ebfbdff92fb22p-3;
    p = p * f + 0x1.62e42fef84b30p-1;
    p = p * f + 0x1.fffffffffd7a3p-1;
    return p * L::powerOfTwo(n);
}

template <class L>
[[gnu::always_inline]] inline typename L::D vf_SquaredDistance(typename L::D offset,
                                                               double plateau) noexcept {
    using D = typename L::D;
    const D distance = L::greater(L::fill(0.0), L::greater(offset, -offset) - plateau);
    return distance * distance;
}

/// The lobe is enclosed between two doubles. As the gain is monotone and so is rounding, it is known where
/// both give the same float; elsewhere, about once in 2^14 entries of a lobe, gainAt decides.
template <class L, bool complement>
[[gnu::always_inline]] inline void vf_LobeBlock(const vx_LobeRow& row, std::size_t first,
                                                float* gains) noexcept {
    using D = typename L::D;
    using V = typename L::V;
    constexpr std::size_t N = L::count / 2;
    constexpr double above = 1.0 + 0x1p-39;
    D exponents[2];
    D low[2];
    D high[2];
    vf_Unrolled<2>([&](auto half) __attribute__((always_inline)) {
        const std::size_t i = first + N * half;
        const D u = L::loadDoubles(row.along + i) + row.alongShift;
        const D v = L::loadDoubles(row.across + i) + row.acrossShift;
        exponents[half] = vf_SquaredDistance<L>(u, row.alongPlateau) * row.alongFactor +
                          vf_SquaredDistance<L>(v, row.acrossPlateau) * row.acrossFactor;
        const D lobe = vf_ExpBelow<L>(exponents[half]);
        low[half] = complement ? L::fill(1.0) - lobe : lobe;
        high[half] = complement ? L::fill(1.0) - lobe * above : lobe * above;
    });
    const V lower = L::narrowed(low[0], low[1]);
    const V upper = L::narrowed(high[0], high[1]);
    L::store(gains, lower);
    if (L::equal(lower, upper)) {
        return;
    }
    float others[2 * N];
    double places[2 * N];
    L::store(others, upper);
    L::store(places, exponents[0]);
    L::store(places + N, exponents[1]);
    for (std::size_t i = 0; i < 2 * N; ++i) {
        // Not `!=`: a NaN is to be decided, too.
        if (!(gains[i] == others[i])) {
            // Flat tops are long runs of the same.
            gains[i] = i > 0 && places[i] == places[i - 1] ? gains[i - 1] : row.gainAt(places[i]);
        }
    }
}

template <class L, bool complement>
void vf_LobeColumns(const vx_LobeRow& row, std::size_t count, float* gains) {
    constexpr std::size_t N = L::count;
    std::size_t i = 0;
    for (; i + N <= count; i += N) {
        vf_LobeBlock<L, complement>(row, i, gains + i);
    }
    if (i < count) {
        float room[N];
        vf_LobeBlock<L, complement>(row, i, room);
        vf_Copy<L>(room, count - i, gains + i);
    }
}

/// The gains of a row of a lobe.
template <class L>
void vf_LobeKernel(const vx_LobeRow& row, std::size_t count, float* gains) {
    if (row.complement) {
        vf_LobeColumns<L, true>(row, count, gains);
    } else {
        vf_LobeColumns<L, false>(row, count, gains);
    }
}

/// Extends the range by the pels; false, and any range, when one is NaN or infinite.
template <class L>
bool vf_PelRangeKernel(const double* pels, std::size_t count, vx_Range<double>& range) {
    using D = typename L::D;
    constexpr std::size_t N = L::count / 2;
    D least = L::fill(range.least);
    D most = L::fill(range.most);
    D zero = L::fill(0.0);
    vf_EachBlock<L, 2 * N, 1>(
        pels, count,
        [&](std::size_t /*first*/, const double* from, std::size_t /*size*/) __attribute__((always_inline)) {
            const D a = L::loadDoubles(from);
            const D b = L::loadDoubles(from + N);
            least = L::lesser(L::lesser(a, b), least);
            most = L::greater(L::greater(a, b), most);
            zero = zero + (a * 0.0 + b * 0.0);
        });
    double leasts[N];
    double mosts[N];
    double zeros[N];
    L::store(leasts, least);
    L::store(mosts, most);
    L::store(zeros, zero);
    bool numbers = true;
    for (std::size_t i = 0; i < N; ++i) {
        range.least = leasts[i] < range.least ? leasts[i] : range.least;
        range.most = mosts[i] > range.most ? mosts[i] : range.most;
        numbers = numbers && zeros[i] == 0.0;
    }
    return numbers;
}

/// The low bits of (p - low) * gain, truncated, for each pel p; if `clipped`, limited to the range of the
/// result before, which makes a NaN 0.
template <class L, bool clipped>
void vf_MapKernel(const double* pels, std::size_t count, double low, double gain, unsigned char* to) {
    using D = typename L::D;
    constexpr std::size_t N = L::count / 2;
    vf_EachBlock<L, N, 1>(
        pels,
        count, [=](std::size_t first, const double* from, std::size_t size) __attribute__((always_inline)) {
            D value = (L::loadDoubles(from) - low) * gain;
            if constexpr (clipped) {
                value = L::lesser(L::greater(value, L::fill(0.0)), L::fill(255.0));
            }
            if (size == N) {
                L::storeLowBits(to + first, value);
            } else {
                unsigned char room[N];
                L::storeLowBits(room, value);
                vf_Copy<L>(room, size, to + first);
            }
        });
}

template <class L>
constexpr vx_ElementKernels vf_ElementKernels() {
    return {vf_ProductKernel<L>,        vf_SumKernel<L>,
            vf_DifferenceKernel<L>,     vf_ConjugateKernel<L>,
            vf_GainKernel<L>,           vf_RingKernel<L>,
            vf_LobeKernel<L>,           vf_PartKernel<L, 0>,
            vf_PartKernel<L, 1>,        vf_MagnitudesKernel<L, double>,
            vf_MagnitudeRangeKernel<L>, vf_PelRangeKernel<L>,
            vf_MapKernel<L, true>,      vf_MapKernel<L, false>};
}

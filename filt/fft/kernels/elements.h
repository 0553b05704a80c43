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

/// exp(x) within a relative error of 2^-51, for x of -700 to 700.
template <class L>
[[gnu::always_inline]] inline typename L::D vf_Exp(typename L::D x) noexcept {
    using D = typename L::D;
    constexpr double log2e = 0x1.71547652b82fep+0;
    // ln 2 in two parts, of which the first has so few bits that its multiples are exact.
    constexpr double ln2 = 0x1.62e42feep-1;
    constexpr double ln2Rest = 0x1.a39ef35793c76p-33;
    constexpr double integerPlace = 0x1.8p52 + 1023.0; // Added, it leaves the exponent of 2^n lowest.
    const D place = x * log2e + integerPlace;
    const D n = place - integerPlace;
    const D r = (x - n * ln2) - n * ln2Rest;
    // |r| is at most ln(2) / 2, where what follows these terms of the series is below 2^-52.
    D p = r * (1.0 / 479001600) + 1.0 / 39916800;
    p = p * r + 1.0 / 3628800;
    p = p * r + 1.0 / 362880;
    p = p * r + 1.0 / 40320;
    p = p * r + 1.0 / 5040;
    p = p * r + 1.0 / 720;
    p = p * r + 1.0 / 120;
    p = p * r + 1.0 / 24;
    p = p * r + 1.0 / 6;
    p = p * r + 1.0 / 2;
    p = p * r + 1.0;
    p = p * r + 1.0;
    return p * L::powerOfTwo(place);
}

template <class L>
[[gnu::always_inline]] inline typename L::D vf_SquaredDistance(typename L::D offset,
                                                               double plateau) noexcept {
    using D = typename L::D;
    const D distance = L::greater(L::fill(0.0), L::greater(offset, -offset) - plateau);
    return distance * distance;
}

/// What gains are computed in at once: those of L::count adjacent columns of a row.
template <class L>
struct vx_LobeVector {
    typename L::D half[2];
};

template <class L>
[[gnu::always_inline]] inline vx_LobeVector<L> vf_LobeExponents(const vx_LobePart& part, std::size_t column,
                                                                std::size_t row) noexcept {
    using D = typename L::D;
    vx_LobeVector<L> e;
    vf_Unrolled<2>([&](auto h) __attribute__((always_inline)) {
        const std::size_t i = column + L::count / 2 * h;
        const D u = L::loadDoubles(part.along + i) + part.alongShift[row];
        const D v = L::loadDoubles(part.across + i) + part.acrossShift[row];
        e.half[h] = vf_SquaredDistance<L>(u, part.alongPlateau) * part.alongFactor +
                    vf_SquaredDistance<L>(v, part.acrossPlateau) * part.acrossFactor;
    });
    return e;
}

/// Whether a lobe of L::count columns can be had from products: it has no plateau, and the terms of its
/// exponents stay above -256 even if those of row and column are added up without their signs.
template <class L>
[[gnu::always_inline]] inline bool vf_IsGentle(const vx_LobePart& part, std::size_t column,
                                               std::size_t rows) noexcept {
    using D = typename L::D;
    using V = typename L::V;
    const auto magnitude = [](double x) { return x < 0.0 ? -x : x; };
    const auto most = [&](const double* shifts) {
        const double first = magnitude(shifts[0]);
        const double last = magnitude(shifts[rows - 1]);
        return first > last ? first : last;
    };
    const double alongMost = most(part.alongShift);
    const double acrossMost = most(part.acrossShift);
    D terms[2];
    vf_Unrolled<2>([&](auto h) __attribute__((always_inline)) {
        const D along = L::loadDoubles(part.along + column + L::count / 2 * h);
        const D across = L::loadDoubles(part.across + column + L::count / 2 * h);
        const D u = L::greater(along, -along) + alongMost;
        const D v = L::greater(across, -across) + acrossMost;
        terms[h] = u * u * part.alongFactor + v * v * part.acrossFactor;
    });
    const V all = L::narrowed(terms[0], terms[1]);
    // A NaN equals nothing.
    return part.alongPlateau == 0.0 && part.acrossPlateau == 0.0 &&
           L::equal(L::greater(L::fill(-256.0F), all), all);
}

/// Lobes are known to be within a factor of 1 - 2^-38 to 1 + 2^-38, so below they are this, and above
/// `vx_LobeAbove` times as much.
inline constexpr double vx_LobeBelow = 1.0 - 0x1p-38;
inline constexpr double vx_LobeAbove = 1.0 + 0x1.1p-37;

/// Stores the gains of lobes of which the lower limits are known. The gain is monotone, and so is rounding:
/// where both limits give one float, that is the gain. Elsewhere gainAt decides: about once in 5000 entries,
/// and next to the top of a reject filter's lobe, where the gain is a small difference from 1.
template <class L, bool complement>
[[gnu::always_inline]] inline void vf_StoreLobe(const vx_LobePart& part, std::size_t column, std::size_t row,
                                                const vx_LobeVector<L>& lobe, float* gains) noexcept {
    using D = typename L::D;
    using V = typename L::V;
    constexpr std::size_t N = L::count;
    const auto gainOf = [](const D& height) __attribute__((always_inline)) {
        return complement ? L::fill(1.0) - height : height;
    };
    const V lower = L::narrowed(gainOf(lobe.half[0]), gainOf(lobe.half[1]));
    const V upper = L::narrowed(gainOf(lobe.half[0] * vx_LobeAbove), gainOf(lobe.half[1] * vx_LobeAbove));
    L::store(gains, lower);
    if (L::equal(lower, upper)) {
        return;
    }
    const vx_LobeVector<L> e = vf_LobeExponents<L>(part, column, row);
    float others[N];
    double exponents[N];
    L::store(others, upper);
    L::store(exponents, e.half[0]);
    L::store(exponents + N / 2, e.half[1]);
    for (std::size_t i = 0; i < N; ++i) {
        // Not `!=`: a NaN is to be decided, too.
        if (!(gains[i] == others[i])) {
            // Flat tops are long runs of the same.
            gains[i] = i > 0 && exponents[i] == exponents[i - 1] ? gains[i - 1] : part.gainAt(exponents[i]);
        }
    }
}

/// Gentle lobes from row to row: exponents without a plateau are quadratic, so the lobes are G, G R, G R^2 W
/// ... with R = exp(e[1] - e[0]) and W = exp(e[2] - 2 e[1] + e[0]).
///
/// How far they get from the exp of the exponents as they are rounded, after 63 rows at most: the positions
/// and exponents are rounded, 2^-41; so are the differences, 63 times and 63 * 62 / 2 times, 2^-40.4; exp for
/// R and W, counted as often, 2^-40; the products, 2^-42. Together less than 2^-38.5.
template <class L, bool complement>
void vf_LobeByProducts(const vx_LobePart& part, std::size_t column, std::size_t rows, float* gains,
                       std::size_t step) noexcept {
    using D = typename L::D;
    const double second = part.alongStep * part.alongStep * part.alongFactor +
                          part.acrossStep * part.acrossStep * part.acrossFactor;
    const D w = vf_Exp<L>(L::fill(2.0 * second));
    const vx_LobeVector<L> e = vf_LobeExponents<L>(part, column, 0);
    vx_LobeVector<L> lobe;
    vx_LobeVector<L> factor;
    vf_Unrolled<2>([&](auto h) __attribute__((always_inline)) {
        const std::size_t i = column + L::count / 2 * h;
        const D u = L::loadDoubles(part.along + i) + part.alongShift[0];
        const D v = L::loadDoubles(part.across + i) + part.acrossShift[0];
        const D first = u * (2.0 * part.alongStep * part.alongFactor) +
                        v * (2.0 * part.acrossStep * part.acrossFactor) + second;
        lobe.half[h] = vf_Exp<L>(e.half[h]) * vx_LobeBelow;
        factor.half[h] = vf_Exp<L>(first); // Of a single row it may be anything: it is not used.
    });
    for (std::size_t row = 0; row < rows; ++row) {
        vf_StoreLobe<L, complement>(part, column, row, lobe, gains + row * step);
        vf_Unrolled<2>([&](auto h) __attribute__((always_inline)) {
            lobe.half[h] = lobe.half[h] * factor.half[h];
            factor.half[h] = factor.half[h] * w;
        });
    }
}

/// The lobes of L::count columns.
template <class L, bool complement>
void vf_LobeColumns(const vx_LobePart& part, std::size_t column, std::size_t rows, float* gains,
                    std::size_t step) {
    if (vf_IsGentle<L>(part, column, rows)) {
        return vf_LobeByProducts<L, complement>(part, column, rows, gains, step);
    }
    for (std::size_t row = 0; row < rows; ++row) {
        const vx_LobeVector<L> e = vf_LobeExponents<L>(part, column, row);
        vx_LobeVector<L> lobe;
        vf_Unrolled<2>([&](auto h) __attribute__((always_inline)) {
            // exp(-105), which no float is next to, stands for everything below it.
            lobe.half[h] = vf_Exp<L>(L::greater(L::fill(-105.0), e.half[h])) * vx_LobeBelow;
        });
        vf_StoreLobe<L, complement>(part, column, row, lobe, gains + row * step);
    }
}

template <class L, bool complement>
void vf_LobeGains(const vx_LobePart& part, std::size_t columns, std::size_t rows, float* gains,
                  std::size_t step) {
    constexpr std::size_t N = L::count;
    std::size_t column = 0;
    for (; column + N <= columns; column += N) {
        vf_LobeColumns<L, complement>(part, column, rows, gains + column, step);
    }
    if (column < columns) {
        float room[N * vx_LobePart::mostRows];
        vf_LobeColumns<L, complement>(part, column, rows, room, N);
        for (std::size_t row = 0; row < rows; ++row) {
            vf_Copy<L>(room + row * N, columns - column, gains + row * step + column);
        }
    }
}

template <class L>
void vf_LobeKernel(const vx_LobePart& part, std::size_t columns, std::size_t rows, float* gains,
                   std::size_t step) {
    if (part.complement) {
        vf_LobeGains<L, true>(part, columns, rows, gains, step);
    } else {
        vf_LobeGains<L, false>(part, columns, rows, gains, step);
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

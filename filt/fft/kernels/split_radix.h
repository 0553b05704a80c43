/// \file
/// The 1-D transform: a split-radix decimation in frequency (P. Duhamel and H. Hollmann, "Split radix FFT
/// algorithm", 1984), unscaled, of length n = 2^m.
///
/// A node of span s is a butterfly over the four quarters of its samples at each j < s/4; then its first half
/// is a node of span s/2, its third and fourth quarters are nodes of span s/4. Nodes that share no sample may
/// be computed in any order without a bit changing, so the text goes depth first: two stages in one sweep
/// over a long span, then its parts, down to leaves of 16 samples or fewer that stay in registers.
///
/// The frequencies that a node ends in are known on the way down (k = first + step * k'), so leaves hand each
/// result to `store(k, sample)` in its natural place, and no reordering follows. Or they leave it in the
/// tile, where sample k is then at place vf_BitReversed(k, n).
#pragma once

#include "filt/fft/kernels/lanes.h"
#include "filt/fft/kernels/twiddles.h"

#include <cstddef>
#include <type_traits>

template <class L>
struct vx_LaneSample {
    typename L::V re;
    typename L::V im;
};

/// A sample, conjugated when the transform goes backward.
template <class L, int direction>
[[gnu::always_inline]] inline vx_LaneSample<L> vf_Directed(typename L::V re, typename L::V im) noexcept {
    if constexpr (direction > 0) {
        return {re, im};
    } else {
        return {re, -im};
    }
}

/// The frequencies of a node.
struct vx_Frequencies {
    std::size_t first;
    std::size_t step;

    [[nodiscard, gnu::always_inline]] vx_Frequencies part(std::size_t index,
                                                          std::size_t parts) const noexcept {
        return {first + index * step, step * parts};
    }
};

template <class L>
[[gnu::always_inline]] inline void vf_Butterfly(vx_LaneSample<L>& x0, vx_LaneSample<L>& x1,
                                                vx_LaneSample<L>& x2, vx_LaneSample<L>& x3,
                                                const vx_Twiddle& w) noexcept {
    using V = typename L::V;
    const V r1 = x0.re - x2.re;
    const V r2 = x1.re - x3.re;
    const V s1 = x0.im - x2.im;
    const V s2 = x1.im - x3.im;
    x0.re = x0.re + x2.re;
    x1.re = x1.re + x3.re;
    x0.im = x0.im + x2.im;
    x1.im = x1.im + x3.im;
    const V a = r1 + s2;
    const V b = r2 - s1;
    const V c = r1 - s2;
    const V d = r2 + s1;
    x2.re = a * w.re1 - b * w.im1;
    x2.im = b * w.negativeRe1 - a * w.im1;
    x3.re = c * w.re3 + d * w.im3;
    x3.im = d * w.re3 - c * w.im3;
}

/// A node of n samples in registers.
template <class L, std::size_t n>
[[gnu::always_inline]] inline void vf_SmallNode(vx_LaneSample<L>* x, const vx_Twiddles& twiddles) noexcept {
    if constexpr (n == 2) {
        const vx_LaneSample<L> a{x[0].re, x[0].im};
        x[0].re = a.re + x[1].re;
        x[0].im = a.im + x[1].im;
        x[1].re = a.re - x[1].re;
        x[1].im = a.im - x[1].im;
    } else if constexpr (n >= 4) {
        vf_Unrolled<n / 4>([&](auto j) __attribute__((always_inline)) {
            vf_Butterfly<L>(x[j], x[j + n / 4], x[j + n / 2], x[j + 3 * n / 4], twiddles.of(n)[j]);
        });
        vf_SmallNode<L, n / 2>(x, twiddles);
        vf_SmallNode<L, n / 4>(x + n / 2, twiddles);
        vf_SmallNode<L, n / 4>(x + 3 * n / 4, twiddles);
    }
}

/// A number below n, a power of two, with its bits in reverse order.
template <class L>
constexpr std::size_t vf_BitReversed(std::size_t i, std::size_t n) noexcept {
    std::size_t reversed = 0;
    for (std::size_t bit = 1; bit < n; bit *= 2) {
        reversed = 2 * reversed + i % 2;
        i /= 2;
    }
    return reversed;
}

/// Instead of a store: leaves keep their results in the tile.
struct vx_KeepInTile {};

template <class L, std::size_t n, class Store>
[[gnu::always_inline]] inline void vf_Leaf(vx_LaneSample<L>* tile, vx_Frequencies frequencies,
                                           const vx_Twiddles& twiddles, const Store& store) {
    vx_LaneSample<L> x[n];
    vf_Unrolled<n>([&](auto i) __attribute__((always_inline)) {
        x[i].re = tile[i].re;
        x[i].im = tile[i].im;
    });
    vf_SmallNode<L, n>(x, twiddles);
    vf_Unrolled<n>([&](auto i) __attribute__((always_inline)) {
        if constexpr (std::is_same_v<Store, vx_KeepInTile>) {
            tile[i].re = x[i].re;
            tile[i].im = x[i].im;
        } else {
            constexpr std::size_t place = vf_BitReversed<L>(i, n);
            store(frequencies.first + place * frequencies.step, x[i]);
        }
    });
}

/// The butterflies of a node and of its first half, from load(i) to the tile.
template <class L, class Load>
[[gnu::always_inline]] inline void vf_Sweep(const Load& load, vx_LaneSample<L>* tile, std::size_t span,
                                            const vx_Twiddles& twiddles) {
    const std::size_t eighth = span / 8;
    const vx_Twiddle* whole = twiddles.of(span);
    const vx_Twiddle* half = twiddles.of(span / 2);
    for (std::size_t j = 0; j < eighth; ++j) {
        vx_LaneSample<L> x[8];
        vf_Unrolled<8>([&](auto i) __attribute__((always_inline)) {
            const vx_LaneSample<L> sample = load(j + i * eighth);
            x[i].re = sample.re;
            x[i].im = sample.im;
        });
        vf_Butterfly<L>(x[0], x[2], x[4], x[6], whole[j]);
        vf_Butterfly<L>(x[1], x[3], x[5], x[7], whole[j + eighth]);
        vf_Butterfly<L>(x[0], x[1], x[2], x[3], half[j]);
        vf_Unrolled<8>([&](auto i) __attribute__((always_inline)) {
            tile[j + i * eighth].re = x[i].re;
            tile[j + i * eighth].im = x[i].im;
        });
    }
}

/// The node of `span` samples in `tile`.
template <class L, class Store>
void vf_Node(vx_LaneSample<L>* tile, std::size_t span, vx_Frequencies frequencies,
             const vx_Twiddles& twiddles, const Store& store);

/// The nodes that two stages leave of one.
template <class L, class Store>
void vf_Parts(vx_LaneSample<L>* tile, std::size_t span, vx_Frequencies frequencies,
              const vx_Twiddles& twiddles, const Store& store) {
    const vx_Frequencies even = frequencies.part(0, 2);
    vf_Node<L>(tile, span / 4, even.part(0, 2), twiddles, store);
    vf_Node<L>(tile + span / 4, span / 8, even.part(1, 4), twiddles, store);
    vf_Node<L>(tile + span * 3 / 8, span / 8, even.part(3, 4), twiddles, store);
    vf_Node<L>(tile + span / 2, span / 4, frequencies.part(1, 4), twiddles, store);
    vf_Node<L>(tile + span * 3 / 4, span / 4, frequencies.part(3, 4), twiddles, store);
}

template <class L, class Store>
void vf_Node(vx_LaneSample<L>* tile, std::size_t span, vx_Frequencies frequencies,
             const vx_Twiddles& twiddles, const Store& store) {
    switch (span) {
    case 1:
        return vf_Leaf<L, 1>(tile, frequencies, twiddles, store);
    case 2:
        return vf_Leaf<L, 2>(tile, frequencies, twiddles, store);
    case 4:
        return vf_Leaf<L, 4>(tile, frequencies, twiddles, store);
    case 8:
        return vf_Leaf<L, 8>(tile, frequencies, twiddles, store);
    case 16:
        return vf_Leaf<L, 16>(tile, frequencies, twiddles, store);
    default:
        vf_Sweep<L>(
            [tile](std::size_t i) {
                return vx_LaneSample<L>{tile[i].re, tile[i].im};
            },
            tile, span, twiddles);
        return vf_Parts<L>(tile, span, frequencies, twiddles, store);
    }
}

/// Transforms the samples load(i), i < n, and hands the results to store(k, sample), if they are not to be
/// kept in the tile. All are read before the first is stored. `tile` is room for n samples; load(i) may read
/// its place i.
template <class L, class Load, class Store>
void vf_Transform(const Load& load, vx_LaneSample<L>* tile, std::size_t n, const vx_Twiddles& twiddles,
                  const Store& store) {
    constexpr std::size_t largestLeaf = 16;
    if (n > largestLeaf) {
        vf_Sweep<L>(load, tile, n, twiddles);
        vf_Parts<L>(tile, n, {0, 1}, twiddles, store);
        return;
    }
    for (std::size_t i = 0; i < n; ++i) {
        const vx_LaneSample<L> sample = load(i);
        tile[i].re = sample.re;
        tile[i].im = sample.im;
    }
    vf_Node<L>(tile, n, {0, 1}, twiddles, store);
}

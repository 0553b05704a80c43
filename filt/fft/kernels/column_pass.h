/// \file
/// The second pass of a 2-D transform: it takes the records of a tile of columns, where each lane is a
/// column, transforms them and stores each row of the result in its place.
#pragma once

#include "filt/fft/kernels/kernel_table.h"
#include "filt/fft/kernels/lanes.h"
#include "filt/fft/kernels/records.h"
#include "filt/fft/kernels/split_radix.h"
#include "filt/fft/kernels/twiddles.h"
#include "kavstd/attention.h"

#include <cstddef>
#include <cstdint>

/// Transforms the columns of a record. The results go to store(row, sample).
template <class L, class Load, class Store>
void vf_TransformColumns(const Load& load, std::size_t height, const vx_Twiddles& twiddles,
                         vx_LaneSample<L>* tile, const Store& store) {
    vxAttention::check();
    vf_Transform<L>(load, tile, height, twiddles, store);
}

/// The records of the columns from `column` on.
template <class L, int direction = 1, class Records>
auto vf_RecordLoader(const Records& records, std::size_t column) {
    const float* const first = records.columns(column);
    const std::size_t step = records.step(column);
    return [=](std::size_t v) __attribute__((always_inline)) {
        const float* record = first + v * step;
        return vf_Directed<L, direction>(L::load(record), L::load(record + L::count));
    };
}

/// The same, those of row v being in row places[v].
template <class L, class Records>
auto vf_RecordLoader(const Records& records, const std::uint32_t* places, std::size_t column) {
    const float* const first = records.columns(column);
    const std::size_t step = records.step(column);
    return [=](std::size_t v) __attribute__((always_inline)) {
        const float* record = first + places[v] * step;
        return vx_LaneSample<L>{L::load(record), L::load(record + L::count)};
    };
}

/// Writes samples (real, imaginary), (real, imaginary) ...
template <class L>
[[gnu::always_inline]] inline void vf_StoreInterleaved(float* to, typename L::V re,
                                                       typename L::V im) noexcept {
    using P = vx_Patterns<L>;
    L::store(to, L::template shuffle<typename P::template Interleave<0>>(re, im));
    L::store(to + L::count, L::template shuffle<typename P::template Interleave<1>>(re, im));
}

/// Puts the columns of a complex transform where their records were.
template <class L, int direction>
class vx_SpectrumColumns {
public:
    explicit vx_SpectrumColumns(const vx_SplitPlane& plane) noexcept : plane_(plane) {}

    /// The store of the columns from `column` on.
    [[nodiscard]] auto from(std::size_t column) const noexcept {
        float* const first = plane_.columns(column);
        const std::size_t step = plane_.step(column);
        return [ first, step ](std::size_t v, const vx_LaneSample<L>& x) __attribute__((always_inline)) {
            const vx_LaneSample<L> y = vf_Directed<L, direction>(x.re, x.im);
            vf_StoreInterleaved<L>(first + v * step, y.re, y.im);
        };
    }

private:
    vx_SplitPlane plane_;
};

/// Hands the columns to two that take them.
template <class First, class Second>
class vx_BothColumns {
public:
    vx_BothColumns(const First& first, const Second& second) noexcept : first_(first), second_(second) {}

    [[nodiscard]] auto from(std::size_t column) const noexcept {
        return [ first = first_.from(column), second = second_.from(column) ](std::size_t v, const auto& x)
            __attribute__((always_inline)) {
            first(v, x);
            second(v, x);
        };
    }

private:
    First first_;
    Second second_;
};

/// Puts the columns of a half spectrum where their records were, and their conjugates at the negative
/// frequencies, column width - u of row -v. For these to fill whole vectors, those of columns column + 1 ..
/// column + L::count are written: the last one has been transformed before.
///
/// With each sample the memory is fetched where the next record's go, since no processor foresees accesses
/// that are whole rows apart.
template <class L, int direction>
class vx_HermitianStore {
public:
    vx_HermitianStore(const vx_Plane& plane, std::size_t column) noexcept
        : first_(plane.data + 2 * column)
        , mirror_(plane.data + 2 * (plane.width - column - L::count))
        , step_(2 * plane.width)
        , next_(column == 0 ? 0 : 2 * L::count)
        , height_(plane.height)
        , nextIsNyquist_(column + L::count == plane.width / 2) {}

    [[gnu::always_inline]] void operator()(std::size_t v, const vx_LaneSample<L>& x) const noexcept {
        constexpr std::size_t N = L::count;
        using Pattern = typename vx_Patterns<L>::ReverseAfter;
        using V = typename L::V;
        const vx_LaneSample<L> y = vf_Directed<L, direction>(x.re, x.im);
        float* const to = first_ + v * step_;
        vf_StoreInterleaved<L>(to, y.re, y.im);
        const V re = L::template shuffle<Pattern>(y.re, L::fill(to[2 * N]));
        const V im = L::template shuffle<Pattern>(y.im, L::fill(to[2 * N + 1]));
        float* const mirror = mirror_ + (v == 0 ? 0 : height_ - v) * step_;
        vf_Fetch<L>(to - next_, 2 * N);
        vf_Fetch<L>(mirror + next_, 2 * N);
        if (!nextIsNyquist_) {
            vf_StoreInterleaved<L>(mirror, re, -im);
        } else {
            // Nyquist is its own mirror image, and stays what it is.
            float room[2 * N];
            vf_StoreInterleaved<L>(room, re, -im);
            vf_Copy<L>(room + 2, 2 * N - 2, mirror + 2);
        }
    }

private:
    float* first_;
    float* mirror_;
    std::size_t step_;
    std::size_t next_; ///< Floats to the next record, down, or to its conjugates, up; 0: none follows.
    std::size_t height_;
    bool nextIsNyquist_;
};

/// Columns 0 .. width/2 of a half spectrum whose rows are transformed, and with them the others.
template <class L, int direction>
void vf_RealColumnPass(const vx_Plane& plane, const vx_Twiddles& twiddles, vx_LaneSample<L>* tile) {
    constexpr std::size_t N = L::count;
    const std::size_t width = plane.width;
    const std::size_t height = plane.height;
    const vx_PlaneRecords<L> records(plane);
    // First, since its record lies where mirrored columns go.
    vf_TransformColumns<L>(vf_RecordLoader<L, direction>(records, width / 2), height, twiddles, tile,
                           [&](std::size_t v, const vx_LaneSample<L>& x) {
                               const vx_LaneSample<L> y = vf_Directed<L, direction>(x.re, x.im);
                               float room[N];
                               float* to = plane.row(v) + width;
                               L::store(room, y.re);
                               to[0] = room[0];
                               L::store(room, y.im);
                               to[1] = room[0];
                           });
    for (std::size_t column = width / 2; column > 0;) {
        column -= N;
        vf_TransformColumns<L>(vf_RecordLoader<L, direction>(records, column), height, twiddles, tile,
                               vx_HermitianStore<L, direction>(plane, column));
    }
}

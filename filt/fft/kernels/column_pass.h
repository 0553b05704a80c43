/// \file
/// The second pass of a 2-D transform: it takes the records of a tile of columns, where each lane is a
/// column, transforms them and stores each row of the result in its place. Of real rows it takes the columns
/// up to Nyquist; a sweep over the rows then fills in the conjugates of these.
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

/// Fills the columns beyond width / 2, Nyquist, of rows first .. first + L::count - 1: column width - u of
/// row -v is the conjugate of column u of row v. The vectors go to store(float*, vector).
template <class L, class Store>
[[gnu::always_inline]] inline void vf_CompleteRows(const vx_Plane& plane, std::size_t first,
                                                   const Store& store) {
    constexpr std::size_t N = L::count;
    using P = vx_Patterns<L>;
    const std::size_t half = plane.width; // Floats.
    for (std::size_t v = first; v < first + N; ++v) {
        const float* const from = plane.row(v == 0 ? 0 : plane.height - v) + half;
        float* const to = plane.row(v) + half;
        if constexpr (N == 1) {
            for (std::size_t i = 2; i < half; i += 2) {
                to[i] = *(from - i);
                to[i + 1] = -*(from - i + 1);
            }
        } else {
            const auto mirrored = [from](std::size_t i) __attribute__((always_inline)) {
                const typename L::V x = L::load(from - i - (N - 2));
                const typename L::V y = L::template shuffle<typename P::PairsReversed>(x, x);
                return L::template shuffle<typename P::EvenThenOdd>(y, -y);
            };
            // Nyquist is its own mirror image, and stays what it is.
            const float re = to[0];
            const float im = to[1];
            L::store(to, mirrored(0));
            to[0] = re;
            to[1] = im;
            for (std::size_t i = N; i < half; i += N) {
                store(to + i, mirrored(i));
            }
        }
    }
}

/// The same of all rows, once the other columns are there: processors foresee what follows in a row, but not
/// accesses that are whole rows apart.
template <class L>
void vf_CompletePlane(const vx_Plane& plane) {
    // What is too large for the caches next to a processor goes past them, or they would read it first.
    constexpr std::size_t large = std::size_t{1} << 20; // Samples.
    const bool streams = plane.width * plane.height >= large &&
                         reinterpret_cast<std::uintptr_t>(plane.data) % sizeof(typename L::V) == 0;
    for (std::size_t row = 0; row < plane.height; row += L::count) {
        vxAttention::check();
        if (streams) {
            vf_CompleteRows<L>(plane, row, [](float* to, const typename L::V& v) { L::stream(to, v); });
            L::finishStreams();
        } else {
            vf_CompleteRows<L>(plane, row, [](float* to, const typename L::V& v) { L::store(to, v); });
        }
    }
}

/// Columns 0 .. width/2 of a half spectrum whose rows are transformed, and with them the others.
template <class L, int direction>
void vf_RealColumnPass(const vx_Plane& plane, const vx_Twiddles& twiddles, vx_LaneSample<L>* tile) {
    constexpr std::size_t N = L::count;
    const std::size_t width = plane.width;
    const std::size_t height = plane.height;
    const vx_PlaneRecords<L> records(plane);
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
    const vx_SpectrumColumns<L, direction> columns(plane);
    for (std::size_t column = 0; column < width / 2; column += N) {
        vf_TransformColumns<L>(vf_RecordLoader<L, direction>(records, column), height, twiddles, tile,
                               columns.from(column));
    }
    vf_CompletePlane<L>(plane);
}

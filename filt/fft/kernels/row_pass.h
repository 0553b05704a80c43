/// \file
/// The first pass of a 2-D transform. It reads a tile of as many rows as a vector has lanes, transposing
/// blocks so that each lane is a row, transforms it, and transposes it back into records.
#pragma once

#include "filt/fft/kernels/kernel_table.h"
#include "filt/fft/kernels/lanes.h"
#include "filt/fft/kernels/records.h"
#include "filt/fft/kernels/row_band.h"
#include "filt/fft/kernels/split_radix.h"
#include "filt/fft/kernels/split_step.h"
#include "filt/fft/kernels/twiddles.h"
#include "kavstd/attention.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

/// Reads `samples` samples, a multiple of L::count, of L::count rows; lanes become rows.
template <class L, class Source>
void vf_LoadRows(const Source& source, std::size_t firstRow, std::size_t samples, vx_LaneSample<L>* tile) {
    constexpr std::size_t N = L::count;
    for (std::size_t first = 0; first < samples; first += N) {
        vx_Block<L> a;
        vx_Block<L> b;
        if (source.isInside(firstRow, first)) {
            vf_Unrolled<N>([&](auto i) __attribute__((always_inline)) {
                source.readInside(firstRow + i, first, a[i], b[i]);
            });
        } else {
            for (std::size_t i = 0; i < N; ++i) {
                source.read(firstRow + i, first, a[i], b[i]);
            }
        }
        vf_TransposeBlock<L>(a);
        vf_TransposeBlock<L>(b);
        vf_Unrolled<N>([&](auto i) __attribute__((always_inline)) {
            if constexpr (Source::interleaved) {
                tile[first + i].re = 2 * i < N ? a[2 * i % N] : b[2 * i % N];
                tile[first + i].im = 2 * i + 1 < N ? a[(2 * i + 1) % N] : b[(2 * i + 1) % N];
            } else {
                tile[first + i].re = a[i];
                tile[first + i].im = b[i];
            }
        });
    }
}

/// Writes the samples of a transform that was kept in its tile as records to those of its rows that `wanted`
/// says.
template <class L, class Records, class Wanted>
void vf_StoreRecords(const vx_LaneSample<L>* tile, std::size_t samples, const Records& records,
                     std::size_t firstRow, const Wanted& wanted) {
    constexpr std::size_t N = L::count;
    for (std::size_t first = 0; first < samples; first += N) {
        vx_Block<L> re;
        vx_Block<L> im;
        const vx_LaneSample<L>* const from = tile + vf_BitReversed<L>(first, samples);
        vf_Unrolled<N>([&](auto i) __attribute__((always_inline)) {
            constexpr std::size_t place = vf_BitReversed<L>(i, N);
            re[i] = from[place * (samples / N)].re;
            im[i] = from[place * (samples / N)].im;
        });
        records.fetchAfter(first, firstRow);
        vf_TransposeBlock<L>(re);
        vf_TransposeBlock<L>(im);
        const std::size_t step = records.step(first);
        float* const record = records.columns(first) + firstRow * step;
        vf_Unrolled<N>([&](auto i) __attribute__((always_inline)) {
            if (wanted(firstRow + i)) {
                L::store(record + i * step, re[i]);
                L::store(record + i * step + N, im[i]);
            }
        });
    }
}

/// The Nyquist column: a record of its own, of which only the first lane is used.
template <class L>
void vf_StoreNyquist(const vx_LaneSample<L>& sample, const vx_Plane& plane, std::size_t firstRow) {
    constexpr std::size_t N = L::count;
    float re[N];
    float im[N];
    L::store(re, sample.re);
    L::store(im, sample.im);
    for (std::size_t i = 0; i < N; ++i) {
        float* record = plane.row(firstRow + i) + plane.width;
        L::store(record, typename L::V{});
        L::store(record + N, typename L::V{});
        record[0] = re[i];
        record[N] = im[i];
    }
}

/// Transforms a tile of rows and keeps the result in it. Backward, it is not conjugated back.
template <class L, int direction>
void vf_TransformRows(vx_LaneSample<L>* tile, std::size_t n, const vx_Twiddles& twiddles) {
    vf_Transform<L>([tile](std::size_t i) { return vf_Directed<L, direction>(tile[i].re, tile[i].im); }, tile,
                    n, twiddles, vx_KeepInTile());
}

/// Each row of plane.width real values becomes the records of its half spectrum.
template <class L, int direction, class Source>
void vf_RealRowPass(const Source& source, const vx_Plane& plane, const vx_Twiddles& twiddles,
                    vx_LaneSample<L>* tile) {
    constexpr std::size_t N = L::count;
    const std::size_t n = plane.width / 2;
    const vx_SplitStep splitStep(n, direction);
    for (std::size_t row = 0; row < plane.height; row += N) {
        vxAttention::check();
        vf_LoadRows<L>(source, row, n, tile);
        vf_TransformRows<L, direction>(tile, n, twiddles);
        for (std::size_t i = 0; direction < 0 && i < n; ++i) {
            tile[i].im = -tile[i].im;
        }
        splitStep.apply<L>(tile);
        vf_StoreRecords<L>(tile, n, vx_PlaneRecords<L>(plane), row, [](std::size_t) { return true; });
        vf_StoreNyquist<L>(tile[n], plane, row);
    }
}

/// Whether no bit of a row is set.
template <class L, class Source>
bool vf_IsZeroRow(const Source& source, std::size_t width, std::size_t row) {
    constexpr std::size_t N = L::count;
    std::uint32_t bits[2 * N] = {};
    for (std::size_t first = 0; first < width; first += N) {
        typename L::V a;
        typename L::V b;
        source.read(row, first, a, b);
        float room[2 * N];
        L::store(room, a);
        L::store(room + N, b);
        for (std::size_t i = 0; i < 2 * N; ++i) {
            std::uint32_t pattern = 0;
            std::memcpy(&pattern, room + i, sizeof pattern);
            bits[i] |= pattern;
        }
    }
    std::uint32_t any = 0;
    for (std::size_t i = 0; i < 2 * N; ++i) {
        any |= bits[i];
    }
    return any == 0;
}

/// A row that is not transformed, as records.
template <class L, int direction, class Source, class Records>
void vf_CopyRow(const Source& source, std::size_t width, const Records& records, std::size_t row) {
    constexpr std::size_t N = L::count;
    using V = typename L::V;
    using P = vx_Patterns<L>;
    for (std::size_t first = 0; first < width; first += N) {
        V a;
        V b;
        source.read(row, first, a, b);
        vx_LaneSample<L> x{a, b};
        if constexpr (Source::interleaved) {
            x = {L::template shuffle<typename P::template Deinterleave<0>>(a, b),
                 L::template shuffle<typename P::template Deinterleave<1>>(a, b)};
        }
        const vx_LaneSample<L> y = vf_Directed<L, direction>(x.re, x.im);
        float* record = records.columns(first) + row * records.step(first);
        L::store(record, y.re);
        L::store(record + N, y.im);
    }
}

/// Each row in the band becomes the records of its transform, each other row its own. What backward
/// transforms store is not conjugated back, since the column pass would only undo it. `places` says in which
/// row's place the records of each row are: where all rows outside the band are zero, as they should
/// be, those of one stand for all, unless `everyPlace`. Returns whether each row is known to have records of
/// its own.
template <class L, int direction, class Source, class Records>
bool vf_ComplexRowPass(const Source& source, const Records& records, std::size_t width, std::size_t height,
                       const vx_RowBand& band, bool everyPlace, const vx_Twiddles& twiddles,
                       vx_LaneSample<L>* tile, std::uint32_t* places) {
    constexpr std::size_t N = L::count;
    const auto inBand = [&band](std::size_t r) { return band.contains(r); };
    for (std::size_t row = 0; row < height; row += N) {
        vxAttention::check();
        std::size_t count = 0;
        for (std::size_t r = row; r < row + N; ++r) {
            count += static_cast<std::size_t>(inBand(r));
        }
        if (count > 0) {
            vf_LoadRows<L>(source, row, width, tile);
            vf_TransformRows<L, direction>(tile, width, twiddles);
            vf_StoreRecords<L>(tile, width, records, row, inBand);
        }
        for (std::size_t r = row; count < N && r < row + N; ++r) {
            everyPlace = everyPlace || (!inBand(r) && !vf_IsZeroRow<L>(source, width, r));
        }
    }
    std::size_t shared = height; // None yet.
    std::size_t copied = 0;
    for (std::size_t row = 0; row < height; ++row) {
        places[row] = static_cast<std::uint32_t>(row);
        if (inBand(row)) {
            continue;
        }
        if (everyPlace || shared == height) {
            if (copied++ % 16 == 0) {
                vxAttention::check();
            }
            vf_CopyRow<L, direction>(source, width, records, row);
            shared = row;
        }
        places[row] = static_cast<std::uint32_t>(shared);
    }
    return everyPlace || shared == height;
}

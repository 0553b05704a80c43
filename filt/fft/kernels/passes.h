/// \file
/// The 2-D transforms: a pass over the rows, then a pass over the columns, each on tiles of as many rows or
/// columns as a vector has lanes.
///
/// The row pass reads a tile of rows, transposing blocks so that each lane is a row, transforms it, and
/// transposes back into the spectrum's storage. There a row of the intermediate result is a sequence of
/// records: the real parts of `count` columns, then their imaginary parts. So the column pass loads the
/// vectors of a tile of columns straight from the rows, without a shuffle, and writes its results in place.
///
/// Widths are at least 2 * L::count (complex: L::count), heights at least L::count; all are powers of two.
#pragma once

#include "filt/fft/kernels/kernel_table.h"
#include "filt/fft/kernels/lanes.h"
#include "filt/fft/kernels/row_band.h"
#include "filt/fft/kernels/split_radix.h"
#include "filt/fft/kernels/split_step.h"
#include "filt/fft/kernels/twiddles.h"
#include "filt/fft/kernels/workspace.h"
#include "kavstd/attention.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

/// A sample, conjugated when the transform goes backward.
template <class L, int direction>
[[gnu::always_inline]] inline vx_LaneSample<L> vf_Directed(typename L::V re, typename L::V im) noexcept {
    if constexpr (direction > 0) {
        return {re, im};
    } else {
        return {re, -im};
    }
}

/// Reads `samples` samples, a multiple of L::count, of L::count rows; lanes become rows.
template <class L, class Source>
void vf_LoadRows(const Source& source, std::size_t firstRow, std::size_t samples, vx_LaneSample<L>* tile) {
    constexpr std::size_t N = L::count;
    for (std::size_t first = 0; first < samples; first += N) {
        vx_Block<L> blocks[2];
        vf_Unrolled<2 * N>([&](auto i) __attribute__((always_inline)) {
            alignas(64) float room[N];
            constexpr std::size_t block = i / N;
            constexpr std::size_t row = i % N;
            blocks[block][row] =
                L::load(source.template read<N>(firstRow + row, 2 * first + block * N, room));
        });
        vf_TransposeBlock<L>(blocks[0]);
        vf_TransposeBlock<L>(blocks[1]);
        vf_Unrolled<N>([&](auto i) __attribute__((always_inline)) {
            tile[first + i].re = blocks[2 * i / N][2 * i % N];
            tile[first + i].im = blocks[(2 * i + 1) / N][(2 * i + 1) % N];
        });
    }
}

/// Writes a tile's samples as records to those of its rows that `wanted` says.
template <class L, class Wanted>
void vf_StoreRecords(const vx_LaneSample<L>* tile, std::size_t samples, const vx_Plane& plane,
                     std::size_t firstRow, const Wanted& wanted) {
    constexpr std::size_t N = L::count;
    for (std::size_t first = 0; first < samples; first += N) {
        vx_Block<L> re;
        vx_Block<L> im;
        vf_Unrolled<N>([&](auto i) __attribute__((always_inline)) {
            re[i] = tile[first + i].re;
            im[i] = tile[first + i].im;
        });
        vf_TransposeBlock<L>(re);
        vf_TransposeBlock<L>(im);
        vf_Unrolled<N>([&](auto i) __attribute__((always_inline)) {
            if (wanted(firstRow + i)) {
                float* record = plane.row(firstRow + i) + 2 * first;
                L::store(record, re[i]);
                L::store(record + N, im[i]);
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

/// Transforms a tile of rows. Backward, the result is not conjugated back.
template <class L, int direction>
void vf_TransformRows(vx_LaneSample<L>* tile, std::size_t n, const vx_Twiddles& twiddles,
                      vx_LaneSample<L>* spectrum) {
    vf_Transform<L>([tile](std::size_t i) { return vf_Directed<L, direction>(tile[i].re, tile[i].im); }, tile,
                    n, twiddles,
                    [spectrum](std::size_t k, const vx_LaneSample<L>& x) {
                        spectrum[k].re = x.re;
                        spectrum[k].im = x.im;
                    });
}

/// Each row of plane.width real values becomes the records of its half spectrum.
template <class L, int direction, class Source>
void vf_RealRowPass(const Source& source, const vx_Plane& plane, const vx_Twiddles& twiddles,
                    vx_LaneSample<L>* tile, vx_LaneSample<L>* spectrum) {
    constexpr std::size_t N = L::count;
    const std::size_t n = plane.width / 2;
    const vx_SplitStep splitStep(n, direction);
    for (std::size_t row = 0; row < plane.height; row += N) {
        vxAttention::check();
        vf_LoadRows<L>(source, row, n, tile);
        vf_TransformRows<L, direction>(tile, n, twiddles, spectrum);
        for (std::size_t k = 0; direction < 0 && k < n; ++k) {
            spectrum[k].im = -spectrum[k].im;
        }
        splitStep.apply<L>(spectrum);
        vf_StoreRecords<L>(spectrum, n, plane, row, [](std::size_t) { return true; });
        vf_StoreNyquist<L>(spectrum[n], plane, row);
    }
}

/// A row that is not transformed, as records. Returns whether any bit of it is set.
template <class L, int direction, class Source>
bool vf_CopyRow(const Source& source, const vx_Plane& plane, std::size_t row) {
    constexpr std::size_t N = L::count;
    using V = typename L::V;
    using P = vx_Patterns<L>;
    std::uint32_t bits = 0;
    for (std::size_t first = 0; first < plane.width; first += N) {
        float room[2][N];
        const V a = L::load(source.template read<N>(row, 2 * first, room[0]));
        const V b = L::load(source.template read<N>(row, 2 * first + N, room[1]));
        const vx_LaneSample<L> x =
            vf_Directed<L, direction>(L::template shuffle<typename P::template Deinterleave<0>>(a, b),
                                      L::template shuffle<typename P::template Deinterleave<1>>(a, b));
        float* record = plane.row(row) + 2 * first;
        std::uint32_t words[2 * N];
        L::store(room[0], a);
        L::store(room[1], b);
        std::memcpy(words, room, sizeof words);
        for (const std::uint32_t word : words) {
            bits |= word;
        }
        L::store(record, x.re);
        L::store(record + N, x.im);
    }
    return bits != 0;
}

/// Each row in the band becomes the records of its transform, each other row its own. What backward
/// transforms store is not conjugated back, since the column pass would only undo it. Returns whether a row
/// outside the band holds anything but zeros.
template <class L, int direction, class Source>
bool vf_ComplexRowPass(const Source& source, const vx_Plane& plane, const vx_RowBand& band,
                       const vx_Twiddles& twiddles, vx_LaneSample<L>* tile, vx_LaneSample<L>* spectrum) {
    constexpr std::size_t N = L::count;
    bool found = false;
    for (std::size_t row = 0; row < plane.height; row += N) {
        vxAttention::check();
        const auto inBand = [&band](std::size_t r) { return band.contains(r); };
        bool any = false;
        for (std::size_t r = row; r < row + N; ++r) {
            any = any || inBand(r);
        }
        if (any) {
            vf_LoadRows<L>(source, row, plane.width, tile);
        }
        for (std::size_t r = row; r < row + N; ++r) {
            if (!inBand(r)) {
                found = vf_CopyRow<L, direction>(source, plane, r) || found;
            }
        }
        if (any) {
            vf_TransformRows<L, direction>(tile, plane.width, twiddles, spectrum);
            vf_StoreRecords<L>(spectrum, plane.width, plane, row, inBand);
        }
    }
    return found;
}

/// Transforms the columns of a record. The results go to store(row, sample).
template <class L, class Load, class Store>
void vf_TransformColumns(const Load& load, const vx_Plane& plane, const vx_Twiddles& twiddles,
                         vx_LaneSample<L>* tile, const Store& store) {
    vxAttention::check();
    vf_Transform<L>(load, tile, plane.height, twiddles, store);
}

/// The records of the columns from `column` on.
template <class L, int direction = 1>
auto vf_RecordLoader(const vx_Plane& plane, std::size_t column) {
    const float* const first = plane.data + 2 * column;
    const std::size_t step = 2 * plane.width;
    return [=](std::size_t v) {
        const float* record = first + v * step;
        return vf_Directed<L, direction>(L::load(record), L::load(record + L::count));
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
    explicit vx_SpectrumColumns(const vx_Plane& plane) noexcept : plane_(plane) {}

    /// The store of the columns from `column` on.
    [[nodiscard]] auto from(std::size_t column) const noexcept {
        float* const first = plane_.data + 2 * column;
        const std::size_t step = 2 * plane_.width;
        return [first, step](std::size_t v, const vx_LaneSample<L>& x) {
            const vx_LaneSample<L> y = vf_Directed<L, direction>(x.re, x.im);
            vf_StoreInterleaved<L>(first + v * step, y.re, y.im);
        };
    }

private:
    vx_Plane plane_;
};

/// Columns 0 .. width/2 of a half spectrum whose rows are transformed, and with them the conjugates at the
/// negative frequencies: column width - u of row -v.
template <class L, int direction>
void vf_RealColumnPass(const vx_Plane& plane, const vx_Twiddles& twiddles, vx_LaneSample<L>* tile) {
    constexpr std::size_t N = L::count;
    using P = vx_Patterns<L>;
    const std::size_t width = plane.width;
    const std::size_t height = plane.height;
    // First, since its record lies where mirrored columns go.
    vf_TransformColumns<L>(vf_RecordLoader<L, direction>(plane, width / 2), plane, twiddles, tile,
                           [&](std::size_t v, const vx_LaneSample<L>& x) {
                               const vx_LaneSample<L> y = vf_Directed<L, direction>(x.re, x.im);
                               float room[N];
                               float* to = plane.row(v) + width;
                               L::store(room, y.re);
                               to[0] = room[0];
                               L::store(room, y.im);
                               to[1] = room[0];
                           });
    for (std::size_t column = 0; column < width / 2; column += N) {
        // Columns width - column - N + 1 .. width - column; column 0 has no mirror image.
        const std::size_t mirror = 2 * (width - column - N + 1);
        const std::size_t mirrored = column == 0 ? 2 * N - 2 : 2 * N;
        const auto store = [&](std::size_t v, const vx_LaneSample<L>& x) __attribute__((always_inline)) {
            const vx_LaneSample<L> y = vf_Directed<L, direction>(x.re, x.im);
            vf_StoreInterleaved<L>(plane.row(v) + 2 * column, y.re, y.im);
            float* to = plane.row(v == 0 ? 0 : height - v) + mirror;
            const typename L::V re = L::template shuffle<typename P::Reverse>(y.re, y.re);
            const typename L::V im = L::template shuffle<typename P::Reverse>(-y.im, y.im);
            if (mirrored == 2 * N) {
                vf_StoreInterleaved<L>(to, re, im);
            } else {
                float room[2 * N];
                vf_StoreInterleaved<L>(room, re, im);
                std::copy_n(room, 2 * N - 2, to);
            }
        };
        vf_TransformColumns<L>(vf_RecordLoader<L, direction>(plane, column), plane, twiddles, tile, store);
    }
}

/// What an in-place transpose that leaves out blocks of 4 x 4 samples outside the band does to samples that
/// are not zero: those blocks stay as they are, so between the passes their rows are still columns.
template <class L>
void vf_KeepSkippedBlocks(const vx_Plane& plane, const vx_RowBand& band) {
    constexpr std::size_t N = L::count;
    const auto at = [&plane](std::size_t row, std::size_t column) {
        return plane.row(row) + column / N * (2 * N) + column % N;
    };
    for (std::size_t row = 0; row < plane.height; ++row) {
        if (band.touchesBlock(row / 4 * 4)) {
            continue;
        }
        for (std::size_t column = 0; column < row; ++column) {
            if (!band.touchesBlock(column / 4 * 4)) {
                std::swap(at(row, column)[0], at(column, row)[0]);
                std::swap(at(row, column)[N], at(column, row)[N]);
            }
        }
    }
}

/// Rows of one sample, the imaginary part of which is taken as it is, need no row pass.
template <class L, int direction, class Source>
void vf_RealColumn(const Source& source, const vx_Plane& plane) {
    for (std::size_t row = 0; row < plane.height; ++row) {
        float room = 0.0F;
        plane.row(row)[0] = *source.template read<1>(row, 0, &room);
        plane.row(row)[1] = *source.template read<1>(row, 1, &room);
    }
    const vx_Twiddles twiddles(plane.height, direction);
    const vx_Workspace<vx_LaneSample<L>> tile(plane.height);
    vf_TransformColumns<L>(vf_RecordLoader<L, direction>(plane, 0), plane, twiddles, tile.get(),
                           vx_SpectrumColumns<L, direction>(plane).from(0));
}

template <class L, int direction, class Source>
void vf_RealTransform(const Source& source, const vx_Plane& plane) {
    if constexpr (L::count == 1) {
        if (plane.width == 1) {
            return vf_RealColumn<L, direction>(source, plane);
        }
    }
    const std::size_t longest = std::max(plane.width / 2, plane.height);
    const vx_Twiddles twiddles(longest, direction);
    const vx_Workspace<vx_LaneSample<L>> tile(longest);
    const vx_Workspace<vx_LaneSample<L>> spectrum(plane.width / 2 + 1);
    vf_RealRowPass<L, direction>(source, plane, twiddles, tile.get(), spectrum.get());
    vf_RealColumnPass<L, direction>(plane, twiddles, tile.get());
}

/// Backward, `columns` takes what is still to be conjugated.
template <class L, int direction, class Source, class Columns>
void vf_ComplexTransform(const Source& source, const vx_Plane& plane, const vx_RowBand& band,
                         const Columns& columns) {
    const std::size_t longest = std::max(plane.width, plane.height);
    // The angles are those of the forward transform; the conjugations make the way back.
    const vx_Twiddles twiddles(longest, 1);
    const vx_Workspace<vx_LaneSample<L>> tile(longest);
    const vx_Workspace<vx_LaneSample<L>> spectrum(plane.width);
    const bool found =
        vf_ComplexRowPass<L, direction>(source, plane, band, twiddles, tile.get(), spectrum.get());
    // Of four rows, a block also has rows of the band.
    if (plane.width == plane.height && (plane.width == 4 || (found && plane.width > 4))) {
        vf_KeepSkippedBlocks<L>(plane, band);
    }
    for (std::size_t column = 0; column < plane.width; column += L::count) {
        vf_TransformColumns<L>(vf_RecordLoader<L>(plane, column), plane, twiddles, tile.get(),
                               columns.from(column));
    }
}

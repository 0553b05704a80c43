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

#include <cstddef>
#include <cstdint>
#include <cstring>

/// The intermediate result in the spectrum's own storage: each row its records, one after the other.
template <class L>
class vx_PlaneRecords {
public:
    explicit vx_PlaneRecords(const vx_Plane& plane) noexcept : data_(plane.data), step_(2 * plane.width) {}

    /// The record of row 0 that holds the columns from `column` on.
    [[nodiscard]] float* columns(std::size_t column) const noexcept { return data_ + 2 * column; }
    /// Floats from a record to that of the next row.
    [[nodiscard]] std::size_t step() const noexcept { return step_; }

private:
    float* data_;
    std::size_t step_;
};

/// The intermediate result in memory of its own: the records of the same columns, one after the other. They
/// are in two parts of unequal size, because the usual allocators give requests of 32 MiB back to the system
/// at once, and to have those pages cleared again at every call would take as long as a transform.
template <class L>
class vx_OwnRecords {
public:
    vx_OwnRecords(std::size_t width, std::size_t height)
        : split_(width * 3 / 4 / L::count * L::count)
        , step_(2 * L::count)
        , height_(height)
        , first_(2 * split_ * height)
        , second_(2 * (width - split_) * height) {}

    [[nodiscard]] float* columns(std::size_t column) const noexcept {
        return column < split_ ? first_.get() + 2 * column * height_
                               : second_.get() + 2 * (column - split_) * height_;
    }
    [[nodiscard]] std::size_t step() const noexcept { return step_; }

private:
    std::size_t split_;
    std::size_t step_;
    std::size_t height_;
    vx_Workspace<float, L> first_;
    vx_Workspace<float, L> second_;
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

/// Writes a tile's samples as records to those of its rows that `wanted` says.
template <class L, class Records, class Wanted>
void vf_StoreRecords(const vx_LaneSample<L>* tile, std::size_t samples, const Records& records,
                     std::size_t firstRow, const Wanted& wanted) {
    constexpr std::size_t N = L::count;
    const std::size_t step = records.step();
    for (std::size_t first = 0; first < samples; first += N) {
        vx_Block<L> re;
        vx_Block<L> im;
        vf_Unrolled<N>([&](auto i) __attribute__((always_inline)) {
            re[i] = tile[first + i].re;
            im[i] = tile[first + i].im;
        });
        vf_TransposeBlock<L>(re);
        vf_TransposeBlock<L>(im);
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
        vf_StoreRecords<L>(spectrum, n, vx_PlaneRecords<L>(plane), row, [](std::size_t) { return true; });
        vf_StoreNyquist<L>(spectrum[n], plane, row);
    }
}

/// A row that is not transformed, as records. Returns whether any bit of it is set.
template <class L, int direction, class Source, class Records>
bool vf_CopyRow(const Source& source, std::size_t width, const Records& records, std::size_t row) {
    constexpr std::size_t N = L::count;
    using V = typename L::V;
    using P = vx_Patterns<L>;
    std::uint32_t bits = 0;
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
        float* record = records.columns(first) + row * records.step();
        L::store(record, x.re);
        L::store(record + N, x.im);
        for (std::size_t i = 0; i < 2 * N; ++i) {
            std::uint32_t pattern = 0;
            std::memcpy(&pattern, record + i, sizeof pattern);
            bits |= pattern;
        }
        L::store(record + N, y.im);
    }
    return bits != 0;
}

/// Each row in the band becomes the records of its transform, each other row its own. What backward
/// transforms store is not conjugated back, since the column pass would only undo it. Returns whether a row
/// outside the band holds anything but zeros.
template <class L, int direction, class Source, class Records>
bool vf_ComplexRowPass(const Source& source, const Records& records, std::size_t width, std::size_t height,
                       const vx_RowBand& band, const vx_Twiddles& twiddles, vx_LaneSample<L>* tile,
                       vx_LaneSample<L>* spectrum) {
    constexpr std::size_t N = L::count;
    bool found = false;
    for (std::size_t row = 0; row < height; row += N) {
        vxAttention::check();
        const auto inBand = [&band](std::size_t r) { return band.contains(r); };
        bool any = false;
        for (std::size_t r = row; r < row + N; ++r) {
            any = any || inBand(r);
        }
        if (any) {
            vf_LoadRows<L>(source, row, width, tile);
        }
        for (std::size_t r = row; r < row + N; ++r) {
            if (!inBand(r)) {
                found = vf_CopyRow<L, direction>(source, width, records, r) || found;
            }
        }
        if (any) {
            vf_TransformRows<L, direction>(tile, width, twiddles, spectrum);
            vf_StoreRecords<L>(spectrum, width, records, row, inBand);
        }
    }
    return found;
}

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
    const std::size_t step = records.step();
    return [=](std::size_t v) __attribute__((always_inline)) {
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
        return [ first, step ](std::size_t v, const vx_LaneSample<L>& x) __attribute__((always_inline)) {
            const vx_LaneSample<L> y = vf_Directed<L, direction>(x.re, x.im);
            vf_StoreInterleaved<L>(first + v * step, y.re, y.im);
        };
    }

private:
    vx_Plane plane_;
};

/// Puts the columns of a half spectrum where their records were, and their conjugates at the negative
/// frequencies, column width - u of row -v. For these to fill whole vectors, those of columns column + 1 ..
/// column + L::count are written: the last one has been transformed before.
template <class L, int direction>
class vx_HermitianStore {
public:
    vx_HermitianStore(const vx_Plane& plane, std::size_t column) noexcept
        : first_(plane.data + 2 * column)
        , mirror_(plane.data + 2 * (plane.width - column - L::count))
        , step_(2 * plane.width)
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

/// What an in-place transpose that leaves out blocks of 4 x 4 samples outside the band does to samples that
/// are not zero: those blocks stay as they are, so between the passes their rows are still columns.
template <class L, class Records>
void vf_KeepSkippedBlocks(const Records& records, std::size_t size, const vx_RowBand& band) {
    constexpr std::size_t N = L::count;
    const auto at = [&records](std::size_t row, std::size_t column) {
        return records.columns(column / N * N) + row * records.step() + column % N;
    };
    for (std::size_t row = 0; row < size; ++row) {
        if (band.touchesBlock(row / 4 * 4)) {
            continue;
        }
        for (std::size_t column = 0; column < row; ++column) {
            if (!band.touchesBlock(column / 4 * 4)) {
                vf_Swap<L>(at(row, column)[0], at(column, row)[0]);
                vf_Swap<L>(at(row, column)[N], at(column, row)[N]);
            }
        }
    }
}

/// Rows of one sample, the imaginary part of which is taken as it is, need no row pass.
template <class L, int direction, class Source>
void vf_RealColumn(const Source& source, const vx_Plane& plane) {
    for (std::size_t row = 0; row < plane.height; ++row) {
        vx_LaneSample<L> x;
        source.read(row, 0, x.re, x.im);
        L::store(plane.row(row), x.re);
        L::store(plane.row(row) + 1, x.im);
    }
    const vx_Twiddles twiddles(plane.height, direction);
    const vx_Workspace<vx_LaneSample<L>> tile(plane.height);
    vf_TransformColumns<L>(vf_RecordLoader<L, direction>(vx_PlaneRecords<L>(plane), 0), plane.height,
                           twiddles, tile.get(), vx_SpectrumColumns<L, direction>(plane).from(0));
}

template <class L, int direction, class Source>
void vf_RealTransform(const Source& source, const vx_Plane& plane) {
    if constexpr (L::count == 1) {
        if (plane.width == 1) {
            return vf_RealColumn<L, direction>(source, plane);
        }
    }
    const std::size_t longest = vf_Greater<L>(plane.width / 2, plane.height);
    const vx_Twiddles twiddles(longest, direction);
    const vx_Workspace<vx_LaneSample<L>> tile(longest);
    const vx_Workspace<vx_LaneSample<L>> spectrum(plane.width / 2 + 1);
    vf_RealRowPass<L, direction>(source, plane, twiddles, tile.get(), spectrum.get());
    vf_RealColumnPass<L, direction>(plane, twiddles, tile.get());
}

/// The intermediate result goes through `records`. Backward, `columns` takes what is still to be conjugated.
template <class L, int direction, class Source, class Records, class Columns>
void vf_ComplexTransform(const Source& source, const Records& records, std::size_t width, std::size_t height,
                         const vx_RowBand& band, const Columns& columns) {
    const std::size_t longest = vf_Greater<L>(width, height);
    // The angles are those of the forward transform; the conjugations make the way back.
    const vx_Twiddles twiddles(longest, 1);
    const vx_Workspace<vx_LaneSample<L>> tile(longest);
    const vx_Workspace<vx_LaneSample<L>> spectrum(width);
    const bool found = vf_ComplexRowPass<L, direction>(source, records, width, height, band, twiddles,
                                                       tile.get(), spectrum.get());
    // Of four rows, a block also has rows of the band.
    if (width == height && (width == 4 || (found && width > 4))) {
        vf_KeepSkippedBlocks<L>(records, width, band);
    }
    for (std::size_t column = 0; column < width; column += L::count) {
        vf_TransformColumns<L>(vf_RecordLoader<L>(records, column), height, twiddles, tile.get(),
                               columns.from(column));
    }
}

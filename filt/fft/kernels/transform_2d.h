/// \file
/// The 2-D transforms: a pass over the rows, then a pass over the columns; of real images, half of them, and
/// a sweep that fills in the other half.
///
/// Widths are at least 2 * L::count (complex: L::count), heights at least L::count; all are powers of two.
#pragma once

#include "filt/fft/kernels/column_pass.h"
#include "filt/fft/kernels/kernel_table.h"
#include "filt/fft/kernels/lanes.h"
#include "filt/fft/kernels/records.h"
#include "filt/fft/kernels/row_band.h"
#include "filt/fft/kernels/row_pass.h"
#include "filt/fft/kernels/split_radix.h"
#include "filt/fft/kernels/twiddles.h"
#include "filt/fft/kernels/workspace.h"

#include <cstddef>
#include <cstdint>

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
    const vx_Workspace<vx_LaneSample<L>> tile(vf_Greater<L>(plane.width / 2 + 1, plane.height));
    vf_RealRowPass<L, direction>(source, plane, twiddles, tile.get());
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
    const vx_Workspace<std::uint32_t, L> places(height);
    // Of four rows, a block that is skipped also has rows of the band.
    const bool ownPlaces = vf_ComplexRowPass<L, direction>(
        source, records, width, height, band, width == 4 && height == 4, twiddles, tile.get(), places.get());
    if (width == height && width >= 4 && ownPlaces) {
        vf_KeepSkippedBlocks<L>(records, width, band);
    }
    for (std::size_t column = 0; column < width; column += L::count) {
        // In place, if there is one: a tile besides would crowd the caches.
        vx_LaneSample<L>* const own = ownPlaces ? records.asTile(column) : nullptr;
        vf_TransformColumns<L>(vf_RecordLoader<L>(records, places.get(), column), height, twiddles,
                               own != nullptr ? own : tile.get(), columns.from(column));
    }
}

/// \file
/// The intermediate result of a 2-D transform, between its two passes: records of as many columns as a vector
/// has lanes. A record is the real parts of these columns in one row, then their imaginary parts, so that the
/// column pass loads its vectors without a shuffle.
#pragma once

#include "filt/fft/kernels/kernel_table.h"
#include "filt/fft/kernels/lanes.h"
#include "filt/fft/kernels/row_band.h"
#include "filt/fft/kernels/split_radix.h"
#include "filt/fft/kernels/workspace.h"
#include "kavstd/attention.h"

#include <cstddef>

/// The intermediate result in the result's own storage: each row its records, one after the other.
template <class L>
class vx_PlaneRecords {
public:
    explicit vx_PlaneRecords(const vx_SplitPlane& plane) noexcept : plane_(plane) {}

    /// The record of row 0 that holds the columns from `column` on.
    [[nodiscard]] float* columns(std::size_t column) const noexcept { return plane_.columns(column); }
    /// Floats from a record to that of the next row.
    [[nodiscard]] std::size_t step(std::size_t column) const noexcept { return plane_.step(column); }
    /// The records of these columns as a tile, if they lie one after the other.
    [[nodiscard]] vx_LaneSample<L>* asTile(std::size_t /*column*/) const noexcept { return nullptr; }
    /// Has the memory brought to the caches that comes after these records of L::count rows.
    void fetchAfter(std::size_t /*column*/, std::size_t /*firstRow*/) const noexcept {
        // Nothing: the rows have just been read, or processors foresee what follows in a row.
    }

private:
    vx_SplitPlane plane_;
};

/// The intermediate result in memory of its own: the records of the same columns, one after the other. They
/// are in two parts of unequal size, because the usual allocators give requests of 32 MiB back to the system
/// at once, and having their pages cleared again at every call costs a good part of a transform's time.
template <class L>
class vx_OwnRecords {
public:
    vx_OwnRecords(std::size_t width, std::size_t height)
        : width_(width)
        , split_(width * 3 / 4 / L::count * L::count)
        , step_(2 * L::count)
        , height_(height)
        , first_(2 * split_ * height)
        , second_(2 * (width - split_) * height) {}

    [[nodiscard]] float* columns(std::size_t column) const noexcept {
        return column < split_ ? first_.get() + 2 * column * height_
                               : second_.get() + 2 * (column - split_) * height_;
    }
    [[nodiscard]] std::size_t step(std::size_t /*column*/) const noexcept { return step_; }
    [[nodiscard]] vx_LaneSample<L>* asTile(std::size_t column) const noexcept {
        static_assert(sizeof(vx_LaneSample<L>) == 2 * L::count * sizeof(float),
                      "a record is a sample of lanes");
        return reinterpret_cast<vx_LaneSample<L>*>(columns(column));
    }
    [[gnu::always_inline]] void fetchAfter(std::size_t column, std::size_t firstRow) const noexcept {
        const std::size_t next = column + L::count;
        if (next < width_) {
            vf_Fetch<L>(columns(next) + firstRow * step_, L::count * step_);
        }
    }

private:
    std::size_t width_;
    std::size_t split_;
    std::size_t step_;
    std::size_t height_;
    vx_Workspace<float, L> first_;
    vx_Workspace<float, L> second_;
};

/// What an in-place transpose that leaves out blocks of 4 x 4 samples outside the band does to samples that
/// are not zero: those blocks stay as they are, so between the passes their rows are still columns.
template <class L, class Records>
void vf_KeepSkippedBlocks(const Records& records, std::size_t size, const vx_RowBand& band) {
    constexpr std::size_t N = L::count;
    const auto at = [&records](std::size_t row, std::size_t column) {
        const std::size_t first = column / N * N;
        return records.columns(first) + row * records.step(first) + column % N;
    };
    for (std::size_t row = 0; row < size; ++row) {
        if (band.touchesBlock(row / 4 * 4)) {
            continue;
        }
        if (row % 4 == 0) {
            vxAttention::check();
        }
        for (std::size_t column = 0; column < row; ++column) {
            if (!band.touchesBlock(column / 4 * 4)) {
                vf_Swap<L>(at(row, column)[0], at(column, row)[0]);
                vf_Swap<L>(at(row, column)[N], at(column, row)[N]);
            }
        }
    }
}

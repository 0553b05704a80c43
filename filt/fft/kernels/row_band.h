/// \file
/// The band of rows that a spectrum declares to hold all its non-zero samples.
#pragma once

#include <cstddef>

/// Rows low .. high in centred numbering: row r of n has the number r + n/2 when r < n/2, else r - n/2. The
/// ends may be any values; the centred number of a row is small, so no comparison overflows.
class vx_RowBand {
public:
    [[gnu::always_inline]] vx_RowBand(long low, long high, std::size_t rows) noexcept
        : low_(low), high_(high), rows_(static_cast<long>(rows)) {}

    [[nodiscard, gnu::always_inline]] bool contains(std::size_t row) const noexcept {
        return low_ <= centred(row) && centred(row) <= high_;
    }

    /// Whether the block of four rows from `start` counts as in the band: judged by its first row, even where
    /// the block reaches over both halves (four rows in all), and in when it ends just before the band.
    [[nodiscard, gnu::always_inline]] bool touchesBlock(std::size_t start) const noexcept {
        return low_ <= centred(start) + 4 && centred(start) <= high_;
    }

private:
    [[nodiscard, gnu::always_inline]] long centred(std::size_t row) const noexcept {
        const long half = rows_ >> 1;
        const long r = static_cast<long>(row);
        return r < half ? r + half : r - half;
    }

    long low_;
    long high_;
    long rows_;
};

/// \file
/// Where the row pass takes its rows from. A source reads L::count samples of a row at once, in two vectors:
/// interleaved (real, imaginary) pairs, or the real parts and the imaginary parts. Of a real image, pels that
/// lie side by side count as one sample. There is zero to the right of an image and below it.
#pragma once

#include "filt/internal/pel_row.h"
#include "kavstd/pelbuffer.h"

#include <cstddef>

/// Rows that are samples already.
class vx_SampleRows {
public:
    static constexpr bool interleaved = true;

    vx_SampleRows(const float* first, std::size_t width) noexcept : first_(first), width_(width) {}

    template <class L>
    [[nodiscard]] bool isInside(std::size_t /*row*/, std::size_t /*sample*/) const noexcept {
        return true;
    }
    template <class L>
    [[gnu::always_inline]] void readInside(std::size_t row, std::size_t sample, typename L::V& a,
                                           typename L::V& b) const noexcept {
        const float* from = first_ + 2 * (row * width_ + sample);
        a = L::load(from);
        b = L::load(from + L::count);
    }
    template <class L>
    void read(std::size_t row, std::size_t sample, typename L::V& a, typename L::V& b) const noexcept {
        readInside<L>(row, sample, a, b);
    }

private:
    const float* first_;
    std::size_t width_;
};

/// The pels of a real image.
template <vx_Pel T>
class vx_PelRows {
public:
    static constexpr bool interleaved = true;

    explicit vx_PelRows(const vxPelBuffer_const<T>& image) noexcept
        : first_(image.pointToOffset())
        , step_(image.rowUpdate())
        , width_(static_cast<std::size_t>(image.width()))
        , height_(static_cast<std::size_t>(image.height())) {}

    template <class L>
    [[nodiscard]] bool isInside(std::size_t row, std::size_t sample) const noexcept {
        return hasPels<L>(row, 2 * sample, 2 * L::count);
    }
    template <class L>
    [[gnu::always_inline]] void readInside(std::size_t row, std::size_t sample, typename L::V& a,
                                           typename L::V& b) const noexcept {
        a = L::load(at(row, 2 * sample));
        b = L::load(at(row, 2 * sample + L::count));
    }
    template <class L>
    void read(std::size_t row, std::size_t sample, typename L::V& a, typename L::V& b) const noexcept {
        a = pels<L>(row, 2 * sample);
        b = pels<L>(row, 2 * sample + L::count);
    }

    /// Whether all of `count` columns of L::count rows are pels of the image.
    template <class L>
    [[nodiscard]] bool hasPels(std::size_t row, std::size_t column, std::size_t count) const noexcept {
        return row + L::count <= height_ && column + count <= width_;
    }
    [[nodiscard]] const T* at(std::size_t row, std::size_t column) const noexcept {
        return first_ + static_cast<std::ptrdiff_t>(row) * step_ + column;
    }
    /// L::count pels from a column on.
    template <class L>
    [[nodiscard]] typename L::V pels(std::size_t row, std::size_t column) const noexcept {
        T room[L::count] = {};
        for (std::size_t i = 0; i < L::count && row < height_ && column + i < width_; ++i) {
            room[i] = *at(row, column + i);
        }
        return L::load(room);
    }

private:
    const T* first_;
    long step_;
    std::size_t width_;
    std::size_t height_;
};

/// The pels of a real and an imaginary image of one size.
template <vx_Pel T>
class vx_PelPairRows {
public:
    static constexpr bool interleaved = false;

    vx_PelPairRows(const vxPelBuffer_const<T>& real, const vxPelBuffer_const<T>& imaginary) noexcept
        : real_(real), imaginary_(imaginary) {}

    template <class L>
    [[nodiscard]] bool isInside(std::size_t row, std::size_t sample) const noexcept {
        return real_.template hasPels<L>(row, sample, L::count);
    }
    template <class L>
    [[gnu::always_inline]] void readInside(std::size_t row, std::size_t sample, typename L::V& a,
                                           typename L::V& b) const noexcept {
        a = L::load(real_.at(row, sample));
        b = L::load(imaginary_.at(row, sample));
    }
    template <class L>
    void read(std::size_t row, std::size_t sample, typename L::V& a, typename L::V& b) const noexcept {
        a = real_.template pels<L>(row, sample);
        b = imaginary_.template pels<L>(row, sample);
    }

private:
    vx_PelRows<T> real_;
    vx_PelRows<T> imaginary_;
};

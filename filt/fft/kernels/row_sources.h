/// \file
/// Where the row pass takes its rows from. A source reads L::count samples of a row at once, in two vectors:
/// interleaved (real, imaginary) pairs, or the real parts and the imaginary parts. Of a real image, pels that
/// lie side by side count as one sample. There is zero to the right of an image and below it.
#pragma once

#include "filt/fft/kernels/kernel_table.h"
#include "kavstd/pelbuffer.h"

#include <cstddef>

/// Rows that are samples already.
template <class L>
class vx_SampleRows {
public:
    static constexpr bool interleaved = true;

    vx_SampleRows(const float* first, std::size_t width) noexcept : first_(first), width_(width) {}

    [[nodiscard]] bool isInside(std::size_t /*row*/, std::size_t /*sample*/) const noexcept { return true; }
    [[gnu::always_inline]] void readInside(std::size_t row, std::size_t sample, typename L::V& a,
                                           typename L::V& b) const noexcept {
        const float* from = first_ + 2 * (row * width_ + sample);
        a = L::load(from);
        b = L::load(from + L::count);
    }
    void read(std::size_t row, std::size_t sample, typename L::V& a, typename L::V& b) const noexcept {
        readInside(row, sample, a, b);
    }

private:
    const float* first_;
    std::size_t width_;
};

/// The pels of a real image.
template <class L, vx_Pel T>
class vx_PelRows {
public:
    static constexpr bool interleaved = true;

    explicit vx_PelRows(const vx_Pels<const T>& image) noexcept : image_(image) {}

    [[nodiscard]] bool isInside(std::size_t row, std::size_t sample) const noexcept {
        return hasPels(row, 2 * sample, 2 * L::count);
    }
    [[gnu::always_inline]] void readInside(std::size_t row, std::size_t sample, typename L::V& a,
                                           typename L::V& b) const noexcept {
        a = L::load(at(row, 2 * sample));
        b = L::load(at(row, 2 * sample + L::count));
    }
    void read(std::size_t row, std::size_t sample, typename L::V& a, typename L::V& b) const noexcept {
        a = pels(row, 2 * sample);
        b = pels(row, 2 * sample + L::count);
    }

    /// Whether all of `count` columns of L::count rows are pels of the image.
    [[nodiscard]] bool hasPels(std::size_t row, std::size_t column, std::size_t count) const noexcept {
        return row + L::count <= image_.height && column + count <= image_.width;
    }
    [[nodiscard]] const T* at(std::size_t row, std::size_t column) const noexcept {
        return image_.row(row) + column;
    }
    /// L::count pels from a column on.
    [[nodiscard]] typename L::V pels(std::size_t row, std::size_t column) const noexcept {
        T room[L::count] = {};
        for (std::size_t i = 0; i < L::count && row < image_.height && column + i < image_.width; ++i) {
            room[i] = *at(row, column + i);
        }
        return L::load(room);
    }

private:
    vx_Pels<const T> image_;
};

/// The pels of a real and an imaginary image of one size.
template <class L, vx_Pel T>
class vx_PelPairRows {
public:
    static constexpr bool interleaved = false;

    vx_PelPairRows(const vx_Pels<const T>& real, const vx_Pels<const T>& imaginary) noexcept
        : real_(real), imaginary_(imaginary) {}

    [[nodiscard]] bool isInside(std::size_t row, std::size_t sample) const noexcept {
        return real_.hasPels(row, sample, L::count);
    }
    [[gnu::always_inline]] void readInside(std::size_t row, std::size_t sample, typename L::V& a,
                                           typename L::V& b) const noexcept {
        a = L::load(real_.at(row, sample));
        b = L::load(imaginary_.at(row, sample));
    }
    void read(std::size_t row, std::size_t sample, typename L::V& a, typename L::V& b) const noexcept {
        a = real_.pels(row, sample);
        b = imaginary_.pels(row, sample);
    }

private:
    vx_PelRows<L, T> real_;
    vx_PelRows<L, T> imaginary_;
};

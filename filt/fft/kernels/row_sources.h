/// \file
/// Where the row pass takes its rows from. A source reads `count` consecutive floats of a row as the
/// transform wants them: of a real image its pels, of a complex one (real, imaginary) pairs; zero to the
/// right of the image and below it.
#pragma once

#include "filt/internal/pel_row.h"
#include "kavstd/pelbuffer.h"

#include <algorithm>
#include <cstddef>

/// Rows that are floats already.
class vx_FloatRows {
public:
    vx_FloatRows(const float* first, std::size_t rowFloats) noexcept : first_(first), rowFloats_(rowFloats) {}

    template <std::size_t count>
    const float* read(std::size_t row, std::size_t column, float* /*room*/) const noexcept {
        return first_ + row * rowFloats_ + column;
    }

private:
    const float* first_;
    std::size_t rowFloats_;
};

/// The pels of one image.
template <vx_Pel T>
class vx_PelRows {
public:
    explicit vx_PelRows(const vxPelBuffer_const<T>& image) noexcept
        : first_(image.pointToOffset())
        , step_(image.rowUpdate())
        , width_(static_cast<std::size_t>(image.width()))
        , height_(static_cast<std::size_t>(image.height())) {}

    template <std::size_t count>
    const float* read(std::size_t row, std::size_t column, float* room) const noexcept {
        const std::size_t pels = row < height_ && column < width_ ? std::min(width_ - column, count) : 0;
        const T* from = pels == 0 ? nullptr : first_ + static_cast<std::ptrdiff_t>(row) * step_ + column;
        if (pels == count) {
            for (std::size_t i = 0; i < count; ++i) {
                room[i] = static_cast<float>(from[i]);
            }
            return room;
        }
        for (std::size_t i = 0; i < count; ++i) {
            room[i] = i < pels ? static_cast<float>(from[i]) : 0.0F;
        }
        return room;
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
    vx_PelPairRows(const vxPelBuffer_const<T>& real, const vxPelBuffer_const<T>& imaginary) noexcept
        : real_(real), imaginary_(imaginary) {}

    template <std::size_t count>
    const float* read(std::size_t row, std::size_t column, float* room) const noexcept {
        if constexpr (count == 1) {
            return column % 2 == 0 ? real_.template read<1>(row, column / 2, room)
                                   : imaginary_.template read<1>(row, column / 2, room);
        } else {
            float re[count / 2];
            float im[count / 2];
            real_.template read<count / 2>(row, column / 2, re);
            imaginary_.template read<count / 2>(row, column / 2, im);
            for (std::size_t i = 0; i < count / 2; ++i) {
                room[2 * i] = re[i];
                room[2 * i + 1] = im[i];
            }
            return room;
        }
    }

private:
    vx_PelRows<T> real_;
    vx_PelRows<T> imaginary_;
};

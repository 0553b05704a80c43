/// \file
/// The end of an inverse transform that is to give magnitudes: pels straight from the column pass, without
/// the complex image in between.
#pragma once

#include "filt/fft/kernels/split_radix.h"
#include "filt/internal/convert.h"
#include "filt/internal/pel_row.h"
#include "kavstd/pelbuffer.h"

#include <algorithm>
#include <concepts>
#include <cstddef>

/// Takes the columns of a spatial image, of which the pels of the result are in use.
template <class L, vx_Pel T>
class vx_MagnitudeColumns {
public:
    vx_MagnitudeColumns(const vxPelBuffer<T>& image, float scale) noexcept
        : first_(image.pointToOffset())
        , step_(image.rowUpdate())
        , width_(static_cast<std::size_t>(image.width()))
        , height_(static_cast<std::size_t>(image.height()))
        , scale_(scale) {}

    /// The store of the columns from `column` on.
    [[nodiscard]] auto from(std::size_t column) const noexcept {
        const std::size_t pels = column < width_ ? std::min(width_ - column, L::count) : 0;
        return [ *this, column, pels ](std::size_t v, const vx_LaneSample<L>& x)
            __attribute__((always_inline)) {
            if (v < height_ && pels > 0) {
                T* const to = first_ + static_cast<std::ptrdiff_t>(v) * step_ + column;
                const typename L::V magnitude = L::sqrt(x.re * x.re + x.im * x.im) * scale_;
                if (pels == L::count) {
                    store(to, magnitude);
                } else {
                    T room[L::count];
                    store(room, magnitude);
                    for (std::size_t i = 0; i < L::count; ++i) {
                        if (i < pels) {
                            to[i] = room[i];
                        }
                    }
                }
            }
        };
    }

private:
    // Integers are rounded and their low bits kept: a magnitude above the pel range wraps, it is not clamped.
    static void store(T* to, typename L::V magnitude) noexcept {
        if constexpr (std::integral<T>) {
            L::storeLowBits(to, magnitude + 0.5F);
        } else {
            float room[L::count];
            L::store(room, magnitude);
            for (std::size_t i = 0; i < L::count; ++i) {
                to[i] = static_cast<double>(room[i]);
            }
        }
    }

    T* first_;
    long step_;
    std::size_t width_;
    std::size_t height_;
    float scale_;
};

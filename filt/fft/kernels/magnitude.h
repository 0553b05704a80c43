/// \file
/// The end of an inverse transform that is to give magnitudes: pels straight from the column pass, without
/// the complex image in between.
#pragma once

#include "filt/fft/kernels/kernel_table.h"
#include "filt/fft/kernels/split_radix.h"
#include "kavstd/pelbuffer.h"

#include <concepts>
#include <cstddef>

/// The pels of some spatial samples; the first `pels` lanes are stored.
template <class L, vx_Pel T>
[[gnu::always_inline]] inline void vf_StoreMagnitudes(T* to, typename L::V re, typename L::V im,
                                                      const vx_PelScale& scale, std::size_t pels) noexcept {
    const typename L::V magnitude = L::sqrt(re * re + im * im) * scale.scale;
    const typename L::V value = (magnitude - scale.low) * scale.gain;
    // Integers are rounded and their low bits kept: a magnitude above the pel range wraps, it is not clamped.
    if constexpr (std::integral<T>) {
        L::storeLowBits(to, value + 0.5F, pels);
    } else {
        L::storeWidened(to, value, pels);
    }
}

/// Takes the columns of a spatial image, of which the pels of the result are in use.
template <class L, vx_Pel T>
class vx_MagnitudeColumns {
public:
    vx_MagnitudeColumns(const vx_Pels<T>& image, const vx_PelScale& scale) noexcept
        : image_(image), scale_(scale) {}

    /// The store of the columns from `column` on.
    [[nodiscard]] auto from(std::size_t column) const noexcept {
        const std::size_t pels = column < image_.width ? vf_Smaller<L>(image_.width - column, L::count) : 0;
        // No row has a pel where no column has one.
        const std::size_t height = pels == 0 ? 0 : image_.height;
        return [ image = image_, column, height, pels, scale =
                 scale_ ](std::size_t v, const vx_LaneSample<L>& x) __attribute__((always_inline)) {
            if (v < height) {
                vf_StoreMagnitudes<L>(image.row(v) + column, x.re, x.im, scale, pels);
            }
        };
    }

private:
    vx_Pels<T> image_;
    vx_PelScale scale_;
};

/// The magnitudes of `count` interleaved samples.
template <class L, vx_Pel T>
void vf_MagnitudesKernel(const float* samples, std::size_t count, const vx_PelScale& scale, T* pels) {
    constexpr std::size_t N = L::count;
    using P = vx_Patterns<L>;
    float room[2 * N] = {};
    for (std::size_t first = 0; first < count; first += N) {
        const std::size_t lanes = vf_Smaller<L>(count - first, N);
        const float* from = samples + 2 * first;
        if (lanes < N) {
            vf_Copy<L>(from, 2 * lanes, room);
            from = room;
        }
        const typename L::V a = L::load(from);
        const typename L::V b = L::load(from + N);
        vf_StoreMagnitudes<L>(pels + first, L::template shuffle<typename P::template Deinterleave<0>>(a, b),
                              L::template shuffle<typename P::template Deinterleave<1>>(a, b), scale, lanes);
    }
}

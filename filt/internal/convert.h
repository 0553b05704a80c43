/// \file
/// Floating-point to integer, with a result for every input.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <concepts>
#include <cstddef>
#include <cstdint>

/// Truncates toward zero. A NaN, an infinity or a value outside the 64-bit range gives 0.
[[nodiscard, gnu::always_inline]] constexpr std::int64_t vf_Truncate(double value) noexcept {
    // Both bounds are exact doubles; the comparison is false for NaN.
    constexpr double limit = 9223372036854775808.0; // 2^63
    return value >= -limit && value < limit ? static_cast<std::int64_t>(value) : 0;
}

/// The low bits of the truncated value, as many as T has: an 8-bit pel is the value modulo 256.
template <std::unsigned_integral T>
[[nodiscard, gnu::always_inline]] constexpr T vf_LowBits(double value) noexcept {
    return static_cast<T>(vf_Truncate(value));
}

/// The sum of the magnitudes of `count` values: NaN exactly when one of them is. The lanes let processors add
/// several at once.
[[nodiscard]] inline double vf_SumOfMagnitudes(const double* values, long count) noexcept {
    constexpr long lanes = 4;
    const long end = count - count % lanes;
    std::array<double, lanes> sums = {};
    for (long i = 0; i < end; i += lanes) {
        for (long lane = 0; lane < lanes; ++lane) {
            sums[static_cast<std::size_t>(lane)] += std::fabs(values[i + lane]);
        }
    }
    double sum = sums[0] + sums[1] + sums[2] + sums[3];
    for (long i = end; i < count; ++i) {
        sum += std::fabs(values[i]);
    }
    return sum;
}

/// vf_LowBits of `count` values, a few hundred at most. Unless they are huge, all of them fit 32 bits; that
/// conversion every processor has for several values at once, and the low bits are the same.
template <std::unsigned_integral T>
requires(sizeof(T) <= sizeof(std::int32_t)) void vf_StoreLowBits(const double* values, T* out,
                                                                 long count) noexcept {
    constexpr double limit =
        2147483648.0; // 2^31. No value is above the sum, and a NaN is not below anything.
    if (!(vf_SumOfMagnitudes(values, count) < limit)) {
        std::transform(values, values + count, out, vf_LowBits<T>);
        return;
    }
    for (long i = 0; i < count; ++i) {
        out[i] = static_cast<T>(static_cast<std::int32_t>(values[i]));
    }
}

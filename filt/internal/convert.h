/// \file
/// Floating-point to integer, with a result for every input.
#pragma once

#include <concepts>
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

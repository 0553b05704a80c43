/// \file
/// How filters compare floating-point values: neither less nor greater is equal, so a NaN equals anything.
#pragma once

#include "filt/freqfilt/gain_table.h"
#include "kavstd/pair.h"

#include <algorithm>

template <class T>
[[nodiscard]] constexpr bool vf_Same(T a, T b) noexcept {
    return !(a < b) && !(a > b);
}

[[nodiscard]] constexpr bool vf_Same(const vxPair<double>& a, const vxPair<double>& b) noexcept {
    return vf_Same(a.x(), b.x()) && vf_Same(a.y(), b.y());
}

[[nodiscard]] inline bool vf_Same(const vx_GainTable& a, const vx_GainTable& b) noexcept {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](float x, float y) { return vf_Same(x, y); });
}

/// \file
/// Lanes for any compiler: arrays, and loops that most turn into the vectors they know.
#pragma once

#include "filt/internal/convert.h"

#include <cmath>
#include <cstddef>

template <std::size_t n>
struct vx_Floats {
    float lane[n];
};

template <std::size_t n, class F>
[[gnu::always_inline]] inline vx_Floats<n> vf_EachLane(F f) noexcept {
    vx_Floats<n> result;
    for (std::size_t i = 0; i < n; ++i) {
        result.lane[i] = f(i);
    }
    return result;
}

template <std::size_t n>
[[gnu::always_inline]] inline vx_Floats<n> operator+(const vx_Floats<n>& a, const vx_Floats<n>& b) noexcept {
    return vf_EachLane<n>([&](std::size_t i) { return a.lane[i] + b.lane[i]; });
}
template <std::size_t n>
[[gnu::always_inline]] inline vx_Floats<n> operator+(const vx_Floats<n>& a, float b) noexcept {
    return vf_EachLane<n>([&](std::size_t i) { return a.lane[i] + b; });
}
template <std::size_t n>
[[gnu::always_inline]] inline vx_Floats<n> operator-(const vx_Floats<n>& a, const vx_Floats<n>& b) noexcept {
    return vf_EachLane<n>([&](std::size_t i) { return a.lane[i] - b.lane[i]; });
}
template <std::size_t n>
[[gnu::always_inline]] inline vx_Floats<n> operator-(const vx_Floats<n>& a, float b) noexcept {
    return vf_EachLane<n>([&](std::size_t i) { return a.lane[i] - b; });
}
template <std::size_t n>
[[gnu::always_inline]] inline vx_Floats<n> operator-(const vx_Floats<n>& a) noexcept {
    return vf_EachLane<n>([&](std::size_t i) { return -a.lane[i]; });
}
template <std::size_t n>
[[gnu::always_inline]] inline vx_Floats<n> operator*(const vx_Floats<n>& a, const vx_Floats<n>& b) noexcept {
    return vf_EachLane<n>([&](std::size_t i) { return a.lane[i] * b.lane[i]; });
}
template <std::size_t n>
[[gnu::always_inline]] inline vx_Floats<n> operator*(const vx_Floats<n>& a, float b) noexcept {
    return vf_EachLane<n>([&](std::size_t i) { return a.lane[i] * b; });
}

/// The set of `n` such lanes.
template <std::size_t n>
struct vx_ArrayLanes {
    using V = vx_Floats<n>;
    static constexpr std::size_t count = n;

    template <class T>
    [[gnu::always_inline]] static V load(const T* from) noexcept {
        return vf_EachLane<n>([from](std::size_t i) { return static_cast<float>(from[i]); });
    }
    [[gnu::always_inline]] static void store(float* to, const V& v) noexcept {
        for (std::size_t i = 0; i < n; ++i) {
            to[i] = v.lane[i];
        }
    }
    [[gnu::always_inline]] static V fill(float x) noexcept {
        return vf_EachLane<n>([x](std::size_t /*i*/) { return x; });
    }
    template <class Pattern>
    [[gnu::always_inline]] static V shuffle(const V& a, const V& b) noexcept {
        return vf_EachLane<n>([&](std::size_t i) {
            const std::size_t lane = Pattern::lane(i);
            return lane < n ? a.lane[lane] : b.lane[lane - n];
        });
    }
    [[gnu::always_inline]] static V sqrt(const V& v) noexcept {
        return vf_EachLane<n>([&](std::size_t i) { return std::sqrt(v.lane[i]); });
    }
    [[gnu::always_inline]] static V lesser(const V& a, const V& b) noexcept {
        return vf_EachLane<n>([&](std::size_t i) { return a.lane[i] < b.lane[i] ? a.lane[i] : b.lane[i]; });
    }
    [[gnu::always_inline]] static V greater(const V& a, const V& b) noexcept {
        return vf_EachLane<n>([&](std::size_t i) { return a.lane[i] > b.lane[i] ? a.lane[i] : b.lane[i]; });
    }
    /// The first `pels` lanes as integers.
    template <class T>
    [[gnu::always_inline]] static void storeLowBits(T* to, const V& v, std::size_t pels) noexcept {
        for (std::size_t i = 0; i < pels; ++i) {
            to[i] = vf_LowBits<T>(static_cast<double>(v.lane[i]));
        }
    }
    [[gnu::always_inline]] static void storeWidened(double* to, const V& v, std::size_t pels) noexcept {
        for (std::size_t i = 0; i < pels; ++i) {
            to[i] = static_cast<double>(v.lane[i]);
        }
    }
};

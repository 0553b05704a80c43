/// \file
/// Lanes for any compiler: arrays, and loops that most turn into the vectors they know.
#pragma once

#include "filt/internal/convert.h"

#include <cmath>
#include <cstddef>
#include <cstdint>

template <class T, std::size_t n>
struct vx_Array {
    T lane[n];
};

template <class T, std::size_t n, class F>
[[gnu::always_inline]] inline vx_Array<T, n> vf_EachLane(F f) noexcept {
    vx_Array<T, n> result;
    for (std::size_t i = 0; i < n; ++i) {
        result.lane[i] = f(i);
    }
    return result;
}

template <class T, std::size_t n>
[[gnu::always_inline]] inline vx_Array<T, n> operator+(const vx_Array<T, n>& a,
                                                       const vx_Array<T, n>& b) noexcept {
    return vf_EachLane<T, n>([&](std::size_t i) { return a.lane[i] + b.lane[i]; });
}
template <class T, std::size_t n>
[[gnu::always_inline]] inline vx_Array<T, n> operator+(const vx_Array<T, n>& a, T b) noexcept {
    return vf_EachLane<T, n>([&](std::size_t i) { return a.lane[i] + b; });
}
template <class T, std::size_t n>
[[gnu::always_inline]] inline vx_Array<T, n> operator-(const vx_Array<T, n>& a,
                                                       const vx_Array<T, n>& b) noexcept {
    return vf_EachLane<T, n>([&](std::size_t i) { return a.lane[i] - b.lane[i]; });
}
template <class T, std::size_t n>
[[gnu::always_inline]] inline vx_Array<T, n> operator-(const vx_Array<T, n>& a, T b) noexcept {
    return vf_EachLane<T, n>([&](std::size_t i) { return a.lane[i] - b; });
}
template <class T, std::size_t n>
[[gnu::always_inline]] inline vx_Array<T, n> operator*(const vx_Array<T, n>& a,
                                                       const vx_Array<T, n>& b) noexcept {
    return vf_EachLane<T, n>([&](std::size_t i) { return a.lane[i] * b.lane[i]; });
}
template <class T, std::size_t n>
[[gnu::always_inline]] inline vx_Array<T, n> operator*(const vx_Array<T, n>& a, T b) noexcept {
    return vf_EachLane<T, n>([&](std::size_t i) { return a.lane[i] * b; });
}
template <class T, std::size_t n>
[[gnu::always_inline]] inline vx_Array<T, n> operator-(const vx_Array<T, n>& a) noexcept {
    return vf_EachLane<T, n>([&](std::size_t i) { return -a.lane[i]; });
}

/// The set of `n` such lanes.
template <std::size_t n>
struct vx_ArrayLanes {
    using V = vx_Array<float, n>;
    using D = vx_Array<double, n / 2>;
    static constexpr std::size_t count = n;

    template <class T>
    [[gnu::always_inline]] static V load(const T* from) noexcept {
        return vf_EachLane<float, n>([from](std::size_t i) { return static_cast<float>(from[i]); });
    }
    [[gnu::always_inline]] static D loadDoubles(const double* from) noexcept {
        return vf_EachLane<double, n / 2>([from](std::size_t i) { return from[i]; });
    }
    [[gnu::always_inline]] static V narrowed(const D& low, const D& high) noexcept {
        return vf_EachLane<float, n>([&](std::size_t i) {
            return static_cast<float>(i < n / 2 ? low.lane[i] : high.lane[i - n / 2]);
        });
    }
    [[gnu::always_inline]] static D powerOfTwo(const D& v) noexcept {
        return vf_EachLane<double, n / 2>([&](std::size_t i) {
            return __builtin_bit_cast(double, __builtin_bit_cast(std::uint64_t, v.lane[i]) << 52);
        });
    }
    [[gnu::always_inline]] static bool equal(const V& a, const V& b) noexcept {
        bool all = true;
        for (std::size_t i = 0; i < n; ++i) {
            all = all && a.lane[i] == b.lane[i];
        }
        return all;
    }
    template <class T, std::size_t m>
    [[gnu::always_inline]] static void store(T* to, const vx_Array<T, m>& v) noexcept {
        for (std::size_t i = 0; i < m; ++i) {
            to[i] = v.lane[i];
        }
    }
    [[gnu::always_inline]] static V fill(float x) noexcept {
        return vf_EachLane<float, n>([x](std::size_t /*i*/) { return x; });
    }
    [[gnu::always_inline]] static D fill(double x) noexcept {
        return vf_EachLane<double, n / 2>([x](std::size_t /*i*/) { return x; });
    }
    template <class Pattern>
    [[gnu::always_inline]] static V shuffle(const V& a, const V& b) noexcept {
        return vf_EachLane<float, n>([&](std::size_t i) {
            const std::size_t lane = Pattern::lane(i);
            return lane < n ? a.lane[lane] : b.lane[lane - n];
        });
    }
    [[gnu::always_inline]] static void stream(float* to, const V& v) noexcept { store(to, v); }
    [[gnu::always_inline]] static void finishStreams() noexcept {}
    [[gnu::always_inline]] static V sqrt(const V& v) noexcept {
        return vf_EachLane<float, n>([&](std::size_t i) { return std::sqrt(v.lane[i]); });
    }
    template <class T, std::size_t m>
    [[gnu::always_inline]] static vx_Array<T, m> lesser(const vx_Array<T, m>& a,
                                                        const vx_Array<T, m>& b) noexcept {
        return vf_EachLane<T, m>(
            [&](std::size_t i) { return a.lane[i] < b.lane[i] ? a.lane[i] : b.lane[i]; });
    }
    template <class T, std::size_t m>
    [[gnu::always_inline]] static vx_Array<T, m> greater(const vx_Array<T, m>& a,
                                                         const vx_Array<T, m>& b) noexcept {
        return vf_EachLane<T, m>(
            [&](std::size_t i) { return a.lane[i] > b.lane[i] ? a.lane[i] : b.lane[i]; });
    }
    /// The first `pels` lanes as integers.
    template <class T>
    [[gnu::always_inline]] static void storeLowBits(T* to, const V& v, std::size_t pels) noexcept {
        for (std::size_t i = 0; i < pels; ++i) {
            to[i] = vf_LowBits<T>(static_cast<double>(v.lane[i]));
        }
    }
    /// The doubles as integers.
    [[gnu::always_inline]] static void storeLowBits(unsigned char* to, const D& v) noexcept {
        for (std::size_t i = 0; i < n / 2; ++i) {
            to[i] = vf_LowBits<unsigned char>(v.lane[i]);
        }
    }
    [[gnu::always_inline]] static void storeWidened(double* to, const V& v, std::size_t pels) noexcept {
        for (std::size_t i = 0; i < pels; ++i) {
            to[i] = static_cast<double>(v.lane[i]);
        }
    }
};

/// \file
/// Vectors of float lanes: one text of the transforms serves every instruction set, since each lane is an
/// independent row or column and does exactly what a scalar would do. A set is a class with
///
///     V                   a vector of `count` floats with + - * among vectors, * by a float, and unary -
///     load, store         from and to memory of any alignment
///     stream              to sizeof(V)-aligned memory, past the caches; finishStreams() before others read
///     fill(float)         the same in every lane
///     lesser, greater     of two vectors lane by lane; of two zeros, or with a NaN, the second
///     D                   a vector of half as many doubles, with the same, fill(double) and
///     loadDoubles         from memory of any alignment
///     narrowed            two vectors of doubles rounded to one of floats
///     powerOfTwo(D)       2^n of n + 0x1.8p52 + 1023, which has the exponent's bits lowest
///     equal               whether two vectors are equal in every lane
///     shuffle<Pattern>    lane i becomes lane Pattern::lane(i) of the 2 * count lanes of a pair
///
/// Sets are local to their units, and so is whatever is a template on a set. All code of a unit must be that
/// or always inlined: a function that units share, the standard library's included, is one for the linker,
/// which could hand the one with the widest vectors to processors that lack them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

/// Vectors that the compiler knows. `Set` is the class that derives from this one.
template <class Set, class Vector, class DoubleVector>
struct vx_VectorLanes {
    using V = Vector;
    using D = DoubleVector;
    static constexpr std::size_t count = sizeof(V) / sizeof(float);

    static V load(const float* from) noexcept {
        V v;
        std::memcpy(&v, from, sizeof v);
        return v;
    }
    static D loadDoubles(const double* from) noexcept {
        D v;
        std::memcpy(&v, from, sizeof v);
        return v;
    }
    static D powerOfTwo(D n) noexcept {
        using Integers = decltype(D() == D());
        return __builtin_bit_cast(D, __builtin_bit_cast(Integers, n) << 52);
    }
    static void store(float* to, V v) noexcept { std::memcpy(to, &v, sizeof v); }
    static void store(double* to, D v) noexcept { std::memcpy(to, &v, sizeof v); }

    /// Every lane x.
    static V fill(float x) noexcept { return x - V{}; }
    static D fill(double x) noexcept { return x - D{}; }

    template <class Pattern>
    static V shuffle(V a, V b) noexcept {
        return shuffled<Pattern>(a, b, std::make_index_sequence<count>());
    }

private:
    template <class Pattern, std::size_t... i>
    static V shuffled(V a, V b, std::index_sequence<i...>) noexcept {
        return __builtin_shufflevector(a, b, static_cast<int>(Pattern::lane(i))...);
    }
};

template <class L>
constexpr std::size_t vf_Smaller(std::size_t a, std::size_t b) noexcept {
    return b < a ? b : a;
}
template <class L>
constexpr std::size_t vf_Greater(std::size_t a, std::size_t b) noexcept {
    return a < b ? b : a;
}
template <class L, class T>
void vf_Copy(const T* from, std::size_t count, T* to) noexcept {
    for (std::size_t i = 0; i < count; ++i) {
        to[i] = from[i];
    }
}
template <class L>
void vf_Swap(float& a, float& b) noexcept {
    const float before = a;
    a = b;
    b = before;
}

/// Has memory that is soon to be written brought into the caches.
template <class L, class T>
[[gnu::always_inline]] inline void vf_Fetch(const T* from, std::size_t count) noexcept {
    constexpr std::size_t cacheLine = 64 / sizeof(T);
    for (std::size_t i = 0; i < count; i += cacheLine) {
        __builtin_prefetch(from + i, 1);
    }
}

/// A number that is known when the program is compiled.
template <std::size_t i>
struct vx_Index {
    [[gnu::always_inline]] constexpr operator std::size_t() const noexcept { return i; }
};

/// Calls f(vx_Index<i>) for i = 0 .. n-1: a loop that is written out.
template <std::size_t n, class F>
[[gnu::always_inline]] inline void vf_Unrolled(F f) {
    [&]<std::size_t... i>(std::index_sequence<i...>) __attribute__((always_inline)) {
        (f(vx_Index<i>()), ...);
    }
    (std::make_index_sequence<n>());
}

/// What the shuffles do. Lanes come in groups of 4; N is the number of lanes.
template <class L>
struct vx_Patterns {
    static constexpr std::size_t N = L::count;
    static constexpr std::size_t group = N < 4 ? N : 4;

    // Within each group: a0 b0 a1 b1 and a2 b2 a3 b3.
    template <std::size_t half>
    struct ZipSingles {
        static constexpr std::size_t lane(std::size_t i) {
            return i / group * group + i % group / 2 + half * (group / 2) + i % 2 * N;
        }
    };
    // Within each group: a0 a1 b0 b1 and a2 a3 b2 b3.
    template <std::size_t half>
    struct ZipPairs {
        static constexpr std::size_t lane(std::size_t i) {
            return i / group * group + i % 2 + half * 2 + i % group / 2 * N;
        }
    };
    // The even or the odd groups of a, then those of b.
    template <std::size_t odd>
    struct Groups {
        static constexpr std::size_t lane(std::size_t i) {
            const std::size_t source = 2 * (i / group) + odd; // Groups of a, then of b.
            return source * group + i % group;
        }
    };
    // a0 b0 a1 b1 ... across the whole vector, its first or second half.
    template <std::size_t half>
    struct Interleave {
        static constexpr std::size_t lane(std::size_t i) {
            const std::size_t place = i + half * N;
            return place / 2 + place % 2 * N;
        }
    };
    // The even or the odd lanes of a, then those of b.
    template <std::size_t odd>
    struct Deinterleave {
        static constexpr std::size_t lane(std::size_t i) { return 2 * i + odd; }
    };
    // Of each pair of lanes the first one twice: a0 a0 a2 a2 ...
    struct EvenTwice {
        static constexpr std::size_t lane(std::size_t i) { return i - i % 2; }
    };
    // Of each pair of lanes the second one: a1 b1 a3 b3 ...
    struct OddOfBoth {
        static constexpr std::size_t lane(std::size_t i) { return i - i % 2 + 1 + i % 2 * N; }
    };
    // The two lanes of each pair, swapped: a1 a0 a3 a2 ...
    struct Swapped {
        static constexpr std::size_t lane(std::size_t i) { return i % 2 == 0 ? i + 1 : i - 1; }
    };
    // a0 b1 a2 b3 ...
    struct EvenThenOdd {
        static constexpr std::size_t lane(std::size_t i) { return i + i % 2 * N; }
    };
    // Pairs of lanes from the last one down to the first.
    struct PairsReversed {
        static constexpr std::size_t lane(std::size_t i) { return N - 2 - i + i % 2 * 2; }
    };
};

template <class L>
struct vx_Block {
    typename L::V vectors[L::count];

    [[gnu::always_inline]] typename L::V& operator[](std::size_t i) noexcept { return vectors[i]; }
};

/// Half of a transpose of 2 x 2 blocks of groups: of each pair of rows of groups, the even groups and the odd
/// ones become rows.
template <class L>
[[gnu::always_inline]] inline void vf_GatherGroups(vx_Block<L>& x) noexcept {
    using P = vx_Patterns<L>;
    constexpr std::size_t N = L::count;
    vx_Block<L> y;
    vf_Unrolled<N / 2>([&](auto i) __attribute__((always_inline)) {
        constexpr std::size_t pair = i / 4;
        constexpr std::size_t j = i % 4;
        const typename L::V a = x[8 * pair + j];
        const typename L::V b = x[8 * pair + 4 + j];
        y[4 * pair + j] = L::template shuffle<typename P::template Groups<0>>(a, b);
        y[N / 2 + 4 * pair + j] = L::template shuffle<typename P::template Groups<1>>(a, b);
    });
    x = y;
}

/// Transposes a matrix of count x count floats.
template <class L>
[[gnu::always_inline]] inline void vf_TransposeBlock(vx_Block<L>& x) noexcept {
    using P = vx_Patterns<L>;
    using V = typename L::V;
    constexpr std::size_t N = L::count;
    static_assert(N == 1 || N == 4 || N == 8 || N == 16);
    // 4 x 4 within each group of lanes: then group g of x[4h + j] holds column 4g + j of rows 4h .. 4h + 3.
    vf_Unrolled<N / 4>([&](auto h) __attribute__((always_inline)) {
        V* y = &x[4 * h];
        const V a = L::template shuffle<typename P::template ZipSingles<0>>(y[0], y[1]);
        const V b = L::template shuffle<typename P::template ZipSingles<1>>(y[0], y[1]);
        const V c = L::template shuffle<typename P::template ZipSingles<0>>(y[2], y[3]);
        const V d = L::template shuffle<typename P::template ZipSingles<1>>(y[2], y[3]);
        y[0] = L::template shuffle<typename P::template ZipPairs<0>>(a, c);
        y[1] = L::template shuffle<typename P::template ZipPairs<1>>(a, c);
        y[2] = L::template shuffle<typename P::template ZipPairs<0>>(b, d);
        y[3] = L::template shuffle<typename P::template ZipPairs<1>>(b, d);
    });
    if constexpr (N >= 8) {
        vf_GatherGroups<L>(x);
    }
    if constexpr (N >= 16) {
        vf_GatherGroups<L>(x);
    }
}

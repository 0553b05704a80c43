/// \file
/// Matrices for the tests of the kernels: inputs, comparison bit by bit, and a transform in double precision.
#pragma once

#include "filt/fft/kernels/instruction_sets.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <numbers>
#include <random>
#include <vector>

namespace kernel_data {

/// Interleaved samples, row by row.
using Matrix = std::vector<float>;

enum class Kind { noise, integers, signedZeros, denormals, wideRange, overflowing, oneNaN, oneInfinity };
inline constexpr Kind everyKind[] = {Kind::noise,     Kind::integers,   Kind::signedZeros,
                                     Kind::denormals, Kind::wideRange,  Kind::overflowing,
                                     Kind::oneNaN,    Kind::oneInfinity};

/// -1 <= value < 1, the same everywhere.
inline float noise(std::mt19937& generator) {
    return static_cast<float>(static_cast<std::int32_t>(generator())) * 0x1p-31F;
}

inline float value(Kind kind, std::mt19937& generator) {
    const float x = noise(generator);
    const float sign = x < 0.0F ? -1.0F : 1.0F;
    switch (kind) {
    case Kind::integers:
        return std::trunc(x * 256.0F);
    case Kind::signedZeros:
        return std::abs(x) < 0.1F ? sign : std::copysign(0.0F, x);
    case Kind::denormals:
        return x * 0x1p-130F;
    case Kind::wideRange:
        return std::ldexp(x, static_cast<int>(generator() % 160) - 80);
    case Kind::overflowing:
        return std::abs(x) < 0.05F ? sign * std::numeric_limits<float>::max() : x;
    default:
        return x;
    }
}

/// w * h samples.
inline Matrix make(long w, long h, Kind kind, unsigned seed) {
    std::mt19937 generator(seed);
    Matrix data(static_cast<std::size_t>(w * h * 2));
    for (float& x : data) {
        x = value(kind, generator);
    }
    if (kind == Kind::oneNaN || kind == Kind::oneInfinity) {
        data[generator() % data.size()] = kind == Kind::oneNaN ? std::numeric_limits<float>::quiet_NaN()
                                                               : -std::numeric_limits<float>::infinity();
    }
    return data;
}

/// The same samples, bit by bit. A NaN equals any other NaN: which payload and sign comes out of an operation
/// with NaNs depends on the order of the instruction's operands, which the compiler chooses.
inline testing::AssertionResult sameBits(const Matrix& actual, const Matrix& expected) {
    if (actual.size() != expected.size()) {
        return testing::AssertionFailure() << actual.size() << " floats, not " << expected.size();
    }
    if (actual.empty() || std::memcmp(actual.data(), expected.data(), actual.size() * sizeof(float)) == 0) {
        return testing::AssertionSuccess();
    }
    for (std::size_t i = 0; i < actual.size(); ++i) {
        const bool same =
            std::bit_cast<std::uint32_t>(actual[i]) == std::bit_cast<std::uint32_t>(expected[i]);
        if (!same && !(std::isnan(actual[i]) && std::isnan(expected[i]))) {
            return testing::AssertionFailure() << "float " << i << " is " << std::hexfloat << actual[i]
                                               << ", not " << expected[i] << std::defaultfloat;
        }
    }
    return testing::AssertionSuccess();
}

/// The first w floats of each row of `data` as real values.
inline std::vector<std::complex<double>> realRows(const Matrix& data, long w, long h) {
    std::vector<std::complex<double>> result;
    for (long y = 0; y < h; ++y) {
        for (long x = 0; x < w; ++x) {
            result.emplace_back(static_cast<double>(data[static_cast<std::size_t>(y * 2 * w + x)]));
        }
    }
    return result;
}

inline std::vector<std::complex<double>> complexRows(const Matrix& data) {
    std::vector<std::complex<double>> result;
    for (std::size_t i = 0; i < data.size(); i += 2) {
        result.emplace_back(static_cast<double>(data[i]), static_cast<double>(data[i + 1]));
    }
    return result;
}

/// The sum over j of x[j] e^(-direction 2 pi i jk/n), for `count` values that lie `stride` apart.
inline void dftLine(std::complex<double>* x, std::size_t count, std::size_t stride, int direction) {
    std::vector<std::complex<double>> roots;
    for (std::size_t k = 0; k < count; ++k) {
        const double turn = static_cast<double>(k) / static_cast<double>(count);
        roots.push_back(std::polar(1.0, -direction * 2.0 * std::numbers::pi * turn));
    }
    std::vector<std::complex<double>> result(count);
    for (std::size_t k = 0; k < count; ++k) {
        double re = 0.0;
        double im = 0.0;
        for (std::size_t j = 0; j < count; ++j) {
            const std::complex<double> root = roots[j * k % count];
            const std::complex<double> sample = x[j * stride];
            re += sample.real() * root.real() - sample.imag() * root.imag();
            im += sample.real() * root.imag() + sample.imag() * root.real();
        }
        result[k] = {re, im};
    }
    for (std::size_t k = 0; k < count; ++k) {
        x[k * stride] = result[k];
    }
}

/// The unscaled 2-D transform by its definition.
inline std::vector<std::complex<double>> dft(std::vector<std::complex<double>> x, long w, long h,
                                             int direction) {
    const auto width = static_cast<std::size_t>(w);
    const auto height = static_cast<std::size_t>(h);
    for (std::size_t v = 0; v < height; ++v) {
        dftLine(x.data() + v * width, width, 1, direction);
    }
    for (std::size_t u = 0; u < width; ++u) {
        dftLine(x.data() + u, height, width, direction);
    }
    return x;
}

/// The Euclidean length of actual - expected, relative to that of `expected`.
inline double relativeError(const Matrix& actual, const std::vector<std::complex<double>>& expected) {
    double difference = 0.0;
    double total = 0.0;
    for (std::size_t i = 0; i < expected.size(); ++i) {
        const std::complex<double> sample(static_cast<double>(actual[2 * i]),
                                          static_cast<double>(actual[2 * i + 1]));
        difference += std::norm(sample - expected[i]);
        total += std::norm(expected[i]);
    }
    return std::sqrt(difference / total);
}

/// The rounding error of one float operation, relative to its result.
inline constexpr double unit = 0x1p-24;

/// A bound of the relative error of the 1-D transform of length n, in the Euclidean norm, for input that
/// neither overflows nor underflows.
///
/// One step of the split radix turns x of length n into y of length n/2 (sums of x[j] and x[j + n/2]) and two
/// vectors of length n/4, together z, (differences, combined with a factor of i, times twiddles), and
/// transforms these. Exactly, |y|^2 n/2 + |z|^2 n/4 = |x|^2 n, so the relative error of the whole is at most
/// the larger of those of the two parts. y costs one addition: u. z costs two additions, of which the first
/// goes through a multiple of a unitary map: 2 u; and a complex product: sqrt(5) u (R. Brent, C. Percival, P.
/// Zimmermann, "Error bounds on complex floating-point multiplication", 2007), and the error of the twiddle.
/// The twiddle is a running product of j < n/4 factors; each step adds the rounding of the base factor, u,
/// and a product, sqrt(5) u. So with e(1) = 0 and e(2) = u:
///
///     e(n) = max(e(n/2) + u, e(n/4) + (2 + sqrt 5) u + (n/4 - 1) (1 + sqrt 5) u)
///
/// Terms of second order are below one per cent of it for every length up to 2048.
inline double lineErrorBound(long n) {
    if (n <= 2) {
        return n == 2 ? unit : 0.0;
    }
    const double root5 = std::sqrt(5.0);
    const double twiddle = static_cast<double>(n / 4 - 1) * (1.0 + root5) * unit;
    return std::max(lineErrorBound(n / 2) + unit, lineErrorBound(n / 4) + (2.0 + root5) * unit + twiddle);
}

/// The same for the split step that follows the 1-D transform of length n in a row of 2 n real values.
///
/// The pairs (A, conj B) -> (h1, h2) -> (Z[k], conj Z[n-k]) = (h1 + w h2, h1 - w h2) keep the Euclidean norm.
/// h1 and h2 cost one addition: u. The products with w and the two additions that follow cost at most u for
/// each part of w h2, u (|h1| + |h2|) and u of the result: together below 4 u. A step of the recurrence w + w
/// (wpr, wpi) adds the rounding of the last addition, u, and that of a product which is |e^(i theta) - 1| <=
/// 0.77 as long as w (theta <= pi/4 when there is a step at all): for the factor's own rounding (s, its
/// square, the sine: at most 5 u) and the product sqrt(5) u, together below 7 u. There are n/2 - 1 factors at
/// most.
inline double splitErrorBound(long n) {
    return n < 4 ? 2.0 * unit : (1.0 + 4.0 + 7.0 * static_cast<double>(n / 2)) * unit;
}

/// Sizes with sides that are powers of two up to `limit`.
template <class Visit>
void forEachSize(long limit, Visit visit) {
    for (long w = 1; w <= limit; w *= 2) {
        for (long h = 1; h <= limit; h *= 2) {
            visit(w, h);
        }
    }
}

/// Calls visit() with the transforms of each instruction set of this machine.
template <class Visit>
void forEachInstructionSet(Visit visit) {
    for (const vx_InstructionSet set : vf_SupportedInstructionSets()) {
        SCOPED_TRACE(vf_InstructionSetName(set));
        const vx_ForcedInstructionSet forced(set);
        visit();
    }
}

} // namespace kernel_data

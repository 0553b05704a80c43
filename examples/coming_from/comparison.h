// What the comparisons share: an image, and a difference that is allowed.
#pragma once

#include "../example.h"

#include <filt/fft.h>

#include <cmath>
#include <cstddef>
#include <iostream>
#include <random>
#include <string>

namespace comparison {
/// Noise of integers, of a size that is no power of two in one direction.
template <class T>
vxPelBuffer<T> image(long width, long height, unsigned seed) {
    std::mt19937 random(seed);
    vxPelBuffer<T> pels(width, height);
    for (long y = 0; y < height; ++y) {
        for (long x = 0; x < width; ++x) {
            pels.pointToRow(y)[x] = static_cast<T>(random() % 256);
        }
    }
    return pels;
}

/// Two arrays, element by element: the norm of the difference over that of the second.
class Difference {
public:
    void add(double ours, double theirs) {
        difference_ += (ours - theirs) * (ours - theirs);
        norm_ += theirs * theirs;
    }
    [[nodiscard]] double relative() const { return std::sqrt(difference_ / norm_); }

private:
    double difference_ = 0.0;
    double norm_ = 0.0;
};

/// Single precision: a transform's rounding error is a few units of 2^-24 = 6e-8, as a share of the whole.
inline void requireEqual(const Difference& difference, const std::string& what) {
    std::cout << what << ": " << difference.relative() << '\n';
    example::require(difference.relative() < 5e-7, what + " agree to single precision");
}
} // namespace comparison

/// \file
/// Loops that a user of a transform library writes around it: pels in, gains, magnitudes out. Plain, for the
/// compiler to vectorise; the files that include this are compiled for the machine they run on.
#pragma once

#include "bench/jobs.h"
#include "kavstd/pelbuffer.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <vector>

namespace bench {

struct Complex {
    float re;
    float im;
};

/// Pels to rows of `width` floats.
template <class T>
void pelsToFloats(const vxPelBuffer_const<T>& image, float* out, long width) {
    for (long y = 0; y < image.height(); ++y) {
        const T* const pels = image.pointToOffset() + y * image.rowUpdate();
        float* const row = out + y * width;
        for (long x = 0; x < image.width(); ++x) {
            row[x] = static_cast<float>(pels[x]);
        }
    }
}

/// Pels to complex values with an imaginary part of 0.
template <class T>
void pelsToComplex(const vxPelBuffer_const<T>& image, Complex* out, long width) {
    for (long y = 0; y < image.height(); ++y) {
        const T* const pels = image.pointToOffset() + y * image.rowUpdate();
        Complex* const row = out + y * width;
        for (long x = 0; x < image.width(); ++x) {
            row[x] = {static_cast<float>(pels[x]), 0.0F};
        }
    }
}

inline void pelsToComplex(const vxPelBuffer_const<unsigned char>& real,
                          const vxPelBuffer_const<unsigned char>& imaginary, Complex* out, long width) {
    for (long y = 0; y < real.height(); ++y) {
        const unsigned char* const re = real.pointToOffset() + y * real.rowUpdate();
        const unsigned char* const im = imaginary.pointToOffset() + y * imaginary.rowUpdate();
        Complex* const row = out + y * width;
        for (long x = 0; x < real.width(); ++x) {
            row[x] = {static_cast<float>(re[x]), static_cast<float>(im[x])};
        }
    }
}

/// Zeros to the right of and below an image.
inline void clearPadding(Complex* data, const Size& source, const Size& padded) {
    for (long y = 0; y < source.height; ++y) {
        std::fill(data + y * padded.width + source.width, data + (y + 1) * padded.width, Complex{});
    }
    std::fill(data + source.height * padded.width, data + padded.height * padded.width, Complex{});
}

inline void multiplyGains(const float* gains, Complex* data, long count) {
    for (long i = 0; i < count; ++i) {
        data[i] = {data[i].re * gains[i], data[i].im * gains[i]};
    }
}

/// b = b * conj(a).
inline void multiplyConjugate(const Complex* a, Complex* b, long count) {
    for (long i = 0; i < count; ++i) {
        b[i] = {b[i].re * a[i].re + b[i].im * a[i].im, b[i].im * a[i].re - b[i].re * a[i].im};
    }
}

inline float magnitude(Complex value) {
    return std::sqrt(value.re * value.re + value.im * value.im);
}
inline float magnitude(float value) {
    return std::abs(value);
}

inline unsigned char toPel(float value) {
    return static_cast<unsigned char>(static_cast<int>(value + 0.5F));
}

/// The image part of `data`, of rows of `pitch` values, to pels.
template <class Value>
void magnitudesToPels(const Value* data, long pitch, const Size& source, float scale, unsigned char* pels) {
    for (long y = 0; y < source.height; ++y) {
        const Value* const row = data + y * pitch;
        unsigned char* const out = pels + y * source.width;
        for (long x = 0; x < source.width; ++x) {
            out[x] = toPel(magnitude(row[x]) * scale);
        }
    }
}

/// The same to doubles.
template <class Value>
void magnitudesToDoubles(const Value* data, long pitch, const Size& source, float scale, double* out) {
    for (long y = 0; y < source.height; ++y) {
        const Value* const row = data + y * pitch;
        for (long x = 0; x < source.width; ++x) {
            out[y * source.width + x] = static_cast<double>(magnitude(row[x]) * scale);
        }
    }
}

/// The same to pels, stretched to 0 .. 255.
template <class Value>
void stretchedMagnitudesToPels(const Value* data, long pitch, const Size& source, unsigned char* pels) {
    float low = std::numeric_limits<float>::max();
    float high = 0.0F;
    for (long y = 0; y < source.height; ++y) {
        const Value* const row = data + y * pitch;
        for (long x = 0; x < source.width; ++x) {
            const float value = magnitude(row[x]);
            low = value < low ? value : low;
            high = value > high ? value : high;
        }
    }
    const float gain = 255.0F / (high - low);
    for (long y = 0; y < source.height; ++y) {
        const Value* const row = data + y * pitch;
        unsigned char* const out = pels + y * source.width;
        for (long x = 0; x < source.width; ++x) {
            out[x] = toPel((magnitude(row[x]) - low) * gain);
        }
    }
}

inline void anglesOf(const Complex* data, long pitch, const Size& source, double* angles) {
    for (long y = 0; y < source.height; ++y) {
        const Complex* const row = data + y * pitch;
        for (long x = 0; x < source.width; ++x) {
            angles[y * source.width + x] = static_cast<double>(std::atan2(row[x].im, row[x].re));
        }
    }
}

inline void quadrantsOf(const Complex* data, long pitch, const Size& source, unsigned char* quadrants) {
    for (long y = 0; y < source.height; ++y) {
        const Complex* const row = data + y * pitch;
        for (long x = 0; x < source.width; ++x) {
            quadrants[y * source.width + x] =
                static_cast<unsigned char>((row[x].re < 0.0F ? 1 : 0) + (row[x].im < 0.0F ? 2 : 0));
        }
    }
}

template <class... T>
std::vector<float> floats(const std::vector<T>&... values) {
    std::vector<float> result;
    (std::ranges::transform(values, std::back_inserter(result),
                            [](T value) { return static_cast<float>(value); }),
     ...);
    return result;
}

} // namespace bench

/// \file
/// Inputs that are the same everywhere: made with integers, and with floating-point operations that are
/// exact.
#pragma once

#include "filt/freqfilt/filter.h"
#include "filt/internal/buffer_access.h"
#include "kavstd/pelbuffer.h"

#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <vector>

namespace identity {

using Access = vx_FrequencyBufferAccess;

class Random {
public:
    explicit Random(std::uint32_t seed) : state_(seed) {}

    /// 32 bits, the low ones as good as the high ones.
    std::uint32_t operator()() {
        state_ = state_ * 6364136223846793005U + 1442695040888963407U;
        return static_cast<std::uint32_t>(state_ >> 32);
    }
    /// Less than `limit`.
    std::uint32_t below(std::uint32_t limit) { return (*this)() % limit; }

private:
    std::uint64_t state_;
};

/// whole: -4096 to 4095; wide: magnitudes from 2^-80 to 2^80; zeros: zeros of both signs and some ones; tiny:
/// denormals and the least normal numbers; huge: a few of the largest numbers among small ones, so that sums
/// overflow; infinity, nan: whole numbers and one of these.
enum class Kind { whole, wide, zeros, tiny, huge, infinity, nan };
inline constexpr Kind everyKind[] = {Kind::whole, Kind::wide,     Kind::zeros, Kind::tiny,
                                     Kind::huge,  Kind::infinity, Kind::nan};

inline const char* nameOf(Kind kind) {
    static constexpr const char* names[] = {"whole", "wide", "zeros", "tiny", "huge", "infinity", "nan"};
    return names[static_cast<std::size_t>(kind)];
}

inline float fromBits(std::uint32_t bits) {
    return std::bit_cast<float>(bits);
}

/// A float of random sign and significand with that biased exponent.
inline float floatOf(Random& random, std::uint32_t exponent) {
    return fromBits((random() & 0x807fffffU) | exponent << 23);
}

inline float sampleOf(Random& random, Kind kind) {
    constexpr std::uint32_t one = 127; // The biased exponent of 1.
    switch (kind) {
    case Kind::wide:
        return floatOf(random, one - 80 + random.below(160));
    case Kind::zeros:
        return random.below(8) == 0 ? fromBits((random() & 0x80000000U) | one << 23)
                                    : fromBits(random() & 0x80000000U);
    case Kind::tiny:
        return floatOf(random, random.below(3));
    case Kind::huge:
        return floatOf(random, random.below(16) == 0 ? 254 : one);
    default:
        return static_cast<float>(random() >> 19) - 4096.0F;
    }
}

inline std::vector<float> samplesOf(std::uint32_t seed, Kind kind, std::size_t count) {
    Random random(seed);
    std::vector<float> samples(count);
    for (float& x : samples) {
        x = sampleOf(random, kind);
    }
    if (kind == Kind::infinity || kind == Kind::nan) {
        const std::size_t place = random.below(static_cast<std::uint32_t>(count));
        samples[place] = fromBits(kind == Kind::nan ? 0x7fc00000U : 0xff800000U);
    }
    return samples;
}

/// A spectrum for images of that size.
inline vxFrequencyBuffer spectrumOf(std::uint32_t seed, Kind kind, long width, long height) {
    vxFrequencyBuffer buffer(width, height);
    const std::size_t count = static_cast<std::size_t>(Access::sampleCount(buffer)) * 2;
    const std::vector<float> samples = samplesOf(seed, kind, count);
    for (std::size_t i = 0; i < count; ++i) {
        Access::data(buffer)[i] = samples[i];
    }
    return buffer;
}

inline void setMask(vxFrequencyBuffer& buffer, bool masked, long lowest, long highest) {
    struct Filter : vxFrequencyFilter {
        using vxFrequencyFilter::maskFrequencyBuffer;
    };
    Filter::maskFrequencyBuffer(buffer, masked, lowest, highest);
}

/// Pels of any value. Doubles are floats of that kind, some with more digits than a float has.
template <vx_Pel T>
T pelOf(Random& random, Kind kind) {
    if constexpr (std::same_as<T, double>) {
        const double pel = static_cast<double>(sampleOf(random, kind));
        return random.below(4) == 0 ? pel * (1.0 + 0x1p-30) : pel;
    } else {
        return static_cast<T>(random());
    }
}

/// An image inside a larger one, whose other pels must not matter; every other height is stored bottom-up.
template <vx_Pel T>
vxPelBuffer<T> imageOf(std::uint32_t seed, Kind kind, long width, long height) {
    Random random(seed);
    const vxPelBuffer<T> outer(width + 3, height + 2);
    for (long y = 0; y < outer.height(); ++y) {
        T* row = outer.pointToRow(y);
        for (long x = 0; x < outer.width(); ++x) {
            row[x] = pelOf<T>(random, kind);
        }
    }
    const vxPelBuffer<T> image = outer.window(2, 1, width, height);
    if constexpr (std::same_as<T, double>) {
        constexpr auto infinity = std::numeric_limits<double>::infinity();
        if (kind == Kind::infinity || kind == Kind::nan) {
            *image.pointToRow(1 + height / 2) =
                kind == Kind::nan ? std::numeric_limits<double>::quiet_NaN() : -infinity;
        }
    }
    if (height % 2 == 0) {
        return image;
    }
    return vxPelBuffer<T>(image.pointToRow(height), width, height, -image.rowUpdate(),
                          std::make_shared<vxPelBuffer<T>>(outer));
}

inline std::string sizeName(long width, long height) {
    return std::to_string(width) + "x" + std::to_string(height);
}

template <vx_Pel T>
const char* pelName() {
    return std::same_as<T, unsigned char> ? "bytes" : std::same_as<T, unsigned short> ? "words" : "doubles";
}

/// Below, at and above powers of two and the lanes of every instruction set.
inline constexpr long sides[] = {1, 2, 3, 4, 5, 7, 8, 9, 12, 15, 16, 17, 24, 31, 32, 33, 47, 63, 64};
inline constexpr vxPair<long> largeSizes[] = {{100, 75},  {128, 128}, {200, 300},  {256, 256},  {512, 64},
                                              {48, 1024}, {640, 480}, {1024, 512}, {1024, 1024}};

} // namespace identity

/// \file
/// Frequency buffers in any state, and snapshots of all that a buffer holds.
#pragma once

#include "filt/freqfilt/filter.h"
#include "filt/internal/buffer_access.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

namespace support {

using BufferAccess = vx_FrequencyBufferAccess;

inline void setMask(vxFrequencyBuffer& buffer, bool masked, long miny, long maxy) {
    struct Filter : vxFrequencyFilter {
        using vxFrequencyFilter::maskFrequencyBuffer;
    };
    Filter::maskFrequencyBuffer(buffer, masked, miny, maxy);
}

inline void setConsumed(vxFrequencyBuffer& buffer) {
    BufferAccess::inverseComputed(buffer, true);
}

/// The samples, empty when uninitialized.
inline std::vector<float> samplesOf(const vxFrequencyBuffer& buffer) {
    const float* data = BufferAccess::data(buffer);
    if (data == nullptr) {
        return {};
    }
    return {data, data + static_cast<std::size_t>(BufferAccess::sampleCount(buffer)) * 2};
}

inline std::vector<std::uint32_t> bitsOf(const std::vector<float>& values) {
    std::vector<std::uint32_t> bits;
    bits.reserve(values.size());
    for (float value : values) {
        bits.push_back(std::bit_cast<std::uint32_t>(value));
    }
    return bits;
}

/// Everything that a buffer holds; samples bit for bit. Two snapshots are equal when nothing observable
/// changed.
struct BufferState {
    explicit BufferState(const vxFrequencyBuffer& buffer)
        : initialized(BufferAccess::data(buffer) != nullptr)
        , width(BufferAccess::width(buffer))
        , height(BufferAccess::height(buffer))
        , sourceWidth(BufferAccess::sourceWidth(buffer))
        , sourceHeight(BufferAccess::sourceHeight(buffer))
        , masked(BufferAccess::masked(buffer))
        , maskedMiny(BufferAccess::maskedMiny(buffer))
        , maskedMaxy(BufferAccess::maskedMaxy(buffer))
        , consumed(BufferAccess::inverseComputed(buffer))
        , linear(BufferAccess::xformCache(buffer).isLinear())
        , xform(linear ? BufferAccess::xformCache(buffer).linearXform() : vxXform<2>())
        , offset(BufferAccess::offset(buffer))
        , samples(bitsOf(samplesOf(buffer))) {}

    bool operator==(const BufferState&) const = default;

    bool initialized;
    long width, height;
    long sourceWidth, sourceHeight;
    long masked, maskedMiny, maskedMaxy;
    bool consumed;
    bool linear;
    vxXform<2> xform;
    vxPair<long> offset;
    std::vector<std::uint32_t> samples;
};

/// Floats of every kind: ordinary ones of all magnitudes and, if asked for, zeros of both signs, denormals,
/// infinities and NaNs.
class FloatSource {
public:
    explicit FloatSource(unsigned seed, bool extremes = true) : random_(seed), extremes_(extremes) {}

    float operator()() {
        using Limits = std::numeric_limits<float>;
        static constexpr float special[] = {0.0F,
                                            -0.0F,
                                            1.0F,
                                            -1.0F,
                                            Limits::infinity(),
                                            -Limits::infinity(),
                                            Limits::quiet_NaN(),
                                            Limits::denorm_min(),
                                            -Limits::denorm_min(),
                                            Limits::min(),
                                            Limits::max(),
                                            Limits::lowest()};
        if (extremes_ && random_() % 4 == 0) {
            return special[random_() % std::size(special)];
        }
        return std::uniform_real_distribution<float>(-1000.0F, 1000.0F)(random_);
    }

private:
    std::mt19937 random_;
    bool extremes_;
};

/// Writes such floats into every sample.
inline void fill(vxFrequencyBuffer& buffer, unsigned seed, bool extremes = false) {
    FloatSource source(seed, extremes);
    float* data = BufferAccess::data(buffer);
    for (std::uint64_t i = 0; i < BufferAccess::sampleCount(buffer) * 2; ++i) {
        data[i] = source();
    }
}

inline vxFrequencyBuffer filled(long width, long height, unsigned seed, bool extremes = false) {
    vxFrequencyBuffer buffer(width, height);
    fill(buffer, seed, extremes);
    return buffer;
}

} // namespace support

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
#include <sstream>
#include <string>
#include <utility>
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

/// The archive record of a buffer, value by value, so that a test can make a buffer that no other operation
/// makes.
struct BufferRecord {
    unsigned char version = 1;
    long width = 0, height = 0;
    long sourceWidth = 0, sourceHeight = 0;
    long masked = 0, maskedMiny = 0, maskedMaxy = 0;
    bool consumed = false;
    vx2XformCache xform; // Version 1.
    vxXform<2> linear;   // Version 0.
    unsigned char pairVersion = 0;
    long offsetX = 0, offsetY = 0;
    bool hasSamples = true;
    unsigned char arrayVersion = 0;
    unsigned long count = 0; // Claimed; makeCount() claims what is there.
    std::vector<float> samples;

    BufferRecord& makeCount() {
        count = samples.size();
        return *this;
    }

    /// A whole archive that holds the record and nothing else.
    [[nodiscard]] std::string bytes() const {
        BufferRecord r(*this);
        std::ostringstream stream;
        vxOutputArchive archive(stream);
        archive || r.version || r.width || r.height || r.sourceWidth || r.sourceHeight;
        archive || r.masked || r.maskedMiny || r.maskedMaxy || r.consumed;
        if (version == 0) {
            archive || r.linear;
        } else {
            archive || r.xform;
        }
        archive || r.pairVersion || r.offsetX || r.offsetY || r.hasSamples || r.arrayVersion || r.count;
        for (float& sample : r.samples) {
            archive || sample;
        }
        return stream.str();
    }
};

/// The record of a spectrum of that size and source size.
inline BufferRecord recordOf(long width, long height, long sourceWidth, long sourceHeight,
                             std::vector<float> samples) {
    BufferRecord record;
    record.width = width;
    record.height = height;
    record.sourceWidth = sourceWidth;
    record.sourceHeight = sourceHeight;
    record.samples = std::move(samples);
    return record.makeCount();
}

inline void load(vxFrequencyBuffer& buffer, const std::string& bytes) {
    std::istringstream stream(bytes);
    vxInputArchive archive(stream);
    archive || buffer;
}

inline std::string store(vxFrequencyBuffer& buffer) {
    std::ostringstream stream;
    vxOutputArchive archive(stream);
    archive || buffer;
    return stream.str();
}

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

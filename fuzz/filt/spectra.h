/// \file
/// What the targets that use frequency buffers share: all that a buffer holds, and what is always true of it.
#pragma once

#include "filt/internal/buffer_access.h"
#include "fuzz/support/target.h"

#include <bit>
#include <cstdint>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

namespace fuzz {

/// Equal bits; NaNs of any sign and payload are equal.
inline bool sameFloat(float a, float b) {
    return std::bit_cast<std::uint32_t>(a) == std::bit_cast<std::uint32_t>(b) || (a != a && b != b);
}

/// All that a frequency buffer holds.
struct SpectrumState {
    bool hasSamples = false;
    vxPair<long> size;
    vxPair<long> sourceSize;
    vxPair<long> offset;
    long masked = 0;
    vxPair<long> band;
    bool consumed = false;
    const vx2Xform* xform = nullptr; // Copies share it.
    std::vector<float> samples;
};

inline SpectrumState stateOf(const vxFrequencyBuffer& buffer) {
    using Access = vx_FrequencyBufferAccess;
    SpectrumState state;
    state.hasSamples = Access::data(buffer) != nullptr;
    state.size = Access::size(buffer);
    state.sourceSize = {Access::sourceWidth(buffer), Access::sourceHeight(buffer)};
    state.offset = Access::offset(buffer);
    state.masked = Access::masked(buffer);
    state.band = {Access::maskedMiny(buffer), Access::maskedMaxy(buffer)};
    state.consumed = Access::inverseComputed(buffer);
    state.xform = &Access::xformCache(buffer).xform();
    if (state.hasSamples) {
        const float* const data = Access::data(buffer);
        state.samples.assign(data, data + Access::sampleCount(buffer) * 2);
    }
    return state;
}

/// The same bits everywhere.
inline bool same(const SpectrumState& a, const SpectrumState& b) {
    return a.hasSamples == b.hasSamples && a.size == b.size && a.sourceSize == b.sourceSize &&
           a.offset == b.offset && a.masked == b.masked && a.band == b.band && a.consumed == b.consumed &&
           a.xform == b.xform && a.samples.size() == b.samples.size() &&
           (a.samples.empty() ||
            std::memcmp(a.samples.data(), b.samples.data(), a.samples.size() * sizeof(float)) == 0);
}

/// What is true of every buffer, however it came about.
inline void checkConsistent(const vxFrequencyBuffer& buffer) {
    using Access = vx_FrequencyBufferAccess;
    const vxPair<long> size = Access::size(buffer);
    if (Access::data(buffer) == nullptr) {
        require(attempt([&] { static_cast<void>(buffer.width()); }) != Outcome::done,
                "an uninitialized buffer has no width");
        return;
    }
    require(buffer.width() == size.x() && buffer.height() == size.y(), "the allocated size");
    require(size.x() >= 1 && size.y() >= 1, "a size of at least 1");
    require(Access::sourceWidth(buffer) <= size.x() && Access::sourceHeight(buffer) <= size.y(),
            "a source size not above the size");
    require(reinterpret_cast<std::uintptr_t>(Access::data(buffer)) % 16 == 0, "aligned samples");
    require(buffer == buffer, "a buffer equals itself"); // Reads every sample.
    const Outcome access = attempt([&] { static_cast<void>(buffer.get(size.x() - 1, size.y() - 1, false)); });
    require(access != Outcome::done || !Access::inverseComputed(buffer), "consumed samples cannot be read");
    require(access != Outcome::refused || Access::inverseComputed(buffer), "others can");
}

/// The whole archive of one value.
template <class T>
std::string stored(T& value) {
    std::ostringstream stream;
    vxOutputArchive archive(stream);
    archive || value;
    return stream.str();
}

template <class T>
Outcome load(const std::string& bytes, T& value) {
    std::istringstream stream(bytes);
    return attempt([&] {
        vxInputArchive archive(stream);
        archive || value;
    });
}

} // namespace fuzz

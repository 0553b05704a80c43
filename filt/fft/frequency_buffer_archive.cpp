#include "filt/fft/frequency_buffer.h"

#include <cstddef>
#include <cstdint>

namespace {
constexpr unsigned char currentVersion = 1; // Version 0 held a linear transform instead of a transform cache.

// Samples beyond so many must all be in the archive, so that a few bytes cannot claim gigabytes.
constexpr std::uint64_t unclaimedLimit = std::uint64_t{2048} * 2048;

constexpr long largestSize = 0x7FFFFFFF;

bool isValidDimension(long size, long sourceSize) {
    // A source size of 0 or less is what such a request leaves.
    return size >= 1 && size <= largestSize && sourceSize <= size;
}
} // namespace

vxArchive& operator||(vxArchive& archive, vxFrequencyBuffer& buffer) {
    unsigned char version = currentVersion;
    archive || version;
    if (version > currentVersion) {
        throw vxArchive::UnknownVersion("filt/fft", 572);
    }
    if (archive.isLoading()) {
        vxFrequencyBuffer loaded;
        loaded.load(archive, version);
        buffer.swap(loaded);
    } else {
        buffer.store(archive);
    }
    return archive;
}

void vxFrequencyBuffer::store(vxArchive& archive) {
    bool hasSamples = data_ != nullptr;
    const std::size_t floats = hasSamples ? static_cast<std::size_t>(sampleCount()) * 2 : 0;
    archiveFields(archive, currentVersion);
    archive || hasSamples;
    vf_StoreFloats(archive, data_, floats);
}

void vxFrequencyBuffer::load(vxArchive& archive, unsigned char version) {
    bool hasSamples = false;
    archiveFields(archive, version);
    archive || hasSamples;
    if (hasSamples && !(isValidDimension(width_, sourceWidth_) && isValidDimension(height_, sourceHeight_))) {
        archive.refuse("frequency buffer size");
    }
    loadSamples(archive, hasSamples);
}

void vxFrequencyBuffer::loadSamples(vxArchive& archive, bool expected) {
    const std::size_t floats = vf_LoadFloatCount(archive);
    const std::uint64_t count = expected ? sampleCount() : 0;
    // Samples up to the limit get their memory in any case.
    vf_LoadFloats(archive, floats, count <= unclaimedLimit ? static_cast<std::size_t>(count) * 2 : 0,
                  storage_);
    if (!expected) {
        storage_ = {};
        return;
    }
    if (floats > count * 2) {
        archive.refuse("frequency buffer with more samples than its size");
    }
    if (floats < count * 2 && count > unclaimedLimit) {
        archive.refuse("frequency buffer with fewer samples than its size");
    }
    allocate(); // What is missing is zero.
}

void vxFrequencyBuffer::archiveFields(vxArchive& archive, unsigned char version) {
    archive || width_ || height_ || sourceWidth_ || sourceHeight_;
    archive || masked_ || maskedMiny_ || maskedMaxy_ || inverseComputed_;
    if (version == 0) {
        vxXform<2> xform;
        archive || xform;
        xformCache_.xform(vx2XformLinear(xform));
    } else {
        archive || xformCache_;
    }
    archive || offset_;
}

std::uint64_t vxFrequencyBuffer::sampleCount() const noexcept {
    // Sizes fit 31 bits, so that neither this nor the number of floats overflows.
    return static_cast<std::uint64_t>(width_) * static_cast<std::uint64_t>(height_);
}

#include "filt/freqfilt/filter.h"

#include "filt/freqfilt.h"

#include <typeinfo>

namespace {
// Linkers take from a static library only what is referred to. This refers to every filter, so that whoever
// has one of any type can load one of every type: they are registered where their type information is.
[[gnu::used]] const std::type_info* const everyFilter[] = {
    &typeid(vxFrequencyFilterBandPass), &typeid(vxFrequencyFilterBandReject), &typeid(vxFrequencyFilterGabor),
    &typeid(vxFrequencyFilterGaborReject), &typeid(vxFrequencyFilterImage)};
} // namespace

vxFrequencyFilter::vxFrequencyFilter() = default;
vxFrequencyFilter::~vxFrequencyFilter() = default;

// The virtual bases start afresh: a copy is a new object with a count of its own.
vxFrequencyFilter::vxFrequencyFilter(const vxFrequencyFilter& other)
    : vxPersistent(), vxRepBase(), initialized_(other.initialized_) {}

vxFrequencyFilter& vxFrequencyFilter::operator=(const vxFrequencyFilter& other) {
    initialized_ = other.initialized_;
    return *this;
}

bool vxFrequencyFilter::isInitialized() {
    return initialized_;
}

void vxFrequencyFilter::dispatchSerialize(vxArchive& archive) {
    if (haveVisited(archive, this, sizeof(vxFrequencyFilter))) {
        return;
    }
    unsigned char version = 0;
    archive || version;
    // Not virtual here: the part archives itself, whatever the object's class.
    vxFrequencyFilter::serialize_(archive, version);
    setVisited(archive, this, sizeof(vxFrequencyFilter));
}

void vxFrequencyFilter::serialize_(vxArchive& archive, unsigned char version) {
    if (version != 0) {
        throw vxArchive::UnknownVersion("filt/freqfilt", __LINE__);
    }
    vxPersistent::dispatchSerialize(archive);
    bool initialized = initialized_;
    archive || initialized;
    if (archive.isLoading()) {
        archive.onRollback([this, before = initialized_] { initialized_ = before; });
        initialized_ = initialized;
    }
}

void vxFrequencyFilter::setAndAllocateFrequencyBuffer(vxFrequencyBuffer& buffer, long width, long height) {
    buffer.setAndAllocate(width, height);
}

void vxFrequencyFilter::maskFrequencyBuffer(vxFrequencyBuffer& buffer, bool masked, long miny, long maxy) {
    buffer.masked(masked ? 1 : 0);
    buffer.maskedMiny(miny);
    buffer.maskedMaxy(maxy);
}

float* vxFrequencyFilter::getFrequencyBufferData(vxFrequencyBuffer& buffer) {
    return buffer.data();
}

const float* vxFrequencyFilter::getFrequencyBufferData(const vxFrequencyBuffer& buffer) {
    return buffer.data();
}

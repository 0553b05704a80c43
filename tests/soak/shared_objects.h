/// \file
/// What all threads of the endurance run read at once and none may write.
#pragma once

#include "filt/fft.h"
#include "filt/freqfilt.h"
#include "tests/soak/random.h"

#include <memory>
#include <vector>

namespace soak {

/// One random image of each pel type; the doubles are whole numbers now and then.
struct Images {
    vxPelBuffer<unsigned char> bytes;
    vxPelBuffer<unsigned short> words;
    vxPelBuffer<double> doubles;
};
Images randomImages(Random& random, long width, long height);

/// Gives up a reference.
struct Release {
    void operator()(const vxRepBase* object) const { object->removeReference(); }
};

/// Objects for spectra of one size.
struct SharedObjects {
    SharedObjects(long width, long height);

    vxPair<long> size;
    Images images;
    Images offsetImages; // A little smaller, and at an offset.
    vxFrequencyBuffer spectrum;
    vxFrequencyBuffer masked;
    vxFrequencyBuffer consumed;
    std::vector<std::unique_ptr<const vxFrequencyFilter, Release>> filters; // One of each class.
};

/// A handful of sizes: square and not, smaller and larger than any vector, one that leaves the caches.
const std::vector<std::unique_ptr<const SharedObjects>>& sharedObjects();

} // namespace soak

/// \file
/// Filters whose gains do not come from the maths library: loaded from archives that are written here.
#pragma once

#include "filt/freqfilt.h"
#include "kavstd/archive.h"
#include "tests/identity/inputs.h"

#include <sstream>

namespace identity {

inline constexpr vxPair<long> filterSizes[] = {{1, 1},     {1, 8},    {8, 1},   {2, 2},   {4, 4},
                                               {16, 8},    {8, 16},   {32, 32}, {64, 32}, {32, 64},
                                               {128, 128}, {256, 64}, {64, 256}};

/// What comes before the fields of any filter: the versions of its parts and that it is built.
inline void storeHead(vxArchive& archive) {
    unsigned char version = 0;
    bool built = true;
    archive || version || version || built;
}

/// Gains of both signs, some of them 0, some -0, 1 or NaN.
inline void storeGains(vxArchive& archive, long count) {
    std::vector<float> gains = samplesOf(7, Kind::zeros, static_cast<std::size_t>(count));
    Random random(8);
    for (float& gain : gains) {
        gain = random.below(4) == 0 ? gain : static_cast<float>(random() >> 8) * 0x1p-24F;
    }
    bool hasTable = true;
    archive || hasTable || gains;
}

template <class Filter>
void loadFrom(std::stringstream& stream, Filter& filter) {
    vxInputArchive archive(stream);
    vxPersistent& object = filter;
    archive || object;
}

/// Filter: one of the band filters.
template <class Filter>
Filter bandOf(vxPair<long> size, long radius) {
    std::stringstream stream;
    vxOutputArchive archive(stream);
    long support = 3 + size.x() / 8 * 2;
    long samplesPerBin = 32;
    double frequency = 0.21;
    double sigma = 0.05;
    double plateau = 0.0;
    storeHead(archive);
    archive || support || samplesPerBin || frequency || sigma || plateau || size || radius;
    storeGains(archive, support * samplesPerBin);
    Filter filter;
    loadFrom(stream, filter);
    return filter;
}

/// Filter: one of the Gabor filters. At angle 0, whose sine and cosine are exact in every maths library.
template <class Filter>
Filter gaborOf(vxPair<long> size, long radius) {
    std::stringstream stream;
    vxOutputArchive archive(stream);
    long supportWidth = 3 + size.x() / 8 * 2;
    long supportHeight = 3 + size.y() / 4 * 2;
    vxRadian angle;
    double frequency = 0.21;
    vxPair<double> sigma(0.05, 0.05);
    vxPair<double> plateau;
    storeHead(archive);
    archive || supportWidth || supportHeight || angle || frequency || sigma || plateau || size || radius;
    storeGains(archive, supportWidth * supportHeight);
    Filter filter;
    loadFrom(stream, filter);
    return filter;
}

} // namespace identity

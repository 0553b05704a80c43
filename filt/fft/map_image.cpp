#include "filt/fft/map_image.h"

#include "filt/internal/convert.h"
#include "filt/internal/pel_row.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace {
using Pel = unsigned char;

struct Range {
    double lo = static_cast<double>(1e20F);
    double hi = static_cast<double>(-1e20F);
};

// The comparisons stand as they are for the sake of NaNs: one becomes hi until the next pel replaces it, and
// never lo.
void extend(Range& range, const double* pels, long count) {
    for (long i = 0; i < count; ++i) {
        if (!(range.hi >= pels[i])) {
            range.hi = pels[i];
        }
        if (range.lo > pels[i]) {
            range.lo = pels[i];
        }
    }
}

// The same for a row, unless it holds a NaN: then nothing happens, and the result is false. Without NaNs the
// order of the pels does not matter, so each lane scans every eighth pel.
bool extendByLanes(Range& range, const double* row, long width) {
    constexpr long lanes = 8;
    if (width < lanes || std::isnan(vf_SumOfMagnitudes(row, width))) {
        return false;
    }
    std::array<double, lanes> lo;
    std::copy_n(row, lanes, lo.begin());
    std::array<double, lanes> hi = lo;
    const long end = width - width % lanes;
    for (long x = 0; x < end; x += lanes) {
        for (std::size_t lane = 0; lane < lanes; ++lane) {
            const double p = row[x + static_cast<long>(lane)];
            lo[lane] = p < lo[lane] ? p : lo[lane];
            hi[lane] = p > hi[lane] ? p : hi[lane];
        }
    }
    extend(range, lo.data(), lanes);
    extend(range, hi.data(), lanes);
    extend(range, row + end, width - end);
    return true;
}

Range rangeOf(const vxPelBuffer_const<double>& image) {
    Range range;
    for (long y = 0; y < image.height(); ++y) {
        const double* row = vf_PelRow(image, y);
        if (!extendByLanes(range, row, image.width())) {
            extend(range, row, image.width());
        }
    }
    return range;
}

// From zero, not from lo, when lo is not negative: the stretch then starts at zero.
double extent(const Range& range) {
    const double extent = range.lo >= 0.0 ? range.hi : range.hi - range.lo;
    return extent > 0.0 ? extent : 1.0;
}

// Calls mapRow(pels, result, count) for each row.
template <class MapRow>
void forEachRow(const vxPelBuffer_const<double>& source, const vxPelBuffer<Pel>& result, MapRow mapRow) {
    for (long y = 0; y < source.height(); ++y) {
        mapRow(vf_PelRow(source, y), vf_PelRow(result, y), source.width());
    }
}

// Writes the low bits of map(p) for each pel p.
template <class Map>
void mapPels(const vxPelBuffer_const<double>& source, const vxPelBuffer<Pel>& result, Map map) {
    forEachRow(source, result, [map](const double* from, Pel* to, long count) {
        std::array<double, 256> mapped;
        constexpr auto block = static_cast<long>(mapped.size());
        for (long x = 0; x < count; x += block) {
            const long size = std::min(block, count - x);
            std::transform(from + x, from + x + size, mapped.begin(), map);
            vf_StoreLowBits(mapped.data(), to + x, size);
        }
    });
}

// Writes map(p) for each pel p, limited to the range of the result.
template <class Map>
void mapPelsClipped(const vxPelBuffer_const<double>& source, const vxPelBuffer<Pel>& result, Map map) {
    forEachRow(source, result, [map](const double* from, Pel* to, long count) {
        for (long x = 0; x < count; ++x) {
            // In this order of the arguments a NaN gives 0.
            const double clipped = std::min(std::max(0.0, map(from[x])), 255.0);
            to[x] = static_cast<Pel>(static_cast<std::int32_t>(clipped));
        }
    });
}

void mapLinear(const vxPelBuffer_const<double>& source, const vxPelBuffer<Pel>& result) {
    const Range range = rangeOf(source);
    const double gain = 255.0 / extent(range);
    if (range.lo >= 0.0) {
        mapPels(source, result, [=](double p) { return p * gain; });
    } else {
        mapPels(source, result, [=, lo = range.lo](double p) { return (p - lo) * gain; });
    }
}

void mapLinearRange(const vxPelBuffer_const<double>& source, const vxPelBuffer<Pel>& result,
                    const Range& range) {
    const double gain = 255.0 / extent(range);
    // The shift by lo applies whatever its sign, though the range of a lo that is not negative starts at
    // zero.
    mapPelsClipped(source, result, [=, lo = range.lo](double p) { return (p - lo) * gain; });
}

void mapLogarithmic(const vxPelBuffer_const<double>& source, const vxPelBuffer<Pel>& result) {
    const Range range = rangeOf(source);
    const double stretched = extent(range);
    // ln(range), not ln(range + 1): the brightest pels of a small range exceed 255 and wrap.
    const double gain = 255.0 / std::log(stretched < 2.0 ? 2.0 : stretched);
    if (range.lo >= 0.0) {
        mapPels(source, result, [=](double p) { return std::log(p + 1.0) * gain; });
    } else {
        mapPels(source, result, [=, lo = range.lo](double p) { return std::log(p - lo + 1.0) * gain; });
    }
}
} // namespace

vxPelBuffer<unsigned char> vfFrequencyMapImage(const vxPelBuffer_const<double>& src,
                                               vxFrequencyDefs::FrequencyMapping mapping, double rangeMin,
                                               double rangeMax) {
    if (!src.isBound()) {
        throw vxFrequencyDefs::UnboundWindow();
    }
    vxPelBuffer<Pel> result(src.width(), src.height(), 32);
    result.copyXforms(src.xformCache());
    switch (mapping) {
    case vxFrequencyDefs::eClip:
        mapPelsClipped(src, result, [](double p) { return p; });
        break;
    case vxFrequencyDefs::eLinear:
        mapLinear(src, result);
        break;
    case vxFrequencyDefs::eLinearRange:
        mapLinearRange(src, result, {rangeMin, rangeMax});
        break;
    case vxFrequencyDefs::eLogarithmic:
        mapLogarithmic(src, result);
        break;
    case vxFrequencyDefs::eAngle:
        mapPels(src, result, [](double p) { return p * 40.58451; });
        break;
    default: // No pel is written.
        break;
    }
    return result;
}

#include "filt/fft/map_image.h"

#include "filt/internal/convert.h"
#include "filt/internal/pel_row.h"

#include <cmath>

namespace {
using Pel = unsigned char;

struct Range {
    double lo = static_cast<double>(1e20F);
    double hi = static_cast<double>(-1e20F);
};

// The comparisons stand as they are for the sake of NaNs: one becomes hi until the next pel replaces it, and
// never lo.
Range rangeOf(const vxPelBuffer_const<double>& image) {
    Range range;
    for (long y = 0; y < image.height(); ++y) {
        const double* row = vf_PelRow(image, y);
        for (long x = 0; x < image.width(); ++x) {
            if (!(range.hi >= row[x])) {
                range.hi = row[x];
            }
            if (range.lo > row[x]) {
                range.lo = row[x];
            }
        }
    }
    return range;
}

// From zero, not from lo, when lo is not negative: the stretch then starts at zero.
double extent(const Range& range) {
    const double extent = range.lo >= 0.0 ? range.hi : range.hi - range.lo;
    return extent > 0.0 ? extent : 1.0;
}

template <class Map>
void mapPels(const vxPelBuffer_const<double>& source, const vxPelBuffer<Pel>& result, Map map) {
    for (long y = 0; y < source.height(); ++y) {
        const double* from = vf_PelRow(source, y);
        Pel* to = vf_PelRow(result, y);
        for (long x = 0; x < source.width(); ++x) {
            to[x] = map(from[x]);
        }
    }
}

Pel clip(double p) {
    if (!(p >= 0.0)) { // Negative or NaN.
        return 0;
    }
    return vf_LowBits<Pel>(p > 255.0 ? 255.0 : p);
}

Pel angle(double p) {
    return vf_LowBits<Pel>(p * 40.58451);
}

void mapLinear(const vxPelBuffer_const<double>& source, const vxPelBuffer<Pel>& result) {
    const Range range = rangeOf(source);
    const double gain = 255.0 / extent(range);
    if (range.lo >= 0.0) {
        mapPels(source, result, [=](double p) { return vf_LowBits<Pel>(p * gain); });
    } else {
        mapPels(source, result, [=, lo = range.lo](double p) { return vf_LowBits<Pel>((p - lo) * gain); });
    }
}

void mapLinearRange(const vxPelBuffer_const<double>& source, const vxPelBuffer<Pel>& result,
                    const Range& range) {
    const double gain = 255.0 / extent(range);
    // The shift by lo applies whatever its sign, though the range of a lo that is not negative starts at
    // zero.
    mapPels(source, result, [=, lo = range.lo](double p) { return clip((p - lo) * gain); });
}

void mapLogarithmic(const vxPelBuffer_const<double>& source, const vxPelBuffer<Pel>& result) {
    const Range range = rangeOf(source);
    const double stretched = extent(range);
    // ln(range), not ln(range + 1): the brightest pels of a small range exceed 255 and wrap.
    const double gain = 255.0 / std::log(stretched < 2.0 ? 2.0 : stretched);
    if (range.lo >= 0.0) {
        mapPels(source, result, [=](double p) { return vf_LowBits<Pel>(std::log(p + 1.0) * gain); });
    } else {
        mapPels(source, result,
                [=, lo = range.lo](double p) { return vf_LowBits<Pel>(std::log(p - lo + 1.0) * gain); });
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
        mapPels(src, result, clip);
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
        mapPels(src, result, angle);
        break;
    default: // No pel is written.
        break;
    }
    return result;
}

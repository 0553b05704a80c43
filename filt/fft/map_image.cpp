#include "filt/fft/map_image.h"

#include "filt/fft/kernels/instruction_sets.h"
#include "filt/internal/numerics.h"
#include "filt/internal/pel_row.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

namespace {
using Pel = unsigned char;

using Range = vx_Range<double>;

// The comparisons stand as they are for the sake of NaNs: one becomes the greatest until the next pel
// replaces it, and never the least.
void extend(Range& range, const double* pels, long count) {
    for (long i = 0; i < count; ++i) {
        if (!(range.most >= pels[i])) {
            range.most = pels[i];
        }
        if (range.least > pels[i]) {
            range.least = pels[i];
        }
    }
}

Range rangeOf(const vxPelBuffer_const<double>& image) {
    Range range = {static_cast<double>(1e20F), static_cast<double>(-1e20F)};
    for (long y = 0; y < image.height(); ++y) {
        const double* row = vf_PelRow(image, y);
        Range extended = range;
        // As the greatest so far a NaN lasts until the next pel, so then, too, order matters.
        if (!std::isnan(range.most) &&
            vf_Elements().pelRange(row, static_cast<std::size_t>(image.width()), extended)) {
            range = extended;
        } else {
            extend(range, row, image.width());
        }
    }
    return range;
}

// From zero, not from the least, when that is not negative: the stretch then starts at zero.
double extent(const Range& range) {
    const double extent = range.least >= 0.0 ? range.most : range.most - range.least;
    return extent > 0.0 ? extent : 1.0;
}

// Calls mapRow(pels, result, count) for each row.
template <class MapRow>
void forEachRow(const vxPelBuffer_const<double>& source, const vxPelBuffer<Pel>& result, MapRow mapRow) {
    for (long y = 0; y < source.height(); ++y) {
        mapRow(vf_PelRow(source, y), vf_PelRow(result, y), source.width());
    }
}

// Writes a mapping of (p - low) * gain for each pel p.
using MapPels = void (*)(const double* pels, std::size_t count, double low, double gain, Pel* to);
void mapPels(const vxPelBuffer_const<double>& source, const vxPelBuffer<Pel>& result, MapPels map, double low,
             double gain) {
    forEachRow(source, result, [=](const double* from, Pel* to, long count) {
        map(from, static_cast<std::size_t>(count), low, gain, to);
    });
}

void mapLinear(const vxPelBuffer_const<double>& source, const vxPelBuffer<Pel>& result) {
    const Range range = rangeOf(source);
    const double low = range.least >= 0.0 ? 0.0 : range.least;
    mapPels(source, result, vf_Elements().wrappedPels, low, 255.0 / extent(range));
}

void mapLinearRange(const vxPelBuffer_const<double>& source, const vxPelBuffer<Pel>& result,
                    const Range& range) {
    // The shift by the least applies whatever its sign, though the range of one that is not negative starts
    // at zero.
    mapPels(source, result, vf_Elements().clippedPels, range.least, 255.0 / extent(range));
}

void mapLogarithmic(const vxPelBuffer_const<double>& source, const vxPelBuffer<Pel>& result) {
    const Range range = rangeOf(source);
    const double stretched = extent(range);
    // ln(range), not ln(range + 1): the brightest pels of a small range exceed 255 and wrap.
    const double gain = 255.0 / std::log(stretched < 2.0 ? 2.0 : stretched);
    const double low = range.least >= 0.0 ? 0.0 : range.least;
    forEachRow(source, result, [=](const double* from, Pel* to, long count) {
        std::array<double, 256> logarithms;
        constexpr auto block = static_cast<long>(logarithms.size());
        for (long x = 0; x < count; x += block) {
            const long size = std::min(block, count - x);
            std::transform(from + x, from + x + size, logarithms.begin(),
                           [low](double p) { return std::log(p - low + 1.0); });
            vf_Elements().wrappedPels(logarithms.data(), static_cast<std::size_t>(size), 0.0, gain, to + x);
        }
    });
}
} // namespace

vxPelBuffer<unsigned char> vfFrequencyMapImage(const vxPelBuffer_const<double>& src,
                                               vxFrequencyDefs::FrequencyMapping mapping, double rangeMin,
                                               double rangeMax) {
    if (!src.isBound()) {
        throw vxFrequencyDefs::UnboundWindow();
    }
    vxPelBuffer<Pel> result = vxPelBuffer<Pel>::unset(src.width(), src.height(), 32);
    result.copyXforms(src.xformCache());
    switch (mapping) {
    case vxFrequencyDefs::eClip:
        mapPels(src, result, vf_Elements().clippedPels, 0.0, 1.0);
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
        mapPels(src, result, vf_Elements().wrappedPels, 0.0, 40.58451);
        break;
    default: // No mapping.
        vfPelSet(result, Pel{0});
        break;
    }
    return result;
}

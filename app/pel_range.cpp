#include "app/pel_range.h"

#include "app/words.h"
#include "kavstd/attention.h"

namespace app {
namespace {

std::string clippingInWords(const PelMap& map, long outside, Depth depth) {
    const std::string white = number(traits(depth).maximum);
    return (map.gain == 1 ? "" : "multiplied by " + number(map.gain) + ", ") +
           (map.offset == 0 ? "" : "raised to mid-grey " + number(map.offset) + ", ") + "clipped to 0 .. " +
           white + " (" + count(outside, "pel") + " outside)";
}

} // namespace

PelMap normalizing(double minimum, double maximum, Depth depth) {
    const double gain = traits(depth).maximum / (maximum - minimum);
    return {gain, -minimum * gain};
}

PelMap clipping(Depth from, Depth to, bool aroundZero) {
    const double gain = traits(from).isInteger ? traits(to).maximum / traits(from).maximum : 1;
    return {gain, aroundZero ? (traits(to).maximum + 1) / 2 : 0};
}

long mapPels(vxPelBuffer<double>& pels, const PelMap& map, Depth depth) {
    const double white = traits(depth).maximum;
    long outside = 0;
    for (long y = 0; y < pels.height(); ++y) {
        vxAttention::check();
        double* row = pels.pointToRow(pels.offset().y() + y);
        for (long x = 0; x < pels.width(); ++x) {
            const double value = row[x] * map.gain + map.offset;
            outside += value <= -0.5 || value >= white + 0.5;
            row[x] = static_cast<double>(quantize(value, depth));
        }
    }
    return outside;
}

std::string bringIntoRange(Image& result, double minimum, double maximum, const Ranging& ranging) {
    const bool flat = maximum - minimum <= ranging.noise;
    if (flat || ranging.range == Range::clip) {
        const PelMap map = clipping(ranging.from, result.depth, ranging.aroundZero);
        const long outside = mapPels(result.pels, map, result.depth);
        return (flat ? "flat, " : "") + clippingInWords(map, outside, result.depth);
    }
    const PelMap map = normalizing(minimum, maximum, result.depth);
    mapPels(result.pels, map, result.depth);
    std::string words = "scaled to 0 .. " + number(traits(result.depth).maximum);
    if (minimum < 0 && maximum > 0) {
        words += ", zero becomes " + std::to_string(quantize(map.offset, result.depth));
    }
    return words;
}

} // namespace app

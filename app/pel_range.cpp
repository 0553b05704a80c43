#include "app/pel_range.h"

#include "kavstd/attention.h"

namespace app {

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

} // namespace app

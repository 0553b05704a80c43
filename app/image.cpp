#include "app/image.h"

#include "app/errors.h"
#include "kavstd/attention.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace app {

const DepthTraits& traits(Depth depth) {
    static constexpr DepthTraits table[] = {
        {"8-bit", true, 255}, {"16-bit", true, 65535}, {"float", false, 0}, {"double", false, 0}};
    return table[static_cast<int>(depth)];
}

vxPelBuffer<double> newPels(unsigned long long width, unsigned long long height) {
    const std::string size = std::to_string(width) + " x " + std::to_string(height);
    if (width == 0 || height == 0)
        throw UnreadableError("the image is empty (" + size + ")");
    if (width > maximumSize || height > maximumSize)
        throw UnreadableError("the image is " + size + " pels, above the limit of " +
                              std::to_string(maximumSize) + " x " + std::to_string(maximumSize));
    return {static_cast<long>(width), static_cast<long>(height)};
}

unsigned long quantize(double value, Depth depth) {
    const double maximum = traits(depth).maximum;
    if (!(value > 0))
        return 0;
    return static_cast<unsigned long>(std::min(std::floor(value + 0.5), maximum));
}

PelStatistics statistics(const vxPelBuffer_const<double>& pels) {
    PelStatistics result;
    double sum = 0;
    long count = 0;
    result.minimum = std::numeric_limits<double>::infinity();
    result.maximum = -std::numeric_limits<double>::infinity();
    for (long y = 0; y < pels.height(); ++y) {
        vxAttention::check();
        const double* row = pels.pointToRow(pels.offset().y() + y);
        for (long x = 0; x < pels.width(); ++x) {
            if (!std::isfinite(row[x])) {
                if (result.notFinite++ == 0)
                    result.notFiniteAt = {x, y};
                continue;
            }
            result.minimum = std::min(result.minimum, row[x]);
            result.maximum = std::max(result.maximum, row[x]);
            sum += row[x];
            ++count;
        }
    }
    if (count == 0)
        result.minimum = result.maximum = 0;
    else
        result.mean = sum / static_cast<double>(count);
    return result;
}

} // namespace app

#include "app/display.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace app {
namespace {

// Replaces every pel of an image whose offset is (0, 0).
template <class Map>
void forEachPel(vxPelBuffer<double>& pels, const Map& map) {
    for (long y = 0; y < pels.height(); ++y) {
        double* row = pels.pointToRow(y);
        std::transform(row, row + pels.width(), row, map);
    }
}

double median(const vxPelBuffer<double>& pels) {
    std::vector<double> values;
    for (long y = 0; y < pels.height(); ++y) {
        values.insert(values.end(), pels.pointToRow(y), pels.pointToRow(y) + pels.width());
    }
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

vxPelBuffer<double> atOrigin(vxPelBuffer<double> pels) {
    pels.offset(0, 0);
    return pels;
}

} // namespace

Image spectrumView(const vxFrequencyBuffer& spectrum) {
    Image view;
    view.pels = atOrigin(spectrum.getMagnitudeImage(true));
    // Most samples of a picture are a floor of noise far below the few that matter; it gets the lowest
    // quarter.
    constexpr double floorGrey = 48;
    const double low = std::log1p(median(view.pels));
    const double high = std::log1p(statistics(view.pels).maximum);
    const double gain = high > low ? (255 - floorGrey) / (high - low) : 0;
    forEachPel(view.pels, [=](double magnitude) {
        return static_cast<double>(quantize(floorGrey + (std::log1p(magnitude) - low) * gain, Depth::bits8));
    });
    return view;
}

Image gainView(const vxFrequencyBuffer& gains) {
    Image view;
    view.pels = atOrigin(gains.getRealImage(true));
    forEachPel(view.pels,
               [](double gain) { return static_cast<double>(quantize(gain * 255, Depth::bits8)); });
    return view;
}

} // namespace app

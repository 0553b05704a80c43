#include "app/display.h"

#include "app/errors.h"
#include "app/pel_range.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <iterator>
#include <utility>
#include <vector>

namespace app {
namespace {

using Pels = vxPelBuffer<double>;

struct ViewTraits {
    Pels (vxFrequencyBuffer::*read)(bool centered) const;
    bool isSigned;
    Mapping mapping; // Unless asked for another.
};

const ViewTraits& traits(View view) {
    using Buffer = vxFrequencyBuffer;
    static constexpr ViewTraits table[] = {
        {&Buffer::getMagnitudeImage, false, Mapping::log},
        {&Buffer::getPhaseImage, false, Mapping::angle},
        {&Buffer::getRealImage, true, Mapping::log},
        {&Buffer::getImaginaryImage, true, Mapping::log},
    };
    return table[static_cast<int>(view)];
}

// Replaces every pel of an image whose offset is (0, 0).
template <class Map>
void forEachPel(Pels& pels, const Map& map) {
    for (long y = 0; y < pels.height(); ++y) {
        double* row = pels.pointToRow(y);
        std::transform(row, row + pels.width(), row, map);
    }
}

Pels atOrigin(Pels pels) {
    pels.offset(0, 0);
    return pels;
}

void refuseOverflow(const Pels& pels) {
    if (statistics(pels).notFinite > 0) {
        throw UnreadableError("the image has no spectrum in single precision: its pels are too large");
    }
}

// The sizes of the values, in any order.
std::vector<double> magnitudesOf(const Pels& values) {
    std::vector<double> result;
    result.reserve(static_cast<std::size_t>(values.width() * values.height()));
    for (long y = 0; y < values.height(); ++y) {
        const double* row = values.pointToRow(y);
        std::transform(row, row + values.width(), std::back_inserter(result),
                       [](double value) { return std::abs(value); });
    }
    return result;
}

// Black for 0 to white for the largest magnitude, as 0 to 1.
class LogScale {
public:
    explicit LogScale(std::vector<double> magnitudes) {
        const auto middle = magnitudes.begin() + static_cast<std::ptrdiff_t>(magnitudes.size() / 2);
        std::nth_element(magnitudes.begin(), middle, magnitudes.end());
        const double largest = *std::max_element(middle, magnitudes.end());
        // Most samples of a picture are a floor of noise far below the few that matter: it stays dark. What
        // is smaller than the transform's rounding has nothing to show.
        constexpr double floor = 0.25; // Of the median, where the scale turns from linear to logarithmic.
        constexpr double rounding = 1e-7;
        unit_ = std::max(floor * *middle, rounding * largest);
        gain_ = unit_ > 0 ? 1 / std::log1p(largest / unit_) : 0;
    }

    double operator()(double magnitude) const {
        return unit_ > 0 ? std::log1p(magnitude / unit_) * gain_ : 0;
    }

private:
    double unit_ = 0; // 0: all magnitudes are.
    double gain_ = 0;
};

void mapLog(Pels& values, bool isSigned) {
    const LogScale scale(magnitudesOf(values));
    forEachPel(values, [&](double value) {
        const double grey = scale(std::abs(value));
        return static_cast<double>(
            quantize(isSigned ? 127.5 + std::copysign(127.5 * grey, value) : 255 * grey, Depth::bits8));
    });
}

// Through the library's mapping of a range, which saturates.
void mapRange(Pels& values, double minimum, double maximum) {
    // The library's range starts at zero where its minimum is positive; shifted, it starts at the minimum.
    const double shift = std::max(minimum, 0.0);
    forEachPel(values, [=](double value) { return value - shift; });
    const vxPelBuffer<unsigned char> mapped =
        vfFrequencyMapImage(values, vxFrequencyDefs::eLinearRange, minimum - shift, maximum - shift);
    for (long y = 0; y < values.height(); ++y) {
        std::copy_n(mapped.pointToRow(y), values.width(), values.pointToRow(y));
    }
}

// What is white on a linear scale: few samples of a picture are large, the DC first of all, and would leave
// everything else black.
double linearWhite(std::vector<double> magnitudes, std::size_t dc) {
    const double atDc = std::exchange(magnitudes[dc], 0.0);
    const auto few = static_cast<std::ptrdiff_t>(magnitudes.size() / 1000);
    const auto last = magnitudes.begin() + few;
    std::nth_element(magnitudes.begin(), last, magnitudes.end(), std::greater<>());
    const double largest = *std::max_element(magnitudes.begin(), last + 1);
    // Of a pure wave there are only few samples; of a constant there is only the DC. The rest is rounding.
    const double white = std::max({*last, largest / 100, noise * atDc});
    return white > 0 ? white : 1;
}

void mapLinear(Pels& values, bool isSigned, const vxPair<long>& dc) {
    const double white =
        linearWhite(magnitudesOf(values), static_cast<std::size_t>(dc.y() * values.width() + dc.x()));
    mapRange(values, isSigned ? -white : 0, white);
}

void mapByLibrary(Pels& values, vxFrequencyDefs::FrequencyMapping mapping) {
    const vxPelBuffer<unsigned char> mapped = vfFrequencyMapImage(values, mapping, 0, 0);
    for (long y = 0; y < values.height(); ++y) {
        std::copy_n(mapped.pointToRow(y), values.width(), values.pointToRow(y));
    }
}

void map(Pels& values, const ViewSettings& settings, const vxPair<long>& dc) {
    const ViewTraits& view = traits(settings.view);
    switch (settings.mapping.value_or(view.mapping)) {
    case Mapping::log:
        return mapLog(values, view.isSigned);
    case Mapping::linear:
        return mapLinear(values, view.isSigned, dc);
    case Mapping::range:
        return mapRange(values, *settings.minimum, *settings.maximum);
    case Mapping::clip:
        return mapByLibrary(values, vxFrequencyDefs::eClip);
    case Mapping::angle:
        return mapByLibrary(values, vxFrequencyDefs::eAngle);
    }
}

} // namespace

void checkSettings(const ViewSettings& settings) {
    const bool isRange = settings.mapping == Mapping::range;
    if (isRange != settings.minimum.has_value() || isRange != settings.maximum.has_value()) {
        throw UsageError("--map range needs --min and --max, and only --map range has them");
    }
    if (isRange &&
        !(*settings.minimum < *settings.maximum && std::isfinite(*settings.maximum - *settings.minimum))) {
        throw UsageError("--min must be below --max, and both finite");
    }
    if (settings.mapping == Mapping::angle && settings.view != View::phase) {
        throw UsageError("--map angle is for --view phase");
    }
    if (settings.depth.value_or(Depth::bits8) == Depth::bits16) {
        throw UsageError("views are 8-bit pictures, or with --depth float or double the values themselves");
    }
    if (settings.mapping && !traits(settings.depth.value_or(Depth::bits8)).isInteger) {
        throw UsageError("--map is for 8-bit pictures; --depth float and double write the values themselves");
    }
}

ViewResult viewSpectrum(const vxFrequencyBuffer& spectrum, const ViewSettings& settings) {
    checkSettings(settings);
    refuseOverflow(spectrum.getRealImage(false));
    refuseOverflow(spectrum.getImaginaryImage(false));
    ViewResult result;
    result.image.depth = settings.depth.value_or(Depth::bits8);
    Pels& pels = result.image.pels;
    pels = atOrigin((spectrum.*traits(settings.view).read)(!settings.dcInCorner));
    refuseOverflow(pels); // Magnitudes are squared on their way.

    const vxPair<long> dc =
        settings.dcInCorner ? vxPair<long>(0, 0) : vxPair<long>(pels.width() / 2, pels.height() / 2);
    const PelStatistics values = statistics(pels);
    result.minimum = values.minimum;
    result.maximum = values.maximum;
    result.atDc = pels.pointToRow(dc.y())[dc.x()];
    if (traits(result.image.depth).isInteger) {
        map(pels, settings, dc);
    }
    return result;
}

Image spectrumView(const vxFrequencyBuffer& spectrum) {
    return viewSpectrum(spectrum, {}).image;
}

Image gainView(const vxFrequencyBuffer& gains) {
    Image view;
    view.pels = atOrigin(gains.getRealImage(true));
    forEachPel(view.pels,
               [](double gain) { return static_cast<double>(quantize(gain * 255, Depth::bits8)); });
    return view;
}

} // namespace app

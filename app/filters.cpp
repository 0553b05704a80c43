#include "app/filters.h"

#include "app/errors.h"

#include <algorithm>
#include <iterator>

namespace app {
namespace {

using Filter = std::unique_ptr<vxFrequencyFilter>;

Filter makeBandPass(const FilterParameters& p, const vxPair<long>& size) {
    return std::make_unique<vxFrequencyFilterBandPass>(p.sigma, p.plateau, p.frequency, size, p.dcRadius);
}

struct Type {
    const char* name;
    Filter (*make)(const FilterParameters&, const vxPair<long>& size);
};

constexpr Type types[] = {{"bandpass", makeBandPass}};

} // namespace

std::vector<std::string> filterTypes() {
    std::vector<std::string> names;
    std::transform(std::begin(types), std::end(types), std::back_inserter(names),
                   [](const Type& type) { return type.name; });
    return names;
}

void checkFilter(const FilterParameters& parameters) {
    static_cast<void>(makeFilter(parameters, {1, 1}));
}

Filter makeFilter(const FilterParameters& parameters, const vxPair<long>& size) {
    const auto* type = std::find_if(std::begin(types), std::end(types),
                                    [&parameters](const Type& t) { return t.name == parameters.type; });
    if (type == std::end(types)) {
        throw UsageError("there is no filter type " + parameters.type);
    }
    // Wider than the whole spectrum makes no sense and only needs memory.
    if (parameters.sigma > 1) {
        throw UsageError("Sigma must not be above 1.");
    }
    if (parameters.plateau > 1) {
        throw UsageError("Plateau must not be above 1.");
    }
    try {
        return type->make(parameters, size);
    } catch (const vxFrequencyDefs::InvalidArgument& error) {
        throw UsageError(error.what());
    }
}

void applyFilter(const vxFrequencyFilter& filter, vxFrequencyBuffer& spectrum) {
    try {
        filter.apply(spectrum);
    } catch (const vxFrequencyDefs::BadCoord&) {
        throw UsageError("the DC removal radius reaches outside the " + std::to_string(spectrum.width()) +
                         " x " + std::to_string(spectrum.height()) + " spectrum");
    }
}

vxFrequencyBuffer gains(const vxFrequencyFilter& filter, const vxPair<long>& size) {
    vxFrequencyBuffer spectrum(size.x(), size.y());
    for (long y = 0; y < size.y(); ++y) {
        for (long x = 0; x < size.x(); ++x) {
            spectrum.putReal(x, y, 1, false);
        }
    }
    applyFilter(filter, spectrum);
    return spectrum;
}

} // namespace app

/// \file
/// The filters by name, as a user asks for them.
#pragma once

#include "filt/freqfilt.h"

#include <memory>
#include <string>
#include <vector>

namespace app {

/// What a user says about a filter. Which of the numbers matter depends on the type.
struct FilterParameters {
    std::string type = "bandpass";
    double frequency = 0; ///< Cycles per pixel, 0 to 0.5.
    double sigma = 0;     ///< As a fraction of the filter width, so in cycles per pixel; above 0, at most 1.
    double plateau = 0;   ///< The same unit; 0 to 1.
    long dcRadius = 0;    ///< Samples; 0 keeps the DC.
};

/// The names that `type` may have.
[[nodiscard]] std::vector<std::string> filterTypes();

/// UsageError where the parameters are wrong for every size.
void checkFilter(const FilterParameters& parameters);

/// A filter built for spectra of that size. UsageError for wrong parameters.
[[nodiscard]] std::unique_ptr<vxFrequencyFilter> makeFilter(const FilterParameters& parameters,
                                                            const vxPair<long>& size);

/// Filters in place. UsageError where the square around the DC reaches outside the spectrum.
void applyFilter(const vxFrequencyFilter& filter, vxFrequencyBuffer& spectrum);

/// The filter's gains as a spectrum: the response to a spectrum of ones.
[[nodiscard]] vxFrequencyBuffer gains(const vxFrequencyFilter& filter, const vxPair<long>& size);

} // namespace app

/// \file
/// The filters by name, as a user asks for them.
#pragma once

#include "app/image.h"
#include "app/kernel.h"
#include "filt/freqfilt.h"
#include "kavstd/radian.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace app {

using FilterPointer = std::shared_ptr<vxFrequencyFilter>;

/// A filter's extents. A lobe has one along its direction and one across it; a ring has one only.
struct Extents {
    double along = 0;
    double across = 0;

    Extents() = default;
    Extents(double both) : along(both), across(both) {}
    Extents(double alongIt, double acrossIt) : along(alongIt), across(acrossIt) {}
};

/// A filter that was built before, for one size of spectra.
struct BuiltFilter {
    std::string name; ///< For messages.
    FilterPointer filter;
};

/// What a user says about a filter. Which of it matters depends on the type.
struct FilterParameters {
    std::string type = "bandpass";
    double frequency = 0; ///< Cycles per pixel, 0 to 0.5.
    Extents sigma;     ///< As a fraction of the filter width, so in cycles per pixel; above 0, at most 1, or
                       ///< 0.5 for a lobe.
    Extents plateau;   ///< The same unit; 0 to 1, or to 0.5.
    long dcRadius = 0; ///< Samples; 0 does nothing to the DC. Pass filters clear the square around it, reject
                       ///< filters keep it.
    vxRadian angle = {}; ///< Of a lobe: 0 points along +x, a quarter turn along +y.
    /// Whether a lobe comes with its mirror lobe; default: for Gabor-reject filters only.
    std::optional<bool> pair = {};
    std::optional<Image> kernel = {}; ///< What an image filter convolves with.
    KernelScale kernelScale = KernelScale::asGiven;
    std::optional<BuiltFilter> built = {}; ///< Takes the place of everything but `pair`.
};

/// The names that `type` may have.
[[nodiscard]] std::vector<std::string> filterTypes();

/// The names of the parameters as users write them: options are "--sigma", keys of recipes "sigma".
inline constexpr const char* parameterNames[] = {"frequency", "sigma", "plateau", "dc",
                                                 "angle",     "pair",  "kernel",  "unit"};

/// Whether a filter of a type takes a parameter.
enum class Use { no, may, must };
[[nodiscard]] Use parameterUse(const std::string& type, const std::string& parameterName);

/// From a half turn's 180 to its pi, and back: the angle that comes back may differ in its last bit where no
/// number of degrees stands for the radians, which those that were made of degrees never do.
[[nodiscard]] vxRadian radiansOf(double degrees);
[[nodiscard]] double degreesOf(vxRadian angle);

/// Whether it is a ring, which has no direction.
[[nodiscard]] bool isRing(const FilterParameters& parameters);

/// Whether a lobe of that type comes with its mirror lobe.
[[nodiscard]] bool isPair(const FilterParameters& parameters);

/// UsageError where the parameters are wrong for every size.
void checkFilter(const FilterParameters& parameters);

/// A filter built for spectra of that size. UsageError for wrong parameters; UnreadableError for a kernel
/// that does not fit, or a filter built for another size.
///
/// With `pair` there are two lobes, the second of which is the library's filter for the opposite angle; it
/// lies within one sample of where the first one's mirror image is. A Gabor pair has the gain a + b - a b,
/// where a and b are its lobes' gains: what either keeps is kept, and nothing counts twice where they
/// overlap. A Gabor-reject pair has the gain a b.
[[nodiscard]] FilterPointer makeFilter(const FilterParameters& parameters, const vxPair<long>& size);

struct FilterDescription {
    FilterParameters parameters; ///< Without a kernel: an image filter has only its spectrum.
    vxPair<long> size;           ///< Of the spectra that it filters.
};
/// What one of the library's filters was built from; nothing for any other. vxFrequencyDefs::Uninitialized
/// when it is not built.
[[nodiscard]] std::optional<FilterDescription> describe(const vxFrequencyFilter& filter);

/// Filters in place. UsageError where the square around the DC reaches outside the spectrum.
void applyFilter(const vxFrequencyFilter& filter, vxFrequencyBuffer& spectrum);

/// What the filter makes of the mean. Throws as applyFilter.
[[nodiscard]] double gainAtDc(const vxFrequencyFilter& filter, const vxPair<long>& size);

/// The filter's gains as a spectrum: the response to a spectrum of ones.
[[nodiscard]] vxFrequencyBuffer gains(const vxFrequencyFilter& filter, const vxPair<long>& size);

} // namespace app

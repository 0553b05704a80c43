/// \file
/// From a result of any range to the pels of an image file.
#pragma once

#include "app/image.h"

#include <string>

namespace app {

/// How a result is put into the range of an integer depth.
enum class Range {
    normalize, ///< the smallest value becomes black, the largest white
    clip       ///< values keep their size; what lies outside the range becomes black or white
};

/// pel = value * gain + offset.
struct PelMap {
    double gain = 1;
    double offset = 0;
};

/// Scales minimum .. maximum to black .. white. Minimum and maximum differ.
[[nodiscard]] PelMap normalizing(double minimum, double maximum, Depth depth);

/// Keeps values as they are, scaled by the ratio of the whites where both depths are integers and differ.
/// Values around zero are raised to mid-grey (128, 32768), so that both signs can be seen.
[[nodiscard]] PelMap clipping(Depth from, Depth to, bool aroundZero);

/// Maps every pel in place and quantizes it to the integer depth. Returns how many pels lay outside the
/// range.
long mapPels(vxPelBuffer<double>& pels, const PelMap& map, Depth depth);

} // namespace app

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

/// A result whose values differ by no more than this part of what it was computed from is rounding noise
/// around one value.
inline constexpr double noise = 1e-6;

/// How a result is to be brought into range, and what it is.
struct Ranging {
    Range range = Range::normalize;
    Depth from = Depth::bits8; ///< Of the image that it was computed from.
    bool aroundZero = false;   ///< Its values lie around zero.
    double noise = 0;          ///< It is flat if its values differ by no more; noise is not stretched.
};

/// Brings a result whose values go from minimum to maximum into the range of its integer depth. A flat one
/// is clipped in any case. Returns what was done, in words.
std::string bringIntoRange(Image& result, double minimum, double maximum, const Ranging& ranging);

} // namespace app

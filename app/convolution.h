/// \file
/// Convolution of an image with a kernel, through their spectra.
#pragma once

#include "app/filtering.h"
#include "app/image.h"
#include "app/pel_range.h"

#include <optional>
#include <string>

namespace app {

struct ConvolutionSettings {
    Padding padding = Padding::mirror; ///< What lies beyond the image's border.
    std::optional<Range> range;        ///< Default: normalize. Only for integer depths.
    std::optional<Depth> depth;        ///< Default: the depth of the image.
    bool unit = false;                 ///< Divide the kernel by the sum of its pels.
};

struct ConvolutionResult {
    Image image;
    double minimum = 0; ///< Of the result before it was brought into range.
    double maximum = 0;
    std::string range; ///< How it was brought into range, in words.
};

/// result(x, y) = sum over i, j of image(x + w / 2 - i, y + h / 2 - j) * kernel(i, j) for a kernel of w x h
/// pels: the pel (w / 2, h / 2) of the kernel, integer division, is its origin. The result has the image's
/// size. Single precision.
///
/// UsageError for settings that do not fit, UnreadableError for a kernel larger than the image, pels that
/// cannot be transformed, and a kernel of zeros or, with `unit`, of zero sum.
[[nodiscard]] ConvolutionResult convolve(const Image& image, const Image& kernel,
                                         const ConvolutionSettings& settings);

} // namespace app

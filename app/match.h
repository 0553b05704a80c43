/// \file
/// Finding a small image in a large one.
#pragma once

#include "app/image.h"

namespace app {

/// Where a pattern matches an image best.
struct Match {
    /// The image's coordinates of the pattern's upper left pel, to a fraction of a pel: the top, at most one
    /// pel away along each axis, of a quadratic surface fitted to the coefficients at the best position and
    /// its eight neighbours by least squares; where that has no top there, of the surface that interpolates
    /// them; where that has none either, or a neighbour is missing at the border of the image or beside a
    /// flat part, of parabolas along x and along y. Where the pattern matches exactly, the best position
    /// itself.
    double x = 0;
    double y = 0;
    /// The normalised correlation coefficient at the best whole-pel position, computed in double precision:
    /// 1 for a match up to brightness and contrast, 0 for none, -1 for a negative.
    double height = 0;
    vxPair<long> best; ///< The best whole-pel position.
};

/// The position, out of all where the pattern lies within the image, with the largest normalised correlation
/// coefficient (Lewis, "Fast normalized cross-correlation", Vision Interface 1995): the means of both and the
/// contrast of the image under the pattern do not matter. Parts of the image whose contrast is below 1e-6 of
/// the image's count as flat and do not match. Coefficients within 1e-12 of each other are equally good, and
/// of equally good positions the first, row by row, is taken.
///
/// The time is bounded, to the cost of a few transforms and 2^27 products of pels, whatever the image. Where
/// spectra in single and in double precision leave more positions to choose from than the products can tell
/// apart, the choice is the best one of the first of those that are within 1e-9 of the best as far as double
/// precision can tell. Repetitive images come out right all the same; a better match, or an earlier one that
/// is equally good, may be missed only in parts so faint that their coefficients are known less well than
/// that.
///
/// UnreadableError for a pattern larger than the image, pels that cannot be transformed, and where nothing
/// can match: the pattern is flat, or the image is wherever the pattern fits.
[[nodiscard]] Match findPattern(const Image& image, const Image& pattern);

} // namespace app

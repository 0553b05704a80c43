/// \file
/// Finding a small image in a large one.
#pragma once

#include "app/image.h"

namespace app {

/// Where a pattern matches an image best.
struct Match {
    /// The image's coordinates of the pattern's upper left pel, to a fraction of a pel: the top of a parabola
    /// through the best position and its neighbours, along x and along y. At the border of the image, where
    /// there is no neighbour, and where the pattern matches exactly, the best position itself.
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
/// the image's count as flat and do not match; among equally good positions the first, row by row, is taken,
/// unless a faint, repetitive image has more of them than can be computed exactly.
///
/// UnreadableError for a pattern larger than the image, pels that cannot be transformed, and where nothing
/// can match: the pattern is flat, or the image is wherever the pattern fits.
[[nodiscard]] Match findPattern(const Image& image, const Image& pattern);

} // namespace app

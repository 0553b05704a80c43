/// \file
/// Filtering images that are larger than any transform, in overlapping tiles.
///
///         reach |<- - valid - ->| reach
///      +--------+---------------+--------+          A tile is one transform. Within the filter's reach of
///      its | tile k |               |        |          borders the transform's repetition shows; the rest
///      is
///      +--------+------------+--+-----+--+-----...  valid. Valid parts overlap and fade over into each
///                    | tile k + 1     |             other; the weights sum to one everywhere.
///                    +-------+--+-----+--------...
///
/// This is the overlap-save method (Oppenheim and Schafer, "Discrete-Time Signal Processing", 8.7) with
/// blended seams. The filter's response in the image is a wave under a Gaussian with a standard deviation of
/// 1 / (2 pi sigma) pixels; its reach is four of these.
#pragma once

#include "app/filtering.h"

namespace app {

/// The largest width and height of an image that is filtered in tiles.
inline constexpr long largestTiled = 16384;

/// The limit for images that are read for filterTiled: largestTiled, and the memory it takes.
[[nodiscard]] SizeLimit tiledLimit();

/// How far the filter spreads a pel, in pels: 4 / (2 pi sigma) for the smaller sigma, half the kernel's size
/// for an image filter. At least 1.
[[nodiscard]] long filterReach(const FilterParameters& filter);

/// Filters an image of any size as filterImage does, with transforms of tileSize x tileSize, a power of two
/// from 128 to 2048. Beyond the image lies its reflection, or zeros.
///
/// Results are those of one transform of the whole image, up to 0.1 % of the range of the image's pels for
/// rings, single lobes and kernels, farther from the borders than the filter's reach; a plateau that ends
/// sharply (a sigma far below it) reaches farther. The mirror lobe of a pair lies within one sample of the
/// spectrum of its place (see makeFilter), which is another place for tiles of another size. At borders, a
/// whole image's padding fades to the opposite border, a tile's does not.
///
/// Parts are taken of the blended complex result, and ranges are those of the whole image. Beside the source
/// and the result, memory holds one row of tiles.
///
/// Errors as filterImage, and UsageError for --raw, a filter that was built for one size, a reach above 3 / 8
/// of a tile, and a --dc above 1, which counts samples of one transform. A --dc of 1, the mean, is the mean
/// of the whole image.
[[nodiscard]] FilterResult filterTiled(const Image& source, const FilterSettings& settings,
                                       long tileSize = maximumSize);

} // namespace app

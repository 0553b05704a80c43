/// \file
/// Extending an image to the size of its transform.
#pragma once

#include "kavstd/pelbuffer.h"

namespace app {

/// The size of the transform of an image: each dimension rounded up to a power of two.
[[nodiscard]] vxPair<long> transformSize(long width, long height);

/// The image extended to its transform's size, to the right and below, so that no edge is made. A transform
/// sees its image repeat in all directions: from the right border on, the extension reflects that border, and
/// towards the next repetition it fades over into the reflection of the left border; the same from top to
/// bottom. Of an image whose size is a power of two already, a copy.
[[nodiscard]] vxPelBuffer<double> mirrorPadded(const vxPelBuffer_const<double>& image);

} // namespace app

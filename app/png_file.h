/// \file
/// PNG files.
#pragma once

#include "app/image.h"

#include <iosfwd>
#include <vector>

namespace app {

/// Reads a PNG file of any kind as an 8- or 16-bit grey image: 1, 2 and 4 bits are scaled to 0 .. 255,
/// palettes looked up, colour converted to luminance, transparency left out; notes say what was converted.
/// Stored values are taken as they are, without gamma or colour profiles. UnreadableError for a file that is
/// damaged, cut off or too large.
[[nodiscard]] Image readPng(std::istream& file);

/// A PNG file of an 8- or 16-bit image.
[[nodiscard]] std::vector<unsigned char> encodePng(const Image& image);

} // namespace app

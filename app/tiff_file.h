/// \file
/// TIFF files.
#pragma once

#include "app/image.h"

#include <iosfwd>
#include <vector>

namespace app {

/// Reads the first page of a TIFF file of either byte order, in strips or tiles, with any compression that
/// libtiff knows. Grey and RGB files of 8 or 16 unsigned bits, float or double keep their depth; 1, 2 and 4
/// bits are scaled to 0 .. 255; palettes and other colour spaces are read as 8-bit colour. Colour is
/// converted to luminance, min-is-white is inverted, extra samples, orientation and further pages are left
/// out; notes say so. UnreadableError for a file that is damaged, cut off, too large or of another kind.
[[nodiscard]] Image readTiff(std::istream& file);

/// An uncompressed little-endian TIFF file of an image of any depth.
[[nodiscard]] std::vector<unsigned char> encodeTiff(const Image& image);

} // namespace app

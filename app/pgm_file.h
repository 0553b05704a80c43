/// \file
/// PGM files, plain (P2) and raw (P5), 8 and 16 bits.
#pragma once

#include "app/image.h"

#include <iosfwd>
#include <vector>

namespace app {

/// Reads the first image of a PGM file. A maximal value up to 255 gives an 8-bit image, one above a 16-bit
/// image; one that is neither 255 nor 65535 is white all the same, so pels are scaled to the whole range of
/// the depth and a note says so. UnreadableError for anything else than a whole image.
[[nodiscard]] Image readPgm(std::istream& file);

/// A raw (P5) file of an 8- or 16-bit image.
[[nodiscard]] std::vector<unsigned char> encodePgm(const Image& image);

} // namespace app

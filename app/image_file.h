/// \file
/// Image files of every kind that the tools know.
#pragma once

#include "app/atomic_file.h"
#include "app/image.h"

#include <filesystem>
#include <iosfwd>
#include <vector>

namespace app {

/// Reads a PNG, TIFF or PGM image, told apart by their content. Pipes are read too. UnreadableError with the
/// name and the reason.
[[nodiscard]] Image readImage(const std::filesystem::path& path);

/// The same from a seekable stream; the message has no name.
[[nodiscard]] Image readImage(std::istream& file);

/// UsageError unless the extension is .png, .tif, .tiff or .pgm (in any case) and that kind of file can hold
/// the depth.
void checkFormat(const std::filesystem::path& path, Depth depth);
/// The same where the depth is not known yet.
void checkFormat(const std::filesystem::path& path);

/// The bytes of a file with that name. UsageError as above.
[[nodiscard]] std::vector<unsigned char> encodeImage(const std::filesystem::path& path, const Image& image);

/// Writes an image in the format of the extension. UsageError as above, WriteError as writeFile.
void writeImage(const std::filesystem::path& path, const Image& image, Overwrite overwrite);

} // namespace app

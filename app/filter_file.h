/// \file
/// Filters in files: an archive with one filter of the library, by pointer.
#pragma once

#include "app/atomic_file.h"
#include "app/filters.h"

#include <filesystem>
#include <iosfwd>
#include <string>

namespace app {

/// UsageError unless the extension is .kav.
void checkFilterFormat(const std::filesystem::path& path);

/// What the file of one of the library's filters holds.
[[nodiscard]] std::string filterBytes(vxFrequencyFilter& filter);

/// Stores one of the library's filters. Throws as writeFile.
void writeFilter(const std::filesystem::path& path, vxFrequencyFilter& filter, Overwrite overwrite);

/// Loads a filter. UnreadableError with the name and the reason for a file that is damaged, holds anything
/// but one filter, or a filter that cannot be applied: not built, larger than any transform, with parameters
/// that checkFilter refuses, or with gains that are not finite.
[[nodiscard]] BuiltFilter readFilter(const std::filesystem::path& path);

/// The same from a stream; the message has no name.
[[nodiscard]] FilterPointer readFilter(std::istream& file);

/// Whether a stream begins as an archive does. The stream is left at its start.
[[nodiscard]] bool isArchive(std::istream& file);

} // namespace app

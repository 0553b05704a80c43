/// \file
/// Output files that are either the old one or the whole new one, whatever happens.
#pragma once

#include <filesystem>
#include <span>

namespace app {

/// What may happen to a file that is already there.
enum class Overwrite { refuse, force };

/// WriteError when `path` names a file that is there already and must not be overwritten, a directory, a file
/// without write permission, or something in a folder that is not there or cannot be written. For telling
/// before the work starts; writeFile checks again.
void checkWritable(const std::filesystem::path& path, Overwrite overwrite);

/// Writes a temporary file beside `path`, flushes it to the disk and renames it to `path`. A new file has the
/// permissions of any newly created file, a replaced one keeps its own; a symbolic link stays and its target
/// is replaced. On any failure, an exception of vxAttention::check among them, the temporary file is removed
/// and `path` is as it was. Throws WriteError with the name and the reason.
void writeFile(const std::filesystem::path& path, std::span<const unsigned char> bytes, Overwrite overwrite);

/// Whether both names lead to one existing file, through symbolic and hard links too.
[[nodiscard]] bool isSameFile(const std::filesystem::path& a, const std::filesystem::path& b);

} // namespace app

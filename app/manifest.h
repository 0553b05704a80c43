/// \file
/// What a batch has done so far, in a file beside its outputs.
#pragma once

#include <filesystem>
#include <iosfwd>
#include <map>
#include <string>

namespace app {

/// What became of one output.
struct ManifestEntry {
    std::string input; ///< The file's name as it was given.
    bool isDone = false;

    // Of one that is done: what it was made of and what came out. SHA-256s.
    std::string version;     ///< Of the program.
    std::string settings;    ///< Of the description in Manifest::settings.
    std::string inputHash;   ///< Of the input's content.
    std::string contentHash; ///< Of the output's.

    // Of one that failed.
    int exitCode = 0; ///< Which the program would have ended with for this file alone.
    std::string error;
};

struct Manifest {
    std::map<std::string, ManifestEntry> outputs; ///< By the output's name in the folder.
    /// What was done with images, as JSON, by the SHA-256 of its text.
    std::map<std::string, std::string> settings;
};

/// The manifest's name in the folder of the outputs.
inline constexpr const char* manifestName = "kavfilt-batch.json";

/// UnreadableError with the file's name for anything but a manifest.
[[nodiscard]] Manifest readManifest(const std::filesystem::path& path);

/// The same from a stream. The message has no name.
[[nodiscard]] Manifest readManifest(std::istream& file);

/// The manifest as a file holds it. Settings that no output refers to are left out.
[[nodiscard]] std::string manifestText(const Manifest& manifest);

/// Replaces the file whole. Throws as writeFile.
void writeManifest(const std::filesystem::path& path, const Manifest& manifest);

} // namespace app

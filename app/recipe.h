/// \file
/// Recipes: what is to be done with images, in a file of the user's.
///
/// A recipe is JSON and says nothing about the size of the images, so that one serves them all:
///
///     {
///       "kavfilt": 1,
///       "filter": {"type": "gabor-reject", "period": 8, "sigma": 0.01, "angle": 30},
///       "padding": "mirror",
///       "part": "real",
///       "range": "clip"
///     }
///
/// Frequencies and extents are cycles per pixel of the image in every direction, whatever its size and shape;
/// so are its angles those of the image.
#pragma once

#include "app/atomic_file.h"
#include "app/filtering.h"

#include <filesystem>
#include <iosfwd>
#include <string>

namespace app {

struct Recipe {
    /// Without the kernel's pels and without a filter built before: those are files of their own.
    FilterSettings settings;
    /// The kernel's file, empty where there is none. A relative name counts from the working directory; in
    /// the recipe's file it counts from the folder of that file.
    std::filesystem::path kernel;
};

/// Reads a recipe. UnreadableError with the file's name and, as a JSON pointer, the place of what is wrong:
/// no JSON, keys that are unknown, misplaced or there twice, values of a wrong type or out of range, values
/// that contradict each other, a version that this one does not read.
[[nodiscard]] Recipe readRecipe(const std::filesystem::path& path);

/// The same from a stream of a file in that folder. The message has no name.
[[nodiscard]] Recipe readRecipe(std::istream& file, const std::filesystem::path& folder = {});

/// Reads a recipe's kernel: what filterImage takes. UnreadableError.
[[nodiscard]] FilterSettings settingsOf(const Recipe& recipe);

/// The recipe as a file holds it. Frequencies stand as frequencies, not as periods; what is not set is left
/// out.
[[nodiscard]] std::string recipeText(const Recipe& recipe);

/// Writes a recipe that readRecipe gives back. UsageError unless the extension is .json; otherwise throws as
/// writeFile.
void writeRecipe(const std::filesystem::path& path, const Recipe& recipe, Overwrite overwrite);

} // namespace app

#include "app/recipe.h"

#include "app/errors.h"
#include "app/filter_file.h"
#include "app/input_file.h"
#include "app/recipe_code.h"
#include "app/words.h"
#include "tools/kavfilt/files.h"
#include "tools/kavfilt/options.h"
#include "tools/kavfilt/save.h"
#include "tools/kavfilt/verbs.h"

#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>

namespace {

struct Request {
    std::string input;
    Output output; ///< Without a path: the standard output.
    std::optional<vxPair<long>> imageSize;
    bool code = false;
};

app::Recipe fromFilter(const vxFrequencyFilter& filter) {
    app::Recipe recipe;
    recipe.settings.filter = app::describe(filter).value().parameters;
    return recipe;
}

// In one go, because a pipe can be read only once.
app::Recipe readAny(const std::filesystem::path& path) {
    bool isFilter = false;
    app::Recipe recipe = app::readInput(path, [&](std::istream& file) {
        isFilter = app::isArchive(file);
        return isFilter ? fromFilter(*app::readFilter(file)) : app::readRecipe(file, path.parent_path());
    });
    if (isFilter && recipe.settings.filter.type == "image") {
        throw app::UnreadableError("cannot make a recipe of " + path.string() +
                                   ": an image filter's file holds a spectrum, not the kernel");
    }
    return recipe;
}

void checkOptions(const Request& request) {
    const bool toFilter = std::filesystem::path(request.output.path).extension() == ".kav";
    if (request.code && !request.output.path.empty()) {
        throw app::UsageError("--cpp prints; it does not go with --output");
    }
    if (toFilter != request.imageSize.has_value()) {
        throw app::UsageError(toFilter ? "a .kav file is for one size of images: it needs --size"
                                       : "--size is for .kav files; recipes have none");
    }
}

void writeRecipe(const app::Recipe& recipe, const Output& output) {
    app::writeRecipe(output.path, recipe, output.overwrite());
    if (!output.quiet) {
        std::cout << app::oneLine(output.path) << ": " << recipe.settings.filter.type << " recipe, written\n";
    }
}

void convert(const Request& request) {
    checkOptions(request);
    if (request.imageSize) {
        checkSavable(*request.imageSize, request.output);
    }
    const app::Recipe recipe = readAny(request.input);
    if (request.imageSize) {
        saveFilter(app::settingsOf(recipe).filter, *request.imageSize, request.output);
    } else if (request.code) {
        std::cout << app::recipeCode(recipe, request.input);
    } else if (request.output.path.empty()) {
        std::cout << app::recipeText(recipe);
    } else {
        writeRecipe(recipe, request.output);
    }
}

constexpr const char* explanation = R"(Uses
  kavfilt recipe R.json                           check a recipe and print it
  kavfilt recipe R.json --cpp > filter.h          the same filter in C++, for the library
  kavfilt recipe R.json -o F.kav --size 640,480   the filter, built for one size of images
  kavfilt recipe F.kav -o R.json                  what a built filter was built from

Recipes
  A recipe says what is to be done with images of any size, for "kavfilt filter --recipe":
    {
      "kavfilt": 1,
      "filter": {"type": "gabor-reject", "period": 8, "sigma": 0.01, "angle": 30},
      "padding": "mirror",
      "part": "real",
      "range": "clip"
    }
  "kavfilt" is the version of the format, always 1, and "filter" is needed; the others are
    padding   "mirror" or "zero"
    part      "real", "magnitude", "angle" or "quadrant"
    range     "normalize" or "clip"
    depth     8, 16, "float" or "double"
  with the meanings and defaults of --pad, --part, --range and --depth. In "filter" stand
    type       "bandpass", "bandreject", "gabor", "gabor-reject" or "image"
    frequency  of the ring or the lobe in cycles per pixel, or instead of it
    period     what one cycle measures in pixels, 2 or more
    sigma      width of the fall-off in cycles per pixel; for lobes also [along, across]
    plateau    half-width of the flat top in cycles per pixel, likewise
    angle      of the lobe in degrees, 0 along x, 90 along y
    dc         radius in samples of the square around the DC; 1 is just the mean
    pair       true or false: the opposite lobe too
    kernel     the file of an image to convolve with, relative to the recipe's folder
    unit       true: the kernel is divided by the sum of its pels
  and which type needs and takes which is as with the options; "kavfilt filter --help"
  tells. Anything else is refused, with the place in the recipe.

  Cycles per pixel and angles are those of the image, in every direction and for images
  of every shape. (The library's rings are cut off above and below where a transform is
  taller than wide, so recipes filter such images on their side. The options do not.)

Built filters
  A .kav file holds the filter alone: no padding, part, range or depth, and one lobe of a
  pair. An image filter's file does not hold its kernel, so no recipe can be made of it.

C++
  --cpp prints a header with a class Filter that needs nothing but the library and filters
  to the same bits.)";

} // namespace

void addRecipeVerb(CLI::App& program) {
    CLI::App* verb = program.add_subcommand("recipe", "Check a recipe, or convert it to and from filters");
    const auto request = std::make_shared<Request>();
    verb->add_option("FILE", request->input, "a recipe, or a filter that \"kavfilt save\" made")->required();
    verb->add_option("-o,--output", request->output.path, "where to write; .json or .kav; default: print");
    verb->add_flag("--force", request->output.force, "overwrite the output if it exists");
    verb->add_flag("-q,--quiet", request->output.quiet, "do not report what was done");
    addOneOrTwo<long>(
        *verb, "--size", "width and height of the images that a .kav file will filter",
        [&size = request->imageSize](long width, long height) { size = vxPair<long>(width, height); });
    verb->add_flag("--cpp", request->code, "print C++ that builds the same filter");
    verb->footer(explanation);
    verb->callback([request] { convert(*request); });
}

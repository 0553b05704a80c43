// Any bytes are a recipe or refused with an UnreadableError; one that was read filters a small image, becomes
// C++, and can be written and read again, to the same recipe. The file of a kernel is not read: a kernel of
// this target's takes its place.
#include "app/errors.h"
#include "app/recipe.h"
#include "app/recipe_code.h"
#include "fuzz/support/target.h"

#include <sstream>
#include <string>

namespace {

using app::Recipe;

bool read(const std::string& text, Recipe& recipe) {
    std::istringstream file(text);
    try {
        return fuzz::attempt([&] { recipe = app::readRecipe(file); }) == fuzz::Outcome::done;
    } catch (const app::UnreadableError& error) {
        fuzz::require(fuzz::memoryIsScarce() || *error.what() != '\0', "an error has a text");
        return false;
    }
}

app::Image ramp(long width, long height) {
    app::Image image;
    image.name = "ramp";
    image.pels = vxPelBuffer<double>(width, height);
    for (long y = 0; y < height; ++y) {
        for (long x = 0; x < width; ++x) {
            image.pels.pointToRow(y)[x] = static_cast<double>(x * 9 + y * 17);
        }
    }
    return image;
}

/// Higher than wide, so that rings are whole only in an image on its side.
void filter(const Recipe& recipe) {
    const app::Image image = ramp(6, 13);
    app::FilterSettings settings = recipe.settings;
    if (!recipe.kernel.empty()) {
        settings.filter.kernel = ramp(3, 2);
    }
    app::FilterResult result;
    try {
        if (fuzz::attempt([&] { result = app::filterImage(image, settings); }) != fuzz::Outcome::done) {
            return;
        }
    } catch (const app::UsageError&) { // A square around the DC or a range that this image does not take.
        return;
    }
    fuzz::require(result.image.pels.width() == 6 && result.image.pels.height() == 13, "the image's size");
    fuzz::require(app::statistics(result.image.pels).notFinite == 0, "the result's pels are finite");
}

/// Whatever the recipe is called, its name stays within the first comment.
void makeCode(const Recipe& recipe, const std::string& origin) {
    std::string code;
    if (fuzz::attempt([&] { code = app::recipeCode(recipe, origin); }) != fuzz::Outcome::done) {
        return;
    }
    const std::size_t pragma = code.find("\n#pragma once\n");
    fuzz::require(pragma != std::string::npos, "the code is a header");
    std::istringstream comment(code.substr(0, pragma));
    for (std::string line; std::getline(comment, line);) {
        fuzz::require(line.starts_with("//"), "the code starts with its comment");
    }
}

bool isSame(double a, double b) {
    return !(a < b) && !(a > b);
}

bool isSame(const app::Extents& a, const app::Extents& b) {
    return isSame(a.along, b.along) && isSame(a.across, b.across);
}

bool isSame(const app::FilterParameters& a, const app::FilterParameters& b) {
    return a.type == b.type && isSame(a.frequency, b.frequency) && isSame(a.sigma, b.sigma) &&
           isSame(a.plateau, b.plateau) && a.dcRadius == b.dcRadius && a.angle == b.angle &&
           a.pair == b.pair && a.kernelScale == b.kernelScale && !a.kernel && !b.kernel && !a.built &&
           !b.built;
}

bool isSame(const Recipe& a, const Recipe& b) {
    return a.kernel == b.kernel && isSame(a.settings.filter, b.settings.filter) &&
           a.settings.padding == b.settings.padding && a.settings.part == b.settings.part &&
           a.settings.range == b.settings.range && a.settings.depth == b.settings.depth &&
           a.settings.raw == b.settings.raw && a.settings.wholeRings == b.settings.wholeRings;
}

void rewrite(const Recipe& recipe) {
    std::string text;
    if (fuzz::attempt([&] { text = app::recipeText(recipe); }) != fuzz::Outcome::done) {
        return;
    }
    Recipe back;
    if (!read(text, back)) {
        fuzz::require(fuzz::memoryIsScarce(), "what was written can be read");
        return;
    }
    fuzz::require(isSame(recipe, back), "the same recipe");
    fuzz::require(app::recipeText(back) == text, "the same text a second time");
}

} // namespace

void fuzz::run(Bytes input) {
    const std::string text = input.text();
    Recipe recipe;
    if (!read(text, recipe)) {
        return;
    }
    filter(recipe);
    makeCode(recipe, text);
    rewrite(recipe);
}

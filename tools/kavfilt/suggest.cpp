#include "app/errors.h"
#include "app/image_file.h"
#include "app/json.h"
#include "app/recipe.h"
#include "app/suggestion.h"
#include "app/words.h"
#include "tools/kavfilt/files.h"
#include "tools/kavfilt/verbs.h"

#include <cstdio>
#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>
#include <utility>

namespace {

namespace fs = std::filesystem;
using Peaks = std::vector<app::SpectralPeak>;

struct Request {
    std::string input;
    std::string type = "gabor-reject";
    app::PeakSearch search;
    bool json = false;
    std::optional<std::size_t> recipe; ///< Counted from 1.
    Output output;                     ///< A file for one recipe, or a folder for all.
};

std::optional<app::Recipe> recipeFor(const app::SpectralPeak& peak, const Request& request,
                                     const app::Image& image) {
    std::optional<app::FilterParameters> filter = app::suggestedFilter(peak, request.type);
    if (!filter) {
        return std::nullopt;
    }
    app::Recipe recipe;
    recipe.settings.filter = *filter;
    // What a reject filter leaves keeps its grey levels; what a pass filter keeps lies around zero.
    if (app::traits(image.depth).isInteger && request.type.ends_with("reject")) {
        recipe.settings.range = app::Range::clip;
    }
    return recipe;
}

app::Recipe chosenRecipe(const Peaks& peaks, const Request& request, const app::Image& image) {
    const std::size_t number = *request.recipe;
    if (number < 1 || number > peaks.size()) {
        throw app::UsageError("there is no peak " + std::to_string(number) + ": " + image.name + " has " +
                              app::count(static_cast<long>(peaks.size()), "peak") + " above " +
                              app::number(request.search.prominence) + " dB");
    }
    const std::optional<app::Recipe> recipe = recipeFor(peaks[number - 1], request, image);
    if (!recipe) {
        throw app::UsageError("peak " + std::to_string(number) + " has no recipe: its frequency, " +
                              app::number(peaks[number - 1].frequency) + ", is above 0.5");
    }
    return *recipe;
}

std::string inColumns(std::size_t number, const app::SpectralPeak& peak) {
    char text[96];
    std::snprintf(text, sizeof text, "%4zu  %9.5f  %8.3f  %7.2f  %9.2f  %7.1f dB", number, peak.frequency,
                  1 / peak.frequency, peak.angle, peak.amplitude, peak.prominence);
    return text;
}

void printTable(const Peaks& peaks, const Request& request, const app::Image& image) {
    printInput(image);
    if (peaks.empty()) {
        std::cout << "  no peak above " << app::number(request.search.prominence) << " dB\n";
        return;
    }
    std::cout << "peak  frequency    period    angle  amplitude  prominence\n";
    for (std::size_t i = 0; i < peaks.size(); ++i) {
        std::cout << inColumns(i + 1, peaks[i]);
        if (peaks[i].harmonic) {
            std::cout << "  harmonic " << peaks[i].harmonic->order << " of peak "
                      << peaks[i].harmonic->of + 1;
        }
        std::cout << '\n';
    }
}

app::Json asJson(const app::Harmonic& harmonic) {
    app::Json::Object object;
    set(object, "of", app::Json(static_cast<long>(harmonic.of) + 1));
    set(object, "order", app::Json(harmonic.order));
    return app::Json(std::move(object));
}

app::Json asJson(const app::SpectralPeak& peak, std::size_t index, const std::optional<app::Recipe>& recipe) {
    app::Json::Object object;
    set(object, "number", app::Json(static_cast<long>(index) + 1));
    set(object, "frequency", app::Json(peak.frequency));
    set(object, "period", app::Json(1 / peak.frequency));
    set(object, "angle", app::Json(peak.angle));
    set(object, "amplitude", app::Json(peak.amplitude));
    set(object, "prominence", app::Json(peak.prominence));
    set(object, "harmonic", peak.harmonic ? asJson(*peak.harmonic) : app::Json());
    set(object, "recipe", recipe ? app::parseJson(app::recipeText(*recipe)) : app::Json());
    return app::Json(std::move(object));
}

void printJson(const Peaks& peaks, const Request& request, const app::Image& image) {
    app::Json::Array list;
    for (std::size_t i = 0; i < peaks.size(); ++i) {
        list.push_back(asJson(peaks[i], i, recipeFor(peaks[i], request, image)));
    }
    app::Json::Object object;
    set(object, "file", app::Json(image.name));
    set(object, "width", app::Json(image.pels.width()));
    set(object, "height", app::Json(image.pels.height()));
    set(object, "peaks", app::Json(std::move(list)));
    app::JsonStyle style;
    style.isIndented = true;
    std::cout << app::jsonText(app::Json(std::move(object)), style) << '\n';
}

// All that there are, or none if one cannot be written. Returns the report.
std::string writeRecipes(const Peaks& peaks, const Request& request, const app::Image& image) {
    const fs::path folder = request.output.path;
    std::error_code error;
    fs::create_directories(folder, error);
    if (error) {
        throw app::WriteError("cannot make the folder " + folder.string() + ": " + error.message());
    }
    std::vector<std::pair<fs::path, app::Recipe>> files;
    for (std::size_t i = 0; i < peaks.size(); ++i) {
        if (const std::optional<app::Recipe> recipe = recipeFor(peaks[i], request, image)) {
            files.emplace_back(folder / (std::to_string(i + 1) + ".json"), *recipe);
            app::checkWritable(files.back().first, request.output.overwrite());
        }
    }
    for (const auto& [path, recipe] : files) {
        app::writeRecipe(path, recipe, request.output.overwrite());
    }
    return app::oneLine(folder.string()) + ": " + app::count(static_cast<long>(files.size()), "recipe") +
           ", written\n";
}

void giveRecipe(const Peaks& peaks, const Request& request, const app::Image& image) {
    const app::Recipe recipe = chosenRecipe(peaks, request, image);
    const std::string& path = request.output.path;
    if (path.empty()) {
        std::cout << app::recipeText(recipe);
        return;
    }
    app::writeRecipe(path, recipe, request.output.overwrite());
    if (!request.output.quiet) {
        std::cout << app::oneLine(path) << ": recipe for peak " << *request.recipe << ", written\n";
    }
}

void suggest(const Request& request) {
    const app::Image image = app::readImage(request.input);
    const Peaks peaks = app::findPeaks(image, request.search);
    if (request.recipe) {
        giveRecipe(peaks, request, image);
        return;
    }
    const std::string written = request.output.path.empty() ? "" : writeRecipes(peaks, request, image);
    if (request.json) {
        printJson(peaks, request, image);
    } else if (!request.output.quiet) {
        printTable(peaks, request, image);
        std::cout << written;
    }
}

constexpr const char* explanation = R"(The peaks
  A pattern that repeats shows as peaks of the image's spectrum, one for each wave that it
  is made of. They are listed by amplitude, the strongest first.

  frequency   in cycles per pixel, and the period that goes with it in pixels
  angle       in degrees, as for "kavfilt filter": 0 changes along x (upright stripes), 90
              along y (lying stripes), 45 from the upper left to the lower right
  amplitude   of the wave, in grey levels: half of what lies between its light and dark
  prominence  of the peak's power over the background around it, in dB. Noise stays
              below 12 dB, so that it lists nothing.
  harmonic    the peak lies at a multiple of another one's frequency: stripes that are no
              sine waves have several

  Frequencies are right to a tenth of a bin (1 / width or 1 / height cycles per pixel)
  even under noise that is as strong as the wave. Left out are waves of less than three
  periods from border to border, amplitudes that rounding to grey levels makes by itself
  (below 0.4), and the weaker of two peaks within four bins.

The recipes
  Each peak becomes a recipe for "kavfilt filter --recipe", gabor-reject unless --type
  says otherwise: its middle is the peak, its sigma the largest of 1/24 of the frequency,
  two bins, and what a peak wider than a wave's needs. The JSON output holds them all,
  -o DIR writes them as DIR/1.json, DIR/2.json and so on; --recipe 2 prints that of the
  second peak, or writes it with -o FILE.json. Filters reach up to 0.5 cycles per pixel;
  peaks beyond, which lie along diagonals, have none.

    kavfilt suggest striped.png
    kavfilt suggest striped.png --recipe 1 -o stripe.json
    kavfilt filter striped.png -o clean.png --recipe stripe.json)";

} // namespace

void addSuggestVerb(CLI::App& program) {
    CLI::App* verb = program.add_subcommand("suggest", "Find regular patterns and the filters for them");
    const auto request = std::make_shared<Request>();
    verb->add_option("IN", request->input, "the image, PNG, TIFF or PGM")->required();
    verb->add_option("--type", request->type, "the filter of the recipes; default gabor-reject")
        ->check(CLI::IsMember({"gabor-reject", "gabor", "bandreject", "bandpass"}));
    verb->add_option("--count", request->search.count, "how many peaks to list at most; default 10");
    verb->add_option("--prominence", request->search.prominence,
                     "how many dB a peak stands over the background at least; default 15")
        ->check(CLI::Range(0.0, 1000.0));
    CLI::Option* const json = verb->add_flag("--json", request->json, "print a JSON object");
    verb->add_option("--recipe", request->recipe, "give the recipe of that peak only")->excludes(json);
    verb->add_option("-o,--output", request->output.path,
                     "the folder for the recipes; with --recipe the file for one, .json");
    verb->add_flag("--force", request->output.force, "overwrite recipes that exist");
    verb->add_flag("-q,--quiet", request->output.quiet, "do not report what was found and written");
    verb->footer(explanation);
    verb->callback([request] { suggest(*request); });
}

#include "app/errors.h"
#include "app/filter_file.h"
#include "app/filtering.h"
#include "app/recipe.h"
#include "app/tiles.h"
#include "app/words.h"
#include "tools/kavfilt/batch.h"
#include "tools/kavfilt/files.h"
#include "tools/kavfilt/filter_options.h"
#include "tools/kavfilt/options.h"
#include "tools/kavfilt/verbs.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <iostream>
#include <memory>
#include <thread>

namespace {

struct Request {
    std::vector<std::string> inputs;
    Output output;
    FilterOptions filter;
    std::string filterFile;
    std::string recipeFile;
    std::optional<bool> pair;
    app::FilterSettings settings; ///< Without the filter, or a recipe's.
    std::optional<std::string> format;
    unsigned jobs = std::clamp(std::thread::hardware_concurrency(), 1U, app::mostJobs);
    bool json = false;
    bool tile = false;
};

void printReport(const Request& request, const app::Image& input, const app::FilterResult& result) {
    printInput(input);
    std::cout << "  transform " << app::size(result.transform.x(), result.transform.y()) << '\n'
              << "  result " << app::number(result.minimum) << " .. " << app::number(result.maximum) << ", "
              << result.range << '\n';
    printOutput(request.output, result.image.depth);
}

void checkOptions(const CLI::App& verb, const Request& request) {
    if (verb.count("--type") + verb.count("--filter") + verb.count("--recipe") != 1) {
        throw app::UsageError("the filter is one of --type, --filter and --recipe");
    }
    if (!request.recipeFile.empty()) {
        checkNoFilterOptions(verb, "--recipe");
        for (const char* const option : {"--pad", "--part", "--range", "--depth", "--raw"}) {
            if (verb.count(option) > 0) {
                throw app::UsageError(std::string(option) + " does not go with --recipe, which says it");
            }
        }
    } else if (!request.filterFile.empty()) {
        checkNoFilterOptions(verb, "--filter");
    } else {
        checkFilterOptions(verb, request.filter);
    }
    app::checkSettings(request.settings);
}

app::FilterSettings settingsOf(const Request& request) {
    if (!request.recipeFile.empty()) {
        return app::settingsOf(app::readRecipe(request.recipeFile));
    }
    app::FilterSettings settings = request.settings;
    if (request.filterFile.empty()) {
        settings.filter = completed(request.filter);
    } else {
        settings.filter.built = app::readFilter(request.filterFile);
    }
    settings.filter.pair = request.pair;
    return settings;
}

// What was done with one image, in the form of a batch's outcome.
void printJson(const Request& request, const app::Image& input, const app::FilterResult& result) {
    app::BatchOutcome outcome;
    outcome.input = request.inputs.front();
    outcome.output = request.output.path;
    outcome.status = app::BatchOutcome::Status::done;
    outcome.source.notes = input.notes;
    outcome.size = {input.pels.width(), input.pels.height()};
    outcome.result = result;
    std::cout << asJson(outcome) << '\n';
}

app::Image readInput(const std::string& path, bool tile) {
    const app::SizeLimitScope limit(tile ? app::tiledLimit()
                                         : app::SizeLimit{app::maximumSize, "; --tile filters larger ones"});
    return app::readImage(path);
}

// Everything that can be refused is refused before the work, the cheapest first.
void filterOne(const Request& request) {
    const std::string& name = request.inputs.front();
    if (request.format) {
        throw app::UsageError("--format is for outputs in a directory; the name " + request.output.path +
                              " says the format");
    }
    checkOutput(request.output, {name});
    const app::FilterSettings settings = settingsOf(request);
    const app::Image input = readInput(name, request.tile);
    app::checkFormat(request.output.path, settings.depth.value_or(input.depth));
    const app::FilterResult result =
        request.tile ? app::filterTiled(input, settings) : app::filterImage(input, settings);
    app::writeImage(request.output.path, result.image, request.output.overwrite());
    if (request.json) {
        printJson(request, input, result);
    } else if (!request.output.quiet) {
        printReport(request, input, result);
    }
}

void filterMany(const Request& request) {
    if (request.tile) {
        throw app::UsageError("--tile is for one image at a time");
    }
    BatchRequest batch;
    batch.inputs = request.inputs;
    batch.settings.folder = request.output.path;
    batch.settings.format = request.format.value_or("");
    batch.settings.jobs = request.jobs;
    batch.settings.overwrite = request.output.overwrite();
    batch.settings.version = KAV_VERSION;
    batch.quiet = request.output.quiet;
    batch.json = request.json;
    batch.settings.filter = settingsOf(request);
    filterBatch(batch);
}

bool isImageName(const std::string& path) {
    try {
        app::checkFormat(path);
        return true;
    } catch (const app::UsageError&) {
        return false;
    }
}

// A directory named as an image is a slip of the hand unless a slash says that it is meant.
bool isFolder(const std::string& path) {
    return path.ends_with('/') || (std::filesystem::is_directory(path) && !isImageName(path));
}

void filter(const CLI::App& verb, const Request& request) {
    checkOptions(verb, request);
    const bool toFolder = isFolder(request.output.path);
    const bool several = request.inputs.size() > 1;
    if (several && !toFolder && isImageName(request.output.path)) {
        throw app::UsageError("several images need a directory as output, not " + request.output.path);
    }
    if (several || toFolder) {
        filterMany(request);
    } else {
        filterOne(request);
    }
}

constexpr const char* explanation = R"(
Inputs
  Formats are told by the content, not the name. Colour is converted to luminance
  (Rec. 709 weights), transparency is left out, palettes are looked up, pels of 1, 2
  and 4 bits and PGM pels of another maximal value are scaled to the whole range of 8
  or 16 bits; of several pages the first is read. The report says so.

Range of the result (8- and 16-bit outputs)
  --range normalize  the smallest value becomes black and the largest white.
  --range clip       values keep their size and are cut off at black and white. If
                     the filter removes the mean (leaves less than half of it), so
                     that values lie around zero, mid-grey (128 or 32768) is added
                     first. If input and output are of different integer depths,
                     values are scaled by the ratio of their whites.
  Angles and quadrants have a known range and fill the pels': -pi becomes black and pi
  white, quadrant 0 black and 3 white (8-bit pels 0, 85, 170, 255). A quadrant is 1 where
  the real part of the result is negative, plus 2 where the imaginary part is.
  Floating-point outputs hold the values as they are, signs included: angles in radians,
  quadrants as 0 .. 3.

Filters from files
  --filter F.kav takes a filter that "kavfilt save" made, for images whose transform has
  the size that it was made for. Lobes are stored alone: --pair and --no-pair say here
  what they say with --type, with the same defaults.

Recipes
  --recipe R.json takes a file that says what is to be done, instead of the options
  --type, --pad, --part, --range, --depth and theirs:
    {"kavfilt": 1, "filter": {"type": "gabor-reject", "period": 8, "sigma": 0.01,
     "angle": 30}, "padding": "mirror", "part": "real", "range": "clip"}
  "kavfilt recipe --help" tells the keys.

Many images
  With several images, or a directory as output, each becomes a file of the same name in
  the directory, which is made if it is missing; --format gives them another extension.
  --jobs N works on N images at a time and holds no more in memory: some 140 to 210 MB
  for each of 2048 x 2048 pels, more for very wide lobes. Results do not depend on it.
  A file that fails does not stop the others; the exit code is 1 then. Ctrl-C leaves whole
  files only.
  kavfilt-batch.json in the directory lists what became of each output. The same command
  once more goes on where the last one stopped: outputs that are finished, from the same
  input content, settings and version, are skipped. Other files are overwritten only with
  --force, an input never.
  --json prints an object per file, as it is finished:
    {"input":"a.png","output":"out/a.png","status":"done","size":[640,480], ...}
    {"input":"b.png","output":"out/b.png","status":"skipped"}
    {"input":"c.png","output":"out/c.png","status":"failed","exitCode":3,"error":"..."}

Padding
  Sizes are rounded up to powers of two. --pad mirror extends the image by reflection
  at its borders, so that no edge appears there; --pad zero extends it with zeros. The
  result is cropped to the size of the input in any case.

Large images
  --tile filters one image above 2048 x 2048 pels, up to 16384 x 16384, in overlapping
  tiles that fade over into each other. Beyond the image lies its reflection (or zeros,
  --pad zero); parts and ranges are those of the whole image. It takes 32 bytes of memory
  for each pel. The filter must not spread a pel over more than 768 pels: sigma is at least
  0.00083. Off the borders, results are those of one transform up to 0.1 % of the range of
  the image's pels; the opposite lobe of a pair lies within one sample, 1/2048 cycles per
  pixel, of its place. A --dc of 1 is about the mean of the image; larger ones count
  samples of one transform and are refused.

--raw is the library and nothing else: zero padding, magnitudes, which integer depths
hold rounded and modulo 256 or 65536, or normalised with --range normalize. The filter
is the same.)";

} // namespace

void addFilterVerb(CLI::App& program) {
    CLI::App* verb = program.add_subcommand("filter", "Filter an image in the frequency domain");
    const auto request = std::make_shared<Request>();
    app::FilterSettings& settings = request->settings;
    verb->add_option("IN", request->inputs, "the image or images, PNG, TIFF or PGM")->required();
    addOutput(*verb, request->output, "where to write the result; .png, .tif, .tiff or .pgm, or a directory");
    addFilterOptions(*verb, request->filter);
    // A function, because CLI sets the variable of a flag to false when the flag is not given.
    verb->add_flag_function(
        "--pair,!--no-pair", [&pair = request->pair](std::int64_t count) { pair = count > 0; },
        "treat the opposite lobe too or not; default: for gabor-reject only");
    verb->add_option("--filter", request->filterFile, "a filter from a file instead of --type");
    verb->add_option("--recipe", request->recipeFile,
                     "all that is to be done, from a file, instead of options");
    addChoice<app::Padding>(*verb, "--pad", settings.padding,
                            {{"mirror", app::Padding::mirror}, {"zero", app::Padding::zero}},
                            "how to fill up to the transform's size; default mirror");
    addChoice<app::Part>(*verb, "--part", settings.part,
                         {{"real", app::Part::real},
                          {"magnitude", app::Part::magnitude},
                          {"angle", app::Part::angle},
                          {"quadrant", app::Part::quadrant}},
                         "what of the result, which is complex if the filter is one lobe; default real");
    addChoice<app::Range>(*verb, "--range", settings.range,
                          {{"normalize", app::Range::normalize}, {"clip", app::Range::clip}},
                          "how to bring the result into the range of pels; default normalize");
    addDepth(*verb, settings.depth);
    verb->add_flag("--raw", settings.raw, "the library's own padding and reader, nothing on top");
    verb->add_option("--jobs", request->jobs, "how many images at a time; default: one per processor")
        ->check(CLI::Range(1U, app::mostJobs));
    addChoice<std::string>(*verb, "--format", request->format,
                           {{"png", ".png"}, {"tif", ".tif"}, {"pgm", ".pgm"}},
                           "of outputs in a directory; default: as the inputs are named");
    verb->add_flag("--json", request->json, "report in JSON, an object per image");
    verb->add_flag("--tile", request->tile, "filter in tiles, for images above 2048 x 2048");
    verb->footer(std::string(filterOptionsExplanation) + explanation);
    verb->callback([verb, request] { filter(*verb, *request); });
}

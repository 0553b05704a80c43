#include "app/errors.h"
#include "app/filter_file.h"
#include "app/filtering.h"
#include "app/words.h"
#include "tools/kavfilt/files.h"
#include "tools/kavfilt/filter_options.h"
#include "tools/kavfilt/options.h"
#include "tools/kavfilt/verbs.h"

#include <cstdint>
#include <iostream>
#include <memory>

namespace {

struct Request {
    std::string input;
    Output output;
    FilterOptions filter;
    std::string filterFile;
    std::optional<bool> pair;
    app::FilterSettings settings; ///< Without the filter.
};

void printReport(const Request& request, const app::Image& input, const app::FilterResult& result) {
    printInput(input);
    std::cout << "  transform " << app::size(result.transform.x(), result.transform.y()) << '\n'
              << "  result " << app::number(result.minimum) << " .. " << app::number(result.maximum) << ", "
              << result.range << '\n';
    printOutput(request.output, result.image.depth);
}

void checkOptions(const CLI::App& verb, const Request& request) {
    if (verb.count("--type") + verb.count("--filter") != 1) {
        throw app::UsageError("the filter is either --type or --filter, one of the two");
    }
    if (request.filterFile.empty()) {
        checkFilterOptions(verb, request.filter);
    } else {
        checkNoFilterOptions(verb);
    }
    app::checkSettings(request.settings);
}

app::FilterParameters filterOf(const Request& request) {
    app::FilterParameters filter;
    if (request.filterFile.empty()) {
        filter = completed(request.filter);
    } else {
        filter.built = app::readFilter(request.filterFile);
    }
    filter.pair = request.pair;
    return filter;
}

// Everything that can be refused is refused before the work, the cheapest first.
void filter(const CLI::App& verb, Request& request) {
    checkOptions(verb, request);
    checkOutput(request.output, {request.input});
    request.settings.filter = filterOf(request);
    const app::Image input = app::readImage(request.input);
    app::checkFormat(request.output.path, request.settings.depth.value_or(input.depth));
    const app::FilterResult result = app::filterImage(input, request.settings);
    app::writeImage(request.output.path, result.image, request.output.overwrite());
    if (!request.output.quiet) {
        printReport(request, input, result);
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

Padding
  Sizes are rounded up to powers of two. --pad mirror extends the image by reflection
  at its borders, so that no edge appears there; --pad zero extends it with zeros. The
  result is cropped to the size of the input in any case.

--raw is the library and nothing else: zero padding, magnitudes, which integer depths
hold rounded and modulo 256 or 65536, or normalised with --range normalize. The filter
is the same.)";

} // namespace

void addFilterVerb(CLI::App& program) {
    CLI::App* verb = program.add_subcommand("filter", "Filter an image in the frequency domain");
    const auto request = std::make_shared<Request>();
    app::FilterSettings& settings = request->settings;
    verb->add_option("IN", request->input, "the image, PNG, TIFF or PGM")->required();
    addOutput(*verb, request->output);
    addFilterOptions(*verb, request->filter);
    // A function, because CLI sets the variable of a flag to false when the flag is not given.
    verb->add_flag_function(
        "--pair,!--no-pair", [&pair = request->pair](std::int64_t count) { pair = count > 0; },
        "treat the opposite lobe too or not; default: for gabor-reject only");
    verb->add_option("--filter", request->filterFile, "a filter from a file instead of --type");
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
    verb->footer(std::string(filterOptionsExplanation) + explanation);
    verb->callback([verb, request] { filter(*verb, *request); });
}

#include "app/errors.h"
#include "app/recipes.h"
#include "app/words.h"
#include "tools/kavfilt/files.h"
#include "tools/kavfilt/options.h"
#include "tools/kavfilt/verbs.h"

#include <iostream>
#include <memory>

namespace {

struct Request {
    std::string input;
    Output output;
    app::FilterSettings settings;
};

void printReport(const Request& request, const app::Image& input, const app::FilterResult& result) {
    printInput(input);
    std::cout << "  transform " << app::size(result.transform.x(), result.transform.y()) << '\n'
              << "  result " << app::number(result.minimum) << " .. " << app::number(result.maximum) << ", "
              << result.range << '\n';
    printOutput(request.output, result.image.depth);
}

// Everything that can be refused is refused before the work, the cheapest first.
void filter(const Request& request) {
    app::checkSettings(request.settings);
    checkOutput(request.output, {request.input});
    const app::Image input = app::readImage(request.input);
    app::checkFormat(request.output.path, request.settings.depth.value_or(input.depth));
    const app::FilterResult result = app::filterImage(input, request.settings);
    app::writeImage(request.output.path, result.image, request.output.overwrite());
    if (!request.output.quiet) {
        printReport(request, input, result);
    }
}

constexpr const char* explanation = R"(Units
  --frequency is the radius of the pass band, in cycles per pixel along x of the
  transform: 0.1 keeps what repeats about every 10 pixels, in every direction; 0.5
  is the finest pattern that pixels can hold. --sigma and --plateau are fractions of
  the filter width, which is the width of the transform: a sigma of 0.02 is
  0.02 * 512 = 10.24 samples of a 512 wide spectrum, or 0.02 cycles per pixel at any
  size. Gains are 1 within the plateau on either side of the radius and fall off
  beyond it as a Gaussian of that sigma. --dc R clears the (2R - 1) x (2R - 1) samples
  around the DC, so 1 removes just the mean.

Range of the result (8- and 16-bit outputs)
  --range normalize  the smallest value becomes black and the largest white.
  --range clip       values keep their size and are cut off at black and white. If
                     the filter removes the mean, so that values lie around zero,
                     mid-grey (128 or 32768) is added first. If input and output are
                     of different integer depths, values are scaled by the ratio of
                     their whites.
  Floating-point outputs hold the values as they are, signs included.

Padding
  Sizes are rounded up to powers of two. --pad mirror extends the image by reflection
  at its borders, so that no edge appears there; --pad zero extends it with zeros. The
  result is cropped to the size of the input in any case.

--raw is the library and nothing else: zero padding, magnitudes, which integer depths
hold rounded and modulo 256 or 65536, or normalised with --range normalize.)";

} // namespace

void addFilterVerb(CLI::App& program) {
    CLI::App* verb = program.add_subcommand("filter", "Filter an image in the frequency domain");
    const auto request = std::make_shared<Request>();
    app::FilterSettings& settings = request->settings;
    verb->add_option("IN", request->input, "the image, PNG, TIFF or PGM")->required();
    addOutput(*verb, request->output);
    verb->add_option("--type", settings.filter.type, "the kind of filter")
        ->required()
        ->check(CLI::IsMember(app::filterTypes()));
    verb->add_option("--frequency", settings.filter.frequency,
                     "radius of the band, 0 to 0.5 cycles per pixel")
        ->required();
    verb->add_option("--sigma", settings.filter.sigma, "width of the fall-off, above 0, up to 1")->required();
    verb->add_option("--plateau", settings.filter.plateau, "half-width of the flat top, 0 to 1; default 0");
    verb->add_option("--dc", settings.filter.dcRadius,
                     "radius of the square cleared around the DC; default 0, none");
    addChoice<app::Padding>(*verb, "--pad", settings.padding,
                            {{"mirror", app::Padding::mirror}, {"zero", app::Padding::zero}},
                            "how to fill up to the transform's size; default mirror");
    addChoice<app::Part>(*verb, "--part", settings.part,
                         {{"real", app::Part::real}, {"magnitude", app::Part::magnitude}},
                         "keep the sign of the result or not; default real");
    addChoice<app::Range>(*verb, "--range", settings.range,
                          {{"normalize", app::Range::normalize}, {"clip", app::Range::clip}},
                          "how to bring the result into the range of pels; default normalize");
    addDepth(*verb, settings.depth);
    verb->add_flag("--raw", settings.raw, "the library's own padding and reader, nothing on top");
    verb->footer(explanation);
    verb->callback([request] { filter(*request); });
}

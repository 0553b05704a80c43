#include "app/display.h"
#include "app/filtering.h"
#include "app/words.h"
#include "tools/kavfilt/files.h"
#include "tools/kavfilt/options.h"
#include "tools/kavfilt/verbs.h"

#include <iostream>
#include <memory>

namespace {

using app::Mapping;
using app::View;

struct Request {
    std::string input;
    Output output;
    std::optional<app::Padding> padding;
    std::optional<View> view;
    app::ViewSettings settings;
};

void spectrum(const Request& request) {
    app::ViewSettings settings = request.settings;
    settings.view = request.view.value_or(View::magnitude);
    app::checkSettings(settings);
    checkOutput(request.output, {request.input});
    app::checkFormat(request.output.path, settings.depth.value_or(app::Depth::bits8));
    const app::Image input = app::readImage(request.input);
    const vxFrequencyBuffer samples = app::spectrumOf(input, request.padding.value_or(app::Padding::mirror));
    const app::ViewResult result = app::viewSpectrum(samples, settings);
    app::writeImage(request.output.path, result.image, request.output.overwrite());
    if (!request.output.quiet) {
        printInput(input);
        std::cout << "  transform " << app::size(samples.width(), samples.height()) << '\n'
                  << "  values " << app::number(result.minimum) << " .. " << app::number(result.maximum)
                  << ", at the DC " << app::number(result.atDc) << '\n';
        printOutput(request.output, result.image.depth);
    }
}

constexpr const char* explanation = R"(The picture
  One pel for each sample of the spectrum, which has the transform's size: that of the
  image, rounded up to powers of two. The DC lies in the middle, at (width/2, height/2);
  a pattern that repeats every 10 pixels along x shows width/10 to its left and right.
  With --corner the DC lies at the upper left and frequencies follow as they are stored.

From values to grey (8-bit outputs). Every mapping saturates; none wraps.
  --map log     0 is black, the largest magnitude white, logarithmic from well below
                the median on. Real and imaginary parts: 0 is mid-grey, negative
                values are darker, positive ones brighter. The default but for phases.
  --map linear  0 is black (real and imaginary parts: mid-grey); one sample in a
                thousand, and the DC, is white. For a range of your own: --map range.
  --map range   --min is black, --max white.
  --map clip    the value itself, cut off at 0 and 255.
  --map angle   phases only, and their default: 0 is black, 2 pi white.

--depth float and --depth double write the values themselves, into a .tif file: samples
of the unnormalised spectrum, phases in radians, 0 to 2 pi.)";

} // namespace

void addSpectrumVerb(CLI::App& program) {
    CLI::App* verb = program.add_subcommand("spectrum", "Make a picture of an image's spectrum");
    const auto request = std::make_shared<Request>();
    app::ViewSettings& settings = request->settings;
    verb->add_option("IN", request->input, "the image, PNG, TIFF or PGM")->required();
    addOutput(*verb, request->output);
    addChoice<View>(*verb, "--view", request->view,
                    {{"magnitude", View::magnitude},
                     {"phase", View::phase},
                     {"real", View::real},
                     {"imaginary", View::imaginary}},
                    "what of the samples to show; default magnitude");
    addChoice<Mapping>(*verb, "--map", settings.mapping,
                       {{"log", Mapping::log},
                        {"linear", Mapping::linear},
                        {"range", Mapping::range},
                        {"clip", Mapping::clip},
                        {"angle", Mapping::angle}},
                       "from values to grey; default log, of phases angle");
    verb->add_option("--min", settings.minimum, "the value that --map range makes black");
    verb->add_option("--max", settings.maximum, "the value that --map range makes white");
    verb->add_flag("--corner", settings.dcInCorner, "the DC at the upper left instead of the middle");
    addPadding(*verb, request->padding);
    addChoice<app::Depth>(
        *verb, "--depth", settings.depth,
        {{"8", app::Depth::bits8}, {"float", app::Depth::float32}, {"double", app::Depth::float64}},
        "a picture, or the values themselves; default 8");
    verb->footer(explanation);
    verb->callback([request] { spectrum(*request); });
}

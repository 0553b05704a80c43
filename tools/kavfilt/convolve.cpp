#include "app/convolution.h"
#include "app/words.h"
#include "tools/kavfilt/files.h"
#include "tools/kavfilt/options.h"
#include "tools/kavfilt/verbs.h"

#include <iostream>
#include <memory>

namespace {

struct Request {
    std::string image;
    std::string kernel;
    Output output;
    std::optional<app::Padding> padding;
    app::ConvolutionSettings settings;
};

void convolve(const Request& request) {
    app::ConvolutionSettings settings = request.settings;
    settings.padding = request.padding.value_or(app::Padding::mirror);
    checkOutput(request.output, {request.image, request.kernel});
    const app::Image image = app::readImage(request.image);
    app::checkFormat(request.output.path, settings.depth.value_or(image.depth));
    const app::Image kernel = app::readImage(request.kernel);
    const app::ConvolutionResult result = app::convolve(image, kernel, settings);
    app::writeImage(request.output.path, result.image, request.output.overwrite());
    if (!request.output.quiet) {
        printInput(image);
        printInput(kernel);
        std::cout << "  result " << app::number(result.minimum) << " .. " << app::number(result.maximum)
                  << ", " << result.range << '\n';
        printOutput(request.output, result.image.depth);
    }
}

constexpr const char* explanation = R"(The convolution
  Each pel of the result is the sum of A's pels around it, weighted with B turned by half
  a turn; B's pel (width/2, height/2), rounded down and counted from 0, is the origin. The
  result has the size of A. B's pels are taken as they are stored, 0 .. 255 for 8 bits;
  a kernel with negative pels needs a floating-point TIFF file.

Range of the result (8- and 16-bit outputs)
  --range normalize  the smallest value becomes black and the largest white.
  --range clip       values keep their size and are cut off at black and white; where the
                     kernel sums to zero, mid-grey (128 or 32768) is added first. With
                     --unit a blur keeps A's brightness.
  Floating-point outputs hold the values as they are.)";

} // namespace

void addConvolveVerb(CLI::App& program) {
    CLI::App* verb = program.add_subcommand("convolve", "Convolve an image with a kernel");
    const auto request = std::make_shared<Request>();
    app::ConvolutionSettings& settings = request->settings;
    verb->add_option("A", request->image, "the image, PNG, TIFF or PGM")->required();
    verb->add_option("B", request->kernel, "the kernel, not larger than the image")->required();
    addOutput(*verb, request->output);
    verb->add_flag("--unit", settings.unit, "divide the kernel by the sum of its pels");
    addPadding(*verb, request->padding);
    addRange(*verb, settings.range);
    addDepth(*verb, settings.depth);
    verb->footer(explanation);
    verb->callback([request] { convolve(*request); });
}

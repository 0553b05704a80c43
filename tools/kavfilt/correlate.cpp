#include "app/image_file.h"
#include "app/json.h"
#include "app/match.h"
#include "app/words.h"
#include "tools/kavfilt/verbs.h"

#include <iostream>
#include <memory>
#include <utility>

namespace {

struct Request {
    std::string image;
    std::string pattern;
    bool json = false;
};

void correlate(const Request& request) {
    const app::Image image = app::readImage(request.image);
    const app::Match match = app::findPattern(image, app::readImage(request.pattern));
    if (request.json) {
        app::Json::Array pel;
        pel.emplace_back(match.best.x());
        pel.emplace_back(match.best.y());
        app::Json::Object object;
        set(object, "x", app::Json(match.x));
        set(object, "y", app::Json(match.y));
        set(object, "height", app::Json(match.height));
        set(object, "pel", app::Json(std::move(pel)));
        std::cout << app::jsonText(app::Json(std::move(object)), {}) << '\n';
        return;
    }
    std::cout << "x " << app::number(match.x) << " y " << app::number(match.y) << " height "
              << app::number(match.height) << '\n';
}

constexpr const char* explanation = R"(The match
  x and y are where the upper left pel of B lies in A, counted from A's own upper left
  pel, to a fraction of a pel. B is tried wherever it lies within A.

  height is the normalised correlation coefficient at the best whole-pel position: 1 for
  a match up to brightness and contrast, 0 for none, -1 for a negative. It is always that
  of the best position; how much is enough is for you to say. The fraction comes from a
  parabola through the heights there and beside it, along x and along y.

Output
  x 120.25 y 64 height 0.987654
  --json: {"x":120.25,"y":64.0,"height":0.987654,"pel":[120,64]} with all digits; pel is
  the best whole-pel position.

A flat image or template, which has no contrast to compare, ends with exit code 3.)";

} // namespace

void addCorrelateVerb(CLI::App& program) {
    CLI::App* verb = program.add_subcommand("correlate", "Find a small image in a large one");
    const auto request = std::make_shared<Request>();
    verb->add_option("A", request->image, "the image to search, PNG, TIFF or PGM")->required();
    verb->add_option("B", request->pattern, "the template to find, not larger")->required();
    verb->add_flag("--json", request->json, "print a JSON object");
    verb->footer(explanation);
    verb->callback([request] { correlate(*request); });
}

#include "tools/kavfilt/save.h"

#include "app/errors.h"
#include "app/filter_file.h"
#include "app/padding.h"
#include "app/words.h"
#include "tools/kavfilt/files.h"
#include "tools/kavfilt/filter_options.h"
#include "tools/kavfilt/options.h"
#include "tools/kavfilt/verbs.h"

#include <iostream>
#include <memory>

namespace {

struct Request {
    FilterOptions filter;
    vxPair<long> imageSize;
    Output output;
};

void checkSize(const vxPair<long>& size) {
    for (const long side : {size.x(), size.y()}) {
        if (side < 1 || side > app::maximumSize) {
            throw app::UsageError("--size must be 1 to " + std::to_string(app::maximumSize) + ", not " +
                                  std::to_string(side));
        }
    }
}

void save(const CLI::App& verb, const Request& request) {
    checkFilterOptions(verb, request.filter);
    checkSavable(request.imageSize, request.output);
    saveFilter(completed(request.filter), request.imageSize, request.output);
}

constexpr const char* explanation = R"(

Files
  The file is an archive of the library's that holds one of its filters, by pointer:
  programs load it with vxInputArchive as "kavfilt filter --filter F.kav" does. Lobes
  are stored alone; their pairs are made when filtering. A filter fits one size of
  spectra: --size rounded up to powers of two.)";

} // namespace

void checkSavable(const vxPair<long>& imageSize, const Output& output) {
    checkSize(imageSize);
    app::checkFilterFormat(output.path);
    app::checkWritable(output.path, output.overwrite());
}

void saveFilter(app::FilterParameters parameters, const vxPair<long>& imageSize, const Output& output) {
    parameters.pair = false;
    const vxPair<long> size = app::transformSize(imageSize.x(), imageSize.y());
    const app::FilterPointer filter = app::makeFilter(parameters, size);
    static_cast<void>(app::gains(*filter, size)); // Refuses a --dc that does not fit now rather than later.
    app::writeFilter(output.path, *filter, output.overwrite());
    if (!output.quiet) {
        std::cout << app::oneLine(output.path) << ": " << parameters.type << " filter for "
                  << app::size(size.x(), size.y()) << " spectra, written\n";
    }
}

void addSaveVerb(CLI::App& program) {
    CLI::App* verb = program.add_subcommand("save", "Build a filter and store it in a file");
    const auto request = std::make_shared<Request>();
    addFilterOptions(*verb, request->filter);
    verb->get_option("--type")->required();
    addOneOrTwo<long>(*verb, "--size", "width and height of the images that it will filter",
                      [&size = request->imageSize](long width, long height) {
                          size = {width, height};
                      })
        ->required();
    addOutput(*verb, request->output, "where to write the filter; .kav");
    verb->footer(std::string(filterOptionsExplanation) + explanation);
    verb->callback([verb, request] { save(*verb, *request); });
}

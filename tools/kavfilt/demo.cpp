#include "app/contact_sheet.h"
#include "app/display.h"
#include "app/errors.h"
#include "app/fabric.h"
#include "app/filtering.h"
#include "app/image_file.h"
#include "app/words.h"
#include "tools/kavfilt/verbs.h"

#include <chrono>
#include <filesystem>
#include <iomanip>
#include <iostream>
#include <memory>

namespace {

namespace fs = std::filesystem;

struct Request {
    std::string folder = "kavfilt-demo";
    bool force = false;
};

// Runs one step, prints what it did and how long it took, and hands on its result.
template <class Step>
auto timed(const std::string& what, const Step& step) {
    const auto start = std::chrono::steady_clock::now();
    auto result = step();
    const std::chrono::duration<double, std::milli> elapsed = std::chrono::steady_clock::now() - start;
    std::cout << std::fixed << std::setprecision(1) << std::setw(8) << elapsed.count() << " ms  " << what
              << '\n';
    return result;
}

// The stain is some 25 pels thick, so its contrast lies around 0.03 cycles per pixel: above the uneven light,
// below the weave, which starts at 0.125.
app::FilterSettings demoSettings() {
    app::FilterSettings settings;
    settings.filter = {"bandpass", 0.024, 0.008, 0.0, 1};
    return settings;
}

std::string describe(const app::FilterParameters& filter) {
    return "--type " + filter.type + " --frequency " + app::number(filter.frequency) + " --sigma " +
           app::number(filter.sigma.along) + " --dc " + std::to_string(filter.dcRadius);
}

void makeFolder(const fs::path& folder) {
    std::error_code error;
    fs::create_directories(folder, error);
    if (error) {
        throw app::WriteError("cannot make the folder " + folder.string() + ": " + error.message());
    }
}

// The pictures of the demonstration, in the order of the sheet.
std::vector<app::Panel> makePanels(const app::FilterSettings& settings) {
    const app::Image picture = timed("made a picture of woven fabric with a faint stain", app::fabricPicture);
    vxFrequencyBuffer spectrum = timed("transformed it, mirrored at its borders",
                                       [&] { return app::spectrumOf(picture, app::Padding::mirror); });
    const vxPair<long> size{spectrum.width(), spectrum.height()};
    const app::Image spectrumView =
        timed("made a view of its spectrum", [&] { return app::spectrumView(spectrum); });
    const app::FilterPointer filter =
        timed("built a band-pass filter for it", [&] { return app::makeFilter(settings.filter, size); });
    const app::Image gainView =
        timed("made a view of the filter's gains", [&] { return app::gainView(app::gains(*filter, size)); });
    const app::FilterResult result = timed("filtered the picture: transform, gains, inverse, range",
                                           [&] { return app::filterImage(picture, settings); });
    return {{picture, "picture", "woven fabric, " + app::size(picture.pels.width(), picture.pels.height())},
            {spectrumView, "spectrum", "log magnitude, DC in the middle, " + app::size(size.x(), size.y())},
            {gainView, "gain",
             "band pass " + app::number(settings.filter.frequency) + " cycles/pixel, sigma " +
                 app::number(settings.filter.sigma.along)},
            {result.image, "result", "the stain stands out"}};
}

void demo(const Request& request) {
    const fs::path folder = request.folder;
    const app::Overwrite overwrite = request.force ? app::Overwrite::force : app::Overwrite::refuse;
    makeFolder(folder);
    for (const char* name : {"picture.png", "spectrum.png", "gain.png", "result.png", "sheet.png"}) {
        app::checkWritable(folder / name, overwrite);
    }

    const app::FilterSettings settings = demoSettings();
    const std::vector<app::Panel> panels = makePanels(settings);
    const app::Image sheet = timed("laid out the contact sheet", [&] { return app::contactSheet(panels); });
    timed("wrote five PNG files", [&] {
        for (const app::Panel& panel : panels) {
            app::writeImage(folder / (panel.title + ".png"), panel.picture, overwrite);
        }
        app::writeImage(folder / "sheet.png", sheet, overwrite);
        return 5;
    });
    const std::string picture = (folder / "picture.png").string();
    std::cout << "\nLook at " << app::oneLine((folder / "sheet.png").string()) << ". The same by hand:\n"
              << "  kavfilt filter " << app::oneLine(picture) << " -o result.png "
              << describe(settings.filter) << '\n';
}

} // namespace

void addDemoVerb(CLI::App& program) {
    CLI::App* verb = program.add_subcommand("demo", "Make a picture with a hidden flaw and filter it out");
    const auto request = std::make_shared<Request>();
    verb->add_option("DIR", request->folder,
                     "the folder for the pictures, made if missing; default kavfilt-demo");
    verb->add_flag("--force", request->force, "overwrite pictures of an earlier run");
    verb->callback([request] { demo(*request); });
}

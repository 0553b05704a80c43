#include "tools/kavfilt/filter_options.h"

#include "app/errors.h"
#include "app/image_file.h"
#include "tools/kavfilt/options.h"

namespace {

bool isGiven(const CLI::App& verb, const std::string& option) {
    const CLI::Option* const found = verb.get_option_no_throw(option);
    return found != nullptr && found->count() > 0;
}

// `words` is how the user chose the filter, `use` what it takes.
template <class UseOf>
void checkApplicable(const CLI::App& verb, const std::string& words, const UseOf& useOf) {
    for (const std::string name : app::parameterNames) {
        const app::Use use = useOf(name);
        const std::string option = "--" + name;
        const bool given = isGiven(verb, option);
        if (given && use == app::Use::no) {
            throw app::UsageError(std::string(option).append(" does not go with ").append(words));
        }
        if (!given && use == app::Use::must) {
            throw app::UsageError(std::string(words).append(" needs ").append(option));
        }
    }
}

// --sigma A or --sigma A,B
void addExtents(CLI::App& verb, const std::string& name, app::Extents& extents, const std::string& help) {
    addOneOrTwo<double>(verb, name, help, [&extents](double along, double across) {
        extents = {along, across};
    });
}

} // namespace

const char* const filterOptionsExplanation = R"(Filters
  bandpass      keeps a ring of frequencies: patterns of one fineness, in every
                direction.
  bandreject    removes such a ring and keeps everything else.
  gabor         keeps one lobe: patterns of one fineness and one direction. One lobe
                is half of what a real pattern consists of, so the result is complex:
                --part magnitude is the pattern's local strength (its envelope),
                --part angle its local phase, --part real the pattern at half its
                strength. --pair keeps the opposite lobe too, so that the result is
                the pattern itself.
  gabor-reject  removes such a pattern and keeps everything else: both lobes, or one
                with --no-pair.
  image         convolves with a small image, --kernel. The kernel's middle pel
                (width / 2, height / 2) is its origin, so nothing is shifted. Its pels
                count as they are, 255 as 255; --unit divides them by their sum,
                so that the brightness is kept. It must not be larger than the image.

  bandpass, bandreject   need --frequency --sigma, take --plateau --dc
  gabor, gabor-reject    need --frequency --sigma --angle, take --plateau --dc
  image                  needs --kernel, takes --unit

Units
  --frequency is the distance from the DC to the middle of the ring or the lobe, in
  cycles per pixel along x of the transform: 0.1 is what repeats about every 10
  pixels, 0.5 the finest pattern that pixels can hold.
  --sigma and --plateau are fractions of the filter width, which is the width of the
  transform: a sigma of 0.02 is 0.02 * 512 = 10.24 samples of a 512 wide spectrum, or
  0.02 cycles per pixel at any size. The gain is that of the middle within the plateau
  on either side and falls off beyond it as a Gaussian of that sigma. For the lobes
  both may be two values A,B: along the lobe's direction and across it; one value is
  both. They go up to 1 for rings, to 0.5 for lobes.
  --angle is in degrees: 0 means patterns that change along x (upright threads), 90
  patterns that change along y (lying threads), 45 those that change from the upper
  left to the lower right.
  --dc R is about the (2R - 1) x (2R - 1) samples around the DC, 1 about just the mean:
  pass filters clear them, reject filters keep them.

Pairs
  The opposite lobe is the library's filter for the opposite angle; it lies within
  one sample of the spectrum of where the mirror image is. Where lobes overlap, near
  the DC, a gabor pair keeps a + b - ab of lobes that keep a and b, so that nothing
  counts twice, and a gabor-reject pair keeps the product of what its lobes keep.)";

void addFilterOptions(CLI::App& verb, FilterOptions& options) {
    app::FilterParameters& filter = options.parameters;
    verb.add_option("--type", filter.type, "the kind of filter")->check(CLI::IsMember(app::filterTypes()));
    verb.add_option("--frequency", filter.frequency, "of the ring or the lobe, 0 to 0.5 cycles per pixel");
    addExtents(verb, "--sigma", filter.sigma, "width of the fall-off, above 0, up to 1; for lobes up to 0.5");
    addExtents(verb, "--plateau", filter.plateau, "half-width of the flat top, 0 to 1 or 0.5; default 0");
    const auto setAngle = [&filter](double degrees) { filter.angle = app::radiansOf(degrees); };
    verb.add_option_function<double>("--angle", setAngle,
                                     "direction of the lobe in degrees, 0 along x, 90 along y");
    verb.add_option(
        "--dc", filter.dcRadius,
        "radius of the square around the DC that is cleared, or kept by a reject filter; default 0, none");
    verb.add_option("--kernel", options.kernel, "the image to convolve with, PNG, TIFF or PGM");
    verb.add_flag_callback(
        "--unit", [&filter] { filter.kernelScale = app::KernelScale::unit; },
        "divide the kernel by the sum of its pels");
}

void checkFilterOptions(const CLI::App& verb, const FilterOptions& options) {
    const std::string& type = options.parameters.type;
    checkApplicable(verb, "--type " + type,
                    [&type](const std::string& name) { return app::parameterUse(type, name); });
    app::checkFilter(options.parameters);
}

void checkNoFilterOptions(const CLI::App& verb, const std::string& source) {
    checkApplicable(verb, source, [&source](const std::string& name) {
        return name == "pair" && source == "--filter" ? app::Use::may : app::Use::no;
    });
}

app::FilterParameters completed(const FilterOptions& options) {
    app::FilterParameters parameters = options.parameters;
    if (!options.kernel.empty()) {
        parameters.kernel = app::readImage(options.kernel);
    }
    return parameters;
}

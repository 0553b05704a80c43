#include "app/filter_file.h"
#include "app/filtering.h"
#include "app/image_file.h"
#include "tests/app/images.h"
#include "tests/tools/kavfilt/program.h"

#include <gmock/gmock.h>

#include <numbers>

namespace {

using app::Depth;
using app::Overwrite;
using app::Part;

const Words bandReject = {"--type", "bandreject", "--frequency", "0.2", "--sigma", "0.04"};
const Words gabor = {"--type", "gabor", "--frequency", "0.2", "--sigma", "0.04", "--angle", "30"};
const Words gaborReject = {"--type",  "gabor-reject", "--frequency", "0.2",
                           "--sigma", "0.04",         "--angle",     "30"};
const Words image = {"--type", "image", "--kernel", "kernel.tif"};

app::FilterSettings lobeSettings(const std::string& type) {
    app::FilterSettings settings;
    settings.filter = {type, 0.2, 0.04, 0, 0};
    settings.filter.angle = vxRadian(30 * std::numbers::pi / 180);
    return settings;
}

// A folder with an image and a kernel in it.
class FilterTypes : public testing::Test {
protected:
    FilterTypes() {
        app::writeImage(folder / "in.png", patternImage(50, 21, Depth::bits8), Overwrite::refuse);
        app::writeImage(folder / "kernel.tif", patternImage(5, 4, Depth::float32), Overwrite::refuse);
    }

    Outcome filter(const Words& options) {
        return run(folder.path(), Words{"filter", "in.png", "-o", "out.tif", "--force"} + options);
    }
    void expectLike(const Words& options, const app::FilterSettings& settings) {
        const Outcome outcome = filter(options);
        ASSERT_EQ(outcome.exitCode, 0) << outcome.errors;
        EXPECT_EQ(pelsOf(app::readImage(folder / "out.tif")),
                  pelsOf(app::filterImage(app::readImage(folder / "in.png"), settings).image))
            << testing::PrintToString(options);
    }
    void expectRefused(const Words& options, const std::string& message, int exitCode = 2) {
        expectFailure(filter(options), exitCode, message);
        EXPECT_FALSE(std::filesystem::exists(folder / "out.tif"));
    }

    TemporaryFolder folder;
};

TEST_F(FilterTypes, RejectBands) {
    app::FilterSettings settings;
    settings.filter = {"bandreject", 0.2, 0.04, 0, 0};
    expectLike(bandReject, settings);
    settings.filter.plateau = 0.1;
    settings.filter.dcRadius = 2;
    expectLike(bandReject + Words{"--plateau", "0.1", "--dc", "2"}, settings);
}

TEST_F(FilterTypes, KeepALobe) {
    app::FilterSettings settings = lobeSettings("gabor");
    expectLike(gabor, settings);
    expectLike(gabor + Words{"--no-pair"}, settings);
    settings.filter.pair = true;
    expectLike(gabor + Words{"--pair"}, settings);
    settings = lobeSettings("gabor");
    for (const auto& [word, part] : {std::pair("magnitude", Part::magnitude), std::pair("angle", Part::angle),
                                     std::pair("quadrant", Part::quadrant)}) {
        settings.part = part;
        settings.depth.reset();
        expectLike(gabor + Words{"--part", word}, settings);
        settings.depth = Depth::float32;
        const Outcome outcome = filter(gabor + Words{"--part", word, "--depth", "float"});
        ASSERT_EQ(outcome.exitCode, 0) << outcome.errors;
        const app::Image expected = app::filterImage(app::readImage(folder / "in.png"), settings).image;
        const std::vector<double> pels = pelsOf(app::readImage(folder / "out.tif"));
        const std::vector<double> doubles = pelsOf(expected);
        for (std::size_t i = 0; i < pels.size(); ++i) {
            ASSERT_EQ(pels[i], static_cast<double>(static_cast<float>(doubles[i])));
        }
    }
    settings = lobeSettings("gabor");
    settings.raw = true;
    expectLike(gabor + Words{"--raw"}, settings);
}

TEST_F(FilterTypes, TakeExtentsAlongAndAcross) {
    app::FilterSettings settings = lobeSettings("gabor");
    settings.filter.sigma = {0.04, 0.1};
    settings.filter.plateau = {0.01, 0.05};
    settings.filter.angle = vxRadian(-45 * std::numbers::pi / 180);
    expectLike({"--type", "gabor", "--frequency", "0.2", "--sigma", "0.04,0.1", "--plateau", "0.01,0.05",
                "--angle", "-45"},
               settings);
}

TEST_F(FilterTypes, RejectLobesInPairsUnlessToldOtherwise) {
    app::FilterSettings settings = lobeSettings("gabor-reject");
    settings.filter.pair = true;
    expectLike(gaborReject, settings);
    expectLike(gaborReject + Words{"--pair"}, settings);
    const Bytes paired = readBytes(folder / "out.tif");
    settings.filter.pair = false;
    expectLike(gaborReject + Words{"--no-pair"}, settings);
    EXPECT_NE(readBytes(folder / "out.tif"), paired);
}

TEST_F(FilterTypes, ConvolveWithImages) {
    app::FilterSettings settings;
    settings.filter.type = "image";
    settings.filter.kernel = app::readImage(folder / "kernel.tif");
    expectLike(image, settings);
    settings.filter.kernelScale = app::KernelScale::unit;
    settings.range = app::Range::clip;
    expectLike(image + Words{"--unit", "--range", "clip"}, settings);
}

TEST_F(FilterTypes, RefuseOptionsThatDoNotApply) {
    for (const char* option : {"--angle", "--kernel"}) {
        expectRefused(bandReject + Words{option, "1"},
                      std::string(option) + " does not go with --type bandreject");
        expectRefused(Words{"--type", "bandpass", "--frequency", "0.2", "--sigma", "0.1", option, "1"},
                      std::string(option) + " does not go with --type bandpass");
    }
    for (const char* option : {"--pair", "--no-pair"}) {
        expectRefused(bandReject + Words{option}, "--pair does not go with --type bandreject");
        expectRefused(image + Words{option}, "--pair does not go with --type image");
    }
    expectRefused(bandReject + Words{"--unit"}, "--unit does not go with --type bandreject");
    expectRefused(gabor + Words{"--unit"}, "--unit does not go with --type gabor");
    expectRefused(gabor + Words{"--kernel", "kernel.tif"}, "--kernel does not go with --type gabor");
    for (const char* option : {"--frequency", "--sigma", "--plateau", "--angle", "--dc"}) {
        expectRefused(image + Words{option, "0"}, std::string(option) + " does not go with --type image");
        expectRefused({"--filter", "f.kav", option, "0"}, std::string(option) + " does not go with --filter");
    }
    expectRefused({"--filter", "f.kav", "--unit"}, "--unit does not go with --filter");
    expectRefused({"--filter", "f.kav", "--kernel", "k"}, "--kernel does not go with --filter");
}

TEST_F(FilterTypes, RefuseToGuess) {
    expectRefused({}, "the filter is one of --type, --filter and --recipe");
    expectRefused(gabor + Words{"--filter", "f.kav"}, "the filter is one of --type, --filter and --recipe");
    expectRefused({"--type", "bandreject", "--sigma", "0.1"}, "--type bandreject needs --frequency");
    expectRefused({"--type", "bandpass", "--frequency", "0.1"}, "--type bandpass needs --sigma");
    expectRefused({"--type", "gabor", "--frequency", "0.1", "--sigma", "0.1"}, "--type gabor needs --angle");
    expectRefused({"--type", "gabor-reject", "--angle", "0", "--sigma", "0.1"},
                  "--type gabor-reject needs --frequency");
    expectRefused({"--type", "image"}, "--type image needs --kernel");
}

TEST_F(FilterTypes, RefuseWrongValues) {
    const Words start = {"--type", "gabor", "--frequency", "0.2", "--angle", "0", "--sigma"};
    expectRefused(start + Words{"0.6"}, "Sigma must not be above 0.5.");
    expectRefused(start + Words{"0.1,0"}, "Sigma values must be positive.");
    expectRefused(start + Words{"0.1,nan"}, "Sigma must be a number.");
    expectRefused(start + Words{"0.1", "--plateau", "0,-1"}, "Plateau values cannot be negative.");
    expectRefused(start + Words{"0.1,0.2,0.3"}, "--sigma: \"0.2,0.3\" is not a number");
    expectRefused(start + Words{"0.1,"}, "--sigma: \"\" is not a number");
    expectRefused(start + Words{"0.1x"}, "--sigma: \"0.1x\" is not a number");
    expectRefused(start + Words{"0.1", "--dc", "18"},
                  "the square of --dc around the DC reaches outside the 64 x 32 spectrum");
    expectRefused({"--type", "gabor", "--frequency", "0.2", "--sigma", "0.1", "--angle", "inf"},
                  "Angle must be a finite number.");
    expectRefused({"--type", "bandpass", "--frequency", "0.2", "--sigma", "0.1,0.2"},
                  "Sigma is one value, not two, for the type bandpass.");
    expectRefused(gabor + Words{"--part", "angle", "--range", "clip"},
                  "--range does not go with --part angle and quadrant, whose range is known");
    EXPECT_EQ(filter(gabor + Words{"--part", "imaginary"}).exitCode, 2);
}

TEST_F(FilterTypes, RefuseKernelsThatCannotBeUsed) {
    const auto kernel = [](const std::string& name) { return Words{"--type", "image", "--kernel", name}; };
    expectRefused(kernel("none.png"), "cannot read none.png: no such file", 3);
    app::writeImage(folder / "large.png", patternImage(51, 3, Depth::bits8), Overwrite::refuse);
    expectRefused(kernel("large.png"),
                  "the kernel large.png is 51 x 3 pels, larger than in.png, which is 50 x 21", 3);
    writeBytes(folder / "zero.pgm", bytesOf("P2 1 1 255 0"));
    expectRefused(kernel("zero.pgm") + Words{"--unit"},
                  "cannot divide the kernel zero.pgm by the sum of its pels: it is 0", 3);
}

// The output is looked at before the kernel or the filter is read.
TEST_F(FilterTypes, LeaveTheirInputsAlone) {
    expectFailure(run(folder.path(), Words{"filter", "in.png", "-o", "kernel.tif"} + image), 4,
                  "cannot write kernel.tif: the file exists (--force overwrites it)");
    expectFailure(run(folder.path(), {"filter", "in.png", "-o", "in.png", "--filter", "none.kav"}), 4,
                  "cannot write in.png: it is the input (--force overwrites it)");
}

} // namespace

#include "app/display.h"
#include "app/filtering.h"
#include "app/image_file.h"
#include "tests/app/images.h"
#include "tests/tools/kavfilt/program.h"

#include <gmock/gmock.h>

namespace {

using app::Depth;
using app::Mapping;
using app::View;
using testing::ElementsAre;

class Spectrum : public testing::Test {
protected:
    void SetUp() override {
        app::writeImage(folder / "in.png", patternImage(50, 21, Depth::bits8), app::Overwrite::refuse);
    }
    Outcome spectrum(const Words& more, const std::string& output = "out.png") {
        return run(folder.path(), Words{"spectrum", "in.png", "-o", output} + more);
    }
    void expectView(const Words& options, const app::ViewSettings& settings,
                    app::Padding padding = app::Padding::mirror) {
        std::vector<std::string> all = options;
        all.emplace_back("--force");
        const Outcome outcome = spectrum(all, "out.tif");
        ASSERT_EQ(outcome.exitCode, 0) << outcome.errors;
        const app::Image image = app::readImage(folder / "in.png");
        const app::Image written = app::readImage(folder / "out.tif");
        const app::ViewResult expected = app::viewSpectrum(app::spectrumOf(image, padding), settings);
        EXPECT_EQ(pelsOf(written), pelsOf(expected.image)) << testing::PrintToString(options);
        EXPECT_EQ(written.depth, expected.image.depth);
    }

    TemporaryFolder folder;
};

TEST_F(Spectrum, DoesWhatItsOptionsSay) {
    expectView({}, {});
    expectView({"--pad", "zero"}, {}, app::Padding::zero);
    expectView({"--pad", "mirror"}, {});
    app::ViewSettings settings;
    settings.dcInCorner = true;
    expectView({"--corner"}, settings);
    const std::vector<std::pair<std::string, View>> views = {{"magnitude", View::magnitude},
                                                             {"phase", View::phase},
                                                             {"real", View::real},
                                                             {"imaginary", View::imaginary}};
    const std::vector<std::pair<std::string, Mapping>> mappings = {
        {"log", Mapping::log}, {"linear", Mapping::linear}, {"clip", Mapping::clip}};
    for (const auto& [view, isView] : views) {
        settings = {};
        settings.view = isView;
        expectView({"--view", view}, settings);
        for (const auto& [mapping, isMapping] : mappings) {
            settings.mapping = isMapping;
            expectView({"--view", view, "--map", mapping}, settings);
        }
    }
    settings = {};
    settings.view = View::phase;
    settings.mapping = Mapping::angle;
    expectView({"--view", "phase", "--map", "angle"}, settings);
    settings = {};
    settings.mapping = Mapping::range;
    settings.minimum = -3.5;
    settings.maximum = 5e4;
    expectView({"--map", "range", "--min", "-3.5", "--max", "5e4"}, settings);
    settings = {};
    settings.depth = Depth::float32;
    expectView({"--depth", "float"}, settings);
    settings.depth = Depth::float64;
    settings.view = View::real;
    expectView({"--depth", "double", "--view", "real"}, settings);
}

TEST_F(Spectrum, ReportsWhatItDid) {
    writeBytes(folder / "in.png", bytesOf("P2 3 2 255 1 2 3 4 5 6"));
    const Outcome outcome = spectrum({"--pad", "zero"});
    EXPECT_EQ(outcome.errors, "");
    EXPECT_EQ(outcome.output, "in.png: PGM, 3 x 2, 8-bit\n"
                              "  transform 4 x 2\n"
                              "  values 3 .. 21, at the DC 21\n"
                              "out.png: 8-bit, written\n");
    EXPECT_EQ(spectrum({"-q", "--force"}).output, "");
}

TEST_F(Spectrum, RefusesWrongUsage) {
    expectFailure(spectrum({"--map", "angle"}), 2, "--map angle is for --view phase");
    expectFailure(spectrum({"--map", "range", "--min", "1"}), 2,
                  "--map range needs --min and --max, and only --map range has them");
    expectFailure(spectrum({"--depth", "float"}), 2,
                  "a PNG file cannot hold float pels (out.png): choose --depth 8 or 16, or a .tif file");
    for (const Words& options : std::vector<Words>{
             {"--depth", "16"}, {"--map", "cubic"}, {"--view", "power"}, {"--max", "x"}, {"--pad", "one"}}) {
        EXPECT_EQ(spectrum(options).exitCode, 2) << options[0];
    }
    EXPECT_EQ(spectrum({}, "out.jpg").exitCode, 2);
    EXPECT_THAT(folder.names(), ElementsAre("in.png"));
}

TEST_F(Spectrum, RefusesToOverwriteAndUnreadableInputs) {
    writeBytes(folder / "out.png", bytesOf("precious"));
    expectFailure(spectrum({}), 4, "cannot write out.png: the file exists (--force overwrites it)");
    expectFailure(spectrum({}, "in.png"), 4, "cannot write in.png: it is the input (--force overwrites it)");
    writeBytes(folder / "in.png", bytesOf("nonsense"));
    EXPECT_EQ(spectrum({"--force"}).exitCode, 3);
    EXPECT_EQ(readBytes(folder / "out.png"), bytesOf("precious"));
}

} // namespace

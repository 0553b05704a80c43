#include "app/convolution.h"
#include "app/image_file.h"
#include "tests/app/images.h"
#include "tests/tools/kavfilt/program.h"

#include <gmock/gmock.h>

namespace {

using app::ConvolutionSettings;
using app::Depth;
using app::Overwrite;
using testing::UnorderedElementsAre;

class Convolve : public testing::Test {
protected:
    void SetUp() override {
        app::writeImage(folder / "in.png", patternImage(50, 21, Depth::bits8), Overwrite::refuse);
        app::writeImage(folder / "kernel.pgm", patternImage(6, 5, Depth::bits8), Overwrite::refuse);
    }
    Outcome convolve(const Words& more, const std::string& output = "out.tif") {
        return run(folder.path(), Words{"convolve", "in.png", "kernel.pgm", "-o", output} + more);
    }
    void expectResult(const Words& options, const ConvolutionSettings& settings) {
        std::vector<std::string> all = options;
        all.emplace_back("--force");
        const Outcome outcome = convolve(all);
        ASSERT_EQ(outcome.exitCode, 0) << outcome.errors;
        const app::Image written = app::readImage(folder / "out.tif");
        const app::ConvolutionResult expected =
            app::convolve(app::readImage(folder / "in.png"), app::readImage(folder / "kernel.pgm"), settings);
        EXPECT_EQ(pelsOf(written), pelsOf(expected.image)) << testing::PrintToString(options);
        EXPECT_EQ(written.depth, expected.image.depth);
    }

    TemporaryFolder folder;
};

TEST_F(Convolve, DoesWhatItsOptionsSay) {
    ConvolutionSettings settings;
    expectResult({}, settings);
    expectResult({"--pad", "mirror", "--range", "normalize"}, settings);
    settings.padding = app::Padding::zero;
    expectResult({"--pad", "zero"}, settings);
    settings.unit = true;
    settings.range = app::Range::clip;
    expectResult({"--pad", "zero", "--unit", "--range", "clip"}, settings);
    settings.depth = Depth::bits16;
    expectResult({"--pad", "zero", "--unit", "--range", "clip", "--depth", "16"}, settings);
    settings = {};
    settings.depth = Depth::float64;
    expectResult({"--depth", "double"}, settings);
}

TEST_F(Convolve, ReportsWhatItDid) {
    writeBytes(folder / "in.png", bytesOf("P2 3 1 255 10 20 30"));
    writeBytes(folder / "kernel.pgm", bytesOf("P2 1 1 255 2"));
    const Outcome outcome = convolve({"--range", "clip"}, "out.png");
    EXPECT_EQ(outcome.errors, "");
    EXPECT_EQ(outcome.output, "in.png: PGM, 3 x 1, 8-bit\n"
                              "kernel.pgm: PGM, 1 x 1, 8-bit\n"
                              "  result 20 .. 60, clipped to 0 .. 255 (0 pels outside)\n"
                              "out.png: 8-bit, written\n");
    EXPECT_EQ(convolve({"-q"}).output, "");
}

TEST_F(Convolve, RefusesWrongUsage) {
    expectFailure(convolve({"--depth", "float"}, "out.png"), 2,
                  "a PNG file cannot hold float pels (out.png): choose --depth 8 or 16, or a .tif file");
    expectFailure(convolve({"--depth", "float", "--range", "clip"}), 2,
                  "--range is for 8- and 16-bit results; floating-point results are written as they are");
    for (const char* option : {"--pad", "--range", "--depth"}) {
        EXPECT_EQ(convolve({option, "nonsense"}).exitCode, 2) << option;
    }
    EXPECT_EQ(run(folder.path(), {"convolve", "in.png", "-o", "out.png"}).exitCode, 2);
    EXPECT_THAT(folder.names(), UnorderedElementsAre("in.png", "kernel.pgm"));
}

TEST_F(Convolve, RefusesKernelsThatDoNotFit) {
    app::writeImage(folder / "kernel.pgm", patternImage(51, 5, Depth::bits8), Overwrite::force);
    expectFailure(convolve({}), 3,
                  "cannot convolve with kernel.pgm: it is 51 x 5, larger than the image, 50 x 21");
    writeBytes(folder / "kernel.pgm", bytesOf("P2 1 1 255 0"));
    expectFailure(convolve({}), 3, "cannot convolve with kernel.pgm: all its pels are zero");
    writeBytes(folder / "kernel.pgm", bytesOf("P2 1 1"));
    EXPECT_EQ(convolve({}).exitCode, 3);
    EXPECT_THAT(folder.names(), UnorderedElementsAre("in.png", "kernel.pgm"));
}

TEST_F(Convolve, RefusesToOverwriteItsInputs) {
    expectFailure(convolve({}, "in.png"), 4, "cannot write in.png: it is the input (--force overwrites it)");
    const Bytes kernel = readBytes(folder / "kernel.pgm");
    expectFailure(convolve({}, "kernel.pgm"), 4,
                  "cannot write kernel.pgm: it is the input (--force overwrites it)");
    EXPECT_EQ(readBytes(folder / "kernel.pgm"), kernel);
    EXPECT_EQ(convolve({"--force"}, "kernel.pgm").exitCode, 0);
    EXPECT_EQ(app::readImage(folder / "kernel.pgm").pels.width(), 50);
}

} // namespace

#include "app/filtering.h"
#include "app/image_file.h"
#include "app/png_file.h"
#include "app/tiff_file.h"
#include "tests/app/images.h"
#include "tests/tools/kavfilt/program.h"

#include <gmock/gmock.h>

#include <sys/stat.h>

namespace {

namespace fs = std::filesystem;
using app::Depth;
using app::Overwrite;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::UnorderedElementsAre;

// A folder with an image in it.
class Filter : public testing::Test {
protected:
    void write(const std::string& name, Depth depth, long width = 50, long height = 21) {
        app::writeImage(folder / name, patternImage(width, height, depth), Overwrite::force);
    }
    Outcome filter(const std::string& input, const std::string& output, const Words& more = {}) {
        return run(folder.path(), filterArguments(input, output, more));
    }
    app::Image result(const std::string& name) { return app::readImage(folder / name); }

    TemporaryFolder folder;
};

app::FilterSettings sameSettings() {
    app::FilterSettings settings;
    settings.filter = {"bandpass", 0.2, 0.04, 0, 0};
    return settings;
}

TEST_F(Filter, KeepsTheDepthInEveryFormat) {
    struct Case {
        const char* extension;
        std::vector<Depth> depths;
    };
    const std::vector<Case> cases = {
        {"png", {Depth::bits8, Depth::bits16}},
        {"pgm", {Depth::bits8, Depth::bits16}},
        {"tif", {Depth::bits8, Depth::bits16, Depth::float32, Depth::float64}},
    };
    for (const Case& from : cases) {
        for (const Depth depth : from.depths) {
            const std::string input = std::string("in.") + from.extension;
            write(input, depth);
            const std::string output = std::string("out.") + from.extension;
            const Outcome outcome = filter(input, output, {"--force"});
            ASSERT_EQ(outcome.exitCode, 0) << outcome.errors;
            EXPECT_EQ(result(output).depth, depth);
            const app::FilterResult expected = app::filterImage(result(input), sameSettings());
            EXPECT_EQ(pelsOf(result(output)), pelsOf(expected.image))
                << input << " " << app::traits(depth).name;
        }
    }
}

TEST_F(Filter, ChangesTheDepthWhenAsked) {
    write("in.png", Depth::bits8);
    for (const auto& [word, depth] : std::vector<std::pair<std::string, Depth>>{{"8", Depth::bits8},
                                                                                {"16", Depth::bits16},
                                                                                {"float", Depth::float32},
                                                                                {"double", Depth::float64}}) {
        EXPECT_EQ(filter("in.png", "out.tif", {"--depth", word, "--force"}).exitCode, 0);
        EXPECT_EQ(result("out.tif").depth, depth);
    }
    expectFailure(filter("in.png", "out.png", {"--depth", "float"}), 2,
                  "a PNG file cannot hold float pels (out.png): choose --depth 8 or 16, or a .tif file");
    write("float.tif", Depth::float32);
    expectFailure(filter("float.tif", "out.pgm"), 2,
                  "a PGM file cannot hold float pels (out.pgm): choose --depth 8 or 16, or a .tif file");
    EXPECT_EQ(filter("float.tif", "out.pgm", {"--depth", "16"}).exitCode, 0);
}

TEST_F(Filter, TakesTheFormatOfTheInputFromItsContent) {
    writeBytes(folder / "tiff.png", app::encodeTiff(patternImage(8, 8, Depth::bits8)));
    EXPECT_EQ(filter("tiff.png", "out.png").exitCode, 0);
    EXPECT_EQ(result("out.png").format, "PNG");
}

TEST_F(Filter, ReportsWhatItDid) {
    writeBytes(folder / "in.pgm", bytesOf("P2 4 3 15 0 1 2 3 15 14 13 12 5 6 7 8"));
    const Outcome outcome = filter("in.pgm", "out.png");
    EXPECT_EQ(outcome.errors, "");
    EXPECT_THAT(outcome.output, HasSubstr("in.pgm: PGM, 4 x 3, 8-bit\n"
                                          "  pels are scaled from 0 .. 15 to 0 .. 255\n"
                                          "  transform 4 x 4\n"
                                          "  result "));
    EXPECT_THAT(outcome.output, HasSubstr(", scaled to 0 .. 255"));
    EXPECT_THAT(outcome.output, HasSubstr("\nout.png: 8-bit, written\n"));
    EXPECT_EQ(filter("in.pgm", "quiet.png", {"-q"}).output, "");
}

TEST_F(Filter, DoesWhatItsOptionsSay) {
    write("in.png", Depth::bits8);
    const app::Image image = result("in.png");
    const auto expectLike = [&](const Words& options, const app::FilterSettings& settings) {
        std::vector<std::string> all = options;
        all.emplace_back("--force");
        const Outcome outcome = filter("in.png", "out.tif", all);
        ASSERT_EQ(outcome.exitCode, 0) << outcome.errors;
        EXPECT_EQ(pelsOf(result("out.tif")), pelsOf(app::filterImage(image, settings).image)) << options[0];
    };
    app::FilterSettings settings = sameSettings();
    settings.padding = app::Padding::zero;
    expectLike({"--pad", "zero"}, settings);
    settings = sameSettings();
    expectLike({"--pad", "mirror"}, settings);
    settings.part = app::Part::magnitude;
    expectLike({"--part", "magnitude"}, settings);
    settings = sameSettings();
    settings.range = app::Range::clip;
    expectLike({"--range", "clip", "--part", "real"}, settings);
    settings = sameSettings();
    settings.filter.plateau = 0.05;
    settings.filter.dcRadius = 2;
    expectLike({"--plateau", "0.05", "--dc", "2"}, settings);
    settings = sameSettings();
    settings.raw = true;
    expectLike({"--raw"}, settings);
    settings.range = app::Range::normalize;
    expectLike({"--raw", "--range", "normalize"}, settings);
}

// The library and nothing between it and the file.
TEST_F(Filter, RawWritesTheLibrarysPels) {
    write("in.pgm", Depth::bits8);
    ASSERT_EQ(filter("in.pgm", "out.pgm", {"--raw"}).exitCode, 0);
    const app::Image image = result("in.pgm");
    vxPelBuffer<unsigned char> source(50, 21);
    for (long y = 0; y < 21; ++y) {
        for (long x = 0; x < 50; ++x) {
            source.pointToRow(y)[x] = static_cast<unsigned char>(image.pels.pointToRow(y)[x]);
        }
    }
    vxFrequencyBuffer spectrum;
    vfForwardFFT<unsigned char>(source, spectrum);
    vxFrequencyFilterBandPass(0.04, 0, 0.2, {64, 32}, 0).apply(spectrum);
    vxPelBuffer<unsigned char> expected;
    vfInverseFFT<unsigned char>(spectrum, expected, false, true);
    const app::Image written = result("out.pgm");
    for (long y = 0; y < 21; ++y) {
        for (long x = 0; x < 50; ++x) {
            ASSERT_EQ(written.pels.pointToRow(y)[x], expected.pointToRow(y)[x]) << x << ", " << y;
        }
    }
}

TEST_F(Filter, RefusesWrongParameters) {
    write("in.png", Depth::bits8);
    const auto with = [&](const std::string& frequency, const std::string& sigma, const Words& more = {}) {
        std::vector<std::string> arguments = {"filter",   "in.png",      "-o",      "out.png", "--type",
                                              "bandpass", "--frequency", frequency, "--sigma", sigma};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return run(folder.path(), arguments);
    };
    expectFailure(with("0.6", "0.1"), 2, "Frequency must be between 0.0 and 0.5.");
    expectFailure(with("-0.1", "0.1"), 2, "Frequency must be between 0.0 and 0.5.");
    expectFailure(with("nan", "0.1"), 2, "Frequency must be between 0.0 and 0.5.");
    expectFailure(with("0.1", "0"), 2, "Sigma must be positive.");
    expectFailure(with("0.1", "1e9"), 2, "Sigma must not be above 1.");
    expectFailure(with("0.1", "0.1", {"--plateau", "-1"}), 2, "Plateau cannot be negative.");
    expectFailure(with("0.1", "0.1", {"--dc", "-1"}), 2, "DC Removal Radius cannot be negative.");
    expectFailure(with("0.1", "0.1", {"--dc", "18"}), 2,
                  "the square of --dc around the DC reaches outside the 64 x 32 spectrum");
    EXPECT_EQ(with("0.1x", "0.1").exitCode, 2);
    EXPECT_EQ(with("0.1", "0.1", {"--dc", "99999999999999999999"}).exitCode, 2);
    EXPECT_EQ(with("0.1", "0.1", {"--type", "sieve"}).exitCode, 2);
    for (const char* option : {"--pad", "--part", "--range", "--depth"}) {
        EXPECT_EQ(with("0.1", "0.1", {option, "nonsense"}).exitCode, 2) << option;
    }
    EXPECT_EQ(with("0.1", "0.1", {"--raw", "--pad", "zero"}).exitCode, 2);
    EXPECT_EQ(filter("in.png", "out.jpg").exitCode, 2);
    EXPECT_THAT(folder.names(), ElementsAre("in.png"));
}

TEST_F(Filter, RefusesUnreadableInputs) {
    writeBytes(folder / "cut.png", Bytes{0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n', 0, 0});
    expectFailure(filter("cut.png", "out.png"), 3, "cannot read cut.png: PNG: the file ends early");
    expectFailure(filter("missing.png", "out.png"), 3, "cannot read missing.png: no such file");
    expectFailure(filter(".", "out.png"), 3, "cannot read .: it is a directory");
    writeBytes(folder / "large.pgm", bytesOf("P5 2049 2048 255\n"));
    expectFailure(
        filter("large.pgm", "out.png"), 3,
        "cannot read large.pgm: the image is 2049 x 2048 pels, above the limit of 2048 x 2048; --tile "
        "filters larger ones");
    EXPECT_THAT(folder.names(), UnorderedElementsAre("cut.png", "large.pgm"));
}

// Through the whole program; the readers' own tests go through every byte.
TEST_F(Filter, SurvivesFilesThatAreCutOff) {
    const app::Image image = patternImage(6, 5, Depth::bits8);
    for (const Bytes& bytes : {app::encodePng(image), app::encodeTiff(image)}) {
        for (std::size_t length = 0; length < bytes.size() - 4; length += 7) {
            writeBytes(folder / "in",
                       Bytes(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(length)));
            EXPECT_EQ(filter("in", "out.png").exitCode, 3) << length;
        }
    }
    EXPECT_THAT(folder.names(), ElementsAre("in"));
}

TEST_F(Filter, RefusesToOverwrite) {
    write("in.png", Depth::bits8);
    writeBytes(folder / "out.png", bytesOf("precious"));
    expectFailure(filter("in.png", "out.png"), 4,
                  "cannot write out.png: the file exists (--force overwrites it)");
    EXPECT_EQ(readBytes(folder / "out.png"), bytesOf("precious"));
    EXPECT_EQ(filter("in.png", "out.png", {"--force"}).exitCode, 0);
    EXPECT_EQ(result("out.png").pels.width(), 50);
    EXPECT_THAT(folder.names(), UnorderedElementsAre("in.png", "out.png"));
}

TEST_F(Filter, RefusesToOverwriteItsInputByAnyName) {
    write("in.png", Depth::bits8);
    const Bytes before = readBytes(folder / "in.png");
    fs::create_symlink("in.png", folder / "symbolic.png");
    fs::create_hard_link(folder / "in.png", folder / "hard.png");
    for (const std::string output : {"in.png", "./in.png", "symbolic.png", "hard.png"}) {
        expectFailure(filter("in.png", output), 4,
                      "cannot write " + output + ": it is the input (--force overwrites it)");
    }
    EXPECT_EQ(readBytes(folder / "in.png"), before);
    EXPECT_EQ(filter("in.png", "in.png", {"--force"}).exitCode, 0);
    EXPECT_NE(readBytes(folder / "in.png"), before);
    EXPECT_EQ(readBytes(folder / "hard.png"), before);
}

TEST_F(Filter, RefusesOutputsThatCannotBeWritten) {
    write("in.png", Depth::bits8);
    fs::create_directory(folder / "dir.png");
    expectFailure(filter("in.png", "dir.png", {"--force"}), 4, "cannot write dir.png: it is a directory");
    expectFailure(filter("in.png", "no/out.png"), 4, "cannot write no/out.png: No such file or directory");
    expectFailure(filter("in.png", "in.png/out.png"), 4, "cannot write in.png/out.png: Not a directory");
}

TEST_F(Filter, TakesImagesUpToTheLimit) {
    write("in.pgm", Depth::bits8, 2048, 3);
    const Outcome outcome = filter("in.pgm", "out.pgm");
    EXPECT_EQ(outcome.exitCode, 0) << outcome.errors;
    EXPECT_THAT(outcome.output, HasSubstr("transform 2048 x 4"));
    EXPECT_EQ(result("out.pgm").pels.width(), 2048);
}

// Real photographs, where the project has them beside it.
TEST_F(Filter, FiltersPhotographs) {
    const fs::path images = KAV_IMAGES;
    if (!fs::exists(images)) {
        GTEST_SKIP() << "no photographs in " << images;
    }
    for (const char* name : {"brick.png", "gravel.png", "camera.png"}) {
        const Outcome outcome = filter((images / name).string(), name);
        ASSERT_EQ(outcome.exitCode, 0) << outcome.errors;
        const app::Image written = result(name);
        EXPECT_EQ(written.depth, Depth::bits8);
        EXPECT_EQ(pelsOf(written),
                  pelsOf(app::filterImage(app::readImage(images / name), sameSettings()).image));
        const app::PelStatistics pels = app::statistics(written.pels);
        EXPECT_EQ(pels.minimum, 0);
        EXPECT_EQ(pels.maximum, 255);
    }
}

} // namespace

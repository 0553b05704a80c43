#include "app/image_file.h"
#include "app/tiles.h"
#include "tests/app/images.h"
#include "tests/support/sanitizers.h"
#include "tests/tools/kavfilt/program.h"

#include <gmock/gmock.h>

#include <sys/resource.h>

namespace {

using app::Depth;
using app::Overwrite;
using testing::HasSubstr;

class FilterTile : public testing::Test {
protected:
    Outcome filter(const std::string& input, const std::string& output, const Words& more) {
        return run(folder.path(), filterArguments(input, output, more));
    }

    TemporaryFolder folder;
};

app::FilterSettings sameSettings() {
    app::FilterSettings settings;
    settings.filter = {"bandpass", 0.2, 0.04, 0, 0};
    return settings;
}

TEST_F(FilterTile, FiltersLargeImages) {
    const app::SizeLimitScope larger(app::tiledLimit());
    for (const std::string name : {"in.png", "in.pgm", "in.tif"}) {
        const app::Image source = patternImage(2300, 70, Depth::bits16);
        app::writeImage(folder / name, source, Overwrite::refuse);
        const Outcome outcome = filter(name, "out-" + name, {"--tile"});
        EXPECT_EQ(outcome.exitCode, 0) << outcome.errors;
        EXPECT_THAT(outcome.output, HasSubstr("2300 x 70, 16-bit"));
        EXPECT_THAT(outcome.output, HasSubstr("transform 2048 x 2048"));
        EXPECT_EQ(pelsOf(app::readImage(folder / ("out-" + name))),
                  pelsOf(app::filterTiled(source, sameSettings()).image));
    }
}

TEST_F(FilterTile, TakesRecipes) {
    const app::SizeLimitScope larger(app::tiledLimit());
    app::writeImage(folder / "in.png", patternImage(60, 2100, Depth::bits8), Overwrite::refuse);
    writeBytes(folder / "r.json", bytesOf(R"({"kavfilt": 1, "filter": {"type": "bandpass", "frequency": 0.2,
        "sigma": 0.04}, "part": "magnitude", "range": "clip"})"));
    const Outcome outcome =
        run(folder.path(), {"filter", "in.png", "-o", "out.png", "--recipe", "r.json", "--tile"});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.errors;
    app::FilterSettings settings = sameSettings();
    settings.part = app::Part::magnitude;
    settings.range = app::Range::clip;
    EXPECT_EQ(pelsOf(app::readImage(folder / "out.png")),
              pelsOf(app::filterTiled(app::readImage(folder / "in.png"), settings).image));
}

TEST_F(FilterTile, SaysThatItIsThere) {
    writeBytes(folder / "in.pgm", bytesOf("P5 2049 3 255\n"));
    expectFailure(filter("in.pgm", "out.pgm", {}), 3,
                  "cannot read in.pgm: the image is 2049 x 3 pels, above the limit of 2048 x 2048; --tile "
                  "filters larger ones");
}

TEST_F(FilterTile, RefusesWhatItCannotDo) {
    writeBytes(folder / "in.pgm", bytesOf("P5 3 16385 255\n"));
    expectFailure(filter("in.pgm", "out.pgm", {"--tile"}), 3,
                  "cannot read in.pgm: the image is 3 x 16385 pels, above the limit of 16384 x 16384");
    app::writeImage(folder / "in.png", patternImage(20, 10, Depth::bits8), Overwrite::refuse);
    expectFailure(filter("in.png", "out.png", {"--tile", "--raw"}), 2,
                  "--tile does not go with --raw, which is one transform of the library");
    expectFailure(filter("in.png", "out.png", {"--tile", "--dc", "2"}), 2,
                  "--tile takes a --dc of 0 or 1, not 2, which counts samples of one transform");
    expectFailure(filter("in.png", "out/", {"--tile"}), 2, "--tile is for one image at a time");
    EXPECT_EQ(folder.names().size(), 2U);
}

TEST_F(FilterTile, RefusesWhatDoesNotFitIntoMemoryBeforeTheWork) {
    if (support::sanitizerKeepsMemory) {
        GTEST_SKIP() << "a sanitizer is at work";
    }
    writeBytes(folder / "in.pgm", bytesOf("P5 16384 16384 255\n"));
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_AS, &before), 0);
    rlimit small = before;
    small.rlim_cur = 2000UL * 1000 * 1000;
    ASSERT_EQ(::setrlimit(RLIMIT_AS, &small), 0);
    const Outcome outcome = filter("in.pgm", "out.pgm", {"--tile"});
    ASSERT_EQ(::setrlimit(RLIMIT_AS, &before), 0);
    EXPECT_EQ(outcome.exitCode, 3);
    EXPECT_THAT(
        outcome.errors,
        testing::MatchesRegex("kavfilt: cannot read in.pgm: the image is 16384 x 16384 pels; working on "
                              "it needs 8.6 GB of memory, but only [012].[0-9] GB are available\n"));
}

} // namespace

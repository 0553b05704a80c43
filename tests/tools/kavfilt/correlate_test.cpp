#include "app/image_file.h"
#include "app/match.h"
#include "tests/app/images.h"
#include "tests/tools/kavfilt/program.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <random>

namespace {

using app::Depth;
using app::Overwrite;

class Correlate : public testing::Test {
protected:
    void SetUp() override {
        std::mt19937 random(1);
        image = makeImage(60, 50, Depth::bits8, [&](long, long) { return random() % 256; });
        write("image.png", image);
        write("cut.png", makeImage(12, 9, Depth::bits8,
                                   [&](long x, long y) { return image.pels.pointToRow(20 + y)[33 + x]; }));
        // Between two positions, so with a fraction.
        write("between.png", makeImage(12, 9, Depth::bits16, [&](long x, long y) {
                  const double* row = image.pels.pointToRow(20 + y) + 33 + x;
                  return 200 * row[0] + 50 * row[1];
              }));
    }
    void write(const std::string& name, const app::Image& pels) {
        app::writeImage(folder / name, pels, Overwrite::force);
    }
    Outcome correlate(const Words& arguments) { return run(folder.path(), Words{"correlate"} + arguments); }

    TemporaryFolder folder;
    app::Image image;
};

TEST_F(Correlate, PrintsTheMatchInOneLine) {
    const Outcome outcome = correlate({"image.png", "cut.png"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.errors, "");
    EXPECT_EQ(outcome.output, "x 33 y 20 height 1\n");
    EXPECT_THAT(correlate({"image.png", "between.png"}).output,
                testing::MatchesRegex("x 33\\.[0-9]+ y (19|20)\\.[0-9]+ height 0\\.9[0-9]+\n"));
}

TEST_F(Correlate, PrintsJson) {
    const app::Match match = app::findPattern(image, app::readImage(folder / "between.png"));
    const Outcome outcome = correlate({"image.png", "between.png", "--json"});
    EXPECT_EQ(outcome.exitCode, 0);
    const nlohmann::json object = nlohmann::json::parse(outcome.output);
    EXPECT_EQ(object.size(), 4U);
    EXPECT_EQ(object.at("x").get<double>(), match.x); // All digits.
    EXPECT_EQ(object.at("y").get<double>(), match.y);
    EXPECT_EQ(object.at("height").get<double>(), match.height);
    EXPECT_EQ(object.at("pel").get<std::vector<long>>(), (std::vector<long>{33, 20}));
    EXPECT_EQ(correlate({"--json", "image.png", "cut.png"}).output.find("{\"x\":33.0,\"y\":20.0,\"height\":"),
              0U);
}

TEST_F(Correlate, RefusesWhatCannotMatch) {
    expectFailure(correlate({"cut.png", "image.png"}), 3,
                  "cannot find image.png in cut.png: it is 60 x 50, larger than the image, 12 x 9");
    write("flat.png", makeImage(5, 5, Depth::bits8, [](long, long) { return 9; }));
    expectFailure(correlate({"image.png", "flat.png"}), 3,
                  "cannot find flat.png: it is flat, all pels have one value");
    write("flat.png", makeImage(50, 50, Depth::bits8, [](long, long) { return 9; }));
    expectFailure(correlate({"flat.png", "cut.png", "--json"}), 3,
                  "cannot find cut.png in flat.png: the image is flat wherever it fits");
    write("nan.tif", makeImage(5, 5, Depth::float32, [](long x, long) { return x == 2 ? 0.0 / 0.0 : 1.0; }));
    expectFailure(correlate({"image.png", "nan.tif"}), 3,
                  "cannot transform nan.tif: the pel at (2, 0) is not a finite number");
    expectFailure(correlate({"image.png", "none.png"}), 3, "cannot read none.png: no such file");
}

TEST_F(Correlate, RefusesWrongUsage) {
    EXPECT_EQ(correlate({"image.png"}).exitCode, 2);
    EXPECT_EQ(correlate({"image.png", "cut.png", "cut.png"}).exitCode, 2);
    EXPECT_EQ(correlate({"image.png", "cut.png", "--xml"}).exitCode, 2);
}

} // namespace

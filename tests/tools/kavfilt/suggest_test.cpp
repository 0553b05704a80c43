#include "app/image_file.h"
#include "app/recipe.h"
#include "app/suggestion.h"
#include "tests/app/images.h"
#include "tests/tools/kavfilt/program.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <cmath>
#include <numbers>

namespace {

using app::Depth;
using app::Overwrite;
using nlohmann::json;
using testing::HasSubstr;

double wave(double frequency, double degrees, long x, long y) {
    const double angle = degrees * std::numbers::pi / 180;
    return std::cos(2 * std::numbers::pi * frequency *
                    (static_cast<double>(x) * std::cos(angle) + static_cast<double>(y) * std::sin(angle)));
}

app::Image striped(Depth depth = Depth::bits8) {
    return makeImage(160, 120, depth, [](long x, long y) {
        return std::round(120 + 30 * wave(0.125, 30, x, y) + 12 * wave(0.25, 30, x, y) +
                          20 * wave(0.6, 45, x, y));
    });
}

class Suggest : public testing::Test {
protected:
    void SetUp() override { write("in.png", striped()); }
    void write(const std::string& name, const app::Image& image) {
        app::writeImage(folder / name, image, Overwrite::force);
    }
    Outcome suggest(const Words& arguments) { return run(folder.path(), Words{"suggest"} + arguments); }

    TemporaryFolder folder;
};

TEST_F(Suggest, PrintsATable) {
    const Outcome outcome = suggest({"in.png"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.errors, "");
    EXPECT_THAT(
        outcome.output,
        testing::MatchesRegex("in.png: PNG, 160 x 120, 8-bit\n"
                              "peak  frequency    period    angle  amplitude  prominence\n"
                              "   1    0\\.1[0-9]+     [78]\\.[0-9]+    [0-9.]+      [0-9.]+ +[0-9.]+ dB\n"
                              "   2    0\\.[56][0-9]+     1\\.6[0-9]+    [0-9.]+      [0-9.]+ +[0-9.]+ dB\n"
                              "   3    0\\.2[0-9]+     [34]\\.[0-9]+    [0-9.]+      [0-9.]+ +[0-9.]+ dB"
                              "  harmonic 2 of peak 1\n"));
    EXPECT_EQ(folder.names().size(), 1U);
}

TEST_F(Suggest, SaysWhenThereIsNothing) {
    write("flat.png", makeImage(64, 64, Depth::bits8, [](long, long) { return 9; }));
    EXPECT_EQ(suggest({"flat.png"}).output, "flat.png: PNG, 64 x 64, 8-bit\n  no peak above 15 dB\n");
    EXPECT_THAT(suggest({"in.png", "--prominence", "200"}).output, HasSubstr("no peak above 200 dB"));
    EXPECT_EQ(json::parse(suggest({"flat.png", "--json"}).output).at("peaks"), json::array());
}

TEST_F(Suggest, PrintsJsonWithTheRecipes) {
    const std::vector<app::SpectralPeak> peaks = app::findPeaks(striped());
    ASSERT_EQ(peaks.size(), 3U);
    const Outcome outcome = suggest({"in.png", "--json"});
    EXPECT_EQ(outcome.exitCode, 0);
    const json object = json::parse(outcome.output);
    EXPECT_EQ(object.at("file"), "in.png");
    EXPECT_EQ(object.at("width"), 160);
    EXPECT_EQ(object.at("height"), 120);
    ASSERT_EQ(object.at("peaks").size(), 3U);
    for (std::size_t i = 0; i < 3; ++i) {
        const json& peak = object.at("peaks")[i];
        EXPECT_EQ(peak.size(), 8U);
        EXPECT_EQ(peak.at("number"), i + 1);
        EXPECT_EQ(peak.at("frequency").get<double>(), peaks[i].frequency); // All digits.
        EXPECT_EQ(peak.at("period").get<double>(), 1 / peaks[i].frequency);
        EXPECT_EQ(peak.at("angle").get<double>(), peaks[i].angle);
        EXPECT_EQ(peak.at("amplitude").get<double>(), peaks[i].amplitude);
        EXPECT_EQ(peak.at("prominence").get<double>(), peaks[i].prominence);
        EXPECT_EQ(peak.at("recipe").is_null(), i == 1); // Above 0.5.
    }
    EXPECT_TRUE(object.at("peaks")[0].at("harmonic").is_null());
    EXPECT_EQ(object.at("peaks")[2].at("harmonic"), (json{{"of", 1}, {"order", 2}}));
    const json recipe = object.at("peaks")[0].at("recipe");
    EXPECT_EQ(recipe.at("kavfilt"), 1);
    EXPECT_EQ(recipe.at("filter").at("type"), "gabor-reject");
    EXPECT_NEAR(recipe.at("filter").at("frequency").get<double>(), 0.125, 1e-4);
    EXPECT_NEAR(recipe.at("filter").at("angle").get<double>(), 30, 0.05);
    EXPECT_EQ(recipe.at("range"), "clip");
}

TEST_F(Suggest, GivesOneRecipe) {
    const Outcome printed = suggest({"in.png", "--recipe", "1"});
    EXPECT_EQ(printed.exitCode, 0);
    const Outcome written = suggest({"in.png", "--recipe", "1", "-o", "a.json"});
    EXPECT_EQ(written.output, "a.json: recipe for peak 1, written\n");
    EXPECT_EQ(bytesOf(printed.output), readBytes(folder / "a.json"));
    EXPECT_EQ(suggest({"in.png", "--recipe", "3", "-o", "b.json", "-q"}).output, "");
    EXPECT_NEAR(app::readRecipe(folder / "b.json").settings.filter.frequency, 0.25, 1e-4);
    expectFailure(suggest({"in.png", "--recipe", "3", "-o", "a.json"}), 4,
                  "cannot write a.json: the file exists (--force overwrites it)");
    EXPECT_EQ(suggest({"in.png", "--recipe", "3", "-o", "a.json", "--force"}).exitCode, 0);
    EXPECT_EQ(readBytes(folder / "a.json"), readBytes(folder / "b.json"));
}

TEST_F(Suggest, WritesAllRecipesIntoAFolder) {
    const Outcome outcome = suggest({"in.png", "-o", "recipes/of in"});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.errors;
    EXPECT_THAT(outcome.output, testing::EndsWith("recipes/of in: 2 recipes, written\n"));
    EXPECT_NEAR(app::readRecipe(folder / "recipes/of in/1.json").settings.filter.frequency, 0.125, 1e-4);
    EXPECT_NEAR(app::readRecipe(folder / "recipes/of in/3.json").settings.filter.frequency, 0.25, 1e-4);
    EXPECT_FALSE(std::filesystem::exists(folder / "recipes/of in/2.json"));
    expectFailure(suggest({"in.png", "-q", "-o", "recipes/of in"}), 4,
                  "cannot write recipes/of in/1.json: the file exists (--force overwrites it)");
    EXPECT_EQ(suggest({"in.png", "-q", "-o", "recipes/of in", "--force"}).output, "");
}

TEST_F(Suggest, MakesRecipesOfEveryTypeAndDepth) {
    write("in.tif", striped(Depth::float32));
    for (const std::string type : {"gabor-reject", "gabor", "bandreject", "bandpass"}) {
        for (const std::string input : {"in.png", "in.tif"}) {
            const Outcome outcome =
                suggest({input, "--type", type, "--recipe", "1", "-o", "r.json", "--force"});
            EXPECT_EQ(outcome.exitCode, 0) << outcome.errors;
            const app::FilterSettings settings = app::readRecipe(folder / "r.json").settings;
            EXPECT_EQ(settings.filter.type, type);
            // Runs as it is on the image that it was made for.
            const app::Image result = app::filterImage(app::readImage(folder / input), settings).image;
            EXPECT_EQ(result.depth, input == "in.png" ? Depth::bits8 : Depth::float32);
        }
    }
}

double contrastOf(const app::Image& image) {
    double sum = 0;
    for (const double pel : pelsOf(image)) {
        sum += (pel - 120) * (pel - 120);
    }
    return std::sqrt(sum / static_cast<double>(pelsOf(image).size()));
}

TEST_F(Suggest, GivesRecipesThatTakeTheStripesOut) {
    write("bars.png", makeImage(300, 220, Depth::bits8,
                                [](long x, long y) { return std::round(120 + 30 * wave(0.117, 64, x, y)); }));
    EXPECT_EQ(suggest({"bars.png", "--recipe", "1", "-o", "bars.json"}).exitCode, 0);
    const Outcome outcome =
        run(folder.path(), {"filter", "bars.png", "-o", "clean.png", "--recipe", "bars.json"});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.errors;
    EXPECT_NEAR(contrastOf(app::readImage(folder / "bars.png")), 30 / std::sqrt(2.0), 0.1);
    EXPECT_LT(contrastOf(app::readImage(folder / "clean.png")), 0.3 * 30 / std::sqrt(2.0));
}

TEST_F(Suggest, RefusesWhatItCannotDo) {
    write("small.png", makeImage(31, 100, Depth::bits8, [](long, long) { return 9; }));
    expectFailure(suggest({"small.png"}), 3,
                  "cannot search small.png: it is 31 x 100 pels, less than 32 x 32");
    expectFailure(suggest({"none.png"}), 3, "cannot read none.png: no such file");
    expectFailure(suggest({"in.png", "--recipe", "4"}), 2,
                  "there is no peak 4: in.png has 3 peaks above 15 dB");
    expectFailure(suggest({"in.png", "--recipe", "0"}), 2,
                  "there is no peak 0: in.png has 3 peaks above 15 dB");
    EXPECT_THAT(suggest({"in.png", "--recipe", "2"}).errors,
                HasSubstr("peak 2 has no recipe: its frequency, 0.6"));
    expectFailure(suggest({"in.png", "--recipe", "1", "-o", "r.png"}), 2,
                  "a recipe's file is named .json, not r.png");
    expectFailure(suggest({"in.png", "-o", "in.png"}), 4, "cannot make the folder in.png: Not a directory");
    for (const Words& wrong : {Words{"in.png", "--type", "image"},
                               {"in.png", "--json", "--recipe", "1"},
                               {"in.png", "--prominence", "-1"},
                               {}}) {
        EXPECT_EQ(suggest(wrong).exitCode, 2);
    }
    EXPECT_EQ(folder.names().size(), 2U);
}

} // namespace

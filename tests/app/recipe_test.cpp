#include "app/recipe.h"

#include "app/errors.h"
#include "app/image_file.h"
#include "tests/app/images.h"

#include <gmock/gmock.h>

#include <cmath>
#include <numbers>
#include <sstream>

namespace {

using app::Depth;
using app::Overwrite;
using app::Padding;
using app::Part;
using app::Range;
using app::Recipe;
using testing::HasSubstr;
using testing::StartsWith;

const std::string band = R"("type": "bandpass", "frequency": 0.2, "sigma": 0.04)";
const std::string lobe = R"("type": "gabor", "frequency": 0.2, "sigma": 0.04, "angle": 30)";

Recipe read(const std::string& text) {
    std::istringstream file(text);
    return app::readRecipe(file);
}

std::string refusal(const std::string& text) {
    return messageOf<app::UnreadableError>([&] { static_cast<void>(read(text)); });
}

// A recipe with these keys in "filter" and these beside it.
std::string recipe(const std::string& filter, const std::string& beside = "") {
    return R"({"kavfilt": 1, "filter": {)" + filter + "}" + (beside.empty() ? "" : ", ") + beside + "}";
}

TEST(Recipe, ReadsABand) {
    const app::FilterSettings settings =
        read(recipe(R"("type": "bandreject", "frequency": 0.2, "sigma": 0.04, "plateau": 0.1, "dc": 3)"))
            .settings;
    EXPECT_EQ(settings.filter.type, "bandreject");
    EXPECT_EQ(settings.filter.frequency, 0.2);
    EXPECT_EQ(settings.filter.sigma.along, 0.04);
    EXPECT_EQ(settings.filter.sigma.across, 0.04);
    EXPECT_EQ(settings.filter.plateau.along, 0.1);
    EXPECT_EQ(settings.filter.dcRadius, 3);
    EXPECT_FALSE(settings.filter.pair.has_value());
    EXPECT_FALSE(settings.padding.has_value());
    EXPECT_FALSE(settings.part.has_value());
    EXPECT_FALSE(settings.range.has_value());
    EXPECT_FALSE(settings.depth.has_value());
    EXPECT_FALSE(settings.raw);
}

TEST(Recipe, ReadsALobeAndWhatStandsBeside) {
    const app::FilterSettings settings =
        read(recipe(R"("type": "gabor-reject", "period": 8, "sigma": [0.01, 0.02], "plateau": [0, 0.1],
                       "angle": 30, "pair": false)",
                    R"("padding": "zero", "part": "magnitude", "range": "clip", "depth": 16)"))
            .settings;
    EXPECT_EQ(settings.filter.frequency, 0.125);
    EXPECT_EQ(settings.filter.sigma.along, 0.01);
    EXPECT_EQ(settings.filter.sigma.across, 0.02);
    EXPECT_EQ(settings.filter.plateau.across, 0.1);
    EXPECT_EQ(settings.filter.angle.toDouble(), 30 * std::numbers::pi / 180);
    EXPECT_EQ(settings.filter.pair, false);
    EXPECT_EQ(settings.padding, Padding::zero);
    EXPECT_EQ(settings.part, Part::magnitude);
    EXPECT_EQ(settings.range, Range::clip);
    EXPECT_EQ(settings.depth, Depth::bits16);
}

TEST(Recipe, FindsTheKernelBesideItself) {
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder / "sub");
    app::writeImage(folder / "sub" / "k.pgm", patternImage(3, 2, Depth::bits8), Overwrite::refuse);
    writeBytes(folder / "sub" / "r.json",
               bytesOf(recipe(R"("type": "image", "kernel": "k.pgm", "unit": true)")));
    const Recipe made = app::readRecipe(folder / "sub" / "r.json");
    EXPECT_EQ(made.kernel, folder / "sub" / "k.pgm");
    const app::FilterSettings settings = app::settingsOf(made);
    EXPECT_EQ(pelsOf(settings.filter.kernel.value()), pelsOf(patternImage(3, 2, Depth::bits8)));
    EXPECT_EQ(settings.filter.kernelScale, app::KernelScale::unit);

    // Written elsewhere, it still means the same file.
    app::writeRecipe(folder / "other.json", {made.settings, std::filesystem::proximate(made.kernel)},
                     Overwrite::refuse);
    EXPECT_THAT(std::string(reinterpret_cast<const char*>(readBytes(folder / "other.json").data()),
                            readBytes(folder / "other.json").size()),
                HasSubstr("\"sub/k.pgm\""));
    EXPECT_TRUE(app::isSameFile(app::readRecipe(folder / "other.json").kernel, made.kernel));
    std::filesystem::remove(folder / "sub" / "k.pgm");
    EXPECT_THAT(messageOf<app::UnreadableError>([&] { static_cast<void>(app::settingsOf(made)); }),
                HasSubstr("k.pgm: no such file"));
}

TEST(Recipe, NamesTheFileThatItRefuses) {
    const TemporaryFolder folder;
    const std::string name = (folder / "r.json").string();
    writeBytes(name, bytesOf(recipe(R"("type": "bandpass", "frequency": 0.2, "sigma": "wide")")));
    EXPECT_EQ(messageOf<app::UnreadableError>([&] { static_cast<void>(app::readRecipe(name)); }),
              "cannot read " + name + ": /filter/sigma: must be a number, not a string");
    EXPECT_EQ(
        messageOf<app::UnreadableError>([&] { static_cast<void>(app::readRecipe(folder / "no.json")); }),
        "cannot read " + (folder / "no.json").string() + ": no such file");
}

TEST(Recipe, RefusesWhatIsNoRecipe) {
    EXPECT_THAT(refusal(""), StartsWith("not JSON: parse error at line 1, column 1: "));
    EXPECT_THAT(refusal(recipe(band) + "x"), StartsWith("not JSON: parse error at line 1, column "));
    EXPECT_THAT(refusal("{\"kavfilt\": 1,}"), StartsWith("not JSON: "));
    EXPECT_THAT(refusal("{\"kavfilt\": 1e999}"), StartsWith("not JSON: number overflow"));
    EXPECT_THAT(refusal("\x89PNG"), StartsWith("not JSON: "));
    EXPECT_EQ(refusal("[]"), "must be an object, not an array");
    EXPECT_EQ(refusal("null"), "must be an object, not null");
    EXPECT_EQ(refusal("{}"), "a recipe needs \"kavfilt\": 1, its version");
    EXPECT_EQ(refusal("{\"kavfilt\": 1}"), "a recipe needs \"filter\"");
    EXPECT_EQ(refusal("{\"kavfilt\": 2}"), "/kavfilt: this program reads recipes of version 1, not 2");
    EXPECT_EQ(refusal("{\"kavfilt\": 1.0}"), "/kavfilt: must be a whole number");
    EXPECT_EQ(refusal("{\"kavfilt\": \"1\"}"), "/kavfilt: must be a whole number, not a string");
    EXPECT_EQ(refusal(std::string(65537, ' ')), "the file is too large for a recipe");
    EXPECT_THAT(refusal(std::string(65536, '[')), StartsWith("not JSON: "));
}

TEST(Recipe, RefusesKeysThatAreUnknownMisplacedOrThereTwice) {
    EXPECT_EQ(refusal(recipe(band)), "");
    EXPECT_EQ(refusal(recipe(band, R"("pading": "zero")")),
              "/pading: there is no such key; known here are kavfilt, filter, padding, part, range, depth");
    EXPECT_THAT(refusal(recipe(band + R"(, "sigm": 1)")),
                StartsWith("/filter/sigm: there is no such key; known here are type, frequency, period, "));
    EXPECT_EQ(refusal(recipe(band, R"("sigma": 0.1)")), "/sigma: belongs into \"filter\"");
    EXPECT_EQ(refusal(recipe(band + R"(, "range": "clip")")), "/filter/range: belongs beside \"filter\"");
    EXPECT_THAT(refusal(recipe(band, R"("a/b~c": 1)")), StartsWith("/a~1b~0c: there is no such key"));
    EXPECT_THAT(refusal(recipe(band, R"("a\u0000b": 1)")), StartsWith("/a?b: there is no such key"));
    EXPECT_THAT(refusal(recipe(band, R"("": 1)")), StartsWith("/: there is no such key"));

    EXPECT_EQ(refusal(recipe(band + R"(, "sigma": 0.04)")), "/filter/sigma: the key is there twice");
    EXPECT_EQ(refusal(recipe(band, R"("kavfilt": 1)")), "/kavfilt: the key is there twice");
    EXPECT_EQ(refusal(recipe(R"("sigma": [1, [2], {"x": 1, "x": 2}])")),
              "/filter/sigma/2/x: the key is there twice");
    // The same key at another place is another key.
    EXPECT_EQ(refusal(R"([{"x": 1}, {"x": 1}])"), "must be an object, not an array");
}

TEST(Recipe, RefusesWrongTypes) {
    EXPECT_EQ(refusal(R"({"kavfilt": 1, "filter": "bandpass"})"), "/filter: must be an object, not a string");
    EXPECT_EQ(refusal(recipe("")), "/filter: needs \"type\"");
    EXPECT_EQ(refusal(recipe(R"("type": 1)")), "/filter/type: must be a string, not a number");
    EXPECT_EQ(refusal(recipe(R"("type": "sieve")")),
              "/filter/type: there is no filter type \"sieve\"; known are bandpass, bandreject, gabor, "
              "gabor-reject, image");
    const auto with = [](const std::string& key, const std::string& value) {
        return refusal(recipe(lobe + ", \"" + key + "\": " + value));
    };
    EXPECT_EQ(with("plateau", "true"), "/filter/plateau: must be a number, not a boolean");
    EXPECT_EQ(with("plateau", "[0.1]"), "/filter/plateau: must be two numbers, along and across, not 1");
    EXPECT_EQ(with("plateau", "[0.1, 0.1, 0.1]"),
              "/filter/plateau: must be two numbers, along and across, not 3");
    EXPECT_EQ(with("plateau", "[0.1, null]"), "/filter/plateau/1: must be a number, not null");
    EXPECT_EQ(with("dc", "1.5"), "/filter/dc: must be a whole number");
    EXPECT_EQ(with("dc", "18446744073709551615"), "/filter/dc: is too large");
    EXPECT_EQ(with("dc", "[]"), "/filter/dc: must be a whole number, not an array");
    EXPECT_EQ(with("pair", "1"), "/filter/pair: must be true or false, not a number");
    EXPECT_EQ(refusal(recipe(R"("type": "image", "kernel": 1)")),
              "/filter/kernel: must be a string, not a number");
    EXPECT_EQ(refusal(recipe(R"("type": "image", "kernel": "")")),
              "/filter/kernel: must be the name of an image file");
    EXPECT_EQ(refusal(recipe(band, R"("padding": "wrap")")),
              "/padding: must be \"mirror\" or \"zero\", not \"wrap\"");
    EXPECT_EQ(refusal(recipe(band, R"("depth": "8")")),
              "/depth: must be 8, 16, \"float\" or \"double\", not \"8\"");
    EXPECT_EQ(refusal(recipe(band, R"("part": null)")),
              "/part: must be \"real\", \"magnitude\", \"angle\" or \"quadrant\", not null");
    EXPECT_EQ(refusal(recipe(band, R"("range": ["clip"])")),
              "/range: must be \"normalize\" or \"clip\", not [\"clip\"]");
}

TEST(Recipe, RefusesValuesThatNoFilterHas) {
    const auto with = [](const std::string& frequency, const std::string& sigma,
                         const std::string& more = "") {
        return refusal(
            recipe(R"("type": "bandpass", "frequency": )" + frequency + ", \"sigma\": " + sigma + more));
    };
    EXPECT_EQ(with("0.2", "1"), "");
    EXPECT_EQ(with("0.6", "0.1"), "/filter/frequency: Frequency must be between 0.0 and 0.5.");
    EXPECT_EQ(with("0.2", "0"), "/filter/sigma: Sigma must be positive.");
    EXPECT_EQ(with("0.2", "1.5"), "/filter/sigma: Sigma must not be above 1.");
    EXPECT_EQ(with("0.2", "[0.1, 0.1]"), "/filter/sigma: must be a number for a ring, not an array");
    EXPECT_EQ(with("0.2", "0.1", R"(, "plateau": -1)"), "/filter/plateau: Plateau cannot be negative.");
    EXPECT_EQ(with("0.2", "0.1", R"(, "dc": -1)"), "/filter/dc: DC Removal Radius cannot be negative.");
    // Among several, the first in the order of the help.
    EXPECT_THAT(with("0.6", "0"), StartsWith("/filter/frequency: "));
    const auto period = [](const std::string& value) {
        return refusal(recipe(R"("type": "bandpass", "sigma": 0.1, "period": )" + value));
    };
    EXPECT_EQ(period("2"), "");
    EXPECT_EQ(period("1.9"), "/filter/period: must be at least 2 pixels, not 1.9");
    EXPECT_EQ(period("0"), "/filter/period: must be at least 2 pixels, not 0");
    EXPECT_EQ(period("-8"), "/filter/period: must be at least 2 pixels, not -8");
}

TEST(Recipe, RefusesWhatDoesNotGoWithTheTypeOrIsMissing) {
    EXPECT_EQ(refusal(recipe(band + R"(, "angle": 30)")),
              "/filter/angle: does not go with the type bandpass");
    EXPECT_EQ(refusal(recipe(band + R"(, "pair": true)")),
              "/filter/pair: does not go with the type bandpass");
    EXPECT_EQ(refusal(recipe(R"("type": "image", "kernel": "k.png", "period": 8)")),
              "/filter/period: does not go with the type image");
    EXPECT_EQ(refusal(recipe(R"("type": "image")")), "/filter: the type image needs \"kernel\"");
    EXPECT_EQ(refusal(recipe(R"("type": "gabor", "frequency": 0.2, "sigma": 0.1)")),
              "/filter: the type gabor needs \"angle\"");
    EXPECT_EQ(refusal(recipe(R"("type": "bandpass", "sigma": 0.1)")),
              "/filter: the type bandpass needs \"frequency\" or \"period\"");
    EXPECT_EQ(refusal(recipe(band + R"(, "period": 5)")),
              "/filter/period: the frequency is given too; one of the two says it");
}

TEST(Recipe, RefusesSettingsThatContradictEachOther) {
    EXPECT_THAT(refusal(recipe(lobe, R"("part": "angle", "range": "clip")")),
                StartsWith("/range: --range does not go with --part angle"));
    EXPECT_THAT(refusal(recipe(lobe, R"("depth": "float", "range": "clip")")),
                StartsWith("/range: --range is for 8- and 16-bit results"));
}

TEST(Recipe, IsWrittenAsItIsRead) {
    const TemporaryFolder folder;
    const std::vector<std::string> texts = {
        recipe(R"("type": "bandpass", "period": 7, "sigma": 1e-9)"),
        recipe(
            R"("type": "bandreject", "frequency": 0.1, "sigma": 1, "plateau": 0.30000000000000004, "dc": 2)"),
        recipe(lobe + R"(, "pair": true)", R"("padding": "mirror", "part": "quadrant", "depth": 8)"),
        recipe(
            R"("type": "gabor-reject", "frequency": 0, "sigma": [0.1, 0.2], "plateau": [0.5, 0], "angle": -77.7)",
            R"("padding": "zero", "part": "real", "range": "normalize", "depth": 16)"),
        recipe(R"("type": "image", "kernel": "/x/k.png", "unit": true)", R"("depth": "float")"),
        recipe(R"("type": "image", "kernel": "/x/k.png", "unit": false)",
               R"("depth": "double", "part": "angle")"),
    };
    for (const std::string& text : texts) {
        const Recipe first = read(text);
        app::writeRecipe(folder / "r.json", first, Overwrite::force);
        const Recipe again = app::readRecipe(folder / "r.json");
        EXPECT_EQ(app::recipeText(again), app::recipeText(first));
        const app::FilterParameters& a = first.settings.filter;
        const app::FilterParameters& b = again.settings.filter;
        EXPECT_EQ(a.type, b.type);
        EXPECT_EQ(a.frequency, b.frequency);
        EXPECT_EQ(a.sigma.along, b.sigma.along);
        EXPECT_EQ(a.sigma.across, b.sigma.across);
        EXPECT_EQ(a.plateau.along, b.plateau.along);
        EXPECT_EQ(a.plateau.across, b.plateau.across);
        EXPECT_EQ(a.angle, b.angle);
        EXPECT_EQ(a.dcRadius, b.dcRadius);
        EXPECT_EQ(a.pair, b.pair);
        EXPECT_EQ(a.kernelScale, b.kernelScale);
        EXPECT_EQ(first.kernel, again.kernel);
        EXPECT_EQ(first.settings.padding, again.settings.padding);
        EXPECT_EQ(first.settings.part, again.settings.part);
        EXPECT_EQ(first.settings.range, again.settings.range);
        EXPECT_EQ(first.settings.depth, again.settings.depth);
    }
    EXPECT_EQ(app::recipeText(read(recipe(lobe, R"("range": "clip", "depth": 16)"))), R"({
  "kavfilt": 1,
  "filter": {
    "type": "gabor",
    "frequency": 0.2,
    "sigma": 0.04,
    "plateau": 0.0,
    "angle": 30.0,
    "dc": 0
  },
  "range": "clip",
  "depth": 16
}
)");
}

TEST(Recipe, IsWrittenOnlyAsJson) {
    const TemporaryFolder folder;
    EXPECT_EQ(
        messageOf<app::UsageError>([&] { app::writeRecipe("r.txt", read(recipe(band)), Overwrite::force); }),
        "a recipe's file is named .json, not r.txt");
    Recipe named = read(recipe(R"("type": "image", "kernel": "k")"));
    named.kernel = "/k\xff";
    EXPECT_THAT(
        messageOf<app::UsageError>([&] { app::writeRecipe(folder / "r.json", named, Overwrite::force); }),
        HasSubstr("the name is not UTF-8"));
    EXPECT_THAT(folder.names(), testing::IsEmpty());
}

// Every prefix and every changed byte is read or refused, in one line once it is reported.
TEST(Recipe, SurvivesDamage) {
    const std::string whole = recipe(lobe + R"(, "plateau": [0.1, 0.2])", R"("range": "clip", "depth": 16)");
    for (std::size_t length = 0; length < whole.size(); ++length) {
        EXPECT_NE(refusal(whole.substr(0, length)), "") << length;
    }
    long refused = 0;
    for (std::size_t at = 0; at < whole.size(); ++at) {
        for (int value = 0; value < 256; ++value) {
            std::string changed = whole;
            changed[at] = static_cast<char>(value);
            refused += refusal(changed).empty() ? 0 : 1;
        }
    }
    EXPECT_GT(refused, 10000);
}

} // namespace

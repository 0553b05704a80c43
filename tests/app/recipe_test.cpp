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
    EXPECT_THAT(refusal(std::string(65536, ' ')), StartsWith("not JSON: "));
}

TEST(Recipe, RefusesDeepNesting) {
    const auto nested = [](std::size_t levels) {
        return recipe(band, "\"padding\": " + std::string(levels, '[') + std::string(levels, ']'));
    };
    EXPECT_EQ(refusal(nested(7)),
              "/padding: must be \"mirror\" or \"zero\", not " + std::string(7, '[') + std::string(7, ']'));
    EXPECT_EQ(refusal(nested(8)), "/padding/0/0/0/0/0/0/0: is nested too deeply");
    EXPECT_EQ(refusal(nested(32000)), "/padding/0/0/0/0/0/0/0: is nested too deeply");
    EXPECT_THAT(refusal(R"({"a":{"a":{"a":{"a":{"a":{"a":{"a":{"a":{}}}}}}}}})"),
                testing::EndsWith(": is nested too deeply"));
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
    // The system would read k.png.
    EXPECT_EQ(refusal(recipe(R"("type": "image", "kernel": "k.png\u0000x")")),
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

TEST(Recipe, TakesNumbersByTheirValue) {
    EXPECT_EQ(read(recipe(band, R"("depth": 8.0)")).settings.depth, Depth::bits8);
    EXPECT_EQ(read(recipe(band, R"("depth": 1.6e1)")).settings.depth, Depth::bits16);
    EXPECT_EQ(refusal(recipe(band, R"("depth": 8.5)")),
              "/depth: must be 8, 16, \"float\" or \"double\", not 8.5");
    EXPECT_EQ(read(recipe(R"("type": "bandpass", "frequency": 0, "sigma": 1)")).settings.filter.sigma.along,
              1);
    EXPECT_EQ(refusal(recipe(R"("type": "bandpass", "frequency": 18446744073709551615, "sigma": 1)")),
              "/filter/frequency: Frequency must be between 0.0 and 0.5.");
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

// A wave of that many cycles per pixel, in that direction, 0 along x, 90 along y.
app::Image wave(long width, long height, double frequency, double degrees) {
    const double along = 2 * std::numbers::pi * frequency * std::cos(degrees * std::numbers::pi / 180);
    const double across = 2 * std::numbers::pi * frequency * std::sin(degrees * std::numbers::pi / 180);
    return makeImage(width, height, Depth::float64, [=](long x, long y) {
        return 100 * std::cos(along * static_cast<double>(x) + across * static_cast<double>(y));
    });
}

// The root of the mean square of the middle, away from what the borders do.
double strength(const app::Image& image) {
    double sum = 0;
    const long width = image.pels.width();
    const long height = image.pels.height();
    for (long y = height / 4; y < height * 3 / 4; ++y) {
        for (long x = width / 4; x < width * 3 / 4; ++x) {
            sum += image.pels.pointToRow(y)[x] * image.pels.pointToRow(y)[x];
        }
    }
    return std::sqrt(4 * sum / static_cast<double>(width * height));
}

// How much of a wave a filter leaves.
double gainOf(const app::FilterSettings& settings, const app::Image& image) {
    return strength(app::filterImage(image, settings).image) / strength(image);
}

struct Shape {
    long width;
    long height;
};
const std::vector<Shape> shapes = {{640, 480}, {480, 640}, {512, 512}, {1000, 120}, {120, 1000}};

// The fall-off of a ring is that of its sigma in cycles per pixel, whatever the direction and the shape.
TEST(RecipeUnits, AreCyclesPerPixelInEveryDirectionForRings) {
    const auto keep =
        read(recipe(R"("type": "bandpass", "period": 8, "sigma": 0.03, "plateau": 0.02)")).settings;
    const auto drop =
        read(recipe(R"("type": "bandreject", "period": 8, "sigma": 0.03, "plateau": 0.02)")).settings;
    for (const Shape& shape : shapes) {
        for (const double degrees : {0.0, 27.0, 45.0, 90.0, 120.0}) {
            for (const double offset : {0.0, 0.02, 0.05, 0.08, -0.05}) {
                const double beyond = std::max(std::abs(offset) - 0.02, 0.0) / 0.03;
                const double gain = std::exp(-beyond * beyond / 2);
                const app::Image image = wave(shape.width, shape.height, 0.125 + offset, degrees);
                EXPECT_NEAR(gainOf(keep, image), gain, 0.03)
                    << shape.width << " x " << shape.height << ", " << degrees << ", " << offset;
                EXPECT_NEAR(gainOf(drop, image), 1 - gain, 0.03)
                    << shape.width << " x " << shape.height << ", " << degrees << ", " << offset;
            }
        }
    }
}

TEST(RecipeUnits, AreCyclesPerPixelAndDegreesOfTheImageForLobes) {
    const app::FilterSettings drop =
        read(recipe(R"("type": "gabor-reject", "period": 8, "sigma": 0.02, "angle": 30)")).settings;
    for (const Shape& shape : {shapes[0], shapes[1], shapes[2]}) {
        EXPECT_LT(gainOf(drop, wave(shape.width, shape.height, 0.125, 30)), 0.05);
        EXPECT_LT(gainOf(drop, wave(shape.width, shape.height, 0.125, 210)), 0.05);
        EXPECT_GT(gainOf(drop, wave(shape.width, shape.height, 0.125, -30)), 0.97);
        // Two sigma away along the direction and across it.
        const double gain = 1 - std::exp(-2);
        EXPECT_NEAR(gainOf(drop, wave(shape.width, shape.height, 0.125 + 0.04, 30)), gain, 0.04);
        const double across = std::atan(0.04 / 0.125) * 180 / std::numbers::pi;
        EXPECT_NEAR(gainOf(drop, wave(shape.width, shape.height, std::hypot(0.125, 0.04), 30 + across)), gain,
                    0.04);
    }
}

// What wholeRings is for: the library's ring ends at 0.1 + (4 * 0.01 + 0.2 + 0.05) / 2 of a transform that is
// twice as high as wide.
TEST(RecipeUnits, AreNotCutOffWhereTheLibrarysRingsAre) {
    app::FilterSettings settings =
        read(recipe(R"("type": "bandpass", "frequency": 0.1, "sigma": 0.01, "plateau": 0.2)")).settings;
    const app::Image standing = wave(480, 640, 0.28, 90);
    EXPECT_TRUE(settings.wholeRings);
    EXPECT_GT(gainOf(settings, standing), 0.97);
    settings.wholeRings = false;
    EXPECT_LT(gainOf(settings, standing), 0.03);
    // Images that are not taller than wide are filtered by the library as they are.
    const app::Image lying = wave(640, 480, 0.28, 90);
    const std::vector<double> expected = pelsOf(app::filterImage(lying, settings).image);
    settings.wholeRings = true;
    EXPECT_EQ(pelsOf(app::filterImage(lying, settings).image), expected);
}

TEST(RecipeUnits, LeaveTheResultUpright) {
    const app::FilterSettings settings = read(recipe(band, R"("depth": 16)")).settings;
    const app::Image image = patternImage(21, 50, Depth::bits8);
    const app::FilterResult result = app::filterImage(image, settings);
    EXPECT_EQ(result.image.pels.width(), 21);
    EXPECT_EQ(result.image.pels.height(), 50);
    EXPECT_EQ(result.image.depth, Depth::bits16);
    EXPECT_EQ(result.transform, (vxPair<long>(32, 64)));
    app::FilterSettings asIs = settings;
    asIs.wholeRings = false;
    const std::vector<double> library = pelsOf(app::filterImage(image, asIs).image);
    const std::vector<double> turned = pelsOf(result.image);
    long near = 0;
    for (std::size_t i = 0; i < turned.size(); ++i) {
        near += std::abs(turned[i] - library[i]) < 4000 ? 1 : 0;
    }
    EXPECT_GT(near, 1000); // Of 1050: the ring differs a little, the picture does not.

    app::Image bad = patternImage(21, 50, Depth::float64);
    bad.pels.pointToRow(40)[3] = std::nan("");
    bad.name = "x.tif";
    EXPECT_EQ(messageOf<app::UnreadableError>([&] { static_cast<void>(app::filterImage(bad, settings)); }),
              "cannot transform x.tif: the pel at (3, 40) is not a finite number");
}

} // namespace

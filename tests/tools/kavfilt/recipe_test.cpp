#include "app/filter_file.h"
#include "app/filtering.h"
#include "app/image_file.h"
#include "app/recipe.h"
#include "tests/app/images.h"
#include "tests/tools/kavfilt/filter_bits.h"
#include "tests/tools/kavfilt/program.h"

#include <gmock/gmock.h>

#include <sstream>

namespace {

using app::Depth;
using app::Overwrite;
using testing::HasSubstr;

struct Example {
    std::string name;
    std::string filter;
};
const std::vector<Example> examples = {
    {"bandpass", R"("type": "bandpass", "period": 7, "sigma": 0.04, "plateau": 0.01, "dc": 1)"},
    {"bandreject", R"("type": "bandreject", "frequency": 0.2, "sigma": 1e-3, "dc": 2)"},
    {"gabor", R"("type": "gabor", "frequency": 0.2, "sigma": [0.04, 0.1], "angle": 33.3)"},
    {"gabor_pair",
     R"("type": "gabor", "frequency": 0.05, "sigma": 0.04, "angle": -30, "pair": true, "dc": 1)"},
    {"reject", R"("type": "gabor-reject", "frequency": 0.2, "sigma": 0.04, "plateau": 0.02, "angle": 30)"},
    {"reject_one",
     R"("type": "gabor-reject", "frequency": 0.2, "sigma": 0.04, "angle": 130, "pair": false, "dc": 1)"},
    {"image", R"("type": "image", "kernel": "kernel.tif")"},
    {"image_unit", R"("type": "image", "kernel": "kernel.tif", "unit": true)"},
};

std::string textOf(const std::filesystem::path& path) {
    const Bytes bytes = readBytes(path);
    return {bytes.begin(), bytes.end()};
}

// A folder with a kernel and a recipe of every kind.
class Recipe : public testing::Test {
protected:
    Recipe() {
        app::writeImage(folder / "kernel.tif", patternImage(5, 4, Depth::float32), Overwrite::refuse);
        for (const Example& example : examples) {
            writeBytes(folder / (example.name + ".json"),
                       bytesOf(R"({"kavfilt": 1, "filter": {)" + example.filter + "}}"));
        }
    }
    Outcome recipe(const Words& arguments) { return run(folder.path(), Words{"recipe"} + arguments); }
    app::FilterParameters parameters(const std::string& name) {
        return app::settingsOf(app::readRecipe(folder / (name + ".json"))).filter;
    }

    TemporaryFolder folder;
};

TEST_F(Recipe, IsCheckedAndPrinted) {
    writeBytes(folder / "r.json", bytesOf(R"({"filter": {"sigma": 0.5, "period": 4, "type": "bandpass"},
                                             "range": "clip", "kavfilt": 1})"));
    const Outcome outcome = recipe({"r.json"});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.errors;
    EXPECT_EQ(outcome.output, R"({
  "kavfilt": 1,
  "filter": {
    "type": "bandpass",
    "frequency": 0.25,
    "sigma": 0.5,
    "plateau": 0.0,
    "dc": 0
  },
  "range": "clip"
}
)");
    const Outcome written = recipe({"r.json", "-o", "again.json"});
    EXPECT_EQ(written.output, "again.json: bandpass recipe, written\n");
    EXPECT_EQ(textOf(folder / "again.json"), outcome.output);
    writeBytes(folder / "r.json", bytesOf(R"({"kavfilt": 1, "filter": {"type": "bandpass", "sigma": 0}})"));
    expectFailure(recipe({"r.json"}), 3,
                  "cannot read r.json: /filter: the type bandpass needs \"frequency\" or \"period\"");
}

TEST_F(Recipe, BecomesAFilterFileAndComesBack) {
    for (const Example& example : examples) {
        const std::string name = example.name;
        const Outcome built = recipe({name + ".json", "-o", name + ".kav", "--size", "640,480"});
        ASSERT_EQ(built.exitCode, 0) << built.errors;
        EXPECT_THAT(built.output, HasSubstr(" filter for 1024 x 512 spectra, written\n"));
        app::FilterParameters alone = parameters(name);
        alone.pair = false;
        const vxPair<long> size(1024, 512);
        EXPECT_TRUE(app::gains(*app::readFilter(folder / (name + ".kav")).filter, size) ==
                    app::gains(*app::makeFilter(alone, size), size))
            << name;

        const Outcome back = recipe({name + ".kav", "-o", "back.json", "--force", "-q"});
        if (alone.type == "image") {
            expectFailure(back, 3,
                          "cannot make a recipe of " + name +
                              ".kav: an image filter's file holds a spectrum, not the kernel");
            continue;
        }
        ASSERT_EQ(back.exitCode, 0) << back.errors;
        EXPECT_EQ(back.output, "");
        app::FilterParameters read = app::readRecipe(folder / "back.json").settings.filter;
        EXPECT_FALSE(read.pair.has_value());
        read.pair = false;
        EXPECT_EQ(read.angle, alone.angle);
        // The file of the file's recipe is the same file.
        ASSERT_EQ(recipe({"back.json", "-o", "again.kav", "--size", "640,480", "--force"}).exitCode, 0);
        EXPECT_EQ(readBytes(folder / "again.kav"), readBytes(folder / (name + ".kav"))) << name;
    }
}

TEST_F(Recipe, RefusesWrongUsage) {
    expectFailure(recipe({"bandpass.json", "-o", "f.kav"}), 2,
                  "a .kav file is for one size of images: it needs --size");
    expectFailure(recipe({"bandpass.json", "-o", "f.json", "--size", "8"}), 2,
                  "--size is for .kav files; recipes have none");
    expectFailure(recipe({"bandpass.json", "--cpp", "-o", "f.h"}), 2,
                  "--cpp prints; it does not go with --output");
    expectFailure(recipe({"bandpass.json", "-o", "f.kav", "--size", "2049"}), 2,
                  "--size must be 1 to 2048, not 2049");
    expectFailure(recipe({"bandpass.json", "-o", "f.txt"}), 2, "a recipe's file is named .json, not f.txt");
    expectFailure(recipe({"bandpass.json", "-o", "gabor.json"}), 4,
                  "cannot write gabor.json: the file exists (--force overwrites it)");
    expectFailure(recipe({"none.json"}), 3, "cannot read none.json: no such file");
    EXPECT_THAT(recipe({"kernel.tif"}).errors, HasSubstr("cannot read kernel.tif: not JSON: "));
}

// The kernel as a program might hold it.
std::string kernelCode(const app::Image& kernel) {
    std::ostringstream text;
    text.precision(17);
    text << "vxPelBuffer<double> kernel() {\n    vxPelBuffer<double> pels(" << kernel.pels.width() << ", "
         << kernel.pels.height() << ");\n";
    for (long y = 0; y < kernel.pels.height(); ++y) {
        for (long x = 0; x < kernel.pels.width(); ++x) {
            text << "    pels.pointToRow(" << y << ")[" << x << "] = " << kernel.pels.pointToRow(y)[x]
                 << ";\n";
        }
    }
    text << "    return pels;\n}\n";
    return text.str();
}

// A program that includes every printed header and prints the bits of its filter.
std::string programCode(const app::Image& kernel, const vxPair<long>& size) {
    std::ostringstream text;
    text
        << "#include \"tests/tools/kavfilt/filter_bits.h\"\n#include <filt/freqfilt.h>\n#include <iostream>\n"
        << kernelCode(kernel);
    for (const Example& example : examples) {
        text << "namespace its_" << example.name << " {\n#include \"" << example.name << ".h\"\n}\n";
    }
    text << "int main() {\n    const vxPair<long> size(" << size.x() << ", " << size.y() << ");\n";
    for (const Example& example : examples) {
        text << "    std::cout << \"" << example.name << " \" << bitsOf(its_" << example.name << "::Filter("
             << (example.name.starts_with("image") ? "kernel(), " : "") << "size), size) << std::endl;\n";
    }
    text << "}\n";
    return text.str();
}

// A program compiled here would need the sanitizers of the libraries.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool canCompile = false;
#elif defined(__has_feature)
constexpr bool canCompile = !__has_feature(address_sanitizer) && !__has_feature(thread_sanitizer);
#else
constexpr bool canCompile = true;
#endif

TEST_F(Recipe, BecomesCodeThatFiltersToTheSameBits) {
    if (!canCompile) {
        GTEST_SKIP() << "a sanitizer is at work";
    }
    for (const vxPair<long>& size : {vxPair<long>(64, 32), vxPair<long>(32, 128)}) {
        std::ostringstream expected;
        for (const Example& example : examples) {
            const Outcome code = recipe({example.name + ".json", "--cpp"});
            ASSERT_EQ(code.exitCode, 0) << code.errors;
            writeBytes(folder / (example.name + ".h"), bytesOf(code.output));
            expected << example.name << ' ' << bitsOf(*app::makeFilter(parameters(example.name), size), size)
                     << '\n';
        }
        writeBytes(folder / "program.cpp", bytesOf(programCode(app::readImage(folder / "kernel.tif"), size)));
        const std::string command = "cd '" + folder.path().string() +
                                    "' && '" KAV_COMPILER "' -std=c++20 -Wall -Wextra -Werror -I '" KAV_SOURCE
                                    "' program.cpp " KAV_LIBRARIES " -o program && ./program > bits";
        ASSERT_EQ(std::system(command.c_str()), 0) << command;
        EXPECT_EQ(textOf(folder / "bits"), expected.str());
    }
}

// One that is to be read by people.
TEST_F(Recipe, BecomesCode) {
    EXPECT_EQ(
        recipe({"bandreject.json", "--cpp"}).output,
        R"(// Made from bandreject.json by kavfilt. The filter alone: filling images up to the size of their
// spectra and bringing results into the range of pels is the caller's.
#pragma once

#include <filt/fft.h>
#include <filt/freqfilt.h>

/// Filters spectra of one size.
class Filter {
public:
    /// For spectra of that size: vxPair<long>(spectrum.width(), spectrum.height()).
    explicit Filter(const vxPair<long>& size)
        : filter_(0.001, 0.0, 0.2, size, 2) {}

    /// In place. Throws vxFrequencyDefs::InvalidSize for a spectrum of another size.
    void apply(vxFrequencyBuffer& spectrum) const { filter_.apply(spectrum); }

private:
    vxFrequencyFilterBandReject filter_;
};
)");
}

} // namespace

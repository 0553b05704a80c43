// Writes the inputs that the fuzzers of formats start from: FOLDER/TARGET/seed-NAME. The same on every
// machine. usage: make_seeds FOLDER
#include "app/manifest.h"
#include "app/pgm_file.h"
#include "app/png_file.h"
#include "app/recipe.h"
#include "app/tiff_file.h"
#include "filt/fft.h"
#include "filt/freqfilt.h"

#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>

namespace {

namespace fs = std::filesystem;

class Seeds {
public:
    explicit Seeds(fs::path folder) : folder_(std::move(folder)) {}

    void write(const std::string& target, const std::string& name, const std::string& bytes) const {
        const fs::path path = folder_ / target / ("seed-" + name);
        fs::create_directories(path.parent_path());
        std::ofstream file;
        file.exceptions(std::ios::badbit | std::ios::failbit);
        file.open(path, std::ios::binary);
        file << bytes;
    }

private:
    fs::path folder_;
};

constexpr std::size_t headerSize = 9; // Magic and format version: the targets add them.

/// An archive without its header.
template <class T>
std::string body(T& value) {
    std::ostringstream stream;
    vxOutputArchive archive(stream);
    archive || value;
    return stream.str().substr(headerSize);
}

std::string byteOf(int value) {
    return {static_cast<char>(static_cast<unsigned char>(value))};
}

vxPelBuffer<double> ramp(long width, long height) {
    vxPelBuffer<double> pels(width, height);
    for (long y = 0; y < height; ++y) {
        for (long x = 0; x < width; ++x) {
            pels.pointToRow(y)[x] = static_cast<double>(x * 9 + y * 17);
        }
    }
    return pels;
}

void writeImages(const Seeds& seeds) {
    for (const app::Depth depth :
         {app::Depth::bits8, app::Depth::bits16, app::Depth::float32, app::Depth::float64}) {
        const app::DepthTraits& traits = app::traits(depth);
        app::Image image;
        image.pels = ramp(5, 3);
        image.depth = depth;
        const auto text = [](const std::vector<unsigned char>& bytes) {
            return std::string(bytes.begin(), bytes.end());
        };
        seeds.write("tiff_fuzz", traits.name, text(app::encodeTiff(image)));
        if (traits.isInteger) {
            seeds.write("png_fuzz", traits.name, byteOf(0) + text(app::encodePng(image)));
            seeds.write("pgm_fuzz", traits.name, text(app::encodePgm(image)));
        }
    }
    seeds.write("pgm_fuzz", "text", "P2\n# text\n3 2\n200\n1 2 3\n4 5 200\n");
}

vxFrequencyBuffer spectrum() {
    vxPelBuffer<double> pels = ramp(5, 3);
    pels.offset(2, -1);
    vxFrequencyBuffer buffer;
    vfForwardFFT<double>(pels, buffer);
    return buffer;
}

void writeSpectra(const Seeds& seeds) {
    const std::string use(8, '\1');
    vxFrequencyBuffer plain = spectrum();
    vxFrequencyBuffer cropped(plain, 2, 2);
    vxFrequencyBuffer consumed = plain;
    vxPelBuffer<double> real;
    vxPelBuffer<double> imaginary;
    vfInverseFFT(consumed, real, imaginary, true);
    vxFrequencyBuffer empty;
    seeds.write("frequency_buffer_fuzz", "plain", use + body(plain));
    seeds.write("frequency_buffer_fuzz", "cropped", use + body(cropped));
    seeds.write("frequency_buffer_fuzz", "consumed", use + body(consumed));
    seeds.write("frequency_buffer_fuzz", "empty", use + body(empty));
}

/// `number` is the place of the filter's class in the targets' lists.
void writeFilter(const Seeds& seeds, int number, const std::string& name, vxFrequencyFilter& filter) {
    vxPersistent& object = filter;
    const std::string bytes = body(object);
    seeds.write("filter_load_fuzz", name, byteOf(number) + std::string(4, '\1') + bytes);
    seeds.write("filter_file_fuzz", name, byteOf(number) + bytes);
    constexpr int filtersInObjects = 5;
    seeds.write("object_fuzz", name, byteOf(number + filtersInObjects) + byteOf(0) + bytes);
}

void writeFilters(const Seeds& seeds) {
    const vxPair<long> size(8, 4);
    vxFrequencyFilterBandPass bandPass(0.02, 0.01, 0.25, size, 1);
    vxFrequencyFilterBandReject bandReject(0.02, 0.01, 0.25, size, 1);
    vxFrequencyFilterGabor gabor({0.05, 0.1}, {0.0, 0.1}, vxRadian(0.5), 0.25, size, 1);
    vxFrequencyFilterGaborReject gaborReject({0.05, 0.1}, {0.0, 0.1}, vxRadian(0.5), 0.25, size, 1);
    vxFrequencyFilterImage image(spectrum());
    vxFrequencyFilterGabor unbuilt;
    writeFilter(seeds, 0, "band-pass", bandPass);
    writeFilter(seeds, 1, "band-reject", bandReject);
    writeFilter(seeds, 2, "gabor", gabor);
    writeFilter(seeds, 3, "gabor-reject", gaborReject);
    writeFilter(seeds, 4, "image", image);
    writeFilter(seeds, 2, "unbuilt", unbuilt);
}

void writeArchives(const Seeds& seeds) {
    std::vector<float> values = {1.0F, -2.5F, 1e-40F};
    vx2XformCache xform;
    xform.xform(vx2XformLinear(vxXform<2>(vxMatrix<2>(2.0, 0.0, 0.5, 1.0), vxVector<2>(3.0, 4.0))));
    vxArchive::UnknownVersion error("file", 3);
    seeds.write("archive_fuzz", "values", byteOf(1) + byteOf(1) + body(values));
    seeds.write("archive_fuzz", "transform", byteOf(2) + byteOf(1) + body(xform) + body(error));
    seeds.write("archive_fuzz", "numbers", byteOf(0) + byteOf(1) + std::string(80, '\0'));
}

void writeRecipes(const Seeds& seeds) {
    app::Recipe recipe;
    app::FilterSettings& settings = recipe.settings;
    settings.filter.frequency = 0.2;
    settings.filter.sigma = 0.04;
    settings.filter.dcRadius = 1;
    for (const std::string& type : app::filterTypes()) {
        settings.filter.type = type;
        recipe.kernel = type == "image" ? "k.png" : "";
        seeds.write("recipe_fuzz", type, app::recipeText(recipe));
    }
    settings.filter.type = "gabor";
    settings.filter.sigma = {0.02, 0.04};
    settings.filter.plateau = {0.1, 0};
    settings.filter.angle = app::radiansOf(30);
    settings.filter.pair = true;
    settings.padding = app::Padding::zero;
    settings.part = app::Part::magnitude;
    settings.range = app::Range::clip;
    settings.depth = app::Depth::bits16;
    seeds.write("recipe_fuzz", "everything", app::recipeText(recipe));
    seeds.write("recipe_fuzz", "period",
                R"({"kavfilt":1,"filter":{"type":"bandreject","period":8,"sigma":1e-9},"part":"angle"})");
}

void writeManifests(const Seeds& seeds) {
    app::ManifestEntry done;
    done.input = "in/a.png";
    done.isDone = true;
    done.version = "1.0.0";
    done.settings = "5e771295";
    done.inputHash = "1287";
    done.contentHash = "007907";
    app::ManifestEntry failed;
    failed.input = "in/b.png";
    failed.exitCode = 3;
    failed.error = "cannot read in/b.png: it is a directory";
    const app::Manifest manifest = {{{"a.png", done}, {"b.png", failed}},
                                    {{done.settings, R"({"kavfilt":1,"filter":{"type":"bandpass"}})"}}};
    seeds.write("manifest_fuzz", "empty", app::manifestText({}));
    seeds.write("manifest_fuzz", "outputs", app::manifestText(manifest));
}

} // namespace

int main(int count, char** arguments) {
    if (count != 2) {
        std::cerr << "usage: make_seeds FOLDER\n";
        return 2;
    }
    const Seeds seeds(arguments[1]);
    writeImages(seeds);
    writeSpectra(seeds);
    writeFilters(seeds);
    writeArchives(seeds);
    writeRecipes(seeds);
    writeManifests(seeds);
    return 0;
}

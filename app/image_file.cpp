#include "app/image_file.h"

#include "app/errors.h"
#include "app/input_file.h"
#include "app/pgm_file.h"
#include "app/png_file.h"
#include "app/tiff_file.h"

#include <algorithm>
#include <string_view>

namespace app {
namespace {

namespace fs = std::filesystem;
using namespace std::string_view_literals;

struct Signature {
    std::string_view start;
    Image (*read)(std::istream&);
};

constexpr Signature signatures[] = {
    {"\x89PNG\r\n\x1a\n"sv, readPng},
    {"II*\0"sv, readTiff},
    {"MM\0*"sv, readTiff},
    {"II+\0"sv, readTiff},
    {"MM\0+"sv, readTiff},
    {"P2"sv, readPgm},
    {"P5"sv, readPgm},
};

struct Format {
    std::string_view extension;
    const char* name;
    bool holdsFloats;
    std::vector<unsigned char> (*encode)(const Image&);
};

constexpr Format formats[] = {
    {".png", "PNG", false, encodePng},
    {".tif", "TIFF", true, encodeTiff},
    {".tiff", "TIFF", true, encodeTiff},
    {".pgm", "PGM", false, encodePgm},
};

char lowered(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

const Format& formatOf(const fs::path& path) {
    std::string extension = path.extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(), lowered);
    const auto* found =
        std::find_if(std::begin(formats), std::end(formats),
                     [&extension](const Format& format) { return format.extension == extension; });
    if (found == std::end(formats)) {
        throw UsageError("cannot tell the format of " + path.string() +
                         ": the name must end in .png, .tif, .tiff or .pgm");
    }
    return *found;
}

} // namespace

Image readImage(std::istream& file) {
    char start[8] = {};
    file.read(start, sizeof start);
    const std::string_view begin(start, static_cast<std::size_t>(file.gcount()));
    file.clear();
    file.seekg(0);
    if (begin.empty()) {
        throw UnreadableError("the file is empty");
    }
    for (const Signature& signature : signatures) {
        if (begin.starts_with(signature.start)) {
            return signature.read(file);
        }
    }
    throw UnreadableError("not a PNG, TIFF or PGM image");
}

Image readImage(const fs::path& path) {
    Image image = readInput(path, [](std::istream& file) { return readImage(file); });
    image.name = path.string();
    return image;
}

void checkFormat(const fs::path& path) {
    static_cast<void>(formatOf(path));
}

void checkFormat(const fs::path& path, Depth depth) {
    const Format& format = formatOf(path);
    if (!traits(depth).isInteger && !format.holdsFloats) {
        throw UsageError("a " + std::string(format.name) + " file cannot hold " + traits(depth).name +
                         " pels (" + path.string() + "): choose --depth 8 or 16, or a .tif file");
    }
}

std::vector<unsigned char> encodeImage(const fs::path& path, const Image& image) {
    checkFormat(path, image.depth);
    return formatOf(path).encode(image);
}

void writeImage(const fs::path& path, const Image& image, Overwrite overwrite) {
    writeFile(path, encodeImage(path, image), overwrite);
}

} // namespace app

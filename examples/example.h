// What the examples share: a promise that is checked, a picture to work on, and files for whoever wants to
// look.
#pragma once

#include <filt/fft.h>

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <random>
#include <stdexcept>
#include <string>

namespace example {
constexpr double pi = 3.14159265358979323846;

/// Ends the example with what was promised when it was not kept.
inline void require(bool kept, const std::string& promise) {
    if (!kept) {
        throw std::runtime_error("this should be so and is not: " + promise);
    }
}

/// Woven fabric with a faint round stain. Four things of different fineness: light that changes over the
/// whole image, the stain, some 25 pels wide (around 0.03 cycles per pixel), a weave that repeats every 6
/// pels (0.167), and noise of every fineness. The same picture everywhere for the same seed.
inline vxPelBuffer<unsigned char> fabric(long width, long height, unsigned seed, const vxPair<long>& stain) {
    std::mt19937 random(seed);
    vxPelBuffer<unsigned char> image(width, height);
    for (long y = 0; y < height; ++y) {
        unsigned char* const row = image.pointToRow(y);
        for (long x = 0; x < width; ++x) {
            const double fx = static_cast<double>(x);
            const double fy = static_cast<double>(y);
            const double light = 40.0 * std::cos(2.0 * pi * (fx - 60.0) / static_cast<double>(width));
            const double weave = 25.0 * (std::cos(2.0 * pi * fx / 6.0) + std::cos(2.0 * pi * fy / 6.0));
            const double noise = static_cast<double>(random() % 21) - 10.0;
            const double distance =
                std::hypot(fx - static_cast<double>(stain.x()), fy - static_cast<double>(stain.y()));
            const double depth = -9.0 * std::exp(-distance * distance / (2.0 * 9.0 * 9.0));
            row[x] = static_cast<unsigned char>(std::lround(128.0 + light + weave + noise + depth));
        }
    }
    return image;
}

/// Where the least pel is.
template <class T>
vxPair<long> darkest(const vxPelBuffer_const<T>& image) {
    vxPair<long> place;
    for (long y = 0; y < image.height(); ++y) {
        for (long x = 0; x < image.width(); ++x) {
            if (image.pointToRow(y)[x] < image.pointToRow(place.y())[place.x()]) {
                place = {x, y};
            }
        }
    }
    return place;
}

inline bool isWithin(long distance, const vxPair<long>& a, const vxPair<long>& b) {
    return std::abs(a.x() - b.x()) <= distance && std::abs(a.y() - b.y()) <= distance;
}

/// An 8-bit image as a PGM file, which most viewers show.
inline void writePgm(const std::string& path, const vxPelBuffer_const<unsigned char>& image) {
    std::ofstream file(path, std::ios::binary);
    file << "P5\n" << image.width() << ' ' << image.height() << "\n255\n";
    for (long y = 0; y < image.height(); ++y) {
        // A row at a time: the memory may have gaps between them.
        const unsigned char* const row = image.pointToRow(image.offset().y() + y);
        file.write(reinterpret_cast<const char*>(row), image.width());
    }
    if (!file.flush()) {
        throw std::runtime_error("cannot write " + path);
    }
}

/// An 8-bit PGM file without comments, as writePgm and the kavfilt tool write it.
inline vxPelBuffer<unsigned char> readPgm(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::string magic;
    long width = 0;
    long height = 0;
    long white = 0;
    file >> magic >> width >> height >> white;
    file.get(); // The one blank before the pels.
    if (!file || magic != "P5" || white != 255 || width < 1 || height < 1 || width > 2048 || height > 2048) {
        throw std::runtime_error(path + " is no 8-bit PGM image of 1 x 1 to 2048 x 2048 pels");
    }
    vxPelBuffer<unsigned char> image(width, height);
    for (long y = 0; y < height; ++y) {
        file.read(reinterpret_cast<char*>(image.pointToRow(y)), width);
    }
    if (!file) {
        throw std::runtime_error(path + " ends within its pels");
    }
    return image;
}
} // namespace example

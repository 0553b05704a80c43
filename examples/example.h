// What the examples share: a promise that is checked, and a picture for whoever wants to look.
#pragma once

#include <filt/fft.h>

#include <cstdlib>
#include <fstream>
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
} // namespace example

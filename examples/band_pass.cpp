// Finds a faint stain on woven fabric in uneven light: transform, keep one band of frequencies, transform
// back.
//
//     band_pass [PICTURE.pgm]    writes what it found there
#include "example.h"

#include <filt/fft.h>
#include <filt/freqfilt.h>

#include <cmath>
#include <iostream>
#include <random>

namespace {
constexpr long size = 256; // A power of two: the spectrum has the image's size and nothing is padded.
constexpr vxPair<long> stain(170, 90);

// Three things of different fineness: light that changes over the whole image (0 to 0.004 cycles per pixel),
// a stain some 25 pels wide (around 0.03), a weave that repeats every 6 pels (0.167), and noise of every
// fineness.
vxPelBuffer<unsigned char> fabric() {
    std::mt19937 random(1); // Its sequence is the same everywhere.
    vxPelBuffer<unsigned char> image(size, size);
    for (long y = 0; y < size; ++y) {
        unsigned char* const row = image.pointToRow(y);
        for (long x = 0; x < size; ++x) {
            const double fx = static_cast<double>(x);
            const double fy = static_cast<double>(y);
            const double light = 40.0 * std::cos(2.0 * example::pi * (fx - 60.0) / size);
            const double weave =
                25.0 * (std::cos(2.0 * example::pi * fx / 6.0) + std::cos(2.0 * example::pi * fy / 6.0));
            const double noise = static_cast<double>(random() % 21) - 10.0;
            const double distance =
                std::hypot(fx - static_cast<double>(stain.x()), fy - static_cast<double>(stain.y()));
            const double spot = -9.0 * std::exp(-distance * distance / (2.0 * 9.0 * 9.0));
            row[x] = static_cast<unsigned char>(std::lround(128.0 + light + weave + noise + spot));
        }
    }
    return image;
}

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

bool isAtStain(const vxPair<long>& place) {
    return std::abs(place.x() - stain.x()) <= 3 && std::abs(place.y() - stain.y()) <= 3;
}

void run(const char* picture) {
    const vxPelBuffer<unsigned char> image = fabric();
    example::require(!isAtStain(darkest<unsigned char>(image)),
                     "in the image itself the stain is not the darkest place");

    // [transform]
    vxFrequencyBuffer spectrum;
    vfForwardFFT<unsigned char>(image, spectrum);

    // Frequencies are in cycles per pixel. The gain is 1 at 0.03 and falls off on both sides like a Gaussian
    // of width 0.01: light and weave are beyond it. The last number clears the DC, the mean, as well.
    const vxPair<long> spectrumSize(spectrum.width(), spectrum.height());
    const vxFrequencyFilterBandPass filter(0.01, 0.0, 0.03, spectrumSize, 1);
    filter.apply(spectrum);
    // [transform]

    // What is left swings around zero. As doubles, the real image keeps the sign; the imaginary one is
    // rounding noise.
    vxPelBuffer<double> real;
    vxPelBuffer<double> imaginary;
    vfInverseFFT(static_cast<const vxFrequencyBuffer&>(spectrum), real, imaginary);

    const vxPair<long> found = darkest<double>(real);
    std::cout << "the stain is at (" << found.x() << ", " << found.y() << "), "
              << real.pointToRow(found.y())[found.x()] << " grey levels deep\n";
    example::require(isAtStain(found), "after the filter the stain is the darkest place");
    if (picture != nullptr) {
        // For the eye: the darkest becomes 0, the brightest 255.
        example::writePgm(picture, vfFrequencyMapImage(real, vxFrequencyDefs::eLinear, 0.0, 0.0));
    }
}
} // namespace

int main(int argc, char** argv) {
    try {
        run(argc > 1 ? argv[1] : nullptr);
        return 0;
    } catch (const std::exception& error) { // Every error of the library is one.
        std::cerr << "band_pass: " << error.what() << '\n';
        return 1;
    }
}

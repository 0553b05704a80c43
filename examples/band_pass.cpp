// Finds a faint stain on woven fabric in uneven light: transform, keep one band of frequencies, transform
// back.
//
//     band_pass [PICTURE.pgm]    writes what it found there
#include "example.h"

#include <filt/fft.h>
#include <filt/freqfilt.h>

#include <iostream>

namespace {
void run(const char* picture) {
    const vxPair<long> stain(170, 90);
    // The sizes are powers of two, so that the spectrum has the image's size and nothing is padded.
    const vxPelBuffer<unsigned char> image = example::fabric(256, 256, 1, stain);
    example::require(!example::isWithin(3, example::darkest<unsigned char>(image), stain),
                     "in the image itself the stain is not the darkest place");

    // [band_pass_filter]
    vxFrequencyBuffer spectrum;
    vfForwardFFT<unsigned char>(image, spectrum);

    // Frequencies are in cycles per pixel. The gain is 1 at 0.03 and falls off on both sides like a Gaussian
    // of width 0.01: light and weave lie beyond it. The last number clears the DC, the mean, as well.
    const vxPair<long> size(spectrum.width(), spectrum.height());
    const vxFrequencyFilterBandPass filter(0.01, 0.0, 0.03, size, 1);
    filter.apply(spectrum);
    // [band_pass_filter]

    // [band_pass_inverse]
    // What is left swings around zero. As doubles, the real image keeps the sign; the imaginary one is
    // rounding noise.
    vxPelBuffer<double> real;
    vxPelBuffer<double> imaginary;
    vfInverseFFT(spectrum, real, imaginary, true); // In place: the spectrum is used up.
    // [band_pass_inverse]

    const vxPair<long> found = example::darkest<double>(real);
    std::cout << "the stain is at (" << found.x() << ", " << found.y() << "), "
              << real.pointToRow(found.y())[found.x()] << " grey levels\n";
    example::require(example::isWithin(3, found, stain), "after the filter the stain is the darkest place");
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

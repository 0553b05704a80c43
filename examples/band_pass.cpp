// Finds a fine stripe pattern under a strong slope of light: transform, keep one band of frequencies,
// transform back.
#include <filt/fft.h>
#include <filt/freqfilt.h>

#include <cmath>
#include <iostream>

int main() {
    try {
        constexpr long size = 256;
        vxPelBuffer<double> image(size, size);
        for (long y = 0; y < size; ++y) {
            double* const row = image.pointToRow(y);
            for (long x = 0; x < size; ++x) {
                row[x] = static_cast<double>(x) +
                         2.0 * std::cos(2.0 * 3.141592653589793 * static_cast<double>(x) / 8.0);
            }
        }

        vxFrequencyBuffer spectrum;
        vfForwardFFT(image, spectrum);
        const vxFrequencyFilterBandPass filter(0.005, 0.0, 1.0 / 8.0, {size, size}, 0);
        filter.apply(spectrum);

        vxPelBuffer<double> real;
        vxPelBuffer<double> imaginary;
        vfInverseFFT(spectrum, real, imaginary, true);
        const double crest = real.pointToRow(size / 2)[size / 2];
        const double trough = real.pointToRow(size / 2)[size / 2 + 4];
        std::cout << "stripes from " << trough << " to " << crest << '\n';
        return crest > 1.8 && trough < -1.8 ? 0 : 1;
    } catch (const vxFrequencyDefs::Errors& error) {
        std::cerr << "error " << error.errorNumber() << ": " << error.what() << '\n';
        return 1;
    }
}

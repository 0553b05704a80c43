// Removes a stripe pattern that mains hum has put over an image: finds its peak in the spectrum and takes the
// peak and its mirror image out with two Gabor reject filters.
//
//     remove_periodic_noise [PICTURE.pgm]    writes the repaired image there
#include "example.h"

#include <filt/fft.h>
#include <filt/freqfilt.h>

#include <cmath>
#include <iostream>

namespace {
constexpr long width = 512;
constexpr long height = 256;

// A part with a round hole and soft edges, and a grid of fine marks on it.
double scene(double x, double y) {
    const double hole = 1.0 / (1.0 + std::exp((std::hypot(x - 200.0, y - 128.0) - 60.0) / 3.0));
    const double marks = std::fmod(x, 64.0) < 3.0 ? 25.0 : 0.0;
    return 150.0 - 70.0 * hole + marks;
}

// 30 grey levels of it: as strong as the marks.
double hum(double x, double y) {
    return 30.0 * std::sin(2.0 * example::pi * (0.137 * x + 0.0621 * y));
}

template <class Pel>
vxPelBuffer<double> imageOf(const Pel& pel) {
    vxPelBuffer<double> image(width, height);
    for (long y = 0; y < height; ++y) {
        for (long x = 0; x < width; ++x) {
            image.pointToRow(y)[x] = pel(static_cast<double>(x), static_cast<double>(y));
        }
    }
    return image;
}

double rmsDifference(const vxPelBuffer_const<double>& a, const vxPelBuffer_const<double>& b) {
    double sum = 0.0;
    for (long y = 0; y < height; ++y) {
        for (long x = 0; x < width; ++x) {
            const double difference = a.pointToRow(y)[x] - b.pointToRow(y)[x];
            sum += difference * difference;
        }
    }
    return std::sqrt(sum / static_cast<double>(width * height));
}

struct Peak {
    double frequency; ///< Cycles per pixel.
    vxRadian angle;   ///< 0 along x, a quarter turn along y, which points down.
};

// [find_peak]
// The strongest sample away from the DC, where images have most of their own energy. With `centered`, u and v
// are signed frequencies; a real image's spectrum has every peak twice, so one half of it is enough.
Peak strongestPeak(const vxFrequencyBuffer& spectrum) {
    const double coarsest = 0.05; // Cycles per pixel. Coarser patterns are left to the image.
    double strongest = 0.0;
    Peak peak{0.0, vxRadian(0.0)};
    for (long v = -spectrum.height() / 2; v < spectrum.height() / 2; ++v) {
        for (long u = 0; u < spectrum.width() / 2; ++u) {
            const double fx = static_cast<double>(u) / static_cast<double>(spectrum.width());
            const double fy = static_cast<double>(v) / static_cast<double>(spectrum.height());
            const vxPair<double> sample = spectrum.get(u, v, true);
            const double magnitude = std::hypot(sample.x(), sample.y());
            if (std::hypot(fx, fy) > coarsest && magnitude > strongest) {
                strongest = magnitude;
                peak = {std::hypot(fx, fy), vxRadian(std::atan2(fy, fx))};
            }
        }
    }
    return peak;
}
// [find_peak]

void run(const char* picture) {
    const vxPelBuffer<double> clean = imageOf(scene);
    const vxPelBuffer<double> striped = imageOf([](double x, double y) { return scene(x, y) + hum(x, y); });

    vxFrequencyBuffer spectrum;
    vfForwardFFT<double>(striped, spectrum);
    const Peak peak = strongestPeak(spectrum);
    std::cout << "stripes of " << peak.frequency << " cycles per pixel at "
              << peak.angle.toDouble() * 180.0 / example::pi << " degrees\n";
    example::require(std::abs(peak.frequency - std::hypot(0.137, 0.0621)) < 1.0 / height,
                     "the peak is that of the stripes");

    // [gabor_reject]
    // The gain is 0 up to 0.016 cycles per pixel from the peak, and back at 1 some 0.02 farther: the stripes
    // do not end on a whole number of periods, so that their energy lies around the peak, too.
    const vxPair<double> sigma(0.008, 0.008);
    const vxPair<double> plateau(0.016, 0.016);
    const vxPair<long> size(spectrum.width(), spectrum.height());
    for (const double turn : {0.0, example::pi}) {
        const vxRadian angle(peak.angle.toDouble() + turn);
        const vxFrequencyFilterGaborReject filter(sigma, plateau, angle, peak.frequency, size, 0);
        filter.apply(spectrum);
    }
    // [gabor_reject]

    vxPelBuffer<double> real;
    vxPelBuffer<double> imaginary;
    vfInverseFFT(static_cast<const vxFrequencyBuffer&>(spectrum), real, imaginary);
    const double before = rmsDifference(striped, clean);
    const double after = rmsDifference(real, clean);
    std::cout << "off by " << before << " grey levels before, " << after << " after\n";
    example::require(after < before / 10.0, "nine tenths of the stripes are gone and the scene is as it was");
    if (picture != nullptr) {
        example::writePgm(picture, vfFrequencyMapImage(real, vxFrequencyDefs::eClip, 0.0, 0.0));
    }
}
} // namespace

int main(int argc, char** argv) {
    try {
        run(argc > 1 ? argv[1] : nullptr);
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "remove_periodic_noise: " << error.what() << '\n';
        return 1;
    }
}

// Finds a small image in a large one by correlation. The template becomes a filter, which is built once and
// then finds the part in every image of the line: a forward transform, one product for each sample, an
// inverse.
#include "example.h"

#include <filt/fft.h>
#include <filt/freqfilt.h>

#include <cmath>
#include <iostream>
#include <random>

namespace {
constexpr long imageWidth = 500; // Padded with zeros to 512 x 512, as is the template.
constexpr long imageHeight = 400;
constexpr long partSize = 48;

// A cast surface: noise, smoothed so that its grain is some 3 pels.
vxPelBuffer<double> surface() {
    std::mt19937 random(7);
    vxPelBuffer<double> noise(imageWidth + 2, imageHeight + 2);
    for (long y = 0; y < noise.height(); ++y) {
        for (long x = 0; x < noise.width(); ++x) {
            noise.pointToRow(y)[x] = static_cast<double>(random() % 256);
        }
    }
    vxPelBuffer<double> image(imageWidth, imageHeight);
    for (long y = 0; y < imageHeight; ++y) {
        for (long x = 0; x < imageWidth; ++x) {
            double sum = 0.0;
            for (long dy = 0; dy < 3; ++dy) {
                for (long dx = 0; dx < 3; ++dx) {
                    sum += noise.pointToRow(y + dy)[x + dx];
                }
            }
            image.pointToRow(y)[x] = sum / 9.0;
        }
    }
    return image;
}

// The part at (left, top) as another camera sees it: darker, at half the contrast, and noisy.
vxPelBuffer<double> partAt(const vxPelBuffer_const<double>& image, long left, long top) {
    std::mt19937 random(8);
    vxPelBuffer<double> part(partSize, partSize);
    for (long y = 0; y < partSize; ++y) {
        for (long x = 0; x < partSize; ++x) {
            const double noise = static_cast<double>(random() % 11) - 5.0;
            part.pointToRow(y)[x] = 20.0 + 0.5 * image.pointToRow(top + y)[left + x] + noise;
        }
    }
    return part;
}

double mean(const vxPelBuffer_const<double>& image) {
    double sum = 0.0;
    for (long y = 0; y < image.height(); ++y) {
        for (long x = 0; x < image.width(); ++x) {
            sum += image.pointToRow(y)[x];
        }
    }
    return sum / static_cast<double>(image.width() * image.height());
}

// [template_filter]
// The template's spectrum, conjugated: multiplying with it correlates. The template lies in the upper left
// corner of an image of the searched one's size, so that both spectra have one size. Without its mean, a
// brighter place of the searched image scores no higher.
vxFrequencyFilterImage templateFilter(const vxPelBuffer_const<double>& part) {
    vxPelBuffer<double> padded(imageWidth, imageHeight);
    const double level = mean(part);
    for (long y = 0; y < part.height(); ++y) {
        for (long x = 0; x < part.width(); ++x) {
            padded.pointToRow(y)[x] = part.pointToRow(y)[x] - level;
        }
    }
    vxFrequencyBuffer spectrum;
    vfForwardFFT<double>(padded, spectrum);
    vfFrequencyConjugate(spectrum);
    return vxFrequencyFilterImage(spectrum);
}
// [template_filter]

struct Match {
    vxPair<long> place; ///< Where the template's upper left pel lies.
    double score = 0.0;
};

Match strongest(const vxPelBuffer_const<double>& scores, const vxPair<long>& except) {
    Match match;
    // Farther right or down the template would stick out.
    for (long y = 0; y <= imageHeight - partSize; ++y) {
        for (long x = 0; x <= imageWidth - partSize; ++x) {
            const bool near =
                std::abs(x - except.x()) < partSize / 2 && std::abs(y - except.y()) < partSize / 2;
            if (!near && scores.pointToRow(y)[x] > match.score) {
                match = {{x, y}, scores.pointToRow(y)[x]};
            }
        }
    }
    return match;
}

void run() {
    const vxPelBuffer<double> image = surface();
    const vxPair<long> truth(317, 205);
    const vxFrequencyFilterImage filter = templateFilter(partAt(image, truth.x(), truth.y()));

    // [search_template]
    vxFrequencyBuffer spectrum;
    vfForwardFFT<double>(image, spectrum);
    filter.apply(spectrum);
    vxPelBuffer<double> scores;
    vxPelBuffer<double> imaginary; // Rounding noise: both images are real.
    vfInverseFFT(static_cast<const vxFrequencyBuffer&>(spectrum), scores, imaginary);
    // [search_template]

    const Match best = strongest(scores, {-partSize, -partSize});
    const Match second = strongest(scores, best.place);
    std::cout << "found at (" << best.place.x() << ", " << best.place.y() << "), "
              << best.score / second.score << " times as strong as the next best place\n";
    example::require(best.place == truth, "the part is found where it was cut out, to the pel");
    example::require(best.score > 2.0 * second.score, "no other place comes near");
}
} // namespace

int main() {
    try {
        run();
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "find_template: " << error.what() << '\n';
        return 1;
    }
}

// Tells the direction of a texture at every pel, with a bank of Gabor filters, and how far it is shifted,
// from the angle image of the winning filter.
//
//     orientation_map [PICTURE.pgm]    writes the map there, a grey for each direction
#include "example.h"

#include <filt/fft.h>
#include <filt/freqfilt.h>

#include <array>
#include <cmath>
#include <iostream>

namespace {
constexpr long size = 256;
constexpr double frequency = 1.0 / 8.0;
constexpr long directions = 8; // Steps of 22.5 degrees over half a turn; the other half is the same stripes.
constexpr long margin = 16;    // Half the reach of a filter in the image: nearer to an edge two zones mix.

constexpr double angleOf(long direction) {
    return example::pi * static_cast<double>(direction) / directions;
}

// Four quarters: stripes that change along x, along y and along both diagonals. The lower half of each is
// shifted by a quarter of a period.
long trueDirection(long x, long y) {
    return (x < size / 2 ? 0 : 2) + (y < size / 2 ? 0 : 4);
}

double trueShift(long y) {
    return y % (size / 2) < size / 4 ? 0.0 : example::pi / 2.0;
}

vxPelBuffer<unsigned char> texture() {
    vxPelBuffer<unsigned char> image(size, size);
    for (long y = 0; y < size; ++y) {
        for (long x = 0; x < size; ++x) {
            const double angle = angleOf(trueDirection(x, y));
            const double along =
                static_cast<double>(x) * std::cos(angle) + static_cast<double>(y) * std::sin(angle);
            const double wave = std::cos(2.0 * example::pi * frequency * along + trueShift(y));
            image.pointToRow(y)[x] = static_cast<unsigned char>(std::lround(128.0 + 60.0 * wave));
        }
    }
    return image;
}

// [gabor_bank]
// What one filter sees. A Gabor filter keeps one lobe and not its mirror image, so the inverse is complex:
// its magnitude is the local strength of the pattern, whatever its phase, and its angle the local phase.
struct Response {
    vxPelBuffer<double> strength;
    vxPelBuffer<double> phase; ///< Radians, -pi to pi.
};

std::array<Response, directions> responses(const vxFrequencyBuffer& spectrum) {
    std::array<Response, directions> bank;
    vxFrequencyBuffer filtered;
    for (long direction = 0; direction < directions; ++direction) {
        // Round lobes of sigma 0.02: in the image the filter averages over 1 / (2 pi 0.02) = 8 pels.
        const vxFrequencyFilterGabor filter({0.02, 0.02}, {0.0, 0.0}, vxRadian(angleOf(direction)), frequency,
                                            {size, size}, 1);
        filter.apply(spectrum, filtered);
        Response& response = bank[static_cast<std::size_t>(direction)];
        vfInverseFFTAngle(filtered, response.strength, response.phase, false, true);
    }
    return bank;
}
// [gabor_bank]

std::size_t winner(const std::array<Response, directions>& bank, long x, long y) {
    std::size_t best = 0;
    for (std::size_t i = 1; i < bank.size(); ++i) {
        if (bank[i].strength.pointToRow(y)[x] > bank[best].strength.pointToRow(y)[x]) {
            best = i;
        }
    }
    return best;
}

// Whether no edge of a quarter, or of its shifted half, is near.
bool isInside(long x, long y) {
    const auto clear = [](long position, long period) {
        return position % period >= margin && position % period < period - margin;
    };
    return clear(x, size / 2) && clear(y, size / 4);
}

void run(const char* picture) {
    vxFrequencyBuffer spectrum;
    vfForwardFFT<unsigned char>(texture(), spectrum);
    const std::array<Response, directions> bank = responses(spectrum);

    vxPelBuffer<unsigned char> map(size, size);
    long pels = 0;
    long right = 0;
    double worstPhase = 0.0;
    for (long y = 0; y < size; ++y) {
        for (long x = 0; x < size; ++x) {
            const std::size_t best = winner(bank, x, y);
            map.pointToRow(y)[x] = static_cast<unsigned char>(best * 255 / directions);
            if (!isInside(x, y)) {
                continue;
            }
            ++pels;
            if (static_cast<long>(best) != trueDirection(x, y)) {
                continue;
            }
            ++right;
            // The measured phase less that of unshifted stripes, brought back to -pi .. pi.
            const double angle = angleOf(trueDirection(x, y));
            const double along =
                static_cast<double>(x) * std::cos(angle) + static_cast<double>(y) * std::sin(angle);
            const double phase = bank[best].phase.pointToRow(y)[x] - 2.0 * example::pi * frequency * along;
            worstPhase =
                std::max(worstPhase, std::abs(std::remainder(phase - trueShift(y), 2.0 * example::pi)));
        }
    }
    std::cout << right << " of " << pels << " pels have the right direction, phases are within " << worstPhase
              << " radians, " << worstPhase / (2.0 * example::pi * frequency) << " pels\n";
    example::require(right == pels, "away from the edges every direction is right");
    example::require(worstPhase < 0.2, "the stripes' place is known to a quarter of a pel");
    if (picture != nullptr) {
        example::writePgm(picture, map);
    }
}
} // namespace

int main(int argc, char** argv) {
    try {
        run(argc > 1 ? argv[1] : nullptr);
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "orientation_map: " << error.what() << '\n';
        return 1;
    }
}

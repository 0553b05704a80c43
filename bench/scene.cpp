#include "bench/scene.h"

#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace bench {

namespace {

long powerOfTwo(long size) {
    return static_cast<long>(std::bit_ceil(static_cast<unsigned long>(size)));
}

/// Stripes of several finenesses and noise, in 0 .. 1.
template <class T>
vxPelBuffer<T> picture(const Size& size, double top, std::uint32_t seed) {
    vxPelBuffer<T> image(size.width, size.height);
    std::uint32_t noise = seed;
    for (long y = 0; y < size.height; ++y) {
        T* const row = image.pointToRow(y);
        for (long x = 0; x < size.width; ++x) {
            noise = noise * 1664525U + 1013904223U;
            const double dx = static_cast<double>(x);
            const double dy = static_cast<double>(y);
            const double stripes =
                0.3 * std::sin(0.9 * dx + 0.3 * dy) + 0.3 * std::sin(0.02 * dx - 0.05 * dy);
            const double value =
                0.5 + 0.6 * stripes + 0.14 * (static_cast<double>(noise >> 16) / 65536.0 - 0.5);
            row[x] = static_cast<T>(top * value);
        }
    }
    return image;
}

/// The gains of a filter: what it makes of ones.
std::vector<float> gainsOf(const vxFrequencyFilter& filter, const Size& size) {
    vxPelBuffer<double> ones(size.width, size.height);
    vfPelSet(ones, 1.0);
    vxFrequencyBuffer spectrum(ones, ones);
    filter.apply(spectrum);
    const vxPelBuffer<double> gains = spectrum.getRealImage(false);
    std::vector<float> plane;
    plane.reserve(static_cast<std::size_t>(size.width * size.height));
    for (long y = 0; y < size.height; ++y) {
        const double* const row = gains.pointToRow(y);
        for (long x = 0; x < size.width; ++x) {
            plane.push_back(static_cast<float>(row[x]));
        }
    }
    return plane;
}

} // namespace

Scene::Scene(const Size& sourceSize)
    : source(sourceSize)
    , padded{powerOfTwo(sourceSize.width), powerOfTwo(sourceSize.height)}
    , image(picture<unsigned char>(source, 255.0, 1))
    , second(picture<unsigned char>(source, 255.0, 2))
    , image16(picture<unsigned short>(source, 65535.0, 3))
    , imageDouble(picture<double>(source, 1.0, 4))
    , bandPass(0.02, 0.05, 0.15, {padded.width, padded.height}, 1)
    , gabor({0.025, 0.025}, {0.0, 0.0}, vxRadian(0.5), 0.2, {padded.width, padded.height}, 1)
    , bandGains(gainsOf(bandPass, padded))
    , gaborGains(gainsOf(gabor, padded)) {
    vfForwardFFT(image, second, spectrum);
    bandPass.apply(spectrum);
    spectrumSamples = samplesOf(spectrum);
}

std::vector<float> samplesOf(const vxFrequencyBuffer& spectrum) {
    const vxPelBuffer<double> real = spectrum.getRealImage(false);
    const vxPelBuffer<double> imaginary = spectrum.getImaginaryImage(false);
    std::vector<float> samples;
    samples.reserve(static_cast<std::size_t>(2 * real.width() * real.height()));
    for (long y = 0; y < real.height(); ++y) {
        for (long x = 0; x < real.width(); ++x) {
            samples.push_back(static_cast<float>(real.pointToRow(y)[x]));
            samples.push_back(static_cast<float>(imaginary.pointToRow(y)[x]));
        }
    }
    return samples;
}

} // namespace bench

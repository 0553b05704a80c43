#include "bench/kavfilt.h"

#include <memory>

namespace bench {

namespace {

template <class T>
void appendPels(std::vector<float>& values, const vxPelBuffer_const<T>& image) {
    for (long y = 0; y < image.height(); ++y) {
        const T* const row = image.pointToOffset() + y * image.rowUpdate();
        for (long x = 0; x < image.width(); ++x) {
            values.push_back(static_cast<float>(row[x]));
        }
    }
}

template <class... Images>
std::vector<float> pelsOf(const Images&... images) {
    std::vector<float> values;
    (appendPels(values, images), ...);
    return values;
}

template <class... Images>
Task forward(const Images&... images) {
    const auto spectrum = std::make_shared<vxFrequencyBuffer>();
    return {[&images..., spectrum] { vfForwardFFT(images..., *spectrum); },
            [spectrum] { return samplesOf(*spectrum); }};
}

/// Into the same image again and again or, unbound, into a new one each time.
Task inverse(const vxFrequencyBuffer& spectrum, bool bound, bool normalise) {
    const auto image = std::make_shared<vxPelBuffer<unsigned char>>();
    return {[&spectrum, image, bound, normalise] {
                if (!bound) {
                    *image = {};
                }
                vfInverseFFT(spectrum, *image, normalise);
            },
            [image] { return pelsOf(*image); }};
}

template <class Second, class Operation>
Task inverseWithSecond(const vxFrequencyBuffer& spectrum, Operation operation) {
    struct Images {
        vxPelBuffer<unsigned char> magnitude;
        vxPelBuffer<Second> second;
    };
    const auto images = std::make_shared<Images>();
    return {[&spectrum, images, operation] {
                *images = {};
                operation(spectrum, images->magnitude, images->second);
            },
            [images] { return pelsOf(images->magnitude, images->second); }};
}

Task filtered(const vxPelBuffer<unsigned char>& source, const vxFrequencyFilter& filter) {
    const auto spectrum = std::make_shared<vxFrequencyBuffer>();
    const auto image = std::make_shared<vxPelBuffer<unsigned char>>();
    return {[&source, &filter, spectrum, image] {
                vfForwardFFT(source, *spectrum);
                filter.apply(*spectrum);
                *image = {};
                vfInverseFFT(*spectrum, *image, false,
                             false); // In place the spatial samples would be kept, too.
            },
            [image] { return pelsOf(*image); }};
}

Task correlation(const vxPelBuffer<unsigned char>& a, const vxPelBuffer<unsigned char>& b) {
    const auto spectra = std::make_shared<std::pair<vxFrequencyBuffer, vxFrequencyBuffer>>();
    const auto image = std::make_shared<vxPelBuffer<double>>();
    return {[&a, &b, spectra, image] {
                vfForwardFFT(a, spectra->first);
                vfForwardFFT(b, spectra->second);
                vfFrequencyConjugate(spectra->first);
                vfFrequencyMultiply(spectra->first, spectra->second);
                *image = {};
                vfInverseFFT(spectra->second, *image, false, true);
            },
            [image] { return pelsOf(*image); }};
}

} // namespace

Task kavfiltTask(Job job, const Scene& scene) {
    switch (job) {
    case Job::forward:
        return forward(scene.image);
    case Job::forward16:
        return forward(scene.image16);
    case Job::forwardDouble:
        return forward(scene.imageDouble);
    case Job::forwardPair:
        return forward(scene.image, scene.second);
    case Job::inverse:
        return inverse(scene.spectrum, false, false);
    case Job::inverseBound:
        return inverse(scene.spectrum, true, false);
    case Job::inverseNormalised:
        return inverse(scene.spectrum, false, true);
    case Job::inverseAngle:
        return inverseWithSecond<double>(scene.spectrum, [](const auto& spectrum, auto& image, auto& angle) {
            vfInverseFFTAngle(spectrum, image, angle, false);
        });
    case Job::inverseQuadrant:
        return inverseWithSecond<unsigned char>(scene.spectrum,
                                                [](const auto& spectrum, auto& image, auto& quadrant) {
                                                    vfInverseFFTQuadrant(spectrum, image, quadrant, false);
                                                });
    case Job::bandPass:
        return filtered(scene.image, scene.bandPass);
    case Job::gabor:
        return filtered(scene.image, scene.gabor);
    case Job::correlation:
        return correlation(scene.image, scene.second);
    }
    return {};
}

} // namespace bench

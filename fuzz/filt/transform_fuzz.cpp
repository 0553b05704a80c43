// Images of every pel type, at any offset and with any memory layout, to spectra and back: bit by bit what
// the slow transforms of the tests give, with every instruction set; and the spectrum of plain numbers as
// close to the Fourier sum in extended precision as the arithmetic allows.
#include "filt/fft.h"
#include "filt/fft/kernels/instruction_sets.h"
#include "filt/freqfilt.h"
#include "fuzz/filt/spectra.h"
#include "tests/oracle/transforms.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <numbers>
#include <vector>

namespace {

using fuzz::attempt;
using fuzz::Outcome;
using fuzz::require;

/// 1 to 32, mostly below 9, which is fast.
long sizeFrom(fuzz::Bytes& input) {
    const unsigned size = input.byte();
    return 1 + static_cast<long>(size % 8 == 0 ? size / 8 : size / 8 % 8);
}

/// An image in the library's form, its memory with gaps and perhaps bottom-up, and in that of the slow
/// transforms.
template <class T>
struct Source {
    vxPelBuffer<T> image;
    oracle::Image<T> plain;
};

/// Pels from the input and, when that ends, noise.
template <class T>
T pelFrom(fuzz::Bytes& input, std::uint32_t& noise) {
    noise = noise * 1664525U + 1013904223U;
    if constexpr (std::is_same_v<T, double>) {
        return input.atEnd() ? static_cast<double>(noise >> 8) * 0x1p-12 - 2048.0 : input.real();
    } else {
        return input.atEnd() ? static_cast<T>(noise >> 8) : input.any<T>();
    }
}

struct Geometry {
    long width;
    long height;
    vxPair<long> offset;
};

template <class T>
Source<T> sourceFrom(fuzz::Bytes& input, const Geometry& geometry, std::uint32_t noise) {
    const long pitch = geometry.width + input.between(0, 3);
    const bool bottomUp = input.flag();
    const auto memory = std::make_shared<std::vector<T>>(static_cast<std::size_t>(pitch * geometry.height));
    T* const first = memory->data() + (bottomUp ? (geometry.height - 1) * pitch : 0);
    const long step = bottomUp ? -pitch : pitch;
    Source<T> source;
    source.plain = oracle::newImage<T>(geometry.width, geometry.height);
    source.plain.X = geometry.offset.x();
    source.plain.Y = geometry.offset.y();
    for (long y = 0; y < geometry.height; ++y) {
        for (long x = 0; x < geometry.width; ++x) {
            source.plain.at(x, y) = first[y * step + x] = pelFrom<T>(input, noise);
        }
    }
    source.image = vxPelBuffer<T>(first, geometry.width, geometry.height, step, memory);
    source.image.offset(geometry.offset);
    return source;
}

void checkSpectrum(const oracle::Spectrum& expected, const vxFrequencyBuffer& actual) {
    const fuzz::SpectrumState state = fuzz::stateOf(actual);
    require(state.size == vxPair<long>(expected.width, expected.height), "the size");
    require(state.sourceSize == vxPair<long>(expected.sourceWidth, expected.sourceHeight), "the source size");
    require(state.offset == vxPair<long>(expected.offsetX, expected.offsetY), "the offset");
    require((state.masked != 0) == (expected.masked != 0), "the mask");
    require(state.consumed == expected.inverseComputed, "the flag");
    require(state.samples.size() == expected.data.size(), "every sample");
    for (std::size_t i = 0; i < state.samples.size(); ++i) {
        require(fuzz::sameFloat(state.samples[i], expected.data[i]), "the bits of a sample");
    }
}

template <class T>
void checkImage(const oracle::Image<T>& expected, const vxPelBuffer<T>& actual) {
    require(actual.width() == expected.width && actual.height() == expected.height, "the size of an image");
    require(actual.offset().x() == expected.X && actual.offset().y() == expected.Y, "the offset of an image");
    for (long y = 0; y < expected.height; ++y) {
        for (long x = 0; x < expected.width; ++x) {
            const T a = actual.pointToOffset()[y * actual.rowUpdate() + x];
            const T b = expected.at(x, y);
            require(!(a < b) && !(a > b) && (a == a) == (b == b), "a pel");
        }
    }
}

using Wide = long double;

struct Sample {
    Wide real = 0;
    Wide imaginary = 0;
};
using Plane = std::vector<Sample>; // Row by row.

/// The powers of the root of unity of that order.
Plane rootsOf(long order, int direction) {
    Plane roots;
    for (long k = 0; k < order; ++k) {
        const Wide turn = static_cast<Wide>(k) / static_cast<Wide>(order);
        const Wide angle = -direction * 2 * std::numbers::pi_v<Wide> * turn;
        roots.push_back({std::cos(angle), std::sin(angle)});
    }
    return roots;
}

/// The Fourier sums of samples that lie `stride` apart, as many as there are roots.
void transformLine(Sample* samples, long stride, const Plane& roots) {
    Plane sums(roots.size());
    for (std::size_t k = 0; k < roots.size(); ++k) {
        Sample sum;
        for (std::size_t j = 0; j < roots.size(); ++j) {
            const Sample root = roots[j * k % roots.size()];
            const Sample sample = samples[static_cast<long>(j) * stride];
            sum.real += sample.real * root.real - sample.imaginary * root.imaginary;
            sum.imaginary += sample.real * root.imaginary + sample.imaginary * root.real;
        }
        sums[k] = sum;
    }
    for (std::size_t k = 0; k < roots.size(); ++k) {
        samples[static_cast<long>(k) * stride] = sums[k];
    }
}

void transform(Plane& plane, long width, long height, int direction) {
    const Plane rowRoots = rootsOf(width, direction);
    const Plane columnRoots = rootsOf(height, direction);
    for (long v = 0; v < height; ++v) {
        transformLine(plane.data() + v * width, 1, rowRoots);
    }
    for (long u = 0; u < width; ++u) {
        transformLine(plane.data() + u, width, columnRoots);
    }
}

/// Whether all are numbers whose sums neither overflow nor matter less than denormals do.
bool isPlain(const std::vector<float>& samples) {
    return std::all_of(samples.begin(), samples.end(), [](float sample) {
        const float size = std::fabs(sample);
        return size <= 1e30F && (size >= 1e-30F || !(size > 0.0F));
    });
}

/// The Euclidean distance is bounded by that many roundings of the whole spectrum's length: the bounds that
/// the tests of the kernels derive come to 35 for each direction of 32 x 32, and 61 for a split row.
constexpr Wide roundings = 160;

void checkClose(const Plane& expected, const std::vector<float>& actual) {
    Wide distance = 0;
    Wide length = 0;
    for (std::size_t i = 0; i < expected.size(); ++i) {
        const Wide real = static_cast<Wide>(actual[2 * i]) - expected[i].real;
        const Wide imaginary = static_cast<Wide>(actual[2 * i + 1]) - expected[i].imaginary;
        distance += real * real + imaginary * imaginary;
        length += expected[i].real * expected[i].real + expected[i].imaginary * expected[i].imaginary;
    }
    require(std::sqrt(distance) <= roundings * 0x1p-24L * std::sqrt(length) + 1e-38L,
            "close to the Fourier sum");
}

/// `before` are the samples that were transformed.
void checkSum(const std::vector<float>& before, const vxFrequencyBuffer& buffer, int direction) {
    if (!isPlain(before)) {
        return;
    }
    Plane plane;
    for (std::size_t i = 0; i < before.size(); i += 2) {
        plane.push_back({static_cast<Wide>(before[i]), static_cast<Wide>(before[i + 1])});
    }
    transform(plane, buffer.width(), buffer.height(), direction);
    checkClose(plane, fuzz::stateOf(buffer).samples);
}

/// The staged image: zero-padded to the right and below, wherever it lies.
template <class T>
std::vector<float> staged(const oracle::Image<T>& real, const oracle::Image<T>* imaginary) {
    oracle::Spectrum s = oracle::newSpectrum(real.width, real.height);
    for (long y = 0; y < real.height; ++y) {
        for (long x = 0; x < real.width; ++x) {
            const auto i = static_cast<std::size_t>(2 * (y * s.width + x));
            s.data[i] = static_cast<float>(real.at(x, y));
            s.data[i + 1] = imaginary != nullptr ? static_cast<float>(imaginary->at(x, y)) : 0.0F;
        }
    }
    return s.data;
}

/// Does it with each instruction set, every time to a buffer that was used before.
template <class Operation>
void withEachSet(Operation operation) {
    vxFrequencyBuffer result(7, 3);
    for (const vx_InstructionSet set : vf_SupportedInstructionSets()) {
        const vx_ForcedInstructionSet forced(set);
        operation(result);
    }
}

template <class T>
constexpr int member = std::is_same_v<T, unsigned char>    ? 1
                       : std::is_same_v<T, unsigned short> ? 2
                                                           : 3;

template <class T>
void checkInverse(const vxFrequencyBuffer& spectrum, oracle::Spectrum plain, bool normalize) {
    const oracle::Spectrum working = oracle::workingSpectrum(plain, false);
    const oracle::Spectrum inverse = oracle::inverse(plain, false);
    const oracle::Image<T> magnitude = oracle::magnitude<T>(member<T>, working, normalize);
    const oracle::Image<double> real = oracle::part(0, working);
    withEachSet([&](vxFrequencyBuffer& result) {
        vxPelBuffer<T> image;
        vxPelBuffer<double> realImage;
        vxPelBuffer<double> imaginaryImage;
        if (attempt([&] { vfInverseFFT(spectrum, image, normalize); }) == Outcome::done) {
            checkImage(magnitude, image);
        }
        if (attempt([&] { vfInverseFFT(spectrum, realImage, imaginaryImage); }) == Outcome::done) {
            checkImage(real, realImage);
        }
        if (attempt([&] { vfInverseFFT(spectrum, result); }) == Outcome::done) {
            checkSpectrum(inverse, result);
        }
    });
    vxFrequencyBuffer raw;
    if (plain.masked == 0 && attempt([&] { vfInverseFFT(spectrum, raw); }) == Outcome::done) {
        checkSum(plain.data, raw, -1);
    }
}

/// A band of rows is all that an inverse reads of a masked spectrum.
void mask(vxFrequencyBuffer& spectrum, oracle::Spectrum& plain, fuzz::Bytes& input) {
    if (!input.flag()) {
        return;
    }
    plain.masked = 1;
    plain.maskedMiny = input.number();
    plain.maskedMaxy = input.number();
    struct Filter : vxFrequencyFilterImage {
        using vxFrequencyFilterImage::maskFrequencyBuffer;
    };
    Filter::maskFrequencyBuffer(spectrum, true, plain.maskedMiny, plain.maskedMaxy);
}

template <class T>
void check(fuzz::Bytes input) {
    const Geometry geometry{sizeFrom(input), sizeFrom(input), {input.number(), input.number()}};
    const bool isComplex = input.flag();
    const bool normalize = input.flag();
    fuzz::Bytes maskInput = input;
    const std::uint32_t noise = input.any<std::uint32_t>();
    const Source<T> real = sourceFrom<T>(input, geometry, noise);
    const Source<T> imaginary = isComplex ? sourceFrom<T>(input, geometry, ~noise) : Source<T>();
    oracle::Spectrum expected =
        isComplex ? oracle::forward(real.plain, imaginary.plain) : oracle::forward(real.plain);
    const auto forward = [&](vxFrequencyBuffer& result) {
        isComplex ? vfForwardFFT<T>(real.image, imaginary.image, result)
                  : vfForwardFFT<T>(real.image, result);
    };
    withEachSet([&](vxFrequencyBuffer& result) {
        if (attempt([&] { forward(result); }) == Outcome::done) {
            checkSpectrum(expected, result);
        }
        fuzz::checkConsistent(result);
    });
    vxFrequencyBuffer spectrum;
    if (attempt([&] { forward(spectrum); }) == Outcome::done) {
        checkSum(staged(real.plain, isComplex ? &imaginary.plain : nullptr), spectrum, 1);
        mask(spectrum, expected, maskInput);
        checkInverse<T>(spectrum, expected, normalize);
    }
}

} // namespace

void fuzz::run(Bytes input) {
    switch (input.below(3)) {
    case 0:
        return check<unsigned char>(input);
    case 1:
        return check<unsigned short>(input);
    default:
        return check<double>(input);
    }
}

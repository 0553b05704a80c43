// The same transforms with FFTW, single precision, and with kavfilt.
#include "comparison.h"

#include <filt/fft.h>

#include <fftw3.h>

#include <algorithm>
#include <complex>
#include <memory>
#include <vector>

namespace {
constexpr long sourceWidth = 100;
constexpr long sourceHeight = 64;
constexpr long width = 128; // The powers of two not below them.
constexpr long height = 64;
constexpr std::size_t count = width * height;

using Complex = std::complex<float>;

fftwf_complex* raw(std::vector<Complex>& samples) {
    return reinterpret_cast<fftwf_complex*>(samples.data());
}

void execute(fftwf_plan plan) {
    fftwf_execute(plan);
    fftwf_destroy_plan(plan);
}

std::vector<Complex> paddedByHand(const vxPelBuffer_const<unsigned char>& image) {
    std::vector<Complex> samples(count);
    for (long y = 0; y < image.height(); ++y) {
        std::copy_n(image.pointToRow(y), image.width(), samples.data() + y * width);
    }
    return samples;
}

void compare(const vxFrequencyBuffer& ours, const std::vector<Complex>& theirs, const char* what) {
    comparison::Difference difference;
    for (long v = 0; v < height; ++v) {
        for (long u = 0; u < width; ++u) {
            const Complex sample = theirs[static_cast<std::size_t>(v * width + u)];
            difference.add(ours.getReal(u, v, false), static_cast<double>(sample.real()));
            difference.add(ours.getImaginary(u, v, false), static_cast<double>(sample.imag()));
        }
    }
    comparison::requireEqual(difference, what);
}

void compareForward(const vxPelBuffer_const<unsigned char>& image, vxFrequencyBuffer& spectrum) {
    std::vector<Complex> in = paddedByHand(image);
    std::vector<Complex> out(count);

    // [fftw_forward]
    execute(fftwf_plan_dft_2d(height, width, raw(in), raw(out), FFTW_FORWARD, FFTW_ESTIMATE));
    // [fftw_forward]

    // [fftw_forward_kavfilt]
    vfForwardFFT(image, spectrum); // Any pel type, any size: pads with zeros by itself.
    // [fftw_forward_kavfilt]
    compare(spectrum, out, "complex transform");
}

void compareHalf(const vxPelBuffer_const<unsigned char>& image, const vxFrequencyBuffer& spectrum) {
    std::vector<float> in(count);
    for (long y = 0; y < image.height(); ++y) {
        std::copy_n(image.pointToRow(y), image.width(), in.data() + y * width);
    }
    std::vector<Complex> half(static_cast<std::size_t>((width / 2 + 1) * height));
    execute(fftwf_plan_dft_r2c_2d(height, width, in.data(), raw(half), FFTW_ESTIMATE));

    // [fftw_half]
    // FFTW's r2c transforms hold the columns 0 .. width / 2 only. The rest is their mirror image: what
    // kavfilt has at (u, v), whichever half that is in.
    const auto sample = [&half](long u, long v) {
        const bool stored = u <= width / 2;
        const long column = stored ? u : width - u;
        const long row = stored ? v : (height - v) % height;
        const Complex value = half[static_cast<std::size_t>(row * (width / 2 + 1) + column)];
        return stored ? value : std::conj(value);
    };
    // [fftw_half]
    std::vector<Complex> whole;
    for (long v = 0; v < height; ++v) {
        for (long u = 0; u < width; ++u) {
            whole.push_back(sample(u, v));
        }
    }
    compare(spectrum, whole, "half of a spectrum, completed");
}

void compareInverse(const vxPelBuffer_const<unsigned char>& image, const vxFrequencyBuffer& spectrum) {
    std::vector<Complex> in = paddedByHand(image);
    execute(fftwf_plan_dft_2d(height, width, raw(in), raw(in), FFTW_FORWARD, FFTW_ESTIMATE));
    std::vector<Complex> out(count);

    // [fftw_inverse]
    execute(fftwf_plan_dft_2d(height, width, raw(in), raw(out), FFTW_BACKWARD, FFTW_ESTIMATE));
    // [fftw_inverse]

    // [fftw_inverse_kavfilt]
    vxFrequencyBuffer unscaled; // Width times height times the image, as FFTW has it.
    vfInverseFFT(spectrum, unscaled);
    vxPelBuffer<double> real; // Divided by width times height, and cropped to the image's size.
    vxPelBuffer<double> imaginary;
    vfInverseFFT(spectrum, real, imaginary);
    // [fftw_inverse_kavfilt]
    compare(unscaled, out, "unscaled inverse");

    example::require(real.width() == sourceWidth && real.height() == sourceHeight, "the inverse crops");
    comparison::Difference difference;
    for (long y = 0; y < sourceHeight; ++y) {
        for (long x = 0; x < sourceWidth; ++x) {
            const Complex value = out[static_cast<std::size_t>(y * width + x)];
            difference.add(real.pointToRow(y)[x], static_cast<double>(value.real()) / count);
        }
    }
    comparison::requireEqual(difference, "scaled inverse");
}
} // namespace

int main() {
    try {
        const vxPelBuffer<unsigned char> image =
            comparison::image<unsigned char>(sourceWidth, sourceHeight, 1);
        vxFrequencyBuffer spectrum;
        compareForward(image, spectrum);
        compareHalf(image, spectrum);
        compareInverse(image, spectrum);
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "fftw: " << error.what() << '\n';
        return 1;
    }
}

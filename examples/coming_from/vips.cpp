// The same transforms and filters with libvips and with kavfilt.
#include "comparison.h"

#include <filt/fft.h>
#include <filt/freqfilt.h>

#include <vips/vips8>

#include <complex>
#include <vector>

namespace {
using vips::VImage;
constexpr int width = 128;
constexpr int height = 64;

std::vector<double> pelsOf(const vxPelBuffer_const<double>& image) {
    std::vector<double> pels;
    for (long y = 0; y < height; ++y) {
        pels.insert(pels.end(), image.pointToRow(y), image.pointToRow(y) + width);
    }
    return pels;
}

template <class T>
std::vector<T> valuesOf(const VImage& image, VipsBandFormat format) {
    std::size_t size = 0;
    void* const memory = image.cast(format).write_to_memory(&size);
    const T* const first = static_cast<const T*>(memory);
    std::vector<T> values(first, first + size / sizeof(T));
    g_free(memory);
    return values;
}

std::size_t indexOf(long x, long y) {
    return static_cast<std::size_t>(y * width + x);
}

void compareSpectra(const vxFrequencyBuffer& ours, const VImage& theirs, const char* what) {
    const auto values = valuesOf<std::complex<double>>(theirs, VIPS_FORMAT_DPCOMPLEX);
    comparison::Difference difference;
    for (long v = 0; v < height; ++v) {
        for (long u = 0; u < width; ++u) {
            difference.add(ours.getReal(u, v, false), values[indexOf(u, v)].real() * width * height);
            difference.add(ours.getImaginary(u, v, false), values[indexOf(u, v)].imag() * width * height);
        }
    }
    comparison::requireEqual(difference, what);
}

// Largest difference of any pel.
double farthest(const vxPelBuffer_const<double>& ours, const VImage& theirs) {
    const auto values = valuesOf<double>(theirs, VIPS_FORMAT_DOUBLE);
    double largest = 0.0;
    for (long y = 0; y < height; ++y) {
        for (long x = 0; x < width; ++x) {
            largest = std::max(largest, std::abs(ours.pointToRow(y)[x] - values[indexOf(x, y)]));
        }
    }
    return largest;
}

// The gains of a filter: what it makes of a spectrum of ones.
vxPelBuffer<double> gainsOf(const vxFrequencyFilter& filter) {
    vxFrequencyBuffer ones(width, height);
    for (long v = 0; v < height; ++v) {
        for (long u = 0; u < width; ++u) {
            ones.putReal(u, v, 1.0, false);
        }
    }
    filter.apply(ones);
    return ones.getRealImage(false);
}

void run() {
    const vxPelBuffer<double> image = comparison::image<double>(width, height, 1);
    std::vector<double> pels = pelsOf(image);
    const VImage vipsSource = VImage::new_from_memory(pels.data(), pels.size() * sizeof(double), width,
                                                      height, 1, VIPS_FORMAT_DOUBLE);

    // [vips_forward]
    const VImage theirs =
        vipsSource.fwfft(); // Divided by width times height here; kavfilt divides on the way back.
    // [vips_forward]
    vxFrequencyBuffer spectrum;
    vfForwardFFT<double>(image, spectrum);
    compareSpectra(spectrum, theirs, "fwfft");

    // [vips_band_pass]
    const double frequency = 0.1; // Cycles per pixel.
    const double sigma = 0.03;
    const VImage ring = VImage::mask_gaussian_ring(width, height,
                                                   2.0 * frequency, // Its 1 is the finest pattern, our 0.5.
                                                   std::exp(-0.5),  // The gain at half the ring's width:
                                                   4.0 * sigma,     // one sigma, on its scale.
                                                   VImage::option()->set("nodc", true)); // Or the DC is kept.
    const VImage filtered = vipsSource.freqmult(ring);
    // [vips_band_pass]

    // [vips_band_pass_kavfilt]
    const vxFrequencyFilterBandPass filter(sigma, 0.0, frequency, {width, height}, 0);
    filter.apply(spectrum);
    vxPelBuffer<double> real;
    vxPelBuffer<double> imaginary;
    vfInverseFFT(spectrum, real, imaginary, true);
    // [vips_band_pass_kavfilt]
    const double gains = farthest(gainsOf(filter), ring);
    const double result = farthest(real, filtered);
    std::cout << "gains: " << gains << ", pels: " << result << '\n';
    example::require(gains < 0.01 && result < 0.5, "the ring has the same gains");
}
} // namespace

int main(int /*argc*/, char** argv) {
    try {
        if (VIPS_INIT(argv[0]) != 0) {
            vips_error_exit(nullptr);
        }
        run();
        vips_shutdown();
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "vips: " << error.what() << '\n';
        return 1;
    }
}

#include "app/kernel.h"

#include "app/errors.h"
#include "app/filtering.h"
#include "app/words.h"

#include <cmath>

namespace app {
namespace {

double divisor(const Image& kernel, KernelScale scale) {
    if (scale == KernelScale::asGiven) {
        return 1;
    }
    double sum = 0;
    double magnitudes = 0;
    for (long y = 0; y < kernel.pels.height(); ++y) {
        for (long x = 0; x < kernel.pels.width(); ++x) {
            sum += kernel.pels.pointToRow(y)[x];
            magnitudes += std::abs(kernel.pels.pointToRow(y)[x]);
        }
    }
    // What is left of a sum of 0 after rounding is no brightness.
    if (std::abs(sum) <= 1e-6 * magnitudes) {
        throw UnreadableError("cannot divide the kernel " + kernel.name + " by the sum of its pels: it is 0");
    }
    return sum;
}

} // namespace

vxFrequencyBuffer kernelSpectrum(const Image& kernel, const vxPair<long>& size, KernelScale scale) {
    const long width = kernel.pels.width();
    const long height = kernel.pels.height();
    if (width > size.x() || height > size.y()) {
        throw UnreadableError("the kernel " + kernel.name + " is " + app::size(width, height) +
                              " pels, larger than the " + app::size(size.x(), size.y()) + " spectrum");
    }
    const double divideBy = divisor(kernel, scale);
    Image padded = kernel;
    padded.pels = vxPelBuffer<double>(size.x(), size.y());
    for (long y = 0; y < height; ++y) {
        // What lies before the origin wraps around.
        double* row = padded.pels.pointToRow((y - height / 2 + size.y()) % size.y());
        for (long x = 0; x < width; ++x) {
            row[(x - width / 2 + size.x()) % size.x()] = kernel.pels.pointToRow(y)[x] / divideBy;
        }
    }
    return spectrumOf(padded, Padding::zero);
}

} // namespace app

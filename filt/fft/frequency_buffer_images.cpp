#include "filt/fft/frequency_buffer.h"

#include "filt/fft/kernels/instruction_sets.h"
#include "filt/internal/centred.h"
#include "filt/internal/pel_row.h"

#include <cmath>
#include <cstddef>

namespace {
// Writes the value of each sample, in storage order, to its pel, by renderRun(samples, count, pels); centred
// images have DC in the middle.
template <class RenderRun>
vxPelBuffer<double> render(const float* samples, long width, long height, bool centered,
                           RenderRun renderRun) {
    // The centred numbers of an odd size leave a pel out.
    const bool writesAll = !centered || (width % 2 == 0 && height % 2 == 0);
    vxPelBuffer<double> image =
        writesAll ? vxPelBuffer<double>::unset(width, height, 32) : vxPelBuffer<double>(width, height, 32);
    // Centring swaps the halves of each row.
    const long shift = centered ? width >> 1 : 0;
    const auto left = static_cast<std::size_t>(shift);
    const auto right = static_cast<std::size_t>(width - shift);
    for (long v = 0; v < height; ++v) {
        double* row = vf_PelRow(image, centered ? vf_CentredNumber(v, height) : v);
        renderRun(samples, left, row + shift);
        renderRun(samples + 2 * shift, right, row);
        samples += 2 * width;
    }
    return image;
}

void phases(const float* samples, std::size_t count, double* pels) {
    for (std::size_t i = 0; i < count; ++i) {
        const double re = static_cast<double>(samples[2 * i]);
        const double im = static_cast<double>(samples[2 * i + 1]);
        pels[i] = vxRadian(std::atan2(im, re)).norm().toDouble();
    }
}
} // namespace

vxPelBuffer<double> vxFrequencyBuffer::getRealImage(bool centered) const {
    return render(spectrum(), width_, height_, centered,
                  [parts = vf_Elements().realParts](const float* samples, std::size_t count, double* pels) {
                      parts(samples, count, 1.0F, pels);
                  });
}

vxPelBuffer<double> vxFrequencyBuffer::getImaginaryImage(bool centered) const {
    return render(
        spectrum(), width_, height_, centered,
        [parts = vf_Elements().imaginaryParts](const float* samples, std::size_t count, double* pels) {
            parts(samples, count, 1.0F, pels);
        });
}

vxPelBuffer<double> vxFrequencyBuffer::getMagnitudeImage(bool centered) const {
    return render(
        spectrum(), width_, height_, centered,
        [magnitudes = vf_Elements().magnitudes](const float* samples, std::size_t count, double* pels) {
            magnitudes(samples, count, {1.0F}, pels);
        });
}

vxPelBuffer<double> vxFrequencyBuffer::getPhaseImage(bool centered) const {
    return render(spectrum(), width_, height_, centered, phases);
}

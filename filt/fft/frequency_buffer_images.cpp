#include "filt/fft/frequency_buffer.h"

#include "filt/internal/centred.h"
#include "filt/internal/pel_row.h"

#include <cmath>

namespace {
// Writes value(re, im) of `count` samples to as many pels.
template <class Value>
void renderRun(const float* samples, double* pels, long count, Value value) {
    for (long i = 0; i < count; ++i) {
        pels[i] = value(samples[2 * i], samples[2 * i + 1]);
    }
}

// Writes the value of each sample, in storage order, to its pel; centred images have DC in the middle.
template <class Value>
vxPelBuffer<double> render(const float* samples, long width, long height, bool centered, Value value) {
    // The centred numbers of an odd size leave a pel out.
    const bool writesAll = !centered || (width % 2 == 0 && height % 2 == 0);
    vxPelBuffer<double> image =
        writesAll ? vxPelBuffer<double>::unset(width, height, 32) : vxPelBuffer<double>(width, height, 32);
    // Centring swaps the halves of each row.
    const long shift = centered ? width >> 1 : 0;
    for (long v = 0; v < height; ++v) {
        double* row = vf_PelRow(image, centered ? vf_CentredNumber(v, height) : v);
        renderRun(samples, row + shift, shift, value);
        renderRun(samples + 2 * shift, row, width - shift, value);
        samples += 2 * width;
    }
    return image;
}

double realPart(float re, float) {
    return static_cast<double>(re);
}

double imaginaryPart(float, float im) {
    return static_cast<double>(im);
}

// Single precision throughout; only the result is widened.
double magnitude(float re, float im) {
    return static_cast<double>(std::sqrt(re * re + im * im));
}

double phase(float re, float im) {
    return vxRadian(std::atan2(static_cast<double>(im), static_cast<double>(re))).norm().toDouble();
}
} // namespace

vxPelBuffer<double> vxFrequencyBuffer::getRealImage(bool centered) const {
    return render(spectrum(), width_, height_, centered, realPart);
}

vxPelBuffer<double> vxFrequencyBuffer::getImaginaryImage(bool centered) const {
    return render(spectrum(), width_, height_, centered, imaginaryPart);
}

vxPelBuffer<double> vxFrequencyBuffer::getMagnitudeImage(bool centered) const {
    return render(spectrum(), width_, height_, centered, magnitude);
}

vxPelBuffer<double> vxFrequencyBuffer::getPhaseImage(bool centered) const {
    return render(spectrum(), width_, height_, centered, phase);
}

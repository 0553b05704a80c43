#include "filt/fft/frequency_buffer.h"

#include "filt/internal/centred.h"
#include "filt/internal/pel_row.h"

#include <cmath>

namespace {
// Writes value(re, im) of each sample, in storage order, to its pel; centred images have DC in the middle.
template <class Value>
vxPelBuffer<double> render(const float* sample, long width, long height, bool centered, Value value) {
    vxPelBuffer<double> image(width, height, 32);
    for (long v = 0; v < height; ++v) {
        const long y = centered ? vf_CentredNumber(v, height) : v;
        double* row = vf_PelRow(image, y);
        for (long u = 0; u < width; ++u) {
            const long x = centered ? vf_CentredNumber(u, width) : u;
            row[x] = value(sample[0], sample[1]);
            sample += 2;
        }
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

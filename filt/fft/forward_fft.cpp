#include "filt/fft/forward_fft.h"

#include "filt/fft/internal/periodic_copy.h"
#include "filt/fft/internal/transformable.h"
#include "filt/fft/kernels/kernels.h"
#include "filt/internal/clear_padding.h"
#include "filt/internal/numerics.h"
#include "filt/internal/pel_row.h"

#include <algorithm>

using Access = vx_FrequencyBufferAccess;

namespace {

template <vx_Pel T>
void requireBound(const vxPelBuffer_const<T>& image) {
    if (!image.isBound()) {
        throw vxFrequencyDefs::UnboundWindow();
    }
}

// Sizes the destination for the image. Nothing has changed when the size is refused.
template <vx_Pel T>
void prepare(const vxPelBuffer_const<T>& image, vxFrequencyBuffer& destination) {
    Access::setAndAllocate(destination, image.width(), image.height());
    Access::xformCache(destination, image.xformCache());
    Access::offset(destination, image.offset());
}

// The image that is staged: itself, or, at an offset, a copy of the destination's size with its periodic
// repetitions.
template <vx_Pel T>
vxPelBuffer_const<T> stagingSource(const vxPelBuffer_const<T>& image, const vxFrequencyBuffer& destination) {
    if (image.offset() == vxPair<long>(0, 0)) {
        return image;
    }
    vxPelBuffer<T> padded(Access::width(destination), Access::height(destination), 32);
    padded.offset(image.offset());
    vf_PeriodicCopy(image, padded, false);
    return padded;
}

// Real rows as the real-input kernel takes them: the first half of a row's floats, zero to the right and
// below. The second half is the kernel's work space and stays as it is.
template <vx_Pel T>
void stageReal(const vxPelBuffer_const<T>& image, vxFrequencyBuffer& destination) {
    const long width = Access::width(destination);
    const long height = Access::height(destination);
    float* row = Access::data(destination);
    for (long y = 0; y < height; ++y, row += 2 * width) {
        float* end = row;
        if (y < image.height()) {
            const T* pels = vf_PelRow(image, y);
            end = std::transform(pels, pels + image.width(), row,
                                 [](T pel) { return static_cast<float>(pel); });
        }
        std::fill(end, row + width, 0.0F);
        if (width == 1) {
            row[1] = 0.0F; // The only sample's imaginary part: such a row is not transformed.
        }
    }
}

template <vx_Pel T>
void stageComplex(const vxPelBuffer_const<T>& real, const vxPelBuffer_const<T>& imaginary,
                  vxFrequencyBuffer& destination) {
    const long width = Access::width(destination);
    for (long y = 0; y < real.height(); ++y) {
        float* row = Access::data(destination) + 2 * width * y;
        const T* realPels = vf_PelRow(real, y);
        const T* imaginaryPels = vf_PelRow(imaginary, y);
        for (long x = 0; x < real.width(); ++x) {
            row[2 * x] = static_cast<float>(realPels[x]);
            row[2 * x + 1] = static_cast<float>(imaginaryPels[x]);
        }
    }
    vf_ClearPadding(real.width(), real.height(), width, Access::height(destination),
                    Access::data(destination));
}

template <vx_Pel T>
void forward(const vxPelBuffer_const<T>& source, vxFrequencyBuffer& destination) {
    requireBound(source);
    prepare(source, destination);
    stageReal(stagingSource(source, destination), destination);
    vf_RealFFT2D(Access::data(destination), Access::size(destination), 1, 0, Access::height(destination));
}

template <vx_Pel T>
void forward(const vxPelBuffer_const<T>& real, const vxPelBuffer_const<T>& imaginary,
             vxFrequencyBuffer& destination) {
    requireBound(real);
    requireBound(imaginary);
    if (real.width() != imaginary.width() || real.height() != imaginary.height() ||
        real.offset() != imaginary.offset()) {
        throw vxFrequencyDefs::InvalidSize(vx_Messages::transformImagesDiffer);
    }
    prepare(real, destination);
    const vxPelBuffer_const<T> stagedReal = stagingSource(real, destination);
    const vxPelBuffer_const<T> stagedImaginary = stagingSource(imaginary, destination);
    stageComplex(stagedReal, stagedImaginary, destination);
    vf_ComplexFFT2D(Access::data(destination), Access::size(destination), 1, 0, Access::height(destination));
}

} // namespace

void vf_ForwardFFT(const vxPelBuffer_const<unsigned char>& source, vxFrequencyBuffer& destination) {
    forward(source, destination);
}

void vf_ForwardFFT(const vxPelBuffer_const<unsigned short>& source, vxFrequencyBuffer& destination) {
    forward(source, destination);
}

void vf_ForwardFFT(const vxPelBuffer_const<double>& source, vxFrequencyBuffer& destination) {
    forward(source, destination);
}

void vf_ForwardFFT(const vxPelBuffer_const<unsigned char>& real,
                   const vxPelBuffer_const<unsigned char>& imaginary, vxFrequencyBuffer& destination) {
    forward(real, imaginary, destination);
}

void vf_ForwardFFT(const vxPelBuffer_const<unsigned short>& real,
                   const vxPelBuffer_const<unsigned short>& imaginary, vxFrequencyBuffer& destination) {
    forward(real, imaginary, destination);
}

void vf_ForwardFFT(const vxPelBuffer_const<double>& real, const vxPelBuffer_const<double>& imaginary,
                   vxFrequencyBuffer& destination) {
    forward(real, imaginary, destination);
}

template <vx_Pel T>
void vfForwardFFT(const vxPelBuffer_const<T>& source, vxFrequencyBuffer& destination) {
    vf_ForwardFFT(source, destination);
}

template <vx_Pel T>
void vfForwardFFT(const vxPelBuffer_const<T>& real, const vxPelBuffer_const<T>& imaginary,
                  vxFrequencyBuffer& destination) {
    vf_ForwardFFT(real, imaginary, destination);
}

void vfForwardFFT(const vxFrequencyBuffer& source, vxFrequencyBuffer& destination) {
    Access::requireSamples(source);
    vf_RequireKernelSize(source);
    destination = source;
    Access::inverseComputed(destination, false);
    Access::masked(destination, 0);
    vf_ComplexFFT2D(Access::data(destination), Access::size(destination), 1, 0, Access::height(destination));
}

template void vfForwardFFT(const vxPelBuffer_const<unsigned char>&, vxFrequencyBuffer&);
template void vfForwardFFT(const vxPelBuffer_const<unsigned short>&, vxFrequencyBuffer&);
template void vfForwardFFT(const vxPelBuffer_const<double>&, vxFrequencyBuffer&);
template void vfForwardFFT(const vxPelBuffer_const<unsigned char>&, const vxPelBuffer_const<unsigned char>&,
                           vxFrequencyBuffer&);
template void vfForwardFFT(const vxPelBuffer_const<unsigned short>&, const vxPelBuffer_const<unsigned short>&,
                           vxFrequencyBuffer&);
template void vfForwardFFT(const vxPelBuffer_const<double>&, const vxPelBuffer_const<double>&,
                           vxFrequencyBuffer&);

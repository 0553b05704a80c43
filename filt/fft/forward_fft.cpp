#include "filt/fft/forward_fft.h"

#include "filt/fft/internal/periodic_copy.h"
#include "filt/fft/internal/transformable.h"
#include "filt/fft/kernels/instruction_sets.h"
#include "filt/internal/numerics.h"
#include "kavstd/attention.h"

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

// The way on is in filt/fft/kernels/kernel_table.h.
template <vx_Pel T>
const vx_PelKernels<T>& kernelsFor(const vxFrequencyBuffer& destination) {
    return vf_KernelsFor(Access::size(destination)).pels<T>();
}

// The image that is transformed: itself, or, at an offset, a copy of the destination's size with its periodic
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

template <vx_Pel T>
void forward(const vxPelBuffer_const<T>& source, vxFrequencyBuffer& destination) {
    requireBound(source);
    prepare(source, destination);
    const vxPelBuffer_const<T> staged = stagingSource(source, destination);
    kernelsFor<T>(destination).forward(vf_PelsOf(staged), vf_PlaneOf(destination));
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
    vxAttention::check();
    kernelsFor<T>(destination)
        .forwardPair(vf_PelsOf(stagedReal), vf_PelsOf(stagedImaginary), vf_PlaneOf(destination));
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

template <class T>
void vfForwardFFT(const vxPelBuffer_const<T>& source, vxFrequencyBuffer& destination) {
    vf_ForwardFFT(source, destination);
}

template <class T>
void vfForwardFFT(const vxPelBuffer_const<T>& real, const vxPelBuffer_const<T>& imaginary,
                  vxFrequencyBuffer& destination) {
    vf_ForwardFFT(real, imaginary, destination);
}

void vfForwardFFT(const vxFrequencyBuffer& source, vxFrequencyBuffer& destination) {
    Access::requireSamples(source);
    vf_RequireKernelSize(source);
    vf_TransformCopy(source, destination, 1, vf_EveryRow(source));
    Access::inverseComputed(destination, false);
    Access::masked(destination, 0);
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

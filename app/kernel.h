/// \file
/// Small images that others are convolved with.
#pragma once

#include "app/image.h"
#include "filt/fft.h"

namespace app {

/// What a kernel's pels count as.
enum class KernelScale {
    asGiven,
    unit ///< divided by their sum, so that a convolution keeps the brightness
};

/// The spectrum of that size that convolves an image with the kernel when it is multiplied in. The kernel's
/// middle pel, (width / 2, height / 2) rounded down, is its origin, so that nothing is shifted.
/// UnreadableError when the kernel is larger than the spectrum, cannot be transformed, or has a sum of 0 that
/// it is to be divided by.
[[nodiscard]] vxFrequencyBuffer kernelSpectrum(const Image& kernel, const vxPair<long>& size,
                                               KernelScale scale);

} // namespace app

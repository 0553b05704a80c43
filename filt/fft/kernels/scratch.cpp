#include "filt/fft/kernels/scratch.h"

#include "filt/internal/aligned_storage.h"

vx_Scratch::vx_Scratch(std::size_t width, std::size_t height) {
    if (width == height || width == 1 || height == 1) {
        return;
    }
    // Seven floats pay for the alignment.
    storage_.resize(width * height * 2 + 7);
    data_ = vf_AlignedStart(storage_);
}

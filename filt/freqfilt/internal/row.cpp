#include "filt/freqfilt/internal/row.h"

#include "filt/fft/kernels/instruction_sets.h"

#include <algorithm>
#include <cstddef>

namespace {
void multiplyRun(const float* in, float* out, const vx_GainRun& run) {
    vf_Elements().multiplyGains(in + 2 * run.begin, run.gains, out + 2 * run.begin,
                                static_cast<std::size_t>(run.end - run.begin));
}

void finishOutside(const float* in, float* out, long begin, long end, vx_Outside outside) {
    if (outside == vx_Outside::zero) {
        std::fill(out + 2 * begin, out + 2 * end, 0.0F);
    } else if (in != out) {
        std::copy(in + 2 * begin, in + 2 * end, out + 2 * begin);
    }
}
} // namespace

void vf_MultiplyRow(const float* in, float* out, long width, std::span<const vx_GainRun> runs,
                    vx_Outside outside) {
    long done = 0;
    for (const vx_GainRun& run : runs) {
        if (run.begin < run.end) {
            finishOutside(in, out, done, run.begin, outside);
            multiplyRun(in, out, run);
            done = run.end;
        }
    }
    finishOutside(in, out, done, width, outside);
}

#include "filt/freqfilt/internal/row.h"

#include "filt/internal/numerics.h"

#include <algorithm>

namespace {
void multiply(const float* in, float* out, const vx_GainRun& run) {
    for (long x = run.begin; x < run.end; ++x) {
        // No gain is skipped, not even 0 or 1: signs of zeros and NaNs would show it.
        const float gain = run.gains[x - run.begin];
        out[2 * x] = in[2 * x] * gain;
        out[2 * x + 1] = in[2 * x + 1] * gain;
    }
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
            multiply(in, out, run);
            done = run.end;
        }
    }
    finishOutside(in, out, done, width, outside);
}

#include "filt/freqfilt/internal/row.h"

#include "filt/internal/numerics.h"

#include <algorithm>

namespace {
// out = in * gain for each sample. No gain is skipped, not even 0 or 1: signs of zeros and NaNs would show
// it.
void multiply(const float* in, float* out, const float* gains, long count) {
    for (long i = 0; i < count; ++i) {
        out[2 * i] = in[2 * i] * gains[i];
        out[2 * i + 1] = in[2 * i + 1] * gains[i];
    }
}

void multiplyRun(const float* in, float* out, const vx_GainRun& run) {
    const float* from = in + 2 * run.begin;
    float* to = out + 2 * run.begin;
    const long count = run.end - run.begin;
    if (from == to) { // Said, so that the compiler can vectorise either loop.
        multiply(to, to, run.gains, count);
    } else {
        multiply(from, to, run.gains, count);
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
            multiplyRun(in, out, run);
            done = run.end;
        }
    }
    finishOutside(in, out, done, width, outside);
}

#include "filt/freqfilt/internal/ring.h"

#include "filt/fft/kernels/instruction_sets.h"
#include "filt/internal/convert.h"
#include "filt/internal/numerics.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace {
constexpr double samplesPerBin = 32.0;

std::int64_t truncateSquare(float radius) {
    return vf_Truncate(static_cast<double>(radius * radius));
}
} // namespace

// The precisions of the limits are part of the filter: they decide which borderline samples are in the ring.
vx_Ring::vx_Ring(double frequency, long supportWidth, std::span<const float> profile,
                 const vxPair<long>& size)
    : width_(size.x())
    , height_(size.y())
    , profile_(profile)
    , centre_(static_cast<float>(frequency * static_cast<double>(width_))) {
    const double aspect = static_cast<double>(height_) / static_cast<double>(width_);
    yScale_ = 1.0 / (aspect * aspect);
    // The support is deliberately not scaled by the aspect here.
    rowLimit_ = vf_Truncate(static_cast<double>(centre_) * aspect + static_cast<double>(supportWidth));
    const float outer = centre_ + static_cast<float>(supportWidth);
    const float inner = centre_ - static_cast<float>(supportWidth);
    outerSquared_ = truncateSquare(outer);
    innerSquared_ = inner < 0.0F ? -1 : truncateSquare(inner);
    gains_.resize(static_cast<std::size_t>(width_ - (width_ >> 1) + 1));
    mirrored_.resize(gains_.size());
}

void vx_Ring::multiply(const float* in, float* out, vx_Outside outside) {
    const auto multiplyRow = [&](long y, std::span<const vx_GainRun> runs) {
        const std::ptrdiff_t row = std::ptrdiff_t{2} * width_ * y;
        vf_MultiplyRow(in + row, out + row, width_, runs, outside);
    };
    // The rows of the frequencies v and -v have the same gains. Row y stands for |v| = y in the upper half of
    // the array and for height - y in the lower; a single row is in the lower, so its |v| is 1.
    const long half = height_ >> 1;
    begin_ = end_ = width_ - (width_ >> 1) + 1;
    for (long v = 0; v <= height_ - half; ++v) {
        const Runs runs = runsAt(v);
        if (v < half) {
            multiplyRow(v, runs);
        }
        if (v > 0) {
            multiplyRow(height_ - v, runs);
        }
    }
}

// The columns of a row that are in the ring: first those of u >= 0, then those of u < 0.
vx_Ring::Runs vx_Ring::runsAt(long v) {
    if (v > rowLimit_) {
        return {};
    }
    const std::int64_t squaredV =
        vf_Truncate(static_cast<double>(std::int64_t{v} * std::int64_t{v}) * yScale_);
    const auto squaredRadius = [squaredV](long u) { return std::int64_t{u} * std::int64_t{u} + squaredV; };
    while (begin_ > 0 && squaredRadius(begin_ - 1) > innerSquared_) {
        --begin_;
    }
    while (end_ > 0 && squaredRadius(end_ - 1) >= outerSquared_) {
        --end_;
    }
    findGains(squaredV);
    const auto run = [](long begin, long end, const float* gains) {
        return begin < end ? vx_GainRun{begin, end, gains} : vx_GainRun{};
    };
    return {run(begin_, std::min(end_, width_ >> 1), gains_.data() + begin_),
            run(width_ - end_ + 1, width_ - std::max(begin_, 1L) + 1, mirrored_.data())};
}

// The gains of the ring's columns in a row.
void vx_Ring::findGains(std::int64_t squaredV) {
    const vx_RingRow row = {.squaredV = static_cast<double>(squaredV),
                            .centre = static_cast<double>(centre_),
                            .samplesPerBin = samplesPerBin,
                            .last = static_cast<double>(profile_.size() - 1),
                            .profile = profile_.data()};
    if (begin_ < end_) {
        vf_Elements().ringGains(row, static_cast<std::int32_t>(begin_),
                                static_cast<std::int32_t>(end_ - begin_), gains_.data() + begin_);
        std::reverse_copy(gains_.data() + std::max(begin_, 1L), gains_.data() + end_, mirrored_.data());
    }
}

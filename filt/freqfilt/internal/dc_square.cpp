#include "filt/freqfilt/internal/dc_square.h"

#include <cstddef>

namespace {
template <class Visit>
void forEachFrequency(long radius, Visit visit) {
    for (long v = 1 - radius; v < radius; ++v) {
        for (long u = 1 - radius; u < radius; ++u) {
            visit(u, v);
        }
    }
}

// Two opposite corners are in the spectrum exactly when the whole square is.
void checkCorners(const vxFrequencyBuffer& buffer, long radius) {
    static_cast<void>(buffer.get(1 - radius, 1 - radius, true));
    static_cast<void>(buffer.get(radius - 1, radius - 1, true));
}
} // namespace

vx_DcSquare::vx_DcSquare(const vxFrequencyBuffer& input, long radius, vx_DcSquareRule rule)
    : radius_(radius), rule_(rule) {
    if (radius_ == 0) {
        return;
    }
    checkCorners(input, radius_);
    if (rule_ == vx_DcSquareRule::keep) {
        const auto side = static_cast<std::size_t>(2 * radius_ - 1);
        kept_.reserve(side * side);
        forEachFrequency(radius_, [&](long u, long v) { kept_.push_back(input.get(u, v, true)); });
    }
}

void vx_DcSquare::finish(vxFrequencyBuffer& result) const {
    if (rule_ == vx_DcSquareRule::clear) {
        forEachFrequency(radius_, [&](long u, long v) { result.put(u, v, {0.0, 0.0}, true); });
        return;
    }
    auto value = kept_.begin();
    forEachFrequency(radius_, [&](long u, long v) { result.put(u, v, *value++, true); });
}

#include "filt/fft/internal/periodic_copy.h"

#include "kavstd/attention.h"

#include <algorithm>
#include <limits>
#include <optional>

namespace {

// a - b, or nothing when no long holds it: windows that far apart have no pel in common.
std::optional<long> difference(long a, long b) {
    const bool overflows =
        b < 0 ? a > std::numeric_limits<long>::max() + b : a < std::numeric_limits<long>::min() + b;
    return overflows ? std::nullopt : std::optional<long>(a - b);
}

// Where the shifted source lies along one axis, counted from the destination's first pel.
std::optional<long> position(long source, long destination, long shift) {
    const std::optional<long> distance = difference(source, destination);
    return distance ? difference(*distance, shift) : std::nullopt;
}

} // namespace

template <vx_Pel T>
void vf_PeriodicCopy(const vxPelBuffer_const<T>& source, vxPelBuffer<T>& destination, bool wrap) {
    vxAttention::check();
    const long sign = wrap ? -1 : 1;
    const long periodX = sign * std::max(source.width(), destination.width());
    const long periodY = sign * std::max(source.height(), destination.height());
    // In coordinates that start at the destination's first pel no offset can overflow.
    vxPelBuffer<T> target = destination;
    target.offset(0, 0);
    vxPelBuffer_const<T> view = source;
    for (const long shiftY : {periodY, 0L}) {
        for (const long shiftX : {periodX, 0L}) {
            const auto x = position(source.offset().x(), destination.offset().x(), shiftX);
            const auto y = position(source.offset().y(), destination.offset().y(), shiftY);
            if (x && y) {
                view.offset(*x, *y);
                vfPelCopy(view, target);
            }
        }
    }
}

template void vf_PeriodicCopy(const vxPelBuffer_const<unsigned char>&, vxPelBuffer<unsigned char>&, bool);
template void vf_PeriodicCopy(const vxPelBuffer_const<unsigned short>&, vxPelBuffer<unsigned short>&, bool);
template void vf_PeriodicCopy(const vxPelBuffer_const<double>&, vxPelBuffer<double>&, bool);

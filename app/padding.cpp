#include "app/padding.h"

#include "kavstd/attention.h"

#include <bit>

namespace app {
namespace {

// The extension of a line of `count` values that repeats with the period `period`, which is below 2 * count.
// Value i lies `step` doubles behind value i - 1.
void extend(double* line, long step, long count, long period) {
    const long gap = period - count;
    for (long i = 0; i < gap; ++i) {
        const double afterEnd = line[(count - 1 - i) * step];
        const double beforeStart = line[(gap - 1 - i) * step];
        const double fade = static_cast<double>(i + 1) / static_cast<double>(gap + 1);
        line[(count + i) * step] = afterEnd + (beforeStart - afterEnd) * fade;
    }
}

long powerOfTwo(long size) {
    return static_cast<long>(std::bit_ceil(static_cast<unsigned long>(size)));
}

} // namespace

vxPair<long> transformSize(long width, long height) {
    return {powerOfTwo(width), powerOfTwo(height)};
}

vxPelBuffer<double> mirrorPadded(const vxPelBuffer_const<double>& image) {
    const vxPair<long> size = transformSize(image.width(), image.height());
    vxPelBuffer<double> padded(size.x(), size.y());
    padded.offset(image.offset());
    vfPelCopy(image, padded);
    padded.offset(0, 0);
    for (long y = 0; y < image.height(); ++y) {
        vxAttention::check();
        extend(padded.pointToRow(y), 1, image.width(), size.x());
    }
    for (long x = 0; x < size.x(); ++x) {
        extend(padded.pointToOffset() + x, padded.rowUpdate(), image.height(), size.y());
    }
    return padded;
}

} // namespace app

#include "filt/freqfilt/internal/lobe.h"

#include "filt/fft/kernels/instruction_sets.h"
#include "filt/freqfilt/internal/checks.h"
#include "filt/freqfilt/internal/row.h"
#include "filt/internal/centred.h"
#include "filt/internal/convert.h"
#include "filt/internal/numerics.h"
#include "kavstd/xform.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

namespace {
double aspectOf(const vxPair<long>& size) {
    return static_cast<double>(size.y()) / static_cast<double>(size.x());
}

double truncated(double value) {
    return static_cast<double>(vf_Truncate(value));
}

// Calls visit(first, size) for one block after the other of `count` elements.
template <class Visit>
void forEachBlock(long count, std::size_t most, Visit visit) {
    for (long first = 0; first < count; first += static_cast<long>(most)) {
        visit(first, std::min(most, static_cast<std::size_t>(count - first)));
    }
}
} // namespace

vxPair<long> vf_LobeSupport(const vx_LobeParameters& lobe) {
    const double n = static_cast<double>(lobe.size.x());
    const double aspect = aspectOf(lobe.size);
    const double c = std::fabs(std::cos(lobe.angle.toDouble()));
    const double s = std::fabs(std::sin(lobe.angle.toDouble()));
    // Both widths are scaled by the filter's width. A NaN among them reaches one of the two extents.
    const double sx = lobe.sigma.x() * n;
    const double sy = lobe.sigma.y() * n;
    const double px = lobe.plateau.x() * n;
    const double py = lobe.plateau.y() * n;
    const double ex = std::max(sx * c, sy * s);
    const double ey = std::max(sy * c, sx * s) * aspect;
    const double epx = std::max(px * c, py * s);
    const double epy = std::max(py * c, px * s) * aspect;
    return {vf_SupportSize(8.0 * ex + 2.0 * epx + 0.05 * static_cast<double>(lobe.size.x())),
            vf_SupportSize(8.0 * ey + 2.0 * epy + 0.05 * static_cast<double>(lobe.size.y()))};
}

void vf_SampleLobe(const vx_LobeParameters& lobe, const vxPair<long>& support, const vx_FilterKind& kind,
                   std::span<float> patch) {
    const double n = static_cast<double>(lobe.size.x());
    const double aspect = aspectOf(lobe.size);
    const double angle = lobe.angle.toDouble();
    const double sx = lobe.sigma.x() * n;
    const double sy = lobe.sigma.y() * n;
    const double px = lobe.plateau.x() * n;
    const double py = lobe.plateau.y() * n;
    const double kx = 1.0 / (-2.0 * (sx * sx));
    const double ky = 1.0 / (-2.0 * (sy * sy));
    // Into the lobe's own axes.
    const vxXform<2> xform(vxVector<2>(0.0, 0.0), 1.0, 1.0, vxRadian(0.0), -lobe.angle);

    // Deliberate: here the shifted position is truncated, where the patch is laid the unshifted one.
    const double f = lobe.frequency * n;
    double ox = std::cos(angle) * f + static_cast<double>(lobe.size.x() >> 1);
    double oy = std::sin(angle) * f * aspect + static_cast<double>(lobe.size.y() >> 1);
    ox -= truncated(ox);
    oy -= truncated(oy);

    const double m00 = xform.matrix().element(0, 0);
    const double m01 = xform.matrix().element(0, 1);
    const double m10 = xform.matrix().element(1, 0);
    const double m11 = xform.matrix().element(1, 1);
    const long halfWidth = support.x() >> 1;
    const long halfHeight = support.y() >> 1;
    // xform * (x, y), written out: the translation is zero, and the columns' share is the same in every row.
    std::array<double, vx_LobePart::mostColumns> along = {};
    std::array<double, vx_LobePart::mostColumns> across = {};
    std::array<double, vx_LobePart::mostRows> alongShift = {};
    std::array<double, vx_LobePart::mostRows> acrossShift = {};
    const vx_LobePart part = {.along = along.data(),
                              .across = across.data(),
                              .alongShift = alongShift.data(),
                              .acrossShift = acrossShift.data(),
                              .alongStep = m01 / aspect,
                              .acrossStep = m11 / aspect,
                              .alongPlateau = px,
                              .acrossPlateau = py,
                              .alongFactor = kx,
                              .acrossFactor = ky,
                              .complement = kind.complement,
                              .gainAt = kind.gainAt};
    forEachBlock(support.x(), vx_LobePart::mostColumns, [&](long firstColumn, std::size_t columns) {
        for (std::size_t i = 0; i < columns; ++i) {
            const double x = static_cast<double>(firstColumn + static_cast<long>(i) - halfWidth) - ox;
            along[i] = m00 * x;
            across[i] = m10 * x;
        }
        forEachBlock(support.y(), vx_LobePart::mostRows, [&](long firstRow, std::size_t rows) {
            for (std::size_t j = 0; j < rows; ++j) {
                const double y =
                    (static_cast<double>(firstRow + static_cast<long>(j) - halfHeight) - oy) / aspect;
                alongShift[j] = m01 * y;
                acrossShift[j] = m11 * y;
            }
            vf_Elements().lobeGains(part, columns, rows,
                                    patch.data() + (firstRow * support.x() + firstColumn),
                                    static_cast<std::size_t>(support.x()));
        });
    });
}

vx_Lobe::vx_Lobe(const vx_LobeParameters& lobe, const vxPair<long>& support, std::span<const float> patch)
    : width_(lobe.size.x()), height_(lobe.size.y()), patchWidth_(support.x()), patch_(patch.data()) {
    const double f = lobe.frequency * static_cast<double>(width_);
    const double angle = lobe.angle.toDouble();
    const long centreX = static_cast<long>(vf_Truncate(std::cos(angle) * f)) + (width_ >> 1);
    const long centreY =
        static_cast<long>(vf_Truncate(std::sin(angle) * f * aspectOf(lobe.size))) + (height_ >> 1);
    x0_ = centreX - (support.x() >> 1);
    x1_ = centreX + (support.x() >> 1);
    y0_ = centreY - (support.y() >> 1);
    y1_ = centreY + (support.y() >> 1);
}

void vx_Lobe::multiply(const float* in, float* out, vx_Outside outside) const {
    const long half = width_ >> 1;
    for (long y = 0; y < height_; ++y) {
        const std::ptrdiff_t row = std::ptrdiff_t{2} * width_ * y;
        const long centredY = vf_CentredNumber(y, height_);
        std::array<vx_GainRun, 2> runs = {};
        // Columns stop before x1, rows reach y1: the last column of the patch is never applied.
        if (centredY >= y0_ && centredY <= y1_) {
            const float* gains = patch_ + std::ptrdiff_t{centredY - y0_} * patchWidth_;
            // Storage order: the right half of the centred columns comes first.
            const auto run = [&](long first, long last, long shift) {
                const long begin = std::max(x0_, first);
                const long end = std::min(x1_, last);
                return begin < end ? vx_GainRun{begin + shift, end + shift, gains + (begin - x0_)}
                                   : vx_GainRun{};
            };
            runs = {run(half, width_, -half), run(0, half, half)};
        }
        vf_MultiplyRow(in + row, out + row, width_, runs, outside);
    }
}

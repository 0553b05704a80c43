/// \file
/// The filters, slow and literal, on plain arrays: what the library's filters are compared with. Nothing of
/// the library is used.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace oracle {

/// Samples (real, imaginary) row by row, DC first.
struct Plane {
    long width = 0;
    long height = 0;
    std::vector<float> samples;

    float& real(long x, long y) { return samples[static_cast<std::size_t>((y * width + x) * 2)]; }
    float& imaginary(long x, long y) { return samples[static_cast<std::size_t>((y * width + x) * 2 + 1)]; }
    [[nodiscard]] float real(long x, long y) const {
        return samples[static_cast<std::size_t>((y * width + x) * 2)];
    }
    [[nodiscard]] float imaginary(long x, long y) const {
        return samples[static_cast<std::size_t>((y * width + x) * 2 + 1)];
    }
};

inline void multiply(const Plane& in, Plane& out, long x, long y, float gain) {
    out.real(x, y) = in.real(x, y) * gain;
    out.imaginary(x, y) = in.imaginary(x, y) * gain;
}

inline void clear(Plane& out, long x, long y) {
    out.real(x, y) = 0.0F;
    out.imaginary(x, y) = 0.0F;
}

/// The square around DC is set to zero.
inline void removeDc(Plane& plane, long radius) {
    if (radius == 0) {
        return;
    }
    for (long v = -(radius - 1); v <= radius - 1; ++v) {
        for (long u = -(radius - 1); u <= radius - 1; ++u) {
            clear(plane, u < 0 ? u + plane.width : u, v < 0 ? v + plane.height : v);
        }
    }
}

/// The square around DC is taken over from the input.
inline void protectDc(const Plane& in, Plane& out, long radius) {
    if (radius == 0) {
        return;
    }
    for (long v = -(radius - 1); v <= radius - 1; ++v) {
        for (long u = -(radius - 1); u <= radius - 1; ++u) {
            const long x = u < 0 ? u + in.width : u;
            const long y = v < 0 ? v + in.height : v;
            out.real(x, y) = in.real(x, y);
            out.imaginary(x, y) = in.imaginary(x, y);
        }
    }
}

struct Band {
    double sigma = 0.0;
    double plateau = 0.0;
    double frequency = 0.0;
    long width = 0;
    long height = 0;
    long radius = 0;
    bool reject = false;
};

inline long bandSupport(const Band& band) {
    const double N = static_cast<double>(band.width);
    const double s = band.sigma * N;
    const double p = band.plateau * N;
    long support = static_cast<long>(4.0 * s + p + 0.05 * N);
    if (support % 2 == 0) {
        support = support + 1;
    }
    return support;
}

inline std::vector<float> bandProfile(const Band& band) {
    const double N = static_cast<double>(band.width);
    const double s = band.sigma * N;
    const double p = band.plateau * N;
    const double step = 1.0 / 32.0;
    double k = -2.0 * s * s;
    if (k != 0.0) {
        k = 1.0 / k;
    }
    const long entries = bandSupport(band) * 32;
    std::vector<float> profile;
    for (long i = 0; i < entries; ++i) {
        double d = static_cast<double>(i) * step - p;
        if (d < 0.0) {
            d = 0.0;
        }
        const double lobe = std::exp(d * d * k);
        profile.push_back(band.reject ? static_cast<float>(1.0 - lobe) : static_cast<float>(lobe));
    }
    return profile;
}

inline Plane applyBand(const Band& band, const std::vector<float>& profile, const Plane& in) {
    Plane out = in;
    const long W = in.width;
    const long H = in.height;
    const long halfW = W >> 1;
    const long halfH = H >> 1;
    const long support = static_cast<long>(profile.size()) / 32;
    const float fc = static_cast<float>(band.frequency * static_cast<double>(W));
    const double aspect = static_cast<double>(H) / static_cast<double>(W);
    const double yScale = 1.0 / (aspect * aspect);
    const std::int64_t rowLimit =
        static_cast<std::int64_t>(static_cast<double>(fc) * aspect + static_cast<double>(support));
    const float outerRadius = fc + static_cast<float>(support);
    const std::int64_t outer2 = static_cast<std::int64_t>(outerRadius * outerRadius);
    const float innerRadius = fc - static_cast<float>(support);
    std::int64_t inner2 = static_cast<std::int64_t>(innerRadius * innerRadius);
    if (innerRadius < 0.0F) {
        inner2 = -1;
    }
    for (long y = 0; y < H; ++y) {
        const long v = y < halfH ? y : H - y;
        if (v > rowLimit) {
            for (long x = 0; x < W; ++x) {
                if (!band.reject) {
                    clear(out, x, y);
                }
            }
            continue;
        }
        const std::int64_t yy = static_cast<std::int64_t>(static_cast<double>(v * v) * yScale);
        for (long x = 0; x < W; ++x) {
            const long u = x < halfW ? x : x - W;
            const std::int64_t r2 = u * u + yy;
            if (r2 <= inner2 || r2 >= outer2) {
                if (!band.reject) {
                    clear(out, x, y);
                }
                continue;
            }
            std::int64_t index = static_cast<std::int64_t>(
                (std::sqrt(static_cast<double>(r2)) - static_cast<double>(fc)) * 32.0);
            if (index < 0) {
                index = -index;
            }
            if (index > static_cast<std::int64_t>(profile.size()) - 1) {
                index = static_cast<std::int64_t>(profile.size()) - 1;
            }
            multiply(in, out, x, y, profile[static_cast<std::size_t>(index)]);
        }
    }
    if (band.reject) {
        protectDc(in, out, band.radius);
    } else {
        removeDc(out, band.radius);
    }
    return out;
}

struct Lobe {
    double sigmaX = 0.0;
    double sigmaY = 0.0;
    double plateauX = 0.0;
    double plateauY = 0.0;
    double angle = 0.0;
    double frequency = 0.0;
    long width = 0;
    long height = 0;
    long radius = 0;
    bool reject = false;
};

inline std::pair<long, long> lobeSupport(const Lobe& lobe) {
    const double Nx = static_cast<double>(lobe.width);
    const double aspect = static_cast<double>(lobe.height) / Nx;
    const double sx = lobe.sigmaX * Nx;
    const double sy = lobe.sigmaY * Nx;
    const double px = lobe.plateauX * Nx;
    const double py = lobe.plateauY * Nx;
    const double c = std::fabs(std::cos(lobe.angle));
    const double s = std::fabs(std::sin(lobe.angle));
    const double ex = std::max(sx * c, sy * s);
    const double ey = std::max(sy * c, sx * s) * aspect;
    const double epx = std::max(px * c, py * s);
    const double epy = std::max(py * c, px * s) * aspect;
    long columns = static_cast<long>(8.0 * ex + 2.0 * epx + 0.05 * static_cast<double>(lobe.width));
    long rows = static_cast<long>(8.0 * ey + 2.0 * epy + 0.05 * static_cast<double>(lobe.height));
    if (columns % 2 == 0) {
        columns = columns + 1;
    }
    if (rows % 2 == 0) {
        rows = rows + 1;
    }
    return {columns, rows};
}

inline std::vector<float> lobePatch(const Lobe& lobe) {
    const double Nx = static_cast<double>(lobe.width);
    const double aspect = static_cast<double>(lobe.height) / Nx;
    const double sx = lobe.sigmaX * Nx;
    const double sy = lobe.sigmaY * Nx;
    const double px = lobe.plateauX * Nx;
    const double py = lobe.plateauY * Nx;
    const auto [columns, rows] = lobeSupport(lobe);
    const double kx = 1.0 / (-2.0 * (sx * sx));
    const double ky = 1.0 / (-2.0 * (sy * sy));
    const long hw = columns >> 1;
    const long hh = rows >> 1;
    const double cx = static_cast<double>(lobe.width >> 1);
    const double cy = static_cast<double>(lobe.height >> 1);
    const double f = lobe.frequency * Nx;
    double ox = std::cos(lobe.angle) * f + cx;
    double oy = std::sin(lobe.angle) * f * aspect + cy;
    ox -= std::trunc(ox);
    oy -= std::trunc(oy);
    std::vector<float> patch;
    for (long j = -hh; j <= hh; ++j) {
        for (long i = -hw; i <= hw; ++i) {
            const double x = static_cast<double>(i) - ox;
            const double y = (static_cast<double>(j) - oy) / aspect;
            // Turned by -angle: along the lobe's direction, and across it.
            const double along = std::cos(-lobe.angle) * x - std::sin(-lobe.angle) * y;
            const double across = std::sin(-lobe.angle) * x + std::cos(-lobe.angle) * y;
            const double a = std::max(std::fabs(along) - px, 0.0);
            const double b = std::max(std::fabs(across) - py, 0.0);
            const double gaussian = std::exp(a * a * kx + b * b * ky);
            patch.push_back(lobe.reject ? static_cast<float>(1.0 - gaussian) : static_cast<float>(gaussian));
        }
    }
    return patch;
}

struct LobeRegion {
    long x0 = 0;
    long x1 = 0;
    long y0 = 0;
    long y1 = 0;
};

inline LobeRegion lobeRegion(const Lobe& lobe, long columns, long rows) {
    const double W = static_cast<double>(lobe.width);
    const double H = static_cast<double>(lobe.height);
    const double f = lobe.frequency * W;
    const double aspect = H / W;
    const long cX = static_cast<long>(std::cos(lobe.angle) * f) + (lobe.width >> 1);
    const long cY = static_cast<long>(std::sin(lobe.angle) * f * aspect) + (lobe.height >> 1);
    return {cX - (columns >> 1), cX + (columns >> 1), cY - (rows >> 1), cY + (rows >> 1)};
}

inline Plane applyLobe(const Lobe& lobe, const std::vector<float>& patch, long columns, long rows,
                       const Plane& in) {
    Plane out = in;
    const LobeRegion region = lobeRegion(lobe, columns, rows);
    const long halfW = in.width >> 1;
    const long halfH = in.height >> 1;
    for (long y = 0; y < in.height; ++y) {
        for (long x = 0; x < in.width; ++x) {
            const long X = x < halfW ? x + halfW : x - halfW;
            const long Y = y < halfH ? y + halfH : y - halfH;
            if (Y >= region.y0 && Y <= region.y1 && X >= region.x0 && X < region.x1) {
                const long cell = (Y - region.y0) * columns + (X - region.x0);
                multiply(in, out, x, y, patch[static_cast<std::size_t>(cell)]);
            } else if (!lobe.reject) {
                clear(out, x, y);
            }
        }
    }
    if (lobe.reject) {
        protectDc(in, out, lobe.radius);
    } else {
        removeDc(out, lobe.radius);
    }
    return out;
}

} // namespace oracle

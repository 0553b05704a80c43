/// \file
/// The 2-D transforms once more, step by step and slowly, for comparison bit by bit. Rows and columns are
/// taken out of the matrix, transformed as lines and put back; only the transpose with a band of rows is
/// carried out on the matrix, because what it skips shows in the result.
#pragma once

#include <cmath>
#include <cstddef>
#include <utility>
#include <vector>

namespace oracle {

/// Wide enough for any sum or difference of a `long` and a size.
__extension__ typedef __int128 Wide;

struct Line {
    std::vector<float> re;
    std::vector<float> im;
};

struct BaseTables {
    float c[16];
    float s[16];
    float c3[16];
    float s3[16];
};

/// The tables for the angles d 2 pi / L, L = 1, 2, 4 ... 32768.
inline BaseTables baseTables(double d) {
    BaseTables tables{};
    for (int k = 0; k < 16; ++k) {
        const double L = std::ldexp(1.0, k);
        const double a = d * 6.283185307179586 / L;
        tables.c[k] = static_cast<float>(std::cos(a));
        tables.s[k] = static_cast<float>(std::sin(a));
        tables.c3[k] = static_cast<float>(std::cos(3.0 * a));
        tables.s3[k] = static_cast<float>(std::sin(3.0 * a));
    }
    return tables;
}

/// Entries 1 .. n-1: -1, or twice the position (from 1) that position i changes places with.
inline std::vector<int> swapTable(int n) {
    std::vector<int> entry(static_cast<std::size_t>(2 * n), -1);
    int j = 1;
    for (int i = 1; i <= n - 1; ++i) {
        if (i < j) {
            entry[static_cast<std::size_t>(i)] = 2 * j;
            entry[static_cast<std::size_t>(j)] = -1;
        } else if (i == j) {
            entry[static_cast<std::size_t>(i)] = -1;
        }
        int h = n >> 1;
        while (h < j) {
            j = j - h;
            h = h >> 1;
        }
        j = j + h;
    }
    return entry;
}

/// The 1-D transform.
inline void transformLine(Line& x, const BaseTables& tables, int direction) {
    std::vector<float>& re = x.re;
    std::vector<float>& im = x.im;
    const int n = static_cast<int>(re.size());
    int m = 0;
    while ((1 << m) < n) {
        ++m;
    }
    const auto at = [](int i) { return static_cast<std::size_t>(i); };
    if (n == 1) {
        return;
    }
    // Step 1.
    if (direction < 0) {
        for (float& value : im) {
            value = -value;
        }
    }
    // Step 2.
    for (int t = 1; t <= m - 1; ++t) {
        const int span = n >> (t - 1);
        const int quarter = span / 4;
        const int k = m + 1 - t;
        const float c = tables.c[k];
        const float s = tables.s[k];
        const float c3 = tables.c3[k];
        const float sn3 = tables.s3[k];
        float w1r = 1.0F;
        float w1i = 0.0F;
        float w3r = 1.0F;
        float w3i = 0.0F;
        for (int j = 0; j <= quarter - 1; ++j) {
            int is = j;
            int id = 2 * span;
            do {
                for (int i0 = is; i0 < n - 1; i0 += id) {
                    const int i1 = i0 + quarter;
                    const int i2 = i1 + quarter;
                    const int i3 = i2 + quarter;
                    float r1 = re[at(i0)] - re[at(i2)];
                    re[at(i0)] = re[at(i0)] + re[at(i2)];
                    float r2 = re[at(i1)] - re[at(i3)];
                    re[at(i1)] = re[at(i1)] + re[at(i3)];
                    float s1 = im[at(i0)] - im[at(i2)];
                    im[at(i0)] = im[at(i0)] + im[at(i2)];
                    float s2 = im[at(i1)] - im[at(i3)];
                    im[at(i1)] = im[at(i1)] + im[at(i3)];
                    float s3 = r1 - s2;
                    r1 = r1 + s2;
                    s2 = r2 - s1;
                    r2 = r2 + s1;
                    re[at(i2)] = r1 * w1r - s2 * w1i;
                    im[at(i2)] = -s2 * w1r - r1 * w1i;
                    re[at(i3)] = s3 * w3r + r2 * w3i;
                    im[at(i3)] = r2 * w3r - s3 * w3i;
                }
                is = 2 * id - span + j;
                id = 4 * id;
            } while (is < n - 1);
            const float new1r = w1r * c - w1i * s;
            const float new1i = w1i * c + w1r * s;
            const float new3r = w3r * c3 - w3i * sn3;
            const float new3i = w3i * c3 + w3r * sn3;
            w1r = new1r;
            w1i = new1i;
            w3r = new3r;
            w3i = new3i;
        }
    }
    // Step 3.
    int is = 0;
    int id = 4;
    do {
        for (int i0 = is; i0 <= n - 1; i0 += id) {
            const float r = re[at(i0)];
            const float i = im[at(i0)];
            re[at(i0)] = r + re[at(i0 + 1)];
            re[at(i0 + 1)] = r - re[at(i0 + 1)];
            im[at(i0)] = i + im[at(i0 + 1)];
            im[at(i0 + 1)] = i - im[at(i0 + 1)];
        }
        is = 2 * id - 2;
        id = 4 * id;
    } while (is < n - 1);
    // Step 4.
    const std::vector<int> entry = swapTable(n);
    for (int i = n - 2; i >= 1; --i) {
        if (entry[at(i)] >= 0) {
            std::swap(re[at(i - 1)], re[at(entry[at(i)] / 2 - 1)]);
            std::swap(im[at(i - 1)], im[at(entry[at(i)] / 2 - 1)]);
        }
    }
    // Step 5.
    if (direction < 0) {
        for (float& value : im) {
            value = -value;
        }
    }
}

/// `length` samples of a matrix, the first at sample `first` and then every `stride`.
inline Line takeLine(const std::vector<float>& data, long first, long stride, long length) {
    Line line;
    for (long i = 0; i < length; ++i) {
        const auto at = static_cast<std::size_t>(2 * (first + i * stride));
        line.re.push_back(data[at]);
        line.im.push_back(data[at + 1]);
    }
    return line;
}

inline void putLine(std::vector<float>& data, long first, long stride, const Line& line) {
    for (std::size_t i = 0; i < line.re.size(); ++i) {
        const auto at = static_cast<std::size_t>(2 * (first + static_cast<long>(i) * stride));
        data[at] = line.re[i];
        data[at + 1] = line.im[i];
    }
}

/// Takes out one line, transforms it and puts it back.
inline void transformInPlace(std::vector<float>& data, long first, long stride, long length,
                             const BaseTables& tables, int direction) {
    Line line = takeLine(data, first, stride, length);
    transformLine(line, tables, direction);
    putLine(data, first, stride, line);
}

/// The transform of n complex values made of 2 n reals becomes the n + 1 values of the reals' half spectrum.
inline void splitLine(Line& z, int direction) {
    const int n = static_cast<int>(z.re.size());
    z.re.push_back(0.0F);
    z.im.push_back(0.0F);
    const float c1 = 0.5F;
    float c2 = 0.0F;
    float theta = 0.0F;
    if (direction > 0) {
        c2 = -0.5F;
        theta = static_cast<float>(3.141592653589793 / n);
    } else {
        c2 = +0.5F;
        theta = static_cast<float>(-3.141592653589793 / n);
    }
    const float s = ::sinf(0.5F * theta);
    const double wide = static_cast<double>(s);
    const float wpr = static_cast<float>(-2.0 * wide * wide);
    const float wpi = -::sinf(theta);
    float wr = static_cast<float>(1.0 + static_cast<double>(wpr));
    float wi = wpi;
    for (int k = 1; k <= n / 2 - 1; ++k) {
        const auto a = static_cast<std::size_t>(k);
        const auto b = static_cast<std::size_t>(n - k);
        const float are = z.re[a];
        const float aim = z.im[a];
        const float bre = z.re[b];
        const float bim = z.im[b];
        const float h1r = c1 * (are + bre);
        const float h1i = c1 * (aim - bim);
        const float h2r = -c2 * (aim + bim);
        const float h2i = c2 * (are - bre);
        z.re[a] = (h1r + wr * h2r) - wi * h2i;
        z.im[a] = (h1i + wr * h2i) + wi * h2r;
        z.re[b] = (h1r - wr * h2r) + wi * h2i;
        z.im[b] = (-h1i + wr * h2i) + wi * h2r;
        const float nextr = wr + (wr * wpr - wi * wpi);
        const float nexti = wi + (wi * wpr + wr * wpi);
        wr = nextr;
        wi = nexti;
    }
    if (n >= 2) {
        const auto middle = static_cast<std::size_t>(n / 2);
        z.im[middle] = -z.im[middle];
    }
    const float h = z.re[0];
    const auto last = static_cast<std::size_t>(n);
    if (direction > 0) {
        z.re[0] = h + z.im[0];
        z.re[last] = h - z.im[0];
    } else {
        z.re[0] = 0.5F * (h + z.im[0]);
        z.re[last] = 0.5F * (h - z.im[0]);
    }
    z.im[last] = 0.0F;
    z.im[0] = 0.0F;
}

/// The real kernel: w * h * 2 floats, the first w of each row real values; the full spectrum replaces them.
inline void realFFT2D(std::vector<float>& data, long w, long h, int direction) {
    const BaseTables tables = baseTables(static_cast<double>(direction));
    if (w > 1) {
        for (long row = 0; row < h; ++row) {
            Line z = takeLine(data, row * w, 1, w / 2);
            transformLine(z, tables, direction);
            splitLine(z, direction);
            putLine(data, row * w, 1, z);
        }
    }
    for (long u = 0; u <= w / 2; ++u) {
        transformInPlace(data, u, w, h, tables, direction);
    }
    for (long v = 0; v < h; ++v) {
        for (long u = 1; u <= w / 2 - 1; ++u) {
            const long from = (v == 0 ? 0 : h - v) * w + u;
            const long to = v * w + (w - u);
            data[static_cast<std::size_t>(2 * to)] = data[static_cast<std::size_t>(2 * from)];
            data[static_cast<std::size_t>(2 * to + 1)] = -data[static_cast<std::size_t>(2 * from + 1)];
        }
    }
}

/// Whether row r is left out of the row pass.
inline bool rowIsSkipped(Wide r, Wide half, Wide low, Wide high) {
    if (r < half) {
        return r < low - half || r > high - half;
    }
    return r < low + half || r > high + half;
}

/// Whether the block of rows from b is outside the band.
inline bool blockIsOutside(Wide b, Wide half, Wide low, Wide high) {
    if (b >= half) {
        return b + 4 < low + half || b > high + half;
    }
    return b + 4 < low - half || b > high - half;
}

/// The transpose in place of an n x n matrix, which leaves pairs of blocks outside the band alone.
inline void transposeWithBand(std::vector<float>& data, long n, Wide low, Wide high) {
    const auto swapElements = [&](long row, long column) {
        for (long part = 0; part < 2; ++part) {
            std::swap(data[static_cast<std::size_t>(2 * (row * n + column) + part)],
                      data[static_cast<std::size_t>(2 * (column * n + row) + part)]);
        }
    };
    if (n == 2) {
        swapElements(1, 0);
    }
    if (n < 4) {
        return;
    }
    const bool skipping = !(low < 1 && high >= n);
    const Wide half = n / 2;
    for (long row = 1; row < n; ++row) {
        for (long column = 0; column < row; ++column) {
            const Wide I = row - row % 4;
            const Wide J = column - column % 4;
            if (skipping && blockIsOutside(I, half, low, high) && blockIsOutside(J, half, low, high)) {
                continue;
            }
            swapElements(row, column);
        }
    }
}

/// The complex kernel, in place on w * h * 2 floats.
inline void complexFFT2D(std::vector<float>& data, long w, long h, int direction, long bandLow,
                         long bandHigh) {
    const BaseTables tables = baseTables(1.0);
    for (long r = 0; r < h; ++r) {
        if (!rowIsSkipped(r, h >> 1, bandLow, bandHigh)) {
            transformInPlace(data, r * w, 1, w, tables, direction);
        }
    }
    if (w != h) {
        for (long u = 0; u < w; ++u) {
            transformInPlace(data, u, w, h, tables, direction);
        }
        return;
    }
    transposeWithBand(data, w, bandLow, bandHigh);
    for (long u = 0; u < w; ++u) {
        transformInPlace(data, u * h, 1, h, tables, direction);
    }
    transposeWithBand(data, w, 0, w);
}

} // namespace oracle

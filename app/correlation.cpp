#include "app/correlation.h"

#include "app/filtering.h"
#include "app/padding.h"
#include "kavstd/attention.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <numeric>
#include <utility>
#include <vector>

namespace app {
namespace {

using Pels = vxPelBuffer<double>;

// std::complex would look for NaNs in every product.
struct Complex {
    double re = 0;
    double im = 0;
};

Complex operator+(const Complex& a, const Complex& b) {
    return {a.re + b.re, a.im + b.im};
}
Complex operator-(const Complex& a, const Complex& b) {
    return {a.re - b.re, a.im - b.im};
}
Complex operator*(const Complex& a, const Complex& b) {
    return {a.re * b.re - a.im * b.im, a.re * b.im + a.im * b.re};
}

// A matrix of complex numbers, both of whose sizes are powers of two, and its Fourier transform.
class Plane {
public:
    explicit Plane(const vxPair<long>& size)
        : columns_(static_cast<std::size_t>(size.x()))
        , rows_(static_cast<std::size_t>(size.y()))
        , values_(columns_ * rows_) {}

    [[nodiscard]] Complex* row(std::size_t y) { return values_.data() + y * columns_; }
    [[nodiscard]] std::size_t columns() const { return columns_; }
    [[nodiscard]] std::size_t rows() const { return rows_; }

    // Leaves the plane transposed.
    void transform() {
        transformColumns();
        transpose();
        transformColumns();
    }

private:
    // Columns are transformed side by side, few enough to stay in the cache.
    static constexpr std::size_t strip = 8;

    void transformColumns();
    void transformStrip(std::size_t begin, std::size_t end, const std::vector<Complex>& turns);
    void transpose();

    std::size_t columns_;
    std::size_t rows_;
    std::vector<Complex> values_;
};

void Plane::transformColumns() {
    std::vector<Complex> turns(rows_ / 2); // Parts of a whole turn, each computed by itself.
    for (std::size_t i = 0; i < turns.size(); ++i) {
        const double angle = -2 * std::numbers::pi * static_cast<double>(i) / static_cast<double>(rows_);
        turns[i] = {std::cos(angle), std::sin(angle)};
    }
    for (std::size_t begin = 0; begin < columns_; begin += strip) {
        vxAttention::check();
        transformStrip(begin, std::min(begin + strip, columns_), turns);
    }
}

// Cooley and Tukey's, radix 2, decimation in time.
void Plane::transformStrip(std::size_t begin, std::size_t end, const std::vector<Complex>& turns) {
    for (std::size_t y = 1, reversed = 0; y < rows_; ++y) {
        std::size_t bit = rows_ / 2;
        for (; (reversed & bit) != 0; bit /= 2) {
            reversed ^= bit;
        }
        reversed ^= bit;
        if (y < reversed) {
            std::swap_ranges(row(y) + begin, row(y) + end, row(reversed) + begin);
        }
    }
    for (std::size_t half = 1; half < rows_; half *= 2) {
        for (std::size_t y = 0; y < rows_; ++y) {
            if ((y & half) != 0) {
                continue;
            }
            const Complex turn = turns[(y & (half - 1)) * (rows_ / (2 * half))];
            Complex* upper = row(y);
            Complex* lower = row(y + half);
            for (std::size_t x = begin; x < end; ++x) {
                const Complex turned = turn * lower[x];
                lower[x] = upper[x] - turned;
                upper[x] = upper[x] + turned;
            }
        }
    }
}

void Plane::transpose() {
    std::vector<Complex> transposed(values_.size());
    for (std::size_t begin = 0; begin < columns_; begin += strip) {
        for (std::size_t y = 0; y < rows_; ++y) {
            for (std::size_t x = begin; x < std::min(begin + strip, columns_); ++x) {
                transposed[x * rows_ + y] = values_[y * columns_ + x];
            }
        }
    }
    values_.swap(transposed);
    std::swap(columns_, rows_);
}

double rootOfSquares(const Pels& pels) {
    double sum = 0;
    for (long y = 0; y < pels.height(); ++y) {
        const double* row = pels.pointToRow(y);
        sum =
            std::accumulate(row, row + pels.width(), sum, [](double s, double pel) { return s + pel * pel; });
    }
    return std::sqrt(sum);
}

// Both at once, the image as real and the pattern as imaginary parts, and alike in size, so that neither
// costs the other's precision.
Plane packed(const Pels& image, double imageScale, const Pels& pattern, double patternScale) {
    Plane plane(transformSize(image.width(), image.height()));
    for (long y = 0; y < image.height(); ++y) {
        const double* from = image.pointToRow(y);
        Complex* to = plane.row(static_cast<std::size_t>(y));
        for (long x = 0; x < image.width(); ++x) {
            to[x].re = from[x] / imageScale;
        }
    }
    for (long y = 0; y < pattern.height(); ++y) {
        const double* from = pattern.pointToRow(y);
        Complex* to = plane.row(static_cast<std::size_t>(y));
        for (long x = 0; x < pattern.width(); ++x) {
            to[x].im = from[x] / patternScale;
        }
    }
    return plane;
}

// From the spectrum z of image + i pattern, whose values at a frequency and its negative are given, the
// conjugate of image times conjugated pattern at the frequency.
Complex conjugatedProduct(const Complex& z, const Complex& negative) {
    const Complex image = {(z.re + negative.re) / 2, (z.im - negative.im) / 2};
    const Complex pattern = {(z.im + negative.im) / 2, (negative.re - z.re) / 2};
    return Complex{image.re, -image.im} * pattern;
}

void multiply(Plane& plane) {
    for (std::size_t y = 0; y <= plane.rows() / 2; ++y) {
        vxAttention::check();
        const std::size_t negativeY = (plane.rows() - y) % plane.rows();
        for (std::size_t x = 0; x < plane.columns(); ++x) {
            if (y == negativeY && x > plane.columns() / 2) {
                break; // Done with its negative.
            }
            Complex& at = plane.row(y)[x];
            Complex& atNegative = plane.row(negativeY)[(plane.columns() - x) % plane.columns()];
            const Complex product = conjugatedProduct(at, atNegative);
            at = product;
            atNegative = {product.re, -product.im};
        }
    }
}

} // namespace

Pels correlation(const Pels& image, const Pels& pattern, const vxPair<long>& positions) {
    // Only positions where the pattern lies within the image are read, and there nothing wraps around a
    // transform of the image's size.
    const vxPair<long> size = transformSize(image.width(), image.height());
    vxFrequencyBuffer product = spectrumOf(pattern, size);
    vfFrequencyConjugate(product);
    vfFrequencyMultiply(spectrumOf(image, size), product);
    return imageOf(product, Part::real, positions.x(), positions.y());
}

Pels preciseCorrelation(const Pels& image, const Pels& pattern, const vxPair<long>& positions) {
    const double imageScale = rootOfSquares(image);
    const double patternScale = rootOfSquares(pattern);
    Plane plane = packed(image, imageScale, pattern, patternScale);
    plane.transform();
    multiply(plane);
    plane.transform(); // Of the conjugate: the inverse transform, as the result is real.
    const double scale = imageScale * patternScale /
                         (static_cast<double>(plane.columns()) * static_cast<double>(plane.rows()));
    Pels result(positions.x(), positions.y());
    for (long y = 0; y < result.height(); ++y) {
        const Complex* from = plane.row(static_cast<std::size_t>(y));
        std::transform(from, from + result.width(), result.pointToRow(y),
                       [scale](const Complex& value) { return value.re * scale; });
    }
    return result;
}

} // namespace app

#include "app/suggestion_wave.h"

#include "kavstd/attention.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <numeric>
#include <utility>

namespace app {
namespace {

using Complex = std::complex<double>;

constexpr double pi = std::numbers::pi;

double middle(std::size_t size) {
    return (static_cast<double>(size) - 1) / 2;
}

double sum(const std::vector<double>& values) {
    return std::accumulate(values.begin(), values.end(), 0.0);
}

// Where the paraboloid through 3 x 3 values at -1, 0 and 1 has its maximum, no farther than 1 away. The
// coefficients are those of the least squares fit.
vxPair<double> vertex(const double (&z)[3][3]) {
    double x = 0;
    double y = 0;
    double xx = 0;
    double yy = 0;
    double xy = 0;
    for (int j = 0; j < 3; ++j) {
        for (int i = 0; i < 3; ++i) {
            x += z[j][i] * (i - 1) / 6;
            y += z[j][i] * (j - 1) / 6;
            xy += z[j][i] * (i - 1) * (j - 1) / 4;
            xx += z[j][i] * (i == 1 ? -2 : 1) / 3;
            yy += z[j][i] * (j == 1 ? -2 : 1) / 3;
        }
    }
    const double determinant = xx * yy - xy * xy;
    if (xx < 0 && determinant > 0) {
        return {std::clamp((xy * y - yy * x) / determinant, -1.0, 1.0),
                std::clamp((xy * x - xx * y) / determinant, -1.0, 1.0)};
    }
    // No maximum in sight: towards the largest value.
    int best = 4;
    for (int k = 0; k < 9; ++k) {
        best = z[k / 3][k % 3] > z[best / 3][best % 3] ? k : best;
    }
    const int row = best / 3;
    return {best % 3 - 1.0, row - 1.0};
}

} // namespace

WindowedImage::Axis::Axis(long size) : window(static_cast<std::size_t>(size)) {
    for (std::size_t i = 0; i < window.size(); ++i) {
        const double t = 2 * pi * (static_cast<double>(i) + 0.5) / static_cast<double>(size);
        window[i] = 0.35875 - 0.48829 * std::cos(t) + 0.14128 * std::cos(2 * t) - 0.01168 * std::cos(3 * t);
    }
}

std::vector<Complex> WindowedImage::Axis::wave(double frequency) const {
    std::vector<Complex> result(window.size());
    for (std::size_t i = 0; i < result.size(); ++i) {
        result[i] = std::polar(1.0, -2 * pi * frequency * (static_cast<double>(i) - middle(window.size())));
    }
    return result;
}

double WindowedImage::Axis::windowAt(double frequency) const {
    const std::vector<Complex> phases = wave(frequency);
    return std::inner_product(window.begin(), window.end(), phases.begin(), 0.0, std::plus<>(),
                              [](double weight, const Complex& phase) { return weight * phase.real(); });
}

WindowedImage::WindowedImage(const vxPelBuffer_const<double>& image)
    : x_(image.width()), y_(image.height()), pels_(image.width(), image.height()) {
    const auto row = [&image](long y) { return image.pointToRow(image.offset().y() + y); };
    double mean = 0;
    for (long y = 0; y < image.height(); ++y) {
        vxAttention::check();
        mean += std::inner_product(x_.window.begin(), x_.window.end(), row(y), 0.0) *
                y_.window[static_cast<std::size_t>(y)];
    }
    mean /= weight();
    for (long y = 0; y < image.height(); ++y) {
        vxAttention::check();
        const double rowWeight = y_.window[static_cast<std::size_t>(y)];
        std::transform(
            x_.window.begin(), x_.window.end(), row(y), pels_.pointToRow(y),
            [=](double columnWeight, double pel) { return (pel - mean) * columnWeight * rowWeight; });
    }
}

double WindowedImage::weight() const {
    return sum(x_.window) * sum(y_.window);
}

// What a mean, a cosine and a sine of that frequency together explain of the image, as the square of the
// spectral sample that a lone wave would have. Phases count from the middle of the image, where the window is
// symmetrical, so that sine and cosine are independent, and sine and mean.
double WindowedImage::explained(const vxPair<double>& frequency, Complex sample) const {
    const double all = weight();
    const double once = x_.windowAt(frequency.x()) * y_.windowAt(frequency.y());
    const double twice = x_.windowAt(2 * frequency.x()) * y_.windowAt(2 * frequency.y());
    const double cosines = (all + twice) / 2 - once * once / all;
    const double sines = (all - twice) / 2;
    // Where one of them vanishes at every pel it explains nothing.
    const double negligible = 1e-6 * all;
    double result = 0;
    result += cosines > negligible ? sample.real() * sample.real() / cosines : 0;
    result += sines > negligible ? sample.imag() * sample.imag() / sines : 0;
    return result * all / 2;
}

WindowedImage::Neighbourhood WindowedImage::around(const vxPair<double>& centre,
                                                   const vxPair<double>& step) const {
    std::array<std::vector<Complex>, 3> alongX;
    std::array<std::vector<Complex>, 3> alongY;
    for (int k = 0; k < 3; ++k) {
        alongX[static_cast<std::size_t>(k)] = x_.wave(centre.x() + (k - 1) * step.x());
        alongY[static_cast<std::size_t>(k)] = y_.wave(centre.y() + (k - 1) * step.y());
    }
    Complex samples[3][3];
    for (long y = 0; y < pels_.height(); ++y) {
        vxAttention::check();
        const double* const row = pels_.pointToRow(y);
        double real[3] = {};
        double imaginary[3] = {};
        for (std::size_t x = 0; x < x_.window.size(); ++x) {
            for (std::size_t i = 0; i < 3; ++i) {
                real[i] += row[x] * alongX[i][x].real();
                imaginary[i] += row[x] * alongX[i][x].imag();
            }
        }
        for (std::size_t j = 0; j < 3; ++j) {
            for (std::size_t i = 0; i < 3; ++i) {
                samples[j][i] += Complex(real[i], imaginary[i]) * alongY[j][static_cast<std::size_t>(y)];
            }
        }
    }
    Neighbourhood result = {};
    for (int j = 0; j < 3; ++j) {
        for (int i = 0; i < 3; ++i) {
            const vxPair<double> frequency(centre.x() + (i - 1) * step.x(), centre.y() + (j - 1) * step.y());
            result.power[j][i] = explained(frequency, samples[j][i]);
        }
    }
    return result;
}

Wave WindowedImage::climb(const vxPair<double>& start) const {
    Wave wave = {start, 0};
    for (const double cells : {0.5, 0.5, 0.2, 0.05}) {
        const vxPair<double> step(cells / static_cast<double>(pels_.width()),
                                  cells / static_cast<double>(pels_.height()));
        const Neighbourhood values = around(wave.frequency, step);
        const vxPair<double> move = vertex(values.power);
        wave.frequency = {wave.frequency.x() + move.x() * step.x(), wave.frequency.y() + move.y() * step.y()};
        wave.amplitude = 2 * std::sqrt(values.power[1][1]) / weight();
    }
    return wave;
}

Wave WindowedImage::refine(const vxPair<double>& start) const {
    const auto symmetric = [](double f) { return std::round(2 * f) / 2; };
    const vxPair<double> middle(symmetric(start.x()), symmetric(start.y()));
    const double width = static_cast<double>(pels_.width());
    const double height = static_cast<double>(pels_.height());
    if (std::hypot((start.x() - middle.x()) * width, (start.y() - middle.y()) * height) >= 1.5) {
        return climb(start);
    }
    // The periodogram mirrors itself there, so that its slope may be zero off a maximum.
    Wave best;
    for (const auto& [x, y] : {std::pair(1, 0), {1, 1}, {0, 1}, {-1, 1}}) {
        const Wave wave = climb({middle.x() + x / width, middle.y() + y / height});
        best = wave.amplitude > best.amplitude ? wave : best;
    }
    return best;
}

} // namespace app

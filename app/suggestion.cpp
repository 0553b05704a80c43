#include "app/suggestion.h"

#include "app/errors.h"
#include "app/filtering.h"
#include "app/padding.h"
#include "app/suggestion_wave.h"
#include "app/words.h"
#include "kavstd/attention.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace app {
namespace {

using Frequency = vxPair<double>;

constexpr double pi = std::numbers::pi;

// Lengths in the spectrum, in resolution cells.
constexpr double fewestCycles = 3;
constexpr int backgroundFrom = 5; // Outside the lobe.
constexpr int backgroundTo = 16;
constexpr int directions = 8;
// The quarter of the samples of a line that are lowest: other peaks on the line leave it alone. Of noise,
// whose powers are distributed exponentially, that quantile is this part of the mean.
constexpr double quantile = 0.25;
const double quantileOfNoise = -std::log(1 - quantile);
// Where a wave's lobe has fallen by 10 dB, and how far that is in standard deviations of a Gaussian.
constexpr double lobeRadius = 1.75;
const double gaussianRadius = std::sqrt(std::log(10.0));
constexpr double widestPeak = 32;
constexpr long highestHarmonic = 8;
constexpr double harmonicTolerance = 0.5;

double rounded(double value, double steps) {
    return std::round(value * steps) / steps;
}

double square(double value) {
    return value * value;
}

// The power spectrum of an image, and where in it one is.
class PowerSpectrum {
public:
    PowerSpectrum(const WindowedImage& image, const Image& source)
        : imageWidth_(static_cast<double>(image.pels().width()))
        , imageHeight_(static_cast<double>(image.pels().height())) {
        Image windowed = source;
        windowed.pels = image.pels();
        power_ = spectrumOf(windowed, Padding::zero).getMagnitudeImage(false);
        for (long y = 0; y < power_.height(); ++y) {
            double* const row = power_.pointToRow(y);
            std::transform(row, row + power_.width(), row, square);
        }
    }

    [[nodiscard]] long width() const { return power_.width(); }
    [[nodiscard]] long height() const { return power_.height(); }

    // Coordinates repeat.
    [[nodiscard]] double at(long x, long y) const {
        return power_.pointToRow(y & (height() - 1))[x & (width() - 1)];
    }
    [[nodiscard]] double at(const Frequency& f) const {
        return at(std::lround(f.x() * static_cast<double>(width())),
                  std::lround(f.y() * static_cast<double>(height())));
    }
    // That of a sample, -0.5 to below 0.5.
    [[nodiscard]] Frequency frequencyOf(long x, long y) const {
        return {static_cast<double>(x < width() / 2 ? x : x - width()) / static_cast<double>(width()),
                static_cast<double>(y < height() / 2 ? y : y - height()) / static_cast<double>(height())};
    }

    // The frequency so many resolution cells away.
    [[nodiscard]] Frequency moved(const Frequency& f, double radians, double cells) const {
        return {f.x() + cells * std::cos(radians) / imageWidth_,
                f.y() + cells * std::sin(radians) / imageHeight_};
    }
    [[nodiscard]] double cells(const Frequency& f) const {
        return std::hypot(folded(f.x()) * imageWidth_, folded(f.y()) * imageHeight_);
    }
    // Of the same wave: frequencies repeat after 1, and a frequency and its negative are the same.
    [[nodiscard]] double cellsBetween(const Frequency& f, const Frequency& g) const {
        return std::min(cells({f.x() - g.x(), f.y() - g.y()}), cells({f.x() + g.x(), f.y() + g.y()}));
    }

private:
    static double folded(double f) { return f - std::round(f); }

    double imageWidth_;
    double imageHeight_;
    vxPelBuffer<double> power_;
};

// The mean power of the noise around samples of a spectrum, they themselves left out.
class Background {
public:
    explicit Background(const PowerSpectrum& spectrum)
        : levelled_(spectrum.width(), spectrum.height()), mask_(spectrum.width() - 1, spectrum.height() - 1) {
        for (long y = 0; y < spectrum.height(); ++y) {
            vxAttention::check();
            for (long x = 0; x < spectrum.width(); ++x) {
                levelled_.pointToRow(y)[x] = spectrum.at(x, y) * spectrum.cells(spectrum.frequencyOf(x, y));
            }
        }
        for (int direction = 0; direction < directions; ++direction) {
            Line& line = lines_.emplace_back();
            for (int cells = backgroundFrom; cells <= backgroundTo; ++cells) {
                const Frequency f = spectrum.moved({0, 0}, pi * direction / directions, cells);
                const long x = std::lround(f.x() * static_cast<double>(spectrum.width()));
                const long y = std::lround(f.y() * static_cast<double>(spectrum.height()));
                line[static_cast<std::size_t>(cells - backgroundFrom)] = {x, y};
            }
        }
    }

    [[nodiscard]] double at(long x, long y, const PowerSpectrum& spectrum) const {
        double largest = 0;
        for (const Line& line : lines_) {
            std::array<double, 2 * samples> powers{};
            for (std::size_t i = 0; i < samples; ++i) {
                powers[2 * i] = levelledAt(x + line[i].x(), y + line[i].y());
                powers[2 * i + 1] = levelledAt(x - line[i].x(), y - line[i].y());
            }
            auto* const rank = powers.begin() + static_cast<long>(powers.size() * quantile);
            std::nth_element(powers.begin(), rank, powers.end());
            largest = std::max(largest, *rank);
        }
        return largest / quantileOfNoise / spectrum.cells(spectrum.frequencyOf(x, y));
    }

private:
    static constexpr std::size_t samples = backgroundTo - backgroundFrom + 1;
    using Line = std::array<vxPair<long>, samples>;

    // Coordinates repeat.
    [[nodiscard]] double levelledAt(long x, long y) const {
        return levelled_.pointToRow(y & mask_.y())[x & mask_.x()];
    }

    vxPelBuffer<double> levelled_; // Power times frequency.
    vxPair<long> mask_;
    std::vector<Line> lines_; // One side of each.
};

// The standard deviation of the peak around f, beyond what a mere wave has, in cells.
double spread(const PowerSpectrum& spectrum, const Frequency& f) {
    const double floor = spectrum.at(f) / 10;
    double sum = 0;
    for (int direction = 0; direction < 2 * directions; ++direction) {
        double cells = 0.25;
        while (cells < widestPeak &&
               spectrum.at(spectrum.moved(f, pi * direction / directions, cells)) > floor) {
            cells += 0.25;
        }
        sum += cells;
    }
    const double radius = sum / (2 * directions);
    return std::sqrt(std::max(radius * radius - lobeRadius * lobeRadius, 0.0)) / gaussianRadius;
}

bool isLocalMaximum(const PowerSpectrum& spectrum, long x, long y) {
    const double power = spectrum.at(x, y);
    return power > spectrum.at(x - 1, y - 1) && power > spectrum.at(x, y - 1) &&
           power > spectrum.at(x + 1, y - 1) && power > spectrum.at(x - 1, y) &&
           power >= spectrum.at(x + 1, y) && power >= spectrum.at(x - 1, y + 1) &&
           power >= spectrum.at(x, y + 1) && power >= spectrum.at(x + 1, y + 1);
}

struct Candidate {
    Frequency frequency;
    double power = 0;
    double background = 0;
    double spread = 0;
};

double decibels(double ratio) {
    return 10 * std::log10(ratio);
}

// In a half of the spectrum, whose other half mirrors it.
std::vector<Candidate> candidates(const PowerSpectrum& spectrum, double leastPower, double prominence) {
    const Background background(spectrum);
    std::vector<Candidate> result;
    for (long y = 0; y <= spectrum.height() / 2; ++y) {
        vxAttention::check();
        for (long x = 0; x < spectrum.width(); ++x) {
            const double power = spectrum.at(x, y);
            const Frequency f = spectrum.frequencyOf(x, y);
            if (power < leastPower || spectrum.cells(f) < fewestCycles - 1 ||
                !isLocalMaximum(spectrum, x, y)) {
                continue;
            }
            const double around = background.at(x, y, spectrum);
            // A peak between samples of the spectrum is up to 2 dB higher than they.
            if (decibels(power / around) >= prominence - 2) {
                result.push_back({f, power, around, spread(spectrum, f)});
            }
        }
    }
    std::stable_sort(result.begin(), result.end(),
                     [](const Candidate& a, const Candidate& b) { return a.power > b.power; });
    return result;
}

// Weaker waves are made by the window's sidelobes and single precision; rounding makes waves of up to 1 / pi
// (a slow slope becomes a sawtooth), in some places a little more.
double leastAmplitude(const Image& image) {
    const PelStatistics pels = statistics(image.pels);
    return std::max(1e-4 * (pels.maximum - pels.minimum), traits(image.depth).isInteger ? 0.4 : 0);
}

struct Found {
    Wave wave;
    Candidate candidate;
};

bool isKnown(const std::vector<Found>& found, const Frequency& frequency, const PowerSpectrum& spectrum) {
    return std::any_of(found.begin(), found.end(), [&](const Found& other) {
        return spectrum.cellsBetween(other.wave.frequency, frequency) < WindowedImage::lobe;
    });
}

// See suggestedFilter.
Extents extentsOf(const Found& found, const WindowedImage& image) {
    const double x = found.wave.frequency.x();
    const double y = found.wave.frequency.y();
    const double frequency = std::hypot(x, y);
    const double cells = std::max(2.0, 2 * found.candidate.spread);
    // A resolution cell is an ellipse. Its extent along one direction:
    const auto cellAlong = [&image](double cosine, double sine) {
        return std::hypot(cosine / static_cast<double>(image.pels().width()),
                          sine / static_cast<double>(image.pels().height()));
    };
    const auto bounded = [frequency](double sigma) {
        return std::clamp(sigma, frequency / 24, frequency / 3);
    };
    return {bounded(cells * cellAlong(x / frequency, y / frequency)),
            bounded(cells * cellAlong(y / frequency, x / frequency))};
}

SpectralPeak peakOf(const Found& found, const WindowedImage& image) {
    SpectralPeak peak;
    const double x = found.wave.frequency.x();
    const double y = found.wave.frequency.y();
    peak.frequency = std::hypot(x, y);
    peak.angle = std::atan2(y, x) * 180 / pi;
    peak.angle += peak.angle < 0 ? 180 : 0;
    peak.angle -= peak.angle >= 180 ? 180 : 0;
    peak.amplitude = found.wave.amplitude;
    const double height = peak.amplitude * image.weight() / 2;
    peak.prominence = decibels(height * height / found.candidate.background);
    peak.sigma = extentsOf(found, image);
    return peak;
}

// Of the lowest frequency that fits.
std::optional<Harmonic> harmonicOf(const Found& peak, const std::vector<Found>& found,
                                   const PowerSpectrum& spectrum) {
    for (long order = highestHarmonic; order >= 2; --order) {
        for (std::size_t of = 0; of < found.size(); ++of) {
            const Frequency& base = found[of].wave.frequency;
            const auto times = static_cast<double>(order);
            const Frequency multiple(times * base.x(), times * base.y());
            const bool aliased = std::max(std::abs(multiple.x()), std::abs(multiple.y())) > 0.505;
            if (&found[of] != &peak && !aliased &&
                spectrum.cellsBetween(multiple, peak.wave.frequency) < harmonicTolerance) {
                return Harmonic{of, order};
            }
        }
    }
    return std::nullopt;
}

} // namespace

std::vector<SpectralPeak> findPeaks(const Image& image, const PeakSearch& search) {
    if (std::min(image.pels.width(), image.pels.height()) < smallestSearched) {
        throw UnreadableError("cannot search " + image.name + ": it is " +
                              size(image.pels.width(), image.pels.height()) + " pels, less than " +
                              size(smallestSearched, smallestSearched));
    }
    checkTransformable(image);
    const WindowedImage windowed(image.pels);
    const PowerSpectrum spectrum(windowed, image);
    const double least = leastAmplitude(image);
    if (least <= 0) {
        return {};
    }
    const double leastMagnitude = least * windowed.weight() / 2;
    std::vector<Found> found;
    for (const Candidate& candidate :
         candidates(spectrum, leastMagnitude * leastMagnitude / 2, search.prominence)) {
        if (found.size() == search.count) {
            break;
        }
        if (isKnown(found, candidate.frequency, spectrum)) {
            continue;
        }
        const Wave wave = windowed.refine(candidate.frequency);
        const double height = wave.amplitude * windowed.weight() / 2;
        if (wave.amplitude >= least && spectrum.cells(wave.frequency) >= fewestCycles - 0.25 &&
            decibels(height * height / candidate.background) >= search.prominence &&
            !isKnown(found, wave.frequency, spectrum)) {
            found.push_back({wave, candidate});
        }
    }
    std::stable_sort(found.begin(), found.end(),
                     [](const Found& a, const Found& b) { return a.wave.amplitude > b.wave.amplitude; });
    std::vector<SpectralPeak> peaks;
    for (const Found& one : found) {
        peaks.push_back(peakOf(one, windowed));
        peaks.back().harmonic = harmonicOf(one, found, spectrum);
    }
    return peaks;
}

std::optional<FilterParameters> suggestedFilter(const SpectralPeak& peak, const std::string& type) {
    if (peak.frequency > 0.5) {
        return std::nullopt;
    }
    FilterParameters filter;
    filter.type = type;
    filter.frequency = rounded(peak.frequency, 1e6);
    filter.sigma = {rounded(peak.sigma.along, 1e5), rounded(peak.sigma.across, 1e5)};
    filter.dcRadius = 1;
    if (type.starts_with("gabor")) {
        filter.angle = radiansOf(rounded(peak.angle, 1e3));
        filter.pair = true;
    } else {
        filter.sigma = std::max(filter.sigma.along, filter.sigma.across);
    }
    return filter;
}

} // namespace app

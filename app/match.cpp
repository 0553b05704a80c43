#include "app/match.h"

#include "app/errors.h"
#include "app/padding.h"
#include "app/recipes.h"
#include "app/words.h"
#include "kavstd/attention.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <optional>
#include <vector>

namespace app {
namespace {

using Pels = vxPelBuffer<double>;
using Position = vxPair<long>;

// Without its mean and with 1 for the largest size, so that neither costs precision. Correlation
// coefficients stay the same. All zero for an image of one value.
Pels centred(const Image& image) {
    const PelStatistics pels = statistics(image.pels);
    const double scale = std::max(pels.maximum - pels.mean, pels.mean - pels.minimum);
    const bool flat = !(pels.minimum < pels.maximum);
    Pels result(image.pels.width(), image.pels.height());
    for (long y = 0; y < result.height() && !flat; ++y) {
        const double* from = image.pels.pointToRow(y);
        std::transform(from, from + result.width(), result.pointToRow(y),
                       [&](double pel) { return (pel - pels.mean) / scale; });
    }
    return result;
}

// Sums of squared differences from the mean, of the whole and of every part of one size.
class Energies {
public:
    explicit Energies(const Pels& pels)
        : step_(pels.width() + 1)
        , sums_(static_cast<std::size_t>(step_ * (pels.height() + 1)))
        , squares_(sums_.size()) {
        for (long y = 0; y < pels.height(); ++y) {
            vxAttention::check();
            addRow(pels.pointToRow(y), pels.width(), y + 1);
        }
        whole_ = of({0, 0}, pels.width(), pels.height());
    }

    [[nodiscard]] double ofWhole() const { return whole_; }
    [[nodiscard]] double of(const Position& at, long width, long height) const {
        const double sum = inside(sums_, at, width, height);
        return inside(squares_, at, width, height) - sum * sum / static_cast<double>(width * height);
    }

private:
    // Each table holds at (x, y) the sum over all pels to the upper left.
    [[nodiscard]] std::size_t index(long x, long y) const { return static_cast<std::size_t>(y * step_ + x); }

    void addRow(const double* row, long width, long y) {
        double sum = 0;
        double square = 0;
        for (long x = 1; x <= width; ++x) {
            sum += row[x - 1];
            square += row[x - 1] * row[x - 1];
            sums_[index(x, y)] = sums_[index(x, y - 1)] + sum;
            squares_[index(x, y)] = squares_[index(x, y - 1)] + square;
        }
    }

    [[nodiscard]] double inside(const std::vector<double>& table, const Position& at, long width,
                                long height) const {
        const long right = at.x() + width;
        const long below = at.y() + height;
        return table[index(right, below)] - table[index(at.x(), below)] - table[index(right, at.y())] +
               table[index(at.x(), at.y())];
    }

    long step_;
    std::vector<double> sums_;
    std::vector<double> squares_;
    double whole_ = 0;
};

// At every position the sum of products. Only positions where the pattern lies within the image are read, and
// there nothing wraps around a transform of the image's size.
Pels correlation(const Pels& image, const Pels& pattern, long positionsX, long positionsY) {
    const vxPair<long> size = transformSize(image.width(), image.height());
    vxFrequencyBuffer product = spectrumOf(pattern, size);
    vfFrequencyConjugate(product);
    vfFrequencyMultiply(spectrumOf(image, size), product);
    return imageOf(product, Part::real, positionsX, positionsY);
}

// The search on prepared pels.
class Search {
public:
    Search(const Pels& image, const Pels& pattern)
        : image_(image)
        , pattern_(pattern)
        , energies_(image)
        , patternEnergy_(Energies(pattern).ofWhole())
        , positions_{image.width() - pattern.width() + 1, image.height() - pattern.height() + 1} {}

    // The best position and its coefficient; none if all parts are flat.
    [[nodiscard]] std::optional<std::pair<double, Position>> best() const;

    // The coefficient in double precision, pel by pel; none where the image is flat or the position outside.
    [[nodiscard]] std::optional<double> coefficient(const Position& at) const;

private:
    // A coefficient, or what it cannot exceed, and the index of its position.
    using Candidate = std::pair<double, long>;

    [[nodiscard]] static bool isBetter(const Candidate& a, const Candidate& b);
    [[nodiscard]] Position position(long index) const {
        return {index % positions_.x(), index / positions_.x()};
    }
    // The energy of the image under the pattern; none where it is flat.
    [[nodiscard]] std::optional<double> contrast(const Position& at) const;
    [[nodiscard]] std::vector<Candidate> candidates() const;

    Pels image_;
    Pels pattern_;
    Energies energies_;
    double patternEnergy_;
    vxPair<long> positions_;
};

std::optional<double> Search::contrast(const Position& at) const {
    constexpr double flat = 1e-12; // Of squares.
    const double energy = energies_.of(at, pattern_.width(), pattern_.height());
    return energy > flat * energies_.ofWhole() ? std::optional(energy) : std::nullopt;
}

std::optional<double> Search::coefficient(const Position& at) const {
    const bool isOutside = at.x() < 0 || at.y() < 0 || at.x() >= positions_.x() || at.y() >= positions_.y();
    if (isOutside || !contrast(at)) {
        return std::nullopt;
    }
    const Pels part = image_.window(at.x(), at.y(), pattern_.width(), pattern_.height());
    const double mean = statistics(part).mean;
    double product = 0;
    double energy = 0;
    for (long y = 0; y < pattern_.height(); ++y) {
        const double* a = part.pointToRow(at.y() + y);
        const double* b = pattern_.pointToRow(y);
        for (long x = 0; x < pattern_.width(); ++x) {
            product += (a[x] - mean) * b[x];
            energy += (a[x] - mean) * (a[x] - mean);
        }
    }
    if (!(energy > 0)) {
        return std::nullopt;
    }
    return std::clamp(product / std::sqrt(energy * patternEnergy_), -1.0, 1.0);
}

// Every position that may be the best: the spectra's single precision leaves each coefficient uncertain, the
// more the fainter the image is there.
std::vector<Search::Candidate> Search::candidates() const {
    const Pels products = correlation(image_, pattern_, positions_.x(), positions_.y());
    // Of a sum of products, relative to the whole image and the pattern; up to 5e-7 was measured.
    constexpr double precision = 4e-6;
    const double uncertain = precision * std::sqrt(energies_.ofWhole());
    std::vector<Candidate> result;
    double certain = -2;
    for (long i = 0; i < positions_.x() * positions_.y(); ++i) {
        const Position at = position(i);
        if (const std::optional<double> energy = contrast(at)) {
            const double product = products.pointToRow(at.y())[at.x()] / std::sqrt(patternEnergy_);
            const double norm = std::sqrt(*energy);
            certain = std::max(certain, (product - uncertain) / norm);
            result.emplace_back((product + uncertain) / norm, i);
        }
    }
    std::erase_if(result, [&](const Candidate& candidate) { return candidate.first < certain; });
    return result;
}

// Coefficients that differ by rounding alone are equally good.
bool Search::isBetter(const Candidate& a, const Candidate& b) {
    constexpr double rounding = 1e-12;
    return a.first > b.first + rounding || (a.first > b.first - rounding && a.second < b.second);
}

std::optional<std::pair<double, Position>> Search::best() const {
    // Faint images of much repetition have candidates everywhere. This many products bound the work; where
    // they do not reach, equally good matches further down the list are not seen.
    constexpr long affordable = 1L << 30;
    const auto limit =
        static_cast<std::size_t>(std::max(affordable / (pattern_.width() * pattern_.height()), 64L));
    std::vector<Candidate> promising = candidates();
    std::sort(promising.begin(), promising.end(), [](const Candidate& a, const Candidate& b) {
        return a.first > b.first || (a.first == b.first && a.second < b.second);
    });
    promising.resize(std::min(promising.size(), limit));
    Candidate best(-2, 0);
    for (const auto& [most, index] : promising) {
        if (most < best.first) {
            break;
        }
        vxAttention::check();
        const double exact = coefficient(position(index)).value_or(-2);
        if (isBetter({exact, index}, best)) {
            best = {exact, index};
        }
    }
    return best.first < -1 ? std::nullopt : std::optional(std::pair(best.first, position(best.second)));
}

// How far from the middle of three values the parabola through them has its top, in -0.5 .. 0.5.
double topOfParabola(const std::optional<double>& before, double middle, const std::optional<double>& after) {
    if (!before || !after) {
        return 0;
    }
    const double curvature = *before - 2 * middle + *after;
    return curvature < 0 ? std::clamp((*before - *after) / (2 * curvature), -0.5, 0.5) : 0;
}

void checkSizes(const Image& image, const Image& pattern) {
    if (pattern.pels.width() > image.pels.width() || pattern.pels.height() > image.pels.height()) {
        throw UnreadableError("cannot find " + pattern.name + " in " + image.name + ": it is " +
                              size(pattern.pels.width(), pattern.pels.height()) +
                              ", larger than the image, " + size(image.pels.width(), image.pels.height()));
    }
}

} // namespace

Match findPattern(const Image& image, const Image& pattern) {
    checkTransformable(image);
    checkTransformable(pattern);
    checkSizes(image, pattern);
    const Pels centredPattern = centred(pattern);
    if (!(Energies(centredPattern).ofWhole() > 0)) {
        throw UnreadableError("cannot find " + pattern.name + ": it is flat, all pels have one value");
    }
    const Search search(centred(image), centredPattern);
    const auto best = search.best();
    if (!best) {
        throw UnreadableError("cannot find " + pattern.name + " in " + image.name +
                              ": the image is flat wherever it fits");
    }
    Match match;
    match.height = best->first;
    match.best = best->second;
    const long x = match.best.x();
    const long y = match.best.y();
    match.x = static_cast<double>(x);
    match.y = static_cast<double>(y);
    constexpr double exact = 1e-9; // A coefficient cannot exceed 1, so there is no higher top beside it.
    if (match.height < 1 - exact) {
        match.x +=
            topOfParabola(search.coefficient({x - 1, y}), match.height, search.coefficient({x + 1, y}));
        match.y +=
            topOfParabola(search.coefficient({x, y - 1}), match.height, search.coefficient({x, y + 1}));
    }
    return match;
}

} // namespace app

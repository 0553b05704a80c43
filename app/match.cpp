#include "app/match.h"

#include "app/correlation.h"
#include "app/errors.h"
#include "app/filtering.h"
#include "app/words.h"
#include "kavstd/attention.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <numeric>
#include <optional>
#include <utility>
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

// Numbers in rows.
struct Table {
    Table(long columnsIt, long rowsIt)
        : columns(static_cast<std::size_t>(columnsIt))
        , rows(static_cast<std::size_t>(rowsIt))
        , values(columns * rows) {}

    std::size_t columns;
    std::size_t rows;
    std::vector<double> values;
};

// The sums of every `length` neighbours in a row, transposed. Each is the end of one block of that length and
// the beginning of the next: no sum is a difference of larger ones, which would cost the faint parts beside a
// bright one their precision.
Table sumsAlongRows(const Table& table, long length) {
    const auto block = static_cast<std::size_t>(length);
    const std::size_t columns = table.columns - block + 1;
    Table result(static_cast<long>(table.rows), static_cast<long>(columns));
    std::vector<double> beginnings(table.columns); // Of the block up to here, and
    std::vector<double> ends(table.columns);       // from here to the end of the block.
    for (std::size_t y = 0; y < table.rows; ++y) {
        vxAttention::check();
        const double* row = table.values.data() + y * table.columns;
        for (std::size_t start = 0; start < table.columns; start += block) {
            const std::size_t size = std::min(block, table.columns - start);
            std::partial_sum(row + start, row + start + size, beginnings.data() + start);
            std::partial_sum(std::reverse_iterator(row + start + size), std::reverse_iterator(row + start),
                             std::reverse_iterator(ends.data() + start + size));
        }
        for (std::size_t x = 0; x < columns; ++x) {
            result.values[x * table.rows + y] =
                x % block == 0 ? ends[x] : ends[x] + beginnings[x + block - 1];
        }
    }
    return result;
}

// Of every part of one size, the sum of the squared differences from its mean.
class Energies {
public:
    Energies(const Pels& pels, long width, long height)
        : pels_(static_cast<double>(width * height))
        , columns_(pels.width() - width + 1)
        , sums_(sumsOf(pels, width, height, [](double pel) { return pel; }))
        , squares_(sumsOf(pels, width, height, [](double pel) { return pel * pel; })) {}

    [[nodiscard]] double of(const Position& at) const {
        const double sum = sums_[index(at)];
        return squares_[index(at)] - sum * sum / pels_;
    }
    // How far that may be off, the more the farther the mean is from 0.
    [[nodiscard]] double error(const Position& at) const {
        constexpr double rounding = 1e-14;
        return rounding * squares_[index(at)];
    }

private:
    template <class Function>
    static std::vector<double> sumsOf(const Pels& pels, long width, long height, Function function) {
        Table table(pels.width(), pels.height());
        for (long y = 0; y < pels.height(); ++y) {
            const double* row = pels.pointToRow(y);
            std::transform(row, row + pels.width(), table.values.begin() + y * pels.width(), function);
        }
        return sumsAlongRows(sumsAlongRows(table, width), height).values;
    }
    [[nodiscard]] std::size_t index(const Position& at) const {
        return static_cast<std::size_t>(at.y() * columns_ + at.x());
    }

    double pels_;
    long columns_;
    std::vector<double> sums_;
    std::vector<double> squares_;
};

double wholeEnergy(const Pels& pels) {
    return Energies(pels, pels.width(), pels.height()).of({0, 0});
}

// See correlation.h.
constexpr double correlationPrecision = 4e-6;
constexpr double preciseCorrelationPrecision = 4e-15;
// Coefficients this close look alike where there are too many to compute.
constexpr double alike = 1e-9;

// The search on prepared pels.
class Search {
public:
    Search(const Pels& image, const Pels& pattern)
        : image_(image)
        , pattern_(pattern)
        , energies_(image, pattern.width(), pattern.height())
        , imageEnergy_(wholeEnergy(image))
        , patternEnergy_(wholeEnergy(pattern))
        , positions_{image.width() - pattern.width() + 1, image.height() - pattern.height() + 1} {}

    // The best position and its coefficient; none if all parts are flat.
    [[nodiscard]] std::optional<std::pair<double, Position>> best() const;

    // The coefficient in double precision, pel by pel; none where the image is flat or the position outside.
    [[nodiscard]] std::optional<double> coefficient(const Position& at) const;

private:
    // A position's index and what its coefficient is about and at most, by a product of limited precision.
    struct Candidate {
        long index = 0;
        double about = 0;
        double most = 0;
    };

    [[nodiscard]] Position position(long index) const {
        return {index % positions_.x(), index / positions_.x()};
    }
    // The energy of the image under the pattern; none where it is flat.
    [[nodiscard]] std::optional<double> contrast(const Position& at) const;
    [[nodiscard]] std::vector<Candidate> candidates(const Pels& products, double precision) const;
    [[nodiscard]] std::vector<Candidate> affordableCandidates() const;

    Pels image_;
    Pels pattern_;
    Energies energies_;
    double imageEnergy_;
    double patternEnergy_;
    vxPair<long> positions_;
};

std::optional<double> Search::contrast(const Position& at) const {
    constexpr double flat = 1e-12; // Of squares.
    const double energy = energies_.of(at);
    return energy > flat * imageEnergy_ ? std::optional(energy) : std::nullopt;
}

std::optional<double> Search::coefficient(const Position& at) const {
    const bool isOutside = at.x() < 0 || at.y() < 0 || at.x() >= positions_.x() || at.y() >= positions_.y();
    if (isOutside || !contrast(at)) {
        return std::nullopt;
    }
    const Pels part = image_.window(at.x(), at.y(), pattern_.width(), pattern_.height());
    // Row by row: one long sum would lose digits.
    double sum = 0;
    for (long y = 0; y < pattern_.height(); ++y) {
        const double* row = part.pointToRow(at.y() + y);
        sum += std::accumulate(row, row + pattern_.width(), 0.0);
    }
    const double mean = sum / static_cast<double>(pattern_.width() * pattern_.height());
    double product = 0;
    double energy = 0;
    for (long y = 0; y < pattern_.height(); ++y) {
        const double* a = part.pointToRow(at.y() + y);
        const double* b = pattern_.pointToRow(y);
        double rowProduct = 0;
        double rowEnergy = 0;
        for (long x = 0; x < pattern_.width(); ++x) {
            rowProduct += (a[x] - mean) * b[x];
            rowEnergy += (a[x] - mean) * (a[x] - mean);
        }
        product += rowProduct;
        energy += rowEnergy;
    }
    if (!(energy > 0)) {
        return std::nullopt;
    }
    return std::clamp(product / std::sqrt(energy * patternEnergy_), -1.0, 1.0);
}

// Every position that may be the best, in order. The precision of the products, relative to the whole image
// and the pattern, leaves each coefficient uncertain, the more the fainter the image is there.
std::vector<Search::Candidate> Search::candidates(const Pels& products, double precision) const {
    const double uncertain = precision * std::sqrt(imageEnergy_);
    std::vector<Candidate> result;
    double certain = -2;
    for (long i = 0; i < positions_.x() * positions_.y(); ++i) {
        const Position at = position(i);
        if (const std::optional<double> energy = contrast(at)) {
            const double product = products.pointToRow(at.y())[at.x()] / std::sqrt(patternEnergy_);
            const double norm = std::sqrt(*energy);
            const double error =
                (uncertain + std::min(energies_.error(at) / *energy, 1.0) * std::abs(product)) / norm;
            certain = std::max(certain, product / norm - error);
            result.push_back({i, product / norm, product / norm + error});
        }
    }
    std::erase_if(result, [&](const Candidate& candidate) { return candidate.most < certain; });
    return result;
}

// The candidates, no more than can be computed exactly.
std::vector<Search::Candidate> Search::affordableCandidates() const {
    constexpr long products = 1L << 27;
    const auto affordable =
        static_cast<std::size_t>(std::max(products / (pattern_.width() * pattern_.height()), 1L));
    std::vector<Candidate> result =
        candidates(correlation(image_, pattern_, positions_), correlationPrecision);
    if (result.size() <= affordable) {
        return result;
    }
    result = candidates(preciseCorrelation(image_, pattern_, positions_), preciseCorrelationPrecision);
    if (result.size() <= affordable) {
        return result;
    }
    // Very faint or very repetitive: those that look best, the first of them.
    const double best = std::max_element(result.begin(), result.end(), [](const auto& a, const auto& b) {
                            return a.about < b.about;
                        })->about;
    std::erase_if(result, [best](const Candidate& candidate) { return candidate.about < best - alike; });
    result.resize(std::min(result.size(), affordable));
    return result;
}

std::optional<std::pair<double, Position>> Search::best() const {
    constexpr double rounding = 1e-12; // Coefficients that differ by it alone are equally good.
    double best = -2;
    long bestIndex = 0;
    for (const Candidate& candidate : affordableCandidates()) {
        if (best >= 1 - rounding) {
            break;
        }
        if (candidate.most <= best) {
            continue;
        }
        vxAttention::check();
        const double exact = coefficient(position(candidate.index)).value_or(-2);
        if (exact > best + rounding) {
            best = exact;
            bestIndex = candidate.index;
        }
    }
    return best < -1 ? std::nullopt : std::optional(std::pair(best, position(bestIndex)));
}

// How far from the middle of three values the parabola through them has its top, in -0.5 .. 0.5.
double topOfParabola(const std::optional<double>& before, double middle, const std::optional<double>& after) {
    if (!before || !after) {
        return 0;
    }
    const double curvature = *before - 2 * middle + *after;
    return curvature < 0 ? std::clamp((*before - *after) / (2 * curvature), -0.5, 0.5) : 0;
}

// The coefficients around the best position, [1 + y][1 + x].
using Neighbours = std::array<std::array<double, 3>, 3>;

// x * slopeX + y * slopeY + (x * x * curveX + y * y * curveY) / 2 + x * y * twist
struct Quadratic {
    double slopeX = 0;
    double slopeY = 0;
    double curveX = 0;
    double curveY = 0;
    double twist = 0;

    // None if it has no maximum, or not within one pel along each axis.
    [[nodiscard]] std::optional<vxPair<double>> top() const {
        const double determinant = curveX * curveY - twist * twist;
        if (!(curveX < 0 && determinant > 0)) {
            return std::nullopt;
        }
        const vxPair<double> at((twist * slopeY - curveY * slopeX) / determinant,
                                (twist * slopeX - curveX * slopeY) / determinant);
        return std::abs(at.x()) <= 1 && std::abs(at.y()) <= 1 ? std::optional(at) : std::nullopt;
    }
};

// With the least squared differences from all nine values.
Quadratic fitted(const Neighbours& values) {
    Quadratic q;
    for (std::size_t j = 0; j < 3; ++j) {
        for (std::size_t i = 0; i < 3; ++i) {
            const double x = static_cast<double>(i) - 1;
            const double y = static_cast<double>(j) - 1;
            q.slopeX += values[j][i] * x / 6;
            q.slopeY += values[j][i] * y / 6;
            q.curveX += values[j][i] * (x * x - 2.0 / 3);
            q.curveY += values[j][i] * (y * y - 2.0 / 3);
            q.twist += values[j][i] * x * y / 4;
        }
    }
    return q;
}

// Through the middle and its four nearest, with the twist of the corners.
Quadratic interpolated(const Neighbours& v) {
    return {(v[1][2] - v[1][0]) / 2, (v[2][1] - v[0][1]) / 2, v[1][0] - 2 * v[1][1] + v[1][2],
            v[0][1] - 2 * v[1][1] + v[2][1], (v[0][0] - v[0][2] - v[2][0] + v[2][2]) / 4};
}

// All nine coefficients, unless one of them is not there.
std::optional<Neighbours> neighbours(const Search& search, const Position& at) {
    Neighbours values{};
    for (std::size_t j = 0; j < 3; ++j) {
        for (std::size_t i = 0; i < 3; ++i) {
            const std::optional<double> value =
                search.coefficient({at.x() + static_cast<long>(i) - 1, at.y() + static_cast<long>(j) - 1});
            if (!value) {
                return std::nullopt;
            }
            values[j][i] = *value;
        }
    }
    return values;
}

// The top between the pels, seen from the best position. Fitting is the more accurate way as a rule, and
// along a narrow oblique ridge, where the fit finds no maximum, interpolating is.
vxPair<double> topAround(const Search& search, const Position& at, double height) {
    if (const std::optional<Neighbours> values = neighbours(search, at)) {
        if (const auto top = fitted(*values).top()) {
            return *top;
        }
        if (const auto top = interpolated(*values).top()) {
            return *top;
        }
    }
    const long x = at.x();
    const long y = at.y();
    return {topOfParabola(search.coefficient({x - 1, y}), height, search.coefficient({x + 1, y})),
            topOfParabola(search.coefficient({x, y - 1}), height, search.coefficient({x, y + 1}))};
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
    if (!(wholeEnergy(centredPattern) > 0)) {
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
    constexpr double exact = 1e-9; // A coefficient cannot exceed 1, so there is no higher top beside it.
    const vxPair<double> top =
        match.height < 1 - exact ? topAround(search, match.best, match.height) : vxPair<double>();
    match.x = static_cast<double>(match.best.x()) + top.x();
    match.y = static_cast<double>(match.best.y()) + top.y();
    return match;
}

} // namespace app

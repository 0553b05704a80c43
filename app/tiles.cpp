#include "app/tiles.h"

#include "app/errors.h"
#include "app/words.h"
#include "kavstd/attention.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>
#include <vector>

namespace app {
namespace {

constexpr double pi = std::numbers::pi;

// Valid parts overlap by at least so many pels.
constexpr long shortestFade = 16;

// How tiles cover one dimension of an image.
class Cover {
public:
    Cover(long length, long tileSize, long reach)
        : length_(length), reach_(reach), valid_(tileSize - 2 * reach) {
        if (length > valid_) {
            count_ = 1 + (length - valid_ + valid_ - shortestFade - 1) / (valid_ - shortestFade);
            stride_ = (length - valid_ + count_ - 2) / (count_ - 1);
            // Never three tiles at one place.
            fade_ = count_ > 2 ? std::min(valid_ - stride_, stride_) : valid_ - stride_;
        }
    }

    [[nodiscard]] long count() const { return count_; }
    // Where tile k starts, where its valid part starts, and where that ends.
    [[nodiscard]] long origin(long k) const { return begin(k) - reach_; }
    [[nodiscard]] long begin(long k) const { return k * stride_; }
    [[nodiscard]] long end(long k) const { return std::min(begin(k) + valid_, length_); }
    // Where no later tile counts.
    [[nodiscard]] long finished(long k) const {
        return k + 1 < count_ ? std::min(begin(k + 1), length_) : length_;
    }

    // Of tile k at i: rises from the start of its valid part and falls from the start of the next one's. The
    // weights of neighbours sum to 1.
    [[nodiscard]] double weight(long k, long i) const {
        double weight = 1;
        if (k > 0) {
            weight *= risen(i - begin(k));
        }
        if (k + 1 < count_) {
            weight *= 1 - risen(i - begin(k + 1));
        }
        return weight;
    }

private:
    [[nodiscard]] double risen(long i) const {
        if (i < 0 || i >= fade_) {
            return i < 0 ? 0 : 1;
        }
        const double sine = std::sin(pi / 2 * (static_cast<double>(i) + 0.5) / static_cast<double>(fade_));
        return sine * sine;
    }

    long length_;
    long reach_;
    long valid_;
    long count_ = 1;
    long stride_ = 0;
    long fade_ = 0;
};

// The index that a reflected one stands for.
long reflected(long i, long length) {
    const long period = 2 * length;
    const long folded = ((i % period) + period) % period;
    return folded < length ? folded : period - 1 - folded;
}

// The square of pels that starts at (left, top), less the mean.
vxPelBuffer<double> tileOf(const vxPelBuffer_const<double>& image, long left, long top, long size,
                           Padding padding, double mean) {
    const bool mirror = padding == Padding::mirror;
    const auto inside = [mirror](long i, long length) { return mirror || (i >= 0 && i < length); };
    vxPelBuffer<double> tile(size, size);
    for (long y = 0; y < size; ++y) {
        vxAttention::check();
        double* const to = tile.pointToRow(y);
        if (!inside(top + y, image.height())) {
            std::fill_n(to, size, -mean);
            continue;
        }
        const double* const from = image.pointToRow(image.offset().y() + reflected(top + y, image.height()));
        for (long x = 0; x < size; ++x) {
            to[x] = (inside(left + x, image.width()) ? from[reflected(left + x, image.width())] : 0) - mean;
        }
    }
    return tile;
}

double partOf(const std::complex<double>& value, Part part) {
    switch (part) {
    case Part::magnitude:
        return std::abs(value);
    case Part::angle:
        return std::atan2(value.imag(), value.real());
    case Part::quadrant:
        return (value.real() < 0 ? 1 : 0) + (value.imag() < 0 ? 2 : 0);
    default:
        return value.real();
    }
}

// The rows of the result that are not finished yet.
class Strip {
public:
    Strip(long width, long height) : width_(width), values_(static_cast<std::size_t>(width * height)) {}

    [[nodiscard]] std::complex<double>* row(long y) { return values_.data() + (y - top_) * width_; }

    // Makes y the first row; new rows at the end are zero.
    void advance(long y) {
        const std::ptrdiff_t done = std::min((y - top_) * width_, static_cast<long>(values_.size()));
        std::move(values_.begin() + done, values_.end(), values_.begin());
        std::fill(values_.end() - done, values_.end(), 0);
        top_ = y;
    }

private:
    long width_;
    long top_ = 0;
    std::vector<std::complex<double>> values_;
};

// What all tiles of an image share.
struct Tiling {
    const Image& source;
    FilterPointer filter;
    long size;
    Padding padding;
    double mean;
    Cover columns;
    Cover rows;
};

void addTile(const Tiling& tiling, long column, long row, Strip& strip) {
    const Cover& columns = tiling.columns;
    const Cover& rows = tiling.rows;
    vxFrequencyBuffer spectrum;
    vfForwardFFT<double>(tileOf(tiling.source.pels, columns.origin(column), rows.origin(row), tiling.size,
                                tiling.padding, tiling.mean),
                         spectrum);
    applyFilter(*tiling.filter, spectrum);
    vxPelBuffer<double> real;
    vxPelBuffer<double> imaginary;
    vfInverseFFT(spectrum, real, imaginary, true);
    std::vector<double> weights;
    for (long x = columns.begin(column); x < columns.end(column); ++x) {
        weights.push_back(columns.weight(column, x));
    }
    for (long y = rows.begin(row); y < rows.end(row); ++y) {
        vxAttention::check();
        const double rowWeight = rows.weight(row, y);
        const long inTile = columns.begin(column) - columns.origin(column);
        const double* const re = real.pointToRow(y - rows.origin(row)) + inTile;
        const double* const im = imaginary.pointToRow(y - rows.origin(row)) + inTile;
        std::complex<double>* const to = strip.row(y) + columns.begin(column);
        for (std::size_t x = 0; x < weights.size(); ++x) {
            to[x] += rowWeight * weights[x] * std::complex<double>(re[x], im[x]);
        }
    }
}

vxPelBuffer<double> filtered(const Tiling& tiling, double kept, Part part) {
    const long width = tiling.source.pels.width();
    vxPelBuffer<double> result(width, tiling.source.pels.height());
    Strip strip(width, tiling.rows.end(0));
    for (long row = 0; row < tiling.rows.count(); ++row) {
        for (long column = 0; column < tiling.columns.count(); ++column) {
            addTile(tiling, column, row, strip);
        }
        for (long y = tiling.rows.begin(row); y < tiling.rows.finished(row); ++y) {
            const std::complex<double>* const from = strip.row(y);
            std::transform(from, from + width, result.pointToRow(y),
                           [=](const std::complex<double>& value) { return partOf(value + kept, part); });
        }
        strip.advance(tiling.rows.finished(row));
    }
    return result;
}

void checkTiling(const FilterSettings& settings, long tileSize) {
    const FilterParameters& filter = settings.filter;
    if (settings.raw) {
        throw UsageError("--tile does not go with --raw, which is one transform of the library");
    }
    if (filter.built) {
        throw UsageError("--tile does not go with --filter, which fits transforms of one size");
    }
    if (filter.dcRadius > 1) {
        throw UsageError("--tile takes a --dc of 0 or 1, not " + std::to_string(filter.dcRadius) +
                         ", which counts samples of one transform");
    }
    const long reach = filterReach(filter);
    const long longest = tileSize * 3 / 8;
    if (reach > longest) {
        throw UsageError("the filter spreads pels over " + std::to_string(reach) + " pels, above the " +
                         std::to_string(longest) + " that --tile allows" +
                         (filter.kernel ? ""
                                        : ": sigma must be at least " +
                                              number(4 / (2 * pi * static_cast<double>(longest)))));
    }
}

} // namespace

// The source, the result and the bytes of its file, or a row of tiles.
constexpr long bytesPerPel = 32;

SizeLimit tiledLimit() {
    return {largestTiled, "", bytesPerPel};
}

long filterReach(const FilterParameters& filter) {
    if (filter.kernel) {
        return std::max(filter.kernel->pels.width(), filter.kernel->pels.height()) / 2 + 1;
    }
    const double sigma = std::min(filter.sigma.along, filter.sigma.across);
    constexpr double farthest = 1e9;
    return static_cast<long>(std::ceil(std::min(4 / (2 * pi * sigma), farthest)));
}

FilterResult filterTiled(const Image& source, const FilterSettings& settings, long tileSize) {
    FilterResult result = startResult(source, settings);
    checkTiling(settings, tileSize);
    checkTransformable(source);
    result.transform = {tileSize, tileSize};
    const FilterPointer filter = makeFilter(settings.filter, result.transform);
    FilterParameters withoutDc = settings.filter;
    withoutDc.dcRadius = 0;
    // The mean goes through the filter by itself, so that it is that of the image and not of a tile.
    const double mean = statistics(source.pels).mean;
    const long reach = filterReach(settings.filter);
    const Tiling tiling = {source,
                           makeFilter(withoutDc, result.transform),
                           tileSize,
                           settings.padding.value_or(Padding::mirror),
                           mean,
                           Cover(source.pels.width(), tileSize, reach),
                           Cover(source.pels.height(), tileSize, reach)};
    result.image.pels =
        filtered(tiling, mean * gainAtDc(*filter, result.transform), settings.part.value_or(Part::real));
    finishResult(result, settings, *filter, source);
    return result;
}

} // namespace app

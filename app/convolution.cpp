#include "app/convolution.h"

#include "app/errors.h"
#include "app/padding.h"
#include "app/words.h"
#include "kavstd/attention.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace app {
namespace {

using Pels = vxPelBuffer<double>;

// A run of pels along one axis.
struct Run {
    long first;
    long count;
};

std::vector<Run> split(long count, long most) {
    std::vector<Run> runs;
    for (long first = 0; first < count; first += most) {
        runs.push_back({first, std::min(most, count - first)});
    }
    return runs;
}

// How one axis is cut so that each part of the kernel with each part of the result fits a transform. A part
// of the result needs as many pels of the image, and all but one of those that the kernel's part has.
struct Axis {
    Axis(long imageCount, long kernelCount) : image(imageCount), kernel(kernelCount) {
        const bool fits = image + kernel - 1 <= maximumSize;
        kernelRuns = split(kernel, fits ? kernel : maximumSize / 2);
        resultRuns = split(image, fits ? image : maximumSize + 1 - std::min(kernel, maximumSize / 2));
    }

    // Where the image's part for these two runs begins.
    [[nodiscard]] long begin(const Run& kernelRun, const Run& resultRun) const {
        return resultRun.first + kernel / 2 - kernelRun.first - (kernelRun.count - 1);
    }

    long image;
    long kernel;
    std::vector<Run> kernelRuns;
    std::vector<Run> resultRuns;
};

// A kernel is no larger than its image, so one reflection reaches everything.
long reflected(long at, long count) {
    if (at < 0) {
        return -1 - at;
    }
    return at < count ? at : 2 * count - 1 - at;
}

// The image's pels from (x, y) on, continued beyond its border.
Pels part(const Pels& image, long x, long y, const vxPair<long>& size, Padding padding) {
    Pels result(size.x(), size.y());
    if (padding == Padding::zero) {
        result.offset(x, y);
        vfPelCopy<double>(image, result);
        result.offset(0, 0);
        return result;
    }
    for (long row = 0; row < size.y(); ++row) {
        const double* from = image.pointToRow(reflected(y + row, image.height()));
        double* to = result.pointToRow(row);
        for (long column = 0; column < size.x(); ++column) {
            to[column] = from[reflected(x + column, image.width())];
        }
    }
    return result;
}

void add(const Pels& source, const Pels& destination) {
    for (long y = 0; y < destination.height(); ++y) {
        const double* from = source.pointToRow(source.offset().y() + y);
        double* to = destination.pointToRow(destination.offset().y() + y);
        std::transform(from, from + destination.width(), to, to, std::plus<>());
    }
}

class Convolution {
public:
    Convolution(const Pels& image, const Pels& kernel, Padding padding)
        : image_(image)
        , kernel_(kernel)
        , padding_(padding)
        , x_(image.width(), kernel.width())
        , y_(image.height(), kernel.height())
        , result_(image.width(), image.height()) {}

    Pels compute() {
        for (const Run& y : y_.kernelRuns) {
            for (const Run& x : x_.kernelRuns) {
                addKernelPart(x, y);
            }
        }
        return result_;
    }

private:
    void addKernelPart(const Run& kernelX, const Run& kernelY) {
        Pels kernel = kernel_.window(kernelX.first, kernelY.first, kernelX.count, kernelY.count);
        kernel.offset(0, 0);
        const vxPair<long> size = transformSize(x_.resultRuns.front().count + kernelX.count - 1,
                                                y_.resultRuns.front().count + kernelY.count - 1);
        const vxFrequencyBuffer spectrum = spectrumOf(kernel, size);
        for (const Run& y : y_.resultRuns) {
            for (const Run& x : x_.resultRuns) {
                const vxPair<long> needed(x.count + kernelX.count - 1, y.count + kernelY.count - 1);
                vxFrequencyBuffer product = spectrumOf(
                    part(image_, x_.begin(kernelX, x), y_.begin(kernelY, y), needed, padding_), size);
                vfFrequencyMultiply(spectrum, product);
                // What comes before would need pels further to the upper left; the transform wraps there.
                add(imageOf(product, Part::real, needed.x(), needed.y())
                        .window(kernelX.count - 1, kernelY.count - 1, x.count, y.count),
                    result_.window(x.first, y.first, x.count, y.count));
            }
        }
    }

    Pels image_;
    Pels kernel_;
    Padding padding_;
    Axis x_;
    Axis y_;
    Pels result_;
};

struct Sums {
    double ofPels = 0;
    double ofMagnitudes = 0;

    // A kernel that is meant to sum to zero does so up to the rounding of its pels.
    [[nodiscard]] bool isZero() const { return std::abs(ofPels) <= noise * ofMagnitudes; }
};

Sums sumsOf(const Pels& kernel) {
    Sums sums;
    for (long y = 0; y < kernel.height(); ++y) {
        const double* row = kernel.pointToRow(y);
        for (long x = 0; x < kernel.width(); ++x) {
            sums.ofPels += row[x];
            sums.ofMagnitudes += std::abs(row[x]);
        }
    }
    return sums;
}

Pels divided(const Pels& kernel, double divisor) {
    Pels result(kernel.width(), kernel.height());
    for (long y = 0; y < kernel.height(); ++y) {
        const double* row = kernel.pointToRow(y);
        std::transform(row, row + kernel.width(), result.pointToRow(y),
                       [=](double pel) { return pel / divisor; });
    }
    return result;
}

void checkKernel(const Image& image, const Image& kernel, const Sums& sums, bool unit) {
    const std::string what = "cannot convolve with " + kernel.name + ": ";
    if (kernel.pels.width() > image.pels.width() || kernel.pels.height() > image.pels.height()) {
        throw UnreadableError(what + "it is " + size(kernel.pels.width(), kernel.pels.height()) +
                              ", larger than the image, " + size(image.pels.width(), image.pels.height()));
    }
    if (!(sums.ofMagnitudes > 0)) {
        throw UnreadableError(what + "all its pels are zero");
    }
    if (unit && sums.isZero()) {
        throw UnreadableError(what + "its pels sum to zero, so --unit cannot divide by their sum");
    }
}

} // namespace

ConvolutionResult convolve(const Image& image, const Image& kernel, const ConvolutionSettings& settings) {
    ConvolutionResult result;
    result.image.depth = settings.depth.value_or(image.depth);
    const bool integer = traits(result.image.depth).isInteger;
    if (!integer && settings.range) {
        throw UsageError(
            "--range is for 8- and 16-bit results; floating-point results are written as they are");
    }
    checkTransformable(image);
    checkTransformable(kernel);
    const Sums sums = sumsOf(kernel.pels);
    checkKernel(image, kernel, sums, settings.unit);

    const double divisor = settings.unit ? sums.ofPels : 1;
    result.image.pels = Convolution(image.pels, divided(kernel.pels, divisor), settings.padding).compute();
    const PelStatistics values = statistics(result.image.pels);
    if (values.notFinite > 0) {
        failTooLarge(image);
    }
    result.minimum = values.minimum;
    result.maximum = values.maximum;
    result.range = "written as it is";
    if (integer) {
        const PelStatistics source = statistics(image.pels);
        Ranging ranging;
        ranging.range = settings.range.value_or(Range::normalize);
        ranging.from = image.depth;
        ranging.aroundZero = sums.isZero();
        ranging.noise = noise * std::max(std::abs(source.minimum), std::abs(source.maximum)) *
                        (sums.ofMagnitudes / std::abs(divisor));
        result.range = bringIntoRange(result.image, result.minimum, result.maximum, ranging);
    }
    return result;
}

} // namespace app

#include "app/filtering.h"

#include "app/errors.h"
#include "app/padding.h"
#include "app/words.h"
#include "kavstd/attention.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

namespace app {
namespace {

double largestPel(const Image& image) {
    const PelStatistics pels = statistics(image.pels);
    if (pels.notFinite > 0) {
        throw UnreadableError("cannot transform " + image.name + ": the pel at (" +
                              std::to_string(pels.notFiniteAt.x()) + ", " +
                              std::to_string(pels.notFiniteAt.y()) + ") is not a finite number");
    }
    return std::max(std::abs(pels.minimum), std::abs(pels.maximum));
}

template <class T>
vxPelBuffer<double> widened(const vxPelBuffer_const<T>& pels) {
    vxPelBuffer<double> result(pels.width(), pels.height());
    for (long y = 0; y < pels.height(); ++y) {
        std::copy_n(pels.pointToRow(y), pels.width(), result.pointToRow(y));
    }
    return result;
}

template <class T>
vxPelBuffer<double> readRaw(vxFrequencyBuffer& spectrum, bool normalize) {
    vxPelBuffer<T> pels;
    vfInverseFFT(spectrum, pels, normalize, true);
    return widened<T>(pels);
}

vxPelBuffer<double> readRaw(vxFrequencyBuffer& spectrum, Depth depth, bool normalize) {
    switch (depth) {
    case Depth::bits8:
        return readRaw<unsigned char>(spectrum, normalize);
    case Depth::bits16:
        return readRaw<unsigned short>(spectrum, normalize);
    default:
        return readRaw<double>(spectrum, normalize);
    }
}

void setExtremes(FilterResult& result, const Image& source) {
    const PelStatistics pels = statistics(result.image.pels);
    if (pels.notFinite > 0) {
        throw UnreadableError("cannot filter " + source.name +
                              ": the result is too large for single precision");
    }
    result.minimum = pels.minimum;
    result.maximum = pels.maximum;
}

void finishRaw(FilterResult& result, vxFrequencyBuffer& spectrum, const FilterSettings& settings,
               const Image& source) {
    const bool normalize = settings.range.has_value();
    result.image.pels = readRaw(spectrum, result.image.depth, normalize);
    setExtremes(result, source);
    result.range =
        normalize ? "magnitudes, normalised by the library" : "magnitudes, as the library gives them";
}

// How much stronger a filter can make a wave. Only the spectrum of an image has gains above 1.
double largestGain(const vxFrequencyFilter& filter, const vxPair<long>& size) {
    if (dynamic_cast<const vxFrequencyFilterImage*>(&filter) == nullptr) {
        return 1;
    }
    return statistics(gains(filter, size).getMagnitudeImage(false)).maximum;
}

// Normalises or clips to an integer depth.
void bringIntoRange(FilterResult& result, const FilterSettings& settings, const vxFrequencyFilter& filter,
                    const Image& source) {
    Ranging ranging;
    ranging.range = settings.range.value_or(Range::normalize);
    ranging.from = source.depth;
    // Without the image's mean, results lie around zero.
    ranging.aroundZero = settings.part != Part::magnitude && gainAtDc(filter, result.transform) < 0.5;
    ranging.noise = noise * largestPel(source) * largestGain(filter, result.transform);
    result.range = bringIntoRange(result.image, result.minimum, result.maximum, ranging);
}

// The parts whose range is known beforehand.
struct KnownRange {
    Part part;
    double minimum;
    double maximum;
    const char* words;
    const char* scaledWords;
};
constexpr KnownRange knownRanges[] = {
    {Part::angle, -std::numbers::pi, std::numbers::pi, "angles in radians",
     "angles, -pi .. pi scaled to 0 .. "},
    {Part::quadrant, 0, 3, "quadrants", "quadrants, 0 .. 3 scaled to 0 .. "},
};

// Null for a part of any range.
const KnownRange* knownRangeOf(Part part) {
    const auto* known = std::find_if(std::begin(knownRanges), std::end(knownRanges),
                                     [part](const KnownRange& k) { return k.part == part; });
    return known == std::end(knownRanges) ? nullptr : known;
}

void finishKnown(FilterResult& result, const KnownRange& known) {
    const Depth depth = result.image.depth;
    if (!traits(depth).isInteger) {
        result.range = known.words;
        return;
    }
    mapPels(result.image.pels, normalizing(known.minimum, known.maximum, depth), depth);
    result.range = known.scaledWords + number(traits(depth).maximum);
}

void checkKernelSize(const FilterSettings& settings, const Image& source) {
    if (!settings.filter.kernel) {
        return;
    }
    const vxPelBuffer<double>& kernel = settings.filter.kernel->pels;
    if (kernel.width() > source.pels.width() || kernel.height() > source.pels.height()) {
        throw UnreadableError("the kernel " + settings.filter.kernel->name + " is " +
                              size(kernel.width(), kernel.height()) + " pels, larger than " + source.name +
                              ", which is " + size(source.pels.width(), source.pels.height()));
    }
}

void checkRange(const FilterSettings& settings, Depth depth) {
    if (settings.range && !traits(depth).isInteger) {
        throw UsageError(
            "--range is for 8- and 16-bit results; floating-point results are written as they are");
    }
}

vxPelBuffer<double> transposed(const vxPelBuffer_const<double>& pels) {
    vxPelBuffer<double> result(pels.height(), pels.width());
    for (long y = 0; y < pels.height(); ++y) {
        vxAttention::check();
        const double* row = pels.pointToRow(pels.offset().y() + y);
        for (long x = 0; x < pels.width(); ++x) {
            result.pointToRow(x)[y] = row[x];
        }
    }
    return result;
}

bool needsTurning(const Image& source, const FilterSettings& settings) {
    const vxPair<long> size = transformSize(source.pels.width(), source.pels.height());
    return settings.wholeRings && size.y() > size.x() && isRing(settings.filter);
}

FilterResult filterOnItsSide(const Image& source, const FilterSettings& settings) {
    checkTransformable(source); // Names pels as they lie in the source.
    Image turned = source;
    turned.pels = transposed(source.pels);
    FilterResult result = filterImage(turned, settings);
    result.image.pels = transposed(result.image.pels);
    result.transform = {result.transform.y(), result.transform.x()};
    return result;
}

} // namespace

void failTooLarge(const Image& image) {
    throw UnreadableError("cannot transform " + image.name + ": its pels are too large for single precision");
}

void checkTransformable(const Image& image) {
    if (largestPel(image) > static_cast<double>(std::numeric_limits<float>::max())) {
        failTooLarge(image);
    }
}

vxFrequencyBuffer spectrumOf(const Image& image, Padding padding) {
    checkTransformable(image);
    vxFrequencyBuffer spectrum;
    if (padding == Padding::mirror) {
        vfForwardFFT<double>(mirrorPadded(image.pels), spectrum);
    } else {
        vfForwardFFT<double>(image.pels, spectrum);
    }
    return spectrum;
}

vxFrequencyBuffer spectrumOf(const vxPelBuffer_const<double>& pels, const vxPair<long>& size) {
    vxPelBuffer<double> padded(size.x(), size.y());
    vfPelCopy(pels, padded);
    vxFrequencyBuffer spectrum;
    vfForwardFFT<double>(padded, spectrum);
    return spectrum;
}

vxPelBuffer<double> imageOf(vxFrequencyBuffer& spectrum, Part part, long width, long height) {
    vxPelBuffer<double> pels;
    vxPelBuffer<double> other;
    vxPelBuffer<unsigned char> quadrants;
    switch (part) {
    case Part::real:
        vfInverseFFT(spectrum, pels, other, true);
        break;
    case Part::magnitude:
        vfInverseFFT<double>(spectrum, pels, false, true);
        break;
    case Part::angle:
        vfInverseFFTAngle<double>(spectrum, other, pels, false, true);
        break;
    case Part::quadrant:
        vfInverseFFTQuadrant<double>(spectrum, other, quadrants, false, true);
        pels = widened<unsigned char>(quadrants);
        break;
    }
    return pels.window(0, 0, width, height);
}

void checkSettings(const FilterSettings& settings) {
    if (settings.raw && (settings.padding || settings.part)) {
        throw UsageError(
            "--raw has its own padding and reads magnitudes; it goes with neither --pad nor --part");
    }
    if (settings.range && knownRangeOf(settings.part.value_or(Part::real)) != nullptr) {
        throw UsageError("--range does not go with --part angle and quadrant, whose range is known");
    }
    if (settings.raw && settings.range == Range::clip) {
        throw UsageError("--raw does not clip; only --range normalize goes with it");
    }
    if (settings.depth) {
        checkRange(settings, *settings.depth);
    }
}

FilterResult startResult(const Image& source, const FilterSettings& settings) {
    checkSettings(settings);
    checkFilter(settings.filter);
    checkKernelSize(settings, source);
    FilterResult result;
    result.image.depth = settings.depth.value_or(source.depth);
    checkRange(settings, result.image.depth);
    return result;
}

void finishResult(FilterResult& result, const FilterSettings& settings, const vxFrequencyFilter& filter,
                  const Image& source) {
    setExtremes(result, source);
    if (const KnownRange* const known = knownRangeOf(settings.part.value_or(Part::real))) {
        finishKnown(result, *known);
    } else if (traits(result.image.depth).isInteger) {
        bringIntoRange(result, settings, filter, source);
    } else {
        result.range = "written as it is";
    }
}

FilterResult filterImage(const Image& source, const FilterSettings& settings) {
    if (needsTurning(source, settings)) {
        return filterOnItsSide(source, settings);
    }
    FilterResult result = startResult(source, settings);
    const Padding padding = settings.raw ? Padding::zero : settings.padding.value_or(Padding::mirror);
    vxFrequencyBuffer spectrum = spectrumOf(source, padding);
    result.transform = {spectrum.width(), spectrum.height()};
    const FilterPointer filter = makeFilter(settings.filter, result.transform);
    applyFilter(*filter, spectrum);
    if (settings.raw) {
        finishRaw(result, spectrum, settings, source);
        return result;
    }
    const Part part = settings.part.value_or(Part::real);
    result.image.pels = imageOf(spectrum, part, source.pels.width(), source.pels.height());
    finishResult(result, settings, *filter, source);
    return result;
}

} // namespace app

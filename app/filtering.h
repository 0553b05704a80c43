/// \file
/// What the tools do with an image: pad, transform, filter, transform back, bring into range.
#pragma once

#include "app/filters.h"
#include "app/image.h"
#include "app/pel_range.h"
#include "filt/fft.h"

#include <optional>
#include <string>

namespace app {

/// How an image is extended to the size of its transform.
enum class Padding {
    mirror, ///< by reflection, so that no edge is made
    zero    ///< with zeros to the right and below, as the library itself does
};

/// What is read from the inverse transform.
enum class Part {
    real,      ///< with its sign
    magnitude, ///< without
    angle,     ///< of the complex value, radians, -pi to pi
    quadrant ///< of the complex value: 1 where the real part is negative, plus 2 where the imaginary part is
};

/// UnreadableError: "its pels are too large for single precision".
[[noreturn]] void failTooLarge(const Image& image);

/// UnreadableError when pels are not finite or too large for single precision.
void checkTransformable(const Image& image);

/// The spectrum of an image. UnreadableError when pels are not finite or too large for single precision.
[[nodiscard]] vxFrequencyBuffer spectrumOf(const Image& image, Padding padding);

/// The spectrum of pels from (0, 0) on in an image of that size, zero elsewhere.
[[nodiscard]] vxFrequencyBuffer spectrumOf(const vxPelBuffer_const<double>& pels, const vxPair<long>& size);

/// The image of that size that a spectrum stands for. The spectrum is consumed.
[[nodiscard]] vxPelBuffer<double> imageOf(vxFrequencyBuffer& spectrum, Part part, long width, long height);

struct FilterSettings {
    FilterParameters filter;
    std::optional<Padding> padding; ///< Default: mirror.
    std::optional<Part> part;       ///< Default: real.
    /// Default: normalize. Only for integer depths, and not for angles and quadrants, whose range is known:
    /// in integer depths -pi to pi and 0 to 3 are black to white, others hold them as they are.
    std::optional<Range> range;
    std::optional<Depth> depth; ///< Default: the depth of the image.
    /// The library's own zero padding and magnitude reader and nothing on top: magnitudes rounded to the
    /// nearest integer, whose low 8 or 16 bits are kept, or with Range::normalize the reader's own
    /// normalisation.
    bool raw = false;
    /// The library cuts rings off early above and below where the spectrum is taller than wide. With this,
    /// images of such spectra are filtered on their side by rings, which are whole then.
    bool wholeRings = false;
};

/// UsageError where settings other than the filter contradict each other.
void checkSettings(const FilterSettings& settings);

struct FilterResult {
    Image image;
    vxPair<long> transform; ///< Size of the transform.
    double minimum = 0;     ///< Of the result before it was brought into range.
    double maximum = 0;
    std::string range; ///< How it was brought into range, in words.
};

/// The first and the last step of filtering, for every way to do it. The first checks settings, all that the
/// image does not need to be read for, and sets the depth; it throws as filterImage. The last brings what was
/// computed, result.image.pels, into range; `filter` has the size result.transform.
[[nodiscard]] FilterResult startResult(const Image& source, const FilterSettings& settings);
void finishResult(FilterResult& result, const FilterSettings& settings, const vxFrequencyFilter& filter,
                  const Image& source);

/// Filters an image. UsageError for settings that do not fit the image, UnreadableError for pels that cannot
/// be transformed, a kernel that is larger than the image or a built filter of another size.
[[nodiscard]] FilterResult filterImage(const Image& source, const FilterSettings& settings);

} // namespace app

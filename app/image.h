/// \file
/// A grey image as the tools handle it: pels in double precision and the depth of the file they came from or
/// go to.
#pragma once

#include "kavstd/pelbuffer.h"

#include <string>
#include <vector>

namespace app {

/// How a file stores a pel.
enum class Depth { bits8, bits16, float32, float64 };

struct DepthTraits {
    const char* name;
    bool isInteger;
    double maximum; ///< White, for the integer depths.
};
[[nodiscard]] const DepthTraits& traits(Depth depth);

/// The largest width and height, the largest transform's.
inline constexpr long maximumSize = 2048;

struct Image {
    vxPelBuffer<double> pels; ///< In the units of the depth: 0 .. 255, 0 .. 65535, or anything.
    Depth depth = Depth::bits8;
    std::string name;               ///< The file it was read from, for messages.
    std::string format;             ///< What kind of file it was read from: "PNG", "TIFF", "PGM".
    std::vector<std::string> notes; ///< What reading it left out or converted, one sentence each.
};

/// How large the images may be that a thread reads or makes.
struct SizeLimit {
    long side = maximumSize;
    std::string advice = {}; ///< What a refusal adds, such as "; try --this".
    /// What working on an image needs. More than availableMemory is refused; 0 leaves that to allocating.
    long bytesPerPel = 0;
};

/// Another limit for this thread, for the scope's life.
class SizeLimitScope {
public:
    explicit SizeLimitScope(const SizeLimit& limit);
    ~SizeLimitScope();
    SizeLimitScope(const SizeLimitScope&) = delete;
    SizeLimitScope& operator=(const SizeLimitScope&) = delete;

private:
    SizeLimit limit_;
    const SizeLimit* previous_;
};

/// An image of that size, all zero. UnreadableError for a size that is empty or above the thread's limit,
/// before any pel is allocated.
[[nodiscard]] vxPelBuffer<double> newPels(unsigned long long width, unsigned long long height);

/// The value as an integer depth stores it: rounded to nearest (halves up), clamped to 0 .. maximum; a NaN
/// gives 0.
[[nodiscard]] unsigned long quantize(double value, Depth depth);

/// Luminance of a colour by the Rec. 709 weights, which sum to 1. Taken on the stored (gamma encoded) values.
inline constexpr double luminanceWeights[3] = {0.2126, 0.7152, 0.0722};

struct PelStatistics {
    double minimum = 0;
    double maximum = 0;
    double mean = 0;
    long notFinite = 0;       ///< Pels that are a NaN or infinite; the numbers above leave them out.
    vxPair<long> notFiniteAt; ///< The first of them, counted from the upper left.
};
[[nodiscard]] PelStatistics statistics(const vxPelBuffer_const<double>& pels);

} // namespace app

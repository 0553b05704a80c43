#include "app/image.h"

#include "app/errors.h"
#include "app/memory.h"
#include "kavstd/attention.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>

namespace app {
namespace {

const SizeLimit defaultLimit;
thread_local const SizeLimit* currentLimit = &defaultLimit;

std::string inGigabytes(unsigned long long bytes) {
    char text[32];
    std::snprintf(text, sizeof text, "%.1f GB", static_cast<double>(bytes) / 1e9);
    return text;
}

void checkMemory(unsigned long long needed, const std::string& size) {
    const unsigned long long available = availableMemory();
    if (needed > available) {
        throw UnreadableError("the image is " + size + " pels; working on it needs " + inGigabytes(needed) +
                              " of memory, but only " + inGigabytes(available) + " are available");
    }
}

} // namespace

SizeLimitScope::SizeLimitScope(const SizeLimit& limit) : limit_(limit), previous_(currentLimit) {
    currentLimit = &limit_;
}

SizeLimitScope::~SizeLimitScope() {
    currentLimit = previous_;
}

const DepthTraits& traits(Depth depth) {
    static constexpr DepthTraits table[] = {
        {"8-bit", true, 255}, {"16-bit", true, 65535}, {"float", false, 0}, {"double", false, 0}};
    return table[static_cast<int>(depth)];
}

vxPelBuffer<double> newPels(unsigned long long width, unsigned long long height) {
    const std::string size = std::to_string(width) + " x " + std::to_string(height);
    if (width == 0 || height == 0) {
        throw UnreadableError("the image is empty (" + size + ")");
    }
    const SizeLimit& limit = *currentLimit;
    const auto side = static_cast<unsigned long long>(limit.side);
    if (width > side || height > side) {
        throw UnreadableError("the image is " + size + " pels, above the limit of " +
                              std::to_string(limit.side) + " x " + std::to_string(limit.side) + limit.advice);
    }
    if (limit.bytesPerPel > 0) {
        checkMemory(width * height * static_cast<unsigned long long>(limit.bytesPerPel), size);
    }
    return {static_cast<long>(width), static_cast<long>(height)};
}

unsigned long quantize(double value, Depth depth) {
    const double maximum = traits(depth).maximum;
    if (!(value > 0)) {
        return 0;
    }
    return static_cast<unsigned long>(std::min(std::floor(value + 0.5), maximum));
}

PelStatistics statistics(const vxPelBuffer_const<double>& pels) {
    PelStatistics result;
    double sum = 0;
    double minimum = std::numeric_limits<double>::infinity();
    double maximum = -minimum;
    for (long y = 0; y < pels.height(); ++y) {
        vxAttention::check();
        const double* row = pels.pointToRow(pels.offset().y() + y);
        for (long x = 0; x < pels.width(); ++x) {
            if (std::isfinite(row[x])) {
                minimum = std::min(minimum, row[x]);
                maximum = std::max(maximum, row[x]);
                sum += row[x];
            } else if (result.notFinite++ == 0) {
                result.notFiniteAt = {x, y};
            }
        }
    }
    const long finite = pels.width() * pels.height() - result.notFinite;
    if (finite > 0) {
        result.minimum = minimum;
        result.maximum = maximum;
        result.mean = sum / static_cast<double>(finite);
    }
    return result;
}

} // namespace app

/// \file
/// The frequency buffer transcribed step by step on plain fields, slow and without care for memory.
#pragma once

#include "kavstd/radian.h"

#include <cmath>
#include <vector>

namespace oracle {

struct FrequencyBuffer {
    long width = 0;
    long height = 0;
    long sourceWidth = 0;
    long sourceHeight = 0;
    long masked = 0;
    long maskedMiny = 0;
    long maskedMaxy = 0;
    long offsetX = 0;
    long offsetY = 0;
    std::vector<float> storage;
    bool hasData = false;
    bool inverseComputed = false;

    static long roundUp(long request) {
        long value = 1;
        while (value < request) {
            value = value * 2;
        }
        return value;
    }

    /// False when a size is above the limit.
    bool setAndAllocate(long requestedWidth, long requestedHeight) {
        if (requestedWidth > 2048 || requestedHeight > 2048) {
            return false;
        }
        sourceWidth = requestedWidth;
        sourceHeight = requestedHeight;
        const long newWidth = roundUp(requestedWidth);
        const long newHeight = roundUp(requestedHeight);
        if (hasData && (newWidth != width || newHeight != height)) {
            hasData = false;
        }
        width = newWidth;
        height = newHeight;
        masked = 0;
        inverseComputed = false;
        if (!hasData) {
            storage.resize(static_cast<std::size_t>(width * height * 2 + 7));
            hasData = true;
        }
        return true;
    }

    bool assign(const FrequencyBuffer& src) {
        if (&src == this) {
            return true;
        }
        if (!src.hasData) {
            masked = 0;
            hasData = false;
            return true;
        }
        if (!setAndAllocate(src.sourceWidth, src.sourceHeight)) {
            return false;
        }
        offsetX = src.offsetX;
        offsetY = src.offsetY;
        inverseComputed = src.inverseComputed;
        masked = src.masked;
        maskedMiny = src.maskedMiny;
        maskedMaxy = src.maskedMaxy;
        for (long i = 0; i < width * height * 2; ++i) {
            const bool has = i < src.width * src.height * 2;
            storage[static_cast<std::size_t>(i)] = has ? src.storage[static_cast<std::size_t>(i)] : 0.0F;
        }
        return true;
    }

    /// The crop of a checked size.
    static FrequencyBuffer crop(const FrequencyBuffer& src, long width, long height) {
        FrequencyBuffer result;
        result.setAndAllocate(width, height);
        result.inverseComputed = src.inverseComputed;
        const double scaleX = static_cast<double>(width) / static_cast<double>(src.width);
        const double scaleY = static_cast<double>(height) / static_cast<double>(src.height);
        result.sourceWidth = static_cast<long>(std::trunc(static_cast<double>(src.sourceWidth) * scaleX));
        result.sourceHeight = static_cast<long>(std::trunc(static_cast<double>(src.sourceHeight) * scaleY));
        result.offsetX = src.offsetX;
        result.offsetY = src.offsetY;
        std::size_t next = 0;
        for (long v = 0; v < src.height; ++v) {
            for (long u = 0; u < src.width; ++u) {
                const bool keptRow = v < height / 2 || v >= src.height - height / 2;
                const bool keptColumn = u < width / 2 || u >= src.width - width / 2;
                if (keptRow && keptColumn) {
                    result.storage[next++] = src.re(u, v);
                    result.storage[next++] = src.im(u, v);
                }
            }
        }
        return result;
    }

    bool equals(const FrequencyBuffer& other) const {
        if (!hasData && !other.hasData) {
            return true;
        }
        if (hasData != other.hasData) {
            return false;
        }
        if (width != other.width || height != other.height || sourceWidth != other.sourceWidth ||
            sourceHeight != other.sourceHeight || inverseComputed != other.inverseComputed ||
            masked != other.masked) {
            return false;
        }
        if (masked && (maskedMiny != other.maskedMiny || maskedMaxy != other.maskedMaxy)) {
            return false;
        }
        if (offsetX != other.offsetX || offsetY != other.offsetY) {
            return false;
        }
        for (long i = 0; i < width * height * 2; ++i) {
            const float a = storage[static_cast<std::size_t>(i)];
            const float b = other.storage[static_cast<std::size_t>(i)];
            if (a < b || a > b) {
                return false;
            }
        }
        return true;
    }

    /// The storage place of the real part of sample (x, y), or -1.
    long locate(long x, long y, bool centered) const {
        if (!centered) {
            return 0 <= x && x < width && 0 <= y && y < height ? (y * width + x) * 2 : -1;
        }
        if (!(-(width >> 1) <= x && x < (width + 1) >> 1 && -(height >> 1) <= y && y < (height + 1) >> 1)) {
            return -1;
        }
        if (x < 0) {
            x = x + width;
        }
        if (y < 0) {
            y = y + height;
        }
        return (y * width + x) * 2;
    }

    float re(long u, long v) const { return storage[static_cast<std::size_t>((v * width + u) * 2)]; }
    float im(long u, long v) const { return storage[static_cast<std::size_t>((v * width + u) * 2 + 1)]; }

    enum Part { real, imaginary, magnitude, phase };

    static double value(Part part, float re, float im) {
        switch (part) {
        case real:
            return static_cast<double>(re);
        case imaginary:
            return static_cast<double>(im);
        case magnitude: {
            const float squareRe = re * re;
            const float squareIm = im * im;
            const float squares = squareRe + squareIm;
            return static_cast<double>(std::sqrt(squares));
        }
        default:
            return vxRadian(std::atan2(static_cast<double>(im), static_cast<double>(re))).norm().toDouble();
        }
    }

    /// width x height doubles, row by row.
    std::vector<double> image(Part part, bool centered) const {
        std::vector<double> pels(static_cast<std::size_t>(width * height));
        const long halfW = width >> 1;
        const long halfH = height >> 1;
        for (long v = 0; v < height; ++v) {
            for (long u = 0; u < width; ++u) {
                long x = u;
                long y = v;
                if (centered) {
                    x = u < halfW ? u + halfW : u - halfW;
                    y = v < halfH ? v + halfH : v - halfH;
                }
                pels[static_cast<std::size_t>(y * width + x)] = value(part, re(u, v), im(u, v));
            }
        }
        return pels;
    }
};

/// Zeroes the samples outside the source.
inline void clearPadding(long sourceWidth, long sourceHeight, long width, long height,
                         std::vector<float>& data) {
    for (long v = 0; v < height; ++v) {
        for (long u = 0; u < width; ++u) {
            if (v >= sourceHeight || u >= sourceWidth) {
                data[static_cast<std::size_t>((v * width + u) * 2)] = 0.0F;
                data[static_cast<std::size_t>((v * width + u) * 2 + 1)] = 0.0F;
            }
        }
    }
}

} // namespace oracle

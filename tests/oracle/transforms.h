/// \file
/// The transforms between images and spectra once more, step by step and slowly, on plain arrays. Client
/// transforms are left out.
#pragma once

#include "tests/oracle/image.h"

#include <cmath>
#include <cstddef>
#include <type_traits>
#include <vector>

namespace oracle {

/// A frequency buffer with samples.
struct Spectrum {
    long width = 0;
    long height = 0;
    long sourceWidth = 0;
    long sourceHeight = 0;
    long masked = 0;
    long maskedMiny = 0;
    long maskedMaxy = 0;
    long offsetX = 0;
    long offsetY = 0;
    bool inverseComputed = false;
    std::vector<float> data;
};

inline long roundUp(long request) {
    long size = 1;
    while (size < request) {
        size = 2 * size;
    }
    return size;
}

/// Sized for a request; samples are zero.
inline Spectrum newSpectrum(long width, long height) {
    Spectrum s;
    s.sourceWidth = width;
    s.sourceHeight = height;
    s.width = roundUp(width);
    s.height = roundUp(height);
    s.data.assign(static_cast<std::size_t>(s.width * s.height * 2), 0.0F);
    return s;
}

/// An assigned copy: sized again from the source size, then the first samples in storage order.
inline Spectrum copyOf(const Spectrum& source) {
    Spectrum s = newSpectrum(source.sourceWidth, source.sourceHeight);
    s.offsetX = source.offsetX;
    s.offsetY = source.offsetY;
    s.inverseComputed = source.inverseComputed;
    s.masked = source.masked;
    s.maskedMiny = source.maskedMiny;
    s.maskedMaxy = source.maskedMaxy;
    for (std::size_t i = 0; i < s.data.size() && i < source.data.size(); ++i) {
        s.data[i] = source.data[i];
    }
    return s;
}

/// The image in a frame of the padded size, zero elsewhere.
template <class T>
Image<T> padded(const Image<T>& source, const Spectrum& destination) {
    Image<T> temporary = newImage<T>(destination.width, destination.height);
    temporary.X = source.X;
    temporary.Y = source.Y;
    periodicCopy(source, temporary, false);
    return temporary;
}

template <class T>
Spectrum forward(const Image<T>& source) {
    Spectrum dst = newSpectrum(source.width, source.height);
    dst.offsetX = static_cast<long>(source.X);
    dst.offsetY = static_cast<long>(source.Y);
    Image<T> s = source;
    if (source.X != 0 || source.Y != 0) {
        s = padded(source, dst);
    }
    for (long row = 0; row < s.height; ++row) {
        for (long column = 0; column < s.width; ++column) {
            dst.data[static_cast<std::size_t>(row * 2 * dst.width + column)] =
                static_cast<float>(s.at(column, row));
        }
    }
    realFFT2D(dst.data, dst.width, dst.height, 1);
    return dst;
}

template <class T>
Spectrum forward(const Image<T>& real, const Image<T>& imaginary) {
    Spectrum dst = newSpectrum(real.width, real.height);
    dst.offsetX = static_cast<long>(real.X);
    dst.offsetY = static_cast<long>(real.Y);
    Image<T> re = real;
    Image<T> im = imaginary;
    if (real.X != 0 || real.Y != 0) {
        re = padded(real, dst);
        im = padded(imaginary, dst);
    }
    for (long row = 0; row < re.height; ++row) {
        for (long column = 0; column < re.width; ++column) {
            const auto i = static_cast<std::size_t>(2 * (row * dst.width + column));
            dst.data[i] = static_cast<float>(re.at(column, row));
            dst.data[i + 1] = static_cast<float>(im.at(column, row));
        }
    }
    complexFFT2D(dst.data, dst.width, dst.height, 1, 0, dst.height);
    return dst;
}

inline Spectrum forward(const Spectrum& source) {
    Spectrum dst = copyOf(source);
    dst.inverseComputed = false;
    dst.masked = 0;
    complexFFT2D(dst.data, dst.width, dst.height, 1, 0, dst.height);
    return dst;
}

/// The inverse kernel over the masked band or all rows.
inline void inverseKernel(Spectrum& s) {
    if (s.masked != 0) {
        complexFFT2D(s.data, s.width, s.height, -1, s.maskedMiny, s.maskedMaxy);
    } else {
        complexFFT2D(s.data, s.width, s.height, -1, 0, s.height);
    }
}

/// The working spectrum of an inverse: the caller's or a copy, spatial in either case.
inline Spectrum workingSpectrum(Spectrum& caller, bool inPlace) {
    if (caller.inverseComputed) {
        return caller;
    }
    if (inPlace) {
        inverseKernel(caller);
        caller.inverseComputed = true;
        return caller;
    }
    Spectrum copy = copyOf(caller);
    inverseKernel(copy);
    return copy;
}

/// Low 32 bits of the truncated value.
inline unsigned long truncated(float value) {
    if (!(value > -9223372036854775808.0F && value < 9223372036854775808.0F)) {
        return 0;
    }
    return static_cast<unsigned long>(static_cast<long long>(value)) & 0xFFFFFFFFUL;
}

inline float realAt(const Spectrum& s, long column, long row) {
    return s.data[static_cast<std::size_t>(2 * (row * s.width + column))];
}
inline float imaginaryAt(const Spectrum& s, long column, long row) {
    return s.data[static_cast<std::size_t>(2 * (row * s.width + column) + 1)];
}

inline float scaleOf(const Spectrum& s) {
    const double scale = 1.0 / static_cast<double>(s.height * s.width);
    return static_cast<float>(scale);
}

/// A finished image at the source's offset.
template <class T>
Image<T> atOffset(const Spectrum& s, Image<T> working) {
    if (s.offsetX != 0 || s.offsetY != 0) {
        Image<T> temporary = newImage<T>(s.sourceWidth, s.sourceHeight);
        periodicCopy(working, temporary, true);
        working = temporary;
    }
    working.X = s.offsetX;
    working.Y = s.offsetY;
    return working;
}

/// Makes the working image of an output: source size, source offset.
template <class T>
Image<T> workingImage(const Spectrum& s) {
    Image<T> image = newImage<T>(s.sourceWidth, s.sourceHeight);
    image.X = s.offsetX;
    image.Y = s.offsetY;
    return image;
}

/// Members 1 .. 6: the main image of pel type P.
template <class P>
Image<P> magnitude(int member, const Spectrum& s, bool normalize) {
    Image<P> image = workingImage<P>(s);
    if (member == 1) {
        image.X = 0;
        image.Y = 0;
    }
    const float scale = scaleOf(s);
    float minimum = 1e20F;
    float maximum = -1e20F;
    for (long y = 0; y < image.height; ++y) {
        for (long x = 0; x < image.width; ++x) {
            const float re = realAt(s, x, y);
            const float im = imaginaryAt(s, x, y);
            const float squared = re * re + im * im;
            if (!(squared >= minimum)) {
                minimum = squared;
            }
            if (squared > maximum) {
                maximum = squared;
            }
        }
    }
    const float lo = std::sqrt(minimum) * scale;
    const float hi = std::sqrt(maximum) * scale;
    const double top = (member == 1 || member == 4) ? 255.0 : 65535.0;
    float gain = static_cast<float>(top);
    if (hi != lo) {
        gain = static_cast<float>(top / (static_cast<double>(hi) - static_cast<double>(lo)));
    }
    for (long y = 0; y < image.height; ++y) {
        for (long x = 0; x < image.width; ++x) {
            const float re = realAt(s, x, y);
            const float im = imaginaryAt(s, x, y);
            const float m = std::sqrt(re * re + im * im) * scale;
            if (member == 3 || member == 6) {
                image.at(x, y) = static_cast<P>(m);
            } else if (normalize) {
                const float difference = m - lo;
                const float stretched = difference * gain;
                const float rounded = stretched + 0.5F;
                image.at(x, y) = static_cast<P>(truncated(rounded));
            } else {
                const float rounded = m + 0.5F;
                image.at(x, y) = static_cast<P>(truncated(rounded));
            }
        }
    }
    return atOffset(s, image);
}

inline Image<double> angle(const Spectrum& s) {
    Image<double> image = workingImage<double>(s);
    for (long y = 0; y < image.height; ++y) {
        for (long x = 0; x < image.width; ++x) {
            const float value = std::atan2(imaginaryAt(s, x, y), realAt(s, x, y));
            image.at(x, y) = static_cast<double>(value);
        }
    }
    return atOffset(s, image);
}

/// Member 6 counts a NaN as negative, the others do not.
inline Image<unsigned char> quadrant(int member, const Spectrum& s) {
    Image<unsigned char> image = workingImage<unsigned char>(s);
    for (long y = 0; y < image.height; ++y) {
        for (long x = 0; x < image.width; ++x) {
            const double re = static_cast<double>(realAt(s, x, y));
            const double im = static_cast<double>(imaginaryAt(s, x, y));
            int code = 0;
            if (member == 6) {
                if (!(re >= 0.0)) {
                    code |= 1;
                }
                if (!(im >= 0.0)) {
                    code |= 2;
                }
            } else {
                if (0.0 > re) {
                    code |= 1;
                }
                if (0.0 > im) {
                    code |= 2;
                }
            }
            image.at(x, y) = static_cast<unsigned char>(code);
        }
    }
    return atOffset(s, image);
}

/// The real part (part 0) or the imaginary part (part 1).
inline Image<double> part(int which, const Spectrum& s) {
    Image<double> image = workingImage<double>(s);
    const float scale = scaleOf(s);
    for (long y = 0; y < image.height; ++y) {
        for (long x = 0; x < image.width; ++x) {
            const float value = (which == 0 ? realAt(s, x, y) : imaginaryAt(s, x, y)) * scale;
            image.at(x, y) = static_cast<double>(value);
        }
    }
    return atOffset(s, image);
}

/// What an output holds afterwards: the result, or, when it was bound, its own window with the overlap
/// copied.
template <class T>
void deliver(const Image<T>& result, Image<T>& output) {
    if (output.bound()) {
        pelCopy(result, output);
    } else {
        output = result;
    }
}

/// Buffer to buffer, two different buffers.
inline Spectrum inverse(Spectrum& source, bool inPlace) {
    const bool computed = source.inverseComputed;
    Spectrum destination;
    if (inPlace || computed) {
        if (!computed) {
            inverseKernel(source);
        }
        destination = copyOf(source);
        source.inverseComputed = true;
    } else {
        destination = copyOf(source);
        inverseKernel(destination);
    }
    destination.inverseComputed = false;
    destination.masked = 0;
    return destination;
}

} // namespace oracle

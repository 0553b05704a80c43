/// \file
/// Images once more, as plain arrays at offsets of any size, for comparison with the library's.
#pragma once

#include "tests/oracle/fft_kernels.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace oracle {

/// The pels (x, y) with X <= x < X + width, Y <= y < Y + height, row by row without gaps. 0 x 0: not bound.
template <class T>
struct Image {
    long width = 0;
    long height = 0;
    Wide X = 0;
    Wide Y = 0;
    std::vector<T> pels;

    bool bound() const { return width > 0; }
    T& at(long column, long row) { return pels[static_cast<std::size_t>(row * width + column)]; }
    const T& at(long column, long row) const { return pels[static_cast<std::size_t>(row * width + column)]; }
};

/// A new image of zeros at (0, 0); a size below 1 gives none.
template <class T>
Image<T> newImage(long width, long height) {
    Image<T> image;
    if (width >= 1 && height >= 1) {
        image.width = width;
        image.height = height;
        image.pels.assign(static_cast<std::size_t>(width * height), T(0));
    }
    return image;
}

/// Copies the pels whose coordinates lie in both.
template <class T>
void pelCopy(const Image<T>& source, Image<T>& destination) {
    for (long row = 0; row < destination.height; ++row) {
        for (long column = 0; column < destination.width; ++column) {
            const Wide x = destination.X + column - source.X;
            const Wide y = destination.Y + row - source.Y;
            if (x >= 0 && x < source.width && y >= 0 && y < source.height) {
                destination.at(column, row) = source.at(static_cast<long>(x), static_cast<long>(y));
            }
        }
    }
}

/// Copies the source and its three shifted copies.
template <class T>
void periodicCopy(const Image<T>& source, Image<T>& destination, bool wrap) {
    Wide W = std::max(source.width, destination.width);
    Wide H = std::max(source.height, destination.height);
    if (wrap) {
        W = -W;
        H = -H;
    }
    const Wide ox = source.X;
    const Wide oy = source.Y;
    Image<T> first = source;
    Image<T> second = source;
    Image<T> third = source;
    Image<T> fourth = source;
    first.X = ox - W;
    first.Y = oy - H;
    second.X = ox;
    second.Y = oy - H;
    third.X = ox - W;
    third.Y = oy;
    fourth.X = ox;
    fourth.Y = oy;
    pelCopy(first, destination);
    pelCopy(second, destination);
    pelCopy(third, destination);
    pelCopy(fourth, destination);
}

} // namespace oracle

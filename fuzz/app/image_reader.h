/// \file
/// What the targets of the image file readers share.
#pragma once

#include "app/errors.h"
#include "app/image.h"
#include "fuzz/support/target.h"

#include <iosfwd>
#include <sstream>
#include <string>
#include <vector>

namespace fuzz {

using Read = app::Image (*)(std::istream& file);
using Encode = std::vector<unsigned char> (*)(const app::Image& image);

/// The image, if the bytes are one.
inline bool readImage(Read read, const std::string& bytes, app::Image& image) {
    std::istringstream file(bytes);
    try {
        return attempt([&] { image = read(file); }) == Outcome::done;
    } catch (const app::UnreadableError& error) {
        require(memoryIsScarce() || *error.what() != '\0', "an error has a text");
        return false;
    }
}

inline bool encodeImage(Encode encode, const app::Image& image, std::string& bytes) {
    std::vector<unsigned char> encoded;
    try {
        if (attempt([&] { encoded = encode(image); }) != Outcome::done) {
            return false;
        }
    } catch (const app::WriteError&) { // How libraries in C say that there is no memory.
        return false;
    }
    bytes.assign(encoded.begin(), encoded.end());
    return true;
}

/// Any bytes are an image or refused with an UnreadableError; an image that was read can be written and read
/// again, to the same pels.
inline void checkReader(Read read, Encode encode, const std::string& bytes) {
    app::Image image;
    std::string written;
    app::Image back;
    if (!readImage(read, bytes, image) || !encodeImage(encode, image, written) ||
        !readImage(read, written, back)) {
        return;
    }
    require(back.depth == image.depth, "the same depth");
    require(back.pels.width() == image.pels.width() && back.pels.height() == image.pels.height(),
            "the same size");
    for (long y = 0; y < image.pels.height(); ++y) {
        for (long x = 0; x < image.pels.width(); ++x) {
            const double before = image.pels.pointToRow(y)[x];
            const double after = back.pels.pointToRow(y)[x];
            require(!(before < after) && !(before > after), "the same pels");
        }
    }
}

} // namespace fuzz

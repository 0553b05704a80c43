/// \file
/// Images that tests make and how they compare them.
#pragma once

#include "app/errors.h"
#include "app/image.h"
#include "tests/app/files.h"
#include "tests/app/refusal.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

/// An image whose pels are `at(x, y)`.
template <class At>
app::Image makeImage(long width, long height, app::Depth depth, const At& at) {
    app::Image image;
    image.pels = app::newPels(static_cast<unsigned long>(width), static_cast<unsigned long>(height));
    image.depth = depth;
    for (long y = 0; y < height; ++y) {
        for (long x = 0; x < width; ++x) {
            image.pels.pointToRow(y)[x] = static_cast<double>(at(x, y));
        }
    }
    return image;
}

/// A pattern that uses the whole range of an integer depth, and signs and fractions of the others.
inline app::Image patternImage(long width, long height, app::Depth depth) {
    const auto spread = [](long x, long y) { return x * 7919 + y * 104729 + x * y * 31; };
    switch (depth) {
    case app::Depth::bits8:
        return makeImage(width, height, depth, [=](long x, long y) { return spread(x, y) % 256; });
    case app::Depth::bits16:
        return makeImage(width, height, depth, [=](long x, long y) { return spread(x, y) % 65536; });
    default:
        return makeImage(width, height, depth, [=](long x, long y) {
            return static_cast<double>(spread(x, y) % 4096 - 2048) / 16;
        });
    }
}

inline std::vector<double> pelsOf(const vxPelBuffer_const<double>& pels) {
    std::vector<double> values;
    for (long y = 0; y < pels.height(); ++y) {
        const double* row = pels.pointToRow(pels.offset().y() + y);
        values.insert(values.end(), row, row + pels.width());
    }
    return values;
}
inline std::vector<double> pelsOf(const app::Image& image) {
    return pelsOf(image.pels);
}

using Reader = app::Image (*)(std::istream&);

inline app::Image readBack(Reader read, const Bytes& bytes) {
    std::istringstream file(std::string(bytes.begin(), bytes.end()));
    return read(file);
}

/// The message that reading ends with; empty when it succeeds.
inline std::string refusal(Reader read, const Bytes& bytes) {
    return messageOf<app::UnreadableError>([&] { readBack(read, bytes); });
}

/// Every shorter file is refused, but for the last `spare` bytes, which need not be there.
inline void expectEveryTruncationRefused(Reader read, const Bytes& bytes, std::size_t spare = 0) {
    for (std::size_t length = 0; length + spare < bytes.size(); ++length) {
        const Bytes cut(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(length));
        EXPECT_NE(refusal(read, cut), "") << "of " << bytes.size() << " bytes " << length;
    }
}

/// Every file with one byte changed is read or refused in one line; nothing else comes out. Some must be
/// refused.
inline void expectEveryFlipReadOrRefused(Reader read, const Bytes& bytes) {
    long refused = 0;
    for (std::size_t at = 0; at < bytes.size(); ++at) {
        for (const int flip : {0x01, 0x02, 0x10, 0x40, 0x80, 0xff}) {
            Bytes changed = bytes;
            changed[at] = static_cast<unsigned char>(changed[at] ^ flip);
            const std::string message = refusal(read, changed);
            EXPECT_EQ(message.find('\n'), std::string::npos);
            refused += message.empty() ? 0 : 1;
        }
    }
    EXPECT_GT(refused, 0);
}

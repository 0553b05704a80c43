#include "app/pgm_file.h"

#include "app/errors.h"
#include "kavstd/attention.h"

#include <cmath>
#include <istream>

namespace app {
namespace {

constexpr int endOfFile = std::istream::traits_type::eof();

bool isSpace(int c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

bool isDigit(int c) {
    return c >= '0' && c <= '9';
}

// A comment runs from # to the end of its line and counts as the white space that ends it.
int getOutsideComments(std::istream& file) {
    int c = file.get();
    if (c != '#') {
        return c;
    }
    while (c != '\n' && c != '\r' && c != endOfFile) {
        c = file.get();
    }
    return c;
}

// A decimal number and the one character of white space behind it (or the end of the file).
unsigned long readNumber(std::istream& file, const char* what, unsigned long largest) {
    int c = getOutsideComments(file);
    while (isSpace(c)) {
        c = getOutsideComments(file);
    }
    if (c == endOfFile) {
        throw UnreadableError(std::string("PGM: the file ends before the ") + what);
    }
    unsigned long value = 0;
    for (; isDigit(c); c = getOutsideComments(file)) {
        value = value * 10 + static_cast<unsigned long>(c - '0');
        if (value > largest) {
            throw UnreadableError(std::string("PGM: the ") + what + " is above " + std::to_string(largest));
        }
    }
    if (!isSpace(c) && c != endOfFile) {
        throw UnreadableError(std::string("PGM: the ") + what + " is not a number");
    }
    return value;
}

// Rows of big-endian samples of one or two bytes.
void readRawRow(std::istream& file, std::vector<unsigned char>& bytes, std::size_t sampleBytes, double* row) {
    if (!file.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()))) {
        throw UnreadableError("PGM: the file ends within the pels");
    }
    for (std::size_t i = 0; i < bytes.size() / sampleBytes; ++i) {
        row[i] = sampleBytes == 1 ? bytes[i] : bytes[2 * i] * 256 + bytes[2 * i + 1];
    }
}

void readPlainRow(std::istream& file, long width, double* row) {
    for (long x = 0; x < width; ++x) {
        row[x] = static_cast<double>(readNumber(file, "pel", 65535));
    }
}

void scaleRow(double* row, long width, double from, double to) {
    for (long x = 0; x < width; ++x) {
        if (row[x] > from) {
            throw UnreadableError("PGM: a pel is above the maximal value");
        }
        if (from < to) {
            row[x] = std::floor(row[x] * to / from + 0.5);
        }
    }
}

bool hasMore(std::istream& file) {
    int c = getOutsideComments(file);
    while (isSpace(c)) {
        c = getOutsideComments(file);
    }
    return c != endOfFile;
}

} // namespace

Image readPgm(std::istream& file) {
    const int magic = file.get();
    const int kind = file.get();
    if (magic != 'P' || (kind != '2' && kind != '5') || isDigit(file.peek())) {
        throw UnreadableError("not a PGM file");
    }
    constexpr unsigned long anySize = 0xffffffff; // Sizes above the limit are refused with the size.
    const unsigned long width = readNumber(file, "width", anySize);
    const unsigned long height = readNumber(file, "height", anySize);
    const unsigned long maximum = readNumber(file, "maximal value", 65535);
    if (maximum == 0) {
        throw UnreadableError("PGM: the maximal value is 0");
    }

    Image image;
    image.format = "PGM";
    image.pels = newPels(width, height);
    image.depth = maximum < 256 ? Depth::bits8 : Depth::bits16;
    const double white = traits(image.depth).maximum;
    const std::size_t sampleBytes = maximum < 256 ? 1 : 2;
    std::vector<unsigned char> bytes(width * sampleBytes);
    for (long y = 0; y < image.pels.height(); ++y) {
        vxAttention::check();
        double* row = image.pels.pointToRow(y);
        if (kind == '5') {
            readRawRow(file, bytes, sampleBytes, row);
        } else {
            readPlainRow(file, image.pels.width(), row);
        }
        scaleRow(row, image.pels.width(), static_cast<double>(maximum), white);
    }
    if (static_cast<double>(maximum) < white) {
        image.notes.push_back("pels are scaled from 0 .. " + std::to_string(maximum) + " to 0 .. " +
                              std::to_string(static_cast<long>(white)));
    }
    if (hasMore(file)) {
        image.notes.emplace_back("what follows the first image is left out");
    }
    return image;
}

std::vector<unsigned char> encodePgm(const Image& image) {
    const vxPelBuffer<double>& pels = image.pels;
    const std::string header = "P5\n" + std::to_string(pels.width()) + " " + std::to_string(pels.height()) +
                               "\n" + std::to_string(static_cast<long>(traits(image.depth).maximum)) + "\n";
    std::vector<unsigned char> bytes(header.begin(), header.end());
    for (long y = 0; y < pels.height(); ++y) {
        vxAttention::check();
        const double* row = pels.pointToRow(y);
        for (long x = 0; x < pels.width(); ++x) {
            const unsigned long value = quantize(row[x], image.depth);
            if (image.depth == Depth::bits16) {
                bytes.push_back(static_cast<unsigned char>(value >> 8));
            }
            bytes.push_back(static_cast<unsigned char>(value & 255));
        }
    }
    return bytes;
}

} // namespace app

// The tutorial's program, as it would run on the line: an image of any size, a filter from a file, the result
// in grey levels around mid-grey.
//
//     inspect                              on a picture and with a filter of its own
//     inspect IN.pgm FILTER.kav OUT.pgm    what "kavfilt filter IN.pgm -o OUT.pgm --filter FILTER.kav --range
//     clip" does
#include "example.h"

#include <filt/fft.h>
#include <filt/freqfilt.h>
#include <kavstd/archive.h>

#include <algorithm>
#include <iostream>
#include <memory>

namespace {
long powerOfTwo(long size) {
    long power = 1;
    while (power < size) {
        power *= 2;
    }
    return power;
}

// [mirror_padding]
// The transform treats an image as if it were repeated without end. Filled up to a power of two with zeros,
// it would have steps at its borders, to which filters answer. So the gap is filled with the image's own
// reflections: the one at its end fades into the one at the start of the next repeat.
void extend(double* line, long step, long count, long period) {
    const long gap = period - count;
    for (long i = 0; i < gap; ++i) {
        const double afterEnd = line[(count - 1 - i) * step];
        const double beforeStart = line[(gap - 1 - i) * step];
        const double fade = static_cast<double>(i + 1) / static_cast<double>(gap + 1);
        line[(count + i) * step] = afterEnd + (beforeStart - afterEnd) * fade;
    }
}

vxPelBuffer<double> mirrorPadded(const vxPelBuffer_const<unsigned char>& image) {
    const long width = powerOfTwo(image.width());
    const long height = powerOfTwo(image.height());
    vxPelBuffer<double> padded(width, height);
    for (long y = 0; y < image.height(); ++y) {
        std::copy_n(image.pointToRow(y), image.width(), padded.pointToRow(y));
        extend(padded.pointToRow(y), 1, image.width(), width);
    }
    for (long x = 0; x < width; ++x) {
        extend(padded.pointToOffset() + x, padded.rowUpdate(), image.height(), height);
    }
    return padded;
}
// [mirror_padding]

// [load_filter]
std::unique_ptr<vxFrequencyFilter> loadFilter(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        throw std::runtime_error("cannot read " + path);
    }
    vxInputArchive archive(file); // Throws for what is no archive.
    vxPersistent* object = nullptr;
    archive || object;
    std::unique_ptr<vxPersistent> owner(object);
    auto* const filter = dynamic_cast<vxFrequencyFilter*>(object);
    if (filter == nullptr) {
        throw std::runtime_error(path + " holds no filter");
    }
    static_cast<void>(owner.release());
    return std::unique_ptr<vxFrequencyFilter>(filter);
}
// [load_filter]

// [inspect_image]
// What the filter leaves, the size of the image, around zero.
vxPelBuffer<double> filtered(const vxPelBuffer_const<unsigned char>& image, const vxFrequencyFilter& filter,
                             vxFrequencyBuffer& spectrum) {
    vfForwardFFT<double>(mirrorPadded(image), spectrum);
    filter.apply(spectrum);
    vxPelBuffer<double> real;
    vxPelBuffer<double> imaginary;
    vfInverseFFT(spectrum, real, imaginary, true);
    return real.window(0, 0, image.width(), image.height()); // The padding stays behind, unseen.
}

// One grey level for each of the result's, zero as mid-grey, cut off at black and white.
vxPelBuffer<unsigned char> aroundMidGrey(const vxPelBuffer_const<double>& image) {
    vxPelBuffer<unsigned char> grey(image.width(), image.height());
    for (long y = 0; y < image.height(); ++y) {
        for (long x = 0; x < image.width(); ++x) {
            const double level = std::clamp(image.pointToRow(y)[x] + 128.0, 0.0, 255.0);
            grey.pointToRow(y)[x] = static_cast<unsigned char>(std::lround(level));
        }
    }
    return grey;
}
// [inspect_image]

void runOnFiles(const char* in, const char* filter, const char* out) {
    vxFrequencyBuffer spectrum;
    const vxPelBuffer<double> result = filtered(example::readPgm(in), *loadFilter(filter), spectrum);
    const vxPair<long> place = example::darkest<double>(result);
    std::cout << "darkest at (" << place.x() << ", " << place.y() << "), "
              << result.pointToRow(place.y())[place.x()] << " grey levels\n";
    example::writePgm(out, aroundMidGrey(result));
}

void runAlone() {
    const vxPair<long> stain(20, 150); // Near the border, where zeros would do harm.
    const vxPelBuffer<unsigned char> image = example::fabric(300, 200, 2, stain);
    const vxFrequencyFilterBandPass filter(0.01, 0.0, 0.03, {512, 256}, 1);
    vxFrequencyBuffer spectrum;
    const vxPelBuffer<double> result = filtered(image, filter, spectrum);
    example::require(result.width() == 300 && result.height() == 200, "the result has the image's size");
    const vxPair<long> found = example::darkest<double>(result);
    std::cout << "the stain is at (" << found.x() << ", " << found.y() << ")\n";
    example::require(example::isWithin(3, found, stain), "mirrored, the stain is the darkest place");

    vfForwardFFT<unsigned char>(image, spectrum); // Pads with zeros.
    filter.apply(spectrum);
    vxPelBuffer<double> real;
    vxPelBuffer<double> imaginary;
    vfInverseFFT(spectrum, real, imaginary, true);
    example::require(!example::isWithin(3, example::darkest<double>(real), stain),
                     "with zeros the border is darker");
}
} // namespace

int main(int argc, char** argv) {
    try {
        if (argc == 4) {
            runOnFiles(argv[1], argv[2], argv[3]);
        } else {
            runAlone();
        }
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "inspect: " << error.what() << '\n';
        return 1;
    }
}

// Holds the library to docs/memory.md: each line of its table is an operation here, its formulas are
// evaluated.
#include "filt/fft.h"
#include "filt/fft/kernels/instruction_sets.h"
#include "filt/freqfilt.h"
#include "filt/internal/buffer_access.h"
#include "tests/support/counted_allocation.h"
#include "tests/support/formula.h"

#include <gtest/gtest.h>

#include <concepts>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace {

using Access = vx_FrequencyBufferAccess;

constexpr long smallObjects = 1024; // As the page says.

/// The cells of a table's line, without the back quotes.
std::vector<std::string> cellsOf(const std::string& line) {
    std::vector<std::string> cells;
    std::string cell;
    for (const char c : line.substr(1)) {
        if (c == '|') {
            const std::size_t begin = cell.find_first_not_of(' ');
            cells.push_back(
                begin == std::string::npos ? "" : cell.substr(begin, cell.find_last_not_of(' ') + 1 - begin));
            cell.clear();
        } else if (c != '`') {
            cell += c;
        }
    }
    return cells;
}

struct Line {
    std::string operation;
    std::string total;
    std::string peak;
    std::string remaining;
};

struct Page {
    std::vector<std::pair<std::string, std::string>> definitions;
    std::vector<Line> lines;
};

Page readPage() {
    Page page;
    std::ifstream file(KAV_SOURCE_DIR "/docs/memory.md");
    std::string line;
    while (std::getline(file, line)) {
        if (!line.starts_with("| `")) {
            continue;
        }
        const std::vector<std::string> cells = cellsOf(line);
        if (cells.size() == 3) {
            page.definitions.emplace_back(cells[0], cells[1]);
        } else if (cells.size() == 4) {
            page.lines.push_back({cells[0], cells[1], cells[2], cells[3]});
        }
    }
    return page;
}

/// What the operations work on. Everything is made before the watch begins.
template <vx_Pel T>
struct Scene {
    explicit Scene(long width, long height)
        : image(width, height), imaginary(width, height), doubles(width, height), sized(width, height) {
        for (long y = 0; y < height; ++y) {
            for (long x = 0; x < width; ++x) {
                image.pointToRow(y)[x] = static_cast<T>((x * 7 + y * 13) % 200);
            }
        }
        vfForwardFFT(image, spectrum);
        vfForwardFFT(image, sizedSpectrum);
        vxPelBuffer<T> moved = image;
        moved.offset(3, 5);
        vfForwardFFT(moved, offsetSpectrum);
        band = vxFrequencyFilterBandPass(0.02, 0.01, 0.2, size(), 0);
        gabor = vxFrequencyFilterGabor({0.03, 0.02}, {0.0, 0.0}, vxRadian(0.3), 0.2, size(), 0);
        reject = vxFrequencyFilterBandReject(0.02, 0.01, 0.2, size(), 2);
        kernel = vxFrequencyFilterImage(spectrum);
        consumed = spectrum;
        vxPelBuffer<T> unused;
        vfInverseFFT(consumed, unused, false, true);
        vxOutputArchive archive(archived);
        archive || spectrum;
        archived.seekp(0);
    }

    [[nodiscard]] vxPair<long> size() const { return Access::size(spectrum); }

    vxPelBuffer<T> image;
    vxPelBuffer<T> imaginary;
    vxPelBuffer<double> doubles;
    vxPelBuffer<T> sized;
    vxFrequencyBuffer spectrum;
    vxFrequencyBuffer sizedSpectrum;
    vxFrequencyBuffer offsetSpectrum;
    vxFrequencyBuffer newSpectrum;
    vxFrequencyBuffer consumed;
    std::optional<vxFrequencyBuffer> made;
    std::stringstream archived; // Holds the spectrum, and is large enough to be overwritten with it.
    vxPelBuffer<T> newImage;
    vxPelBuffer<double> newDoubles;
    vxPelBuffer<double> newImaginary;
    vxPelBuffer<unsigned char> newBytes;
    vxFrequencyFilterBandPass band;
    vxFrequencyFilterBandPass newBand;
    vxFrequencyFilterBandReject reject;
    vxFrequencyFilterGabor gabor;
    vxFrequencyFilterGabor newGabor;
    vxFrequencyFilterImage kernel;
    vxFrequencyFilterImage newKernel;
};

template <vx_Pel T>
struct Operation {
    const char* name;
    void (*run)(Scene<T>& scene);
    bool integersOnly = false; // Doubles are never normalised.
};

template <vx_Pel T>
void moveImages(Scene<T>& scene) {
    scene.image.offset(3, 5);
    scene.imaginary.offset(3, 5);
}

template <vx_Pel T>
const Operation<T> operations[] = {
    {"forward, new spectrum", [](Scene<T>& s) { vfForwardFFT(s.image, s.newSpectrum); }},
    {"forward, sized spectrum", [](Scene<T>& s) { vfForwardFFT(s.image, s.sizedSpectrum); }},
    {"forward at an offset, sized spectrum",
     [](Scene<T>& s) {
         moveImages(s);
         vfForwardFFT(s.image, s.sizedSpectrum);
     }},
    {"forward of two images, sized spectrum",
     [](Scene<T>& s) { vfForwardFFT(s.image, s.imaginary, s.sizedSpectrum); }},
    {"forward of two images at an offset, sized spectrum",
     [](Scene<T>& s) {
         moveImages(s);
         vfForwardFFT(s.image, s.imaginary, s.sizedSpectrum);
     }},
    {"forward of a spectrum, sized spectrum", [](Scene<T>& s) { vfForwardFFT(s.spectrum, s.sizedSpectrum); }},
    {"inverse, new image", [](Scene<T>& s) { vfInverseFFT(s.spectrum, s.newImage, false, false); }},
    {"inverse, sized image", [](Scene<T>& s) { vfInverseFFT(s.spectrum, s.sized, false, false); }},
    {"inverse in place, new image", [](Scene<T>& s) { vfInverseFFT(s.spectrum, s.newImage, false, true); }},
    {"inverse in place, sized image", [](Scene<T>& s) { vfInverseFFT(s.spectrum, s.sized, false, true); }},
    {"inverse in place at an offset, new image",
     [](Scene<T>& s) { vfInverseFFT(s.offsetSpectrum, s.newImage, false, true); }},
    {"inverse normalised, new image of 8 or 16 bits",
     [](Scene<T>& s) { vfInverseFFT(s.spectrum, s.newImage, true, false); }, true},
    {"inverse in place with angles, new images",
     [](Scene<T>& s) { vfInverseFFTAngle(s.spectrum, s.newImage, s.newDoubles, false, true); }},
    {"inverse in place with quadrants, new images",
     [](Scene<T>& s) { vfInverseFFTQuadrant(s.spectrum, s.newImage, s.newBytes, false, true); }},
    {"inverse to real and imaginary image, new images",
     [](Scene<T>& s) { vfInverseFFT(s.spectrum, s.newDoubles, s.newImaginary, false); }},
    {"inverse in place to real and imaginary image, new images",
     [](Scene<T>& s) { vfInverseFFT(s.spectrum, s.newDoubles, s.newImaginary, true); }},
    {"inverse of a consumed spectrum, new image",
     [](Scene<T>& s) { vfInverseFFT(s.consumed, s.newImage, false, true); }},
    {"angle image of a consumed spectrum, new",
     [](Scene<T>& s) { vf_ComputeAngleImage(s.consumed, s.newDoubles); }},
    {"inverse to a spectrum, sized", [](Scene<T>& s) { vfInverseFFT(s.spectrum, s.sizedSpectrum, false); }},
    {"inverse in place to a spectrum, sized",
     [](Scene<T>& s) { vfInverseFFT(s.spectrum, s.sizedSpectrum, true); }},
    {"copy a spectrum, new", [](Scene<T>& s) { s.newSpectrum = s.spectrum; }},
    {"copy a spectrum, sized", [](Scene<T>& s) { s.sizedSpectrum = s.spectrum; }},
    {"crop a spectrum to half its width and height",
     [](Scene<T>& s) { s.made.emplace(s.spectrum, s.size().x() / 2, s.size().y() / 2); }},
    {"make a spectrum of two images", [](Scene<T>& s) { s.made.emplace(s.doubles, s.doubles); }},
    {"store a spectrum",
     [](Scene<T>& s) {
         vxOutputArchive archive(s.archived);
         archive || s.spectrum;
     }},
    {"load a spectrum",
     [](Scene<T>& s) {
         vxInputArchive archive(s.archived);
         archive || s.newSpectrum;
     }},
    {"multiply, add or subtract two spectra",
     [](Scene<T>& s) {
         vfFrequencyMultiply(s.spectrum, s.sizedSpectrum);
         vfFrequencyAdd(s.spectrum, s.sizedSpectrum);
         vfFrequencySubtract(s.spectrum, s.sizedSpectrum);
     }},
    {"multiply two spectra, new spectrum",
     [](Scene<T>& s) { vfFrequencyMultiply(s.spectrum, s.sizedSpectrum, s.newSpectrum); }},
    {"conjugate a spectrum", [](Scene<T>& s) { vfFrequencyConjugate(s.spectrum); }},
    {"view of a spectrum", [](Scene<T>& s) { s.newDoubles = s.spectrum.getMagnitudeImage(true); }},
    {"map an image",
     [](Scene<T>& s) {
         s.newBytes = vfFrequencyMapImage(s.doubles, vxFrequencyDefs::eLogarithmic, 0.0, 0.0);
     }},
    {"make a band filter", [](Scene<T>& s) { s.newBand.set(0.02, 0.01, 0.2, s.size(), 0); }},
    {"apply a band filter in place", [](Scene<T>& s) { s.band.apply(s.spectrum); }},
    {"apply a band filter, new spectrum", [](Scene<T>& s) { s.band.apply(s.spectrum, s.newSpectrum); }},
    {"apply a band reject filter with a square of radius 2 in place",
     [](Scene<T>& s) { s.reject.apply(s.spectrum); }},
    {"copy a band filter", [](Scene<T>& s) { s.newBand = s.band; }},
    {"make a Gabor filter",
     [](Scene<T>& s) {
         s.newGabor.set({0.03, 0.02}, {0.0, 0.0}, vxRadian(0.3), 0.2, s.size(), 0);
     }},
    {"apply a Gabor filter in place", [](Scene<T>& s) { s.gabor.apply(s.spectrum); }},
    {"apply a Gabor filter, new spectrum", [](Scene<T>& s) { s.gabor.apply(s.spectrum, s.newSpectrum); }},
    {"make an image filter", [](Scene<T>& s) { s.newKernel.setImage(s.spectrum); }},
    {"apply an image filter in place", [](Scene<T>& s) { s.kernel.apply(s.spectrum); }},
    {"apply an image filter, new spectrum", [](Scene<T>& s) { s.kernel.apply(s.spectrum, s.newSpectrum); }},
};

/// The values of the page's names for a scene.
template <vx_Pel T>
formula::Values valuesOf(const Page& page, const Scene<T>& scene) {
    const vxPair<long> size = scene.size();
    formula::Values values{{"w", scene.image.width()},
                           {"h", scene.image.height()},
                           {"W", size.x()},
                           {"H", size.y()},
                           {"p", static_cast<long>(sizeof(T))},
                           {"L", static_cast<long>(vf_KernelsFor(size).lanes)},
                           {"S", scene.band.supportWidth()},
                           {"A", scene.gabor.supportWidth()},
                           {"B", scene.gabor.supportHeight()}};
    for (const auto& [name, text] : page.definitions) {
        values[name] = formula::valueOf(text, values);
    }
    return values;
}

void expectBytes(const char* which, std::size_t measured, const std::string& text,
                 const formula::Values& values) {
    const long expected = formula::valueOf(text, values);
    EXPECT_GE(static_cast<long>(measured), expected) << which << ": " << text;
    EXPECT_LE(static_cast<long>(measured), expected + smallObjects) << which << ": " << text;
}

template <vx_Pel T>
void holdTo(const Page& page, const Line& line, const Operation<T>& operation, long width, long height) {
    Scene<T> scene(width, height);
    const formula::Values values = valuesOf(page, scene);
    std::size_t total = 0;
    std::size_t peak = 0;
    std::size_t remaining = 0;
    {
        const counted_allocation::Watch watch;
        operation.run(scene);
        total = watch.total();
        peak = watch.peak();
        remaining = watch.remaining();
    }
    SCOPED_TRACE(std::string(operation.name) + ", " + std::to_string(width) + " x " + std::to_string(height) +
                 ", pels of " + std::to_string(sizeof(T)));
    expectBytes("altogether", total, line.total, values);
    expectBytes("at once", peak, line.peak, values);
    expectBytes("remains", remaining, line.remaining, values);
}

template <class T>
class Memory : public testing::Test {};
using PelTypes = testing::Types<unsigned char, unsigned short, double>;
TYPED_TEST_SUITE(Memory, PelTypes);

TYPED_TEST(Memory, IsAllocatedAsThePageSays) {
    using T = TypeParam;
    const Page page = readPage();
    ASSERT_EQ(page.lines.size(), std::size(operations<T>)) << "a line without an operation, or the reverse";
    constexpr vxPair<long> sizes[] = {{64, 64},   {100, 60}, {37, 200}, {256, 128},
                                      {128, 512}, {33, 17},  {3, 5},    {500, 500}};
    for (std::size_t i = 0; i < page.lines.size(); ++i) {
        ASSERT_EQ(page.lines[i].operation, operations<T>[i].name);
        if (operations<T>[i].integersOnly && std::same_as<T, double>) {
            continue;
        }
        for (const vxPair<long>& size : sizes) {
            holdTo(page, page.lines[i], operations<T>[i], size.x(), size.y());
        }
    }
}

TEST(MemoryFormula, IsEvaluated) {
    const formula::Values values{{"a", 7}, {"bc", 2}};
    EXPECT_EQ(formula::valueOf("1 + a * bc - (3 - 1) * 2", values), 11);
    EXPECT_EQ(formula::valueOf("max(a / bc, 2) + up(a, 4)", values), 11);
    EXPECT_EQ(formula::valueOf("up(8, 4) - max(1, 9)", values), -1);
    EXPECT_THROW(formula::valueOf("1 +", values), std::invalid_argument);
    EXPECT_THROW(formula::valueOf("1 1", values), std::invalid_argument);
    EXPECT_THROW(formula::valueOf("least(1, 2)", values), std::invalid_argument);
    EXPECT_THROW(formula::valueOf("max(1", values), std::invalid_argument);
    EXPECT_THROW(formula::valueOf("unknown", values), std::out_of_range);
}

} // namespace

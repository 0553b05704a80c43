// A program that keeps something small of every image, as inspections are recorded, must not grow but by
// that.
#include "filt/fft.h"
#include "filt/freqfilt.h"
#include "tests/support/sanitizers.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <fstream>
#include <memory>
#include <string>
#include <vector>

namespace {

long residentBytes() {
    long pages = 0;
    long resident = 0;
    std::ifstream("/proc/self/statm") >> pages >> resident;
    return resident * sysconf(_SC_PAGESIZE);
}

class Inspections {
public:
    void run(int images) {
        for (int i = 0; i < images; ++i) {
            vxPelBuffer<unsigned char> image(size, size);
            image.pointToRow(i % size)[i % size] = 200;
            vxFrequencyBuffer spectrum;
            vfForwardFFT(image, spectrum);
            const vxPelBuffer<double> view = spectrum.getMagnitudeImage(true);
            const vxFrequencyFilterBandPass filter(0.02, 0.01, 0.2, {size, size}, 0);
            filter.apply(spectrum);
            vxPelBuffer<unsigned char> filtered;
            vfInverseFFT(spectrum, filtered, false, true);
            const double level = view.pointToRow(0)[0] + filtered.pointToRow(0)[0];
            records_.push_back(std::make_unique<std::string>(recordBytes, level > 0.0 ? 'y' : 'n'));
        }
    }
    static constexpr int recordBytes = 100;

private:
    static constexpr int size = 256;
    std::vector<std::unique_ptr<std::string>> records_;
};

TEST(MemoryGrowth, IsThatOfTheRecords) {
    if (support::sanitizerKeepsMemory) {
        GTEST_SKIP() << "a sanitizer keeps freed memory for a while";
    }
    constexpr int images = 500;
    constexpr long imageBytes = 256L * 256L;
    Inspections inspections;
    inspections.run(images);
    const long warm = residentBytes();
    inspections.run(images);
    EXPECT_LT(residentBytes() - warm, 2L * images * Inspections::recordBytes + 4 * imageBytes);
}

} // namespace

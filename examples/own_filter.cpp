// A filter class of one's own: a Butterworth low-pass, which the library does not have. It is applied,
// copied, archived and re-created by name like the library's own.
#include "example.h"

#include <filt/fft.h>
#include <filt/freqfilt.h>
#include <kavstd/archive.h>

#include <cmath>
#include <iostream>
#include <memory>
#include <sstream>
#include <vector>

// [own_filter_class]
/// Gain 1 / sqrt(1 + (f / cutoff)^(2 order)) at f cycles per pixel (S. Butterworth, On the theory of filter
/// amplifiers, 1930).
class ButterworthLowPass : public vxFrequencyFilter {
public:
    ButterworthLowPass() = default; // Not built: for the registry.
    ButterworthLowPass(double cutoff, long order, const vxPair<long>& size);
    // The base has virtual bases, which the most derived class initialises. A copy is a new object to them.
    ButterworthLowPass(const ButterworthLowPass& other)
        : vxPersistent(), vxRepBase(), vxFrequencyFilter(other), size_(other.size_), gains_(other.gains_) {}
    ButterworthLowPass& operator=(const ButterworthLowPass&) = default;

    [[nodiscard]] vxFrequencyFilter* clone() const override { return new ButterworthLowPass(*this); }
    void apply(const vxFrequencyBuffer& in, vxFrequencyBuffer& out) const override;
    void apply(vxFrequencyBuffer& buffer) const override { apply(buffer, buffer); }

protected:
    void dispatchSerialize(vxArchive& archive) override;
    void serialize_(vxArchive& archive, unsigned char version) override;

private:
    static vxPersistent* make() { return new ButterworthLowPass; }
    static const vx_Instantiator sExemplar; // Enters the class into the registry of archives.

    vxPair<long> size_;
    std::vector<float> gains_; // Row by row in the spectrum's order.
};
// [own_filter_class]

const vx_Instantiator ButterworthLowPass::sExemplar(typeid(ButterworthLowPass), &make);

namespace {
// Index k of n samples is frequency k / n, in the upper half (k - n) / n: cycles per pixel.
double cyclesPerPixel(long k, long n) {
    return static_cast<double>(k <= n / 2 ? k : k - n) / static_cast<double>(n);
}
} // namespace

ButterworthLowPass::ButterworthLowPass(double cutoff, long order, const vxPair<long>& size) : size_(size) {
    if (!(cutoff > 0.0) || order < 1) {
        throw vxFrequencyDefs::InvalidArgument(
            "A Butterworth filter needs a cutoff above 0 and an order of 1 or more.");
    }
    for (long y = 0; y < size.y(); ++y) {
        for (long x = 0; x < size.x(); ++x) {
            const double f = std::hypot(cyclesPerPixel(x, size.x()), cyclesPerPixel(y, size.y()));
            gains_.push_back(static_cast<float>(
                1.0 / std::sqrt(1.0 + std::pow(f / cutoff, 2.0 * static_cast<double>(order)))));
        }
    }
    initialized_ = true;
}

// [own_filter_apply]
// All checks first: a refused call changes nothing.
void ButterworthLowPass::apply(const vxFrequencyBuffer& in, vxFrequencyBuffer& out) const {
    static_cast<void>(in.getReal(0, 0, false)); // Throws when `in` has no samples, or no spectrum any more.
    if (!initialized_) {
        throw vxFrequencyDefs::Uninitialized("The Butterworth filter has not been built.");
    }
    if (in.width() != size_.x() || in.height() != size_.y()) {
        throw vxFrequencyDefs::InvalidSize("The Butterworth filter was built for spectra of another size.");
    }
    if (&in != &out) {
        setAndAllocateFrequencyBuffer(out, in.width(), in.height());
    }
    maskFrequencyBuffer(out, false, 0, 0); // The inverse reads all rows.
    const float* from = getFrequencyBufferData(in);
    float* to = getFrequencyBufferData(out);
    for (const float gain : gains_) {
        *to++ = *from++ * gain; // Real part,
        *to++ = *from++ * gain; // imaginary part.
    }
}
// [own_filter_apply]

// [own_filter_archive]
// Once in each pass over an object: a version, what the base has, what this class has.
void ButterworthLowPass::dispatchSerialize(vxArchive& archive) {
    if (haveVisited(archive, this, sizeof(ButterworthLowPass))) {
        return;
    }
    unsigned char version = 0;
    archive || version;
    ButterworthLowPass::serialize_(archive, version);
    setVisited(archive, this, sizeof(ButterworthLowPass));
}

// A load reads into variables of its own, checks what it read, and only then changes the object.
void ButterworthLowPass::serialize_(vxArchive& archive, unsigned char version) {
    if (version != 0) {
        throw vxArchive::UnknownVersion("ButterworthLowPass", __LINE__);
    }
    vxFrequencyFilter::dispatchSerialize(archive);
    auto size = size_;
    auto gains = gains_;
    archive || size || gains;
    if (!archive.isLoading()) {
        return;
    }
    const bool fits = size.x() >= 0 && size.x() <= 2048 && size.y() >= 0 && size.y() <= 2048 &&
                      gains.size() == static_cast<std::size_t>(size.x() * size.y());
    if (!fits || initialized_ == gains.empty()) {
        archive.refuse("the gains of a Butterworth filter do not fit its size");
    }
    const auto before = std::make_shared<ButterworthLowPass>(*this);
    archive.onRollback([this, before] { // Should a later part of the archive fail.
        size_ = before->size_;
        gains_.swap(before->gains_);
    });
    size_ = size;
    gains_.swap(gains);
}
// [own_filter_archive]

namespace {
// The strength of a wave of that many cycles per pixel along x after the filter.
double strengthAfter(const vxFrequencyFilter& filter, double frequency) {
    vxPelBuffer<double> wave(128, 64);
    for (long y = 0; y < 64; ++y) {
        for (long x = 0; x < 128; ++x) {
            wave.pointToRow(y)[x] = std::cos(2.0 * example::pi * frequency * static_cast<double>(x));
        }
    }
    vxFrequencyBuffer spectrum;
    vfForwardFFT<double>(wave, spectrum);
    filter.apply(spectrum);
    vxPelBuffer<double> real;
    vxPelBuffer<double> imaginary;
    vfInverseFFT(static_cast<const vxFrequencyBuffer&>(spectrum), real, imaginary);
    return real.pointToRow(0)[0];
}

void run() {
    const ButterworthLowPass filter(0.125, 3, {128, 64});
    for (const double frequency : {0.0625, 0.125, 0.25}) {
        const double expected = 1.0 / std::sqrt(1.0 + std::pow(frequency / 0.125, 6.0));
        const double strength = strengthAfter(filter, frequency);
        std::cout << frequency << " cycles per pixel: " << strength << '\n';
        example::require(std::abs(strength - expected) < 1e-5,
                         "a wave comes out as strong as the formula says");
    }

    std::stringstream bytes;
    vxOutputArchive output(bytes);
    const std::unique_ptr<vxPersistent> saved(filter.clone());
    vxPersistent* object = saved.get();
    output || object;

    vxInputArchive input(bytes);
    vxPersistent* made = nullptr;
    input || made;
    const std::unique_ptr<vxPersistent> owner(made);
    const auto* const loaded = dynamic_cast<ButterworthLowPass*>(made);
    example::require(loaded != nullptr, "the registry makes the class again by its name");
    example::require(strengthAfter(*loaded, 0.125) == strengthAfter(filter, 0.125),
                     "and its gains are the same");

    vxFrequencyBuffer small(64, 64);
    try {
        loaded->apply(small);
    } catch (const vxFrequencyDefs::InvalidSize& error) {
        std::cout << "refused: " << error.what() << '\n';
        return;
    }
    example::require(false, "a spectrum of another size is refused");
}
} // namespace

int main() {
    try {
        run();
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "own_filter: " << error.what() << '\n';
        return 1;
    }
}

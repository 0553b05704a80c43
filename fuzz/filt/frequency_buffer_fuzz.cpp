// Any bytes are a frequency buffer or refused, and a refused load changes nothing. A buffer that was loaded
// may have any state; it stores to the bytes it came from, and every operation gets along with it.
#include "filt/fft.h"
#include "fuzz/filt/spectra.h"

#include <string>

namespace {

using fuzz::attempt;
using fuzz::Outcome;
using fuzz::require;

/// A buffer that a load must leave as it is when it fails.
vxFrequencyBuffer someBuffer() {
    vxFrequencyBuffer buffer(3, 2);
    buffer.put(1, 1, {2.5, -3.5}, false);
    return buffer;
}

void checkStored(vxFrequencyBuffer& buffer) {
    const std::string bytes = fuzz::stored(buffer);
    vxFrequencyBuffer again;
    if (fuzz::load(bytes, again) == Outcome::done) {
        require(again == buffer, "what was stored loads");
        require(fuzz::stored(again) == bytes, "the same bytes a second time");
    }
}

void useSamples(vxFrequencyBuffer& buffer, fuzz::Bytes& input) {
    const long x = input.number();
    const long y = input.number();
    const bool centered = input.flag();
    attempt([&] {
        const vxPair<double> before = buffer.get(x, y, centered);
        buffer.put(x, y, before, centered);
        buffer.putReal(x, y, buffer.getReal(x, y, centered), centered);
        buffer.putImaginary(x, y, buffer.getImaginary(x, y, centered), centered);
    });
    attempt([&] { static_cast<void>(buffer.getRealImage(centered)); });
    attempt([&] { static_cast<void>(buffer.getImaginaryImage(centered)); });
    attempt([&] { static_cast<void>(buffer.getMagnitudeImage(centered)); });
    attempt([&] { static_cast<void>(buffer.getPhaseImage(centered)); });
}

void useConst(const vxFrequencyBuffer& buffer, fuzz::Bytes& input) {
    const fuzz::SpectrumState before = fuzz::stateOf(buffer);
    const bool normalize = input.flag();
    vxPelBuffer<unsigned char> bytes;
    vxPelBuffer<unsigned short> words;
    vxPelBuffer<double> doubles;
    vxPelBuffer<double> others;
    vxFrequencyBuffer result;
    attempt([&] { vfInverseFFT(buffer, bytes, normalize); });
    attempt([&] { vfInverseFFTAngle(buffer, words, doubles, normalize); });
    attempt([&] { vfInverseFFTQuadrant(buffer, doubles, bytes, normalize); });
    attempt([&] { vfInverseFFT(buffer, doubles, others); });
    attempt([&] { vfInverseFFT(buffer, result); });
    fuzz::checkConsistent(result);
    attempt([&] { vfForwardFFT(buffer, result); });
    fuzz::checkConsistent(result);
    attempt([&] { vfFrequencyConjugate(buffer, result); });
    attempt([&] { vfFrequencyMultiply(buffer, buffer, result); });
    attempt([&] { vfFrequencySubtract(buffer, result, result); });
    fuzz::checkConsistent(result);
    attempt([&] { result = buffer; });
    fuzz::checkConsistent(result);
    const long width = 1L << input.below(12);
    const long height = 1L << input.below(12);
    attempt([&] { result = vxFrequencyBuffer(buffer, width, height); });
    fuzz::checkConsistent(result);
    require(fuzz::same(before, fuzz::stateOf(buffer)), "a const buffer stays as it is");
}

void useInPlace(vxFrequencyBuffer& buffer) {
    vxPelBuffer<double> real;
    vxPelBuffer<double> imaginary;
    if (attempt([&] { vfInverseFFT(buffer, real, imaginary, true); }) == Outcome::done) {
        require(vx_FrequencyBufferAccess::inverseComputed(buffer), "an inverse in place consumes the buffer");
    }
    fuzz::checkConsistent(buffer);
}

} // namespace

// How the rest is used comes first, so that what is loaded may end anywhere.
void fuzz::run(Bytes input) {
    Bytes use = input;
    input.any<std::uint64_t>();
    std::string bytes = "KAVARCH\n\1";
    bytes += input.text();
    vxFrequencyBuffer buffer = someBuffer();
    const SpectrumState before = stateOf(buffer);
    if (load(bytes, buffer) != Outcome::done) {
        require(same(before, stateOf(buffer)), "a failed load changes nothing");
        return;
    }
    checkConsistent(buffer);
    checkStored(buffer);
    useSamples(buffer, use);
    useConst(buffer, use);
    useInPlace(buffer);
}

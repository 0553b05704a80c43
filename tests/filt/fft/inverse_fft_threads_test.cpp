// A program of its own, without replaced allocation functions, so that the thread sanitizer can watch it.
#include "filt/fft/angle_quadrant.h"
#include "filt/fft/forward_fft.h"
#include "filt/fft/inverse_fft.h"
#include "tests/support/transform_support.h"

#include <array>
#include <thread>

using namespace transform_support;

namespace {

// What one thread makes of a shared buffer.
struct Results {
    vxPelBuffer<unsigned char> bytes;
    vxPelBuffer<unsigned short> words;
    vxPelBuffer<double> angle;
    vxPelBuffer<double> doubles;
    vxPelBuffer<unsigned char> quadrant;
    vxPelBuffer<double> real;
    vxPelBuffer<double> imaginary;
    vxFrequencyBuffer raw;
    vxFrequencyBuffer spectrum;

    void make(const vxFrequencyBuffer& shared) {
        vfInverseFFT(shared, bytes, true);
        vfInverseFFTAngle(shared, words, angle, false);
        vfInverseFFTQuadrant(shared, doubles, quadrant, false);
        vfInverseFFT(shared, real, imaginary);
        vfInverseFFT(shared, raw);
        vfForwardFFT(shared, spectrum);
    }
};

TEST(InverseFFTThreads, ReadOneConstBufferAtOnce) {
    Random random(23);
    for (const bool consumed : {false, true}) {
        oracle::Spectrum s = randomSpectrum(random, 60, 50);
        s.inverseComputed = consumed;
        s.offsetX = -7;
        vxFrequencyBuffer loaded;
        load({s, someXform(3), true}, loaded);
        const vxFrequencyBuffer& shared = loaded;
        std::array<Results, 4> results;
        std::vector<std::thread> threads;
        for (Results& mine : results) {
            threads.emplace_back([&] {
                for (int repeat = 0; repeat < 10; ++repeat) {
                    mine.make(shared);
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        oracle::Spectrum caller = s;
        const oracle::Spectrum working = oracle::workingSpectrum(caller, false);
        oracle::Spectrum source = s;
        const oracle::Spectrum raw = oracle::inverse(source, false);
        for (const Results& mine : results) {
            expectImage(oracle::magnitude<unsigned char>(1, working, true), mine.bytes);
            expectImage(oracle::magnitude<unsigned short>(2, working, false), mine.words);
            expectImage(oracle::angle(working), mine.angle);
            expectImage(oracle::magnitude<double>(6, working, false), mine.doubles);
            expectImage(oracle::quadrant(6, working), mine.quadrant);
            expectImage(oracle::part(0, working), mine.real);
            expectImage(oracle::part(1, working), mine.imaginary);
            expectState(raw, someXform(3), mine.raw);
            expectState(oracle::forward(s), someXform(3), mine.spectrum);
        }
        expectState(s, someXform(3), shared);
    }
}

} // namespace

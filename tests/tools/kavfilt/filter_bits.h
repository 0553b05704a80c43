/// \file
/// The bits of what a filter does, for this project's tests and for programs that they compile.
#pragma once

#include <filt/fft.h>

#include <bit>
#include <cstdint>

/// A spectrum that is nowhere zero, the same everywhere.
inline vxFrequencyBuffer someSpectrum(const vxPair<long>& size) {
    vxPelBuffer<double> pels(size.x(), size.y());
    std::uint32_t state = 1;
    for (long y = 0; y < size.y(); ++y) {
        for (long x = 0; x < size.x(); ++x) {
            state = state * 1664525U + 1013904223U;
            pels.pointToRow(y)[x] = static_cast<double>(state >> 24);
        }
    }
    vxFrequencyBuffer spectrum;
    vfForwardFFT<double>(pels, spectrum);
    return spectrum;
}

/// A hash (FNV-1a) of the filtered spectrum and of its inverse transform, which leaves masked rows out.
template <class Filter>
std::uint64_t bitsOf(const Filter& filter, const vxPair<long>& size) {
    std::uint64_t hash = 14695981039346656037U;
    const auto add = [&hash](double value) {
        hash = (hash ^ std::bit_cast<std::uint64_t>(value)) * 1099511628211U;
    };
    vxFrequencyBuffer spectrum = someSpectrum(size);
    filter.apply(spectrum);
    for (long y = 0; y < size.y(); ++y) {
        for (long x = 0; x < size.x(); ++x) {
            add(spectrum.getReal(x, y, false));
            add(spectrum.getImaginary(x, y, false));
        }
    }
    vxPelBuffer<double> real;
    vxPelBuffer<double> imaginary;
    vfInverseFFT(spectrum, real, imaginary, true);
    for (long y = 0; y < size.y(); ++y) {
        for (long x = 0; x < size.x(); ++x) {
            add(real.pointToRow(y)[x]);
        }
    }
    return hash;
}

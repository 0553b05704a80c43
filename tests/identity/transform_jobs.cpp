#include "filt/fft.h"

#include "filt/freqfilt/filter.h"
#include "tests/identity/inputs.h"
#include "tests/identity/results.h"

namespace identity {
namespace {

constexpr vxPair<long> offsets[] = {{0, 0}, {5, -3}};

/// Calls job(name, width, height): sizes below 65 under the name of their width, larger ones under their own.
template <class Job>
void forEachSize(const std::string& family, Job job) {
    for (const long w : sides) {
        for (const long h : sides) {
            job(family + "/" + std::to_string(w) + "xN", w, h);
        }
    }
    for (const vxPair<long>& size : largeSizes) {
        job(family + "/" + sizeName(size.x(), size.y()), size.x(), size.y());
    }
}

void expectForcedSetFor(long width, long height) {
    const auto padded = [](long side) {
        return static_cast<long>(std::bit_ceil(static_cast<unsigned long>(side)));
    };
    expectForcedSet({padded(width), padded(height)});
}

template <vx_Pel T>
void forwardJobsOf(Results& results) {
    const auto forward = [](Hash& hash, Kind kind, long w, long h) {
        for (const vxPair<long>& offset : offsets) {
            vxPelBuffer<T> image = imageOf<T>(1, kind, w, h);
            vxPelBuffer<T> imaginary = imageOf<T>(2, kind, w, h);
            image.offset(offset);
            imaginary.offset(offset);
            vxFrequencyBuffer buffer;
            vf_ForwardFFT(image, buffer);
            hash.add(buffer);
            vf_ForwardFFT(image, imaginary, buffer);
            hash.add(buffer);
        }
    };
    const std::string family = std::string("forward/") + pelName<T>();
    forEachSize(family, [&](const std::string& name, long w, long h) {
        expectForcedSetFor(w, h);
        forward(results.exact(name), Kind::whole, w, h);
        if constexpr (std::same_as<T, double>) {
            for (const Kind kind : everyKind) {
                if (w <= 64 && h <= 64) {
                    forward(results.exact(family + "/" + nameOf(kind)), kind, w, h);
                }
            }
        }
    });
}

void forwardBufferJobs(Results& results) {
    for (const Kind kind : everyKind) {
        for (const long w : sides) {
            for (const long h : sides) {
                const vxFrequencyBuffer source = spectrumOf(3, kind, w, h);
                vxFrequencyBuffer destination;
                expectForcedSetFor(w, h);
                vfForwardFFT(source, destination);
                results.exact(std::string("forward/buffer/") + nameOf(kind)).add(destination);
            }
        }
    }
}

/// A spectrum of an image at that offset, masked or not.
vxFrequencyBuffer maskedSpectrum(Kind kind, long w, long h, const vxPair<long>& offset, bool masked) {
    vxFrequencyBuffer buffer = spectrumOf(4, kind, w, h);
    const long rows = Access::height(buffer);
    Access::offset(buffer, offset);
    setMask(buffer, masked, rows / 4, rows / 2 + 1);
    return buffer;
}

/// Calls job(buffer) for spectra of every state; large ones are at an offset and masked, or neither.
template <class Job>
void forEachState(Kind kind, long w, long h, Job job) {
    for (const vxPair<long>& offset : offsets) {
        for (const bool masked : {false, true}) {
            if (w * h <= 64 * 64 || masked == (offset.x() != 0)) {
                expectForcedSetFor(w, h);
                job(maskedSpectrum(kind, w, h, offset, masked));
            }
        }
    }
}

/// Magnitudes with and without quadrants, normalised or not, in place or not, into bound and unbound images.
template <vx_Pel T>
void invert(const vxFrequencyBuffer& spectrum, Hash& hash) {
    vxPelBuffer<T> direct;
    vfInverseFFT(spectrum, direct, false);
    hash.add(direct);
    for (const bool normalize : {false, true}) {
        for (const bool inPlace : {false, true}) {
            vxFrequencyBuffer buffer = spectrum;
            vxPelBuffer<T> image;
            vxPelBuffer<T> bound(Access::sourceWidth(spectrum) / 2 + 2,
                                 Access::sourceHeight(spectrum) / 2 + 2);
            bound.offset(Access::offset(spectrum));
            vxPelBuffer<unsigned char> quadrant;
            vfInverseFFT(buffer, image, normalize, inPlace);
            vf_InverseFFT(buffer, bound, quadrant, normalize, inPlace);
            hash.add(image);
            hash.add(bound);
            hash.add(quadrant);
        }
    }
}

template <vx_Pel T>
void inverseJobsOf(Results& results) {
    const std::string family = std::string("inverse/") + pelName<T>();
    forEachSize(family, [&](const std::string& name, long w, long h) {
        forEachState(Kind::whole, w, h,
                     [&](const vxFrequencyBuffer& spectrum) { invert<T>(spectrum, results.exact(name)); });
    });
    for (const Kind kind : everyKind) {
        for (const long w : sides) {
            forEachState(kind, w, 33, [&](const vxFrequencyBuffer& spectrum) {
                invert<T>(spectrum, results.exact(family + "/" + nameOf(kind)));
            });
        }
    }
}

/// The images of both parts, and the samples themselves.
void inversePartsJobs(Results& results) {
    for (const Kind kind : everyKind) {
        for (const long w : sides) {
            for (const long h : {1L, 5L, 16L, 33L, 64L}) {
                forEachState(kind, w, h, [&](const vxFrequencyBuffer& spectrum) {
                    vxPelBuffer<double> real;
                    vxPelBuffer<double> imaginary;
                    vfInverseFFT(spectrum, real, imaginary);
                    results.exact(std::string("inverse/parts/") + nameOf(kind)).add(real);
                    results.exact(std::string("inverse/parts/") + nameOf(kind)).add(imaginary);
                    vxFrequencyBuffer samples;
                    vfInverseFFT(spectrum, samples);
                    results.exact(std::string("inverse/buffer/") + nameOf(kind)).add(samples);
                });
            }
        }
    }
}

} // namespace

void forwardJobs(Results& results) {
    forwardJobsOf<unsigned char>(results);
    forwardJobsOf<unsigned short>(results);
    forwardJobsOf<double>(results);
    forwardBufferJobs(results);
}

void inverseJobs(Results& results) {
    inverseJobsOf<unsigned char>(results);
    inverseJobsOf<unsigned short>(results);
    inverseJobsOf<double>(results);
    inversePartsJobs(results);
}

} // namespace identity

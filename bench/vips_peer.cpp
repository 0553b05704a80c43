// libvips: its own Fourier operations, in double precision. It plans in each call; FFTW's memory of plans
// makes that short from the second call on.
#include "bench/peers.h"

#include <vips/vips8>

#include <cstdlib>
#include <memory>
#include <stdexcept>

namespace bench {

namespace {

using vips::VImage;

void startVips() {
    static const bool started = [] {
        setenv("VIPS_CONCURRENCY", "1", 1);
        if (VIPS_INIT("kavfilt_bench") != 0) {
            throw std::runtime_error("libvips does not start");
        }
        vips_concurrency_set(1);
        vips_cache_set_max(0); // A result that is remembered takes no time.
        return true;
    }();
    static_cast<void>(started);
}

VipsBandFormat formatOf(unsigned char) {
    return VIPS_FORMAT_UCHAR;
}
VipsBandFormat formatOf(unsigned short) {
    return VIPS_FORMAT_USHORT;
}
VipsBandFormat formatOf(double) {
    return VIPS_FORMAT_DOUBLE;
}

int length(long size) {
    return static_cast<int>(size);
}

/// An image in the caller's memory, whose rows must touch each other.
VImage imageOf(const void* pels, const Size& size, std::size_t pelBytes, VipsBandFormat format) {
    const std::size_t bytes = pelBytes * static_cast<std::size_t>(size.width * size.height);
    return VImage::new_from_memory(const_cast<void*>(pels), bytes, length(size.width), length(size.height), 1,
                                   format);
}

/// The rows of an image without what lies between them.
template <class T>
std::vector<T> packed(const vxPelBuffer_const<T>& image) {
    std::vector<T> pels;
    for (long y = 0; y < image.height(); ++y) {
        const T* const row = image.pointToRow(y);
        pels.insert(pels.end(), row, row + image.width());
    }
    return pels;
}

/// What a job keeps between its runs: the pels that its images refer to, and its last result.
struct Work {
    explicit Work(const Scene& scene_) : scene(scene_) { startVips(); }

    template <class T>
    VImage padded(const std::vector<T>& source) const {
        const VImage image = imageOf(source.data(), scene.source, sizeof(T), formatOf(T()));
        if (scene.source == scene.padded) {
            return image;
        }
        return image.embed(0, 0, length(scene.padded.width), length(scene.padded.height));
    }
    VImage gainsOf(const std::vector<float>& gains) const {
        return imageOf(gains.data(), scene.padded, sizeof(float), VIPS_FORMAT_FLOAT);
    }
    void keepSpectrum(const VImage& image) { spectrum = image.copy_memory(); }
    /// The image part of a spatial result, as 8-bit magnitudes.
    void keepMagnitudes(const VImage& spatial) { keepPels(cropped(spatial).abs().rint()); }
    void keepStretched(const VImage& spatial) {
        const VImage magnitudes = cropped(spatial).abs().copy_memory();
        const double low = magnitudes.min();
        const double gain = 255.0 / (magnitudes.max() - low);
        keepPels(magnitudes.linear(gain, -low * gain).rint());
    }
    /// libvips divides by the number of samples in each forward transform, so one division too many.
    void keepCorrelation(const VImage& spatial) {
        correlation = cropped(spatial).abs().linear(scene.samples(), 0.0).copy_memory();
    }

    const Scene& scene;
    std::vector<unsigned char> first;
    std::vector<unsigned char> second;
    std::vector<unsigned short> first16;
    std::vector<double> firstDouble;
    std::vector<double> spectrumParts;
    VImage spectrum;
    VImage pels;
    VImage correlation;

private:
    VImage cropped(const VImage& image) const {
        if (scene.source == scene.padded) {
            return image;
        }
        return image.extract_area(0, 0, length(scene.source.width), length(scene.source.height));
    }
    void keepPels(const VImage& values) { pels = values.cast(VIPS_FORMAT_UCHAR).copy_memory(); }
};
using SharedWork = std::shared_ptr<Work>;

/// Spectra of libvips are divided by the number of samples.
std::vector<float> unscaled(const Work& work) {
    const VImage values = work.spectrum.cast(VIPS_FORMAT_DPCOMPLEX).copy_memory();
    const auto* const samples = static_cast<const double*>(values.data());
    std::vector<float> result;
    for (std::size_t i = 0; i < 2 * static_cast<std::size_t>(work.scene.samples()); ++i) {
        result.push_back(static_cast<float>(samples[i] * work.scene.samples()));
    }
    return result;
}

template <class Run>
Task spectrumTask(const SharedWork& work, Run run) {
    return {[work, run] { work->keepSpectrum(run(*work)); }, [work] { return unscaled(*work); }};
}

std::vector<float> pelsOf(const Work& work) {
    const auto* const pels = static_cast<const unsigned char*>(work.pels.data());
    return {pels, pels + static_cast<std::size_t>(work.scene.pels())};
}

template <class Run>
Task imageTask(const SharedWork& work, Run run) {
    return {[work, run] { run(*work); }, [work] { return pelsOf(*work); }};
}

template <class Run>
Task correlationTask(const SharedWork& work, Run run) {
    return {[work, run] { run(*work); },
            [work] {
                const VImage values = work->correlation.cast(VIPS_FORMAT_FLOAT).copy_memory();
                const auto* const first = static_cast<const float*>(values.data());
                return std::vector<float>(first, first + static_cast<std::size_t>(work->scene.pels()));
            }};
}

Task inverse(const SharedWork& work, bool normalise) {
    // The spectrum to start from as libvips itself makes it: doubles, divided by the number of samples.
    for (const float part : work->scene.spectrumSamples) {
        work->spectrumParts.push_back(static_cast<double>(part) / work->scene.samples());
    }
    work->spectrum =
        imageOf(work->spectrumParts.data(), work->scene.padded, 2 * sizeof(double), VIPS_FORMAT_DPCOMPLEX);
    return imageTask(work, [normalise](Work& w) {
        const VImage spatial = w.spectrum.invfft();
        normalise ? w.keepStretched(spatial) : w.keepMagnitudes(spatial);
    });
}

std::optional<Task> task(Job job, const Scene& scene) {
    const auto work = std::make_shared<Work>(scene);
    work->first = packed(scene.image);
    work->second = packed(scene.second);
    switch (job) {
    case Job::forward:
        return spectrumTask(work, [](Work& w) { return w.padded(w.first).fwfft(); });
    case Job::forward16:
        work->first16 = packed(scene.image16);
        return spectrumTask(work, [](Work& w) { return w.padded(w.first16).fwfft(); });
    case Job::forwardDouble:
        work->firstDouble = packed(scene.imageDouble);
        return spectrumTask(work, [](Work& w) { return w.padded(w.firstDouble).fwfft(); });
    case Job::forwardPair:
        return spectrumTask(
            work, [](Work& w) { return w.padded(w.first).complexform(w.padded(w.second)).fwfft(); });
    case Job::inverse:
    case Job::inverseBound:
        return inverse(work, false);
    case Job::inverseNormalised:
        return inverse(work, true);
    case Job::inverseAngle:
    case Job::inverseQuadrant:
        return std::nullopt;
    case Job::bandPass:
        // Does the three steps, with a real inverse.
        return imageTask(work, [](Work& w) {
            w.keepMagnitudes(
                w.padded(w.first).cast(VIPS_FORMAT_FLOAT).freqmult(w.gainsOf(w.scene.bandGains)));
        });
    case Job::gabor:
        return imageTask(work, [](Work& w) {
            w.keepMagnitudes((w.padded(w.first).fwfft() * w.gainsOf(w.scene.gaborGains)).invfft());
        });
    case Job::correlation:
        return correlationTask(work, [](Work& w) {
            const VImage product = w.padded(w.first).fwfft().conj() * w.padded(w.second).fwfft();
            w.keepCorrelation(product.invfft(VImage::option()->set("real", true)));
        });
    }
    return std::nullopt;
}

std::string version() {
    startVips();
    return vips_version_string();
}

constexpr Peer peer{"libvips", task, version};

} // namespace

const Peer& libvips() {
    return peer;
}

} // namespace bench

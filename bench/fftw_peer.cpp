// FFTW, single precision. Where several plans do a step (real input and completion of the other half, complex
// in place, complex into a second array), all are planned and tried, and the fastest one is taken.
#include "bench/peers.h"
#include "bench/plane_loops.h"

#include <fftw3.h>

#include <chrono>
#include <cstring>
#include <memory>
#include <utility>

namespace bench {

namespace {

bool planPatiently = false;

unsigned planningFlags(long samples) {
    return planPatiently && samples <= 1024L * 1024L ? FFTW_PATIENT : FFTW_MEASURE;
}

struct Free {
    void operator()(void* memory) const { fftwf_free(memory); }
};
template <class T>
using Array = std::unique_ptr<T[], Free>;

template <class T>
Array<T> zeros(long count) {
    const std::size_t bytes = sizeof(T) * static_cast<std::size_t>(count);
    Array<T> array(static_cast<T*>(fftwf_malloc(bytes)));
    std::memset(static_cast<void*>(array.get()), 0, bytes);
    return array;
}

struct DestroyPlan {
    void operator()(fftwf_plan plan) const { fftwf_destroy_plan(plan); }
};
using Plan = std::unique_ptr<fftwf_plan_s, DestroyPlan>;

fftwf_complex* raw(Complex* data) {
    return reinterpret_cast<fftwf_complex*>(data);
}

/// Part of a job.
using Step = std::function<void()>;

/// The fastest of several ways of doing the same.
Step fastest(const std::vector<Step>& ways) {
    double best = std::numeric_limits<double>::max();
    Step result;
    for (const Step& way : ways) {
        way();
        for (int i = 0; i < 5; ++i) {
            const auto start = std::chrono::steady_clock::now();
            way();
            const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
            if (seconds.count() < best) {
                best = seconds.count();
                result = way;
            }
        }
    }
    return result;
}

/// Arrays and steps of one size; each step keeps its plan. Planning overwrites the arrays.
class Plane {
public:
    explicit Plane(const Scene& scene)
        : source_(scene.source)
        , size_(scene.padded)
        , count_(size_.width * size_.height)
        , real_(zeros<float>(count_))
        , spatial_(zeros<Complex>(count_))
        , flags_(planningFlags(count_)) {}

    [[nodiscard]] long count() const { return count_; }
    [[nodiscard]] Array<Complex> newSpectrum() const { return zeros<Complex>(count_); }
    [[nodiscard]] Complex* spatial() const { return spatial_.get(); }

    /// `images`: one, or a real and an imaginary one.
    template <class... Images>
    Step forward(Complex* spectrum, const Images&... images) {
        std::vector<Step> ways{complexInPlace(spectrum, images...), complexApart(spectrum, images...)};
        if constexpr (sizeof...(images) == 1) {
            ways.push_back(realAndCompletion(spectrum, images...));
        }
        return fastest(ways);
    }

    /// From `spectrum`, which may be overwritten. `read` gets the spatial values.
    Step inverse(Complex* spectrum, const std::function<void(const Complex*)>& read) {
        const auto inPlace = complexPlan(spectrum, spectrum, FFTW_BACKWARD);
        const auto apart = complexPlan(spectrum, spatial(), FFTW_BACKWARD);
        return fastest({[=] {
                            fftwf_execute(inPlace.get());
                            read(spectrum);
                        },
                        [=, this] {
                            fftwf_execute(apart.get());
                            read(spatial());
                        }});
    }

    /// From samples that stay as they are.
    Step inverseOf(const std::vector<float>& samples, const std::function<void(const Complex*)>& read) {
        const std::size_t bytes = samples.size() * sizeof(float);
        kept_ = newSpectrum();
        const auto inPlace = complexPlan(spatial(), spatial(), FFTW_BACKWARD);
        const auto apart = complexPlan(kept_.get(), spatial(), FFTW_BACKWARD);
        std::memcpy(static_cast<void*>(kept_.get()), samples.data(), bytes);
        return fastest({[=, this] {
                            std::memcpy(static_cast<void*>(spatial()), kept_.get(), bytes);
                            fftwf_execute(inPlace.get());
                            read(spatial());
                        },
                        [=, this] {
                            fftwf_execute(apart.get());
                            read(spatial());
                        }});
    }

private:
    using SharedPlan = std::shared_ptr<fftwf_plan_s>;

    [[nodiscard]] SharedPlan complexPlan(Complex* in, Complex* out, int direction) const {
        return Plan(fftwf_plan_dft_2d(static_cast<int>(size_.height), static_cast<int>(size_.width), raw(in),
                                      raw(out), direction, flags_));
    }

    template <class... Images>
    Step complexInPlace(Complex* spectrum, const Images&... images) {
        const SharedPlan plan = complexPlan(spectrum, spectrum, FFTW_FORWARD);
        return [=, this, &images...] {
            pelsToComplex(images..., spectrum, size_.width);
            clearPadding(spectrum, source_, size_);
            fftwf_execute(plan.get());
        };
    }

    template <class... Images>
    Step complexApart(Complex* spectrum, const Images&... images) {
        const SharedPlan plan = complexPlan(spatial(), spectrum, FFTW_FORWARD);
        return [=, this, &images...] {
            pelsToComplex(images..., spatial(), size_.width);
            clearPadding(spatial(), source_, size_);
            fftwf_execute(plan.get());
        };
    }

    /// The left half straight into its place in the full plane, then the right half from it. The padding of
    /// the real input stays zero: plans of real input into another array leave the input as it is.
    template <class Image>
    Step realAndCompletion(Complex* spectrum, const Image& image) {
        const int n[2] = {static_cast<int>(size_.height), static_cast<int>(size_.width)};
        const SharedPlan plan =
            Plan(fftwf_plan_many_dft_r2c(2, n, 1, real_.get(), n, 1, 0, raw(spectrum), n, 1, 0, flags_));
        std::fill_n(real_.get(), count_, 0.0F);
        return [=, this, &image] {
            pelsToFloats(image, real_.get(), size_.width);
            fftwf_execute(plan.get());
            complete(spectrum);
        };
    }

    void complete(Complex* spectrum) const {
        const long width = size_.width;
        for (long v = 0; v < size_.height; ++v) {
            const Complex* const mirrored = spectrum + (v == 0 ? 0 : size_.height - v) * width;
            Complex* const row = spectrum + v * width;
            for (long u = width / 2 + 1; u < width; ++u) {
                row[u] = {mirrored[width - u].re, -mirrored[width - u].im};
            }
        }
    }

    Size source_;
    Size size_;
    long count_;
    Array<float> real_;
    Array<Complex> spatial_;
    Array<Complex> kept_;
    unsigned flags_;
};

/// What a job keeps between its runs.
struct Work {
    explicit Work(const Scene& scene)
        : plane(scene), scale(1.0F / static_cast<float>(scene.samples())), pels(pelCount(scene)) {}
    static std::size_t pelCount(const Scene& scene) { return static_cast<std::size_t>(scene.pels()); }

    Plane plane;
    float scale;
    std::vector<unsigned char> pels;
    std::vector<double> angles;
    std::vector<double> correlation;
    std::vector<unsigned char> quadrants;
    Array<Complex> a;
    Array<Complex> b;
    std::vector<Step> steps;
};
using SharedWork = std::shared_ptr<Work>;

/// Runs the steps, which refer to the work without owning it.
Task taskOf(const SharedWork& work, std::function<std::vector<float>()> result) {
    return {[work] {
                for (const Step& step : work->steps) {
                    step();
                }
            },
            std::move(result)};
}

Task imageTask(const SharedWork& work) {
    return taskOf(work, [work] { return floats(work->pels, work->angles, work->quadrants); });
}

std::function<void(const Complex*)> magnitudeReader(const Scene& scene, Work& work) {
    return [&scene, &work](const Complex* spatial) {
        magnitudesToPels(spatial, scene.padded.width, scene.source, work.scale, work.pels.data());
    };
}

std::function<void(const Complex*)> stretchedReader(const Scene& scene, Work& work) {
    return [&scene, &work](const Complex* spatial) {
        stretchedMagnitudesToPels(spatial, scene.padded.width, scene.source, work.pels.data());
    };
}

template <class... Images>
Task forward(const Scene& scene, const Images&... images) {
    const auto work = std::make_shared<Work>(scene);
    work->a = work->plane.newSpectrum();
    work->steps = {work->plane.forward(work->a.get(), images...)};
    return taskOf(work, [work] {
        const auto* const samples = reinterpret_cast<const float*>(work->a.get());
        return std::vector<float>(samples, samples + 2 * work->plane.count());
    });
}

Task inverse(Job job, const Scene& scene) {
    const auto work = std::make_shared<Work>(scene);
    std::function<void(const Complex*)> read = magnitudeReader(scene, *work);
    if (job == Job::inverseNormalised) {
        read = stretchedReader(scene, *work);
    } else if (job == Job::inverseAngle) {
        work->angles.resize(work->pels.size());
        read = [&scene, &work = *work, magnitudes = read](const Complex* spatial) {
            magnitudes(spatial);
            anglesOf(spatial, scene.padded.width, scene.source, work.angles.data());
        };
    } else if (job == Job::inverseQuadrant) {
        work->quadrants.resize(work->pels.size());
        read = [&scene, &work = *work, magnitudes = read](const Complex* spatial) {
            magnitudes(spatial);
            quadrantsOf(spatial, scene.padded.width, scene.source, work.quadrants.data());
        };
    }
    work->steps = {work->plane.inverseOf(scene.spectrumSamples, read)};
    return imageTask(work);
}

Task filtered(const Scene& scene, const std::vector<float>& gains) {
    const auto work = std::make_shared<Work>(scene);
    work->a = work->plane.newSpectrum();
    Complex* const spectrum = work->a.get();
    // The inverse is chosen first: its trials overwrite the spectrum.
    const Step back = work->plane.inverse(spectrum, magnitudeReader(scene, *work));
    work->steps = {
        work->plane.forward(spectrum, scene.image),
        [&gains, spectrum, count = work->plane.count()] { multiplyGains(gains.data(), spectrum, count); },
        back};
    return imageTask(work);
}

Task correlation(const Scene& scene) {
    const auto work = std::make_shared<Work>(scene);
    work->a = work->plane.newSpectrum();
    work->b = work->plane.newSpectrum();
    Complex* const a = work->a.get();
    Complex* const b = work->b.get();
    work->correlation.resize(work->pels.size());
    const Step back = work->plane.inverse(b, [&scene, &work = *work](const Complex* spatial) {
        magnitudesToDoubles(spatial, scene.padded.width, scene.source, work.scale, work.correlation.data());
    });
    work->steps = {work->plane.forward(a, scene.image), work->plane.forward(b, scene.second),
                   [a, b, count = work->plane.count()] { multiplyConjugate(a, b, count); }, back};
    return taskOf(work, [work] { return floats(work->correlation); });
}

std::optional<Task> fullPlaneTask(Job job, const Scene& scene) {
    switch (job) {
    case Job::forward:
        return forward(scene, scene.image);
    case Job::forward16:
        return forward(scene, scene.image16);
    case Job::forwardDouble:
        return forward(scene, scene.imageDouble);
    case Job::forwardPair:
        return forward(scene, scene.image, scene.second);
    case Job::inverse:
    case Job::inverseBound:
    case Job::inverseNormalised:
    case Job::inverseAngle:
    case Job::inverseQuadrant:
        return inverse(job, scene);
    case Job::bandPass:
        return filtered(scene, scene.bandGains);
    case Job::gabor:
        return filtered(scene, scene.gaborGains);
    case Job::correlation:
        return correlation(scene);
    }
    return std::nullopt;
}

/// Half the plane: real input, columns 0 .. width / 2 of the spectrum, real output.
class HalfPlane {
public:
    explicit HalfPlane(const Scene& scene)
        : scene_(scene)
        , columns_(scene.padded.width / 2 + 1)
        , rows_(scene.padded.height)
        , width_(scene.padded.width)
        , real_(zeros<float>(width_ * rows_))
        , result_(zeros<float>(width_ * rows_))
        , a_(zeros<Complex>(columns_ * rows_))
        , b_(zeros<Complex>(columns_ * rows_))
        , pels_(Work::pelCount(scene))
        , correlation_(pels_.size())
        , scale_(1.0F / static_cast<float>(scene.samples())) {
        const int height = static_cast<int>(rows_);
        const int width = static_cast<int>(width_);
        const unsigned flags = planningFlags(width_ * rows_);
        forward_.reset(fftwf_plan_dft_r2c_2d(height, width, real_.get(), raw(a_.get()), flags));
        inverse_.reset(fftwf_plan_dft_c2r_2d(height, width, raw(a_.get()), result_.get(), flags));
        std::fill_n(real_.get(), width_ * rows_, 0.0F);
    }

    void keepGains(const std::vector<float>& plane) {
        for (long v = 0; v < rows_; ++v) {
            gains_.insert(gains_.end(), plane.begin() + v * width_, plane.begin() + v * width_ + columns_);
        }
    }

    void bandPass() {
        pelsToFloats(scene_.image, real_.get(), width_);
        fftwf_execute(forward_.get());
        multiplyGains(gains_.data(), a_.get(), columns_ * rows_);
        fftwf_execute(inverse_.get());
        magnitudesToPels(result_.get(), width_, scene_.source, scale_, pels_.data());
    }

    void correlate() {
        pelsToFloats(scene_.image, real_.get(), width_);
        fftwf_execute_dft_r2c(forward_.get(), real_.get(), raw(b_.get()));
        pelsToFloats(scene_.second, real_.get(), width_);
        fftwf_execute(forward_.get());
        multiplyConjugate(b_.get(), a_.get(), columns_ * rows_);
        fftwf_execute(inverse_.get());
        magnitudesToDoubles(result_.get(), width_, scene_.source, scale_, correlation_.data());
    }

    [[nodiscard]] std::vector<float> pels() const { return floats(pels_); }
    [[nodiscard]] std::vector<float> correlation() const { return floats(correlation_); }

private:
    const Scene& scene_;
    long columns_;
    long rows_;
    long width_;
    Array<float> real_;
    Array<float> result_;
    Array<Complex> a_;
    Array<Complex> b_;
    std::vector<float> gains_;
    std::vector<unsigned char> pels_;
    std::vector<double> correlation_;
    float scale_;
    Plan forward_;
    Plan inverse_;
};

std::optional<Task> halfPlaneTask(Job job, const Scene& scene) {
    if (job != Job::bandPass && job != Job::correlation) {
        return std::nullopt;
    }
    const auto plane = std::make_shared<HalfPlane>(scene);
    if (job == Job::correlation) {
        return Task{[plane] { plane->correlate(); }, [plane] { return plane->correlation(); }};
    }
    plane->keepGains(scene.bandGains);
    return Task{[plane] { plane->bandPass(); }, [plane] { return plane->pels(); }};
}

std::string version() {
    return std::string(fftwf_version).substr(std::string("fftw-").size());
}

constexpr Peer fullPlanePeer{"FFTW", fullPlaneTask, version};
constexpr Peer halfPlanePeer{"FFTW real", halfPlaneTask, version};

} // namespace

const Peer& fftw() {
    return fullPlanePeer;
}

const Peer& fftwReal() {
    return halfPlanePeer;
}

void loadFftwWisdom(const std::string& file, bool patient) {
    planPatiently = patient;
    fftwf_import_wisdom_from_filename(file.c_str()); // There is none before the first run.
}

void saveFftwWisdom(const std::string& file) {
    fftwf_export_wisdom_to_filename(file.c_str());
}

} // namespace bench

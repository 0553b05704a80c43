// A program of bytes: registers hold spectra, images of each pel type and filters, and each step is one
// operation of the library on some of them, the same register twice included. After each step every register
// that the operation may not write is as it was bit by bit, everything is if the operation was refused, and
// every spectrum is consistent.
#include "filt/fft.h"
#include "fuzz/filt/filters.h"

#include <array>
#include <limits>
#include <memory>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace {

using fuzz::attempt;
using fuzz::Outcome;
using fuzz::require;

constexpr std::size_t spectrumCount = 4;
constexpr std::size_t imageCount = 3; // Of each pel type.
constexpr std::size_t filterCount = 3;
constexpr int maximumSteps = 24;
constexpr long largestSize = 20;

/// An image's placement and its pels.
template <class T>
struct ImageState {
    const T* first = nullptr;
    long width = 0;
    long height = 0;
    long rowUpdate = 0;
    vxPair<long> offset;
    const vx2Xform* xform = nullptr;
    std::vector<T> pels;

    ImageState() = default;
    explicit ImageState(const vxPelBuffer<T>& image)
        : first(image.pointToOffset())
        , width(image.width())
        , height(image.height())
        , rowUpdate(image.rowUpdate())
        , offset(image.offset())
        , xform(&image.xformCache().xform()) {
        for (long y = 0; y < height; ++y) {
            pels.insert(pels.end(), first + y * rowUpdate, first + y * rowUpdate + width);
        }
    }

    [[nodiscard]] bool samePlace(const ImageState& other) const {
        return first == other.first && width == other.width && height == other.height &&
               rowUpdate == other.rowUpdate && offset == other.offset && xform == other.xform;
    }
    [[nodiscard]] bool samePels(const ImageState& other) const {
        return pels.size() == other.pels.size() &&
               (pels.empty() || std::memcmp(pels.data(), other.pels.data(), pels.size() * sizeof(T)) == 0);
    }
};

/// What an operation may write. Windows may share pels, so that one written image can change the pels of any
/// other of its type.
struct Writes {
    const vxFrequencyBuffer* spectrum = nullptr;
    const vxFrequencyBuffer* secondSpectrum = nullptr;
    const vx_PelBuffer* image = nullptr;
    const vx_PelBuffer* secondImage = nullptr;
};

class Machine {
public:
    explicit Machine(fuzz::Bytes input) : input_(input) {}

    void run() {
        for (int i = 0; i < maximumSteps && !input_.atEnd(); ++i) {
            (this->*steps[input_.below(std::size(steps))])();
        }
    }

private:
    using Step = void (Machine::*)();
    using Spectrum = vxFrequencyBuffer;

    // Operands.

    Spectrum& spectrum() { return spectra_[input_.below(spectrumCount)]; }
    template <class T>
    vxPelBuffer<T>& image() {
        return std::get<std::array<vxPelBuffer<T>, imageCount>>(images_)[input_.below(imageCount)];
    }
    std::unique_ptr<vxFrequencyFilter>& filter() { return filters_[input_.below(filterCount)]; }
    long size() { return input_.below(16) == 0 ? input_.number() : input_.between(0, largestSize); }
    long powerOfTwo() { return 1L << input_.below(6); }

    template <class Operation>
    auto withPelType(Operation operation) {
        switch (input_.below(3)) {
        case 0:
            return operation(static_cast<unsigned char>(0));
        case 1:
            return operation(static_cast<unsigned short>(0));
        default:
            return operation(0.0);
        }
    }

    // The checks around an operation.

    template <class T>
    using ImageStates = std::array<ImageState<T>, imageCount>;

    struct State {
        std::array<fuzz::SpectrumState, spectrumCount> spectra;
        std::tuple<ImageStates<unsigned char>, ImageStates<unsigned short>, ImageStates<double>> images;
    };

    [[nodiscard]] State state() const {
        State state;
        for (std::size_t i = 0; i < spectrumCount; ++i) {
            state.spectra[i] = fuzz::stateOf(spectra_[i]);
        }
        takeImages<unsigned char>(state);
        takeImages<unsigned short>(state);
        takeImages<double>(state);
        return state;
    }

    template <class T>
    void takeImages(State& state) const {
        const auto& images = std::get<std::array<vxPelBuffer<T>, imageCount>>(images_);
        for (std::size_t i = 0; i < imageCount; ++i) {
            std::get<ImageStates<T>>(state.images)[i] = ImageState<T>(images[i]);
        }
    }

    template <class T>
    void checkImages(const State& before, const State& after, Writes writes) const {
        const auto& images = std::get<std::array<vxPelBuffer<T>, imageCount>>(images_);
        const auto isWritten = [&](const vx_PelBuffer& image) {
            return &image == writes.image || &image == writes.secondImage;
        };
        bool typeIsWritten = false;
        for (const vxPelBuffer<T>& image : images) {
            typeIsWritten = typeIsWritten || isWritten(image);
        }
        for (std::size_t i = 0; i < imageCount; ++i) {
            const ImageState<T>& was = std::get<ImageStates<T>>(before.images)[i];
            const ImageState<T>& is = std::get<ImageStates<T>>(after.images)[i];
            require(isWritten(images[i]) || was.samePlace(is),
                    "an image that is not written stays where it is");
            require(typeIsWritten || was.samePels(is), "pels that are not written stay as they are");
        }
    }

    void check(const State& before, Writes writes) const {
        const State after = state();
        for (std::size_t i = 0; i < spectrumCount; ++i) {
            const bool written = &spectra_[i] == writes.spectrum || &spectra_[i] == writes.secondSpectrum;
            require(written || fuzz::same(before.spectra[i], after.spectra[i]),
                    "a spectrum that is not written stays as it is");
            fuzz::checkConsistent(spectra_[i]);
            checkOwn(after.spectra[i]);
        }
        checkImages<unsigned char>(before, after, writes);
        checkImages<unsigned short>(before, after, writes);
        checkImages<double>(before, after, writes);
    }

    /// What is true of buffers that were made by the library's operations alone.
    static void checkOwn(const fuzz::SpectrumState& state) {
        if (state.hasSamples) {
            require((state.size.x() & (state.size.x() - 1)) == 0 && state.size.x() <= 2048, "a power of two");
            require((state.size.y() & (state.size.y() - 1)) == 0 && state.size.y() <= 2048, "a power of two");
            require(state.masked == 0 || state.masked == 1, "a flag");
        }
    }

    template <class Operation>
    Outcome perform(Writes writes, const Operation& operation) {
        const State before = state();
        const Outcome outcome = attempt(operation);
        check(before, outcome == Outcome::refused ? Writes{} : writes);
        return outcome;
    }

    // Spectra.

    void makeSpectrum() {
        Spectrum& to = spectrum();
        const long width = size();
        const long height = size();
        perform({&to}, [&] { to = Spectrum(width, height); });
    }

    void dropSpectrum() {
        Spectrum& to = spectrum();
        perform({&to}, [&] { to = Spectrum(); });
    }

    void assignSpectrum() {
        const Spectrum& from = spectrum();
        Spectrum& to = spectrum();
        perform({&to}, [&] { to = from; });
    }

    void cropSpectrum() {
        const Spectrum& from = spectrum();
        Spectrum& to = spectrum();
        const long width = input_.flag() ? powerOfTwo() : size();
        const long height = powerOfTwo();
        perform({&to}, [&] { to = Spectrum(from, width, height); });
    }

    void spectrumOfImages() {
        const vxPelBuffer<double>& real = image<double>();
        const vxPelBuffer<double>& imaginary = image<double>();
        Spectrum& to = spectrum();
        perform({&to}, [&] { to = Spectrum(real, imaginary); });
    }

    void put() {
        Spectrum& to = spectrum();
        const long x = size();
        const long y = input_.number();
        const bool centered = input_.flag();
        const vxPair<double> value(input_.real(), input_.real());
        const unsigned which = input_.below(3);
        const Outcome outcome = perform({&to}, [&] {
            which == 0   ? to.put(x, y, value, centered)
            : which == 1 ? to.putReal(x, y, value.x(), centered)
                         : to.putImaginary(x, y, value.y(), centered);
        });
        if (outcome == Outcome::done && which == 0) {
            const vxPair<double> got = to.get(x, y, centered);
            require(fuzz::sameFloat(static_cast<float>(got.x()), static_cast<float>(value.x())) &&
                        fuzz::sameFloat(static_cast<float>(got.y()), static_cast<float>(value.y())),
                    "what was put is there");
        }
    }

    void spectrumImage() {
        const Spectrum& from = spectrum();
        vxPelBuffer<double>& to = image<double>();
        const bool centered = input_.flag();
        const unsigned which = input_.below(4);
        perform({nullptr, nullptr, &to}, [&] {
            to = which == 0   ? from.getRealImage(centered)
                 : which == 1 ? from.getImaginaryImage(centered)
                 : which == 2 ? from.getMagnitudeImage(centered)
                              : from.getPhaseImage(centered);
        });
    }

    void loadSpectrum() {
        Spectrum& from = spectrum();
        Spectrum& to = spectrum();
        std::string bytes = fuzz::stored(from);
        bytes.resize(bytes.size() -
                     std::min<std::size_t>(input_.below(8) / 6, bytes.size())); // Sometimes cut.
        const Outcome outcome = perform({&to}, [&] {
            std::istringstream stream(bytes);
            vxInputArchive archive(stream);
            archive || to;
        });
        require(outcome != Outcome::done || to == from, "what was stored loads");
    }

    void compare() {
        const Spectrum& a = spectrum();
        const Spectrum& b = spectrum();
        require((a == b) == (b == a), "equality has no direction");
    }

    // Arithmetic.

    void combine() {
        const Spectrum& a = spectrum();
        Spectrum& b = spectrum();
        const unsigned which = input_.below(3);
        perform({&b}, [&] {
            which == 0   ? vfFrequencyMultiply(a, b)
            : which == 1 ? vfFrequencyAdd(a, b)
                         : vfFrequencySubtract(a, b);
        });
    }

    void combineInto() {
        const Spectrum& a = spectrum();
        const Spectrum& b = spectrum();
        Spectrum& c = spectrum();
        const unsigned which = input_.below(3);
        perform({&c}, [&] {
            which == 0   ? vfFrequencyMultiply(a, b, c)
            : which == 1 ? vfFrequencyAdd(a, b, c)
                         : vfFrequencySubtract(a, b, c);
        });
    }

    void conjugate() {
        Spectrum& a = spectrum();
        Spectrum& b = spectrum();
        if (input_.flag()) {
            perform({&a}, [&] { vfFrequencyConjugate(a); });
        } else {
            perform({&b}, [&] { vfFrequencyConjugate(std::as_const(a), b); });
        }
    }

    // Transforms.

    void forward() {
        withPelType([this](auto pel) {
            using T = decltype(pel);
            const vxPelBuffer<T>& real = image<T>();
            const vxPelBuffer<T>& imaginary = image<T>();
            Spectrum& to = spectrum();
            const bool isComplex = input_.flag();
            perform({&to},
                    [&] { isComplex ? vfForwardFFT<T>(real, imaginary, to) : vfForwardFFT<T>(real, to); });
        });
    }

    void forwardSpectrum() {
        const Spectrum& from = spectrum();
        Spectrum& to = spectrum();
        perform({&to}, [&] { vfForwardFFT(from, to); });
    }

    void inverseSpectrum() {
        Spectrum& from = spectrum();
        Spectrum& to = spectrum();
        const bool inPlace = input_.flag();
        perform({&to, inPlace ? &from : nullptr}, [&] { vfInverseFFT(from, to, inPlace); });
    }

    void inverseParts() {
        Spectrum& from = spectrum();
        vxPelBuffer<double>& real = image<double>();
        vxPelBuffer<double>& imaginary = image<double>();
        const bool inPlace = input_.flag();
        perform({inPlace ? &from : nullptr, nullptr, &real, &imaginary},
                [&] { vfInverseFFT(from, real, imaginary, inPlace); });
    }

    void inverse() {
        withPelType([this](auto pel) { inverseTo<decltype(pel)>(); });
    }

    template <class T>
    void inverseTo() {
        Spectrum& from = spectrum();
        const Spectrum& constant = from;
        vxPelBuffer<T>& to = image<T>();
        vxPelBuffer<double>& angle = image<double>();
        vxPelBuffer<unsigned char>& quadrant = image<unsigned char>();
        const bool normalize = input_.flag();
        const unsigned which = input_.below(6);
        const bool inPlace = which >= 3;
        const bool hasAngle = which % 3 == 1;
        const bool hasQuadrant = which % 3 == 2;
        const vx_PelBuffer* const second = hasAngle      ? static_cast<const vx_PelBuffer*>(&angle)
                                           : hasQuadrant ? &quadrant
                                                         : nullptr;
        perform({inPlace ? &from : nullptr, nullptr, &to, second}, [&] {
            if (hasAngle) {
                inPlace ? vfInverseFFTAngle(from, to, angle, normalize, true)
                        : vfInverseFFTAngle(constant, to, angle, normalize);
            } else if (hasQuadrant) {
                inPlace ? vfInverseFFTQuadrant(from, to, quadrant, normalize, true)
                        : vfInverseFFTQuadrant(constant, to, quadrant, normalize);
            } else {
                inPlace ? vfInverseFFT(from, to, normalize, true) : vfInverseFFT(constant, to, normalize);
            }
        });
    }

    void readSpatial() {
        const Spectrum& from = spectrum();
        vxPelBuffer<double>& angle = image<double>();
        vxPelBuffer<unsigned char>& quadrant = image<unsigned char>();
        if (input_.flag()) {
            perform({nullptr, nullptr, &angle}, [&] { vf_ComputeAngleImage(from, angle); });
        } else {
            perform({nullptr, nullptr, &quadrant}, [&] { vf_ComputeQuadrantImage(from, quadrant); });
        }
    }

    // Images.

    void makeImage() {
        withPelType([this](auto pel) {
            using T = decltype(pel);
            vxPelBuffer<T>& to = image<T>();
            const long width = size();
            const long height = size();
            if (perform({nullptr, nullptr, &to}, [&] { to = vxPelBuffer<T>(width, height); }) ==
                Outcome::done) {
                fill(to);
            }
        });
    }

    template <class T>
    void fill(vxPelBuffer<T>& image) {
        const unsigned seed = input_.byte();
        for (long y = 0; y < image.height(); ++y) {
            for (long x = 0; x < image.width(); ++x) {
                image.pointToOffset()[y * image.rowUpdate() + x] =
                    static_cast<T>(static_cast<unsigned long>(x * 7 + y * 13) * (seed + 1));
            }
        }
    }

    void moveImage() {
        withPelType([this](auto pel) {
            using T = decltype(pel);
            vxPelBuffer<T>& to = image<T>();
            const bool near = input_.flag();
            to.offset(near ? input_.between(-3, 3) : input_.number(), near ? 0 : input_.number());
            const vxXform<2> xform(vxMatrix<2>(input_.real(), 0.5, 0.25, 2.0),
                                   vxVector<2>(1.0, input_.real()));
            vx2XformCache cache;
            attempt([&] { cache.xform(vx2XformLinear(xform)); });
            to.copyXforms(cache);
        });
    }

    void windowImage() {
        withPelType([this](auto pel) {
            using T = decltype(pel);
            const vxPelBuffer<T>& from = image<T>();
            vxPelBuffer<T>& to = image<T>();
            const long width = size();
            const long height = size();
            perform({nullptr, nullptr, &to},
                    [&] { to = from.window(from.offset().x(), from.offset().y(), width, height); });
        });
    }

    void dropImage() {
        withPelType([this](auto pel) { image<decltype(pel)>() = {}; });
    }

    void copyImage() {
        withPelType([this](auto pel) {
            using T = decltype(pel);
            const vxPelBuffer<T>& from = image<T>();
            vxPelBuffer<T>& to = image<T>();
            perform({nullptr, nullptr, &to}, [&] { vfPelCopy(from, to); });
        });
    }

    void mapImage() {
        const vxPelBuffer<double>& from = image<double>();
        vxPelBuffer<unsigned char>& to = image<unsigned char>();
        const auto mapping = static_cast<vxFrequencyDefs::FrequencyMapping>(input_.below(6));
        const double low = input_.real();
        const double high = input_.real();
        perform({nullptr, nullptr, &to}, [&] { to = vfFrequencyMapImage(from, mapping, low, high); });
    }

    // Filters.

    void makeFilter() {
        std::unique_ptr<vxFrequencyFilter>& to = filter();
        const Spectrum& image = spectrum();
        const unsigned which = input_.below(5);
        const vxPair<double> sigma(input_.real(), input_.real());
        const vxPair<double> plateau(input_.real() / 4.0, 0.0);
        const vxRadian angle(input_.real());
        const double frequency = input_.real() / 2.0;
        const vxPair<long> size(powerOfTwo(), powerOfTwo());
        const long radius = input_.between(0, 3);
        perform({}, [&] {
            switch (which) {
            case 0:
                to = std::make_unique<vxFrequencyFilterBandPass>(sigma.x(), plateau.x(), frequency, size,
                                                                 radius);
                break;
            case 1:
                to = std::make_unique<vxFrequencyFilterBandReject>(sigma.x(), plateau.x(), frequency, size,
                                                                   radius);
                break;
            case 2:
                to = std::make_unique<vxFrequencyFilterGabor>(sigma, plateau, angle, frequency, size, radius);
                break;
            case 3:
                to = std::make_unique<vxFrequencyFilterGaborReject>(sigma, plateau, angle, frequency, size,
                                                                    radius);
                break;
            default:
                to = std::make_unique<vxFrequencyFilterImage>(image);
            }
        });
    }

    void cloneFilter() {
        const std::unique_ptr<vxFrequencyFilter>& from = filter();
        std::unique_ptr<vxFrequencyFilter>& to = filter();
        if (from) {
            perform({}, [&] { to.reset(from->clone()); });
        }
    }

    void archiveFilter() {
        const std::unique_ptr<vxFrequencyFilter>& from = filter();
        std::unique_ptr<vxFrequencyFilter>& to = filter();
        vxPersistent* object = from.get();
        const std::string bytes = fuzz::stored(object);
        vxPersistent* raw = nullptr;
        if (fuzz::load(bytes, raw) != Outcome::done) {
            require(raw == nullptr, "a failed load makes no filter");
            return;
        }
        const std::unique_ptr<vxPersistent> owner(raw);
        require(fuzz::stored(raw) == bytes, "the same bytes a second time");
        if (const auto* const loaded = dynamic_cast<const vxFrequencyFilter*>(raw)) {
            attempt([&] { to.reset(loaded->clone()); });
        }
    }

    void applyFilter() {
        const std::unique_ptr<vxFrequencyFilter>& chosen = filter();
        Spectrum& in = spectrum();
        Spectrum& out = spectrum();
        const bool inPlace = input_.flag();
        if (!chosen) {
            return;
        }
        const vxFrequencyFilter& constant = *chosen;
        if (inPlace) {
            perform({&in}, [&] { constant.apply(in); });
        } else {
            perform({&out}, [&] { constant.apply(std::as_const(in), out); });
        }
    }

    static constexpr Step steps[] = {
        &Machine::makeSpectrum, &Machine::dropSpectrum,    &Machine::assignSpectrum,   &Machine::cropSpectrum,
        &Machine::put,          &Machine::spectrumImage,   &Machine::spectrumOfImages, &Machine::loadSpectrum,
        &Machine::compare,      &Machine::combine,         &Machine::combineInto,      &Machine::conjugate,
        &Machine::forward,      &Machine::forward,         &Machine::forwardSpectrum,  &Machine::inverse,
        &Machine::inverse,      &Machine::inverseSpectrum, &Machine::inverseParts,     &Machine::readSpatial,
        &Machine::makeImage,    &Machine::makeImage,       &Machine::moveImage,        &Machine::windowImage,
        &Machine::dropImage,    &Machine::copyImage,       &Machine::mapImage,         &Machine::makeFilter,
        &Machine::cloneFilter,  &Machine::archiveFilter,   &Machine::applyFilter,      &Machine::applyFilter};

    fuzz::Bytes input_;
    std::array<Spectrum, spectrumCount> spectra_;
    std::tuple<std::array<vxPelBuffer<unsigned char>, imageCount>,
               std::array<vxPelBuffer<unsigned short>, imageCount>,
               std::array<vxPelBuffer<double>, imageCount>>
        images_;
    std::array<std::unique_ptr<vxFrequencyFilter>, filterCount> filters_;
};

} // namespace

void fuzz::run(Bytes input) {
    Machine(input).run();
}

#include "tests/soak/programs.h"

#include "kavstd/attention.h"
#include "tests/soak/digest.h"
#include "tests/soak/random.h"
#include "tests/soak/shared_objects.h"

#include <cstddef>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>
#include <type_traits>

namespace soak {
namespace {

// What a program is cancelled with.
struct Cancelled {};

// A class of a single thread's, entered into the registry and taken out again while others load.
class Visitor : public vxPersistent {
public:
    static vxPersistent* make() { return new Visitor; }
    long value = 0;

protected:
    void dispatchSerialize(vxArchive& archive) override { archive || value; }
};

class Program {
public:
    explicit Program(std::uint64_t seed) : random_(seed), shared_(anyShared(random_)) { transformOwnImage(); }

    Outcome run() {
        const long steps = random_.between(4, 16);
        for (long i = 0; i < steps; ++i) {
            step();
        }
        digest_.addStored(own_);
        return {digest_.value(), steps};
    }

private:
    static const SharedObjects& anyShared(Random& random) {
        const auto& all = sharedObjects();
        // The large ones take as long as hundreds of small ones.
        const long last = static_cast<long>(all.size()) - 1;
        const long index = random.oneIn(400) ? last : random.between(0, last - 1);
        return *all[static_cast<std::size_t>(index)];
    }

    // A refused operation is a result like others.
    void step() {
        using Step = void (Program::*)();
        static constexpr Step steps[] = {
            &Program::transformOwnImage,
            &Program::transformSharedImage,
            &Program::transformPair,
            &Program::transformBuffer,
            &Program::filterInPlace,
            &Program::filterShared,
            &Program::buildFilter,
            &Program::updateOwn,
            &Program::combineShared,
            &Program::conjugate,
            &Program::view,
            &Program::sample,
            &Program::map,
            &Program::invertShared,
            &Program::invertOwn,
            &Program::invertToParts,
            &Program::invertToBuffer,
            &Program::angleAndQuadrant,
            &Program::copyAndCrop,
            &Program::archiveBuffer,
            &Program::archiveFilter,
            &Program::registerClass,
            &Program::countReferences,
            &Program::throwAndArchiveError,
            &Program::copyPels,
            &Program::cancel,
        };
        const auto index = static_cast<std::size_t>(random_.between(0, std::ssize(steps) - 1));
        digest_.add(static_cast<std::uint64_t>(index));
        try {
            (this->*steps[index])();
        } catch (const vxFrequencyDefs::Errors& error) {
            digest_.add(static_cast<std::uint64_t>(error.errorNumber()));
            digest_.add(std::string_view(error.what()));
        }
    }

    // One image of the pel type T.
    template <class T>
    static auto& ofType(auto& images) {
        if constexpr (std::is_same_v<T, unsigned char>) {
            return images.bytes;
        } else if constexpr (std::is_same_v<T, unsigned short>) {
            return images.words;
        } else {
            return images.doubles;
        }
    }
    // Calls f(T()) with a random pel type.
    template <class F>
    void withPels(F f) {
        switch (random_.between(0, 2)) {
        case 0:
            return f(static_cast<unsigned char>(0));
        case 1:
            return f(static_cast<unsigned short>(0));
        default:
            return f(0.0);
        }
    }
    bool flip() { return random_.oneIn(2); }
    const Images& sharedImages() { return flip() ? shared_.images : shared_.offsetImages; }
    const vxFrequencyBuffer& sharedBuffer() {
        switch (random_.between(0, 2)) {
        case 0:
            return shared_.spectrum;
        case 1:
            return shared_.masked;
        default:
            return shared_.consumed;
        }
    }
    const vxFrequencyFilter& sharedFilter() {
        const long last = static_cast<long>(shared_.filters.size()) - 1;
        return *shared_.filters[static_cast<std::size_t>(random_.between(0, last))];
    }
    // An output: not bound, or bound to pels of another size.
    template <class T>
    vxPelBuffer<T> output() {
        return flip() ? vxPelBuffer<T>() : vxPelBuffer<T>(shared_.size.x() / 2, shared_.size.y() + 1);
    }

    void transformOwnImage() {
        const long width = random_.between(shared_.size.x() / 2 + 1, shared_.size.x());
        const long height = random_.between(shared_.size.y() / 2 + 1, shared_.size.y());
        const Images images = randomImages(random_, width, height);
        withPels([&](auto pel) { vfForwardFFT(ofType<decltype(pel)>(images), own_); });
    }
    void transformSharedImage() {
        const Images& images = sharedImages();
        withPels([&](auto pel) { vfForwardFFT(ofType<decltype(pel)>(images), own_); });
    }
    void transformPair() {
        withPels([&](auto pel) {
            using T = decltype(pel);
            // Images of two sizes are refused.
            vfForwardFFT(ofType<T>(sharedImages()), ofType<T>(shared_.images), own_);
        });
    }
    void transformBuffer() { vfForwardFFT(flip() ? own_ : sharedBuffer(), own_); }

    void filterInPlace() { sharedFilter().apply(own_); }
    void filterShared() { sharedFilter().apply(sharedBuffer(), own_); }
    void buildFilter() {
        const double sigma = random_.fraction() / 8.0; // 0 is refused.
        vxFrequencyFilterGabor gabor;
        gabor.set({sigma, 0.01}, {0.0, 0.01}, vxRadian(random_.fraction()), random_.fraction(), shared_.size,
                  random_.between(0, 1));
        const vxFrequencyFilterBandPass band(sigma, 0.01, random_.fraction(), shared_.size, 0);
        const std::unique_ptr<vxFrequencyFilter> copy(flip() ? gabor.clone() : band.clone());
        gabor.frequency(random_.fraction());
        copy->apply(own_);
        gabor.apply(shared_.spectrum, own_);
    }

    void updateOwn() {
        const vxFrequencyBuffer& other = sharedBuffer();
        switch (random_.between(0, 2)) {
        case 0:
            vfFrequencyMultiply(other, own_);
            break;
        case 1:
            vfFrequencyAdd(other, own_);
            break;
        default:
            vfFrequencySubtract(other, own_);
            break;
        }
    }
    void combineShared() {
        const vxFrequencyBuffer& a = sharedBuffer();
        const vxFrequencyBuffer& b = sharedBuffer();
        switch (random_.between(0, 2)) {
        case 0:
            vfFrequencyMultiply(a, b, own_);
            break;
        case 1:
            vfFrequencyAdd(a, b, own_);
            break;
        default:
            vfFrequencySubtract(a, b, own_);
            break;
        }
    }
    void conjugate() {
        if (flip()) {
            vfFrequencyConjugate(own_);
        } else {
            vfFrequencyConjugate(sharedBuffer(), own_);
        }
    }

    vxPelBuffer<double> anyView() {
        const vxFrequencyBuffer& buffer = flip() ? own_ : sharedBuffer();
        const bool centered = flip();
        switch (random_.between(0, 3)) {
        case 0:
            return buffer.getRealImage(centered);
        case 1:
            return buffer.getImaginaryImage(centered);
        case 2:
            return buffer.getMagnitudeImage(centered);
        default:
            return buffer.getPhaseImage(centered);
        }
    }
    void view() { digest_.add(anyView()); }
    void sample() {
        const vxPair<double> value = sharedBuffer().get(random_.between(-2, 2), random_.between(-2, 2), true);
        own_.put(random_.between(0, 4), random_.between(0, 3), value, false);
    }
    void map() {
        const auto mapping = static_cast<vxFrequencyDefs::FrequencyMapping>(random_.between(0, 4));
        digest_.add(vfFrequencyMapImage(flip() ? anyView() : shared_.images.doubles, mapping, -100.0, 900.0));
    }

    void invertShared() {
        const vxFrequencyBuffer& buffer = sharedBuffer();
        withPels([&](auto pel) {
            auto image = output<decltype(pel)>();
            vfInverseFFT(buffer, image, flip());
            digest_.add(image);
        });
    }
    void invertOwn() {
        withPels([&](auto pel) {
            auto image = output<decltype(pel)>();
            vfInverseFFT(own_, image, flip(), flip());
            digest_.add(image);
        });
    }
    void invertToParts() {
        auto real = output<double>();
        auto imaginary = output<double>();
        if (flip()) {
            vfInverseFFT(sharedBuffer(), real, imaginary);
        } else {
            vfInverseFFT(own_, real, imaginary, flip());
        }
        digest_.add(real);
        digest_.add(imaginary);
    }
    void invertToBuffer() {
        if (flip()) {
            vfInverseFFT(sharedBuffer(), own_);
        } else {
            vxFrequencyBuffer spatial;
            vfInverseFFT(own_, spatial, flip());
            digest_.addStored(spatial);
        }
    }
    void angleAndQuadrant() {
        const vxFrequencyBuffer& buffer = sharedBuffer();
        withPels([&](auto pel) {
            auto image = output<decltype(pel)>();
            if (flip()) {
                auto angle = output<double>();
                vfInverseFFTAngle(buffer, image, angle, flip());
                digest_.add(angle);
            } else {
                auto quadrant = output<unsigned char>();
                vfInverseFFTQuadrant(buffer, image, quadrant, flip());
                digest_.add(quadrant);
            }
            digest_.add(image);
        });
        vxPelBuffer<double> angle;
        vf_ComputeAngleImage(shared_.consumed, angle);
        vxPelBuffer<unsigned char> quadrant;
        vf_ComputeQuadrantImage(shared_.consumed, quadrant);
        digest_.add(angle);
        digest_.add(quadrant);
    }

    void copyAndCrop() {
        const vxFrequencyBuffer copy(sharedBuffer());
        const vxFrequencyBuffer cropped(copy, shared_.size.x() / 2, shared_.size.y() / 2);
        digest_.add(std::uint64_t{copy == own_});
        digest_.addStored(cropped);
        own_ = copy;
    }

    void archiveBuffer() {
        std::istringstream stream(stored(flip() ? own_ : sharedBuffer()));
        vxInputArchive archive(stream);
        archive || own_;
    }
    static std::string storedPointer(const vxPersistent* object) {
        std::ostringstream stream;
        vxOutputArchive archive(stream);
        auto* pointer = const_cast<vxPersistent*>(object); // Which storing does not change.
        archive || pointer;
        return stream.str();
    }
    static vxPersistent* loadedPointer(const std::string& bytes) {
        std::istringstream stream(bytes);
        vxInputArchive archive(stream);
        vxPersistent* object = nullptr;
        archive || object;
        return object;
    }
    void archiveFilter() {
        const std::string bytes = storedPointer(&sharedFilter());
        const std::unique_ptr<vxPersistent> object(loadedPointer(bytes));
        digest_.add(std::uint64_t{storedPointer(object.get()) == bytes});
        dynamic_cast<const vxFrequencyFilter&>(*object).apply(own_);
    }
    void registerClass() {
        const vx_Instantiator exemplar(typeid(Visitor), &Visitor::make);
        Visitor visitor;
        visitor.value = random_.between(0, 1000);
        const std::unique_ptr<vxPersistent> loaded(loadedPointer(storedPointer(&visitor)));
        digest_.add(static_cast<std::uint64_t>(dynamic_cast<const Visitor&>(*loaded).value));
    }
    void countReferences() {
        const vxFrequencyFilter& filter = sharedFilter();
        filter.addReference();
        digest_.add(std::uint64_t{filter.referenceCount() > 1});
        filter.removeReference();
    }
    void throwAndArchiveError() {
        const vxFrequencyDefs::InvalidSize error(random_.oneIn(2) ? "a message" : nullptr);
        digest_.addStored(error);
        const vxFrequencyDefs::InvalidSize copy(error);
        throw copy;
    }

    void copyPels() {
        withPels([&](auto pel) {
            using T = decltype(pel);
            const vxPelBuffer<T>& source = ofType<T>(sharedImages());
            vxPelBuffer<T> image(shared_.size.x(), shared_.size.y());
            vfPelSet(image, static_cast<T>(7));
            const long x = random_.between(0, image.width() - 1);
            const long y = random_.between(0, image.height() - 1);
            vxPelBuffer<T> window = image.window(x, y, image.width() - x, image.height() - y);
            vfPelCopy(source, window);
            window.offset(random_.between(-9, 9), random_.between(-9, 9));
            vfPelCopy(window, image); // They share memory.
            digest_.add(image);
        });
    }

    // A transform of the shared image that is cancelled somewhere, or finishes before.
    void cancel() {
        long left = random_.between(0, 12);
        vxFrequencyBuffer spectrum;
        vxPelBuffer<unsigned char> image;
        {
            const vxAttention::Scope scope([&left] {
                if (left-- == 0) {
                    throw Cancelled();
                }
            });
            try {
                vfForwardFFT(shared_.images.bytes, spectrum);
                const vxAttention::Scope inner([] {});
                vfInverseFFT(shared_.masked, image, true);
            } catch (const Cancelled&) {
                digest_.add(std::string_view("cancelled"));
            }
        }
        vfForwardFFT(shared_.images.bytes, spectrum);
        digest_.addStored(spectrum);
        digest_.add(image);
    }

    Random random_;
    const SharedObjects& shared_;
    Digest digest_;
    vxFrequencyBuffer own_;
};

} // namespace

Outcome runProgram(std::uint64_t seed) {
    return Program(seed).run();
}

} // namespace soak

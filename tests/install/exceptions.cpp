// Every exception class of the libraries, thrown inside them and caught here by its own type and by its
// bases. Built with hidden visibility, as plug-ins and libraries of users are: the type information must be
// one all the same.
#include <filt/fft.h>
#include <filt/freqfilt.h>
#include <kavstd/attention.h>
#include <kavsys/assert.h>

#include <exception>
#include <functional>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <typeinfo>

namespace {

int failures = 0;
int classes = 0;

template <class Error>
void expectCaught(const char* name, const char* as, const std::function<void()>& provoke) {
    try {
        try {
            provoke();
            std::cerr << name << ": not thrown\n";
        } catch (const Error&) {
            return;
        }
    } catch (const std::exception& error) {
        std::cerr << name << ": not caught as " << as << " but as " << typeid(error).name() << '\n';
    }
    ++failures;
}

template <class Error>
void expectExact(const char* name, const std::function<void()>& provoke) {
    expectCaught<Error>(name, name, provoke);
    expectCaught<std::exception>(name, "std::exception", provoke);
    try {
        provoke();
    } catch (const std::exception& error) {
        if (typeid(error) != typeid(Error)) {
            std::cerr << name << ": is of another type, " << typeid(error).name() << '\n';
            ++failures;
        }
    }
    ++classes;
}

template <class Error>
void expectToolkit(const char* name, const std::function<void()>& provoke) {
    expectExact<Error>(name, provoke);
    expectCaught<vxExceptionWithString>(name, "vxExceptionWithString", provoke);
    expectCaught<vxException>(name, "vxException", provoke);
    // Kept on the heap and thrown again, as schedulers do.
    expectCaught<Error>(name, name, [&provoke] {
        Error* kept = nullptr;
        try {
            provoke();
        } catch (const Error& error) {
            kept = new Error(error);
        }
        if (kept != nullptr) {
            static_cast<vxException*>(kept)->suicideAndRethrow();
        }
    });
}

template <class Error>
void expectFrequency(const char* name, const std::function<void()>& provoke) {
    expectToolkit<Error>(name, provoke);
    expectCaught<vxFrequencyDefs::Errors>(name, "vxFrequencyDefs::Errors", provoke);
}

#define EXPECT_EXACT(Error, ...) expectExact<Error>(#Error, [] { __VA_ARGS__; })
#define EXPECT_TOOLKIT(Error, ...) expectToolkit<Error>(#Error, [] { __VA_ARGS__; })
#define EXPECT_FREQUENCY(Error, ...) expectFrequency<Error>(#Error, [] { __VA_ARGS__; })

/// What an archive of the value holds.
template <class T>
std::string stored(T value) {
    std::ostringstream stream;
    vxOutputArchive archive(stream);
    archive || value;
    return stream.str();
}

template <class T>
void load(const std::string& bytes) {
    std::istringstream stream(bytes);
    vxInputArchive archive(stream);
    T value{};
    archive || value;
}

std::string withoutItsLastByte(std::string bytes) {
    bytes.pop_back();
    return bytes;
}

std::string with(std::string bytes, std::size_t fromTheEnd, char value) {
    bytes.at(bytes.size() - fromTheEnd) = value;
    return bytes;
}

void loadAFilterOfAnUnknownType() {
    vxFrequencyFilterBandPass filter;
    std::string bytes = stored(static_cast<vxPersistent*>(&filter));
    bytes.replace(bytes.find("BandPass"), 8, "Unheard!");
    load<vxPersistent*>(bytes);
}

void writeToNothing() {
    std::ostream nowhere(nullptr);
    vxOutputArchive archive(nowhere);
}

/// Moves everything by a distance that is not the same everywhere.
class Bulge : public vx2Xform {
public:
    [[nodiscard]] vxVector<2> mapPoint(const vxVector<2>& point) const override {
        return {point.x() * point.x(), point.y()};
    }
    [[nodiscard]] std::unique_ptr<vx2Xform> clone() const override { return std::make_unique<Bulge>(*this); }
};

void askABulgeForItsLinearTransform() {
    vx2XformCache cache;
    cache.xform(Bulge());
    static_cast<void>(cache.linearXform());
}

void readAConsumedSpectrum() {
    vxFrequencyBuffer spectrum(4, 4);
    vxPelBuffer<double> image;
    vfInverseFFT(spectrum, image, true, true);
    static_cast<void>(spectrum.get(0, 0, false));
}

void transformNothing() {
    vxFrequencyBuffer spectrum;
    vfForwardFFT(vxPelBuffer<double>(), spectrum);
}

/// An application's own, which the libraries do not know and let through.
struct Cancelled : std::runtime_error {
    using std::runtime_error::runtime_error;
};

void cancel() {
    const vxAttention::Scope scope([] { throw Cancelled("enough"); });
    vxFrequencyBuffer spectrum;
    vfForwardFFT(vxPelBuffer<double>(64, 64), spectrum);
}

void run() {
    EXPECT_EXACT(vxAssertionFailure, vfAssertionFailed("true", __FILE__, __LINE__));

    EXPECT_TOOLKIT(vxArchive::UnknownVersion, load<vxPair<long>>(with(stored(vxPair<long>(1, 2)), 17, 9)));
    EXPECT_TOOLKIT(vxArchive::EndOfData, load<double>(withoutItsLastByte(stored(1.0))));
    EXPECT_TOOLKIT(vxArchive::Malformed, load<bool>(with(stored(true), 1, 7)));
    EXPECT_TOOLKIT(vxArchive::UnknownType, loadAFilterOfAnUnknownType());
    EXPECT_TOOLKIT(vxArchive::WriteFailed, writeToNothing());
    EXPECT_TOOLKIT(vx2Xform::Singular, static_cast<void>(vxXform<2>({0, 0, 0, 0}, {}).inverse()));
    EXPECT_TOOLKIT(vx2Xform::NotLinear, askABulgeForItsLinearTransform());
    EXPECT_TOOLKIT(vx_PelBuffer::BadGeometry, static_cast<void>(vxPelBuffer<double>(2, 2).pointToRow(2)));

    EXPECT_FREQUENCY(vxFrequencyDefs::InvalidArgument, vxFrequencyFilterBandPass(-1.0, 0.0, 0.1, {8, 8}, 0));
    EXPECT_FREQUENCY(vxFrequencyDefs::Uninitialized, static_cast<void>(vxFrequencyBuffer().width()));
    EXPECT_FREQUENCY(vxFrequencyDefs::InvalidSize, vxFrequencyBuffer(4096, 4096));
    EXPECT_FREQUENCY(vxFrequencyDefs::UnboundWindow, transformNothing());
    EXPECT_FREQUENCY(vxFrequencyDefs::InvalidBuffer, readAConsumedSpectrum());
    EXPECT_FREQUENCY(vxFrequencyDefs::BadCoord, static_cast<void>(vxFrequencyBuffer(4, 4).get(9, 0, false)));

    EXPECT_EXACT(Cancelled, cancel());
}

} // namespace

int main() {
    run();
    std::cout << classes << " classes caught by type\n";
    return failures == 0 ? 0 : 1;
}

/// \file
/// The rows of filt/fft.
#include "filt/fft.h"
#include "tests/fault/operands.h"

#include <limits>

namespace fault {
namespace {

std::string imageText(const std::string& pel, const char* name) {
    return "const vxPelBuffer_const<" + pel + ">& " + name;
}

/// Images and pairs of images, by both spellings.
template <class T>
std::vector<Row> forwardRows() {
    const std::string destination = ", vxFrequencyBuffer& destination)";
    const auto one = [&](const std::string& function, const std::string& pel) {
        return function + "(" + imageText(pel, "source") + destination;
    };
    const auto two = [&](const std::string& function, const std::string& pel) {
        return function + "(" + imageText(pel, "real") + ", " + imageText(pel, "imaginary") + destination;
    };
    const Images<T> images = {{"8 x 8", [] { return image<T>(8, 8); }}, {"5 x 3 at an offset", [] {
                                                                             return image<T>(5, 3, {-2, 1});
                                                                         }}};
    std::vector<Row> rows;
    for (const auto& from : images) {
        for (const auto& to : destinations()) {
            const std::string state = std::string(pelName<T>()) + ", " + from.name + " into " + to.name;
            rows.push_back(rewritten(
                {one("vf_ForwardFFT", pelName<T>()), one("vfForwardFFT", "T")}, state, {1},
                [from, to] { return std::tuple(from.make(), to.make()); },
                [](const vxPelBuffer<T>& source, vxFrequencyBuffer& result) {
                    vfForwardFFT(source, result);
                }));
            rows.push_back(rewritten(
                {two("vf_ForwardFFT", pelName<T>()), two("vfForwardFFT", "T")}, state, {2},
                [from, to] { return std::tuple(from.make(), from.make(), to.make()); },
                [](const vxPelBuffer<T>& real, const vxPelBuffer<T>& imaginary, vxFrequencyBuffer& result) {
                    vfForwardFFT(real, imaginary, result);
                }));
        }
    }
    rows.push_back(strong(
        {one("vf_ForwardFFT", pelName<T>())}, "refused",
        [] { return std::tuple(image<T>(2049, 1), spectrum(8, 8)); },
        [](const vxPelBuffer<T>& source, vxFrequencyBuffer& result) {
            refused<vxFrequencyDefs::InvalidSize>([&] { vf_ForwardFFT(source, result); });
        }));
    return rows;
}

/// One buffer into another, which may be the same.
std::vector<Row> bufferTransformRows() {
    const std::string forward =
        "vfForwardFFT(const vxFrequencyBuffer& source, vxFrequencyBuffer& destination)";
    const std::string copied =
        "vfInverseFFT(const vxFrequencyBuffer& source, vxFrequencyBuffer& destination)";
    const std::string own =
        "vfInverseFFT(vxFrequencyBuffer& source, vxFrequencyBuffer& destination, bool inPlace)";
    Buffers readable = sources();
    readable.push_back({"consumed", [] { return consumedSpectrum(8, 8); }});
    std::vector<Row> rows;
    for (const auto& from : readable) {
        for (const auto& to : destinations()) {
            const auto both = [from, to] { return std::tuple(from.make(), to.make()); };
            const std::string text = from.name + " into " + to.name;
            // A consumed buffer is read as it is: only giving the result another size can fail.
            const bool copies = from.name == "consumed" && to.name == "8 x 8";
            rows.push_back(rewritten({forward}, text, {1}, both,
                                     [](const auto& source, auto& result) { vfForwardFFT(source, result); }));
            rows.push_back(row(copies ? Guarantee::cannotFail : Guarantee::rewritten, {copied, own}, text,
                               {1}, both,
                               [](const auto& source, auto& result) { vfInverseFFT(source, result); }));
            rows.push_back(row(copies ? Guarantee::cannotFail : Guarantee::inPlace, {own}, text + " in place",
                               {0, 1}, both,
                               [](auto& source, auto& result) { vfInverseFFT(source, result, true); }));
        }
        const auto one = [from] { return std::tuple(from.make()); };
        rows.push_back(inPlace({forward}, from.name + " into itself", {0}, one,
                               [](vxFrequencyBuffer& buffer) { vfForwardFFT(buffer, buffer); }));
        if (from.name != "consumed") {
            rows.push_back(inPlace({own}, from.name + " into itself", {0}, one,
                                   [](vxFrequencyBuffer& buffer) { vfInverseFFT(buffer, buffer, true); }));
        }
    }
    return rows;
}

/// What the inverses to images read.
Buffers invertible() {
    Buffers buffers = sources();
    buffers.push_back({"consumed", [] { return consumedSpectrum(5, 3, {2, -1}); }});
    return buffers;
}

/// Two outputs, as images of either kind or of one memory. Unless it works in place, an inverse leaves
/// everything as it was.
template <class A, class B, class Run>
std::vector<Row> inverseRows(const std::vector<std::string>& operations, const std::string& mode,
                             bool ownSamples, Run run) {
    std::vector<Row> rows;
    for (const auto& from : invertible()) {
        const bool loses = ownSamples && from.name != "consumed";
        const auto add = [&](const std::string& into, auto makeImages) {
            rows.push_back(row(
                loses ? Guarantee::inPlace : Guarantee::strong, operations,
                from.name + " into " + into + mode,
                loses ? std::vector<std::size_t>{0} : std::vector<std::size_t>{},
                [from, makeImages] { return std::tuple_cat(std::tuple(from.make()), makeImages()); }, run));
        };
        const Images<A> firsts = outputs<A>();
        const Images<B> seconds = outputs<B>();
        for (std::size_t i = 0; i < firsts.size(); ++i) {
            add(firsts[i].name,
                [first = firsts[i].make, second = seconds[i].make] { return std::tuple(first(), second()); });
        }
        if constexpr (std::is_same_v<A, B>) {
            add("images of one memory", [] {
                const auto both = image<A>(6, 5, {1, -2});
                return std::tuple(both, both);
            });
        }
    }
    return rows;
}

constexpr const char* inverse = "(vxFrequencyBuffer& buffer, vxPelBuffer<";
constexpr const char* constInverse = "(const vxFrequencyBuffer& buffer, vxPelBuffer<";

/// The magnitude images of one pel type, by every spelling.
template <class T>
std::vector<Row> magnitudeRows() {
    using Angle = vxPelBuffer<double>;
    using Quadrant = vxPelBuffer<unsigned char>;
    const std::string pel = pelName<T>();
    const std::string flags = ", bool normalize, bool inPlace)";
    const std::string angleText =
        "vf_InverseFFT" + (inverse + pel) + ">& image, vxPelBuffer<double>* angle" + flags;
    const std::string quadrantText =
        "vf_InverseFFT" + (inverse + pel) + ">& image, vxPelBuffer<unsigned char>& quadrant" + flags;
    const std::string angleEnd = "T>& image, vxPelBuffer<double>& angle, bool normalize";
    const std::string quadrantEnd = "T>& image, vxPelBuffer<unsigned char>& quadrant, bool normalize";
    std::vector<Row> rows;
    for (const bool normalize : {false, true}) {
        const std::string mode = normalize ? ", normalized, " + pel : ", " + pel;
        append(rows,
               inverseRows<T, double>(
                   {std::string("vfInverseFFT") + constInverse + "T>& image, bool normalize)"}, mode, false,
                   [normalize](const vxFrequencyBuffer& buffer, vxPelBuffer<T>& image, Angle& /*none*/) {
                       vfInverseFFT(buffer, image, normalize);
                   }));
        append(rows, inverseRows<T, double>(
                         {std::string("vfInverseFFTAngle") + constInverse + angleEnd + ")"}, mode, false,
                         [normalize](const vxFrequencyBuffer& buffer, vxPelBuffer<T>& image, Angle& angle) {
                             vfInverseFFTAngle(buffer, image, angle, normalize);
                         }));
        append(rows,
               inverseRows<T, unsigned char>(
                   {std::string("vfInverseFFTQuadrant") + constInverse + quadrantEnd + ")"}, mode, false,
                   [normalize](const vxFrequencyBuffer& buffer, vxPelBuffer<T>& image, Quadrant& quadrant) {
                       vfInverseFFTQuadrant(buffer, image, quadrant, normalize);
                   }));
        for (const bool inPlace : {false, true}) {
            const std::string placed = mode + (inPlace ? ", in place" : "");
            append(rows,
                   inverseRows<T, double>(
                       {angleText, "vfInverseFFT" + (inverse + std::string("T>& image")) + flags}, placed,
                       inPlace, [=](vxFrequencyBuffer& buffer, vxPelBuffer<T>& image, Angle& /*none*/) {
                           vfInverseFFT(buffer, image, normalize, inPlace);
                       }));
            append(rows,
                   inverseRows<T, double>(
                       {angleText, std::string("vfInverseFFTAngle") + inverse + angleEnd + ", bool inPlace)"},
                       placed, inPlace, [=](vxFrequencyBuffer& buffer, vxPelBuffer<T>& image, Angle& angle) {
                           vfInverseFFTAngle(buffer, image, angle, normalize, inPlace);
                       }));
            append(rows, inverseRows<T, unsigned char>(
                             {quadrantText, std::string("vfInverseFFTQuadrant") + inverse + quadrantEnd +
                                                ", bool inPlace)"},
                             placed, inPlace,
                             [=](vxFrequencyBuffer& buffer, vxPelBuffer<T>& image, Quadrant& quadrant) {
                                 vfInverseFFTQuadrant(buffer, image, quadrant, normalize, inPlace);
                             }));
        }
    }
    return rows;
}

/// Real and imaginary images, angles and quadrants.
std::vector<Row> partRows() {
    using Image = vxPelBuffer<double>;
    const std::string text = "double>& real, vxPelBuffer<double>& imaginary";
    std::vector<Row> rows =
        inverseRows<double, double>({std::string("vfInverseFFT") + constInverse + text + ")"}, "", false,
                                    [](const vxFrequencyBuffer& buffer, Image& real, Image& imaginary) {
                                        vfInverseFFT(buffer, real, imaginary);
                                    });
    for (const bool inPlace : {false, true}) {
        append(rows, inverseRows<double, double>(
                         {std::string("vfInverseFFT") + inverse + text + ", bool inPlace)"},
                         inPlace ? " in place" : "", inPlace,
                         [inPlace](vxFrequencyBuffer& buffer, Image& real, Image& imaginary) {
                             vfInverseFFT(buffer, real, imaginary, inPlace);
                         }));
    }
    append(rows, inverseRows<double, unsigned char>(
                     {"vf_ComputeAngleImage(const vxFrequencyBuffer& buffer, vxPelBuffer<double>& angle)"},
                     "", false, [](const vxFrequencyBuffer& buffer, Image& angle, auto& /*none*/) {
                         vf_ComputeAngleImage(buffer, angle);
                     }));
    append(rows, inverseRows<unsigned char, double>(
                     {"vf_ComputeQuadrantImage(const vxFrequencyBuffer& buffer, vxPelBuffer<unsigned char>& "
                      "quadrant)"},
                     "", false, [](const vxFrequencyBuffer& buffer, auto& quadrant, Image& /*none*/) {
                         vf_ComputeQuadrantImage(buffer, quadrant);
                     }));
    return rows;
}

/// A crop whose copy has another size than it has. By pointer: assigning a crop would copy it.
using Cropped = std::shared_ptr<vxFrequencyBuffer>;
Cropped cropped() {
    return std::make_shared<vxFrequencyBuffer>(spectrum(9, 6), 8, 4);
}

std::vector<Row> croppedRows() {
    const std::string buffers = "(const vxFrequencyBuffer& source, vxFrequencyBuffer& destination)";
    return {
        strong(
            {std::string("vfInverseFFT") + constInverse + "T>& image, bool normalize)"}, "cropped",
            [] { return std::tuple(cropped(), vxPelBuffer<double>()); },
            [](const Cropped& source, auto& result) { vfInverseFFT(std::as_const(*source), result, true); }),
        rewritten(
            {"vfInverseFFT" + buffers}, "cropped", {1}, [] { return std::tuple(cropped(), spectrum(8, 8)); },
            [](const Cropped& source, auto& result) { vfInverseFFT(std::as_const(*source), result); }),
        rewritten(
            {"vfForwardFFT" + buffers}, "cropped", {1}, [] { return std::tuple(cropped(), spectrum(8, 8)); },
            [](const Cropped& source, auto& result) { vfForwardFFT(*source, result); }),
        inPlace(
            {std::string("vfInverseFFT") + inverse + "T>& image, bool normalize, bool inPlace)"},
            "cropped, in place", {0}, [] { return std::tuple(cropped(), vxPelBuffer<double>()); },
            [](const Cropped& source, auto& result) { vfInverseFFT(*source, result, true, true); }),
        inPlace(
            {std::string("vfInverseFFT") + inverse +
             "double>& real, vxPelBuffer<double>& imaginary, bool inPlace)"},
            "cropped, in place", {0},
            [] {
                return std::tuple(cropped(), vxPelBuffer<double>(), image<double>(6, 5, {1, -2}));
            },
            [](const Cropped& source, auto& real, auto& imaginary) {
                vfInverseFFT(*source, real, imaginary, true);
            }),
        inPlace(
            {"vfInverseFFT(vxFrequencyBuffer& source, vxFrequencyBuffer& destination, bool inPlace)"},
            "cropped, in place", {0, 1}, [] { return std::tuple(cropped(), spectrum(8, 8)); },
            [](const Cropped& source, auto& result) { vfInverseFFT(*source, result, true); }),
        inPlace(
            {"vfInverseFFT(vxFrequencyBuffer& source, vxFrequencyBuffer& destination, bool inPlace)"},
            "cropped, into itself", {0}, [] { return std::tuple(cropped()); },
            [](const Cropped& source) { vfInverseFFT(*source, *source, true); }),
    };
}

const std::string buffer = "vxFrequencyBuffer::";
const std::string destructor = buffer + "~vxFrequencyBuffer()";

std::vector<Row> constructionRows() {
    using Made = std::optional<vxFrequencyBuffer>;
    const std::string copy = buffer + "vxFrequencyBuffer(const vxFrequencyBuffer& source)";
    std::vector<Row> rows = {
        cannotFail({buffer + "vxFrequencyBuffer()", destructor}, [] { const vxFrequencyBuffer none; }),
        strong(
            {buffer + "vxFrequencyBuffer(long width, long height)", destructor}, "",
            [] { return std::tuple(Made()); }, [](Made& made) { made.emplace(5, 3); }),
        strong(
            {buffer + "vxFrequencyBuffer(long width, long height)"}, "refused",
            [] { return std::tuple(Made()); },
            [](Made& made) { refused<vxFrequencyDefs::InvalidSize>([&] { made.emplace(2049, 3); }); }),
        strong(
            {copy}, "cropped", [] { return std::tuple(cropped(), Made()); },
            [](const auto& source, Made& made) { made.emplace(*source); }),
        cannotFail(
            {copy}, "empty", [] { return std::tuple(vxFrequencyBuffer(), Made()); },
            [](const auto& source, Made& made) { made.emplace(source); }),
        strong(
            {buffer + "vxFrequencyBuffer(const vxPelBuffer_const<double>& real, "
                      "const vxPelBuffer_const<double>& imaginary)"},
            "",
            [] {
                return std::tuple(image<double>(5, 3, {1, 2}), image<double>(5, 3, {1, 2}), Made());
            },
            [](const auto& real, const auto& imaginary, Made& made) { made.emplace(real, imaginary); }),
    };
    for (const auto& from : sources()) {
        const auto two = [from] { return std::tuple(from.make(), Made()); };
        rows.push_back(
            strong({copy}, from.name, two, [](const auto& source, Made& made) { made.emplace(source); }));
        rows.push_back(
            strong({buffer + "vxFrequencyBuffer(const vxFrequencyBuffer& source, long width, long height)"},
                   from.name, two, [](const auto& source, Made& made) { made.emplace(source, 4, 2); }));
    }
    return rows;
}

std::vector<Row> assignmentRows() {
    const std::string assign = buffer + "operator=(const vxFrequencyBuffer& source)";
    const auto run = [](vxFrequencyBuffer& target, const vxFrequencyBuffer& source) { target = source; };
    std::vector<Row> rows = {cannotFail(
        {assign}, "from an empty one", [] { return std::tuple(spectrum(8, 8), vxFrequencyBuffer()); }, run)};
    for (const auto& to : destinations()) {
        const bool same = to.name == "8 x 8";
        rows.push_back(row(
            same ? Guarantee::cannotFail : Guarantee::sized, {assign}, "8 x 8 to " + to.name, {0},
            [to] { return std::tuple(to.make(), spectrum(8, 8)); }, run));
    }
    return rows;
}

std::vector<Row> accessRows() {
    const std::string places = "(long x, long y, ";
    std::vector<Row> rows;
    for (const auto& from : sources()) {
        rows.push_back(cannotFail(
            {buffer + "width() const", buffer + "height() const",
             buffer + "get(long x, long y, bool centered) const",
             buffer + "getReal(long x, long y, bool centered) const",
             buffer + "getImaginary(long x, long y, bool centered) const",
             buffer + "put" + places + "vxPair<double> value, bool centered)",
             buffer + "putReal" + places + "double value, bool centered)",
             buffer + "putImaginary" + places + "double value, bool centered)",
             buffer + "operator==(const vxFrequencyBuffer& other) const",
             buffer + "operator!=(const vxFrequencyBuffer& other) const"},
            from.name, [from] { return std::tuple(from.make(), from.make(), 0.0); },
            [](vxFrequencyBuffer& samples, const vxFrequencyBuffer& other, double& sum) {
                sum =
                    static_cast<double>(samples.width() + samples.height()) + (samples == other ? 1.0 : 0.0);
                sum += samples != other ? 2.0 : 0.0;
                for (const bool centered : {false, true}) {
                    sum += samples.getReal(0, 1, centered) + samples.getImaginary(1, 0, centered);
                    samples.put(1, 1, samples.get(0, 0, centered), centered);
                    samples.putReal(1, 0, 2.0, centered);
                    samples.putImaginary(1, 0, 3.0, centered);
                }
            }));
        for (const bool centered : {false, true}) {
            const auto reader = [&rows, &from, text = from.name + (centered ? ", centred" : "")](
                                    const std::string& name, auto read) {
                rows.push_back(strong(
                    {buffer + name + "(bool centered) const"}, text,
                    [from] { return std::tuple(from.make(), vxPelBuffer<double>()); }, read));
            };
            reader("getRealImage", [centered](const auto& samples, auto& result) {
                result = samples.getRealImage(centered);
            });
            reader("getImaginaryImage", [centered](const auto& samples, auto& result) {
                result = samples.getImaginaryImage(centered);
            });
            reader("getMagnitudeImage", [centered](const auto& samples, auto& result) {
                result = samples.getMagnitudeImage(centered);
            });
            reader("getPhaseImage", [centered](const auto& samples, auto& result) {
                result = samples.getPhaseImage(centered);
            });
        }
    }
    rows.push_back(strong(
        {buffer + "get(long x, long y, bool centered) const"}, "refused",
        [] { return std::tuple(spectrum(8, 8)); },
        [](const vxFrequencyBuffer& samples) {
            refused<vxFrequencyDefs::BadCoord>([&] { static_cast<void>(samples.get(8, 0, false)); });
        }));
    return rows;
}

std::vector<Row> bufferArchiveRows() {
    std::vector<Row> rows;
    Buffers states = invertible();
    states.push_back({"empty", [] { return vxFrequencyBuffer(); }});
    for (const auto& from : states) {
        append(rows, archiveRowsOf({"operator||(vxArchive& archive, vxFrequencyBuffer& buffer)"}, from.name,
                                   from.make, [] { return spectrum(2, 16); }));
    }
    return rows;
}

using Combine = void (*)(const vxFrequencyBuffer&, const vxFrequencyBuffer&, vxFrequencyBuffer&);
using Update = void (*)(const vxFrequencyBuffer&, vxFrequencyBuffer&);

std::vector<Row> combinationRows(const std::string& name, Update update, Combine combine) {
    const std::string two = name + "(const vxFrequencyBuffer& a, vxFrequencyBuffer& b)";
    const std::string three =
        name + "(const vxFrequencyBuffer& a, const vxFrequencyBuffer& b, vxFrequencyBuffer& c)";
    const auto pair = [] { return std::tuple(spectrum(8, 8, {1, 2}), maskedSpectrum(8, 8)); };
    std::vector<Row> rows = {
        cannotFail({two}, "8 x 8", pair, [=](const auto& a, auto& b) { update(a, b); }),
        cannotFail({three}, "8 x 8 into a", pair, [=](auto& a, const auto& b) { combine(a, b, a); }),
        row(name == "vfFrequencySubtract" ? Guarantee::strong : Guarantee::cannotFail, {three},
            "8 x 8 into b", {}, pair, [=](const auto& a, auto& b) { combine(a, b, b); }),
        strong(
            {two}, "refused", [] { return std::tuple(spectrum(8, 8), spectrum(4, 8)); },
            [=](const auto& a, auto& b) { refused<vxFrequencyDefs::InvalidSize>([&] { update(a, b); }); }),
    };
    for (const auto& to : destinations()) {
        rows.push_back(row(
            to.name == "8 x 8" ? Guarantee::cannotFail : Guarantee::sized, {three}, "8 x 8 into " + to.name,
            {2}, [=] { return std::tuple(spectrum(8, 8), maskedSpectrum(8, 8), to.make()); },
            [=](const auto& a, const auto& b, auto& c) { combine(a, b, c); }));
    }
    return rows;
}

std::vector<Row> arithmeticRows() {
    std::vector<Row> rows = combinationRows("vfFrequencyMultiply", vfFrequencyMultiply, vfFrequencyMultiply);
    append(rows, combinationRows("vfFrequencyAdd", vfFrequencyAdd, vfFrequencyAdd));
    append(rows, combinationRows("vfFrequencySubtract", vfFrequencySubtract, vfFrequencySubtract));
    rows.push_back(cannotFail(
        {"vfFrequencyConjugate(vxFrequencyBuffer& a)"}, "8 x 8", [] { return std::tuple(spectrum(8, 8)); },
        [](vxFrequencyBuffer& a) { vfFrequencyConjugate(a); }));
    for (const auto& to : destinations()) {
        rows.push_back(row(
            to.name == "8 x 8" ? Guarantee::cannotFail : Guarantee::sized,
            {"vfFrequencyConjugate(const vxFrequencyBuffer& a, vxFrequencyBuffer& b)"},
            "8 x 8 into " + to.name, {1}, [=] { return std::tuple(spectrum(8, 8), to.make()); },
            [](const auto& a, auto& b) { vfFrequencyConjugate(a, b); }));
    }
    return rows;
}

std::vector<Row> mapRows() {
    using Defs = vxFrequencyDefs;
    std::vector<Row> rows;
    for (const auto mapping : {Defs::eClip, Defs::eLinear, Defs::eLinearRange, Defs::eLogarithmic,
                               Defs::eAngle, static_cast<Defs::FrequencyMapping>(5)}) {
        rows.push_back(strong(
            {"vfFrequencyMapImage(const vxPelBuffer_const<double>& src, "
             "vxFrequencyDefs::FrequencyMapping mapping, double rangeMin, double rangeMax)"},
            "mapping " + std::to_string(mapping),
            [] { return std::tuple(image<double>(5, 3), vxPelBuffer<unsigned char>()); },
            [mapping](const auto& source, auto& result) {
                result = vfFrequencyMapImage(source, mapping, 1.0, 20.0);
            }));
    }
    return rows;
}

/// An error class with its protected parts in reach.
template <class Error>
struct Opened : Error {
    using Error::Error;
    using Error::serialize_;
};

constexpr const char* longMessage = "a message that is longer than what a string keeps within itself";

template <class Error>
std::vector<Row> errorRows(const std::string& name) {
    const std::string scope = "vxFrequencyDefs::" + name + "::";
    const std::string errors = "vxFrequencyDefs::Errors::";
    const auto one = [] { return std::tuple(Error(longMessage)); };
    std::vector<Row> rows = {
        strong(
            {scope + name + "(const char* message = nullptr)",
             errors + "Errors(const char* message = nullptr)"},
            "", [] { return std::tuple(std::optional<Error>()); },
            [](std::optional<Error>& made) { made.emplace(longMessage); }),
        cannotFail({scope + name + "(const char* message = nullptr)", scope + name + "(const " + name + "&)",
                    scope + "operator=(const " + name + "&)", scope + "errorNumber() const",
                    scope + "~" + name + "()", errors + "Errors(const Errors&)",
                    errors + "operator=(const Errors&)", errors + "errorNumber() const",
                    errors + "~Errors()"},
                   "", one,
                   [](Error& error) {
                       const Error empty;
                       Error copy(error);
                       copy = empty;
                       error = copy.errorNumber() == error.errorNumber() ? copy : error;
                   }),
        cannotFail(
            {scope + "suicideAndRethrow()", errors + "suicideAndRethrow()"}, "",
            [] { return std::tuple(std::make_unique<Error>(longMessage), std::optional<Error>()); },
            [](std::unique_ptr<Error>& error, std::optional<Error>& caught) {
                try {
                    error.release()->suicideAndRethrow();
                } catch (const Error& copy) {
                    caught.emplace(copy);
                }
            }),
        strong(
            {scope + "serialize_(vxArchive& archive, unsigned char version)",
             errors + "serialize_(vxArchive& archive, unsigned char version)"},
            "store", [] { return std::tuple(Opened<Error>(longMessage), Sink()); },
            [](Opened<Error>& error, Sink& sink) {
                SinkStream stream(sink);
                vxOutputArchive archive(stream);
                error.serialize_(archive, 0);
            }),
    };
    append(rows, archiveRowsOf(
                     {scope + "dispatchSerialize(vxArchive& archive)",
                      errors + "dispatchSerialize(vxArchive& archive)"},
                     "", [] { return Error(longMessage); }, [] { return Error("another"); }));
    return rows;
}

std::vector<Row> allErrorRows() {
    using Defs = vxFrequencyDefs;
    std::vector<Row> rows = errorRows<Defs::InvalidArgument>("InvalidArgument");
    append(rows, errorRows<Defs::Uninitialized>("Uninitialized"));
    append(rows, errorRows<Defs::InvalidSize>("InvalidSize"));
    append(rows, errorRows<Defs::UnboundWindow>("UnboundWindow"));
    append(rows, errorRows<Defs::InvalidBuffer>("InvalidBuffer"));
    append(rows, errorRows<Defs::BadCoord>("BadCoord"));
    return rows;
}

std::vector<Row> allocatorRows() {
    using Allocator = vx_CacheLineAllocator<float>;
    const std::string name = "vx_CacheLineAllocator::";
    const std::string release = name + "deallocate(T* elements, std::size_t)";
    return {strong(
                {name + "allocate(std::size_t count)", release}, "", [] { return std::tuple(); },
                [] {
                    Allocator allocator;
                    allocator.deallocate(allocator.allocate(5), 5);
                }),
            cannotFail(
                {name + "vx_CacheLineAllocator()",
                 name + "vx_CacheLineAllocator(const vx_CacheLineAllocator<U>&)",
                 name + "operator==(const vx_CacheLineAllocator<U>&) const",
                 name + "operator!=(const vx_CacheLineAllocator<U>&) const"},
                "", [] { return std::tuple(false); },
                [](bool& same) {
                    const Allocator allocator;
                    const Allocator other{vx_CacheLineAllocator<double>()};
                    same = allocator == other && !(allocator != other);
                })};
}

} // namespace

std::vector<Row> transformRows() {
    std::vector<Row> rows = forwardRows<unsigned char>();
    append(rows, forwardRows<unsigned short>());
    append(rows, forwardRows<double>());
    append(rows, bufferTransformRows());
    append(rows, magnitudeRows<unsigned char>());
    append(rows, magnitudeRows<unsigned short>());
    append(rows, magnitudeRows<double>());
    append(rows, partRows());
    append(rows, croppedRows());
    append(rows, constructionRows());
    append(rows, assignmentRows());
    append(rows, accessRows());
    append(rows, bufferArchiveRows());
    append(rows, arithmeticRows());
    append(rows, mapRows());
    append(rows, allErrorRows());
    append(rows, allocatorRows());
    return rows;
}

} // namespace fault

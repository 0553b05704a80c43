#include "app/recipe_code.h"

#include "app/errors.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <numbers>
#include <utility>

namespace app {
namespace {

struct Class {
    const char* type;
    const char* name;
};
constexpr Class classes[] = {{"bandpass", "vxFrequencyFilterBandPass"},
                             {"bandreject", "vxFrequencyFilterBandReject"},
                             {"gabor", "vxFrequencyFilterGabor"},
                             {"gabor-reject", "vxFrequencyFilterGaborReject"},
                             {"image", "vxFrequencyFilterImage"}};

std::string classOf(const std::string& type) {
    return std::find_if(std::begin(classes), std::end(classes),
                        [&type](const Class& c) { return c.type == type; })
        ->name;
}

// The shortest text that a compiler reads as the same double.
std::string literal(double value) {
    char text[32];
    std::string digits(text, std::to_chars(text, std::end(text), value).ptr);
    return digits.find_first_of(".e") == std::string::npos ? digits + ".0" : digits;
}

std::string pairOf(const Extents& extents) {
    return "vxPair<double>(" + literal(extents.along) + ", " + literal(extents.across) + ")";
}

// What the constructor of the library's filter gets.
std::string ring(const FilterParameters& p) {
    return literal(p.sigma.along) + ", " + literal(p.plateau.along) + ", " + literal(p.frequency) +
           ", size, " + std::to_string(p.dcRadius);
}

std::string lobe(const FilterParameters& p, double radians) {
    return pairOf(p.sigma) + ", " + pairOf(p.plateau) + ", vxRadian(" + literal(radians) +
           "),\n              " + literal(p.frequency) + ", size, " + std::to_string(p.dcRadius);
}

constexpr const char* sizeComment =
    "    /// For spectra of that size: vxPair<long>(spectrum.width(), spectrum.height()).\n";
constexpr const char* applyStart =
    "    /// In place. Throws vxFrequencyDefs::InvalidSize for a spectrum of another size.\n";

std::string single(const std::string& library, const std::string& arguments) {
    return "/// Filters spectra of one size.\n"
           "class Filter {\n"
           "public:\n" +
           std::string(sizeComment) +
           "    explicit Filter(const vxPair<long>& size)\n"
           "        : filter_(" +
           arguments + ") {}\n\n" + applyStart +
           "    void apply(vxFrequencyBuffer& spectrum) const { filter_.apply(spectrum); }\n\n"
           "private:\n"
           "    " +
           library + " filter_;\n};\n";
}

std::string lobeMembers(const std::string& library) {
    return "private:\n    " + library + " lobe_;\n    " + library + " mirror_; // The opposite lobe.\n};\n";
}

std::string lobeInitializers(const FilterParameters& p) {
    const double angle = p.angle.toDouble();
    return "    explicit Filter(const vxPair<long>& size)\n"
           "        : lobe_(" +
           lobe(p, angle) +
           "),\n"
           "          mirror_(" +
           lobe(p, angle + std::numbers::pi) + ")";
}

std::string rejectPair(const FilterParameters& p, const std::string& library) {
    return "/// Filters spectra of one size.\n"
           "class Filter {\n"
           "public:\n" +
           std::string(sizeComment) + lobeInitializers(p) + " {}\n\n" + applyStart +
           "    void apply(vxFrequencyBuffer& spectrum) const {\n"
           "        lobe_.apply(spectrum);\n"
           "        mirror_.apply(spectrum);\n"
           "    }\n\n" +
           lobeMembers(library);
}

std::string passPair(const FilterParameters& p, const std::string& library) {
    return "/// Filters spectra of one size: what either lobe keeps is kept, and nothing counts twice where\n"
           "/// they overlap.\n"
           "class Filter final : public vxFrequencyFilter {\n"
           "public:\n" +
           std::string(sizeComment) + lobeInitializers(p) +
           " {\n"
           "        initialized_ = true;\n"
           "    }\n\n"
           "    vxFrequencyFilter* clone() const override { return new Filter(lobe_.size()); }\n\n"
           "    void apply(const vxFrequencyBuffer& in, vxFrequencyBuffer& out) const override {\n"
           "        out = in;\n"
           "        apply(out);\n"
           "    }\n" +
           applyStart +
           "    void apply(vxFrequencyBuffer& spectrum) const override {\n"
           "        vxFrequencyBuffer keptByMirror;\n"
           "        mirror_.apply(spectrum, keptByMirror);\n"
           "        lobe_.apply(spectrum);\n"
           "        vxFrequencyBuffer keptByBoth;\n"
           "        mirror_.apply(spectrum, keptByBoth);\n"
           "        vfFrequencyAdd(keptByMirror, spectrum);\n"
           "        vfFrequencySubtract(keptByBoth, spectrum);\n"
           "        maskFrequencyBuffer(spectrum, false, 0, 0); // Not confined to the rows of one lobe.\n"
           "    }\n\n" +
           lobeMembers(library);
}

std::string image(const Recipe& recipe) {
    const bool isUnit = recipe.settings.filter.kernelScale == KernelScale::unit;
    return std::string(
               "/// Convolves with a small image.\n"
               "class Filter {\n"
               "public:\n"
               "    /// The kernel's pels as its file has them (0 to 255 for 8 bits), not larger than the\n"
               "    /// spectra; their size is vxPair<long>(spectrum.width(), spectrum.height()).\n"
               "    Filter(const vxPelBuffer_const<double>& kernel, const vxPair<long>& size)\n"
               "        : filter_(spectrumOf(kernel, size)) {}\n\n") +
           applyStart +
           "    void apply(vxFrequencyBuffer& spectrum) const { filter_.apply(spectrum); }\n\n"
           "private:\n"
           "    // The kernel's middle pel is its origin; what lies before it wraps around.\n"
           "    static vxFrequencyBuffer spectrumOf(const vxPelBuffer_const<double>& kernel,\n"
           "                                        const vxPair<long>& size) {\n" +
           (isUnit ? "        double sum = 0.0;\n"
                     "        for (long y = 0; y < kernel.height(); ++y) {\n"
                     "            for (long x = 0; x < kernel.width(); ++x) {\n"
                     "                sum += kernel.pointToRow(y)[x];\n"
                     "            }\n"
                     "        }\n"
                   : "") +
           "        vxPelBuffer<double> padded(size.x(), size.y());\n"
           "        for (long y = 0; y < kernel.height(); ++y) {\n"
           "            double* row = padded.pointToRow((y - kernel.height() / 2 + size.y()) % size.y());\n"
           "            for (long x = 0; x < kernel.width(); ++x) {\n"
           "                row[(x - kernel.width() / 2 + size.x()) % size.x()] = kernel.pointToRow(y)[x]" +
           (isUnit ? " / sum" : "") +
           ";\n"
           "            }\n"
           "        }\n"
           "        vxFrequencyBuffer spectrum;\n"
           "        vfForwardFFT<double>(padded, spectrum);\n"
           "        return spectrum;\n"
           "    }\n\n"
           "    vxFrequencyFilterImage filter_;\n"
           "};\n";
}

std::string classText(const Recipe& recipe) {
    const FilterParameters& p = recipe.settings.filter;
    const std::string library = classOf(p.type);
    if (p.type == "image") {
        return image(recipe);
    }
    if (isRing(p)) {
        return single(library, ring(p));
    }
    if (!isPair(p)) {
        return single(library, lobe(p, p.angle.toDouble()));
    }
    return p.type == "gabor" ? passPair(p, library) : rejectPair(p, library);
}

} // namespace

std::string recipeCode(const Recipe& recipe, const std::string& origin) {
    return "// Made from " + oneLine(origin) +
           " by kavfilt. The filter alone: filling images up to the size of their\n"
           "// spectra and bringing results into the range of pels is the caller's.\n"
           "#pragma once\n\n"
           "#include <filt/fft.h>\n"
           "#include <filt/freqfilt.h>\n\n" +
           classText(recipe);
}

} // namespace app

#include "app/filters.h"

#include "app/errors.h"
#include "app/words.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <limits>
#include <numbers>

namespace app {
namespace {

using Gabor = vxFrequencyFilterGabor;
using GaborReject = vxFrequencyFilterGaborReject;

template <class Lobe>
Lobe mirrored(const Lobe& lobe) {
    Lobe mirror(lobe);
    mirror.angle(vxRadian(lobe.angle().toDouble() + std::numbers::pi));
    return mirror;
}

// Two lobes as one filter.
template <class Lobe>
class LobePair final : public vxFrequencyFilter {
public:
    explicit LobePair(const Lobe& lobe) : lobe_(lobe), mirror_(mirrored(lobe)) { initialized_ = true; }

    [[nodiscard]] vxFrequencyFilter* clone() const override { return new LobePair(lobe_); }

    void apply(const vxFrequencyBuffer& in, vxFrequencyBuffer& out) const override {
        out = in;
        apply(out);
    }
    void apply(vxFrequencyBuffer& buffer) const override {
        combine(lobe_, mirror_, buffer);
        maskFrequencyBuffer(buffer, false, 0, 0); // Not confined to the rows of one lobe.
    }

private:
    static void combine(const GaborReject& a, const GaborReject& b, vxFrequencyBuffer& buffer) {
        a.apply(buffer);
        b.apply(buffer);
    }
    static void combine(const Gabor& a, const Gabor& b, vxFrequencyBuffer& buffer) {
        vxFrequencyBuffer keptByB;
        b.apply(buffer, keptByB);
        a.apply(buffer);
        vxFrequencyBuffer keptByBoth;
        b.apply(buffer, keptByBoth);
        vfFrequencyAdd(keptByB, buffer);
        vfFrequencySubtract(keptByBoth, buffer);
    }

    Lobe lobe_;
    Lobe mirror_;
};

template <class Ring>
FilterPointer makeRing(const FilterParameters& p, const vxPair<long>& size) {
    return std::make_shared<Ring>(p.sigma.along, p.plateau.along, p.frequency, size, p.dcRadius);
}

template <class Lobe>
FilterPointer makeLobe(const FilterParameters& p, const vxPair<long>& size) {
    const vxPair<double> sigma(p.sigma.along, p.sigma.across);
    const vxPair<double> plateau(p.plateau.along, p.plateau.across);
    return std::make_shared<Lobe>(sigma, plateau, p.angle, p.frequency, size, p.dcRadius);
}

FilterPointer makeImage(const FilterParameters& p, const vxPair<long>& size) {
    if (!p.kernel) {
        throw UsageError("an image filter needs a kernel");
    }
    return std::make_shared<vxFrequencyFilterImage>(kernelSpectrum(*p.kernel, size, p.kernelScale));
}

// The library names the square's radius by what becomes of the square.
template <class Filter>
long dcRadiusOf(const Filter& filter) {
    if constexpr (requires { filter.dcRemovalRadius(); }) {
        return filter.dcRemovalRadius();
    } else {
        return filter.dcProtectionRadius();
    }
}

template <class Ring>
void describeRing(const vxFrequencyFilter& filter, FilterDescription& description) {
    const auto& ring = dynamic_cast<const Ring&>(filter);
    FilterParameters& p = description.parameters;
    p.frequency = ring.frequency();
    p.sigma = ring.sigma();
    p.plateau = ring.plateau();
    p.dcRadius = dcRadiusOf(ring);
    description.size = ring.size();
}

template <class Lobe>
void describeLobe(const vxFrequencyFilter& filter, FilterDescription& description) {
    const auto& lobe = dynamic_cast<const Lobe&>(filter);
    FilterParameters& p = description.parameters;
    p.frequency = lobe.frequency();
    p.sigma = {lobe.sigma().x(), lobe.sigma().y()};
    p.plateau = {lobe.plateau().x(), lobe.plateau().y()};
    p.angle = lobe.angle();
    p.dcRadius = dcRadiusOf(lobe);
    description.size = lobe.size();
}

void describeImage(const vxFrequencyFilter& filter, FilterDescription& description) {
    const auto& image = dynamic_cast<const vxFrequencyFilterImage&>(filter);
    description.size = {image.supportWidth(), image.supportHeight()};
}

template <class Lobe>
FilterPointer makePair(const vxFrequencyFilter& lobe) {
    return std::make_shared<LobePair<Lobe>>(dynamic_cast<const Lobe&>(lobe));
}

template <class Filter>
bool is(const vxFrequencyFilter& filter) {
    return dynamic_cast<const Filter*>(&filter) != nullptr;
}

struct Type {
    const char* name;
    bool (*isOfIt)(const vxFrequencyFilter&);
    FilterPointer (*make)(const FilterParameters&, const vxPair<long>& size);
    void (*describe)(const vxFrequencyFilter&, FilterDescription&);
    double
        largestExtent; // Wider than the whole spectrum makes no sense and only needs memory, for lobes much.
    FilterPointer (*makePair)(const vxFrequencyFilter& lobe); // Null where there is no lobe.
    bool isPairByDefault;
};

using BandPass = vxFrequencyFilterBandPass;
using BandReject = vxFrequencyFilterBandReject;
using ImageFilter = vxFrequencyFilterImage;

constexpr Type types[] = {
    {"bandpass", is<BandPass>, makeRing<BandPass>, describeRing<BandPass>, 1, nullptr, false},
    {"bandreject", is<BandReject>, makeRing<BandReject>, describeRing<BandReject>, 1, nullptr, false},
    {"gabor", is<Gabor>, makeLobe<Gabor>, describeLobe<Gabor>, 0.5, makePair<Gabor>, false},
    {"gabor-reject", is<GaborReject>, makeLobe<GaborReject>, describeLobe<GaborReject>, 0.5,
     makePair<GaborReject>, true},
    {"image", is<ImageFilter>, makeImage, describeImage, 0, nullptr, false},
};

constexpr Use no = Use::no;
constexpr Use may = Use::may;
constexpr Use must = Use::must;

// Which type takes which parameters, in the order of parameterNames.
struct Uses {
    const char* type;
    Use of[std::size(parameterNames)];
};
// clang-format off
constexpr Uses uses[] = {
    //                frequency sigma plateau dc   angle pair kernel unit
    {"bandpass",     {must,     must, may,    may, no,   no,  no,    no}},
    {"bandreject",   {must,     must, may,    may, no,   no,  no,    no}},
    {"gabor",        {must,     must, may,    may, must, may, no,    no}},
    {"gabor-reject", {must,     must, may,    may, must, may, no,    no}},
    {"image",        {no,       no,   no,     no,  no,   no,  must,  may}},
};
// clang-format on

const Type& typeNamed(const std::string& name) {
    const auto* type =
        std::find_if(std::begin(types), std::end(types), [&name](const Type& t) { return t.name == name; });
    if (type == std::end(types)) {
        throw UsageError("there is no filter type " + name);
    }
    return *type;
}

// Null for a filter that is not the library's.
const Type* typeOf(const vxFrequencyFilter& filter) {
    const auto* type = std::find_if(std::begin(types), std::end(types),
                                    [&filter](const Type& t) { return t.isOfIt(filter); });
    return type == std::end(types) ? nullptr : type;
}

bool hasLobe(const Type& type) {
    return type.makePair != nullptr;
}

void checkExtents(const char* name, const Extents& extents, const Type& type) {
    for (const double extent : {extents.along, extents.across}) {
        if (std::isnan(extent)) {
            throw UsageError(std::string(name) + " must be a number.");
        }
        if (extent > type.largestExtent) {
            throw UsageError(std::string(name) + " must not be above " + number(type.largestExtent) + ".");
        }
    }
    if (!hasLobe(type) && (extents.along < extents.across || extents.along > extents.across)) {
        throw UsageError(std::string(name) + " is one value, not two, for the type " + type.name + ".");
    }
}

// What the library leaves to its caller.
void checkLimits(const FilterParameters& parameters, const Type& type) {
    checkExtents("Sigma", parameters.sigma, type);
    checkExtents("Plateau", parameters.plateau, type);
    // The square of a smaller one is no float.
    constexpr double smallestSigma = 1e-9;
    const double sigma = std::min(parameters.sigma.along, parameters.sigma.across);
    if (sigma > 0 && sigma < smallestSigma) {
        throw UsageError("Sigma must not be below " + number(smallestSigma) + ".");
    }
    if (!std::isfinite(parameters.angle.toDouble())) {
        throw UsageError("Angle must be a finite number.");
    }
}

FilterPointer makeSingle(const FilterParameters& parameters, const vxPair<long>& size) {
    const Type& type = typeNamed(parameters.type);
    checkLimits(parameters, type);
    try {
        return type.make(parameters, size);
    } catch (const vxFrequencyDefs::InvalidArgument& error) {
        throw UsageError(error.what());
    }
}

FilterPointer builtFor(const BuiltFilter& built, const vxPair<long>& size) {
    const std::optional<FilterDescription> description = describe(*built.filter);
    if (description && description->size != size) {
        throw UnreadableError("cannot use " + built.name + ": it filters " +
                              app::size(description->size.x(), description->size.y()) +
                              " spectra, but this transform is " + app::size(size.x(), size.y()));
    }
    return built.filter;
}

} // namespace

std::vector<std::string> filterTypes() {
    std::vector<std::string> names;
    std::transform(std::begin(types), std::end(types), std::back_inserter(names),
                   [](const Type& type) { return type.name; });
    return names;
}

Use parameterUse(const std::string& type, const std::string& parameterName) {
    const auto* row =
        std::find_if(std::begin(uses), std::end(uses), [&type](const Uses& u) { return u.type == type; });
    const auto* name = std::find(std::begin(parameterNames), std::end(parameterNames), parameterName);
    if (row == std::end(uses) || name == std::end(parameterNames)) {
        return Use::no;
    }
    return row->of[name - std::begin(parameterNames)];
}

bool isRing(const FilterParameters& parameters) {
    return !parameters.built && parameterUse(parameters.type, "frequency") == Use::must &&
           parameterUse(parameters.type, "angle") == Use::no;
}

bool isPair(const FilterParameters& parameters) {
    return parameters.pair.value_or(typeNamed(parameters.type).isPairByDefault);
}

vxRadian radiansOf(double degrees) {
    return vxRadian(degrees * std::numbers::pi / 180);
}

double degreesOf(vxRadian angle) {
    const double degrees = angle.toDouble() * 180 / std::numbers::pi;
    // The shortest number that stands for the angle is what a person wrote.
    for (int digits = 1; digits <= std::numeric_limits<double>::max_digits10; ++digits) {
        char text[32];
        std::snprintf(text, sizeof text, "%.*g", digits, degrees);
        const double candidate = std::strtod(text, nullptr);
        if (radiansOf(candidate) == angle) {
            return candidate;
        }
    }
    for (const double direction :
         {-std::numeric_limits<double>::infinity(), +std::numeric_limits<double>::infinity()}) {
        const double neighbour = std::nextafter(degrees, direction);
        if (radiansOf(neighbour) == angle) {
            return neighbour;
        }
    }
    return degrees;
}

void checkFilter(const FilterParameters& parameters) {
    // A kernel and a built filter fit some sizes only.
    if (!parameters.built && !(typeNamed(parameters.type).make == makeImage)) {
        static_cast<void>(makeFilter(parameters, {1, 1}));
    }
}

FilterPointer makeFilter(const FilterParameters& parameters, const vxPair<long>& size) {
    FilterPointer single =
        parameters.built ? builtFor(*parameters.built, size) : makeSingle(parameters, size);
    const Type* const type = typeOf(*single);
    if (type == nullptr || !parameters.pair.value_or(type->isPairByDefault)) {
        return single;
    }
    if (!hasLobe(*type)) {
        throw UsageError(std::string("--pair does not go with a filter of the type ") + type->name);
    }
    return type->makePair(*single);
}

std::optional<FilterDescription> describe(const vxFrequencyFilter& filter) {
    const Type* const type = typeOf(filter);
    if (type == nullptr) {
        return std::nullopt;
    }
    FilterDescription description;
    description.parameters.type = type->name;
    type->describe(filter, description);
    return description;
}

void applyFilter(const vxFrequencyFilter& filter, vxFrequencyBuffer& spectrum) {
    try {
        filter.apply(spectrum);
    } catch (const vxFrequencyDefs::BadCoord&) {
        throw UsageError("the square of --dc around the DC reaches outside the " +
                         size(spectrum.width(), spectrum.height()) + " spectrum");
    }
}

double gainAtDc(const vxFrequencyFilter& filter, const vxPair<long>& size) {
    vxFrequencyBuffer spectrum(size.x(), size.y());
    spectrum.putReal(0, 0, 1, false);
    applyFilter(filter, spectrum);
    return spectrum.getReal(0, 0, false);
}

vxFrequencyBuffer gains(const vxFrequencyFilter& filter, const vxPair<long>& size) {
    vxFrequencyBuffer spectrum(size.x(), size.y());
    for (long y = 0; y < size.y(); ++y) {
        for (long x = 0; x < size.x(); ++x) {
            spectrum.putReal(x, y, 1, false);
        }
    }
    applyFilter(filter, spectrum);
    return spectrum;
}

} // namespace app

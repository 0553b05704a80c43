// Filters of any parameters: refused without a change, or built; however a filter came to its parameters, it
// is the same as one built from them at once, and filters a small spectrum as the slow filters of the tests
// do.
#include "fuzz/filt/filters.h"
#include "tests/oracle/filters.h"

namespace {

using fuzz::attempt;
using fuzz::Outcome;
using fuzz::require;

constexpr int maximumSteps = 4;
constexpr long largestApplied = 64; // Pels along a side.

struct Parameters {
    vxPair<double> sigma; // Of a ring, the first one counts.
    vxPair<double> plateau;
    vxRadian angle;
    double frequency = 0.0;
    vxPair<long> size;
    long radius = 0;
};

long sizeFrom(fuzz::Bytes& input) {
    const unsigned kind = input.byte();
    if (kind >= 240) {
        return input.number();
    }
    return 1L << (kind >= 230 ? kind % 6 : kind % 4);
}

Parameters parametersFrom(fuzz::Bytes& input) {
    Parameters p;
    // Mostly small ones: so are their tables.
    p.sigma = {input.real() / 8.0, input.real() / 8.0};
    p.plateau = {input.real() / 8.0, input.real() / 8.0};
    p.angle = vxRadian(input.real());
    p.frequency = input.real();
    p.size = {sizeFrom(input), sizeFrom(input)};
    p.radius = input.number();
    return p;
}

template <class Filter>
void radius(Filter& filter, long value) {
    if constexpr (fuzz::PassFilter<Filter>) {
        filter.dcRemovalRadius(value);
    } else {
        filter.dcProtectionRadius(value);
    }
}

template <class Filter>
Parameters parametersOf(const Filter& filter) {
    Parameters p;
    if constexpr (fuzz::LobeFilter<Filter>) {
        p.sigma = filter.sigma();
        p.plateau = filter.plateau();
        p.angle = filter.angle();
    } else {
        p.sigma = {filter.sigma(), 0.0};
        p.plateau = {filter.plateau(), 0.0};
    }
    p.frequency = filter.frequency();
    p.size = filter.size();
    if constexpr (fuzz::PassFilter<Filter>) {
        p.radius = filter.dcRemovalRadius();
    } else {
        p.radius = filter.dcProtectionRadius();
    }
    return p;
}

template <class Filter>
void set(Filter& filter, const Parameters& p) {
    if constexpr (fuzz::LobeFilter<Filter>) {
        filter.set(p.sigma, p.plateau, p.angle, p.frequency, p.size, p.radius);
    } else {
        filter.set(p.sigma.x(), p.plateau.x(), p.frequency, p.size, p.radius);
    }
}

template <class Filter>
void change(Filter& filter, unsigned which, const Parameters& p) {
    switch (which) {
    case 0:
        return radius(filter, p.radius);
    case 1:
        return filter.frequency(p.frequency);
    case 2:
        return filter.size(p.size);
    default:
        break;
    }
    if constexpr (fuzz::LobeFilter<Filter>) {
        which == 3 ? filter.sigma(p.sigma) : which == 4 ? filter.plateau(p.plateau) : filter.angle(p.angle);
    } else {
        which == 3 ? filter.sigma(p.sigma.x()) : filter.plateau(p.plateau.x());
    }
}

template <class Filter>
std::string bytesOf(Filter& filter) {
    vxPersistent& object = filter;
    return fuzz::stored(object);
}

template <class Filter>
void checkBuiltAtOnce(Filter& filter) {
    const Parameters p = parametersOf(filter);
    Filter fresh;
    if (attempt([&] { set(fresh, p); }) == Outcome::done) {
        require(bytesOf(fresh) == bytesOf(filter), "the same as one that was built at once");
        require(fresh == filter, "and equal to it");
    }
}

/// What the slow filter makes of a plane.
template <class Filter>
oracle::Plane filtered(const Parameters& p, const oracle::Plane& plane) {
    if constexpr (fuzz::LobeFilter<Filter>) {
        const oracle::Lobe lobe{
            p.sigma.x(), p.sigma.y(), p.plateau.x(), p.plateau.y(), p.angle.toDouble(),
            p.frequency, p.size.x(),  p.size.y(),    p.radius,      !fuzz::PassFilter<Filter>};
        const auto [columns, rows] = oracle::lobeSupport(lobe);
        return oracle::applyLobe(lobe, oracle::lobePatch(lobe), columns, rows, plane);
    } else {
        const oracle::Band band{p.sigma.x(),
                                p.plateau.x(),
                                p.frequency,
                                p.size.x(),
                                p.size.y(),
                                p.radius,
                                !fuzz::PassFilter<Filter>};
        return oracle::applyBand(band, oracle::bandProfile(band), plane);
    }
}

template <class Filter>
void checkFiltered(const Filter& filter, const vxFrequencyBuffer& in, const vxFrequencyBuffer& out) {
    const fuzz::SpectrumState before = fuzz::stateOf(in);
    const std::vector<float> expected =
        filtered<Filter>(parametersOf(filter), {before.size.x(), before.size.y(), before.samples}).samples;
    const std::vector<float> actual = fuzz::stateOf(out).samples;
    require(actual.size() == expected.size(), "the size of the input");
    for (std::size_t i = 0; i < actual.size(); ++i) {
        require(fuzz::sameFloat(actual[i], expected[i]), "the result of the slow filter");
    }
}

template <class Filter>
void apply(const Filter& filter, std::uint32_t seed) {
    const vxPair<long> size = filter.size();
    if (size.x() > largestApplied || size.y() > largestApplied) {
        return;
    }
    const vxFrequencyBuffer in = fuzz::someSpectrum(size, seed);
    vxFrequencyBuffer out;
    fuzz::checkApply(filter, in, out);
    if (attempt([&] { filter.apply(in, out); }) == Outcome::done) {
        checkFiltered(filter, in, out);
    }
}

template <class Filter>
void step(Filter& filter, fuzz::Bytes& input) {
    const std::string before = bytesOf(filter);
    const unsigned which = input.below(7);
    const Parameters p = parametersFrom(input);
    const Outcome outcome = attempt([&] { which == 6 ? set(filter, p) : change(filter, which, p); });
    if (outcome != Outcome::done) {
        require(bytesOf(filter) == before, "a failed change changes nothing");
        return;
    }
    if (filter.isInitialized()) {
        checkBuiltAtOnce(filter);
    }
}

template <class Filter>
void check(fuzz::Bytes input) {
    const std::uint32_t seed = input.byte();
    Filter filter;
    const Parameters p = parametersFrom(input);
    if (attempt([&] { set(filter, p); }) != Outcome::done) {
        require(!filter.isInitialized(), "a failed construction builds nothing");
    }
    for (int i = 0; i < maximumSteps && !input.atEnd(); ++i) {
        step(filter, input);
    }
    if (filter.isInitialized()) {
        checkBuiltAtOnce(filter);
        fuzz::checkClone(filter);
        apply(filter, seed);
    }
}

} // namespace

void fuzz::run(Bytes input) {
    switch (input.below(4)) {
    case 0:
        return check<vxFrequencyFilterBandPass>(input);
    case 1:
        return check<vxFrequencyFilterBandReject>(input);
    case 2:
        return check<vxFrequencyFilterGabor>(input);
    default:
        return check<vxFrequencyFilterGaborReject>(input);
    }
}

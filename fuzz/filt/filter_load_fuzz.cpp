// Any bytes are a filter of one of the five classes or refused, and a refused load changes nothing. A filter
// that was loaded stores to the same bytes and can be compared, cloned, applied and changed.
#include "fuzz/filt/filters.h"

#include <string>

namespace {

using fuzz::attempt;
using fuzz::Outcome;
using fuzz::require;

template <class Filter>
void build(Filter& filter) {
    const vxPair<long> size(8, 4);
    if constexpr (fuzz::ImageFilter<Filter>) {
        filter.setImage(vxFrequencyBuffer(8, 4));
    } else if constexpr (fuzz::LobeFilter<Filter>) {
        filter.set({0.1, 0.2}, {0.1, 0.0}, vxRadian(1.0), 0.25, size, 1);
    } else {
        filter.set(0.1, 0.05, 0.25, size, 1);
    }
}

/// Rebuilds a loaded filter, in the storage that it has.
template <class Filter>
void change(Filter& filter, fuzz::Bytes& input) {
    if constexpr (fuzz::ImageFilter<Filter>) {
        const vxFrequencyBuffer image = fuzz::someSpectrum({4, 4}, input.byte());
        attempt([&] { filter.setImage(image); });
    } else {
        attempt([&] { filter.frequency(input.real()); });
        attempt([&] { filter.size({1L << input.below(7), 1L << input.below(7)}); });
    }
}

template <class Filter>
void use(Filter& filter, fuzz::Bytes& input) {
    vxPersistent& object = filter;
    const std::string bytes = fuzz::stored(object);
    Filter again;
    vxPersistent& second = again;
    if (fuzz::load(bytes, second) == Outcome::done) {
        require(fuzz::stored(second) == bytes, "the same bytes a second time");
        require((again == filter) == (filter == filter), "what was stored loads"); // A NaN angle differs.
    }
    fuzz::checkClone(filter);
    vxPair<long> size;
    if (attempt([&] { size = fuzz::spectrumSize(filter); }) == Outcome::refused) {
        size = {4, 4}; // Not built: applied nevertheless.
    }
    const vxFrequencyBuffer in = fuzz::someSpectrum(size, input.byte());
    vxFrequencyBuffer out;
    fuzz::checkApply(filter, in, out);
}

template <class Filter>
void check(fuzz::Bytes input) {
    fuzz::Bytes options = input;
    input.any<std::uint32_t>();
    const bool built = options.flag();
    Filter filter;
    if (built) {
        build(filter);
    }
    vxPersistent& object = filter;
    const std::string before = fuzz::stored(object);
    std::string bytes = "KAVARCH\n\1";
    bytes += input.text();
    if (fuzz::load(bytes, object) != Outcome::done) {
        require(fuzz::stored(object) == before, "a failed load changes nothing");
        require(filter.isInitialized() == built, "not even the state");
        return;
    }
    use(filter, options);
    change(filter, options);
    use(filter, options);
}

} // namespace

void fuzz::run(Bytes input) {
    switch (input.below(5)) {
    case 0:
        return check<vxFrequencyFilterBandPass>(input);
    case 1:
        return check<vxFrequencyFilterBandReject>(input);
    case 2:
        return check<vxFrequencyFilterGabor>(input);
    case 3:
        return check<vxFrequencyFilterGaborReject>(input);
    default:
        return check<vxFrequencyFilterImage>(input);
    }
}

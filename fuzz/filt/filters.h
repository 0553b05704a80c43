/// \file
/// What the targets of the filters share.
#pragma once

#include "filt/freqfilt.h"
#include "fuzz/filt/spectra.h"

#include <concepts>
#include <memory>

namespace fuzz {

template <class Filter>
concept ImageFilter = std::same_as<Filter, vxFrequencyFilterImage>;
/// Filters whose pass region is given; those of the other kind reject it.
template <class Filter>
concept PassFilter =
    std::same_as<Filter, vxFrequencyFilterBandPass> || std::same_as<Filter, vxFrequencyFilterGabor>;
template <class Filter>
concept LobeFilter =
    std::same_as<Filter, vxFrequencyFilterGabor> || std::same_as<Filter, vxFrequencyFilterGaborReject>;

/// Size of the spectra that a built filter accepts.
template <class Filter>
vxPair<long> spectrumSize(const Filter& filter) {
    if constexpr (ImageFilter<Filter>) {
        return {filter.supportWidth(), filter.supportHeight()};
    } else {
        return filter.size();
    }
}

/// A spectrum that has a bit of everything. Uninitialized when there is no memory.
inline vxFrequencyBuffer someSpectrum(const vxPair<long>& size, std::uint32_t seed) {
    vxFrequencyBuffer spectrum;
    if (attempt([&] { spectrum = vxFrequencyBuffer(size.x(), size.y()); }) != Outcome::done) {
        return spectrum;
    }
    float* const data = vx_FrequencyBufferAccess::data(spectrum);
    std::uint32_t value = seed | 1U;
    for (std::uint64_t i = 0; i < vx_FrequencyBufferAccess::sampleCount(spectrum) * 2; ++i) {
        value = value * 1664525U + 1013904223U;
        // Any bits now and then: denormals, infinities and NaNs, too.
        data[i] = value % 64 == 0 ? std::bit_cast<float>(value * 2654435761U)
                                  : static_cast<float>(value >> 8) * 0x1p-12F - 2048.0F;
    }
    return spectrum;
}

/// Applies a filter in both forms, which must agree; what they read must not change.
inline void checkApply(const vxFrequencyFilter& filter, const vxFrequencyBuffer& in, vxFrequencyBuffer& out) {
    const SpectrumState before = stateOf(in);
    const SpectrumState outBefore = stateOf(out);
    const Outcome separate = attempt([&] { filter.apply(in, out); });
    require(same(before, stateOf(in)), "the input stays as it is");
    checkConsistent(out);
    if (separate == Outcome::refused) {
        require(same(outBefore, stateOf(out)), "a refused call changes nothing");
    }
    vxFrequencyBuffer inPlace;
    if (attempt([&] { inPlace = in; }) != Outcome::done) {
        return;
    }
    const SpectrumState copied = stateOf(inPlace);
    const Outcome atOnce = attempt([&] { filter.apply(inPlace); });
    if (atOnce == Outcome::refused) {
        require(same(copied, stateOf(inPlace)), "a refused call changes nothing in place");
    }
    if (separate == Outcome::done && atOnce == Outcome::done && copied.size == before.size) {
        const SpectrumState a = stateOf(out);
        const SpectrumState b = stateOf(inPlace);
        require(a.masked == b.masked && a.band == b.band, "one mask in both forms");
        for (std::size_t i = 0; i < a.samples.size(); ++i) {
            require(sameFloat(a.samples[i], b.samples[i]), "one result in both forms");
        }
    }
}

/// Whether it has its table or image, whatever its state says: an archive may claim anything of that.
template <class Filter>
bool isBuilt(const Filter& filter) {
    return attempt([&] { static_cast<void>(filter.supportWidth()); }) == Outcome::done;
}

/// A clone and an assigned filter are equal, where a filter equals itself: an angle that is a NaN does not.
template <class Filter>
void checkClone(Filter& filter) {
    std::unique_ptr<vxFrequencyFilter> clone;
    Filter assigned;
    if (attempt([&] { clone.reset(filter.clone()); }) != Outcome::done ||
        attempt([&] { assigned = filter; }) != Outcome::done) {
        return;
    }
    auto& copy = dynamic_cast<Filter&>(*clone);
    // A copy of a cropped or loaded image can have another size; a filter without a table gives nothing.
    if (!ImageFilter<Filter> && isBuilt(filter)) {
        vxPersistent& original = filter;
        vxPersistent& copied = copy;
        require((copy == filter) == (filter == filter), "a clone is equal");
        require((assigned == filter) == (filter == filter), "an assigned filter is equal");
        require(stored(original) == stored(copied), "a clone stores the same bytes");
    }
}

} // namespace fuzz

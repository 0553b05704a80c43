/// \file
/// The ring-shaped band-reject filter.
#pragma once

#include "filt/freqfilt/filter.h"
#include "filt/freqfilt/gain_table.h"
#include "kavstd/pair.h"

/// Removes what lies near one radial frequency, in every direction, and leaves everything else as it is, bit
/// for bit: the gain is 0 up to `plateau` from the centre radius and rises to 1 like a Gaussian of width
/// `sigma` beyond it. Optionally keeps a square around DC as it is. A result is never masked.
///
/// Lengths are fractions of the filter's width, that is, cycles per pixel along x. Rows are scaled by the
/// aspect of the spectrum, so that the ring is a circle in cycles per pixel.
///
/// Errors of the constructor, set and the setters, in this order; a refused call changes nothing, nor does
/// one that finds no memory:
///   - InvalidArgument: frequency outside 0.0 to 0.5, sigma not above 0, plateau or radius below 0
///   - InvalidSize: a size that is not a power of two
///   - std::length_error: a profile that does not fit 31 bits
///
/// Everything but construction, set, assignment, comparison and archiving throws Uninitialized while the
/// filter is not built.
class VX_EXPORT vxFrequencyFilterBandReject : public vxFrequencyFilter {
public:
    /// Not built.
    vxFrequencyFilterBandReject();
    /// Built, as by set().
    vxFrequencyFilterBandReject(double sigma, double plateau, double frequency, const vxPair<long>& size,
                                long dcProtectionRadius);
    /// A filter of the same state, parameters and gains.
    vxFrequencyFilterBandReject(const vxFrequencyFilterBandReject& other);
    /// From a filter that is not built only that state is taken: isInitialized() stays as it is. Without
    /// memory nothing changes.
    vxFrequencyFilterBandReject& operator=(const vxFrequencyFilterBandReject& other);
    ~vxFrequencyFilterBandReject() override;

    [[nodiscard]] vxFrequencyFilter* clone() const override;

    /// Sizes `out` to `in`; its offset and transform stay as they were. `in` and `out` may be the same
    /// buffer. Throws Uninitialized (the buffer, then the filter), InvalidSize (another size than the
    /// filter's) and, with a radius above 0, InvalidBuffer (`in` is consumed) and BadCoord (the square
    /// reaches outside the spectrum); a refused call changes nothing. Without memory `out` is left
    /// uninitialized when it has to be sized, otherwise nothing changes.
    void apply(const vxFrequencyBuffer& in, vxFrequencyBuffer& out) const override;
    /// Filters in place, with the same errors.
    void apply(vxFrequencyBuffer& buffer) const override;

    /// Both are not built, or state, parameters and profile are equal. Values differ only when one is less or
    /// greater, so a NaN equals anything.
    bool operator==(const vxFrequencyFilterBandReject& other) const;
    bool operator!=(const vxFrequencyFilterBandReject& other) const { return !(*this == other); }

    /// Builds the filter, always.
    void set(double sigma, double plateau, double frequency, const vxPair<long>& size,
             long dcProtectionRadius);

    /// Width of the Gaussian fall-off beyond the flat top, above 0. Setting another value than the stored one
    /// rebuilds the filter, as with every setter here.
    void sigma(double value);
    [[nodiscard]] double sigma() const;
    /// Half-width of the flat top, 0.0 or more.
    void plateau(double value);
    [[nodiscard]] double plateau() const;
    /// Centre radius in cycles per pixel along x, 0.0 to 0.5.
    void frequency(double value);
    [[nodiscard]] double frequency() const;
    /// Size of the spectra that the filter accepts.
    void size(const vxPair<long>& value);
    [[nodiscard]] vxPair<long> size() const;
    /// Frequencies u and v from 1 - radius to radius - 1 are kept; 0: none.
    void dcProtectionRadius(long value);
    [[nodiscard]] long dcProtectionRadius() const;

    /// Bins from the centre radius that the profile covers, odd. What lies farther away is kept.
    [[nodiscard]] long supportWidth() const;

protected:
    /// The profile: 32 gains per bin of distance from the centre radius, 16-byte aligned; null if not built.
    [[nodiscard]] const float* data() const;
    void dispatchSerialize(vxArchive& archive) override;
    /// What dispatchSerialize archives after the version. Throws vxArchive::UnknownVersion for a version
    /// that this class does not know.
    void serialize_(vxArchive& archive, unsigned char version) override;

private:
    struct Fields {
        long supportWidth = 0;
        long samplesPerBin = 0;
        double frequency = 0.0;
        double sigma = 0.0;
        double plateau = 0.0;
        vxPair<long> size;
        long dcRadius = 0;
    };

    static vxPersistent* make();
    static const vx_Instantiator sExemplar;

    void create(const Fields& parameters);
    [[nodiscard]] const Fields& built() const;
    template <class T>
    void change(T Fields::*field, const T& value);

    Fields fields_;
    vx_GainTable profile_;
};

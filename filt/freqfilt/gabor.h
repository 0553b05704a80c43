/// \file
/// The oriented band-pass filter.
#pragma once

#include "filt/freqfilt/filter.h"
#include "filt/freqfilt/gain_table.h"
#include "kavstd/pair.h"
#include "kavstd/radian.h"

/// Keeps what lies under one elliptical Gaussian lobe with a flat top, centred on a frequency of given
/// magnitude and direction, and removes everything else, the mirror lobe included: the result is not
/// Hermitian and its inverse is complex-valued (Gabor, Theory of communication, 1946). Optionally clears a
/// square around DC. A result is masked: inverse transforms skip all rows but those of the lobe.
///
/// Lengths are fractions of the filter's width, in pairs: along the lobe's direction, and across it. Rows are
/// scaled by the aspect of the spectrum, so that angles are those of the image.
///
/// Errors of the constructor, set and the setters, in this order; a refused call changes nothing, nor does
/// one that finds no memory:
///   - InvalidArgument: frequency outside 0.0 to 0.5, a sigma not above 0, a plateau or the radius below 0
///   - InvalidSize: a size that is not a power of two
///   - std::length_error: a patch that does not fit 31 bits; a parameter that is no number
///
/// Everything but construction, set, assignment, comparison, data() and archiving throws Uninitialized while
/// the filter is not built.
class VX_EXPORT vxFrequencyFilterGabor : public vxFrequencyFilter {
public:
    /// Not built.
    vxFrequencyFilterGabor();
    /// Built, as by set().
    vxFrequencyFilterGabor(const vxPair<double>& sigma, const vxPair<double>& plateau, vxRadian angle,
                           double frequency, const vxPair<long>& size, long dcRemovalRadius);
    /// A filter of the same state, parameters and gains.
    vxFrequencyFilterGabor(const vxFrequencyFilterGabor& other);
    /// From a filter that is not built only that state is taken: isInitialized() stays as it is. Without
    /// memory nothing changes.
    vxFrequencyFilterGabor& operator=(const vxFrequencyFilterGabor& other);
    ~vxFrequencyFilterGabor() override;

    [[nodiscard]] vxFrequencyFilter* clone() const override;

    /// Sizes `out` to `in`; its offset and transform stay as they were. `in` and `out` may be the same
    /// buffer. Throws Uninitialized (the buffer, then the filter), InvalidSize (another size than the
    /// filter's) and, with a radius above 0, InvalidBuffer (`in` is consumed) and BadCoord (the square
    /// reaches outside the spectrum); a refused call changes nothing. Without memory `out` is left
    /// uninitialized when it has to be sized, otherwise nothing changes.
    void apply(const vxFrequencyBuffer& in, vxFrequencyBuffer& out) const override;
    /// Filters in place, with the same errors.
    void apply(vxFrequencyBuffer& buffer) const override;

    /// Both are not built, or state, parameters and patch are equal. Values differ only when one is less or
    /// greater, so a NaN equals anything; the angle is compared as it is.
    bool operator==(const vxFrequencyFilterGabor& other) const;
    bool operator!=(const vxFrequencyFilterGabor& other) const { return !(*this == other); }

    /// Builds the filter, always.
    void set(const vxPair<double>& sigma, const vxPair<double>& plateau, vxRadian angle, double frequency,
             const vxPair<long>& size, long dcRemovalRadius);

    /// Widths of the Gaussian fall-off beyond the flat top, above 0: along the direction of the lobe, and
    /// across it. Setting another value than the stored one rebuilds the filter, as with every setter here.
    void sigma(const vxPair<double>& value);
    [[nodiscard]] vxPair<double> sigma() const;
    /// Half-widths of the flat top.
    void plateau(const vxPair<double>& value);
    [[nodiscard]] vxPair<double> plateau() const;
    /// Direction of the lobe; 0 points along +x. Kept as given.
    void angle(vxRadian value);
    [[nodiscard]] vxRadian angle() const;
    /// Distance of the lobe from DC in cycles per pixel along x, 0.0 to 0.5. Setting a NaN does nothing.
    void frequency(double value);
    [[nodiscard]] double frequency() const;
    /// Size of the spectra that the filter accepts.
    void size(const vxPair<long>& value);
    [[nodiscard]] vxPair<long> size() const;
    /// Frequencies u and v from 1 - radius to radius - 1 are cleared; 0: none.
    void dcRemovalRadius(long value);
    [[nodiscard]] long dcRemovalRadius() const;

    /// Columns of the patch, odd.
    [[nodiscard]] long supportWidth() const;
    /// Rows of the patch, odd.
    [[nodiscard]] long supportHeight() const;

    /// The patch: supportHeight() rows of supportWidth() gains, 16-byte aligned. Null while not built.
    [[nodiscard]] const float* data() const;

    /// What dispatchSerialize archives after the version. Throws vxArchive::UnknownVersion for a version
    /// that this class does not know.
    void serialize_(vxArchive& archive, unsigned char version) override;

protected:
    void dispatchSerialize(vxArchive& archive) override;

private:
    struct Fields {
        long supportWidth = 0;
        long supportHeight = 0;
        vxPair<double> sigma;
        vxPair<double> plateau;
        vxRadian angle;
        double frequency = 0.0;
        long dcRadius = 0;
        vxPair<long> size;
    };

    static vxPersistent* make();
    static const vx_Instantiator sExemplar;

    void create(const Fields& parameters);
    [[nodiscard]] const Fields& built() const;
    template <class T>
    void change(T Fields::*field, const T& value);

    Fields fields_;
    vx_GainTable patch_;
};

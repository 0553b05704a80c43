/// \file
/// A spectrum used as a filter.
#pragma once

#include "filt/freqfilt/filter.h"

/// Multiplies spectra by a complex spectrum of the caller's, sample by sample: a convolution or correlation
/// in the spatial domain. A result is never masked.
class VX_EXPORT vxFrequencyFilterImage : public vxFrequencyFilter {
public:
    /// Not built: no samples.
    vxFrequencyFilterImage();
    /// Keeps a copy of `image`. Throws Uninitialized when it has no samples.
    explicit vxFrequencyFilterImage(const vxFrequencyBuffer& image);
    /// A filter with a copy of the image.
    vxFrequencyFilterImage(const vxFrequencyFilterImage& other);
    /// Without memory nothing changes.
    vxFrequencyFilterImage& operator=(const vxFrequencyFilterImage& other);
    ~vxFrequencyFilterImage() override;

    [[nodiscard]] vxFrequencyFilter* clone() const override;

    /// `out` becomes a copy of `in` (so its size is derived again from the source size of `in`) times the
    /// image. Throws Uninitialized ("FrequencyBuffer has not been initialized", for the filter too),
    /// InvalidSize and InvalidBuffer (consumed); a refused call changes nothing. Without memory `out` is left
    /// uninitialized.
    void apply(const vxFrequencyBuffer& in, vxFrequencyBuffer& out) const override;
    /// Filters in place, with the same errors.
    void apply(vxFrequencyBuffer& buffer) const override;

    /// State and images are equal.
    bool operator==(const vxFrequencyFilterImage& other) const;
    bool operator!=(const vxFrequencyFilterImage& other) const { return !(*this == other); }

    /// Keeps a copy of `image`. Throws Uninitialized when it has no samples; a refused call changes nothing,
    /// nor does one that finds no memory.
    void setImage(const vxFrequencyBuffer& image);

    /// Width of the spectra that the filter accepts. Throws Uninitialized while not built.
    [[nodiscard]] long supportWidth() const;
    /// Height of them, likewise.
    [[nodiscard]] long supportHeight() const;

protected:
    void dispatchSerialize(vxArchive& archive) override;
    /// What dispatchSerialize archives after the version. Throws vxArchive::UnknownVersion for a version
    /// that this class does not know.
    void serialize_(vxArchive& archive, unsigned char version) override;

private:
    static vxPersistent* make();
    static const vx_Instantiator sExemplar;

    void create(const vxFrequencyBuffer& image);
    void checkOperand(const vxFrequencyBuffer& buffer) const;

    vxFrequencyBuffer image_;
};

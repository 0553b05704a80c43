/// \file
/// The base of every frequency-domain filter.
#pragma once

#include "filt/fft/frequency_buffer.h"
#include "kavstd/persistent.h"

/// A table of gains that is multiplied into a spectrum. A concrete filter is built for one spectrum size;
/// apply is const and only reads the filter, so one built filter may be applied from several threads at once.
///
/// To add a filter: derive from this class (not virtually), set initialized_ when the table is built,
/// override clone, both forms of apply, dispatchSerialize and serialize_, and register the class with a
/// static vx_Instantiator.
class VX_EXPORT vxFrequencyFilter : public virtual vxPersistent, public virtual vxRepBase {
public:
    vxFrequencyFilter();
    ~vxFrequencyFilter() override;

    /// A heap copy that the caller deletes.
    [[nodiscard]] virtual vxFrequencyFilter* clone() const = 0;
    /// Whether the filter has been built.
    [[nodiscard]] virtual bool isInitialized();
    /// Filters `in` into `out`, which is sized to `in`: without memory for that, `out` is left uninitialized.
    virtual void apply(const vxFrequencyBuffer& in, vxFrequencyBuffer& out) const = 0;
    /// Filters in place.
    virtual void apply(vxFrequencyBuffer& buffer) const = 0;

protected:
    /// What dispatchSerialize archives after the version. Throws vxArchive::UnknownVersion for a version
    /// other than 0.
    virtual void serialize_(vxArchive& archive, unsigned char version);

    /// Copies the initialized state and nothing else.
    vxFrequencyFilter(const vxFrequencyFilter&);
    /// Copies the initialized state and nothing else.
    vxFrequencyFilter& operator=(const vxFrequencyFilter&);
    void dispatchSerialize(vxArchive& archive) override;

    // What a filter needs of a buffer's private state.
    /// Sizes a buffer for images of that size; see vxFrequencyBuffer for the errors.
    static void setAndAllocateFrequencyBuffer(vxFrequencyBuffer& buffer, long width, long height);
    /// Declares that only rows `miny` to `maxy`, in centred numbering (DC is row height / 2), can be nonzero,
    /// so that inverse transforms skip the others; or, with `masked` false, that any row can.
    static void maskFrequencyBuffer(vxFrequencyBuffer& buffer, bool masked, long miny, long maxy);
    /// The samples, row by row, real and imaginary parts in turn; null when there are none.
    [[nodiscard]] static float* getFrequencyBufferData(vxFrequencyBuffer& buffer);
    [[nodiscard]] static const float* getFrequencyBufferData(const vxFrequencyBuffer& buffer);

    /// Whether the gains have been computed.
    bool initialized_ = false;
};

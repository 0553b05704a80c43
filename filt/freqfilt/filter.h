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
    virtual void serialize_(vxArchive& archive, unsigned char version);

    /// Copy the initialized state and nothing else.
    vxFrequencyFilter(const vxFrequencyFilter&);
    vxFrequencyFilter& operator=(const vxFrequencyFilter&);
    void dispatchSerialize(vxArchive& archive) override;

    /// What a filter needs of a buffer's private state.
    static void setAndAllocateFrequencyBuffer(vxFrequencyBuffer& buffer, long width, long height);
    static void maskFrequencyBuffer(vxFrequencyBuffer& buffer, bool masked, long miny, long maxy);
    [[nodiscard]] static float* getFrequencyBufferData(vxFrequencyBuffer& buffer);
    [[nodiscard]] static const float* getFrequencyBufferData(const vxFrequencyBuffer& buffer);

    bool initialized_ = false;
};

/// \file
/// What the band filters share. `Fields` are a filter's own: supportWidth, samplesPerBin, frequency, sigma,
/// plateau, size and dcRadius.
#pragma once

#include "filt/freqfilt/internal/apply.h"
#include "filt/freqfilt/internal/checks.h"
#include "filt/freqfilt/internal/comparison.h"
#include "filt/freqfilt/internal/ring.h"
#include "filt/freqfilt/internal/table_archive.h"
#include "filt/internal/messages.h"

#include <span>
#include <utility>

inline constexpr long vx_SamplesPerBin = 32;

/// Bins from the centre radius over which the profile is tabulated, odd. std::length_error.
[[nodiscard]] long vf_BandSupport(double sigma, double plateau, long width);
/// Samples the profile: entry i is the gain i / 32 bins from the centre radius, flat over the plateau,
/// Gaussian beyond.
void vf_SampleProfile(double sigma, double plateau, long width, const vx_FilterKind& kind,
                      std::span<float> profile);

/// The fields of a filter with those parameters, which are checked in this order; the support is derived.
template <class Fields>
[[nodiscard]] Fields vf_CheckedBand(Fields fields, const vx_FilterKind& kind) {
    vf_CheckFrequency(fields.frequency);
    vf_CheckArgument(fields.sigma > 0.0, vx_Messages::bandSigma);
    vf_CheckArgument(fields.plateau >= 0.0, vx_Messages::bandPlateau);
    vf_CheckArgument(fields.dcRadius >= 0, kind.negativeRadius);
    vf_CheckSize(fields.size);
    fields.supportWidth = vf_BandSupport(fields.sigma, fields.plateau, fields.size.x());
    fields.samplesPerBin = vx_SamplesPerBin;
    return fields;
}

/// Builds the profile of a filter with those fields. Only the allocation can fail, before anything changes.
template <class Fields>
void vf_BuildProfile(const Fields& fields, const vx_FilterKind& kind, vx_GainTable& profile) {
    profile.resize(vf_EntryCount(fields.supportWidth, fields.samplesPerBin));
    vf_SampleProfile(fields.sigma, fields.plateau, fields.size.x(), kind, profile);
}

template <class Fields>
void vf_ApplyBand(const Fields& fields, const vx_GainTable& profile, const vx_FilterKind& kind,
                  const vxFrequencyBuffer& in, vxFrequencyBuffer& out, vx_ResultSize resultSize) {
    vf_CheckOperand(in, profile, fields.size);
    vx_Ring ring(fields.frequency, fields.supportWidth, profile, fields.size);
    vf_ApplyShape(std::move(ring), kind, fields.dcRadius, vx_MarkedRows{}, in, out, resultSize);
}

template <class Fields>
[[nodiscard]] bool vf_SameBand(const Fields& a, const vx_GainTable& aProfile, const Fields& b,
                               const vx_GainTable& bProfile) {
    if (!aProfile.isBuilt() || !bProfile.isBuilt()) {
        return aProfile.isBuilt() == bProfile.isBuilt();
    }
    return a.supportWidth == b.supportWidth && a.samplesPerBin == b.samplesPerBin &&
           vf_Same(a.frequency, b.frequency) && vf_Same(a.sigma, b.sigma) && vf_Same(a.plateau, b.plateau) &&
           a.size == b.size && a.dcRadius == b.dcRadius && vf_Same(aProfile, bProfile);
}

template <class Fields>
void vf_ArchiveBand(vxArchive& archive, Fields& fields, vx_GainTable& profile) {
    Fields staged = fields;
    archive || staged.supportWidth || staged.samplesPerBin || staged.frequency || staged.sigma ||
        staged.plateau || staged.size || staged.dcRadius;
    vx_GainTable loaded = vf_ArchiveTable(archive, profile);
    if (!archive.isLoading()) {
        return;
    }
    if (loaded.isBuilt()) {
        vf_AcceptSupport(archive, staged.supportWidth);
        if (staged.samplesPerBin != vx_SamplesPerBin) {
            archive.refuse("filter samples per bin");
        }
        vf_AcceptParameters(archive, staged.frequency, staged.size, staged.dcRadius);
        vf_AcceptEntryCount(archive, loaded.size(), staged.supportWidth, staged.samplesPerBin);
    }
    vf_CommitLoad(archive, fields, profile, staged, std::move(loaded));
}

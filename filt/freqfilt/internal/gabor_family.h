/// \file
/// What the Gabor filters share. `Fields` are a filter's own: supportWidth, supportHeight, angle, frequency,
/// sigma, plateau, size and dcRadius.
#pragma once

#include "filt/freqfilt/internal/apply.h"
#include "filt/freqfilt/internal/checks.h"
#include "filt/freqfilt/internal/comparison.h"
#include "filt/freqfilt/internal/lobe.h"
#include "filt/freqfilt/internal/table_archive.h"
#include "filt/internal/messages.h"

#include <cstddef>
#include <utility>

template <class Fields>
[[nodiscard]] vx_LobeParameters vf_LobeOf(const Fields& fields) {
    return {fields.sigma, fields.plateau, fields.angle, fields.frequency, fields.size};
}

template <class Fields>
[[nodiscard]] vxPair<long> vf_SupportOf(const Fields& fields) {
    return {fields.supportWidth, fields.supportHeight};
}

/// The fields of a filter with those parameters, which are checked in this order; the support is derived.
template <class Fields>
[[nodiscard]] Fields vf_CheckedGabor(Fields fields, const vx_FilterKind& kind) {
    vf_CheckFrequency(fields.frequency);
    // Deliberate: a NaN passes here; its support is refused.
    vf_CheckArgument(!(0.0 >= fields.sigma.x()) && !(0.0 >= fields.sigma.y()), vx_Messages::lobeSigma);
    vf_CheckArgument(!(fields.plateau.x() < 0.0) && !(fields.plateau.y() < 0.0), vx_Messages::lobePlateau);
    vf_CheckArgument(fields.dcRadius >= 0, kind.negativeRadius);
    vf_CheckSize(fields.size);
    const vxPair<long> support = vf_LobeSupport(vf_LobeOf(fields));
    fields.supportWidth = support.x();
    fields.supportHeight = support.y();
    return fields;
}

/// Builds the patch of a filter with those fields. Only the allocation can fail, before anything changes.
template <class Fields>
void vf_BuildPatch(const Fields& fields, const vx_FilterKind& kind, std::size_t spare, vx_GainTable& patch) {
    patch.resize(vf_EntryCount(fields.supportWidth, fields.supportHeight), spare);
    vf_SampleLobe(vf_LobeOf(fields), vf_SupportOf(fields), kind, patch);
}

/// `marksRows`: the result is marked to be confined to the rows of the lobe.
template <class Fields>
void vf_ApplyGabor(const Fields& fields, const vx_GainTable& patch, const vx_FilterKind& kind, bool marksRows,
                   const vxFrequencyBuffer& in, vxFrequencyBuffer& out, vx_ResultSize resultSize) {
    vf_CheckOperand(in, patch, fields.size);
    const vx_Lobe lobe(vf_LobeOf(fields), vf_SupportOf(fields), patch);
    const vx_MarkedRows band = marksRows ? lobe.rowBand() : vx_MarkedRows{};
    vf_ApplyShape(lobe, kind, fields.dcRadius, band, in, out, resultSize);
}

template <class Fields>
[[nodiscard]] bool vf_SameGabor(const Fields& a, const vx_GainTable& aPatch, const Fields& b,
                                const vx_GainTable& bPatch) {
    if (!aPatch.isBuilt() || !bPatch.isBuilt()) {
        return aPatch.isBuilt() == bPatch.isBuilt();
    }
    return vf_SupportOf(a) == vf_SupportOf(b) && a.angle == b.angle && vf_Same(a.frequency, b.frequency) &&
           vf_Same(a.sigma, b.sigma) && vf_Same(a.plateau, b.plateau) && a.size == b.size &&
           a.dcRadius == b.dcRadius && vf_Same(aPatch, bPatch);
}

template <class Fields>
void vf_ArchiveGabor(vxArchive& archive, Fields& fields, vx_GainTable& patch) {
    Fields staged = fields;
    archive || staged.supportWidth || staged.supportHeight || staged.angle || staged.frequency ||
        staged.sigma || staged.plateau || staged.size || staged.dcRadius;
    vx_GainTable loaded = vf_ArchiveTable(archive, patch);
    if (!archive.isLoading()) {
        return;
    }
    if (loaded.isBuilt()) {
        vf_AcceptSupport(archive, staged.supportWidth);
        vf_AcceptSupport(archive, staged.supportHeight);
        vf_AcceptParameters(archive, staged.frequency, staged.size, staged.dcRadius);
        vf_AcceptEntryCount(archive, loaded.size(), staged.supportWidth, staged.supportHeight);
    }
    vf_CommitLoad(archive, fields, patch, staged, std::move(loaded));
}

/// \file
/// What the archive form of filters with a table of gains shares.
#pragma once

#include "filt/freqfilt/gain_table.h"
#include "kavstd/archive.h"
#include "kavstd/pair.h"

#include <cstddef>
#include <memory>
#include <utility>

/// Puts `loaded` into `target`, with the way back should the rest of the object fail to load.
template <class T>
void vf_CommitLoad(vxArchive& archive, T& target, T& loaded) {
    const auto other = std::make_shared<T>(std::move(loaded));
    archive.onRollback([&target, other] { std::swap(target, *other); });
    std::swap(target, *other);
}

/// Stores whether there is a table, and its gains; or loads them. Returns the loaded table.
[[nodiscard]] vx_GainTable vf_ArchiveTable(vxArchive& archive, const vx_GainTable& stored);

/// Refuse what no filter with a table can hold.
void vf_AcceptSupport(vxArchive& archive, long supportSize);
void vf_AcceptParameters(vxArchive& archive, double frequency, const vxPair<long>& size, long dcRadius);
void vf_AcceptEntryCount(vxArchive& archive, std::size_t entries, long columns, long rows);

/// \file
/// What the archive form of filters with a table of gains shares.
#pragma once

#include "filt/freqfilt/gain_table.h"
#include "kavstd/archive.h"
#include "kavstd/pair.h"

#include <cstddef>
#include <memory>
#include <utility>

/// Puts what was loaded into a filter, with the way back should the rest of the object fail to load. Only the
/// allocations can fail, before anything changes.
template <class Fields>
void vf_CommitLoad(vxArchive& archive, Fields& fields, vx_GainTable& table, const Fields& loadedFields,
                   vx_GainTable&& loadedTable) {
    const auto other =
        std::make_shared<std::pair<Fields, vx_GainTable>>(loadedFields, std::move(loadedTable));
    const auto exchange = [&fields, &table, other] {
        std::swap(fields, other->first);
        std::swap(table, other->second);
    };
    archive.onRollback(exchange);
    exchange();
}

/// Stores whether there is a table, and its gains; or loads them. Returns the loaded table.
[[nodiscard]] vx_GainTable vf_ArchiveTable(vxArchive& archive, const vx_GainTable& stored);

/// Refuse what no filter with a table can hold.
void vf_AcceptSupport(vxArchive& archive, long supportSize);
void vf_AcceptParameters(vxArchive& archive, double frequency, const vxPair<long>& size, long dcRadius);
void vf_AcceptEntryCount(vxArchive& archive, std::size_t entries, long columns, long rows);

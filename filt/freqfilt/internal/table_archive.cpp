#include "filt/freqfilt/internal/table_archive.h"

#include "filt/freqfilt/internal/checks.h"

#include <vector>

vx_GainTable vf_ArchiveTable(vxArchive& archive, const vx_GainTable& stored) {
    bool hasTable = stored.isBuilt();
    std::vector<float> entries(stored.begin(), stored.end());
    archive || hasTable || entries;
    if (!archive.isLoading() || !hasTable) {
        return {};
    }
    if (entries.empty()) {
        archive.refuse("filter table without entries");
    }
    return {entries.data(), entries.size()};
}

void vf_AcceptSupport(vxArchive& archive, long supportSize) {
    if (supportSize < 1 || supportSize % 2 == 0) {
        archive.refuse("filter support size");
    }
}

void vf_AcceptParameters(vxArchive& archive, double frequency, const vxPair<long>& size, long dcRadius) {
    if (!vf_IsFrequency(frequency)) {
        archive.refuse("filter frequency");
    }
    if (!vf_IsPowerOfTwo(size.x()) || !vf_IsPowerOfTwo(size.y())) {
        archive.refuse("filter size");
    }
    if (dcRadius < 0) {
        archive.refuse("filter radius around DC");
    }
}

void vf_AcceptEntryCount(vxArchive& archive, std::size_t entries, long columns, long rows) {
    // By division: the product of two loaded numbers could overflow.
    const auto perRow = static_cast<std::size_t>(columns);
    if (entries % perRow != 0 || entries / perRow != static_cast<std::size_t>(rows)) {
        archive.refuse("filter table of another size");
    }
}

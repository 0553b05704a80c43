#include "filt/freqfilt/gain_table.h"

#include "filt/internal/aligned_storage.h"

#include <algorithm>
#include <utility>

vx_GainTable::vx_GainTable() noexcept = default;
vx_GainTable::~vx_GainTable() = default;

vx_GainTable::vx_GainTable(std::span<const float> gains) {
    resize(gains.size());
    std::copy(gains.begin(), gains.end(), gains_.begin());
}

vx_GainTable::vx_GainTable(vx_GainTable&& other) noexcept
    : storage_(std::move(other.storage_)), gains_(std::exchange(other.gains_, {})) {}

vx_GainTable& vx_GainTable::operator=(vx_GainTable&& other) noexcept {
    std::swap(storage_, other.storage_);
    std::swap(gains_, other.gains_);
    return *this;
}

void vx_GainTable::resize(std::size_t entries, std::size_t spare) {
    if (gains_.size() == entries) {
        return;
    }
    std::vector<float> storage(entries + spare);
    storage_ = std::move(storage);
    gains_ = std::span<float>(vf_AlignedStart(storage_), entries);
}
